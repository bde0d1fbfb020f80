#include "app/appstate.h"
#include "app/rvedit.h"
#include "catalogue/bookform.h"
#include "catalogue/pagenoveknihy.h"
#include "catalogue/pageopravy.h"
#include "circulation/pagevyrazeni.h"
#include "data/consistency.h"
#include "data/database.h"
#include "registers/registercommands.h"
#include "registers/registercore.h"
#include "robust/faultvfs.h"
#include "robust/robustsupport.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QtTest>

// The pages and dialogs on a disk that refuses writes: each shows its own database message, the
// library keeps every row as it was (the IDS counters too) and the check finds nothing.
class TestFaultPages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup() { FaultVfs::disarm(); }
    void bookPages();
    void registerDialogs();
};

namespace {

// Arms the disk, runs the action, disarms; the last message must be the page's own and the
// library unchanged and sound.
#define EXPECT_REFUSED(allowedWrites, message, action)                                                       \
    do {                                                                                                     \
        const QStringList before_ = tableSnapshot();                                                         \
        rec.clear();                                                                                         \
        FaultVfs::failAfter(allowedWrites,                                                                   \
                            (allowedWrites) % 2 ? FaultVfs::Failure::Full : FaultVfs::Failure::Io);          \
        action;                                                                                              \
        const bool refused_ = FaultVfs::hasFailed();                                                         \
        FaultVfs::disarm();                                                                                  \
        QVERIFY2(refused_, "no write was refused");                                                          \
        QVERIFY(!rec.numbers().isEmpty());                                                                   \
        QCOMPARE(rec.numbers().last(), message);                                                             \
        const QStringList after_ = tableSnapshot();                                                          \
        QVERIFY2(after_ == before_, qPrintable(snapshotDifference(before_, after_)));                        \
        QCOMPARE(checkLibrary(), QStringList());                                                             \
    } while (false)

} // namespace

void TestFaultPages::initTestCase()
{
    FaultVfs::install();
}

void TestFaultPages::init()
{
    AppState::instance().history.clear();
}

void TestFaultPages::bookPages()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 k = lib.addClient(QStringLiteral("K1"));
    lib.lend({a}, k, 20260301);
    lib.giveBack({a}, 20260305);
    lib.addBook(QStringLiteral("D"));
    MessageRecorder rec;
    {
        CPageVyrazeni page;
        QVERIFY(exposed(page));
        lookUpAndAdd(page, QStringLiteral("D"));
        type(&page, "discardDate", QStringLiteral("15.3.2026"));
        EXPECT_REFUSED(1, 47, page.discard());
    }
    {
        CPageNoveknihy page;
        QVERIFY(exposed(page));
        page.onActivate();
        BookForm *f = page.form();
        f->code->setText(QStringLiteral("NOVA"));
        f->title->setText(QStringLiteral("Kytice"));
        f->author->setText(QStringLiteral("Karel Jaromír Erben"));
        f->category->setCurrentIndex(0);
        f->price->setText(QStringLiteral("12"));
        EXPECT_REFUSED(0, 34, QVERIFY(!page.save()));
        QCOMPARE(f->code->text(), QStringLiteral("NOVA")); // the entry stays for another try
    }
    {
        CPageOpravy page;
        QVERIFY(exposed(page));
        page.onActivate();
        BookForm *f = page.form();
        f->code->setText(QStringLiteral("A"));
        QVERIFY(page.load());
        f->title->setText(QStringLiteral("Opravený název"));
        EXPECT_REFUSED(0, 42, QVERIFY(!page.correct()));
        f->code->setText(QStringLiteral("A"));
        QVERIFY(page.load());
        rec.answerNext(ResultYes);
        EXPECT_REFUSED(1, 42, QVERIFY(!page.remove()));
    }
}

void TestFaultPages::registerDialogs()
{
    TestLibrary lib;
    const qint32 fiction = lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 empty = lib.addCategory(QStringLiteral("Prázdná"));
    const qint32 k1 = lib.addClient(QStringLiteral("K1"));
    MessageRecorder rec;
    // The dialogs check what was typed; the commands write it after the dialog closed.
    EXPECT_REFUSED(0, 4, QVERIFY(!RegisterCommands::saveNewCategory(nullptr, QStringLiteral("Poezie"))));
    EXPECT_REFUSED(1, 4,
                   QVERIFY(!RegisterCommands::saveRenamedCategory(
                       nullptr, fiction, QStringLiteral("Beletrie"), QStringLiteral("Romány"))));
    EXPECT_REFUSED(
        0, 4, QVERIFY(!RegisterCommands::saveRemovedCategory(nullptr, empty, QStringLiteral("Prázdná"))));

    Registers::ClientData d;
    d.code = QStringLiteral("K2");
    d.first = QStringLiteral("Zita");
    d.surname = QStringLiteral("Zelená");
    EXPECT_REFUSED(0, 13, QVERIFY(!RegisterCommands::saveNewClient(nullptr, d)));
    EXPECT_REFUSED(1, 13, QVERIFY(!RegisterCommands::saveRemovedClient(nullptr, k1)));
}

QTEST_MAIN(TestFaultPages)
#include "test_faultpages.moc"
