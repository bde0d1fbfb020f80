#include "data/consistency.h"
#include "data/database.h"
#include "support/testsupport.h"

#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

// The library check: each kind of damage a careless script or an old tool could plant is found
// and named by its rule; the schema is compared with the shipped one; the command's exit codes;
// the opening of a damaged library is refused.
class TestCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyRuleCatchesItsPlantedFault();
    void schemaDifferencesAreFoundAndRefusedAtOpening();
    void commandExitCodes();
};

namespace {

// A small library in which every kind of row exists: a lent book (due date), a returned one, one
// in stock, one discarded in a removed category; a visible client holding a book, one without,
// a removed one.
void buildLibrary(TestLibrary &lib)
{
    lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 removed = lib.addCategory(QStringLiteral("Staré"), false);
    const qint32 jan = lib.addClient(QStringLiteral("K1"));
    lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Malá"));
    lib.addClient(QStringLiteral("K3"), QStringLiteral("Petr"), QStringLiteral("Starý"), false);
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 b = lib.addBook(QStringLiteral("Čáp"));
    lib.addBook(QStringLiteral("C"));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("D")).in(removed).discard(20250101));
    lib.lend({a, b}, jan, 20260301, 20260310);
    lib.giveBack({b}, 20260305);
}

bool hasRule(const QStringList &found, const QString &rule)
{
    for (const QString &f : found)
        if (f.section(u':', 0, 0).section(u' ', 1) == rule)
            return true;
    return false;
}

} // namespace

