#include "app/appstate.h"
#include "catalogue/undodiscard.h"
#include "circulation/circulationcore.h"
#include "circulation/pagevraceni.h"
#include "circulation/pagevypujcky.h"
#include "circulation/pagevyrazeni.h"
#include "registers/categorydialogs.h"
#include "registers/registercore.h"
#include "registers/registerwidgets.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QComboBox>
#include <QtTest>

// Another desk of a server library got there first between the librarian's look-up and the
// command: the page refuses with the message its own check gives for that state, puts the focus
// where that check does, and keeps its list as it was. The other desk is played by the core's
// writes in between.
class TestRacePages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void loansPage();
    void returnsAndDiscardPages();
    void undoDiscardDialog();
    void moveDialog();
};

void TestRacePages::init()
{
    SettingsRecord &s = AppState::instance().settings;
    s.loanProtocol = SettingsRecord::PrintNever;
    s.returnProtocol = SettingsRecord::PrintNever;
}

void TestRacePages::loansPage()
{
    struct Case
    {
        const char *name;
        std::function<void(TestLibrary &, qint32 book, qint32 client)> otherDesk;
        int message;
        const char *focus; // the client's code is cleared when it gets the focus
    };
    const QList<Case> cases = {
        {"book lent meanwhile",
         [](TestLibrary &lib, qint32 book, qint32) {
             lib.lend({book}, lib.addClient(QStringLiteral("JINY")), 20260315);
         },
         62, "bookCode"},
        {"book discarded meanwhile",
         [](TestLibrary &, qint32 book, qint32) {
             QVERIFY(discardBook(book, 20260315) == Meanwhile::Nothing);
         },
         57, "bookCode"},
        {"client removed meanwhile",
         [](TestLibrary &, qint32, qint32 client) { QVERIFY(Registers::hideClient(client)); }, 64,
         "clientCode"},
    };
    for (const Case &c : cases) {
        TestLibrary lib;
        const qint32 client = lib.addClient(QStringLiteral("K1"));
        lib.addBook(QStringLiteral("A"));
        const qint32 b = lib.addBook(QStringLiteral("B"));
        CPageVypujcky page;
        QVERIFY(exposed(page));
        MessageRecorder rec;
        lookUpAndAdd(page, QStringLiteral("A"));
        lookUpAndAdd(page, QStringLiteral("B")); // on top: written after A
        type(&page, "clientCode", QStringLiteral("K1"));
        page.lookUpClient();
        c.otherDesk(lib, b, client);
        rec.clear();
        page.lend();
        QVERIFY2(rec.numbers() == QList<int>{c.message}, c.name);
        QCOMPARE(focused(&page), QString::fromLatin1(c.focus));
        QCOMPARE(codes(page.list()), (QStringList{QStringLiteral("B"), QStringLiteral("A")}));
        QCOMPARE(text(&page, "clientCode").isEmpty(), qstrcmp(c.focus, "clientCode") == 0);
    }
}

void TestRacePages::returnsAndDiscardPages()
{
    TestLibrary lib;
    const qint32 client = lib.addClient(QStringLiteral("K1"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    MessageRecorder rec;

    // A return: the book was returned at another desk; it is not lent any more.
    lib.lend({a}, client, 20260301);
    {
        CPageVraceni page;
        QVERIFY(exposed(page));
        lookUpAndAdd(page, QStringLiteral("A"));
        lib.giveBack({a}, 20260310);
        rec.clear();
        page.giveBack();
        QCOMPARE(rec.numbers(), QList<int>{75});
        QCOMPARE(focused(&page), QStringLiteral("bookCode"));
        QCOMPARE(codes(page.list()), QStringList{QStringLiteral("A")});
    }

    // A discard: each book in a transaction of its own, from the bottom row. C goes; B was lent
    // (or discarded) at another desk meanwhile and stays in the list with the refusal of
    // "Přidat" (or of the look-up).
    const QList<std::pair<std::function<void(qint32)>, int>> cases = {
        {[&](qint32 book) { lib.lend({book}, client, 20260312); }, 53},
        {[&](qint32 book) { QVERIFY(discardBook(book, 20260312) == Meanwhile::Nothing); }, 45},
    };
    for (const auto &[otherDesk, message] : cases) {
        const QString tag = QString::number(message);
        const qint32 b = lib.addBook(QStringLiteral("B") + tag);
        lib.addBook(QStringLiteral("C") + tag);
        CPageVyrazeni page;
        QVERIFY(exposed(page));
        lookUpAndAdd(page, QStringLiteral("C") + tag);
        lookUpAndAdd(page, QStringLiteral("B") + tag); // on top: discarded after C
        otherDesk(b);
        rec.clear();
        rec.answerNext(ResultYes);
        page.discard();
        QCOMPARE(rec.numbers(), (QList<int>{0, message})); // the question, then the refusal
        QCOMPARE(focused(&page), QStringLiteral("bookCode"));
        QCOMPARE(codes(page.list()), QStringList{QStringLiteral("B") + tag}); // C went first
    }
}

void TestRacePages::undoDiscardDialog()
{
    TestLibrary lib;
    const qint32 fiction = lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 book =
        lib.addBook(TestLibrary::BookSpec(QStringLiteral("V1")).in(fiction).discard(20250601));
    MessageRecorder rec;
    CUndoDiscardDialog dialog;
    QVERIFY(dialog.prepare());
    QVERIFY(exposed(dialog));
    type(&dialog, "code", QStringLiteral("V1"));
    dialog.lookUp();
    dialog.chooseCategory(fiction);
    QVERIFY(restoreBook(book, fiction) == Meanwhile::Nothing); // the other desk
    rec.clear();
    dialog.restore();
    QCOMPARE(rec.numbers(), QList<int>{122});
    QVERIFY(dialog.isVisible() && dialog.isSearching() && !dialog.restored()); // back to the code
    QCOMPARE(focused(&dialog), QStringLiteral("code"));
}

void TestRacePages::moveDialog()
{
    // Books moved into a category that another desk removed meanwhile: the category's message,
    // nothing written, and both halves start again from the categories now in use.
    TestLibrary lib;
    const qint32 from = lib.addCategory(QStringLiteral("Próza"));
    const qint32 to = lib.addCategory(QStringLiteral("Poezie"));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("P1")).in(from));
    MessageRecorder rec;
    CDlgPresunKategorie dialog;
    QVERIFY(exposed(dialog));
    dialog.combo(0)->setCurrentIndex(dialog.combo(0)->findText(QStringLiteral("Próza")));
    dialog.combo(1)->setCurrentIndex(dialog.combo(1)->findText(QStringLiteral("Poezie")));
    dialog.list(0)->selectAll();
    QVERIFY(dialog.moveSelected(0));
    QVERIFY(Registers::hideCategory(to)); // the other desk: the category was empty
    QVERIFY(!dialog.apply());
    QCOMPARE(rec.numbers(), QList<int>{4});
    QCOMPARE(lib.rows("KNIHY", "ID_KATEGORIE_KNIHY = ?", {from}), 1);
    QCOMPARE(dialog.combo(1)->findText(QStringLiteral("Poezie")), -1);
    QCOMPARE(dialog.combo(0)->currentIndex(), -1);
    QCOMPARE(dialog.model(0)->rowCount() + dialog.model(1)->rowCount(), 0);
    QVERIFY(dialog.combo(0)->isEnabled() && !dialog.applyButton()->isEnabled());
}

QTEST_MAIN(TestRacePages)
#include "test_racepages.moc"
