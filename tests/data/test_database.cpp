#include "data/czechlike.h"
#include "data/database.h"
#include "data/recordsets.h"
#include "data/statements.h"
#include "support/testsupport.h"

#include <QFile>
#include <QProcess>
#include <QtTest>

class TestDatabase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void openRefusesMissingForeignAndLocked();
    void secondProcessCannotOpen();
    void translation_data();
    void translation();
    void czechLikeIgnoresCase();
    void everyStatementRuns();
    void allocationAndRollback();
    void recordSetMovesAndWrites();
    void lookups();
};

void TestDatabase::openRefusesMissingForeignAndLocked()
{
    QTemporaryDir dir;
    QString detail;
    QCOMPARE(Database::open(dir.filePath(QStringLiteral("nothing.db")), &detail),
             Database::OpenResult::Missing);
    QVERIFY(!Database::isOpen());

    const QString text = dir.filePath(QStringLiteral("text.db"));
    QFile f(text);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("this is not a library");
    f.close();
    QCOMPARE(Database::open(text, &detail), Database::OpenResult::NotDatabase);

    // An SQLite file without the library's tables is refused as well.
    const QString other = dir.filePath(QStringLiteral("other.db"));
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("other"));
        db.setDatabaseName(other);
        QVERIFY(db.open());
        QSqlQuery(db).exec(QStringLiteral("CREATE TABLE KNIHY (X INTEGER)"));
        db.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("other"));
    QCOMPARE(Database::open(other, &detail), Database::OpenResult::MissingTables);

    // The empty database is refused as a target of a second install.
    TestLibrary lib;
    QVERIFY(!Database::createEmpty(lib.dbPath(), &detail));
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM IDS")), 1);
    QCOMPARE(lib.ids("ID_KNIHY_FIRSTFREE"), 1);
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 0);
}

void TestDatabase::secondProcessCannotOpen()
{
    TestLibrary lib;
    // A second connection in this process stands for a second copy of the program...
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("second"));
        db.setDatabaseName(lib.dbPath());
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=50"));
        QVERIFY(db.open());
        QSqlQuery q(db);
        QVERIFY(!q.exec(QStringLiteral("SELECT COUNT(*) FROM KNIHY")));
        db.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("second"));
    // ... and so does the sqlite3 library in another process, through folivo's own open.
    QProcess p;
    p.start(QStringLiteral(FOLIVO_CLI), {QStringLiteral("demo"), QStringLiteral("--data-dir"), lib.dir(),
                                         QStringLiteral("--books"), QStringLiteral("1")});
    QVERIFY(p.waitForFinished(30000));
    QVERIFY(p.exitCode() != 0);
    QVERIFY2(p.readAllStandardError().contains("cannot open"), "the second copy must be refused");
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY")), 0);
}

