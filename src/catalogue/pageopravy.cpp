#include "catalogue/pageopravy.h"

#include "app/appstate.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookdialogs.h"
#include "catalogue/bookform.h"
#include "catalogue/booklookup.h"
#include "catalogue/bookmodels.h"
#include "data/categories.h"
#include "data/checks.h"
#include "data/dberror.h"

#include <QApplication>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>

namespace {

// Wait cursor for the length of a block.
struct WaitCursor
{
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    Q_DISABLE_COPY_MOVE(WaitCursor)
};

} // namespace

namespace {
// Slots 27 to 36 hold the fields of the last book corrected, 38 its keyword list.
constexpr BookForm::HistorySlots HistorySlots{27, 38};
} // namespace

CPageOpravy::CPageOpravy(QWidget *parent) : CEntryPage(parent)
{
    m_form = new BookForm(this, BookForm::Mode::Edit);
    m_load = new QPushButton(QStringLiteral("OK"), this);
    m_load->setObjectName(QStringLiteral("load"));
    m_pick = new QPushButton(QStringLiteral("Nalistovat..."), this);
    m_pick->setObjectName(QStringLiteral("pick"));
    // The code field shares its row with the two buttons that load a book.
    auto *codeRow = new QHBoxLayout;
    const int row = m_form->gridRowOf(BookField::Code);
    m_form->grid->removeWidget(m_form->code);
    codeRow->addWidget(m_form->code, 1);
    codeRow->addWidget(m_load);
    codeRow->addWidget(m_pick);
    m_form->grid->addLayout(codeRow, row, 1, 1, 2);

    m_correct = new QPushButton(QStringLiteral("  Opravit"), this);
    m_correct->setObjectName(QStringLiteral("correct"));
    m_correct->setIcon(style()->standardIcon(QStyle::SP_DialogSaveButton));
    m_restore = new QPushButton(QStringLiteral("    Původní"), this);
    m_restore->setObjectName(QStringLiteral("restore"));
    m_restore->setIcon(style()->standardIcon(QStyle::SP_DialogResetButton));
    m_delete = new QPushButton(QStringLiteral("  Vymazat"), this);
    m_delete->setObjectName(QStringLiteral("delete"));
    m_delete->setIcon(style()->standardIcon(QStyle::SP_TrashIcon));
    m_cancel = new QPushButton(QStringLiteral("  Storno"), this);
    m_cancel->setObjectName(QStringLiteral("cancel"));
    m_cancel->setIcon(style()->standardIcon(QStyle::SP_DialogCancelButton));
    for (QPushButton *b : {m_correct, m_restore, m_delete, m_cancel})
        m_form->buttons->addWidget(b);

    connect(m_load, &QPushButton::clicked, this, [this] { load(); });
    connect(m_form->code, &CRvEdit::enterPressed, this, [this] { load(); });
    connect(m_pick, &QPushButton::clicked, this, &CPageOpravy::pick);
    connect(m_correct, &QPushButton::clicked, this, [this] { correct(); });
    connect(m_restore, &QPushButton::clicked, this, &CPageOpravy::restore);
    connect(m_delete, &QPushButton::clicked, this, [this] { remove(); });
    connect(m_cancel, &QPushButton::clicked, this, &CPageOpravy::reset);
    for (CRvEdit *e : {m_form->code, m_form->accession, m_form->date, m_form->title, m_form->author,
                       m_form->publisher, m_form->year, m_form->pages, m_form->price, m_form->newKeyword})
        connect(e, &CRvEdit::historyRequested, this, [this, e] { historyRequested(e); });
    connect(m_form, &BookForm::annotationHistoryRequested, this,
            [this] { historyRequested(m_form->annotation); });
    setTabOrder(m_form->code, m_load);
    setTabOrder(m_load, m_pick);
    setTabOrder(m_pick, m_form->accession);
    setTabOrder(m_form->price, m_form->newKeyword);
    clearPage(false);
}

void CPageOpravy::onActivate()
{
    m_form->fillCategories();
    clearPage(false);
}

void CPageOpravy::onDeactivate()
{
    clearPage(true);
}

void CPageOpravy::reset()
{
    clearPage(true);
    m_form->fillCategories();
    m_form->code->setFocus();
}

