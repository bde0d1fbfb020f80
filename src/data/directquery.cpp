#include "data/directquery.h"

#include "data/database.h"

#include <QSqlDriver>
#include <QVariant>

#include <sqlite3.h>

namespace {

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

DirectQuery::DirectQuery(const QString &sql) : m_db(connectionHandle())
{
    const QByteArray text = sql.toUtf8();
    if (sqlite3_prepare_v2(m_db, text.constData(), int(text.size()), &m_stmt, nullptr) != SQLITE_OK) {
        const QString error = QString::fromUtf8(sqlite3_errmsg(m_db));
        sqlite3_finalize(m_stmt);
        m_stmt = nullptr;
        throw DbError(error + QStringLiteral(" [") + sql + QLatin1Char(']'));
    }
    if (!m_stmt)
        throw DbError(QStringLiteral("an empty statement [") + sql + QLatin1Char(']'));
}

DirectQuery::~DirectQuery()
{
    sqlite3_finalize(m_stmt);
}

int DirectQuery::column(const char *name) const
{
    const int count = sqlite3_column_count(m_stmt);
    for (int i = 0; i < count; ++i)
        if (qstricmp(sqlite3_column_name(m_stmt, i), name) == 0)
            return i;
    return -1;
}

void DirectQuery::bind(int position, qint64 value)
{
    if (sqlite3_bind_int64(m_stmt, position, value) != SQLITE_OK)
        throw DbError(QString::fromUtf8(sqlite3_errmsg(m_db)));
}

bool DirectQuery::next()
{
    const int rc = sqlite3_step(m_stmt);
    if (rc == SQLITE_ROW)
        return true;
    if (rc == SQLITE_DONE)
        return false;
    const QString error = QString::fromUtf8(sqlite3_errmsg(m_db));
    sqlite3_reset(m_stmt);
    throw DbError(error);
}

void DirectQuery::reset()
{
    sqlite3_reset(m_stmt);
}

qint64 DirectQuery::integer(int column) const
{
    return sqlite3_column_int64(m_stmt, column);
}

double DirectQuery::real(int column) const
{
    return sqlite3_column_double(m_stmt, column);
}

QString DirectQuery::text(int column) const
{
    const auto *t = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, column));
    if (!t)
        return QString();
    return QString::fromUtf8(t, sqlite3_column_bytes(m_stmt, column));
}
