#pragma once

#include "circulation/entrypage.h"
#include "circulation/pagelist.h"
#include "data/dates.h"

class QCheckBox;
class QLineEdit;
class QPushButton;

// A book on the list of books prepared for lending.
struct PreparedBook
{
    QString code;
    QString title;
    QString author;
    qint32 bookId = -1;
    DateNumber due = NoDate; // the return-by date fixed when the book was added; NoDate: not limited
    DateNumber acquired = NoDate;
};

// "Výpůjčky": books are collected by code, a client is looked up, and "Půjčit" lends all the
// books to the client under one loan number.
class CPageVypujcky final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageVypujcky(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Výpůjčky"); }

    void onActivate() override;
    void onDeactivate() override;
    void categoriesChanged() override;
    void settingsChanged() override;

    // The commands of the page's buttons.
    void lookUpBook();
    void pickBook();
    void addBook();
    void removeSelected();
    void lookUpClient();
    void pickClient();
    // A client chosen in the client list: found by code whether hidden or not.
    void clientChosen(const QString &code);
    void lend();
    void cancel();
    void limitToggled(bool limited);
    void showDetails();

    // What the register commands tell the active page after they wrote.
    // A client just created by "Nový klient" is served at once.
    void clientCreated(qint32 id, const QString &code, const QString &name) override;
    void clientChanged(qint32 id, const QString &code, const QString &surname, const QString &first) override;
    void clientRemoved(qint32 id) override;
    bool categoryRenamed(qint32 id, const QString &oldName, const QString &newName) override;

    void partialClear();
    void fullClear();

    CPreparedList<PreparedBook> *list() const { return m_list; }
    qint32 currentBookId() const { return m_bookId; }
    qint32 clientId() const { return m_clientId; }

private:
    void refuseHiddenClient();
    void applyLoanLengthDefault();
    void clearClient();
    void requestProtocol(qint32 loanNumber);

    CRvEdit *m_bookCode = nullptr;
    QCheckBox *m_limit = nullptr;
    CRvEdit *m_due = nullptr;
    QLineEdit *m_title = nullptr;
    QLineEdit *m_author = nullptr;
    QLineEdit *m_category = nullptr;
    QPushButton *m_add = nullptr;
    QTableView *m_view = nullptr;
    CRvEdit *m_clientCode = nullptr;
    QLineEdit *m_clientName = nullptr;
    CRvEdit *m_loanDate = nullptr;
    CPreparedList<PreparedBook> *m_list = nullptr;

    qint32 m_bookId = -1;
    qint32 m_categoryId = -1;
    DateNumber m_acquired = NoDate;
    QString m_currentCode;
    qint32 m_clientId = -1;
};