void CPageOpravy::clearPage(bool full)
{
    m_bookId = -1;
    m_loanId = -1;
    m_loaded = BookEntry();
    m_loadedComboIndex = -1;
    m_form->clearFields(QString(), true);
    if (full)
        m_form->clearCategories();
    m_form->setDataEnabled(false);
    for (QPushButton *b : {m_correct, m_restore, m_delete})
        b->setEnabled(false);
    m_form->code->setFocus();
}

bool CPageOpravy::load()
{
    const QString code = m_form->code->text().trimmed();
    if (code.isEmpty()) {
        showMessage(Message::BookCodeMissing);
        m_form->code->setFocus();
        return false;
    }
    if (hasForbiddenChars(code)) {
        showMessage(Message::ForbiddenChars);
        m_form->code->setFocus();
        return false;
    }
    std::optional<BookRow> row;
    std::optional<QString> category;
    try {
        WaitCursor wait;
        row = findBookInUse(code);
        if (row)
            category = categoryName(row->category);
    } catch (const DbError &e) {
        showDbError(Message::BookCorrectionDbError, e);
        clearPage(false);
        return false;
    }
    if (!row) {
        showMessage(Message::BookNotFound);
        m_form->code->setFocus();
        return false;
    }
    const int comboIndex = category ? m_form->category->findText(*category, Qt::MatchStartsWith) : -1;
    if (comboIndex < 0) {
        showMessage(Message::BookCorrectionIntegrity);
        clearPage(false);
        return false;
    }
    m_loaded = BookEntry::fromRow(*row);
    m_bookId = row->id;
    m_loanId = row->loan;
    m_loadedComboIndex = comboIndex;
    m_form->showEntry(m_loaded);
    m_form->category->setCurrentIndex(comboIndex);
    m_form->setDataEnabled(true);
    for (QPushButton *b : {m_correct, m_restore, m_delete})
        b->setEnabled(true);
    m_form->title->setFocus();
    return true;
}

void CPageOpravy::pick()
{
    const std::optional<PickedBook> chosen =
        pickBook(this, QStringLiteral("Vyberte knihu ze seznamu knih, které je možné opravovat."),
                 bookListStatement(BookList::NotDiscarded));
    if (!chosen)
        return;
    m_form->code->setText(chosen->code);
    load();
}

bool CPageOpravy::correct()
{
    if (!isLoaded())
        return false;
    const CorrectedBook book{m_bookId, m_loaded.accession, m_loanId};
    BookCheck check;
    {
        WaitCursor wait;
        check = checkBookEntry(m_form->texts(), &book);
    }
    if (!check.ok()) {
        m_form->showRefusal(check);
        return false;
    }
    const BookEntry &e = check.entry;
    if (e.sameAs(m_loaded)) {
        clearPage(false);
        return false;
    }
    try {
        WaitCursor wait;
        BookCheck refused;
        if (!correctBook(m_bookId, e, &refused)) {
            if (refused.field != BookField::None) {
                // Another desk took the code or the accession number, or removed the category,
                // since the check: the check's own refusal; the page keeps what was typed.
                m_form->showRefusal(refused);
                return false;
            }
            showMessage(Message::BookCorrectionDbError);
            clearPage(false);
            return false;
        }
    } catch (const DbError &error) {
        logDbError(error);
        // Rolled back: the page keeps the book and what was typed.
        showMessage(Message::BookCorrectionDbError);
        return false;
    }
    InputHistory &h = AppState::instance().history;
    h.remember(e.code, 27);
    h.remember(QString::asprintf("%d", e.accession), 28);
    h.remember(e.title, 29);
    h.remember(e.author, 30);
    h.remember(dateText(e.acquired), 31);
    h.remember(QString::asprintf("%.2f", double(e.price)), 32);
    h.remember(e.hasYear ? QString::asprintf("%d", e.year) : QString(), 33);
    h.remember(e.hasPublisher ? e.publisher : QString(), 34);
    h.remember(e.hasPages ? QString::asprintf("%d", e.pages) : QString(), 35);
    h.remember(e.hasAnnotation ? e.annotation : QString(), 36);
    h.remember(e.hasKeywords ? e.keywords : QString(), 38);
    clearPage(false);
    return true;
}

