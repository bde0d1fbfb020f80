// The reminder dialog, the statistics view and their commands, under the offscreen platform.
#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "app/rvedit.h"
#include "circulation/circulationcore.h"
#include "registers/registercore.h"
#include "reports/reminderdialogs.h"
#include "reports/reminderprint.h"
#include "reports/reportcommands.h"
#include "reports/reportfiles.h"
#include "reports/statisticsprint.h"
#include "reports/statisticsview.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QAction>
#include <QBuffer>
#include <QDir>
#include <QMenu>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>
#include <QPrintPreviewDialog>
#include <QRegularExpression>
#include <QSpinBox>
#include <QTableView>
#include <QTest>

namespace {

// Two clients with overdue books on 15. 3.2026 (the tests' today), one without; loans in 2025.
struct Small
{
    qint32 novak = -1, cerny = -1, bily = -1;
};

Small buildSmall(TestLibrary &lib)
{
    Small s;
    s.novak = lib.addClient(QStringLiteral("K1"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    s.cerny = lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Černá"));
    s.bily = lib.addClient(QStringLiteral("K3"), QStringLiteral("Petr"), QStringLiteral("Bílý"));
    QList<qint32> books;
    for (int i = 1; i <= 6; ++i)
        books << lib.addBook(TestLibrary::BookSpec(QStringLiteral("B%1").arg(i)).acquiredOn(20250110));
    lendBooks(s.novak, 20250301, {{books[0], 20250401}, {books[1], 20250401}});
    lendBooks(s.cerny, 20251201, {{books[2], 20260301}});
    lendBooks(s.bily, 20260301, {{books[3], 20260401}}); // not late on 15. 3.2026
    lendBooks(s.bily, 20250601, {{books[4], NoDate}});   // no limit, never late
    return s;
}

// The pages of a PDF file as its objects count them.
int pdfPages(const QByteArray &pdf)
{
    return int(QString::fromLatin1(pdf).count(QRegularExpression(QStringLiteral("/Type\\s*/Page(?!s)"))));
}

} // namespace

class TestReminderStatsView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reminderDialogChecks();
    void remindersToPdf();
    void longLettersGoOn();
    void statisticsView();
    void commandsInTheReportsMenu();
};

void TestReminderStatsView::reminderDialogChecks()
{
    TestLibrary lib;
    const Small s = buildSmall(lib);
    MessageRecorder messages;
    CRemindersDialog dialog;
    QCOMPARE(dialog.dateField()->text(), QStringLiteral("15. 3.2026"));

    // The date is checked before the code; a refusal puts the focus into its field.
    dialog.show();
    dialog.dateField()->setText(QStringLiteral("31.2.2026"));
    dialog.codeField()->setText(QStringLiteral("K99"));
    QVERIFY(!dialog.checkOk());
    QTRY_COMPARE(QApplication::focusWidget(), dialog.dateField());
    dialog.dateField()->setText(QStringLiteral("1.3.2026"));
    QVERIFY(!dialog.checkOk());
    QCOMPARE(messages.numbers(), (QList<int>{95, 15}));
    QTRY_COMPARE(QApplication::focusWidget(), dialog.codeField());
    dialog.dateField()->setText(QStringLiteral(" 1. 3.2026"));
    dialog.codeField()->setText(QStringLiteral(" k2 "));
    QVERIFY(dialog.checkOk());
    QCOMPARE(dialog.result().day, 20260301);
    QCOMPARE(dialog.result().clientId, s.cerny);
    dialog.codeField()->clear();
    QVERIFY(dialog.checkOk());
    QCOMPARE(dialog.result().clientId, -1);
}

void TestReminderStatsView::remindersToPdf()
{
    TestLibrary lib;
    buildSmall(lib);
    MessageRecorder messages;
    // The program works in its data directory; that is where its own files are recognised.
    const QString cwd = QDir::currentPath();
    QDir::setCurrent(lib.dir());
    const QString pdf = QDir(lib.dir()).filePath(QStringLiteral("upominky.pdf"));
    SaveFileRequest asked;
    const SaveFileAsker previous = setSaveFileAsker([&](QWidget *, const SaveFileRequest &r) {
        asked = r;
        return pdf;
    });
    ReminderRequest request;
    request.day = 20260315;
    request.output = ReminderRequest::Pdf;
    QCOMPARE(runReminders(nullptr, request), 2); // Černá and Novák; Bílý is not late
    QCOMPARE(asked.defaultName, QStringLiteral("upominky-2026-03-15.pdf"));
    QCOMPARE(pdfPages(fileBytes(pdf)), 2);

    // The preview paints the same letters.
    bool previewed = false;
    onNextModal(
        [&](QDialog *d) {
            auto *preview = qobject_cast<QPrintPreviewDialog *>(d);
            previewed = preview && preview->windowTitle() == QStringLiteral("Náhled před tiskem – Upomínky");
        },
        &QPrintPreviewDialog::staticMetaObject);
    request.output = ReminderRequest::Preview;
    QCOMPARE(runReminders(nullptr, request), 2);
    QVERIFY(previewed);
    request.output = ReminderRequest::Pdf;

    // A day when nobody is late: the notice, and no file is asked for.
    asked = SaveFileRequest{};
    request.day = 20250401;
    QCOMPARE(runReminders(nullptr, request), 0);
    QCOMPARE(messages.lastText(), reminderNoneText(20250401));
    QVERIFY(asked.defaultName.isEmpty());

    // Progress after every letter; a cancel leaves the previous file as it was.
    QList<ReminderLetter> letters;
    QCOMPARE(collectReminders(20260315, -1, &letters), 0);
    const QList<PrintedTable> docs =
        reminderDocuments(letters, 20260315, QStringLiteral("Knihovna"), today());
    QList<int> seen;
    int pages = 0;
    QVERIFY(writeDocumentsPdf(
                docs, pdf,
                [&](int done, int total) {
                    seen << done << total;
                    return true;
                },
                &pages)
                .ok());
    QCOMPARE(seen, (QList<int>{1, 2, 2, 2}));
    QVERIFY(SafeFile::writeAll(pdf, "old").ok());
    seen.clear();
    const SafeFile::Result cancelled = writeDocumentsPdf(
        docs, pdf,
        [&](int done, int total) {
            seen << done << total;
            return false;
        },
        &pages);
    QVERIFY(!cancelled.ok());
    QCOMPARE(seen, (QList<int>{1, 2}));
    QCOMPARE(pages, 0);
    QCOMPARE(fileBytes(pdf), QByteArray("old"));
    // No letters: one page that says so.
    const QList<PrintedTable> none = reminderDocuments({}, 20250401, QString(), today());
    QCOMPARE(none.size(), 1);
    QCOMPARE(none.at(0).introParagraphs, QStringList{reminderNoneText(20250401)});
    setSaveFileAsker(previous);
    QDir::setCurrent(cwd);
}

void TestReminderStatsView::longLettersGoOn()
{
    // A letter of many books goes on over pages of its own; the next letter starts on a new page.
    ReminderLetter many;
    many.jmeno = QStringLiteral("Jan");
    many.prijmeni = QStringLiteral("Novák");
    many.clientCode = QStringLiteral("K1");
    many.address = QStringLiteral("Dlouhá 5\n110 00 Praha 1\nČeská republika");
    for (int i = 0; i < 90; ++i)
        many.books.append({i, QStringLiteral("B%1").arg(i), QStringLiteral("Kniha"), QStringLiteral("Autor"),
                           20260101, 20260201, 42});
    ReminderLetter one = many;
    one.books.resize(1);
    const PrintedTable long_ = reminderLetterDocument(many, 20260315, QStringLiteral("Knihovna"), today());
    const PrintedTable short_ = reminderLetterDocument(one, 20260315, QStringLiteral("Knihovna"), today());
    QCOMPARE(long_.headerLines.last(), (QPair<QString, QString>(QStringLiteral("Adresa"), many.address)));
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setResolution(300);
    writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                     QMarginsF(15, 15, 15, 12), QPageLayout::Millimeter));
    const int longPages = countPrintedPages(&writer, long_);
    QVERIFY(longPages >= 3);
    QCOMPARE(countPrintedPages(&writer, short_), 1);
    QCOMPARE(printTables(&writer, {short_, long_, short_}), longPages + 2);
}

