// The whole export and import on a real library database: the order of the checks, closing and
// reopening the database, the swap, and every way they can fail without losing data.
#include "backup/backupjobs.h"
#include "backuptesthelpers.h"
#include "data/database.h"
#include "data/recordsets.h"
#include "support/testsupport.h"

#include <QDir>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

using namespace BackupTest;

namespace {

const QString ExportDone = QString::fromUtf8("Export dat byl úspěšně dokončen!");
const QString ExportFailed = QString::fromUtf8("Pozor, export dat nebyl úspěšně dokončen!");
const QString RestoreDone = QString::fromUtf8("Data byly úspěšně obnoveny ze zálohy!");

// The database file's bytes, read while it is closed (a second handle on the open file would
// drop the connection's lock).
QByteArray snapshot(const TestLibrary &lib)
{
    Database::close();
    const QByteArray bytes = readFile(lib.dbPath());
    Database::open(lib.dbPath());
    return bytes;
}

void fillLibrary(TestLibrary &lib)
{
    const qint32 client =
        lib.addClient(QStringLiteral("K001"), QStringLiteral("Jiří"), QStringLiteral("Šťastný"));
    const qint32 a = lib.addBook(QStringLiteral("B001"));
    const qint32 b = lib.addBook(QStringLiteral("B002"));
    lib.addBook(QStringLiteral("B003"));
    lib.lend({a, b}, client, 20260301, 20260401);
    lib.giveBack({a}, 20260310);
}

ExportRequest diskExport(const TestLibrary &lib, const QString &name = QString())
{
    ExportRequest r;
    r.dataDir = lib.dir();
    r.fileName = name.isEmpty() ? QDir(lib.dir()).filePath(QStringLiteral("Export/zaloha.fzl")) : name;
    r.stamp.date = 20260315;
    r.stamp.tag = 1234;
    return r;
}

ImportRequest importFrom(const TestLibrary &lib, const QString &name)
{
    ImportRequest r;
    r.dataDir = lib.dir();
    r.fileName = name;
    return r;
}

// A backup of an arbitrary image, framed as the export frames it.
QByteArray framed(const QByteArray &image)
{
    BackupHeader h;
    h.dataLength = quint32(image.size());
    h.tag = 5;
    return h.toBytes() + image + QByteArray::fromHex("0011001100110011");
}

struct BusyLog
{
    QList<bool> changes;
    BackupCallbacks callbacks()
    {
        BackupCallbacks c;
        c.setBusy = [this](bool busy) { changes << busy; };
        return c;
    }
};

} // namespace

class TestBackupJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exportChecksComeBeforeTheDatabaseIsClosed();
    void diskBackupRestoresTheLibrary();
    void floppySeriesRestoresAndAbortKeepsData();
    void unsoundImagesAreRefused();
    void failedWriteReopensTheDatabase();
    void swapFailureKeepsTheOldDatabase();
    void quitDuringExportReopens();
    void databaseThatCannotBeReopenedIsFatal();
};

