#include "catalogue/bookcore.h"
#include "catalogue/booklookup.h"
#include "data/database.h"
#include "data/statements.h"
#include "support/testsupport.h"

#include <QtTest>

namespace {

// A complete, valid form for a new book in category "Beletrie".
BookTexts validTexts()
{
    BookTexts t;
    t.code = QStringLiteral("  K100 ");
    t.accession = QStringLiteral("100");
    t.date = QStringLiteral(" 1. 2.2026");
    t.title = QStringLiteral("Babička");
    t.author = QStringLiteral("Božena Němcová");
    t.category = QStringLiteral("Beletrie");
    t.price = QStringLiteral("120,50");
    return t;
}

// The valid form with some texts replaced: "date=31.2.2026 category=Nic". A name without a value
// gets blanks, which count as empty.
BookTexts edited(const char *edits)
{
    static const QMap<QString, QString BookTexts::*> fields = {
        {QStringLiteral("code"), &BookTexts::code},     {QStringLiteral("accession"), &BookTexts::accession},
        {QStringLiteral("date"), &BookTexts::date},     {QStringLiteral("title"), &BookTexts::title},
        {QStringLiteral("author"), &BookTexts::author}, {QStringLiteral("category"), &BookTexts::category},
        {QStringLiteral("year"), &BookTexts::year},     {QStringLiteral("pages"), &BookTexts::pages},
        {QStringLiteral("price"), &BookTexts::price}};
    BookTexts t = validTexts();
    for (const QString &edit : words(edits)) {
        const qsizetype eq = edit.indexOf(QLatin1Char('='));
        const QString value = edit.mid(eq + 1);
        t.*fields.value(edit.left(eq)) = value.isEmpty() ? QStringLiteral("   ") : value;
    }
    return t;
}

// One refused form: the catalogue message and the field that gets the focus.
struct Refusal
{
    const char *edits;
    int message;
    BookField field;
};

void expectRefusals(const QList<Refusal> &refusals, const CorrectedBook *book = nullptr)
{
    for (const Refusal &r : refusals) {
        const BookCheck c = checkBookEntry(edited(r.edits), book);
        QVERIFY2(c.message == r.message && c.field == r.field,
                 qPrintable(QString::asprintf("%s: %d in field %d", r.edits, c.message, int(c.field))));
    }
}

} // namespace

class TestBookCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestLibrary::bothEngines(); }
    void init() { FOLIVO_ENGINE_INIT(); }
    void lookups();
    void checksOfTheForm();
    void writingBooks();
    void takenByAnotherDesk();
    void bookDetails();
};

