#include "data/consistency.h"
#include "data/database.h"
#include "support/testsupport.h"

#include <QDir>
#include <QProcess>
#include <QSqlRecord>
#include <QtTest>

class TestDemo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initInstallsOnceOnly();
    void demoLibraryKeepsEveryRelation();
    void checkFindsEveryBrokenRule();

private:
    static int runCli(const QStringList &args, QByteArray *err = nullptr)
    {
        QProcess p;
        p.start(QStringLiteral(FOLIVO_CLI_PATH), args);
        if (!p.waitForFinished(120000))
            return -1;
        if (err)
            *err = p.readAllStandardError();
        return p.exitCode();
    }
};

void TestDemo::initInstallsOnceOnly()
{
    QTemporaryDir dir;
    const QString data = dir.filePath(QStringLiteral("lib"));
    QCOMPARE(runCli({QStringLiteral("init"), QStringLiteral("--data-dir"), data}), 0);
    QVERIFY(QFile::exists(QDir(data).filePath(QStringLiteral("Folivo.db"))));
    // The about box's picture comes with the database, a PNG under the program's own name.
    QFile picture(QDir(data).filePath(QStringLiteral("rvmsgbit.dat")));
    QVERIFY(picture.open(QIODevice::ReadOnly));
    QVERIFY(picture.read(8) == QByteArray("\x89PNG\r\n\x1a\n", 8));
    QByteArray err;
    QCOMPARE(runCli({QStringLiteral("init"), QStringLiteral("--data-dir"), data}, &err), 1);
    QVERIFY(err.contains("already exists"));
    QVERIFY(runCli({QStringLiteral("init"), QStringLiteral("--bogus")}, &err) != 0);
    QVERIFY(runCli({QStringLiteral("demo"), QStringLiteral("--data-dir"), data, QStringLiteral("--books"),
                    QStringLiteral("many")},
                   &err) != 0);
    QVERIFY(err.contains("--books"));
}

