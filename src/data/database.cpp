#include "data/database.h"

#include "data/consistency.h"
#include "data/czechlike.h"
#include "data/czechorder.h"
#include "data/directquery.h"
#include "data/libraryfiles.h"
#include "data/librarylock.h"
#include "data/postgresdialect.h"
#include "data/safefile.h"
#include "data/serveraddress.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QSqlDriver>
#include <QSqlError>
#include <QStringList>

#include <sqlite3.h>

#include <map>
#include <utility>
#include <vector>

namespace {

QString s_path;
QString s_recoveryNotice;
Database::Engine s_engine = Database::Engine::SQLite;
QString s_serverAddress;

QString errorText(const QSqlError &e)
{
    return e.text().isEmpty() ? QStringLiteral("unknown database error") : e.text();
}

bool hasSqliteHeader(const QString &path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return false;
    const QByteArray head = f.read(16);
    return head == QByteArray("SQLite format 3\0", 16);
}

const QStringList &tableNames()
{
    static const QStringList names = {QStringLiteral("KNIHY"),     QStringLiteral("LIDE"),
                                      QStringLiteral("KATEGORIE"), QStringLiteral("VYPUJCKY"),
                                      QStringLiteral("VRACENI"),   QStringLiteral("IDS")};
    return names;
}

QString advisory(const char *function)
{
    return QStringLiteral("SELECT %1(%2)").arg(QLatin1String(function)).arg(Database::ServerLockKey);
}

// The names of the library's tables present in the server database's own schema.
bool serverTables(QSqlDatabase db, QStringList *present, QString *why)
{
    QSqlQuery q(db);
    if (!q.exec(QStringLiteral("SELECT upper(table_name) FROM information_schema.tables "
                               "WHERE table_schema = current_schema()"))) {
        *why = errorText(q.lastError());
        return false;
    }
    while (q.next())
        *present << q.value(0).toString();
    return true;
}

Database::OpenResult openOnServer(const QString &location, const QString &dataDir, QString *why)
{
    using R = Database::OpenResult;
    const std::optional<ServerAddress> address = ServerAddress::parse(location, why);
    if (!address || address->databaseName.isEmpty())
        return R::Failed;
    // The data directory belongs to one copy of the program, on a server as with a file.
    if (!LibraryLock::acquire(dataDir, why))
        return R::Locked;
    SafeFile::setDataDirectory(dataDir);
    QSqlDatabase db = address->addConnection(QString::fromLatin1(Database::ConnectionName));
    if (!db.open()) {
        *why = QStringLiteral("%1: %2").arg(address->toString(), errorText(db.lastError()));
        return R::Failed;
    }
    QSqlQuery q(db);
    // This desk's shared hold, for as long as the connection lives; an import holding the library
    // alone refuses the desk as another copy of the program would.
    if (!q.exec(advisory("pg_try_advisory_lock_shared")) || !q.next()) {
        *why = errorText(q.lastError());
        return R::Failed;
    }
    if (!q.value(0).toBool()) {
        *why = QStringLiteral("the library %1 is being replaced by an import").arg(address->toString());
        return R::Locked;
    }
    q.finish();
    QStringList present;
    if (!serverTables(db, &present, why))
        return R::Failed;
    for (const QString &t : tableNames())
        if (!present.contains(t)) {
            *why = QStringLiteral("table %1 is missing").arg(t);
            return R::MissingTables;
        }
    // Other desks write while this one opens: the counters and the keys they must stay ahead of
    // are read in one snapshot, or a loan committed between the two reads would look like a
    // broken counter.
    if (!q.exec(QStringLiteral("START TRANSACTION ISOLATION LEVEL REPEATABLE READ, READ ONLY"))) {
        *why = errorText(q.lastError());
        return R::Failed;
    }
    const QStringList problems = startupProblems(db);
    q.exec(QStringLiteral("COMMIT"));
    if (!problems.isEmpty()) {
        *why = problems.join(QLatin1String("; "));
        return R::MissingTables;
    }
    s_engine = Database::Engine::PostgreSQL;
    s_serverAddress = address->toString();
    return R::Ok;
}

} // namespace