// The lists of books in their orders, and the browse page's reads, which go straight to the
// engine: they must give what the record set gives, NULL columns and texts in numeric columns
// included.
void TestBookCore::lookups()
{
    TestLibrary lib;
    using NewBook = TestLibrary::BookSpec;
    const qint32 c = lib.addBook(NewBook(QStringLiteral("C")).numbered(30));
    const qint32 a = lib.addBook(NewBook(QStringLiteral("A")).numbered(10));
    lib.addBook(NewBook(QStringLiteral("X")).numbered(15).discard());
    const qint32 b = lib.addBook(NewBook(QStringLiteral("B")).numbered(20));
    QCOMPARE(browseOrder(), (std::vector<qint32>{a, b, c}));

    // The picker shows the statement's rows reversed: a descending statement lists ascending.
    QStringList picked;
    for (const PickerRow &row : pickerRows(QString::fromLatin1(Stmt::PickNotDiscarded)))
        picked << QStringLiteral("%1:%2").arg(row.code).arg(row.id);
    QCOMPARE(picked.join(QLatin1Char(' ')), QStringLiteral("A:%1 B:%2 C:%3").arg(a).arg(b).arg(c));
    QVERIFY(pickerRows(QStringLiteral("SELECT * FROM KNIHY WHERE KNIHY.KOD = 'nic'")).isEmpty());

    QCOMPARE(bookInUseId(QStringLiteral("B")), b);
    QCOMPARE(bookInUseId(QStringLiteral("X")), -1);

    const qint32 category = lib.addCategory(QStringLiteral("Poezie"));
    const qint32 client = lib.addClient(QStringLiteral("K1"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    const qint32 full = lib.addBook(TestLibrary::BookSpec(QStringLiteral("A1"))
                                        .withTitle(QStringLiteral("Kytice"), QStringLiteral("Erben")));
    const qint32 sparse = lib.addBook(QStringLiteral("A2"));
    runSql(QStringLiteral(
               "UPDATE KNIHY SET ID_KATEGORIE_KNIHY = ?, ID_LIDE_KNIHY = ?, VYPUJCENO = 1, CENA = 99.9, "
               "KLICOVA_SLOVA = '~láska~', IS_KLICOVESLOVO = 1 WHERE ID_KNIHY_KNIHY = ?"),
           {category, client, full});
    // A server's number column takes no text: there the date is only missing.
    runSql(QStringLiteral("UPDATE KNIHY SET AUTOR = NULL, ANOTACE = NULL, CENA = NULL, ROK_VYDANI = NULL, "
                          "VYRAZENO = NULL, POCET_STRAN = '12', DATUM_PORIZENI = %1 WHERE ID_KNIHY_KNIHY = ?")
               .arg(TestLibrary::onServer() ? QStringLiteral("NULL") : QStringLiteral("'x'")),
           {sparse});
    // What the columns hold, with the conversions of every reader: NULL numbers and flags are 0,
    // NULL texts null strings, a text in a number column its number or 0.
    const std::optional<BookRow> f = findBookById(full);
    QVERIFY(f);
    QCOMPARE(std::tuple(f->id, f->code, f->title, f->author, f->category, f->client, f->lent, f->discarded,
                        f->keywords, f->hasKeywords, f->price),
             std::tuple(full, QStringLiteral("A1"), QStringLiteral("Kytice"), QStringLiteral("Erben"),
                        category, client, true, false, QStringLiteral("~láska~"), true, 99.9f));
    const std::optional<BookRow> sp = findBookById(sparse);
    QVERIFY(sp);
    QVERIFY(sp->author.isNull() && sp->annotation.isNull());
    QCOMPARE(std::tuple(sp->price, sp->year, sp->discarded, sp->acquired, sp->pages),
             std::tuple(0.0f, 0, false, 0, 12));
    QCOMPARE(categoryName(category), std::optional<QString>(QStringLiteral("Poezie")));
    QCOMPARE(clientLabel(client), std::optional<QString>(QStringLiteral("K1  (Novák Jan)")));
    QVERIFY(!findBookById(999999) && !categoryName(999999) && !clientLabel(999999));
    Database::close();
    QVERIFY_THROWS_EXCEPTION(DbError, findBookById(full));
}

void TestBookCore::checksOfTheForm()
{
    TestLibrary lib;
    const qint32 beletrie = lib.addCategory(QStringLiteral("Beletrie"));
    lib.addCategory(QStringLiteral("Skryté"), false);
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("D1")).numbered(7).discard(20200101));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("A1")).numbered(8));

    BookCheck c = checkBookEntry(validTexts());
    QVERIFY(c.ok());
    QCOMPARE(std::tuple(c.entry.code, c.entry.accession, c.entry.acquired, c.entry.category, c.entry.price),
             std::tuple(QStringLiteral("K100"), 100, 20260201, beletrie, 120.5f));
    QVERIFY(!c.entry.hasKeywords && c.entry.keywords.isEmpty());
    QVERIFY(!c.entry.hasPublisher && !c.entry.hasAnnotation && !c.entry.hasYear && !c.entry.hasPages);
    QCOMPARE(checkBookEntry(edited("price=0")).entry.price, 0.0f); // zero is a price

    // Several fields wrong at once: the first in the order of the checks is reported.
    expectRefusals({
        {"code= price=", 32, BookField::Code},
        {"accession= title=", 32, BookField::Accession},
        {"date= author= category=", 32, BookField::Date},
        {"title= price=", 32, BookField::Title},
        {"author=", 32, BookField::Author},
        {"category= price=", 32, BookField::Category},
        {"price=", 32, BookField::Price},
        {"code=O'Brien accession=x", 119, BookField::Code},  // the code's characters come first
        {"accession=12a code=A1", 33, BookField::Accession}, // parsed before the code is looked up
        {"code=D1", 35, BookField::Code},                    // a discarded book's code is never reused
        {"code=A1", 36, BookField::Code},
        {"accession=7", 37, BookField::Accession}, // nor its number
        {"accession=8 date=31.2.2026", 38, BookField::Accession},
        {"date=31.2.2026 category=Nic", 33, BookField::Date},
        {"category=Skryté", 4, BookField::Category},
        {"price=-0,5", 33, BookField::Price},
        {"price=zdarma", 33, BookField::Price},
        {"year=-1 pages=-1", 33, BookField::Year},
        {"year=1999 pages=-1", 33, BookField::Pages},
    });

    // The optional fields: zero is a year and a page count, texts are trimmed.
    BookTexts t = edited("year=0 pages=0");
    t.publisher = QStringLiteral(" Odeon ");
    t.annotation = QStringLiteral(" Kniha o babičce. ");
    t.keywords = {QStringLiteral("a"), QStringLiteral("b")};
    c = checkBookEntry(t);
    QVERIFY(c.ok());
    QVERIFY(c.entry.hasYear && c.entry.hasPages && c.entry.hasPublisher && c.entry.hasKeywords);
    QCOMPARE(std::tuple(c.entry.year, c.entry.pages, c.entry.publisher, c.entry.annotation, c.entry.keywords),
             std::tuple(0, 0, QStringLiteral("Odeon"), QStringLiteral("Kniha o babičce."),
                        QStringLiteral("~a~~b~")));
    // A keyword: empty, forbidden characters, the separator, already chosen in any letter case.
    const QStringList present = {QStringLiteral("Historie"), QStringLiteral("Čechy")};
    QCOMPARE(checkNewKeyword(QString(), present), 29);
    QCOMPARE(checkNewKeyword(QStringLiteral("50%"), present), 119);
    QCOMPARE(checkNewKeyword(QStringLiteral("a~b"), present), 44);
    QCOMPARE(checkNewKeyword(QStringLiteral("historie"), present), 39);
    QCOMPARE(checkNewKeyword(QStringLiteral("čECHY"), present), 39);
    QCOMPARE(checkNewKeyword(QStringLiteral("Morava"), present), 0);
    QCOMPARE(keywordsInListOrder(QStringLiteral("~b~~a~~ c ~")), words("a b c"));

    // A correction: the book's own code and its own number as loaded are no clash; the code is
    // judged by the book's identity, the number against the number as loaded: a book loaded with 8
    // may keep 8 even though another row holds it.
    const qint32 own = lib.addBook(TestLibrary::BookSpec(QStringLiteral("K100")).numbered(100));
    const CorrectedBook book{own, 100, -1};
    QVERIFY(checkBookEntry(validTexts(), &book).ok());
    expectRefusals({{"code=D1", 35, BookField::Code},
                    {"code=A1", 36, BookField::Code},
                    {"accession=7", 37, BookField::Accession},
                    {"accession=8", 38, BookField::Accession}},
                   &book);
    const CorrectedBook sharing{own, 8, -1};
    QVERIFY(checkBookEntry(edited("accession=8"), &sharing).ok());

    // A lent book: the acquisition date may equal the loan date but not follow it.
    const qint32 loan = lib.lend({own}, lib.addClient(QStringLiteral("15")), 20260210);
    const CorrectedBook lent{own, 100, loan};
    QVERIFY(checkBookEntry(edited("date=10.2.2026"), &lent).ok());
    // ... and the loan date is checked before the category.
    expectRefusals({{"date=11.2.2026 category=Nic", 87, BookField::Date}}, &lent);
    const CorrectedBook brokenLoan{own, 100, loan + 10};
    expectRefusals({{"", 43, BookField::Code}}, &brokenLoan); // its loan row is gone

    // Without the database the look-ups fail with the page's messages.
    Database::close();
    expectRefusals({{"", 34, BookField::Code}});
}

