#include "circulation/circulationcore.h"
#include "data/database.h"
#include "support/testsupport.h"

#include "data/serveraddress.h"

#include <QSemaphore>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QThread>
#include <QtTest>

// The writes of lending, returning, discarding and restoring, without a window.
class TestCirculationCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestLibrary::bothEngines(); }
    void init() { FOLIVO_ENGINE_INIT(); }
    void lendAndReturnUnderOneNumber();
    void failureWritesNothing();
    void discardAndRestore();
    void twoDesksLendOneBook();
    void refusedWhenAnotherDeskWasFirst();
    void deadlockIsRunAgain();
};

namespace {

// The rows a query gives, each as its columns joined by ':', the rows by ' '.
QString rowsOf(const QString &sql)
{
    QSqlQuery query = runSql(sql);
    QStringList rows;
    while (query.next()) {
        QStringList columns;
        for (int i = 0; i < query.record().count(); ++i)
            columns << query.value(i).toString();
        rows << columns.join(QLatin1Char(':'));
    }
    return rows.join(QLatin1Char(' '));
}

// What a refused or failed write leaves as it was: the rows, the books' and clients' flags and
// the counters.
QList<qint64> circulationState(const TestLibrary &lib)
{
    QList<qint64> state = {
        lib.rows("VYPUJCKY"),         lib.rows("VYPUJCKY", "VRACENO"),  lib.rows("VRACENI"),
        lib.rows("LIDE", "UKAZOVAT"), lib.ids("ID_VYPUJCKY_FIRSTFREE"), lib.ids("ID_VRACENI_FIRSTFREE")};
    for (const char *where : {"VYPUJCENO", "VYRAZENO", "ID_LIDE_KNIHY <> -1 OR ID_VYPUJCKY_KNIHY <> -1"})
        state << lib.rows("KNIHY", where);
    return state;
}

// Another desk of the server library: a connection of its own in a thread of its own. work() runs
// there on the open connection and releases holding once it holds what this desk is to wait for;
// it returns false when one of its statements failed.
class OtherDesk
{
public:
    using Work = std::function<bool(QSqlDatabase &, QSqlQuery &, QSemaphore &holding)>;
    OtherDesk(const QString &location, const Work &work)
    {
        m_thread.reset(QThread::create([this, location, work] {
            const QString name = QStringLiteral("other-desk");
            {
                QSqlDatabase db = ServerAddress::parse(location)->addConnection(name);
                QSqlQuery query(db);
                if (!(db.open() && work(db, query, m_holding)))
                    m_error = query.lastError().text() + db.lastError().text();
                m_holding.release(); // also when it failed before holding anything
                db.close();
            }
            QSqlDatabase::removeDatabase(name);
        }));
        m_thread->start();
        m_holding.acquire();
    }
    ~OtherDesk() { m_thread->wait(); }
    Q_DISABLE_COPY_MOVE(OtherDesk)
    // Waits for the other desk to end; what failed there, empty when nothing did.
    QString finish()
    {
        m_thread->wait();
        return m_error;
    }

private:
    QSemaphore m_holding;
    QString m_error;
    std::unique_ptr<QThread> m_thread;
};

} // namespace

