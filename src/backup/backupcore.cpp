#include "backup/backupcore.h"

#include "data/consistency.h"

#include "app/messages.h"
#include "data/dates.h"
#include "data/safefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QStringList>
#include <QtEndian>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <unistd.h>

namespace {

void putWord(char *at, quint32 value)
{
    qToLittleEndian(value, at);
}

quint32 wordAt(const char *at)
{
    return qFromLittleEndian<quint32>(at);
}

// Reads until n bytes arrived or the source ends; -1 on a read error. A pipe or a slow drive
// may hand the bytes over in smaller pieces than asked for.
qint64 readFully(QIODevice &source, char *into, qint64 n)
{
    qint64 total = 0;
    while (total < n) {
        const qint64 got = source.read(into + total, n - total);
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        total += got;
    }
    return total;
}

bool writeAll(QFileDevice &file, const char *data, qint64 n)
{
    return file.write(data, n) == n;
}

bool writeEndMark(QFileDevice &file)
{
    char mark[Backup::EndMarkSize];
    putWord(mark, Backup::EndMark);
    return writeAll(file, mark, Backup::EndMarkSize) && file.flush();
}

bool readHeader(QIODevice &source, BackupHeader *header)
{
    QByteArray bytes(Backup::HeaderSize, Qt::Uninitialized);
    if (readFully(source, bytes.data(), Backup::HeaderSize) != Backup::HeaderSize)
        return false;
    *header = BackupHeader::fromBytes(bytes);
    return true;
}

bool endMarkFollows(QIODevice &source)
{
    char mark[Backup::EndMarkSize];
    return readFully(source, mark, Backup::EndMarkSize) == Backup::EndMarkSize &&
           wordAt(mark) == Backup::EndMark;
}

QString fromUtf8(const char *text)
{
    return QString::fromUtf8(text);
}

enum class VolumeRead
{
    Done,
    Short,
    WriteFailed,
    Quit
};

// Appends amount bytes of one volume to the temporary file. before: bytes of the whole backup
// that precede this volume, for the progress.
VolumeRead copyVolumeData(QIODevice &volume, QFileDevice &temporary, qint64 amount, qint64 before,
                          qint64 length, const BackupCallbacks &callbacks)
{
    QByteArray block(Backup::BlockSize, Qt::Uninitialized);
    qint64 copied = 0;
    while (copied < amount) {
        const qint64 want = std::min(Backup::BlockSize, amount - copied);
        const qint64 got = readFully(volume, block.data(), want);
        if (got > 0 && !(writeAll(temporary, block.constData(), got) && temporary.flush()))
            return VolumeRead::WriteFailed;
        if (got != want)
            return VolumeRead::Short;
        copied += got;
        const qint64 remaining = std::max<qint64>(0, length - before - copied);
        const int percent = importPercent(remaining, length);
        if (callbacks.progress)
            callbacks.progress(percent, importProgressText(percent));
        if (callbacks.keepRunning && !callbacks.keepRunning())
            return VolumeRead::Quit;
    }
    return VolumeRead::Done;
}

bool confirmVolume(int volume, const BackupCallbacks &callbacks)
{
    if (callbacks.askForVolume)
        return callbacks.askForVolume(volume);
    const QString text = QString::asprintf("Vložte prosím další disketu (s pořadovým číslem %d)", volume);
    return RvMessageBox(QStringLiteral("Výzva"), text, MessageKind::Information, ButtonsConfirm) ==
           ResultConfirmed;
}

// The user declined the prompt: true when the restore is to be abandoned.
bool userAbandonsRestore()
{
    if (RvMessageBox(QString(), fromUtf8("Chcete skutečně ukončit obnovu dat ze zálohy?"),
                     MessageKind::Question, ButtonsYesNo) != ResultYes)
        return false;
    RvMessageBox(
        QString(),
        fromUtf8("Obnova dat ze zálohy byla přerušena uživatelem, data\nbyly ponechány v původní podobě!"),
        MessageKind::Information, ButtonsOk);
    return true;
}

} // namespace

QByteArray BackupHeader::toBytes() const
{
    QByteArray bytes(Backup::HeaderSize, Qt::Uninitialized);
    char *p = bytes.data();
    putWord(p, dataLength);
    putWord(p + 4, volumeCount);
    putWord(p + 8, volumeIndex);
    putWord(p + 12, date);
    putWord(p + 16, formatMark);
    putWord(p + 20, tag);
    return bytes;
}

