// The whole export and import on a real library database: the order of the checks, closing and
// reopening the database, the swap, and every way they can fail without losing data.
#include "backup/backupjobs.h"
#include "backuptesthelpers.h"
#include "data/database.h"
#include "data/libraryfiles.h"
#include "data/recordsets.h"
#include "support/testsupport.h"

#include <QDir>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

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
    void quitDuringImportKeepsTheLibrary();
    void theLibraryStaysLockedThroughout();
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

    // 99 for the library database itself (it would be truncated; the program's other files, and
    // links to them, are refused by the same guard as every output file, whose test goes through
    // them), a file that cannot be created, and a device, which is never replaced by a file. The
    // two that exist are asked about first.
    const QByteArray before = snapshot(lib);
    const QString devFull = QStringLiteral("/dev/full");
    for (const QString &target :
         {lib.dbPath(), QDir(lib.dir()).filePath(QStringLiteral("no/such/dir/z.fzl")), devFull}) {
        messages.clear();
        QCOMPARE(runExport(diskExport(lib, target), {}), BackupOutcome::Stayed);
        QCOMPARE(messages.numbers(), QFile::exists(target) ? (QList<int>{0, 99}) : QList<int>{99});
        QVERIFY(Database::isOpen());
    }
    QVERIFY(snapshot(lib) == before);
    QVERIFY(QFileInfo(devFull).exists());
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
    QVERIFY(readFile(request.fileName).mid(24) == saved + QByteArray::fromHex("0011001100110011"));

    // Work goes on after the backup, then the backup is restored.
    lib.addBook(QStringLiteral("B004"));
    lib.addClient(QStringLiteral("K002"));

    // "No" to the question changes nothing and makes no temporary file.
    messages.clear();
    messages.answerNext(ResultNo);
    QCOMPARE(runImport(importFrom(lib, request.fileName), {}), BackupOutcome::Stayed);
    QVERIFY(!QFile::exists(LibraryFiles::restoredImagePath(lib.dir())));
    QCOMPARE(lib.rows("KNIHY"), 4);
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, QStringLiteral(" ")), {}), BackupOutcome::Stayed);
    QCOMPARE(messages.numbers(), QList<int>{98});

    messages.clear();
    QCOMPARE(runImport(importFrom(lib, request.fileName), {}), BackupOutcome::Succeeded);
    QCOMPARE(messages.shown().size(), 2);
    QCOMPARE(
        messages.shown().at(0).text,
        QString::fromUtf8("Přejete si skutečně provést obnovu dat ze zálohy?\nTato akce způsobí kompletní "
                          "nahrazení stávajících\ndat novými bez možnosti návratu!"));
    QCOMPARE(messages.shown().at(1).text, RestoreDone);
    QVERIFY(Database::isOpen());
    QVERIFY(!QFile::exists(LibraryFiles::restoredImagePath(lib.dir())));
    QVERIFY(!QFile::exists(LibraryFiles::previousImagePath(lib.dir())));
    QVERIFY(snapshot(lib) == saved);

    // The program works on the restored data: the state of the backup, and new writes.
    QCOMPARE(lib.rows("KNIHY"), 3);
    const qint32 next = lib.addBook(QStringLiteral("B005"));
    QCOMPARE(next, 4);
    QCOMPARE(lib.rows("KNIHY", "KOD LIKE 'b00%'"), 4);
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
    QCOMPARE(messages.shown().size(), 1 + (volumes - 1) + 1);
    QCOMPARE(messages.shown().last().text, ExportDone);

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
    QVERIFY(Database::isOpen());
    QVERIFY(snapshot(lib) == changed);

    // The last diskette's end mark broken: it is asked for again, and what was read of it stays in
    // the image, which then holds the whole library and more bytes than its header says: refused.
    const QString last = floppyVolumePath(floppy.path(), volumes);
    const QByteArray good = readFile(last);
    QVERIFY(writeFile(last, QByteArray(good).replace(good.size() - 8, 1, "\x7f")));
    int asked = 0;
    BackupCallbacks again;
    again.askForVolume = [&](int volume) {
        return volume != volumes || ++asked != 2 || writeFile(last, good);
    };
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, first), again), BackupOutcome::Failed);
    QCOMPARE(asked, 2);
    QCOMPARE(messages.numbers(), (QList<int>{0, 102, 102}));
    QVERIFY(snapshot(lib) == changed);

    // The whole series restores the library byte for byte.
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, first), {}), BackupOutcome::Succeeded);
    QCOMPARE(messages.shown().size(), 1 + (volumes - 1) + 1);
    QVERIFY(snapshot(lib) == saved);
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
    // The library as it was, changed by one statement run behind the program's back.
    auto alteredBy = [&saved](const QString &sql) {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("x.db"));
        writeFile(path, saved);
        {
            QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("alter"));
            db.setDatabaseName(path);
            if (db.open())
                QSqlQuery(db).exec(sql);
            db.close();
        }
        QSqlDatabase::removeDatabase(QStringLiteral("alter"));
        return readFile(path);
    };
    // A trigger stands for every difference of the schema (the library check's test goes through
    // them). A book marked lent that nobody holds: sound in SQLite's eyes, broken in the library's.
    const QByteArray withTrigger = alteredBy(QStringLiteral(
        "CREATE TRIGGER t AFTER INSERT ON VYPUJCKY BEGIN UPDATE KNIHY SET VYPUJCENO = 0; END"));
    const QByteArray brokenRule =
        alteredBy(QStringLiteral("UPDATE KNIHY SET VYPUJCENO = 1 WHERE KOD = 'B003'"));

    const QList<QByteArray> images = {pattern(5000), corrupted, saved.left(saved.size() - 4096), withTrigger,
                                      brokenRule};
    for (const QByteArray &image : images) {
        QVERIFY(writeFile(name, framedBackup(image)));
        messages.clear();
        QCOMPARE(runImport(importFrom(lib, name), {}), BackupOutcome::Failed);
        QCOMPARE(messages.numbers(), (QList<int>{0, 102}));
        QVERIFY(Database::isOpen());
        QVERIFY(snapshot(lib) == saved);
        QVERIFY(QDir(QDir(lib.dir()).filePath(QStringLiteral("Temp"))).entryList(QDir::Files).isEmpty());
    }

    // Forced, an image that breaks only a rule between records is restored; one that fails the
    // schema never is.
    ImportRequest forced = importFrom(lib, name);
    forced.acceptRecordFindings = true;
    QVERIFY(writeFile(name, framedBackup(withTrigger)));
    QCOMPARE(runImport(forced, {}), BackupOutcome::Failed);
    QVERIFY(snapshot(lib) == saved);
    QVERIFY(writeFile(name, framedBackup(brokenRule)));
    QCOMPARE(runImport(forced, {}), BackupOutcome::Succeeded);
    QVERIFY(snapshot(lib) == brokenRule);

    // The live database read as a backup: refused without a second handle on it.
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, lib.dbPath()), {}), BackupOutcome::Failed);
    QCOMPARE(messages.numbers(), (QList<int>{0, 102}));
    QVERIFY(snapshot(lib) == brokenRule);

    // A backup file that is not there: 99.
    messages.clear();
    QCOMPARE(runImport(importFrom(lib, name + QStringLiteral(".zadny")), {}), BackupOutcome::Failed);
    QCOMPARE(messages.numbers(), (QList<int>{0, 99}));
    QVERIFY(Database::isOpen());
}

