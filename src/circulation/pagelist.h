#pragma once

#include "app/columnfit.h"
#include "app/cp1250.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "catalogue/bookdialogs.h"
#include "data/labels.h"

#include <QAbstractTableModel>
#include <QApplication>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QTableView>

#include <algorithm>
#include <functional>
#include <numeric>

// One column of a list of prepared books: its title and width, the text shown for a row, and
// the value the column sorts by (a text, compared byte by byte in the program's code page, or
// a number).
template <typename Item> struct PreparedColumn
{
    QString title;
    int width = 60;
    std::function<QString(const Item &)> text;
    std::function<QVariant(const Item &)> key;
    Qt::Alignment alignment = Qt::AlignLeft | Qt::AlignVCenter;
    QString sample = {}; // the longest value the column normally shows; it gets room for it
};

// The list of books prepared on a page: it owns one record per row. New rows go to the top;
// commits work from the last row to the first and drop each row as it is written.
template <typename Item> class CPreparedList final : public QAbstractTableModel
{
public:
    static constexpr int SortRole = Qt::UserRole;

    explicit CPreparedList(QList<PreparedColumn<Item>> columns, QObject *parent = nullptr)
        : QAbstractTableModel(parent), m_columns(std::move(columns))
    {}

    int rowCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_items.size());
    }
    int columnCount(const QModelIndex &parent = {}) const override
    {
        return parent.isValid() ? 0 : int(m_columns.size());
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (!checkIndex(index, CheckIndexOption::IndexIsValid))
            return {};
        const PreparedColumn<Item> &c = m_columns.at(index.column());
        const Item &item = m_items.at(index.row());
        switch (role) {
        case Qt::DisplayRole:
            return c.text(item);
        case Qt::TextAlignmentRole:
            return QVariant::fromValue(c.alignment);
        case SortRole:
            return c.key(item);
        default:
            return {};
        }
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 &&
            section < m_columns.size())
            return m_columns.at(section).title;
        return {};
    }

    const QList<Item> &items() const { return m_items; }
    const Item &at(int row) const { return m_items.at(row); }
    qsizetype size() const { return m_items.size(); }
    bool isEmpty() const { return m_items.isEmpty(); }
    int columnWidth(int column) const { return m_columns.at(column).width; }
    QString columnSample(int column) const { return m_columns.at(column).sample; }

    void insertTop(const Item &item)
    {
        beginInsertRows({}, 0, 0);
        m_items.prepend(item);
        endInsertRows();
    }
    void removeAt(int row)
    {
        if (row < 0 || row >= m_items.size())
            return;
        beginRemoveRows({}, row, row);
        m_items.removeAt(row);
        endRemoveRows();
    }
    void removeRowsAt(QList<int> rows)
    {
        std::sort(rows.begin(), rows.end(), std::greater<int>());
        rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
        for (int r : rows)
            removeAt(r);
    }
    void clear()
    {
        beginResetModel();
        m_items.clear();
        endResetModel();
    }
    // Always ascending; rows with equal keys keep their order.
    void sortByColumn(int column)
    {
        if (column < 0 || column >= m_columns.size())
            return;
        const auto &key = m_columns.at(column).key;
        Q_EMIT layoutAboutToBeChanged();
        const QModelIndexList before = persistentIndexList();
        QList<int> order(m_items.size());
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(),
                         [&](int a, int b) { return lessThan(key(m_items.at(a)), key(m_items.at(b))); });
        QList<Item> sorted;
        QList<int> newRow(m_items.size());
        for (int i = 0; i < order.size(); ++i) {
            sorted << m_items.at(order.at(i));
            newRow[order.at(i)] = i;
        }
        m_items = sorted;
        QModelIndexList after;
        for (const QModelIndex &i : before)
            after << index(newRow.at(i.row()), i.column());
        changePersistentIndexList(before, after);
        Q_EMIT layoutChanged();
    }

private:
    static bool lessThan(const QVariant &a, const QVariant &b)
    {
        if (a.typeId() == QMetaType::QString)
            return toCp1250(a.toString()) < toCp1250(b.toString());
        return a.toLongLong() < b.toLongLong();
    }

    QList<PreparedColumn<Item>> m_columns;
    QList<Item> m_items;
};