void TestBackupJobs::exportChecksComeBeforeTheDatabaseIsClosed()
{
    TestLibrary lib;
    MessageRecorder messages;
    BusyLog busy;

    // An empty name stops at 98 with the database open.
    QCOMPARE(runExport(diskExport(lib, QStringLiteral("   ")), busy.callbacks()), BackupOutcome::Stayed);
    QCOMPARE(messages.numbers(), QList<int>{98});
    QVERIFY(Database::isOpen());
    QVERIFY(busy.changes.isEmpty());

    // An existing file is overwritten only after Yes.
    const QString name = QDir(lib.dir()).filePath(QStringLiteral("stara.fzl"));
    QVERIFY(writeFile(name, "stará záloha"));
    messages.clear();
    messages.answerNext(ResultNo);
    QCOMPARE(runExport(diskExport(lib, name), busy.callbacks()), BackupOutcome::Stayed);
    QCOMPARE(messages.shown().size(), 1);
    QCOMPARE(messages.shown().first().text,
             QString::fromUtf8("Záložní soubor zadaného jména již existuje, přejete si ho přepsat?"));
    QCOMPARE(messages.shown().first().buttons, int(ButtonsYesNo));
    QCOMPARE(readFile(name), QByteArray("stará záloha"));
    QVERIFY(Database::isOpen());
    QVERIFY(busy.changes.isEmpty());

    messages.clear();
    QCOMPARE(runExport(diskExport(lib, name), busy.callbacks()), BackupOutcome::Succeeded);
    QCOMPARE(messages.shown().size(), 2);
    QCOMPARE(messages.shown().at(1).text, ExportDone);
    QCOMPARE(busy.changes, (QList<bool>{true, false}));
    QVERIFY(Database::isOpen());
    QCOMPARE(readFile(name).size(), QFileInfo(lib.dbPath()).size() + 32);

    // The library database itself is never a backup target (it would be truncated): 99.
    const QByteArray before = snapshot(lib);
    messages.clear();
    QCOMPARE(runExport(diskExport(lib, lib.dbPath()), {}), BackupOutcome::Stayed);
    QCOMPARE(messages.numbers(), (QList<int>{0, 99}));
    QVERIFY(Database::isOpen());
    QVERIFY(snapshot(lib) == before);

    // A file that cannot be created: 99 and the database stays open.
    messages.clear();
    QCOMPARE(runExport(diskExport(lib, QDir(lib.dir()).filePath(QStringLiteral("no/such/dir/z.fzl"))), {}),
             BackupOutcome::Stayed);
    QCOMPARE(messages.numbers(), QList<int>{99});
    QVERIFY(Database::isOpen());
    // The export folder was made on the way.
    QVERIFY(QFileInfo(QDir(lib.dir()).filePath(QStringLiteral("Export"))).isDir());
}

void TestBackupJobs::diskBackupRestoresTheLibrary()
{
    TestLibrary lib;
    fillLibrary(lib);
    MessageRecorder messages;
    const QByteArray saved = snapshot(lib);
    const ExportRequest request = diskExport(lib);
    QCOMPARE(runExport(request, {}), BackupOutcome::Succeeded);
    const QByteArray backup = readFile(request.fileName);
    QCOMPARE(backup.size(), saved.size() + 32);
    QVERIFY(backup.mid(24, saved.size()) == saved);
    QCOMPARE(wordAt(backup, 20), 1234u);

    // Work goes on after the backup, then the backup is restored.
    lib.addBook(QStringLiteral("B004"));
    lib.addClient(QStringLiteral("K002"));
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY")), 4);

    // "No" to the question changes nothing and makes no temporary file.
    messages.clear();
    messages.answerNext(ResultNo);
    QCOMPARE(runImport(importFrom(lib, request.fileName), {}), BackupOutcome::Stayed);
    QVERIFY(!QFile::exists(restoredImagePath(lib.dir())));
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY")), 4);
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, QStringLiteral(" ")), {}), BackupOutcome::Stayed);
    QCOMPARE(messages.numbers(), QList<int>{98});

    messages.clear();
    ProgressLog progress;
    QCOMPARE(runImport(importFrom(lib, request.fileName), progress.callbacks()), BackupOutcome::Succeeded);
    QCOMPARE(messages.shown().size(), 2);
    QCOMPARE(
        messages.shown().at(0).text,
        QString::fromUtf8("Přejete si skutečně provést obnovu dat ze zálohy?\nTato akce způsobí kompletní "
                          "nahrazení stávajících\ndat novými bez možnosti návratu!"));
    QCOMPARE(messages.shown().at(1).text, RestoreDone);
    QCOMPARE(progress.texts.last(), QStringLiteral("100% hotovo"));
    QVERIFY(Database::isOpen());
    QVERIFY(!QFile::exists(restoredImagePath(lib.dir())));
    QVERIFY(!QFile::exists(previousImagePath(lib.dir())));
    QVERIFY(snapshot(lib) == saved);

    // The program works on the restored data: the state of the backup, and new writes.
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY")), 3);
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM LIDE")), 1);
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM VRACENI")), 1);
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE VYPUJCENO = 1")), 1);
    const qint32 next = lib.addBook(QStringLiteral("B005"));
    QCOMPARE(next, 4);
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE KOD LIKE 'b00%'")), 4);
}

