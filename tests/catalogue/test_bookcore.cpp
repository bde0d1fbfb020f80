#include "catalogue/bookcore.h"
#include "catalogue/booklookup.h"
#include "data/database.h"
#include "data/recordsets.h"
#include "data/statements.h"
#include "support/testsupport.h"

#include <QSqlQuery>
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

QStringList fields(const char *names)
{
    return QString::fromLatin1(names).split(QLatin1Char(' '));
}

} // namespace

class TestBookCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestLibrary::bothEngines(); }
    void init() { FOLIVO_ENGINE_INIT(); }
    void lookupsById();
    void mandatoryFieldsInOrder_data();
    void mandatoryFieldsInOrder();
    void checksOfNewBook();
    void optionalNumbers();
    void keywordChecks();
    void addingBooks();
    void checksOfCorrection();
    void correctingBooks();
    void deletingBooks();
    void takenByAnotherDesk();
    void bookDetails();
    void detailsIntegrityFaults();
    void listsOfBooks();
};

// The browse page's reads go straight to the engine; they must give what the record set gives,
// NULL columns and texts in numeric columns included.
void TestBookCore::lookupsById()
{
    TestLibrary lib;
    QVERIFY(lib.isValid());
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
    QCOMPARE(f->id, full);
    QCOMPARE(f->code, QStringLiteral("A1"));
    QCOMPARE(f->title, QStringLiteral("Kytice"));
    QCOMPARE(f->author, QStringLiteral("Erben"));
    QCOMPARE(f->category, category);
    QCOMPARE(f->client, client);
    QVERIFY(f->lent);
    QVERIFY(!f->discarded);
    QCOMPARE(f->keywords, QStringLiteral("~láska~"));
    QVERIFY(f->hasKeywords);
    const std::optional<BookRow> sp = findBookById(sparse);
    QVERIFY(sp);
    QVERIFY(sp->author.isNull());
    QVERIFY(sp->annotation.isNull());
    QCOMPARE(sp->price, 0.0f);
    QCOMPARE(sp->year, 0);
    QVERIFY(!sp->discarded);
    QCOMPARE(sp->acquired, 0);
    QCOMPARE(findBookById(full)->price, 99.9f);
    QCOMPARE(findBookById(sparse)->pages, 12);
    QVERIFY(!findBookById(999999));
    QCOMPARE(categoryName(category), std::optional<QString>(QStringLiteral("Poezie")));
    QVERIFY(!categoryName(999999));
    QCOMPARE(clientLabel(client), std::optional<QString>(QStringLiteral("K1  (Novák Jan)")));
    QVERIFY(!clientLabel(999999));
    Database::close();
    QVERIFY_THROWS_EXCEPTION(DbError, findBookById(full));
}

void TestBookCore::mandatoryFieldsInOrder_data()
{
    QTest::addColumn<QStringList>("emptied");
    QTest::addColumn<int>("field");
    // Several fields empty at once: the first in the order code, accession, date, title, author,
    // category, price is the one reported.
    QTest::newRow("code") << fields("code price") << int(BookField::Code);
    QTest::newRow("accession") << fields("accession title") << int(BookField::Accession);
    QTest::newRow("date") << fields("date author category") << int(BookField::Date);
    QTest::newRow("title") << fields("title price") << int(BookField::Title);
    QTest::newRow("author") << fields("author") << int(BookField::Author);
    QTest::newRow("category") << fields("category price") << int(BookField::Category);
    QTest::newRow("price blank") << fields("price") << int(BookField::Price);
}

void TestBookCore::mandatoryFieldsInOrder()
{
    QFETCH(QStringList, emptied);
    QFETCH(int, field);
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    BookTexts t = validTexts();
    for (const QString &f : emptied) {
        QString *s = f == u"code"        ? &t.code
                     : f == u"accession" ? &t.accession
                     : f == u"date"      ? &t.date
                     : f == u"title"     ? &t.title
                     : f == u"author"    ? &t.author
                     : f == u"category"  ? &t.category
                                         : &t.price;
        *s = QStringLiteral("   "); // blanks only count as empty
    }
    const BookCheck c = checkBookEntry(t);
    QCOMPARE(c.message, 32);
    QCOMPARE(int(c.field), field);
}

