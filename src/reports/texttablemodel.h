#pragma once

#include <QAbstractTableModel>
#include <QStringList>

// A small read-only table of ready texts with one number per row (a loan or return number, a
// book identifier): the lists of the protocol choosers.
class CTextTableModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Role
    {
        RowIdRole = Qt::UserRole + 1
    };

    explicit CTextTableModel(const QStringList &headers, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    void setRows(const QList<QStringList> &rows, const QList<qint32> &ids);
    void clear();
    qint32 rowId(int row) const { return m_ids.value(row, -1); }

private:
    QStringList m_headers;
    QList<QStringList> m_rows;
    QList<qint32> m_ids;
};