void TestBackupJobs::floppySeriesRestoresAndAbortKeepsData()
{
    TestLibrary lib;
    fillLibrary(lib);
    growLibrary(1500000);
    QTemporaryDir floppy;
    MessageRecorder messages;
    const QByteArray saved = snapshot(lib);
    QVERIFY(saved.size() > 1400000);
    const int volumes = int(saved.size() / 1400000 + 1);

    ExportRequest request = diskExport(lib);
    request.toFloppies = true;
    request.fileName.clear();
    request.floppyDir = floppy.path();
    QCOMPARE(runExport(request, {}), BackupOutcome::Succeeded);
    QVERIFY(Database::isOpen());
    QCOMPARE(messages.shown().size(), 1 + (volumes - 1) + 1);
    QCOMPARE(messages.shown().last().text, ExportDone);
    for (int k = 1; k <= volumes; ++k)
        QVERIFY(QFile::exists(floppyVolumePath(floppy.path(), k)));
    QVERIFY(!QFile::exists(floppyVolumePath(floppy.path(), volumes + 1)));

    lib.addBook(QStringLiteral("B900"));
    const QByteArray changed = snapshot(lib);

    // The prompt for the second diskette declined and the abort confirmed: nothing changes.
    messages.clear();
    messages.answerNext(ResultYes); // restore?
    messages.answerNext(ResultNo);  // the diskette prompt is not confirmed
    messages.answerNext(ResultYes); // abort the restore
    const QString first = floppyVolumePath(floppy.path(), 1);
    QCOMPARE(runImport(importFrom(lib, first), {}), BackupOutcome::Failed);
    QCOMPARE(messages.shown().size(), 4);
    QVERIFY(
        messages.shown().last().text.startsWith(QString::fromUtf8("Obnova dat ze zálohy byla přerušena")));
    QVERIFY(Database::isOpen());
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE KOD = 'B900'")), 1);
    QVERIFY(snapshot(lib) == changed);

    // The whole series restores the library byte for byte.
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, first), {}), BackupOutcome::Succeeded);
    QCOMPARE(messages.shown().size(), 1 + (volumes - 1) + 1);
    QCOMPARE(messages.shown().at(1).caption, QStringLiteral("Výzva"));
    QVERIFY(snapshot(lib) == saved);
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE KOD = 'B900'")), 0);
}

void TestBackupJobs::unsoundImagesAreRefused()
{
    TestLibrary lib;
    fillLibrary(lib);
    MessageRecorder messages;
    const QByteArray saved = snapshot(lib);
    const QString name = QDir(lib.dir()).filePath(QStringLiteral("cizi.fzl"));

    // Framed correctly, but what it carries is not a sound library database.
    QByteArray corrupted = saved;
    for (qint64 i = 4096; i < 4096 + 400; ++i) // the head of the second page
        corrupted[i] = char(0x5a);
    QByteArray lacksTable;
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("x.db"));
        QVERIFY(Database::createEmpty(path, nullptr));
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("drop"));
        db.setDatabaseName(path);
        QVERIFY(db.open());
        QSqlQuery(db).exec(QStringLiteral("DROP TABLE VRACENI"));
        db.close();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("drop"));
        lacksTable = readFile(path);
    }
    const QList<QByteArray> images = {pattern(5000), corrupted, lacksTable, saved.left(saved.size() - 4096)};
    for (const QByteArray &image : images) {
        QVERIFY(writeFile(name, framed(image)));
        messages.clear();
        QCOMPARE(runImport(importFrom(lib, name), {}), BackupOutcome::Failed);
        QCOMPARE(messages.numbers(), (QList<int>{0, 102}));
        QVERIFY(Database::isOpen());
        QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY")), 3);
        QVERIFY(snapshot(lib) == saved);
    }

    // The live database read as a backup: refused without a second handle on it.
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, lib.dbPath()), {}), BackupOutcome::Failed);
    QCOMPARE(messages.numbers(), (QList<int>{0, 102}));
    QVERIFY(snapshot(lib) == saved);

    // A backup file that is not there: 99.
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, name + QStringLiteral(".zadny")), {}), BackupOutcome::Failed);
    QCOMPARE(messages.numbers(), (QList<int>{0, 99}));
    QVERIFY(Database::isOpen());
}

