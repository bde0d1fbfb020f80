#include "data/database.h"
#include "data/recordsets.h"
#include "search/searchcore.h"
#include "support/testsupport.h"

#include <QtTest>

using namespace Qt::StringLiterals;

// The criteria are written as designated initializers; what they leave out keeps its default.
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"

namespace {

// The failed check as "message/field", or "passed".
QString checkOf(SearchCriteria c)
{
    SearchValues v;
    const SearchCheck check = ValidateCriteria(c, v);
    return check.passed() ? QStringLiteral("passed")
                          : QStringLiteral("%1/%2").arg(check.message).arg(int(check.field));
}

QString failure(int message, SearchField field)
{
    return QStringLiteral("%1/%2").arg(message).arg(int(field));
}

// The codes of the books a statement finds, through the record set the report view uses.
QStringList codesFound(SearchCriteria c)
{
    SearchValues v;
    if (!ValidateCriteria(c, v).passed())
        return {QStringLiteral("refused")};
    CSetKnihy set;
    set.open(BuildSearchSql(c, v));
    QStringList codes;
    for (; !set.isEOF(); set.moveNext())
        codes << set.m_KOD;
    return codes;
}

} // namespace

class TestSearchCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestLibrary::bothEngines(); }
    void init() { FOLIVO_ENGINE_INIT(); }
    void validationOrder();
    void clientLookup();
    void newKeywords();
    void statementsOnDatabase();
};

void TestSearchCore::validationOrder()
{
    TestLibrary lib;

    // Forbidden characters: code, title, author, publisher, client code, in this order, before
    // anything else is looked at.
    SearchCriteria c{.priceTo = u"abc"_s, .clientCode = u"K*"_s};
    QCOMPARE(checkOf(c), failure(119, SearchField::ClientCode));
    c.publisher = QStringLiteral("O'Neill");
    QCOMPARE(checkOf(c), failure(119, SearchField::Publisher));
    c.author = QStringLiteral("[x]");
    QCOMPARE(checkOf(c), failure(119, SearchField::Author));
    c.title = QStringLiteral("50%");
    QCOMPARE(checkOf(c), failure(119, SearchField::Title));
    c.code = QStringLiteral("A*");
    QCOMPARE(checkOf(c), failure(119, SearchField::Code));

    // Prices: "to" is read first.
    c = {.priceFrom = u"x"_s, .priceTo = u"y"_s};
    QCOMPARE(checkOf(c), failure(106, SearchField::PriceTo));
    c.priceTo = QStringLiteral("5");
    QCOMPARE(checkOf(c), failure(106, SearchField::PriceFrom));

    // The client is looked up after the prices and before the dates and numbers.
    c = {.priceFrom = u"abc"_s,
         .acquiredTo = u"32.1.2000"_s,
         .considerLoan = true,
         .lent = true,
         .clientCode = u"NOBODY"_s};
    QCOMPARE(checkOf(c), failure(106, SearchField::PriceFrom));
    c.priceFrom.clear();
    QCOMPARE(checkOf(c), failure(15, SearchField::ClientCode));

    // Dates and accession numbers: acquisition to, from, accession to, from, discard to, from.
    c = {.accessionFrom = u"x"_s,
         .accessionTo = u"1.5"_s,
         .acquiredFrom = u"1.13.2000"_s,
         .acquiredTo = u"32.1.2000"_s,
         .considerDiscard = true,
         .discarded = true,
         .discardFrom = u"yesterday"_s,
         .discardTo = u"0.0.0"_s};
    const std::pair<QString *, SearchField> order[] = {
        {&c.acquiredTo, SearchField::AcquiredTo},   {&c.acquiredFrom, SearchField::AcquiredFrom},
        {&c.accessionTo, SearchField::AccessionTo}, {&c.accessionFrom, SearchField::AccessionFrom},
        {&c.discardTo, SearchField::DiscardTo},     {&c.discardFrom, SearchField::DiscardFrom}};
    for (const auto &[text, field] : order) {
        QCOMPARE(checkOf(c), failure(106, field));
        text->clear();
    }
    QCOMPARE(checkOf(c), QStringLiteral("passed"));
}

