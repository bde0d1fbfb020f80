#include "support/guitestsupport.h"

#include <QApplication>
#include <QTimer>

namespace {

void poll(const std::function<void(QDialog *)> &act, const QMetaObject *type, int triesLeft)
{
    QTimer::singleShot(10, [act, type, triesLeft] {
        auto *d = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!d || (type && !type->cast(d))) {
            if (triesLeft > 0)
                poll(act, type, triesLeft - 1);
            return;
        }
        act(d);
        if (d->isVisible())
            d->reject();
    });
}

} // namespace

void onNextModal(std::function<void(QDialog *)> act, const QMetaObject *type)
{
    poll(act, type, 500);
}
