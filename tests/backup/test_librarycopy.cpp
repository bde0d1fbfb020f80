// Moving a library between a data directory and a server: folivo-cli copy (the rows arrive as
// they were, a copy is made only into an empty library, a copy that does not pass the check
// installs nothing) and the backup, whose one file format carries a library from either engine to
// the other.
#include "backuptesthelpers.h"
#include "data/database.h"
#include "data/librarytransfer.h"
#include "data/serveraddress.h"
#include "support/testpostgres.h"
#include "support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

using namespace BackupTest;

namespace {

CliRun copy(const QString &from, const QString &to)
{
    return runCli(words("copy --from") << from << QStringLiteral("--to") << to);
}

// A connection of the test's own to a server database or a library file, closed at the end.
class Connection final
{
public:
    explicit Connection(const QString &place) : m_name(QStringLiteral("test-%1").arg(++s_serial))
    {
        if (ServerAddress::looksLikeServer(place)) {
            QSqlDatabase db = ServerAddress::parse(place)->addConnection(m_name);
            db.open();
        } else {
            QString error;
            LibraryTransfer::openFile(QDir(place).filePath(QStringLiteral("Folivo.db")), m_name, true,
                                      &error);
        }
    }
    ~Connection()
    {
        QSqlDatabase::database(m_name, false).close();
        QSqlDatabase::removeDatabase(m_name);
    }
    QSqlDatabase db() const { return QSqlDatabase::database(m_name, false); }
    bool exec(const QString &sql)
    {
        QSqlQuery q(db());
        if (!q.exec(sql))
            qWarning("%s: %s", qPrintable(sql), qPrintable(q.lastError().text()));
        return !q.lastError().isValid();
    }

private:
    QString m_name;
    static inline int s_serial = 0;
};

QString makeDemo(const QTemporaryDir &root, const QString &name)
{
    const QString dir = root.filePath(name);
    return runCli(words("demo --books 400 --clients 40 --seed 7 --data-dir") << dir).code == 0 ? dir
                                                                                               : QString();
}

// An empty library on a new server database: the shipped tables, as init installs them.
QString emptyServerLibrary(const QString &tag)
{
    const QString url = TestPostgres::createDatabase(tag);
    QFile schema(QStringLiteral(":/folivo/schema-postgresql.sql"));
    if (url.isEmpty() || !schema.open(QIODevice::ReadOnly))
        return QString();
    Connection server(url);
    return server.exec(QString::fromUtf8(schema.readAll())) ? url : QString();
}

// The two libraries hold the same rows; the first difference otherwise.
QString difference(const QString &a, const QString &b)
{
    Connection first(a);
    Connection second(b);
    QString found;
    return LibraryTransfer::sameRows(first.db(), second.db(), &found) ? QString() : found;
}

} // namespace

class TestLibraryCopy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void toTheServerAndBack();
    void intoAFreshLibraryOnly();
    void backupsCarryALibraryBetweenEngines();
};

void TestLibraryCopy::init()
{
    QString why;
    if (!TestPostgres::available(&why))
        QSKIP(qPrintable(why));
}

void TestLibraryCopy::toTheServerAndBack()
{
    QTemporaryDir root;
    const QString source = makeDemo(root, QStringLiteral("skola"));
    QVERIFY(!source.isEmpty());
    const QString server = emptyServerLibrary(QStringLiteral("roundtrip"));
    QVERIFY(!server.isEmpty());

    CliRun r = copy(source, server);
    QVERIFY2(r.code == 0, qPrintable(r.err));
    const QString back = root.filePath(QStringLiteral("zpet"));
    r = copy(server, back);
    QVERIFY2(r.code == 0, qPrintable(r.err));

    QVERIFY(QFile::exists(QDir(back).filePath(QStringLiteral("rvmsgbit.dat"))));
    QCOMPARE(QDir(QDir(back).filePath(QStringLiteral("Temp"))).entryList(QDir::Files), QStringList());
    r = runCli(words("check --data-dir") << back);
    QVERIFY2(r.code == 0, qPrintable(r.err));

    QCOMPARE(difference(source, server), QString());
    QCOMPARE(difference(source, back), QString());
    {
        Connection a(source);
        QVERIFY(LibraryTransfer::recordCount(a.db()) > 1000);
        // The comparison itself sees a changed value.
        Connection c(back);
        QVERIFY(c.exec(QStringLiteral("UPDATE KNIHY SET NAZEV = NAZEV || '.' WHERE ID_KNIHY_KNIHY = 5")));
    }
    QVERIFY2(difference(source, back).startsWith(QStringLiteral("KNIHY, row 5, column NAZEV")),
             qPrintable(difference(source, back)));

    // A copy is made only into an empty library: the server library with rows, and the data
    // directory with a library (which now differs from the server's), are left as they are.
    const QByteArray before = readFile(QDir(back).filePath(QStringLiteral("Folivo.db")));
    r = copy(back, server);
    QCOMPARE(r.code, 1);
    QVERIFY2(r.err.contains(QStringLiteral("is not empty")), qPrintable(r.err));
    r = copy(server, back);
    QCOMPARE(r.code, 1);
    QVERIFY2(r.err.contains(QStringLiteral("is not empty")), qPrintable(r.err));
    QCOMPARE(readFile(QDir(back).filePath(QStringLiteral("Folivo.db"))), before);
    QCOMPARE(difference(source, server), QString());
}

