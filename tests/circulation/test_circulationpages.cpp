#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "app/rvedit.h"
#include "catalogue/bookdialogs.h"
#include "catalogue/bookmodels.h"
#include "catalogue/undodiscard.h"
#include "circulation/pagecommands.h"
#include "circulation/pagevraceni.h"
#include "circulation/pagevypujcky.h"
#include "circulation/pagevyrazeni.h"
#include "circulation/viewzadavani.h"
#include "data/database.h"
#include "data/statements.h"
#include "registers/clientdialogs.h"
#include "reports/reportmodel.h"
#include "reports/sestavaview.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QtTest>

// The loans, returns and discard pages and the undo-discard dialog, driven as the librarian
// drives them: codes typed and Enter, buttons pressed in turn.
class TestCirculationPages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void loansLookUpBook();
    void loansAddBook();
    void loansClients();
    void loansCommitChecks();
    void loansWithScannerAndKeyboard();
    void loansCommitWritesOneLoan();
    void commitFailureKeepsUnprocessedRows();
    void loansListAndLoanLength();
    void returnsLookUpAndDelay();
    void returnsAddChecks();
    void returnsBatchOfClients();
    void discardPage();
    void discardStopsAtMissingBook();
    void registerChangesReachThePages();
    void bookPickersOfThePages();
    void undoDiscard();
    void inTheFrame();
};

namespace {

// The protocol the entry view was last asked to print.
ProtocolRequest requested(const QSignalSpy &spy)
{
    return spy.isEmpty() ? ProtocolRequest{} : spy.last().at(0).value<ProtocolRequest>();
}

} // namespace

void TestCirculationPages::init()
{
    SettingsRecord &s = AppState::instance().settings;
    s.loanLength = SettingsRecord::Limit;
    s.loanDays = 30;
    s.loanProtocol = SettingsRecord::PrintNever;
    s.returnProtocol = SettingsRecord::PrintNever;
}

void TestCirculationPages::loansLookUpBook()
{
    TestLibrary lib;
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("V1")).discard(20250101));
    const qint32 b = lib.addBook(TestLibrary::BookSpec(QStringLiteral("B1"))
                                     .withTitle(QStringLiteral("Krakatit"), QStringLiteral("Karel Čapek")));
    CPageVypujcky page;
    QVERIFY(exposed(page));
    MessageRecorder rec;

    lookUp(page, QStringLiteral("   "));
    lookUp(page, QStringLiteral("O'Brien"));
    QCOMPARE(text(&page, "bookCode"), QStringLiteral("O'Brien")); // 119 keeps the text for correcting
    lookUp(page, QStringLiteral("NIC"));
    lookUp(page, QStringLiteral("V1")); // discarded: not found, never "lent"
    QCOMPARE(rec.numbers(), (QList<int>{56, 119, 57, 57}));
    QCOMPARE(text(&page, "bookCode"), QString());
    QCOMPARE(page.currentBookId(), -1);

    lookUp(page, QStringLiteral("  B1 "));
    QCOMPARE(page.currentBookId(), b);
    QCOMPARE(text(&page, "title"), QStringLiteral("Krakatit"));
    QCOMPARE(focused(&page), QStringLiteral("add"));

    // A book whose category row is missing is an integrity fault of this page.
    runSql(QStringLiteral("UPDATE KNIHY SET ID_KATEGORIE_KNIHY = 77 WHERE ID_KNIHY_KNIHY = %1").arg(b));
    rec.clear();
    lookUp(page, QStringLiteral("B1"));
    QCOMPARE(rec.numbers(), QList<int>{58});
    QCOMPARE(page.currentBookId(), -1);
}

void TestCirculationPages::loansAddBook()
{
    TestLibrary lib;
    const qint32 k = lib.addClient(QStringLiteral("K1"));
    lib.addBook(QStringLiteral("A"));
    lib.addBook(QStringLiteral("B"));
    const qint32 c = lib.addBook(QStringLiteral("C"));
    CPageVypujcky page;
    QVERIFY(exposed(page));
    MessageRecorder rec;
    const QString defaultDue = dateText(QDate(2026, 4, 14)); // today + 30 days

    page.addBook();
    QCOMPARE(rec.numbers(), QList<int>{60});

    type(&page, "clientCode", QStringLiteral("K1"));
    page.lookUpClient();
    type(&page, "loanDate", QStringLiteral("14.3.2026"));
    type(&page, "due", QStringLiteral("1.4.2026"));
    lookUpAndAdd(page, QStringLiteral("A"));
    // The partial clear after an add: the book goes, the list, client and loan date stay, the
    // return-by date is back at its default.
    QCOMPARE(page.list()->at(0).due, 20260401);
    QCOMPARE(text(&page, "bookCode"), QString());
    QCOMPARE(text(&page, "due"), defaultDue);
    QCOMPARE(text(&page, "clientName"), QStringLiteral("Novák Jan"));
    QCOMPARE(text(&page, "loanDate"), QStringLiteral("14.3.2026"));
    QCOMPARE(focused(&page), QStringLiteral("bookCode"));

    rec.clear();
    lookUpAndAdd(page, QStringLiteral("A")); // twice
    QCOMPARE(rec.numbers(), QList<int>{61});

    // Found while free, lent by the time it is added.
    lookUp(page, QStringLiteral("B"));
    lib.lend({page.currentBookId()}, k, 20260310);
    page.addBook();
    QCOMPARE(rec.numbers(), (QList<int>{61, 62}));
    QCOMPARE(page.currentBookId(), -1);

    // An unreadable return-by date keeps the book for correcting.
    lookUp(page, QStringLiteral("C"));
    type(&page, "due", QStringLiteral("31.2.2026"));
    page.addBook();
    QCOMPARE(rec.numbers(), (QList<int>{61, 62, 66}));
    QCOMPARE(page.currentBookId(), c);
    QCOMPARE(focused(&page), QStringLiteral("due"));
    QCOMPARE(page.list()->size(), 1);
    // Without the limit the book is lent for an unlimited time.
    page.limitToggled(false);
    page.addBook();
    QCOMPARE(codes(page.list()), words("C A")); // new rows on top
    QCOMPARE(page.list()->at(0).due, NoDate);
    QCOMPARE(page.list()->data(page.list()->index(0, 3), Qt::DisplayRole).toString(), QString());
    QVERIFY(child<QCheckBox>(&page, "limit")->isChecked()); // back at the default
}

