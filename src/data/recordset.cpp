#include "data/recordset.h"

#include "data/directquery.h"

#include <QSqlError>
#include <QSqlRecord>

#include <limits>

QVariant FieldExchange::next(const char *column)
{
    // Only a write needs the names; reading a row would otherwise make one string per column.
    if (m_mode == Mode::Collect)
        m_columns << QString::fromLatin1(column);
    const int i = m_index++;
    if (m_mode == Mode::Read && m_row && i + 1 < m_row->size())
        return m_row->at(i + 1); // value 0 is the rowid
    return {};
}

void FieldExchange::Long(const char *column, qint32 &field)
{
    const QVariant v = next(column);
    if (m_mode == Mode::Read)
        field = v.isNull() ? 0 : qint32(v.toLongLong());
    else if (m_mode == Mode::Reset)
        field = 0;
    else
        m_values << QVariant(qlonglong(field));
}

void FieldExchange::Text(const char *column, QString &field)
{
    const QVariant v = next(column);
    if (m_mode == Mode::Read)
        field = v.toString();
    else if (m_mode == Mode::Reset)
        field.clear();
    else
        m_values << QVariant(field.isNull() ? QString(QLatin1String("")) : field);
}

void FieldExchange::Bool(const char *column, bool &field)
{
    const QVariant v = next(column);
    if (m_mode == Mode::Read)
        field = !v.isNull() && v.toLongLong() != 0;
    else if (m_mode == Mode::Reset)
        field = false;
    else
        m_values << QVariant(qlonglong(field ? 1 : 0));
}

void FieldExchange::Single(const char *column, float &field)
{
    const QVariant v = next(column);
    if (m_mode == Mode::Read)
        field = v.isNull() ? 0.0f : float(v.toDouble());
    else if (m_mode == Mode::Reset)
        field = 0.0f;
    else
        m_values << QVariant(double(field));
}

namespace {

// Runs a write whose text is the same for every row of a table on its kept prepared statement.
// Returns the rows it wrote; *returned gets the first column of a row the statement returns.
qint64 runPooled(const QString &sql, const QVariantList &binds, QVariant *returned = nullptr)
{
    quint64 generation = 0;
    std::unique_ptr<DirectQuery> q = StatementPool::take(sql, &generation);
    for (int i = 0; i < binds.size(); ++i)
        q->bindValue(i + 1, binds.at(i));
    qint64 rows = 0;
    while (q->next()) {
        ++rows;
        if (returned)
            *returned = q->value(0);
    }
    if (!returned)
        rows = q->rowsAffected();
    StatementPool::giveBack(sql, std::move(q), generation);
    return rows;
}

// How the engine finds a row again: the file's rowid; on a server the row's place (ctid), which
// every write of the row changes, so that a row another desk wrote meanwhile is not found.
QString rowIdentity()
{
    return Database::engine() == Database::Engine::PostgreSQL ? QStringLiteral("ctid")
                                                              : QStringLiteral("rowid");
}

} // namespace

RecordSet::~RecordSet()
{
    releaseQuery();
}

void RecordSet::resetFields()
{
    FieldExchange fx(FieldExchange::Mode::Reset);
    exchange(fx);
}

void RecordSet::open(const QString &jetSql)
{
    close();
    QString sql = jetSql.trimmed();
    if (sql.isEmpty() || sql == defaultSql()) {
        sql = QStringLiteral("SELECT %1, * FROM ").arg(rowIdentity()) + tableName();
    } else {
        sql = jetToSqlite(sql);
        // Every statement of a record set selects all columns of its table; the row's identity
        // is fetched with them so that Edit and Delete can find it again.
        const QString star = QStringLiteral("SELECT * FROM ");
        if (!sql.startsWith(star, Qt::CaseInsensitive))
            throw DbError(QStringLiteral("a record set needs SELECT * FROM ...: ") + jetSql);
        sql = QStringLiteral("SELECT %1.%2, * FROM ").arg(tableName(), rowIdentity()) + sql.mid(star.size());
    }
    // The values of the statement are bound, so a lookup by another code reuses its statement.
    QVariantList binds;
    m_pooledSql = parameterizeLiterals(sql, &binds);
    try {
        m_query = StatementPool::take(m_pooledSql, &m_poolGeneration);
    } catch (const DbError &) {
        // Not a statement the engine takes with parameters: run it as written.
        binds.clear();
        m_pooledSql = sql;
        m_query = StatementPool::take(m_pooledSql, &m_poolGeneration);
    }
    for (int i = 0; i < binds.size(); ++i)
        m_query->bindValue(i + 1, binds.at(i));
    m_columnCount = m_query->columnCount();
    m_exhausted = false;
    m_open = true;
    m_current = 0;
    try {
        fetchUpTo(0);
    } catch (const DbError &) {
        m_query.reset(); // a statement that failed is not kept
        m_open = false;
        m_exhausted = true;
        m_current = -1;
        throw;
    }
    loadCurrent();
}

void RecordSet::releaseQuery()
{
    if (!m_query)
        return;
    StatementPool::giveBack(m_pooledSql, std::move(m_query), m_poolGeneration);
}

void RecordSet::close()
{
    releaseQuery();
    m_rows.clear();
    m_exhausted = true;
    m_open = false;
    m_current = -1;
    m_editMode = EditMode::None;
}