void TestBackupJobs::failedWriteReopensTheDatabase()
{
    TestLibrary lib;
    fillLibrary(lib);
    MessageRecorder messages;
    const QByteArray saved = snapshot(lib);
    const ExportRequest request = diskExport(lib);
    QVERIFY(QDir(lib.dir()).mkpath(QStringLiteral("Export")));
    QVERIFY(writeFile(request.fileName, "včerejší záloha"));
    {
        // The disk is full before the backup is: 101, the export failed, yesterday's backup whole.
        FileSizeLimit full(saved.size() / 2);
        QCOMPARE(runExport(request, {}), BackupOutcome::Failed);
    }
    QCOMPARE(messages.numbers(), (QList<int>{0, 101, 0}));
    QCOMPARE(messages.shown().last().text, ExportFailed);
    QCOMPARE(messages.shown().last().kind, MessageKind::Warning);
    QCOMPARE(readFile(request.fileName), QByteArray("včerejší záloha"));
    QCOMPARE(QDir(QDir(lib.dir()).filePath(QStringLiteral("Export"))).entryList(QDir::Files).size(), 1);
    QVERIFY(Database::isOpen());
    lib.addBook(QStringLiteral("B010")); // the library differs from the backup read below

    // The import's temporary file cannot be created: 101 and nothing else happens.
    const QString backup = QDir(lib.dir()).filePath(QStringLiteral("z.fzl"));
    QVERIFY(writeFile(backup, framedBackup(saved)));
    QDir(lib.dir()).mkpath(QStringLiteral("Temp/Tmp_new.dat/blocked"));
    messages.clear();
    const QByteArray current = snapshot(lib);
    QCOMPARE(runImport(importFrom(lib, backup), {}), BackupOutcome::Stayed);
    QCOMPARE(messages.numbers(), (QList<int>{0, 101}));
    QVERIFY(snapshot(lib) == current);
    QVERIFY(QDir(lib.dir()).rmpath(QStringLiteral("Temp/Tmp_new.dat/blocked")));

    // A full disk while the image is read: 101, the library unchanged, nothing left in Temp.
    messages.clear();
    {
        FileSizeLimit full(saved.size() / 2);
        QCOMPARE(runImport(importFrom(lib, backup), {}), BackupOutcome::Failed);
    }
    QCOMPARE(messages.numbers(), (QList<int>{0, 101}));
    QVERIFY(snapshot(lib) == current);
    QVERIFY(QDir(QDir(lib.dir()).filePath(QStringLiteral("Temp"))).entryList(QDir::Files).isEmpty());
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
    QVERIFY(snapshot(lib) == current);
}

