#include "data/directquery.h"

#include "data/database.h"
#include "data/postgresdialect.h"

#include <QRegularExpression>
#include <QSet>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

#include <sqlite3.h>

#include <algorithm>

namespace {

// Every statement alive, so that closing the database can finalize them.
QSet<DirectQuery *> &liveStatements()
{
    // Never destroyed: statements may still be alive while the program's statics go away.
    static auto *live = new QSet<DirectQuery *>;
    return *live;
}

sqlite3 *connectionHandle()
{
    QSqlDatabase db = Database::connection();
    if (!db.isOpen())
        throw DbError(QStringLiteral("the database is not open"));
    const QVariant v = db.driver()->handle();
    if (!v.isValid() || qstrcmp(v.typeName(), "sqlite3*") != 0)
        throw DbError(QStringLiteral("the database has no engine handle"));
    sqlite3 *handle = *static_cast<sqlite3 *const *>(v.data());
    if (!handle)
        throw DbError(QStringLiteral("the database has no engine handle"));
    return handle;
}

} // namespace

DirectQuery::DirectQuery(const QString &sql)
{
    if (Database::engine() == Database::Engine::PostgreSQL) {
        QSqlDatabase db = Database::connection();
        if (!db.isOpen())
            throw DbError(QStringLiteral("the database is not open"));
        // The server must know the type of every parameter from the text: one the text leaves
        // out (?2 without ?1) is dropped, and the others are numbered without a gap.
        const QString translated = sqliteToPostgres(sql);
        static const QRegularExpression parameter(QStringLiteral("\\$(\\d+)"));
        QList<int> used;
        for (auto m = parameter.globalMatch(translated); m.hasNext();) {
            const int n = m.next().captured(1).toInt();
            if (!used.contains(n))
                used << n;
        }
        std::sort(used.begin(), used.end());
        for (int i = 0; i < used.size(); ++i)
            m_serverPosition.insert(used.at(i), i);
        m_serverParameters = int(used.size());
        qsizetype at = 0;
        for (auto m = parameter.globalMatch(translated); m.hasNext();) {
            const QRegularExpressionMatch found = m.next();
            m_serverSql += QStringView(translated).mid(at, found.capturedStart() - at);
            m_serverSql += QStringLiteral("$%1").arg(m_serverPosition.value(found.captured(1).toInt()) + 1);
            at = found.capturedEnd();
        }
        m_serverSql += QStringView(translated).mid(at);
        m_server = std::make_unique<QSqlQuery>(db);
        // Not forward-only: the driver would stream the rows, and a second statement run meanwhile
        // (a lookup for each row of a report) would cut the first one off.
        m_server->setForwardOnly(false);
        m_server->setNumericalPrecisionPolicy(QSql::LowPrecisionDouble);
        if (!m_server->prepare(m_serverSql))
            throw DbError(m_server->lastError().text(), m_serverSql, m_server->lastError().nativeErrorCode());
        liveStatements().insert(this);
        return;
    }
    m_db = connectionHandle();
    const QByteArray text = sql.toUtf8();
    if (sqlite3_prepare_v2(m_db, text.constData(), int(text.size()), &m_stmt, nullptr) != SQLITE_OK) {
        const QString error = QString::fromUtf8(sqlite3_errmsg(m_db));
        sqlite3_finalize(m_stmt);
        m_stmt = nullptr;
        throw DbError(error, sql);
    }
    if (!m_stmt)
        throw DbError(QStringLiteral("an empty statement"), sql);
    liveStatements().insert(this);
}

DirectQuery::~DirectQuery()
{
    liveStatements().remove(this);
    sqlite3_finalize(m_stmt);
}

void DirectQuery::finalize()
{
    sqlite3_finalize(m_stmt);
    m_stmt = nullptr;
    m_server.reset();
}

void DirectQuery::checkAlive() const
{
    if (!m_stmt && !m_server)
        throw DbError(QStringLiteral("the database was closed"));
}

void DirectQuery::executeOnServer() const
{
    if (m_executed)
        return;
    if (!m_server->exec())
        throw DbError(m_server->lastError().text(), m_serverSql, m_server->lastError().nativeErrorCode());
    m_executed = true;
}

