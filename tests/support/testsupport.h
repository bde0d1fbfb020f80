#pragma once

#include "app/messages.h"
#include "data/dates.h"
#include "reports/reportcore.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantList>

#include <functional>

// A fresh data directory with an empty library database made from the shipped schema, opened
// as the program's database for the life of the object: the file Folivo.db, or a fresh database
// on the test server when the test runs in the "postgresql" row of bothEngines(). A library that
// cannot be made ends the test program.
class TestLibrary final
{
public:
    TestLibrary();
    // The rows "sqlite" and "postgresql" for a test class's initTestCase_data(): every test
    // function runs once on each engine.
    static void bothEngines();
    // For the test class's init(): makes the libraries of the test on its row's engine. False,
    // with the reason, when the row needs a server and none can be had (see FOLIVO_ENGINE_INIT).
    static bool useEngineOfRow(QString *why);
    static bool onServer();
    ~TestLibrary();
    bool isValid() const { return m_valid; }
    QString dir() const { return m_dir.path(); }
    QString dbPath() const;
    // The library's place as Database::open and --database take it: the file, or the server's URL.
    QString location() const { return m_url.isEmpty() ? dbPath() : m_url; }
    // Opens the library again after a test closed it (for a command run on it meanwhile).
    bool reopen();
    // The options that name this library on folivo-cli's command line.
    QStringList cliOptions() const;

    // Builders: each writes its row with an identifier taken from IDS, as the program would.
    qint32 addCategory(const QString &name, bool visible = true);
    qint32 addClient(const QString &code, const QString &first = QStringLiteral("Jan"),
                     const QString &last = QStringLiteral("Novák"), bool visible = true);
    struct BookSpec
    {
        BookSpec() = default;
        explicit BookSpec(const QString &c) : code(c) {}
        BookSpec &withTitle(const QString &t, const QString &a = QString())
        {
            title = t;
            if (!a.isEmpty())
                author = a;
            return *this;
        }
        BookSpec &in(qint32 c) { return with(&BookSpec::category, c); }
        BookSpec &numbered(qint32 n) { return with(&BookSpec::accession, n); }
        BookSpec &acquiredOn(DateNumber d) { return with(&BookSpec::acquired, d); }
        BookSpec &priced(float p) { return with(&BookSpec::price, p); }
        BookSpec &withKeywords(const QString &k) { return with(&BookSpec::keywords, k); }
        BookSpec &discard(DateNumber on = NoDate)
        {
            discarded = true;
            discardedOn = on;
            return *this;
        }
        template <typename T> BookSpec &with(T BookSpec::*field, const T &value)
        {
            this->*field = value;
            return *this;
        }
        QString code;
        qint32 accession = -1; // -1: PRIRUSTEK_MAX + 1
        qint32 category = -1;  // -1: the first category, made when there is none
        QString title = QStringLiteral("Babička");
        QString author = QStringLiteral("Božena Němcová");
        DateNumber acquired = 20000101;
        float price = 100.0f;
        QString keywords; // stored form, ~a~~b~
        bool discarded = false;
        DateNumber discardedOn = NoDate;
    };
    qint32 addBook(const BookSpec &book);
    qint32 addBook(const QString &code) { return addBook(BookSpec(code)); }
    // Lends the books to the client under one new loan number; due NoDate = unlimited.
    qint32 lend(const QList<qint32> &books, qint32 client, DateNumber on, DateNumber due = NoDate);
    // Returns the books under one new return number.
    qint32 giveBack(const QList<qint32> &books, DateNumber on);

    qint64 count(const QString &sql) const; // first column of the first row
    // Makes every write "timing" (BEFORE INSERT, BEFORE UPDATE, ...) on table fail with a database
    // error, for the rows where condition (on NEW, empty for all) holds; a trigger of the engine.
    static void plantFailure(const QString &name, const QString &timing, const QString &table,
                             const QString &condition = QString());
    static void removeFailure(const QString &name, const QString &table);
    // The rows of a table that meet the condition (every row without one), ? bound to binds.
    qint64 rows(const char *table, const char *where = nullptr, const QVariantList &binds = {}) const;
    qint32 ids(const char *column) const;

private:
    QTemporaryDir m_dir;
    QString m_url; // on a server
    bool m_valid = false;
};

// Records every message box and answers from a queue (default: OK / Yes).
// The init() of a test class that runs on both engines.
#define FOLIVO_ENGINE_INIT()                                                                                 \
    do {                                                                                                     \
        QString whyNot;                                                                                      \
        if (!TestLibrary::useEngineOfRow(&whyNot))                                                           \
            QSKIP(qPrintable(whyNot));                                                                       \
    } while (false)

class MessageRecorder final
{
public:
    struct Shown
    {
        int number; // catalogue number, 0 when the text is not a catalogue message
        QString caption;
        QString text;
        MessageKind kind;
        int buttons;
    };
    MessageRecorder();
    ~MessageRecorder();
    void answerNext(int result) { m_answers << result; }
    QList<int> numbers() const;
    QList<Shown> shown() const { return m_shown; }
    QString lastText() const { return m_shown.isEmpty() ? QString() : m_shown.last().text; }
    void clear() { m_shown.clear(); }

private:
    QList<Shown> m_shown;
    QList<int> m_answers;
    MessageBoxHandler m_previous;
};

// The whole content of a file; empty when it cannot be read.
QByteArray fileBytes(const QString &path);
// Replaces the content of a file (made when missing); false when it cannot be written.
bool writeBytes(const QString &path, const QByteArray &bytes);

// count made-up report rows (codes K000000, K000001, ... in the category Poezie), for long pages.
QList<ReportRow> madeUpReportRows(int count);

// The space-separated words of a text: short lists of codes and names in comparisons, and the
// fixed words of a command line (words("backup export") << file).
QStringList words(const char *text);

// folivo-cli run to its end in a process of its own; childSetup runs in the child before the
// program starts (limits, signals).
struct CliRun
{
    int code = -1; // the exit code; -1 when the program crashed or did not end
    QString out;
    QString err;
    QString said() const { return out + err; } // everything it printed
};
CliRun runCli(const QStringList &args, const std::function<void()> &childSetup = {});
