#include "data/librarytransfer.h"

#include "data/czechlike.h"
#include "data/database.h"
#include "data/dberror.h"
#include "data/directquery.h"

#include <QFile>
#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

#include <fcntl.h>
#include <unistd.h>

namespace LibraryTransfer {
namespace {

bool onServer(const QSqlDatabase &db)
{
    return db.driverName() == QLatin1String("QPSQL");
}

void exec(QSqlDatabase db, const QString &sql)
{
    QSqlQuery q(db);
    if (!q.exec(sql))
        throw DbError(q.lastError().text(), sql);
}

// A table's rows in one order both engines give alike: by every column in turn, the key first
// (the server keeps no order of insertion that could stand for the file's rowid). Texts compare by
// their code points and NULL comes first, as in the file.
QString selectAll(const QSqlDatabase &db, const QString &table)
{
    QSqlQuery q(db);
    const QString probe = QStringLiteral("SELECT * FROM %1 WHERE 1 = 0").arg(table);
    if (!q.exec(probe))
        throw DbError(q.lastError().text(), probe);
    const QSqlRecord record = q.record();
    const bool server = onServer(db);
    QStringList terms;
    for (int i = 0; i < record.count(); ++i) {
        QString term = record.fieldName(i);
        if (server) {
            if (record.field(i).metaType().id() == QMetaType::QString)
                term += QStringLiteral(" COLLATE \"C\"");
            term += QStringLiteral(" NULLS FIRST");
        }
        terms << term;
    }
    return QStringLiteral("SELECT * FROM %1 ORDER BY %2").arg(table, terms.join(QStringLiteral(", ")));
}

// Reading in one snapshot: what another desk commits meanwhile is not seen, so the tables agree.
class Snapshot final
{
public:
    explicit Snapshot(QSqlDatabase db) : m_db(db)
    {
        exec(m_db, onServer(m_db)
                       ? QStringLiteral("START TRANSACTION ISOLATION LEVEL REPEATABLE READ, READ ONLY")
                       : QStringLiteral("BEGIN"));
    }
    ~Snapshot()
    {
        QSqlQuery q(m_db);
        q.exec(QStringLiteral("COMMIT"));
    }
    Q_DISABLE_COPY_MOVE(Snapshot)

private:
    QSqlDatabase m_db;
};

// Rows go in statements of many rows each: one round trip to a server for a few hundred rows.
constexpr int RowsPerStatement = 250;

void copyTable(QSqlDatabase from, QSqlDatabase to, const QString &table)
{
    QSqlQuery read(from);
    read.setForwardOnly(true);
    const QString select = selectAll(from, table);
    if (!read.exec(select))
        throw DbError(read.lastError().text(), select);
    const QSqlRecord record = read.record();
    const int columns = record.count();
    QStringList names;
    for (int i = 0; i < columns; ++i)
        names << record.fieldName(i);
    const QString head =
        QStringLiteral("INSERT INTO %1 (%2) VALUES ").arg(table, names.join(QLatin1Char(',')));
    QString oneRow = QStringLiteral("(?");
    for (int i = 1; i < columns; ++i)
        oneRow += QStringLiteral(",?");
    oneRow += QLatin1Char(')');

    // The statement of a whole batch is prepared once; the last, shorter batch gets its own.
    QSqlQuery full(to);
    bool fullPrepared = false;
    QVariantList pending;
    int rows = 0;
    auto flush = [&] {
        if (rows == 0)
            return;
        QSqlQuery partial(to);
        QSqlQuery &q = rows == RowsPerStatement ? full : partial;
        if (&q == &partial || !fullPrepared) {
            QString sql = head + oneRow;
            for (int i = 1; i < rows; ++i)
                sql += QLatin1Char(',') + oneRow;
            if (!q.prepare(sql))
                throw DbError(q.lastError().text(), head);
            fullPrepared = fullPrepared || &q == &full;
        }
        for (int i = 0; i < pending.size(); ++i)
            q.bindValue(i, pending.at(i));
        if (!q.exec())
            throw DbError(q.lastError().text(), head);
        pending.clear();
        rows = 0;
    };
    while (read.next()) {
        for (int i = 0; i < columns; ++i)
            pending << read.value(i);
        if (++rows == RowsPerStatement)
            flush();
    }
    if (read.lastError().isValid())
        throw DbError(read.lastError().text(), select);
    flush();
}

} // namespace

const QStringList &tableNames()
{
    static const QStringList names = {QStringLiteral("KATEGORIE"), QStringLiteral("KNIHY"),
                                      QStringLiteral("LIDE"),      QStringLiteral("VYPUJCKY"),
                                      QStringLiteral("VRACENI"),   QStringLiteral("IDS")};
    return names;
}

qint64 recordCount(QSqlDatabase db)
{
    qint64 total = 0;
    for (const QString &table : tableNames()) {
        if (table == QLatin1String("IDS"))
            continue;
        QSqlQuery q(db);
        if (!q.exec(QStringLiteral("SELECT COUNT(*) FROM %1").arg(table)) || !q.next())
            return -1;
        total += q.value(0).toLongLong();
    }
    return total;
}

void copyTables(QSqlDatabase from, QSqlDatabase to, const std::function<void()> &verify)
{
    Snapshot snapshot(from);
    exec(to, QStringLiteral("BEGIN"));
    try {
        for (const QString &table : tableNames()) {
            exec(to, QStringLiteral("DELETE FROM %1").arg(table));
            copyTable(from, to, table);
        }
        if (verify)
            verify();
        exec(to, QStringLiteral("COMMIT"));
    } catch (...) {
        QSqlQuery rollback(to);
        rollback.exec(QStringLiteral("ROLLBACK"));
        throw;
    }
}

bool sameRows(QSqlDatabase a, QSqlDatabase b, QString *difference)
{
    for (const QString &table : tableNames()) {
        QSqlQuery qa(a);
        QSqlQuery qb(b);
        qa.setForwardOnly(true);
        qb.setForwardOnly(true);
        if (!qa.exec(selectAll(a, table)) || !qb.exec(selectAll(b, table))) {
            *difference = QStringLiteral("%1 cannot be read: %2")
                              .arg(table, (qa.lastError().isValid() ? qa : qb).lastError().text());
            return false;
        }
        const int columns = qa.record().count();
        if (qb.record().count() != columns) {
            *difference = QStringLiteral("%1 has other columns").arg(table);
            return false;
        }
        for (qint64 row = 1;; ++row) {
            const bool hasA = qa.next();
            const bool hasB = qb.next();
            if (hasA != hasB) {
                *difference =
                    QStringLiteral("%1 has another number of rows (from row %2 on)").arg(table).arg(row);
                return false;
            }
            if (!hasA)
                break;
            for (int i = 0; i < columns; ++i) {
                if (neutralValue(qa.value(i)) != neutralValue(qb.value(i))) {
                    *difference =
                        QStringLiteral("%1, row %2, column %3: %4 against %5")
                            .arg(table)
                            .arg(row)
                            .arg(qa.record().fieldName(i), qa.value(i).toString(), qb.value(i).toString());
                    return false;
                }
            }
        }
    }
    return true;
}

QSqlDatabase openFile(const QString &path, const QString &connectionName, bool writable, QString *error)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connectionName);
    db.setDatabaseName(path);
    if (!writable)
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
    if (!db.open()) {
        *error = db.lastError().text();
        return db;
    }
    if (!registerCzechLike(db)) {
        *error = QStringLiteral("the Czech comparisons cannot be set up");
        db.close();
    }
    return db;
}

