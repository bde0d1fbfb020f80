// folivo-cli backup export|import as a separate process: exit codes, the lock against the
// running program, a file system that fills up in the middle of the copy, and an import killed
// while it reads.
#include "backup/backupcore.h"
#include "backuptesthelpers.h"
#include "data/database.h"
#include "support/testsupport.h"

#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace BackupTest;

namespace {

struct CliRun
{
    int code = -1;
    QString out;
    QString err;
};

CliRun runCli(const QStringList &args, const std::function<void()> &childSetup = {})
{
    QProcess p;
    if (childSetup)
        p.setChildProcessModifier(childSetup);
    p.start(QStringLiteral(FOLIVO_CLI), args);
    CliRun r;
    if (!p.waitForFinished(120000) || p.exitStatus() != QProcess::NormalExit)
        return r;
    r.code = p.exitCode();
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

QStringList backupArgs(const char *action, const QString &file, const QString &dataDir)
{
    return {QStringLiteral("backup"), QString::fromLatin1(action), file, QStringLiteral("--data-dir"),
            dataDir};
}

void fill(TestLibrary &lib, int books)
{
    for (int i = 0; i < books; ++i)
        lib.addBook(QStringLiteral("K%1").arg(i));
}

} // namespace

class TestBackupCli : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void roundTripAndExitCodes();
    void refusedWhileTheProgramHoldsTheDatabase();
    void fullFileSystemGives101();
    void killedImportKeepsTheDatabase();
};

void TestBackupCli::roundTripAndExitCodes()
{
    TestLibrary lib;
    fill(lib, 5);
    Database::close();
    const QByteArray saved = readFile(lib.dbPath());
    const QString backup = QDir(lib.dir()).filePath(QStringLiteral("nocni.fzl"));

    CliRun r = runCli(backupArgs("export", backup, lib.dir()));
    QCOMPARE(r.code, 0);
    QVERIFY(r.err.contains(QString::fromUtf8("Export dat byl úspěšně dokončen!")));
    const QByteArray file = readFile(backup);
    QCOMPARE(file.size(), saved.size() + 32);
    QVERIFY(file.mid(24, saved.size()) == saved);

    // An existing backup is replaced only when asked to.
    r = runCli(backupArgs("export", backup, lib.dir()));
    QCOMPARE(r.code, 1);
    QVERIFY(r.err.contains(QStringLiteral("--overwrite")));
    r = runCli(backupArgs("export", backup, lib.dir()) << QStringLiteral("--overwrite"));
    QCOMPARE(r.code, 0);

    // Work after the backup is undone by the restore, byte for byte.
    QCOMPARE(Database::open(lib.dbPath()), Database::OpenResult::Ok);
    fill(lib, 1);
    QCOMPARE(lib.rows("KNIHY"), 6);
    Database::close();
    r = runCli(backupArgs("import", backup, lib.dir()));
    QCOMPARE(r.code, 0);
    QVERIFY(r.err.contains(QString::fromUtf8("Data byly úspěšně obnoveny ze zálohy!")));
    QVERIFY(readFile(lib.dbPath()) == saved);
    QVERIFY(!QFile::exists(QDir(lib.dir()).filePath(QStringLiteral("Temp/Tmp_old.dat"))));

    // Failures that keep the data: a missing backup (99), an empty name (98), not a backup (102).
    r = runCli(backupArgs("import", backup + QStringLiteral(".x"), lib.dir()));
    QCOMPARE(r.code, 4);
    QVERIFY(r.err.contains(messageText(99)));
    r = runCli(backupArgs("import", QString(), lib.dir()));
    QCOMPARE(r.code, 4);
    QVERIFY(r.err.contains(messageText(98)));
    r = runCli(backupArgs("import", lib.dbPath(), lib.dir()));
    QCOMPARE(r.code, 4);
    QVERIFY(r.err.contains(messageText(102)));
    QVERIFY(readFile(lib.dbPath()) == saved);

    // Wrong use.
    QCOMPARE(runCli({QStringLiteral("backup"), QStringLiteral("restore"), backup}).code, 1);
    QCOMPARE(runCli({QStringLiteral("backup"), QStringLiteral("export")}).code, 1);
    QCOMPARE(runCli(backupArgs("import", backup, lib.dir() + QStringLiteral("/nowhere"))).code, 1);
    QCOMPARE(runCli(backupArgs("export", backup, lib.dir()) << QStringLiteral("--force")).code, 1);

    // A data directory without a library: nothing to back up, but a restore puts one there.
    QTemporaryDir empty;
    QCOMPARE(runCli(backupArgs("export", backup, empty.path()) << QStringLiteral("--overwrite")).code, 1);
    QCOMPARE(runCli(backupArgs("import", backup, empty.path())).code, 0);
    QVERIFY(readFile(QDir(empty.path()).filePath(QStringLiteral("Folivo.db"))) == saved);

    // A damaged database is what a restore is for: it is replaced.
    QVERIFY(writeFile(lib.dbPath(), pattern(8192)));
    QCOMPARE(runCli(backupArgs("export", backup, lib.dir()) << QStringLiteral("--overwrite")).code, 1);
    r = runCli(backupArgs("import", backup, lib.dir()));
    QCOMPARE(r.code, 0);
    QVERIFY(readFile(lib.dbPath()) == saved);
    QCOMPARE(Database::open(lib.dbPath()), Database::OpenResult::Ok);
}

