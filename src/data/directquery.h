#pragma once

// The record sets, statement texts and engine statements belong to the core: pages, dialogs and
// models ask a core function for what they show and write (see docs/ARCHITECTURE.md).
#ifdef FOLIVO_UI_LAYER
#error "a file of folivo_ui reads the database: call a core function instead"
#endif

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;
class QSqlQuery;
class QSqlRecord;

// A statement stepped straight on the library connection's engine handle: reports read tens of
// thousands of rows, record sets run many small statements, and the driver's own layer costs
// more than the statements there. Columns are read by index, texts as UTF-8. Throws DbError like
// runSql. Closing the database finalizes every statement still alive; one used after that throws.
// On a server the statement (SQLite's dialect, translated by sqliteToPostgres) runs as a
// forward-only query of the driver, executed at the first step with the values bound by then.
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
    // A value as the driver would bind it: numbers as numbers, a null text or an invalid value as
    // NULL, anything else as its text.
    void bindValue(int position, const QVariant &value);
    int columnCount() const;
    // Steps to the next row; false at the end. Throws DbError when the engine fails.
    bool next();
    // Makes the statement ready to run again with new bindings.
    void reset();
    // The rows the last INSERT, UPDATE or DELETE run by this statement wrote.
    qint64 rowsAffected() const;

    qint64 integer(int column) const;
    double real(int column) const;
    QString text(int column) const; // a null QString for NULL
    // The text's UTF-8 bytes, valid until the next step; a null view for NULL.
    QByteArrayView utf8(int column) const;
    // The column as the driver gives it: qlonglong, double, QString, QByteArray, or an invalid
    // QVariant for NULL.
    QVariant value(int column) const;

    // Finalizes every statement alive; Database::close runs it before the connection goes.
    static void finalizeAll();

private:
    void finalize();
    void checkAlive() const;
    void executeOnServer() const;
    void describeOnServer() const;
    sqlite3 *m_db = nullptr;
    mutable std::vector<QByteArray> m_serverUtf8; // the texts utf8() handed out on a server
    sqlite3_stmt *m_stmt = nullptr;
    std::unique_ptr<QSqlQuery> m_server; // the statement on a server, instead of m_stmt
    QString m_serverSql;
    int m_serverParameters = 0;
    QHash<int, int> m_serverPosition; // a parameter's number in the text, 1-based -> its place, 0-based
    mutable bool m_executed = false;
    mutable std::unique_ptr<QSqlRecord> m_serverColumns;
};

// A value of either engine's driver as the file's engine hands it over: whole numbers (and truth
// values) as qlonglong, reals as double, bytes as they are, any other as QString, NULL as an
// invalid QVariant. Values of the two engines compare equal this way.
QVariant neutralValue(const QVariant &value);

// The statement with its leading "SELECT * FROM table " narrowed to the listed columns of that
// table, so that the engine decodes only what the caller reads (a book row has some twenty
// columns, a list shows four); any other statement is returned as it stands. The rows and their
// order do not change.
QString selectOnly(const QString &sql, const QString &table, const QStringList &columns);

// A statement of the connection's StatementPool for the time of one use: the literal values of
// the text are bound as parameters, so runs with other values reuse the prepared statement.
class PooledQuery final
{
public:
    explicit PooledQuery(const QString &sql);
    ~PooledQuery();
    PooledQuery(const PooledQuery &) = delete;
    PooledQuery &operator=(const PooledQuery &) = delete;
    DirectQuery &query() { return *m_query; }

private:
    QString m_sql;
    quint64 m_generation = 0;
    std::unique_ptr<DirectQuery> m_query;
};
