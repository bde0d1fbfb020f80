#pragma once

#include <QSqlDatabase>
#include <QSqlQuery>

#include <QString>
#include <QVariant>
#include <memory>

#include "data/dberror.h"

// The one open library database: Folivo.db in the data directory, opened exclusively (a second
// running copy of the program cannot open it), or a library on a PostgreSQL server that several
// desks share, each desk with a data directory of its own.
class Database final
{
public:
    enum class Engine
    {
        SQLite,
        PostgreSQL
    };
    enum class OpenResult
    {
        Ok,
        Missing,
        NotDatabase,
        Locked,
        MissingTables, // or any other difference from the shipped schema, or a broken IDS row
        Failed
    };

    // Opens the library at location: the path of a library file or a server address (see
    // location()). For a file: locks the data directory (the folder of the file) for this
    // process, finishes or undoes a restore that was cut off there, then opens the library
    // exclusively and runs the cheap part of the library check; once it is open, what a restore
    // left in Temp/ is removed. For a server: locks dataDir (the working directory when empty),
    // connects, takes this desk's shared hold of the library (ServerLockKey) and runs the same
    // cheap check on the server's tables.
    static OpenResult open(const QString &location, QString *detail = nullptr,
                           const QString &dataDir = QString());
    // Where the library of a data directory lives: the address given on the command line
    // (--database), else the configured server (FOLIVO_DATABASE, Folivo.server), else the file
    // Folivo.db of the directory. The program's start-up and every command decide it here.
    static QString location(const QString &dataDir, const QString &databaseOption = QString());
    // Closes the library and lets the directory's lock go (unless a LibraryLockHold keeps it).
    static void close();
    // What the last open put back after a cut-off restore, for the user to be told once; empty
    // when nothing was done. Taking it clears it.
    static QString takeRecoveryNotice();
    static bool isOpen();
    // The path of the open library file; empty on a server.
    static QString path();
    static Engine engine();
    // The address of the open library's server (as a URL without password); empty for a file.
    static QString serverAddress();

    // Every desk connected to a server library holds this advisory lock shared for as long as it
    // is connected; whatever must be alone with the library (an import that replaces all tables)
    // takes it exclusively.
    static constexpr qint64 ServerLockKey = 0x466f6c69766f; // "Folivo"
    // Drops this desk's shared hold and tries the exclusive one; false (with the shared hold taken
    // again) while another desk is connected. Only on a server.
    static bool tryServerExclusive();
    // Gives the exclusive hold back and takes the shared one again.
    static void releaseServerExclusive();
    static QSqlDatabase connection();

    // How often a write runs before a conflict with other desks fails it (see write()).
    static constexpr int WriteAttempts = 3;
    // Runs one write: attempt() opens its own Transaction and does the whole action. When the
    // server aborts it because of another desk's transaction (a serialization failure or a
    // deadlock), everything it did is rolled back and it runs again from its start, up to
    // WriteAttempts times; the librarian sees nothing of it. Any other failure, or the last
    // conflict, leaves as DbError. attempt() must keep whatever it does outside the database
    // (a page's rows) until it has committed, since a later attempt does it again.
    template <typename Attempt> static auto write(Attempt &&attempt) -> decltype(attempt())
    {
        for (int tries = 1;; ++tries) {
            try {
                return attempt();
            } catch (const DbError &error) {
                if (!error.isConflict() || tries >= WriteAttempts)
                    throw;
                logConflict(error, tries);
            }
        }
    }

    static constexpr const char *FileName = "Folivo.db";
    static constexpr const char *ConnectionName = "folivo";

    // The schema every empty database is made from.
    static QString schemaSql();
    // Writes a new empty database (the six tables and the single IDS row) into path.
    // Refuses to overwrite an existing file.
    static bool createEmpty(const QString &path, QString *error);
    // The tables of an empty library on a server.
    static QString serverSchemaSql();
    // Installs the six tables and the IDS row into the empty database at the address, in one
    // transaction. Refuses a database that already holds any of the library's tables.
    static bool createOnServer(const QString &address, QString *error);

    // The picture of the about box, rvmsgbit.dat, as the program ships it (any image format; the
    // about box reads it by its content).
    static constexpr const char *AboutPictureFile = "rvmsgbit.dat";
    static QByteArray aboutPicture();

private:
    // Logs a conflict that write() answers by running the write again.
    static void logConflict(const DbError &error, int attempt);
};

// One transaction on the open database. Rolls back when it goes out of scope uncommitted, so an
// exception anywhere inside leaves nothing half-written. On a server it first locks the IDS row,
// so that the writes of all desks run one at a time.
class Transaction final
{
public:
    Transaction();
    ~Transaction();
    void commit();

private:
    Q_DISABLE_COPY_MOVE(Transaction)
    bool m_open = false;
};

// Translates one statement text in the program's Jet dialect into SQLite's: the wildcards * and
// ? inside LIKE patterns become % and _, "= ANY (" becomes "IN (", a text compared with = ignores
// letter case (COLLATE NOCASE). Booleans need nothing: they are stored as 0 and 1 and tested bare
// ("NOT KNIHY.VYRAZENO").
QString jetToSqlite(const QString &jet);

// The collation that compares a column with the given text ignoring letter case: SQLite's NOCASE
// for a text of ASCII letters (the code and name indexes serve it), the program's CZNOCASE, which
// folds every letter, for any other text.
const char *textEqualityCollation(const QString &text);

// Prepares and runs a statement on the open database; a failure throws DbError with the
// driver's text. The texts given are in the Jet dialect and are translated first.
QSqlQuery runJet(const QString &jetSql, const QVariantList &bindValues = {});
// Same for a statement already written for SQLite.
QSqlQuery runSql(const QString &sql, const QVariantList &bindValues = {});
void execPrepared(QSqlQuery &query);
QSqlQuery prepareSql(const QString &sql);

class DirectQuery;

// Prepared statements kept for the open connection, so that a statement run again and again (a
// record set's lookup by another code, its UPDATE of another row) is parsed once. A statement is
// lent to one user at a time; giving it back after the connection was closed drops it.
class StatementPool final
{
public:
    // The statement for this SQLite text, prepared now or taken from the pool. Throws DbError.
    static std::unique_ptr<DirectQuery> take(const QString &sql, quint64 *generation);
    // Resets the statement and keeps it for the next take of the same text.
    static void giveBack(const QString &sql, std::unique_ptr<DirectQuery> query, quint64 generation);
    // Drops every kept statement; Database::close does it before the connection goes.
    static void clear();
};

// Replaces the literal numbers and quoted texts of a SQLite statement's WHERE part by ? and
// appends their values to binds, so that statements differing only in their values share one
// prepared statement. Everything from ORDER BY, GROUP BY or LIMIT on stays as written; a statement
// it cannot take apart safely is returned unchanged with no binds.
QString parameterizeLiterals(const QString &sql, QVariantList *binds);