void TestCheck::everyRuleCatchesItsPlantedFault()
{
    TestLibrary lib;
    buildLibrary(lib);
    QCOMPARE(checkLibrary(), QStringList());

    struct Plant
    {
        const char *sql;
        const char *rule; // null: the change is sound and nothing may be found
    };
    const Plant plants[] = {
        {"INSERT INTO IDS SELECT * FROM IDS", "ids-jeden-radek"},
        {"UPDATE IDS SET PRIRUSTEK_MAX = NULL", "ids-pocitadla"},
        // KNIHY: NULLs, flags, mandatory texts, numbers, dates
        {"UPDATE KNIHY SET ID_KNIHY_KNIHY = NULL WHERE KOD = 'C'", "kniha-klic"},
        {"UPDATE KNIHY SET VYPUJCENO = NULL WHERE KOD = 'C'", "kniha-priznaky"},
        {"UPDATE KNIHY SET VYRAZENO = 2 WHERE KOD = 'C'", "kniha-priznaky"},
        {"UPDATE KNIHY SET NAZEV = '  ' WHERE KOD = 'C'", "kniha-povinne-udaje"},
        {"UPDATE KNIHY SET KOD = NULL WHERE KOD = 'C'", "kniha-povinne-udaje"},
        {"UPDATE KNIHY SET CENA = -1 WHERE KOD = 'C'", "kniha-cisla"},
        {"UPDATE KNIHY SET PRIRUSTEK = NULL WHERE KOD = 'C'", "kniha-cisla"},
        {"UPDATE KNIHY SET IS_VYDAVATEL = 1 WHERE KOD = 'C'", "kniha-vyplnene-udaje"},
        {"UPDATE KNIHY SET DATUM_PORIZENI = 20261345 WHERE KOD = 'C'", "kniha-datum-porizeni"},
        {"UPDATE KNIHY SET DATUM_PORIZENI = 0 WHERE KOD = 'C'", "kniha-datum-porizeni"},
        {"UPDATE KNIHY SET DATUM_PORIZENI = -1 WHERE KOD = 'C'", "kniha-datum-porizeni"},
        {"UPDATE KNIHY SET DATUM_PORIZENI = 100000101 WHERE KOD = 'C'", "kniha-datum-porizeni"},
        {"UPDATE KNIHY SET DATUM_PORIZENI = 20230229 WHERE KOD = 'C'", "kniha-datum-porizeni"},
        {"UPDATE KNIHY SET DATUM_PORIZENI = 19000229 WHERE KOD = 'C'", "kniha-datum-porizeni"},
        {"UPDATE KNIHY SET DATUM_PORIZENI = 20000229 WHERE KOD = 'C'", nullptr}, // a leap day
        {"UPDATE KNIHY SET DATUM_PORIZENI = NULL WHERE KOD = 'C'", "kniha-datum-porizeni"},
        // discards
        {"UPDATE KNIHY SET DATUM_VYRAZENI = -1 WHERE KOD = 'D'", "kniha-vyrazena-bez-data"},
        {"UPDATE KNIHY SET DATUM_VYRAZENI = 19991231 WHERE KOD = 'D'", "kniha-vyrazena-bez-data"},
        {"UPDATE KNIHY SET DATUM_VYRAZENI = 20260101 WHERE KOD = 'C'", "kniha-nevyrazena-s-datem"},
        {"UPDATE KNIHY SET VYRAZENO = 1, DATUM_VYRAZENI = 20260302 WHERE KOD = 'A'",
         "kniha-vyrazena-vypujcena"},
        // categories of books
        {"UPDATE KNIHY SET ID_KATEGORIE_KNIHY = 99 WHERE KOD = 'C'", "kniha-kategorie"},
        {"UPDATE KNIHY SET ID_KATEGORIE_KNIHY = 2 WHERE KOD = 'C'", "kniha-odstranena-kategorie"},
        // lent books
        {"UPDATE KNIHY SET ID_VYPUJCKY_KNIHY = 7 WHERE KOD = 'A'", "kniha-vypujcena-bez-vypujcky"},
        {"UPDATE KNIHY SET ID_LIDE_KNIHY = 99 WHERE KOD = 'A'", "kniha-vypujcena-neznamemu"},
        {"UPDATE LIDE SET UKAZOVAT = 0 WHERE KOD = 'K1'", "kniha-vypujcena-odstranenemu"},
        {"UPDATE KNIHY SET VYPUJCENO = 0 WHERE KOD = 'A'", "kniha-nevypujcena-s-odkazem"},
        {"UPDATE KNIHY SET ID_VYPUJCKY_KNIHY = NULL WHERE KOD = 'C'", "kniha-nevypujcena-s-odkazem"},
        // counters ahead of every key and accession number
        {"UPDATE IDS SET ID_KNIHY_FIRSTFREE = 4", "kniha-klic-neprideleny"},
        {"UPDATE KNIHY SET PRIRUSTEK = 50 WHERE KOD = 'C'", "kniha-prirustek-nad-maximem"},
        {"UPDATE IDS SET ID_LIDE_FIRSTFREE = 2", "klient-klic-neprideleny"},
        {"UPDATE IDS SET ID_KATEGORIE_FIRSTFREE = 1", "kategorie-klic-neprideleny"},
        {"UPDATE IDS SET ID_VYPUJCKY_FIRSTFREE = 1", "vypujcka-cislo-neprideleno"},
        {"UPDATE IDS SET ID_VRACENI_FIRSTFREE = 1", "vraceni-cislo-neprideleno"},
        // LIDE, KATEGORIE
        {"UPDATE LIDE SET ID_LIDE_LIDE = -3 WHERE KOD = 'K2'", "klient-klic"},
        {"UPDATE LIDE SET UKAZOVAT = NULL WHERE KOD = 'K2'", "klient-priznaky"},
        {"UPDATE LIDE SET PRIJMENI = '' WHERE KOD = 'K2'", "klient-povinne-udaje"},
        {"UPDATE LIDE SET IS_NAROZENI = 1 WHERE KOD = 'K2'", "klient-vyplnene-udaje"},
        {"UPDATE LIDE SET IS_NAROZENI = 1, DATUM_NAROZENI = 19800101 WHERE KOD = 'K2'", nullptr},
        {"UPDATE KATEGORIE SET ID_KATEGORIE_KATEGORIE = 'x' WHERE NAZEV = 'Staré'", "kategorie-klic"},
        {"UPDATE KATEGORIE SET UKAZOVAT = NULL WHERE NAZEV = 'Staré'", "kategorie-priznaky"},
        {"UPDATE KATEGORIE SET NAZEV = NULL WHERE NAZEV = 'Staré'", "kategorie-nazev"},
        // VYPUJCKY: keys, flags, references, dates and states
        {"UPDATE VYPUJCKY SET ID_LIDE_VYPUJCKY = NULL WHERE ID_KNIHY_VYPUJCKY = 2", "vypujcka-klice"},
        {"UPDATE VYPUJCKY SET OMEZOVAT = NULL WHERE ID_KNIHY_VYPUJCKY = 2", "vypujcka-priznaky"},
        {"UPDATE VYPUJCKY SET ID_KNIHY_VYPUJCKY = 99 WHERE ID_KNIHY_VYPUJCKY = 2", "vypujcka-odkazy"},
        {"INSERT INTO VYPUJCKY VALUES (1, 1, 3, 0, 20260301, 0, -1, -1)", "vypujcka-otevrena"},
        {"UPDATE VYPUJCKY SET DATUM_PUJCKY = 0 WHERE ID_KNIHY_VYPUJCKY = 2", "vypujcka-datum-pujcky"},
        {"UPDATE VYPUJCKY SET DATUM_MAX = -1 WHERE ID_KNIHY_VYPUJCKY = 1", "vypujcka-lhuta"},
        {"UPDATE VYPUJCKY SET OMEZOVAT = 0 WHERE ID_KNIHY_VYPUJCKY = 1", "vypujcka-lhuta"},
        {"UPDATE VYPUJCKY SET DATUM_MAX = 20260228 WHERE ID_KNIHY_VYPUJCKY = 1", "vypujcka-lhuta"},
        {"UPDATE VYPUJCKY SET DATUM_VRACENI = 20260228 WHERE ID_KNIHY_VYPUJCKY = 2",
         "vypujcka-datum-vraceni"},
        {"UPDATE VYPUJCKY SET DATUM_VRACENI = -1 WHERE ID_KNIHY_VYPUJCKY = 2", "vypujcka-datum-vraceni"},
        {"UPDATE VYPUJCKY SET DATUM_VRACENI = 20260310 WHERE ID_KNIHY_VYPUJCKY = 1",
         "vypujcka-datum-vraceni"},
        {"UPDATE KNIHY SET DATUM_PORIZENI = 20260401 WHERE KOD = 'A'", "vypujcka-pred-porizenim"},
        // A returned loan may be older than an acquisition date corrected later.
        {"UPDATE KNIHY SET DATUM_PORIZENI = 20260401 WHERE KOD = 'Čáp'", nullptr},
        {"DELETE FROM VRACENI", "vypujcka-bez-vraceni"},
        {"UPDATE VRACENI SET DATUM_PUJCKY = 20260302", "vypujcka-bez-vraceni"},
        // VRACENI
        {"UPDATE VRACENI SET ID_VRACENI_VRACENI = NULL", "vraceni-klice"},
        {"UPDATE VRACENI SET OMEZOVAT = 5", "vraceni-priznaky"},
        {"UPDATE VRACENI SET ID_LIDE_VRACENI = 99", "vraceni-odkazy"},
        {"UPDATE VRACENI SET DATUM_VRACENI = 20260229", "vraceni-data"},
        {"UPDATE VRACENI SET DATUM_PUJCKY = 20260306", "vraceni-data"},
        {"UPDATE VRACENI SET DATUM_VRACENI_MAX = -1", "vraceni-lhuta"},
        {"INSERT INTO VRACENI VALUES (1, 3, 2, 20260305, -1, 20260301, 0)", "vraceni-bez-vypujcky"},
        // twins the program's lookups cannot tell apart: letter case, Czech letters, blanks at the ends
        {"UPDATE KNIHY SET ID_KNIHY_KNIHY = 3 WHERE KOD = 'D'", "kniha-klic-jedinecny"},
        {"UPDATE KNIHY SET KOD = 'čÁP' WHERE KOD = 'C'", "kniha-kod-jedinecny"},
        {"UPDATE KNIHY SET KOD = 'c ' WHERE KOD = 'D'", "kniha-kod-jedinecny"},
        {"UPDATE KNIHY SET PRIRUSTEK = 1 WHERE KOD = 'C'", "kniha-prirustek-jedinecny"},
        {"UPDATE LIDE SET ID_LIDE_LIDE = 1 WHERE KOD = 'K2'", "klient-klic-jedinecny"},
        {"UPDATE LIDE SET KOD = ' k1' WHERE KOD = 'K2'", "klient-kod-jedinecny"},
        {"UPDATE LIDE SET KOD = 'K22' WHERE KOD = 'K2'", nullptr},
        {"INSERT INTO KATEGORIE VALUES (1, 'Jiná', 1)", "kategorie-klic-jedinecny"},
        {"UPDATE KATEGORIE SET NAZEV = 'BELETRIE ' WHERE NAZEV = 'Staré'", "kategorie-nazev-jedinecny"},
        {"INSERT INTO VYPUJCKY SELECT * FROM VYPUJCKY WHERE ID_KNIHY_VYPUJCKY = 2",
         "vypujcka-kniha-jedinecna"},
        {"UPDATE VYPUJCKY SET ID_LIDE_VYPUJCKY = 2 WHERE ID_KNIHY_VYPUJCKY = 2", "vypujcka-jeden-klient"},
    };
    QSet<QString> planted;
    for (const Plant &p : plants) {
        const QString sql = QString::fromUtf8(p.sql);
        Transaction tx; // rolled back after each plant: every fault is found alone
        runSql(sql);
        const QStringList found = checkLibrary();
        if (!p.rule) {
            QVERIFY2(found.isEmpty(), qPrintable(sql + QStringLiteral(" -> ") + found.join(u'|')));
            continue;
        }
        planted << QString::fromLatin1(p.rule);
        QVERIFY2(hasRule(found, QString::fromLatin1(p.rule)),
                 qPrintable(sql + QStringLiteral(" -> ") + found.join(u'|')));
    }
    // Each rule of the check has a fault planted above.
    for (const RecordRuleInfo &r : recordRules())
        QVERIFY2(planted.contains(r.name), qPrintable(r.name));

    // Nothing escapes a rule's list of columns: a missing number anywhere, and an empty text
    // wherever the program needs one, is found. A client's birth date counts only when given,
    // and the optional texts of a book or a client may be empty.
    const QStringList mayBeEmpty =
        words("DATUM_NAROZENI VYDAVATEL ANOTACE KLICOVA_SLOVA DOKLAD ADRESA FUNKCE");
    for (const char *table : {"IDS", "KNIHY", "LIDE", "KATEGORIE", "VYPUJCKY", "VRACENI"}) {
        QSqlQuery columns = runSql(
            QStringLiteral("SELECT name, type FROM pragma_table_info('%1')").arg(QLatin1String(table)));
        while (columns.next()) {
            const QString column = columns.value(0).toString();
            if (mayBeEmpty.contains(column))
                continue;
            const QString empty = columns.value(1).toString() == QLatin1String("TEXT")
                                      ? QStringLiteral("''")
                                      : QStringLiteral("NULL");
            Transaction tx;
            runSql(QStringLiteral("UPDATE %1 SET %2 = %3").arg(QLatin1String(table), column, empty));
            QVERIFY2(!checkLibrary().isEmpty(), qPrintable(column));
        }
    }
    QCOMPARE(checkLibrary(), QStringList());

    // A finding names the table, the rule and the rows with their codes, then the count and a few
    // more examples; a twin code is shown in both its spellings.
    {
        Transaction tx;
        runSql(QStringLiteral("UPDATE KNIHY SET AUTOR = ''"));
        QCOMPARE(checkLibrary(),
                 QStringList{
                     QStringLiteral("KNIHY kniha-povinne-udaje: kniha 1 (kód A) nemá vyplněný kód, název "
                                    "nebo autora (celkem 4; další: kniha 2 (kód Čáp), kniha 3 (kód C), …)")});
    }
    {
        Transaction tx;
        runSql(QStringLiteral("UPDATE KNIHY SET KOD = 'a ' WHERE KOD = 'D'"));
        QCOMPARE(checkLibrary(),
                 QStringList{QStringLiteral("KNIHY kniha-kod-jedinecny: kód knihy A je použit "
                                            "vícekrát (celkem 2; další: kód knihy a )")});
    }
}

