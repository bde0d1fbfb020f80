#pragma once

#include <QDialog>

class CRvEdit;
class QComboBox;
class QLineEdit;
class QPushButton;

// "Zrušení vyřazení knihy": finds a discarded book by code and puts it back into the stock under
// a chosen category. The dialog stays open, so several books can be restored in one go.
class CUndoDiscardDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit CUndoDiscardDialog(QWidget *parent = nullptr);

    // Fills the category list; false (after its message) when the dialog cannot be shown.
    bool prepare();
    void lookUp();
    void pickBook();
    void restore();
    void reset();

    // Set once any book has been restored while the dialog was open.
    bool restored() const { return m_restored; }
    bool isSearching() const { return m_bookId == -1; }
    qint32 bookId() const { return m_bookId; }
    // Chooses a category by its identifier (-1: none).
    void chooseCategory(qint32 categoryId);

private:
    CRvEdit *m_code = nullptr;
    QPushButton *m_lookUp = nullptr;
    QPushButton *m_pick = nullptr;
    QLineEdit *m_title = nullptr;
    QLineEdit *m_author = nullptr;
    QLineEdit *m_acquired = nullptr;
    QLineEdit *m_discarded = nullptr;
    QComboBox *m_categories = nullptr;
    QPushButton *m_ok = nullptr;
    qint32 m_bookId = -1;
    bool m_restored = false;
};

// Runs the dialog modally; answers whether any book was restored.
bool runUndoDiscard(QWidget *parent);