void CPageOpravy::restore()
{
    if (!isLoaded())
        return;
    m_form->showEntry(m_loaded);
    m_form->category->setCurrentIndex(m_loadedComboIndex);
    m_form->code->setFocus();
}

bool CPageOpravy::remove()
{
    if (!isLoaded())
        return false;
    const int answer = RvMessageBox(
        QString(),
        QStringLiteral("Pozor, skutečně chcete vymazat tuto knihu včetně všech jejich případných výpůjček?"),
        MessageKind::Question, ButtonsYesNoIrreversible);
    if (answer != ResultYes)
        return false;
    try {
        WaitCursor wait;
        if (!deleteBook(m_bookId)) {
            showMessage(Message::BookCorrectionDbError);
            clearPage(false);
            return false;
        }
    } catch (const DbError &e) {
        showDbError(Message::BookCorrectionDbError, e);
        return false;
    }
    clearPage(false);
    return true;
}

void CPageOpravy::categoriesChanged()
{
    // Names may have changed too: take the list as it stands now.
    const QVariant chosen = m_form->category->currentData();
    m_form->fillCategories();
    if (!isLoaded()) {
        m_form->category->setCurrentIndex(-1);
        return;
    }
    m_form->category->setCurrentIndex(chosen.isValid() ? m_form->category->findData(chosen) : -1);
    std::optional<BookRow> row;
    std::optional<QString> name;
    try {
        row = findBookById(m_bookId);
        if (row)
            name = categoryName(row->category);
    } catch (const DbError &e) {
        showDbError(Message::BookCorrectionDbError, e);
        return;
    }
    const int index = name ? m_form->category->findText(*name, Qt::MatchStartsWith) : -1;
    if (!row || index < 0) {
        showMessage(Message::BookCorrectionIntegrity);
        clearPage(false);
        return;
    }
    m_loaded.category = row->category;
    m_loadedComboIndex = index;
    m_form->category->setCurrentIndex(index);
}

bool CPageOpravy::categoryAdded(const QString &name)
{
    const std::optional<qint32> id = visibleCategoryId(name);
    return id && categoryAdded(*id, name);
}

bool CPageOpravy::categoryRenamed(qint32 id, const QString &oldName, const QString &newName)
{
    Q_UNUSED(id);
    Q_UNUSED(oldName);
    Q_UNUSED(newName);
    refillCategoriesKeepingChoice();
    return true;
}

bool CPageOpravy::categoryRemoved(const QString &name)
{
    const bool present = m_form->category->findText(name, Qt::MatchExactly) >= 0;
    refillCategoriesKeepingChoice();
    return present;
}

// The combo read again after a rename or a removal: the chosen category and the loaded one keep
// their places by identifier, whatever their names now are.
void CPageOpravy::refillCategoriesKeepingChoice()
{
    const QVariant chosen = m_form->category->currentData();
    m_form->fillCategories();
    m_form->category->setCurrentIndex(chosen.isValid() ? m_form->category->findData(chosen) : -1);
    if (isLoaded())
        m_loadedComboIndex = m_form->category->findData(m_loaded.category);
}

bool CPageOpravy::categoryAdded(qint32 id, const QString &name)
{
    QWidget *focus = QApplication::focusWidget();
    const int at = m_form->insertCategory(CategoryItem{id, name});
    if (at < 0)
        return false;
    // The snapshot's index moves with the insertion.
    if (m_loadedComboIndex >= at)
        ++m_loadedComboIndex;
    if (isLoaded()) {
        m_form->category->setCurrentIndex(at);
        m_form->publisher->setFocus();
    } else {
        m_form->category->setCurrentIndex(-1);
        if (focus)
            focus->setFocus();
    }
    return true;
}

int CPageOpravy::historySlot(const QWidget *edit) const
{
    return m_form->historySlot(edit, HistorySlots);
}

bool CPageOpravy::insertHistory(CRvEdit *edit)
{
    return m_form->insertKeywordHistory(edit, HistorySlots);
}

void CPageOpravy::historyRequested(QWidget *edit)
{
    m_form->historyRequested(edit, HistorySlots);
}
