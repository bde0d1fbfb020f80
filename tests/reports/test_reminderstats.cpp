// Reminder letters and the annual statistics on a library written through the program's own
// writes (new books, clients, loans, returns, discards) across two year ends and a leap day.
#include "catalogue/bookcore.h"
#include "circulation/circulationcore.h"
#include "data/database.h"
#include "registers/registercore.h"
#include "reports/reminderscore.h"
#include "reports/statisticscore.h"
#include "support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QSqlQuery>
#include <QTest>

namespace {

// What the library below holds, by code.
struct Library
{
    QHash<QString, qint32> books;
    QHash<QString, qint32> clients;
    QHash<QString, qint32> categories;
};

qint32 newClient(const QString &code, const QString &first, const QString &surname,
                 const QString &address = {})
{
    Registers::ClientData d;
    d.code = code;
    d.first = first;
    d.surname = surname;
    d.address = address;
    d.hasAddress = !address.isEmpty();
    d.extended = d.hasAddress;
    return Registers::addClient(d);
}

qint32 newBook(const QString &code, DateNumber acquired, float price, qint32 category)
{
    BookEntry e;
    e.code = code;
    e.accession = suggestedAccession();
    e.acquired = acquired;
    e.title = QStringLiteral("Kniha ") + code;
    e.author = QStringLiteral("Autor ") + code;
    e.category = category;
    e.price = price;
    return addBook(e);
}

// Books (code, acquired, price, category, discarded):
//   001 15.11.2023 120.50 Beletrie      002 29. 2.2024 200.00 Beletrie
//   003  1. 3.2024  99.90 Naučná        004 31.12.2024  50.00 Naučná
//   005  1. 1.2025 300.00 Beletrie      006  1. 1.2023  10.00 Beletrie, discarded 29. 2.2024
//   007 10. 1.2024  15.00 Chemie, discarded 2. 1.2025
//   008  5. 5.2022  25.00 Naučná, discarded 31.12.2023
//   009  5. 1.2024  40.00 Dějiny        010  1. 1.2024  60.00 Naučná
//   011  1. 1.2024  80.00 Beletrie
// Clients: K1 Jan Čermák, K2 Eva Cibulková, K3 Petr Dvořák (with an address), K4 Marie chalupová,
// K5 Hana Hrubá, K6 Adam Novák (removed after his last loan).
// Loans (number: date, client, books, return-by) and returns:
//   L1  20.12.2023 Novák     001      10. 1.2024   001 back  5. 1.2024
//   L2  29. 2.2024 Čermák    001 002  14. 3.2024   001 back 10. 3.2024, 002 back 20. 3.2024
//   L8  29. 2.2024 Cibulková 007       1. 3.2024   007 back 29. 2.2024
//   L10  1. 2.2024 Cibulková 010      28. 2.2024   never back
//   L3  15. 3.2024 Cibulková 003      15. 4.2024   003 back  1. 4.2024
//   L6   1. 6.2024 Hrubá     001      no limit     001 back  1. 7.2024
//   L9   5. 7.2024 Hrubá     009       5. 8.2024   009 back  5. 8.2024
//   L4  20.12.2024 Dvořák    002 003  30.12.2024   002 back  5. 1.2025, 003 never back
//   L5  31.12.2024 chalupová 004      30. 1.2025   never back
//   L11  5. 1.2025 Dvořák    002      15. 1.2025   never back
//   L7  10. 1.2025 Čermák    001 005  20. 1.2025   never back
//   L13  1. 2.2025 Novák     011      28. 2.2025   never back
//   L12 15. 2.2025 Hrubá     009       1. 3.2025   never back
Library buildLibrary(TestLibrary &t)
{
    Library lib;
    for (const char *name : {"Beletrie", "Naučná", "Chemie", "Dějiny"})
        lib.categories.insert(QString::fromUtf8(name), Registers::addCategory(QString::fromUtf8(name)));
    const auto cat = [&](const char *name) { return lib.categories.value(QString::fromUtf8(name)); };
    struct B
    {
        const char *code;
        DateNumber acquired;
        float price;
        const char *category;
    };
    const B books[] = {{"001", 20231115, 120.50f, "Beletrie"}, {"002", 20240229, 200.00f, "Beletrie"},
                       {"003", 20240301, 99.90f, "Naučná"},    {"004", 20241231, 50.00f, "Naučná"},
                       {"005", 20250101, 300.00f, "Beletrie"}, {"006", 20230101, 10.00f, "Beletrie"},
                       {"007", 20240110, 15.00f, "Chemie"},    {"008", 20220505, 25.00f, "Naučná"},
                       {"009", 20240105, 40.00f, "Dějiny"},    {"010", 20240101, 60.00f, "Naučná"},
                       {"011", 20240101, 80.00f, "Beletrie"}};
    for (const B &b : books)
        lib.books.insert(QString::fromLatin1(b.code),
                         newBook(QString::fromLatin1(b.code), b.acquired, b.price, cat(b.category)));
    const auto book = [&](const char *code) { return lib.books.value(QString::fromLatin1(code)); };
    discardBook(book("008"), 20231231);
    discardBook(book("006"), 20240229);

    const char *clients[][4] = {{"K1", "Jan", "Čermák", ""},
                                {"K2", "Eva", "Cibulková", ""},
                                {"K3", "Petr", "Dvořák", "Dlouhá 5\n110 00 Praha 1"},
                                {"K4", "Marie", "chalupová", ""},
                                {"K5", "Hana", "Hrubá", ""},
                                {"K6", "Adam", "Novák", ""}};
    for (const auto &c : clients)
        lib.clients.insert(QString::fromLatin1(c[0]),
                           newClient(QString::fromLatin1(c[0]), QString::fromUtf8(c[1]),
                                     QString::fromUtf8(c[2]), QString::fromUtf8(c[3])));
    const auto client = [&](const char *code) { return lib.clients.value(QString::fromLatin1(code)); };

    t.lend({book("001")}, client("K6"), 20231220, 20240110);
    t.giveBack({book("001")}, 20240105);
    t.lend({book("010")}, client("K2"), 20240201, 20240228);
    t.lend({book("001"), book("002")}, client("K1"), 20240229, 20240314);
    t.lend({book("007")}, client("K2"), 20240229, 20240301);
    t.giveBack({book("007")}, 20240229);
    t.giveBack({book("001")}, 20240310);
    t.lend({book("003")}, client("K2"), 20240315, 20240415);
    t.giveBack({book("002")}, 20240320);
    t.giveBack({book("003")}, 20240401);
    t.lend({book("001")}, client("K5"), 20240601, NoDate);
    t.giveBack({book("001")}, 20240701);
    t.lend({book("009")}, client("K5"), 20240705, 20240805);
    t.giveBack({book("009")}, 20240805);
    t.lend({book("002"), book("003")}, client("K3"), 20241220, 20241230);
    t.lend({book("004")}, client("K4"), 20241231, 20250130);
    discardBook(book("007"), 20250102);
    t.giveBack({book("002")}, 20250105);
    t.lend({book("002")}, client("K3"), 20250105, 20250115);
    t.lend({book("001"), book("005")}, client("K1"), 20250110, 20250120);
    t.lend({book("011")}, client("K6"), 20250201, 20250228);
    t.lend({book("009")}, client("K5"), 20250215, 20250301);
    Registers::hideClient(client("K6"));
    return lib;
}

QString describe(const ReminderLetter &letter)
{
    QStringList books;
    for (const ReminderBook &b : letter.books)
        books << QStringLiteral("%1 %2 %3 %4").arg(b.code).arg(b.loanDate).arg(b.due).arg(b.daysLate);
    return letter.clientCode + QStringLiteral(": ") + books.join(QStringLiteral(", "));
}

QStringList describe(const QList<ReminderLetter> &letters)
{
    QStringList out;
    for (const ReminderLetter &l : letters)
        out << describe(l);
    return out;
}

} // namespace

