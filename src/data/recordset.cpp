#include "data/recordset.h"

#include <QSqlError>
#include <QSqlRecord>

#include <limits>

QVariant FieldExchange::next(const char *column)
{
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

RecordSet::~RecordSet() = default;

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
        sql = QStringLiteral("SELECT rowid, * FROM ") + tableName();
    } else {
        sql = jetToSqlite(sql);
        // Every statement of a record set selects all columns of its table; the row's identity
        // is fetched with them so that Edit and Delete can find it again.
        const QString star = QStringLiteral("SELECT * FROM ");
        if (!sql.startsWith(star, Qt::CaseInsensitive))
            throw DbError(QStringLiteral("a record set needs SELECT * FROM ...: ") + jetSql);
        sql = QStringLiteral("SELECT ") + tableName() + QStringLiteral(".rowid, * FROM ") +
              sql.mid(star.size());
    }
    m_query = std::make_unique<QSqlQuery>(prepareSql(sql));
    execPrepared(*m_query);
    m_exhausted = false;
    m_open = true;
    m_current = 0;
    fetchUpTo(0);
    loadCurrent();
}

void RecordSet::close()
{
    if (m_query)
        m_query->finish();
    m_query.reset();
    m_rows.clear();
    m_exhausted = true;
    m_open = false;
    m_current = -1;
    m_editMode = EditMode::None;
}

bool RecordSet::fetchUpTo(int index)
{
    while (index >= m_rows.size() && !m_exhausted) {
        if (!m_query->next()) {
            m_exhausted = true;
            if (m_query->lastError().isValid())
                throw DbError(m_query->lastError().text());
            m_query->finish();
            break;
        }
        const QSqlRecord rec = m_query->record();
        QVariantList row;
        row.reserve(rec.count());
        for (int i = 0; i < rec.count(); ++i)
            row << rec.value(i);
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
    move(1);
}

void RecordSet::movePrev()
{
    move(-1);
}

void RecordSet::move(int rows)
{
    qint64 target = qint64(m_current) + rows;
    if (target < 0)
        target = -1;
    if (target >= 0) {
        fetchUpTo(int(qMin<qint64>(target, std::numeric_limits<int>::max() - 1)));
        if (target > m_rows.size())
            target = m_rows.size();
    }
    m_current = int(target);
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
        runSql(sql, vals);
    } else if (m_editMode == EditMode::Edit) {
        QStringList sets;
        for (const QString &c : cols)
            sets << c + QStringLiteral(" = ?");
        QVariantList bind = vals;
        bind << m_rows[m_current].at(0);
        runSql(QStringLiteral("UPDATE %1 SET %2 WHERE rowid = ?")
                   .arg(tableName(), sets.join(QLatin1String(", "))),
               bind);
        QVariantList row;
        row << m_rows[m_current].at(0);
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
    runSql(QStringLiteral("DELETE FROM %1 WHERE rowid = ?").arg(tableName()), {m_rows[m_current].at(0)});
    m_rows.removeAt(m_current);
    loadCurrent();
}