void TestCirculationCore::lendAndReturnUnderOneNumber()
{
    TestLibrary lib;
    const qint32 k1 = lib.addClient(QStringLiteral("K1"));
    const qint32 k2 = lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Malá"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 b = lib.addBook(QStringLiteral("B"));
    const qint32 c = lib.addBook(QStringLiteral("C"));
    const qint32 d = lib.addBook(QStringLiteral("D"));
    const qint32 firstLoan = lib.ids("ID_VYPUJCKY_FIRSTFREE");

    QList<int> order;
    const BookWritten record = [&order](int i) { order << i; };
    const qint32 loan = lendBooks(k1, 20260315, {{a, 20260401}, {b, NoDate}, {c, 20260315}}, record).number;
    QCOMPARE(loan, firstLoan);
    QCOMPARE(order, (QList<int>{2, 1, 0})); // from the last book to the first
    // Every book under the one number; the unlimited one carries no date and no limit.
    QCOMPARE(
        rowsOf(QStringLiteral("SELECT ID_KNIHY_VYPUJCKY, OMEZOVAT, DATUM_MAX FROM VYPUJCKY WHERE "
                              "ID_VYPUJCKY_VYPUJCKY = %1 AND ID_LIDE_VYPUJCKY = %2 AND NOT VRACENO AND "
                              "DATUM_PUJCKY = 20260315 AND DATUM_VRACENI = -1 ORDER BY ID_KNIHY_VYPUJCKY")
                   .arg(loan)
                   .arg(k1)),
        QStringLiteral("%1:1:20260401 %2:0:-1 %3:1:20260315").arg(a).arg(b).arg(c));
    QCOMPARE(lib.rows("KNIHY", "VYPUJCENO AND ID_LIDE_KNIHY = ? AND ID_VYPUJCKY_KNIHY = ?", {k1, loan}), 3);
    // The next loan takes the next number.
    const qint32 loanD = lendBooks(k2, 20260305, {{d, NoDate}}).number;
    QCOMPARE(loanD, loan + 1);

    // A return of books of two clients and loans: each row carries its own loan's data.
    const qint32 firstReturn = lib.ids("ID_VRACENI_FIRSTFREE");
    order.clear();
    const qint32 r =
        returnBooks(20260320,
                    {{a, k1, loan, 20260315, 20260401, true}, {d, k2, loanD, 20260305, NoDate, false}},
                    record)
            .number;
    QCOMPARE(r, firstReturn);
    QCOMPARE(order, (QList<int>{1, 0}));
    QCOMPARE(lib.ids("ID_VRACENI_FIRSTFREE"), firstReturn + 1);
    QCOMPARE(rowsOf(QStringLiteral("SELECT ID_KNIHY_VRACENI, ID_LIDE_VRACENI, DATUM_PUJCKY, OMEZOVAT, "
                                   "DATUM_VRACENI_MAX FROM VRACENI WHERE ID_VRACENI_VRACENI = %1 AND "
                                   "DATUM_VRACENI = 20260320 ORDER BY ID_KNIHY_VRACENI")
                        .arg(r)),
             QStringLiteral("%1:%2:20260315:1:20260401 %3:%4:20260305:0:-1").arg(a).arg(k1).arg(d).arg(k2));
    QCOMPARE(lib.rows("VYPUJCKY", "VRACENO AND DATUM_VRACENI = 20260320"), 2);
    // B and C are still out.
    QCOMPARE(lib.rows("KNIHY", "VYPUJCENO OR ID_LIDE_KNIHY <> -1 OR ID_VYPUJCKY_KNIHY <> -1"), 2);
}

