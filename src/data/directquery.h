#pragma once

#include <QString>

struct sqlite3;
struct sqlite3_stmt;

// A statement stepped straight on the library connection's engine handle, for the few places that
// read tens of thousands of rows (reports): the driver's QVariant for every column of every row
// costs more than the query itself there. Columns are read by index, texts as UTF-8. Throws
// DbError like runSql. Only for reading; writes go through record sets and Transaction.
class DirectQuery final
{
public:
    explicit DirectQuery(const QString &sql);
    ~DirectQuery();
    DirectQuery(const DirectQuery &) = delete;
    DirectQuery &operator=(const DirectQuery &) = delete;

    // The index of a result column by name, -1 when the statement has none.
    int column(const char *name) const;
    void bind(int position, qint64 value); // 1-based, as the engine counts
    // Steps to the next row; false at the end. Throws DbError when the engine fails.
    bool next();
    // Makes the statement ready to run again with new bindings.
    void reset();

    qint64 integer(int column) const;
    double real(int column) const;
    QString text(int column) const; // a null QString for NULL

private:
    sqlite3 *m_db = nullptr;
    sqlite3_stmt *m_stmt = nullptr;
};
