#include "reports/protocoldialogs.h"

#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookdialogs.h"
#include "reports/protocolcore.h"
#include "reports/protocolprint.h"
#include "reports/protocolrequest.h"
#include "reports/texttablemodel.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

namespace {

QTableView *listView(QWidget *parent, CTextTableModel *model)
{
    auto *view = new QTableView(parent);
    view->setModel(model);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setShowGrid(true);
    view->setWordWrap(false);
    view->verticalHeader()->hide();
    view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 6);
    view->horizontalHeader()->setStretchLastSection(true);
    view->setMinimumSize(520, 200);
    return view;
}

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

CRvEdit *dateField(QWidget *parent, const QDate &date)
{
    auto *edit = new CRvEdit(parent);
    edit->SetResType(CRvEdit::Date);
    edit->setMaxLength(20);
    edit->setText(dateText(date));
    return edit;
}

} // namespace

CProtocolChooser::CProtocolChooser(int kind, QWidget *parent) : QDialog(parent), m_kind(kind)
{
    const bool loan = kind == ProtocolRequest::Loan;
    setWindowTitle(loan ? QStringLiteral("Zvolte výpůjčku pro tisk protokolu")
                        : QStringLiteral("Zvolte vrácení pro tisk protokolu"));
    m_numberField = new CRvEdit(this);
    m_numberField->SetResType(CRvEdit::WholeNumber);
    m_numberField->setMaxLength(10);
    auto *label =
        new QLabel(loan ? QStringLiteral("&Číslo výpůjčky") : QStringLiteral("&Číslo vrácení"), this);
    label->setBuddy(m_numberField);
    auto *show = new QPushButton(QStringLiteral("&Zobrazit"), this);
    auto *browse = new QPushButton(QStringLiteral("&Seznam..."), this);
    show->setAutoDefault(false);
    browse->setAutoDefault(false);
    auto *row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(m_numberField, 1);
    row->addWidget(show);
    row->addWidget(browse);
    m_info = new QLabel(this);
    m_model =
        new CTextTableModel(loan ? QStringList{QStringLiteral("Kód"), QStringLiteral("Název"),
                                               QStringLiteral("Autor"), QStringLiteral("Vrátit do")}
                                 : QStringList{QStringLiteral("Kód knihy"), QStringLiteral("Název knihy"),
                                               QStringLiteral("Kód klienta"), QStringLiteral("Jméno klienta"),
                                               QStringLiteral("Datum půjčky"), QStringLiteral("Prodlení")},
                            this);
    m_list = listView(this, m_model);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(m_info);
    layout->addWidget(m_list, 1);
    layout->addWidget(okCancel(this, [this] {
        if (checkOk())
            accept();
    }));
    connect(show, &QPushButton::clicked, this, &CProtocolChooser::showNumber);
    connect(m_numberField, &CRvEdit::enterPressed, this, &CProtocolChooser::showNumber);
    connect(browse, &QPushButton::clicked, this, &CProtocolChooser::openPeriodList);
    connect(m_list, &QTableView::doubleClicked, this, &CProtocolChooser::openBook);
    resize(640, 380);
}