void TestDemo::demoLibraryKeepsEveryRelation()
{
    QTemporaryDir dir;
    QByteArray err;
    QCOMPARE(runCli({QStringLiteral("demo"), QStringLiteral("--data-dir"), dir.path(),
                     QStringLiteral("--books"), QStringLiteral("3000"), QStringLiteral("--clients"),
                     QStringLiteral("300"), QStringLiteral("--seed"), QStringLiteral("7")},
                    &err),
             0);
    // A second fill is refused: demo fills only an empty library.
    QCOMPARE(runCli({QStringLiteral("demo"), QStringLiteral("--data-dir"), dir.path()}, &err), 1);

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
    QVERIFY(count("SELECT COUNT(*) FROM KNIHY WHERE VYPUJCENO") > 0);
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

    // The rules of the check command hold (checkLibrary, below); these hold as well.
    const char *violations[] = {
        // A lent book's holder is a visible client.
        "SELECT COUNT(*) FROM KNIHY K WHERE K.VYPUJCENO AND NOT EXISTS (SELECT 1 FROM LIDE L WHERE "
        "L.ID_LIDE_LIDE = K.ID_LIDE_KNIHY AND L.UKAZOVAT)",
        // A book was discarded after it came, and only a discarded book has a discard date.
        "SELECT COUNT(*) FROM KNIHY WHERE VYRAZENO AND DATUM_VYRAZENI < DATUM_PORIZENI",
        "SELECT COUNT(*) FROM KNIHY WHERE NOT VYRAZENO AND DATUM_VYRAZENI <> -1",
        // A book in stock belongs to a visible category.
        "SELECT COUNT(*) FROM KNIHY K WHERE NOT K.VYRAZENO AND NOT EXISTS (SELECT 1 FROM KATEGORIE C WHERE "
        "C.ID_KATEGORIE_KATEGORIE = K.ID_KATEGORIE_KNIHY AND C.UKAZOVAT)",
        // Dates in order: loan not before acquisition, return not before loan, deadline as flagged.
        "SELECT COUNT(*) FROM VYPUJCKY V JOIN KNIHY K ON K.ID_KNIHY_KNIHY = V.ID_KNIHY_VYPUJCKY WHERE "
        "V.DATUM_PUJCKY < K.DATUM_PORIZENI OR (V.VRACENO AND V.DATUM_VRACENI < V.DATUM_PUJCKY) OR "
        "(V.OMEZOVAT <> (V.DATUM_MAX <> -1)) OR (NOT V.VRACENO AND V.DATUM_VRACENI <> -1)",
        // Every returned loan row has its return row.
        "SELECT COUNT(*) FROM VYPUJCKY V WHERE V.VRACENO AND NOT EXISTS (SELECT 1 FROM VRACENI R WHERE "
        "R.ID_KNIHY_VRACENI = V.ID_KNIHY_VYPUJCKY AND R.DATUM_PUJCKY = V.DATUM_PUJCKY AND R.DATUM_VRACENI = "
        "V.DATUM_VRACENI)",
        // Presence flags agree with their fields.
        "SELECT COUNT(*) FROM KNIHY WHERE IS_KLICOVESLOVO <> (KLICOVA_SLOVA <> '') OR IS_ROKVYDANI <> "
        "(ROK_VYDANI <> -1) OR IS_POCETSTRAN <> (POCET_STRAN <> -1) OR IS_VYDAVATEL <> (VYDAVATEL <> '')",
    };
    for (const char *sql : violations)
        QVERIFY2(count(sql) == 0, sql);
    QCOMPARE(checkLibrary(), QStringList());
    Database::close();
    QCOMPARE(runCli({QStringLiteral("check"), QStringLiteral("--data-dir"), dir.path()}, &err), 0);

    // The same seed on the same day makes the same library; another seed another one.
    auto contents = [&](const QString &seed) {
        QTemporaryDir small;
        runCli({QStringLiteral("demo"), QStringLiteral("--data-dir"), small.path(), QStringLiteral("--books"),
                QStringLiteral("300"), QStringLiteral("--clients"), QStringLiteral("40"),
                QStringLiteral("--seed"), seed});
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

void TestDemo::checkFindsEveryBrokenRule()
{
    TestLibrary lib;
    const qint32 jan = lib.addClient(QStringLiteral("K1"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 b = lib.addBook(QStringLiteral("B"));
    lib.lend({a, b}, jan, 20050301, 20050310);
    lib.giveBack({b}, 20050305);
    QCOMPARE(checkLibrary(), QStringList());

    struct Breakage
    {
        const char *sql;
        const char *found;
    };
    const Breakage cases[] = {
        {"UPDATE KNIHY SET VYPUJCENO = 0 WHERE KOD = 'A'", "není vypůjčená, ale odkazuje"},
        {"UPDATE VYPUJCKY SET VRACENO = 1 WHERE ID_KNIHY_VYPUJCKY = 1",
         "nemá právě jednu otevřenou výpůjčku"},
        {"UPDATE KNIHY SET VYRAZENO = 1 WHERE KOD = 'A'", "vyřazená a přitom vypůjčená"},
        {"UPDATE KNIHY SET ID_KATEGORIE_KNIHY = 99 WHERE KOD = 'B'", "kategorie, která v evidenci není"},
        {"DELETE FROM LIDE", "vypůjčená klientovi, který v evidenci není"},
        {"UPDATE IDS SET ID_VYPUJCKY_FIRSTFREE = 1", "výpůjčka 1 má číslo, které ještě nebylo přiděleno"},
        {"UPDATE IDS SET PRIRUSTEK_MAX = 1", "přírůstkové číslo 2 je vyšší než PRIRUSTEK_MAX"},
        {"UPDATE KNIHY SET KOD = 'A'", "kód knihy A je použit vícekrát"},
        {"INSERT INTO KATEGORIE SELECT ID_KATEGORIE_KATEGORIE + 5, NAZEV, 0 FROM KATEGORIE",
         "název kategorie Beletrie je použit vícekrát"},
    };
    for (const Breakage &c : cases) {
        Transaction tx; // rolled back after each case: every breakage is checked alone
        runSql(QString::fromLatin1(c.sql));
        const QStringList found = checkLibrary();
        QVERIFY2(!found.filter(QString::fromUtf8(c.found)).isEmpty(), c.sql);
    }
    QCOMPARE(checkLibrary(), QStringList());
}

QTEST_GUILESS_MAIN(TestDemo)
#include "test_demo.moc"
