#include "app/messagebox_ui.h"

#include "app/messages.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>

namespace {

int widgetMessageBox(const QString &caption, const QString &text, MessageKind kind, int buttons)
{
    QMessageBox box(QApplication::activeWindow());
    box.setWindowTitle(caption.isEmpty() ? QStringLiteral("Folivo 2.0") : caption);
    box.setText(text);
    switch (kind) {
    case MessageKind::Information:
        box.setIcon(QMessageBox::Information);
        break;
    case MessageKind::Question:
        box.setIcon(QMessageBox::Question);
        break;
    case MessageKind::Warning:
        box.setIcon(QMessageBox::Warning);
        break;
    case MessageKind::Error:
        box.setIcon(QMessageBox::Critical);
        break;
    }
    if (buttons == ButtonsYesNo || buttons == ButtonsYesNoIrreversible) {
        QPushButton *yes = box.addButton(QStringLiteral("&Ano"), QMessageBox::YesRole);
        QPushButton *no = box.addButton(QStringLiteral("&Ne"), QMessageBox::NoRole);
        // An irreversible action is not confirmed by a stray Enter.
        box.setDefaultButton(buttons == ButtonsYesNoIrreversible ? no : yes);
        box.setEscapeButton(no);
        box.exec();
        return box.clickedButton() == yes ? int(ResultYes) : int(ResultNo);
    }
    if (buttons == ButtonsConfirm) {
        QPushButton *ok = box.addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
        QPushButton *cancel = box.addButton(QStringLiteral("Storno"), QMessageBox::RejectRole);
        box.setDefaultButton(ok);
        box.setEscapeButton(cancel);
        box.exec();
        return box.clickedButton() == ok ? int(ResultConfirmed) : int(ResultNo);
    }
    box.addButton(QStringLiteral("OK"), QMessageBox::AcceptRole);
    box.exec();
    return ResultOk;
}

} // namespace

void installWidgetMessageBox()
{
    setMessageBoxHandler(widgetMessageBox);
}
