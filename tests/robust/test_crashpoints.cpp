// A backup or a restore cut off at any point never costs the library: folivo-cli runs with a
// preloaded library that kills it after its N-th file-changing call, for every N in turn, and the
// next command (which first puts a cut-off restore right) must find a sound library that is byte
// for byte the old one or the new one, and a backup file that is either yesterday's or today's.
#include "backup/backupcore.h"
#include "backup/backuptesthelpers.h"
#include "data/database.h"
#include "data/libraryfiles.h"
#include "support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace BackupTest;

namespace {

struct Run
{
    bool killed = false;
    int code = -1;
    QString err;
};

// folivo-cli with the crash-point library preloaded; crashAt 0 only counts, into countFile.
Run cli(const QStringList &args, long crashAt = -1, const QString &countFile = QString())
{
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    if (crashAt >= 0) {
        env.insert(QStringLiteral("LD_PRELOAD"), QStringLiteral(FOLIVO_CRASH_SHIM));
        // A sanitized build wants its runtime first; the preloaded library only passes calls on.
        env.insert(QStringLiteral("ASAN_OPTIONS"),
                   env.value(QStringLiteral("ASAN_OPTIONS")) + QStringLiteral(":verify_asan_link_order=0"));
        if (crashAt > 0)
            env.insert(QStringLiteral("FOLIVO_CRASH_AT"), QString::number(crashAt));
        else
            env.insert(QStringLiteral("FOLIVO_CRASH_COUNT_FILE"), countFile);
    }
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(FOLIVO_CLI), args);
    Run r;
    if (!p.waitForFinished(120000))
        return r;
    r.killed = p.exitStatus() == QProcess::CrashExit;
    r.code = p.exitCode();
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

QStringList withDir(QStringList args, const QString &dataDir)
{
    return args << QStringLiteral("--data-dir") << dataDir;
}

// A small library with some history; its file's bytes.
QByteArray makeLibrary(int books, int seed)
{
    TestLibrary lib;
    const qint32 client = lib.addClient(QStringLiteral("K%1").arg(seed));
    QList<qint32> ids;
    for (int i = 0; i < books; ++i)
        ids << lib.addBook(QStringLiteral("B%1-%2").arg(seed).arg(i));
    lib.lend(ids.mid(0, 2), client, 20260301, 20260401);
    lib.giveBack(ids.mid(0, 1), 20260310);
    Database::close();
    return readFile(lib.dbPath());
}

// A data directory holding library bytes as its Folivo.db.
bool plant(const QString &dir, const QByteArray &library)
{
    QDir(dir).removeRecursively();
    return QDir().mkpath(dir) && writeFile(QDir(dir).filePath(QStringLiteral("Folivo.db")), library);
}

long countSteps(const QStringList &args, const QString &countFile)
{
    const Run r = cli(args, 0, countFile);
    if (r.killed || r.code != 0) {
        qWarning("the counting run failed (%d): %s", r.code, qPrintable(r.err));
        return -1;
    }
    return readFile(countFile).trimmed().toLong();
}

} // namespace

class TestCrashPoints : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void importSurvivesAKillAfterEveryStep_data();
    void importSurvivesAKillAfterEveryStep();
    void exportSurvivesAKillAfterEveryStep();
    void openingPutsACutOffRestoreRight();
    void importReplacesABrokenLibraryAndDropsItsJournal();
    void importKeepsTheLinkAndTheMode();

private:
    QTemporaryDir m_work;
    QByteArray m_old;
    QByteArray m_new;
};

void TestCrashPoints::initTestCase()
{
    QVERIFY(m_work.isValid());
    m_old = makeLibrary(6, 1);
    m_new = makeLibrary(9, 2);
    QVERIFY(!m_old.isEmpty() && !m_new.isEmpty() && m_old != m_new);
}

void TestCrashPoints::importSurvivesAKillAfterEveryStep_data()
{
    QTest::addColumn<bool>("tempElsewhere");
    QTest::newRow("Temp in the data directory") << false;
    struct stat work;
    struct stat shm;
    if (::stat(QFile::encodeName(m_work.path()).constData(), &work) == 0 && ::stat("/dev/shm", &shm) == 0 &&
        work.st_dev != shm.st_dev)
        QTest::newRow("Temp on another file system") << true;
}