void TestCirculationPages::loansClients()
{
    TestLibrary lib;
    const qint32 shown = lib.addClient(QStringLiteral("K1"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    const qint32 hidden =
        lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Skrytá"), false);
    CPageVypujcky page;
    QVERIFY(exposed(page));
    MessageRecorder rec;

    page.lookUpClient();
    type(&page, "clientCode", QStringLiteral("K2")); // hidden: not found by its code
    page.lookUpClient();
    QCOMPARE(rec.numbers(), (QList<int>{63, 64}));
    QCOMPARE(text(&page, "clientCode"), QString());

    type(&page, "clientCode", QStringLiteral(" K1 "));
    page.lookUpClient();
    QCOMPARE(page.clientId(), shown);
    QCOMPARE(text(&page, "clientName"), QStringLiteral("Novák Jan"));
    QCOMPARE(focused(&page), QStringLiteral("loanDate"));

    // Chosen from the client list, the hidden client is taken (the loan refuses it later).
    page.clientChosen(QStringLiteral("K2"));
    QCOMPARE(page.clientId(), hidden);
    QCOMPARE(text(&page, "clientName"), QStringLiteral("Skrytá Eva"));

    // The client list: the client chosen is taken with its name.
    onNextModal<CDlgVyberKlienta>([](CDlgVyberKlienta *dialog) {
        dialog->list()->selectRow(0); // the only client in use
        dialog->accept();
    });
    page.pickClient();
    QCOMPARE(page.clientId(), shown);
    QCOMPARE(text(&page, "clientName"), QStringLiteral("Novák Jan"));
    QCOMPARE(focused(&page), QStringLiteral("loanDate"));
}

void TestCirculationPages::loansCommitChecks()
{
    TestLibrary lib;
    lib.addClient(QStringLiteral("K1"));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("NEW")).acquiredOn(20260310));
    lib.addBook(QStringLiteral("OLD"));
    CPageVypujcky page;
    QVERIFY(exposed(page));
    MessageRecorder rec;

    page.lend();
    QCOMPARE(rec.numbers(), QList<int>{67});
    QCOMPARE(focused(&page), QStringLiteral("bookCode"));

    type(&page, "due", QStringLiteral("12.3.2026"));
    lookUpAndAdd(page, QStringLiteral("OLD"));
    lookUpAndAdd(page, QStringLiteral("NEW"));
    rec.clear();
    type(&page, "loanDate", QStringLiteral("dnes"));
    page.lend();
    QCOMPARE(rec.numbers(), QList<int>{68});
    QCOMPARE(focused(&page), QStringLiteral("loanDate"));

    // Loan date after OLD's return-by date and before NEW's acquisition: the return-by date
    // is reported first.
    rec.clear();
    type(&page, "loanDate", QStringLiteral("13.3.2026"));
    page.lend();
    type(&page, "loanDate", QStringLiteral("9.3.2026"));
    page.lend();
    QCOMPARE(rec.numbers(), (QList<int>{83, 85}));

    // Equal dates are allowed on both sides; next comes the client.
    rec.clear();
    type(&page, "loanDate", QStringLiteral("10.3.2026"));
    page.lend();
    QCOMPARE(rec.numbers(), QList<int>{63});
    QCOMPARE(focused(&page), QStringLiteral("clientCode"));

    // The return-by boundary alone: lending on the return-by day is fine, a day later is not.
    page.cancel();
    type(&page, "due", QStringLiteral("12.3.2026"));
    lookUpAndAdd(page, QStringLiteral("OLD"));
    type(&page, "clientCode", QStringLiteral("K1"));
    page.lookUpClient();
    rec.clear();
    type(&page, "loanDate", QStringLiteral("13.3.2026"));
    page.lend();
    QCOMPARE(rec.numbers(), QList<int>{83});
    type(&page, "loanDate", QStringLiteral("12.3.2026"));
    page.lend();
    QCOMPARE(rec.numbers(), QList<int>{83});
    QCOMPARE(lib.rows("VYPUJCKY", "DATUM_PUJCKY = 20260312 AND DATUM_MAX = 20260312"), 1);

    // One book breaking both rules: the return-by date is reported, not the acquisition.
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("NEWEST")).acquiredOn(20260314));
    type(&page, "due", QStringLiteral("12.3.2026"));
    lookUpAndAdd(page, QStringLiteral("NEWEST"));
    page.clientChosen(QStringLiteral("K1"));
    rec.clear();
    type(&page, "loanDate", QStringLiteral("13.3.2026"));
    page.lend();
    QCOMPARE(rec.numbers(), QList<int>{83});
}