BackupHeader BackupHeader::fromBytes(const QByteArray &bytes)
{
    BackupHeader h;
    if (bytes.size() < Backup::HeaderSize)
        return h;
    const char *p = bytes.constData();
    h.dataLength = wordAt(p);
    h.volumeCount = wordAt(p + 4);
    h.volumeIndex = wordAt(p + 8);
    h.date = wordAt(p + 12);
    h.formatMark = wordAt(p + 16);
    h.tag = wordAt(p + 20);
    return h;
}

BackupStamp BackupStamp::at(const QDateTime &localStart)
{
    BackupStamp s;
    s.date = quint32(dateNumberFromDate(today()));
    s.tag = backupTag(localStart);
    return s;
}

quint32 backupTag(const QDateTime &localTime)
{
    const QTime t = localTime.time();
    return quint32(localTime.date().day()) * quint32(t.hour()) * quint32(t.minute()) * quint32(t.second());
}

quint32 floppyVolumeCount(quint64 dataLength)
{
    return quint32(dataLength / Backup::CountUnit + 1);
}

qint64 volumeDataLength(quint64 dataLength, int volume)
{
    const qint64 before = qint64(volume - 1) * Backup::VolumeDataSize;
    return std::clamp<qint64>(qint64(dataLength) - before, 0, Backup::VolumeDataSize);
}

QString floppyVolumePath(const QString &floppyDir, int volume)
{
    const QString name = volume <= 1 ? QString::fromLatin1(Backup::DiskFileName)
                                     : QString::asprintf("zaloha.%03d", volume - 2);
    return QDir(floppyDir).filePath(name);
}

QString nextVolumeName(const QString &firstName, int volume)
{
    return firstName.chopped(std::min<qsizetype>(3, firstName.size())) +
           QString::asprintf("%03d", volume - 2);
}

QString exportProgressText(int percent)
{
    return QString::asprintf("%d %% hotovo", percent);
}

QString importProgressText(int percent)
{
    return QString::asprintf("%d%% hotovo", percent);
}

int exportPercent(qint64 copied, qint64 dataLength)
{
    // The step is the rounded-down hundredth of the length, so the figure may pass 100 a little
    // at the end. Below 100 bytes there is no such step: count from the length itself.
    if (dataLength >= 100)
        return int(copied / (dataLength / 100));
    return dataLength > 0 ? int(copied * 100 / dataLength) : 100;
}

int importPercent(qint64 remaining, qint64 dataLength)
{
    if (dataLength <= 0)
        return 100;
    return int((dataLength * 100 - remaining * 100) / dataLength);
}

CopyResult WriteBackupVolume(QFileDevice &volume, QIODevice &source, const BackupHeader &header,
                             qint64 maxData, qint64 *copied, const BackupCallbacks &callbacks)
{
    const QByteArray head = header.toBytes();
    if (!writeAll(volume, head.constData(), head.size())) {
        showMessage(Message::BackupNotWritten);
        return CopyResult::Failed;
    }
    const qint64 length = header.dataLength;
    QByteArray block(Backup::BlockSize, Qt::Uninitialized);
    qint64 inVolume = 0;
    while (*copied < length && inVolume < maxData) {
        const qint64 want = std::min({Backup::BlockSize, length - *copied, maxData - inVolume});
        if (readFully(source, block.data(), want) != want) {
            showMessage(Message::FatalError);
            return CopyResult::Failed;
        }
        if (!writeAll(volume, block.constData(), want) || !volume.flush()) {
            showMessage(Message::BackupNotWritten);
            return CopyResult::Failed;
        }
        *copied += want;
        inVolume += want;
        const int percent = exportPercent(*copied, length);
        if (callbacks.progress)
            callbacks.progress(percent, exportProgressText(percent));
        if (callbacks.keepRunning && !callbacks.keepRunning())
            return CopyResult::Quit;
    }
    if (!writeEndMark(volume)) {
        showMessage(Message::BackupNotWritten);
        return CopyResult::Failed;
    }
    return CopyResult::Done;
}

