#include "circulation/pagevraceni.h"

#include "app/appstate.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookdialogs.h"
#include "circulation/circulationcore.h"
#include "data/checks.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

// Who has the book: "K7  (Malá Eva)".
QString clientText(const QString &code, const QString &surname, const QString &first)
{
    return code + QStringLiteral("  (") + surname + QLatin1Char(' ') + first + QLatin1Char(')');
}

} // namespace

CPageVraceni::CPageVraceni(QWidget *parent) : CEntryPage(parent)
{
    auto delayText = [](qint32 delay) { return delay > 0 ? QString::number(delay) : QString(); };
    m_list = new CPreparedList<ReturnListItem>(
        {
            {QStringLiteral("Kód"), 60, [](const ReturnListItem &b) { return b.code; },
             [](const ReturnListItem &b) { return QVariant(b.code); }, Qt::AlignLeft | Qt::AlignVCenter,
             longestCodeSample()},
            {QStringLiteral("Název"), 254, [](const ReturnListItem &b) { return b.title; },
             [](const ReturnListItem &b) { return QVariant(b.title); }},
            {QStringLiteral("Autor"), 96, [](const ReturnListItem &b) { return b.author; },
             [](const ReturnListItem &b) { return QVariant(b.author); }},
            {QStringLiteral("Prodlení"), 70,
             [delayText](const ReturnListItem &b) { return delayText(b.delay); },
             [](const ReturnListItem &b) { return QVariant(b.delay); }, Qt::AlignRight | Qt::AlignVCenter},
        },
        this);

    BookLookupBox book = makeBookLookupBox(this);
    QGroupBox *bookBox = book.box;
    m_bookCode = book.code;
    QPushButton *ok = book.ok;
    QPushButton *pick = book.pick;
    m_title = book.title;
    m_author = book.author;
    m_category = book.category;
    m_returnDateEdit = new CRvEdit(bookBox);
    m_returnDateEdit->setObjectName(QStringLiteral("returnDate"));
    m_returnDateEdit->SetResType(CRvEdit::Date);
    m_returnDateEdit->setMaxLength(20);
    fitWidth(m_returnDateEdit);
    auto *dateLabel = new QLabel(QStringLiteral("&Vrátit dne"), bookBox);
    dateLabel->setBuddy(m_returnDateEdit);
    m_client = readOnlyField(bookBox);
    m_loanDateText = readOnlyField(bookBox);
    m_delayText = readOnlyField(bookBox);
    m_delayText->setAlignment(Qt::AlignRight);
    fitWidth(m_loanDateText);
    fitWidth(m_delayText, QStringLiteral("99999999"));
    m_client->setObjectName(QStringLiteral("client"));
    m_loanDateText->setObjectName(QStringLiteral("loanDate"));
    m_delayText->setObjectName(QStringLiteral("delay"));
    book.codeRow->addSpacing(12);
    book.codeRow->addWidget(dateLabel);
    book.codeRow->addWidget(m_returnDateEdit);
    book.addField(QStringLiteral("Název"), m_title, 1, 0, 3);
    book.addField(QStringLiteral("Autor"), m_author, 2, 0, 1);
    book.addField(QStringLiteral("Kategorie"), m_category, 2, 2, 1);
    book.addField(QStringLiteral("Klient"), m_client, 3, 0, 3);
    book.addField(QStringLiteral("Půjčka"), m_loanDateText, 4, 0, 1);
    book.addField(QStringLiteral("Prodlení"), m_delayText, 4, 2, 1);
    QGridLayout *grid = book.grid;
    grid->setColumnStretch(1, 3);
    grid->setColumnStretch(3, 2);

    const PreparedListSection list =
        makePreparedListSection(m_list, QStringLiteral("Kni&hy připravené k vrácení"), this);
    m_add = list.add;
    m_view = list.view;
    QPushButton *remove = list.remove;
    QHBoxLayout *listHead = list.head;

    auto *giveBackButton = iconButton(QStringLiteral("Vrátit"), QStyle::SP_DialogOkButton, this);
    auto *cancelButton = iconButton(QStringLiteral("Storno"), QStyle::SP_DialogCancelButton, this);
    auto *bottom = new QHBoxLayout;
    bottom->addStretch(1);
    bottom->addWidget(giveBackButton);
    bottom->addWidget(cancelButton);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(bookBox);
    layout->addLayout(listHead);
    layout->addWidget(m_view, 1);
    layout->addLayout(bottom);

    setTabOrder(m_bookCode, ok);
    setTabOrder(ok, pick);
    setTabOrder(pick, m_returnDateEdit);
    setTabOrder(m_returnDateEdit, m_add);
    setTabOrder(m_add, remove);
    setTabOrder(remove, m_view);
    setTabOrder(m_view, giveBackButton);
    setTabOrder(giveBackButton, cancelButton);

    connect(m_bookCode, &CRvEdit::enterPressed, this, &CPageVraceni::lookUpBook);
    connect(ok, &QPushButton::clicked, this, &CPageVraceni::lookUpBook);
    connect(pick, &QPushButton::clicked, this, &CPageVraceni::pickBook);
    connect(m_add, &QPushButton::clicked, this, &CPageVraceni::addBook);
    connect(remove, &QPushButton::clicked, this, &CPageVraceni::removeSelected);
    connect(m_view, &QTableView::activated, this, &CPageVraceni::showDetails);
    connect(giveBackButton, &QPushButton::clicked, this, &CPageVraceni::giveBack);
    connect(cancelButton, &QPushButton::clicked, this, &CPageVraceni::cancel);

    setMinimumSize(640, 470);
    fullClear();
}

