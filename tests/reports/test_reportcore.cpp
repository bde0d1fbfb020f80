// The report queries and rows, the HTML page and the protocol preparation, without a window.
#include "data/czechorder.h"
#include "data/database.h"
#include "data/directquery.h"
#include "data/recordsets.h"
#include "data/statements.h"
#include "reports/htmlcore.h"
#include "reports/protocolcore.h"
#include "reports/reportcore.h"
#include "support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <random>

namespace {

QStringList codes(const ReportResult &r)
{
    QStringList out;
    for (const ReportRow &row : r.rows)
        out << row.code;
    return out;
}

TestLibrary::BookSpec book(const QString &code, float price = 100.0f, qint32 category = -1)
{
    TestLibrary::BookSpec b(code);
    b.price = price;
    b.category = category;
    return b;
}

} // namespace

class TestReportCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestLibrary::bothEngines(); }
    void init() { FOLIVO_ENGINE_INIT(); }
    void statementsAndTitles();
    void reportsOnARealLibrary();
    void czechOrderOfReportsAndPickers();
    void missingCategoryStopsTheReport();
    void summaryAddsSinglePricesInDouble();
    void clientLookup();
    void htmlPage_data();
    void htmlPage();
    void loanProtocol();
    void returnProtocol();
    void protocolChoosers();
    void commandLine();
};

// The titles and kinds the report view and the HTML page show; what the statements select is
// pinned on a real library below.
void TestReportCore::statementsAndTitles()
{
    const QString label = clientLabel(QStringLiteral("K017"), QStringLiteral("Novák"), QStringLiteral("Jan"));
    const QString day = QStringLiteral(" 7. 3.2005");
    const struct
    {
        ReportQuery query;
        const char *title;
        int kind; // 0: not looked at
    } reports[] = {
        {fixedReport(ReportKind::Present), "Knihy právě přítomné v knihovně", 0},
        {fixedReport(ReportKind::Lent), "Knihy právě vypůjčené", 0},
        {fixedReport(ReportKind::PresentAndLent), "Knihy právě přítomné v knihovně a knihy právě vypůjčené",
         0},
        {overdueReport(20050307, day), "Knihy vypůjčené s prodlením počítaným ke dni:  7. 3.2005", 4},
        {clientLoansReport(12, label), "Aktuální výpůjčky klienta: K017  (Novák Jan)", 0},
        {clientHistoryReport(12, label), "Historie výpůjček klienta: K017  (Novák Jan)", 3},
        {categoryReport(4, QStringLiteral("Poezie")), "Knihy v kategorii: Poezie", 0},
        {clientOverdueReport(12, QStringLiteral("Novák"), QStringLiteral("Jan"), 20050307, day),
         "Knihy klienta: Novák Jan, vypůjčené s prodlením ke dni:  7. 3.2005", 9},
    };
    for (const auto &r : reports) {
        QCOMPARE(r.query.title, QString::fromUtf8(r.title));
        if (r.kind)
            QCOMPARE(r.query.kind, r.kind);
    }
}