// The result's columns, known only once the statement ran: a statement whose values are not all
// bound yet runs once with NULL for them, and runs again at its first step.
void DirectQuery::describeOnServer() const
{
    if (m_serverColumns)
        return;
    const QVariantList bound = m_server->boundValues();
    bool complete = true;
    for (int i = 0; i < m_serverParameters; ++i) {
        if (i >= bound.size() || !bound.at(i).isValid()) {
            complete = false;
            m_server->bindValue(i, QVariant());
        }
    }
    executeOnServer();
    m_serverColumns = std::make_unique<QSqlRecord>(m_server->record());
    if (!complete) {
        m_server->finish();
        m_executed = false;
    }
}

qint64 DirectQuery::rowsAffected() const
{
    checkAlive();
    if (m_server)
        return m_server->numRowsAffected();
    return sqlite3_changes(m_db);
}

void DirectQuery::finalizeAll()
{
    const QSet<DirectQuery *> live = liveStatements();
    for (DirectQuery *q : live)
        q->finalize();
}

int DirectQuery::columnCount() const
{
    if (m_server) {
        describeOnServer();
        return m_serverColumns->count();
    }
    return m_stmt ? sqlite3_column_count(m_stmt) : 0;
}

int DirectQuery::column(const char *name) const
{
    if (m_server) {
        describeOnServer();
        return m_serverColumns->indexOf(QString::fromLatin1(name));
    }
    const int count = sqlite3_column_count(m_stmt);
    for (int i = 0; i < count; ++i)
        if (qstricmp(sqlite3_column_name(m_stmt, i), name) == 0)
            return i;
    return -1;
}

void DirectQuery::bind(int position, qint64 value)
{
    checkAlive();
    if (m_server) {
        bindValue(position, QVariant(qlonglong(value)));
        return;
    }
    if (sqlite3_bind_int64(m_stmt, position, value) != SQLITE_OK)
        throw DbError(QString::fromUtf8(sqlite3_errmsg(m_db)), QString::fromUtf8(sqlite3_sql(m_stmt)));
}

void DirectQuery::bindValue(int position, const QVariant &value)
{
    checkAlive();
    if (m_server) {
        // As the engine of the file binds it: a null text or an invalid value is NULL.
        const bool null =
            !value.isValid() || (value.typeId() == QMetaType::QString && value.toString().isNull());
        // A value bound after a run (the one that read the columns) is for the next run.
        if (m_executed) {
            m_server->finish();
            m_executed = false;
        }
        if (m_serverPosition.contains(position))
            m_server->bindValue(m_serverPosition.value(position), null ? QVariant() : value);
        return;
    }
    int rc = SQLITE_OK;
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        rc = sqlite3_bind_null(m_stmt, position);
        break;
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        rc = sqlite3_bind_int64(m_stmt, position, value.toLongLong());
        break;
    case QMetaType::Double:
    case QMetaType::Float:
        rc = sqlite3_bind_double(m_stmt, position, value.toDouble());
        break;
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        rc = sqlite3_bind_blob(m_stmt, position, bytes.constData(), int(bytes.size()), SQLITE_TRANSIENT);
        break;
    }
    default: {
        const QString text = value.toString();
        if (text.isNull()) {
            rc = sqlite3_bind_null(m_stmt, position);
        } else {
            const QByteArray utf8 = text.toUtf8();
            rc = sqlite3_bind_text(m_stmt, position, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
        }
        break;
    }
    }
    if (rc != SQLITE_OK)
        throw DbError(QString::fromUtf8(sqlite3_errmsg(m_db)), QString::fromUtf8(sqlite3_sql(m_stmt)));
}

bool DirectQuery::next()
{
    checkAlive();
    if (m_server) {
        executeOnServer();
        return m_server->next();
    }
    const int rc = sqlite3_step(m_stmt);
    if (rc == SQLITE_ROW)
        return true;
    if (rc == SQLITE_DONE)
        return false;
    const QString error = QString::fromUtf8(sqlite3_errmsg(m_db));
    sqlite3_reset(m_stmt);
    throw DbError(error, QString::fromUtf8(sqlite3_sql(m_stmt)));
}

