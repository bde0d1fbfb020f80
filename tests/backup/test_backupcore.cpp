// The backup file format and the copy of volumes, without a window and without a database:
// the copy functions take any source file, so the images here have exact synthetic sizes.
#include "backup/backupcore.h"
#include "backuptesthelpers.h"
#include "support/testsupport.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

using namespace BackupTest;

namespace {

// Exports image as a floppy series into dir; returns the volumes in order.
QList<QByteArray> exportSeries(const QString &dir, const QByteArray &image, quint32 tag, MessageRecorder &)
{
    const QString source = QDir(dir).filePath(QStringLiteral("image.bin"));
    writeFile(source, image);
    QFile in(source);
    SafeFile::Writer first(floppyVolumePath(dir, 1), SafeFile::Durability::Durable);
    if (!in.open(QIODevice::ReadOnly) || !first.open().ok())
        return {};
    BackupStamp stamp;
    stamp.date = 20260315;
    stamp.tag = tag;
    if (exportToFloppies(in, dir, first, stamp, {}) != CopyResult::Done)
        return {};
    QList<QByteArray> volumes;
    for (int k = 1; QFile::exists(floppyVolumePath(dir, k)); ++k)
        volumes << readFile(floppyVolumePath(dir, k));
    return volumes;
}

} // namespace

class TestBackupCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void headerAndNames();
    void diskExportLayout();
    void volumesAndTheirRestore_data();
    void volumesAndTheirRestore();
    void readBackupRefusesWrongFirstVolume();
    void readBackupAsksAgainForWrongVolumes();
    void abortQuestion();
};

void TestBackupCore::headerAndNames()
{
    QCOMPARE(backupTag(QDateTime(QDate(2026, 3, 15), QTime(10, 20, 30))), 90000u);
    QCOMPARE(backupTag(QDateTime(QDate(2026, 1, 31), QTime(23, 59, 59))), 2481953u);
    QCOMPARE(BackupStamp::at(QDateTime(QDate(2020, 1, 2), QTime(1, 2, 3))).date, 20260315u); // today()

    // The count of diskettes and their shares of the data: the volume table below; its edges here.
    QCOMPARE(floppyVolumeCount(1399999), 1u);
    QCOMPARE(floppyVolumeCount(1400000), 2u);

    QCOMPARE(floppyVolumePath(QStringLiteral("/media/floppy"), 1),
             QStringLiteral("/media/floppy/zaloha.fzl"));
    QCOMPARE(floppyVolumePath(QStringLiteral("/media/floppy"), 13),
             QStringLiteral("/media/floppy/zaloha.011"));
    QCOMPARE(nextVolumeName(QStringLiteral("/mnt/a/zaloha.fzl"), 2), QStringLiteral("/mnt/a/zaloha.000"));
    QCOMPARE(nextVolumeName(QStringLiteral("/mnt/a/moje.zal"), 4), QStringLiteral("/mnt/a/moje.002"));

    QCOMPARE(exportPercent(1000000, 1000099), 100); // the step is the rounded-down hundredth
    QCOMPARE(exportPercent(1999, 1999), 105);
    QCOMPARE(importPercent(0, 50), 100);
    QCOMPARE(importPercent(25, 50), 50);
}