class TestReminderStats : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestLibrary::bothEngines(); }
    void init()
    {
        FOLIVO_ENGINE_INIT();
        if (m_library && m_libraryOnServer != TestLibrary::onServer())
            m_library.reset(); // the library of the other engine's run
    }
    void twentyBooksAndTheirTies(); // first: it makes a library of its own
    void reminderLetters_data();
    void reminderLetters();
    void letterDetails();
    void annualStatistics_data();
    void annualStatistics();
    void statisticsOf2024InFull();
    void outputs();
    void commandLine();

private:
    std::unique_ptr<TestLibrary> m_library;
    bool m_libraryOnServer = false;
    Library m_lib;
    void ensureLibrary()
    {
        if (!m_library) {
            m_library = std::make_unique<TestLibrary>();
            m_libraryOnServer = TestLibrary::onServer();
            m_lib = buildLibrary(*m_library);
        }
    }
};

void TestReminderStats::reminderLetters_data()
{
    QTest::addColumn<DateNumber>("day");
    QTest::addColumn<QString>("client");
    QTest::addColumn<QStringList>("letters");

    // Czech order: C < Č < D < H < Ch < N, letter case ignored. Days late are calendar days, the
    // leap day included (28. 2.2024 to 1. 3.2025 is 367 days, not the difference of the numbers).
    const QStringList on1March{
        QStringLiteral("K2: 010 20240201 20240228 367"),
        QStringLiteral("K1: 001 20250110 20250120 40, 005 20250110 20250120 40"),
        QStringLiteral("K3: 003 20241220 20241230 61, 002 20250105 20250115 45"),
        QStringLiteral("K4: 004 20241231 20250130 30"),
        QStringLiteral("K6: 011 20250201 20250228 1"),
    };
    QTest::newRow("1. 3.2025, everybody") << DateNumber(20250301) << QString() << on1March;
    QTest::newRow("1. 3.2025, Hrubá: due that day, not late")
        << DateNumber(20250301) << QStringLiteral("K5") << QStringList();
    QTest::newRow("2. 3.2025, Hrubá one day late")
        << DateNumber(20250302) << QStringLiteral("K5")
        << QStringList{QStringLiteral("K5: 009 20250215 20250301 1")};
    // On 1. 1.2025 book 002 is back and lent again later: only today's open loans count.
    QTest::newRow("1. 1.2025") << DateNumber(20250101) << QString()
                               << QStringList{QStringLiteral("K2: 010 20240201 20240228 308"),
                                              QStringLiteral("K3: 003 20241220 20241230 2")};
    QTest::newRow("29. 2.2024: only loans still open")
        << DateNumber(20240229) << QString() << QStringList{QStringLiteral("K2: 010 20240201 20240228 1")};
    QTest::newRow("1. 2.2024: nobody") << DateNumber(20240201) << QString() << QStringList();
}

