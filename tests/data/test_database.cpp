#include "app/messages.h"
#include "data/czechlike.h"
#include "data/database.h"
#include "data/directquery.h"
#include "data/recordsets.h"
#include "data/statements.h"
#include "support/testsupport.h"

#include <QFile>
#include <QtTest>

class TestDatabase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestLibrary::bothEngines(); }
    void init() { FOLIVO_ENGINE_INIT(); }
    void openRefusesMissingAndForeign();
    void secondProcessCannotOpen();
    void translation_data();
    void translation();
    void czechLikeIgnoresCase();
    void czechLikeFoldsEveryLatinLetterAsTheWholeText();
    void directQueryReads();
    void failuresKeepTheEngineTextAndStatement();
    void literalsBecomeParameters();
    void pooledStatementsServeOneRecordSetEach();
    void everyStatementRuns();
    void allocationAndRollback();
};

void TestDatabase::openRefusesMissingAndForeign()
{
    if (TestLibrary::onServer())
        QSKIP("the refusals of a library file");
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

    // The empty database is refused as a target of a second install.
    TestLibrary lib;
    QVERIFY(!Database::createEmpty(lib.dbPath(), &detail));
    QCOMPARE(lib.rows("IDS"), 1);
    QCOMPARE(lib.ids("ID_KNIHY_FIRSTFREE"), 1);
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 0);
}

void TestDatabase::secondProcessCannotOpen()
{
    if (TestLibrary::onServer())
        QSKIP("the library file's exclusive lock");
    TestLibrary lib;
    // A second connection in this process stands for a second copy of the program.
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
}

// How the program's statements are put to the engine; the plain wildcards and the letter case of
// LIKE and = are pinned on a real library (czechLikeIgnoresCase), the edge cases here.
void TestDatabase::translation_data()
{
    QTest::addColumn<QString>("jet");
    QTest::addColumn<QString>("sqlite");
    QTest::newRow("stars outside like stay")
        << "SELECT * FROM KNIHY WHERE NAZEV = 'x*' AND KOD LIKE '*1*'"
        << "SELECT * FROM KNIHY WHERE NAZEV = 'x*' COLLATE NOCASE AND KOD LIKE '%1%'";
    QTest::newRow("czech text equality") << "AND AUTOR = 'karel čapek' "
                                         << "AND AUTOR = 'karel čapek' COLLATE CZNOCASE ";
    QTest::newRow("engine wildcards are plain in a pattern") << "AND KOD LIKE '*A_1%\\*' "
                                                             << "AND KOD LIKE '%A\\_1\\%\\\\%' ESCAPE '\\' ";
    QTest::newRow("numbers untouched") << "WHERE CENA <= 200.000000 AND PRIRUSTEK >= 3 AND KOD <> 'x'"
                                       << "WHERE CENA <= 200.000000 AND PRIRUSTEK >= 3 AND KOD <> 'x'";
    // Every ORDER BY on a text column sorts in Czech order; numbers and dates sort as numbers.
    QTest::newRow("several terms, bare names, lower case")
        << "select * from KATEGORIE order by nazev, ID_KATEGORIE_KATEGORIE desc,UKAZOVAT, Autor asc"
        << "select * from KATEGORIE order by nazev COLLATE CZECH, ID_KATEGORIE_KATEGORIE desc,UKAZOVAT, "
           "Autor "
           "COLLATE CZECH asc";
    QTest::newRow("a named collation stays")
        << "SELECT * FROM KNIHY ORDER BY KNIHY.NAZEV COLLATE NOCASE, KNIHY.AUTOR"
        << "SELECT * FROM KNIHY ORDER BY KNIHY.NAZEV COLLATE NOCASE, KNIHY.AUTOR COLLATE CZECH";
    QTest::newRow("order by inside a text is a text")
        << "SELECT * FROM KNIHY WHERE NAZEV LIKE '*order by kod*' AND AUTOR = 'O''Neil ORDER BY NAZEV' "
           "ORDER BY KNIHY.KOD"
        << "SELECT * FROM KNIHY WHERE NAZEV LIKE '%order by kod%' AND AUTOR = 'O''Neil ORDER BY NAZEV' "
           "COLLATE "
           "NOCASE ORDER BY KNIHY.KOD COLLATE CZECH";
    QTest::newRow("a sub-select's order ends at its bracket")
        << "SELECT * FROM KNIHY WHERE KOD IN (SELECT KOD FROM LIDE ORDER BY KOD) AND NAZEV <> 'x' ORDER BY "
           "CENA"
        << "SELECT * FROM KNIHY WHERE KOD IN (SELECT KOD FROM LIDE ORDER BY KOD COLLATE CZECH) AND NAZEV <> "
           "'x' "
           "ORDER BY CENA";
    QTest::newRow("limit ends the order") << "SELECT * FROM KNIHY ORDER BY KOD LIMIT 5"
                                          << "SELECT * FROM KNIHY ORDER BY KOD COLLATE CZECH LIMIT 5";
    QTest::newRow("positions and expressions untouched")
        << "SELECT * FROM KNIHY ORDER BY 2 DESC, LENGTH(NAZEV), NAZEV"
        << "SELECT * FROM KNIHY ORDER BY 2 DESC, LENGTH(NAZEV), NAZEV COLLATE CZECH";
    QTest::newRow("unknown column untouched") << "SELECT * FROM KNIHY ORDER BY NOSUCH, KNIHY.CENA"
                                              << "SELECT * FROM KNIHY ORDER BY NOSUCH, KNIHY.CENA";
}