void TestCrashPoints::importSurvivesAKillAfterEveryStep()
{
    QFETCH(bool, tempElsewhere);
    const QString dir = m_work.filePath(QStringLiteral("import"));
    const QString temp = QDir(dir).filePath(QStringLiteral("Temp"));
    const QString backup = m_work.filePath(QStringLiteral("novy.fzl"));
    QVERIFY(writeFile(backup, framedBackup(m_new, 7)));
    const QStringList args = withDir({QStringLiteral("backup"), QStringLiteral("import"), backup}, dir);
    QTemporaryDir other(QStringLiteral("/dev/shm/folivo-temp-XXXXXX"));
    const auto start = [&] {
        if (!plant(dir, m_old))
            return false;
        return !tempElsewhere || QFile::link(other.path(), temp);
    };
    QVERIFY(start());
    const long steps = countSteps(args, m_work.filePath(QStringLiteral("count")));
    QVERIFY2(steps > 5, qPrintable(QString::number(steps)));
    QVERIFY(readFile(QDir(dir).filePath(QStringLiteral("Folivo.db"))) == m_new);
    QVERIFY(QDir(dir).entryList({QStringLiteral("Folivo.db.*")}, QDir::Files | QDir::Hidden).isEmpty());

    int sawOld = 0;
    int sawNew = 0;
    for (long k = 1; k <= steps; ++k) {
        QVERIFY(start());
        const Run cut = cli(args, k);
        QVERIFY2(cut.killed, qPrintable(QStringLiteral("step %1 of %2 was not reached").arg(k).arg(steps)));
        // The next command puts things right, then finds the library sound.
        const Run check = cli(withDir({QStringLiteral("check")}, dir));
        QVERIFY2(check.code == 0, qPrintable(QStringLiteral("after step %1: %2").arg(k).arg(check.err)));
        const QByteArray now = readFile(QDir(dir).filePath(QStringLiteral("Folivo.db")));
        QVERIFY2(now == m_old || now == m_new, qPrintable(QStringLiteral("after step %1").arg(k)));
        (now == m_old ? sawOld : sawNew)++;
        // Nothing of the cut-off restore is left once the library was opened.
        QVERIFY2(QDir(temp).entryList(QDir::Files | QDir::Hidden).isEmpty(),
                 qPrintable(QStringLiteral("after step %1").arg(k)));
        // And the backup it read is untouched.
        QVERIFY(readFile(backup) == framedBackup(m_new, 7));
    }
    QVERIFY(sawOld > 0);
    QVERIFY(sawNew > 0);
}

void TestCrashPoints::exportSurvivesAKillAfterEveryStep()
{
    const QString dir = m_work.filePath(QStringLiteral("export"));
    const QString backup = m_work.filePath(QStringLiteral("zaloha.fzl"));
    const QByteArray yesterday = framedBackup(m_new, 3);
    const QStringList args = withDir(
        {QStringLiteral("backup"), QStringLiteral("export"), backup, QStringLiteral("--overwrite")}, dir);
    QVERIFY(plant(dir, m_old));
    QVERIFY(writeFile(backup, yesterday));
    const long steps = countSteps(args, m_work.filePath(QStringLiteral("count")));
    QVERIFY2(steps > 3, qPrintable(QString::number(steps)));

    int sawYesterday = 0;
    int sawToday = 0;
    for (long k = 1; k <= steps; ++k) {
        QVERIFY(plant(dir, m_old));
        QVERIFY(writeFile(backup, yesterday));
        const Run cut = cli(args, k);
        QVERIFY2(cut.killed, qPrintable(QStringLiteral("step %1 of %2 was not reached").arg(k).arg(steps)));
        const QByteArray file = readFile(backup);
        const bool today = file.size() == m_old.size() + 32 && file.mid(24, m_old.size()) == m_old &&
                           file.right(8) == QByteArray::fromHex("0011001100110011");
        QVERIFY2(file == yesterday || today, qPrintable(QStringLiteral("after step %1").arg(k)));
        (today ? sawToday : sawYesterday)++;
        // The library itself is never touched by an export.
        QVERIFY(readFile(QDir(dir).filePath(QStringLiteral("Folivo.db"))) == m_old);
    }
    QVERIFY(sawYesterday > 0);
    QVERIFY(sawToday > 0);
}

void TestCrashPoints::openingPutsACutOffRestoreRight()
{
    // States an older program (two renames) or a power cut could leave behind.
    const QString dir = m_work.filePath(QStringLiteral("recover"));
    const QString live = QDir(dir).filePath(QStringLiteral("Folivo.db"));
    const QString previous = LibraryFiles::previousImagePath(dir);
    const QString restored = LibraryFiles::restoredImagePath(dir);
    struct Case
    {
        const char *name;
        QByteArray previous; // empty: no such file
        QByteArray restored;
        QByteArray expected;
    };
    const QByteArray garbage = QByteArray(8192, 'x');
    const QList<Case> cases = {
        {"the old library moved away, the new one not yet in place", m_old, m_new, m_old},
        {"the old library damaged, the verified new one complete", garbage, m_new, m_new},
        {"the new image torn, no old library", {}, m_new.left(m_new.size() / 2), {}},
    };
    for (const Case &c : cases) {
        QVERIFY(plant(dir, {}));
        QVERIFY(QFile::remove(live));
        QVERIFY(QDir(dir).mkpath(QStringLiteral("Temp")));
        if (!c.previous.isEmpty())
            QVERIFY(writeFile(previous, c.previous));
        if (!c.restored.isEmpty())
            QVERIFY(writeFile(restored, c.restored));
        const Run check = cli(withDir({QStringLiteral("check")}, dir));
        if (c.expected.isEmpty()) {
            // Nothing sound to put back: nothing is made up, and what there is stays.
            QVERIFY2(check.code == 2, c.name);
            QVERIFY2(!QFile::exists(live), c.name);
            QVERIFY2(readFile(restored) == c.restored, c.name);
            continue;
        }
        QVERIFY2(check.code == 0, qPrintable(QString::fromLatin1(c.name) + QLatin1Char(' ') + check.err));
        QVERIFY2(check.err.contains(QString::fromUtf8("obnova dat ze zálohy nebyla dokončena")), c.name);
        QVERIFY2(readFile(live) == c.expected, c.name);
        QVERIFY2(QDir(QDir(dir).filePath(QStringLiteral("Temp"))).entryList(QDir::Files).isEmpty(), c.name);
    }
}