QString Database::location(const QString &dataDir, const QString &databaseOption)
{
    if (const QString given = databaseOption.trimmed(); !given.isEmpty())
        return given;
    if (const QString configured = configuredServer(dataDir); !configured.isEmpty())
        return configured;
    return QDir(dataDir).filePath(QString::fromLatin1(FileName));
}

Database::OpenResult Database::open(const QString &location, QString *detail, const QString &dataDirectory)
{
    close();
    auto fail = [&](OpenResult r, const QString &text) {
        if (detail)
            *detail = text;
        close();
        return r;
    };
    if (ServerAddress::looksLikeServer(location)) {
        QString why;
        const OpenResult r = openOnServer(
            location, QDir(dataDirectory.isEmpty() ? QDir::currentPath() : dataDirectory).absolutePath(),
            &why);
        return r == OpenResult::Ok ? r : fail(r, why);
    }
    const QString &path = location;
    const QString dataDir = QFileInfo(path).absolutePath();
    QString why;
    if (!LibraryLock::acquire(dataDir, &why))
        return fail(OpenResult::Locked, why);
    SafeFile::setDataDirectory(dataDir);
    // Nothing else may run in the directory from here on: a restore that was cut off is put
    // right before the library is looked at.
    switch (LibraryFiles::recoverInterruptedRestore(dataDir, &s_recoveryNotice, &why)) {
    case LibraryFiles::Recovery::Nothing:
        break;
    case LibraryFiles::Recovery::Failed:
        qWarning("%s", qUtf8Printable(why));
        break;
    case LibraryFiles::Recovery::PutBackPrevious:
    case LibraryFiles::Recovery::FinishedRestore:
        qWarning("%s", qUtf8Printable(s_recoveryNotice));
        break;
    }
    if (!QFileInfo::exists(path))
        return fail(OpenResult::Missing, QStringLiteral("%1 does not exist").arg(path));
    // Read the header before the connection exists: closing a file handle later would drop the
    // process's locks on it.
    if (!hasSqliteHeader(path))
        return fail(OpenResult::NotDatabase, QStringLiteral("%1 is not a database").arg(path));

    QSqlDatabase db =
        QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QString::fromLatin1(ConnectionName));
    db.setDatabaseName(path);
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=200"));
    if (!db.open())
        return fail(OpenResult::Failed, errorText(db.lastError()));

    QSqlQuery q(db);
    // Exclusive for as long as the program runs: the probe takes the lock and keeps it.
    // Another holder of the file shows as SQLITE_BUSY (5) or SQLITE_LOCKED (6) at the first
    // statement that reads it, which is already the journal-mode pragma.
    auto busyOrFailed = [](const QSqlError &e) {
        const bool busy =
            e.nativeErrorCode() == QLatin1String("5") || e.nativeErrorCode() == QLatin1String("6");
        return busy ? OpenResult::Locked : OpenResult::Failed;
    };
    if (!q.exec(QStringLiteral("PRAGMA locking_mode=EXCLUSIVE")) ||
        !q.exec(QStringLiteral("PRAGMA journal_mode=DELETE")))
        return fail(busyOrFailed(q.lastError()), errorText(q.lastError()));
    if (!q.exec(QStringLiteral("BEGIN EXCLUSIVE")))
        return fail(busyOrFailed(q.lastError()), errorText(q.lastError()));
    if (!q.exec(QStringLiteral("COMMIT")))
        return fail(OpenResult::Failed, errorText(q.lastError()));

    QStringList present;
    if (!q.exec(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'")))
        return fail(OpenResult::NotDatabase, errorText(q.lastError()));
    while (q.next())
        present << q.value(0).toString();
    for (const QString &t : tableNames())
        if (!present.contains(t))
            return fail(OpenResult::MissingTables, QStringLiteral("table %1 is missing").arg(t));
    q.finish();
    // The cheap part of the library check: a schema that is not the program's (a dropped column,
    // a trigger that would rewrite later writes) or a broken counters row would hand out wrong
    // numbers or fail later in the middle of a write; such a library is refused at once.
    if (const QStringList problems = startupProblems(db); !problems.isEmpty())
        return fail(OpenResult::MissingTables, problems.join(QLatin1String("; ")));

    if (!registerCzechLike(db))
        return fail(OpenResult::Failed, QStringLiteral("cannot register the LIKE function"));
    s_path = path;
    LibraryFiles::removeRestoreLeftovers(dataDir);
    return OpenResult::Ok;
}

void Database::close()
{
    StatementPool::clear();
    DirectQuery::finalizeAll();
    const QString name = QString::fromLatin1(ConnectionName);
    if (QSqlDatabase::contains(name)) {
        {
            QSqlDatabase db = QSqlDatabase::database(name, false);
            if (db.isOpen())
                db.close();
        }
        QSqlDatabase::removeDatabase(name);
    }
    s_path.clear();
    s_engine = Engine::SQLite;
    s_serverAddress.clear();
    LibraryLock::release();
}

Database::Engine Database::engine()
{
    return s_engine;
}

QString Database::serverAddress()
{
    return s_serverAddress;
}

bool Database::tryServerExclusive()
{
    if (s_engine != Engine::PostgreSQL || !isOpen())
        return false;
    QSqlQuery q(connection());
    if (!q.exec(advisory("pg_advisory_unlock_shared")))
        return false;
    if (q.exec(advisory("pg_try_advisory_lock")) && q.next() && q.value(0).toBool())
        return true;
    // Another desk is connected: this one keeps its place among them.
    q.exec(advisory("pg_advisory_lock_shared"));
    return false;
}

void Database::releaseServerExclusive()
{
    if (s_engine != Engine::PostgreSQL || !isOpen())
        return;
    QSqlQuery q(connection());
    q.exec(advisory("pg_advisory_unlock"));
    q.exec(advisory("pg_advisory_lock_shared"));
}

QString Database::takeRecoveryNotice()
{
    return std::exchange(s_recoveryNotice, QString());
}

bool Database::isOpen()
{
    const QString name = QString::fromLatin1(ConnectionName);
    return QSqlDatabase::contains(name) && QSqlDatabase::database(name, false).isOpen();
}

QString Database::path()
{
    return s_path;
}

QSqlDatabase Database::connection()
{
    return QSqlDatabase::database(QString::fromLatin1(ConnectionName), false);
}

static void initDataResources()
{
    Q_INIT_RESOURCE(data);
}

QString Database::schemaSql()
{
    initDataResources();
    QFile f(QStringLiteral(":/folivo/schema.sql"));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(f.readAll());
}

QString Database::serverSchemaSql()
{
    initDataResources();
    QFile f(QStringLiteral(":/folivo/schema-postgresql.sql"));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(f.readAll());
}

bool Database::createOnServer(const QString &location, QString *error)
{
    QString why;
    const std::optional<ServerAddress> address = ServerAddress::parse(location, &why);
    if (!address || address->databaseName.isEmpty()) {
        if (error)
            *error = address ? why : QStringLiteral("%1 is not a server address").arg(location);
        return false;
    }
    const QString schema = serverSchemaSql();
    const QString name = QStringLiteral("folivo-create");
    bool ok = false;
    {
        QSqlDatabase db = address->addConnection(name);
        QStringList present;
        if (!db.open()) {
            why = errorText(db.lastError());
        } else if (serverTables(db, &present, &why)) {
            QStringList found;
            for (const QString &t : tableNames())
                if (present.contains(t))
                    found << t;
            if (!found.isEmpty()) {
                why = QStringLiteral("%1 already holds a library (%2)")
                          .arg(address->toString(), found.join(QLatin1String(", ")));
            } else if (schema.isEmpty()) {
                why = QStringLiteral("the schema is missing from the program");
            } else {
                // The whole script in one transaction: a failure leaves the database empty.
                QSqlQuery q(db);
                ok = db.transaction() && q.exec(schema) && db.commit();
                if (!ok) {
                    why = errorText(q.lastError().isValid() ? q.lastError() : db.lastError());
                    db.rollback();
                }
            }
            db.close();
        }
    }
    QSqlDatabase::removeDatabase(name);
    if (!ok && error)
        *error = why;
    return ok;
}

QByteArray Database::aboutPicture()
{
    initDataResources();
    QFile f(QStringLiteral(":/folivo/rvmsgbit.dat"));
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool Database::createEmpty(const QString &path, QString *error)
{
    if (QFileInfo::exists(path)) {
        if (error)
            *error = QStringLiteral("%1 already exists").arg(path);
        return false;
    }
    const QString schema = schemaSql();
    if (schema.isEmpty()) {
        if (error)
            *error = QStringLiteral("the schema is missing from the program");
        return false;
    }
    const QString name = QStringLiteral("folivo-create");
    bool ok = true;
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(path);
        if (!db.open()) {
            ok = false;
            if (error)
                *error = errorText(db.lastError());
        } else {
            QSqlQuery q(db);
            ok = q.exec(QStringLiteral("PRAGMA journal_mode=DELETE")) && db.transaction();
            // Statements are separated by semicolons at line ends; comments are skipped.
            QString statement;
            const QStringList lines = schema.split(QLatin1Char('\n'));
            for (const QString &raw : lines) {
                if (!ok)
                    break;
                const QString line = raw.trimmed();
                if (line.isEmpty() || line.startsWith(QLatin1String("--")))
                    continue;
                statement += line + QLatin1Char(' ');
                if (line.endsWith(QLatin1Char(';'))) {
                    if (!q.exec(statement)) {
                        ok = false;
                        if (error)
                            *error = errorText(q.lastError());
                    }
                    statement.clear();
                }
            }
            if (ok && !db.commit()) {
                ok = false;
                if (error)
                    *error = errorText(db.lastError());
            }
            if (!ok)
                db.rollback();
            q.finish();
            db.close();
        }
    }
    QSqlDatabase::removeDatabase(name);
    if (!ok)
        QFile::remove(path);
    return ok;
}

void Database::logConflict(const DbError &error, int attempt)
{
    qCInfo(lcDb).noquote() << QStringLiteral("write attempt %1 met another desk's transaction, running it again:")
                                  .arg(attempt)
                           << error.text();
}

Transaction::Transaction()
{
    QSqlDatabase db = Database::connection();
    if (!db.isOpen())
        throw DbError(QStringLiteral("the database is not open"));
    if (!db.transaction())
        throw DbError(errorText(db.lastError()));
    m_open = true;
    if (s_engine == Database::Engine::PostgreSQL) {
        // Every write of every desk takes the counters' row first, so the writes of all desks run
        // one after another: what a write reads after this is what the last one left, and no
        // counter is handed out twice.
        QSqlQuery q(db);
        if (!q.exec(QStringLiteral("SELECT 1 FROM IDS FOR UPDATE")))
            throw DbError(errorText(q.lastError()), q.lastQuery(), q.lastError().nativeErrorCode());
    }
}

Transaction::~Transaction()
{
    if (m_open)
        Database::connection().rollback();
}

void Transaction::commit()
{
    QSqlDatabase db = Database::connection();
    if (!db.commit()) {
        const QSqlError error = db.lastError();
        db.rollback();
        m_open = false;
        throw DbError(errorText(error), QString(), error.nativeErrorCode());
    }
    m_open = false;
}

namespace {

bool identifierChar(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_') || c == QLatin1Char('$');
}

// The text columns of the shipped schema, as "TABLE.COLUMN" and as the bare column name, read
// by the engine itself from schema.sql in a database in memory.
const QSet<QString> &textColumns()
{
    static const QSet<QString> columns = [] {
        QSet<QString> set;
        sqlite3 *db = nullptr;
        if (sqlite3_open_v2(":memory:", &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
            sqlite3_exec(db, Database::schemaSql().toUtf8().constData(), nullptr, nullptr, nullptr) ==
                SQLITE_OK) {
            sqlite3_stmt *q = nullptr;
            const char *sql = "SELECT m.name, p.name FROM sqlite_master AS m, pragma_table_info(m.name) AS p "
                              "WHERE m.type = 'table' AND upper(p.type) = 'TEXT'";
            if (sqlite3_prepare_v2(db, sql, -1, &q, nullptr) == SQLITE_OK) {
                while (sqlite3_step(q) == SQLITE_ROW) {
                    const QString table =
                        QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(q, 0)));
                    const QString column =
                        QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(q, 1)));
                    set << table.toUpper() + QLatin1Char('.') + column.toUpper() << column.toUpper();
                }
            }
            sqlite3_finalize(q);
        }
        sqlite3_close(db);
        return set;
    }();
    return columns;
}

