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
// check finds nothing and the action cut off is either wholly in the library or wholly absent.
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

enum class State
{
    Absent,
    Present,
    Broken
};

qint64 value(const QString &sql)
{
    QSqlQuery q = runSql(sql);
    return q.next() ? q.value(0).toLongLong() : -1;
}

qint64 counter(const char *column)
{
    return value(QStringLiteral("SELECT %1 FROM IDS").arg(QString::fromLatin1(column)));
}

QList<qint32> list(const QString &text)
{
    QList<qint32> out;
    for (const QString &p : text.split(u',', Qt::SkipEmptyParts))
        out << p.toInt();
    return out;
}

// Either every part of the action is there (all true) or none is (all false).
State wholly(const QList<bool> &parts)
{
    if (!parts.contains(false))
        return State::Present;
    if (!parts.contains(true))
        return State::Absent;
    return State::Broken;
}

// Reads the library for the action logged as "BEGIN <kind> key=value ...".
State actionState(const QString &kind, const QMap<QString, QString> &v, QString *detail)
{
    auto n = [&](const char *key) { return v.value(QString::fromLatin1(key)).toLongLong(); };
    auto s = [&](const char *key) { return v.value(QString::fromLatin1(key)); };
    QList<bool> parts;
    if (kind == QLatin1String("lend")) {
        const QList<qint32> books = list(s("books"));
        parts << (counter("ID_VYPUJCKY_FIRSTFREE") == n("number") + 1);
        parts << (value(QStringLiteral("SELECT COUNT(*) FROM VYPUJCKY WHERE ID_VYPUJCKY_VYPUJCKY = %1 AND "
                                       "ID_LIDE_VYPUJCKY = %2 AND NOT VRACENO")
                            .arg(n("number"))
                            .arg(n("client"))) == books.size());
        for (qint32 b : books)
            parts << (value(QStringLiteral(
                                "SELECT COUNT(*) FROM KNIHY WHERE ID_KNIHY_KNIHY = %1 AND VYPUJCENO AND "
                                "ID_VYPUJCKY_KNIHY = %2 AND ID_LIDE_KNIHY = %3")
                                .arg(b)
                                .arg(n("number"))
                                .arg(n("client"))) == 1);
        if (counter("ID_VYPUJCKY_FIRSTFREE") != n("number") && !parts.first())
            return State::Broken;
    } else if (kind == QLatin1String("return")) {
        const QList<qint32> books = list(s("books"));
        parts << (counter("ID_VRACENI_FIRSTFREE") == n("number") + 1);
        parts << (value(QStringLiteral("SELECT COUNT(*) FROM VRACENI WHERE ID_VRACENI_VRACENI = %1")
                            .arg(n("number"))) == books.size());
        for (qint32 b : books) {
            parts << (value(QStringLiteral(
                                "SELECT COUNT(*) FROM KNIHY WHERE ID_KNIHY_KNIHY = %1 AND NOT VYPUJCENO")
                                .arg(b)) == 1);
            parts << (value(QStringLiteral("SELECT VRACENO FROM VYPUJCKY WHERE ID_VYPUJCKY_VYPUJCKY = %1 AND "
                                           "ID_KNIHY_VYPUJCKY = %2")
                                .arg(n("loan"))
                                .arg(b)) == 1);
        }
        if (counter("ID_VRACENI_FIRSTFREE") != n("number") && !parts.first())
            return State::Broken;
    } else if (kind == QLatin1String("discard")) {
        const qint64 flag =
            value(QStringLiteral("SELECT VYRAZENO * 100000000 + DATUM_VYRAZENI FROM KNIHY WHERE "
                                 "ID_KNIHY_KNIHY = %1")
                      .arg(n("book")));
        if (flag == 100000000 + 20260315)
            return State::Present;
        return flag == -1 ? State::Absent : State::Broken;
    } else if (kind == QLatin1String("restore")) {
        const qint64 discarded =
            value(QStringLiteral("SELECT VYRAZENO FROM KNIHY WHERE ID_KNIHY_KNIHY = %1").arg(n("book")));
        if (discarded == 1)
            return State::Absent;
        return value(
                   QStringLiteral("SELECT ID_KATEGORIE_KNIHY * 1000 + (DATUM_VYRAZENI = -1) FROM KNIHY WHERE "
                                  "ID_KNIHY_KNIHY = %1")
                       .arg(n("book"))) == n("category") * 1000 + 1
                   ? State::Present
                   : State::Broken;
    } else if (kind == QLatin1String("newbook")) {
        parts << (counter("ID_KNIHY_FIRSTFREE") == n("id") + 1);
        parts << (value(QStringLiteral(
                            "SELECT COUNT(*) FROM KNIHY WHERE ID_KNIHY_KNIHY = %1 AND KOD = '%2' AND "
                            "PRIRUSTEK = %3")
                            .arg(n("id"))
                            .arg(s("code"))
                            .arg(n("accession"))) == 1);
        if (n("accession") > n("max"))
            parts << (counter("PRIRUSTEK_MAX") == n("accession"));
        if (!parts.first() && counter("ID_KNIHY_FIRSTFREE") != n("id"))
            return State::Broken;
    } else if (kind == QLatin1String("correct")) {
        const qint64 now =
            value(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE ID_KNIHY_KNIHY = %1 AND KOD = '%2' "
                                 "AND PRIRUSTEK = %3")
                      .arg(n("book"))
                      .arg(s("code"))
                      .arg(n("accession")));
        const qint64 before =
            value(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE ID_KNIHY_KNIHY = %1 AND KOD = "
                                 "'%2' AND PRIRUSTEK = %3")
                      .arg(n("book"))
                      .arg(s("oldcode"))
                      .arg(n("oldaccession")));
        const qint64 max = counter("PRIRUSTEK_MAX");
        if (now == 1 && max >= n("accession"))
            return State::Present;
        if (before == 1 && max == n("max"))
            return State::Absent;
        return State::Broken;
    } else if (kind == QLatin1String("delete")) {
        const qint64 book =
            value(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE ID_KNIHY_KNIHY = %1").arg(n("book")));
        const qint64 loans = value(
            QStringLiteral("SELECT COUNT(*) FROM VYPUJCKY WHERE ID_KNIHY_VYPUJCKY = %1").arg(n("book")));
        const qint64 returns =
            value(QStringLiteral("SELECT COUNT(*) FROM VRACENI WHERE ID_KNIHY_VRACENI = %1").arg(n("book")));
        if (book == 0 && loans == 0 && returns == 0)
            return State::Present;
        if (book == 1 && loans == n("loans") && returns == n("returns"))
            return State::Absent;
        return State::Broken;
    } else if (kind == QLatin1String("newcategory") || kind == QLatin1String("newclient")) {
        const bool category = kind == QLatin1String("newcategory");
        parts << (counter(category ? "ID_KATEGORIE_FIRSTFREE" : "ID_LIDE_FIRSTFREE") == n("id") + 1);
        parts << (value(
                      category
                          ? QStringLiteral("SELECT COUNT(*) FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE = %1 "
                                           "AND NAZEV = '%2'")
                                .arg(n("id"))
                                .arg(s("name"))
                          : QStringLiteral("SELECT COUNT(*) FROM LIDE WHERE ID_LIDE_LIDE = %1 AND KOD = '%2'")
                                .arg(n("id"))
                                .arg(s("code"))) == 1);
    } else if (kind == QLatin1String("rename")) {
        auto named = [&](const QString &name) {
            return value(QStringLiteral(
                             "SELECT COUNT(*) FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE = %1 AND NAZEV = "
                             "'%2'")
                             .arg(n("category"))
                             .arg(name)) == 1;
        };
        parts << named(s("new"));
        parts << !named(s("old"));
    } else if (kind == QLatin1String("move")) {
        const QList<qint32> books = list(s("books")), old = list(s("old"));
        bool allNew = true, allOld = true;
        for (int i = 0; i < books.size(); ++i) {
            const qint64 c =
                value(QStringLiteral("SELECT ID_KATEGORIE_KNIHY FROM KNIHY WHERE ID_KNIHY_KNIHY = %1")
                          .arg(books[i]));
            allNew = allNew && c == n("category");
            allOld = allOld && c == old[i];
        }
        return allNew ? State::Present : allOld ? State::Absent : State::Broken;
    } else if (kind == QLatin1String("changeclient")) {
        parts << (value(QStringLiteral("SELECT COUNT(*) FROM LIDE WHERE ID_LIDE_LIDE = %1 AND KOD = '%2'")
                            .arg(n("client"))
                            .arg(s("code"))) == 1);
        parts << (value(
                      QStringLiteral("SELECT COUNT(*) FROM LIDE WHERE ID_LIDE_LIDE = %1 AND PRIJMENI = '%2'")
                          .arg(n("client"))
                          .arg(s("surname"))) == 1);
    } else if (kind == QLatin1String("hidecategory") || kind == QLatin1String("hideclient")) {
        // One flag of one row: there is no half to find, only the row that must stay.
        const bool category = kind == QLatin1String("hidecategory");
        const qint64 shown = value(
            category ? QStringLiteral("SELECT UKAZOVAT FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE = %1")
                           .arg(n("category"))
                     : QStringLiteral("SELECT UKAZOVAT FROM LIDE WHERE ID_LIDE_LIDE = %1").arg(n("client")));
        return shown == 0 ? State::Present : shown == 1 ? State::Absent : State::Broken;
    } else {
        *detail = QStringLiteral("unknown action ") + kind;
        return State::Broken;
    }
    const State st = wholly(parts);
    if (st == State::Broken) {
        for (bool p : parts)
            *detail += p ? u'1' : u'0';
    }
    return st;
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
        const QStringList lines = QString::fromUtf8(log.readAll()).split(u'\n', Qt::SkipEmptyParts);
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
        const QStringList words = last.split(u' ');
        QMap<QString, QString> values;
        for (int i = 2; i < words.size(); ++i)
            values.insert(words[i].section(u'=', 0, 0), words[i].section(u'=', 1));
        QCOMPARE(Database::open(path), Database::OpenResult::Ok);
        QString detail;
        const State st = actionState(words[1], values, &detail);
        Database::close();
        QVERIFY2(st != State::Broken,
                 qPrintable(QStringLiteral("run %1: half of %2 %3").arg(run).arg(last, detail)));
        if (done)
            QVERIFY2(st == State::Present,
                     qPrintable(QStringLiteral("run %1: %2 logged done, not there").arg(run).arg(last)));
        else
            ++cutOff;
        if (st == State::Present && !done)
            ++finished;
    }
    qInfo("%d kills, %d actions, %d cut off (%d of them committed before the kill), %lld ms", kills, actions,
          cutOff, finished, timer.elapsed());
    // The kills must land inside actions, or the test proves nothing.
    QVERIFY(cutOff >= kills / 2);
}

QTEST_GUILESS_MAIN(TestCrash)
#include "test_crash.moc"