void TestBackupJobs::failedWriteReopensTheDatabase()
{
    if (!QFile::exists(QStringLiteral("/dev/full")))
        QSKIP("no /dev/full here");
    TestLibrary lib;
    fillLibrary(lib);
    MessageRecorder messages;
    const QByteArray saved = snapshot(lib);
    BusyLog busy;
    // /dev/full exists, so the overwrite question comes first.
    QCOMPARE(runExport(diskExport(lib, QStringLiteral("/dev/full")), busy.callbacks()),
             BackupOutcome::Failed);
    QCOMPARE(messages.numbers(), (QList<int>{0, 101, 0}));
    QCOMPARE(messages.shown().last().text, ExportFailed);
    QCOMPARE(messages.shown().last().kind, MessageKind::Warning);
    QCOMPARE(busy.changes, (QList<bool>{true, false}));
    QVERIFY(Database::isOpen());
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY")), 3);
    lib.addBook(QStringLiteral("B010"));
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY")), 4);
    Database::close();
    QVERIFY(readFile(lib.dbPath()) != saved); // the write above went to the same file
    QCOMPARE(Database::open(lib.dbPath()), Database::OpenResult::Ok);

    // The import's temporary file cannot be created: 101 and nothing else happens.
    const QString backup = QDir(lib.dir()).filePath(QStringLiteral("z.fzl"));
    QVERIFY(writeFile(backup, framed(saved)));
    QDir(lib.dir()).mkpath(QStringLiteral("Temp/Tmp_new.dat/blocked"));
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, backup), {}), BackupOutcome::Stayed);
    QCOMPARE(messages.numbers(), (QList<int>{0, 101}));
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY")), 4);
}

void TestBackupJobs::swapFailureKeepsTheOldDatabase()
{
    TestLibrary lib;
    fillLibrary(lib);
    MessageRecorder messages;
    const ExportRequest request = diskExport(lib);
    QCOMPARE(runExport(request, {}), BackupOutcome::Succeeded);
    lib.addBook(QStringLiteral("B777"));
    const QByteArray current = snapshot(lib);

    // Temp/Tmp_old.dat is a folder with something in it: the database cannot be moved there.
    QVERIFY(QDir(lib.dir()).mkpath(QStringLiteral("Temp/Tmp_old.dat/obsah")));
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, request.fileName), {}), BackupOutcome::Failed);
    QCOMPARE(messages.numbers(), (QList<int>{0, 104}));
    QVERIFY(Database::isOpen());
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE KOD = 'B777'")), 1);
    QVERIFY(snapshot(lib) == current);
}

void TestBackupJobs::quitDuringExportReopens()
{
    TestLibrary lib;
    growLibrary(200000);
    MessageRecorder messages;
    BackupCallbacks callbacks;
    callbacks.keepRunning = [] { return false; };
    const ExportRequest request = diskExport(lib);
    QCOMPARE(runExport(request, callbacks), BackupOutcome::Quit);
    QVERIFY(messages.shown().isEmpty());
    QVERIFY(Database::isOpen());
    QCOMPARE(readFile(request.fileName).size(), 24 + 64000); // the partial file stays

    // A quit during the import's read leaves the database as it was.
    lib.addBook(QStringLiteral("B1"));
    const QByteArray current = snapshot(lib);
    QVERIFY(writeFile(request.fileName, framed(pattern(300000))));
    QCOMPARE(runImport(importFrom(lib, request.fileName), callbacks), BackupOutcome::Quit);
    QVERIFY(Database::isOpen());
    QVERIFY(snapshot(lib) == current);
}

void TestBackupJobs::databaseThatCannotBeReopenedIsFatal()
{
    TestLibrary lib;
    MessageRecorder messages;
    const QString away = lib.dbPath() + QStringLiteral(".pryc");
    BackupCallbacks callbacks;
    // While the copy runs the database file disappears (it is closed, nothing holds it).
    callbacks.progress = [&](int, const QString &) { QFile::rename(lib.dbPath(), away); };
    QCOMPARE(runExport(diskExport(lib), callbacks), BackupOutcome::Fatal);
    QCOMPARE(messages.numbers(), (QList<int>{0, 2}));
    QCOMPARE(messages.shown().first().text, ExportDone);
    QVERIFY(!Database::isOpen());
    QVERIFY(QFile::rename(away, lib.dbPath()));
}

QTEST_GUILESS_MAIN(TestBackupJobs)
#include "test_backupjobs.moc"