void TestBackupCli::refusedWhileTheProgramHoldsTheDatabase()
{
    TestLibrary lib; // holds the database open, as the running program does
    fill(lib, 2);
    const QString backup = QDir(lib.dir()).filePath(QStringLiteral("z.fzl"));
    CliRun r = runCli(backupArgs("export", backup, lib.dir()));
    QCOMPARE(r.code, 3);
    QVERIFY(r.err.contains(QStringLiteral("in use")));
    QVERIFY(!QFile::exists(backup));

    QVERIFY(writeFile(backup, QByteArray("whatever")));
    r = runCli(backupArgs("import", backup, lib.dir()));
    QCOMPARE(r.code, 3);
    QVERIFY(!QFile::exists(QDir(lib.dir()).filePath(QStringLiteral("Temp"))));
    QCOMPARE(lib.rows("KNIHY"), 2);
}

void TestBackupCli::fullFileSystemGives101()
{
    TestLibrary lib;
    fill(lib, 3);
    growLibrary(400000);
    Database::close();
    const QByteArray saved = readFile(lib.dbPath());
    QVERIFY(saved.size() > 400000);
    const QString backup = QDir(lib.dir()).filePath(QStringLiteral("z.fzl"));

    // The file system "fills up" after 150,000 bytes of the backup: the third block fails.
    const CliRun r = runCli(backupArgs("export", backup, lib.dir()), [] {
        ::signal(SIGXFSZ, SIG_IGN);
        struct rlimit limit
        {};
        limit.rlim_cur = limit.rlim_max = 150000;
        ::setrlimit(RLIMIT_FSIZE, &limit);
    });
    QCOMPARE(r.code, 4);
    QVERIFY(r.err.contains(messageText(101)));
    QVERIFY(r.err.contains(QString::fromUtf8("Pozor, export dat nebyl úspěšně dokončen!")));
    QVERIFY(!r.err.contains(messageText(2)));
    // Nothing half-written is left: no backup under the name, no temporary file beside it.
    QVERIFY(!QFile::exists(backup));
    QCOMPARE(QDir(lib.dir()).entryList({QStringLiteral("z.fzl*")}, QDir::Files | QDir::Hidden).size(), 0);

    // The database was reopened by the tool and is unharmed.
    QVERIFY(readFile(lib.dbPath()) == saved);
    QCOMPARE(Database::open(lib.dbPath()), Database::OpenResult::Ok);
    QCOMPARE(lib.rows("KNIHY"), 3);
}

void TestBackupCli::killedImportKeepsTheDatabase()
{
    TestLibrary lib;
    fill(lib, 4);
    Database::close();
    const QByteArray saved = readFile(lib.dbPath());

    // The backup arrives through a pipe, so the import can be caught in the middle of reading.
    const QString pipe = QDir(lib.dir()).filePath(QStringLiteral("zaloha.fzl"));
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QProcess p;
    p.start(QStringLiteral(FOLIVO_CLI), backupArgs("import", pipe, lib.dir()));
    QVERIFY(p.waitForStarted());
    int fd = -1;
    for (int i = 0; i < 1000 && fd < 0; ++i) {
        fd = ::open(QFile::encodeName(pipe).constData(), O_WRONLY | O_NONBLOCK);
        if (fd < 0)
            QTest::qWait(10);
    }
    QVERIFY(fd >= 0);
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    BackupHeader header;
    header.dataLength = 1000000;
    const QByteArray part = header.toBytes() + pattern(200000);
    QCOMPARE(::write(fd, part.constData(), size_t(part.size())), ssize_t(part.size()));

    // The write above returned, so the import has taken all but a pipe's buffer of it: it is in
    // the middle of reading, and holds the library as the program would.
    QCOMPARE(Database::open(lib.dbPath()), Database::OpenResult::Locked);

    p.kill();
    QVERIFY(p.waitForFinished());
    QCOMPARE(p.exitStatus(), QProcess::CrashExit);
    ::close(fd);

    QVERIFY(readFile(lib.dbPath()) == saved);
    QCOMPARE(Database::open(lib.dbPath()), Database::OpenResult::Ok);
    QCOMPARE(lib.rows("KNIHY"), 4);
    QVERIFY(!QFile::exists(QDir(lib.dir()).filePath(QStringLiteral("Temp/Tmp_old.dat"))));
    // The half-read image is gone once the library was opened again.
    QVERIFY(QDir(QDir(lib.dir()).filePath(QStringLiteral("Temp")))
                .entryList(QDir::Files | QDir::Hidden)
                .isEmpty());
}

QTEST_GUILESS_MAIN(TestBackupCli)
#include "test_backupcli.moc"
