#include "reports/reportdialogs.h"

#include "app/messages.h"
#include "app/rvedit.h"
#include "registers/clientdialogs.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// OK (the default button) and "  Storno" under the dialog's fields.
QDialogButtonBox *okCancel(QDialog *dialog, std::function<void()> onOk)
{
    auto *box = new QDialogButtonBox(dialog);
    QPushButton *ok = box->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    box->addButton(QStringLiteral("  Storno"), QDialogButtonBox::RejectRole);
    ok->setDefault(true);
    QObject::connect(ok, &QPushButton::clicked, dialog, std::move(onOk));
    QObject::connect(box, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    return box;
}

bool readDate(CRvEdit *field, ReportDate *out)
{
    QDate date;
    if (!field->GetAsOleDate(date)) {
        showMessage(Message::DateInvalid);
        field->setFocus();
        return false;
    }
    out->day = dateNumberFromDate(date);
    out->shown = dateText(date);
    return true;
}

} // namespace

CRvEdit *todayField(QWidget *parent)
{
    auto *edit = new CRvEdit(parent);
    edit->SetResType(CRvEdit::Date);
    edit->setMaxLength(20);
    edit->setText(dateText(today()));
    return edit;
}

CReportCategoryDialog::CReportCategoryDialog(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Zadejte název kategorie knih"));
    m_list = new QComboBox(this);
    m_list->setMinimumContentsLength(30);
    auto *label = new QLabel(QStringLiteral("&Zobrazit knihy kategorie"), this);
    label->setBuddy(m_list);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(m_list);
    layout->addWidget(okCancel(this, [this] {
        if (checkOk())
            accept();
    }));
}

bool CReportCategoryDialog::fill()
{
    QList<ReportCategory> categories;
    const int message = listShownCategories(&categories);
    if (message != 0) {
        showMessage(message);
        return false;
    }
    m_list->clear();
    for (const ReportCategory &c : std::as_const(categories))
        m_list->addItem(c.name, c.id);
    m_list->setCurrentIndex(-1);
    return true;
}

bool CReportCategoryDialog::checkOk()
{
    if (m_list->currentIndex() < 0) {
        showMessage(Message::CategoryNotChosen);
        m_list->setFocus();
        return false;
    }
    m_result = {m_list->currentData().toInt(), m_list->currentText()};
    return true;
}

CReportDateDialog::CReportDateDialog(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Zadejte nejpozdější datum vrácení"));
    m_date = todayField(this);
    auto *label = new QLabel(QStringLiteral("Vypsat knihy vypůjčené s prodlením ke dni"), this);
    label->setBuddy(m_date);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addWidget(m_date);
    auto ok = [this] {
        if (checkOk())
            accept();
    };
    layout->addWidget(okCancel(this, ok));
    connect(m_date, &CRvEdit::enterPressed, this, ok);
}

bool CReportDateDialog::checkOk()
{
    return readDate(m_date, &m_result);
}

CReportClientDialog::CReportClientDialog(bool withDate, QWidget *parent) : QDialog(parent)
{
    setWindowTitle(withDate ? QStringLiteral("Zadejte nejpozdější datum vrácení a kód klienta")
                            : QStringLiteral("Zadejte kód klienta"));
    m_code = new CRvEdit(this);
    auto *codeLabel = new QLabel(QStringLiteral("Kód klienta"), this);
    codeLabel->setBuddy(m_code);
    auto *browse = new QPushButton(QStringLiteral("Nalistovat"), this);
    browse->setAutoDefault(false);
    auto *codeRow = new QHBoxLayout;
    codeRow->addWidget(m_code, 1);
    codeRow->addWidget(browse);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(codeLabel);
    layout->addLayout(codeRow);
    auto ok = [this] {
        if (checkOk())
            accept();
    };
    if (withDate) {
        m_date = todayField(this);
        auto *dateLabel = new QLabel(QStringLiteral("Vypsat knihy vypůjčené s prodlením ke dni"), this);
        dateLabel->setBuddy(m_date);
        layout->addWidget(dateLabel);
        layout->addWidget(m_date);
        connect(m_date, &CRvEdit::enterPressed, this, ok);
    }
    layout->addWidget(okCancel(this, ok));
    connect(m_code, &CRvEdit::enterPressed, this, ok);
    connect(browse, &QPushButton::clicked, this, &CReportClientDialog::browseClients);
    m_code->setFocus();
}

bool CReportClientDialog::checkOk()
{
    const int message = findReportClient(m_code->text(), &m_result.client);
    if (message != 0) {
        showMessage(message);
        m_code->setFocus();
        return false;
    }
    return !m_date || readDate(m_date, &m_result.date);
}

void CReportClientDialog::browseClients()
{
    if (const std::optional<QString> code = pickClient(this))
        setPickedCode(*code);
}

void CReportClientDialog::setPickedCode(const QString &code)
{
    m_code->setText(code);
    if (m_date) {
        m_date->setFocus();
        m_date->selectAll();
    } else if (checkOk()) {
        accept();
    }
}

std::optional<ReportCategory> askReportCategory(QWidget *parent)
{
    CReportCategoryDialog dialog(parent);
    if (!dialog.fill() || dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.result();
}

std::optional<ReportDate> askReportDate(QWidget *parent)
{
    CReportDateDialog dialog(parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.result();
}

std::optional<ReportClient> askReportClient(QWidget *parent)
{
    CReportClientDialog dialog(false, parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.result().client;
}

std::optional<ReportClientAndDate> askReportClientAndDate(QWidget *parent)
{
    CReportClientDialog dialog(true, parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.result();
}