void TestReminderStatsView::statisticsView()
{
    TestLibrary lib;
    buildSmall(lib);
    MessageRecorder messages;
    CStatisticsYearDialog yearDialog;
    QCOMPARE(yearDialog.year(), 2025); // the year before today
    QCOMPARE(yearDialog.yearField()->minimum(), StatisticsFirstYear);

    AnnualStatistics s;
    QCOMPARE(computeAnnualStatistics(2025, &s), 0);
    CStatisticsView view(s, QStringLiteral("Městská knihovna"));
    view.show();
    QCOMPARE(view.windowTitle(), QStringLiteral("Roční statistika 2025"));
    QAbstractItemModel *figures = view.figuresTable()->model();
    QCOMPARE(figures->index(0, 1).data().toString(), QStringLiteral("6"));
    QCOMPARE(view.booksTable()->model()->rowCount(), 4);
    QCOMPARE(view.categoriesTable()->model()->rowCount(), 1);

    const QString html = QDir(lib.dir()).filePath(QStringLiteral("statistika.html"));
    const QString csv = QDir(lib.dir()).filePath(QStringLiteral("statistika.csv"));
    QString answer = html;
    const SaveFileAsker previous =
        setSaveFileAsker([&](QWidget *, const SaveFileRequest &) { return answer; });
    QVERIFY(view.exportHtml());
    const QString page = QString::fromUtf8(fileBytes(html));
    QVERIFY(page.contains(QStringLiteral("<p>Městská knihovna</p>")));
    answer = csv;
    QVERIFY(view.exportCsv());
    QCOMPARE(QString::fromUtf8(fileBytes(csv)), statisticsCsv(s));
    answer.clear(); // cancelled
    QVERIFY(!view.exportCsv());
    setSaveFileAsker(previous);

    // The printed page: the same content with the chart, and the program's footer.
    const QString pdf = QDir(lib.dir()).filePath(QStringLiteral("statistika.pdf"));
    int pages = 0;
    {
        QPdfWriter writer(pdf);
        writer.setResolution(300);
        writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                         QMarginsF(15, 15, 15, 12), QPageLayout::Millimeter));
        pages = printStatistics(&writer, s, QStringLiteral("Městská knihovna"), today());
    }
    // Figures, chart and months fill the first page; the books and categories go on.
    QCOMPARE(pages, 2);
    QCOMPARE(pdfPages(fileBytes(pdf)), pages);

    // The chart is scaled to the busiest month (March, two loans): its bar reaches the middle of
    // the picture, July's (no loan) does not.
    QCOMPARE(s.loansByMonth[2], 2);
    const QImage chart = loansChartImage(s, QSize(600, 240));
    QCOMPARE(chart.pixelColor(12 + 2 * 48 + 24, 120), QColor(40, 70, 160));
    QCOMPARE(chart.pixelColor(12 + 6 * 48 + 24, 120), QColor(Qt::white));
}

