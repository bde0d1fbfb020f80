#include "data/database.h"
#include "registers/registercore.h"
#include "support/testsupport.h"

#include <QtTest>

using namespace Registers;

namespace {

// Makes every insert into (or update of) a table fail, as a full disk or a broken file would.
void breakWrites(const QString &table, const char *when)
{
    TestLibrary::plantFailure(QStringLiteral("broken_%1_%2").arg(table, QString::fromLatin1(when)),
                              QStringLiteral("BEFORE %1").arg(QString::fromLatin1(when)), table);
}

ClientEntry entry(const QString &code, const QString &first = QStringLiteral("Jana"),
                  const QString &surname = QStringLiteral("Dvořáková"))
{
    ClientEntry e;
    e.code = code;
    e.first = first;
    e.surname = surname;
    return e;
}

} // namespace

class TestRegisterCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestLibrary::bothEngines(); }
    void init() { FOLIVO_ENGINE_INIT(); }
    void categories();
    void clientEntries();
    void writingClients();
    void removedClientsLeaveTheLists();
    void anotherDeskWasFirst();
    void movesAtAnotherDesk();
};

void TestRegisterCore::categories()
{
    TestLibrary lib;
    const qint32 firstFree = lib.ids("ID_KATEGORIE_FIRSTFREE");
    const qint32 id = addCategory(QStringLiteral("Poezie"));
    QCOMPARE(id, firstFree);
    QCOMPARE(lib.ids("ID_KATEGORIE_FIRSTFREE"), firstFree + 1);
    QCOMPARE(categoryNameMessage(QString()), 3);
    QCOMPARE(categoryNameMessage(QStringLiteral("Poezie")), 5);
    QCOMPARE(categoryNameMessage(QStringLiteral("Próza")), 0);

    // A rename finds the row by its old name and takes no identifier.
    renameCategory(QStringLiteral("Poezie"), QStringLiteral("Verše"));
    QCOMPARE(lib.rows("KATEGORIE", "NAZEV = 'Verše' AND ID_KATEGORIE_KATEGORIE = ?", {id}), 1);
    QCOMPARE(lib.ids("ID_KATEGORIE_FIRSTFREE"), firstFree + 1);
    QVERIFY_THROWS_EXCEPTION(DbError, renameCategory(QStringLiteral("Poezie"), QStringLiteral("Jiné")));
    QCOMPARE(lib.rows("KATEGORIE", "NAZEV = 'Jiné'"), 0);

    hideCategory(id);
    QVERIFY_THROWS_EXCEPTION(DbError, hideCategory(id + 100));
    // The removed name stays taken, for a new category as for a rename.
    QCOMPARE(categoryNameMessage(QStringLiteral("Verše")), 6);
    QCOMPARE(categoryLookupMessage(QStringLiteral("Verše")), 6);
    QVERIFY(visibleCategories().isEmpty());

    // A category holds books in stock while one of them, lent or not, is not discarded.
    QVERIFY(!categoryHasBooksInStock(id));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("K1")).in(id).discard(20100101));
    QVERIFY(!categoryHasBooksInStock(id));
    const qint32 lent = lib.addBook(TestLibrary::BookSpec(QStringLiteral("K2")).in(id));
    QVERIFY(categoryHasBooksInStock(id));
    lib.lend({lent}, lib.addClient(QStringLiteral("C1")), 20260301);
    QVERIFY(categoryHasBooksInStock(id));

    // Moving books: one transaction for them all.
    const qint32 a = lib.addCategory(QStringLiteral("A"));
    const qint32 b = lib.addCategory(QStringLiteral("B"));
    QList<qint32> books;
    for (const char *code : {"30", "10", "20"})
        books << lib.addBook(TestLibrary::BookSpec(QString::fromLatin1(code)).in(a));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("15")).in(a).discard());

    // In code order, the discarded book left out.
    QStringList listed;
    for (const MovableBook &m : movableBooks(a))
        listed << QStringLiteral("%1:%2").arg(m.code).arg(m.category);
    QCOMPARE(listed.join(QLatin1Char(' ')), QStringLiteral("10:%1 20:%1 30:%1").arg(a));

    moveBooks({{books.at(0), b}, {books.at(2), b}});
    QCOMPARE(lib.rows("KNIHY", "ID_KATEGORIE_KNIHY = ?", {b}), 2);
    QCOMPARE(lib.count(QStringLiteral("SELECT ID_KATEGORIE_KNIHY FROM KNIHY WHERE KOD = '10'")), a);

    // A missing book undoes the moves before it.
    QVERIFY_THROWS_EXCEPTION(DbError, moveBooks({{books.at(1), b}, {9999, b}}));
    QCOMPARE(lib.count(QStringLiteral("SELECT ID_KATEGORIE_KNIHY FROM KNIHY WHERE KOD = '10'")), a);

    Database::close();
    QCOMPARE(categoryLookupMessage(QStringLiteral("Próza")), 4);
}

