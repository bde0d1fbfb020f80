#include "catalogue/pagenoveknihy.h"

#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookform.h"
#include "catalogue/bookmodels.h"
#include "data/categories.h"
#include "data/dberror.h"

#include <QApplication>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QStyle>

namespace {
// Slots 9 to 18 hold the fields of the last book saved, 37 its keyword list.
constexpr BookForm::HistorySlots HistorySlots{9, 37};
} // namespace

CPageNoveknihy::CPageNoveknihy(QWidget *parent) : CEntryPage(parent)
{
    m_form = new BookForm(this, BookForm::Mode::Edit);
    m_newCategory = new QPushButton(QStringLiteral("Nová kategorie"), this);
    m_newCategory->setObjectName(QStringLiteral("newCategory"));
    m_form->grid->addWidget(m_newCategory, m_form->gridRowOf(BookField::Category), 2);
    m_ok = new QPushButton(QStringLiteral("  OK"), this);
    m_ok->setObjectName(QStringLiteral("ok"));
    m_ok->setIcon(style()->standardIcon(QStyle::SP_DialogOkButton));
    m_cancel = new QPushButton(QStringLiteral("  Storno"), this);
    m_cancel->setObjectName(QStringLiteral("cancel"));
    m_cancel->setIcon(style()->standardIcon(QStyle::SP_DialogCancelButton));
    m_form->buttons->addWidget(m_ok);
    m_form->buttons->addWidget(m_cancel);

    connect(m_ok, &QPushButton::clicked, this, [this] { save(); });
    connect(m_cancel, &QPushButton::clicked, this, &CPageNoveknihy::reset);
    connect(m_newCategory, &QPushButton::clicked, this, [] {
        if (CMainFrame *frame = CMainFrame::instance())
            frame->runCommand(Cmd::NewCategory);
    });
    for (CRvEdit *e : {m_form->code, m_form->accession, m_form->date, m_form->title, m_form->author,
                       m_form->publisher, m_form->year, m_form->pages, m_form->price, m_form->newKeyword})
        connect(e, &CRvEdit::historyRequested, this, [this, e] { historyRequested(e); });
    connect(m_form, &BookForm::annotationHistoryRequested, this,
            [this] { historyRequested(m_form->annotation); });
    setTabOrder(m_form->category, m_newCategory);
    setTabOrder(m_newCategory, m_form->publisher);
    setTabOrder(m_form->price, m_form->newKeyword);
    clearPage(false);
}

void CPageNoveknihy::onActivate()
{
    m_form->fillCategories();
    proposeAccession();
    m_form->code->setFocus();
}

void CPageNoveknihy::onDeactivate()
{
    clearPage(true);
}

void CPageNoveknihy::categoriesChanged()
{
    // Names may have been renamed or hidden: offer the list as it stands now, keeping the choice.
    const QVariant chosen = m_form->category->currentData();
    m_form->fillCategories();
    if (chosen.isValid())
        m_form->category->setCurrentIndex(m_form->category->findData(chosen));
}

bool CPageNoveknihy::categoryAdded(qint32 id, const QString &name)
{
    const int at = m_form->insertCategory(CategoryItem{id, name});
    if (at < 0)
        return false;
    m_form->category->setCurrentIndex(at);
    m_form->publisher->setFocus();
    return true;
}

bool CPageNoveknihy::categoryAdded(const QString &name)
{
    const std::optional<qint32> id = visibleCategoryId(name);
    return id && categoryAdded(*id, name);
}

bool CPageNoveknihy::categoryRenamed(qint32 id, const QString &oldName, const QString &newName)
{
    Q_UNUSED(id);
    Q_UNUSED(oldName);
    Q_UNUSED(newName);
    // The list is read again; the chosen category stays chosen under its new name.
    categoriesChanged();
    return true;
}

bool CPageNoveknihy::categoryRemoved(const QString &name)
{
    const bool present = m_form->category->findText(name, Qt::MatchExactly) >= 0;
    categoriesChanged();
    return present;
}

void CPageNoveknihy::clearPage(bool full)
{
    m_form->clearFields(dateText(today()), false);
    if (full)
        m_form->clearCategories();
    m_form->code->setFocus();
}

void CPageNoveknihy::proposeAccession()
{
    try {
        m_form->accession->setText(QString::asprintf("%d", suggestedAccession()));
    } catch (const DbError &e) {
        showDbError(Message::AccessionNotGenerated, e);
    }
}

void CPageNoveknihy::reset()
{
    clearPage(true);
    m_form->fillCategories();
    proposeAccession();
    m_form->code->setFocus();
}

bool CPageNoveknihy::save()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const BookCheck check = checkBookEntry(m_form->texts());
    QApplication::restoreOverrideCursor();
    if (!check.ok()) {
        m_form->showRefusal(check);
        return false;
    }
    const BookEntry &e = check.entry;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    BookCheck refused;
    try {
        addBook(e, &refused);
    } catch (const DbError &error) {
        logDbError(error);
        QApplication::restoreOverrideCursor();
        showMessage(Message::BookDbError);
        m_form->code->setFocus();
        return false;
    }
    QApplication::restoreOverrideCursor();
    if (!refused.ok()) {
        // Another desk took the code or the accession number, or removed the category, since
        // the check: the check's own refusal.
        m_form->showRefusal(refused);
        return false;
    }

    InputHistory &h = AppState::instance().history;
    h.remember(e.code, 9);
    h.remember(QString::asprintf("%d", e.accession), 10);
    h.remember(e.title, 11);
    h.remember(e.author, 12);
    h.remember(dateText(e.acquired), 13);
    h.remember(QString::asprintf("%.2f", double(e.price)), 14);
    h.remember(e.hasYear ? QString::asprintf("%d", e.year) : QString(), 15);
    h.remember(e.hasPublisher ? e.publisher : QString(), 16);
    h.remember(e.hasPages ? QString::asprintf("%d", e.pages) : QString(), 17);
    h.remember(e.hasAnnotation ? e.annotation : QString(), 18);
    h.remember(e.hasKeywords ? e.keywords : QString(), 37);

    clearPage(false);
    m_form->accession->setText(QString::asprintf("%d", e.accession + 1));
    m_form->code->setFocus();
    return true;
}

int CPageNoveknihy::historySlot(const QWidget *edit) const
{
    return m_form->historySlot(edit, HistorySlots);
}

bool CPageNoveknihy::insertHistory(CRvEdit *edit)
{
    return m_form->insertKeywordHistory(edit, HistorySlots);
}

void CPageNoveknihy::historyRequested(QWidget *edit)
{
    m_form->historyRequested(edit, HistorySlots);
}
