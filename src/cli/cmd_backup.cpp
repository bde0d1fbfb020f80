#include "app/messages.h"
#include "backup/backupjobs.h"
#include "cli/clicommon.h"
#include "data/database.h"
#include "data/librarylock.h"
#include "data/safefile.h"
#include "data/serveraddress.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QSet>

// folivo-cli backup export FILE [--data-dir DIR] [--overwrite]
// folivo-cli backup export --floppy DIR [--data-dir DIR]
// folivo-cli backup import FILE [--data-dir DIR] [--force]
//
// The nightly backup and its restore, in the format and with the checks of the program's own
// "Export dat..." and "Import dat...". The import also replaces a library that is missing or
// damaged; --force restores an image that breaks only rules between the records. Exit codes:
//   0 done; 1 wrong arguments or the database cannot be opened; 3 the program has the database
//   open; 4 the backup or restore failed and the library data are unchanged; 5 the database
//   could not be reopened or replaced (the previous one may be in Temp/Tmp_old.dat).
namespace {

enum ExitCode
{
    ExitOk = 0,
    ExitUsage = 1,
    ExitInUse = 3,
    ExitFailed = 4,
    ExitFatal = 5
};

// Prints every message as the console does and answers every question Yes: the command line
// itself was the user's decision.
class UnattendedMessages final
{
public:
    UnattendedMessages()
    {
        m_previous = setMessageBoxHandler(nullptr);
        MessageBoxHandler console = m_previous;
        setMessageBoxHandler(
            [console](const QString &caption, const QString &text, MessageKind kind, int buttons) {
                console(caption, text, kind, ButtonsOk);
                if (buttons == ButtonsYesNo || buttons == ButtonsYesNoIrreversible)
                    return int(ResultYes);
                return buttons == ButtonsConfirm ? int(ResultConfirmed) : int(ResultOk);
            });
    }
    ~UnattendedMessages() { setMessageBoxHandler(m_previous); }

private:
    Q_DISABLE_COPY_MOVE(UnattendedMessages)
    MessageBoxHandler m_previous;
};

// An empty name stays empty, so that it is refused as the dialog refuses it (message 98).
QString absoluteName(const QString &file)
{
    return file.trimmed().isEmpty() ? file : QDir().absoluteFilePath(file);
}

int exitCodeOf(BackupOutcome outcome)
{
    switch (outcome) {
    case BackupOutcome::Succeeded:
        return ExitOk;
    case BackupOutcome::Fatal:
        return ExitFatal;
    case BackupOutcome::InUse:
        return ExitInUse;
    case BackupOutcome::Stayed:
    case BackupOutcome::Failed:
    case BackupOutcome::Quit:
        break;
    }
    return ExitFailed;
}

// Opens the library database the way the program does, in the directory the caller has locked
// (while the program runs, that lock was refused). A restore may also start on a library that is
// missing or damaged: replacing it is what a restore is for.
int openLibrary(const QString &dataDir, const CliArgs &args, const LibraryLockHold &hold, bool forRestore)
{
    if (!QFileInfo(dataDir).isDir())
        return cliFail(QStringLiteral("the data directory %1 does not exist").arg(dataDir));
    if (!hold.locked()) {
        cliFail(QStringLiteral("the library in %1 is in use by the program; close the program first (%2)")
                    .arg(dataDir, hold.error()));
        return ExitInUse;
    }
    const QString path = cliLibraryLocation(args, dataDir);
    QString detail;
    switch (Database::open(path, &detail, dataDir)) {
    case Database::OpenResult::Ok:
        return ExitOk;
    case Database::OpenResult::Locked:
        cliFail(
            QStringLiteral("the library database %1 is in use by the program; close the program first (%2)")
                .arg(path, detail));
        return ExitInUse;
    case Database::OpenResult::Missing:
    case Database::OpenResult::NotDatabase:
    case Database::OpenResult::MissingTables:
    case Database::OpenResult::Failed:
        // A restore replaces a missing or damaged library file; a server's tables are installed
        // by init, and nothing here may fall back to the data directory's file.
        if (forRestore && !ServerAddress::looksLikeServer(path)) {
            cliFail(QStringLiteral("the library database cannot be opened (%1); it will be replaced")
                        .arg(detail));
            return ExitOk;
        }
        break;
    }
    cliFail(QStringLiteral("cannot open the library database: %1").arg(detail));
    return ExitUsage;
}

int backupExport(const QString &file, const CliArgs &args)
{
    const QString dataDir = QDir(resolveDataDir(args)).absolutePath();
    const bool toFloppies = args.has(QStringLiteral("floppy"));
    LibraryLockHold hold(dataDir);
    if (const int opened = openLibrary(dataDir, args, hold, false); opened != ExitOk)
        return opened;
    ExportRequest request;
    request.toFloppies = toFloppies;
    request.dataDir = dataDir;
    request.floppyDir = toFloppies ? QDir(args.value(QStringLiteral("floppy"))).absolutePath() : QString();
    request.fileName = toFloppies ? QString() : absoluteName(file);
    const QString target = toFloppies ? floppyVolumePath(request.floppyDir, 1) : request.fileName;
    if (!target.trimmed().isEmpty() && SafeFile::isProtectedTarget(target)) {
        Database::close();
        return cliFail(
            QStringLiteral("%1 is one of the library's own files; choose another name").arg(target));
    }
    if (!toFloppies && QFileInfo::exists(request.fileName) && !args.has(QStringLiteral("overwrite"))) {
        Database::close();
        return cliFail(QStringLiteral("%1 exists; add --overwrite to replace it").arg(request.fileName));
    }
    UnattendedMessages messages;
    request.stamp = BackupStamp::at(QDateTime::currentDateTime());
    const BackupOutcome outcome = runExport(request, {});
    Database::close();
    if (outcome == BackupOutcome::Succeeded)
        cliPrint(QStringLiteral("backup written: %1").arg(target));
    return exitCodeOf(outcome);
}

int backupImport(const QString &file, const CliArgs &args)
{
    const QString dataDir = QDir(resolveDataDir(args)).absolutePath();
    // The directory is locked before the library is looked at, so that a library that cannot be
    // opened is still replaced with nobody else at work on it.
    LibraryLockHold hold(dataDir);
    if (const int opened = openLibrary(dataDir, args, hold, true); opened != ExitOk)
        return opened;
    UnattendedMessages messages;
    ImportRequest request;
    request.fileName = absoluteName(file);
    request.dataDir = dataDir;
    request.acceptRecordFindings = args.has(QStringLiteral("force"));
    BackupCallbacks callbacks;
    // The volumes of a series lie side by side: each is tried once; one that cannot be read
    // ends the restore instead of being asked for again.
    QSet<int> asked;
    callbacks.askForVolume = [&asked](int volume) {
        if (asked.contains(volume))
            return false;
        asked.insert(volume);
        return true;
    };
    const BackupOutcome outcome = runImport(request, callbacks);
    Database::close();
    if (outcome == BackupOutcome::Succeeded)
        cliPrint(QStringLiteral("library restored from %1").arg(request.fileName));
    return exitCodeOf(outcome);
}

} // namespace

int cmdBackup(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv, {QStringLiteral("data-dir"), QStringLiteral("floppy")},
                      {QStringLiteral("overwrite"), QStringLiteral("force")}, &args, &error))
        return cliFail(error);
    const QString action = args.positional.value(0);
    const bool floppyExport = action == QLatin1String("export") && args.has(QStringLiteral("floppy"));
    if (args.positional.size() != (floppyExport ? 1 : 2))
        return cliFail(
            QStringLiteral("usage: backup export FILE|--floppy DIR [--data-dir DIR] [--overwrite]\n"
                           "       backup import FILE [--data-dir DIR] [--force]"));
    const QString file = args.positional.value(1);
    if (action == QLatin1String("export")) {
        if (args.has(QStringLiteral("force")))
            return cliFail(QStringLiteral("--force belongs to backup import"));
        return backupExport(file, args);
    }
    if (action == QLatin1String("import")) {
        if (args.has(QStringLiteral("overwrite")) || args.has(QStringLiteral("floppy")))
            return cliFail(QStringLiteral("--overwrite and --floppy belong to backup export"));
        return backupImport(file, args);
    }
    return cliFail(QStringLiteral("unknown backup action %1").arg(action));
}
