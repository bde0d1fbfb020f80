#include "app/settingsdialogs.h"

#include "app/appstate.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "app/shellicons.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace {

// OK and cancel buttons with the icons every dialog of the program gives them.
QDialogButtonBox *okCancelButtons(QDialog *dialog, const QString &cancelText = QStringLiteral("Storno"))
{
    auto *box = new QDialogButtonBox(dialog);
    QPushButton *ok = box->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    QPushButton *cancel = box->addButton(cancelText, QDialogButtonBox::RejectRole);
    ok->setIcon(shellIcon(ShellIcon::Ok));
    cancel->setIcon(shellIcon(ShellIcon::Cancel));
    ok->setDefault(true);
    QObject::connect(box, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
    QObject::connect(box, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return box;
}

QLineEdit *passwordField(QWidget *parent)
{
    auto *edit = new QLineEdit(parent);
    edit->setEchoMode(QLineEdit::Password);
    // Longer than any valid password, so that a too long one is refused by its message.
    edit->setMaxLength(64);
    return edit;
}

QGroupBox *radioGroup(const QString &title, QButtonGroup *group, const QStringList &texts, QWidget *parent)
{
    auto *box = new QGroupBox(title, parent);
    auto *layout = new QVBoxLayout(box);
    for (int i = 0; i < texts.size(); ++i) {
        auto *radio = new QRadioButton(texts.at(i), box);
        group->addButton(radio, i);
        layout->addWidget(radio);
    }
    layout->addStretch(1);
    return box;
}

int refuse(int message, QWidget *focus)
{
    showMessage(message);
    if (focus) {
        focus->setFocus();
        if (auto *edit = qobject_cast<QLineEdit *>(focus))
            edit->selectAll();
    }
    return message;
}

} // namespace

// ---------------------------------------------------------------------------------------------

CDlgInstall::CDlgInstall(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Dokončení instalace"));
    auto *intro = new QLabel(QStringLiteral("Vítejte v programu Folivo 2.0. Před prvním spuštěním programu\n"
                                            "zadejte prosím své jméno (jméno uživatele nebo knihovny)."),
                             this);
    m_name = new QLineEdit(this);
    m_name->setMaxLength(SettingsRecord::NameBytes);
    m_name->setMinimumWidth(320);
    auto *label = new QLabel(QStringLiteral("&Jméno"), this);
    label->setBuddy(m_name);
    auto *form = new QFormLayout;
    form->addRow(label, m_name);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(intro);
    layout->addLayout(form);
    layout->addStretch(1);
    layout->addWidget(okCancelButtons(this));
    m_name->setFocus();
}

QString CDlgInstall::userName() const
{
    return m_name->text().trimmed();
}

int CDlgInstall::checkOk()
{
    if (userName().isEmpty())
        return refuse(20, m_name);
    return 0;
}

void CDlgInstall::accept()
{
    if (checkOk() == 0)
        QDialog::accept();
}

// ---------------------------------------------------------------------------------------------

SettingsChoices::SettingsChoices(QWidget *parent) : QWidget(parent)
{
    const QStringList protocols = {QStringLiteral("Tisknout vždy"), QStringLiteral("Tisknout na vyžádání"),
                                   QStringLiteral("Netisknout nikdy")};
    m_loanProtocol = new QButtonGroup(this);
    m_returnProtocol = new QButtonGroup(this);
    QGroupBox *loanBox = radioGroup(QStringLiteral("Protokol po &výpůjčce"), m_loanProtocol, protocols, this);
    QGroupBox *returnBox =
        radioGroup(QStringLiteral("Protokol po v&rácení"), m_returnProtocol, protocols, this);

    m_security = new QGroupBox(QStringLiteral("&Zabezpečení"), this);
    m_passwordAtStart = new QCheckBox(QStringLiteral("Vyžadovat heslo při spuštění programu"), m_security);
    m_lockAllowed = new QCheckBox(QStringLiteral("Povolit uzamykání programu za běhu"), m_security);
    auto *securityLayout = new QGridLayout(m_security);
    securityLayout->addWidget(m_passwordAtStart, 0, 0, 1, 3);
    securityLayout->addWidget(m_lockAllowed, 1, 0, 1, 3);
    connect(m_passwordAtStart, &QCheckBox::toggled, this, &SettingsChoices::securityToggled);
    connect(m_lockAllowed, &QCheckBox::toggled, this, &SettingsChoices::securityToggled);

    auto *lengthBox = new QGroupBox(QStringLiteral("&Délka výpůjčky"), this);
    m_loanLength = new QButtonGroup(this);
    m_limit = new QRadioButton(QStringLiteral("Omezovat"), lengthBox);
    m_noLimit = new QRadioButton(QStringLiteral("Neomezovat"), lengthBox);
    m_loanLength->addButton(m_limit, SettingsRecord::Limit);
    m_loanLength->addButton(m_noLimit, SettingsRecord::NoLimit);
    m_days = new CRvEdit(lengthBox);
    m_days->SetResType(CRvEdit::WholeNumber);
    m_days->setMaxLength(6);
    m_days->setMaximumWidth(70);
    auto *daysLabel = new QLabel(QStringLiteral("dnů"), lengthBox);
    daysLabel->setBuddy(m_days);
    auto *lengthLayout = new QGridLayout(lengthBox);
    lengthLayout->addWidget(m_limit, 0, 0);
    lengthLayout->addWidget(m_days, 0, 1);
    lengthLayout->addWidget(daysLabel, 0, 2);
    lengthLayout->addWidget(m_noLimit, 1, 0);
    lengthLayout->setColumnStretch(3, 1);
    connect(m_loanLength, &QButtonGroup::idClicked, this, &SettingsChoices::loanLengthClicked);

    m_reportSize = new QButtonGroup(this);
    QGroupBox *sizeBox =
        radioGroup(QStringLiteral("Okno &sestav"), m_reportSize,
                   {QStringLiteral("V normální velikosti"), QStringLiteral("Vždy na celou obrazovku")}, this);

    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->addWidget(m_security, 0, 0, 1, 2);
    grid->addWidget(loanBox, 1, 0);
    grid->addWidget(returnBox, 1, 1);
    grid->addWidget(lengthBox, 2, 0);
    grid->addWidget(sizeBox, 2, 1);
}

void SettingsChoices::load(const SettingsRecord &r)
{
    m_passwordAtStart->setChecked(r.passwordAtStart != 0);
    m_lockAllowed->setChecked(r.lockAllowed != 0);
    if (QAbstractButton *b = m_loanProtocol->button(r.loanProtocol <= 2 ? r.loanProtocol : 1))
        b->setChecked(true);
    if (QAbstractButton *b = m_returnProtocol->button(r.returnProtocol <= 2 ? r.returnProtocol : 1))
        b->setChecked(true);
    if (QAbstractButton *b = m_reportSize->button(r.reportSize == SettingsRecord::ReportMaximised ? 1 : 0))
        b->setChecked(true);
    const bool limited = r.loanLength != SettingsRecord::NoLimit;
    (limited ? m_limit : m_noLimit)->setChecked(true);
    m_days->setText(limited ? QString::number(r.loanDays) : QString());
    m_days->setEnabled(limited);
}

void SettingsChoices::loanLengthClicked()
{
    if (m_limit->isChecked()) {
        m_days->setEnabled(true);
        m_days->setFocus();
    } else {
        m_days->clear();
        m_days->setEnabled(false);
    }
}

int SettingsChoices::checkDays(quint32 *days)
{
    *days = 0;
    if (!m_limit->isChecked())
        return 0;
    qint32 value = 0;
    if (!m_days->GetAsLong(value) || value < 0)
        return refuse(21, m_days);
    *days = quint32(value);
    return 0;
}

void SettingsChoices::storeInto(SettingsRecord &r, quint32 days) const
{
    r.loanLength = m_limit->isChecked() ? SettingsRecord::Limit : SettingsRecord::NoLimit;
    r.loanDays = r.loanLength == SettingsRecord::NoLimit ? 30 : days;
    r.passwordAtStart = m_passwordAtStart->isChecked() ? 1 : 0;
    r.lockAllowed = m_lockAllowed->isChecked() ? 1 : 0;
    r.loanProtocol = quint16(qMax(0, m_loanProtocol->checkedId()));
    r.returnProtocol = quint16(qMax(0, m_returnProtocol->checkedId()));
    r.reportSize =
        m_reportSize->checkedId() == 1 ? SettingsRecord::ReportMaximised : SettingsRecord::ReportNormal;
}

int checkNewPassword(QLineEdit *password, QLineEdit *copy)
{
    const auto validLength = [](const QString &t) {
        return t.size() >= 3 && t.size() <= SettingsRecord::MaxPassword;
    };
    if (password->text().isEmpty())
        return refuse(22, password);
    if (copy->text().isEmpty())
        return refuse(23, copy);
    if (!validLength(password->text()))
        return refuse(25, password);
    if (!validLength(copy->text()))
        return refuse(25, copy);
    if (password->text() != copy->text())
        return refuse(24, password);
    return 0;
}

// ---------------------------------------------------------------------------------------------

CDlgBasicSettings::CDlgBasicSettings(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Základní nastavení programu"));
    m_choices = new SettingsChoices(this);
    m_password = passwordField(this);
    m_copy = passwordField(this);
    auto *grid = qobject_cast<QGridLayout *>(m_choices->securityBox()->layout());
    auto *passwordLabel = new QLabel(QStringLiteral("Přístupové heslo"), this);
    auto *copyLabel = new QLabel(QStringLiteral("Pro jistotu kopie"), this);
    passwordLabel->setBuddy(m_password);
    copyLabel->setBuddy(m_copy);
    grid->addWidget(passwordLabel, 2, 0);
    grid->addWidget(m_password, 2, 1);
    grid->addWidget(copyLabel, 3, 0);
    grid->addWidget(m_copy, 3, 1);
    grid->setColumnStretch(2, 1);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_choices);
    layout->addWidget(okCancelButtons(this));

    // A new library starts with protocols on request, a 30-day limit and no password.
    m_choices->load(SettingsRecord{});
    // The password fields follow their check boxes in the tab order.
    setTabOrder(m_choices->lockAllowed(), m_password);
    setTabOrder(m_password, m_copy);
    setTabOrder(m_copy, m_choices->loanProtocol()->button(0));
    connect(m_choices, &SettingsChoices::securityToggled, this, &CDlgBasicSettings::updateEnabled);
    updateEnabled();
}