bool RecordSet::fetchUpTo(int index)
{
    while (index >= m_rows.size() && !m_exhausted) {
        bool more = false;
        try {
            more = m_query->next();
        } catch (const DbError &) {
            m_exhausted = true;
            m_query.reset();
            throw;
        }
        if (!more) {
            // Every row is here: the statement can serve the next record set.
            m_exhausted = true;
            releaseQuery();
            break;
        }
        QVariantList row;
        row.reserve(m_columnCount);
        for (int i = 0; i < m_columnCount; ++i)
            row << m_query->value(i);
        m_rows << row;
    }
    return index < m_rows.size();
}

void RecordSet::fetchAll()
{
    fetchUpTo(std::numeric_limits<int>::max() - 1);
}

void RecordSet::loadCurrent()
{
    if (m_current >= 0 && m_current < m_rows.size()) {
        FieldExchange fx(FieldExchange::Mode::Read, &m_rows[m_current]);
        exchange(fx);
    }
}

bool RecordSet::isEOF() const
{
    if (!m_open)
        return true;
    const_cast<RecordSet *>(this)->fetchUpTo(m_current);
    return m_current >= m_rows.size();
}

bool RecordSet::isBOF() const
{
    if (!m_open)
        return true;
    return m_current < 0 || m_rows.isEmpty();
}

void RecordSet::moveFirst()
{
    m_current = 0;
    fetchUpTo(0);
    loadCurrent();
}

void RecordSet::moveLast()
{
    fetchAll();
    m_current = m_rows.isEmpty() ? 0 : int(m_rows.size()) - 1;
    loadCurrent();
}

void RecordSet::moveNext()
{
    // From before the first row to the first; past the last row it stays one past the end.
    const int target = m_current + 1;
    fetchUpTo(target);
    m_current = qMin(target, int(m_rows.size()));
    loadCurrent();
}

void RecordSet::addNew()
{
    resetFields();
    m_editMode = EditMode::Add;
}

void RecordSet::edit()
{
    if (isEOF() || isBOF())
        throw DbError(QStringLiteral("no current row to edit in ") + tableName());
    m_editMode = EditMode::Edit;
}

void RecordSet::cancelUpdate()
{
    if (m_editMode == EditMode::None)
        return;
    m_editMode = EditMode::None;
    loadCurrent();
}

void RecordSet::update()
{
    FieldExchange fx(FieldExchange::Mode::Collect);
    exchange(fx);
    const QStringList cols = fx.columns();
    const QVariantList vals = fx.values();
    if (m_editMode == EditMode::Add) {
        QStringList marks;
        for (int i = 0; i < cols.size(); ++i)
            marks << QStringLiteral("?");
        const QString sql =
            QStringLiteral("INSERT INTO %1 (%2) VALUES (%3)")
                .arg(tableName(), cols.join(QLatin1String(", ")), marks.join(QLatin1String(", ")));
        runPooled(sql, vals);
    } else if (m_editMode == EditMode::Edit) {
        // Only the columns whose values differ from the row as read are written: an unchanged
        // column that an index covers would otherwise cost that index an entry removed and put back.
        const QVariantList &read = m_rows[m_current];
        QStringList sets;
        QVariantList bind;
        for (int i = 0; i < cols.size(); ++i) {
            const QVariant &before = i + 1 < read.size() ? read.at(i + 1) : QVariant();
            if (before.typeId() == vals.at(i).typeId() && before == vals.at(i))
                continue;
            sets << cols.at(i) + QStringLiteral(" = ?");
            bind << vals.at(i);
        }
        if (sets.isEmpty() && !cols.isEmpty()) { // nothing changed: the write is still made
            sets << cols.first() + QStringLiteral(" = ?");
            bind << vals.first();
        }
        bind << read.at(0);
        // The row is written where it was read; when it is gone or was moved by another desk's
        // write, nothing is written and the write fails rather than pass unnoticed.
        const bool server = Database::engine() == Database::Engine::PostgreSQL;
        QVariant identity = read.at(0);
        const qint64 written = runPooled(QStringLiteral("UPDATE %1 SET %2 WHERE %3 = ?%4")
                                             .arg(tableName(), sets.join(QLatin1String(", ")), rowIdentity(),
                                                  server ? QStringLiteral(" RETURNING ctid") : QString()),
                                         bind, server ? &identity : nullptr);
        if (written != 1)
            throw DbError(QStringLiteral("the row of %1 being written was changed or removed meanwhile")
                              .arg(tableName()));
        QVariantList row;
        row << identity;
        row << vals;
        m_rows[m_current] = row;
    } else {
        throw DbError(QStringLiteral("update without AddNew or Edit in ") + tableName());
    }
    m_editMode = EditMode::None;
}

void RecordSet::deleteRow()
{
    if (isEOF() || isBOF())
        throw DbError(QStringLiteral("no current row to delete in ") + tableName());
    if (runPooled(QStringLiteral("DELETE FROM %1 WHERE %2 = ?").arg(tableName(), rowIdentity()),
                  {m_rows[m_current].at(0)}) != 1)
        throw DbError(
            QStringLiteral("the row of %1 being removed was changed or removed meanwhile").arg(tableName()));
    m_rows.removeAt(m_current);
    loadCurrent();
}