// The table that shows a prepared list: grid lines, whole rows selected (several at once for
// "Odebrat"), a click on a column title sorts by that column.
template <typename Item> QTableView *makePreparedListView(CPreparedList<Item> *model, QWidget *parent)
{
    auto *view = new QTableView(parent);
    view->setModel(model);
    view->setShowGrid(true);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setTabKeyNavigation(false);
    view->verticalHeader()->hide();
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 6);
    view->horizontalHeader()->setSectionsClickable(true);
    view->horizontalHeader()->setHighlightSections(false);
    for (int c = 0; c < model->columnCount(); ++c) {
        const QString sample = model->columnSample(c);
        const QString header = model->headerData(c, Qt::Horizontal, Qt::DisplayRole).toString();
        view->setColumnWidth(
            c, sample.isEmpty() ? model->columnWidth(c)
                                : std::max(model->columnWidth(c), fittingColumnWidth(view, header, sample)));
    }
    // The title takes what the page gives beyond the columns' own widths.
    view->horizontalHeader()->setSectionResizeMode(1, QHeaderView::Stretch);
    QObject::connect(view->horizontalHeader(), &QHeaderView::sectionClicked, model,
                     [model](int column) { model->sortByColumn(column); });
    return view;
}

// The rows selected in a list view, in no particular order.
inline QList<int> selectedRows(const QTableView *view)
{
    QList<int> rows;
    if (view->selectionModel())
        for (const QModelIndex &i : view->selectionModel()->selectedRows())
            rows << i.row();
    return rows;
}

// The wait cursor for the length of one command.
class BusyCursor final
{
public:
    BusyCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyCursor() { QApplication::restoreOverrideCursor(); }
    Q_DISABLE_COPY_MOVE(BusyCursor)
};

#include <QLineEdit>
#include <QPushButton>
#include <QStyle>

// A read-only text of the book or client just looked up.
inline QLineEdit *readOnlyField(QWidget *parent)
{
    auto *e = new QLineEdit(parent);
    e->setReadOnly(true);
    e->setFocusPolicy(Qt::ClickFocus);
    return e;
}

// Enter presses the focused button, as it does in a dialog: after a scanned code the focus is
// on "Přidat" and the next Enter adds the book.
inline QPushButton *pageButton(const QString &text, QWidget *parent)
{
    auto *b = new QPushButton(text, parent);
    b->setAutoDefault(true);
    return b;
}

// The page's main push buttons carry an icon beside the text.
inline QPushButton *iconButton(const QString &text, QStyle::StandardPixmap icon, QWidget *parent)
{
    QPushButton *b = pageButton(text, parent);
    b->setIcon(parent->style()->standardIcon(icon));
    return b;
}

// Date and number fields are as wide as their longest content, not as the page.
inline void fitWidth(QLineEdit *edit, const QString &longest = QStringLiteral("30. 12.2026"))
{
    edit->setFixedWidth(edit->fontMetrics().horizontalAdvance(longest) + 24);
}

#include "catalogue/booklookup.h"
#include "circulation/circulationcore.h"
#include "data/checks.h"
#include "data/dberror.h"

// The book code typed on a circulation page, looked up: the empty code and a missing book or
// category are refused with the page's messages (refuse shows the message, clears and moves the
// focus), forbidden characters with 119 and the focus back on the code. found gets the trimmed
// code and the book; a database failure there or in the lookup is refused with dbError.
struct BookCodeMessages
{
    int empty;
    int notFound;
    int noCategory;
    int dbError;
};

template <typename Refuse, typename Found>
void lookUpBookCode(CRvEdit *codeEdit, const BookCodeMessages &messages, Refuse refuse, Found found)
{
    const QString code = codeEdit->text().trimmed();
    if (code.isEmpty())
        return refuse(messages.empty);
    if (hasForbiddenChars(code)) {
        showMessage(Message::ForbiddenChars);
        codeEdit->setFocus();
        return;
    }
    BusyCursor wait;
    try {
        const std::optional<BookInUse> book = bookInUseByCode(code);
        if (!book)
            return refuse(messages.notFound);
        if (!book->category)
            return refuse(messages.noCategory);
        found(code, *book);
    } catch (const DbError &e) {
        logDbError(e);
        refuse(messages.dbError);
    }
}

// "Nalistovat...": the book chosen from the list goes into the code edit; false when none was
// chosen.
inline bool pickBookCode(QWidget *page, const QString &heading, BookList list, CRvEdit *codeEdit)
{
    const auto picked = ::pickBook(page, heading, bookListStatement(list));
    if (!picked)
        return false;
    codeEdit->setText(picked->code);
    return true;
}