// A scanner types the code and Enter; the next Enter presses "Přidat" that the lookup focused.
void TestCirculationPages::loansWithScannerAndKeyboard()
{
    TestLibrary lib;
    const qint32 k = lib.addClient(QStringLiteral("K1"));
    lib.addBook(QStringLiteral("A1"));
    lib.addBook(QStringLiteral("B2"));
    CPageVypujcky page;
    QVERIFY(exposed(page));
    MessageRecorder rec;
    page.onActivate();
    for (const char *code : {"A1", "B2"}) {
        QTest::keyClicks(page.window()->focusWidget(), QString::fromLatin1(code));
        QTest::keyClick(page.window()->focusWidget(), Qt::Key_Return);
        QTest::keyClick(page.window()->focusWidget(), Qt::Key_Return);
    }
    QTest::keyClicks(child<QLineEdit>(&page, "clientCode"), QStringLiteral("K1"));
    QTest::keyClick(child<QLineEdit>(&page, "clientCode"), Qt::Key_Enter);
    auto *lend = child<QPushButton>(&page, "lend");
    lend->setFocus();
    QTest::keyClick(lend, Qt::Key_Return);
    QCOMPARE(lib.rows("KNIHY", "ID_LIDE_KNIHY = ?", {k}), 2);
}

void TestCirculationPages::loansCommitWritesOneLoan()
{
    TestLibrary lib;
    lib.addClient(QStringLiteral("K1"));
    for (const char *code : {"A", "B", "C", "D", "E"})
        lib.addBook(QString::fromLatin1(code));
    CViewZadavani view; // the page's protocol request reaches the entry view
    auto *page = qobject_cast<CPageVypujcky *>(view.page(CViewZadavani::Vypujcky));
    QVERIFY(exposed(view));
    QSignalSpy printed(&view, &CViewZadavani::protocolRequested);
    MessageRecorder rec;
    AppState::instance().settings.loanProtocol = SettingsRecord::PrintOnRequest;

    const qint32 before = lib.ids("ID_VYPUJCKY_FIRSTFREE");
    for (const char *code : {"A", "B", "C"})
        lookUpAndAdd(*page, QString::fromLatin1(code));
    type(page, "clientCode", QStringLiteral("K1"));
    page->lookUpClient();
    rec.answerNext(ResultYes);
    page->lend();
    QCOMPARE(lib.rows("VYPUJCKY", "ID_VYPUJCKY_VYPUJCKY = ? AND DATUM_MAX = 20260414", {before}), 3);
    // The question, then the request for the loan's protocol.
    QCOMPARE(rec.shown().size(), 1);
    QCOMPARE(rec.lastText(), QStringLiteral("Přejete si vytisknout protokol o právě provedené výpůjčce?"));
    QCOMPARE(printed.size(), 1);
    QCOMPARE(requested(printed).number, before);
    // Full clear after the loan.
    QVERIFY(page->list()->isEmpty());
    QCOMPARE(page->clientId(), -1);
    QCOMPARE(focused(page), QStringLiteral("bookCode"));

    // "No" prints nothing. ("Tisknout vždy" prints without asking: in the frame below.)
    lookUpAndAdd(*page, QStringLiteral("D"));
    page->clientChosen(QStringLiteral("K1"));
    rec.clear();
    rec.answerNext(ResultNo);
    page->lend();
    QCOMPARE(rec.shown().size(), 1);
    QCOMPARE(printed.size(), 1);

    // Turning to another page and back clears the loans page.
    lookUpAndAdd(*page, QStringLiteral("E"));
    page->clientChosen(QStringLiteral("K1"));
    view.setActivePage(CViewZadavani::Vraceni);
    view.setActivePage(CViewZadavani::Vypujcky);
    QVERIFY(page->list()->isEmpty());
    QCOMPARE(page->clientId(), -1);
}

