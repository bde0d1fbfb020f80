#include "circulation/pagevypujcky.h"

#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookdialogs.h"
#include "circulation/circulationcore.h"
#include "data/checks.h"
#include "registers/clientdialogs.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

CPageVypujcky::CPageVypujcky(QWidget *parent) : CEntryPage(parent)
{
    m_list = new CPreparedList<PreparedBook>(
        {
            {QStringLiteral("Kód"), 60, [](const PreparedBook &b) { return b.code; },
             [](const PreparedBook &b) { return QVariant(b.code); }, Qt::AlignLeft | Qt::AlignVCenter,
             longestCodeSample()},
            {QStringLiteral("Název"), 254, [](const PreparedBook &b) { return b.title; },
             [](const PreparedBook &b) { return QVariant(b.title); }},
            {QStringLiteral("Autor"), 96, [](const PreparedBook &b) { return b.author; },
             [](const PreparedBook &b) { return QVariant(b.author); }},
            {QStringLiteral("Vrátit do"), 70,
             [](const PreparedBook &b) { return b.due == NoDate ? QString() : dateText(b.due); },
             [](const PreparedBook &b) { return QVariant(b.due); }, Qt::AlignLeft | Qt::AlignVCenter,
             widestDateSample()},
        },
        this);

    // The book.
    BookLookupBox book = makeBookLookupBox(this);
    QGroupBox *bookBox = book.box;
    m_bookCode = book.code;
    QPushButton *bookOk = book.ok;
    QPushButton *bookPick = book.pick;
    m_title = book.title;
    m_author = book.author;
    m_category = book.category;
    m_limit = new QCheckBox(QStringLiteral("&Vrátit do"), bookBox);
    m_limit->setObjectName(QStringLiteral("limit"));
    m_due = new CRvEdit(bookBox);
    m_due->setObjectName(QStringLiteral("due"));
    m_due->SetResType(CRvEdit::Date);
    m_due->setMaxLength(20);
    fitWidth(m_due);
    book.codeRow->addSpacing(12);
    book.codeRow->addWidget(m_limit);
    book.codeRow->addWidget(m_due);
    book.addField(QStringLiteral("Název"), m_title, 1, 0, 3);
    book.addField(QStringLiteral("Autor"), m_author, 2, 0, 1);
    book.addField(QStringLiteral("Kategorie"), m_category, 2, 2, 1);
    QGridLayout *bookGrid = book.grid;
    bookGrid->setColumnStretch(1, 3);
    bookGrid->setColumnStretch(3, 2);

    // The prepared list.
    const PreparedListSection list =
        makePreparedListSection(m_list, QStringLiteral("Kni&hy připravené k vypůjčení"), this);
    m_add = list.add;
    m_view = list.view;
    QPushButton *remove = list.remove;
    QHBoxLayout *listHead = list.head;

    // The client and the loan.
    auto *clientBox = new QGroupBox(QStringLiteral("Klient"), this);
    m_clientCode = new CRvEdit(clientBox);
    m_clientCode->setObjectName(QStringLiteral("clientCode"));
    m_clientCode->setMaxLength(32);
    auto *clientCodeLabel = new QLabel(QStringLiteral("Kó&d klienta"), clientBox);
    clientCodeLabel->setBuddy(m_clientCode);
    auto *clientOk = pageButton(QStringLiteral("OK"), clientBox);
    auto *clientPick = pageButton(QStringLiteral("Nalistovat..."), clientBox);
    auto *newClient = pageButton(QStringLiteral("Nový klient"), clientBox);
    newClient->setObjectName(QStringLiteral("newClient"));
    m_clientName = readOnlyField(clientBox);
    m_clientName->setObjectName(QStringLiteral("clientName"));
    auto *nameLabel = new QLabel(QStringLiteral("Jméno"), clientBox);
    nameLabel->setBuddy(m_clientName);
    auto *clientGrid = new QGridLayout(clientBox);
    clientGrid->addWidget(clientCodeLabel, 0, 0);
    auto *clientRow = new QHBoxLayout;
    clientRow->addWidget(m_clientCode, 1);
    clientRow->addWidget(clientOk);
    clientRow->addWidget(clientPick);
    clientRow->addWidget(newClient);
    clientGrid->addLayout(clientRow, 0, 1);
    clientGrid->addWidget(nameLabel, 1, 0);
    clientGrid->addWidget(m_clientName, 1, 1);

    m_loanDate = new CRvEdit(this);
    m_loanDate->setObjectName(QStringLiteral("loanDate"));
    m_loanDate->SetResType(CRvEdit::Date);
    m_loanDate->setMaxLength(20);
    fitWidth(m_loanDate);
    auto *loanDateLabel = new QLabel(QStringLiteral("&Půjčit dne"), this);
    loanDateLabel->setBuddy(m_loanDate);
    auto *lendButton = iconButton(QStringLiteral("Půjčit"), QStyle::SP_DialogOkButton, this);
    lendButton->setObjectName(QStringLiteral("lend"));
    auto *cancelButton = iconButton(QStringLiteral("Storno"), QStyle::SP_DialogCancelButton, this);
    auto *bottom = new QHBoxLayout;
    bottom->addWidget(loanDateLabel);
    bottom->addWidget(m_loanDate);
    bottom->addStretch(1);
    bottom->addWidget(lendButton);
    bottom->addWidget(cancelButton);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(bookBox);
    layout->addLayout(listHead);
    layout->addWidget(m_view, 1);
    layout->addWidget(clientBox);
    layout->addLayout(bottom);

    setTabOrder(m_bookCode, bookOk);
    setTabOrder(bookOk, bookPick);
    setTabOrder(bookPick, m_limit);
    setTabOrder(m_limit, m_due);
    setTabOrder(m_due, m_add);
    setTabOrder(m_add, remove);
    setTabOrder(remove, m_view);
    setTabOrder(m_view, m_clientCode);
    setTabOrder(m_clientCode, clientOk);
    setTabOrder(clientOk, clientPick);
    setTabOrder(clientPick, newClient);
    setTabOrder(newClient, m_loanDate);
    setTabOrder(m_loanDate, lendButton);
    setTabOrder(lendButton, cancelButton);

    connect(m_bookCode, &CRvEdit::enterPressed, this, &CPageVypujcky::lookUpBook);
    connect(bookOk, &QPushButton::clicked, this, &CPageVypujcky::lookUpBook);
    connect(bookPick, &QPushButton::clicked, this, &CPageVypujcky::pickBook);
    connect(m_limit, &QCheckBox::toggled, this, &CPageVypujcky::limitToggled);
    connect(m_add, &QPushButton::clicked, this, &CPageVypujcky::addBook);
    connect(remove, &QPushButton::clicked, this, &CPageVypujcky::removeSelected);
    connect(m_view, &QTableView::activated, this, &CPageVypujcky::showDetails);
    connect(m_clientCode, &CRvEdit::enterPressed, this, &CPageVypujcky::lookUpClient);
    connect(clientOk, &QPushButton::clicked, this, &CPageVypujcky::lookUpClient);
    connect(clientPick, &QPushButton::clicked, this, &CPageVypujcky::pickClient);
    connect(newClient, &QPushButton::clicked, this, [] {
        if (CMainFrame *frame = CMainFrame::instance())
            frame->runCommand(Cmd::NewClient);
    });
    connect(lendButton, &QPushButton::clicked, this, &CPageVypujcky::lend);
    connect(cancelButton, &QPushButton::clicked, this, &CPageVypujcky::cancel);

    setMinimumSize(640, 470);
    fullClear();
}

