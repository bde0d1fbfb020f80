#pragma once

#include "app/settings.h"

#include <QDialog>

class CRvEdit;
class QButtonGroup;
class QCheckBox;
class QLineEdit;
class QPushButton;
class QRadioButton;

// "Dokončení instalace": the user's name, asked once at the first run.
class CDlgInstall final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgInstall(QWidget *parent = nullptr);

    QLineEdit *nameEdit() const { return m_name; }
    QString userName() const; // trimmed at both ends
    // The OK checks: shows the refusal and returns its message number, 0 when the name is good.
    int checkOk();
    void accept() override;

private:
    QLineEdit *m_name = nullptr;
};

// The choices both settings dialogs share: the two protocol groups, the loan length with its days,
// the report view size and the two security check boxes.
class SettingsChoices final : public QWidget
{
    Q_OBJECT

public:
    explicit SettingsChoices(QWidget *parent = nullptr);

    void load(const SettingsRecord &record);
    // Copies the choices (not the password) into record; the days are 30 without a limit.
    void storeInto(SettingsRecord &record, quint32 days) const;
    // The days field read as a whole number of at least 0 (0 without a limit); message 21 and the
    // focus on the field when it is not one. Returns the message number shown, 0 when good.
    int checkDays(quint32 *days);

    QCheckBox *passwordAtStart() const { return m_passwordAtStart; }
    QCheckBox *lockAllowed() const { return m_lockAllowed; }
    QRadioButton *limitButton() const { return m_limit; }
    QRadioButton *noLimitButton() const { return m_noLimit; }
    CRvEdit *daysEdit() const { return m_days; }
    QButtonGroup *loanProtocol() const { return m_loanProtocol; }
    QButtonGroup *returnProtocol() const { return m_returnProtocol; }
    QButtonGroup *reportSize() const { return m_reportSize; }
    // The place of the password fields, under the security check boxes.
    QWidget *securityBox() const { return m_security; }

Q_SIGNALS:
    void securityToggled();

private:
    void loanLengthClicked();

    QButtonGroup *m_loanProtocol = nullptr;
    QButtonGroup *m_returnProtocol = nullptr;
    QButtonGroup *m_loanLength = nullptr;
    QButtonGroup *m_reportSize = nullptr;
    QRadioButton *m_limit = nullptr;
    QRadioButton *m_noLimit = nullptr;
    CRvEdit *m_days = nullptr;
    QCheckBox *m_passwordAtStart = nullptr;
    QCheckBox *m_lockAllowed = nullptr;
    QWidget *m_security = nullptr;
};

// A new password and its copy: messages 22, 23, 25 (password), 25 (copy) and 24, in this order,
// each with the focus on the offending field. Returns the message number shown, 0 when good.
int checkNewPassword(QLineEdit *password, QLineEdit *copy);

// "Základní nastavení programu": the settings chosen at the first run.
class CDlgBasicSettings final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgBasicSettings(QWidget *parent = nullptr);

    SettingsChoices *choices() const { return m_choices; }
    QLineEdit *passwordEdit() const { return m_password; }
    QLineEdit *copyEdit() const { return m_copy; }

    int checkOk(); // the message number shown, 0 when the choices are good
    void accept() override;
    // The settings of the dialog (after a good checkOk): flags, choices and the encoded password
    // (the default word when no security option is chosen).
    SettingsRecord record() const;

private:
    void updateEnabled();

    SettingsChoices *m_choices = nullptr;
    QLineEdit *m_password = nullptr;
    QLineEdit *m_copy = nullptr;
    quint32 m_days = 30;
};

// "Nastavení programu": changes the stored settings; a change of the security options or of the
// password needs the current password, switching security on from off needs a new one.
class CDlgProgramSettings final : public QDialog
{
    Q_OBJECT

public:
    explicit CDlgProgramSettings(QWidget *parent = nullptr);

    SettingsChoices *choices() const { return m_choices; }
    QLineEdit *currentEdit() const { return m_current; }
    QLineEdit *newEdit() const { return m_new; }
    QLineEdit *copyEdit() const { return m_copy; }
    QPushButton *changeButton() const { return m_change; }
    QPushButton *originalButton() const { return m_original; }
    bool changeMode() const { return m_changeMode; }

    // The OK steps: checks, then the record is written and taken over. Returns the message number
    // shown: 0 when saved, 27 when the save failed (the dialog then ends without change), or the
    // refusal that keeps the dialog open.
    int applyOk();
    void accept() override;

Q_SIGNALS:
    // The record was saved and taken over by the program.
    void settingsSaved();

private:
    void loadStored();
    void toggleChangeMode();
    void leaveChangeMode();
    void securityClicked();
    void updateEnabled();
    bool securityChanged() const;

    SettingsRecord m_stored;
    SettingsChoices *m_choices = nullptr;
    QLineEdit *m_current = nullptr;
    QLineEdit *m_new = nullptr;
    QLineEdit *m_copy = nullptr;
    QPushButton *m_change = nullptr;
    QPushButton *m_original = nullptr;
    bool m_openStart = false;
    bool m_openLock = false;
    bool m_changeMode = false;
};