void CDlgBasicSettings::updateEnabled()
{
    const bool secured = m_choices->passwordAtStart()->isChecked() || m_choices->lockAllowed()->isChecked();
    m_password->setEnabled(secured);
    m_copy->setEnabled(secured);
}

int CDlgBasicSettings::checkOk()
{
    if (const int m = m_choices->checkDays(&m_days))
        return m;
    if (!m_choices->passwordAtStart()->isChecked() && !m_choices->lockAllowed()->isChecked())
        return 0;
    return checkNewPassword(m_password, m_copy);
}

void CDlgBasicSettings::accept()
{
    if (checkOk() == 0)
        QDialog::accept();
}

SettingsRecord CDlgBasicSettings::record() const
{
    SettingsRecord r;
    m_choices->storeInto(r, m_days);
    const bool secured = r.passwordAtStart || r.lockAllowed;
    encodePassword(r, secured ? m_password->text() : QString());
    return r;
}

// ---------------------------------------------------------------------------------------------

CDlgProgramSettings::CDlgProgramSettings(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Nastavení programu"));
    m_stored = AppState::instance().settings;
    m_openStart = m_stored.passwordAtStart != 0;
    m_openLock = m_stored.lockAllowed != 0;

    m_choices = new SettingsChoices(this);
    m_current = passwordField(this);
    m_new = passwordField(this);
    m_copy = passwordField(this);
    m_change = new QPushButton(QStringLiteral("Změnit"), this);
    m_change->setAutoDefault(false);
    auto *grid = qobject_cast<QGridLayout *>(m_choices->securityBox()->layout());
    auto *currentLabel = new QLabel(QStringLiteral("Přístupové heslo"), this);
    auto *newLabel = new QLabel(QStringLiteral("&Nové heslo"), this);
    auto *copyLabel = new QLabel(QStringLiteral("&Pro jistotu kopie"), this);
    currentLabel->setBuddy(m_current);
    newLabel->setBuddy(m_new);
    copyLabel->setBuddy(m_copy);
    grid->addWidget(currentLabel, 2, 0);
    grid->addWidget(m_current, 2, 1);
    grid->addWidget(m_change, 2, 2, Qt::AlignLeft);
    grid->addWidget(newLabel, 3, 0);
    grid->addWidget(m_new, 3, 1);
    grid->addWidget(copyLabel, 4, 0);
    grid->addWidget(m_copy, 4, 1);
    grid->setColumnStretch(3, 1);

    QDialogButtonBox *buttons = okCancelButtons(this);
    m_original = buttons->addButton(QStringLiteral("  Původní"), QDialogButtonBox::ResetRole);
    m_original->setAutoDefault(false);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_choices);
    layout->addWidget(buttons);

    setTabOrder(m_choices->lockAllowed(), m_current);
    setTabOrder(m_current, m_change);
    setTabOrder(m_change, m_new);
    setTabOrder(m_new, m_copy);
    setTabOrder(m_copy, m_choices->loanProtocol()->button(0));
    connect(m_change, &QPushButton::clicked, this, &CDlgProgramSettings::toggleChangeMode);
    connect(m_original, &QPushButton::clicked, this, &CDlgProgramSettings::loadStored);
    connect(m_choices, &SettingsChoices::securityToggled, this, &CDlgProgramSettings::securityClicked);
    loadStored();
}

