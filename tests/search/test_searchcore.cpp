#include "data/database.h"
#include "data/recordsets.h"
#include "search/searchcore.h"
#include "support/testsupport.h"

#include <QtTest>

namespace {

const QString Select = QStringLiteral("SELECT * FROM KNIHY WHERE 1 ");
const QString Order = QStringLiteral(" ORDER BY KNIHY.KOD DESC");

// The statement between the fixed start and end, or the failed check as "message/field".
QString clausesFor(SearchCriteria c)
{
    SearchValues v;
    const SearchCheck check = ValidateCriteria(c, v);
    if (!check.passed())
        return QStringLiteral("%1/%2").arg(check.message).arg(int(check.field));
    const QString sql = BuildSearchSql(c, v);
    if (!sql.startsWith(Select) || !sql.endsWith(Order))
        return QStringLiteral("malformed: ") + sql;
    return sql.mid(Select.size(), sql.size() - Select.size() - Order.size());
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

// "D1 C3" as a list of codes.
QStringList books(const char *codes)
{
    return QString::fromUtf8(codes).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

SearchCriteria partial()
{
    SearchCriteria c;
    c.exactCode = c.exactTitle = c.exactAuthor = c.exactPublisher = false;
    return c;
}

} // namespace

class TestSearchCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestLibrary::bothEngines(); }
    void init() { FOLIVO_ENGINE_INIT(); }
    void emptyForm();
    void clauseForms();
    void clauseOrder();
    void keywordsAndStates();
    void validationOrder();
    void clientLookup();
    void newKeywords();
    void statementsOnDatabase();
};

void TestSearchCore::emptyForm()
{
    SearchCriteria c;
    SearchValues v;
    QVERIFY(ValidateCriteria(c, v).passed());
    QCOMPARE(BuildSearchSql(c, v), QStringLiteral("SELECT * FROM KNIHY WHERE 1  ORDER BY KNIHY.KOD DESC"));
    // Blank texts count as empty.
    c.code = QStringLiteral("   ");
    c.priceTo = QStringLiteral(" ");
    c.acquiredFrom = QStringLiteral("\t");
    QVERIFY(ValidateCriteria(c, v).passed());
    QVERIFY(!v.useCode && !v.usePriceTo && !v.useAcquiredFrom);
    QCOMPARE(BuildSearchSql(c, v), QStringLiteral("SELECT * FROM KNIHY WHERE 1  ORDER BY KNIHY.KOD DESC"));
}

void TestSearchCore::clauseForms()
{
    SearchCriteria c;
    c.code = QStringLiteral(" 12 ");
    QCOMPARE(clausesFor(c), QStringLiteral("AND KOD = '12' "));
    c.exactCode = false;
    QCOMPARE(clausesFor(c), QStringLiteral("AND KOD LIKE '*12*' "));

    // Exact forms of the other texts (their partial forms are in clauseOrder).
    c = SearchCriteria{};
    c.title = QStringLiteral("Babička");
    c.author = QStringLiteral("Čapek");
    c.publisher = QStringLiteral("Odeon");
    QCOMPARE(clausesFor(c),
             QStringLiteral("AND AUTOR = 'Čapek' AND NAZEV = 'Babička' AND VYDAVATEL = 'Odeon' "));

    // Prices with six decimals and a point, whatever the typed separator; "to" before "from".
    c = SearchCriteria{};
    c.priceFrom = QStringLiteral("100");
    c.priceTo = QStringLiteral("200");
    QCOMPARE(clausesFor(c), QStringLiteral("AND CENA <= 200.000000 AND CENA >= 100.000000 "));
    c.priceFrom = QStringLiteral("99,5");
    c.priceTo = QString();
    QCOMPARE(clausesFor(c), QStringLiteral("AND CENA >= 99.500000 "));
}