void TestSearchCore::clientLookup()
{
    TestLibrary lib;
    const qint32 shown = lib.addClient(QStringLiteral("K1"));
    lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Skrytá"), false);

    SearchCriteria c{.considerLoan = true, .lent = true, .clientCode = u" K1 "_s};
    SearchValues v;
    QVERIFY(ValidateCriteria(c, v).passed());
    QCOMPARE(v.clientId, shown);
    // A hidden client is not found.
    c.clientCode = QStringLiteral("K2");
    QCOMPARE(checkOf(c), failure(15, SearchField::ClientCode));

    // A failing database stops the search with the clients' message.
    Database::close();
    c.clientCode = QStringLiteral("K1");
    QCOMPARE(checkOf(c), failure(13, SearchField::None));
}

void TestSearchCore::newKeywords()
{
    const QStringList chosen = {QStringLiteral("DVOŘÁK"), QStringLiteral("les")};
    QString k = QStringLiteral("  ");
    QCOMPARE(checkNewKeyword(k, chosen).message, 29);
    k = QStringLiteral("a~b");
    QCOMPARE(checkNewKeyword(k, chosen).message, 44);
    k = QStringLiteral("O'Brien");
    QCOMPARE(checkNewKeyword(k, chosen).message, 119);
    // Forbidden characters are found before the tilde.
    k = QStringLiteral("~%");
    QCOMPARE(checkNewKeyword(k, chosen).message, 119);
    // Already chosen, in any letter case.
    k = QStringLiteral(" dvořák ");
    const SearchCheck twice = checkNewKeyword(k, chosen);
    QCOMPARE(twice.message, 39);
    QCOMPARE(twice.field, SearchField::Keyword);
    QCOMPARE(k, QStringLiteral("dvořák"));
    k = QStringLiteral(" lesy ");
    QVERIFY(checkNewKeyword(k, chosen).passed());
    QCOMPARE(k, QStringLiteral("lesy"));

    // The chosen keywords stay in ascending order, letter case aside.
    QStringList list;
    for (const char *word : {"les", "Bor", "Čáp", "Ara", "zima", "Hora", "chata", "cibule"}) {
        const QString w = QString::fromUtf8(word);
        list.insert(keywordInsertPosition(list, w), w);
    }
    QCOMPARE(list, words("Ara Bor cibule Čáp Hora chata les zima"));
}

