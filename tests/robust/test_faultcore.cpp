#include "catalogue/bookcore.h"
#include "circulation/circulationcore.h"
#include "data/consistency.h"
#include "data/database.h"
#include "registers/registercore.h"
#include "robust/faultvfs.h"
#include "robust/robustsupport.h"
#include "support/testsupport.h"

#include <QtTest>

#include <functional>

// Every write of the core on a disk that fails: the first write refused, then the second, and so
// on until the action goes through. Each refused attempt must throw DbError and leave every
// table, the IDS counters included, exactly as it was, with nothing for the check to find.
class TestFaultCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void circulationWrites();
    void catalogueWrites();
    void registerWrites();
    void failedCommitIsRolledBackAfterReopen();
};

namespace {

struct Library
{
    qint32 fiction = -1, poetry = -1;
    qint32 k1 = -1, k2 = -1;
    QList<qint32> books; // A..F in stock
    qint32 lentA = -1, lentB = -1, loan = -1;
    qint32 gone = -1; // discarded
};

Library fill(TestLibrary &lib)
{
    Library l;
    l.fiction = lib.addCategory(QStringLiteral("Beletrie"));
    l.poetry = lib.addCategory(QStringLiteral("Poezie"));
    l.k1 = lib.addClient(QStringLiteral("K1"));
    l.k2 = lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Dvořáková"));
    for (const char *code : {"A", "B", "C", "D", "E", "F"})
        l.books << lib.addBook(QString::fromLatin1(code));
    l.lentA = lib.addBook(QStringLiteral("LA"));
    l.lentB = lib.addBook(QStringLiteral("LB"));
    l.loan = lib.lend({l.lentA, l.lentB}, l.k1, 20260301, 20260401);
    l.gone = lib.addBook(TestLibrary::BookSpec(QStringLiteral("V")).discard(20250101));
    return l;
}

// Runs the action with the disk failing after 0, 1, 2, ... writes until it goes through; returns
// how many attempts failed (0 when the action needed no write at all).
int sweep(const char *what, const std::function<void()> &action)
{
    const QString path = Database::path();
    const QStringList before = tableSnapshot();
    for (int allowed = 0; allowed < 400; ++allowed) {
        FaultVfs::failAfter(allowed, allowed % 2 ? FaultVfs::Failure::Full : FaultVfs::Failure::Io);
        bool threw = false;
        QString error;
        try {
            action();
        } catch (const DbError &e) {
            threw = true;
            error = e.text();
        }
        const bool refused = FaultVfs::hasFailed();
        FaultVfs::disarm();
        // A commit cut short closes the database when the disk refuses its reopening too; the
        // program opens it again at its next start, which is what happens here.
        if (!Database::isOpen() && Database::open(path) != Database::OpenResult::Ok) {
            qWarning("%s: the library cannot be opened after %d writes", what, allowed);
            return -1;
        }
        if (!refused) {
            if (threw)
                qWarning("%s: failed without a refused write: %s", what, qPrintable(error));
            return threw ? -1 : allowed;
        }
        if (!threw) {
            qWarning("%s: a refused write after %d writes did not fail the action", what, allowed);
            return -1;
        }
        const QStringList after = tableSnapshot();
        if (after != before && FaultVfs::onlyJournalSyncsFailed()) {
            // The sync that failed came after the commit point: the action is wholly there.
            const QStringList problems = checkLibrary();
            if (!problems.isEmpty()) {
                qWarning("%s: check after a late failure: %s", what, qPrintable(problems.join(u'\n')));
                return -1;
            }
            return allowed;
        }
        if (after != before) {
            qWarning("%s: attempt with %d writes left rows changed: %s", what, allowed,
                     qPrintable(snapshotDifference(before, after)));
            return -1;
        }
        const QStringList problems = checkLibrary();
        if (!problems.isEmpty()) {
            qWarning("%s: check after %d writes: %s", what, allowed, qPrintable(problems.join(u'\n')));
            return -1;
        }
    }
    qWarning("%s: never went through", what);
    return -1;
}

// The sweep, then the action's own effect must be there and sound.
#define SWEEP(what, action)                                                                                  \
    do {                                                                                                     \
        const QStringList before_ = tableSnapshot();                                                         \
        const int failed_ = sweep(what, action);                                                             \
        QVERIFY2(failed_ > 0, what);                                                                         \
        QVERIFY2(tableSnapshot() != before_, what);                                                          \
        QCOMPARE(checkLibrary(), QStringList());                                                             \
    } while (false)

BookEntry entry(const QString &code, qint32 accession, qint32 category)
{
    BookEntry e;
    e.code = code;
    e.accession = accession;
    e.acquired = 20260101;
    e.title = QStringLiteral("Válka s mloky");
    e.author = QStringLiteral("Karel Čapek");
    e.category = category;
    e.price = 120.5f;
    e.keywords = QStringLiteral("~mloci~~satira~");
    e.hasKeywords = true;
    return e;
}

} // namespace

void TestFaultCore::initTestCase()
{
    FaultVfs::install();
}

