// Protocols and reports printed into PDF files and read back as text.
#include "reports/printdocs.h"
#include "reports/protocolcore.h"
#include "reports/reportcore.h"
#include "support/testsupport.h"

#include <QDir>
#include <QFontMetricsF>
#include <QPdfWriter>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

namespace {

// The text of a PDF file (or of one page of it) as pdftotext reads it, in reading order.
QString pdfText(const QString &path, int page = 0)
{
    QStringList args;
    if (page > 0)
        args << QStringLiteral("-f") << QString::number(page) << QStringLiteral("-l")
             << QString::number(page);
    args << path << QStringLiteral("-");
    QProcess p;
    p.start(QStringLiteral("pdftotext"), args);
    p.waitForFinished(30000);
    return QString::fromUtf8(p.readAllStandardOutput());
}

// The first of the fragments the text lacks; empty when it holds them all.
QString firstMissing(const QString &text, const QStringList &fragments)
{
    for (const QString &f : fragments)
        if (!text.contains(f))
            return f;
    return QString();
}

} // namespace

class TestPrinting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void protocolPdfs();
    void longProtocolTakesTwoPages();
    void reportPdf();
};

void TestPrinting::initTestCase()
{
    if (QStandardPaths::findExecutable(QStringLiteral("pdftotext")).isEmpty())
        QSKIP("pdftotext (poppler-utils) is not installed");
}

// Both protocols printed and read back: their headings, and every value whole in its column: the longest
// normal values, a code of 20 characters and a date such as " 7. 3.2005", measured in the printed font on the
// PDF device stay on one line. Only the loan protocol has the client's signature line.
void TestPrinting::protocolPdfs()
{
    TestLibrary lib;
    const QString longClient = QStringLiteral("CTE-2005-00000012345");
    const QString longBook = QStringLiteral("BEL-2005-00000067890");
    const qint32 jan = lib.addClient(longClient, QStringLiteral("Jan"), QStringLiteral("Novák"));
    const qint32 eva = lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Malá"));
    const auto book = [&](const QString &code, const char *title, const char *author) {
        return lib.addBook(TestLibrary::BookSpec(code)
                               .withTitle(QString::fromUtf8(title), QString::fromUtf8(author))
                               .acquiredOn(20040101));
    };
    const qint32 b1 = book(longBook, "Kytice", "Autor Číslo1");
    const qint32 b2 = book(QStringLiteral("002"), "Máj", "Autor Číslo2");
    const qint32 b3 = book(QStringLiteral("003"), "Babička", "Autor Číslo3");
    const qint32 loan = lib.lend({b1, b2}, jan, 20050307, 20051228);
    lib.lend({b3}, eva, 20051228);
    LoanProtocol lent;
    QCOMPARE(prepareLoanProtocol(loan, &lent), 0);
    const qint32 ret = lib.giveBack({b1, b2, b3}, 20060102);
    ReturnProtocol returned;
    QCOMPARE(prepareReturnProtocol(ret, &returned), 0);

    // pdftotext may fold the double blank of the client label.
    const QStringList common = {QStringLiteral("Počet knih:"),
                                QStringLiteral("Kód"),
                                QStringLiteral("Název"),
                                longBook,
                                longClient,
                                QStringLiteral("7. 3.2005"),
                                QStringLiteral("28.12.2005")};
    const struct
    {
        PrintedTable doc;
        QStringList expected;
        bool signature;
    } docs[] = {
        {loanProtocolDocument(lent, today()),
         common + QStringList{QStringLiteral("Protokol o výpůjčce"), QStringLiteral("Číslo výpůjčky:"),
                              QStringLiteral("Klient:"), QStringLiteral("Provedeno dne:"),
                              QStringLiteral("Autor Číslo1"), QStringLiteral("Vrátit do"),
                              QStringLiteral("(Novák Jan)")},
         true},
        {returnProtocolDocument(returned, today()),
         common + QStringList{QStringLiteral("Protokol o vrácení knih"), QStringLiteral("Číslo vrácení:"),
                              QStringLiteral("Datum vrácení:"), QStringLiteral("Malá Eva"),
                              QStringLiteral("K2")},
         false},
    };
    QTemporaryDir dir;
    for (const auto &d : docs) {
        const PrintedTable &doc = d.doc;
        QPdfWriter writer(dir.filePath(QStringLiteral("measure.pdf")));
        setUpPdfWriter(&writer, doc.title);
        const PrintedColumns columns = printedColumns(&writer, doc);
        const QFontMetricsF body(columns.font, &writer);
        double total = 0;
        for (int c = 0; c < doc.columns.size(); ++c) {
            total += columns.widths.at(c);
            for (const QStringList &row : doc.rows)
                QVERIFY2(body.horizontalAdvance(row.at(c)) <= columns.widths.at(c) - 2 * columns.padding,
                         qPrintable(doc.title + QLatin1Char(' ') + row.at(c)));
        }
        QVERIFY(total <= writer.width() + 1);
        const QString pdf = dir.filePath(doc.title + QStringLiteral(".pdf"));
        const PdfResult written = writePdf(doc, pdf);
        QVERIFY(written.ok());
        QCOMPARE(written.print.pages, 1);
        const QString text = pdfText(pdf);
        QVERIFY2(firstMissing(text, d.expected).isEmpty(), qPrintable(firstMissing(text, d.expected) + text));
        QCOMPARE(text.contains(QStringLiteral("Podpis klienta:")), d.signature);
    }
}