void TestDatabase::translation()
{
    if (TestLibrary::onServer())
        QSKIP("the translation of texts, engine aside: once is enough");
    QFETCH(QString, jet);
    QFETCH(QString, sqlite);
    QCOMPARE(jetToSqlite(jet), sqlite);
}

// LIKE and = ignore letter case, Czech letters included, but not accents. Plain ASCII texts take
// a shortcut through the registered LIKE; texts with other letters do not: both must answer as
// the full case folding does, row after row of one statement.
void TestDatabase::czechLikeIgnoresCase()
{
    TestLibrary lib;
    const char *books[][3] = {{"1", "ČAP A ŘEKA", "DVOŘÁK"},
                              {"2", "žluťoučký kůň", "Karel"},
                              {"3", "CESTA DOMU", "KAREL MAY"},
                              {"4", "Na cestách", "Karel Čapek"},
                              {"5", "ČESTNÉ SLOVO", "ČAPEK"},
                              {"6", "\u212Aarel", "x"},
                              {"7", "", "y"},
                              {"AB1", "Babička", "Božena Němcová"},
                              {"x_1", "Babička", "Božena Němcová"}};
    for (const auto &b : books)
        lib.addBook(TestLibrary::BookSpec(QString::fromUtf8(b[0]))
                        .withTitle(QString::fromUtf8(b[1]), QString::fromUtf8(b[2])));
    const struct
    {
        const char *where;
        int found;
    } cases[] = {
        {"NAZEV LIKE '*čap*'", 1},
        {"AUTOR LIKE 'k?rel'", 1},
        {"AUTOR LIKE '*q*'", 0},
        {"NAZEV LIKE '*'", 9}, // an empty title too
        {"NAZEV LIKE '?*'", 8},
        {"AUTOR = 'dvořák'", 1},
        {"AUTOR = 'karel'", 1},
        {"KOD LIKE '*_1*'", 1}, // an underscore is a plain character for the librarian
        {"KOD LIKE '*?1*'", 2},
        {"KOD = 'ab1'", 1},
        {"NAZEV LIKE '*ces*'", 2}, // CESTA, cestách; not ČESTNÉ
        {"NAZEV LIKE '*čes*'", 1},
        {"AUTOR LIKE '*kar*'", 3}, // ASCII and accented texts
        {"AUTOR LIKE '*APEK'", 2},
        {"AUTOR LIKE 'čapek'", 1}, // the whole text, letter case aside
        {"NAZEV LIKE 'karel'", 1}, // the Kelvin sign folds to k
        {"NAZEV LIKE '*DOMU' AND AUTOR LIKE 'karel*'", 1},
    };
    for (const auto &c : cases)
        QVERIFY2(lib.count(jetToSqlite(QStringLiteral("SELECT COUNT(*) FROM KNIHY WHERE ") +
                                       QString::fromUtf8(c.where))) == c.found,
                 c.where);
}

