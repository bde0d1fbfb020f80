#include "data/checks.h"
#include "data/dates.h"
#include "support/testsupport.h"

#include <QtTest>

class TestDataCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void dateNumbers();
    void dateTexts();
    void parsing();
    void typedYearsAndDays_data();
    void typedYearsAndDays();
    void forbiddenCharacters();
    void keywordLists();
};

void TestDataCore::dateNumbers()
{
    QCOMPARE(dateNumberFromDate(QDate(2005, 3, 7)), 20050307);
    QCOMPARE(dateFromNumber(20050307), QDate(2005, 3, 7));
    QVERIFY(NoDate < 19000101);
    QVERIFY(!dateFromNumber(NoDate).isValid());
    // Calendar days, not the difference of the numbers.
    QCOMPARE(daysBetween(20050228, 20050302), 2);
    QCOMPARE(daysBetween(20041231, 20050101), 1);
    QCOMPARE(daysBetween(20050310, 20050307), -3);
    QCOMPARE(daysBetween(20080228, 20080301), 2); // leap year
}

void TestDataCore::dateTexts()
{
    QCOMPARE(dateText(20050307), QStringLiteral(" 7. 3.2005"));
    QCOMPARE(dateText(20051105), QStringLiteral(" 5.11.2005"));
    QCOMPARE(dateText(20051231), QStringLiteral("31.12.2005"));
    QCOMPARE(dateText(NoDate), QString());
    QCOMPARE(dateText(QDate(2005, 3, 7)), QStringLiteral(" 7. 3.2005"));
}

void TestDataCore::parsing()
{
    qint32 n = 0;
    QVERIFY(parseWhole(QStringLiteral(" 42 "), &n));
    QCOMPARE(n, 42);
    QVERIFY(parseWhole(QStringLiteral("-3"), &n));
    QCOMPARE(n, -3);
    QVERIFY(!parseWhole(QStringLiteral("4 2"), &n));
    QVERIFY(!parseWhole(QStringLiteral("99999999999"), &n));
    QVERIFY(!parseWhole(QStringLiteral("1.5"), &n));

    double d = 0;
    QVERIFY(parseDecimal(QStringLiteral("12,50"), &d));
    QCOMPARE(d, 12.5);
    QVERIFY(parseDecimal(QStringLiteral("0.05"), &d));
    QCOMPARE(d, 0.05);
    QVERIFY(parseDecimal(QStringLiteral("-1"), &d));
    QCOMPARE(d, -1.0);
    QVERIFY(!parseDecimal(QStringLiteral("1,2,3"), &d));
    QVERIFY(!parseDecimal(QStringLiteral("abc"), &d));
    QVERIFY(!parseDecimal(QString(), &d));
}

// How a typed date reads: a short year falls into 1930-2029, a longer one is kept as typed, and
// the day must exist in its month. The date number stored is what the librarian meant: "1.3.25"
// is 20250301 and "3.4.80" 19800403, never the years 25 and 80.
void TestDataCore::typedYearsAndDays_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("stored"); // the date number, or -1 when the text is not a date

    QTest::newRow("full year") << "7.3.2005" << 20050307;
    QTest::newRow("shown form") << " 7. 3.2005" << 20050307;
    QTest::newRow("blanks and zeros") << "07 . 03 . 2005 " << 20050307;
    QTest::newRow("ISO form") << "2005-03-07" << -1;
    QTest::newRow("empty") << "" << -1;
    QTest::newRow("no year") << "7.3." << -1;
    QTest::newRow("acquisition 1.3.25") << "1.3.25" << 20250301;
    QTest::newRow("birth 3.4.80") << "3.4.80" << 19800403;
    QTest::newRow("displayed form") << "15. 5.  26" << 20260515;
    QTest::newRow("00 is 2000") << "1.1.00" << 20000101;
    QTest::newRow("29 is 2029") << "31.12.29" << 20291231;
    QTest::newRow("30 is 1930") << "1.1.30" << 19300101;
    QTest::newRow("99 is 1999") << "31.12.99" << 19991231;
    QTest::newRow("100 as typed") << "1.1.100" << 1000101;
    QTest::newRow("0099 as typed") << "1.1.0099" << 990101;
    QTest::newRow("four digits") << "1.1.1929" << 19290101;
    QTest::newRow("year 000") << "1.1.000" << -1;
    QTest::newRow("leap 2024 short") << "29.2.24" << 20240229;
    QTest::newRow("not leap 2023 short") << "29.2.23" << -1;
    QTest::newRow("leap 2000") << "29.2.2000" << 20000229;
    QTest::newRow("not leap 1900") << "29.2.1900" << -1;
    QTest::newRow("30 February") << "30.2.2024" << -1;
    QTest::newRow("31 April") << "31.4.26" << -1;
    QTest::newRow("30 April") << "30.4.26" << 20260430;
    QTest::newRow("day 0") << "0.1.26" << -1;
    QTest::newRow("month 13") << "1.13.26" << -1;
    QTest::newRow("five-digit year") << "1.1.20260" << -1;
    QTest::newRow("compact 250301") << "250301" << -1;
}

void TestDataCore::typedYearsAndDays()
{
    QFETCH(QString, typed);
    QFETCH(int, stored);
    const QDate date = parseDate(typed);
    QCOMPARE(dateNumberFromDate(date), stored);
    // The shown form reads back as the same day (a year below 100 is shown with blanks and so
    // reads back as a short year, which only a typed 0099 reaches).
    if (date.isValid() && date.year() >= 100)
        QCOMPARE(parseDate(dateText(date)), date);
}

void TestDataCore::forbiddenCharacters()
{
    QVERIFY(hasForbiddenChars(QStringLiteral("O'Brien")));
    QVERIFY(hasForbiddenChars(QStringLiteral("50%")));
    QVERIFY(hasForbiddenChars(QStringLiteral("[x]")));
    QVERIFY(hasForbiddenChars(QStringLiteral("a*")));
    QVERIFY(!hasForbiddenChars(QStringLiteral("Čapek; -- \"x\" \\ ~")));
    QVERIFY(!hasForbiddenChars(QString()));
}

void TestDataCore::keywordLists()
{
    bool any = true;
    QCOMPARE(joinKeywordList({}, &any), QString());
    QVERIFY(!any);
    QCOMPARE(joinKeywordList({QStringLiteral("a"), QStringLiteral("b")}, &any), QStringLiteral("~a~~b~"));
    QVERIFY(any);
    QCOMPARE(splitKeywordList(QStringLiteral("~a~~b~")), words("a b"));
    QCOMPARE(splitKeywordList(QStringLiteral("~ a ~~~~b~")), words("a b"));
    QCOMPARE(splitKeywordList(QStringLiteral("  ")), QStringList());
    QCOMPARE(splitKeywordList(QStringLiteral("~moře~~hory a lesy~")),
             (QStringList{QStringLiteral("moře"), QStringLiteral("hory a lesy")}));
    // A text cut short still yields what it holds.
    QCOMPARE(splitKeywordList(QStringLiteral("~a~~b")), words("a b"));
}

QTEST_GUILESS_MAIN(TestDataCore)
#include "test_datacore.moc"