void TestRegisterCore::clientEntries()
{
    TestLibrary lib;
    lib.addClient(QStringLiteral("A1"));
    lib.addClient(QStringLiteral("OLD"), QStringLiteral("Karel"), QStringLiteral("Starý"), false);

    auto check = [](const ClientEntry &e, const QString *stored = nullptr) {
        const ClientCheck c = checkClientEntry(e, stored, nullptr);
        return qMakePair(c.message, int(c.field));
    };
    using F = ClientField;
    QCOMPARE(check(entry(QString(), QString(), QString())), qMakePair(9, int(F::Code)));
    QCOMPARE(check(entry(QStringLiteral("  "), QStringLiteral("Jana"))), qMakePair(9, int(F::Code)));
    QCOMPARE(check(entry(QStringLiteral("N1"), QStringLiteral(" "), QString())), qMakePair(9, int(F::First)));
    QCOMPARE(check(entry(QStringLiteral("N1"), QStringLiteral("Jana"), QString())),
             qMakePair(9, int(F::Surname)));
    // A missing name comes before a forbidden character in the code.
    QCOMPARE(check(entry(QStringLiteral("O'K"), QString())), qMakePair(9, int(F::First)));

    ClientEntry badDate = entry(QStringLiteral("O'B"));
    badDate.birth = QStringLiteral("31.2.1990");
    // Without the supplementary part the date is not looked at; the code is.
    QCOMPARE(check(badDate), qMakePair(119, int(F::Code)));
    badDate.extended = true;
    QCOMPARE(check(badDate), qMakePair(10, int(F::Birth)));
    badDate.birth = QStringLiteral(" 7. 3.1990");
    QCOMPARE(check(badDate), qMakePair(119, int(F::Code)));

    QCOMPARE(check(entry(QStringLiteral(" A1 "))), qMakePair(11, int(F::Code)));
    QCOMPARE(check(entry(QStringLiteral("OLD"))), qMakePair(12, int(F::Code)));
    QCOMPARE(check(entry(QStringLiteral("N1"))), qMakePair(0, int(F::None)));

    // An edit is checked only when its code changes, and cannot take a removed client's code.
    const QString stored = QStringLiteral("A1");
    QCOMPARE(check(entry(QStringLiteral("A1")), &stored), qMakePair(0, int(F::None)));
    QCOMPARE(check(entry(QStringLiteral("OLD")), &stored), qMakePair(12, int(F::Code)));

    // The flags of the optional texts: without the supplementary part none; with it, each text
    // that is not blank. A client whose supplementary part is all blank has none.
    const auto flags = [](const ClientData &d) {
        return std::tuple(d.extended, d.hasDocument, d.hasAddress, d.hasFunction, d.hasBirth);
    };
    ClientEntry e = entry(QStringLiteral(" K7 "), QStringLiteral(" Eva "), QStringLiteral(" Malá "));
    e.document = QStringLiteral("OP 123");
    e.address = QStringLiteral("Praha");
    ClientData d = clientDataFromEntry(e);
    QCOMPARE(std::tuple(d.code, d.first, d.surname),
             std::tuple(QStringLiteral("K7"), QStringLiteral("Eva"), QStringLiteral("Malá")));
    QCOMPARE(flags(d), std::tuple(false, false, false, false, false));
    QVERIFY(d.document.isEmpty());

    e.extended = true;
    e.address = QStringLiteral("  \n Dlouhá 5\nPraha \n");
    e.document.clear();
    d = clientDataFromEntry(e);
    QCOMPARE(flags(d), std::tuple(true, false, true, false, false));
    QCOMPARE(d.address, QStringLiteral("Dlouhá 5\nPraha"));

    e.address.clear();
    e.birth = QStringLiteral("7.3.1990");
    d = clientDataFromEntry(e);
    QCOMPARE(flags(d), std::tuple(true, false, false, false, true));
    QCOMPARE(d.birth, 19900307);
    e.birth = QStringLiteral("3.4.80"); // a short year is the one the librarian means
    QCOMPARE(clientDataFromEntry(e).birth, 19800403);

    e.birth.clear();
    d = clientDataFromEntry(e);
    QCOMPARE(flags(d), std::tuple(false, false, false, false, false));
    QCOMPARE(d.birth, NoDate);

    Database::close();
    QCOMPARE(check(entry(QStringLiteral("N2"))), qMakePair(13, int(F::Code)));
}