// The statement's LIKE folds Latin letters one at a time; it must agree with the whole-text
// folding for every one of them, ß, İ and ŉ included.
void TestDatabase::czechLikeFoldsEveryLatinLetterAsTheWholeText()
{
    TestLibrary lib;
    int differing = 0;
    for (char32_t cp = 0x20; cp < 0x250; ++cp) {
        const QString ch = QString::fromUcs4(&cp, 1);
        const QString texts[] = {ch.toUpper() + QStringLiteral("ab"), ch.toLower() + QStringLiteral("AB"),
                                 QStringLiteral("\u00e9") + ch, ch + ch};
        const QString patterns[] = {ch.toLower() + QStringLiteral("%"), QStringLiteral("%") + ch.toUpper(),
                                    QStringLiteral("%ss%"), QStringLiteral("_") + ch.toCaseFolded()};
        for (const QString &text : texts)
            for (const QString &pattern : patterns) {
                // "text LIKE pattern" runs like(pattern, text).
                QSqlQuery q = runSql(QStringLiteral("SELECT ? LIKE ?"), {text, pattern});
                QVERIFY(q.next());
                if (q.value(0).toBool() != czechLike(pattern, text)) {
                    ++differing;
                    qWarning("U+%04X: '%s' LIKE '%s'", unsigned(cp), qUtf8Printable(text),
                             qUtf8Printable(pattern));
                }
            }
    }
    QCOMPARE(differing, 0);
}

void TestDatabase::directQueryReads()
{
    TestLibrary lib;
    const qint32 id = lib.addBook(QStringLiteral("A2"));
    runSql(QStringLiteral("UPDATE KNIHY SET AUTOR = NULL, CENA = 12.5 WHERE ID_KNIHY_KNIHY = ?"), {id});

    // One statement run again with another value; a NULL reads as a null text. (What the rows hold
    // is read through it by every record set and report.)
    DirectQuery q(QStringLiteral("SELECT * FROM KNIHY WHERE ID_KNIHY_KNIHY = ?"));
    const int code = q.column("kod"); // names ignore letter case
    QCOMPARE(q.column("NO_SUCH_COLUMN"), -1);
    q.bind(1, id + 1);
    QVERIFY(!q.next());
    q.reset();
    q.bind(1, id);
    QVERIFY(q.next());
    QCOMPARE(q.text(code), QStringLiteral("A2"));
    QVERIFY(q.text(q.column("AUTOR")).isNull());
    QCOMPARE(q.real(q.column("CENA")), 12.5);

    QVERIFY_THROWS_EXCEPTION(DbError, DirectQuery(QStringLiteral("SELECT * FROM NO_TABLE")));
    QVERIFY_THROWS_EXCEPTION(DbError, DirectQuery(QStringLiteral("   ")));
    DirectQuery alive(QStringLiteral("SELECT KOD FROM KNIHY"));
    QVERIFY(alive.next());
    Database::close(); // finalizes the statement, or the file would stay open and locked
    QVERIFY_THROWS_EXCEPTION(DbError, alive.next());
    QCOMPARE(alive.columnCount(), 0);
    QVERIFY_THROWS_EXCEPTION(DbError, DirectQuery(QStringLiteral("SELECT 1")));
}

