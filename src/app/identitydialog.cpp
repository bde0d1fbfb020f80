#include "app/identitydialog.h"

#include "app/messages.h"
#include "app/shellicons.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

const QString CDlgIdentity::ExitQuestion =
    QStringLiteral("          Chcete skutečně ukončit program?          ");

CDlgIdentity::CDlgIdentity(Form form, const SettingsRecord &record, QWidget *parent)
    : QDialog(parent), m_form(form), m_record(record)
{
    setWindowTitle(QStringLiteral("Kontrola identity"));
    if (form == Lock) {
        // No close box: the locked program opens only to its password.
        setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint);
    }
    auto *prompt = new QLabel(QStringLiteral("Zadejte prosím Vaše přístupové heslo"), this);
    m_password = new QLineEdit(this);
    m_password->setEchoMode(QLineEdit::Password);
    m_password->setMaxLength(64);
    m_password->setMinimumWidth(200);
    auto *label = new QLabel(QStringLiteral("&Heslo"), this);
    label->setBuddy(m_password);
    auto *form_ = new QFormLayout;
    form_->addRow(label, m_password);

    auto *buttons = new QDialogButtonBox(this);
    QPushButton *ok = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    ok->setIcon(shellIcon(ShellIcon::Ok));
    ok->setDefault(true);
    m_end = buttons->addButton(form == Lock ? QStringLiteral("  Konec") : QStringLiteral("  Storno"),
                               QDialogButtonBox::RejectRole);
    m_end->setIcon(shellIcon(ShellIcon::Cancel));
    m_end->setAutoDefault(false);
    connect(ok, &QPushButton::clicked, this, &CDlgIdentity::accept);
    connect(m_end, &QPushButton::clicked, this, [this] {
        if (m_form == Lock)
            askExit();
        else
            QDialog::reject();
    });

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(prompt);
    layout->addLayout(form_);
    layout->addWidget(buttons);
    m_password->setFocus();
}

int CDlgIdentity::checkOk()
{
    if (!checkPassword(m_record, m_password->text())) {
        showMessage(Message::PasswordWrong);
        m_password->setFocus();
        m_password->selectAll();
        return 28;
    }
    return 0;
}

void CDlgIdentity::accept()
{
    if (checkOk() == 0)
        QDialog::accept();
}

void CDlgIdentity::reject()
{
    // Escape cancels the start-up form; the lock form stays until the password or "Konec".
    if (m_form == AtStart)
        QDialog::reject();
}

void CDlgIdentity::closeEvent(QCloseEvent *event)
{
    if (m_form == Lock)
        event->ignore();
    else
        QDialog::closeEvent(event);
}

bool CDlgIdentity::askExit()
{
    if (RvMessageBox(QString(), ExitQuestion, MessageKind::Question, ButtonsYesNo) != ResultYes)
        return false;
    done(ExitProgram);
    return true;
}