void TestDatabase::translation_data()
{
    QTest::addColumn<QString>("jet");
    QTest::addColumn<QString>("sqlite");
    QTest::newRow("like stars") << "SELECT * FROM KNIHY WHERE 1 AND AUTOR LIKE '*Čap*' "
                                << "SELECT * FROM KNIHY WHERE 1 AND AUTOR LIKE '%Čap%' ";
    QTest::newRow("question mark") << "SELECT * FROM KNIHY WHERE KOD LIKE 'A?1'"
                                   << "SELECT * FROM KNIHY WHERE KOD LIKE 'A_1'";
    QTest::newRow("stars outside like stay")
        << "SELECT * FROM KNIHY WHERE NAZEV = 'x*' AND KOD LIKE '*1*'"
        << "SELECT * FROM KNIHY WHERE NAZEV = 'x*' COLLATE NOCASE AND KOD LIKE '%1%'";
    QTest::newRow("text equality ignores case")
        << "SELECT * FROM KNIHY WHERE KOD='ab' AND VYRAZENO"
        << "SELECT * FROM KNIHY WHERE KOD='ab' COLLATE NOCASE AND VYRAZENO";
    QTest::newRow("czech text equality") << "AND AUTOR = 'karel čapek' "
                                         << "AND AUTOR = 'karel čapek' COLLATE CZNOCASE ";
    QTest::newRow("engine wildcards are plain in a pattern") << "AND KOD LIKE '*A_1%\\*' "
                                                             << "AND KOD LIKE '%A\\_1\\%\\\\%' ESCAPE '\\' ";
    QTest::newRow("quote inside text") << "AND AUTOR = 'O''Neil' "
                                       << "AND AUTOR = 'O''Neil' COLLATE NOCASE ";
    QTest::newRow("numbers untouched") << "WHERE CENA <= 200.000000 AND PRIRUSTEK >= 3 AND KOD <> 'x'"
                                       << "WHERE CENA <= 200.000000 AND PRIRUSTEK >= 3 AND KOD <> 'x'";
    QTest::newRow("keyword tildes") << "AND KLICOVA_SLOVA LIKE '*~moře~*' "
                                    << "AND KLICOVA_SLOVA LIKE '%~moře~%' ";
    QTest::newRow("any") << QString::fromLatin1(Stmt::ReportClientHistory)
                         << QStringLiteral(
                                "SELECT * FROM KNIHY WHERE NOT KNIHY.VYRAZENO AND (KNIHY.ID_KNIHY_KNIHY IN "
                                "(SELECT DISTINCT VYPUJCKY.ID_KNIHY_VYPUJCKY FROM VYPUJCKY WHERE "
                                "VYPUJCKY.ID_LIDE_VYPUJCKY = %d)) ORDER BY KNIHY.KOD DESC");
    QTest::newRow("booleans untouched")
        << QString::fromLatin1(Stmt::PickLendable) << QString::fromLatin1(Stmt::PickLendable);
}

void TestDatabase::translation()
{
    QFETCH(QString, jet);
    QFETCH(QString, sqlite);
    QCOMPARE(jetToSqlite(jet), sqlite);
}

void TestDatabase::czechLikeIgnoresCase()
{
    QVERIFY(czechLike(QStringLiteral("%čap%"), QStringLiteral("ČAP")));
    QVERIFY(czechLike(QStringLiteral("%ŘEK%"), QStringLiteral("Řeka")));
    QVERIFY(czechLike(QStringLiteral("%Žluť%"), QStringLiteral("žluť")));
    QVERIFY(czechLike(QStringLiteral("_ub"), QStringLiteral("Dub")));
    QVERIFY(!czechLike(QStringLiteral("%cap%"), QStringLiteral("ČAP"))); // case, not accents
    QVERIFY(!czechLike(QStringLiteral("a%"), QStringLiteral("ba")));

    TestLibrary lib;
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("1"))
                    .withTitle(QStringLiteral("ČAP A ŘEKA"), QStringLiteral("DVOŘÁK")));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("2"))
                    .withTitle(QStringLiteral("žluťoučký kůň"), QStringLiteral("Karel")));
    auto hits = [&](const char *where) {
        return lib.count(
            jetToSqlite(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE ") + QString::fromUtf8(where)));
    };
    QCOMPARE(hits("NAZEV LIKE '*čap*'"), 1);
    QCOMPARE(hits("NAZEV LIKE '*řek*'"), 1);
    QCOMPARE(hits("NAZEV LIKE '*ŽLUŤ*'"), 1);
    QCOMPARE(hits("AUTOR LIKE '*dvořák*'"), 1);
    QCOMPARE(hits("AUTOR LIKE 'k?rel'"), 1);
    QCOMPARE(hits("AUTOR LIKE '*x*'"), 0);
    QCOMPARE(hits("NAZEV LIKE '*'"), 2);
    // Equality ignores letter case too, for Czech letters as well as ASCII ones.
    QCOMPARE(hits("AUTOR = 'dvořák'"), 1);
    QCOMPARE(hits("AUTOR = 'karel'"), 1);
    QCOMPARE(hits("AUTOR = 'karl'"), 0);
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("AB1")));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("x_1")));
    QCOMPARE(hits("KOD LIKE '*_1*'"), 1); // an underscore is a plain character for the librarian
    QCOMPARE(hits("KOD LIKE '*?1*'"), 2);
    QCOMPARE(hits("KOD = 'ab1'"), 1);
    QCOMPARE(CSetKategorie::findByName(QStringLiteral("beletrie")),
             CSetKategorie::findByName(QStringLiteral("Beletrie")));
}