void TestBookCore::checksOfNewBook()
{
    TestLibrary lib;
    const qint32 beletrie = lib.addCategory(QStringLiteral("Beletrie"));
    lib.addCategory(QStringLiteral("Skryté"), false);
    TestLibrary::BookSpec discarded(QStringLiteral("D1"));
    discarded.accession = 7;
    discarded.discarded = true;
    discarded.discardedOn = 20200101;
    lib.addBook(discarded);
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("A1")).numbered(8));

    BookCheck c = checkBookEntry(validTexts());
    QVERIFY(c.ok());
    QCOMPARE(c.entry.code, QStringLiteral("K100"));
    QCOMPARE(c.entry.accession, 100);
    QCOMPARE(c.entry.acquired, 20260201);
    QCOMPARE(c.entry.category, beletrie);
    QCOMPARE(c.entry.price, 120.5f);
    QVERIFY(!c.entry.hasKeywords && c.entry.keywords.isEmpty());
    QVERIFY(!c.entry.hasPublisher && !c.entry.hasAnnotation && !c.entry.hasYear && !c.entry.hasPages);

    const auto expect = [](const BookTexts &t, int message, BookField field) {
        const BookCheck r = checkBookEntry(t);
        QCOMPARE(r.message, message);
        QCOMPARE(int(r.field), int(field));
    };
    BookTexts t = validTexts();
    t.code = QStringLiteral("O'Brien");
    t.accession = QStringLiteral("x"); // the code's characters are tested first
    expect(t, 119, BookField::Code);
    t = validTexts();
    t.accession = QStringLiteral("12a");
    t.code = QStringLiteral("A1"); // the accession is parsed before the code is looked up
    expect(t, 33, BookField::Accession);
    // A code or number of a discarded book is never reused: 35 and 37, not 36 and 38.
    t = validTexts();
    t.code = QStringLiteral("D1");
    expect(t, 35, BookField::Code);
    t.code = QStringLiteral("A1");
    expect(t, 36, BookField::Code);
    t = validTexts();
    t.accession = QStringLiteral("7");
    expect(t, 37, BookField::Accession);
    t.accession = QStringLiteral("8");
    t.date = QStringLiteral("31.2.2026"); // the number clash comes before the date
    expect(t, 38, BookField::Accession);
    t = validTexts();
    t.date = QStringLiteral("31.2.2026");
    t.category = QStringLiteral("Nic"); // the date comes before the category
    expect(t, 33, BookField::Date);
    t = validTexts();
    t.category = QStringLiteral("Skryté");
    expect(t, 4, BookField::Category);
    // Price: zero is a price, below zero is not; a blank price is missing (32 above).
    t = validTexts();
    t.price = QStringLiteral("0");
    QVERIFY(checkBookEntry(t).ok());
    QCOMPARE(checkBookEntry(t).entry.price, 0.0f);
    t.price = QStringLiteral("-0,5");
    expect(t, 33, BookField::Price);
    t.price = QStringLiteral("zdarma");
    expect(t, 33, BookField::Price);

    // Without the database the look-ups fail with the page's messages.
    Database::close();
    expect(validTexts(), 34, BookField::Code);
}

void TestBookCore::optionalNumbers()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    BookTexts t = validTexts();
    t.year = QStringLiteral("0");
    t.pages = QStringLiteral("0");
    t.publisher = QStringLiteral(" Odeon ");
    t.annotation = QStringLiteral(" Kniha o babičce. ");
    t.keywords = {QStringLiteral("a"), QStringLiteral("b")};
    BookCheck c = checkBookEntry(t);
    QVERIFY(c.ok());
    QCOMPARE(c.entry.year, 0);
    QVERIFY(c.entry.hasYear);
    QCOMPARE(c.entry.pages, 0);
    QVERIFY(c.entry.hasPages);
    QCOMPARE(c.entry.publisher, QStringLiteral("Odeon"));
    QVERIFY(c.entry.hasPublisher);
    QCOMPARE(c.entry.annotation, QStringLiteral("Kniha o babičce."));
    QCOMPARE(c.entry.keywords, QStringLiteral("~a~~b~"));
    QVERIFY(c.entry.hasKeywords);

    t.year = QStringLiteral("-1");
    t.pages = QStringLiteral("-1");
    c = checkBookEntry(t);
    QCOMPARE(c.message, 33);
    QCOMPARE(c.field, BookField::Year);
    t.year = QStringLiteral("1999");
    c = checkBookEntry(t);
    QCOMPARE(c.message, 33);
    QCOMPARE(c.field, BookField::Pages);
    t.year.clear();
    t.pages.clear();
    c = checkBookEntry(t);
    QVERIFY(c.ok());
    QCOMPARE(c.entry.year, -1);
    QCOMPARE(c.entry.pages, -1);
    QVERIFY(!c.entry.hasYear && !c.entry.hasPages);
}