void TestReminderStats::reminderLetters()
{
    QFETCH(DateNumber, day);
    QFETCH(QString, client);
    QFETCH(QStringList, letters);
    ensureLibrary();
    QList<ReminderLetter> found;
    const qint32 clientId = client.isEmpty() ? -1 : m_lib.clients.value(client);
    QCOMPARE(collectReminders(day, clientId, &found), 0);
    QCOMPARE(describe(found), letters);
}

void TestReminderStats::letterDetails()
{
    ensureLibrary();
    QList<ReminderLetter> letters;
    QCOMPARE(collectReminders(20250301, -1, &letters), 0);
    const ReminderLetter &dvorak = letters.at(2);
    QCOMPARE(dvorak.prijmeni, QStringLiteral("Dvořák"));
    QCOMPARE(dvorak.jmeno, QStringLiteral("Petr"));
    QCOMPARE(dvorak.address, QStringLiteral("Dlouhá 5\n110 00 Praha 1"));
    QCOMPARE(dvorak.books.at(0).title, QStringLiteral("Kniha 003"));
    QCOMPARE(dvorak.books.at(0).author, QStringLiteral("Autor 003"));
    QCOMPARE(dvorak.books.at(0).bookId, m_lib.books.value(QStringLiteral("003")));
    QVERIFY(letters.at(0).address.isEmpty()); // no address in the record: none on the letter
    // A removed client still gets the letter for the book he holds.
    QCOMPARE(letters.at(4).prijmeni, QStringLiteral("Novák"));

    // A client whose address flag is cleared keeps the text in the column; the letter shows none.
    runSql(QStringLiteral("UPDATE LIDE SET IS_ADRESA = 0 WHERE KOD = 'K3'"));
    QCOMPARE(collectReminders(20250301, m_lib.clients.value(QStringLiteral("K3")), &letters), 0);
    QVERIFY(letters.at(0).address.isEmpty());
    runSql(QStringLiteral("UPDATE LIDE SET IS_ADRESA = 1 WHERE KOD = 'K3'"));

    // A loan whose client row is gone is an integrity fault; no letters then.
    runSql(QStringLiteral(
               "UPDATE VYPUJCKY SET ID_LIDE_VYPUJCKY = 999 WHERE ID_KNIHY_VYPUJCKY = ? AND VRACENO = 0"),
           {m_lib.books.value(QStringLiteral("004"))});
    QCOMPARE(collectReminders(20250301, -1, &letters), 108);
    QVERIFY(letters.isEmpty());
    runSql(QStringLiteral("UPDATE VYPUJCKY SET ID_LIDE_VYPUJCKY = ? WHERE ID_LIDE_VYPUJCKY = 999"),
           {m_lib.clients.value(QStringLiteral("K4"))});
    QCOMPARE(collectReminders(20250301, -1, &letters), 0);
    QCOMPARE(letters.size(), 5);
}

