// The report view, its commands and dialogs, under the offscreen platform.
#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "app/rvedit.h"
#include "reports/htmlcore.h"
#include "reports/protocoldialogs.h"
#include "reports/protocolprint.h"
#include "reports/reportcommands.h"
#include "reports/reportdialogs.h"
#include "reports/reportfiles.h"
#include "reports/reportmodel.h"
#include "reports/sestavaview.h"
#include "reports/texttablemodel.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QCollator>
#include <QComboBox>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QTableView>
#include <QTest>

#include <clocale>

namespace {

ViewSwitchRequest reportRequest(const ReportQuery &q)
{
    ViewSwitchRequest r;
    r.target = ViewSwitchRequest::ReportView;
    r.sql = q.sql;
    r.title = q.title;
    r.reportKind = q.kind;
    return r;
}

QStringList shownCodes(const CSestavaView &view)
{
    QStringList out;
    for (const ReportRow &r : view.model()->rows())
        out << r.code;
    return out;
}

} // namespace

class TestReportView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fillReport();
    void navigation();
    void sorting();
    void czechColumnSortUnderTheCLocale();
    void htmlExport();
    void reportDialogs();
    void protocolDialogs();
    void commandsThroughTheFrame();
};

void TestReportView::fillReport()
{
    TestLibrary lib;
    MessageRecorder messages;
    CSestavaView view;
    QAbstractItemModelTester tester(view.model(), QAbstractItemModelTester::FailureReportingMode::QtTest);

    // Nothing in the library: no rows, navigation disabled.
    view.enterView(reportRequest(fixedReport(ReportKind::Present)));
    QCOMPARE(view.model()->rowCount(), 0);
    QCOMPARE(view.commandEnabled(Cmd::NavLast), std::optional<bool>(false));
    QVERIFY(view.runCommand(Cmd::NavLast));
    QCOMPARE(view.selectedIndex(), -1);

    const std::pair<const char *, float> books[] = {{"C", 0.05f}, {"A", 10.10f}, {"B", 20.20f}};
    for (const auto &[code, price] : books)
        lib.addBook(TestLibrary::BookSpec(QString::fromLatin1(code)).priced(price));
    view.enterView(reportRequest(fixedReport(ReportKind::PresentAndLent)));
    QCOMPARE(shownCodes(view), words("A B C"));
    QCOMPARE(view.summary(), QStringLiteral("Nalezeno 3 knih v celkové hodnotě 30.35 Kč"));
    QCOMPARE(view.selectedIndex(), 0);
    // Texts on demand and the raw value for sorting.
    const QModelIndex price = view.model()->index(0, CReportModel::Price);
    QCOMPARE(price.data().toString(), QStringLiteral("10.10"));
    QCOMPARE(price.data(CReportModel::RawValueRole).toFloat(), 10.10f);
    QCOMPARE(view.model()->headerData(4, Qt::Horizontal).toString(), QStringLiteral("Cena"));

    // Leaving the view empties the list but keeps the statement, the title and the kind.
    view.leaveView();
    QCOMPARE(view.model()->rowCount(), 0);
    QCOMPARE(view.sql(), fixedReport(ReportKind::PresentAndLent).sql);
    QCOMPARE(view.reportKind(), 8);
    QCOMPARE(view.title(), QStringLiteral("Knihy právě přítomné v knihovně a knihy právě vypůjčené"));
}

