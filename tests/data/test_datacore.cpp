#include "data/checks.h"
#include "data/dates.h"

#include <QtTest>

class TestDataCore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void dateNumbers();
    void dateTexts();
    void parsing();
    void forbiddenCharacters();
    void keywordLists();
};

void TestDataCore::dateNumbers()
{
    QCOMPARE(dateNumberFromDate(QDate(2005, 3, 7)), 20050307);
    QCOMPARE(dateFromNumber(20050307), QDate(2005, 3, 7));
    QVERIFY(dateNumberFromDate(QDate(1999, 12, 31)) < dateNumberFromDate(QDate(2000, 1, 1)));
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
    QCOMPARE(parseDate(QStringLiteral("7.3.2005")), QDate(2005, 3, 7));
    QCOMPARE(parseDate(QStringLiteral(" 7. 3.2005")), QDate(2005, 3, 7));
    QCOMPARE(parseDate(QStringLiteral("07 . 03 . 2005 ")), QDate(2005, 3, 7));
    QVERIFY(!parseDate(QStringLiteral("31.2.2005")).isValid());
    QVERIFY(!parseDate(QStringLiteral("2005-03-07")).isValid());
    QVERIFY(!parseDate(QString()).isValid());
    QVERIFY(!parseDate(QStringLiteral("7.3.")).isValid());

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
    QVERIFY(parseDecimal(QStringLiteral("100"), &d));
    QVERIFY(parseDecimal(QStringLiteral("-1"), &d));
    QCOMPARE(d, -1.0);
    QVERIFY(!parseDecimal(QStringLiteral("1,2,3"), &d));
    QVERIFY(!parseDecimal(QStringLiteral("abc"), &d));
    QVERIFY(!parseDecimal(QString(), &d));
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
    QCOMPARE(splitKeywordList(QStringLiteral("~a~~b~")),
             (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(splitKeywordList(QStringLiteral("~ a ~~~~b~")),
             (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(splitKeywordList(QStringLiteral("  ")), QStringList());
    QCOMPARE(splitKeywordList(QStringLiteral("~moře~~hory a lesy~")),
             (QStringList{QStringLiteral("moře"), QStringLiteral("hory a lesy")}));
    // A text cut short still yields what it holds.
    QCOMPARE(splitKeywordList(QStringLiteral("~a~~b")),
             (QStringList{QStringLiteral("a"), QStringLiteral("b")}));
}

QTEST_GUILESS_MAIN(TestDataCore)
#include "test_datacore.moc"