// Every statement the program issues runs on a real database after translation.
void TestDatabase::everyStatementRuns()
{
    TestLibrary lib;
    const qint32 c = lib.addClient(QStringLiteral("K1"));
    const qint32 b = lib.addBook(QStringLiteral("A1"));
    const qint32 loan = lib.lend({b}, c, 20050307, 20050320);
    const qint32 ret = lib.giveBack({b}, 20050325);
    const char *withId[] = {Stmt::KnihyById,           Stmt::KnihyByIdBare,   Stmt::KnihyByPrirustek,
                            Stmt::KnihyHeldBy,         Stmt::KnihyInCategory, Stmt::KnihyInCategoryByKodDesc,
                            Stmt::ReportCategory,      Stmt::ReportOverdue,   Stmt::ReportClientLoans,
                            Stmt::ReportClientHistory, Stmt::LideById,        Stmt::LideByIdVisible,
                            Stmt::KategorieById,       Stmt::VypujckyByLoan,  Stmt::VypujckyOfBook,
                            Stmt::VypujckyHistory,     Stmt::VraceniOfBook,   Stmt::ProtocolLoan,
                            Stmt::ProtocolLoanChooser, Stmt::ProtocolReturn,  Stmt::ProtocolReturnChooser};
    for (const char *s : withId)
        QVERIFY2(runJet(QString::asprintf(s, 1)).isActive(), s);
    const char *withTwo[] = {Stmt::ReportClientOverdue, Stmt::VypujckyRow, Stmt::ProtocolLoanPeriod,
                             Stmt::ProtocolReturnPeriod};
    for (const char *s : withTwo)
        QVERIFY2(runJet(QString::asprintf(s, 20050301, 20050331)).isActive(), s);
    const char *withText[] = {Stmt::KnihyByKod, Stmt::KnihyByKodNotDiscarded, Stmt::KnihyDiscardedByKod,
                              Stmt::LideByKod,  Stmt::LideByKodVisible,       Stmt::KategorieByNameVisible};
    for (const char *s : withText)
        QVERIFY2(runJet(QString::asprintf(s, "A1")).isActive(), s);
    const char *plain[] = {Stmt::KnihyBrowse,      Stmt::PickLendable,     Stmt::PickLent,
                           Stmt::PickNotDiscarded, Stmt::PickDiscarded,    Stmt::LideVisible,
                           Stmt::LidePicker,       Stmt::KategorieVisible, Stmt::Ids};
    for (const char *s : plain)
        QVERIFY2(runJet(QString::fromLatin1(s)).isActive(), s);

    CSetVypujcky v;
    v.open(QString::asprintf(Stmt::VypujckyRow, loan, b));
    QVERIFY(!v.isEOF());
    QVERIFY(v.m_VRACENO);
    QCOMPARE(v.m_DATUM_VRACENI, 20050325);
    CSetVraceni r;
    r.open(QString::asprintf(Stmt::ProtocolReturn, ret));
    QVERIFY(!r.isEOF());
    QCOMPARE(r.m_DATUM_VRACENI_MAX, 20050320);
    QCOMPARE(r.m_DATUM_PUJCKY, 20050307);
    QVERIFY(r.m_OMEZOVAT);
}