void TestCheck::schemaDifferencesAreFoundAndRefusedAtOpening()
{
    struct Change
    {
        const char *sql;
        const char *found;
    };
    const Change changes[] = {
        // statements separated by |
        {"ALTER TABLE KNIHY DROP COLUMN ANOTACE", "schéma: chybí sloupec KNIHY.ANOTACE"},
        {"ALTER TABLE LIDE RENAME COLUMN FUNKCE TO FUNKCE2", "schéma: navíc sloupec LIDE.FUNKCE2"},
        {"ALTER TABLE VRACENI ADD COLUMN POZNAMKA TEXT", "schéma: navíc sloupec VRACENI.POZNAMKA"},
        {"DROP INDEX KNIHY_KOD", "schéma: chybí index KNIHY_KOD"},
        {"DROP INDEX LIDE_KOD|CREATE INDEX LIDE_KOD ON LIDE (KOD)", "schéma: index LIDE_KOD je"},
        {"CREATE UNIQUE INDEX X ON KNIHY (KOD)", "schéma: navíc index X"},
        {"CREATE TRIGGER T AFTER INSERT ON VYPUJCKY BEGIN UPDATE IDS SET PRIRUSTEK_MAX = 0; END",
         "schéma: navíc trigger T"},
        {"CREATE VIEW W AS SELECT * FROM KNIHY", "schéma: navíc view W"},
        {"CREATE TABLE EXTRA (A INTEGER)", "schéma: navíc tabulka EXTRA"},
        // The column types and their order are part of the schema too.
        {"CREATE TABLE K2 AS SELECT ID_KATEGORIE_KATEGORIE, UKAZOVAT, NAZEV FROM KATEGORIE|DROP TABLE "
         "KATEGORIE|ALTER TABLE K2 RENAME TO KATEGORIE|CREATE INDEX KATEGORIE_ID ON KATEGORIE "
         "(ID_KATEGORIE_KATEGORIE)|CREATE INDEX KATEGORIE_NAZEV ON KATEGORIE (NAZEV COLLATE NOCASE)",
         "schéma: sloupec KATEGORIE.NAZEV je 3. TEXT, má být 2. TEXT"},
    };
    for (const Change &c : changes) {
        TestLibrary lib;
        buildLibrary(lib);
        for (const QString &statement : QString::fromUtf8(c.sql).split(u'|'))
            runSql(statement);
        const QString sql = QString::fromUtf8(c.sql);
        const QStringList found = checkLibrary();
        QVERIFY2(found.filter(QString::fromUtf8(c.found)).size() == 1,
                 qPrintable(sql + QStringLiteral(" -> ") + found.join(u'|')));
        Database::close();
        const LibraryCheck file = checkDatabaseFile(lib.dbPath());
        QVERIFY2(!file.structurallySound() && file.records.isEmpty(), qPrintable(sql));
        // The program refuses such a library when it opens it (message 2 at start-up).
        QString detail;
        QCOMPARE(Database::open(lib.dbPath(), &detail), Database::OpenResult::MissingTables);
        QVERIFY2(detail.contains(QString::fromUtf8(c.found)), qPrintable(detail));
    }
}