void TestSearchCore::clauseOrder()
{
    TestLibrary lib;
    const qint32 client = lib.addClient(QStringLiteral("K017"));

    SearchCriteria c = partial();
    c.code = QStringLiteral("A1");
    c.accessionFrom = QStringLiteral("1");
    c.accessionTo = QStringLiteral("99");
    c.title = QStringLiteral("Válka");
    c.author = QStringLiteral("Čapek");
    c.publisher = QStringLiteral("Odeon");
    c.priceFrom = QStringLiteral("10");
    c.priceTo = QStringLiteral("20.25");
    c.category = 3;
    c.acquiredFrom = QStringLiteral("1.1.2000");
    c.acquiredTo = QStringLiteral("2.1.2000");
    c.keywords = {QStringLiteral("mloci"), QStringLiteral("válka")};
    c.considerLoan = c.lent = true;
    c.clientCode = QStringLiteral("K017");
    c.considerDiscard = c.discarded = true;
    c.discardFrom = QStringLiteral("1.2.01"); // a short year is this century's
    c.discardTo = QStringLiteral("28.2.2001");
    SearchValues v;
    QVERIFY(ValidateCriteria(c, v).passed());
    QCOMPARE(v.clientId, client);
    QCOMPARE(BuildSearchSql(c, v),
             QStringLiteral(
                 "SELECT * FROM KNIHY WHERE 1 AND AUTOR LIKE '*Čapek*' AND CENA <= 20.250000 "
                 "AND CENA >= 10.000000 AND ID_KATEGORIE_KNIHY = 3 AND KOD LIKE '*A1*' "
                 "AND NAZEV LIKE '*Válka*' AND DATUM_PORIZENI <= 20000102 AND DATUM_PORIZENI >= 20000101 "
                 "AND PRIRUSTEK <= 99 AND PRIRUSTEK >= 1 AND VYDAVATEL LIKE '*Odeon*' AND VYPUJCENO "
                 "AND ID_LIDE_KNIHY = %1 AND VYRAZENO AND DATUM_VYRAZENI >= 20010201 "
                 "AND DATUM_VYRAZENI <= 20010228 AND KLICOVA_SLOVA LIKE '*~válka~*' "
                 "AND KLICOVA_SLOVA LIKE '*~mloci~*'  ORDER BY KNIHY.KOD DESC")
                 .arg(client));
}

void TestSearchCore::keywordsAndStates()
{
    // Keywords from the last row to the first, each between tildes.
    SearchCriteria c;
    c.keywords = {QStringLiteral("a"), QStringLiteral("b")};
    QCOMPARE(clausesFor(c), QStringLiteral("AND KLICOVA_SLOVA LIKE '*~b~*' AND KLICOVA_SLOVA LIKE '*~a~*' "));

    // A state box on its own asks for the opposite state.
    c = SearchCriteria{};
    c.considerLoan = true;
    QCOMPARE(clausesFor(c), QStringLiteral("AND NOT VYPUJCENO "));
    c.lent = true;
    QCOMPARE(clausesFor(c), QStringLiteral("AND VYPUJCENO "));
    c = SearchCriteria{};
    c.considerDiscard = true;
    QCOMPARE(clausesFor(c), QStringLiteral("AND NOT VYRAZENO "));
    c.discarded = true;
    QCOMPARE(clausesFor(c), QStringLiteral("AND VYRAZENO "));
    c.discardFrom = QStringLiteral("1.1.2020");
    QCOMPARE(clausesFor(c), QStringLiteral("AND VYRAZENO AND DATUM_VYRAZENI >= 20200101 "));

    // Discard dates count only with both boxes checked; unread, even a bad one is no failure.
    c = SearchCriteria{};
    c.discardFrom = QStringLiteral("1.1.2020");
    c.discardTo = QStringLiteral("nonsense");
    QCOMPARE(clausesFor(c), QString());
    c.considerDiscard = true;
    QCOMPARE(clausesFor(c), QStringLiteral("AND NOT VYRAZENO "));
    c.considerDiscard = false;
    c.discarded = true;
    QCOMPARE(clausesFor(c), QString());
    c.considerDiscard = true;
    QCOMPARE(clausesFor(c), failure(106, SearchField::DiscardTo));
    c.discardTo = QStringLiteral("31.1.2020");
    QCOMPARE(clausesFor(c),
             QStringLiteral("AND VYRAZENO AND DATUM_VYRAZENI >= 20200101 AND DATUM_VYRAZENI <= 20200131 "));

    // A client code is not even looked up unless "Vypůjčeno" is checked.
    c = SearchCriteria{};
    c.clientCode = QStringLiteral("NOBODY");
    QCOMPARE(clausesFor(c), QString());
    c.considerLoan = true;
    QCOMPARE(clausesFor(c), QStringLiteral("AND NOT VYPUJCENO "));
}

