#pragma once

#include "reports/reminderscore.h"

#include <QDialog>

#include <optional>

class CRvEdit;

// "Upomínky": the day the letters are written for and, optionally, one client; then the letters
// in the print preview, on the printer or in a PDF file.
struct ReminderRequest
{
    enum Output
    {
        Preview,
        Print,
        Pdf
    };
    DateNumber day = NoDate;
    qint32 clientId = -1; // -1: every client with an overdue book
    Output output = Preview;
};

class CRemindersDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit CRemindersDialog(QWidget *parent = nullptr);
    // The date first (message 95), then the client code when one is typed (119, 15, 13); the focus
    // goes to the field at fault.
    bool checkOk();
    void setPickedCode(const QString &code);
    CRvEdit *dateField() const { return m_date; }
    CRvEdit *codeField() const { return m_code; }
    ReminderRequest result() const { return m_result; }

private:
    void finish(ReminderRequest::Output output);
    CRvEdit *m_date = nullptr;
    CRvEdit *m_code = nullptr;
    ReminderRequest m_result;
};

std::optional<ReminderRequest> askReminders(QWidget *parent);

// Collects the letters and hands them to the chosen output; failures show their message.
// Returns the number of letters (-1 after a failure).
int runReminders(QWidget *parent, const ReminderRequest &request);
