#include "data/libraryfiles.h"

#include "data/consistency.h"
#include "data/database.h"
#include "data/safefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace LibraryFiles {

namespace {

QString systemError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QByteArray native(const QString &path)
{
    return QFile::encodeName(path);
}

bool exists(const QString &path)
{
    struct stat st;
    return ::lstat(native(path).constData(), &st) == 0;
}

// Where the library really lies: the target of Folivo.db when it is a symbolic link (which stays a
// link to the same place after a restore), else Folivo.db itself.
QString realLibraryPath(const QString &dataDir)
{
    const QString live = libraryPath(dataDir);
    const QFileInfo info(live);
    if (!info.isSymLink())
        return live;
    const QString target = info.symLinkTarget();
    return target.isEmpty() ? live : target;
}

bool sameFileSystem(const QString &a, const QString &b)
{
    struct stat sa;
    struct stat sb;
    return ::stat(native(QFileInfo(a).absolutePath()).constData(), &sa) == 0 &&
           ::stat(native(QFileInfo(b).absolutePath()).constData(), &sb) == 0 && sa.st_dev == sb.st_dev;
}

// Copies source into target through a save file: the target appears whole, flushed to the disk,
// or not at all. mode, when not 0, becomes the copy's mode.
bool durableCopy(const QString &source, const QString &target, mode_t mode, QString *detail)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly)) {
        *detail = QStringLiteral("cannot read %1: %2").arg(source, in.errorString());
        return false;
    }
    QSaveFile out(target);
    if (!out.open(QIODevice::WriteOnly)) {
        *detail = QStringLiteral("cannot write %1: %2").arg(target, out.errorString());
        return false;
    }
    QByteArray buffer(1 << 20, Qt::Uninitialized);
    for (;;) {
        const qint64 got = in.read(buffer.data(), buffer.size());
        if (got < 0) {
            *detail = QStringLiteral("cannot read %1: %2").arg(source, in.errorString());
            out.cancelWriting();
            out.commit();
            return false;
        }
        if (got == 0)
            break;
        if (out.write(buffer.constData(), got) != got) {
            *detail = QStringLiteral("cannot write %1: %2").arg(target, out.errorString());
            out.cancelWriting();
            out.commit();
            return false;
        }
    }
    if (!out.flush() || (mode != 0 && ::fchmod(out.handle(), mode) != 0) ||
        !SafeFile::syncFile(out.handle())) {
        *detail = QStringLiteral("cannot write %1: %2").arg(target, systemError(errno));
        out.cancelWriting();
        out.commit();
        return false;
    }
    if (!out.commit()) {
        *detail = QStringLiteral("cannot write %1: %2").arg(target, out.errorString());
        return false;
    }
    SafeFile::syncDirectoryOf(target);
    return true;
}

// Makes target a second name of source (a hard link), or a flushed copy of it when the two lie
// on different file systems or the file system has no links. A target in the way is replaced.
bool keepAs(const QString &source, const QString &target, QString *detail)
{
    ::unlink(native(target).constData());
    if (::link(native(source).constData(), native(target).constData()) == 0) {
        SafeFile::syncDirectoryOf(target);
        return true;
    }
    return durableCopy(source, target, 0, detail);
}

// Puts a kept image back where the library belongs, which must be free: a link (never replacing
// anything), else a flushed copy; the kept image goes only once the library is in place.
bool putBack(const QString &image, const QString &live, QString *detail)
{
    if (::link(native(image).constData(), native(live).constData()) != 0) {
        if (errno == EEXIST) {
            *detail = QStringLiteral("%1 exists already").arg(live);
            return false;
        }
        if (!durableCopy(image, live, 0, detail))
            return false;
    }
    SafeFile::syncDirectoryOf(live);
    ::unlink(native(image).constData());
    SafeFile::syncDirectoryOf(image);
    return true;
}

bool hasDatabaseHeader(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) && f.read(16) == QByteArray("SQLite format 3\0", 16);
}

void removeJournals(const QString &database)
{
    for (const char *suffix : {"-journal", "-wal", "-shm"})
        ::unlink(native(database + QLatin1String(suffix)).constData());
}

} // namespace

QString libraryPath(const QString &dataDir)
{
    return QDir(dataDir).filePath(QString::fromLatin1(Database::FileName));
}

QString restoredImagePath(const QString &dataDir)
{
    return QDir(dataDir).filePath(QStringLiteral("Temp/Tmp_new.dat"));
}

QString previousImagePath(const QString &dataDir)
{
    return QDir(dataDir).filePath(QStringLiteral("Temp/Tmp_old.dat"));
}

QString copiedImagePath(const QString &dataDir)
{
    return QDir(dataDir).filePath(QStringLiteral("Temp/Tmp_copy.dat"));
}