void TestSearchCore::statementsOnDatabase()
{
    TestLibrary lib;
    const qint32 beletrie = lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 naucna = lib.addCategory(QStringLiteral("Naučná"));
    const qint32 k1 = lib.addClient(QStringLiteral("K1"));
    const qint32 k2 = lib.addClient(QStringLiteral("K2"));

    auto book = [&](const char *code, const char *title, const char *author, float price, qint32 accession) {
        return TestLibrary::BookSpec(QString::fromUtf8(code))
            .withTitle(QString::fromUtf8(title), QString::fromUtf8(author))
            .in(beletrie)
            .priced(price)
            .numbered(accession);
    };
    const qint32 a120 = lib.addBook(
        book("A120", "Rusalka", "ANTONÍN DVOŘÁK", 150, 5).withKeywords(QStringLiteral("~opera~~voda~")));
    const qint32 a12 = lib.addBook(book("A12", "Válka s mloky", "Karel Čapek", 99.5f, 6)
                                       .acquiredOn(20050307)
                                       .withKeywords(QStringLiteral("~lesník~~válka~")));
    lib.addBook(
        book("B7", "Lesy", "Karel Čapek", 200, 7).in(naucna).withKeywords(QStringLiteral("~les~~voda~")));
    lib.addBook(book("C3", "Staré pověsti", "Alois Jirásek", 100, 8)
                    .discard(20100615)
                    .withKeywords(QStringLiteral("~les~")));
    lib.addBook(TestLibrary::BookSpec(QStringLiteral("D1")).in(beletrie).discard(20200101));
    runSql(QStringLiteral("UPDATE KNIHY SET VYDAVATEL = 'Odeon Praha' WHERE KOD IN ('A12', 'B7')"));
    lib.lend({a120}, k1, 20260301);
    lib.lend({a12}, k2, 20260302);

    // The empty form finds every book, discarded ones too, highest code first. Blank texts count
    // as empty.
    const QStringList all = words("D1 C3 B7 A120 A12");
    QCOMPARE(codesFound({}), all);
    QCOMPARE(codesFound({.code = u"   "_s, .priceTo = u" "_s, .acquiredFrom = u"\t"_s}), all);

    // Partial matches ignore letter case, Czech letters included; exact ones take the whole text.
    QCOMPARE(codesFound({.author = u"dvořák"_s, .exactAuthor = false}), words("A120"));
    QCOMPARE(codesFound({.code = u"12"_s, .exactCode = false}), words("A120 A12"));
    QCOMPARE(codesFound({.author = u"Karel Čapek"_s}), words("B7 A12"));
    QCOMPARE(codesFound({.author = u"Karel Čapek"_s, .publisher = u"Odeon"_s}), QStringList());
    QCOMPARE(codesFound({.publisher = u"Odeon"_s, .exactPublisher = false}), words("B7 A12"));

    // Ranges include both ends.
    QCOMPARE(codesFound({.priceFrom = u"100"_s, .priceTo = u"200"_s}), words("D1 C3 B7 A120"));
    // A decimal comma as typed.
    QCOMPARE(codesFound({.priceFrom = u"99,5"_s, .priceTo = u"100"_s}), words("D1 C3 A12"));
    QCOMPARE(codesFound({.accessionFrom = u"6"_s, .accessionTo = u"7"_s}), words("B7 A12"));
    QCOMPARE(codesFound({.acquiredFrom = u"1.1.2005"_s}), words("A12"));
    QCOMPARE(codesFound({.category = naucna}), words("B7"));

    // A keyword matches whole keywords only: "les" is not found in "lesník"; several keywords
    // must all be present.
    QCOMPARE(codesFound({.keywords = {u"les"_s}}), words("C3 B7"));
    QCOMPARE(codesFound({.keywords = {u"les"_s, u"voda"_s}}), words("B7"));
    QCOMPARE(codesFound({.keywords = {u"LESNÍK"_s}}), words("A12"));

    // Loan state, with and without the borrower. A client code is not even looked up unless
    // "Vypůjčeno" is checked.
    QCOMPARE(codesFound({.considerLoan = true}), words("D1 C3 B7"));
    QCOMPARE(codesFound({.considerLoan = true, .lent = true}), words("A120 A12"));
    QCOMPARE(codesFound({.considerLoan = true, .lent = true, .clientCode = u"K2"_s}), words("A12"));
    QCOMPARE(codesFound({.considerLoan = true, .clientCode = u"NOBODY"_s}), words("D1 C3 B7"));

    // Discard state and dates.
    QCOMPARE(codesFound({.considerDiscard = true}), words("B7 A120 A12"));
    QCOMPARE(codesFound({.considerDiscard = true, .discarded = true}), words("D1 C3"));
    QCOMPARE(codesFound({.considerDiscard = true, .discarded = true, .discardTo = u"31.12.2019"_s}),
             words("C3"));
    QCOMPARE(codesFound({.considerDiscard = true, .discarded = true, .discardFrom = u"1.1.2020"_s}),
             words("D1"));
    // Discard dates count only with both boxes checked; unread, even a bad one is no failure.
    SearchCriteria c{.discardFrom = u"31.2.2020"_s, .discardTo = u"nonsense"_s};
    QCOMPARE(codesFound(c), all);
    c.considerDiscard = true;
    QCOMPARE(codesFound(c), words("B7 A120 A12"));
    c.considerDiscard = false;
    c.discarded = true;
    QCOMPARE(codesFound(c), all);
    c.considerDiscard = true;
    QCOMPARE(checkOf(c), failure(106, SearchField::DiscardTo));
}

QTEST_GUILESS_MAIN(TestSearchCore)
#include "test_searchcore.moc"