void TestFaultCore::circulationWrites()
{
    TestLibrary lib;
    const Library l = fill(lib);
    const qint32 loanBefore = lib.ids("ID_VYPUJCKY_FIRSTFREE");

    // A failure that arrives after the commit point leaves the action done without its return
    // value: the numbers are read back from the tables.
    SWEEP("loan", [&] {
        lendBooks(l.k2, 20260315, {{l.books[0], 20260415}, {l.books[1], NoDate}, {l.books[2], 20260401}});
    });
    QCOMPARE(lib.ids("ID_VYPUJCKY_FIRSTFREE"), loanBefore + 1);
    QCOMPARE(lib.rows("VYPUJCKY", "ID_VYPUJCKY_VYPUJCKY = ?", {loanBefore}), 3);

    const qint32 returnBefore = lib.ids("ID_VRACENI_FIRSTFREE");
    SWEEP("return", [&] {
        returnBooks(20260315, {{l.lentA, l.k1, l.loan, 20260301, 20260401, true},
                               {l.lentB, l.k1, l.loan, 20260301, 20260401, true}});
    });
    QCOMPARE(lib.ids("ID_VRACENI_FIRSTFREE"), returnBefore + 1);
    QCOMPARE(lib.rows("VRACENI", "ID_VRACENI_VRACENI = ?", {returnBefore}), 2);

    SWEEP("discard", [&] { QVERIFY(discardBook(l.books[3], 20260315) == Meanwhile::Nothing); });
    QCOMPARE(
        lib.count(QStringLiteral("SELECT VYRAZENO FROM KNIHY WHERE ID_KNIHY_KNIHY = %1").arg(l.books[3])), 1);

    SWEEP("undo discard", [&] { restoreBook(l.gone, l.poetry); });
    QCOMPARE(lib.count(QStringLiteral("SELECT VYRAZENO FROM KNIHY WHERE ID_KNIHY_KNIHY = %1").arg(l.gone)),
             0);
}

void TestFaultCore::catalogueWrites()
{
    TestLibrary lib;
    const Library l = fill(lib);

    const qint32 idBefore = lib.ids("ID_KNIHY_FIRSTFREE");
    SWEEP("new book", [&] { addBook(entry(QStringLiteral("NEW"), 500, l.fiction)); });
    QCOMPARE(lib.count(QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE KOD = 'NEW'")), idBefore);
    QCOMPARE(lib.ids("ID_KNIHY_FIRSTFREE"), idBefore + 1);
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 500);

    SWEEP("correction",
          [&] { QVERIFY(correctBook(l.books[4], entry(QStringLiteral("E2"), 900, l.poetry))); });
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 900);

    // A book with history: its loan and return rows go with it.
    SWEEP("deletion", [&] { QVERIFY(deleteBook(l.lentA)); });
    QCOMPARE(lib.rows("VYPUJCKY", "ID_KNIHY_VYPUJCKY = ?", {l.lentA}), 0);
}

void TestFaultCore::registerWrites()
{
    TestLibrary lib;
    const Library l = fill(lib);

    SWEEP("new category", [&] { Registers::addCategory(QStringLiteral("Naučná")); });
    SWEEP("renamed category",
          [&] { Registers::renameCategory(QStringLiteral("Poezie"), QStringLiteral("Verše")); });
    SWEEP("moved books", [&] {
        Registers::moveBooks({{l.books[0], l.poetry}, {l.books[1], l.poetry}, {l.lentB, l.poetry}});
    });
    QCOMPARE(lib.rows("KNIHY", "ID_KATEGORIE_KNIHY = ?", {l.poetry}), 3);
    // Only a category without books in use can be removed: the new, still empty one.
    const qint32 empty = qint32(
        lib.count(QStringLiteral("SELECT ID_KATEGORIE_KATEGORIE FROM KATEGORIE WHERE NAZEV = 'Naučná'")));
    SWEEP("hidden category", [&] { Registers::hideCategory(empty); });

    Registers::ClientData d;
    d.code = QStringLiteral("K9");
    d.first = QStringLiteral("Řehoř");
    d.surname = QStringLiteral("Samsa");
    d.extended = true;
    d.address = QStringLiteral("Praha");
    d.hasAddress = true;
    SWEEP("new client", [&] { Registers::addClient(d); });
    const qint32 client = qint32(lib.count(QStringLiteral("SELECT ID_LIDE_LIDE FROM LIDE WHERE KOD = 'K9'")));
    d.surname = QStringLiteral("Samsová");
    d.code = QStringLiteral("K10");
    SWEEP("changed client", [&] { QVERIFY(Registers::changeClient(client, d)); });
    SWEEP("hidden client", [&] { Registers::hideClient(l.k2); });
    QCOMPARE(lib.rows("LIDE", "UKAZOVAT"), 2);
}

// A failure while the commit writes the database file leaves a journal behind; the library
// opened again afterwards is the library before the action.
void TestFaultCore::failedCommitIsRolledBackAfterReopen()
{
    TestLibrary lib;
    const Library l = fill(lib);
    // Count the writes of a loan, then fail each of its later writes and reopen.
    FaultVfs::resetCount();
    lendBooks(l.k2, 20260315, {{l.books[0], NoDate}, {l.books[1], NoDate}});
    const int writes = FaultVfs::writesPassed();
    QVERIFY(writes > 2);
    runSql(QStringLiteral("DELETE FROM VYPUJCKY")); // back to a state where the books may be lent again
    runSql(QStringLiteral("UPDATE KNIHY SET VYPUJCENO = 0, ID_LIDE_KNIHY = -1, ID_VYPUJCKY_KNIHY = -1"));
    const QStringList start = tableSnapshot();
    for (int allowed = writes - 1; allowed >= writes / 2; --allowed) {
        FaultVfs::failAfter(allowed);
        bool threw = false;
        try {
            lendBooks(l.k2, 20260315, {{l.books[0], NoDate}, {l.books[1], NoDate}});
        } catch (const DbError &) {
            threw = true;
        }
        FaultVfs::disarm();
        QVERIFY(threw);
        Database::close();
        QCOMPARE(Database::open(lib.dbPath()), Database::OpenResult::Ok);
        QCOMPARE(tableSnapshot(), start);
        QCOMPARE(checkLibrary(), QStringList());
    }
}

QTEST_GUILESS_MAIN(TestFaultCore)
#include "test_faultcore.moc"
