#pragma once

#include "catalogue/booklookup.h"

#include <QAbstractTableModel>
#include <QStringList>

// The keyword list of the book pages: one column "Klíčová slova", kept in ascending order.
class KeywordListModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        Keyword,
        ColumnCount
    };
    using QAbstractTableModel::QAbstractTableModel;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

    QStringList keywords() const { return m_words; }
    void addKeyword(const QString &word);  // takes its place in the order
    using QAbstractTableModel::removeRows; // the model's own, by position and count, stays callable
    void removeRows(QList<int> rows);
    // Empties the list and fills it from a stored keyword string (~a~~b~).
    void fillFromStored(const QString &stored);
    void clear();

private:
    QStringList m_words;
};

// The rows of the book list picker: "Kód", "Název", "Autor". Sorting is ascending only, by the
// column's text with a locale-aware comparison that heeds letter case.
class BookPickerModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        Code,
        Title,
        Author,
        ColumnCount
    };
    explicit BookPickerModel(QList<PickerRow> rows, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

    const PickerRow &row(int r) const { return m_rows.at(r); }

private:
    QList<PickerRow> m_rows;
};

// A book's loan history: client code, first name, surname, loan date, return date, days overdue.
// Text columns sort by a locale-aware comparison that heeds letter case, the others by value.
class LoanHistoryModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column
    {
        ClientCode,
        FirstName,
        Surname,
        LentOn,
        ReturnedOn,
        Overdue,
        ColumnCount
    };
    static constexpr int RawValueRole = Qt::UserRole;
    explicit LoanHistoryModel(QList<LoanHistoryRow> rows, QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

private:
    QList<LoanHistoryRow> m_rows;
};
