#include "cli/clicommon.h"
#include "data/consistency.h"
#include "data/database.h"
#include "data/libraryfiles.h"
#include "data/librarylock.h"
#include "data/serveraddress.h"

#include <QDir>
#include <QFileInfo>

namespace {

enum CheckExit
{
    CheckSound = 0,
    CheckFound = 1, // something is broken: integrity, schema or a record rule
    CheckUsage = 2, // bad arguments, or no library at the path
    CheckInUse = 3, // the program has the library open
};

// A library on a server: its tables, columns and counters on the server, then every record rule on
// a library file made from one snapshot in the desk's Temp folder. SQLite's integrity check
// belongs to the library file and has nothing to check on a server; the output says so.
int checkOnServer(const QString &location, const QString &dataDir)
{
    QString error;
    switch (Database::open(location, &error, dataDir)) {
    case Database::OpenResult::Ok:
    case Database::OpenResult::MissingTables:
        break;
    case Database::OpenResult::Locked:
        cliFail(QStringLiteral("the library %1 is in use: %2").arg(location, error));
        return CheckInUse;
    default:
        cliFail(QStringLiteral("cannot open %1: %2").arg(location, error));
        return CheckUsage;
    }
    QStringList problems;
    if (Database::isOpen()) {
        const QString image = LibraryFiles::snapshotImagePath(dataDir);
        QDir().mkpath(QFileInfo(image).absolutePath());
        problems = checkServerLibrary(Database::connection(), image).all();
    } else {
        problems << error;
    }
    Database::close();
    for (const QString &p : problems)
        cliPrint(p);
    cliPrint(
        QStringLiteral("%1: SQLite's integrity check is the library file's own and is skipped on a server")
            .arg(location));
    if (!problems.isEmpty()) {
        cliFail(QStringLiteral("%1 problem(s) found in %2").arg(problems.size()).arg(location));
        return CheckFound;
    }
    cliPrint(QStringLiteral("%1: no problem found").arg(location));
    return CheckSound;
}

} // namespace

// folivo-cli check [--data-dir DIR]: SQLite's integrity check, the comparison with the shipped
// schema and every record rule; prints each finding (the rule, the table, the first rows that
// break it and their count) and exits 1 when there is one, 0 when the library is sound.
int cmdCheck(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv, {QStringLiteral("data-dir")}, {}, &args, &error)) {
        cliFail(error);
        return CheckUsage;
    }
    if (!args.positional.isEmpty()) {
        cliFail(QStringLiteral("check takes no arguments besides --data-dir"));
        return CheckUsage;
    }
    const QString dataDir = QDir(resolveDataDir(args)).absolutePath();
    const QString location = cliLibraryLocation(args, dataDir);
    if (ServerAddress::looksLikeServer(location))
        return checkOnServer(location, dataDir);
    const QString path = QDir(dataDir).filePath(QString::fromLatin1(Database::FileName));
    // The directory stays locked while the file is read through its own connection below.
    LibraryLockHold hold(dataDir);
    // Opening the way the program does tells whether the program holds the library; a library the
    // program would refuse is checked all the same, through a read-only connection.
    switch (Database::open(path, &error)) {
    case Database::OpenResult::Missing:
        cliFail(QStringLiteral("cannot open %1: %2").arg(path, error));
        return CheckUsage;
    case Database::OpenResult::Locked:
        cliFail(QStringLiteral("the library %1 is in use by the program; close the program first").arg(path));
        return CheckInUse;
    case Database::OpenResult::Ok:
    case Database::OpenResult::NotDatabase:
    case Database::OpenResult::MissingTables:
    case Database::OpenResult::Failed:
        break;
    }
    Database::close();
    const QStringList problems = checkDatabaseFile(path).all();
    for (const QString &p : problems)
        cliPrint(p);
    if (!problems.isEmpty()) {
        cliFail(QStringLiteral("%1 problem(s) found in %2").arg(problems.size()).arg(path));
        return CheckFound;
    }
    cliPrint(QStringLiteral("%1: no problem found").arg(path));
    return CheckSound;
}