void TestDatabase::allocationAndRollback()
{
    TestLibrary lib;
    {
        Transaction tx;
        QCOMPARE(allocateId(Counter::Vypujcky), 1);
        tx.commit();
    }
    {
        Transaction tx;
        QCOMPARE(allocateId(Counter::Vypujcky), 2);
        tx.commit();
    }
    // A failed action takes its number back with everything else it wrote.
    try {
        Transaction tx;
        QCOMPARE(allocateId(Counter::Vypujcky), 3);
        runSql(QStringLiteral("INSERT INTO VYPUJCKY VALUES (3, 1, 1, 0, 20050101, 0, -1, -1)"));
        runSql(QStringLiteral("INSERT INTO NO_SUCH_TABLE VALUES (1)"));
        tx.commit();
        QFAIL("the statement should have failed");
    } catch (const DbError &) {
    }
    QCOMPARE(lib.ids("ID_VYPUJCKY_FIRSTFREE"), 3);
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM VYPUJCKY")), 0);
    Transaction tx;
    QCOMPARE(allocateId(Counter::Vypujcky), 3);
    tx.commit();
    // Accession numbers only grow.
    raisePrirustekMax(50);
    raisePrirustekMax(20);
    QCOMPARE(readPrirustekMax(), 50);
}

void TestDatabase::recordSetMovesAndWrites()
{
    TestLibrary lib;
    for (int i = 1; i <= 5; ++i)
        lib.addBook(QString::asprintf("C%d", i));
    CSetKnihy k;
    k.open(QString::fromLatin1(Stmt::KnihyBrowse));
    QVERIFY(!k.isEOF());
    QVERIFY(!k.isBOF());
    QCOMPARE(k.m_KOD, QStringLiteral("C1"));
    k.moveLast();
    QCOMPARE(k.m_KOD, QStringLiteral("C5"));
    k.move(-3);
    QCOMPARE(k.m_KOD, QStringLiteral("C2"));
    k.move(-40);
    QVERIFY(k.isBOF());
    k.moveFirst();
    k.move(40);
    QVERIFY(k.isEOF());
    k.moveFirst();
    k.moveNext();
    k.edit();
    k.m_NAZEV = QStringLiteral("Krakatit");
    k.update();
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE NAZEV = 'Krakatit' AND KOD = 'C2'")),
             1);
    k.deleteRow();
    QCOMPARE(lib.count(QStringLiteral("SELECT COUNT(*) FROM KNIHY")), 4);

    CSetKategorie cat;
    cat.open();
    cat.addNew();
    cat.m_ID_KATEGORIE_KATEGORIE = 77;
    cat.m_NAZEV = QStringLiteral("Poezie");
    cat.m_UKAZOVAT = true;
    cat.update();
    QCOMPARE(lib.count(QStringLiteral("SELECT UKAZOVAT FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE = 77")),
             1);

    CSetLide empty;
    empty.open(QString::asprintf(Stmt::LideByKod, "nobody"));
    QVERIFY(empty.isEOF() && empty.isBOF());
}

void TestDatabase::lookups()
{
    TestLibrary lib;
    const qint32 poezie = lib.addCategory(QStringLiteral("Poezie"));
    lib.addCategory(QStringLiteral("Staré"), false);
    QCOMPARE(CSetKategorie::findByName(QStringLiteral("Poezie")), poezie);
    QCOMPARE(CSetKategorie::findByName(QStringLiteral("Staré")), -2);
    QCOMPARE(CSetKategorie::findByName(QStringLiteral("Nic")), -1);
    const qint32 k = lib.addClient(QStringLiteral("K7"));
    lib.addClient(QStringLiteral("K8"), QStringLiteral("Eva"), QStringLiteral("Malá"), false);
    QCOMPARE(CSetLide::findByCode(QStringLiteral("K7")), k);
    QCOMPARE(CSetLide::findByCode(QStringLiteral("K8")), -2);
    QCOMPARE(CSetLide::findByCode(QStringLiteral("K9")), -1);
    Database::close();
    QCOMPARE(CSetLide::findByCode(QStringLiteral("K7")), -3);
}

QTEST_GUILESS_MAIN(TestDatabase)
#include "test_database.moc"