// A failed statement reaches the page with the engine's words and the statement; the page's one
// answer shows its catalogue message and logs both under folivo.db.
void TestDatabase::failuresKeepTheEngineTextAndStatement()
{
    if (TestLibrary::onServer())
        QSKIP("SQLite's own failure texts");
    TestLibrary lib;
    const QString bad = QStringLiteral("SELECT NO_COLUMN FROM KNIHY");
    auto caught = [](const std::function<void()> &run) {
        try {
            run();
        } catch (const DbError &e) {
            return std::optional<DbError>(e);
        }
        return std::optional<DbError>();
    };
    for (const auto &run : QList<std::function<void()>>{[&] { DirectQuery q(bad); }, [&] { runSql(bad); }}) {
        const std::optional<DbError> e = caught(run);
        QVERIFY(e);
        QVERIFY2(e->detail().contains(QStringLiteral("NO_COLUMN")), qPrintable(e->detail()));
        QCOMPARE(e->statement(), bad);
        QCOMPARE(e->text(), e->detail() + QStringLiteral(" [") + bad + QLatin1Char(']'));
    }
    // A failure while the engine steps.
    const QString overflow = QStringLiteral("SELECT abs(-9223372036854775807 - 1)");
    const std::optional<DbError> step = caught([&] {
        DirectQuery q(overflow);
        q.next();
    });
    QVERIFY(step);
    QVERIFY2(step->detail().contains(QStringLiteral("overflow")), qPrintable(step->detail()));
    QCOMPARE(step->statement(), overflow);

    MessageRecorder messages;
    const std::optional<DbError> e = caught([&] { DirectQuery q(bad); });
    QVERIFY(e);
    QTest::ignoreMessage(
        QtWarningMsg, QRegularExpression(QStringLiteral("no such column.*in.*SELECT NO_COLUMN FROM KNIHY")));
    showDbError(59, *e);
    QCOMPARE(messages.numbers(), QList<int>{59});
}

void TestDatabase::literalsBecomeParameters()
{
    QVariantList binds;
    QCOMPARE(parameterizeLiterals(
                 QStringLiteral("SELECT KNIHY.rowid, * FROM KNIHY WHERE KNIHY.KOD = 'a''b' COLLATE "
                                "NOCASE AND NOT KNIHY.VYRAZENO AND X = -12 AND CENA <= 1.5 ORDER BY "
                                "KNIHY.KOD DESC LIMIT 5"),
                 &binds),
             QStringLiteral("SELECT KNIHY.rowid, * FROM KNIHY WHERE KNIHY.KOD = ? COLLATE NOCASE AND NOT "
                            "KNIHY.VYRAZENO AND X = -? AND CENA <= ? ORDER BY KNIHY.KOD DESC LIMIT 5"));
    QCOMPARE(binds, (QVariantList{QStringLiteral("a'b"), qlonglong(12), 1.5}));

    binds.clear();
    QCOMPARE(parameterizeLiterals(
                 QStringLiteral("SELECT * FROM T1 WHERE T1.C2 = 3 AND [X 1] = 'Čáp' GROUP BY 1"), &binds),
             QStringLiteral("SELECT * FROM T1 WHERE T1.C2 = ? AND [X 1] = ? GROUP BY 1"));
    QCOMPARE(binds, (QVariantList{qlonglong(3), QStringLiteral("Čáp")}));

    // What it cannot take apart stays as written, without binds.
    for (const char *sql : {"SELECT * FROM T WHERE A = 'open", "SELECT * FROM T WHERE A = 1e5",
                            "SELECT * FROM T WHERE A = 0x1F"}) {
        binds.clear();
        QCOMPARE(parameterizeLiterals(QString::fromUtf8(sql), &binds), QString::fromUtf8(sql));
        QVERIFY(binds.isEmpty());
    }
}

