#include "circulation/pagevyrazeni.h"

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

CPageVyrazeni::CPageVyrazeni(QWidget *parent) : CEntryPage(parent)
{
    m_list = new CPreparedList<DiscardListItem>(
        {
            {QStringLiteral("Kód"), 60, [](const DiscardListItem &b) { return b.code; },
             [](const DiscardListItem &b) { return QVariant(b.code); }, Qt::AlignLeft | Qt::AlignVCenter,
             longestCodeSample()},
            {QStringLiteral("Název"), 300, [](const DiscardListItem &b) { return b.title; },
             [](const DiscardListItem &b) { return QVariant(b.title); }},
            {QStringLiteral("Autor"), 120, [](const DiscardListItem &b) { return b.author; },
             [](const DiscardListItem &b) { return QVariant(b.author); }},
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
    m_accession = new CRvEdit(bookBox);
    m_accession->SetResType(CRvEdit::WholeNumber);
    m_accession->setReadOnly(true);
    m_accession->setFocusPolicy(Qt::ClickFocus);
    m_accession->setMaxLength(8);
    m_accession->setObjectName(QStringLiteral("accession"));
    fitWidth(m_accession, QStringLiteral("99999999"));
    book.addField(QStringLiteral("Přírůst. čís."), m_accession, 1, 0, 1);
    book.addField(QStringLiteral("Kategorie"), m_category, 1, 2, 1);
    book.addField(QStringLiteral("Název"), m_title, 2, 0, 3);
    book.addField(QStringLiteral("Autor"), m_author, 3, 0, 3);
    QGridLayout *grid = book.grid;
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 3);

    const PreparedListSection list =
        makePreparedListSection(m_list, QStringLiteral("Kni&hy připravené k vyřazení"), this);
    m_add = list.add;
    m_view = list.view;
    QPushButton *remove = list.remove;
    QHBoxLayout *listHead = list.head;

    m_discardDate = new CRvEdit(this);
    m_discardDate->setObjectName(QStringLiteral("discardDate"));
    m_discardDate->SetResType(CRvEdit::Date);
    m_discardDate->setMaxLength(20);
    fitWidth(m_discardDate);
    auto *dateLabel = new QLabel(QStringLiteral("&Vyřadit dne"), this);
    dateLabel->setBuddy(m_discardDate);
    auto *discardButton = iconButton(QStringLiteral("Vyřadit"), QStyle::SP_DialogOkButton, this);
    auto *cancelButton = iconButton(QStringLiteral("Storno"), QStyle::SP_DialogCancelButton, this);
    auto *bottom = new QHBoxLayout;
    bottom->addWidget(dateLabel);
    bottom->addWidget(m_discardDate);
    bottom->addStretch(1);
    bottom->addWidget(discardButton);
    bottom->addWidget(cancelButton);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(bookBox);
    layout->addLayout(listHead);
    layout->addWidget(m_view, 1);
    layout->addLayout(bottom);

    setTabOrder(m_bookCode, ok);
    setTabOrder(ok, pick);
    setTabOrder(pick, m_add);
    setTabOrder(m_add, remove);
    setTabOrder(remove, m_view);
    setTabOrder(m_view, m_discardDate);
    setTabOrder(m_discardDate, discardButton);
    setTabOrder(discardButton, cancelButton);

    connect(m_bookCode, &CRvEdit::enterPressed, this, &CPageVyrazeni::lookUpBook);
    connect(ok, &QPushButton::clicked, this, &CPageVyrazeni::lookUpBook);
    connect(pick, &QPushButton::clicked, this, &CPageVyrazeni::pickBook);
    connect(m_add, &QPushButton::clicked, this, &CPageVyrazeni::addBook);
    connect(remove, &QPushButton::clicked, this, &CPageVyrazeni::removeSelected);
    connect(m_view, &QTableView::activated, this, &CPageVyrazeni::showDetails);
    connect(discardButton, &QPushButton::clicked, this, &CPageVyrazeni::discard);
    connect(cancelButton, &QPushButton::clicked, this, &CPageVyrazeni::cancel);

    setMinimumSize(640, 470);
    fullClear();
}

void CPageVyrazeni::onActivate()
{
    fullClear();
    m_bookCode->setFocus();
}

void CPageVyrazeni::onDeactivate()
{
    fullClear();
}

void CPageVyrazeni::partialClear()
{
    for (QLineEdit *e : {static_cast<QLineEdit *>(m_bookCode), m_title, m_author, m_category,
                         static_cast<QLineEdit *>(m_accession)})
        e->clear();
    m_currentCode.clear();
    m_bookId = m_categoryId = -1;
    m_acquired = NoDate;
}

void CPageVyrazeni::fullClear()
{
    partialClear();
    m_list->clear();
    m_discardDate->setText(dateText(today()));
}

void CPageVyrazeni::cancel()
{
    fullClear();
    m_bookCode->setFocus();
}

void CPageVyrazeni::lookUpBook()
{
    auto refuse = [this](int message) {
        showMessage(message);
        partialClear();
        m_bookCode->setFocus();
    };
    lookUpBookCode(m_bookCode, {48, 45, 46, 47}, refuse, [this](const QString &code, const BookInUse &found) {
        m_author->setText(found.book.author);
        m_category->setText(*found.category);
        m_title->setText(found.book.title);
        m_accession->setText(QString::asprintf("%d", found.book.accession));
        m_bookId = found.book.id;
        m_categoryId = found.book.category;
        m_currentCode = code;
        m_acquired = found.book.acquired;
        m_add->setFocus();
    });
}

void CPageVyrazeni::pickBook()
{
    if (pickBookCode(this, QStringLiteral("Vyberte knihu ze seznamu knih, které je možné vyřadit."),
                     BookList::Lendable, m_bookCode))
        lookUpBook();
}

void CPageVyrazeni::addBook()
{
    auto refuse = [this](int message) {
        showMessage(message);
        partialClear();
        m_bookCode->setFocus();
    };
    if (m_bookId == -1) {
        showMessage(Message::DiscardNoBook);
        m_bookCode->setFocus();
        return;
    }
    for (const DiscardListItem &i : m_list->items())
        if (i.bookId == m_bookId)
            return refuse(51);
    DiscardListItem item;
    try {
        const std::optional<BookRow> book = findBookById(m_bookId);
        if (!book)
            return refuse(47);
        if (book->lent) {
            // A lent book has to come back before it can be discarded.
            showMessage(Message::DiscardBookLent);
            m_bookCode->setFocus();
            return;
        }
        item.code = m_currentCode;
        item.title = book->title;
        item.author = book->author;
        item.bookId = book->id;
        item.acquired = book->acquired;
    } catch (const DbError &e) {
        logDbError(e);
        return refuse(47);
    }
    m_list->insertTop(item);
    partialClear();
    m_bookCode->setFocus();
}

void CPageVyrazeni::removeSelected()
{
    removeSelectedRows(m_view, m_list, 52);
}

void CPageVyrazeni::showDetails()
{
    showCurrentBookDetails(this, m_view, m_list);
}

void CPageVyrazeni::categoriesChanged()
{
    refreshBookCategory(m_bookId, &m_categoryId, m_category);
}

bool CPageVyrazeni::categoryRenamed(qint32 id, const QString &oldName, const QString &newName)
{
    Q_UNUSED(oldName);
    if (id != -1 && id == m_categoryId)
        m_category->setText(newName);
    return true;
}

void CPageVyrazeni::discard()
{
    if (m_list->isEmpty()) {
        showMessage(Message::DiscardListEmpty);
        m_bookCode->setFocus();
        return;
    }
    QDate date;
    if (!m_discardDate->GetAsOleDate(date)) {
        showMessage(Message::DiscardDateInvalid);
        m_discardDate->setFocus();
        return;
    }
    const DateNumber discardDate = dateNumberFromDate(date);
    for (int i = int(m_list->size()) - 1; i >= 0; --i) {
        if (m_list->at(i).acquired > discardDate) {
            showMessage(Message::DiscardBeforeAcquisition);
            m_discardDate->setFocus();
            return;
        }
    }
    if (RvMessageBox(QString(), QStringLiteral("Pozor, skutečně chcete vyřadit uvedené knihy?"),
                     MessageKind::Warning, ButtonsYesNoIrreversible) != ResultYes)
        return;
    BusyCursor wait;
    // Each book in a transaction of its own: books discarded before a failure stay discarded.
    while (!m_list->isEmpty()) {
        const int row = int(m_list->size()) - 1;
        Meanwhile refused = Meanwhile::Nothing;
        try {
            refused = discardBook(m_list->at(row).bookId, discardDate);
        } catch (const DbError &e) {
            logDbError(e);
            showMessage(Message::DiscardDbError);
            partialClear();
            m_bookCode->setFocus();
            return;
        }
        // Another desk lent or discarded the book since it was added: the refusal of "Přidat"
        // for a lent book, of the lookup for a discarded one. The book stays in the list.
        if (refused == Meanwhile::BookLent) {
            showMessage(Message::DiscardBookLent);
            m_bookCode->setFocus();
            return;
        }
        if (refused != Meanwhile::Nothing) {
            showMessage(Message::DiscardBookNotFound);
            partialClear();
            m_bookCode->setFocus();
            return;
        }
        m_list->removeAt(row);
    }
    fullClear();
    m_bookCode->setFocus();
}
