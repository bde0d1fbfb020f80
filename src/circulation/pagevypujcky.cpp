#include "circulation/pagevypujcky.h"

#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookdialogs.h"
#include "circulation/circulationcore.h"
#include "data/checks.h"
#include "data/recordsets.h"
#include "data/statements.h"
#include "registers/clientdialogs.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

QString clientName(const CSetLide &lide)
{
    return lide.m_PRIJMENI + QLatin1Char(' ') + lide.m_JMENO;
}

} // namespace

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
    const QString code = m_bookCode->text().trimmed();
    if (code.isEmpty()) {
        showMessage(56);
        partialClear();
        m_bookCode->setFocus();
        return;
    }
    if (hasForbiddenChars(code)) {
        showMessage(119);
        m_bookCode->setFocus();
        return;
    }
    BusyCursor wait;
    try {
        CSetKnihy book;
        book.open(QString::asprintf(Stmt::KnihyByKodNotDiscarded, qUtf8Printable(code)));
        if (book.isEOF()) {
            showMessage(57);
            partialClear();
            m_bookCode->setFocus();
            return;
        }
        CSetKategorie category;
        category.open(QString::asprintf(Stmt::KategorieById, book.m_ID_KATEGORIE_KNIHY));
        if (category.isEOF()) {
            showMessage(58);
            partialClear();
            m_bookCode->setFocus();
            return;
        }
        m_title->setText(book.m_NAZEV);
        m_author->setText(book.m_AUTOR);
        m_category->setText(category.m_NAZEV);
        m_bookId = book.m_ID_KNIHY_KNIHY;
        m_categoryId = book.m_ID_KATEGORIE_KNIHY;
        m_acquired = book.m_DATUM_PORIZENI;
        m_currentCode = code;
        m_add->setFocus();
    } catch (const DbError &) {
        showMessage(59);
        partialClear();
        m_bookCode->setFocus();
    }
}

void CPageVypujcky::pickBook()
{
    const auto picked =
        ::pickBook(this, QStringLiteral("Vyberte knihu ze seznamu knih, které je možné vypůjčit."),
                   QString::fromUtf8(Stmt::PickLendable));
    if (!picked)
        return;
    m_bookCode->setText(picked->code);
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
        CSetKnihy book;
        book.open(QString::asprintf(Stmt::KnihyById, m_bookId));
        if (book.isEOF())
            return refuse(59);
        if (book.m_VYPUJCENO)
            return refuse(62);
        item.code = book.m_KOD;
        item.title = book.m_NAZEV;
        item.author = book.m_AUTOR;
        item.bookId = book.m_ID_KNIHY_KNIHY;
        item.acquired = book.m_DATUM_PORIZENI;
    } catch (const DbError &) {
        return refuse(59);
    }
    if (m_limit->isChecked()) {
        QDate due;
        if (!m_due->GetAsOleDate(due)) {
            showMessage(66);
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
        showMessage(119);
        m_clientCode->setFocus();
        return;
    }
    BusyCursor wait;
    try {
        CSetLide lide;
        lide.open(QString::asprintf(Stmt::LideByKodVisible, qUtf8Printable(code)));
        if (lide.isEOF())
            return refuse(64);
        m_clientName->setText(clientName(lide));
        m_clientId = lide.m_ID_LIDE_LIDE;
        m_loanDate->setFocus();
    } catch (const DbError &) {
        showMessage(59);
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
        CSetLide lide;
        lide.open(QString::asprintf(Stmt::LideByKod, qUtf8Printable(code)));
        if (lide.isEOF())
            throw DbError(QStringLiteral("the chosen client is not in LIDE"));
        m_clientCode->setText(lide.m_KOD);
        m_clientName->setText(clientName(lide));
        m_clientId = lide.m_ID_LIDE_LIDE;
        m_loanDate->setFocus();
    } catch (const DbError &) {
        showMessage(59);
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
    QString name;
    if (readBookCategory(m_bookId, &m_categoryId, &name))
        m_category->setText(name);
}

void CPageVypujcky::lend()
{
    if (m_list->isEmpty()) {
        showMessage(67);
        m_bookCode->setFocus();
        return;
    }
    QDate date;
    if (!m_loanDate->GetAsOleDate(date)) {
        showMessage(68);
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
        showMessage(63);
        m_clientCode->setFocus();
        return;
    }
    BusyCursor wait;
    qint32 loanNumber = -1;
    try {
        {
            CSetLide lide;
            lide.open(QString::asprintf(Stmt::LideByIdVisible, m_clientId));
            if (lide.isEOF()) {
                // Hidden since it was chosen; the id stays, the texts go.
                showMessage(64);
                m_clientCode->clear();
                m_clientName->clear();
                m_clientCode->setFocus();
                return;
            }
        }
        QList<LoanBook> books;
        for (const PreparedBook &b : items)
            books << LoanBook{b.bookId, b.due};
        loanNumber = lendBooks(m_clientId, loanDate, books, [this](int row) { m_list->removeAt(row); });
    } catch (const DbError &) {
        showMessage(59);
        partialClear();
        m_bookCode->setFocus();
        return;
    }
    fullClear();
    m_bookCode->setFocus();
    requestProtocol(loanNumber);
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
    AppState::instance().protocol = ProtocolRequest{ProtocolRequest::Loan, loanNumber};
    Q_EMIT protocolRequested();
}
