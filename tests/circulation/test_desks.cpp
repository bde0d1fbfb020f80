// Four desks at once on one server library: folivo-cli desk-sim processes lend, return, discard
// and restore the same 200 books for 50 clients, catalogue new books and register, recode and
// remove clients, racing for the same codes. Afterwards the library passes the whole check (no code
// held twice among them), every loan, return, recode and removal a desk saw succeed is in the tables
// as it wrote it, and the counters handed out every number once, with no gap a refused write left.
#include "data/serveraddress.h"
#include "support/testpostgres.h"
#include "support/testsupport.h"

#include <QDir>
#include <QMap>
#include <QProcess>
#include <QSet>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <vector>

namespace {

// The rows of one number (sql has it as %1), sorted.
QStringList rowsOf(QSqlDatabase db, const QString &sql, int number)
{
    QSqlQuery q(db);
    QStringList rows;
    if (q.exec(sql.arg(number)))
        while (q.next())
            rows << q.value(0).toString();
    rows.sort();
    return rows;
}

qint64 scalar(QSqlDatabase db, const QString &sql)
{
    QSqlQuery q(db);
    return q.exec(sql) && q.next() ? q.value(0).toLongLong() : -1;
}

} // namespace

class TestDesks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fourDesksAtOnce();
};

void TestDesks::fourDesksAtOnce()
{
    QString why;
    if (!TestPostgres::available(&why))
        QSKIP(qPrintable(why));
    const QString url = TestPostgres::createDatabase(QStringLiteral("desks"));
    QVERIFY(!url.isEmpty());
    QTemporaryDir root;
    const QString setup = root.filePath(QStringLiteral("setup"));
    QVERIFY(QDir().mkpath(setup));
    const QStringList place = {QStringLiteral("--database"), url, QStringLiteral("--data-dir"), setup};
    CliRun r = runCli(words("init") + place);
    QVERIFY2(r.code == 0, qPrintable(r.said()));
    r = runCli(words("demo --books 200 --clients 50 --seed 3") + place);
    QVERIFY2(r.code == 0, qPrintable(r.said()));

    const QString connection = QStringLiteral("desks-test");
    {
        QSqlDatabase db = ServerAddress::parse(url)->addConnection(connection);
        QVERIFY2(db.open(), qPrintable(db.lastError().text()));
        const qint64 firstLoan = scalar(db, QStringLiteral("SELECT ID_VYPUJCKY_FIRSTFREE FROM IDS"));
        const qint64 firstReturn = scalar(db, QStringLiteral("SELECT ID_VRACENI_FIRSTFREE FROM IDS"));
        QVERIFY(firstLoan > 0 && firstReturn > 0);
        // The counters of books and clients, and the rows of both.
        const auto countsNow = [&] {
            return QList<qint64>{
                scalar(db,
                       QStringLiteral("SELECT ID_KNIHY_FIRSTFREE * 1000000 + ID_LIDE_FIRSTFREE FROM IDS")),
                scalar(db,
                       QStringLiteral(
                           "SELECT (SELECT COUNT(*) FROM KNIHY) * 1000000 + (SELECT COUNT(*) FROM LIDE)"))};
        };
        const QList<qint64> before = countsNow();

        std::vector<std::unique_ptr<QProcess>> desks;
        for (int i = 0; i < 4; ++i) {
            const QString dir = root.filePath(QStringLiteral("pult%1").arg(i));
            QVERIFY(QDir().mkpath(dir));
            auto p = std::make_unique<QProcess>();
            p->start(QStringLiteral(FOLIVO_CLI), words("desk-sim --ops 500 --database")
                                                     << url << QStringLiteral("--data-dir") << dir
                                                     << QStringLiteral("--seed") << QString::number(11 + i));
            desks.push_back(std::move(p));
        }
        QStringList lines;
        for (auto &p : desks) {
            QVERIFY(p->waitForFinished(300000));
            QCOMPARE(p->exitStatus(), QProcess::NormalExit);
            QVERIFY2(p->exitCode() == 0, p->readAllStandardError().constData());
            lines +=
                QString::fromUtf8(p->readAllStandardOutput()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        }

        // Every loan and return a desk saw succeed is in the tables as it wrote it.
        QSet<qint64> loans;
        QSet<qint64> returns;
        int refused = 0;
        qint64 books = 0;
        qint64 clients = 0;
        QMap<int, QStringList> codesOf;
        QMap<QString, int> refusedKinds;
        for (const QString &line : std::as_const(lines)) {
            const QStringList w = line.split(QLatin1Char(' '));
            if (w.at(0) == QLatin1String("loan")) {
                QVERIFY2(!loans.contains(w.at(1).toLongLong()), qPrintable(line)); // never handed out twice
                loans.insert(w.at(1).toLongLong());
                QStringList want;
                for (const QString &book : w.mid(3))
                    want << w.at(2) + QLatin1Char(':') + book;
                want.sort();
                QCOMPARE(
                    rowsOf(db,
                           QStringLiteral("SELECT ID_LIDE_VYPUJCKY || ':' || ID_KNIHY_VYPUJCKY FROM VYPUJCKY "
                                          "WHERE ID_VYPUJCKY_VYPUJCKY = %1"),
                           w.at(1).toInt()),
                    want);
            } else if (w.at(0) == QLatin1String("return")) {
                QVERIFY2(!returns.contains(w.at(1).toLongLong()), qPrintable(line));
                returns.insert(w.at(1).toLongLong());
                QCOMPARE(
                    rowsOf(db,
                           QStringLiteral(
                               "SELECT ID_KNIHY_VRACENI::text FROM VRACENI WHERE ID_VRACENI_VRACENI = %1"),
                           w.at(1).toInt()),
                    QStringList{w.at(2)});
            } else if (w.at(0) == QLatin1String("book")) {
                ++books; // its row: counted below
            } else if (w.at(0) == QLatin1String("client") || w.at(0) == QLatin1String("recode")) {
                codesOf[w.at(1).toInt()] << w.at(2);
                clients += w.at(0) == QLatin1String("client") ? 1 : 0;
            } else if (w.at(0) == QLatin1String("hide")) {
                QCOMPARE(
                    rowsOf(db, QStringLiteral("SELECT UKAZOVAT::int::text FROM LIDE WHERE ID_LIDE_LIDE = %1"),
                           w.at(1).toInt()),
                    QStringList{QStringLiteral("0")});
            } else if (w.at(0) == QLatin1String("discard") || w.at(0) == QLatin1String("restore")) {
                // a later restore or discard may have undone it: the whole check covers them
            } else {
                // A write fails only when the database does; another desk's work is a refusal.
                QVERIFY2(w.at(0) == QLatin1String("refused"), qPrintable(line));
                ++refused;
                ++refusedKinds[w.value(1)];
            }
        }
        // A client's code is the last one a desk gave it.
        for (auto it = codesOf.cbegin(); it != codesOf.cend(); ++it) {
            const QStringList now =
                rowsOf(db, QStringLiteral("SELECT KOD FROM LIDE WHERE ID_LIDE_LIDE = %1"), it.key());
            QVERIFY2(now.size() == 1 && it.value().contains(now.at(0)),
                     qPrintable(now.join(QLatin1Char(','))));
        }
        // New books and clients took one identifier and one row each; a refused one neither.
        const QList<qint64> after = countsNow();
        QCOMPARE(after.at(0) - before.at(0), books * 1000000 + clients);
        QCOMPARE(after.at(1) - before.at(1), books * 1000000 + clients);
        QVERIFY(books > 20 && clients > 10);
        QVERIFY(refusedKinds.value(QStringLiteral("book")) + refusedKinds.value(QStringLiteral("client")) +
                    refusedKinds.value(QStringLiteral("recode")) >
                0);
        QVERIFY(loans.size() > 200 && returns.size() > 100);
        qInfo("%d operations, %d refused because another desk got there first", int(lines.size()), refused);

        // The counters moved by exactly the numbers the successful writes used (each of them
        // distinct and holding the rows written): a refused write left no number behind.
        const qint64 lastLoan = scalar(db, QStringLiteral("SELECT ID_VYPUJCKY_FIRSTFREE FROM IDS"));
        const qint64 lastReturn = scalar(db, QStringLiteral("SELECT ID_VRACENI_FIRSTFREE FROM IDS"));
        QCOMPARE(lastLoan - firstLoan, qint64(loans.size()));
        QCOMPARE(lastReturn - firstReturn, qint64(returns.size()));
        db.close();
    }
    QSqlDatabase::removeDatabase(connection);

    // The whole check, every rule between the records included: no code held twice, letter case
    // aside, no book lent twice, no row under a number not handed out.
    r = runCli(words("check") + place);
    QVERIFY2(r.code == 0, qPrintable(r.said()));
}

QTEST_GUILESS_MAIN(TestDesks)
#include "test_desks.moc"