void TestBackupCore::diskExportLayout()
{
    QTemporaryDir dir;
    MessageRecorder messages;
    const QByteArray image = pattern(1000000);
    const QString source = dir.filePath(QStringLiteral("Folivo.db"));
    QVERIFY(writeFile(source, image));
    const QString backup = dir.filePath(QStringLiteral("zaloha.fzl"));
    ProgressLog log;
    BackupStamp stamp;
    stamp.date = 20260315;
    stamp.tag = 4242;
    QCOMPARE(exportImage(source, backup, stamp, log.callbacks()), CopyResult::Done);

    const QByteArray file = readFile(backup);
    // The header: the data length, one volume, its index 0, the date, the format mark, the tag;
    // then the data and two end marks.
    QCOMPARE(file.left(24).toHex(), QByteArray("40420f00"
                                               "01000000"
                                               "00000000"
                                               "db253501"
                                               "11001100"
                                               "92100000"));
    QVERIFY(file.mid(24) == image + QByteArray::fromHex("0011001100110011"));
    QVERIFY(messages.shown().isEmpty());

    // 16 blocks of at most 64000 bytes, the progress rising to 100.
    QCOMPARE(log.percents.size(), 16);
    QCOMPARE(log.percents.first(), 6);
    QCOMPARE(log.percents.last(), 100);
    QCOMPARE(log.texts.last(), QStringLiteral("100 % hotovo"));
    QVERIFY(std::is_sorted(log.percents.begin(), log.percents.end()));

    // An image under 100 bytes still shows its progress.
    QVERIFY(writeFile(source, pattern(50)));
    ProgressLog small;
    QCOMPARE(exportImage(source, backup, stamp, small.callbacks()), CopyResult::Done);
    QCOMPARE(small.percents, QList<int>{100});
    const QByteArray previous = readFile(backup);
    QCOMPARE(previous.size(), 82);

    // A database that cannot be read: message 2, and the backup that had the name stays whole.
    messages.clear();
    QCOMPARE(exportImage(dir.filePath(QStringLiteral("missing.db")), backup, stamp, {}), CopyResult::Failed);
    QCOMPARE(messages.numbers(), QList<int>{2});
    QVERIFY(readFile(backup) == previous);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 2); // no temporary file left
}

// An image exported onto diskettes (or framed as a disk backup), then read back whole.
void TestBackupCore::volumesAndTheirRestore_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<QList<int>>("dataSizes"); // of each diskette; empty for a disk backup
    QTest::newRow("disk 50 bytes") << 50 << QList<int>();
    QTest::newRow("three diskettes") << 3000000 << QList<int>{1408000, 1408000, 184000};
    QTest::newRow("count says two, data fit on one") << 1405000 << QList<int>{1405000, 0};
    QTest::newRow("exactly one volume full") << 1408000 << QList<int>{1408000, 0};
    QTest::newRow("small") << 500 << QList<int>{500};
}

