#include "catalogue/bookmodels.h"

#include "data/checks.h"
#include "data/czechorder.h"

#include <QCollator>

#include <algorithm>
#include <numeric>

int KeywordListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_words.size());
}

int KeywordListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant KeywordListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_words.size() || index.column() != Keyword)
        return {};
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return m_words.at(index.row());
    return {};
}

QVariant KeywordListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section == Keyword)
        return QStringLiteral("Klíčová slova");
    return {};
}

void KeywordListModel::addKeyword(const QString &word)
{
    QStringList after = m_words;
    after << word;
    sortKeywords(after);
    const int row = int(after.indexOf(word));
    beginInsertRows({}, row, row);
    m_words = after;
    endInsertRows();
}

void KeywordListModel::removeRows(QList<int> rows)
{
    std::sort(rows.begin(), rows.end(), std::greater<int>());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    for (int r : rows) {
        if (r < 0 || r >= m_words.size())
            continue;
        beginRemoveRows({}, r, r);
        m_words.removeAt(r);
        endRemoveRows();
    }
}

void KeywordListModel::fillFromStored(const QString &stored)
{
    beginResetModel();
    m_words = keywordsInListOrder(stored);
    endResetModel();
}

void KeywordListModel::clear()
{
    beginResetModel();
    m_words.clear();
    endResetModel();
}

BookPickerModel::BookPickerModel(QList<PickerRow> rows, QObject *parent)
    : QAbstractTableModel(parent), m_rows(std::move(rows))
{}

int BookPickerModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int BookPickerModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant BookPickerModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size() || role != Qt::DisplayRole)
        return {};
    const PickerRow &r = m_rows.at(index.row());
    switch (index.column()) {
    case Code:
        return r.code;
    case Title:
        return r.title;
    case Author:
        return r.author;
    default:
        return {};
    }
}

QVariant BookPickerModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    switch (section) {
    case Code:
        return QStringLiteral("Kód");
    case Title:
        return QStringLiteral("Název");
    case Author:
        return QStringLiteral("Autor");
    default:
        return {};
    }
}

void BookPickerModel::sort(int column, Qt::SortOrder)
{
    if (column < 0 || column >= ColumnCount)
        return;
    const QCollator &collator = czechCollator(Qt::CaseSensitive);
    const auto key = [column](const PickerRow &r) -> const QString & {
        return column == Code ? r.code : column == Title ? r.title : r.author;
    };
    // Sort keys once per row: comparing through the collator row by row is slow on large lists.
    QList<std::pair<QCollatorSortKey, int>> keys;
    keys.reserve(m_rows.size());
    for (int i = 0; i < m_rows.size(); ++i)
        keys.emplaceBack(collator.sortKey(key(m_rows.at(i))), i);
    std::stable_sort(keys.begin(), keys.end(),
                     [](const auto &a, const auto &b) { return a.first.compare(b.first) < 0; });
    Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    QList<int> newRowOf(m_rows.size());
    QList<PickerRow> sorted;
    sorted.reserve(m_rows.size());
    for (int i = 0; i < keys.size(); ++i) {
        newRowOf[keys.at(i).second] = i;
        sorted << m_rows.at(keys.at(i).second);
    }
    m_rows = sorted;
    QModelIndexList after;
    for (const QModelIndex &i : before)
        after << index(newRowOf.at(i.row()), i.column());
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

LoanHistoryModel::LoanHistoryModel(QList<LoanHistoryRow> rows, QObject *parent)
    : QAbstractTableModel(parent), m_rows(std::move(rows))
{}

int LoanHistoryModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int LoanHistoryModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant LoanHistoryModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    const LoanHistoryRow &r = m_rows.at(index.row());
    if (role == RawValueRole) {
        switch (index.column()) {
        case ClientCode:
            return r.clientCode;
        case FirstName:
            return r.firstName;
        case Surname:
            return r.surname;
        case LentOn:
            return r.lentOn;
        case ReturnedOn:
            return r.returnedOn;
        case Overdue:
            return r.overdue;
        default:
            return {};
        }
    }
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case ClientCode:
        return r.clientCode;
    case FirstName:
        return r.firstName;
    case Surname:
        return r.surname;
    case LentOn:
        return dateText(r.lentOn);
    case ReturnedOn:
        return r.returnedOn == NoDate ? QString() : dateText(r.returnedOn);
    case Overdue:
        return r.overdue == -1 ? QString() : QString::asprintf("%d", r.overdue);
    default:
        return {};
    }
}

QVariant LoanHistoryModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    static const char *const titles[ColumnCount] = {"Kód klienta", "Jméno",       "Příjmení",
                                                    "Půjčeno dne", "Vráceno dne", "Prodlení"};
    if (section < 0 || section >= ColumnCount)
        return {};
    return QString::fromUtf8(titles[section]);
}

void LoanHistoryModel::sort(int column, Qt::SortOrder)
{
    if (column < 0 || column >= ColumnCount)
        return;
    const QCollator &collator = czechCollator(Qt::CaseSensitive);
    const auto less = [&](const LoanHistoryRow &a, const LoanHistoryRow &b) {
        switch (column) {
        case ClientCode:
            return collator.compare(a.clientCode, b.clientCode) < 0;
        case FirstName:
            return collator.compare(a.firstName, b.firstName) < 0;
        case Surname:
            return collator.compare(a.surname, b.surname) < 0;
        case LentOn:
            return a.lentOn < b.lentOn;
        case ReturnedOn:
            return a.returnedOn < b.returnedOn;
        default:
            return a.overdue < b.overdue;
        }
    };
    QList<int> order(m_rows.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return less(m_rows.at(a), m_rows.at(b)); });
    Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    QList<int> newRowOf(m_rows.size());
    QList<LoanHistoryRow> sorted;
    sorted.reserve(m_rows.size());
    for (int i = 0; i < order.size(); ++i) {
        newRowOf[order.at(i)] = i;
        sorted << m_rows.at(order.at(i));
    }
    m_rows = sorted;
    QModelIndexList after;
    for (const QModelIndex &i : before)
        after << index(newRowOf.at(i.row()), i.column());
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}