void TestBookCore::keywordChecks()
{
    const QStringList present = {QStringLiteral("Historie"), QStringLiteral("Čechy")};
    QCOMPARE(checkNewKeyword(QString(), present), 29);
    QCOMPARE(checkNewKeyword(QStringLiteral("50%"), present), 119);
    QCOMPARE(checkNewKeyword(QStringLiteral("a~b"), present), 44);
    QCOMPARE(checkNewKeyword(QStringLiteral("historie"), present), 39);
    QCOMPARE(checkNewKeyword(QStringLiteral("čECHY"), present), 39);
    QCOMPARE(checkNewKeyword(QStringLiteral("Morava"), present), 0);
    QCOMPARE(keywordsInListOrder(QStringLiteral("~b~~a~~ c ~")), words("a b c"));
}

void TestBookCore::addingBooks()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    lib.addBook(QStringLiteral("X1")); // accession 1, PRIRUSTEK_MAX 1, first book id 1
    QCOMPARE(suggestedAccession(), 2);

    BookTexts t = validTexts();
    t.keywords = {QStringLiteral("a"), QStringLiteral("b")};
    t.year = QStringLiteral("1855");
    BookCheck c = checkBookEntry(t);
    QVERIFY(c.ok());
    const qint32 id = addBook(c.entry);
    QCOMPARE(id, 2);
    QCOMPARE(lib.ids("ID_KNIHY_FIRSTFREE"), 3);
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 100);
    QCOMPARE(suggestedAccession(), 101);
    const std::optional<BookRow> row = findBookById(id);
    QVERIFY(row);
    QCOMPARE(row->code, QStringLiteral("K100"));
    QCOMPARE(row->keywords, QStringLiteral("~a~~b~"));
    QVERIFY(row->hasKeywords && row->hasYear && !row->hasPages && !row->hasPublisher);
    QCOMPARE(row->year, 1855);
    QCOMPARE(row->pages, -1);
    QCOMPARE(row->client, -1);
    QCOMPARE(row->loan, -1);
    QCOMPARE(row->discardedOn, NoDate);
    QVERIFY(!row->lent && !row->discarded);

    // A number below PRIRUSTEK_MAX is accepted and leaves it where it was.
    t = validTexts();
    t.code = QStringLiteral("K50");
    t.accession = QStringLiteral("50");
    c = checkBookEntry(t);
    QVERIFY(c.ok());
    addBook(c.entry);
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 100);
    QCOMPARE(suggestedAccession(), 101);

    // A failure writes nothing and takes no identifier.
    lib.plantFailure(QStringLiteral("fail_book"), QStringLiteral("BEFORE INSERT"), QStringLiteral("KNIHY"));
    BookEntry other = c.entry;
    other.code = QStringLiteral("K51");
    other.accession = 500;
    QVERIFY_THROWS_EXCEPTION(DbError, addBook(other));
    QCOMPARE(lib.ids("ID_KNIHY_FIRSTFREE"), 4);
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 100);
    QCOMPARE(lib.rows("KNIHY"), 3);
}

void TestBookCore::checksOfCorrection()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 own = lib.addBook(TestLibrary::BookSpec(QStringLiteral("K100")).numbered(100));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("D1")).numbered(7).discard());
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("A1")).numbered(8));
    const CorrectedBook book{own, 100, -1};

    // Its own code and its own number as loaded are no clash.
    BookCheck c = checkBookEntry(validTexts(), &book);
    QVERIFY2(c.ok(), qPrintable(QString::number(c.message)));
    BookTexts t = validTexts();
    t.code = QStringLiteral("D1");
    c = checkBookEntry(t, &book);
    QCOMPARE(c.message, 35);
    QCOMPARE(c.field, BookField::Code);
    t.code = QStringLiteral("A1");
    QCOMPARE(checkBookEntry(t, &book).message, 36);
    t = validTexts();
    t.accession = QStringLiteral("7");
    c = checkBookEntry(t, &book);
    QCOMPARE(c.message, 37);
    QCOMPARE(c.field, BookField::Accession);
    t.accession = QStringLiteral("8");
    QCOMPARE(checkBookEntry(t, &book).message, 38);
    // The number is judged against the number as loaded, not against the book: a book whose
    // loaded number is 8 may keep 8 even though another row holds it.
    const CorrectedBook sharing{own, 8, -1};
    QVERIFY(checkBookEntry(t, &sharing).ok());
    // The code is judged by the book's identity: the same code on another book always clashes.
    t = validTexts();
    t.code = QStringLiteral("A1");
    const CorrectedBook notA1{own, 100, -1};
    QCOMPARE(checkBookEntry(t, &notA1).message, 36);

    // A lent book: the acquisition date may equal the loan date but not follow it.
    const qint32 client = lib.addClient(QStringLiteral("15"));
    const qint32 loan = lib.lend({own}, client, 20260210);
    const CorrectedBook lent{own, 100, loan};
    t = validTexts();
    t.date = QStringLiteral("10.2.2026");
    QVERIFY(checkBookEntry(t, &lent).ok());
    t.date = QStringLiteral("11.2.2026");
    t.category = QStringLiteral("Nic"); // the loan date is checked before the category
    c = checkBookEntry(t, &lent);
    QCOMPARE(c.message, 87);
    QCOMPARE(c.field, BookField::Date);
    const CorrectedBook brokenLoan{own, 100, loan + 10};
    c = checkBookEntry(validTexts(), &brokenLoan);
    QCOMPARE(c.message, 43);
    QCOMPARE(c.field, BookField::Code);
}