namespace {

// The header of a backup of the whole source, stamped when the export started; false (after
// message 2) when the source is larger than the format can describe.
bool headerFor(QIODevice &database, const BackupStamp &stamp, quint32 volumeCount, BackupHeader *header)
{
    if (!database.isOpen() || database.size() > qint64(0xFFFFFFFFu) || !database.seek(0)) {
        showMessage(Message::FatalError);
        return false;
    }
    header->dataLength = quint32(database.size());
    header->volumeCount = volumeCount;
    header->volumeIndex = 0;
    header->date = stamp.date;
    header->tag = stamp.tag;
    return true;
}

// Closes a finished volume: flushed, pushed to the disk and renamed over its name. A failure to
// write the last bytes is message 101, a failure to put the file in place message 100.
CopyResult commitVolume(SafeFile::Writer &volume)
{
    const SafeFile::Result r = volume.commit();
    if (r.ok())
        return CopyResult::Done;
    qWarning("backup: %s", qUtf8Printable(r.describe()));
    showMessage(r.status == SafeFile::Status::CommitFailed ? 100 : 101);
    return CopyResult::Failed;
}

} // namespace

CopyResult exportToFile(QIODevice &database, SafeFile::Writer &backup, const BackupStamp &stamp,
                        const BackupCallbacks &callbacks)
{
    BackupHeader header;
    if (!headerFor(database, stamp, 1, &header)) {
        backup.cancel();
        return CopyResult::Failed;
    }
    qint64 copied = 0;
    CopyResult result =
        WriteBackupVolume(*backup.device(), database, header, qint64(header.dataLength), &copied, callbacks);
    if (result == CopyResult::Done && !writeEndMark(*backup.device())) {
        showMessage(Message::BackupNotWritten);
        result = CopyResult::Failed;
    }
    if (result == CopyResult::Done)
        return commitVolume(backup);
    // A backup that was not finished is no backup: the one the name held before stays.
    backup.cancel();
    return result;
}

CopyResult exportToFloppies(QIODevice &database, const QString &floppyDir, SafeFile::Writer &firstVolume,
                            const BackupStamp &stamp, const BackupCallbacks &callbacks)
{
    BackupHeader header;
    if (!headerFor(database, stamp, 0, &header)) {
        firstVolume.cancel();
        return CopyResult::Failed;
    }
    header.volumeCount = floppyVolumeCount(header.dataLength);
    RvMessageBox(QString(),
                 QString::asprintf("Počet disket, potřebných pro zálohu: %d\n\nDiskety musí být prázdné!",
                                   int(header.volumeCount)),
                 MessageKind::Information, ButtonsOk);

    qint64 copied = 0;
    SafeFile::Writer *current = &firstVolume;
    std::unique_ptr<SafeFile::Writer> next;
    CopyResult result =
        WriteBackupVolume(*current->device(), database, header, Backup::VolumeDataSize, &copied, callbacks);
    for (quint32 k = 2; result == CopyResult::Done && k <= header.volumeCount; ++k) {
        result = commitVolume(*current);
        if (result != CopyResult::Done)
            break;
        RvMessageBox(
            QStringLiteral("Výzva"),
            QString::asprintf("Vložte prosím další prázdnou disketu (s pořadovým číslem %d).", int(k)),
            MessageKind::Information, ButtonsOk);
        auto volume = std::make_unique<SafeFile::Writer>(floppyVolumePath(floppyDir, int(k)),
                                                         SafeFile::Durability::Durable);
        if (const SafeFile::Result opened = volume->open(); !opened.ok()) {
            qWarning("backup: %s", qUtf8Printable(opened.describe()));
            showMessage(Message::BackupNotOpened);
            result = CopyResult::Failed;
            break;
        }
        next = std::move(volume);
        current = next.get();
        header.volumeIndex = k - 1;
        result = WriteBackupVolume(*current->device(), database, header, Backup::VolumeDataSize, &copied,
                                   callbacks);
    }
    if (result == CopyResult::Done && !writeEndMark(*current->device())) {
        showMessage(Message::BackupNotWritten);
        result = CopyResult::Failed;
    }
    if (result == CopyResult::Done)
        return commitVolume(*current);
    current->cancel();
    firstVolume.cancel();
    return result;
}