// Adding, correcting and deleting books, with the counters they move. (A failing disk under every
// write is swept by the fault tests.)
void TestBookCore::writingBooks()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    lib.addBook(QStringLiteral("X1")); // accession 1, PRIRUSTEK_MAX 1, first book id 1
    QCOMPARE(suggestedAccession(), 2);

    BookTexts t = edited("year=1855");
    t.keywords = {QStringLiteral("a"), QStringLiteral("b")};
    BookCheck c = checkBookEntry(t);
    QVERIFY(c.ok());
    const qint32 id = addBook(c.entry);
    QCOMPARE(id, 2);
    const auto counters = [&lib] {
        return std::tuple(lib.ids("ID_KNIHY_FIRSTFREE"), lib.ids("PRIRUSTEK_MAX"), suggestedAccession());
    };
    QCOMPARE(counters(), std::tuple(3, 100, 101));
    std::optional<BookRow> row = findBookById(id);
    QVERIFY(row);
    QCOMPARE(std::tuple(row->code, row->keywords, row->hasKeywords, row->hasYear, row->hasPages,
                        row->hasPublisher, row->year, row->pages, row->client, row->loan, row->discardedOn,
                        row->lent, row->discarded),
             std::tuple(QStringLiteral("K100"), QStringLiteral("~a~~b~"), true, true, false, false, 1855, -1,
                        -1, -1, NoDate, false, false));

    // A number below PRIRUSTEK_MAX is accepted and leaves it where it was.
    c = checkBookEntry(edited("code=K50 accession=50"));
    QVERIFY(c.ok());
    addBook(c.entry);
    QCOMPARE(counters(), std::tuple(4, 100, 101));

    // A lent book corrected: as loaded, its keywords in the order the page's list shows them.
    const qint32 second = lib.addCategory(QStringLiteral("Poezie"));
    const qint32 k1 = lib.addBook(
        TestLibrary::BookSpec(QStringLiteral("K1")).numbered(10).withKeywords(QStringLiteral("~b~~a~")));
    const qint32 client = lib.addClient(QStringLiteral("15"));
    const qint32 loan = lib.lend({k1}, client, 20260301);
    row = findBookById(k1);
    QVERIFY(row);
    const BookEntry loaded = BookEntry::fromRow(*row);
    QCOMPARE(loaded.keywords, QStringLiteral("~a~~b~"));
    // The loaded book written back as shown is no change.
    t = edited("code=K1 accession=10"); // title and author as the book was added
    t.date = dateText(loaded.acquired);
    t.price = QString::asprintf("%.2f", double(loaded.price));
    t.keywords = keywordsInListOrder(row->keywords);
    const CorrectedBook book{k1, 10, loan};
    c = checkBookEntry(t, &book);
    QVERIFY(c.ok());
    QVERIFY(c.entry.sameAs(loaded));
    BookEntry changed = c.entry;
    changed.title += QLatin1Char(' ');
    QVERIFY(!changed.sameAs(loaded));
    changed = c.entry;
    changed.year = 0;
    QVERIFY(!changed.sameAs(loaded));

    // Raising the number raises PRIRUSTEK_MAX; lowering it never lowers it.
    changed = c.entry;
    changed.accession = 200;
    changed.category = second;
    changed.title = QStringLiteral("Kytice");
    QVERIFY(correctBook(k1, changed));
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 200);
    changed.accession = 5;
    QVERIFY(correctBook(k1, changed));
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 200);
    // What the correction does not own stays as it was.
    row = findBookById(k1);
    QCOMPARE(std::tuple(row->accession, row->title, row->category, row->lent, row->client, row->loan),
             std::tuple(5, QStringLiteral("Kytice"), second, true, client, loan));

    // Deleting: the lent book K1 goes with its open loan and its history; the other keeps its own.
    lib.lend({id}, client, 20260202, 20260215);
    lib.giveBack({id}, 20260210);
    lib.lend({id}, client, 20260211);
    const qint32 firstFree = lib.ids("ID_KNIHY_FIRSTFREE");
    lib.giveBack({k1}, 20260302);
    lib.lend({k1}, client, 20260303);
    // A book's rows: its own, its loans and its returns.
    const auto rowsOf = [&lib](qint32 b) {
        return QList<qint64>{lib.rows("KNIHY", "ID_KNIHY_KNIHY = ?", {b}),
                             lib.rows("VYPUJCKY", "ID_KNIHY_VYPUJCKY = ?", {b}),
                             lib.rows("VRACENI", "ID_KNIHY_VRACENI = ?", {b})};
    };
    QVERIFY(deleteBook(k1));
    QCOMPARE(rowsOf(k1), (QList<qint64>{0, 0, 0}));
    QCOMPARE(rowsOf(id), (QList<qint64>{1, 2, 1}));
    QCOMPARE(lib.ids("ID_KNIHY_FIRSTFREE"), firstFree);
    QVERIFY(!deleteBook(k1));
}