void TestReminderStats::annualStatistics_data()
{
    QTest::addColumn<int>("year");
    // acquired, price, discarded, holdings, loans, returns, active, new, lent at end, overdue then
    QTest::addColumn<QList<double>>("figures");
    QTest::newRow("2022") << 2022 << QList<double>{1, 25.00, 0, 1, 0, 0, 0, 0, 0, 0};
    QTest::newRow("2023") << 2023 << QList<double>{2, 130.50, 1, 2, 1, 0, 1, 1, 1, 0};
    QTest::newRow("2024") << 2024 << QList<double>{7, 544.90, 1, 8, 10, 7, 5, 5, 4, 3};
    QTest::newRow("2025") << 2025 << QList<double>{1, 300.00, 1, 8, 5, 1, 4, 0, 8, 8};
    QTest::newRow("2026") << 2026 << QList<double>{0, 0, 0, 8, 0, 0, 0, 0, 8, 8};
}

void TestReminderStats::annualStatistics()
{
    QFETCH(int, year);
    QFETCH(QList<double>, figures);
    ensureLibrary();
    AnnualStatistics s;
    QCOMPARE(computeAnnualStatistics(year, &s), 0);
    QCOMPARE(s.year, year);
    const QList<double> got{double(s.acquired),      s.acquiredPrice,      double(s.discarded),
                            double(s.holdings),      double(s.loans()),    double(s.returns()),
                            double(s.activeClients), double(s.newClients), double(s.lentAtEnd),
                            double(s.overdueAtEnd)};
    for (int i = 0; i < got.size(); ++i) {
        if (i == 1) // prices are single precision, summed in double
            QCOMPARE(QString::asprintf("%.2f", got.at(i)), QString::asprintf("%.2f", figures.at(i)));
        else
            QCOMPARE(got.at(i), figures.at(i));
    }
}

void TestReminderStats::statisticsOf2024InFull()
{
    ensureLibrary();
    AnnualStatistics s;
    QCOMPARE(computeAnnualStatistics(2024, &s), 0);
    QCOMPARE(QList<int>(s.loansByMonth.cbegin(), s.loansByMonth.cend()),
             (QList<int>{0, 4, 1, 0, 0, 1, 1, 0, 0, 0, 0, 3}));
    QCOMPARE(QList<int>(s.returnsByMonth.cbegin(), s.returnsByMonth.cend()),
             (QList<int>{1, 1, 2, 1, 0, 0, 1, 1, 0, 0, 0, 0}));

    QStringList top;
    for (const StatisticsBook &b : s.topBooks)
        top << QStringLiteral("%1 %2 %3").arg(b.code, b.title).arg(b.loans);
    QCOMPARE(top, (QStringList{QStringLiteral("001 Kniha 001 2"), QStringLiteral("002 Kniha 002 2"),
                               QStringLiteral("003 Kniha 003 2"), QStringLiteral("004 Kniha 004 1"),
                               QStringLiteral("007 Kniha 007 1"), QStringLiteral("009 Kniha 009 1"),
                               QStringLiteral("010 Kniha 010 1")}));
    // Equal counts by name in Czech order: Dějiny before Chemie (ch follows h).
    QStringList categories;
    for (const StatisticsCategory &c : s.categories)
        categories << QStringLiteral("%1 %2").arg(c.name).arg(c.loans);
    QCOMPARE(categories, (QStringList{QStringLiteral("Beletrie 4"), QStringLiteral("Naučná 4"),
                                      QStringLiteral("Dějiny 1"), QStringLiteral("Chemie 1")}));

    // A category row that is gone is an integrity fault.
    runSql(QStringLiteral("UPDATE KATEGORIE SET ID_KATEGORIE_KATEGORIE = 999 WHERE NAZEV = 'Chemie'"));
    QCOMPARE(computeAnnualStatistics(2024, &s), 108);
    QCOMPARE(s.year, 0);
    runSql(
        QStringLiteral("UPDATE KATEGORIE SET ID_KATEGORIE_KATEGORIE = ? WHERE ID_KATEGORIE_KATEGORIE = 999"),
        {m_lib.categories.value(QStringLiteral("Chemie"))});
    QCOMPARE(computeAnnualStatistics(2024, &s), 0);
}