void TestReportCore::reportsOnARealLibrary()
{
    TestLibrary lib;
    // An empty table is no failure.
    ReportResult empty = runReport(fixedReport(ReportKind::PresentAndLent).sql);
    QCOMPARE(empty.message, 0);
    QVERIFY(empty.rows.isEmpty());
    QCOMPARE(empty.summary, QStringLiteral("Nebyla nalezena žádná odpovídající kniha"));

    const qint32 poezie = lib.addCategory(QStringLiteral("Poezie"));
    const qint32 romany = lib.addCategory(QStringLiteral("Romány"));
    const qint32 b3 = lib.addBook(book(QStringLiteral("003"), 10, poezie));
    const qint32 b1 = lib.addBook(book(QStringLiteral("001"), 10, romany));
    const qint32 b5 = lib.addBook(book(QStringLiteral("005"), 10, poezie));
    const qint32 b2 = lib.addBook(book(QStringLiteral("002"), 10, romany));
    lib.addBook(book(QStringLiteral("004"), 10, poezie));
    lib.addBook(book(QStringLiteral("006"), 10, poezie).discard(20100101));
    const qint32 jan = lib.addClient(QStringLiteral("K1"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    const qint32 eva = lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Malá"));
    // Jan: 003 due 14 March, 005 due 15 March, 001 without a limit; Eva: 002 due 1 March.
    lib.lend({b3}, jan, 20260201, 20260314);
    lib.lend({b5}, jan, 20260201, 20260315);
    lib.lend({b1}, jan, 20260201);
    lib.lend({b2}, eva, 20260201, 20260301);
    lib.giveBack({b2}, 20260310);
    lib.lend({b2}, jan, 20260311, 20260320);

    auto run = [](const ReportQuery &q) { return codes(runReport(q.sql)); };
    const QStringList all{QStringLiteral("001"), QStringLiteral("002"), QStringLiteral("003"),
                          QStringLiteral("004"), QStringLiteral("005")};
    QCOMPARE(run(fixedReport(ReportKind::PresentAndLent)), all);
    QCOMPARE(run(fixedReport(ReportKind::Present)), words("004"));
    QCOMPARE(run(fixedReport(ReportKind::Lent)), words("001 002 003 005"));
    QCOMPARE(run(fixedReport(ReportKind::Discarded)), words("006"));
    QCOMPARE(run(categoryReport(poezie, QStringLiteral("Poezie"))), words("003 004 005"));
    // Overdue means a limit strictly before the day: on 15 March only 003 (due 14 March).
    QCOMPARE(run(overdueReport(20260315, QString())), words("003"));
    QCOMPARE(run(overdueReport(20260316, QString())), words("003 005"));
    QCOMPARE(run(overdueReport(20260314, QString())), QStringList());
    // A loan without a limit is never overdue.
    QVERIFY(!run(overdueReport(20991231, QString())).contains(QStringLiteral("001")));
    QCOMPARE(run(clientOverdueReport(jan, QString(), QString(), 20260321, QString())), words("002 003 005"));
    QCOMPARE(run(clientOverdueReport(eva, QString(), QString(), 20260321, QString())), QStringList());
    // The client's overdue books at their boundary day: a loan due on 20 March is overdue from
    // 21 March on, not on the 20th; Eva's returned loan never counts for her.
    QCOMPARE(run(clientOverdueReport(jan, QString(), QString(), 20260320, QString())), words("003 005"));
    QCOMPARE(run(clientLoansReport(jan, QString())), words("001 002 003 005"));
    QCOMPARE(run(clientLoansReport(eva, QString())), QStringList());
    // The history covers returned loans too.
    QCOMPARE(run(clientHistoryReport(eva, QString())), words("002"));
    QCOMPARE(run(clientHistoryReport(jan, QString())), words("001 002 003 005"));

    const ReportResult rows = runReport(categoryReport(romany, QString()).sql);
    QCOMPARE(rows.rows.size(), 2);
    QCOMPARE(rows.rows.at(0).bookId, b1);
    QStringList cells; // the texts of the list's columns
    for (int column = 0; column < 5; ++column)
        cells << reportCellText(rows.rows.at(0), column);
    QCOMPARE(cells,
             (QStringList{QStringLiteral("001"), QStringLiteral("Babička"), QStringLiteral("Božena Němcová"),
                          QStringLiteral("Romány"), QStringLiteral("10.00")}));

    // A broken statement is a database failure: message 34 and nothing listed.
    const ReportResult broken = runReport(QStringLiteral("SELECT * FROM KNIHY WHERE NOSUCHCOLUMN = 1"));
    QCOMPARE(broken.message, 34);
    QVERIFY(broken.rows.isEmpty());
    QVERIFY(broken.summary.isEmpty());

    // Rows with the same author share one text; each row still shows its own book's author, a
    // missing author included.
    const auto withAuthor = [&](const char *code, const QString &author) {
        TestLibrary::BookSpec b = book(QString::fromLatin1(code), 10, poezie);
        b.author = author;
        lib.addBook(b);
    };
    withAuthor("007", QStringLiteral("Erben"));
    withAuthor("008", QStringLiteral("Čapek"));
    withAuthor("009", QStringLiteral("Erben"));
    withAuthor("010", QString());
    QStringList authors;
    for (const ReportRow &r : runReport(fixedReport(ReportKind::PresentAndLent).sql).rows)
        authors << r.code + QLatin1Char(' ') + r.author;
    QCOMPARE(authors,
             (QStringList{QStringLiteral("001 Božena Němcová"), QStringLiteral("002 Božena Němcová"),
                          QStringLiteral("003 Božena Němcová"), QStringLiteral("004 Božena Němcová"),
                          QStringLiteral("005 Božena Němcová"), QStringLiteral("007 Erben"),
                          QStringLiteral("008 Čapek"), QStringLiteral("009 Erben"), QStringLiteral("010 ")}));
}

// Codes and names are listed in Czech order, letter case aside: accents after their letter, CH
// after H, whatever the system's locale (the test programs run under C.UTF-8). Texts that differ
// only in letter case keep one fixed order (byte order of the text), so the order is total.
void TestReportCore::czechOrderOfReportsAndPickers()
{
    const QStringList czech{QStringLiteral("a500"),  QStringLiteral("B700"), QStringLiteral("C100"),
                            QStringLiteral("c800"),  QStringLiteral("Č200"), QStringLiteral("H400"),
                            QStringLiteral("ch300"), QStringLiteral("CH900")};
    const QStringList typedOrder{QStringLiteral("CH900"), QStringLiteral("c800"), QStringLiteral("H400"),
                                 QStringLiteral("a500"),  QStringLiteral("Č200"), QStringLiteral("ch300"),
                                 QStringLiteral("B700"),  QStringLiteral("C100")};

    // The order itself: the collator really puts CH after H here (Qt collates through ICU, not
    // through the system's locale), and no two different texts compare equal.
    QStringList sorted = typedOrder;
    std::sort(sorted.begin(), sorted.end(),
              [](const QString &a, const QString &b) { return czechOrder(a, b) < 0; });
    QCOMPARE(sorted, czech);
    QVERIFY(czechCompare(QStringLiteral("H"), QStringLiteral("ch"), Qt::CaseInsensitive) < 0);
    QVERIFY(czechCompare(QStringLiteral("Chata"), QStringLiteral("Ivan"), Qt::CaseInsensitive) < 0);
    QVERIFY(czechCompare(QStringLiteral("Cyril"), QStringLiteral("Čech"), Qt::CaseInsensitive) < 0);
    QVERIFY(czechCompare(QStringLiteral("Kos"), QStringLiteral("kos"), Qt::CaseInsensitive) == 0);
    QCOMPARE(czechOrder(QStringLiteral("Kos"), QStringLiteral("kos")), -1); // K (0x4B) before k (0x6B)
    const QByteArray kos = QByteArrayLiteral("Kos"), lower = QByteArrayLiteral("kos"),
                     cech = QStringLiteral("Čech").toUtf8();
    QCOMPARE(czechOrderUtf8(kos.constData(), int(kos.size()), lower.constData(), int(lower.size())), -1);
    QCOMPARE(czechOrderUtf8(cech.constData(), int(cech.size()), kos.constData(), int(kos.size())), -1);
    // Plain ASCII texts are compared without the collator; the answer must be the collator's on
    // every printable character, CH in any letter case, prefixes, texts equal but for case and
    // texts that share their beginning (the comparison starts where they differ, maybe inside a CH).
    std::mt19937 random(19);
    const QString common = QStringLiteral("cChHcchhiI09 -_.,/aAzZ");
    auto text = [&] {
        QString t;
        for (int n = int(random() % 7); n > 0; --n)
            t += random() % 2 ? common.at(int(random() % common.size())) : QChar(0x20 + int(random() % 95));
        return t;
    };
    for (int i = 0; i < 20000; ++i) {
        const QString a = text();
        const QString b = i % 5 == 0   ? a.toUpper()
                          : i % 5 == 1 ? a.left(int(random() % uint(a.size() + 1))) + text()
                                       : text();
        int expected = czechCompare(a, b, Qt::CaseInsensitive);
        if (expected == 0)
            expected = a.toUtf8() < b.toUtf8() ? -1 : a.toUtf8() == b.toUtf8() ? 0 : 1;
        QVERIFY2(czechOrder(a, b) == expected, qPrintable(QStringLiteral("'%1' '%2'").arg(a, b)));
    }

    // The reports and the book pickers order through the engine's collation.
    TestLibrary lib;
    for (const QString &code : typedOrder)
        lib.addBook(book(code));
    QCOMPARE(codes(runReport(fixedReport(ReportKind::PresentAndLent).sql)), czech);
    QStringList picked; // the book picker: descending, each row put at the top
    CSetKnihy set;
    for (set.open(QString::fromLatin1(Stmt::PickLendable)); !set.isEOF(); set.moveNext())
        picked.prepend(set.m_KOD);
    set.close();
    QCOMPARE(picked, czech);
}

void TestReportCore::missingCategoryStopsTheReport()
{
    TestLibrary lib;
    const qint32 cat = lib.addCategory(QStringLiteral("Poezie"));
    lib.addBook(book(QStringLiteral("001"), 10, cat));
    lib.addBook(book(QStringLiteral("002"), 10, cat));
    lib.addBook(book(QStringLiteral("003"), 10, 999)); // no such category
    lib.addBook(book(QStringLiteral("004"), 10, cat));
    const ReportResult r = runReport(fixedReport(ReportKind::PresentAndLent).sql);
    QCOMPARE(r.message, 94);
    QVERIFY(r.rows.isEmpty());
    QVERIFY(r.summary.isEmpty());
    // Without the broken book the report runs.
    QCOMPARE(runReport(categoryReport(cat, QString()).sql).rows.size(), 3);
}

void TestReportCore::summaryAddsSinglePricesInDouble()
{
    TestLibrary lib;
    lib.addBook(book(QStringLiteral("A"), 10.10f));
    lib.addBook(book(QStringLiteral("B"), 20.20f));
    lib.addBook(book(QStringLiteral("C"), 0.05f));
    const ReportResult r = runReport(fixedReport(ReportKind::Present).sql);
    QCOMPARE(r.message, 0);
    QCOMPARE(r.summary, QStringLiteral("Nalezeno 3 knih v celkové hodnotě 30.35 Kč"));
    QCOMPARE(r.total, double(10.10f) + double(20.20f) + double(0.05f));
}

void TestReportCore::clientLookup()
{
    TestLibrary lib;
    const qint32 id = lib.addClient(QStringLiteral("K017"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    ReportClient c;
    QCOMPARE(findReportClient(QStringLiteral("  K017 "), &c), 0);
    QCOMPARE(c.id, id);
    QCOMPARE(c.code, QStringLiteral("K017"));
    QCOMPARE(c.prijmeni, QStringLiteral("Novák"));
    QCOMPARE(c.jmeno, QStringLiteral("Jan"));

    lib.addCategory(QStringLiteral("Viditelná"));
    lib.addCategory(QStringLiteral("Skrytá"), false);
    QList<ReportCategory> shown;
    QCOMPARE(listShownCategories(&shown), 0);
    QCOMPARE(shown.size(), 1);
    QCOMPARE(shown.at(0).name, QStringLiteral("Viditelná"));
}

void TestReportCore::htmlPage_data()
{
    QTest::addColumn<QList<ReportRow>>("rows");
    QTest::addColumn<QString>("summary");
    QTest::addColumn<QByteArray>("expected");

    const QByteArray head =
        "\xEF\xBB\xBF<H2 ALIGN=\"CENTER\"><U>Knihy v kategorii: Poezie</U></H2>\n"
        "<BR>\n"
        "<CENTER><TABLE BORDER=\"1\" WIDTH=\"90%\">\n"
        "<TR>\n"
        "<TD BGCOLOR=\"BLUE\" ALIGN=\"LEFT\"> <FONT FACE=\"Arial\" COLOR=\"YELLOW\"><B> K\xC3\xB3"
        "d </B></FONT> </TD>\n"
        "<TD BGCOLOR=\"BLUE\" ALIGN=\"LEFT\"> <FONT FACE=\"Arial\" COLOR=\"YELLOW\"><B> N\xC3\xA1"
        "zev </B></FONT> </TD>\n"
        "<TD BGCOLOR=\"BLUE\" ALIGN=\"LEFT\"> <FONT FACE=\"Arial\" COLOR=\"YELLOW\"><B> Autor "
        "</B></FONT> </TD>\n"
        "<TD BGCOLOR=\"BLUE\" ALIGN=\"LEFT\"> <FONT FACE=\"Arial\" COLOR=\"YELLOW\"><B> Kategorie "
        "</B></FONT> </TD>\n"
        "<TD BGCOLOR=\"BLUE\" ALIGN=\"LEFT\"> <FONT FACE=\"Arial\" COLOR=\"YELLOW\"><B> Cena "
        "</B></FONT> </TD>\n"
        "</TR>\n";
    const QByteArray tail = "</TABLE></CENTER>\n<BR>\n";

    QTest::newRow("empty")
        << QList<ReportRow>() << QStringLiteral("Nebyla nalezena žádná odpovídající kniha")
        << head + tail +
               "<CENTER>Nebyla nalezena \xC5\xBE\xC3\xA1\x64n\xC3\xA1 odpov\xC3\xAD\x64\x61j\xC3\xAD"
               "c\xC3\xAD kniha</CENTER>\n<BR>\n";

    ReportRow a{QStringLiteral("001"),
                QStringLiteral("Máj & <jiné>"),
                QStringLiteral("Poezie"),
                QStringLiteral("K. H. Mácha"),
                12.5f,
                1};
    ReportRow b{QStringLiteral("002"),
                QStringLiteral("Kytice"),
                QStringLiteral("Poezie"),
                QStringLiteral("K. J. Erben"),
                99.0f,
                2};
    QTest::newRow("two rows")
        << QList<ReportRow>{a, b} << QStringLiteral("Nalezeno 2 knih v celkové hodnotě 111.50 Kč")
        << head +
               "<TR>\n"
               "<TD ALIGN=\"LEFT\">  001  </TD>\n"
               "<TD ALIGN=\"LEFT\">  M\xC3\xA1j & <jin\xC3\xA9>  </TD>\n"
               "<TD ALIGN=\"LEFT\">  K. H. M\xC3\xA1\x63ha  </TD>\n"
               "<TD ALIGN=\"LEFT\">  Poezie  </TD>\n"
               "<TD ALIGN=\"LEFT\">  12.50  </TD>\n"
               "</TR>\n"
               "<TR>\n"
               "<TD ALIGN=\"LEFT\">  002  </TD>\n"
               "<TD ALIGN=\"LEFT\">  Kytice  </TD>\n"
               "<TD ALIGN=\"LEFT\">  K. J. Erben  </TD>\n"
               "<TD ALIGN=\"LEFT\">  Poezie  </TD>\n"
               "<TD ALIGN=\"LEFT\">  99.00  </TD>\n"
               "</TR>\n" +
               tail +
               "<CENTER>Nalezeno 2 knih v celkov\xC3\xA9 hodnot\xC4\x9B 111.50 K\xC4\x8D</CENTER>\n<BR>\n";
}

void TestReportCore::htmlPage()
{
    QFETCH(QList<ReportRow>, rows);
    QFETCH(QString, summary);
    QFETCH(QByteArray, expected);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("sestava.html"));
    // An existing file is replaced whole.
    {
        QFile old(path);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write(QByteArray(5000, 'x'));
    }
    QVERIFY(writeReportHtml(path, QStringLiteral("Knihy v kategorii: Poezie"), rows, summary).ok());
    QCOMPARE(fileBytes(path), expected);
}

void TestReportCore::loanProtocol()
{
    TestLibrary lib;
    const qint32 client =
        lib.addClient(QStringLiteral("K017"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    const qint32 first = lib.addBook(TestLibrary::BookSpec(QStringLiteral("C3"))
                                         .withTitle(QStringLiteral("Kytice"), QStringLiteral("K. J. Erben")));
    const qint32 second = lib.addBook(QStringLiteral("A1"));
    const qint32 third = lib.addBook(QStringLiteral("B2"));
    const qint32 loan = lib.lend({third, first, second}, client, 20050307, 20050407);

    LoanProtocol p;
    QCOMPARE(prepareLoanProtocol(loan, &p), 0);
    QCOMPARE(p.client, QStringLiteral("K017  (Novák Jan)"));
    QCOMPARE(p.date, 20050307);
    QCOMPARE(p.rows.size(), 3);
    // Ascending book identifier, not the order of lending or of the codes.
    QCOMPARE(p.rows.at(0).code, QStringLiteral("C3"));
    QCOMPARE(p.rows.at(0).title, QStringLiteral("Kytice"));
    QCOMPARE(p.rows.at(0).due, 20050407);
    QCOMPARE(p.rows.at(1).code, QStringLiteral("A1"));
    QCOMPARE(p.rows.at(2).code, QStringLiteral("B2"));
    QCOMPARE(protocolDueText(20050407), QStringLiteral(" 7. 4.2005"));
    QCOMPARE(protocolDueText(NoDate), QStringLiteral("bez omezení"));

    QCOMPARE(prepareLoanProtocol(loan + 1, &p), 107);
    QVERIFY(p.rows.isEmpty());
    // A loan row whose book is gone is an integrity fault.
    runSql(QStringLiteral("DELETE FROM KNIHY WHERE ID_KNIHY_KNIHY = ?"), {second});
    QCOMPARE(prepareLoanProtocol(loan, &p), 108);
    runSql(QStringLiteral("DELETE FROM LIDE WHERE ID_LIDE_LIDE = ?"), {client});
    QCOMPARE(prepareLoanProtocol(loan, &p), 108);
}

void TestReportCore::returnProtocol()
{
    TestLibrary lib;
    const qint32 jan = lib.addClient(QStringLiteral("K1"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    const qint32 eva = lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Malá"));
    const qint32 b1 = lib.addBook(QStringLiteral("001"));
    const qint32 b2 = lib.addBook(QStringLiteral("002"));
    const qint32 b3 = lib.addBook(QStringLiteral("003"));
    const qint32 b4 = lib.addBook(QStringLiteral("004"));
    lib.lend({b1}, jan, 20050101, 20050228);
    lib.lend({b2}, eva, 20050110, 20050227);
    lib.lend({b3}, eva, 20050110);
    lib.lend({b4}, jan, 20050110, 20050302);
    const qint32 ret = lib.giveBack({b4, b2, b1, b3}, 20050302);

    ReturnProtocol p;
    QCOMPARE(prepareReturnProtocol(ret, &p), 0);
    QCOMPARE(p.date, 20050302);
    QCOMPARE(p.rows.size(), 4);
    QCOMPARE(p.rows.at(0).bookCode, QStringLiteral("001"));
    QCOMPARE(p.rows.at(0).clientCode, QStringLiteral("K1"));
    QCOMPARE(p.rows.at(0).clientName, QStringLiteral("Novák Jan"));
    QCOMPARE(p.rows.at(0).loanDate, 20050101);
    // 2 March against 28 February: the plain difference of the date numbers.
    QCOMPARE(p.rows.at(0).lateness, 74);
    QCOMPARE(p.rows.at(1).clientCode, QStringLiteral("K2"));
    QCOMPARE(p.rows.at(1).lateness, 75);
    QCOMPARE(p.rows.at(2).lateness, -1); // no limit
    QCOMPARE(p.rows.at(3).lateness, -1); // returned on its last day
    QCOMPARE(protocolLatenessText(74), QStringLiteral("74"));
    QVERIFY(protocolLatenessText(-1).isEmpty());

    QCOMPARE(prepareReturnProtocol(ret + 5, &p), 116);
    runSql(QStringLiteral("DELETE FROM LIDE WHERE ID_LIDE_LIDE = ?"), {eva});
    QCOMPARE(prepareReturnProtocol(ret, &p), 108);
}

void TestReportCore::protocolChoosers()
{
    TestLibrary lib;
    const qint32 jan = lib.addClient(QStringLiteral("K1"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    const qint32 b1 = lib.addBook(QStringLiteral("001"));
    const qint32 b2 = lib.addBook(QStringLiteral("002"));
    const qint32 b3 = lib.addBook(QStringLiteral("003"));
    const qint32 loan1 = lib.lend({b2, b1}, jan, 20050301, 20050401);
    const qint32 loan2 = lib.lend({b3}, jan, 20050315);
    const qint32 ret = lib.giveBack({b1, b2}, 20050320);

    LoanProtocol chosen;
    QCOMPARE(loadLoanForChooser(loan1, &chosen), 0);
    QCOMPARE(chosen.rows.size(), 2);
    QCOMPARE(chosen.rows.at(0).code, QStringLiteral("001"));
    QCOMPARE(chosen.rows.at(0).bookId, b1);
    QCOMPARE(loadLoanForChooser(99, &chosen), 111);
    ReturnProtocol chosenReturn;
    QCOMPARE(loadReturnForChooser(ret, &chosenReturn), 0);
    QCOMPARE(chosenReturn.rows.size(), 2);
    QCOMPARE(loadReturnForChooser(99, &chosenReturn), 111);

    QList<LoanListEntry> loans;
    QCOMPARE(listLoansInPeriod(20050301, 20050331, &loans), 0);
    QCOMPARE(loans.size(), 2);
    QCOMPARE(loans.at(0).number, loan2); // newest first
    QCOMPARE(loans.at(0).books, 1);
    QCOMPARE(loans.at(1).number, loan1);
    QCOMPARE(loans.at(1).books, 2);
    QCOMPARE(loans.at(1).clientCode, QStringLiteral("K1"));
    QCOMPARE(loans.at(1).clientName, QStringLiteral("Novák Jan"));
    QCOMPARE(loans.at(1).date, 20050301);
    QCOMPARE(listLoansInPeriod(20050302, 20050314, &loans), 113);
    QCOMPARE(listLoansInPeriod(20050331, 20050301, &loans), 113); // the end before the start
    QVERIFY(loans.isEmpty());

    QList<ReturnListEntry> returns;
    QCOMPARE(listReturnsInPeriod(20050320, 20050320, &returns), 0);
    QCOMPARE(returns.size(), 1);
    QCOMPARE(returns.at(0).number, ret);
    QCOMPARE(returns.at(0).books, 2);
    QCOMPARE(returns.at(0).date, 20050320);
    QCOMPARE(listReturnsInPeriod(20050321, 20050301, &returns), 117);
}

void TestReportCore::commandLine()
{
    TestLibrary lib;
    const qint32 poezie = lib.addCategory(QStringLiteral("Poezie"));
    lib.addBook(book(QStringLiteral("002"), 12.5f, poezie));
    lib.addBook(book(QStringLiteral("001"), 99.0f, poezie));
    const qint32 client =
        lib.addClient(QStringLiteral("K017"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    const qint32 lent = lib.addBook(book(QStringLiteral("003"), 1.0f, poezie));
    const qint32 loan = lib.lend({lent}, client, 20260101, 20260201);
    // What the view would export for the category report.
    const ReportQuery query = categoryReport(poezie, QStringLiteral("Poezie"));
    const ReportResult result = runReport(query.sql);
    const QString expectedPath = QDir(lib.dir()).filePath(QStringLiteral("expected.html"));
    QVERIFY(writeReportHtml(expectedPath, query.title, result.rows, result.summary).ok());
    Database::close(); // the tool opens the library itself

    const QString dataDir = lib.dir();
    const QString out = QDir(dataDir).filePath(QStringLiteral("out.html"));
    // "report KIND args... --data-dir D --html OUT" (or "--pdf OUT" for a protocol); the exit code
    // and the error output.
    QString err;
    auto cli = [&](const char *args, const QString &target = QString()) {
        QStringList list = QString::fromUtf8(args).split(QLatin1Char('|'));
        list << lib.cliOptions();
        if (list.first() == u"protocol")
            list << QStringLiteral("--pdf") << target;
        else if (!target.isNull())
            list << QStringLiteral("--html") << target;
        const CliRun r = runCli(list);
        err = r.err;
        return r.code;
    };
    QCOMPARE(cli("report|category|--category|Poezie", out), 0);
    QCOMPARE(fileBytes(out), fileBytes(expectedPath));
    QCOMPARE(cli("report|1|--client| K017 ", out), 0);
    QVERIFY(QString::fromUtf8(fileBytes(out))
                .contains(QStringLiteral("Aktuální výpůjčky klienta: K017  (Novák Jan)")));
    QVERIFY(fileBytes(out).contains("<TD ALIGN=\"LEFT\">  003  </TD>"));
    QCOMPARE(cli("report|overdue|--date|2.2.2026", out), 0);
    QVERIFY(fileBytes(out).contains("ke dni:  2. 2.2026</U>"));
    QVERIFY(fileBytes(out).contains("<TD ALIGN=\"LEFT\">  003  </TD>"));

    // A category is named as the program compares names: letter case aside, for every letter.
    QVERIFY(lib.reopen());
    lib.addCategory(QStringLiteral("Beletrie"));
    lib.addCategory(QStringLiteral("Naučná"));
    Database::close();
    QCOMPARE(cli("report|category|--category|BELETRIE ", out), 0);
    QVERIFY(QString::fromUtf8(fileBytes(out)).contains(QStringLiteral("Knihy v kategorii: Beletrie")));
    QCOMPARE(cli("report|category|--category|NAUČNÁ", out), 0);
    QVERIFY(QString::fromUtf8(fileBytes(out)).contains(QStringLiteral("Knihy v kategorii: Naučná")));
    QVERIFY(cli("report|category|--category|naucna", out) != 0); // accents are letters of their own
    QVERIFY(err.contains(QStringLiteral("no shown category")));

    // Bad arguments: a clear error and a non-zero exit, nothing written.
    QFile::remove(out);
    const struct
    {
        const char *args;
        QString target;
        const char *error;
    } refused[] = {
        {"report|10", out, "unknown report kind"},
        {"report|7", QString(), "--html"},
        {"report|1", out, "--client"},
        {"report|4|--date|31.2.2026", out, "95"},
        {"report|7", QDir(dataDir).filePath(QStringLiteral("no/such/x.html")), "120"},
        {"protocol|lend|1", out, ""},
    };
    for (const auto &r : refused) {
        QVERIFY2(cli(r.args, r.target) != 0, r.args);
        QVERIFY2(err.contains(QString::fromLatin1(r.error)), r.args);
    }
    QVERIFY(!QFile::exists(out));
    // A protocol that exists is written as a PDF file.
    const QString pdf = QDir(dataDir).filePath(QStringLiteral("loan.pdf"));
    QCOMPARE(cli(QStringLiteral("protocol|loan|%1").arg(loan).toUtf8().constData(), pdf), 0);
    QVERIFY(fileBytes(pdf).startsWith("%PDF"));
    QVERIFY(lib.reopen());
}

QTEST_GUILESS_MAIN(TestReportCore)
#include "test_reportcore.moc"
