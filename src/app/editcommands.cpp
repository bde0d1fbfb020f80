#include "app/editcommands.h"

#include "app/commands.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QTextEdit>

namespace {

bool clipboardHasText()
{
    const QMimeData *data = QGuiApplication::clipboard()->mimeData();
    return data && data->hasText() && !data->text().isEmpty();
}

bool lineEditCan(const QLineEdit *e, int command)
{
    if (!e->isEnabled())
        return false;
    switch (command) {
    case Cmd::EditCopy:
    case Cmd::EditCut:
    case Cmd::EditDelete:
        return e->hasSelectedText();
    case Cmd::EditPaste:
        return clipboardHasText();
    case Cmd::EditUndo:
        return e->isUndoAvailable();
    case Cmd::EditSelectAll:
        return !e->text().isEmpty();
    default:
        return false;
    }
}

void lineEditRun(QLineEdit *e, int command)
{
    switch (command) {
    case Cmd::EditCopy:
        e->copy();
        break;
    case Cmd::EditCut:
        e->cut();
        break;
    case Cmd::EditDelete:
        if (!e->isReadOnly())
            e->del();
        break;
    case Cmd::EditPaste:
        e->paste();
        break;
    case Cmd::EditUndo:
        e->undo();
        break;
    case Cmd::EditSelectAll:
        // From the start to the end, with the caret at the end in view.
        e->setSelection(0, int(e->text().size()));
        break;
    default:
        break;
    }
}

template <typename TextEdit> bool textEditCan(const TextEdit *e, int command)
{
    if (!e->isEnabled())
        return false;
    switch (command) {
    case Cmd::EditCopy:
    case Cmd::EditCut:
    case Cmd::EditDelete:
        return e->textCursor().hasSelection();
    case Cmd::EditPaste:
        return clipboardHasText();
    case Cmd::EditUndo:
        return e->document()->isUndoAvailable();
    case Cmd::EditSelectAll:
        return !e->document()->isEmpty();
    default:
        return false;
    }
}

template <typename TextEdit> void textEditRun(TextEdit *e, int command)
{
    switch (command) {
    case Cmd::EditCopy:
        e->copy();
        break;
    case Cmd::EditCut:
        e->cut();
        break;
    case Cmd::EditDelete:
        if (!e->isReadOnly()) {
            QTextCursor c = e->textCursor();
            c.removeSelectedText();
            e->setTextCursor(c);
        }
        break;
    case Cmd::EditPaste:
        e->paste();
        break;
    case Cmd::EditUndo:
        e->undo();
        break;
    case Cmd::EditSelectAll:
        e->selectAll();
        e->ensureCursorVisible();
        break;
    default:
        break;
    }
}

} // namespace

namespace EditCommands {

QWidget *focusedEdit()
{
    QWidget *w = QApplication::focusWidget();
    if (auto *combo = qobject_cast<QComboBox *>(w))
        return combo->isEditable() ? combo->lineEdit() : nullptr;
    if (qobject_cast<QLineEdit *>(w) || qobject_cast<QTextEdit *>(w) || qobject_cast<QPlainTextEdit *>(w))
        return w;
    return nullptr;
}

bool canRun(int command)
{
    QWidget *w = focusedEdit();
    if (auto *e = qobject_cast<QLineEdit *>(w))
        return lineEditCan(e, command);
    if (auto *e = qobject_cast<QTextEdit *>(w))
        return textEditCan(e, command);
    if (auto *e = qobject_cast<QPlainTextEdit *>(w))
        return textEditCan(e, command);
    return false;
}

void run(int command)
{
    if (!canRun(command))
        return;
    QWidget *w = focusedEdit();
    if (auto *e = qobject_cast<QLineEdit *>(w))
        lineEditRun(e, command);
    else if (auto *text = qobject_cast<QTextEdit *>(w))
        textEditRun(text, command);
    else if (auto *plain = qobject_cast<QPlainTextEdit *>(w))
        textEditRun(plain, command);
}

} // namespace EditCommands