void TestCheck::commandExitCodes()
{
    TestLibrary lib;
    buildLibrary(lib);
    const QStringList check = words("check --data-dir") << lib.dir();
    // The program holds the library: the command says so and checks nothing.
    QCOMPARE(runCli(check).code, 3);
    Database::close();
    CliRun r = runCli(check);
    QCOMPARE(r.code, 0);
    QVERIFY2(r.said().contains(QStringLiteral("no problem found")), qPrintable(r.said()));

    // A power cut between the two writes of a loan in a program without transactions, and a
    // counter behind the keys: the library is refused when opened, but the command lists both.
    QCOMPARE(Database::open(lib.dbPath()), Database::OpenResult::Ok);
    runSql(QStringLiteral("DELETE FROM VYPUJCKY WHERE ID_KNIHY_VYPUJCKY = 1"));
    runSql(QStringLiteral("UPDATE IDS SET ID_KNIHY_FIRSTFREE = 1"));
    Database::close();
    QCOMPARE(Database::open(lib.dbPath()), Database::OpenResult::MissingTables);
    Database::close();
    r = runCli(check);
    QCOMPARE(r.code, 1);
    for (const QString &expected :
         {QStringLiteral("KNIHY kniha-vypujcena-bez-vypujcky: kniha 1 (kód A) je vypůjčená"),
          QStringLiteral("KNIHY kniha-klic-neprideleny: kniha 1 má klíč, který ještě nebyl přidělen "
                         "(ID_KNIHY_FIRSTFREE) (celkem 4;"),
          QStringLiteral("2 problem(s) found")})
        QVERIFY2(r.said().contains(expected), qPrintable(r.said()));

    // A file that is no database is a finding too, never "no problem"; no library at all is a
    // usage error.
    QVERIFY(writeBytes(lib.dbPath(), "not a database at all"));
    QCOMPARE(runCli(check).code, 1);
    QTemporaryDir empty;
    QCOMPARE(runCli(words("check --data-dir") << empty.path()).code, 2);
}

QTEST_GUILESS_MAIN(TestCheck)
#include "test_check.moc"