void CPageVypujcky::onActivate()
{
    fullClear();
    m_bookCode->setFocus();
}

void CPageVypujcky::onDeactivate()
{
    fullClear();
}

void CPageVypujcky::settingsChanged()
{
    applyLoanLengthDefault();
}

// The loan length of the settings: a limited loan proposes today plus the configured days.
void CPageVypujcky::applyLoanLengthDefault()
{
    const SettingsRecord &s = AppState::instance().settings;
    const bool limited = s.loanLength == SettingsRecord::Limit;
    m_limit->setChecked(limited);
    m_due->setText(limited ? dateText(today().addDays(s.loanDays)) : QString());
    m_due->setEnabled(limited);
}

void CPageVypujcky::limitToggled(bool limited)
{
    m_limit->setChecked(limited);
    const SettingsRecord &s = AppState::instance().settings;
    if (limited) {
        const QDate d = s.loanLength == SettingsRecord::Limit ? today().addDays(s.loanDays) : today();
        m_due->setText(dateText(d));
    } else {
        m_due->clear();
    }
    m_due->setEnabled(limited);
}

void CPageVypujcky::partialClear()
{
    applyLoanLengthDefault();
    m_bookId = -1;
    m_categoryId = -1;
    m_acquired = NoDate;
    m_currentCode.clear();
    m_bookCode->clear();
    m_title->clear();
    m_author->clear();
    m_category->clear();
}