// A batch that fails in the middle: the message of the page, the rows not yet processed stay in
// the list (the core rolls the whole batch back), a partial clear keeps the client or the date.
void TestCirculationPages::commitFailureKeepsUnprocessedRows()
{
    TestLibrary lib;
    const qint32 k = lib.addClient(QStringLiteral("K1"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 b = lib.addBook(QStringLiteral("B"));
    const qint32 c = lib.addBook(QStringLiteral("C"));
    MessageRecorder rec;
    {
        CPageVypujcky page;
        QVERIFY(exposed(page));
        for (const char *code : {"A", "B", "C"})
            lookUpAndAdd(page, QString::fromLatin1(code));
        page.clientChosen(QStringLiteral("K1"));
        runSql(QStringLiteral("DELETE FROM KNIHY WHERE ID_KNIHY_KNIHY = %1").arg(b));
        page.lend();
        QCOMPARE(rec.numbers(), QList<int>{59});
        QCOMPARE(codes(page.list()), words("C B")); // A, the last row, was written first
        QVERIFY(page.clientId() != -1);
    }
    lib.lend({a, c}, k, 20260301);
    const qint32 b2 = lib.addBook(QStringLiteral("B"));
    lib.lend({b2}, k, 20260301);
    CPageVraceni page;
    QVERIFY(exposed(page));
    for (const char *code : {"A", "B", "C"})
        lookUpAndAdd(page, QString::fromLatin1(code));
    rec.clear();
    runSql(QStringLiteral("DELETE FROM VYPUJCKY WHERE ID_KNIHY_VYPUJCKY = %1").arg(b2));
    page.giveBack();
    QCOMPARE(rec.numbers(), QList<int>{72});
    QCOMPARE(codes(page.list()), words("C B"));
    QCOMPARE(page.fixedReturnDate(), 20260315);
}

void TestCirculationPages::loansListAndLoanLength()
{
    TestLibrary lib;
    lib.addBook(
        TestLibrary::BookSpec(QStringLiteral("B2")).withTitle(QStringLiteral("Čtení"), QStringLiteral("Z")));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("A1"))
                    .withTitle(QStringLiteral("Zahrada"), QStringLiteral("Y")));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("C3"))
                    .withTitle(QStringLiteral("Abeceda"), QStringLiteral("X")));
    CPageVypujcky page;
    QAbstractItemModelTester tester(page.list(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(exposed(page));
    MessageRecorder rec;

    type(&page, "due", QStringLiteral("20.4.2026"));
    lookUpAndAdd(page, QStringLiteral("B2"));
    page.limitToggled(false);
    lookUpAndAdd(page, QStringLiteral("A1"));
    type(&page, "due", QStringLiteral("1.4.2026"));
    lookUpAndAdd(page, QStringLiteral("C3"));
    QCOMPARE(codes(page.list()), words("C3 A1 B2"));

    page.list()->sortByColumn(3); // by the return-by date: unlimited first
    QCOMPARE(codes(page.list()), words("A1 C3 B2"));
    page.list()->sortByColumn(0);
    QCOMPARE(codes(page.list()), words("A1 B2 C3"));
    page.list()->sortByColumn(0); // no descending toggle
    QCOMPARE(codes(page.list()), words("A1 B2 C3"));
    page.list()->sortByColumn(1); // titles byte-wise: "Č" sorts after every ASCII letter
    QCOMPARE(codes(page.list()), words("C3 A1 B2"));

    page.removeSelected();
    QCOMPARE(rec.numbers(), QList<int>{52});
    selectRows(child<QTableView>(&page, "list"), {0, 2});
    page.removeSelected();
    QCOMPARE(codes(page.list()), words("A1"));

    // The loan length follows the settings when they change.
    AppState::instance().settings.loanDays = 14;
    page.settingsChanged();
    QCOMPARE(text(&page, "due"), QStringLiteral("29. 3.2026"));
    AppState::instance().settings.loanLength = SettingsRecord::NoLimit;
    page.settingsChanged();
    QCOMPARE(text(&page, "due"), QString());
    page.limitToggled(true); // by hand without a configured length: today
    QCOMPARE(text(&page, "due"), QStringLiteral("15. 3.2026"));
}

void TestCirculationPages::returnsLookUpAndDelay()
{
    TestLibrary lib;
    const qint32 k = lib.addClient(QStringLiteral("K7"), QStringLiteral("Eva"), QStringLiteral("Malá"));
    const qint32 due = lib.addBook(QStringLiteral("DUE"));
    const qint32 open = lib.addBook(QStringLiteral("OPEN"));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("GONE")).discard());
    lib.lend({due}, k, 20260301, 20260315);
    lib.lend({open}, k, 20260302);
    // Once the client has been hidden the book is still returned normally.
    runSql(QStringLiteral("UPDATE LIDE SET UKAZOVAT = 0"));
    CPageVraceni page;
    QVERIFY(exposed(page));
    MessageRecorder rec;

    lookUp(page, QString());
    lookUp(page, QStringLiteral("GONE"));
    QCOMPARE(rec.numbers(), (QList<int>{69, 70}));
    QCOMPARE(page.fixedReturnDate(), NoDate);

    // An unreadable return date is reported at the first lookup.
    rec.clear();
    type(&page, "returnDate", QStringLiteral("32.3.2026"));
    lookUp(page, QStringLiteral("DUE"));
    QCOMPARE(rec.numbers(), QList<int>{73});
    QCOMPARE(focused(&page), QStringLiteral("returnDate"));
    QCOMPARE(page.currentBookId(), -1);

    // Returned on the return-by day: no delay.
    type(&page, "returnDate", QStringLiteral("15.3.2026"));
    lookUp(page, QStringLiteral("DUE"));
    QCOMPARE(page.currentBookId(), due);
    QCOMPARE(page.fixedReturnDate(), 20260315);
    QVERIFY(!child<QLineEdit>(&page, "returnDate")->isEnabled());
    QCOMPARE(text(&page, "loanDate"), QStringLiteral(" 1. 3.2026"));
    QCOMPARE(text(&page, "delay"), QString());
    QCOMPARE(focused(&page), QStringLiteral("add"));

    // The date stays fixed for the batch even when the field is changed meanwhile.
    type(&page, "returnDate", QStringLiteral("20.3.2026"));
    lookUp(page, QStringLiteral("OPEN"));
    QCOMPARE(page.fixedReturnDate(), 20260315);
    QCOMPARE(text(&page, "delay"), QString()); // an unlimited loan is never late

    // A day later: one day late.
    page.cancel();
    QCOMPARE(text(&page, "returnDate"), QStringLiteral("15. 3.2026"));
    type(&page, "returnDate", QStringLiteral("16.3.2026"));
    lookUpAndAdd(page, QStringLiteral("DUE"));
    QCOMPARE(page.list()->at(0).delay, 1);
    QCOMPARE(page.list()->at(0).returnDate, 20260316);
    QCOMPARE(rec.numbers(), QList<int>{73});
}