// Gives every ORDER BY term that is a text column the Czech collation, so that every sorted
// statement lists codes and names in Czech order, letter case aside (a500, B700, C100, c800,
// Č200, H400, ch300, CH900) instead of by bytes. A term that names its collation stays as it is.
QString collateTextOrder(const QString &sql)
{
    if (!sql.contains(QLatin1String("ORDER"), Qt::CaseInsensitive))
        return sql; // most statements of the pages: one look, no second pass
    const qsizetype n = sql.size();
    auto skipBlanks = [&](qsizetype at) {
        while (at < n && sql.at(at).isSpace())
            ++at;
        return at;
    };
    auto wordEnd = [&](qsizetype at) {
        while (at < n && identifierChar(sql.at(at)))
            ++at;
        return at;
    };
    auto isWord = [&](qsizetype from, qsizetype to, QLatin1StringView word) {
        return QStringView(sql).mid(from, to - from).compare(word, Qt::CaseInsensitive) == 0;
    };
    QString out;
    out.reserve(n + 32);
    bool inOrder = false;
    bool termStart = false;
    int depth = 0;
    qsizetype i = 0;
    while (i < n) {
        const QChar c = sql.at(i);
        if (c == QLatin1Char('\'')) { // a quoted text, '' inside it stands for one quote
            qsizetype j = i + 1;
            while (j < n &&
                   !(sql.at(j) == QLatin1Char('\'') && (j + 1 >= n || sql.at(j + 1) != QLatin1Char('\''))))
                j += sql.at(j) == QLatin1Char('\'') ? 2 : 1;
            out += QStringView(sql).mid(i, std::min(j + 1, n) - i);
            i = j + 1;
            termStart = false;
            continue;
        }
        if (identifierChar(c)) {
            qsizetype end = wordEnd(i);
            if (inOrder && termStart && !c.isDigit()) {
                // A column, perhaps with its table: TABLE.COLUMN.
                while (end < n && sql.at(end) == QLatin1Char('.') && end + 1 < n &&
                       identifierChar(sql.at(end + 1)))
                    end = wordEnd(end + 1);
                const QString column = sql.mid(i, end - i).toUpper();
                const qsizetype next = skipBlanks(end);
                const bool named = isWord(next, wordEnd(next), QLatin1StringView("COLLATE"));
                out += QStringView(sql).mid(i, end - i);
                if (!named && textColumns().contains(column))
                    out += QLatin1String(" COLLATE ") + QLatin1String(CzechCollation);
                termStart = false;
                i = end;
                continue;
            }
            if (isWord(i, end, QLatin1StringView("ORDER"))) {
                const qsizetype by = skipBlanks(end);
                if (isWord(by, wordEnd(by), QLatin1StringView("BY"))) {
                    end = wordEnd(by);
                    inOrder = true;
                    termStart = true;
                    depth = 0;
                }
            } else if (inOrder && isWord(i, end, QLatin1StringView("LIMIT"))) {
                inOrder = false;
            } else {
                termStart = false; // a number or a word that is no column starts no text term
            }
            out += QStringView(sql).mid(i, end - i);
            i = end;
            continue;
        }
        if (inOrder) {
            if (c == QLatin1Char('(')) {
                ++depth;
            } else if (c == QLatin1Char(')')) {
                if (depth == 0)
                    inOrder = false; // the end of a sub-select's ORDER BY
                else
                    --depth;
            } else if (c == QLatin1Char(',') && depth == 0) {
                termStart = true;
            } else if (!c.isSpace()) {
                termStart = false;
            }
        }
        out += c;
        ++i;
    }
    return out;
}

} // namespace