// A new client writes the texts it has; an edit writes only what changed and keeps the old
// texts behind cleared flags.
void TestRegisterCore::writingClients()
{
    TestLibrary lib;
    const qint32 firstFree = lib.ids("ID_LIDE_FIRSTFREE");
    ClientEntry e = entry(QStringLiteral("K1"));
    e.extended = true;
    e.function = QStringLiteral("učitelka");
    e.birth = QStringLiteral("1.12.1980");
    const qint32 id = addClient(clientDataFromEntry(e));
    QCOMPARE(id, firstFree);
    QCOMPARE(lib.ids("ID_LIDE_FIRSTFREE"), firstFree + 1);
    std::optional<ClientRecord> r = clientById(id);
    QVERIFY(r);
    const ClientData &d = r->data;
    QCOMPARE(std::tuple(r->visible, d.code, d.surname, d.extended, d.hasFunction, d.hasBirth, d.hasAddress,
                        d.hasDocument, d.function, d.birth),
             std::tuple(true, QStringLiteral("K1"), QStringLiteral("Dvořáková"), true, true, true, false,
                        false, QStringLiteral("učitelka"), 19801201));
    QCOMPARE(lib.rows("LIDE", "ADRESA = '' AND DOKLAD = ''"), 1);
    QCOMPARE(clientByCode(QStringLiteral("K1"))->id, id);
    QVERIFY(!clientByCode(QStringLiteral("K2")));

    e.address = QStringLiteral("Brno");
    e.document = QStringLiteral("OP 1");
    QVERIFY(changeClient(id, clientDataFromEntry(e)));
    // Nothing differs: no update is attempted (it would fail).
    breakWrites(QStringLiteral("LIDE"), "UPDATE");
    QVERIFY(!changeClient(id, clientDataFromEntry(e)));
    TestLibrary::removeFailure(QStringLiteral("broken_LIDE_UPDATE"), QStringLiteral("LIDE"));

    // Clearing the address keeps the old text; only the flag changes.
    e.address.clear();
    QVERIFY(changeClient(id, clientDataFromEntry(e)));
    r = clientById(id);
    QVERIFY(r); // d refers into r
    QCOMPARE(std::tuple(d.hasAddress, d.address, d.extended, d.hasDocument),
             std::tuple(false, QStringLiteral("Brno"), true, true));
    // Clearing the supplementary part keeps every old text too.
    e.extended = false;
    e.code = QStringLiteral("K9");
    e.first = QStringLiteral("Ivana");
    QVERIFY(changeClient(id, clientDataFromEntry(e)));
    r = clientById(id);
    QVERIFY(r);
    QCOMPARE(std::tuple(d.extended, d.hasDocument, d.document, d.code, d.first),
             std::tuple(false, false, QStringLiteral("OP 1"), QStringLiteral("K9"), QStringLiteral("Ivana")));
    QVERIFY_THROWS_EXCEPTION(DbError, changeClient(id + 50, clientDataFromEntry(e)));
}

void TestRegisterCore::removedClientsLeaveTheLists()
{
    TestLibrary lib;
    const qint32 a = lib.addClient(QStringLiteral("A"), QStringLiteral("Jan"), QStringLiteral("Zeman"));
    const qint32 b = lib.addClient(QStringLiteral("B"), QStringLiteral("Eva"), QStringLiteral("Adamová"));
    const qint32 c = lib.addClient(QStringLiteral("C"), QStringLiteral("Ota"), QStringLiteral("Mach"));
    const qint32 book = lib.addBook(QStringLiteral("K1"));
    lib.lend({book}, c, 20260301);
    QVERIFY(clientHoldsBook(c) && !clientHoldsBook(a));
    lib.giveBack({book}, 20260310);
    QVERIFY(!clientHoldsBook(c));

    const qint32 d = lib.addClient(QStringLiteral("D"), QStringLiteral("Jiří"), QStringLiteral("Čech"));
    const auto surnames = [](const QList<ClientRecord> &clients) {
        QStringList names;
        for (const ClientRecord &r : clients)
            names << r.data.surname;
        return names;
    };
    QCOMPARE(surnames(clientsBySurname()), words("Adamová Čech Mach Zeman")); // Č after C, before M
    hideClient(d);
    hideClient(b);
    QCOMPARE(lib.rows("LIDE"), 4); // hidden, not deleted
    QCOMPARE(surnames(clientsBySurname()), words("Mach Zeman"));
    QCOMPARE(surnames(visibleClients()).size(), 2);
    QVERIFY(!surnames(visibleClients()).contains(QStringLiteral("Adamová")));
    // Still found by code, for the history and to refuse the code.
    QVERIFY(clientByCode(QStringLiteral("B")) && !clientByCode(QStringLiteral("B"))->visible);
    QVERIFY_THROWS_EXCEPTION(DbError, hideClient(999));
}

