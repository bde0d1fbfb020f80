#pragma once

#include "catalogue/bookcore.h"
#include "circulation/entrypage.h"

class BookForm;
class QPushButton;

// "Opravy": loads one book in use by its code, writes corrections back, restores the loaded
// values, or deletes the book with its whole loan and return history.
class CPageOpravy final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageOpravy(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Opravy"); }

    void onActivate() override;
    void onDeactivate() override;
    void categoriesChanged() override;
    int historySlot(const QWidget *edit) const override;
    bool insertHistory(CRvEdit *edit) override;

    // A category was created while this page is active.
    // A category made by "Nová kategorie..." while this page is active: added to the combo and,
    // when a book is loaded, selected with the focus to the publisher. False when it could not be
    // added.
    bool categoryAdded(qint32 id, const QString &name);
    bool categoryAdded(const QString &name) override;
    bool categoryRenamed(qint32 id, const QString &oldName, const QString &newName) override;
    bool categoryRemoved(const QString &name) override;

    bool load();    // "OK" beside the code
    void pick();    // "Nalistovat..."
    bool correct(); // "  Opravit": true when the book was written
    void restore(); // "    Původní"
    bool remove();  // "  Vymazat": true when the book was deleted
    void reset();   // "  Storno"

    bool isLoaded() const { return m_bookId != -1; }
    BookForm *form() const { return m_form; }

private:
    void refillCategoriesKeepingChoice();
    void clearPage(bool full);
    void historyRequested(QWidget *edit);

    BookForm *m_form = nullptr;
    QPushButton *m_load = nullptr;
    QPushButton *m_pick = nullptr;
    QPushButton *m_correct = nullptr;
    QPushButton *m_restore = nullptr;
    QPushButton *m_delete = nullptr;
    QPushButton *m_cancel = nullptr;

    qint32 m_bookId = -1;
    qint32 m_loanId = -1;
    BookEntry m_loaded; // the book as loaded
    int m_loadedComboIndex = -1;
};