void TestCirculationPages::returnsAddChecks()
{
    TestLibrary lib;
    const qint32 k = lib.addClient(QStringLiteral("K1"));
    lib.addBook(QStringLiteral("FREE"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 b = lib.addBook(QStringLiteral("B"));
    lib.lend({a}, k, 20260310);
    lib.lend({b}, k, 20260311);
    CPageVraceni page;
    QVERIFY(exposed(page));
    MessageRecorder rec;

    page.addBook();
    lookUpAndAdd(page, QStringLiteral("FREE"));
    QCOMPARE(rec.numbers(), (QList<int>{74, 75}));
    QCOMPARE(focused(&page), QStringLiteral("bookCode"));

    // The holder decides, not VYPUJCENO.
    runSql(QStringLiteral("UPDATE KNIHY SET VYPUJCENO = 0 WHERE ID_KNIHY_KNIHY = %1").arg(a));
    // The batch is returned on 10 March: the loan day of A, a day before B's.
    rec.clear();
    page.cancel();
    type(&page, "returnDate", QStringLiteral("10.3.2026"));
    lookUpAndAdd(page, QStringLiteral("A"));
    lookUpAndAdd(page, QStringLiteral("B"));
    QCOMPARE(rec.numbers(), QList<int>{84});
    QCOMPARE(page.currentBookId(), -1);
    lookUpAndAdd(page, QStringLiteral("A"));
    QCOMPARE(rec.numbers(), (QList<int>{84, 77}));
    QCOMPARE(codes(page.list()), words("A"));

    page.removeSelected();
    QCOMPARE(rec.numbers(), (QList<int>{84, 77, 76}));
    selectRows(child<QTableView>(&page, "list"), {0});
    page.removeSelected();
    QVERIFY(page.list()->isEmpty());
    rec.clear();
    page.giveBack();
    QCOMPARE(rec.numbers(), QList<int>{78});
    QCOMPARE(page.fixedReturnDate(), 20260310); // the batch keeps its date
}

void TestCirculationPages::returnsBatchOfClients()
{
    TestLibrary lib;
    const qint32 k1 = lib.addClient(QStringLiteral("K1"));
    const qint32 k2 = lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Malá"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 b = lib.addBook(QStringLiteral("B"));
    const qint32 c = lib.addBook(QStringLiteral("C"));
    lib.lend({a, b}, k1, 20260301, 20260310);
    lib.lend({c}, k2, 20260305);
    CViewZadavani view;
    auto *page = qobject_cast<CPageVraceni *>(view.page(CViewZadavani::Vraceni));
    view.setActivePage(CViewZadavani::Vraceni);
    QVERIFY(exposed(view));
    QSignalSpy printed(&view, &CViewZadavani::protocolRequested);
    MessageRecorder rec;
    AppState::instance().settings.returnProtocol = SettingsRecord::PrintOnRequest;
    const qint32 before = lib.ids("ID_VRACENI_FIRSTFREE");

    for (const char *code : {"A", "C", "B"})
        lookUpAndAdd(*page, QString::fromLatin1(code));
    QCOMPARE(page->list()->at(2).delay, 5);
    rec.answerNext(ResultYes);
    page->giveBack();
    QCOMPARE(rec.numbers(), QList<int>{0});
    QCOMPARE(rec.lastText(),
             QStringLiteral("Přejete si vytisknout protokol o právě provedeném vrácení knih?"));
    QCOMPARE(printed.size(), 1);
    QCOMPARE(requested(printed).kind, int(ProtocolRequest::Return));
    QCOMPARE(requested(printed).number, before);
    // One return number for the batch of both clients, on the batch's date.
    QCOMPARE(lib.rows("VRACENI", "ID_VRACENI_VRACENI = ? AND DATUM_VRACENI = 20260315", {before}), 3);
    // Full clear: the date is free again.
    QVERIFY(page->list()->isEmpty());
    QCOMPARE(page->fixedReturnDate(), NoDate);
    QVERIFY(child<QLineEdit>(page, "returnDate")->isEnabled());
    QCOMPARE(focused(page), QStringLiteral("bookCode"));
}

void TestCirculationPages::discardPage()
{
    TestLibrary lib;
    const qint32 k = lib.addClient(QStringLiteral("K1"));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("A")).acquiredOn(20260310).numbered(417));
    const qint32 lent = lib.addBook(QStringLiteral("L"));
    lib.lend({lent}, k, 20260301);
    lib.addBook(QStringLiteral("B"));
    CPageVyrazeni page;
    QVERIFY(exposed(page));
    MessageRecorder rec;

    page.discard();
    lookUp(page, QString());
    page.addBook();
    QCOMPARE(rec.numbers(), (QList<int>{54, 48, 50}));

    lookUp(page, QStringLiteral("A"));
    QCOMPARE(text(&page, "accession"), QStringLiteral("417"));
    QCOMPARE(focused(&page), QStringLiteral("add"));
    page.addBook();
    lookUpAndAdd(page, QStringLiteral("A"));
    QCOMPARE(rec.numbers(), (QList<int>{54, 48, 50, 51}));

    // A lent book is found but cannot be added; it stays shown.
    rec.clear();
    lookUpAndAdd(page, QStringLiteral("L"));
    QCOMPARE(rec.numbers(), QList<int>{53});
    QCOMPARE(page.currentBookId(), lent);
    QCOMPARE(focused(&page), QStringLiteral("bookCode"));
    lookUpAndAdd(page, QStringLiteral("B"));
    QCOMPARE(codes(page.list()), words("B A"));

    rec.clear();
    type(&page, "discardDate", QStringLiteral("zítra"));
    page.discard();
    type(&page, "discardDate", QStringLiteral("9.3.2026")); // a day before A was acquired
    page.discard();
    QCOMPARE(rec.numbers(), (QList<int>{55, 86}));
    QCOMPARE(focused(&page), QStringLiteral("discardDate"));

    // On the acquisition day it may go; "No" to the question leaves everything as it was.
    rec.clear();
    type(&page, "discardDate", QStringLiteral("10.3.2026"));
    rec.answerNext(ResultNo);
    page.discard();
    QCOMPARE(rec.shown().size(), 1);
    QCOMPARE(rec.lastText(), QStringLiteral("Pozor, skutečně chcete vyřadit uvedené knihy?"));
    QCOMPARE(rec.shown().last().buttons, int(ButtonsYesNoIrreversible));
    QCOMPARE(page.list()->size(), 2);
    QCOMPARE(lib.rows("KNIHY", "VYRAZENO"), 0);

    rec.answerNext(ResultYes);
    page.discard();
    QCOMPARE(lib.rows("KNIHY", "VYRAZENO AND DATUM_VYRAZENI = 20260310"), 2);
    QVERIFY(page.list()->isEmpty());
    QCOMPARE(text(&page, "discardDate"), QStringLiteral("15. 3.2026"));
}