void TestDatabase::pooledStatementsServeOneRecordSetEach()
{
    if (TestLibrary::onServer())
        QSKIP("reopens the library file");
    TestLibrary lib;
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("A1")).withTitle(QStringLiteral("První")));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("B2")).withTitle(QStringLiteral("Druhá")));
    auto titleOf = [](const char *code) {
        CSetKnihy set;
        set.open(QString::asprintf(Stmt::KnihyByKod, code));
        return set.isEOF() ? QStringLiteral("-") : set.m_NAZEV;
    };
    // One statement shape, other values: each lookup finds its own row.
    QCOMPARE(titleOf("A1"), QStringLiteral("První"));
    QCOMPARE(titleOf("b2"), QStringLiteral("Druhá"));
    // An empty text in a statement stays an empty text, not NULL.
    runSql(QStringLiteral("UPDATE KNIHY SET AUTOR = '' WHERE KOD = 'B2'"));
    CSetKnihy blank;
    blank.open(QStringLiteral("SELECT * FROM KNIHY WHERE AUTOR = ''"));
    QCOMPARE(blank.m_KOD, QStringLiteral("B2"));
    blank.close();

    // Two record sets of the same statement open at once walk their rows independently.
    CSetKnihy first, second;
    first.open(QString::fromUtf8(Stmt::KnihyBrowse));
    second.open(QString::fromUtf8(Stmt::KnihyBrowse));
    QCOMPARE(first.m_KOD, QStringLiteral("A1"));
    second.moveNext();
    QCOMPARE(second.m_KOD, QStringLiteral("B2"));
    first.moveNext();
    QCOMPARE(first.m_KOD, QStringLiteral("B2"));
    second.moveNext();
    QVERIFY(second.isEOF());

    // An edit writes every column as the record set holds it, so a NULL the row was read with
    // comes back as the member's value even when nothing was changed.
    runSql(QStringLiteral("UPDATE KNIHY SET ANOTACE = NULL, POCET_STRAN = NULL WHERE KOD = 'A1'"));
    {
        CSetKnihy set;
        set.open(QString::asprintf(Stmt::KnihyByKod, "A1"));
        set.edit();
        set.update();
    }
    QCOMPARE(lib.rows("KNIHY", "ANOTACE = '' AND POCET_STRAN = 0"), 1);
    QCOMPARE(lib.rows("KNIHY", "ANOTACE IS NULL"), 0);
    QCOMPARE(titleOf("A1"), QStringLiteral("První"));

    // A record set kept across closing and reopening the database gives its statement back
    // harmlessly; the reopened database prepares afresh.
    const QString path = Database::path();
    CSetKnihy kept;
    kept.open(QString::fromUtf8(Stmt::KnihyBrowse));
    first.close();
    Database::close();
    QVERIFY_THROWS_EXCEPTION(DbError, kept.moveNext()); // its second row was never read
    kept.close();
    QCOMPARE(Database::open(path), Database::OpenResult::Ok);
    QCOMPARE(titleOf("B2"), QStringLiteral("Druhá"));
}

// Every statement the program issues runs on a real database after translation.
void TestDatabase::everyStatementRuns()
{
    TestLibrary lib;
    const qint32 c = lib.addClient(QStringLiteral("K1"));
    const qint32 b = lib.addBook(QStringLiteral("A1"));
    lib.lend({b}, c, 20050307, 20050320);
    lib.giveBack({b}, 20050325);
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
    QCOMPARE(lib.rows("VYPUJCKY"), 0);
    Transaction tx;
    QCOMPARE(allocateId(Counter::Vypujcky), 3);
    tx.commit();
    // Accession numbers only grow.
    raisePrirustekMax(50);
    raisePrirustekMax(20);
    QCOMPARE(readPrirustekMax(), 50);
}

QTEST_GUILESS_MAIN(TestDatabase)
#include "test_database.moc"