// Where a copy may go: into a freshly installed library, never from or into a library the program
// has open, and only when it passes the library check.
void TestLibraryCopy::intoAFreshLibraryOnly()
{
    QTemporaryDir root;
    const QString source = makeDemo(root, QStringLiteral("a"));
    QVERIFY(!source.isEmpty());
    const QString emptyServer = emptyServerLibrary(QStringLiteral("busy"));
    QVERIFY(!emptyServer.isEmpty());

    // A freshly installed, empty library is replaced by the copy.
    const QString fresh = root.filePath(QStringLiteral("nova"));
    QCOMPARE(runCli(words("init --data-dir") << fresh).code, 0);
    CliRun r = copy(source, fresh);
    QVERIFY2(r.code == 0, qPrintable(r.err));
    QCOMPARE(difference(source, fresh), QString());

    // A server database without the library's tables, the same library twice, and no source.
    const QString bare = TestPostgres::createDatabase(QStringLiteral("bare"));
    r = copy(source, bare);
    QCOMPARE(r.code, 1);
    QVERIFY2(r.err.contains(QStringLiteral("init --database")), qPrintable(r.err));
    QCOMPARE(copy(source, source + QStringLiteral("/")).code, 2);
    QCOMPARE(copy(root.filePath(QStringLiteral("nic")), emptyServer).code, 2);

    // A library the program has open is neither read nor written.
    {
        TestLibrary open;
        QCOMPARE(copy(open.dir(), root.filePath(QStringLiteral("x"))).code, 3);
        QCOMPARE(copy(source, open.dir()).code, 3);
    }
    QString detail;
    QCOMPARE(Database::open(emptyServer, &detail, fresh), Database::OpenResult::Ok);
    QCOMPARE(copy(source, emptyServer).code, 3);
    Database::close();
    QCOMPARE(copy(source, emptyServer).code, 0);

    // A book marked lent with no loan: a broken rule between the records. Such a library is not
    // installed.
    {
        Connection c(source);
        QVERIFY(c.exec(
            QStringLiteral("UPDATE KNIHY SET VYPUJCENO = 1 WHERE ID_KNIHY_KNIHY = "
                           "(SELECT MIN(ID_KNIHY_KNIHY) FROM KNIHY WHERE VYPUJCENO = 0 AND VYRAZENO = 0)")));
    }
    const QString target = root.filePath(QStringLiteral("cil"));
    r = copy(source, target);
    QCOMPARE(r.code, 1);
    QVERIFY2(r.err.contains(QStringLiteral("did not pass the library check")), qPrintable(r.err));
    QVERIFY(!QFile::exists(QDir(target).filePath(QStringLiteral("Folivo.db"))));
    QCOMPARE(QDir(QDir(target).filePath(QStringLiteral("Temp"))).entryList(QDir::Files), QStringList());
}

void TestLibraryCopy::backupsCarryALibraryBetweenEngines()
{
    QTemporaryDir root;
    const QString source = makeDemo(root, QStringLiteral("puvodni"));
    QVERIFY(!source.isEmpty());
    const QString server = TestPostgres::createDatabase(QStringLiteral("backups"));
    QVERIFY(!server.isEmpty());
    CliRun r = runCli(words("init --database") << server);
    QVERIFY2(r.code == 0, qPrintable(r.err));
    const QString desk = root.filePath(QStringLiteral("pult"));
    QVERIFY(QDir().mkpath(desk));
    const QStringList onServer = {QStringLiteral("--data-dir"), desk, QStringLiteral("--database"), server};
    // "export" or "import" of the backup file on the server (empty dataDir) or in a data directory.
    const auto backup = [&](const char *action, const QString &file, const QString &dataDir = QString()) {
        const QStringList args = (words("backup") << QString::fromLatin1(action) << file) +
                                 (dataDir.isEmpty() ? onServer : words("--data-dir") << dataDir);
        const CliRun run = runCli(args);
        if (run.code != 0)
            qWarning("%s", qPrintable(args.join(u' ') + QStringLiteral(": ") + run.err));
        return run.code;
    };

    const QString fileBackup = root.filePath(QStringLiteral("ze-souboru.fzl"));
    const QString serverBackup = root.filePath(QStringLiteral("ze-serveru.fzl"));
    QCOMPARE(backup("export", fileBackup, source), 0);
    QCOMPARE(backup("import", fileBackup), 0);
    QCOMPARE(backup("export", serverBackup), 0);
    QCOMPARE(QDir(QDir(desk).filePath(QStringLiteral("Temp"))).entryList(QDir::Files), QStringList());
    const QString back = root.filePath(QStringLiteral("zpet"));
    QCOMPARE(runCli(words("init --data-dir") << back).code, 0);
    QCOMPARE(backup("import", serverBackup, back), 0);
    QCOMPARE(difference(source, server), QString());
    QCOMPARE(difference(source, back), QString());

    // A restore on the server waits for the other desks: while one is connected, nothing changes.
    const QString otherDesk = root.filePath(QStringLiteral("druhy-pult"));
    QVERIFY(QDir().mkpath(otherDesk));
    QString detail;
    QCOMPARE(Database::open(server, &detail, otherDesk), Database::OpenResult::Ok);
    const QString emptyBackup = root.filePath(QStringLiteral("prazdna.fzl"));
    const QString empty = root.filePath(QStringLiteral("prazdna"));
    QCOMPARE(runCli(words("init --data-dir") << empty).code, 0);
    QCOMPARE(backup("export", emptyBackup, empty), 0);
    QCOMPARE(backup("import", emptyBackup), 3);
    Database::close();
    QCOMPARE(difference(source, server), QString());
    // Alone, it replaces every table.
    QCOMPARE(backup("import", emptyBackup), 0);
    Connection b(server);
    QCOMPARE(LibraryTransfer::recordCount(b.db()), 0);
}

QTEST_GUILESS_MAIN(TestLibraryCopy)
#include "test_librarycopy.moc"