void TestSearchCore::validationOrder()
{
    TestLibrary lib;

    // Forbidden characters: code, title, author, publisher, client code, in this order, before
    // anything else is looked at.
    SearchCriteria c;
    c.clientCode = QStringLiteral("K*");
    c.priceTo = QStringLiteral("abc");
    QCOMPARE(clausesFor(c), failure(119, SearchField::ClientCode));
    c.publisher = QStringLiteral("O'Neill");
    QCOMPARE(clausesFor(c), failure(119, SearchField::Publisher));
    c.author = QStringLiteral("[x]");
    QCOMPARE(clausesFor(c), failure(119, SearchField::Author));
    c.title = QStringLiteral("50%");
    QCOMPARE(clausesFor(c), failure(119, SearchField::Title));
    c.code = QStringLiteral("A*");
    QCOMPARE(clausesFor(c), failure(119, SearchField::Code));

    // Prices: "to" is read first.
    c = SearchCriteria{};
    c.priceFrom = QStringLiteral("x");
    c.priceTo = QStringLiteral("y");
    QCOMPARE(clausesFor(c), failure(106, SearchField::PriceTo));
    c.priceTo = QStringLiteral("5");
    QCOMPARE(clausesFor(c), failure(106, SearchField::PriceFrom));

    // The client is looked up after the prices and before the dates and numbers.
    c = SearchCriteria{};
    c.considerLoan = c.lent = true;
    c.clientCode = QStringLiteral("NOBODY");
    c.acquiredTo = QStringLiteral("32.1.2000");
    c.priceFrom = QStringLiteral("abc");
    QCOMPARE(clausesFor(c), failure(106, SearchField::PriceFrom));
    c.priceFrom.clear();
    QCOMPARE(clausesFor(c), failure(15, SearchField::ClientCode));

    // Dates and accession numbers: acquisition to, from, accession to, from, discard to, from.
    c = SearchCriteria{};
    c.acquiredTo = QStringLiteral("32.1.2000");
    c.acquiredFrom = QStringLiteral("1.13.2000");
    c.accessionTo = QStringLiteral("1.5");
    c.accessionFrom = QStringLiteral("x");
    c.considerDiscard = c.discarded = true;
    c.discardTo = QStringLiteral("0.0.0");
    c.discardFrom = QStringLiteral("yesterday");
    const std::pair<QString *, SearchField> order[] = {
        {&c.acquiredTo, SearchField::AcquiredTo},   {&c.acquiredFrom, SearchField::AcquiredFrom},
        {&c.accessionTo, SearchField::AccessionTo}, {&c.accessionFrom, SearchField::AccessionFrom},
        {&c.discardTo, SearchField::DiscardTo},     {&c.discardFrom, SearchField::DiscardFrom}};
    for (const auto &[text, field] : order) {
        QCOMPARE(clausesFor(c), failure(106, field));
        text->clear();
    }
    QCOMPARE(clausesFor(c), QStringLiteral("AND VYRAZENO "));

    // The checked criteria come back trimmed.
    c = SearchCriteria{};
    c.code = QStringLiteral("  A ");
    c.clientCode = QStringLiteral(" K'1 ");
    SearchValues v;
    QCOMPARE(ValidateCriteria(c, v).message, 119);
    QCOMPARE(c.code, QStringLiteral("A"));
    QCOMPARE(c.clientCode, QStringLiteral("K'1"));
}

void TestSearchCore::clientLookup()
{
    TestLibrary lib;
    const qint32 shown = lib.addClient(QStringLiteral("K1"));
    lib.addClient(QStringLiteral("K2"), QStringLiteral("Eva"), QStringLiteral("Skrytá"), false);

    SearchCriteria c;
    c.considerLoan = c.lent = true;
    c.clientCode = QStringLiteral(" K1 ");
    QCOMPARE(clausesFor(c), QStringLiteral("AND VYPUJCENO AND ID_LIDE_KNIHY = %1 ").arg(shown));
    // A hidden client is not found.
    c.clientCode = QStringLiteral("K2");
    QCOMPARE(clausesFor(c), failure(15, SearchField::ClientCode));

    // A failing database stops the search with the clients' message.
    Database::close();
    c.clientCode = QStringLiteral("K1");
    QCOMPARE(clausesFor(c), failure(13, SearchField::None));
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
    QCOMPARE(list, books("Ara Bor cibule Čáp Hora chata les zima"));
}

