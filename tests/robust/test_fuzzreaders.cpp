#include "app/messages.h"
#include "app/settings.h"
#include "backup/backupcore.h"
#include "backup/backuptesthelpers.h"
#include "support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

// The two readers of files that come from outside the program, fed with mutated files in a
// bounded loop with a fixed seed: they never crash or read out of bounds (the sanitizer build
// runs this too), and they accept exactly what their format allows.
class TestFuzzReaders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void settingsRecord();
    void backupFile();
};

namespace {

void putWord(QByteArray &b, qint64 at, quint32 v)
{
    for (int i = 0; i < 4; ++i)
        b[at + i] = char(v >> (8 * i));
}

// One random change: bytes overwritten, a cut, bytes appended or inserted, or a word of the
// frame replaced by a value near the edges.
QByteArray mutate(QByteArray b, QRandomGenerator &rng, const QList<qint64> &words)
{
    const int rounds = 1 + int(rng.bounded(3));
    for (int r = 0; r < rounds; ++r) {
        switch (rng.bounded(6)) {
        case 0:
        case 1:
            if (!b.isEmpty())
                b[rng.bounded(qint64(b.size()))] = char(rng.bounded(256));
            break;
        case 2:
            b.truncate(rng.bounded(qint64(b.size()) + 1));
            break;
        case 3:
            b.append(QByteArray(int(rng.bounded(1, 40)), char(rng.bounded(256))));
            break;
        case 4:
            b.insert(rng.bounded(qint64(b.size()) + 1), char(rng.bounded(256)));
            break;
        default: {
            const qint64 at = words.at(int(rng.bounded(qsizetype(words.size()))));
            static const quint32 edges[] = {0u,          1u,          2u,          0x7fffffffu,
                                            0x80000000u, 0xffffffffu, 0xfffffffeu, 64000u};
            if (at + 4 <= b.size())
                putWord(b, at, edges[rng.bounded(8)]);
        }
        }
    }
    return b;
}

} // namespace

void TestFuzzReaders::settingsRecord()
{
    QRandomGenerator rng(1642);
    SettingsRecord base;
    base.loanDays = 21;
    base.userName = QStringLiteral("Knihovna Žďár");
    encodePassword(base, QStringLiteral("heslo"));
    const QByteArray valid = base.toBytes();
    QCOMPARE(valid.size(), SettingsRecord::Size);
    QList<qint64> words;
    for (qint64 at = 0; at + 4 <= SettingsRecord::Size; at += 4)
        words << at;
    int accepted = 0;
    for (int i = 0; i < 20000; ++i) {
        const QByteArray bytes = mutate(valid, rng, words);
        const std::optional<SettingsRecord> r = SettingsRecord::fromBytes(bytes);
        const bool framed = bytes.size() == SettingsRecord::Size &&
                            BackupTest::wordAt(bytes, 0) == SettingsRecord::HeadMark &&
                            BackupTest::wordAt(bytes, 160) == SettingsRecord::TailMark;
        QCOMPARE(bool(r), framed);
        if (!r)
            continue;
        ++accepted;
        // What was read writes back the same bytes (where the writer puts each field is pinned
        // with the settings themselves); the last password code is the file's own.
        QCOMPARE(quint32(r->password[15]), BackupTest::wordAt(bytes, 28 + 60));
        QVERIFY(r->userName.size() <= SettingsRecord::NameBytes);
        const QByteArray again = r->toBytes();
        QCOMPARE(again.size(), SettingsRecord::Size);
        QCOMPARE(again.mid(4, 14), bytes.mid(4, 14));
        QCOMPARE(again.mid(20, 72), bytes.mid(20, 72));
        // Any stored password length is checked without reading past the sixteen codes.
        checkPassword(*r, QStringLiteral("heslo"));
        checkPassword(*r, QString(int(r->passwordLength % 40), u'x'));
    }
    QVERIFY(accepted > 1000); // the loop reached the accepting path often enough to mean something
}

