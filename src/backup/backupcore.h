#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <functional>

namespace SafeFile {
class Writer;
}

class QFileDevice;
class QIODevice;

// The backup file: a raw copy of the database file framed by a 24-byte header and end marks.
// Every integer is 32-bit unsigned, little-endian. A disk backup is one volume; a floppy backup
// is a numbered series of volumes, each with the header repeated.
namespace Backup {
inline constexpr quint32 FormatMark = 0x00110011u;
inline constexpr quint32 EndMark = 0x11001100u;
inline constexpr int HeaderSize = 24;
inline constexpr int EndMarkSize = 4;
inline constexpr qint64 BlockSize = 64000;
inline constexpr int BlocksPerVolume = 22;
inline constexpr qint64 VolumeDataSize = BlockSize * BlocksPerVolume; // 1,408,000 bytes a diskette
// The count of diskettes is computed with a smaller capacity than a volume holds, so a database
// just over a multiple of it gets a last volume with little or no data.
inline constexpr qint64 CountUnit = 1400000;

inline constexpr const char *DiskFileName = "zaloha.fzl";
} // namespace Backup

struct BackupHeader
{
    quint32 dataLength = 0;  // the whole database file
    quint32 volumeCount = 1; // 1 for a disk backup
    quint32 volumeIndex = 0; // 0 for the first volume
    quint32 date = 0;        // the backup date as a date number
    quint32 formatMark = Backup::FormatMark;
    quint32 tag = 0; // tells the volumes of one backup from those of another

    QByteArray toBytes() const;
    // Needs exactly HeaderSize bytes.
    static BackupHeader fromBytes(const QByteArray &bytes);
};

// The date and tag a backup is stamped with; taken once when the export starts.
struct BackupStamp
{
    quint32 date = 0;
    quint32 tag = 0;
    static BackupStamp at(const QDateTime &localStart); // the date comes from today()
};

// Day of month x hour x minute x second, an unsigned 32-bit product.
quint32 backupTag(const QDateTime &localTime);
// Diskettes needed for a database of this length: length / CountUnit + 1.
quint32 floppyVolumeCount(quint64 dataLength);
// Data carried by volume k (1-based) of a series: what the export writes there.
qint64 volumeDataLength(quint64 dataLength, int volume);
// The file of volume k on the floppy drive: zaloha.fzl, then zaloha.000, zaloha.001, ...
QString floppyVolumePath(const QString &floppyDir, int volume);
// The name of volume k (k >= 2) when the first was read from firstName: its last three
// characters replaced by k - 2 as three digits.
QString nextVolumeName(const QString &firstName, int volume);

// The export's progress text ("%d %% hotovo") and the import's ("%d%% hotovo").
QString exportProgressText(int percent);
QString importProgressText(int percent);
int exportPercent(qint64 copied, qint64 dataLength);
int importPercent(qint64 remaining, qint64 dataLength);

// What a long copy needs from whoever runs it. The core shows its messages through RvMessageBox;
// these hooks carry the rest, so a dialog, the command-line tool and tests can each drive it.
struct BackupCallbacks
{
    // The percentage after a block and its text; a null text leaves the text as it is.
    std::function<void(int percent, const QString &text)> progress;
    // Runs between blocks: processes pending events; false when the program is told to quit.
    std::function<bool()> keepRunning;
    // The three buttons are disabled (and the wait cursor shown) while true.
    std::function<void(bool busy)> setBusy;
    // Import: asks for volume k of a series; true when confirmed. Unset: the "Výzva" prompt.
    std::function<bool(int volume)> askForVolume;
};

enum class CopyResult
{
    Done,
    Failed,
    Quit
};

// Writes one volume into the open file: the header, up to maxData bytes of the source read
// from its current position in blocks of 64000 (stopping early when the data length is reached),
// and one end mark. *copied runs over the whole backup. Shows message 101 when writing fails
// and message 2 when the source cannot be read.
CopyResult WriteBackupVolume(QFileDevice &volume, QIODevice &source, const BackupHeader &header,
                             qint64 maxData, qint64 *copied, const BackupCallbacks &callbacks);

// The disk export of the database image (read from its start; the live library through a
// LiveImage) into the opened writer: one volume with the whole image and two end marks. The
// writer is committed when the backup is complete and cancelled otherwise, so a failed or
// stopped export leaves the file that had the name before as it was.
CopyResult exportToFile(QIODevice &database, SafeFile::Writer &backup, const BackupStamp &stamp,
                        const BackupCallbacks &callbacks);
// The floppy export: firstVolume (opened) is zaloha.fzl in floppyDir; the others are written
// there as the user inserts the diskettes. Each volume is committed when it is complete.
CopyResult exportToFloppies(QIODevice &database, const QString &floppyDir, SafeFile::Writer &firstVolume,
                            const BackupStamp &stamp, const BackupCallbacks &callbacks);

// Reads the backup whose first volume is sourceName into the open temporary file, checking the
// framing of every volume; shows 99, 101, 102 or the abort notice and fails when it must. The
// temporary file is flushed on success; the caller commits or discards it. *dataLength receives
// the header's length.
CopyResult ReadBackup(const QString &sourceName, QFileDevice &temporary, const BackupCallbacks &callbacks,
                      quint32 *dataLength = nullptr);

// True when the restored image at path is a sound library database: exactly dataLength bytes,
// a database header, and the whole library check (integrity, schema, records) passed; with
// acceptRecordFindings an image that fails only the record rules is accepted too. Opened through
// its own read-only connection; the open library database is not touched.
bool isSoundDatabaseImage(const QString &path, qint64 dataLength, QString *detail = nullptr,
                          bool acceptRecordFindings = false);