void TestCrashPoints::importReplacesABrokenLibraryAndDropsItsJournal()
{
    const QString dir = m_work.filePath(QStringLiteral("broken"));
    const QString live = QDir(dir).filePath(QStringLiteral("Folivo.db"));
    const QString backup = m_work.filePath(QStringLiteral("dobra.fzl"));
    QVERIFY(writeFile(backup, framedBackup(m_new, 9)));

    // A hot journal: a process that died in the middle of a large transaction on the old library.
    QVERIFY(plant(dir, m_old));
    const pid_t child = ::fork();
    if (child == 0) {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("dying"));
        db.setDatabaseName(live);
        if (db.open()) {
            QSqlQuery q(db);
            q.exec(QStringLiteral("PRAGMA cache_size=1"));
            q.exec(QStringLiteral("BEGIN"));
            for (int i = 0; i < 200; ++i)
                q.exec(QStringLiteral("INSERT INTO KATEGORIE VALUES (%1, '%2', 1)")
                           .arg(1000 + i)
                           .arg(QString(400, QLatin1Char(char('a' + i % 26)))));
        }
        ::_exit(0); // no commit, no rollback: the journal stays hot
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    const QByteArray journal = readFile(live + QStringLiteral("-journal"));
    QVERIFY2(journal.size() > 512, "no hot journal was left");

    // The library is then damaged as well, and its journal is still beside it.
    QVERIFY(writeFile(live, QByteArray(16384, '\x5a')));
    QVERIFY(writeFile(live + QStringLiteral("-journal"), journal));
    const Run check = cli(withDir({QStringLiteral("check")}, dir));
    QCOMPARE(check.code, 1);
    const Run restore = cli(withDir({QStringLiteral("backup"), QStringLiteral("import"), backup}, dir));
    QVERIFY2(restore.code == 0, qPrintable(restore.err));
    QVERIFY(!QFile::exists(live + QStringLiteral("-journal")));
    QCOMPARE(cli(withDir({QStringLiteral("check")}, dir)).code, 0);
    QVERIFY(readFile(live) == m_new);

    // An empty library file is restored as well.
    QVERIFY(writeFile(live, QByteArray()));
    QCOMPARE(cli(withDir({QStringLiteral("backup"), QStringLiteral("import"), backup}, dir)).code, 0);
    QVERIFY(readFile(live) == m_new);
}

void TestCrashPoints::importKeepsTheLinkAndTheMode()
{
    const QString dir = m_work.filePath(QStringLiteral("linked"));
    const QString elsewhere = m_work.filePath(QStringLiteral("elsewhere"));
    QVERIFY(plant(dir, {}));
    QVERIFY(plant(elsewhere, m_old));
    const QString live = QDir(dir).filePath(QStringLiteral("Folivo.db"));
    const QString target = QDir(elsewhere).filePath(QStringLiteral("Folivo.db"));
    QVERIFY(QFile::remove(live));
    QVERIFY(QFile::link(target, live));
    QVERIFY(::chmod(QFile::encodeName(target).constData(), 0640) == 0);
    const QString backup = m_work.filePath(QStringLiteral("odkaz.fzl"));
    QVERIFY(writeFile(backup, framedBackup(m_new, 4)));

    const Run restore = cli(withDir({QStringLiteral("backup"), QStringLiteral("import"), backup}, dir));
    QVERIFY2(restore.code == 0, qPrintable(restore.err));
    QVERIFY(QFileInfo(live).isSymLink());
    QCOMPARE(QFileInfo(live).symLinkTarget(), target);
    QVERIFY(readFile(target) == m_new);
    struct stat st;
    QCOMPARE(::stat(QFile::encodeName(target).constData(), &st), 0);
    QCOMPARE(int(st.st_mode & 07777), 0640);
}

QTEST_GUILESS_MAIN(TestCrashPoints)
#include "test_crashpoints.moc"
