#pragma once

#include "app/messagenames.h"

#include <QString>

#include <functional>

// Kinds and button sets of the program's message box.
enum class MessageKind
{
    Information = 1,
    Question = 2,
    Error = 3,
    Warning = 4
};

enum MessageButtons : int
{
    ButtonsOk = 512,
    ButtonsYesNo = 3,
    ButtonsYesNoIrreversible = 7, // Yes/No for actions that cannot be undone
    ButtonsConfirm = 516          // a prompt that answers ResultConfirmed when accepted
};

enum MessageResult : int
{
    ResultOk = 1,
    ResultYes = 1,
    ResultNo = 2,
    ResultConfirmed = 512
};

// Shows a message and returns the button pressed. Every box of the program goes through the one
// replaceable handler: the desktop program installs a QMessageBox, tests install a recorder that
// answers in advance, the command-line tool prints.
using MessageBoxHandler =
    std::function<int(const QString &caption, const QString &text, MessageKind kind, int buttons)>;
int RvMessageBox(const QString &caption, const QString &text, MessageKind kind, int buttons);
MessageBoxHandler setMessageBoxHandler(MessageBoxHandler handler); // returns the previous one

// The catalogue of numbered messages, 1 to 124.
constexpr int MessageCount = 124;
bool isCatalogueMessage(int number);
QString messageText(int number);     // empty outside 1..124
MessageKind messageKind(int number); // Error outside 1..124

// A page declares one, sets the number and shows it.
class MessageCode final
{
public:
    MessageCode() = default;
    explicit MessageCode(quint32 number) : m_number(number) {}
    void set(quint32 number) { m_number = number; }
    quint32 number() const { return m_number; }
    // Numbers outside 1..124 show nothing and return the number minus one.
    int show() const;

private:
    quint32 m_number = 0;
};

// Shorthand: MessageCode(n).show().
int showMessage(int number);

class DbError;
// The one answer of a page or dialog to a failed database action: logs the engine's text and the
// statement (category folivo.db) and shows the page's catalogue message.
int showDbError(int number, const DbError &error);

// The same by name.
inline int showMessage(Message message)
{
    return showMessage(int(message));
}
inline int showDbError(Message message, const DbError &error)
{
    return showDbError(int(message), error);
}

// While a catalogue message is being shown: its number (several numbers share one text, so a
// handler cannot tell them apart by the text). 0 for any other box.
int catalogueNumberBeingShown();