QString snapshotImagePath(const QString &dataDir)
{
    return QDir(dataDir).filePath(QStringLiteral("Temp/Tmp_snap.dat"));
}

Recovery recoverInterruptedRestore(const QString &dataDir, QString *notice, QString *detail)
{
    const QString live = realLibraryPath(dataDir);
    if (exists(live))
        return Recovery::Nothing;
    const QString previous = previousImagePath(dataDir);
    const QString restored = restoredImagePath(dataDir);
    const bool previousExists = exists(previous);
    const bool restoredExists = exists(restored);
    if (!previousExists && !restoredExists)
        return Recovery::Nothing; // no library and nothing to put back: not a restore's doing

    // The library as it was comes first; the restored image only when it passes the whole check
    // (it is complete and verified only if the restore got as far as its swap).
    const bool previousSound =
        previousExists && hasDatabaseHeader(previous) && checkDatabaseFile(previous).structurallySound();
    QString why;
    if (previousSound && putBack(previous, live, &why)) {
        if (notice)
            *notice = QString::fromUtf8("Předchozí obnova dat ze zálohy nebyla dokončena.\n"
                                        "Data byla vrácena do původní podoby.");
        return Recovery::PutBackPrevious;
    }
    if (restoredExists && hasDatabaseHeader(restored)) {
        removeJournals(restored);
        if (checkDatabaseFile(restored).sound() && putBack(restored, live, &why)) {
            if (notice)
                *notice = QString::fromUtf8("Předchozí obnova dat ze zálohy nebyla dokončena.\n"
                                            "Data byla nyní obnovena z ověřené zálohy.");
            return Recovery::FinishedRestore;
        }
    }
    // A damaged old library is still better than none: the librarian can restore over it.
    if (previousExists && !previousSound && hasDatabaseHeader(previous) && putBack(previous, live, &why)) {
        if (notice)
            *notice = QString::fromUtf8("Předchozí obnova dat ze zálohy nebyla dokončena.\n"
                                        "Data byla vrácena do původní podoby.");
        return Recovery::PutBackPrevious;
    }
    if (detail)
        *detail = why.isEmpty() ? QStringLiteral("no sound library to put back in %1").arg(dataDir) : why;
    return Recovery::Failed;
}

void removeRestoreLeftovers(const QString &dataDir)
{
    const QDir temp(QDir(dataDir).filePath(QStringLiteral("Temp")));
    if (temp.exists()) {
        const QStringList names =
            temp.entryList({QStringLiteral("Tmp_new.dat*"), QStringLiteral("Tmp_old.dat*"),
                            QStringLiteral("Tmp_copy.dat*"), QStringLiteral("Tmp_snap.dat*")},
                           QDir::Files | QDir::Hidden | QDir::System);
        for (const QString &name : names)
            ::unlink(native(temp.filePath(name)).constData());
    }
    // Half-written copies of an image beside the library (a restore with Temp on another file
    // system that was cut off): the library's name and a save file's six-letter ending.
    const QString live = realLibraryPath(dataDir);
    const QFileInfo info(live);
    const QStringList copies = info.dir().entryList({info.fileName() + QStringLiteral(".??????")},
                                                    QDir::Files | QDir::Hidden | QDir::System);
    for (const QString &name : copies)
        ::unlink(native(info.dir().filePath(name)).constData());
}

bool replaceLibrary(const QString &dataDir, const QString &imagePath, QString *detail)
{
    QString ignored;
    if (!detail)
        detail = &ignored;
    const QString live = realLibraryPath(dataDir);
    struct stat st;
    const bool liveExists = ::stat(native(live).constData(), &st) == 0;
    const mode_t mode = liveExists ? (st.st_mode & 07777) : mode_t(0644);

    // 1. Keep the library as it is.
    if (liveExists && !keepAs(live, previousImagePath(dataDir), detail))
        return false;
    // 2. A journal beside the old file belongs to it alone.
    removeJournals(live);
    // 3. One rename puts the image in place; across file systems a copy beside the library does.
    if (sameFileSystem(imagePath, live)) {
        if (::chmod(native(imagePath).constData(), mode) != 0 ||
            ::rename(native(imagePath).constData(), native(live).constData()) != 0) {
            *detail = QStringLiteral("cannot replace %1: %2").arg(live, systemError(errno));
            return false;
        }
    } else {
        if (!durableCopy(imagePath, live, mode, detail))
            return false;
        ::unlink(native(imagePath).constData());
    }
    // The image is the library now, whatever the flush of the directory answers.
    SafeFile::syncDirectoryOf(live);
    return true;
}

} // namespace LibraryFiles
