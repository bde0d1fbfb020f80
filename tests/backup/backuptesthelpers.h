#pragma once

#include "backup/backupcore.h"
#include "data/database.h"
#include "data/safefile.h"
#include "support/testsupport.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <csignal>
#include <sys/resource.h>

// Small helpers shared by the backup tests.
namespace BackupTest {

// Bytes that differ from block to block, so a misplaced block shows.
inline QByteArray pattern(qint64 n, quint32 seed = 1)
{
    QByteArray out(n, Qt::Uninitialized);
    quint32 x = seed * 2654435761u + 12345u;
    for (qint64 i = 0; i < n; ++i) {
        x = x * 1103515245u + 12345u;
        out[i] = char(x >> 16);
    }
    return out;
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    return writeBytes(path, bytes);
}

inline QByteArray readFile(const QString &path)
{
    return fileBytes(path);
}

// A disk backup of an arbitrary image, framed as the export frames it.
inline QByteArray framedBackup(const QByteArray &image, quint32 tag = 5)
{
    BackupHeader h;
    h.dataLength = quint32(image.size());
    h.tag = tag;
    return h.toBytes() + image + QByteArray::fromHex("0011001100110011");
}

inline quint32 wordAt(const QByteArray &bytes, qint64 offset)
{
    return quint32(quint8(bytes[offset])) | quint32(quint8(bytes[offset + 1])) << 8 |
           quint32(quint8(bytes[offset + 2])) << 16 | quint32(quint8(bytes[offset + 3])) << 24;
}

// Makes the open library's file larger than minBytes: categories with long distinct names,
// 1,500 bytes each, numbered from 5000, with the key counter moved past them, in one
// transaction, so that the grown library still passes the library check.
inline void growLibrary(qint64 minBytes)
{
    const QString filler = QString(1490, QLatin1Char('z'));
    const qint64 count = minBytes / 1500;
    Transaction tx;
    for (qint64 i = 0; i < count; ++i)
        runSql(QStringLiteral("INSERT INTO KATEGORIE VALUES (?, ?, 1)"),
               {qint32(5000 + i), QString(filler + QString::number(i))});
    runSql(QStringLiteral("UPDATE IDS SET ID_KATEGORIE_FIRSTFREE = ?"), {qint32(5000 + count)});
    tx.commit();
}

// A disk that is full after `bytes`: while it lives, no file of this process can grow past that
// size (a write that would gets EFBIG, as on a full disk it gets ENOSPC).
class FileSizeLimit final
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_saved);
        m_handler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = m_saved;
        limit.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_saved);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

private:
    rlimit m_saved{};
    void (*m_handler)(int) = nullptr;
};

// Exports the image file at source as a disk backup into target, through the safe writer the
// program uses. A source that cannot be opened is handed over unopened, as a library that
// cannot be read.
inline CopyResult exportImage(const QString &source, const QString &target, const BackupStamp &stamp,
                              const BackupCallbacks &callbacks)
{
    QFile in(source);
    in.open(QIODevice::ReadOnly);
    SafeFile::Writer out(target, SafeFile::Durability::Durable);
    if (!out.open().ok())
        return CopyResult::Failed;
    return exportToFile(in, out, stamp, callbacks);
}

// Records what the copy reports.
struct ProgressLog
{
    QList<int> percents;
    QStringList texts;
    BackupCallbacks callbacks()
    {
        BackupCallbacks c;
        c.progress = [this](int percent, const QString &text) {
            percents << percent;
            texts << text;
        };
        return c;
    }
};

} // namespace BackupTest
