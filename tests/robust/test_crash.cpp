#include "cli/demo.h"
#include "data/database.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

#include <signal.h>

// The library survives a process killed at any moment: a driver runs the core's writes in a
// random loop on a demo library and is killed with SIGKILL again and again. After each kill the
// check finds nothing and the action cut off is either wholly in the library or wholly absent:
// the library meets the driver's statement of the state before the action or the one of the
// state after it, never neither.
class TestCrash : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void killedAtRandomMoments();

private:
    QTemporaryDir m_dir;
};

namespace {

// Whether the statement logged by the driver (yielding 1 or 0) holds on the library.
bool holds(const QString &statement)
{
    QSqlQuery q = runSql(statement);
    return q.next() && q.value(0).toInt() == 1;
}

} // namespace

void TestCrash::initTestCase()
{
    QVERIFY(m_dir.isValid());
    const QString path = m_dir.filePath(QString::fromLatin1(Database::FileName));
    QString error;
    QVERIFY2(Database::createEmpty(path, &error), qPrintable(error));
    QCOMPARE(Database::open(path, &error), Database::OpenResult::Ok);
    DemoOptions options;
    options.books = 2000;
    options.clients = 200;
    fillDemoLibrary(options);
    Database::close();
}

void TestCrash::killedAtRandomMoments()
{
    const int kills = qEnvironmentVariableIntValue("FOLIVO_CRASH_KILLS") > 0
                          ? qEnvironmentVariableIntValue("FOLIVO_CRASH_KILLS")
                          : 200;
    const QString path = m_dir.filePath(QString::fromLatin1(Database::FileName));
    const QString logPath = m_dir.filePath(QStringLiteral("driver.log"));
    QRandomGenerator rng(20260315);
    int cutOff = 0, finished = 0, actions = 0;
    QElapsedTimer timer;
    timer.start();
    for (int run = 0; run < kills; ++run) {
        QFile::remove(logPath);
        QProcess driver;
        driver.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        driver.start(QStringLiteral(FOLIVO_CRASHDRIVER), {m_dir.path(), logPath, QString::number(run)});
        QVERIFY2(driver.waitForStarted(), qPrintable(driver.errorString()));
        // Wait until the driver has the library open, then let it work for a random while.
        QElapsedTimer ready;
        ready.start();
        for (;;) {
            QFile log(logPath);
            if (log.open(QIODevice::ReadOnly) && log.size() > 0)
                break;
            QVERIFY2(driver.state() == QProcess::Running, "the driver ended before it was ready");
            QVERIFY2(ready.elapsed() < 10000, "the driver did not get ready");
            QThread::usleep(500);
        }
        QThread::usleep(rng.bounded(1000, 40000));
        QVERIFY2(driver.state() == QProcess::Running, "the driver ended on its own");
        ::kill(pid_t(driver.processId()), SIGKILL);
        QVERIFY(driver.waitForFinished(10000));
        QCOMPARE(driver.exitStatus(), QProcess::CrashExit);

        QProcess check;
        check.start(QStringLiteral(FOLIVO_CLI),
                    {QStringLiteral("check"), QStringLiteral("--data-dir"), m_dir.path()});
        QVERIFY(check.waitForFinished(60000));
        QVERIFY2(check.exitStatus() == QProcess::NormalExit && check.exitCode() == 0,
                 qPrintable(QStringLiteral("run %1: %2%3")
                                .arg(run)
                                .arg(QString::fromUtf8(check.readAllStandardOutput()),
                                     QString::fromUtf8(check.readAllStandardError()))));

        QFile log(logPath);
        QVERIFY(log.open(QIODevice::ReadOnly));
        QString text = QString::fromUtf8(log.readAll());
        // A kill can tear a long line that crosses a page of the file; the driver starts an action
        // only once its line is written whole, so a torn last line stands for nothing begun.
        text.truncate(text.lastIndexOf(u'\n') + 1);
        const QStringList lines = text.split(u'\n', Qt::SkipEmptyParts);
        QString last;
        bool done = false;
        for (const QString &l : lines) {
            if (l.startsWith(QLatin1String("BEGIN "))) {
                last = l;
                done = false;
                ++actions;
            } else if (l == QLatin1String("DONE")) {
                done = true;
            }
        }
        if (last.isEmpty())
            continue;
        // "BEGIN <kind>\t<the library as before>\t<the whole action there>"
        const QStringList parts = last.split(u'\t');
        QCOMPARE(parts.size(), 3);
        QCOMPARE(Database::open(path), Database::OpenResult::Ok);
        const bool before = holds(parts.at(1));
        const bool after = holds(parts.at(2));
        Database::close();
        QVERIFY2(before != after, qPrintable(QStringLiteral("run %1: %2 %3")
                                                 .arg(run)
                                                 .arg(parts.at(0))
                                                 .arg(before ? QStringLiteral("both before and after")
                                                             : QStringLiteral("cut in half"))));
        if (done)
            QVERIFY2(
                after,
                qPrintable(QStringLiteral("run %1: %2 logged done, not there").arg(run).arg(parts.at(0))));
        else
            ++cutOff;
        if (after && !done)
            ++finished;
    }
    qInfo("%d kills, %d actions, %d cut off (%d of them committed before the kill), %lld ms", kills, actions,
          cutOff, finished, timer.elapsed());
    // The kills must land inside actions, or the test proves nothing.
    QVERIFY(cutOff >= kills / 2);
}

QTEST_GUILESS_MAIN(TestCrash)
#include "test_crash.moc"
