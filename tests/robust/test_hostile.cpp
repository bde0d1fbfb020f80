#include "app/appstate.h"
#include "app/rvedit.h"
#include "catalogue/bookcore.h"
#include "catalogue/bookform.h"
#include "catalogue/pageopravy.h"
#include "catalogue/undodiscard.h"
#include "circulation/pagevypujcky.h"
#include "data/checks.h"
#include "data/consistency.h"
#include "data/database.h"
#include "registers/registercommands.h"
#include "registers/registercore.h"
#include "reports/reportcore.h"
#include "robust/robustsupport.h"
#include "search/searchcore.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QLineEdit>
#include <QtTest>

// Hostile text in every field that reaches a statement: quotes, brackets, wildcards, statement
// separators, comment marks, a backslash, NUL, a very long text and mixed scripts. Each is
// refused with message 119 or handled as the plain text it is (not found, or saved exactly);
// never a database error, and no row anywhere changes unless the action saves one.
class TestHostile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void lookupsOfThePages();
    void savedTexts();
    void searchAndReports();
};

namespace {

const QStringList &hostileTexts()
{
    static const QStringList texts = [] {
        QStringList t = {QStringLiteral("'"),
                         QStringLiteral("["),
                         QStringLiteral("]"),
                         QStringLiteral("%"),
                         QStringLiteral("*"),
                         QStringLiteral("\""),
                         QStringLiteral(";"),
                         QStringLiteral("--"),
                         QStringLiteral("\\"),
                         QStringLiteral("x'; DELETE FROM KNIHY; --"),
                         QStringLiteral("A\" OR \"1\"=\"1"),
                         QStringLiteral("a;b -- c"),
                         QStringLiteral("C:\\knihy\\"),
                         QStringLiteral("?_"),
                         QStringLiteral("Žluťoučký kůň Ωμέγα Жук 漢字 🙂"),
                         QString(10000, u'x'),
                         QString(5000, u'ž') + QStringLiteral("–") + QString(4999, u'\\')};
        t << QStringLiteral("A") + QChar(u'\0') + QStringLiteral("B");
        t << QString(QChar(u'\0'));
        return t;
    }();
    return texts;
}

QString shown(const QString &text)
{
    QString s = text.left(40);
    s.replace(QChar(u'\0'), QStringLiteral("<NUL>"));
    return s + (text.size() > 40 ? QStringLiteral("...(%1)").arg(text.size()) : QString());
}

// Every row that was there is still there unchanged, and one row more: the saved one. The IDS
// row is left out, its counter moves with every save.
bool oneRowAdded(const QStringList &before, const QStringList &after)
{
    auto rows = [](const QStringList &all) {
        QSet<QString> out;
        for (const QString &r : all)
            if (!r.startsWith(QLatin1String("IDS|")))
                out.insert(r);
        return out;
    };
    const QSet<QString> b = rows(before), a = rows(after);
    return a.contains(b) && a.size() == b.size() + 1;
}

// Runs one lookup with the text; the message must be 119 for a text with a forbidden character
// and otherwise the page's "not found" message, and nothing in the library may change.
#define LOOKUP(notFound, setText, action)                                                                    \
    for (const QString &t : hostileTexts()) {                                                                \
        const QStringList before_ = tableSnapshot();                                                         \
        rec.clear();                                                                                         \
        setText;                                                                                             \
        action;                                                                                              \
        const int expected_ = hasForbiddenChars(t.trimmed()) ? 119 : (notFound);                             \
        QVERIFY2(rec.numbers() == QList<int>{expected_},                                                     \
                 qPrintable(QStringLiteral("%1: %2 for %3")                                                  \
                                .arg(QString::fromLatin1(#action), shown(t))                                 \
                                .arg(rec.numbers().isEmpty() ? -1 : rec.numbers().first())));                \
        QVERIFY(tableSnapshot() == before_);                                                                 \
    }

} // namespace

void TestHostile::init()
{
    SettingsRecord &s = AppState::instance().settings;
    s.loanProtocol = SettingsRecord::PrintNever;
    s.returnProtocol = SettingsRecord::PrintNever;
    AppState::instance().history.clear();
}

void TestHostile::lookupsOfThePages()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    // Books and clients whose codes are the harmless prefixes of the hostile texts: a text cut
    // short on its way into a statement would find them.
    for (const char *code : {"A", "x", "C:", "Žluťoučký"})
        lib.addBook(QString::fromUtf8(code));
    lib.addClient(QStringLiteral("A"));
    lib.addClient(QStringLiteral("x"));
    MessageRecorder rec;
    {
        CPageVypujcky page;
        page.show();
        LOOKUP(57, child<QLineEdit>(&page, "bookCode")->setText(t), page.lookUpBook());
        LOOKUP(64, child<QLineEdit>(&page, "clientCode")->setText(t), page.lookUpClient());
    }
    {
        CUndoDiscardDialog dialog;
        QVERIFY(dialog.prepare());
        dialog.show();
        LOOKUP(122, child<QLineEdit>(&dialog, "code")->setText(t), dialog.lookUp());
    }
    {
        CPageOpravy page;
        page.show();
        page.onActivate();
        LOOKUP(41, page.form()->code->setText(t), page.load());
    }
    QCOMPARE(checkLibrary(), QStringList());
}

void TestHostile::savedTexts()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    lib.addBook(QStringLiteral("A"));
    lib.addClient(QStringLiteral("A"));
    MessageRecorder rec;
    int n = 0;
    for (const QString &t : hostileTexts()) {
        ++n;
        const QString trimmed = t.trimmed();
        const bool forbidden = hasForbiddenChars(trimmed);

        // A new book: the code is checked; the other texts are written as they are.
        BookTexts texts;
        texts.code = forbidden ? trimmed : trimmed + QString::number(n);
        texts.accession = QString::number(1000 + n);
        texts.date = QStringLiteral("1.3.2026");
        texts.title = t;
        texts.author = t;
        texts.category = QStringLiteral("Beletrie");
        texts.publisher = t;
        texts.annotation = t;
        texts.price = QStringLiteral("10");
        QStringList before = tableSnapshot();
        const BookCheck check = checkBookEntry(texts);
        if (forbidden) {
            QVERIFY2(check.message == 119, qPrintable(shown(t)));
            QCOMPARE(tableSnapshot(), before);
        } else {
            QVERIFY2(check.ok(), qPrintable(QStringLiteral("%1: %2").arg(shown(t)).arg(check.message)));
            const qint32 id = addBook(check.entry);
            const std::optional<BookRow> row = findBookById(id);
            QVERIFY(row);
            QCOMPARE(row->code, texts.code.trimmed());
            QVERIFY2(row->title == trimmed || row->title == t, qPrintable(shown(t)));
            QCOMPARE(row->author, check.entry.author);
            QCOMPARE(row->publisher, check.entry.publisher);
            QCOMPARE(row->annotation, check.entry.annotation);
            // Found again by its code, exactly this book.
            const std::optional<BookRow> found = findBookInUse(row->code);
            QVERIFY2(found && found->id == id, qPrintable(shown(t)));
            QVERIFY2(oneRowAdded(before, tableSnapshot()), qPrintable(shown(t)));
        }

        // A category: 119, or saved under exactly this name and found by it.
        const QString name = forbidden ? trimmed : trimmed + QString::number(n);
        before = tableSnapshot();
        const int nameCheck = Registers::categoryNameMessage(name);
        if (forbidden) {
            QCOMPARE(nameCheck, 119);
        } else {
            QVERIFY2(nameCheck == 0, qPrintable(QStringLiteral("%1: %2").arg(shown(t)).arg(nameCheck)));
            QVERIFY(RegisterCommands::saveNewCategory(nullptr, name));
            QCOMPARE(Registers::categoryNameMessage(name), 5);
            QVERIFY2(oneRowAdded(before, tableSnapshot()), qPrintable(shown(t)));
        }

        // A client: the code is checked, the names are written as they are.
        Registers::ClientEntry entry;
        entry.code = forbidden ? t : t + QString::number(n);
        entry.first = t.isEmpty() ? QStringLiteral("Jan") : t;
        entry.surname = QStringLiteral("Novák ") + t;
        entry.extended = true;
        entry.address = t;
        entry.function = t;
        entry.document = t;
        Registers::ClientData data;
        before = tableSnapshot();
        const Registers::ClientCheck clientCheck = Registers::checkClientEntry(entry, nullptr, &data);
        if (forbidden) {
            QCOMPARE(clientCheck.message, 119);
            QCOMPARE(tableSnapshot(), before);
        } else if (clientCheck.message == 9) {
            QVERIFY(entry.first.trimmed().isEmpty()); // a name of blanks only is missing
        } else {
            QVERIFY2(clientCheck.message == 0,
                     qPrintable(QStringLiteral("%1: %2").arg(shown(t)).arg(clientCheck.message)));
            QVERIFY(RegisterCommands::saveNewClient(nullptr, data));
            const std::optional<Registers::ClientRecord> saved = Registers::clientByCode(data.code);
            QVERIFY2(saved, qPrintable(shown(t)));
            QCOMPARE(saved->data.code, QString(t + QString::number(n)).trimmed());
            QCOMPARE(saved->data.surname, data.surname);
            QCOMPARE(saved->data.address, data.address);
            QCOMPARE(Registers::clientCodeMessage(data.code), 11);
            QVERIFY2(oneRowAdded(before, tableSnapshot()), qPrintable(shown(t)));
        }
    }
    QCOMPARE(checkLibrary(), QStringList());
}

