#pragma once

#include "app/settings.h"

#include <QDialog>

class QLineEdit;
class QPushButton;

// "Kontrola identity": asks for the access password. The start-up form offers "  Storno", which
// ends the program; the lock form offers "  Konec" instead, has no close box and cannot be
// dismissed any other way than by the right password or by ending the program.
class CDlgIdentity final : public QDialog
{
    Q_OBJECT

public:
    enum Form
    {
        AtStart,
        Lock
    };
    // What exec() returns when the user ended the program from the lock form.
    static constexpr int ExitProgram = 2;
    static const QString ExitQuestion;

    CDlgIdentity(Form form, const SettingsRecord &record, QWidget *parent = nullptr);

    Form form() const { return m_form; }
    QLineEdit *passwordEdit() const { return m_password; }
    QPushButton *endButton() const { return m_end; }

    // The OK check: 28 (and the focus back in the field) when the password does not match.
    int checkOk();
    void accept() override;
    void reject() override;
    // "  Konec": asks whether to end the program; on Yes the dialog ends with ExitProgram.
    bool askExit();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    Form m_form;
    SettingsRecord m_record;
    QLineEdit *m_password = nullptr;
    QPushButton *m_end = nullptr;
};
