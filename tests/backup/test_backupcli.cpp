// folivo-cli backup export|import as a separate process: what the command adds to the backup
// jobs (whose own test pins the copy and its failures) is its options, its exit codes and what it
// prints, and its lock against the running program.
#include "backuptesthelpers.h"
#include "data/database.h"
#include "support/testsupport.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

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

    // A refused restore keeps the data; the command prints the message the program would show.
    r = backup("import", file + QStringLiteral(".x"), lib.dir());
    QCOMPARE(r.code, 4);
    QVERIFY2(r.err.contains(messageText(99)), qPrintable(r.err));
    QVERIFY(readFile(lib.dbPath()) == saved);

    // Wrong use.
    QCOMPARE(runCli(words("backup restore") << file).code, 1);
    QCOMPARE(runCli(words("backup export")).code, 1);
    QCOMPARE(backup("import", file, lib.dir() + QStringLiteral("/nowhere")).code, 1);
    QCOMPARE(backup("export", file, lib.dir(), {QStringLiteral("--force")}).code, 1);

    // Nothing to back up: a data directory without a library, a damaged database. (That a
    // restore replaces both is test_crashpoints'.)
    QTemporaryDir empty;
    QCOMPARE(backup("export", file, empty.path(), overwrite).code, 1);
    QVERIFY(writeFile(lib.dbPath(), pattern(8192)));
    QCOMPARE(backup("export", file, lib.dir(), overwrite).code, 1);
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

QTEST_GUILESS_MAIN(TestBackupCli)
#include "test_backupcli.moc"
