#pragma once

#include <QByteArray>
#include <QSaveFile>
#include <QString>
#include <QStringList>

#include <memory>

// Every file the program produces (backup volumes, HTML pages, PDF protocols and reports, the
// settings record, the restored library) is written to a temporary file beside its target and
// renamed over it only when it is complete, so a full disk, a kill or a power cut leaves the
// previous file whole. No output may land on one of the program's own files.
namespace SafeFile {

enum class Status
{
    Ok,
    Protected,   // the target is one of the program's own files
    OpenFailed,  // the temporary file beside the target could not be made
    WriteFailed, // writing or flushing failed (a full disk, a vanished directory)
    CommitFailed // the rename over the target failed
};

struct Result
{
    Status status = Status::Ok;
    QString path;  // the target
    QString error; // the system's reason, for the log and the command line
    bool ok() const { return status == Status::Ok; }
    // "cannot write FILE: REASON", for stderr and the log.
    QString describe() const;
};

// How hard a finished write is pushed to the disk: every write is flushed and renamed; a durable
// one is also fsync'ed, and so is its directory after the rename (backups, the restored library).
enum class Durability
{
    Normal,
    Durable
};

// The data directory whose files are the program's own: the current directory until a library
// is opened (opening one sets its directory).
void setDataDirectory(const QString &dir);
QString dataDirectory();

// True when target is one of the program's own files in the data directory: Folivo.db and its journal,
// Folivo.ini, rvmsgbit.dat, anything under Temp/, or one of alsoProtected (the backup being read). Compared
// by device and inode where the file exists, so symbolic and hard links count, and by canonical path
// otherwise.
bool isProtectedTarget(const QString &target, const QStringList &alsoProtected = {});

// Writes bytes as the whole new content of target.
Result writeAll(const QString &target, const QByteArray &bytes, Durability durability = Durability::Normal,
                const QStringList &alsoProtected = {});

// Flushes the directory entry of path's directory to the disk (after a rename). False on failure.
bool syncDirectoryOf(const QString &path);
// fsync of an open file's descriptor. False on failure.
bool syncFile(int fd);

// A streamed write: open() refuses a protected target and makes the temporary file; device() is
// written to by the caller (a QPdfWriter, a backup copy); commit() flushes, syncs when durable and
// renames; a writer destroyed uncommitted removes its temporary file and leaves the target as it was.
class Writer final
{
public:
    explicit Writer(const QString &target, Durability durability = Durability::Normal,
                    const QStringList &alsoProtected = {});
    ~Writer();

    Result open();
    QSaveFile *device() { return &m_file; }
    Result commit();
    void cancel();

private:
    Q_DISABLE_COPY_MOVE(Writer)
    Result fail(Status status, const QString &why);
    QString m_target;
    Durability m_durability;
    QStringList m_alsoProtected;
    QSaveFile m_file;
    bool m_open = false;
};

} // namespace SafeFile
