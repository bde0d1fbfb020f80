#include "backup/backupjobs.h"

#include "app/messages.h"
#include "data/database.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString databasePath(const QString &dataDir)
{
    return QDir(dataDir).filePath(QString::fromLatin1(Database::FileName));
}

// True when both names lead to one file (also through links): the library database must never
// be opened as a backup file, neither to be overwritten nor to be read while it is in use.
bool sameFile(const QString &a, const QString &b)
{
    struct stat sa
    {};
    struct stat sb
    {};
    if (::stat(QFile::encodeName(a).constData(), &sa) != 0 ||
        ::stat(QFile::encodeName(b).constData(), &sb) != 0)
        return false;
    return sa.st_dev == sb.st_dev && sa.st_ino == sb.st_ino;
}

// Makes the renames of the swap durable before the old image is let go.
void syncDirectory(const QString &dir)
{
    const int fd = ::open(QFile::encodeName(dir).constData(), O_RDONLY | O_DIRECTORY);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

void setBusy(const BackupCallbacks &callbacks, bool busy)
{
    if (callbacks.setBusy)
        callbacks.setBusy(busy);
}

bool reopen(const QString &dataDir)
{
    return Database::open(databasePath(dataDir)) == Database::OpenResult::Ok;
}

// Steps after every export that closed the database: the result, the progress back at 0, the
// buttons enabled, the database reopened.
BackupOutcome finishExport(CopyResult result, const QString &dataDir, const BackupCallbacks &callbacks)
{
    if (result == CopyResult::Done)
        RvMessageBox(QString(), QString::fromUtf8("Export dat byl úspěšně dokončen!"),
                     MessageKind::Information, ButtonsOk);
    else if (result == CopyResult::Failed)
        RvMessageBox(QString(), QString::fromUtf8("Pozor, export dat nebyl úspěšně dokončen!"),
                     MessageKind::Warning, ButtonsOk);
    if (callbacks.progress)
        callbacks.progress(0, QString());
    setBusy(callbacks, false);
    if (!reopen(dataDir)) {
        showMessage(Message::FatalError);
        return BackupOutcome::Fatal;
    }
    switch (result) {
    case CopyResult::Done:
        return BackupOutcome::Succeeded;
    case CopyResult::Quit:
        return BackupOutcome::Quit;
    case CopyResult::Failed:
        break;
    }
    return BackupOutcome::Failed;
}

BackupOutcome swapDatabase(const QString &dataDir)
{
    const QString live = databasePath(dataDir);
    const QString restored = restoredImagePath(dataDir);
    const QString previous = previousImagePath(dataDir);
    QFile::remove(previous);
    Database::close();
    if (!QFile::rename(live, previous)) {
        showMessage(Message::BackupNotReplaced);
        if (reopen(dataDir))
            return BackupOutcome::Failed;
        showMessage(Message::FatalError);
        return BackupOutcome::Fatal;
    }
    if (!QFile::rename(restored, live)) {
        showMessage(Message::BackupNotReplaced);
        // Put the previous database back, so that the next start finds it where it belongs.
        QFile::rename(previous, live);
        showMessage(Message::FatalError);
        return BackupOutcome::Fatal;
    }
    syncDirectory(dataDir);
    syncDirectory(QFileInfo(previous).path());
    QFile::remove(restored);
    if (!reopen(dataDir)) {
        // The previous database stays in Temp/Tmp_old.dat.
        showMessage(Message::FatalError);
        return BackupOutcome::Fatal;
    }
    QFile::remove(previous);
    RvMessageBox(QString(), QString::fromUtf8("Data byly úspěšně obnoveny ze zálohy!"),
                 MessageKind::Information, ButtonsOk);
    return BackupOutcome::Succeeded;
}

} // namespace

QString restoredImagePath(const QString &dataDir)
{
    return QDir(dataDir).filePath(QStringLiteral("Temp/Tmp_new.dat"));
}

QString previousImagePath(const QString &dataDir)
{
    return QDir(dataDir).filePath(QStringLiteral("Temp/Tmp_old.dat"));
}

BackupOutcome runExport(const ExportRequest &request, const BackupCallbacks &callbacks)
{
    const QString database = databasePath(request.dataDir);
    if (request.toFloppies) {
        QFile first(floppyVolumePath(request.floppyDir, 1));
        if (!first.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
            showMessage(Message::BackupNotOpened);
            return BackupOutcome::Stayed;
        }
        Database::close();
        setBusy(callbacks, true);
        const CopyResult result =
            exportToFloppies(database, request.floppyDir, first, request.stamp, callbacks);
        return finishExport(result, request.dataDir, callbacks);
    }

    const QString name = request.fileName.trimmed();
    if (name.isEmpty()) {
        showMessage(Message::BackupNameMissing);
        return BackupOutcome::Stayed;
    }
    if (QFileInfo::exists(name) &&
        RvMessageBox(QString(),
                     QString::fromUtf8("Záložní soubor zadaného jména již existuje, přejete si ho přepsat?"),
                     MessageKind::Question, ButtonsYesNo) != ResultYes)
        return BackupOutcome::Stayed;
    QDir(request.dataDir).mkdir(QStringLiteral("Export"));
    if (sameFile(name, database)) {
        showMessage(Message::BackupNotOpened);
        return BackupOutcome::Stayed;
    }
    QFile backup(name);
    if (!backup.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        showMessage(Message::BackupNotOpened);
        return BackupOutcome::Stayed;
    }
    Database::close();
    setBusy(callbacks, true);
    const CopyResult result = exportToFile(database, backup, request.stamp, callbacks);
    return finishExport(result, request.dataDir, callbacks);
}

BackupOutcome runImport(const ImportRequest &request, const BackupCallbacks &callbacks)
{
    const QString name = request.fileName.trimmed();
    if (name.isEmpty()) {
        showMessage(Message::BackupNameMissing);
        return BackupOutcome::Stayed;
    }
    if (RvMessageBox(QString(),
                     QString::fromUtf8("Přejete si skutečně provést obnovu dat ze zálohy?\nTato akce způsobí "
                                       "kompletní nahrazení stávajících\ndat novými bez možnosti návratu!"),
                     MessageKind::Question, ButtonsYesNo) != ResultYes)
        return BackupOutcome::Stayed;
    QDir(request.dataDir).mkdir(QStringLiteral("Temp"));
    const QString restored = restoredImagePath(request.dataDir);
    QFile temporary(restored);
    if (!temporary.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        showMessage(Message::BackupNotWritten);
        return BackupOutcome::Stayed;
    }
    setBusy(callbacks, true);
    // The database stays open while the backup is read; it is never read as a backup itself,
    // since closing a second handle on it would drop the program's lock.
    if (sameFile(name, databasePath(request.dataDir))) {
        showMessage(Message::BackupNotFolivo);
        setBusy(callbacks, false);
        return BackupOutcome::Failed;
    }
    quint32 length = 0;
    const CopyResult read = ReadBackup(name, temporary, callbacks, &length);
    temporary.close();
    if (read != CopyResult::Done) {
        setBusy(callbacks, false);
        return read == CopyResult::Quit ? BackupOutcome::Quit : BackupOutcome::Failed;
    }
    QString why;
    if (!isSoundDatabaseImage(restored, length, &why)) {
        qWarning("backup import: %s", qUtf8Printable(why));
        showMessage(Message::BackupNotFolivo);
        setBusy(callbacks, false);
        return BackupOutcome::Failed;
    }
    setBusy(callbacks, false);
    return swapDatabase(request.dataDir);
}