void TestPrinting::longProtocolTakesTwoPages()
{
    TestLibrary lib;
    const qint32 client = lib.addClient(QStringLiteral("K1"));
    QList<qint32> books;
    for (int i = 1; i <= 60; ++i)
        books << lib.addBook(QStringLiteral("B%1").arg(i, 3, 10, QLatin1Char('0')));
    const qint32 loan = lib.lend(books, client, 20260301, 20260401);
    LoanProtocol protocol;
    QCOMPARE(prepareLoanProtocol(loan, &protocol), 0);
    QTemporaryDir dir;
    const QString pdf = dir.filePath(QStringLiteral("long.pdf"));
    const PdfResult written = writePdf(loanProtocolDocument(protocol, today()), pdf);
    QVERIFY(written.ok());
    QCOMPARE(written.print.pages, 2);
    const QString first = pdfText(pdf, 1);
    const QString second = pdfText(pdf, 2);
    QVERIFY(first.contains(QStringLiteral("strana 1 / 2")));
    QVERIFY2(second.contains(QStringLiteral("strana 2 / 2")), qPrintable(second));
    QVERIFY(second.contains(QStringLiteral("Zpracováno programem FOLIVO 2.0 dne 15.03.2026")));
    // The column headers repeat, the title and the header lines do not; every book is printed once.
    QVERIFY(second.contains(QStringLiteral("Vrátit do")));
    QVERIFY(!second.contains(QStringLiteral("Protokol o výpůjčce")));
    QVERIFY(second.contains(QStringLiteral("Podpis klienta:")));
    QVERIFY(!first.contains(QStringLiteral("Podpis klienta:")));
    for (int i = 1; i <= 60; ++i) {
        const QString code = QStringLiteral("B%1").arg(i, 3, 10, QLatin1Char('0'));
        QCOMPARE(int(first.contains(code)) + int(second.contains(code)), 1);
    }
}

void TestPrinting::reportPdf()
{
    QList<ReportRow> rows;
    for (int i = 1; i <= 120; ++i)
        rows.append({QStringLiteral("R%1").arg(i, 4, 10, QLatin1Char('0')),
                     QStringLiteral("Název knihy %1").arg(i), QStringLiteral("Poezie"),
                     QStringLiteral("Autor"), float(i), i});
    QTemporaryDir dir;
    const QString pdf = dir.filePath(QStringLiteral("report.pdf"));
    const QString summary = reportSummary(120, 7260);
    PdfResult written =
        writePdf(reportDocument(QStringLiteral("Knihy vyřazené"), rows, summary, today()), pdf);
    QVERIFY(written.ok());
    const int pages = written.print.pages;
    QVERIFY(pages >= 2);
    // The report's column headers on its first page; the summary ends its last page.
    const QString first = pdfText(pdf, 1);
    QVERIFY(firstMissing(first, {QStringLiteral("Kód"), QStringLiteral("Název"), QStringLiteral("Autor"),
                                 QStringLiteral("Kategorie"), QStringLiteral("Cena")})
                .isEmpty());
    QVERIFY(
        firstMissing(pdfText(pdf, pages), {QStringLiteral("Nalezeno 120 knih v celkové hodnotě 7260.00 Kč"),
                                           QStringLiteral("strana %1 / %1").arg(pages),
                                           QStringLiteral("R0120"), QStringLiteral("120.00")})
            .isEmpty());
    QVERIFY(!first.contains(QStringLiteral("Nalezeno")));

    // Rows of the same price share its text; a price shown as -0.00 stays apart from 0.00.
    QList<ReportRow> priced = rows.mid(0, 5);
    const float prices[] = {12.5f, 0.0f, 12.5f, -0.001f, 0.0f};
    for (int i = 0; i < 5; ++i)
        priced[i].price = prices[i];
    QStringList priceTexts;
    for (const QStringList &row : reportDocument(QString(), priced, QString(), today()).rows)
        priceTexts << row.at(4);
    QCOMPARE(priceTexts,
             (QStringList{QStringLiteral("12.50"), QStringLiteral("0.00"), QStringLiteral("12.50"),
                          QStringLiteral("-0.00"), QStringLiteral("0.00")}));

    // An empty report still prints its title, headers and the empty-result line.
    written = writePdf(
        reportDocument(QStringLiteral("Knihy vyřazené"), {}, QString::fromUtf8(ReportEmptyText), today()),
        pdf);
    QVERIFY(written.ok());
    QCOMPARE(written.print.pages, 1);
    QVERIFY(pdfText(pdf).contains(QStringLiteral("Nebyla nalezena žádná odpovídající kniha")));
}

QTEST_MAIN(TestPrinting)
#include "test_printing.moc"
