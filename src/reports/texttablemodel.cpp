#include "reports/texttablemodel.h"

CTextTableModel::CTextTableModel(const QStringList &headers, QObject *parent)
    : QAbstractTableModel(parent), m_headers(headers)
{}

int CTextTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int CTextTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_headers.size());
}

QVariant CTextTableModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    if (role == Qt::DisplayRole)
        return m_rows.at(index.row()).value(index.column());
    if (role == RowIdRole)
        return m_ids.value(index.row(), -1);
    return {};
}

QVariant CTextTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 &&
        section < m_headers.size())
        return m_headers.at(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}

void CTextTableModel::setRows(const QList<QStringList> &rows, const QList<qint32> &ids)
{
    beginResetModel();
    m_rows = rows;
    m_ids = ids;
    endResetModel();
}

void CTextTableModel::clear()
{
    beginResetModel();
    m_rows.clear();
    m_ids.clear();
    endResetModel();
}
