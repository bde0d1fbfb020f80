#include "backup/backupjobs.h"

#include "app/messages.h"
#include "data/database.h"
#include "data/libraryfiles.h"
#include "data/librarylock.h"
#include "data/librarytransfer.h"
#include "data/liveimage.h"
#include "data/safefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <sys/stat.h>

namespace {

// True when both names lead to one file (also through links).
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

void setBusy(const BackupCallbacks &callbacks, bool busy)
{
    if (callbacks.setBusy)
        callbacks.setBusy(busy);
}

bool onServer()
{
    return Database::isOpen() && Database::engine() == Database::Engine::PostgreSQL;
}

// Where the library of the job is: its server, or the file of the data directory.
QString libraryLocation(const QString &dataDir)
{
    return onServer() ? Database::serverAddress() : LibraryFiles::libraryPath(dataDir);
}

bool reopen(const QString &dataDir, const QString &location)
{
    QString detail;
    if (Database::open(location, &detail, dataDir) == Database::OpenResult::Ok)
        return true;
    qWarning("backup: the library cannot be opened: %s", qUtf8Printable(detail));
    return false;
}

// Steps after every export: the result, the progress back at 0, the buttons enabled. The library
// stayed open (and locked) through the copy; should it have gone meanwhile, it is opened again.
BackupOutcome finishExport(CopyResult result, const QString &dataDir, const QString &location,
                           const BackupCallbacks &callbacks)
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
    if (!Database::isOpen() && !reopen(dataDir, location)) {
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

// Opens the writer of a backup file; false (after message 99) when the file cannot be made there
// or the name is one of the program's own files.
bool openBackupFile(SafeFile::Writer &writer)
{
    const SafeFile::Result r = writer.open();
    if (r.ok())
        return true;
    qWarning("backup: %s", qUtf8Printable(r.describe()));
    showMessage(Message::BackupNotOpened);
    return false;
}

// A server library's backup is taken from a library file made from one snapshot of its tables
// (other desks may go on working meanwhile): the same backup file a library file gives.
CopyResult copyServerLibrary(const ExportRequest &request, SafeFile::Writer &target,
                             const BackupCallbacks &callbacks)
{
    QDir(request.dataDir).mkdir(QStringLiteral("Temp"));
    const QString snapshot = LibraryFiles::snapshotImagePath(request.dataDir);
    QFile::remove(snapshot); // what an export cut off earlier left
    QString error;
    if (!LibraryTransfer::writeImage(Database::connection(), snapshot, &error)) {
        qWarning("backup: the server's tables cannot be read: %s", qUtf8Printable(error));
        showMessage(Message::FatalError);
        target.cancel();
        return CopyResult::Failed;
    }
    QFile image(snapshot);
    CopyResult result = CopyResult::Failed;
    if (!image.open(QIODevice::ReadOnly)) {
        qWarning("backup: %s: %s", qUtf8Printable(snapshot), qUtf8Printable(image.errorString()));
        showMessage(Message::FatalError);
        target.cancel();
    } else {
        result = request.toFloppies
                     ? exportToFloppies(image, request.floppyDir, target, request.stamp, callbacks)
                     : exportToFile(image, target, request.stamp, callbacks);
        image.close();
    }
    QFile::remove(snapshot);
    return result;
}

// The copy itself, from the open library through its own file handle.
CopyResult copyLibrary(const ExportRequest &request, SafeFile::Writer &target,
                       const BackupCallbacks &callbacks)
{
    if (onServer())
        return copyServerLibrary(request, target, callbacks);
    LiveImage image;
    if (!image.open(QIODevice::ReadOnly)) {
        qWarning("backup: %s", qUtf8Printable(image.errorString()));
        showMessage(Message::FatalError);
        target.cancel();
        return CopyResult::Failed;
    }
    return request.toFloppies ? exportToFloppies(image, request.floppyDir, target, request.stamp, callbacks)
                              : exportToFile(image, target, request.stamp, callbacks);
}

// Drops the restored image of a read that failed or was refused: nothing of it is left behind.
void discard(QSaveFile &image)
{
    image.cancelWriting();
    image.commit();
}

// The end of every restore: the library opened again (which runs the start-up check on the new
// data) and the librarian told.
BackupOutcome reopenRestored(const QString &dataDir, const QString &location)
{
    if (!reopen(dataDir, location)) {
        showMessage(Message::FatalError);
        return BackupOutcome::Fatal;
    }
    RvMessageBox(QString(), QString::fromUtf8("Data byly úspěšně obnoveny ze zálohy!"),
                 MessageKind::Information, ButtonsOk);
    return BackupOutcome::Succeeded;
}

// Puts the rows of the verified image in place of the server library's, in one transaction, while
// no other desk is connected (message 2 otherwise, and nothing changes). The desk then connects
// again, so that nothing read before the restore is kept.
BackupOutcome replaceServerTables(const QString &dataDir, const QString &location, const QString &image)
{
    if (!Database::tryServerExclusive()) {
        qWarning("backup import: other desks are connected to %s", qUtf8Printable(location));
        QFile::remove(image);
        showMessage(Message::FatalError);
        return BackupOutcome::InUse;
    }
    const QString name = QStringLiteral("folivo-restore");
    QString error;
    bool replaced = false;
    {
        QSqlDatabase source = LibraryTransfer::openFile(image, name, false, &error);
        if (source.isOpen()) {
            try {
                LibraryTransfer::copyTables(source, Database::connection(), [&] {
                    QString difference;
                    if (!LibraryTransfer::sameRows(source, Database::connection(), &difference))
                        throw DbError(difference);
                });
                replaced = true;
            } catch (const DbError &e) {
                error = e.text();
            }
            source.close();
        }
    }
    QSqlDatabase::removeDatabase(name);
    QFile::remove(image);
    Database::releaseServerExclusive();
    if (!replaced) {
        qWarning("backup import: %s", qUtf8Printable(error));
        showMessage(Message::BackupNotReplaced);
        return BackupOutcome::Failed;
    }
    Database::close();
    return reopenRestored(dataDir, location);
}

// Puts the verified image in place of the library. The directory stays locked throughout, so no
// other copy of the program can open the library between the close and the reopen.
BackupOutcome swapDatabase(const QString &dataDir, const QString &image)
{
    const QString location = libraryLocation(dataDir);
    if (onServer())
        return replaceServerTables(dataDir, location, image);
    Database::close();
    QString detail;
    if (!LibraryFiles::replaceLibrary(dataDir, image, &detail)) {
        qWarning("backup import: %s", qUtf8Printable(detail));
        QFile::remove(image);
        showMessage(Message::BackupNotReplaced);
        if (reopen(dataDir, location))
            return BackupOutcome::Failed;
        showMessage(Message::FatalError);
        return BackupOutcome::Fatal;
    }
    // The reopen also clears Temp/.
    return reopenRestored(dataDir, location);
}

} // namespace

BackupOutcome runExport(const ExportRequest &request, const BackupCallbacks &callbacks)
{
    // The library stays open for the whole copy: the lock on it never lapses, so no other copy
    // of the program can start on it (or write to it) while its image is taken.
    LibraryLockHold hold(request.dataDir);
    const QString location = libraryLocation(request.dataDir);
    if (request.toFloppies) {
        SafeFile::Writer first(floppyVolumePath(request.floppyDir, 1), SafeFile::Durability::Durable);
        if (!openBackupFile(first))
            return BackupOutcome::Stayed;
        setBusy(callbacks, true);
        return finishExport(copyLibrary(request, first, callbacks), request.dataDir, location, callbacks);
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
    // The backup is written beside its name and put in place only when it is complete: the
    // backup that had the name before stays whole until then.
    SafeFile::Writer backup(name, SafeFile::Durability::Durable,
                            {LibraryFiles::libraryPath(request.dataDir)});
    if (!openBackupFile(backup))
        return BackupOutcome::Stayed;
    setBusy(callbacks, true);
    return finishExport(copyLibrary(request, backup, callbacks), request.dataDir, location, callbacks);
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
    LibraryLockHold hold(request.dataDir);
    if (!hold.locked()) {
        qWarning("backup import: %s", qUtf8Printable(hold.error()));
        showMessage(Message::FatalError);
        return BackupOutcome::Stayed;
    }
    QDir(request.dataDir).mkdir(QStringLiteral("Temp"));
    const QString restored = LibraryFiles::restoredImagePath(request.dataDir);
    // The image is read into a save file beside Temp/Tmp_new.dat, which takes its name only once
    // the whole backup was read: a file left there by an earlier attempt is never in the way.
    QSaveFile temporary(restored);
    if (!temporary.open(QIODevice::WriteOnly)) {
        qWarning("backup import: cannot write %s: %s", qUtf8Printable(restored),
                 qUtf8Printable(temporary.errorString()));
        showMessage(Message::BackupNotWritten);
        return BackupOutcome::Stayed;
    }
    setBusy(callbacks, true);
    // The library and the images of a restore are never read as a backup: they are not one, and
    // a second handle on the open library would drop the program's lock when closed.
    const QString live = LibraryFiles::libraryPath(request.dataDir);
    if (sameFile(name, live) || sameFile(name, restored) ||
        sameFile(name, LibraryFiles::previousImagePath(request.dataDir))) {
        discard(temporary);
        showMessage(Message::BackupNotFolivo);
        setBusy(callbacks, false);
        return BackupOutcome::Failed;
    }
    quint32 length = 0;
    const CopyResult read = ReadBackup(name, temporary, callbacks, &length);
    if (read == CopyResult::Done && (!SafeFile::syncFile(temporary.handle()) || !temporary.commit())) {
        qWarning("backup import: cannot write %s: %s", qUtf8Printable(restored),
                 qUtf8Printable(temporary.errorString()));
        showMessage(Message::BackupNotWritten);
        setBusy(callbacks, false);
        return BackupOutcome::Failed;
    }
    if (read != CopyResult::Done) {
        discard(temporary);
        setBusy(callbacks, false);
        return read == CopyResult::Quit ? BackupOutcome::Quit : BackupOutcome::Failed;
    }
    QString why;
    if (!isSoundDatabaseImage(restored, length, &why, request.acceptRecordFindings)) {
        qWarning("backup import: %s", qUtf8Printable(why));
        QFile::remove(restored);
        showMessage(Message::BackupNotFolivo);
        setBusy(callbacks, false);
        return BackupOutcome::Failed;
    }
    setBusy(callbacks, false);
    return swapDatabase(request.dataDir, restored);
}