// A quit during the import's read leaves the database as it was. (A quit during the export is the
// dialog's test: the dialog takes it from the event loop.)
void TestBackupJobs::quitDuringImportKeepsTheLibrary()
{
    TestLibrary lib;
    lib.addBook(QStringLiteral("B1"));
    MessageRecorder messages;
    BackupCallbacks callbacks;
    callbacks.keepRunning = [] { return false; };
    const QByteArray current = snapshot(lib);
    const QString name = QDir(lib.dir()).filePath(QStringLiteral("z.fzl"));
    QVERIFY(writeFile(name, framedBackup(pattern(300000))));
    QCOMPARE(runImport(importFrom(lib, name), callbacks), BackupOutcome::Quit);
    QVERIFY(Database::isOpen());
    QVERIFY(snapshot(lib) == current);
}

void TestBackupJobs::theLibraryStaysLockedThroughout()
{
    TestLibrary lib;
    fillLibrary(lib);
    growLibrary(300000);
    MessageRecorder messages;
    const QByteArray saved = snapshot(lib);
    // Another process trying to start on the library in the middle of the job: it must find the
    // directory locked, every time.
    QList<int> refusals;
    auto tryFromAnotherProcess = [&lib, &refusals] {
        const pid_t child = ::fork();
        if (child == 0) {
            const int fd = ::open(QFile::encodeName(lib.dir()).constData(), O_RDONLY | O_DIRECTORY);
            ::_exit(fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) != 0 ? 0 : 1);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        refusals << (WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0);
    };
    BackupCallbacks callbacks;
    callbacks.progress = [&](int, const QString &) { tryFromAnotherProcess(); };
    callbacks.setBusy = [&](bool) { tryFromAnotherProcess(); };
    const ExportRequest request = diskExport(lib);
    QCOMPARE(runExport(request, callbacks), BackupOutcome::Succeeded);
    QVERIFY(refusals.size() > 4);
    QVERIFY(!refusals.contains(0));

    // The import: during the read and up to the reopened library.
    lib.addBook(QStringLiteral("B100"));
    refusals.clear();
    QCOMPARE(runImport(importFrom(lib, request.fileName), callbacks), BackupOutcome::Succeeded);
    QVERIFY(refusals.size() > 4);
    QVERIFY(!refusals.contains(0));
    tryFromAnotherProcess();
    QCOMPARE(refusals.last(), 1); // the reopened library is locked again
    QVERIFY(snapshot(lib) == saved);
    Database::close();
    refusals.clear();
    tryFromAnotherProcess();
    QCOMPARE(refusals, QList<int>{0}); // a closed library is free
    QCOMPARE(Database::open(lib.dbPath()), Database::OpenResult::Ok);
}

QTEST_GUILESS_MAIN(TestBackupJobs)
#include "test_backupjobs.moc"