bool CDlgProgramSettings::securityChanged() const
{
    return m_choices->passwordAtStart()->isChecked() != m_openStart ||
           m_choices->lockAllowed()->isChecked() != m_openLock;
}

void CDlgProgramSettings::loadStored()
{
    m_choices->load(m_stored);
    m_changeMode = false;
    m_change->setText(QStringLiteral("Změnit"));
    m_current->clear();
    m_new->clear();
    m_copy->clear();
    updateEnabled();
}

void CDlgProgramSettings::leaveChangeMode()
{
    m_changeMode = false;
    m_change->setText(QStringLiteral("Změnit"));
    m_new->clear();
    m_copy->clear();
    if (!securityChanged())
        m_current->clear();
}

void CDlgProgramSettings::toggleChangeMode()
{
    if (m_changeMode) {
        leaveChangeMode();
    } else {
        m_changeMode = true;
        m_change->setText(QStringLiteral("Zpět"));
    }
    updateEnabled();
}

void CDlgProgramSettings::securityClicked()
{
    const bool anyTicked = m_choices->passwordAtStart()->isChecked() || m_choices->lockAllowed()->isChecked();
    if (!anyTicked && m_changeMode)
        leaveChangeMode();
    updateEnabled();
}

void CDlgProgramSettings::updateEnabled()
{
    const bool anyTicked = m_choices->passwordAtStart()->isChecked() || m_choices->lockAllowed()->isChecked();
    bool current = false;
    bool fresh = false;
    if (!m_openStart && !m_openLock) {
        fresh = anyTicked;
    } else if (!m_changeMode) {
        current = securityChanged();
    } else {
        current = true;
        fresh = anyTicked;
    }
    m_current->setEnabled(current);
    m_new->setEnabled(fresh);
    m_copy->setEnabled(fresh);
    m_change->setEnabled(anyTicked);
}

int CDlgProgramSettings::applyOk()
{
    for (QLineEdit *e : {m_current, m_new, m_copy})
        e->setText(e->text().trimmed());
    quint32 days = 0;
    if (const int m = m_choices->checkDays(&days))
        return m;
    const bool changed = securityChanged();
    const bool wasSecured = m_openStart || m_openLock;
    // Opened with both options off, the current password's field stays closed and nothing of it
    // is asked, also in the change mode.
    if (wasSecured && (m_changeMode || changed) && !checkPassword(m_stored, m_current->text()))
        return refuse(26, m_current);
    const bool needsNew = m_changeMode || (changed && !wasSecured);
    if (needsNew)
        if (const int m = checkNewPassword(m_new, m_copy))
            return m;

    SettingsRecord r = m_stored;
    if (needsNew)
        encodePassword(r, m_new->text());
    m_choices->storeInto(r, days);
    AppState &app = AppState::instance();
    if (!r.write(app.iniPath)) {
        showMessage(Message::SettingsNotSaved);
        QDialog::reject();
        return 27;
    }
    app.settings = r;
    m_stored = r;
    Q_EMIT settingsSaved();
    QDialog::accept();
    return 0;
}

void CDlgProgramSettings::accept()
{
    applyOk();
}