void TestReportView::navigation()
{
    TestLibrary lib;
    for (int i = 1; i <= 100; ++i)
        lib.addBook(QStringLiteral("B%1").arg(i, 3, 10, QLatin1Char('0')));
    CSestavaView view;
    view.enterView(reportRequest(fixedReport(ReportKind::Present)));
    QCOMPARE(view.model()->rowCount(), 100);

    // From a selected row (-1: none), a command moves to a row; the commands that could not
    // move from there are disabled, all of them without a selection, though "first" and "last"
    // still run. "Vpřed" goes 40 rows towards the top.
    struct Step
    {
        int from, command, to;
        QList<int> disabledAfter;
    };
    const QList<Step> steps = {
        {10, Cmd::NavPageForward, 0, {Cmd::NavFirst, Cmd::NavPageForward, Cmd::NavPrevious}},
        {0, Cmd::NavPrevious, 0, {Cmd::NavFirst, Cmd::NavPageForward, Cmd::NavPrevious}},
        {0, Cmd::NavNext, 1, {}},
        {50, Cmd::NavPageBack, 90, {}},
        {70, Cmd::NavPageBack, 99, {Cmd::NavLast, Cmd::NavPageBack, Cmd::NavNext}},
        {99, Cmd::NavNext, 99, {Cmd::NavLast, Cmd::NavPageBack, Cmd::NavNext}},
        {98, Cmd::NavFirst, 0, {Cmd::NavFirst, Cmd::NavPageForward, Cmd::NavPrevious}},
        {-1,
         Cmd::NavNext,
         -1,
         {Cmd::NavFirst, Cmd::NavPrevious, Cmd::NavNext, Cmd::NavLast, Cmd::NavPageBack,
          Cmd::NavPageForward}},
        {-1, Cmd::NavLast, 99, {Cmd::NavLast, Cmd::NavPageBack, Cmd::NavNext}},
    };
    for (const Step &s : steps) {
        if (s.from < 0)
            view.list()->selectionModel()->clearSelection();
        else
            view.selectIndex(s.from);
        QVERIFY(view.runCommand(s.command));
        QCOMPARE(view.selectedIndex(), s.to);
        for (int c : {Cmd::NavFirst, Cmd::NavPrevious, Cmd::NavNext, Cmd::NavLast, Cmd::NavPageBack,
                      Cmd::NavPageForward})
            QVERIFY2(view.commandEnabled(c) == std::optional<bool>(!s.disabledAfter.contains(c)),
                     qPrintable(QStringLiteral("command %1 at row %2").arg(c).arg(s.to)));
    }
    // Other commands are not the view's.
    QVERIFY(!view.runCommand(Cmd::PrintReport));
    QCOMPARE(view.commandEnabled(Cmd::PrintReport), std::nullopt);
}