void TestFuzzReaders::backupFile()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    MessageRecorder messages; // the abandon question is answered "Yes"
    QRandomGenerator rng(8102);
    // A disk backup of an image of a little more than two blocks.
    QByteArray image(2 * 64000 + 1234, Qt::Uninitialized);
    for (qsizetype i = 0; i < image.size(); ++i)
        image[i] = char(rng.bounded(256));
    BackupHeader header;
    header.dataLength = quint32(image.size());
    header.date = 20260315;
    header.tag = 777;
    QByteArray valid = header.toBytes() + image;
    QByteArray mark(4, '\0');
    putWord(mark, 0, Backup::EndMark);
    valid += mark + mark;
    const qint64 firstMark = Backup::HeaderSize + image.size();
    const QList<qint64> words = {0, 4, 8, 12, 16, 20, firstMark, firstMark + 4};

    const QString name = QDir(dir.path()).filePath(QStringLiteral("fuzz.fzl"));
    const QString temp = QDir(dir.path()).filePath(QStringLiteral("restored.dat"));
    BackupCallbacks callbacks;
    callbacks.askForVolume = [](int) { return false; };
    int done = 0, refused = 0;
    for (int i = 0; i < 400; ++i) {
        const QByteArray bytes = i == 0 ? valid : mutate(valid, rng, words);
        QVERIFY(writeBytes(name, bytes));
        QFile out(temp);
        QVERIFY(out.open(QIODevice::WriteOnly | QIODevice::Truncate));
        messages.clear();
        quint32 length = 0;
        const CopyResult result = ReadBackup(name, out, callbacks, &length);
        out.close();
        // What the format allows: a first volume (index 0) of this format whose data is all there
        // and followed by an end mark. A single volume carries the whole length, a volume of a
        // series at most one diskette's worth; a series needs its further volumes, which are never
        // confirmed here. (A count of 0 reads as a series that has no further volume.)
        const bool headed = bytes.size() >= Backup::HeaderSize &&
                            BackupTest::wordAt(bytes, 16) == Backup::FormatMark &&
                            BackupTest::wordAt(bytes, 8) == 0;
        const qint64 dataLength = headed ? qint64(BackupTest::wordAt(bytes, 0)) : -1;
        const quint32 count = headed ? BackupTest::wordAt(bytes, 4) : 0;
        const qint64 amount = count == 1 ? dataLength : std::min(dataLength, Backup::VolumeDataSize);
        const bool whole = headed && bytes.size() >= Backup::HeaderSize + amount + Backup::EndMarkSize &&
                           BackupTest::wordAt(bytes, Backup::HeaderSize + amount) == Backup::EndMark;
        if (headed && count <= 1) {
            QCOMPARE(result == CopyResult::Done, whole);
            if (whole) {
                ++done;
                QVERIFY(messages.numbers().isEmpty());
                QVERIFY(fileBytes(temp) == bytes.mid(Backup::HeaderSize, amount));
                QCOMPARE(qint64(length), dataLength);
            } else {
                ++refused;
                QCOMPARE(messages.numbers(), QList<int>{102});
            }
        } else if (!headed || !whole) {
            ++refused;
            QCOMPARE(result, CopyResult::Failed);
            QCOMPARE(messages.numbers(), QList<int>{102});
        } else {
            // A series whose second volume is never confirmed: the user abandons the restore.
            ++refused;
            QCOMPARE(result, CopyResult::Failed);
            QCOMPARE(messages.numbers().size(), 2);
            QCOMPARE(messages.shown().first().text,
                     QStringLiteral("Chcete skutečně ukončit obnovu dat ze zálohy?"));
        }
    }
    QVERIFY(done >= 40);
    QVERIFY(refused >= 100);
}

QTEST_GUILESS_MAIN(TestFuzzReaders)
#include "test_fuzzreaders.moc"
