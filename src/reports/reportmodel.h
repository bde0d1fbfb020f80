#pragma once

#include "reports/reportcore.h"

#include <QAbstractTableModel>

// The rows of the shown report. The model owns the ReportRow records; the texts are made when
// the view asks for them.
class CReportModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        Code,
        Title,
        Author,
        Category,
        Price,
        ColumnCount
    };
    enum Role
    {
        RawValueRole = Qt::UserRole + 1,
        BookIdRole
    };

    using QAbstractTableModel::QAbstractTableModel;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    // Always ascending, whatever the order asked: a click on a header sorts up.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    void setRows(QList<ReportRow> rows);
    void clear();
    const QList<ReportRow> &rows() const { return m_rows; }
    const ReportRow &row(int index) const { return m_rows.at(index); }

    // The comparator of the price column: 1 when the first price is greater, 0 otherwise, never
    // a negative answer. The sort is a stable merge that moves a row in front of an earlier one
    // only when that one answers 1 against it.
    static int comparePrices(float first, float second) { return first > second ? 1 : 0; }

private:
    QList<ReportRow> m_rows;
};