void CPageVraceni::onActivate()
{
    fullClear();
    m_bookCode->setFocus();
}

void CPageVraceni::onDeactivate()
{
    fullClear();
}

void CPageVraceni::partialClear()
{
    for (QLineEdit *e : {static_cast<QLineEdit *>(m_bookCode), m_title, m_author, m_category, m_client,
                         m_loanDateText, m_delayText})
        e->clear();
    m_currentCode.clear();
    m_bookId = m_categoryId = m_holder = m_loanNumber = -1;
    m_loanDate = m_due = NoDate;
    m_limited = false;
    m_delay = -1;
}

void CPageVraceni::fullClear()
{
    partialClear();
    m_list->clear();
    m_returnDate = NoDate;
    m_returnDateEdit->setEnabled(true);
    m_returnDateEdit->setText(dateText(today()));
}

void CPageVraceni::cancel()
{
    fullClear();
    m_bookCode->setFocus();
}

void CPageVraceni::lookUpBook()
{
    auto refuse = [this](int message, QWidget *focus) {
        showMessage(message);
        partialClear();
        focus->setFocus();
    };
    auto refuseOnCode = [this, refuse](int message) { refuse(message, m_bookCode); };
    lookUpBookCode(
        m_bookCode, {69, 70, 71, 72}, refuseOnCode, [&](const QString &code, const BookInUse &found) {
            const BookRow &book = found.book;
            if (m_returnDate == NoDate) {
                QDate date;
                if (!m_returnDateEdit->GetAsOleDate(date))
                    return refuse(73, m_returnDateEdit);
                // The first book of a batch fixes the return date for all of it.
                m_returnDate = dateNumberFromDate(date);
                m_returnDateEdit->setEnabled(false);
            }
            QString holderText;
            if (book.client != -1) {
                const std::optional<ClientName> holder = clientWithId(book.client);
                if (!holder)
                    return refuseOnCode(71);
                holderText = clientText(holder->code, holder->surname, holder->firstName);
            }
            LoanTerms terms;
            qint32 delay = 0;
            if (book.loan != -1) {
                const std::optional<LoanTerms> loan = loanTerms(book.loan, book.id);
                if (!loan)
                    return refuseOnCode(71);
                terms = *loan;
                if (terms.limited)
                    delay = qMax(0, daysBetween(terms.due, m_returnDate));
            }
            m_currentCode = code;
            m_bookId = book.id;
            m_categoryId = book.category;
            m_holder = book.client;
            m_loanNumber = book.loan;
            m_loanDate = terms.loanDate;
            m_due = terms.due;
            m_limited = terms.limited;
            m_delay = delay;
            m_title->setText(book.title);
            m_author->setText(book.author);
            m_category->setText(*found.category);
            m_client->setText(holderText);
            m_loanDateText->setText(terms.loanDate == NoDate ? QString() : dateText(terms.loanDate));
            m_delayText->setText(delay > 0 ? QString::number(delay) : QString());
            m_add->setFocus();
        });
}

