#include "data/consistency.h"
#include "data/database.h"
#include "support/testsupport.h"

#include <QDir>
#include <QSqlRecord>
#include <QtTest>

class TestDemo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initInstallsOnceOnly();
    void demoLibraryLooksLikeALibraryInUse();
};

void TestDemo::initInstallsOnceOnly()
{
    QTemporaryDir dir;
    const QString data = dir.filePath(QStringLiteral("lib"));
    QCOMPARE(runCli(words("init --data-dir") << data).code, 0);
    QVERIFY(QFile::exists(QDir(data).filePath(QStringLiteral("Folivo.db"))));
    // The about box's picture comes with the database, a PNG under the program's own name.
    QVERIFY(fileBytes(QDir(data).filePath(QStringLiteral("rvmsgbit.dat"))).startsWith("\x89PNG\r\n\x1a\n"));
    CliRun r = runCli(words("init --data-dir") << data);
    QCOMPARE(r.code, 1);
    QVERIFY(r.err.contains(QStringLiteral("already exists")));
    QVERIFY(runCli(words("init --bogus")).code != 0);
    r = runCli(words("demo --books many --data-dir") << data);
    QVERIFY(r.code != 0);
    QVERIFY(r.err.contains(QStringLiteral("--books")));
}

void TestDemo::demoLibraryLooksLikeALibraryInUse()
{
    QTemporaryDir dir;
    QCOMPARE(runCli(words("demo --books 3000 --clients 300 --seed 7 --data-dir") << dir.path()).code, 0);
    // A second fill is refused: demo fills only an empty library.
    QCOMPARE(runCli(words("demo --data-dir") << dir.path()).code, 1);

    QCOMPARE(Database::open(QDir(dir.path()).filePath(QStringLiteral("Folivo.db"))),
             Database::OpenResult::Ok);
    auto count = [](const char *sql) {
        QSqlQuery q = runSql(QString::fromUtf8(sql));
        return q.next() ? q.value(0).toLongLong() : -1;
    };
    QCOMPARE(count("SELECT COUNT(*) FROM KNIHY"), 3000);
    QCOMPARE(count("SELECT COUNT(*) FROM LIDE"), 300);
    QVERIFY(count("SELECT COUNT(*) FROM VYPUJCKY") > 3000);
    QVERIFY(count("SELECT COUNT(*) FROM VRACENI") > 2000);
    QVERIFY(count("SELECT COUNT(*) FROM KNIHY WHERE VYRAZENO") > 0);
    QVERIFY(count("SELECT COUNT(*) FROM LIDE WHERE NOT UKAZOVAT") > 0);
    QVERIFY(count("SELECT COUNT(*) FROM KATEGORIE WHERE NOT UKAZOVAT") > 0);
    QVERIFY(count("SELECT COUNT(*) FROM KNIHY WHERE IS_KLICOVESLOVO AND KLICOVA_SLOVA LIKE '~%~'") > 0);
    // Some loans share a number.
    QVERIFY(count("SELECT COUNT(*) FROM (SELECT ID_VYPUJCKY_VYPUJCKY FROM VYPUJCKY GROUP BY 1 HAVING "
                  "COUNT(*) > 1)") > 0);

    // It looks like a library in use today (2026-03-15): 3 to 8 % of the books in stock are out,
    // some of them overdue but most not, a few clients hold several books, the history reaches
    // the last days, more was lent in the last five years than in the first five, and returned
    // books came back within their loan period nearly always.
    const qint64 inStock = count("SELECT COUNT(*) FROM KNIHY WHERE NOT VYRAZENO");
    const qint64 lent = count("SELECT COUNT(*) FROM KNIHY WHERE VYPUJCENO");
    QVERIFY2(lent * 100 >= inStock * 3 && lent * 100 <= inStock * 8, qPrintable(QString::number(lent)));
    const qint64 overdue =
        count("SELECT COUNT(*) FROM VYPUJCKY WHERE NOT VRACENO AND OMEZOVAT AND DATUM_MAX < "
              "20260315");
    QVERIFY(overdue > 0 && overdue * 2 < lent);
    QVERIFY(count("SELECT COUNT(*) FROM (SELECT ID_LIDE_KNIHY FROM KNIHY WHERE VYPUJCENO GROUP BY 1 HAVING "
                  "COUNT(*) > 1)") >= 3);
    QVERIFY(count("SELECT MAX(DATUM_PUJCKY) FROM VYPUJCKY") >= 20260308);
    QVERIFY(count("SELECT MAX(DATUM_PUJCKY) FROM VYPUJCKY") <= 20260315);
    QVERIFY(count("SELECT MAX(DATUM_VRACENI) FROM VRACENI") <= 20260315);
    QVERIFY(count("SELECT COUNT(*) FROM VYPUJCKY WHERE DATUM_PUJCKY >= 20210315") >
            2 * count("SELECT COUNT(*) FROM VYPUJCKY WHERE DATUM_PUJCKY < 20050101"));
    QVERIFY(
        count("SELECT COUNT(*) FROM VYPUJCKY WHERE VRACENO AND OMEZOVAT AND DATUM_VRACENI <= DATUM_MAX") >
        4 * count("SELECT COUNT(*) FROM VYPUJCKY WHERE VRACENO AND OMEZOVAT AND DATUM_VRACENI > DATUM_MAX"));

    // Every rule of the library check holds (the check's own test plants a fault for each).
    QCOMPARE(checkLibrary(), QStringList());
    Database::close();

    // The same seed on the same day makes the same library; another seed another one.
    auto contents = [&](const QString &seed) {
        QTemporaryDir small;
        runCli(words("demo --books 300 --clients 40 --data-dir")
               << small.path() << QStringLiteral("--seed") << seed);
        QStringList rows;
        if (Database::open(QDir(small.path()).filePath(QStringLiteral("Folivo.db"))) !=
            Database::OpenResult::Ok)
            return rows;
        for (const char *table : {"KNIHY", "LIDE", "KATEGORIE", "VYPUJCKY", "VRACENI", "IDS"}) {
            QSqlQuery q = runSql(QStringLiteral("SELECT * FROM %1 ORDER BY rowid").arg(QLatin1String(table)));
            while (q.next()) {
                QStringList values;
                for (int i = 0; i < q.record().count(); ++i)
                    values << q.value(i).toString();
                rows << values.join(QLatin1Char('|'));
            }
        }
        Database::close();
        return rows;
    };
    const QStringList once = contents(QStringLiteral("11"));
    QVERIFY(once.size() > 1000);
    QCOMPARE(contents(QStringLiteral("11")), once);
    QVERIFY(contents(QStringLiteral("12")) != once);
}

QTEST_GUILESS_MAIN(TestDemo)
#include "test_demo.moc"