QString jetToSqlite(const QString &jet)
{
    QString out;
    out.reserve(jet.size() + 16);
    const qsizetype n = jet.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = jet.at(i);
        if (c == QLatin1Char('=') &&
            jet.mid(i, 7).compare(QLatin1String("= ANY ("), Qt::CaseInsensitive) == 0) {
            out += QLatin1String("IN (");
            i += 6;
            continue;
        }
        if (c != QLatin1Char('\'')) {
            out += c;
            continue;
        }
        // A quoted text: find its end ('' inside stands for one quote).
        const QString before = out.trimmed();
        const bool pattern = before.endsWith(QLatin1String("LIKE"), Qt::CaseInsensitive);
        const bool equals = before.endsWith(QLatin1Char('=')) && !before.endsWith(QLatin1String("<=")) &&
                            !before.endsWith(QLatin1String(">=")) && !before.endsWith(QLatin1String("<>"));
        QString text;
        qsizetype j = i + 1;
        for (; j < n; ++j) {
            if (jet.at(j) == QLatin1Char('\'')) {
                if (j + 1 < n && jet.at(j + 1) == QLatin1Char('\'')) {
                    text += QLatin1String("''");
                    ++j;
                    continue;
                }
                break;
            }
            text += jet.at(j);
        }
        i = j; // the closing quote (or the end of an unterminated text)
        if (pattern) {
            // Jet's wildcards are * and ?; the engine's own % and _ are plain characters there.
            QString converted;
            bool escaped = false;
            for (const QChar t : std::as_const(text)) {
                if (t == QLatin1Char('*')) {
                    converted += QLatin1Char('%');
                } else if (t == QLatin1Char('?')) {
                    converted += QLatin1Char('_');
                } else if (t == QLatin1Char('%') || t == QLatin1Char('_') || t == QLatin1Char('\\')) {
                    converted += QLatin1Char('\\');
                    converted += t;
                    escaped = true;
                } else {
                    converted += t;
                }
            }
            out += QLatin1Char('\'') + converted + QLatin1Char('\'');
            if (escaped)
                out += QLatin1String(" ESCAPE '\\'");
        } else {
            out += QLatin1Char('\'') + text + QLatin1Char('\'');
            // Texts compared with = ignore letter case, as the librarian is used to ("k017" finds
            // K017, "čapek" finds Čapek).
            if (equals)
                out += QLatin1String(" COLLATE ") + QLatin1String(textEqualityCollation(text));
        }
    }
    return collateTextOrder(out);
}

