#include "cli/clicommon.h"
#include "data/consistency.h"
#include "data/database.h"
#include "data/dberror.h"
#include "data/libraryfiles.h"
#include "data/librarylock.h"
#include "data/librarytransfer.h"
#include "data/serveraddress.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>

#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace {

enum CopyExit
{
    CopyDone = 0,
    CopyRefused = 1, // the target is not empty, the copy failed or did not pass the check
    CopyUsage = 2,   // bad arguments, no library at the source
    CopyInUse = 3,   // the program has one of the libraries open
};

// One end of a copy: a data directory's library file, or a database on a server. It holds its
// connection (and the directory's lock) for as long as it lives.
class End final
{
public:
    End(const QString &place, const QString &connectionName) : m_place(place), m_name(connectionName) {}
    ~End()
    {
        if (QSqlDatabase::contains(m_name)) {
            QSqlDatabase::database(m_name, false).close();
            QSqlDatabase::removeDatabase(m_name);
        }
    }
    Q_DISABLE_COPY_MOVE(End)

    bool isServer() const { return ServerAddress::looksLikeServer(m_place); }
    QString place() const { return m_place; }
    QString dataDir() const { return QDir(m_place).absolutePath(); }
    QSqlDatabase db() const { return QSqlDatabase::database(m_name, false); }

    // Connects to the server, or locks the data directory; *exitCode says why when it fails.
    bool connect(bool isTarget, QString *error, int *exitCode)
    {
        if (isServer()) {
            const std::optional<ServerAddress> address = ServerAddress::parse(m_place, error);
            if (!address || address->databaseName.isEmpty()) {
                *exitCode = CopyUsage;
                return false;
            }
            QSqlDatabase db = address->addConnection(m_name);
            if (!db.open()) {
                *error = QStringLiteral("cannot connect to %1: %2")
                             .arg(address->toString(), db.lastError().text());
                *exitCode = CopyRefused;
                return false;
            }
            return true;
        }
        if (isTarget && !QDir().mkpath(dataDir())) {
            *error = QStringLiteral("cannot create the data directory %1").arg(dataDir());
            *exitCode = CopyRefused;
            return false;
        }
        if (!isTarget && !QFileInfo::exists(LibraryFiles::libraryPath(dataDir()))) {
            *error = QStringLiteral("no library database in %1").arg(dataDir());
            *exitCode = CopyUsage;
            return false;
        }
        // The target is locked as the program locks it (a restore's swap needs that lock); the
        // source is only read, under a shared lock of its own.
        if (isTarget)
            m_hold = std::make_unique<LibraryLockHold>(dataDir());
        else
            m_readLock = std::make_unique<LibraryReadLock>(dataDir());
        if (isTarget ? !m_hold->locked() : !m_readLock->locked()) {
            *error = QStringLiteral("the library in %1 is in use by the program; close the program first")
                         .arg(dataDir());
            *exitCode = CopyInUse;
            return false;
        }
        return true;
    }

    bool openFile(const QString &path, bool writable, QString *error)
    {
        return LibraryTransfer::openFile(path, m_name, writable, error).isOpen();
    }

private:
    QString m_place;
    QString m_name;
    std::unique_ptr<LibraryLockHold> m_hold;
    std::unique_ptr<LibraryReadLock> m_readLock;
};

