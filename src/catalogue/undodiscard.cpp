#include "catalogue/undodiscard.h"

#include "data/categories.h"

#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookdialogs.h"
#include "catalogue/booklookup.h"
#include "circulation/circulationcore.h"
#include "data/checks.h"
#include "data/dates.h"
#include "data/dberror.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

CUndoDiscardDialog::CUndoDiscardDialog(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Zrušení vyřazení knihy"));

    auto *header = new QHBoxLayout;
    auto *icon = new QLabel(this);
    icon->setPixmap(QApplication::windowIcon().isNull()
                        ? style()->standardIcon(QStyle::SP_FileDialogInfoView).pixmap(32, 32)
                        : QApplication::windowIcon().pixmap(32, 32));
    auto *caption = new QLabel(QStringLiteral("Zrušení vyřazení knihy"), this);
    QFont f = caption->font();
    f.setBold(true);
    f.setPointSizeF(f.pointSizeF() * 1.3);
    caption->setFont(f);
    header->addWidget(icon);
    header->addWidget(caption, 1);

    m_code = new CRvEdit(this);
    m_code->setObjectName(QStringLiteral("code"));
    m_code->setMaxLength(32);
    m_lookUp = new QPushButton(QStringLiteral("OK"), this);
    m_lookUp->setAutoDefault(true);
    m_pick = new QPushButton(QStringLiteral("Nalistovat..."), this);
    m_pick->setAutoDefault(true);
    auto *codeRow = new QHBoxLayout;
    codeRow->addWidget(m_code, 1);
    codeRow->addWidget(m_lookUp);
    codeRow->addWidget(m_pick);

    auto readOnly = [this] {
        auto *e = new QLineEdit(this);
        e->setReadOnly(true);
        e->setFocusPolicy(Qt::ClickFocus);
        return e;
    };
    m_title = readOnly();
    m_author = readOnly();
    m_acquired = readOnly();
    m_discarded = readOnly();
    m_categories = new QComboBox(this);
    m_categories->setObjectName(QStringLiteral("categories"));

    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("Kód knihy"), codeRow);
    form->addRow(QStringLiteral("Název"), m_title);
    form->addRow(QStringLiteral("Autor"), m_author);
    form->addRow(QStringLiteral("Pořízeno dne"), m_acquired);
    form->addRow(QStringLiteral("Vyřazeno dne"), m_discarded);
    form->addRow(QStringLiteral("Kategorie"), m_categories);
    if (auto *l = qobject_cast<QLabel *>(form->labelForField(codeRow)))
        l->setBuddy(m_code);

    auto *buttons = new QDialogButtonBox(this);
    m_ok = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    m_ok->setIcon(style()->standardIcon(QStyle::SP_DialogOkButton));
    m_ok->setObjectName(QStringLiteral("restore"));
    auto *cancel = buttons->addButton(QStringLiteral("Storno"), QDialogButtonBox::RejectRole);
    cancel->setIcon(style()->standardIcon(QStyle::SP_DialogCancelButton));
    m_ok->setAutoDefault(true);
    cancel->setAutoDefault(true);
    // Enter in the category list restores the book.
    m_ok->setDefault(true);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addLayout(form);
    layout->addWidget(buttons);
    setMinimumWidth(440);

    connect(m_code, &CRvEdit::enterPressed, this, &CUndoDiscardDialog::lookUp);
    connect(m_lookUp, &QPushButton::clicked, this, &CUndoDiscardDialog::lookUp);
    connect(m_pick, &QPushButton::clicked, this, &CUndoDiscardDialog::pickBook);
    // The dialog's OK restores and keeps the dialog open; only "Storno" closes it.
    connect(m_ok, &QPushButton::clicked, this, &CUndoDiscardDialog::restore);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

bool CUndoDiscardDialog::prepare()
{
    try {
        for (const CategoryItem &c : visibleCategories())
            m_categories->addItem(c.name, c.id);
    } catch (const DbError &e) {
        showDbError(Message::RestoreDbError, e);
        return false;
    }
    reset();
    m_code->setFocus();
    return true;
}

void CUndoDiscardDialog::reset()
{
    m_bookId = -1;
    m_categories->setCurrentIndex(-1);
    for (QLineEdit *e : {static_cast<QLineEdit *>(m_code), m_title, m_author, m_acquired, m_discarded})
        e->clear();
    m_code->setReadOnly(false);
    m_categories->setEnabled(false);
    m_lookUp->setEnabled(true);
    m_pick->setEnabled(true);
}

void CUndoDiscardDialog::chooseCategory(qint32 categoryId)
{
    m_categories->setCurrentIndex(m_categories->findData(categoryId));
}

void CUndoDiscardDialog::lookUp()
{
    if (m_bookId != -1)
        return; // the search is locked while a book is shown
    const QString code = m_code->text().trimmed();
    if (code.isEmpty()) {
        showMessage(Message::RestoreCodeMissing);
        m_code->setFocus();
        return;
    }
    if (hasForbiddenChars(code)) {
        showMessage(Message::ForbiddenChars);
        m_code->setFocus();
        return;
    }
    QApplication::setOverrideCursor(Qt::WaitCursor);
    try {
        const std::optional<BookRow> book = discardedBookByCode(code);
        QApplication::restoreOverrideCursor();
        if (!book) {
            showMessage(Message::DiscardedBookNotFound);
            m_code->setFocus();
            return;
        }
        m_title->setText(book->title);
        m_author->setText(book->author);
        m_acquired->setText(dateText(book->acquired));
        m_discarded->setText(dateText(book->discardedOn));
        m_bookId = book->id;
    } catch (const DbError &e) {
        logDbError(e);
        QApplication::restoreOverrideCursor();
        showMessage(Message::RestoreDbError);
        return;
    }
    // The former category is not proposed: the librarian chooses where the book goes.
    m_code->setReadOnly(true);
    m_lookUp->setEnabled(false);
    m_pick->setEnabled(false);
    m_categories->setEnabled(true);
    m_categories->setCurrentIndex(-1);
    m_ok->setFocus();
}

void CUndoDiscardDialog::pickBook()
{
    const auto picked = ::pickBook(this, QStringLiteral("Vyberte knihu ze seznamu vyřazených knih."),
                                   bookListStatement(BookList::Discarded));
    if (!picked)
        return;
    m_code->setText(picked->code);
    lookUp();
}

void CUndoDiscardDialog::restore()
{
    if (m_bookId == -1) {
        showMessage(Message::RestoreCodeMissing);
        m_code->setFocus();
        return;
    }
    if (m_categories->currentIndex() < 0) {
        showMessage(Message::BookCategoryNotChosen);
        return;
    }
    Meanwhile refused = Meanwhile::Nothing;
    try {
        refused = restoreBook(m_bookId, m_categories->currentData().toInt());
    } catch (const DbError &e) {
        showDbError(Message::RestoreDbError, e);
        reject();
        return;
    }
    if (refused != Meanwhile::Nothing) {
        // Another desk put the book back meanwhile: it is no discarded book any more.
        showMessage(Message::DiscardedBookNotFound);
        reset();
        m_code->setFocus();
        return;
    }
    reset();
    m_code->setFocus();
    m_restored = true;
}

bool runUndoDiscard(QWidget *parent)
{
    CUndoDiscardDialog dialog(parent);
    if (!dialog.prepare())
        return false;
    dialog.exec();
    return dialog.restored();
}