void DirectQuery::reset()
{
    if (m_server) {
        m_server->finish();
        m_executed = false;
    }
    if (m_stmt) {
        sqlite3_reset(m_stmt);
        sqlite3_clear_bindings(m_stmt);
    }
}

qint64 DirectQuery::integer(int column) const
{
    if (m_server)
        return m_server->value(column).toLongLong();
    return sqlite3_column_int64(m_stmt, column);
}

double DirectQuery::real(int column) const
{
    if (m_server)
        return m_server->value(column).toDouble();
    return sqlite3_column_double(m_stmt, column);
}

QString DirectQuery::text(int column) const
{
    if (m_server) {
        const QVariant v = m_server->value(column);
        return v.isNull() ? QString() : v.toString();
    }
    const auto *t = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column));
    if (!t)
        return QString();
    return QString::fromUtf8(t, sqlite3_column_bytes(m_stmt, column));
}

QByteArrayView DirectQuery::utf8(int column) const
{
    if (m_server) {
        // The driver hands out QStrings: the bytes are kept for the view until the next step.
        const QVariant v = m_server->value(column);
        if (v.isNull())
            return QByteArrayView();
        if (m_serverUtf8.size() <= size_t(column))
            m_serverUtf8.resize(size_t(column) + 1);
        m_serverUtf8[size_t(column)] = v.toString().toUtf8();
        return QByteArrayView(m_serverUtf8[size_t(column)]);
    }
    const auto *t = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column));
    return t ? QByteArrayView(t, sqlite3_column_bytes(m_stmt, column)) : QByteArrayView();
}

QVariant neutralValue(const QVariant &v)
{
    if (v.isNull())
        return QVariant();
    switch (v.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
        return QVariant(qlonglong(v.toLongLong()));
    case QMetaType::Double:
    case QMetaType::Float:
        return QVariant(v.toDouble());
    case QMetaType::QByteArray:
        return v;
    default:
        return QVariant(v.toString());
    }
}

QVariant DirectQuery::value(int column) const
{
    if (m_server) {
        // The values as the file's engine hands them over: whole numbers (and truth values) as
        // qlonglong, reals as double, texts as QString, NULL as an invalid value.
        return neutralValue(m_server->value(column));
    }
    switch (sqlite3_column_type(m_stmt, column)) {
    case SQLITE_INTEGER:
        return QVariant(qlonglong(sqlite3_column_int64(m_stmt, column)));
    case SQLITE_FLOAT:
        return QVariant(sqlite3_column_double(m_stmt, column));
    case SQLITE_TEXT:
        return QVariant(text(column));
    case SQLITE_BLOB:
        return QVariant(QByteArray(static_cast<const char *>(sqlite3_column_blob(m_stmt, column)),
                                   sqlite3_column_bytes(m_stmt, column)));
    default:
        return QVariant();
    }
}

PooledQuery::PooledQuery(const QString &sql)
{
    QVariantList binds;
    m_sql = parameterizeLiterals(sql, &binds);
    try {
        m_query = StatementPool::take(m_sql, &m_generation);
    } catch (const DbError &) {
        // Not a statement the engine takes with parameters: run it as written.
        binds.clear();
        m_sql = sql;
        m_query = StatementPool::take(m_sql, &m_generation);
    }
    for (int i = 0; i < binds.size(); ++i)
        m_query->bindValue(i + 1, binds.at(i));
}

PooledQuery::~PooledQuery()
{
    StatementPool::giveBack(m_sql, std::move(m_query), m_generation);
}

QString selectOnly(const QString &sql, const QString &table, const QStringList &columns)
{
    const QString star = QStringLiteral("SELECT * FROM ") + table + QLatin1Char(' ');
    if (!sql.startsWith(star) || columns.isEmpty())
        return sql;
    QString narrowed = QStringLiteral("SELECT ");
    for (const QString &c : columns)
        narrowed += table + QLatin1Char('.') + c + QStringLiteral(", ");
    narrowed.chop(2);
    return narrowed + QStringLiteral(" FROM ") + table + QLatin1Char(' ') + sql.mid(star.size());
}