void TestReportView::sorting()
{
    TestLibrary lib;
    const float prices[] = {5, 1, 5, 3, 1};
    for (int i = 0; i < 5; ++i)
        lib.addBook(TestLibrary::BookSpec(QStringLiteral("K%1").arg(i)).priced(prices[i]));
    CSestavaView view;
    QAbstractItemModelTester tester(view.model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    view.enterView(reportRequest(fixedReport(ReportKind::Present)));
    view.selectIndex(3); // K3
    // Prices ascending; equal prices keep the order they had.
    view.list()->horizontalHeader()->sectionClicked(CReportModel::Price);
    QCOMPARE(shownCodes(view), words("K1 K4 K3 K0 K2"));
    QCOMPARE(view.model()->row(view.selectedIndex()).code,
             QStringLiteral("K3")); // the selection follows its row
    // A second click sorts ascending again, never descending.
    view.list()->horizontalHeader()->sectionClicked(CReportModel::Price);
    QCOMPARE(shownCodes(view), words("K1 K4 K3 K0 K2"));
}

// A click on a column header sorts in Czech order with letter case counted, whatever the
// system's locale: under the C locale a plain collator would compare code points and put CH900
// before H400 and Č200 after every Latin letter.
void TestReportView::czechColumnSortUnderTheCLocale()
{
    const QLocale before;
    QLocale::setDefault(QLocale::c());
    const char *const savedLocale = setlocale(LC_ALL, nullptr);
    const QByteArray saved = savedLocale ? QByteArray(savedLocale) : QByteArray("C");
    setlocale(LC_ALL, "C");
    auto restore = qScopeGuard([&] {
        QLocale::setDefault(before);
        setlocale(LC_ALL, saved.constData());
    });
    QCOMPARE(QCollator().locale(), QLocale::c()); // the world this test is about

    TestLibrary lib;
    const char *const texts[] = {"CH900", "c800", "H400", "a500",  "Č200",
                                 "ch300", "B700", "C100", "cesta", "Cesta"};
    for (int i = 0; i < int(std::size(texts)); ++i) {
        TestLibrary::BookSpec b(QStringLiteral("K%1").arg(i));
        b.title = QString::fromUtf8(texts[i]);
        lib.addBook(b);
    }
    CSestavaView view;
    view.enterView(reportRequest(fixedReport(ReportKind::Present)));
    const QStringList czech{QStringLiteral("a500"), QStringLiteral("B700"),  QStringLiteral("C100"),
                            QStringLiteral("c800"), QStringLiteral("cesta"), QStringLiteral("Cesta"),
                            QStringLiteral("Č200"), QStringLiteral("H400"),  QStringLiteral("ch300"),
                            QStringLiteral("CH900")};
    view.list()->horizontalHeader()->sectionClicked(CReportModel::Title);
    QStringList shown;
    for (int r = 0; r < view.model()->rowCount(); ++r)
        shown << view.model()->index(r, CReportModel::Title).data().toString();
    QCOMPARE(shown, czech);
}

void TestReportView::htmlExport()
{
    TestLibrary lib;
    MessageRecorder messages;
    lib.addBook(QStringLiteral("A1"));
    const QString oldCurrent = QDir::currentPath();
    QDir::setCurrent(lib.dir());
    CSestavaView view;
    view.enterView(reportRequest(fixedReport(ReportKind::Present)));

    SaveFileRequest asked;
    QString answer;
    const SaveFileAsker previous = setSaveFileAsker([&](QWidget *, const SaveFileRequest &r) {
        asked = r;
        return answer;
    });
    // Cancelled: the Export folder is there all the same, nothing else is written.
    view.exportHtml();
    const QString exportDir = QDir(lib.dir()).filePath(QStringLiteral("Export"));
    QVERIFY(QFileInfo(exportDir).isDir());
    QCOMPARE(QDir(exportDir).entryList(QDir::Files), QStringList());
    QCOMPARE(asked.title, QStringLiteral("Zadejte jméno výstupního souboru"));
    QCOMPARE(asked.defaultName, QStringLiteral("sestava.html"));
    QCOMPARE(asked.defaultSuffix, QStringLiteral("html"));
    QCOMPARE(QFileInfo(asked.directory).canonicalFilePath(), QFileInfo(exportDir).canonicalFilePath());

    answer = QDir(exportDir).filePath(QStringLiteral("sestava.html"));
    view.exportHtml();
    // The page itself is the core's; here it is the one of the report shown.
    const QByteArray page = fileBytes(answer);
    QVERIFY(page.startsWith("\xEF\xBB\xBF<H2 ALIGN=\"CENTER\"><U>Knihy pr"));

    // A folder that cannot be written: message 120 and no page.
    answer = QDir(lib.dir()).filePath(QStringLiteral("missing/folder/sestava.html"));
    view.exportHtml();
    QCOMPARE(messages.numbers(), QList<int>{120});
    QVERIFY(!QFile::exists(answer));
    setSaveFileAsker(previous);
    QDir::setCurrent(oldCurrent);
}

void TestReportView::reportDialogs()
{
    TestLibrary lib;
    MessageRecorder messages;
    lib.addClient(QStringLiteral("K017"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    const qint32 shown = lib.addCategory(QStringLiteral("Poezie"));
    lib.addCategory(QStringLiteral("Skrytá"), false);

    // A client picked from the list is taken at once.
    CReportClientDialog picked(false);
    picked.setPickedCode(QStringLiteral("K017"));
    QCOMPARE(picked.result().client.jmeno, QStringLiteral("Jan"));

    // Dialog 195 checks the code before the date.
    CReportClientDialog both(true);
    QCOMPARE(both.windowTitle(), QStringLiteral("Zadejte nejpozdější datum vrácení a kód klienta"));
    QCOMPARE(both.dateField()->text(), QStringLiteral("15. 3.2026"));
    both.codeField()->setText(QStringLiteral("nikdo"));
    both.dateField()->setText(QStringLiteral("31.2.2026"));
    QVERIFY(!both.checkOk());
    both.codeField()->setText(QStringLiteral("K017"));
    QVERIFY(!both.checkOk());
    QCOMPARE(messages.numbers(), (QList<int>{15, 95}));
    both.dateField()->setText(QStringLiteral("1.2.2026"));
    QVERIFY(both.checkOk());
    QCOMPARE(both.result().date.day, 20260201);
    QCOMPARE(both.result().date.shown, QStringLiteral(" 1. 2.2026"));

    messages.clear();
    CReportCategoryDialog category;
    QVERIFY(category.fill());
    QVERIFY(!category.checkOk());
    QCOMPARE(messages.numbers(), QList<int>{8});
    category.list()->setCurrentIndex(0);
    QVERIFY(category.checkOk());
    QCOMPARE(category.result().id, shown);
    QCOMPARE(category.result().name, QStringLiteral("Poezie"));
}

void TestReportView::protocolDialogs()
{
    TestLibrary lib;
    MessageRecorder messages;
    const qint32 client = lib.addClient(QStringLiteral("K1"));
    const qint32 b1 = lib.addBook(QStringLiteral("001"));
    const qint32 b2 = lib.addBook(QStringLiteral("002"));
    const qint32 loan = lib.lend({b2, b1}, client, 20260301, 20260401);
    const qint32 ret = lib.giveBack({b1}, 20260310);

    CProtocolChooser loans(ProtocolRequest::Loan);
    QAbstractItemModelTester tester(loans.model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    QCOMPARE(loans.windowTitle(), QStringLiteral("Zvolte výpůjčku pro tisk protokolu"));
    QVERIFY(!loans.checkOk());
    QCOMPARE(messages.numbers(), QList<int>{110});
    loans.numberField()->setText(QString::number(loan));
    QVERIFY(loans.checkOk());
    QCOMPARE(loans.number(), loan);
    QCOMPARE(loans.model()->index(0, 3).data().toString(), QStringLiteral(" 1. 4.2026"));
    QVERIFY(loans.infoLine()->text().contains(QStringLiteral("K1  (Novák Jan)")));

    messages.clear();
    CProtocolChooser returns(ProtocolRequest::Return);
    QCOMPARE(returns.windowTitle(), QStringLiteral("Zvolte vrácení pro tisk protokolu"));
    returns.numberField()->setText(QString::number(ret));
    QVERIFY(returns.checkOk());
    QCOMPARE(returns.model()->columnCount(), 6);
    QCOMPARE(returns.model()->headerData(5, Qt::Horizontal).toString(), QStringLiteral("Prodlení"));

    CProtocolPeriodList period(ProtocolRequest::Loan);
    QCOMPARE(period.windowTitle(), QStringLiteral("Vyberte výpůjčku knih ze seznamu"));
    period.fromField()->clear();
    QVERIFY(!period.search());
    period.fromField()->setText(QStringLiteral("1.13.2026"));
    QVERIFY(!period.search());
    QCOMPARE(messages.numbers(), (QList<int>{112, 114}));
    period.fromField()->setText(QStringLiteral("1.3.2026"));
    QVERIFY(period.search());
    QVERIFY(period.checkOk());
    QCOMPARE(period.chosen(), loan);
    period.list()->selectionModel()->clearSelection();
    messages.clear();
    QVERIFY(!period.checkOk());
    QCOMPARE(messages.numbers(), QList<int>{115});

    // A protocol that cannot be prepared shows its message and opens no print dialog.
    messages.clear();
    printRequestedProtocol(nullptr, ProtocolRequest{ProtocolRequest::Loan, loan + 20});
    QCOMPARE(messages.numbers(), QList<int>{107});

    messages.clear();
    CProtocolPeriodList returnPeriod(ProtocolRequest::Return);
    QCOMPARE(returnPeriod.windowTitle(), QStringLiteral("Vyberte vrácení knih ze seznamu"));
    QVERIFY(!returnPeriod.checkOk());
    QCOMPARE(messages.numbers(), QList<int>{118});
}

void TestReportView::commandsThroughTheFrame()
{
    TestLibrary lib;
    MessageRecorder messages;
    for (const char *code : {"B01", "B02", "B03"})
        lib.addBook(QString::fromLatin1(code));
    CMainFrame frame;
    frame.setViewFactory(ViewSwitchRequest::ReportView, [](QWidget *p) { return new CSestavaView(p); });
    installReportCommands(frame);
    QVERIFY(QFile::exists(QStringLiteral(":/help/5.html")));
    frame.updateCommandStates();
    QVERIFY(frame.action(Cmd::ReportPresent)->isEnabled());
    QVERIFY(!frame.action(Cmd::PrintReport)->isEnabled()); // no report shown yet
    QVERIFY(frame.action(Cmd::PrintLoanProtocol)->isEnabled());

    frame.runCommand(Cmd::ReportPresent);
    auto *view = qobject_cast<CSestavaView *>(frame.view(ViewSwitchRequest::ReportView));
    QCOMPARE(view->model()->rowCount(), 3);
    QCOMPARE(view->reportKind(), 7);
    frame.updateCommandStates();
    // The fixed report that is shown cannot be chosen again; the others can.
    QVERIFY(!frame.action(Cmd::ReportPresent)->isEnabled());
    QVERIFY(frame.action(Cmd::ReportLent)->isEnabled());
    QVERIFY(frame.action(Cmd::PrintReport)->isEnabled());
    frame.runCommand(Cmd::NavLast);
    QCOMPARE(view->selectedIndex(), 2);

    // The notices before a report runs again after a change of the data.
    QCOMPARE(QString::fromUtf8(CSestavaView::NoticeAfterUndoDiscard),
             QStringLiteral("Vzhledem k tomu, že bylo zrušeno vyřazení některé knihy, budou data "
                            "aktualizovány.\nTato akce může chvíli trvat!"));
    QVERIFY(QString::fromUtf8(CSestavaView::NoticeAfterImport)
                .contains(QStringLiteral("import dat ze zálohy,\n")));
}

QTEST_MAIN(TestReportView)
#include "test_reportview.moc"