bool writeImage(QSqlDatabase from, const QString &imagePath, QString *error,
                const std::function<void(QSqlDatabase image)> &verify)
{
    if (!Database::createEmpty(imagePath, error))
        return false;
    const QString name = QStringLiteral("folivo-image-%1").arg(quintptr(&imagePath));
    bool ok = false;
    {
        QSqlDatabase image = openFile(imagePath, name, true, error);
        if (image.isOpen()) {
            try {
                // The image is not the library until it is complete and flushed: no journal
                // is needed while it is filled.
                exec(image, QStringLiteral("PRAGMA journal_mode=OFF"));
                exec(image, QStringLiteral("PRAGMA synchronous=OFF"));
                copyTables(from, image,
                           verify ? std::function<void()>([&] { verify(image); }) : std::function<void()>());
                ok = true;
            } catch (const DbError &e) {
                *error = e.text();
            }
            image.close();
        }
    }
    QSqlDatabase::removeDatabase(name);
    if (ok) {
        const int fd = ::open(QFile::encodeName(imagePath).constData(), O_RDONLY | O_CLOEXEC);
        ok = fd >= 0 && ::fsync(fd) == 0;
        if (fd >= 0)
            ::close(fd);
        if (!ok)
            *error = QStringLiteral("%1 cannot be flushed to the disk").arg(imagePath);
    }
    if (!ok)
        QFile::remove(imagePath);
    return ok;
}

} // namespace LibraryTransfer