void TestCirculationPages::discardStopsAtMissingBook()
{
    TestLibrary lib;
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 b = lib.addBook(QStringLiteral("B"));
    lib.addBook(QStringLiteral("C"));
    CPageVyrazeni page;
    QVERIFY(exposed(page));
    MessageRecorder rec;
    for (const char *code : {"A", "B", "C"})
        lookUpAndAdd(page, QString::fromLatin1(code));
    runSql(QStringLiteral("DELETE FROM KNIHY WHERE ID_KNIHY_KNIHY = %1").arg(b));
    rec.answerNext(ResultYes);
    page.discard();
    QCOMPARE(rec.numbers(), (QList<int>{0, 47}));
    // A, processed first, stays discarded; B and what follows it stay in the list.
    QCOMPARE(lib.rows("KNIHY", "VYRAZENO AND ID_KNIHY_KNIHY = ?", {a}), 1);
    QCOMPARE(lib.rows("KNIHY", "VYRAZENO"), 1);
    QCOMPARE(codes(page.list()), words("C B"));
}

namespace {

// What the book picker offered: its prompt and its codes. Chooses `code` in it, or cancels.
struct PickerSeen
{
    QString prompt;
    QStringList codes;
};

void answerBookPicker(PickerSeen *seen, const QString &code)
{
    onNextModal<CBookPickerDialog>([seen, code](CBookPickerDialog *dialog) {
        for (const QLabel *l : dialog->findChildren<QLabel *>())
            if (l->text().startsWith(QStringLiteral("Vyberte")))
                seen->prompt = l->text();
        for (int r = 0; r < dialog->model()->rowCount(); ++r) {
            seen->codes << dialog->model()->row(r).code;
            if (dialog->model()->row(r).code == code)
                dialog->view()->selectRow(r);
        }
        if (!code.isEmpty())
            dialog->tryAccept();
    });
}

} // namespace

// Each page offers the books it can take, and looks the chosen one up.
void TestCirculationPages::bookPickersOfThePages()
{
    TestLibrary lib;
    const qint32 k = lib.addClient(QStringLiteral("K1"));
    const qint32 free = lib.addBook(QStringLiteral("FREE"));
    const qint32 lent = lib.addBook(QStringLiteral("LENT"));
    const qint32 gone = lib.addBook(TestLibrary::BookSpec(QStringLiteral("GONE")).discard());
    lib.lend({lent}, k, 20260301);
    MessageRecorder rec;

    CPageVypujcky loans;
    QVERIFY(exposed(loans));
    CPageVraceni returns;
    CPageVyrazeni discard;
    CUndoDiscardDialog dialog;
    QVERIFY(dialog.prepare());
    struct Case
    {
        std::function<void()> pick;
        std::function<qint32()> chosen;
        const char *prompt, *offered, *choose; // choose nothing: cancelled, nothing happens
        qint32 expected;
    };
    const Case cases[] = {
        {[&] { loans.pickBook(); }, [&] { return loans.currentBookId(); },
         "Vyberte knihu ze seznamu knih, které je možné vypůjčit.", "FREE", "FREE", free},
        {[&] { returns.pickBook(); }, [&] { return returns.currentBookId(); },
         "Vyberte knihu ze seznamu knih, které je možné vrátit.", "LENT", "LENT", lent},
        {[&] { discard.pickBook(); }, [&] { return discard.currentBookId(); },
         "Vyberte knihu ze seznamu knih, které je možné vyřadit.", "FREE", "", -1},
        {[&] { dialog.pickBook(); }, [&] { return dialog.bookId(); },
         "Vyberte knihu ze seznamu vyřazených knih.", "GONE", "GONE", gone},
    };
    for (const Case &c : cases) {
        PickerSeen seen;
        answerBookPicker(&seen, QString::fromUtf8(c.choose));
        c.pick();
        QCOMPARE(seen.prompt, QString::fromUtf8(c.prompt));
        QCOMPARE(seen.codes, words(c.offered));
        QCOMPARE(c.chosen(), c.expected);
    }
    QVERIFY(rec.shown().isEmpty());
}

