#pragma once

#include "circulation/entrypage.h"

#include <vector>

class BookForm;
class CRvEdit;
class QPushButton;

// "Prohlížení": walks through the books in use one at a time in accession order, driven by the
// record navigation commands. Only the order of identifiers is kept while the page is active;
// each book is read when it is shown, so a large catalogue costs nothing to step through.
class CPageProhlizeni final : public CEntryPage
{
    Q_OBJECT

public:
    static constexpr int PageStep = 40;

    explicit CPageProhlizeni(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Prohlížení"); }

    void onActivate() override;
    void onDeactivate() override;
    void navigate(int command) override;
    bool canNavigate(int command) const override;
    void categoriesChanged() override;
    bool categoryRenamed(qint32 id, const QString &oldName, const QString &newName) override;
    void clientChanged(qint32 id, const QString &code, const QString &surname, const QString &first) override;

    // "   Jdi na ...".
    void goTo();
    // Shows the book with this identifier when it is among the rows; message 79 when not.
    bool showBook(qint32 bookId);

    bool isOpen() const { return m_open; }
    int currentRow() const { return m_row; }
    int rowCount() const { return int(m_order.size()); }
    BookForm *form() const { return m_form; }
    CRvEdit *clientField() const { return m_client; }

private:
    void clearPage();
    void showRow(int row);

    BookForm *m_form = nullptr;
    CRvEdit *m_client = nullptr;
    QPushButton *m_goTo = nullptr;
    std::vector<qint32> m_order;
    bool m_open = false;
    int m_row = -1;
    qint32 m_bookId = -1;
    qint32 m_categoryId = -1;
    qint32 m_clientId = -1;
};