CopyResult ReadBackup(const QString &sourceName, QFileDevice &temporary, const BackupCallbacks &callbacks,
                      quint32 *dataLength)
{
    QFile first(sourceName);
    if (!first.open(QIODevice::ReadOnly)) {
        showMessage(Message::BackupNotOpened);
        return CopyResult::Failed;
    }
    BackupHeader header;
    if (!readHeader(first, &header) || header.volumeIndex != 0 || header.formatMark != Backup::FormatMark) {
        showMessage(Message::BackupNotFolivo);
        return CopyResult::Failed;
    }
    const qint64 length = header.dataLength;
    const quint32 count = header.volumeCount;
    const quint32 tag = header.tag;
    if (dataLength)
        *dataLength = header.dataLength;

    // A single volume carries everything; a series carries 22 blocks a volume, the last the rest.
    const qint64 firstAmount = count == 1 ? length : volumeDataLength(header.dataLength, 1);
    switch (copyVolumeData(first, temporary, firstAmount, 0, length, callbacks)) {
    case VolumeRead::Done:
        break;
    case VolumeRead::Short:
        showMessage(Message::BackupNotFolivo);
        return CopyResult::Failed;
    case VolumeRead::WriteFailed:
        showMessage(Message::BackupNotWritten);
        return CopyResult::Failed;
    case VolumeRead::Quit:
        return CopyResult::Quit;
    }
    // The second end mark of a last volume is never read.
    if (!endMarkFollows(first)) {
        showMessage(Message::BackupNotFolivo);
        return CopyResult::Failed;
    }
    first.close();

    for (quint32 k = 2; k <= count; ++k) {
        const QString name = nextVolumeName(sourceName, int(k));
        const qint64 amount = volumeDataLength(header.dataLength, int(k));
        const qint64 before = std::min(length, qint64(k - 1) * Backup::VolumeDataSize);
        for (;;) {
            if (!confirmVolume(int(k), callbacks)) {
                if (userAbandonsRestore())
                    return CopyResult::Failed;
                continue;
            }
            QFile volume(name);
            if (!volume.open(QIODevice::ReadOnly)) {
                showMessage(Message::BackupNotOpened);
                continue;
            }
            BackupHeader next;
            if (!readHeader(volume, &next) || next.volumeIndex != k - 1 || next.tag != tag) {
                showMessage(Message::BackupNotFolivo);
                continue;
            }
            // A volume that breaks off or ends wrongly is asked for again; what it already gave
            // stays in the temporary file, which is not rewound.
            const VolumeRead read = copyVolumeData(volume, temporary, amount, before, length, callbacks);
            if (read == VolumeRead::WriteFailed) {
                showMessage(Message::BackupNotWritten);
                return CopyResult::Failed;
            }
            if (read == VolumeRead::Quit)
                return CopyResult::Quit;
            if (read == VolumeRead::Short || !endMarkFollows(volume)) {
                showMessage(Message::BackupNotFolivo);
                continue;
            }
            break;
        }
    }
    if (!temporary.flush()) {
        showMessage(Message::BackupNotWritten);
        return CopyResult::Failed;
    }
    return CopyResult::Done;
}

bool isSoundDatabaseImage(const QString &path, qint64 dataLength, QString *detail, bool acceptRecordFindings)
{
    auto refuse = [detail](const QString &why) {
        if (detail)
            *detail = why;
        return false;
    };
    const QFileInfo info(path);
    if (!info.isFile() || info.size() != dataLength)
        return refuse(
            QStringLiteral("the restored image has %1 bytes instead of %2").arg(info.size()).arg(dataLength));
    {
        QFile f(path);
        if (!f.open(QIODevice::ReadOnly) || f.read(16) != QByteArray("SQLite format 3\0", 16))
            return refuse(QStringLiteral("the restored image is not a database"));
    }
    // Journal files left beside the image by an earlier attempt belong to another image; SQLite
    // would play them back into this one.
    for (const char *suffix : {"-journal", "-wal", "-shm"})
        QFile::remove(path + QLatin1String(suffix));

    // The image must pass everything a library is checked for: SQLite's integrity check, the
    // shipped schema and no triggers, views or extra tables, and every rule between the rows.
    const LibraryCheck check = checkDatabaseFile(path);
    if (check.sound() || (acceptRecordFindings && check.structurallySound()))
        return true;
    return refuse(QStringLiteral("the restored image fails the library check: %1")
                      .arg(check.all().join(QLatin1String("; "))));
}
