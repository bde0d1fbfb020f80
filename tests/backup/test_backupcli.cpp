// folivo-cli backup export|import as a separate process: what the command adds to the backup
// jobs (whose own test pins the copy and its failures) is its options, its exit codes and what it
// prints, and its lock against the running program.
#include "backuptesthelpers.h"
#include "data/database.h"
#include "support/testsupport.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/resource.h>

using namespace BackupTest;

namespace {

CliRun backup(const char *action, const QString &file, const QString &dataDir, const QStringList &more = {})
{
    return runCli(QStringList{QStringLiteral("backup"), QString::fromLatin1(action), file,
                              QStringLiteral("--data-dir"), dataDir} +
                  more);
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
};

void TestBackupCli::roundTripAndExitCodes()
{
    TestLibrary lib;
    fill(lib, 5);
    Database::close();
    const QByteArray saved = readFile(lib.dbPath());
    const QString file = QDir(lib.dir()).filePath(QStringLiteral("nocni.fzl"));
    const QStringList overwrite{QStringLiteral("--overwrite")};

    CliRun r = backup("export", file, lib.dir());
    QCOMPARE(r.code, 0);
    QVERIFY(r.err.contains(QString::fromUtf8("Export dat byl úspěšně dokončen!")));
    QCOMPARE(readFile(file).size(), saved.size() + 32);
    QVERIFY(readFile(file).mid(24, saved.size()) == saved);

    // An existing backup is replaced only when asked to.
    r = backup("export", file, lib.dir());
    QCOMPARE(r.code, 1);
    QVERIFY(r.err.contains(QStringLiteral("--overwrite")));
    QCOMPARE(backup("export", file, lib.dir(), overwrite).code, 0);

    // Work after the backup is undone by the restore, byte for byte.
    QVERIFY(lib.reopen());
    fill(lib, 1);
    Database::close();
    r = backup("import", file, lib.dir());
    QCOMPARE(r.code, 0);
    QVERIFY(r.err.contains(QString::fromUtf8("Data byly úspěšně obnoveny ze zálohy!")));
    QVERIFY(readFile(lib.dbPath()) == saved);

    // Failures that keep the data: a missing backup (99), an empty name (98), not a backup (102).
    const struct
    {
        QString file;
        int message;
    } refused[] = {{file + QStringLiteral(".x"), 99}, {QString(), 98}, {lib.dbPath(), 102}};
    for (const auto &f : refused) {
        r = backup("import", f.file, lib.dir());
        QCOMPARE(r.code, 4);
        QVERIFY2(r.err.contains(messageText(f.message)), qPrintable(r.err));
    }
    QVERIFY(readFile(lib.dbPath()) == saved);

    // Wrong use.
    QCOMPARE(runCli(words("backup restore") << file).code, 1);
    QCOMPARE(runCli(words("backup export")).code, 1);
    QCOMPARE(backup("import", file, lib.dir() + QStringLiteral("/nowhere")).code, 1);
    QCOMPARE(backup("export", file, lib.dir(), {QStringLiteral("--force")}).code, 1);

    // A data directory without a library: nothing to back up, but a restore puts one there.
    QTemporaryDir empty;
    QCOMPARE(backup("export", file, empty.path(), overwrite).code, 1);
    QCOMPARE(backup("import", file, empty.path()).code, 0);
    QVERIFY(readFile(QDir(empty.path()).filePath(QStringLiteral("Folivo.db"))) == saved);

    // A damaged database is what a restore is for: it is replaced.
    QVERIFY(writeFile(lib.dbPath(), pattern(8192)));
    QCOMPARE(backup("export", file, lib.dir(), overwrite).code, 1);
    QCOMPARE(backup("import", file, lib.dir()).code, 0);
    QVERIFY(readFile(lib.dbPath()) == saved);
}

void TestBackupCli::refusedWhileTheProgramHoldsTheDatabase()
{
    TestLibrary lib; // holds the database open, as the running program does
    fill(lib, 2);
    const QString file = QDir(lib.dir()).filePath(QStringLiteral("z.fzl"));
    CliRun r = backup("export", file, lib.dir());
    QCOMPARE(r.code, 3);
    QVERIFY(r.err.contains(QStringLiteral("in use")));
    QVERIFY(!QFile::exists(file));

    QVERIFY(writeFile(file, QByteArray("whatever")));
    QCOMPARE(backup("import", file, lib.dir()).code, 3);
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
    const QString file = QDir(lib.dir()).filePath(QStringLiteral("z.fzl"));

    // The file system "fills up" after 150,000 bytes of the backup: the third block fails.
    const CliRun r = runCli(QStringList{QStringLiteral("backup"), QStringLiteral("export"), file,
                                        QStringLiteral("--data-dir"), lib.dir()},
                            [] {
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
    // Nothing half-written is left, and the library is unharmed.
    QCOMPARE(QDir(lib.dir()).entryList({QStringLiteral("z.fzl*")}, QDir::Files | QDir::Hidden).size(), 0);
    QVERIFY(readFile(lib.dbPath()) == saved);
}

QTEST_GUILESS_MAIN(TestBackupCli)
#include "test_backupcli.moc"