void TestHostile::searchAndReports()
{
    TestLibrary lib;
    lib.addCategory(QStringLiteral("Beletrie"));
    lib.addBook(QStringLiteral("A"));
    lib.addClient(QStringLiteral("A"));
    const QStringList before = tableSnapshot();
    for (const QString &t : hostileTexts()) {
        const bool forbidden = hasForbiddenChars(t.trimmed());
        // Each text field of the search form alone, then all of them at once (not exact: LIKE).
        for (int field = 0; field < 5; ++field) {
            for (bool exact : {true, false}) {
                SearchCriteria c;
                c.exactCode = c.exactTitle = c.exactAuthor = c.exactPublisher = exact;
                QString *target[] = {&c.code, &c.title, &c.author, &c.publisher, &c.clientCode};
                *target[field] = t;
                if (field == 4)
                    c.considerLoan = c.lent = true;
                SearchValues v;
                const SearchCheck check = ValidateCriteria(c, v);
                if (forbidden) {
                    QVERIFY2(check.message == 119, qPrintable(shown(t)));
                    continue;
                }
                if (field == 4) {
                    // No client has that code: 15, never a database failure (13).
                    QVERIFY2(check.message == 15 || (check.message == 0 && t.trimmed().isEmpty()),
                             qPrintable(QStringLiteral("%1: %2").arg(shown(t)).arg(check.message)));
                    continue;
                }
                QVERIFY2(check.passed(),
                         qPrintable(QStringLiteral("%1: %2").arg(shown(t)).arg(check.message)));
                QSqlQuery q;
                try {
                    q = runJet(BuildSearchSql(c, v));
                } catch (const DbError &e) {
                    QFAIL(qPrintable(QStringLiteral("%1: %2").arg(shown(t), e.text())));
                }
                int rows = 0;
                while (q.next())
                    ++rows;
                // The hostile text matches no book: its prefix "A" must not be found.
                QVERIFY2(rows == 0 || t.trimmed().isEmpty(), qPrintable(shown(t)));
            }
        }
        QString keyword = t;
        const SearchCheck k = checkNewKeyword(keyword, {});
        QVERIFY(k.message == (forbidden ? 119 : keyword.isEmpty() ? 29 : 0));

        ReportClient client;
        const int report = findReportClient(t, &client);
        QVERIFY2(report == (forbidden ? 119 : 15),
                 qPrintable(QStringLiteral("%1: %2").arg(shown(t)).arg(report)));
    }
    QCOMPARE(tableSnapshot(), before);
}

QTEST_MAIN(TestHostile)
#include "test_hostile.moc"