void TestBackupCore::volumesAndTheirRestore()
{
    QFETCH(int, length);
    QFETCH(QList<int>, dataSizes);
    QTemporaryDir dir;
    MessageRecorder messages;
    const QByteArray image = pattern(length, 3);
    const QString first = dir.filePath(QStringLiteral("zaloha.fzl"));
    if (dataSizes.isEmpty())
        QVERIFY(writeFile(first, framedBackup(image)));
    const QList<QByteArray> volumes = dataSizes.isEmpty() ? QList<QByteArray>{readFile(first)}
                                                          : exportSeries(dir.path(), image, 999, messages);
    QCOMPARE(volumes.size(), qMax(qsizetype(1), dataSizes.size()));

    QByteArray joined;
    for (int i = 0; i < dataSizes.size(); ++i) {
        const QByteArray &v = volumes.at(i);
        const bool last = i == volumes.size() - 1;
        QCOMPARE(v.size(), 24 + dataSizes.at(i) + (last ? 8 : 4));
        QCOMPARE(wordAt(v, 0), quint32(length));
        QCOMPARE(wordAt(v, 4), quint32(dataSizes.size()));
        QCOMPARE(wordAt(v, 8), quint32(i));
        QCOMPARE(wordAt(v, 12), 20260315u);
        QCOMPARE(wordAt(v, 16), Backup::FormatMark);
        QCOMPARE(wordAt(v, 20), 999u);
        QCOMPARE(v.right(last ? 8 : 4).toHex(), QByteArray(last ? "0011001100110011" : "00110011"));
        joined += v.mid(24, dataSizes.at(i));
    }
    QVERIFY(dataSizes.isEmpty() || joined == image);
    // The count first, then one prompt for each further diskette.
    QList<MessageRecorder::Shown> shown = messages.shown();
    QCOMPARE(shown.size(), dataSizes.size());
    for (int k = 1; k <= dataSizes.size(); ++k) {
        QCOMPARE(shown.at(k - 1).caption, k == 1 ? QString() : QStringLiteral("Výzva"));
        QCOMPARE(
            shown.at(k - 1).text,
            k == 1
                ? QString::fromUtf8("Počet disket, potřebných pro zálohu: %1\n\nDiskety musí být prázdné!")
                      .arg(dataSizes.size())
                : QString::fromUtf8("Vložte prosím další prázdnou disketu (s pořadovým číslem %1).").arg(k));
    }

    messages.clear();
    QFile temp(dir.filePath(QStringLiteral("Tmp_new.dat")));
    QVERIFY(temp.open(QIODevice::WriteOnly));
    ProgressLog log;
    quint32 readLength = 0;
    QCOMPARE(ReadBackup(first, temp, log.callbacks(), &readLength), CopyResult::Done);
    temp.close();
    QCOMPARE(readLength, quint32(length));
    QVERIFY(readFile(temp.fileName()) == image);
    QCOMPARE(log.percents.last(), 100);
    QCOMPARE(log.texts.last(), QStringLiteral("100% hotovo"));
    QVERIFY(std::is_sorted(log.percents.begin(), log.percents.end()));
    // One confirmation prompt for each further volume.
    shown = messages.shown();
    QCOMPARE(shown.size(), volumes.size() - 1);
    for (int k = 2; k <= volumes.size(); ++k) {
        QCOMPARE(shown.at(k - 2).caption, QStringLiteral("Výzva"));
        QCOMPARE(shown.at(k - 2).buttons, int(ButtonsConfirm));
        QCOMPARE(shown.at(k - 2).text,
                 QString::fromUtf8("Vložte prosím další disketu (s pořadovým číslem %1)").arg(k));
    }
}

