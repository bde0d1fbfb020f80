#pragma once

#include "catalogue/booklookup.h"

#include <QDialog>
#include <QString>

#include <optional>

class BookForm;
class BookPickerModel;
class CRvEdit;
class LoanHistoryModel;
class QCheckBox;
class QLabel;
class QTableView;

struct PickedBook
{
    QString code;
    qint32 id = -1;
};

// The book list picker "Seznam knih": shows the books of the caller's statement (in the reverse
// of its order) under the heading, and returns the chosen book, or nothing when cancelled.
std::optional<PickedBook> pickBook(QWidget *parent, const QString &heading, const QString &jetSql);

// The book details dialog "Detaily o knize" for one book.
void showBookDetails(QWidget *parent, qint32 bookId);

// The go-to-book dialog of the browse page: the identifier of the book in use with the typed
// code, or nothing when cancelled.
std::optional<qint32> askBookToShow(QWidget *parent);

// "Zadejte kód knihy, kterou chcete zobrazit".
class CGoToBookDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit CGoToBookDialog(QWidget *parent = nullptr);
    CRvEdit *codeEdit() const { return m_code; }
    qint32 bookId() const { return m_bookId; }
    // "OK": looks the code up; accepts when found, otherwise shows the message and stays.
    bool tryAccept();

private:
    CRvEdit *m_code = nullptr;
    qint32 m_bookId = -1;
};

// "Seznam knih".
class CBookPickerDialog final : public QDialog
{
    Q_OBJECT

public:
    CBookPickerDialog(const QString &heading, const QString &jetSql, QWidget *parent = nullptr);
    // False when the dialog closes at once as cancelled (no heading or statement, a failure).
    bool isUsable() const { return m_usable; }
    QTableView *view() const { return m_view; }
    BookPickerModel *model() const { return m_model; }
    // "OK" and the double click: takes the selected book, or warns and stays.
    bool tryAccept();
    PickedBook chosen() const { return m_chosen; }

    static QString nothingChosenText();

private:
    QTableView *m_view = nullptr;
    BookPickerModel *m_model = nullptr;
    bool m_usable = false;
    PickedBook m_chosen;
};

// "Detaily o knize".
class CBookDetailsDialog final : public QDialog
{
    Q_OBJECT

public:
    explicit CBookDetailsDialog(qint32 bookId, QWidget *parent = nullptr);
    // 0 when the book was read; otherwise the message shown, and the dialog is not to be run.
    int failure() const { return m_failure; }
    BookForm *form() const { return m_form; }
    QTableView *historyView() const { return m_history; }
    LoanHistoryModel *historyModel() const { return m_historyModel; }
    QCheckBox *lentBox() const { return m_lent; }
    QCheckBox *discardedBox() const { return m_discarded; }
    CRvEdit *lentOnEdit() const { return m_lentOn; }
    CRvEdit *returnByEdit() const { return m_returnBy; }
    CRvEdit *clientEdit() const { return m_client; }
    CRvEdit *discardedOnEdit() const { return m_discardedOn; }

private:
    int m_failure = 0;
    BookForm *m_form = nullptr;
    QCheckBox *m_lent = nullptr;
    QCheckBox *m_discarded = nullptr;
    CRvEdit *m_lentOn = nullptr;
    CRvEdit *m_returnBy = nullptr;
    CRvEdit *m_client = nullptr;
    CRvEdit *m_discardedOn = nullptr;
    QTableView *m_history = nullptr;
    LoanHistoryModel *m_historyModel = nullptr;
};