void TestBookCore::correctingBooks()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 second = lib.addCategory(QStringLiteral("Poezie"));
    const qint32 id = lib.addBook(
        TestLibrary::BookSpec(QStringLiteral("K1")).numbered(10).withKeywords(QStringLiteral("~b~~a~")));
    const qint32 client = lib.addClient(QStringLiteral("15"));
    const qint32 loan = lib.lend({id}, client, 20260301);
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 10);

    std::optional<BookRow> row = findBookById(id);
    QVERIFY(row);
    const BookEntry loaded = BookEntry::fromRow(*row);
    QCOMPARE(loaded.keywords, QStringLiteral("~a~~b~")); // in the order the page's list shows
    // The loaded book written back as shown is no change.
    BookTexts t;
    t.code = loaded.code;
    t.accession = QStringLiteral("10");
    t.date = dateText(loaded.acquired);
    t.title = loaded.title;
    t.author = loaded.author;
    t.category = QStringLiteral("Beletrie");
    t.price = QString::asprintf("%.2f", double(loaded.price));
    t.keywords = keywordsInListOrder(row->keywords);
    const CorrectedBook book{id, 10, loan};
    BookCheck c = checkBookEntry(t, &book);
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
    changed.accession = 20;
    changed.category = second;
    changed.title = QStringLiteral("Kytice");
    QVERIFY(correctBook(id, changed));
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 20);
    changed.accession = 5;
    QVERIFY(correctBook(id, changed));
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 20);
    row = findBookById(id);
    QCOMPARE(row->accession, 5);
    QCOMPARE(row->title, QStringLiteral("Kytice"));
    QCOMPARE(row->category, second);
    // What the correction does not own stays as it was.
    QVERIFY(row->lent);
    QCOMPARE(row->client, client);
    QCOMPARE(row->loan, loan);
    QCOMPARE(row->id, id);

    QVERIFY(!correctBook(id + 100, changed));
    QCOMPARE(lib.ids("PRIRUSTEK_MAX"), 20);
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
        TestLibrary::BookSpec b(QString::fromLatin1(code));
        b.numbered(accession).in(fiction);
        if (discarded)
            b.discard(20260301);
        lib.addBook(b);
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
        if (c.correction)
            QVERIFY2(!correctBook(own, check.entry, &refused), c.name);
        else
            QVERIFY2(addBook(check.entry, &refused) == -1, c.name);
        QCOMPARE(refused.message, c.message);
        QCOMPARE(refused.field, c.field);
        QCOMPARE(state(), before);
    }
}