const char *textEqualityCollation(const QString &text)
{
    for (const QChar c : text)
        if (c.unicode() >= 0x80)
            return "CZNOCASE";
    return "NOCASE";
}

QSqlQuery prepareSql(const QString &sqliteSql)
{
    QSqlDatabase db = Database::connection();
    if (!db.isOpen())
        throw DbError(QStringLiteral("the database is not open"));
    const bool server = s_engine == Database::Engine::PostgreSQL;
    const QString sql = server ? sqliteToPostgres(sqliteSql) : sqliteSql;
    QSqlQuery q(db);
    q.setForwardOnly(true);
    if (server)
        q.setNumericalPrecisionPolicy(QSql::LowPrecisionDouble);
    if (!q.prepare(sql))
        throw DbError(errorText(q.lastError()), sql, q.lastError().nativeErrorCode());
    return q;
}

void execPrepared(QSqlQuery &query)
{
    if (!query.exec())
        throw DbError(errorText(query.lastError()), query.lastQuery(), query.lastError().nativeErrorCode());
}

QSqlQuery runSql(const QString &sql, const QVariantList &bindValues)
{
    if (s_engine == Database::Engine::PostgreSQL && bindValues.isEmpty()) {
        // Run as it stands: the server prepares no statement that changes its tables or indexes.
        QSqlQuery q(Database::connection());
        q.setNumericalPrecisionPolicy(QSql::LowPrecisionDouble);
        const QString translated = sqliteToPostgres(sql);
        if (!q.exec(translated))
            throw DbError(errorText(q.lastError()), translated, q.lastError().nativeErrorCode());
        return q;
    }
    QSqlQuery q = prepareSql(sql);
    for (const QVariant &v : bindValues)
        q.addBindValue(v);
    execPrepared(q);
    return q;
}