bool fsyncDirectory(const QString &dir)
{
    const int fd = ::open(QFile::encodeName(dir).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool ok = fd >= 0 && ::fsync(fd) == 0;
    if (fd >= 0)
        ::close(fd);
    return ok;
}

// The rows of both ends compared inside the copy's transactions: a difference rolls it back.
void verifySameRows(QSqlDatabase from, QSqlDatabase to)
{
    QString difference;
    if (!LibraryTransfer::sameRows(from, to, &difference))
        throw DbError(QStringLiteral("the copy differs from the library it was made from: ") + difference);
}

int copyToServer(End &from, End &to)
{
    QSqlQuery probe(to.db());
    if (!probe.exec(QStringLiteral("SELECT COUNT(*) FROM IDS")) || !probe.next()) {
        cliFail(QStringLiteral("%1 has no library tables; install them with folivo-cli init --database %1")
                    .arg(to.place()));
        return CopyRefused;
    }
    probe.finish();
    // Desks hold the library shared while they are connected; the copy fills it alone.
    if (!probe.exec(QStringLiteral("SELECT pg_try_advisory_lock(%1)").arg(Database::ServerLockKey)) ||
        !probe.next() || !probe.value(0).toBool()) {
        cliFail(
            QStringLiteral("%1 is in use by a desk of the program; close the program first").arg(to.place()));
        return CopyInUse;
    }
    probe.finish();
    const qint64 records = LibraryTransfer::recordCount(to.db());
    if (records != 0) {
        cliFail(QStringLiteral("%1 is not empty (%2 records); a library is copied only into an empty one")
                    .arg(to.place())
                    .arg(records));
        return CopyRefused;
    }
    try {
        LibraryTransfer::copyTables(from.db(), to.db(), [&] { verifySameRows(from.db(), to.db()); });
    } catch (const DbError &e) {
        cliFail(QStringLiteral("the copy into %1 was not made: %2").arg(to.place(), e.text()));
        return CopyRefused;
    }
    return CopyDone;
}

int copyToDirectory(End &from, End &to)
{
    const QString dir = to.dataDir();
    const QString library = LibraryFiles::libraryPath(dir);
    recoverCutOffRestore(dir);
    const bool replacing = QFileInfo::exists(library);
    if (replacing) {
        QString error;
        qint64 records = -1;
        {
            End existing(library, QStringLiteral("folivo-copy-existing"));
            if (existing.openFile(library, false, &error))
                records = LibraryTransfer::recordCount(existing.db());
        }
        if (records != 0) {
            cliFail(records < 0
                        ? QStringLiteral("%1 is there and is not an empty library").arg(library)
                        : QStringLiteral("%1 is not empty (%2 records); a library is copied only into an "
                                         "empty one")
                              .arg(library)
                              .arg(records));
            return CopyRefused;
        }
    }
    QDir(dir).mkpath(QStringLiteral("Temp"));
    const QString image = LibraryFiles::copiedImagePath(dir);
    QFile::remove(image); // what a cut-off copy left
    QString error;
    if (!LibraryTransfer::writeImage(from.db(), image, &error,
                                     [&](QSqlDatabase made) { verifySameRows(from.db(), made); })) {
        cliFail(QStringLiteral("the copy was not made: %1").arg(error));
        return CopyRefused;
    }
    const QStringList problems = checkDatabaseFile(image).all();
    if (!problems.isEmpty()) {
        for (const QString &p : problems)
            cliPrint(p);
        QFile::remove(image);
        cliFail(
            QStringLiteral("the copy did not pass the library check; nothing was installed in %1").arg(dir));
        return CopyRefused;
    }
    // A missing library is put in place by a link, which never replaces a file that appeared
    // meanwhile; an empty one is swapped like a restored backup.
    if (replacing) {
        if (!LibraryFiles::replaceLibrary(dir, image, &error)) {
            QFile::remove(image);
            cliFail(QStringLiteral("the copy could not replace %1: %2").arg(library, error));
            return CopyRefused;
        }
    } else {
        const bool linked =
            ::link(QFile::encodeName(image).constData(), QFile::encodeName(library).constData()) == 0;
        QFile::remove(image);
        if (!linked || !fsyncDirectory(dir)) {
            cliFail(QStringLiteral("the copy could not be installed as %1").arg(library));
            return CopyRefused;
        }
    }
    if (!installShippedFiles(dir, &error)) {
        cliFail(error);
        return CopyRefused;
    }
    return CopyDone;
}

} // namespace

// folivo-cli copy --from A --to B: copies a whole library between a data directory and a server
// (either way, or between two of one kind) into an empty target, and verifies the copy: every row
// the same as the source's, and the library check passed, before the copy becomes the target's.
int cmdCopy(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv, {QStringLiteral("from"), QStringLiteral("to")}, {}, &args, &error) ||
        !args.positional.isEmpty() || !args.has(QStringLiteral("from")) || !args.has(QStringLiteral("to"))) {
        cliFail(error.isEmpty() ? QStringLiteral("usage: folivo-cli copy --from DIR|URL --to DIR|URL")
                                : error);
        return CopyUsage;
    }
    End from(args.value(QStringLiteral("from")), QStringLiteral("folivo-copy-from"));
    End to(args.value(QStringLiteral("to")), QStringLiteral("folivo-copy-to"));
    if (from.isServer() == to.isServer() &&
        (from.isServer() ? from.place() == to.place() : from.dataDir() == to.dataDir())) {
        cliFail(QStringLiteral("the source and the target are the same library"));
        return CopyUsage;
    }
    int exitCode = CopyRefused;
    if (!from.connect(false, &error, &exitCode) || !to.connect(true, &error, &exitCode)) {
        cliFail(error);
        return exitCode;
    }
    if (!from.isServer()) {
        const QString library = LibraryFiles::libraryPath(from.dataDir());
        if (!QFileInfo::exists(library)) {
            cliFail(QStringLiteral("no library database in %1").arg(from.dataDir()));
            return CopyUsage;
        }
        if (!from.openFile(library, false, &error)) {
            cliFail(QStringLiteral("cannot open %1: %2").arg(library, error));
            return CopyRefused;
        }
    }
    const int result = to.isServer() ? copyToServer(from, to) : copyToDirectory(from, to);
    if (result == CopyDone)
        cliPrint(QStringLiteral("copied %1 records from %2 to %3")
                     .arg(LibraryTransfer::recordCount(from.db()))
                     .arg(from.place(), to.place()));
    return result;
}