void CPageVraceni::pickBook()
{
    if (pickBookCode(this, QStringLiteral("Vyberte knihu ze seznamu knih, které je možné vrátit."),
                     BookList::Lent, m_bookCode))
        lookUpBook();
}

void CPageVraceni::addBook()
{
    auto refuse = [this](int message) {
        showMessage(message);
        partialClear();
        m_bookCode->setFocus();
    };
    if (m_bookId == -1)
        return refuse(74);
    // The holder, not VYPUJCENO, tells whether the book is out.
    if (m_holder == -1)
        return refuse(75);
    if (m_returnDate < m_loanDate)
        return refuse(84);
    for (const ReturnListItem &i : m_list->items())
        if (i.bookId == m_bookId)
            return refuse(77);
    ReturnListItem item;
    item.code = m_currentCode;
    item.title = m_title->text();
    item.author = m_author->text();
    item.bookId = m_bookId;
    item.clientId = m_holder;
    item.loanNumber = m_loanNumber;
    item.returnDate = m_returnDate;
    item.due = m_due;
    item.loanDate = m_loanDate;
    item.delay = m_delay;
    item.limited = m_limited;
    m_list->insertTop(item);
    partialClear();
    m_bookCode->setFocus();
}

void CPageVraceni::removeSelected()
{
    removeSelectedRows(m_view, m_list, 76);
}

void CPageVraceni::showDetails()
{
    showCurrentBookDetails(this, m_view, m_list);
}

void CPageVraceni::categoriesChanged()
{
    refreshBookCategory(m_bookId, &m_categoryId, m_category);
}

void CPageVraceni::clientChanged(qint32 id, const QString &code, const QString &surname, const QString &first)
{
    if (id != -1 && id == m_holder)
        m_client->setText(clientText(code, surname, first));
}

bool CPageVraceni::categoryRenamed(qint32 id, const QString &oldName, const QString &newName)
{
    Q_UNUSED(oldName);
    if (id != -1 && id == m_categoryId)
        m_category->setText(newName);
    return true;
}

void CPageVraceni::giveBack()
{
    if (m_list->isEmpty()) {
        showMessage(Message::ReturnListEmpty);
        partialClear();
        m_bookCode->setFocus();
        return;
    }
    QList<ReturnBook> books;
    for (const ReturnListItem &i : m_list->items())
        books << ReturnBook{i.bookId, i.clientId, i.loanNumber, i.loanDate, i.due, i.limited};
    BusyCursor wait;
    CirculationResult result;
    try {
        result = returnBooks(m_returnDate, books, [this](int row) { m_list->removeAt(row); });
    } catch (const DbError &e) {
        showDbError(Message::ReturnDbError, e);
        partialClear();
        m_bookCode->setFocus();
        return;
    }
    if (!result.done()) {
        // Another desk returned a listed book since it was added: it is no longer lent.
        showMessage(Message::ReturnBookNotLent);
        partialClear();
        m_bookCode->setFocus();
        return;
    }
    fullClear();
    m_bookCode->setFocus();
    requestProtocol(result.number);
}

void CPageVraceni::requestProtocol(qint32 returnNumber)
{
    const int setting = AppState::instance().settings.returnProtocol;
    if (setting == SettingsRecord::PrintNever)
        return;
    if (setting == SettingsRecord::PrintOnRequest &&
        RvMessageBox(QString(),
                     QStringLiteral("Přejete si vytisknout protokol o právě provedeném vrácení knih?"),
                     MessageKind::Information, ButtonsYesNo) != ResultYes)
        return;
    Q_EMIT protocolRequested(ProtocolRequest{ProtocolRequest::Return, returnNumber});
}