QSqlQuery runJet(const QString &jetSql, const QVariantList &bindValues)
{
    return runSql(jetToSqlite(jetSql), bindValues);
}

namespace {

struct PoolState
{
    quint64 generation = 1;
    std::map<QString, std::vector<std::unique_ptr<DirectQuery>>> idle;
    int count = 0;
};

PoolState &poolState()
{
    // Never destroyed: its statements would outlive the engine at the program's end.
    static auto *state = new PoolState;
    return *state;
}

// Enough for every statement shape the pages use; beyond it the pool starts again.
constexpr int PoolLimit = 128;

} // namespace

std::unique_ptr<DirectQuery> StatementPool::take(const QString &sql, quint64 *generation)
{
    PoolState &pool = poolState();
    *generation = pool.generation;
    const auto it = pool.idle.find(sql);
    if (it != pool.idle.end() && !it->second.empty()) {
        std::unique_ptr<DirectQuery> q = std::move(it->second.back());
        it->second.pop_back();
        --pool.count;
        return q;
    }
    return std::make_unique<DirectQuery>(sql);
}

void StatementPool::giveBack(const QString &sql, std::unique_ptr<DirectQuery> query, quint64 generation)
{
    PoolState &pool = poolState();
    if (!query || generation != pool.generation)
        return;
    query->reset();
    if (pool.count >= PoolLimit) {
        pool.idle.clear();
        pool.count = 0;
    }
    pool.idle[sql].push_back(std::move(query));
    ++pool.count;
}