// Between the form's check and the write another desk took the code or the accession number,
// removed the category or deleted the book: the write gives the check's refusal and writes
// nothing.
void TestBookCore::takenByAnotherDesk()
{
    TestLibrary lib;
    const qint32 fiction = lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 own = lib.addBook(TestLibrary::BookSpec(QStringLiteral("VLASTNI")).numbered(7).in(fiction));
    struct Case
    {
        const char *name;
        bool correction;
        std::function<void()> otherDesk;
        int message;
        BookField field;
    };
    const auto addOther = [&lib, fiction](const char *code, qint32 accession, bool discarded = false) {
        lib.addBook(TestLibrary::BookSpec(QString::fromLatin1(code))
                        .numbered(accession)
                        .in(fiction)
                        .with(&TestLibrary::BookSpec::discarded, discarded));
    };
    const QList<Case> cases = {
        {"new book, code taken", false, [&] { addOther("K100", 900); }, 36, BookField::Code},
        {"new book, code taken and discarded", false, [&] { addOther("K100", 900, true); }, 35,
         BookField::Code},
        {"new book, accession number taken", false, [&] { addOther("JINY", 100); }, 38, BookField::Accession},
        {"new book, category removed", false,
         [&] { runSql(QStringLiteral("UPDATE KATEGORIE SET UKAZOVAT = 0")); }, 4, BookField::Category},
        {"correction, code taken", true, [&] { addOther("K100", 900); }, 36, BookField::Code},
        {"correction, accession number taken", true, [&] { addOther("JINY", 100); }, 38,
         BookField::Accession},
        {"correction, lent before the new acquisition date", true,
         [&] { lib.lend({own}, lib.addClient(QStringLiteral("K1")), 20260115); }, 87, BookField::Date},
        {"correction, book deleted", true, [&] { QVERIFY(deleteBook(own)); }, 42, BookField::None},
    };
    const auto state = [&lib] {
        return QList<qint64>{lib.rows("KNIHY"), lib.rows("KNIHY", "KOD = 'VLASTNI' AND PRIRUSTEK = 7"),
                             lib.ids("ID_KNIHY_FIRSTFREE"), lib.ids("PRIRUSTEK_MAX")};
    };
    for (const Case &c : cases) {
        // Each case starts from the own book alone (the deleting case comes last).
        runSql(QStringLiteral("DELETE FROM KNIHY WHERE ID_KNIHY_KNIHY <> %1").arg(own));
        runSql(QStringLiteral("UPDATE KATEGORIE SET UKAZOVAT = 1"));
        const CorrectedBook self{own, 7, -1};
        const BookCheck check = checkBookEntry(validTexts(), c.correction ? &self : nullptr);
        QVERIFY2(check.ok(), c.name);
        c.otherDesk();
        const QList<qint64> before = state();
        BookCheck refused;
        const bool wrote =
            c.correction ? correctBook(own, check.entry, &refused) : addBook(check.entry, &refused) != -1;
        QVERIFY2(!wrote && refused.message == c.message && refused.field == c.field, c.name);
        QCOMPARE(state(), before);
    }
}