// A book or a loan row that vanished part way through a loan or a return: the books written
// before it are rolled back, the counter with them. (A failing disk under every write is swept
// by the fault tests.)
void TestCirculationCore::failureWritesNothing()
{
    TestLibrary lib;
    const qint32 client = lib.addClient(QStringLiteral("K1"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 b = lib.addBook(QStringLiteral("B"));
    const qint32 c = lib.addBook(QStringLiteral("C"));

    // The middle book vanished between preparing the list and lending: the last book was written
    // before the failure and rolled back.
    runSql(QStringLiteral("DELETE FROM KNIHY WHERE ID_KNIHY_KNIHY = %1").arg(b));
    const QList<qint64> before = circulationState(lib);
    QList<int> written;
    QVERIFY_THROWS_EXCEPTION(DbError, lendBooks(client, 20260315, {{a, NoDate}, {b, NoDate}, {c, NoDate}},
                                                [&written](int i) { written << i; }));
    QCOMPARE(written, QList<int>{2});
    QCOMPARE(circulationState(lib), before);

    const qint32 loan = lendBooks(client, 20260315, {{a, NoDate}, {c, NoDate}}).number;

    // The loan row of the first book is gone when they come back: an integrity fault inside the
    // write, after the last book was written.
    const QList<ReturnBook> books = {{a, client, loan, 20260315, NoDate, false},
                                     {c, client, loan, 20260315, NoDate, false}};
    runSql(
        QStringLiteral("UPDATE VYPUJCKY SET ID_VYPUJCKY_VYPUJCKY = 999 WHERE ID_KNIHY_VYPUJCKY = %1").arg(a));
    const QList<qint64> lent = circulationState(lib);
    written.clear();
    QVERIFY_THROWS_EXCEPTION(DbError, returnBooks(20260316, books, [&written](int i) { written << i; }));
    QCOMPARE(written, QList<int>{1});
    QCOMPARE(circulationState(lib), lent);
}

void TestCirculationCore::discardAndRestore()
{
    TestLibrary lib;
    const qint32 fiction = lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 poetry = lib.addCategory(QStringLiteral("Poezie"));
    const qint32 a =
        lib.addBook(TestLibrary::BookSpec(QStringLiteral("A")).in(fiction).numbered(7).acquiredOn(20200105));
    lib.addBook(QStringLiteral("B"));
    const QString idsRow =
        QStringLiteral("SELECT ID_KNIHY_FIRSTFREE + ID_LIDE_FIRSTFREE + ID_KATEGORIE_FIRSTFREE + "
                       "ID_VYPUJCKY_FIRSTFREE + ID_VRACENI_FIRSTFREE + PRIRUSTEK_MAX FROM IDS");
    const qint64 counters = lib.count(idsRow);

    QCOMPARE(discardBook(a, 20260315), Meanwhile::Nothing);
    QCOMPARE(rowsOf(QStringLiteral("SELECT ID_KNIHY_KNIHY, DATUM_VYRAZENI FROM KNIHY WHERE VYRAZENO")),
             QStringLiteral("%1:20260315").arg(a));
    QVERIFY_THROWS_EXCEPTION(DbError, discardBook(12345, 20260315));
    QCOMPARE(lib.count(idsRow), counters); // discarding takes no identifier

    // Restored into the chosen category, with its code, number and acquisition date.
    QCOMPARE(restoreBook(a, poetry), Meanwhile::Nothing);
    QCOMPARE(rowsOf(QStringLiteral("SELECT VYRAZENO, DATUM_VYRAZENI, ID_KATEGORIE_KNIHY, KOD, PRIRUSTEK, "
                                   "DATUM_PORIZENI FROM KNIHY WHERE ID_KNIHY_KNIHY = %1")
                        .arg(a)),
             QStringLiteral("0:-1:%1:A:7:20200105").arg(poetry));
    QVERIFY_THROWS_EXCEPTION(DbError, restoreBook(12345, poetry));
    QCOMPARE(lib.count(idsRow), counters);
}

// Two desks lend the same book at the same moment: the second desk's write waits for the first
// one's, reads the book again and lends nothing; the counters go up once.
void TestCirculationCore::twoDesksLendOneBook()
{
    if (!TestLibrary::onServer())
        QSKIP("one program has the library file to itself");
    TestLibrary lib;
    const qint32 jan = lib.addClient(QStringLiteral("K1"));
    const qint32 eva = lib.addClient(QStringLiteral("K2"));
    const qint32 book = lib.addBook(QStringLiteral("A1"));
    const qint32 firstLoan = lib.ids("ID_VYPUJCKY_FIRSTFREE");

    // The other desk lends the book to Eva the way lendBooks does, holding its transaction open
    // until this desk's write waits for it.
    OtherDesk other(lib.location(), [&](QSqlDatabase &db, QSqlQuery &q, QSemaphore &holding) {
        const bool ok =
            db.transaction() && q.exec(QStringLiteral("SELECT 1 FROM IDS FOR UPDATE")) &&
            q.exec(QStringLiteral("UPDATE IDS SET ID_VYPUJCKY_FIRSTFREE = ID_VYPUJCKY_FIRSTFREE + 1")) &&
            q.exec(QString::asprintf("INSERT INTO VYPUJCKY VALUES (%d, %d, %d, 0, 20260315, 0, -1, -1)",
                                     firstLoan, eva, book)) &&
            q.exec(QString::asprintf(
                "UPDATE KNIHY SET VYPUJCENO = 1, ID_LIDE_KNIHY = %d, ID_VYPUJCKY_KNIHY = %d "
                "WHERE ID_KNIHY_KNIHY = %d",
                eva, firstLoan, book));
        holding.release();
        QThread::msleep(300); // this desk's lendBooks is waiting for the IDS row meanwhile
        return ok && db.commit();
    });
    QCOMPARE(lendBooks(jan, 20260315, {{book, NoDate}}).refused, Meanwhile::BookLent);
    QCOMPARE(other.finish(), QString()); // what failed at the other desk

    // One loan of the book, Eva's, and the book is hers.
    QCOMPARE(rowsOf(QStringLiteral("SELECT ID_LIDE_VYPUJCKY, ID_LIDE_KNIHY FROM VYPUJCKY, KNIHY WHERE "
                                   "ID_KNIHY_VYPUJCKY = ID_KNIHY_KNIHY AND ID_KNIHY_KNIHY = %1")
                        .arg(book)),
             QStringLiteral("%1:%1").arg(eva));
    QCOMPARE(lib.ids("ID_VYPUJCKY_FIRSTFREE"), firstLoan + 1); // the refused write took no number
}

// Between the page's look-up and its write another desk changed what the page checked: the write
// reads it again inside its transaction, says what changed, writes nothing (no counter either)
// and makes no page row go.
void TestCirculationCore::refusedWhenAnotherDeskWasFirst()
{
    TestLibrary lib;
    const qint32 category = lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 eva = lib.addClient(QStringLiteral("EVA"));
    using Write = std::function<Meanwhile(const BookWritten &)>;
    struct Case
    {
        const char *name;
        // The book lent or discarded as the write needs it, and the page's look-up: the write it
        // will run, with what it saw.
        std::function<Write(qint32 book, qint32 client)> page;
        std::function<void(qint32 book, qint32 client)> otherDesk;
        Meanwhile expected;
    };
    // A loan lists a second, untouched book after the raced one, so that one book is written
    // before the refusal comes.
    qint32 spare = -1;
    const auto loan = [&](qint32 book, qint32 client) -> Write {
        return [=](const BookWritten &w) {
            return lendBooks(client, 20260315, {{book, NoDate}, {spare, NoDate}}, w).refused;
        };
    };
    const auto giveBack = [&](qint32 book, qint32 client) -> Write {
        const qint32 number = lib.lend({book}, client, 20260310);
        return [=](const BookWritten &w) {
            return returnBooks(20260316, {{book, client, number, 20260310, NoDate, false}}, w).refused;
        };
    };
    const auto discard = [](qint32 book, qint32) -> Write {
        return [=](const BookWritten &) { return discardBook(book, 20260315); };
    };
    const auto restore = [&](qint32 book, qint32) -> Write {
        [&] { QCOMPARE(discardBook(book, 20260310), Meanwhile::Nothing); }();
        return [=](const BookWritten &) { return restoreBook(book, category); };
    };
    const auto lendToEva = [&](qint32 book, qint32) { lib.lend({book}, eva, 20260312); };
    const auto discardIt = [](qint32 book, qint32) {
        QCOMPARE(discardBook(book, 20260312), Meanwhile::Nothing);
    };
    const auto returnIt = [&](qint32 book, qint32) { lib.giveBack({book}, 20260312); };
    const QList<Case> cases = {
        {"loan, lent meanwhile", loan, lendToEva, Meanwhile::BookLent},
        {"loan, discarded meanwhile", loan, discardIt, Meanwhile::BookNotInStock},
        {"loan, client removed meanwhile", loan,
         [](qint32, qint32 client) {
             runSql(QStringLiteral("UPDATE LIDE SET UKAZOVAT = 0 WHERE ID_LIDE_LIDE = %1").arg(client));
         },
         Meanwhile::ClientHidden},
        {"return, returned meanwhile", giveBack, returnIt, Meanwhile::BookReturned},
        {"return, returned and lent again", giveBack,
         [&](qint32 book, qint32 client) {
             returnIt(book, client);
             lendToEva(book, client);
         },
         Meanwhile::BookReturned},
        {"discard, lent meanwhile", discard, lendToEva, Meanwhile::BookLent},
        {"discard, discarded meanwhile", discard, discardIt, Meanwhile::BookNotInStock},
        {"restore, restored meanwhile", restore,
         [&](qint32 book, qint32) { QCOMPARE(restoreBook(book, category), Meanwhile::Nothing); },
         Meanwhile::BookNotDiscarded},
    };
    int n = 0;
    for (const Case &c : cases) {
        ++n;
        const qint32 client = lib.addClient(QStringLiteral("K%1").arg(n));
        const qint32 book = lib.addBook(TestLibrary::BookSpec(QStringLiteral("R%1").arg(n)).in(category));
        spare = lib.addBook(TestLibrary::BookSpec(QStringLiteral("S%1").arg(n)).in(category));
        const Write write = c.page(book, client);
        c.otherDesk(book, client);
        const QList<qint64> before = circulationState(lib);
        QList<int> written;
        QCOMPARE(write([&written](int i) { written << i; }), c.expected);
        QVERIFY2(written.isEmpty(), c.name);
        QCOMPARE(circulationState(lib), before);
    }
}

// A write the server aborts because of a deadlock with another desk's transaction runs again and
// succeeds without the caller seeing anything: the other desk holds the book's row and then asks
// for the counters row this write holds, the server breaks the deadlock by aborting this write.
void TestCirculationCore::deadlockIsRunAgain()
{
    if (!TestLibrary::onServer())
        QSKIP("one program has the library file to itself");
    TestLibrary lib;
    const qint32 jan = lib.addClient(QStringLiteral("K1"));
    const qint32 book = lib.addBook(QStringLiteral("A1"));
    const qint32 firstLoan = lib.ids("ID_VYPUJCKY_FIRSTFREE");

    OtherDesk other(lib.location(), [&](QSqlDatabase &db, QSqlQuery &q, QSemaphore &holding) {
        // The other desk waits long before it looks for a deadlock, so that the server aborts
        // this desk's write, not the other one.
        bool ok =
            q.exec(QStringLiteral("SET deadlock_timeout = '20s'")) && db.transaction() &&
            q.exec(QStringLiteral("SELECT 1 FROM KNIHY WHERE ID_KNIHY_KNIHY = %1 FOR UPDATE").arg(book));
        holding.release();
        // Until this desk's write waits for the book's row.
        for (int i = 0; ok && i < 500; ++i) {
            ok = q.exec(QStringLiteral("SELECT COUNT(*) FROM pg_locks WHERE NOT granted")) && q.next();
            if (ok && q.value(0).toInt() > 0)
                break;
            QThread::msleep(20);
        }
        return ok && q.exec(QStringLiteral("SELECT 1 FROM IDS FOR UPDATE")) && db.commit();
    });
    QList<int> written;
    const CirculationResult loan =
        lendBooks(jan, 20260315, {{book, NoDate}}, [&written](int i) { written << i; });
    QCOMPARE(other.finish(), QString()); // what failed at the other desk
    QCOMPARE(loan.number, firstLoan);
    QCOMPARE(written, QList<int>{0}); // once, for the attempt that committed
    QCOMPARE(lib.rows("VYPUJCKY", "ID_VYPUJCKY_VYPUJCKY = ?", {firstLoan}), 1);
    QCOMPARE(lib.ids("ID_VYPUJCKY_FIRSTFREE"), firstLoan + 1);
}

QTEST_GUILESS_MAIN(TestCirculationCore)
#include "test_circulationcore.moc"