// Renamed or removed clients and categories, and books moved between categories, show at once
// on the page that holds them.
void TestCirculationPages::registerChangesReachThePages()
{
    TestLibrary lib;
    const qint32 fiction = lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 poetry = lib.addCategory(QStringLiteral("Poezie"));
    const qint32 k1 = lib.addClient(QStringLiteral("K1"));
    const qint32 k2 = lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Malá"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 lent = lib.addBook(QStringLiteral("L"));
    lib.lend({lent}, k2, 20260301);
    MessageRecorder rec;

    CPageVypujcky loans;
    lookUp(loans, QStringLiteral("A"));
    loans.clientChosen(QStringLiteral("K1"));
    loans.clientChanged(k2, QStringLiteral("X"), QStringLiteral("Jiný"), QStringLiteral("Klient"));
    QCOMPARE(text(&loans, "clientName"), QStringLiteral("Novák Jan"));
    loans.clientChanged(k1, QStringLiteral("K1B"), QStringLiteral("Nováková"), QStringLiteral("Jana"));
    QCOMPARE(text(&loans, "clientCode"), QStringLiteral("K1B"));
    QCOMPARE(text(&loans, "clientName"), QStringLiteral("Nováková Jana"));
    loans.categoryRenamed(fiction, QStringLiteral("Beletrie"), QStringLiteral("Próza"));
    QCOMPARE(text(&loans, "category"), QStringLiteral("Próza"));
    runSql(QStringLiteral("UPDATE KNIHY SET ID_KATEGORIE_KNIHY = %1 WHERE ID_KNIHY_KNIHY = %2")
               .arg(poetry)
               .arg(a));
    loans.categoriesChanged();
    QCOMPARE(text(&loans, "category"), QStringLiteral("Poezie"));
    loans.clientRemoved(k1);
    QCOMPARE(text(&loans, "clientCode"), QString());
    QCOMPARE(text(&loans, "clientName"), QString());

    CPageVraceni returns;
    lookUp(returns, QStringLiteral("L"));
    returns.clientChanged(k2, QStringLiteral("K2"), QStringLiteral("Veliká"), QStringLiteral("Eva"));
    QCOMPARE(text(&returns, "client"), QStringLiteral("K2  (Veliká Eva)"));
    returns.categoryRenamed(fiction, QStringLiteral("Beletrie"), QStringLiteral("Próza"));
    QCOMPARE(text(&returns, "category"), QStringLiteral("Próza"));

    CPageVyrazeni discard;
    lookUp(discard, QStringLiteral("A"));
    discard.categoryRenamed(poetry, QStringLiteral("Poezie"), QStringLiteral("Verše"));
    QCOMPARE(text(&discard, "category"), QStringLiteral("Verše"));
    QVERIFY(rec.shown().isEmpty());
}

void TestCirculationPages::undoDiscard()
{
    TestLibrary lib;
    const qint32 fiction = lib.addCategory(QStringLiteral("Beletrie"));
    lib.addCategory(QStringLiteral("Zrušená"), false);
    const qint32 poetry = lib.addCategory(QStringLiteral("Poezie"));
    const qint32 v1 = lib.addBook(TestLibrary::BookSpec(QStringLiteral("V1")).in(fiction).discard(20250601));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("V2")).in(fiction).discard(20250601));
    lib.addBook(QStringLiteral("STOCK"));

    CUndoDiscardDialog dialog;
    QVERIFY(dialog.prepare());
    QVERIFY(exposed(dialog));
    MessageRecorder rec;
    auto *categories = child<QComboBox>(&dialog, "categories");
    QCOMPARE(categories->count(), 2); // only the categories in use
    QVERIFY(!categories->isEnabled());

    dialog.restore();
    dialog.lookUp();
    type(&dialog, "code", QStringLiteral("STOCK")); // in stock, not discarded
    dialog.lookUp();
    QCOMPARE(rec.numbers(), (QList<int>{121, 121, 122}));

    type(&dialog, "code", QStringLiteral("V1"));
    QTest::keyClick(child<QLineEdit>(&dialog, "code"), Qt::Key_Return); // Enter looks up, never restores
    QCOMPARE(dialog.bookId(), v1);
    QVERIFY(categories->isEnabled());
    QCOMPARE(categories->currentIndex(), -1); // the former category is not proposed
    QCOMPARE(focused(&dialog), QStringLiteral("restore"));
    rec.clear();
    dialog.restore();
    QCOMPARE(rec.numbers(), QList<int>{124});
    QCOMPARE(lib.rows("KNIHY", "VYRAZENO"), 2);
    QVERIFY(!dialog.restored());

    dialog.chooseCategory(poetry);
    categories->setFocus();
    QTest::keyClick(categories, Qt::Key_Return); // Enter restores
    QCOMPARE(rec.numbers(), QList<int>{124});
    QVERIFY(dialog.restored());
    QVERIFY(dialog.isVisible()); // stays open for the next book
    QVERIFY(dialog.isSearching());
    QCOMPARE(lib.count(QStringLiteral("SELECT ID_KATEGORIE_KNIHY FROM KNIHY WHERE NOT VYRAZENO AND "
                                      "ID_KNIHY_KNIHY = %1")
                           .arg(v1)),
             poetry);

    // A database failure during a restore closes the dialog; the earlier success is kept.
    type(&dialog, "code", QStringLiteral("V2"));
    dialog.lookUp();
    dialog.chooseCategory(fiction);
    runSql(QStringLiteral("CREATE TRIGGER fail BEFORE UPDATE ON KNIHY BEGIN SELECT RAISE(ABORT, 'x'); END"));
    rec.clear();
    dialog.restore();
    QCOMPARE(rec.numbers(), QList<int>{123});
    QVERIFY(!dialog.isVisible());
    QVERIFY(dialog.restored());
    QCOMPARE(lib.rows("KNIHY", "VYRAZENO"), 1);
}