void CPageVypujcky::clearClient()
{
    m_clientId = -1;
    m_clientCode->clear();
    m_clientName->clear();
}

void CPageVypujcky::fullClear()
{
    partialClear();
    m_loanDate->setText(dateText(today()));
    clearClient();
    m_list->clear();
}

void CPageVypujcky::cancel()
{
    fullClear();
    m_bookCode->setFocus();
}

void CPageVypujcky::lookUpBook()
{
    auto refuse = [this](int message) {
        showMessage(message);
        partialClear();
        m_bookCode->setFocus();
    };
    lookUpBookCode(m_bookCode, {56, 57, 58, 59}, refuse, [this](const QString &code, const BookInUse &found) {
        m_title->setText(found.book.title);
        m_author->setText(found.book.author);
        m_category->setText(*found.category);
        m_bookId = found.book.id;
        m_categoryId = found.book.category;
        m_acquired = found.book.acquired;
        m_currentCode = code;
        m_add->setFocus();
    });
}

void CPageVypujcky::pickBook()
{
    if (pickBookCode(this, QStringLiteral("Vyberte knihu ze seznamu knih, které je možné vypůjčit."),
                     BookList::Lendable, m_bookCode))
        lookUpBook();
}

void CPageVypujcky::addBook()
{
    auto refuse = [this](int message) {
        showMessage(message);
        partialClear();
        m_bookCode->setFocus();
    };
    if (m_bookId == -1)
        return refuse(60);
    for (int i = int(m_list->size()) - 1; i >= 0; --i)
        if (m_list->at(i).bookId == m_bookId)
            return refuse(61);
    PreparedBook item;
    try {
        const std::optional<BookRow> book = findBookById(m_bookId);
        if (!book)
            return refuse(59);
        if (book->lent)
            return refuse(62);
        item.code = book->code;
        item.title = book->title;
        item.author = book->author;
        item.bookId = book->id;
        item.acquired = book->acquired;
    } catch (const DbError &e) {
        logDbError(e);
        return refuse(59);
    }
    if (m_limit->isChecked()) {
        QDate due;
        if (!m_due->GetAsOleDate(due)) {
            showMessage(Message::LoanDueDateInvalid);
            m_due->setFocus();
            return;
        }
        item.due = dateNumberFromDate(due);
    }
    m_list->insertTop(item);
    partialClear();
    m_bookCode->setFocus();
}

void CPageVypujcky::removeSelected()
{
    removeSelectedRows(m_view, m_list, 52);
}

void CPageVypujcky::showDetails()
{
    showCurrentBookDetails(this, m_view, m_list);
}

void CPageVypujcky::lookUpClient()
{
    const QString code = m_clientCode->text().trimmed();
    auto refuse = [this](int message) {
        showMessage(message);
        clearClient();
        m_clientCode->setFocus();
    };
    if (code.isEmpty())
        return refuse(63);
    if (hasForbiddenChars(code)) {
        showMessage(Message::ForbiddenChars);
        m_clientCode->setFocus();
        return;
    }
    BusyCursor wait;
    try {
        const std::optional<ClientName> client = clientInUseByCode(code);
        if (!client)
            return refuse(64);
        m_clientName->setText(client->fullName());
        m_clientId = client->id;
        m_loanDate->setFocus();
    } catch (const DbError &e) {
        showDbError(Message::LoanDbError, e);
    }
}

void CPageVypujcky::pickClient()
{
    QWidget *focused = focusWidget();
    const auto code = ::pickClient(this);
    if (!code) {
        if (focused)
            focused->setFocus();
        return;
    }
    clientChosen(*code);
}

void CPageVypujcky::clientChosen(const QString &code)
{
    BusyCursor wait;
    try {
        const std::optional<ClientName> client = clientWithCode(code);
        if (!client)
            throw DbError(QStringLiteral("the chosen client is not in LIDE"));
        m_clientCode->setText(client->code);
        m_clientName->setText(client->fullName());
        m_clientId = client->id;
        m_loanDate->setFocus();
    } catch (const DbError &e) {
        showDbError(Message::LoanDbError, e);
    }
}

