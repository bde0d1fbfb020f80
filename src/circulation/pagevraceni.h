#pragma once

#include "circulation/entrypage.h"
#include "circulation/pagelist.h"
#include "data/dates.h"

class QLineEdit;
class QPushButton;

// A book on the list of books prepared for return, with what its loan said at lookup.
struct ReturnListItem
{
    QString code;
    QString title;
    QString author;
    qint32 bookId = -1;
    qint32 clientId = -1;
    qint32 loanNumber = -1;
    DateNumber returnDate = NoDate;
    DateNumber due = NoDate;
    DateNumber loanDate = NoDate;
    qint32 delay = 0;
    bool limited = false;
};

// "Vrácení": lent books are collected by code, all with the return date of the batch, and
// "Vrátit" closes their loans under one return number.
class CPageVraceni final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageVraceni(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Vrácení"); }

    void onActivate() override;
    void onDeactivate() override;
    void categoriesChanged() override;

    void lookUpBook();
    void pickBook();
    void addBook();
    void removeSelected();
    void giveBack();
    void cancel();
    void showDetails();

    // What the register commands tell the active page after they wrote.
    void clientChanged(qint32 id, const QString &code, const QString &surname, const QString &first) override;
    bool categoryRenamed(qint32 id, const QString &oldName, const QString &newName) override;

    void partialClear();
    void fullClear();

    CPreparedList<ReturnListItem> *list() const { return m_list; }
    qint32 currentBookId() const { return m_bookId; }
    DateNumber fixedReturnDate() const { return m_returnDate; }

private:
    void requestProtocol(qint32 returnNumber);

    CRvEdit *m_bookCode = nullptr;
    CRvEdit *m_returnDateEdit = nullptr;
    QLineEdit *m_title = nullptr;
    QLineEdit *m_author = nullptr;
    QLineEdit *m_category = nullptr;
    QLineEdit *m_client = nullptr;
    QLineEdit *m_loanDateText = nullptr;
    QLineEdit *m_delayText = nullptr;
    QPushButton *m_add = nullptr;
    QTableView *m_view = nullptr;
    CPreparedList<ReturnListItem> *m_list = nullptr;

    qint32 m_bookId = -1;
    qint32 m_categoryId = -1;
    qint32 m_holder = -1;
    qint32 m_loanNumber = -1;
    DateNumber m_loanDate = NoDate;
    DateNumber m_due = NoDate;
    bool m_limited = false;
    qint32 m_delay = -1;
    DateNumber m_returnDate = NoDate; // fixed by the first lookup of a batch
    QString m_currentCode;
};