bool CProtocolChooser::showNumber()
{
    m_model->clear();
    m_info->clear();
    m_number = -1;
    const QString text = m_numberField->text().trimmed();
    qint32 number = 0;
    if (text.isEmpty()) {
        showMessage(Message::ProtocolNumberMissing);
        m_numberField->setFocus();
        return false;
    }
    if (!m_numberField->GetAsLong(number)) {
        showMessage(Message::ProtocolNotFound);
        m_numberField->setFocus();
        return false;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    QList<QStringList> rows;
    QList<qint32> ids;
    int message = 0;
    if (m_kind == ProtocolRequest::Loan) {
        LoanProtocol loan;
        message = loadLoanForChooser(number, &loan);
        for (const LoanProtocolRow &r : std::as_const(loan.rows)) {
            rows.append({r.code, r.title, r.author, protocolDueText(r.due)});
            ids.append(r.bookId);
        }
        if (message == 0)
            m_info->setText(
                QStringLiteral("Klient: %1, provedeno dne %2").arg(loan.client, dateText(loan.date)));
    } else {
        ReturnProtocol ret;
        message = loadReturnForChooser(number, &ret);
        for (const ReturnProtocolRow &r : std::as_const(ret.rows)) {
            rows.append({r.bookCode, r.bookTitle, r.clientCode, r.clientName, dateText(r.loanDate),
                         protocolLatenessText(r.lateness)});
            ids.append(r.bookId);
        }
        if (message == 0)
            m_info->setText(QStringLiteral("Datum vrácení: %1").arg(dateText(ret.date)));
    }
    QApplication::restoreOverrideCursor();
    if (message != 0) {
        showMessage(message);
        m_numberField->setFocus();
        return false;
    }
    m_model->setRows(rows, ids);
    m_list->resizeColumnsToContents();
    m_number = number;
    return true;
}

bool CProtocolChooser::checkOk()
{
    return showNumber();
}

void CProtocolChooser::openPeriodList()
{
    CProtocolPeriodList list(m_kind, this);
    if (list.exec() != QDialog::Accepted)
        return;
    m_numberField->setText(QString::number(list.chosen()));
    showNumber();
}

void CProtocolChooser::openBook(const QModelIndex &index)
{
    if (!index.isValid())
        return;
    showBookDetails(this, m_model->rowId(index.row()));
    m_list->setFocus();
}

CProtocolPeriodList::CProtocolPeriodList(int kind, QWidget *parent) : QDialog(parent), m_kind(kind)
{
    const bool loan = kind == ProtocolRequest::Loan;
    setWindowTitle(loan ? QStringLiteral("Vyberte výpůjčku knih ze seznamu")
                        : QStringLiteral("Vyberte vrácení knih ze seznamu"));
    const QDate now = today();
    m_from = dateField(this, now.addMonths(-1));
    m_to = dateField(this, now);
    auto *fromLabel = new QLabel(QStringLiteral("&Od"), this);
    fromLabel->setBuddy(m_from);
    auto *toLabel = new QLabel(QStringLiteral("&Do"), this);
    toLabel->setBuddy(m_to);
    auto *find = new QPushButton(QStringLiteral("&Hledat"), this);
    find->setAutoDefault(false);
    auto *row = new QHBoxLayout;
    row->addWidget(fromLabel);
    row->addWidget(m_from, 1);
    row->addWidget(toLabel);
    row->addWidget(m_to, 1);
    row->addWidget(find);
    m_model =
        new CTextTableModel(loan ? QStringList{QStringLiteral("Čís. výpůjčky"), QStringLiteral("Kód klienta"),
                                               QStringLiteral("Jméno klienta"),
                                               QStringLiteral("Datum půjčky"), QStringLiteral("Počet knih")}
                                 : QStringList{QStringLiteral("Čís. vrácení"),
                                               QStringLiteral("Datum vrácení"), QStringLiteral("Počet knih")},
                            this);
    m_list = listView(this, m_model);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(row);
    layout->addWidget(m_list, 1);
    auto ok = [this] {
        if (checkOk())
            accept();
    };
    layout->addWidget(okCancel(this, ok));
    connect(find, &QPushButton::clicked, this, &CProtocolPeriodList::search);
    connect(m_from, &CRvEdit::enterPressed, this, &CProtocolPeriodList::search);
    connect(m_to, &CRvEdit::enterPressed, this, &CProtocolPeriodList::search);
    connect(m_list, &QTableView::doubleClicked, this, ok);
    resize(600, 380);
}

bool CProtocolPeriodList::search()
{
    m_model->clear();
    if (m_from->text().trimmed().isEmpty() || m_to->text().trimmed().isEmpty()) {
        showMessage(Message::PeriodMissing);
        (m_from->text().trimmed().isEmpty() ? m_from : m_to)->setFocus();
        return false;
    }
    QDate from, to;
    if (!m_from->GetAsOleDate(from)) {
        showMessage(Message::PeriodDateInvalid);
        m_from->setFocus();
        return false;
    }
    if (!m_to->GetAsOleDate(to)) {
        showMessage(Message::PeriodDateInvalid);
        m_to->setFocus();
        return false;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    QList<QStringList> rows;
    QList<qint32> ids;
    int message = 0;
    if (m_kind == ProtocolRequest::Loan) {
        QList<LoanListEntry> loans;
        message = listLoansInPeriod(dateNumberFromDate(from), dateNumberFromDate(to), &loans);
        for (const LoanListEntry &e : std::as_const(loans)) {
            rows.append({QString::number(e.number), e.clientCode, e.clientName, dateText(e.date),
                         QString::number(e.books)});
            ids.append(e.number);
        }
    } else {
        QList<ReturnListEntry> returns;
        message = listReturnsInPeriod(dateNumberFromDate(from), dateNumberFromDate(to), &returns);
        for (const ReturnListEntry &e : std::as_const(returns)) {
            rows.append({QString::number(e.number), dateText(e.date), QString::number(e.books)});
            ids.append(e.number);
        }
    }
    QApplication::restoreOverrideCursor();
    if (message != 0) {
        showMessage(message);
        return false;
    }
    m_model->setRows(rows, ids);
    m_list->resizeColumnsToContents();
    m_list->selectRow(0);
    m_list->setFocus();
    return true;
}

bool CProtocolPeriodList::checkOk()
{
    const QModelIndexList selected = m_list->selectionModel()->selectedRows();
    if (selected.isEmpty()) {
        showMessage(m_kind == ProtocolRequest::Loan ? 115 : 118);
        return false;
    }
    m_chosen = m_model->rowId(selected.first().row());
    return true;
}

void runProtocolCommand(QWidget *parent, int kind, bool preview)
{
    CProtocolChooser chooser(kind, parent);
    if (chooser.exec() != QDialog::Accepted)
        return;
    printProtocol(parent, kind, chooser.number(), preview);
}