// Books were moved between categories or categories renamed: the category of the shown book is
// read anew; when the book or its category is gone or the database failed the page keeps what it
// shows.
inline void refreshBookCategory(qint32 bookId, qint32 *categoryId, QLineEdit *shown)
{
    try {
        if (const std::optional<CategoryItem> category = currentBookCategory(bookId)) {
            *categoryId = category->id;
            shown->setText(category->name);
        }
    } catch (const DbError &e) {
        logDbError(e);
    }
}

// The prepared list of a page with its title line: the title (its mnemonic leads to the list),
// "Přidat" and "Odebrat" beside it, the table below; the page lays out head and view.
struct PreparedListSection
{
    QHBoxLayout *head;
    QPushButton *add;
    QPushButton *remove;
    QTableView *view;
};

template <typename Item>
PreparedListSection makePreparedListSection(CPreparedList<Item> *model, const QString &title, QWidget *page)
{
    PreparedListSection s;
    s.add = iconButton(QStringLiteral("Přidat"), QStyle::SP_ArrowDown, page);
    s.add->setObjectName(QStringLiteral("add"));
    s.remove = iconButton(QStringLiteral("Odebrat"), QStyle::SP_DialogDiscardButton, page);
    s.view = makePreparedListView(model, page);
    s.view->setObjectName(QStringLiteral("list"));
    auto *label = new QLabel(title, page);
    label->setBuddy(s.view);
    s.head = new QHBoxLayout;
    s.head->addWidget(label, 1);
    s.head->addWidget(s.add);
    s.head->addWidget(s.remove);
    return s;
}

// "Odebrat": removes the selected rows; with none selected, the page's message and false.
template <typename Item>
bool removeSelectedRows(QTableView *view, CPreparedList<Item> *list, int noSelectionMessage)
{
    const QList<int> rows = selectedRows(view);
    if (rows.isEmpty()) {
        showMessage(noSelectionMessage);
        return false;
    }
    list->removeRowsAt(rows);
    return true;
}

// Double click or Enter in a prepared list: the details of the current row's book, then the
// focus back to the list.
template <typename Item>
void showCurrentBookDetails(QWidget *page, QTableView *view, CPreparedList<Item> *list)
{
    const QModelIndex current = view->currentIndex();
    if (!current.isValid())
        return;
    showBookDetails(page, list->at(current.row()).bookId);
    view->setFocus();
}

// The "Kniha" box of a page: the book code with "OK" and "Nalistovat..." on its first row, the
// title, author and category read-only below. A page adds its own fields after the code on the
// first row (codeRow) and below it (addField), then puts the box where it wants it.
struct BookLookupBox
{
    QGroupBox *box;
    CRvEdit *code;
    QPushButton *ok;
    QPushButton *pick;
    QHBoxLayout *codeRow;
    QGridLayout *grid;
    QLineEdit *title;
    QLineEdit *author;
    QLineEdit *category;

    void addField(const QString &label, QLineEdit *field, int row, int column, int span)
    {
        auto *l = new QLabel(label, box);
        l->setBuddy(field);
        grid->addWidget(l, row, column);
        grid->addWidget(field, row, column + 1, 1, span);
    }
};

inline BookLookupBox makeBookLookupBox(QWidget *page)
{
    BookLookupBox b;
    b.box = new QGroupBox(QStringLiteral("Kniha"), page);
    b.code = new CRvEdit(b.box);
    b.code->setObjectName(QStringLiteral("bookCode"));
    b.code->setMaxLength(32);
    auto *codeLabel = new QLabel(QStringLiteral("&Kód knihy"), b.box);
    codeLabel->setBuddy(b.code);
    b.ok = pageButton(QStringLiteral("OK"), b.box);
    b.pick = pageButton(QStringLiteral("Nalistovat..."), b.box);
    b.title = readOnlyField(b.box);
    b.author = readOnlyField(b.box);
    b.category = readOnlyField(b.box);
    b.title->setObjectName(QStringLiteral("title"));
    b.category->setObjectName(QStringLiteral("category"));
    b.grid = new QGridLayout(b.box);
    b.grid->addWidget(codeLabel, 0, 0);
    b.codeRow = new QHBoxLayout;
    b.codeRow->addWidget(b.code, 1);
    b.codeRow->addWidget(b.ok);
    b.codeRow->addWidget(b.pick);
    b.grid->addLayout(b.codeRow, 0, 1, 1, 3);
    return b;
}