void TestBookCore::deletingBooks()
{
    TestLibrary lib;
    const qint32 a = lib.addBook(QStringLiteral("A"));
    const qint32 b = lib.addBook(QStringLiteral("B"));
    const qint32 client = lib.addClient(QStringLiteral("15"));
    lib.lend({a, b}, client, 20260101, 20260115);
    lib.giveBack({a, b}, 20260110);
    lib.lend({a}, client, 20260201);
    lib.lend({b}, client, 20260201);
    const qint32 firstFree = lib.ids("ID_KNIHY_FIRSTFREE");

    QVERIFY(deleteBook(a)); // lent at the moment: deleted with its open loan
    QCOMPARE(lib.rows("KNIHY", "ID_KNIHY_KNIHY = ?", {a}), 0);
    QCOMPARE(lib.rows("VYPUJCKY", "ID_KNIHY_VYPUJCKY = ?", {a}), 0);
    QCOMPARE(lib.rows("VRACENI", "ID_KNIHY_VRACENI = ?", {a}), 0);
    // The other book keeps its history, the counters stay.
    QCOMPARE(lib.rows("VYPUJCKY", "ID_KNIHY_VYPUJCKY = ?", {b}), 2);
    QCOMPARE(lib.rows("VRACENI", "ID_KNIHY_VRACENI = ?", {b}), 1);
    QCOMPARE(lib.ids("ID_KNIHY_FIRSTFREE"), firstFree);
    QVERIFY(!deleteBook(a));

    // A failure part way rolls the whole deletion back.
    lib.plantFailure(QStringLiteral("no_delete"), QStringLiteral("BEFORE DELETE"), QStringLiteral("VRACENI"));
    QVERIFY_THROWS_EXCEPTION(DbError, deleteBook(b));
    QCOMPARE(lib.rows("KNIHY", "ID_KNIHY_KNIHY = ?", {b}), 1);
    QCOMPARE(lib.rows("VYPUJCKY", "ID_KNIHY_VYPUJCKY = ?", {b}), 2);
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
    lib.lend({book}, eva, 20260305, 20260319);

    const BookDetails d = readBookDetails(book);
    QCOMPARE(d.message, 0);
    QCOMPARE(d.category, QStringLiteral("Beletrie"));
    QVERIFY(d.book.lent);
    QCOMPARE(d.client, QStringLiteral("16  (Malá Eva)"));
    QCOMPARE(d.lentOn, 20260305);
    QCOMPARE(d.returnBy, 20260319);
    QCOMPARE(d.history.size(), 4);
    QCOMPARE(d.history.at(0).lentOn, 20260101); // oldest first
    QCOMPARE(d.history.at(0).overdue, 3);
    QCOMPARE(d.history.at(0).clientCode, QStringLiteral("15"));
    QCOMPARE(d.history.at(0).surname, QStringLiteral("Novák"));
    QCOMPARE(d.history.at(1).overdue, -1);
    QCOMPARE(d.history.at(2).overdue, -1);
    QCOMPARE(d.history.at(3).overdue, -1); // still out
    QCOMPARE(d.history.at(3).returnedOn, NoDate);
    // Calendar days, across the end of a month and of a year.
    QCOMPARE(daysOverdue(true, true, 20251230, 20260102), 3);
    QCOMPARE(daysOverdue(true, true, 20260228, 20260301), 1);
    QCOMPARE(daysOverdue(true, false, 20260101, 20260301), -1);
    QCOMPARE(daysOverdue(false, true, 20260101, NoDate), -1);

    // A discarded book is shown too, with the date it was discarded.
    TestLibrary::BookSpec gone(QStringLiteral("G1"));
    gone.discarded = true;
    gone.discardedOn = 20250505;
    const BookDetails g = readBookDetails(lib.addBook(gone));
    QCOMPARE(g.message, 0);
    QVERIFY(g.book.discarded);
    QCOMPARE(g.book.discardedOn, 20250505);
    QVERIFY(g.history.isEmpty());
    QCOMPARE(g.returnBy, NoDate);
}

void TestBookCore::detailsIntegrityFaults()
{
    TestLibrary lib;
    const qint32 book = lib.addBook(QStringLiteral("K1"));
    const qint32 client = lib.addClient(QStringLiteral("15"));
    const qint32 loan = lib.lend({book}, client, 20260101);
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

void TestBookCore::listsOfBooks()
{
    TestLibrary lib;
    const auto add = [&lib](const char *code, qint32 accession, bool discarded = false) {
        TestLibrary::BookSpec s(QString::fromLatin1(code));
        s.accession = accession;
        s.discarded = discarded;
        return lib.addBook(s);
    };
    const qint32 c = add("C", 30);
    const qint32 a = add("A", 10);
    add("X", 15, true);
    const qint32 b = add("B", 20);
    QCOMPARE(browseOrder(), (std::vector<qint32>{a, b, c}));

    // The picker shows the statement's rows reversed: a descending statement lists ascending.
    const QList<PickerRow> rows = pickerRows(QString::fromLatin1(Stmt::PickNotDiscarded));
    QCOMPARE(rows.size(), 3);
    QCOMPARE(rows.at(0).code, QStringLiteral("A"));
    QCOMPARE(rows.at(0).id, a);
    QCOMPARE(rows.at(2).code, QStringLiteral("C"));
    QVERIFY(pickerRows(QStringLiteral("SELECT * FROM KNIHY WHERE KNIHY.KOD = 'nic'")).isEmpty());

    QCOMPARE(bookInUseId(QStringLiteral("B")), b);
    QCOMPARE(bookInUseId(QStringLiteral("X")), -1);
    QCOMPARE(clientLabel(QStringLiteral("15"), QStringLiteral("Novák"), QStringLiteral("Jan")),
             QStringLiteral("15  (Novák Jan)"));
}

QTEST_GUILESS_MAIN(TestBookCore)
#include "test_bookcore.moc"