void TestBackupCore::readBackupRefusesWrongFirstVolume()
{
    QTemporaryDir dir;
    MessageRecorder messages;
    const QByteArray image = pattern(3000000, 7);
    QCOMPARE(exportSeries(dir.path(), image, 11, messages).size(), 3);
    const QString tempName = dir.filePath(QStringLiteral("Tmp_new.dat"));
    auto readFirst = [&](const QString &name) {
        messages.clear();
        QFile temp(tempName);
        if (!temp.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return CopyResult::Quit;
        return ReadBackup(name, temp, {});
    };

    // The second diskette chosen first.
    QCOMPARE(readFirst(floppyVolumePath(dir.path(), 2)), CopyResult::Failed);
    QCOMPARE(messages.numbers(), QList<int>{102});

    // A header that breaks off, a wrong format mark, a broken end mark, data that break off, no
    // file at all; a disk backup's second end mark is never read, so a wrong one does not matter.
    const QByteArray good = framedBackup(pattern(1000));
    const struct
    {
        const char *name;
        QByteArray bytes; // empty: no file
        QList<int> messages;
    } cases[] = {
        {"header cut", good.left(10), {102}},
        {"format mark", QByteArray(good).replace(16, 1, "\x12"), {102}},
        {"first end mark", QByteArray(good).replace(24 + 1000, 1, "\x01"), {102}},
        {"data cut", good.left(24 + 500), {102}},
        {"no file", QByteArray(), {99}},
        {"second end mark", QByteArray(good).replace(good.size() - 1, 1, "\x7f"), {}},
    };
    const QString bad = dir.filePath(QStringLiteral("bad.fzl"));
    for (const auto &c : cases) {
        QFile::remove(bad);
        if (!c.bytes.isEmpty())
            QVERIFY(writeFile(bad, c.bytes));
        QCOMPARE(readFirst(bad), c.messages.isEmpty() ? CopyResult::Done : CopyResult::Failed);
        QVERIFY2(messages.numbers() == c.messages, c.name);
    }
}

void TestBackupCore::readBackupAsksAgainForWrongVolumes()
{
    QTemporaryDir dirA;
    QTemporaryDir dirB;
    MessageRecorder messages;
    const QByteArray image = pattern(3000000, 9);
    const QList<QByteArray> a = exportSeries(dirA.path(), image, 1111, messages);
    const QList<QByteArray> b = exportSeries(dirB.path(), pattern(3000000, 10), 2222, messages);
    QCOMPARE(a.size(), 3);
    QCOMPARE(b.size(), 3);
    const QString second = floppyVolumePath(dirA.path(), 2);
    const QString third = floppyVolumePath(dirA.path(), 3);

    // Volume 2: first a diskette of another backup (other tag), then the right one. Volume 3:
    // first missing, then one with a broken end mark, then the right one.
    QByteArray brokenThird = a.at(2);
    brokenThird[24 + 184000] = 0x7f;
    QList<int> asked;
    BackupCallbacks callbacks;
    callbacks.askForVolume = [&](int volume) {
        asked << volume;
        const int attempt = int(asked.count(volume));
        if (volume == 2)
            writeFile(second, attempt == 1 ? b.at(1) : a.at(1));
        if (volume == 3) {
            if (attempt == 1)
                QFile::remove(third);
            else
                writeFile(third, attempt == 2 ? brokenThird : a.at(2));
        }
        return true;
    };
    messages.clear();
    QFile temp(dirA.filePath(QStringLiteral("Tmp_new.dat")));
    QVERIFY(temp.open(QIODevice::WriteOnly));
    QCOMPARE(ReadBackup(floppyVolumePath(dirA.path(), 1), temp, callbacks), CopyResult::Done);
    temp.close();
    QCOMPARE(asked, (QList<int>{2, 2, 3, 3, 3}));
    QCOMPARE(messages.numbers(), (QList<int>{102, 99, 102}));
    // The bytes of the volume with the broken end mark stay: the temporary file is not rewound.
    QVERIFY(readFile(temp.fileName()) == image + image.mid(2816000));
}

void TestBackupCore::abortQuestion()
{
    QTemporaryDir dir;
    MessageRecorder messages;
    QCOMPARE(exportSeries(dir.path(), pattern(1500000), 5, messages).size(), 2);
    messages.clear();
    // The prompt is not confirmed twice; the first abort question is answered No (asked
    // again), the second Yes.
    messages.answerNext(ResultNo);
    messages.answerNext(ResultNo);
    messages.answerNext(ResultNo);
    messages.answerNext(ResultYes);
    QFile temp(dir.filePath(QStringLiteral("Tmp_new.dat")));
    QVERIFY(temp.open(QIODevice::WriteOnly));
    QCOMPARE(ReadBackup(floppyVolumePath(dir.path(), 1), temp, {}), CopyResult::Failed);
    const auto shown = messages.shown();
    QCOMPARE(shown.size(), 5);
    QCOMPARE(shown.at(0).buttons, int(ButtonsConfirm));
    QCOMPARE(shown.at(1).text, QString::fromUtf8("Chcete skutečně ukončit obnovu dat ze zálohy?"));
    QCOMPARE(shown.at(1).buttons, int(ButtonsYesNo));
    QCOMPARE(shown.at(2).buttons, int(ButtonsConfirm));
    QCOMPARE(shown.at(3).text, shown.at(1).text);
    QCOMPARE(shown.at(4).text,
             QString::fromUtf8(
                 "Obnova dat ze zálohy byla přerušena uživatelem, data\nbyly ponechány v původní podobě!"));
    QCOMPARE(shown.at(4).kind, MessageKind::Information);
}

QTEST_GUILESS_MAIN(TestBackupCore)
#include "test_backupcore.moc"