void TestReminderStatsView::commandsInTheReportsMenu()
{
    TestLibrary lib;
    CMainFrame frame;
    installReportCommands(frame);
    QAction *reminders = frame.action(Cmd::Reminders);
    QAction *statistics = frame.action(Cmd::AnnualStatistics);
    QCOMPARE(reminders->text(), QStringLiteral("&Upomínky..."));
    QCOMPARE(statistics->text(), QStringLiteral("&Roční statistika..."));
    // Both sit in "Zobrazení / Sestava" with the reports.
    for (QAction *a : {reminders, statistics}) {
        QMenu *menu = nullptr;
        for (QObject *o : a->associatedObjects())
            if (auto *m = qobject_cast<QMenu *>(o))
                menu = m;
        QCOMPARE(menu->title(), QStringLiteral("&Sestava"));
    }

    // Each command opens its own dialog (cancelled here).
    const QList<QPair<int, const QMetaObject *>> opens = {
        {Cmd::Reminders, &CRemindersDialog::staticMetaObject},
        {Cmd::AnnualStatistics, &CStatisticsYearDialog::staticMetaObject}};
    for (const auto &[command, dialog] : opens) {
        bool shown = false;
        onNextModal([&shown](QDialog *) { shown = true; }, dialog);
        frame.runCommand(command);
        QVERIFY(shown);
    }
}

QTEST_MAIN(TestReminderStatsView)
#include "test_reminderstatsview.moc"
