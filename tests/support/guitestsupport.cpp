#include "support/guitestsupport.h"

#include <QApplication>
#include <QTableView>
#include <QTest>
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

void onNextModal(const std::function<void(QDialog *)> &act, const QMetaObject *type)
{
    poll(act, type, 500);
}

bool exposed(QWidget *w)
{
    w->show();
    return QTest::qWaitForWindowExposed(w);
}

bool showActive(QWidget *w)
{
    w->show();
    QApplication::setActiveWindow(w);
    return QTest::qWaitForWindowActive(w);
}

QString focused(QWidget *w)
{
    QWidget *f = w->window()->focusWidget();
    return f ? f->objectName() : QString();
}

void selectRows(QTableView *view, const QList<int> &rows)
{
    view->clearSelection();
    for (int r : rows)
        view->selectionModel()->select(view->model()->index(r, 0),
                                       QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

bool showFocused(QWidget *w)
{
    w->show();
    w->setFocus();
    return QTest::qWaitFor([w] { return w->hasFocus(); });
}