namespace {

// Runs "Zrušení vyřazení knihy..." from the frame, restoring the given codes in the open dialog.
void undoDiscardThroughFrame(CMainFrame &frame, const QStringList &restoreCodes, qint32 category)
{
    onNextModal<CUndoDiscardDialog>([restoreCodes, category](CUndoDiscardDialog *dialog) {
        for (const QString &code : restoreCodes) {
            type(dialog, "code", code);
            dialog->lookUp();
            dialog->chooseCategory(category);
            dialog->restore();
        }
    });
    frame.runCommand(Cmd::UndoDiscard);
}

} // namespace

// In the program's frame: "Zrušení vyřazení knihy..." works in every view; only the report view
// refreshes, once, after the dialog, and turns the entry sheet to the loans page. The entry view
// hands the loan's protocol to the print dialog.
void TestCirculationPages::inTheFrame()
{
    TestLibrary lib;
    lib.addClient(QStringLiteral("K1"));
    lib.addBook(QStringLiteral("A"));
    const qint32 category = lib.addCategory(QStringLiteral("Beletrie"));
    for (const char *code : {"V1", "V2", "V3"}) {
        lib.addBook(TestLibrary::BookSpec(QString::fromLatin1(code)).discard());
    }
    MessageRecorder rec;
    CMainFrame frame;
    frame.setViewFactory(ViewSwitchRequest::EntryView, [](QWidget *p) { return new CViewZadavani(p); });
    frame.setViewFactory(ViewSwitchRequest::ReportView, [](QWidget *p) { return new CSestavaView(p); });
    installCirculationCommands(frame);
    QVERIFY(exposed(frame));
    QVERIFY(frame.switchView(ViewSwitchRequest{}));
    auto *entry = qobject_cast<CViewZadavani *>(frame.view(ViewSwitchRequest::EntryView));
    entry->setActivePage(CViewZadavani::Vyrazeni);

    ViewSwitchRequest discarded;
    discarded.target = ViewSwitchRequest::ReportView;
    discarded.sql = QString::fromUtf8(Stmt::ReportDiscarded);
    discarded.title = QStringLiteral("Knihy vyřazené");
    discarded.reportKind = 6;
    QVERIFY(frame.switchView(discarded));
    auto *report = qobject_cast<CSestavaView *>(frame.view(ViewSwitchRequest::ReportView));

    undoDiscardThroughFrame(frame, {}, category);
    QVERIFY(rec.shown().isEmpty()); // nothing restored, nothing to refresh
    undoDiscardThroughFrame(frame, {QStringLiteral("V1"), QStringLiteral("V2")}, category);
    QCOMPARE(rec.shown().size(), 1);
    QCOMPARE(rec.lastText(), QString::fromUtf8(CSestavaView::NoticeAfterUndoDiscard));
    QCOMPARE(report->model()->rowCount(), 1);
    QCOMPARE(frame.activeTarget(), int(ViewSwitchRequest::ReportView));
    QCOMPARE(entry->activeIndex(), int(CViewZadavani::Vypujcky));

    // From the entry view: restored, no notice.
    QVERIFY(frame.switchView(ViewSwitchRequest{}));
    undoDiscardThroughFrame(frame, {QStringLiteral("V3")}, category);
    QCOMPARE(lib.rows("KNIHY", "VYRAZENO"), 0);
    QCOMPARE(rec.shown().size(), 1);

    AppState::instance().settings.loanProtocol = SettingsRecord::PrintAlways;
    auto *loans = entry->activePageAs<CPageVypujcky>();
    lookUpAndAdd(*loans, QStringLiteral("A"));
    loans->clientChosen(QStringLiteral("K1"));
    QString printTitle;
    onNextModal([&printTitle](QDialog *dialog) { printTitle = dialog->windowTitle(); });
    loans->lend();
    QCOMPARE(printTitle, QStringLiteral("Tisk"));
    QCOMPARE(rec.shown().size(), 1); // no question, nor a protocol that could not be prepared
}

QTEST_MAIN(TestCirculationPages)
#include "test_circulationpages.moc"