void TestReminderStats::twentyBooksAndTheirTies()
{
    TestLibrary library; // a library of its own
    const qint32 category = Registers::addCategory(QStringLiteral("Beletrie"));
    const qint32 client = newClient(QStringLiteral("K1"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    // 24 books lent once in 2024, book CH24 twice, so 23 tie for places 2 to 20: their codes decide,
    // in Czech order (CH after H), whatever order the loans were made in.
    QList<qint32> books;
    for (int i = 24; i >= 1; --i) {
        const QString code =
            (i % 3 == 0 ? QStringLiteral("CH") : QStringLiteral("H")) + QString::asprintf("%02d", i);
        books << newBook(code, 20240101, 10, category);
    }
    library.lend(books, client, 20240301, 20240401);
    library.giveBack(books, 20240310);
    library.lend({books.constFirst()}, client, 20240501, 20240601); // CH24
    AnnualStatistics s;
    QCOMPARE(computeAnnualStatistics(2024, &s), 0);
    QCOMPARE(s.topBooks.at(0).loans, 2);
    QStringList got;
    for (const StatisticsBook &b : s.topBooks)
        got << b.code;
    // The first StatisticsTopBooks (20) of them.
    QCOMPARE(got,
             words("CH24 H01 H02 H04 H05 H07 H08 H10 H11 H13 H14 H16 H17 H19 H20 H22 H23 CH03 CH06 CH09"));
    QCOMPARE(s.categories.at(0).loans, 25); // every loan, not only the top books' ones
}

void TestReminderStats::outputs()
{
    ensureLibrary();
    QList<ReminderLetter> letters;
    QCOMPARE(collectReminders(20250301, m_lib.clients.value(QStringLiteral("K3")), &letters), 0);
    const QString html = remindersHtml(letters, 20250301, QStringLiteral("Knihovna <Lhota> & spol."));
    QVERIFY(html.contains(QStringLiteral("Knihovna &lt;Lhota&gt; &amp; spol.")));
    QVERIFY(html.contains(QStringLiteral("Dlouhá 5<br>\n110 00 Praha 1")));
    QVERIFY(html.contains(QStringLiteral("ke dni 1. 3. 2025")));
    QVERIFY(html.contains(QStringLiteral("<td>003</td><td>Kniha 003</td><td>Autor 003</td><td>20.12.2024</td>"
                                         "<td>30.12.2024</td><td class=\"num\">61</td>")));
    QCOMPARE(html.count(QStringLiteral("<section>")), 1);
    QVERIFY(remindersHtml({}, 20240201, QString()).contains(reminderNoneText(20240201)));

    AnnualStatistics s;
    QCOMPARE(computeAnnualStatistics(2024, &s), 0);
    const QString csv = statisticsCsv(s);
    QVERIFY(csv.startsWith(QStringLiteral("\"Roční statistika 2024\";\"\"\n")));
    QVERIFY(csv.contains(QStringLiteral("\"Cena pořízených knih\";\"544.90 Kč\"\n")));
    QVERIFY(csv.contains(QStringLiteral("\"únor\";\"4\";\"1\"\n")));
    QVERIFY(csv.contains(QStringLiteral("\"1\";\"001\";\"Kniha 001\";\"Autor 001\";\"2\"\n")));
    QVERIFY(csv.contains(QStringLiteral("\"Chemie\";\"1\"\n")));
    const QString page = statisticsHtml(s, QStringLiteral("Městská knihovna"), QStringLiteral("chart.png"));
    QVERIFY(page.contains(QStringLiteral("<h2>Roční statistika 2024</h2>")));
    QVERIFY(page.contains(QStringLiteral("<img src=\"chart.png\"")));
    QVERIFY(page.contains(
        QStringLiteral("<tr><td>Knihovní fond ke dni 31. 12. 2024</td><td align=\"right\">8</td></tr>")));
}

void TestReminderStats::commandLine()
{
    ensureLibrary();
    const QString dir = m_library->dir();
    Database::close(); // the command opens the library itself
    // On a server the commands find the library as a desk configured for it does.
    if (TestLibrary::onServer())
        qputenv("FOLIVO_DATABASE", m_library->location().toUtf8());
    const auto unconfigure = qScopeGuard([] { qunsetenv("FOLIVO_DATABASE"); });
    // Without the library both report the database failure and hand back nothing.
    QList<ReminderLetter> none{ReminderLetter{}};
    QCOMPARE(collectReminders(20250301, -1, &none), 109);
    QVERIFY(none.isEmpty());
    AnnualStatistics nothing;
    QCOMPARE(computeAnnualStatistics(2024, &nothing), 109);
    QCOMPARE(nothing.year, 0);
    const QString pdf = QDir(dir).filePath(QStringLiteral("upominky.pdf"));
    const QString html = QDir(dir).filePath(QStringLiteral("upominky.html"));
    const auto run = [&dir](const char *command, const QStringList &more = {}) {
        return runCli((words(command) << QStringLiteral("--data-dir") << dir) + more);
    };
    CliRun r =
        run("reminders --date 1.3.2025", {QStringLiteral("--pdf"), pdf, QStringLiteral("--html"), html});
    QCOMPARE(r.code, 0);
    QCOMPARE(r.out.trimmed(), QStringLiteral("5"));
    QVERIFY(fileBytes(pdf).startsWith("%PDF"));
    QCOMPARE(QString::fromUtf8(fileBytes(html)).count(QStringLiteral("<section>")), 5);
    r = run("reminders --date 1.3.2025 --client k3", {QStringLiteral("--html"), html});
    QCOMPARE(r.code, 0);
    QCOMPARE(r.out.trimmed(), QStringLiteral("1"));
    // Refusals: an unknown client, a bad date, no output, an output onto the library itself.
    QCOMPARE(run("reminders --client K99", {QStringLiteral("--html"), html}).code, 1);
    QCOMPARE(run("reminders --date 31.2.2025", {QStringLiteral("--html"), html}).code, 1);
    QCOMPARE(run("reminders").code, 1);
    const QByteArray library = fileBytes(m_library->dbPath());
    QCOMPARE(run("reminders --pdf", {m_library->dbPath()}).code, 1);
    QCOMPARE(fileBytes(m_library->dbPath()), library);

    const QString csv = QDir(dir).filePath(QStringLiteral("statistika.csv"));
    const QString page = QDir(dir).filePath(QStringLiteral("statistika.html"));
    r = run("statistics --year 2024", {QStringLiteral("--csv"), csv, QStringLiteral("--html"), page});
    QCOMPARE(r.code, 0);
    QVERIFY(r.out.contains(QStringLiteral("Knihy vypůjčené ke dni 31. 12. 2024: 4\n")));
    QVERIFY(QString::fromUtf8(fileBytes(csv)).contains(QStringLiteral("\"prosinec\";\"3\";\"0\"")));
    QVERIFY(QString::fromUtf8(fileBytes(page)).contains(QStringLiteral("<img src=\"data:image/png;base64,")));
    QCOMPARE(run("statistics").code, 1);
    QCOMPARE(run("statistics --year dvacet").code, 1);
    QVERIFY(m_library->reopen());
}

QTEST_GUILESS_MAIN(TestReminderStats)
#include "test_reminderstats.moc"
