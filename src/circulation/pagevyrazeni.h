#pragma once

#include "circulation/entrypage.h"
#include "circulation/pagelist.h"
#include "data/dates.h"

class QLineEdit;
class QPushButton;

// A book on the list of books prepared for discarding.
struct DiscardListItem
{
    QString code;
    QString title;
    QString author;
    qint32 bookId = -1;
    DateNumber acquired = NoDate;
};

// "Vyřazení": books taken out of the stock (lost ones, worn-out ones) are collected by code and
// discarded with one discard date. They keep their rows; only the discard marks are set.
class CPageVyrazeni final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageVyrazeni(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Vyřazení"); }

    void onActivate() override;
    void onDeactivate() override;
    void categoriesChanged() override;

    void lookUpBook();
    void pickBook();
    void addBook();
    void removeSelected();
    void discard();
    void cancel();
    void showDetails();

    // What the register commands tell the active page after they wrote.
    bool categoryRenamed(qint32 id, const QString &oldName, const QString &newName) override;

    void partialClear();
    void fullClear();

    CPreparedList<DiscardListItem> *list() const { return m_list; }
    qint32 currentBookId() const { return m_bookId; }

private:
    CRvEdit *m_bookCode = nullptr;
    CRvEdit *m_accession = nullptr;
    QLineEdit *m_title = nullptr;
    QLineEdit *m_author = nullptr;
    QLineEdit *m_category = nullptr;
    CRvEdit *m_discardDate = nullptr;
    QPushButton *m_add = nullptr;
    QTableView *m_view = nullptr;
    CPreparedList<DiscardListItem> *m_list = nullptr;

    qint32 m_bookId = -1;
    qint32 m_categoryId = -1;
    DateNumber m_acquired = NoDate;
    QString m_currentCode;
};
