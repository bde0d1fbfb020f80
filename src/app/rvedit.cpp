#include "app/rvedit.h"

#include "data/dates.h"

#include <QKeyEvent>
#include <QMetaMethod>

CRvEdit::CRvEdit(QWidget *parent) : QLineEdit(parent) {}

bool CRvEdit::GetAsInt(int &value) const
{
    qint32 v = 0;
    if (!parseWhole(text(), &v))
        return false;
    value = v;
    return true;
}

bool CRvEdit::GetAsLong(qint32 &value) const
{
    return parseWhole(text(), &value);
}

bool CRvEdit::GetAsFloat(float &value) const
{
    double v = 0;
    if (!parseDecimal(text(), &v))
        return false;
    value = float(v);
    return true;
}

bool CRvEdit::GetAsDouble(double &value) const
{
    return parseDecimal(text(), &value);
}

bool CRvEdit::GetAsOleDate(QDate &value) const
{
    const QDate d = parseDate(text());
    if (!d.isValid())
        return false;
    value = d;
    return true;
}

void CRvEdit::keyPressEvent(QKeyEvent *event)
{
    // Enter belongs to the page or dialog that listens for it; where nobody does, the field acts
    // as every other field of its window (a dialog's default button).
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
        isSignalConnected(QMetaMethod::fromSignal(&CRvEdit::enterPressed))) {
        Q_EMIT enterPressed();
        event->accept();
        return;
    }
    if (event->key() == Qt::Key_Space && (event->modifiers() & Qt::ControlModifier)) {
        Q_EMIT historyRequested();
        event->accept();
        return;
    }
    QLineEdit::keyPressEvent(event);
}