void TestSearchCore::statementsOnDatabase()
{
    TestLibrary lib;
    const qint32 beletrie = lib.addCategory(QStringLiteral("Beletrie"));
    const qint32 naucna = lib.addCategory(QStringLiteral("Naučná"));
    const qint32 k1 = lib.addClient(QStringLiteral("K1"));
    const qint32 k2 = lib.addClient(QStringLiteral("K2"));

    auto book = [&](const char *code) {
        TestLibrary::BookSpec s{QString::fromUtf8(code)};
        s.category = beletrie;
        return s;
    };
    TestLibrary::BookSpec s = book("A120");
    s.withTitle(QStringLiteral("Rusalka"), QStringLiteral("ANTONÍN DVOŘÁK"));
    s.price = 150;
    s.accession = 5;
    s.keywords = QStringLiteral("~opera~~voda~");
    const qint32 a120 = lib.addBook(s);
    s = book("A12");
    s.withTitle(QStringLiteral("Válka s mloky"), QStringLiteral("Karel Čapek"));
    s.price = 99.5f;
    s.accession = 6;
    s.acquired = 20050307;
    s.keywords = QStringLiteral("~lesník~~válka~");
    const qint32 a12 = lib.addBook(s);
    s = book("B7");
    s.withTitle(QStringLiteral("Lesy"), QStringLiteral("Karel Čapek"));
    s.category = naucna;
    s.price = 200;
    s.accession = 7;
    s.keywords = QStringLiteral("~les~~voda~");
    lib.addBook(s);
    s = book("C3");
    s.withTitle(QStringLiteral("Staré pověsti"), QStringLiteral("Alois Jirásek"));
    s.price = 100;
    s.accession = 8;
    s.discarded = true;
    s.discardedOn = 20100615;
    s.keywords = QStringLiteral("~les~");
    lib.addBook(s);
    s = book("D1");
    s.discarded = true;
    s.discardedOn = 20200101;
    lib.addBook(s);
    runSql(QStringLiteral("UPDATE KNIHY SET VYDAVATEL = 'Odeon Praha' WHERE KOD IN ('A12', 'B7')"));
    lib.lend({a120}, k1, 20260301);
    lib.lend({a12}, k2, 20260302);

    // The empty form finds every book, discarded ones too, highest code first.
    QCOMPARE(codesFound(SearchCriteria{}), books("D1 C3 B7 A120 A12"));

    // Partial matches ignore letter case, Czech letters included; exact ones take the whole text.
    SearchCriteria c = partial();
    c.author = QStringLiteral("dvořák");
    QCOMPARE(codesFound(c), books("A120"));
    c = partial();
    c.code = QStringLiteral("12");
    QCOMPARE(codesFound(c), books("A120 A12"));
    c = SearchCriteria{};
    c.code = QStringLiteral("A12");
    QCOMPARE(codesFound(c), books("A12"));
    c = SearchCriteria{};
    c.author = QStringLiteral("Karel Čapek");
    QCOMPARE(codesFound(c), books("B7 A12"));
    c.publisher = QStringLiteral("Odeon");
    QCOMPARE(codesFound(c), QStringList());
    c.exactPublisher = false;
    QCOMPARE(codesFound(c), books("B7 A12"));

    // Ranges include both ends.
    c = SearchCriteria{};
    c.priceFrom = QStringLiteral("100");
    c.priceTo = QStringLiteral("200");
    QCOMPARE(codesFound(c), books("D1 C3 B7 A120"));
    c = SearchCriteria{};
    c.accessionFrom = QStringLiteral("6");
    c.accessionTo = QStringLiteral("7");
    QCOMPARE(codesFound(c), books("B7 A12"));
    c = SearchCriteria{};
    c.acquiredFrom = QStringLiteral("1.1.2005");
    QCOMPARE(codesFound(c), books("A12"));
    c = SearchCriteria{};
    c.category = naucna;
    QCOMPARE(codesFound(c), books("B7"));

    // A keyword matches whole keywords only: "les" is not found in "lesník"; several keywords
    // must all be present.
    c = SearchCriteria{};
    c.keywords = {QStringLiteral("les")};
    QCOMPARE(codesFound(c), books("C3 B7"));
    c.keywords = {QStringLiteral("les"), QStringLiteral("voda")};
    QCOMPARE(codesFound(c), books("B7"));
    c.keywords = {QStringLiteral("LESNÍK")};
    QCOMPARE(codesFound(c), books("A12"));

    // Loan state, with and without the borrower.
    c = SearchCriteria{};
    c.considerLoan = true;
    QCOMPARE(codesFound(c), books("D1 C3 B7"));
    c.lent = true;
    QCOMPARE(codesFound(c), books("A120 A12"));
    c.clientCode = QStringLiteral("K2");
    QCOMPARE(codesFound(c), books("A12"));

    // Discard state and dates.
    c = SearchCriteria{};
    c.considerDiscard = true;
    QCOMPARE(codesFound(c), books("B7 A120 A12"));
    c.discarded = true;
    QCOMPARE(codesFound(c), books("D1 C3"));
    c.discardTo = QStringLiteral("31.12.2019");
    QCOMPARE(codesFound(c), books("C3"));
    c.discardTo.clear();
    c.discardFrom = QStringLiteral("1.1.2020");
    QCOMPARE(codesFound(c), books("D1"));
}

QTEST_GUILESS_MAIN(TestSearchCore)
#include "test_searchcore.moc"