void StatementPool::clear()
{
    PoolState &pool = poolState();
    pool.idle.clear();
    pool.count = 0;
    ++pool.generation;
}

QString parameterizeLiterals(const QString &sql, QVariantList *binds)
{
    QString out;
    out.reserve(sql.size());
    QVariantList values;
    const qsizetype n = sql.size();
    qsizetype i = 0;
    auto keywordAt = [&](qsizetype at, QLatin1StringView word) {
        return sql.mid(at, word.size()).compare(word, Qt::CaseInsensitive) == 0 &&
               (at + word.size() >= n || !identifierChar(sql.at(at + word.size())));
    };
    while (i < n) {
        const QChar c = sql.at(i);
        if (identifierChar(c) && !c.isDigit()) {
            if (keywordAt(i, QLatin1StringView("ORDER")) || keywordAt(i, QLatin1StringView("GROUP")) ||
                keywordAt(i, QLatin1StringView("LIMIT"))) {
                out += QStringView(sql).mid(i);
                break;
            }
            const qsizetype start = i;
            while (i < n && identifierChar(sql.at(i)))
                ++i;
            out += QStringView(sql).mid(start, i - start);
            continue;
        }
        if (c == QLatin1Char('\'')) {
            QString text(QLatin1String("")); // '' is an empty text, never NULL
            qsizetype j = i + 1;
            bool closed = false;
            for (; j < n; ++j) {
                if (sql.at(j) == QLatin1Char('\'')) {
                    if (j + 1 < n && sql.at(j + 1) == QLatin1Char('\'')) {
                        text += QLatin1Char('\'');
                        ++j;
                        continue;
                    }
                    closed = true;
                    break;
                }
                text += sql.at(j);
            }
            if (!closed)
                return sql; // not a statement this can take apart
            values << text;
            out += QLatin1Char('?');
            i = j + 1;
            continue;
        }
        if (c == QLatin1Char('"') || c == QLatin1Char('[') || c == QLatin1Char('`')) {
            const QChar close = c == QLatin1Char('[') ? QLatin1Char(']') : c;
            const qsizetype end = sql.indexOf(close, i + 1);
            if (end < 0)
                return sql;
            out += QStringView(sql).mid(i, end + 1 - i);
            i = end + 1;
            continue;
        }
        if (c.isDigit() && !(i > 0 && (identifierChar(sql.at(i - 1)) || sql.at(i - 1) == QLatin1Char('.')))) {
            qsizetype j = i;
            while (j < n && sql.at(j).isDigit())
                ++j;
            bool real = false;
            if (j < n && sql.at(j) == QLatin1Char('.')) {
                real = true;
                ++j;
                while (j < n && sql.at(j).isDigit())
                    ++j;
            }
            if (j < n && (identifierChar(sql.at(j)) || sql.at(j) == QLatin1Char('.')))
                return sql; // 1e5, 0x1F, 1.2.3: left to the engine as they are
            const QString number = sql.mid(i, j - i);
            bool ok = false;
            const QVariant value = real ? QVariant(number.toDouble(&ok)) : QVariant(number.toLongLong(&ok));
            if (!ok)
                return sql;
            values << value;
            out += QLatin1Char('?');
            i = j;
            continue;
        }
        out += c;
        ++i;
    }
    *binds << values;
    return out;
}
