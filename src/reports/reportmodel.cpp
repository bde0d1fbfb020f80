#include "reports/reportmodel.h"

#include "data/czechorder.h"

#include <QCollator>

#include <algorithm>
#include <numeric>
#include <vector>

int CReportModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int CReportModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : ColumnCount;
}

QVariant CReportModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const ReportRow &r = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return reportCellText(r, index.column());
    case RawValueRole:
        return index.column() == Price ? QVariant(r.price) : QVariant(reportCellText(r, index.column()));
    case BookIdRole:
        return r.bookId;
    case Qt::TextAlignmentRole:
        return index.column() == Price ? QVariant(Qt::AlignRight | Qt::AlignVCenter)
                                       : QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    default:
        return {};
    }
}

QVariant CReportModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= ColumnCount)
        return QAbstractTableModel::headerData(section, orientation, role);
    if (role == Qt::DisplayRole) {
        static const char *const Headers[] = {"Kód", "Název", "Autor", "Kategorie", "Cena"};
        return QString::fromUtf8(Headers[section]);
    }
    if (role == Qt::TextAlignmentRole)
        return section == Price ? QVariant(Qt::AlignRight | Qt::AlignVCenter)
                                : QVariant(Qt::AlignLeft | Qt::AlignVCenter);
    return {};
}

void CReportModel::sort(int column, Qt::SortOrder order)
{
    Q_UNUSED(order);
    if (column < 0 || column >= ColumnCount || m_rows.size() < 2)
        return;
    Q_EMIT layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    // Remember where every row was, so that selections and the current item follow their rows.
    QList<int> rowsInOrder(m_rows.size());
    std::iota(rowsInOrder.begin(), rowsInOrder.end(), 0);
    if (column == Price) {
        std::stable_sort(rowsInOrder.begin(), rowsInOrder.end(), [this](int a, int b) {
            return comparePrices(m_rows.at(b).price, m_rows.at(a).price) > 0;
        });
    } else {
        // Czech order with letter case counted, whatever the system's locale is (under LANG=C
        // a plain collator would sort by code points and put Č after Z).
        const QCollator &collator = czechCollator(Qt::CaseSensitive);
        // One sort key per row: a large report sorts without collating the texts again and again.
        std::vector<QCollatorSortKey> keys;
        keys.reserve(m_rows.size());
        for (const ReportRow &r : std::as_const(m_rows))
            keys.push_back(collator.sortKey(reportCellText(r, column)));
        std::stable_sort(rowsInOrder.begin(), rowsInOrder.end(),
                         [&](int a, int b) { return keys[a].compare(keys[b]) < 0; });
    }
    QList<ReportRow> sorted;
    sorted.reserve(m_rows.size());
    QList<int> newPosition(m_rows.size());
    for (int i = 0; i < rowsInOrder.size(); ++i) {
        sorted.append(std::move(m_rows[rowsInOrder.at(i)]));
        newPosition[rowsInOrder.at(i)] = i;
    }
    m_rows = std::move(sorted);
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex &i : before)
        after << index(newPosition.at(i.row()), i.column());
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void CReportModel::setRows(QList<ReportRow> rows)
{
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
}

void CReportModel::clear()
{
    if (m_rows.isEmpty())
        return;
    beginResetModel();
    m_rows.clear();
    endResetModel();
}
