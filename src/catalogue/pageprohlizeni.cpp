#include "catalogue/pageprohlizeni.h"

#include "app/commands.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookdialogs.h"
#include "catalogue/bookform.h"
#include "catalogue/booklookup.h"
#include "data/dberror.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>

CPageProhlizeni::CPageProhlizeni(QWidget *parent) : CEntryPage(parent)
{
    m_form = new BookForm(this, BookForm::Mode::Show);
    m_client = new CRvEdit(this);
    m_client->setObjectName(QStringLiteral("client"));
    m_client->setMaxLength(160);
    m_client->setReadOnly(true);
    auto *label = new QLabel(QStringLiteral("Akt&uální klient"), this);
    label->setBuddy(m_client);
    const int row = m_form->nextGridRow();
    m_form->grid->addWidget(label, row, 0);
    m_form->grid->addWidget(m_client, row, 1, 1, 2);
    m_form->grid->setRowStretch(row + 1, 1);
    m_goTo = new QPushButton(QStringLiteral("   Jdi na ..."), this);
    m_goTo->setObjectName(QStringLiteral("goTo"));
    m_goTo->setIcon(style()->standardIcon(QStyle::SP_FileDialogContentsView));
    m_form->buttons->addWidget(m_goTo);
    connect(m_goTo, &QPushButton::clicked, this, &CPageProhlizeni::goTo);
}

void CPageProhlizeni::clearPage()
{
    m_form->clearFields(QString(), true);
    m_client->clear();
    m_bookId = m_categoryId = m_clientId = -1;
}

void CPageProhlizeni::onActivate()
{
    clearPage();
    m_order.clear();
    m_row = -1;
    try {
        m_order = browseOrder();
        m_open = true;
    } catch (const DbError &e) {
        logDbError(e);
        m_open = false;
        showMessage(Message::BrowseDbError);
        return;
    }
    if (m_order.empty()) {
        m_form->code->setFocus();
        return;
    }
    showRow(int(m_order.size()) - 1);
}

void CPageProhlizeni::onDeactivate()
{
    clearPage();
    m_order.clear();
    m_order.shrink_to_fit();
    m_open = false;
    m_row = -1;
}

void CPageProhlizeni::showRow(int row)
{
    m_row = row;
    clearPage();
    std::optional<BookRow> book;
    std::optional<QString> category;
    std::optional<QString> client;
    try {
        book = findBookById(m_order.at(size_t(row)));
        if (book) {
            category = categoryName(book->category);
            if (book->client != -1)
                client = clientLabel(book->client);
        }
    } catch (const DbError &e) {
        showDbError(Message::BrowseDbError, e);
        return;
    }
    if (!book || !category || (book->client != -1 && !client)) {
        showMessage(Message::BrowseIntegrity);
        clearPage();
        m_form->code->setFocus();
        return;
    }
    m_form->showRow(*book, *category);
    if (client)
        m_client->setText(*client);
    m_bookId = book->id;
    m_categoryId = book->category;
    m_clientId = book->client;
}

bool CPageProhlizeni::canNavigate(int command) const
{
    if (!m_open || m_row < 0 || m_order.empty())
        return false;
    switch (command) {
    case Cmd::NavPrevious:
    case Cmd::NavFirst:
    case Cmd::NavPageForward:
        return m_row > 0;
    case Cmd::NavNext:
    case Cmd::NavLast:
    case Cmd::NavPageBack:
        return m_row + 1 < int(m_order.size());
    default:
        return false;
    }
}

void CPageProhlizeni::navigate(int command)
{
    if (!m_open || m_order.empty() || m_row < 0)
        return;
    const int last = int(m_order.size()) - 1;
    int target = m_row;
    switch (command) {
    case Cmd::NavPrevious:
        target = m_row - 1;
        break;
    case Cmd::NavNext:
        target = m_row + 1;
        break;
    case Cmd::NavFirst:
        target = 0;
        break;
    case Cmd::NavLast:
        target = last;
        break;
    case Cmd::NavPageForward: // "O stránku vpřed" goes toward the first row
        target = m_row - PageStep;
        break;
    case Cmd::NavPageBack: // "O stránku vzad" goes toward the last row
        target = m_row + PageStep;
        break;
    default:
        return;
    }
    showRow(qBound(0, target, last));
}

void CPageProhlizeni::categoriesChanged()
{
    if (m_open && m_row >= 0 && m_bookId != -1)
        showRow(m_row);
}

bool CPageProhlizeni::categoryRenamed(qint32 id, const QString &oldName, const QString &newName)
{
    Q_UNUSED(oldName);
    Q_UNUSED(newName);
    if (m_categoryId == id)
        categoriesChanged(); // shows the book again, with its category's new name
    return true;
}

void CPageProhlizeni::clientChanged(qint32 id, const QString &code, const QString &surname,
                                    const QString &first)
{
    if (m_open && m_bookId != -1 && m_clientId == id)
        m_client->setText(clientLabel(code, surname, first));
}

bool CPageProhlizeni::showBook(qint32 bookId)
{
    const auto it = std::find(m_order.begin(), m_order.end(), bookId);
    if (!m_open || it == m_order.end()) {
        showMessage(Message::BrowseDbError);
        return false;
    }
    showRow(int(it - m_order.begin()));
    m_form->code->setFocus();
    return true;
}

void CPageProhlizeni::goTo()
{
    const std::optional<qint32> id = askBookToShow(this);
    if (id)
        showBook(*id);
}