// Between the dialog's check and the write another desk took the name or the code, removed the
// client or gave the category or the client a book: the write refuses with the dialog's message
// for that state and writes nothing.
void TestRegisterCore::anotherDeskWasFirst()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Stará"));
    const qint32 empty = lib.addCategory(QStringLiteral("Prázdná"));
    const qint32 client = lib.addClient(QStringLiteral("C1"));
    const auto clientData = [](const char *code) {
        return clientDataFromEntry(entry(QString::fromLatin1(code)));
    };
    struct Case
    {
        const char *name;
        std::function<void()> otherDesk;
        std::function<bool(int *refusal)> write; // true when it wrote
        int message;
    };
    const QList<Case> cases = {
        {"new category, name taken", [&] { lib.addCategory(QStringLiteral("Nová")); },
         [](int *r) { return addCategory(QStringLiteral("nová"), r) != -1; }, 5},
        {"new category, name taken and removed", [&] { lib.addCategory(QStringLiteral("Zrušená"), false); },
         [](int *r) { return addCategory(QStringLiteral("Zrušená"), r) != -1; }, 6},
        {"rename, name taken", [&] { lib.addCategory(QStringLiteral("Verše")); },
         [](int *r) { return renameCategory(QStringLiteral("Stará"), QStringLiteral("Verše"), r); }, 5},
        {"category removal, a book put in",
         [&] { lib.addBook(TestLibrary::BookSpec(QStringLiteral("B1")).in(empty)); },
         [&](int *r) { return hideCategory(empty, r); }, 90},
        {"new client, code taken", [&] { lib.addClient(QStringLiteral("X1")); },
         [&](int *r) { return addClient(clientData("x1"), r) != -1; }, 11},
        {"new client, code of a removed client",
         [&] { lib.addClient(QStringLiteral("X2"), QStringLiteral("A"), QStringLiteral("B"), false); },
         [&](int *r) { return addClient(clientData("X2"), r) != -1; }, 12},
        {"client change, code taken", [&] { lib.addClient(QStringLiteral("X3")); },
         [&](int *r) { return changeClient(client, clientData("X3"), r); }, 11},
        {"client removal, a book lent",
         [&] { lib.lend({lib.addBook(QStringLiteral("B2"))}, client, 20260301); },
         [&](int *r) { return hideClient(client, r); }, 89},
        {"client change, client removed",
         [&] { runSql(QStringLiteral("UPDATE LIDE SET UKAZOVAT = 0 WHERE KOD = 'C1'")); },
         [&](int *r) { return changeClient(client, clientData("C9"), r); }, 16},
    };
    const auto state = [&lib] {
        QList<qint64> s = {lib.ids("ID_KATEGORIE_FIRSTFREE"), lib.ids("ID_LIDE_FIRSTFREE")};
        for (const char *where : {"1 = 1", "UKAZOVAT", "NAZEV = 'Stará'"})
            s << lib.rows("KATEGORIE", where);
        for (const char *where : {"1 = 1", "UKAZOVAT", "KOD = 'C1'"})
            s << lib.rows("LIDE", where);
        return s;
    };
    for (const Case &c : cases) {
        c.otherDesk();
        const QList<qint64> before = state();
        int refusal = 0;
        QVERIFY2(!c.write(&refusal), c.name);
        QCOMPARE(refusal, c.message);
        QCOMPARE(state(), before);
    }
}

void TestRegisterCore::movesAtAnotherDesk()
{
    TestLibrary lib;
    const qint32 a = lib.addCategory(QStringLiteral("A"));
    const qint32 b = lib.addCategory(QStringLiteral("B"));
    const qint32 c = lib.addCategory(QStringLiteral("C"));
    const qint32 kept = lib.addBook(TestLibrary::BookSpec(QStringLiteral("K1")).in(a));
    const qint32 other = lib.addBook(TestLibrary::BookSpec(QStringLiteral("K2")).in(a));
    const qint32 discarded = lib.addBook(TestLibrary::BookSpec(QStringLiteral("K3")).in(a).discard(20250101));

    // A category removed since the dialog listed it takes no book, and then no book moves at all.
    QVERIFY(hideCategory(c));
    QVERIFY(!moveBooks({{kept, b}, {other, c}}));
    QCOMPARE(lib.rows("KNIHY", "ID_KATEGORIE_KNIHY = ?", {a}), 3);

    // A book discarded meanwhile stays in the category it was discarded from.
    QVERIFY(moveBooks({{kept, b}, {discarded, b}}));
    QCOMPARE(lib.rows("KNIHY", "ID_KATEGORIE_KNIHY = ?", {b}), 1);
    QCOMPARE(lib.rows("KNIHY", "ID_KATEGORIE_KNIHY = ? AND VYRAZENO", {a}), 1);
}

QTEST_GUILESS_MAIN(TestRegisterCore)
#include "test_registercore.moc"
