#pragma once

// The record sets, statement texts and engine statements belong to the core: pages, dialogs and
// models ask a core function for what they show and write (see docs/ARCHITECTURE.md).
#ifdef FOLIVO_UI_LAYER
#error "a file of folivo_ui reads the database: call a core function instead"
#endif

#include "data/database.h"

#include "data/directquery.h"
#include <QList>

#include <QSqlQuery>
#include <QString>
#include <QVariant>

#include <memory>

// Binds a record set's member fields to its columns, in the table's column order; one pass
// either reads the current row into the members, collects them for a write, or empties them.
class FieldExchange
{
public:
    enum class Mode
    {
        Read,
        Collect,
        Reset
    };
    FieldExchange(Mode mode, const QVariantList *row = nullptr) : m_mode(mode), m_row(row) {}

    void Long(const char *column, qint32 &field);
    void Text(const char *column, QString &field);
    void Bool(const char *column, bool &field);
    void Single(const char *column, float &field);

    QStringList columns() const { return m_columns; } // filled in Collect mode only
    QVariantList values() const { return m_values; }

private:
    QVariant next(const char *column);
    Mode m_mode;
    const QVariantList *m_row;
    int m_index = 0;
    QStringList m_columns;
    QVariantList m_values;
};

// A set of rows of one table, opened on the whole table or on a SELECT of all its columns, with
// a current row whose columns are the members of the derived class. Rows are fetched from the
// statement as the record set moves, so opening a large result costs one row.
class RecordSet
{
public:
    virtual ~RecordSet();

    // Opens on the given statement (Jet dialect, "SELECT * FROM T WHERE ..."), or on the whole
    // table when it is empty. Throws DbError.
    void open(const QString &jetSql = QString());
    void close();
    bool isOpen() const { return m_open; }

    bool isEOF() const;
    bool isBOF() const;
    void moveFirst();
    void moveLast();
    void moveNext(); // stops one past the last row
    int currentIndex() const { return m_current; }

    void addNew();
    void edit();
    void update(); // writes the pending AddNew or Edit
    void cancelUpdate();
    void deleteRow();

    // Default statement: the bracketed table name, "[KNIHY]" and so on.
    QString defaultSql() const { return QLatin1Char('[') + tableName() + QLatin1Char(']'); }
    virtual QString tableName() const = 0;
    virtual int fieldCount() const = 0;

protected:
    RecordSet() = default;
    virtual void exchange(FieldExchange &fx) = 0;
    void resetFields();

private:
    bool fetchUpTo(int index);
    void fetchAll();
    void loadCurrent();
    void releaseQuery();

    enum class EditMode
    {
        None,
        Add,
        Edit
    };
    bool m_open = false;
    std::unique_ptr<DirectQuery> m_query; // lent by StatementPool until the rows run out
    QString m_pooledSql;
    quint64 m_poolGeneration = 0;
    int m_columnCount = 0; // of the open statement, read once rather than a record per row
    bool m_exhausted = true;
    QList<QVariantList> m_rows; // fetched rows; the first value of each is the rowid
    int m_current = -1;         // -1 before the first, m_rows.size() after the last
    EditMode m_editMode = EditMode::None;
};

// Rows found by a key are opened with the statements of the page that needs them; these two
// lookups answer -1 (not found), -2 (found but removed), the identifier, or -3 (database error).