void TestBookCore::bookDetails()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 book = lib.addBook(QStringLiteral("K1"));
    const qint32 jan = lib.addClient(QStringLiteral("15"), QStringLiteral("Jan"), QStringLiteral("Novák"));
    const qint32 eva = lib.addClient(QStringLiteral("16"), QStringLiteral("Eva"), QStringLiteral("Malá"));
    lib.lend({book}, jan, 20260101, 20260110);
    lib.giveBack({book}, 20260113); // three days late
    lib.lend({book}, eva, 20260115, 20260120);
    lib.giveBack({book}, 20260120); // on the day
    lib.lend({book}, jan, 20260201);
    lib.giveBack({book}, 20260301); // no limit
    const qint32 loan = lib.lend({book}, eva, 20260305, 20260319);

    const BookDetails d = readBookDetails(book);
    QCOMPARE(std::tuple(d.message, d.category, d.book.lent, d.client, d.lentOn, d.returnBy),
             std::tuple(0, QStringLiteral("Beletrie"), true, QStringLiteral("16  (Malá Eva)"), 20260305,
                        20260319));
    // Oldest first; only the first came back late; the last is still out.
    QStringList history;
    for (const auto &h : d.history)
        history << QString::asprintf("%d:%d:%d:", h.lentOn, h.returnedOn, h.overdue) + h.clientCode + u':' +
                       h.surname;
    QCOMPARE(history.join(QLatin1Char(' ')),
             QStringLiteral("20260101:20260113:3:15:Novák 20260115:20260120:-1:16:Malá "
                            "20260201:20260301:-1:15:Novák 20260305:-1:-1:16:Malá"));
    // Calendar days, across the end of a month and of a year.
    QCOMPARE(daysOverdue(true, true, 20251230, 20260102), 3);
    QCOMPARE(daysOverdue(true, true, 20260228, 20260301), 1);
    QCOMPARE(daysOverdue(true, false, 20260101, 20260301), -1);
    QCOMPARE(daysOverdue(false, true, 20260101, NoDate), -1);

    // A discarded book is shown too, with the date it was discarded.
    const BookDetails g =
        readBookDetails(lib.addBook(TestLibrary::BookSpec(QStringLiteral("G1")).discard(20250505)));
    QCOMPARE(std::tuple(g.message, g.book.discarded, g.book.discardedOn, g.history.size(), g.returnBy),
             std::tuple(0, true, 20250505, qsizetype(0), NoDate));

    // What the details cannot show: a missing book, its loan, its client or its category.
    QCOMPARE(readBookDetails(book + 50).message, 34);
    runSql(QStringLiteral("UPDATE VYPUJCKY SET ID_VYPUJCKY_VYPUJCKY = %1").arg(loan + 1));
    QCOMPARE(readBookDetails(book).message, 97);
    runSql(QStringLiteral("DELETE FROM LIDE"));
    QCOMPARE(readBookDetails(book).message, 96);
    runSql(QStringLiteral("UPDATE KNIHY SET VYPUJCENO = 0"));
    QCOMPARE(readBookDetails(book).message, 96); // a history row whose client is gone
    runSql(QStringLiteral("DELETE FROM KATEGORIE"));
    QCOMPARE(readBookDetails(book).message, 94);
}

QTEST_GUILESS_MAIN(TestBookCore)
#include "test_bookcore.moc"
