#pragma once

#include "catalogue/bookcore.h"

#include <QObject>

class CRvEdit;
class KeywordListModel;
class QComboBox;
class QGridLayout;
class QHBoxLayout;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTableView;
class QToolButton;
class QVBoxLayout;
class QWidget;

// The fields of a book as the catalogue pages and the details dialog lay them out: the catalogue
// data in a column on the left, the keywords and the annotation on the right, a row of buttons
// below. The new-books and corrections pages edit them (category as a combo of the categories in
// use); the browse page and the details dialog show them read only (category as a name).
class BookForm final : public QObject
{
    Q_OBJECT

public:
    enum class Mode
    {
        Edit,
        Show
    };
    BookForm(QWidget *owner, Mode mode);

    // Labels that differ between the windows.
    void setLabelText(BookField field, const QString &text);

    BookTexts texts() const;
    QWidget *widgetFor(BookField field) const;
    // Shows the message of a refused check and puts the focus into its field.
    void showRefusal(const BookCheck &check) const;

    // Empties every field and the keyword list; the date gets `date` (empty for none). The
    // accession number is left alone unless clearAccession.
    void clearFields(const QString &date, bool clearAccession);
    // Puts an entry into the fields (absent optional fields empty); the combo index is set apart.
    void showEntry(const BookEntry &entry);
    // Shows a stored book read only: optional fields only when their flag is set.
    void showRow(const BookRow &row, const QString &category);

    // The category combo: fills it with the categories in use (message 4 and an empty combo when
    // the database fails), or empties it.
    bool fillCategories();
    void clearCategories();
    // Puts a new category into the sorted combo; returns its index, -1 when it cannot.
    int insertCategory(const CategoryItem &item);

    // "Add keyword" and "remove keyword" with their messages.
    void addKeyword();
    void removeKeywords();
    // The keyword edit's history: refills the list from a stored keyword string.
    void refillKeywords(const QString &stored);

    // Puts the remembered text of a history slot into a field (up to 1024 characters).
    static void putHistory(QWidget *edit, int slot);

    // The input history of the two editing pages: the fields code, accession number, title,
    // author, date, price, year, publisher, pages and annotation take consecutive slots from
    // firstSlot; the new-keyword edit has keywordSlot, whose text refills the keyword list.
    struct HistorySlots
    {
        int firstSlot;
        int keywordSlot;
    };
    int historySlot(const QWidget *edit, HistorySlots layout) const;
    // The keyword edit's request: refills the list and empties the edit; false for other edits.
    bool insertKeywordHistory(QWidget *edit, HistorySlots layout);
    // A history request of one of the fields (Ctrl+Space or the menu command).
    void historyRequested(QWidget *edit, HistorySlots layout);

    // Enables or disables everything but the code field.
    void setDataEnabled(bool enabled);

    CRvEdit *code = nullptr;
    CRvEdit *accession = nullptr;
    CRvEdit *date = nullptr;
    CRvEdit *title = nullptr;
    CRvEdit *author = nullptr;
    QComboBox *category = nullptr;   // Edit mode
    CRvEdit *categoryName = nullptr; // Show mode
    CRvEdit *publisher = nullptr;
    CRvEdit *year = nullptr;
    CRvEdit *pages = nullptr;
    CRvEdit *price = nullptr;
    CRvEdit *newKeyword = nullptr; // Edit mode
    QToolButton *addKeywordButton = nullptr;
    QToolButton *removeKeywordButton = nullptr;
    QTableView *keywordView = nullptr;
    KeywordListModel *keywordModel = nullptr;
    QPlainTextEdit *annotation = nullptr;

    // Where the owner adds its own widgets: a third column of the field grid (row of a field),
    // rows below the fields, and the button row.
    QGridLayout *grid = nullptr;
    QVBoxLayout *right = nullptr;
    QHBoxLayout *buttons = nullptr;
    QVBoxLayout *outer = nullptr;
    int gridRowOf(BookField field) const;
    int nextGridRow() const;

Q_SIGNALS:
    // Ctrl+Space in the annotation (the other fields have their own signal).
    void annotationHistoryRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    CRvEdit *addLine(BookField field, const QString &label, int limit, int type, bool narrow);

    QWidget *m_owner;
    Mode m_mode;
    QLabel *m_labels[int(BookField::Keyword) + 1] = {};
    int m_rows = 0;
};