void CPageVypujcky::clientCreated(qint32 id, const QString &code, const QString &name)
{
    m_clientCode->setText(code);
    m_clientName->setText(name);
    m_clientId = id;
    m_loanDate->setFocus();
}

void CPageVypujcky::clientChanged(qint32 id, const QString &code, const QString &surname,
                                  const QString &first)
{
    if (id != m_clientId || id == -1)
        return;
    m_clientCode->setText(code);
    m_clientName->setText(surname + QLatin1Char(' ') + first);
}

// The id stays: "Půjčit" then refuses the client as one no longer in use.
void CPageVypujcky::clientRemoved(qint32 id)
{
    if (id != m_clientId || id == -1)
        return;
    m_clientCode->clear();
    m_clientName->clear();
}

bool CPageVypujcky::categoryRenamed(qint32 id, const QString &oldName, const QString &newName)
{
    Q_UNUSED(oldName);
    if (id != -1 && id == m_categoryId)
        m_category->setText(newName);
    return true;
}

void CPageVypujcky::categoriesChanged()
{
    refreshBookCategory(m_bookId, &m_categoryId, m_category);
}

void CPageVypujcky::lend()
{
    if (m_list->isEmpty()) {
        showMessage(Message::LoanListEmpty);
        m_bookCode->setFocus();
        return;
    }
    QDate date;
    if (!m_loanDate->GetAsOleDate(date)) {
        showMessage(Message::LoanDateInvalid);
        m_loanDate->setFocus();
        return;
    }
    const DateNumber loanDate = dateNumberFromDate(date);
    const QList<PreparedBook> &items = m_list->items();
    bool dueTooEarly = false;
    bool acquiredLater = false;
    for (int i = int(items.size()) - 1; i >= 0; --i) {
        if (items.at(i).due != NoDate && items.at(i).due < loanDate)
            dueTooEarly = true;
        if (items.at(i).acquired > loanDate)
            acquiredLater = true;
    }
    if (dueTooEarly || acquiredLater) {
        showMessage(dueTooEarly ? 83 : 85);
        m_loanDate->setFocus();
        return;
    }
    if (m_clientId == -1) {
        showMessage(Message::LoanClientCodeMissing);
        m_clientCode->setFocus();
        return;
    }
    BusyCursor wait;
    CirculationResult loan;
    try {
        // The loan reads the client again inside its transaction, before it takes a number.
        QList<LoanBook> books;
        for (const PreparedBook &b : items)
            books << LoanBook{b.bookId, b.due};
        loan = lendBooks(m_clientId, loanDate, books, [this](int row) { m_list->removeAt(row); });
    } catch (const DbError &e) {
        showDbError(Message::LoanDbError, e);
        partialClear();
        m_bookCode->setFocus();
        return;
    }
    switch (loan.refused) {
    case Meanwhile::Nothing:
        break;
    case Meanwhile::ClientHidden:
        refuseHiddenClient();
        return;
    default:
        // Another desk lent or discarded a listed book since it was added: the refusal "Přidat"
        // would have given it; the list stays for the librarian to remove the book.
        showMessage(loan.refused == Meanwhile::BookLent ? Message::LoanBookLent : Message::LoanBookNotFound);
        partialClear();
        m_bookCode->setFocus();
        return;
    }
    fullClear();
    m_bookCode->setFocus();
    requestProtocol(loan.number);
}

void CPageVypujcky::refuseHiddenClient()
{
    // Hidden since it was chosen; the id stays, the texts go.
    showMessage(Message::LoanClientNotFound);
    m_clientCode->clear();
    m_clientName->clear();
    m_clientCode->setFocus();
}

void CPageVypujcky::requestProtocol(qint32 loanNumber)
{
    const int setting = AppState::instance().settings.loanProtocol;
    if (setting == SettingsRecord::PrintNever)
        return;
    if (setting == SettingsRecord::PrintOnRequest &&
        RvMessageBox(QString(), QStringLiteral("Přejete si vytisknout protokol o právě provedené výpůjčce?"),
                     MessageKind::Information, ButtonsYesNo) != ResultYes)
        return;
    Q_EMIT protocolRequested(ProtocolRequest{ProtocolRequest::Loan, loanNumber});
}
