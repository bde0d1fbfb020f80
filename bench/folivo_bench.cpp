// folivo-bench: times what the librarian waits for on a large library against the plainest way of
// getting the same result out of the same file (the SQLite C API, `cp`, an empty library), and
// prints the ratios. Run by bench/run.sh; never a test.
//
//   folivo-bench --library FILE --work DIR [--runs N] [--json FILE]
//   folivo-bench --table FILE                    (the README's table of a run's figures)
//   folivo-bench --compare FIRST SECOND          (two runs' ratios, case by case)
//   folivo-bench --child startup|memory DIR      (the measured child processes)

#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "app/messages.h"
#include "app/settings.h"
#include "app/startup.h"
#include "backup/backupjobs.h"
#include "catalogue/bookcore.h"
#include "catalogue/bookdialogs.h"
#include "catalogue/pageprohlizeni.h"
#include "circulation/circulationcore.h"
#include "circulation/pagevypujcky.h"
#include "circulation/viewzadavani.h"
#include "data/consistency.h"
#include "data/czechlike.h"
#include "data/czechorder.h"
#include "data/database.h"
#include "data/dates.h"
#include "data/directquery.h"
#include "data/recordsets.h"
#include "data/statements.h"
#include "reports/printdocs.h"
#include "reports/printpreview.h"
#include "reports/printsetup.h"
#include "reports/reminderscore.h"
#include "reports/reportcore.h"
#include "reports/reportmodel.h"
#include "reports/sestavaview.h"
#include "reports/statisticscore.h"
#include "search/searchcore.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPdfWriter>
#include <QPointer>
#include <QPrinter>
#include <QProcess>
#include <QPushButton>
#include <QSysInfo>
#include <QTableView>
#include <QThread>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <unicode/ucol.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

// ---------------------------------------------------------------------------------------------
// Plumbing

[[noreturn]] void die(const QString &text)
{
    std::fprintf(stderr, "folivo-bench: %s\n", qPrintable(text));
    std::exit(2);
}

double median(std::vector<double> v)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

double msSince(const QElapsedTimer &t)
{
    return double(t.nsecsElapsed()) / 1e6;
}

struct Timing
{
    double min = 0;
    double median = 0;
};

Timing summarize(const std::vector<double> &v)
{
    return {v.empty() ? 0 : *std::min_element(v.begin(), v.end()), median(v)};
}

double timeOnce(const std::function<void()> &f)
{
    QElapsedTimer t;
    t.start();
    f();
    return msSince(t);
}

// Runs ours and the baseline in turn, run by run (A B A B ...), after one warm-up of each, so that
// a machine that is busy for a while slows both sides alike.
// Each side's untimed step, when given, runs before each of its runs (to put back what the run
// changed).
std::pair<Timing, Timing> paired(const std::function<void()> &ours, const std::function<void()> &base,
                                 int runs, const std::function<void()> &beforeOurs = {},
                                 const std::function<void()> &beforeBase = {})
{
    const auto run = [](const std::function<void()> &before, const std::function<void()> &f) {
        if (before)
            before();
        return timeOnce(f);
    };
    run(beforeOurs, ours);
    run(beforeBase, base);
    std::vector<double> a, b;
    for (int i = 0; i < runs; ++i) {
        a.push_back(run(beforeOurs, ours));
        b.push_back(run(beforeBase, base));
    }
    return {summarize(a), summarize(b)};
}

// Counts the paint events of one widget: a case that ends "painted" runs the event loop until the
// widget it waits for was painted once more.
class PaintWatch final : public QObject
{
public:
    explicit PaintWatch(QWidget *widget) : m_widget(widget) { widget->installEventFilter(this); }
    ~PaintWatch() override
    {
        if (m_widget)
            m_widget->removeEventFilter(this);
    }
    PaintWatch(const PaintWatch &) = delete;
    PaintWatch &operator=(const PaintWatch &) = delete;

    int painted() const { return m_painted; }
    // Runs the event loop until a paint event after the count `before` was handled.
    void waitBeyond(int before) const
    {
        QElapsedTimer t;
        t.start();
        while (m_painted == before) {
            QCoreApplication::processEvents();
            if (t.elapsed() > 20000)
                die(QStringLiteral("%1 was never painted")
                        .arg(m_widget ? m_widget->objectName() : QString()));
        }
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == m_widget && event->type() == QEvent::Paint)
            ++m_painted;
        return false;
    }

private:
    QPointer<QWidget> m_widget;
    int m_painted = 0;
};

// Lets every pending event run (layouts, paints) before a measured step.
void settle()
{
    for (int i = 0; i < 5; ++i)
        QCoreApplication::processEvents();
}

// Every box the program would show is printed instead; questions are answered yes.
void installUnattendedMessages()
{
    setMessageBoxHandler([](const QString &caption, const QString &text, MessageKind, int buttons) {
        const int n = catalogueNumberBeingShown();
        if (n != 0 || !text.isEmpty())
            std::fprintf(stderr, "  [box %d] %s %s\n", n, qPrintable(caption), qPrintable(text));
        if (buttons == ButtonsYesNo || buttons == ButtonsYesNoIrreversible)
            return int(ResultYes);
        return buttons == ButtonsConfirm ? int(ResultConfirmed) : int(ResultOk);
    });
}

// The baseline's own connection to the library file, opened as the program opens it.
class Raw final
{
public:
    explicit Raw(const QString &path)
    {
        if (sqlite3_open_v2(QFile::encodeName(path).constData(), &m_db, SQLITE_OPEN_READWRITE, nullptr) !=
            SQLITE_OK)
            die(QStringLiteral("cannot open %1").arg(path));
        exec("PRAGMA locking_mode=EXCLUSIVE");
        exec("PRAGMA journal_mode=DELETE");
        // The translated statements sort their texts in Czech order through this collation, and a
        // search compares with the program's own LIKE, as on the program's side.
        if (!registerCzechCollation(m_db))
            die(QStringLiteral("cannot register the Czech collation"));
        if (!registerCzechLike(m_db))
            die(QStringLiteral("cannot register the Czech LIKE"));
    }
    ~Raw() { sqlite3_close_v2(m_db); }
    Raw(const Raw &) = delete;
    Raw &operator=(const Raw &) = delete;

    void exec(const char *sql)
    {
        char *err = nullptr;
        if (sqlite3_exec(m_db, sql, nullptr, nullptr, &err) != SQLITE_OK)
            die(QStringLiteral("%1: %2").arg(QString::fromUtf8(sql), QString::fromUtf8(err ? err : "?")));
    }
    sqlite3 *db() const { return m_db; }

private:
    sqlite3 *m_db = nullptr;
};

class Stmt3 final
{
public:
    Stmt3(sqlite3 *db, const std::string &sql)
    {
        if (sqlite3_prepare_v2(db, sql.c_str(), int(sql.size()), &m_s, nullptr) != SQLITE_OK)
            die(QStringLiteral("prepare %1: %2")
                    .arg(QString::fromStdString(sql), QString::fromUtf8(sqlite3_errmsg(db))));
    }
    ~Stmt3() { sqlite3_finalize(m_s); }
    Stmt3(const Stmt3 &) = delete;
    Stmt3 &operator=(const Stmt3 &) = delete;
    sqlite3_stmt *operator*() const { return m_s; }
    bool step()
    {
        const int rc = sqlite3_step(m_s);
        if (rc == SQLITE_ROW)
            return true;
        if (rc != SQLITE_DONE)
            die(QStringLiteral("step: %1").arg(QString::fromUtf8(sqlite3_errmsg(sqlite3_db_handle(m_s)))));
        return false;
    }
    void reset()
    {
        sqlite3_reset(m_s);
        sqlite3_clear_bindings(m_s);
    }
    int column(const char *name) const
    {
        for (int i = 0; i < sqlite3_column_count(m_s); ++i)
            if (qstrcmp(sqlite3_column_name(m_s, i), name) == 0)
                return i;
        die(QStringLiteral("no column %1").arg(QLatin1String(name)));
    }
    std::string text(int i) const
    {
        const auto *t = reinterpret_cast<const char *>(sqlite3_column_text(m_s, i));
        return t ? std::string(t, size_t(sqlite3_column_bytes(m_s, i))) : std::string();
    }
    int integer(int i) const { return sqlite3_column_int(m_s, i); }

private:
    sqlite3_stmt *m_s = nullptr;
};

std::string sqliteText(const QString &jet)
{
    return jetToSqlite(jet).toStdString();
}

// ---------------------------------------------------------------------------------------------
// Results

struct Case
{
    QString name;
    QString unit;    // "ms" or "MB"
    double ours = 0; // medians
    double base = 0;
    QString baseName;
    double limit = 0;
    bool atLeast = false;  // throughput: ours must reach limit x the baseline's
    bool absolute = false; // limit is a time in ms that ours must keep, whatever the baseline
    double oursMin = 0;
    double baseMin = 0;
    double ratio() const
    {
        if (atLeast)
            return ours > 0 ? base / ours : 0; // throughput ratio: base time / our time
        return base > 0 ? ours / base : 0;
    }
    bool holds() const
    {
        if (limit <= 0)
            return true; // an extra view without a target of its own
        if (absolute)
            return ours <= limit;
        return atLeast ? ratio() >= limit : ratio() <= limit;
    }
    QString target() const
    {
        if (limit <= 0)
            return QString();
        if (absolute)
            return QStringLiteral("≤ %1 ms").arg(limit, 0, 'f', 0);
        return QStringLiteral("%1 %2")
            .arg(atLeast ? QStringLiteral("≥") : QStringLiteral("≤"))
            .arg(QString::number(limit, 'g', 3));
    }
};

Case timedCase(const QString &name, const std::pair<Timing, Timing> &t, const QString &baseName, double limit,
               bool absolute = false)
{
    Case c;
    c.name = name;
    c.unit = QStringLiteral("ms");
    c.ours = t.first.median;
    c.oursMin = t.first.min;
    c.base = t.second.median;
    c.baseMin = t.second.min;
    c.baseName = baseName;
    c.limit = limit;
    c.absolute = absolute;
    return c;
}

std::vector<Case> g_cases;

void addCase(Case c)
{
    std::printf("  %-34s ours %10.3f %s   base %10.3f %s   ratio %6.2f  %s\n", qPrintable(c.name), c.ours,
                qPrintable(c.unit), c.base, qPrintable(c.unit), c.ratio(), c.holds() ? "ok" : "MISSED");
    std::fflush(stdout);
    g_cases.push_back(std::move(c));
}

// ---------------------------------------------------------------------------------------------
// Reports and search: the statement's rows with their category names, as a list would hold them.

// The tightest way a C programmer would fill the list: the statement prepared once and only
// reset between runs, each category name read once, the texts copied once into one arena, no
// conversions beyond the price.
class TightReport final
{
public:
    TightReport(sqlite3 *db, const std::string &sql)
        : m_books(db, sql), m_category(db, "SELECT NAZEV FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE = ?")
    {
        m_id = m_books.column("ID_KNIHY_KNIHY");
        m_cat = m_books.column("ID_KATEGORIE_KNIHY");
        m_code = m_books.column("KOD");
        m_title = m_books.column("NAZEV");
        m_author = m_books.column("AUTOR");
        m_price = m_books.column("CENA");
    }

    size_t run()
    {
        m_books.reset();
        m_arena.clear();
        m_rows.clear();
        m_names.clear();
        double total = 0;
        sqlite3_stmt *st = *m_books;
        while (m_books.step()) {
            Row r;
            const int cat = sqlite3_column_int(st, m_cat);
            auto it = m_names.find(cat);
            if (it == m_names.end()) {
                sqlite3_bind_int(*m_category, 1, cat);
                if (!m_category.step())
                    die(QStringLiteral("category missing"));
                it = m_names.emplace(cat, keep(*m_category, 0)).first;
                m_category.reset();
            }
            r.category = it->second;
            r.code = keep(st, m_code);
            r.title = keep(st, m_title);
            r.author = keep(st, m_author);
            r.price = float(sqlite3_column_double(st, m_price));
            r.id = sqlite3_column_int(st, m_id);
            total += double(r.price);
            m_rows.push_back(r);
        }
        std::reverse(m_rows.begin(), m_rows.end());
        return m_rows.size() + (total < 0 ? 1 : 0);
    }

    // The rows read by the last run, sorted again by their title as a program already holding
    // them would: a stable sort comparing the UTF-8 texts with the collator.
    void sortByTitle(UCollator *collator)
    {
        const char *arena = m_arena.data();
        std::stable_sort(m_rows.begin(), m_rows.end(), [&](const Row &a, const Row &b) {
            UErrorCode status = U_ZERO_ERROR;
            return ucol_strcollUTF8(collator, arena + a.title.offset, a.title.bytes, arena + b.title.offset,
                                    b.title.bytes, &status) == UCOL_LESS;
        });
    }

private:
    struct Text
    {
        size_t offset = 0;
        int bytes = 0;
    };
    struct Row
    {
        Text code, title, category, author;
        float price = 0;
        int id = 0;
    };
    Text keep(sqlite3_stmt *st, int column)
    {
        const auto *t = reinterpret_cast<const char *>(sqlite3_column_text(st, column));
        const int n = sqlite3_column_bytes(st, column);
        const Text where{m_arena.size(), n};
        if (t)
            m_arena.append(t, size_t(n));
        return where;
    }
    Stmt3 m_books, m_category;
    int m_id = 0, m_cat = 0, m_code = 0, m_title = 0, m_author = 0, m_price = 0;
    std::string m_arena;
    std::vector<Row> m_rows;
    std::unordered_map<int, Text> m_names;
};

// The Czech order of the report list's header sort (letter case counted), straight from ICU, the
// library under Qt's collator, registered on the baseline's connection as CZECH_ICU.
class IcuCzech final
{
public:
    IcuCzech()
    {
        UErrorCode status = U_ZERO_ERROR;
        m_collator = ucol_open("cs_CZ", &status);
        if (U_FAILURE(status))
            die(QStringLiteral("no Czech collator in ICU"));
        ucol_setStrength(m_collator, UCOL_TERTIARY);
    }
    ~IcuCzech() { ucol_close(m_collator); }
    IcuCzech(const IcuCzech &) = delete;
    IcuCzech &operator=(const IcuCzech &) = delete;
    UCollator *get() const { return m_collator; }
    void registerOn(sqlite3 *db) const
    {
        if (sqlite3_create_collation_v2(db, "CZECH_ICU", SQLITE_UTF8, m_collator, collate, nullptr) !=
            SQLITE_OK)
            die(QStringLiteral("cannot register CZECH_ICU"));
    }

private:
    static int collate(void *collator, int lengthA, const void *a, int lengthB, const void *b)
    {
        UErrorCode status = U_ZERO_ERROR;
        return ucol_strcollUTF8(static_cast<UCollator *>(collator), static_cast<const char *>(a), lengthA,
                                static_cast<const char *>(b), lengthB, &status);
    }
    UCollator *m_collator = nullptr;
};

// ---------------------------------------------------------------------------------------------
// Reminder letters and the annual statistics: the same statements stepped on the C API into
// plain structures, with the same grouping and the same Czech ordering.

struct PlainBook
{
    std::string code, title, author;
    int id = 0, loan = 0, due = 0, late = 0;
};
struct PlainLetter
{
    int client = 0;
    std::string code, first, last, address;
    std::vector<PlainBook> books;
};

size_t plainReminders(sqlite3 *db, DateNumber day)
{
    Stmt3 books(db, ReminderSql::OverdueBooks);
    sqlite3_bind_int(*books, 1, day);
    std::vector<PlainLetter> letters;
    std::unordered_map<int, size_t> index;
    const QDate on = dateFromNumber(day);
    while (books.step()) {
        const int client = books.integer(0);
        auto it = index.find(client);
        if (it == index.end()) {
            letters.push_back(PlainLetter{client, {}, {}, {}, {}, {}});
            it = index.emplace(client, letters.size() - 1).first;
        }
        PlainBook b{books.text(2),
                    books.text(3),
                    books.text(4),
                    books.integer(1),
                    books.integer(5),
                    books.integer(6),
                    0};
        b.late = int(dateFromNumber(b.due).daysTo(on));
        letters[it->second].books.push_back(std::move(b));
    }
    Stmt3 client(db, ReminderSql::Client);
    for (PlainLetter &l : letters) {
        sqlite3_bind_int(*client, 1, l.client);
        if (!client.step())
            die(QStringLiteral("client missing"));
        l.code = client.text(0);
        l.first = client.text(1);
        l.last = client.text(2);
        if (client.integer(3))
            l.address = client.text(4);
        client.reset();
        std::sort(l.books.begin(), l.books.end(), [](const PlainBook &a, const PlainBook &b) {
            return a.due != b.due ? a.due < b.due : a.code < b.code;
        });
    }
    std::sort(letters.begin(), letters.end(), [](const PlainLetter &a, const PlainLetter &b) {
        if (const int c = czechCompare(QString::fromStdString(a.last), QString::fromStdString(b.last),
                                       Qt::CaseInsensitive))
            return c < 0;
        return czechCompare(QString::fromStdString(a.first), QString::fromStdString(b.first),
                            Qt::CaseInsensitive) < 0;
    });
    return letters.size();
}

int plainStatistics(sqlite3 *db, int year)
{
    const int first = year * 10000 + 101, last = year * 10000 + 1231;
    auto run = [&](const char *sql, const std::function<void(Stmt3 &)> &row) {
        Stmt3 q(db, sql);
        sqlite3_bind_int(*q, 1, first);
        sqlite3_bind_int(*q, 2, last);
        while (q.step())
            row(q);
    };
    int figures[8] = {};
    double price = 0;
    int months[2][12] = {};
    run(StatisticsSql::Acquired, [&](Stmt3 &q) {
        figures[0] = q.integer(0);
        price = sqlite3_column_double(*q, 1);
    });
    run(StatisticsSql::Discarded, [&](Stmt3 &q) { figures[1] = q.integer(0); });
    run(StatisticsSql::Holdings, [&](Stmt3 &q) { figures[2] = q.integer(0); });
    run(StatisticsSql::LoansByMonth, [&](Stmt3 &q) { months[0][(q.integer(0) + 11) % 12] += q.integer(1); });
    run(StatisticsSql::ReturnsByMonth,
        [&](Stmt3 &q) { months[1][(q.integer(0) + 11) % 12] += q.integer(1); });
    run(StatisticsSql::ActiveClients, [&](Stmt3 &q) { figures[3] = q.integer(0); });
    run(StatisticsSql::NewClients, [&](Stmt3 &q) { figures[4] = q.integer(0); });
    run(StatisticsSql::LentAtEnd, [&](Stmt3 &q) {
        figures[5] = q.integer(0);
        figures[6] = q.integer(1);
    });
    struct Ranked
    {
        int id, loans;
        QString key;
    };
    const auto byLoans = [](const Ranked &a, const Ranked &b) {
        if (a.loans != b.loans)
            return a.loans > b.loans;
        return czechCompare(a.key, b.key, Qt::CaseInsensitive) < 0;
    };
    std::vector<Ranked> top;
    {
        Stmt3 q(db, StatisticsSql::BookLoans);
        sqlite3_bind_int(*q, 1, first);
        sqlite3_bind_int(*q, 2, last);
        while (q.step()) {
            const int loans = q.integer(1);
            if (top.size() >= size_t(StatisticsTopBooks) && loans < top[StatisticsTopBooks - 1].loans)
                break;
            top.push_back({q.integer(0), loans, {}});
        }
    }
    Stmt3 book(db, StatisticsSql::Book);
    std::vector<PlainBook> topBooks;
    for (Ranked &r : top) {
        sqlite3_bind_int(*book, 1, r.id);
        if (!book.step())
            die(QStringLiteral("book missing"));
        topBooks.push_back({book.text(0), book.text(1), book.text(2), r.id, 0, 0, r.loans});
        r.key = QString::fromStdString(topBooks.back().code);
        book.reset();
    }
    std::sort(top.begin(), top.end(), byLoans);
    std::vector<Ranked> categories;
    run(StatisticsSql::CategoryLoans, [&](Stmt3 &q) {
        categories.push_back({q.integer(0), q.integer(1), {}});
    });
    Stmt3 category(db, StatisticsSql::Category);
    for (Ranked &c : categories) {
        sqlite3_bind_int(*category, 1, c.id);
        if (!category.step())
            die(QStringLiteral("category missing"));
        c.key = QString::fromStdString(category.text(0));
        category.reset();
    }
    std::sort(categories.begin(), categories.end(), byLoans);
    int loans = 0;
    for (int m : months[0])
        loans += m;
    return loans + (price < 0 ? 1 : 0);
}

struct ReportCase
{
    QString name;
    ReportQuery query;
};

// ---------------------------------------------------------------------------------------------
// The bench

struct Bench
{
    QString library; // the cached demo library
    QString work;
    int runs = 5;
    QString bigDir, emptyDir, baseDir;
    QString bigDb() const { return bigDir + QStringLiteral("/Folivo.db"); }
    QString baseDb() const { return baseDir + QStringLiteral("/Folivo.db"); }

    void openOurs(const QString &db)
    {
        QString detail;
        if (Database::open(db, &detail) != Database::OpenResult::Ok)
            die(QStringLiteral("cannot open %1: %2").arg(db, detail));
    }

    void prepareDirs()
    {
        bigDir = work + QStringLiteral("/big");
        emptyDir = work + QStringLiteral("/empty");
        baseDir = work + QStringLiteral("/base");
        QDir(work).removeRecursively();
        QDir().mkpath(bigDir);
        QDir().mkpath(emptyDir);
        QDir().mkpath(baseDir);
        if (!QFile::copy(library, bigDb()) || !QFile::copy(library, baseDb()))
            die(QStringLiteral("cannot copy %1").arg(library));
        QString error;
        if (!Database::createEmpty(emptyDir + QStringLiteral("/Folivo.db"), &error))
            die(error);
        SettingsRecord settings;
        settings.userName = QStringLiteral("Benchmark");
        if (!settings.write(bigDir + QStringLiteral("/Folivo.ini")) ||
            !settings.write(emptyDir + QStringLiteral("/Folivo.ini")))
            die(QStringLiteral("cannot write the settings"));
    }

    qint32 scalar(sqlite3 *db, const std::string &sql)
    {
        Stmt3 s(db, sql);
        if (!s.step())
            die(QStringLiteral("no row: %1").arg(QString::fromStdString(sql)));
        return s.integer(0);
    }

    std::vector<ReportCase> reportCases(sqlite3 *db)
    {
        const DateNumber day = dateNumberFromDate(today());
        const QString dayText = dateText(day).trimmed();
        const qint32 category =
            scalar(db, "SELECT ID_KATEGORIE_KNIHY FROM KNIHY WHERE NOT VYRAZENO GROUP BY 1 "
                       "ORDER BY COUNT(*) DESC LIMIT 1");
        const qint32 lender = scalar(db, "SELECT ID_LIDE_KNIHY FROM KNIHY WHERE VYPUJCENO AND NOT VYRAZENO "
                                         "GROUP BY 1 ORDER BY COUNT(*) DESC LIMIT 1");
        const qint32 reader =
            scalar(db, "SELECT ID_LIDE_VYPUJCKY FROM VYPUJCKY GROUP BY 1 ORDER BY COUNT(*) DESC LIMIT 1");
        const qint32 late =
            scalar(db, QStringLiteral("SELECT ID_LIDE_VYPUJCKY FROM VYPUJCKY WHERE NOT VRACENO "
                                      "AND OMEZOVAT AND DATUM_MAX < %1 GROUP BY 1 ORDER BY "
                                      "COUNT(*) DESC LIMIT 1")
                           .arg(day)
                           .toStdString());
        return {
            {QStringLiteral("report 1 client's loans"), clientLoansReport(lender, QStringLiteral("x"))},
            {QStringLiteral("report 2 category"), categoryReport(category, QStringLiteral("x"))},
            {QStringLiteral("report 3 client's history"), clientHistoryReport(reader, QStringLiteral("x"))},
            {QStringLiteral("report 4 overdue"), overdueReport(day, dayText)},
            {QStringLiteral("report 5 lent"), fixedReport(ReportKind::Lent)},
            {QStringLiteral("report 6 discarded"), fixedReport(ReportKind::Discarded)},
            {QStringLiteral("report 7 present"), fixedReport(ReportKind::Present)},
            {QStringLiteral("report 8 present and lent"), fixedReport(ReportKind::PresentAndLent)},
            {QStringLiteral("report 9 client's overdue"),
             clientOverdueReport(late, QStringLiteral("x"), QStringLiteral("y"), day, dayText)},
        };
    }

    static SearchCriteria searchCriteria()
    {
        SearchCriteria c;
        c.title = QStringLiteral("CES"); // finds "Cesta", "cestách"
        c.exactTitle = false;
        c.author = QStringLiteral("kar"); // Karel Čapek, Karel May, ...
        c.exactAuthor = false;
        c.keywords = {QStringLiteral("humor")};
        return c;
    }

    void reportsAndSearch()
    {
        SearchCriteria criteria = searchCriteria();
        SearchValues values;
        // No client code among the criteria: the checks need no database.
        if (!ValidateCriteria(criteria, values).passed())
            die(QStringLiteral("search criteria refused"));
        const QString searchSql = BuildSearchSql(criteria, values);
        // The baseline reads its own copy of the library, so that both sides stay open and take
        // turns run by run.
        Raw raw(baseDb());
        std::vector<ReportCase> cases = reportCases(raw.db());
        cases.push_back(
            {QStringLiteral("search: title, author, keyword"), {searchSql, QStringLiteral("s"), 0}});
        openOurs(bigDb());
        CSestavaView view;
        view.resize(900, 700);
        for (size_t i = 0; i < cases.size(); ++i) {
            const ReportCase &c = cases[i];
            const bool search = i + 1 == cases.size();
            // Only the columns the list shows, as a careful programmer would select them.
            TightReport tight(
                raw.db(),
                sqliteText(selectOnly(c.query.sql, QStringLiteral("KNIHY"),
                                      {QStringLiteral("ID_KNIHY_KNIHY"), QStringLiteral("ID_KATEGORIE_KNIHY"),
                                       QStringLiteral("KOD"), QStringLiteral("NAZEV"),
                                       QStringLiteral("AUTOR"), QStringLiteral("CENA")})));
            size_t rows = 0;
            ViewSwitchRequest request;
            request.target = ViewSwitchRequest::ReportView;
            request.title = c.query.title;
            request.reportKind = c.query.kind;
            const auto t = paired(
                [&] {
                    if (search) {
                        // The search view's own path: the checks, the statement, the report view.
                        SearchCriteria typed = searchCriteria();
                        SearchValues v;
                        if (!ValidateCriteria(typed, v).passed())
                            die(QStringLiteral("search criteria refused"));
                        request.sql = BuildSearchSql(typed, v);
                    } else {
                        request.sql = c.query.sql;
                    }
                    view.enterView(request);
                },
                [&] { rows = tight.run(); }, runs);
            if (size_t(view.model()->rowCount()) != rows)
                die(QStringLiteral("%1: %2 rows, the baseline %3")
                        .arg(c.name)
                        .arg(view.model()->rowCount())
                        .arg(rows));
            addCase(timedCase(QStringLiteral("%1 (%2 rows)").arg(c.name).arg(rows), t,
                              search ? QStringLiteral("same statement and Czech LIKE, C API, prepared once")
                                     : QStringLiteral("same statement, C API, prepared once"),
                              1.2));
            view.leaveView();
        }
        Database::close();
    }

    // Ten codes of present books and one client, for each side; the books go out and come back.
    struct CirculationData
    {
        QString client;
        QStringList ours, base;
    };

    CirculationData circulationData(sqlite3 *db)
    {
        CirculationData d;
        Stmt3 c(db, "SELECT KOD FROM LIDE WHERE UKAZOVAT ORDER BY ID_LIDE_LIDE LIMIT 1 OFFSET 500");
        if (!c.step())
            die(QStringLiteral("no client"));
        d.client = QString::fromStdString(c.text(0));
        Stmt3 b(db, "SELECT KOD FROM KNIHY WHERE NOT VYRAZENO AND NOT VYPUJCENO ORDER BY PRIRUSTEK LIMIT 20 "
                    "OFFSET 40000");
        while (b.step())
            (d.ours.size() < 10 ? d.ours : d.base) << QString::fromStdString(b.text(0));
        if (d.base.size() != 10)
            die(QStringLiteral("not enough present books"));
        return d;
    }

    // The loan page's path: the client by code, each book by code with its category, the write.
    static void ourLoan(const CirculationData &d)
    {
        CSetLide lide;
        lide.open(QString::asprintf(Stmt::LideByKodVisible, qUtf8Printable(d.client)));
        if (lide.isEOF())
            die(QStringLiteral("client not found"));
        QList<LoanBook> books;
        const DateNumber day = dateNumberFromDate(today());
        for (const QString &code : d.ours) {
            CSetKnihy book;
            book.open(QString::asprintf(Stmt::KnihyByKodNotDiscarded, qUtf8Printable(code)));
            if (book.isEOF() || book.m_VYPUJCENO)
                die(QStringLiteral("book %1 not present").arg(code));
            CSetKategorie category;
            category.open(QString::asprintf(Stmt::KategorieById, book.m_ID_KATEGORIE_KNIHY));
            if (category.isEOF())
                die(QStringLiteral("category missing"));
            books << LoanBook{book.m_ID_KNIHY_KNIHY, day + 0};
        }
        lendBooks(lide.m_ID_LIDE_LIDE, day, books);
    }

    // The return page's path: each book by code with its category, holder and open loan, the write.
    static void ourReturn(const CirculationData &d)
    {
        QList<ReturnBook> books;
        for (const QString &code : d.ours) {
            CSetKnihy book;
            book.open(QString::asprintf(Stmt::KnihyByKodNotDiscarded, qUtf8Printable(code)));
            if (book.isEOF() || !book.m_VYPUJCENO)
                die(QStringLiteral("book %1 not lent").arg(code));
            CSetKategorie category;
            category.open(QString::asprintf(Stmt::KategorieById, book.m_ID_KATEGORIE_KNIHY));
            CSetLide lide;
            lide.open(QString::asprintf(Stmt::LideById, book.m_ID_LIDE_KNIHY));
            CSetVypujcky loan;
            loan.open(QString::asprintf(Stmt::VypujckyRow, book.m_ID_VYPUJCKY_KNIHY, book.m_ID_KNIHY_KNIHY));
            if (category.isEOF() || lide.isEOF() || loan.isEOF())
                die(QStringLiteral("return lookups failed"));
            books << ReturnBook{book.m_ID_KNIHY_KNIHY, lide.m_ID_LIDE_LIDE, loan.m_ID_VYPUJCKY_VYPUJCKY,
                                loan.m_DATUM_PUJCKY,   loan.m_DATUM_MAX,    bool(loan.m_OMEZOVAT)};
        }
        returnBooks(dateNumberFromDate(today()), books);
    }

    static void baseLoan(sqlite3 *db, const CirculationData &d)
    {
        const int day = dateNumberFromDate(today());
        Stmt3 client(db, sqliteText(QString::fromUtf8(Stmt::LideByKodVisible)
                                        .replace(QStringLiteral("'%s'"), QStringLiteral("?"))) +
                             " COLLATE NOCASE");
        Stmt3 book(
            db, "SELECT rowid, ID_KNIHY_KNIHY, ID_KATEGORIE_KNIHY, VYPUJCENO FROM KNIHY WHERE KNIHY.KOD = ? "
                "COLLATE NOCASE AND NOT KNIHY.VYRAZENO");
        Stmt3 category(db, "SELECT * FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE = ?");
        const QByteArray clientCode = d.client.toUtf8();
        sqlite3_bind_text(*client, 1, clientCode.constData(), -1, SQLITE_TRANSIENT);
        if (!client.step())
            die(QStringLiteral("client not found"));
        const int clientId = client.integer(client.column("ID_LIDE_LIDE"));
        struct B
        {
            qint64 rowid;
            int id;
        };
        std::vector<B> books;
        for (const QString &code : d.base) {
            const QByteArray c = code.toUtf8();
            sqlite3_bind_text(*book, 1, c.constData(), -1, SQLITE_TRANSIENT);
            if (!book.step() || book.integer(3))
                die(QStringLiteral("book %1 not present").arg(code));
            books.push_back({sqlite3_column_int64(*book, 0), book.integer(1)});
            sqlite3_bind_int(*category, 1, book.integer(2));
            if (!category.step())
                die(QStringLiteral("category missing"));
            category.reset();
            book.reset();
        }
        sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
        const int loan = scalarIds(db, "ID_VYPUJCKY_FIRSTFREE");
        Stmt3 upd(db,
                  "UPDATE KNIHY SET VYPUJCENO = 1, ID_LIDE_KNIHY = ?, ID_VYPUJCKY_KNIHY = ? WHERE rowid = ?");
        Stmt3 ins(db, "INSERT INTO VYPUJCKY VALUES (?, ?, ?, 0, ?, 1, ?, -1)");
        for (auto it = books.rbegin(); it != books.rend(); ++it) {
            sqlite3_bind_int(*upd, 1, clientId);
            sqlite3_bind_int(*upd, 2, loan);
            sqlite3_bind_int64(*upd, 3, it->rowid);
            upd.step();
            upd.reset();
            sqlite3_bind_int(*ins, 1, loan);
            sqlite3_bind_int(*ins, 2, clientId);
            sqlite3_bind_int(*ins, 3, it->id);
            sqlite3_bind_int(*ins, 4, day);
            sqlite3_bind_int(*ins, 5, day);
            ins.step();
            ins.reset();
        }
        if (sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK)
            die(QStringLiteral("commit failed"));
    }

    // Reads and raises one IDS counter, as the program allocates identifiers.
    static int scalarIds(sqlite3 *db, const char *column)
    {
        Stmt3 read(db, std::string("SELECT rowid, ") + column + " FROM IDS");
        if (!read.step())
            die(QStringLiteral("IDS missing"));
        const int value = read.integer(1);
        Stmt3 write(db, std::string("UPDATE IDS SET ") + column + " = ? WHERE rowid = ?");
        sqlite3_bind_int(*write, 1, value + 1);
        sqlite3_bind_int64(*write, 2, sqlite3_column_int64(*read, 0));
        write.step();
        return value;
    }

    static void baseReturn(sqlite3 *db, const CirculationData &d)
    {
        const int day = dateNumberFromDate(today());
        Stmt3 book(db,
                   "SELECT rowid, ID_KNIHY_KNIHY, ID_KATEGORIE_KNIHY, VYPUJCENO, ID_LIDE_KNIHY, "
                   "ID_VYPUJCKY_KNIHY FROM KNIHY WHERE KNIHY.KOD = ? COLLATE NOCASE AND NOT KNIHY.VYRAZENO");
        Stmt3 category(db, "SELECT * FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE = ?");
        Stmt3 client(db, "SELECT * FROM LIDE WHERE ID_LIDE_LIDE = ?");
        Stmt3 loan(db, "SELECT rowid, DATUM_PUJCKY, DATUM_MAX, OMEZOVAT FROM VYPUJCKY WHERE "
                       "ID_VYPUJCKY_VYPUJCKY = ? AND ID_KNIHY_VYPUJCKY = ?");
        struct B
        {
            qint64 bookRow, loanRow;
            int id, client, loanDate, due, limited;
        };
        std::vector<B> books;
        for (const QString &code : d.base) {
            const QByteArray c = code.toUtf8();
            sqlite3_bind_text(*book, 1, c.constData(), -1, SQLITE_TRANSIENT);
            if (!book.step() || !book.integer(3))
                die(QStringLiteral("book %1 not lent").arg(code));
            sqlite3_bind_int(*category, 1, book.integer(2));
            sqlite3_bind_int(*client, 1, book.integer(4));
            sqlite3_bind_int(*loan, 1, book.integer(5));
            sqlite3_bind_int(*loan, 2, book.integer(1));
            if (!category.step() || !client.step() || !loan.step())
                die(QStringLiteral("return lookups failed"));
            books.push_back({sqlite3_column_int64(*book, 0), sqlite3_column_int64(*loan, 0), book.integer(1),
                             book.integer(4), loan.integer(1), loan.integer(2), loan.integer(3)});
            book.reset();
            category.reset();
            client.reset();
            loan.reset();
        }
        sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
        const int number = scalarIds(db, "ID_VRACENI_FIRSTFREE");
        Stmt3 closeLoan(db, "UPDATE VYPUJCKY SET VRACENO = 1, DATUM_VRACENI = ? WHERE rowid = ?");
        Stmt3 freeBook(db, "UPDATE KNIHY SET VYPUJCENO = 0, ID_LIDE_KNIHY = -1, ID_VYPUJCKY_KNIHY = -1 WHERE "
                           "rowid = ?");
        Stmt3 ins(db, "INSERT INTO VRACENI VALUES (?, ?, ?, ?, ?, ?, ?)");
        for (auto it = books.rbegin(); it != books.rend(); ++it) {
            sqlite3_bind_int(*closeLoan, 1, day);
            sqlite3_bind_int64(*closeLoan, 2, it->loanRow);
            closeLoan.step();
            closeLoan.reset();
            sqlite3_bind_int64(*freeBook, 1, it->bookRow);
            freeBook.step();
            freeBook.reset();
            const int values[] = {number,       it->id,     it->client, day, it->limited ? it->due : -1,
                                  it->loanDate, it->limited};
            for (int i = 0; i < 7; ++i)
                sqlite3_bind_int(*ins, i + 1, values[i]);
            ins.step();
            ins.reset();
        }
        if (sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK)
            die(QStringLiteral("commit failed"));
    }

    // Loans and returns, each side on its own connection. With sync false both sides skip the
    // disk flush of the commit (a setting of the bench only), which leaves the work of the statements.
    void circulationRound(bool sync, std::vector<double> (&t)[4])
    {
        // Each side on its own copy of the library, both open, taking turns run by run.
        Raw raw(baseDb());
        if (!sync)
            raw.exec("PRAGMA synchronous=OFF");
        const CirculationData d = circulationData(raw.db());
        openOurs(bigDb());
        if (!sync)
            runSql(QStringLiteral("PRAGMA synchronous=OFF"));
        for (int i = 0; i <= runs; ++i) {
            const double ourLoanMs = timeOnce([&] { ourLoan(d); });
            const double baseLoanMs = timeOnce([&] { baseLoan(raw.db(), d); });
            const double ourReturnMs = timeOnce([&] { ourReturn(d); });
            const double baseReturnMs = timeOnce([&] { baseReturn(raw.db(), d); });
            if (i == 0)
                continue; // the warm-up
            t[0].push_back(ourLoanMs);
            t[1].push_back(ourReturnMs);
            t[2].push_back(baseLoanMs);
            t[3].push_back(baseReturnMs);
        }
        Database::close();
    }

    void circulation()
    {
        const QString base = QStringLiteral("same statements, C API, one transaction");
        std::vector<double> t[4];
        circulationRound(true, t);
        addCase(timedCase(QStringLiteral("loan of 10 books"), {summarize(t[0]), summarize(t[2])}, base, 2.0));
        addCase(
            timedCase(QStringLiteral("return of 10 books"), {summarize(t[1]), summarize(t[3])}, base, 2.0));
        std::vector<double> u[4];
        circulationRound(false, u);
        addCase(timedCase(QStringLiteral("  (info) loan, no disk flush"), {summarize(u[0]), summarize(u[2])},
                          base, 0));
        addCase(timedCase(QStringLiteral("  (info) return, no disk flush"),
                          {summarize(u[1]), summarize(u[3])}, base, 0));
    }

    void browse()
    {
        // Identifiers in browse order, and the baseline: one indexed SELECT of the shown row.
        const int steps = 200;
        struct Op
        {
            QString name;
            int command;
            int start; // the row the walk starts from
        };
        Raw raw(baseDb());
        std::vector<int> order;
        {
            Stmt3 ids(raw.db(), "SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE NOT VYRAZENO ORDER BY PRIRUSTEK");
            while (ids.step())
                order.push_back(ids.integer(0));
        }
        const int n = int(order.size());
        const std::vector<Op> ops = {{QStringLiteral("browse first"), Cmd::NavFirst, n / 2},
                                     {QStringLiteral("browse last"), Cmd::NavLast, n / 2},
                                     {QStringLiteral("browse next"), Cmd::NavNext, n / 2},
                                     {QStringLiteral("browse previous"), Cmd::NavPrevious, n / 2},
                                     {QStringLiteral("browse page of 40"), Cmd::NavPageBack, 0}};
        Stmt3 one(raw.db(), "SELECT * FROM KNIHY WHERE ID_KNIHY_KNIHY = ?");
        const auto baseWalk = [&](const Op &op) {
            int row = op.start;
            for (int s = 0; s < steps; ++s) {
                switch (op.command) {
                case Cmd::NavFirst:
                    row = 0;
                    break;
                case Cmd::NavLast:
                    row = n - 1;
                    break;
                case Cmd::NavNext:
                    row = std::min(row + 1, n - 1);
                    break;
                case Cmd::NavPrevious:
                    row = std::max(row - 1, 0);
                    break;
                default:
                    row = std::min(row + 40, n - 1);
                }
                sqlite3_bind_int(*one, 1, order[size_t(row)]);
                if (!one.step())
                    die(QStringLiteral("browse row missing"));
                for (int c = 0; c < sqlite3_column_count(*one); ++c)
                    (void)sqlite3_column_text(*one, c);
                one.reset();
            }
        };
        openOurs(bigDb());
        CPageProhlizeni page;
        page.resize(800, 600);
        page.show();
        QCoreApplication::processEvents();
        // The page opened to its first painted book, against reading the browse order alone.
        Stmt3 ids(raw.db(), "SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE NOT VYRAZENO ORDER BY PRIRUSTEK");
        std::vector<int> baseOrder;
        bool active = false;
        const auto open = paired(
            [&] {
                page.onActivate();
                page.repaint();
                active = true;
            },
            [&] {
                ids.reset();
                baseOrder.clear();
                while (ids.step())
                    baseOrder.push_back(ids.integer(0));
            },
            runs,
            [&] {
                if (active)
                    page.onDeactivate();
                active = false;
            });
        if (page.rowCount() != n || baseOrder != order)
            die(QStringLiteral("browse order differs"));
        addCase(timedCase(QStringLiteral("browse page open (%1 books) to the painted page").arg(n), open,
                          QStringLiteral("the browse order read on the C API, prepared once"), 150, true));
        const QString baseName = QStringLiteral("one indexed SELECT of the row, C API");
        const auto perStep = [&](std::pair<Timing, Timing> t) {
            for (Timing *x : {&t.first, &t.second})
                *x = {x->min / steps, x->median / steps};
            return t;
        };
        for (const Op &op : ops) {
            const auto t = paired(
                [&] {
                    if (!page.showBook(order[size_t(op.start)]))
                        die(QStringLiteral("browse start row missing"));
                    // Each step to the repainted page: its widgets paint the new book.
                    for (int s = 0; s < steps; ++s) {
                        page.navigate(op.command);
                        page.repaint();
                    }
                },
                [&] { baseWalk(op); }, runs);
            addCase(
                timedCase(op.name + QStringLiteral(", to the painted page"), perStep(t), baseName, 16, true));
        }
        // What the page reads per step, without its widgets: the book, its category, its holder.
        const auto reads = paired(
            [&] {
                for (int s = 0; s < steps; ++s) {
                    const std::optional<BookRow> book = findBookById(order[size_t((s * 997) % n)]);
                    if (!book || !categoryName(book->category) ||
                        (book->client != -1 && !clientLabel(book->client)))
                        die(QStringLiteral("browse read failed"));
                }
            },
            [&] { baseWalk(ops[2]); }, runs);
        addCase(timedCase(QStringLiteral("  (info) browse reads, no widgets"), perStep(reads), baseName, 0));
        page.onDeactivate();
        Database::close();
    }

    static sqlite3 *db(const Raw &raw) { return raw.db(); }

    // CPU time (user + system) of the children waited for so far, in ms.
    static double childrenCpuMs()
    {
        rusage usage{};
        getrusage(RUSAGE_CHILDREN, &usage);
        return (double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3) +
               double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
    }

    // Runs a child and returns its wall time in ms: to its end, or with untilLine to the first line
    // it writes.
    double childRun(const QStringList &args, QByteArray *output = nullptr, double *cpuMs = nullptr,
                    bool untilLine = false)
    {
        const double cpuBefore = childrenCpuMs();
        QProcess p;
        p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QElapsedTimer t;
        t.start();
        p.start(QCoreApplication::applicationFilePath(), args);
        double ms = 0;
        if (untilLine) {
            while (!p.canReadLine())
                if (!p.waitForReadyRead(120000))
                    die(QStringLiteral("child %1 wrote nothing").arg(args.join(QLatin1Char(' '))));
            ms = msSince(t);
        }
        if (!p.waitForFinished(120000) || p.exitCode() != 0)
            die(QStringLiteral("child %1 failed").arg(args.join(QLatin1Char(' '))));
        if (!untilLine)
            ms = msSince(t);
        if (cpuMs)
            *cpuMs = childrenCpuMs() - cpuBefore;
        if (output)
            *output = p.readAllStandardOutput();
        return ms;
    }

    void startup()
    {
        // Start-up is short and the machine shared: more runs than the other cases.
        std::vector<double> big, empty, bigCpu, emptyCpu;
        const int count = std::max(11, 2 * runs);
        for (int i = 0; i <= count; ++i) {
            double bc = 0, ec = 0;
            const double b =
                childRun({QStringLiteral("--child"), QStringLiteral("startup"), bigDir}, nullptr, &bc, true);
            const double e = childRun({QStringLiteral("--child"), QStringLiteral("startup"), emptyDir},
                                      nullptr, &ec, true);
            if (i) {
                big.push_back(b);
                empty.push_back(e);
                bigCpu.push_back(bc);
                emptyCpu.push_back(ec);
            }
        }
        Case wall{QStringLiteral("start-up to the first painted entry view"),
                  QStringLiteral("ms"),
                  median(big),
                  median(empty),
                  QStringLiteral("start-up on an empty library"),
                  150};
        wall.absolute = true;
        wall.oursMin = *std::min_element(big.begin(), big.end());
        wall.baseMin = *std::min_element(empty.begin(), empty.end());
        addCase(wall);
        addCase({QStringLiteral("  (info) start-up and exit, CPU time"), QStringLiteral("ms"), median(bigCpu),
                 median(emptyCpu), QStringLiteral("start-up on an empty library, CPU time"), 0, false});
    }

    // A child's last line of output (the first says when it was painted).
    static QByteArray lastLine(const QByteArray &output)
    {
        return output.trimmed().split('\n').last().trimmed();
    }

    void memory()
    {
        auto hwm = [&](const QString &dir) {
            QByteArray out;
            childRun({QStringLiteral("--child"), QStringLiteral("memory"), dir}, &out);
            return lastLine(out).toDouble() / 1024.0;
        };
        std::vector<double> big, empty;
        for (int i = 0; i < 3; ++i) {
            big.push_back(hwm(bigDir));
            empty.push_back(hwm(emptyDir));
        }
        addCase({QStringLiteral("peak memory, report 8 shown"), QStringLiteral("MB"), median(big),
                 median(empty), QStringLiteral("empty report shown"), 3.0, false});
        std::vector<double> preview;
        for (int i = 0; i < 3; ++i) {
            QByteArray out;
            childRun({QStringLiteral("--child"), QStringLiteral("preview"), bigDir}, &out);
            preview.push_back(lastLine(out).toDouble() / 1024.0);
        }
        addCase({QStringLiteral("peak memory, preview of report 8"), QStringLiteral("MB"), median(preview),
                 median(big), QStringLiteral("report 8 shown"), 1.5, false});
    }

    // The plainest copy a program can make inside itself: read and write in 1 MiB pieces, then
    // one fsync of the copy.
    static void copyLoop(const QString &from, const QString &to)
    {
        const int in = ::open(QFile::encodeName(from).constData(), O_RDONLY | O_CLOEXEC);
        const int out =
            ::open(QFile::encodeName(to).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (in < 0 || out < 0)
            die(QStringLiteral("copy loop cannot open its files"));
        std::vector<char> buffer(1 << 20);
        for (;;) {
            const ssize_t n = ::read(in, buffer.data(), buffer.size());
            if (n < 0)
                die(QStringLiteral("copy loop read failed"));
            if (n == 0)
                break;
            if (::write(out, buffer.data(), size_t(n)) != n)
                die(QStringLiteral("copy loop write failed"));
        }
        if (::fsync(out) != 0)
            die(QStringLiteral("copy loop fsync failed"));
        ::close(in);
        ::close(out);
    }

    // Reminders for every client with an overdue book today, and the statistics of last year.
    void annualReports()
    {
        const DateNumber day = dateNumberFromDate(today());
        const int year = today().year() - 1;
        size_t letters = 0;
        int loans = 0;
        Raw raw(baseDb());
        openOurs(bigDb());
        QList<ReminderLetter> ours;
        const auto reminders = paired(
            [&] {
                if (collectReminders(day, -1, &ours) != 0)
                    die(QStringLiteral("reminders failed"));
            },
            [&] { letters = plainReminders(raw.db(), day); }, runs);
        AnnualStatistics stats;
        const auto statistics = paired(
            [&] {
                if (computeAnnualStatistics(year, &stats) != 0)
                    die(QStringLiteral("statistics failed"));
            },
            [&] { loans = plainStatistics(raw.db(), year); }, runs);
        Database::close();
        if (size_t(ours.size()) != letters || stats.loans() != loans)
            die(QStringLiteral("reminders %1 / %2 letters, statistics %3 / %4 loans")
                    .arg(ours.size())
                    .arg(letters)
                    .arg(stats.loans())
                    .arg(loans));
        addCase(timedCase(QStringLiteral("reminders (%1 letters)").arg(letters), reminders,
                          QStringLiteral("same statements, C API"), 1.2));
        addCase(timedCase(QStringLiteral("statistics of %1 (%2 loans)").arg(year).arg(loans), statistics,
                          QStringLiteral("same statements, C API"), 1.2));
    }

    void backup()
    {
        const QString db = bigDb();
        const QString file = work + QStringLiteral("/zaloha.fzl");
        const QString copy = work + QStringLiteral("/copy.db");
        const double mb = double(QFileInfo(db).size()) / 1e6;
        openOurs(db);
        installUnattendedMessages();
        const auto exportTimes = paired(
            [&] {
                QFile::remove(file);
                ExportRequest request;
                request.fileName = file;
                request.dataDir = bigDir;
                request.floppyDir = work;
                request.stamp = BackupStamp::at(QDateTime::currentDateTime());
                if (runExport(request, {}) != BackupOutcome::Succeeded)
                    die(QStringLiteral("export failed"));
            },
            [&] { copyLoop(baseDb(), copy); }, runs);
        const auto importTimes = paired(
            [&] {
                ImportRequest request;
                request.fileName = file;
                request.dataDir = bigDir;
                if (runImport(request, {}) != BackupOutcome::Succeeded)
                    die(QStringLiteral("import failed"));
            },
            [&] {
                // What a restore must do at the least: copy the library's image (the backup holds
                // it in the program's own format) and check it.
                copyLoop(baseDb(), copy);
                Raw raw(copy);
                Stmt3 check(raw.db(), "PRAGMA integrity_check");
                if (!check.step() || check.text(0) != "ok")
                    die(QStringLiteral("the copied backup is not sound"));
            },
            runs);
        Database::close();
        QFile::remove(copy);
        Case e = timedCase(QStringLiteral("backup export (%1 MB)").arg(mb, 0, 'f', 1), exportTimes,
                           QStringLiteral("copy loop in the process, 1 MiB pieces, one fsync"), 1 / 1.2);
        e.atLeast = true;
        addCase(e);
        Case i = timedCase(QStringLiteral("backup import (%1 MB)").arg(mb, 0, 'f', 1), importTimes,
                           QStringLiteral("copy loop + fsync + PRAGMA integrity_check"), 1 / 1.2);
        i.atLeast = true;
        addCase(i);
    }

    // check against SQLite's own integrity check of the same file; each side reads its own copy.
    void check()
    {
        const auto t = paired(
            [&] {
                if (!checkDatabaseFile(bigDb()).sound())
                    die(QStringLiteral("the demo library does not pass check"));
            },
            [&] {
                Raw raw(baseDb());
                Stmt3 check(raw.db(), "PRAGMA integrity_check");
                if (!check.step() || check.text(0) != "ok")
                    die(QStringLiteral("integrity_check failed"));
            },
            runs);
        addCase(timedCase(QStringLiteral("check"), t, QStringLiteral("PRAGMA integrity_check, C API"), 1.2));
    }

    // folivo-cli report 7 --html against sqlite3 -html of the same rows and columns, both started
    // as processes and writing their page to a file.
    void html()
    {
        const QString cli =
            QFileInfo(QCoreApplication::applicationDirPath() + QStringLiteral("/../src/folivo-cli"))
                .absoluteFilePath();
        if (!QFileInfo::exists(cli))
            die(QStringLiteral("no folivo-cli beside the bench: %1").arg(cli));
        QString where = jetToSqlite(fixedReport(ReportKind::Present).sql);
        where = where.mid(where.indexOf(QStringLiteral(" FROM KNIHY ")));
        const QString sql =
            QStringLiteral("SELECT KNIHY.KOD, KNIHY.NAZEV, KNIHY.AUTOR, (SELECT NAZEV FROM KATEGORIE "
                           "WHERE ID_KATEGORIE_KATEGORIE = KNIHY.ID_KATEGORIE_KNIHY), "
                           "printf('%.2f', KNIHY.CENA)") +
            where;
        // The statement sorts its codes with the program's Czech collation: the shell loads it.
        const QString collation =
            QCoreApplication::applicationDirPath() + QStringLiteral("/libczech_collation.so");
        if (!QFileInfo::exists(collation))
            die(QStringLiteral("no Czech collation extension beside the bench: %1").arg(collation));
        const QString load = QStringLiteral(".load \"%1\" folivo_czech_collation_init").arg(collation);
        const QString ours = work + QStringLiteral("/ours.html");
        const QString base = work + QStringLiteral("/base.html");
        const auto run = [](const QString &program, const QStringList &args, const QString &output) {
            QProcess p;
            if (!output.isEmpty())
                p.setStandardOutputFile(output);
            p.start(program, args);
            if (!p.waitForFinished(120000) || p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0)
                die(QStringLiteral("%1 failed").arg(program));
        };
        const auto t = paired(
            [&] {
                run(cli,
                    {QStringLiteral("report"), QStringLiteral("7"), QStringLiteral("--data-dir"), bigDir,
                     QStringLiteral("--html"), ours},
                    QString());
            },
            [&] {
                run(QStringLiteral("sqlite3"),
                    {QStringLiteral("-html"), QStringLiteral("-cmd"), load, baseDb(), sql}, base);
            },
            runs);
        addCase(timedCase(QStringLiteral("report 7 --html, end to end"), t,
                          QStringLiteral("sqlite3 -html of the same rows and columns"), 1.2));
    }

    // The loans page's book picker over every book that can be lent, from the call to the first
    // painted row.
    void picker()
    {
        Raw raw(baseDb());
        const QString jet = QString::fromUtf8(Stmt::PickLendable);
        Stmt3 base(raw.db(),
                   sqliteText(selectOnly(jet, QStringLiteral("KNIHY"),
                                         {QStringLiteral("KOD"), QStringLiteral("NAZEV"),
                                          QStringLiteral("AUTOR"), QStringLiteral("ID_KNIHY_KNIHY")})));
        const int columns[] = {base.column("KOD"), base.column("NAZEV"), base.column("AUTOR")};
        openOurs(bigDb());
        int shown = 0;
        const auto t = paired(
            [&] {
                CBookPickerDialog dialog(
                    QStringLiteral("Vyberte knihu ze seznamu knih, které je možné vypůjčit."), jet);
                dialog.show();
                QCoreApplication::processEvents();
                auto *list = dialog.findChild<QTableView *>();
                if (!list || !list->model())
                    die(QStringLiteral("the picker has no list"));
                shown = list->model()->rowCount();
                list->viewport()->repaint();
            },
            [&] {
                base.reset();
                std::string arena;
                std::vector<std::pair<size_t, int>> rows;
                while (base.step())
                    for (int c : columns) {
                        const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(*base, c));
                        const int n = sqlite3_column_bytes(*base, c);
                        rows.emplace_back(arena.size(), n);
                        if (text)
                            arena.append(text, size_t(n));
                    }
            },
            runs);
        Database::close();
        addCase(timedCase(QStringLiteral("book picker open (%1 books)").arg(shown), t,
                          QStringLiteral("same statement into one arena, C API"), 100, true));
    }

    // Report 8 printed: the preview from the command to its first painted page, and the PDF file.
    void printing()
    {
        openOurs(bigDb());
        const ReportQuery query = fixedReport(ReportKind::PresentAndLent);
        const ReportResult report = runReport(query.sql);
        Database::close();
        if (report.message != 0)
            die(QStringLiteral("report 8 failed"));
        const PrintedTable doc = reportDocument(query.title, report.rows, report.summary, today());
        QPrinter &printer = programPrinter();
        int pages = 0;
        const auto preview = paired(
            [&] {
                const PrintedTable shown = reportDocument(query.title, report.rows, report.summary, today());
                PrintPreviewDialog dialog(printer, shown);
                dialog.show();
                while (dialog.paintedPages() == 0)
                    QCoreApplication::processEvents();
                pages = dialog.pageCount();
            },
            [&] {
                // The least a preview must do: the first page alone, laid out and painted.
                PrintedTable first = doc;
                first.rows = doc.rows.mid(0, 40);
                QImage image(800, 1100, QImage::Format_RGB32);
                QPainter p(&image);
                const PrintedPages one(&printer, first);
                p.scale(800.0 / one.pageSize().width(), 800.0 / one.pageSize().width());
                one.paintPage(p, 0);
            },
            std::max(3, runs / 2));
        addCase(timedCase(QStringLiteral("report 8 preview to its first page (%1 pages)").arg(pages), preview,
                          QStringLiteral("the first page alone, laid out and painted"), 500, true));
        const QString pdf = work + QStringLiteral("/report8.pdf");
        const QString plain = work + QStringLiteral("/plain.pdf");
        const auto file = paired(
            [&] {
                if (!writePdf(doc, pdf).ok())
                    die(QStringLiteral("the PDF of report 8 failed"));
            },
            [&] {
                // The same pages into a plain file, without the save file and without progress.
                QPdfWriter writer(plain);
                writer.setResolution(300);
                writer.setPageLayout(programPageLayout());
                const PrintedPages layout(&writer, doc);
                QPainter p(&writer);
                for (int i = 0; i < layout.pages(); ++i) {
                    if (i > 0)
                        writer.newPage();
                    layout.paintPage(p, i);
                }
            },
            std::max(3, runs / 3));
        addCase(timedCase(QStringLiteral("PDF of report 8"), file,
                          QStringLiteral("the same pages into a plain file, no save file"), 1.2));
    }

    // The program's main frame on the 100k library, driven as the librarian drives it: report 8
    // from its menu command to the first painted row, a click on the title header of the shown
    // report to the repainted list, and a loan of ten books from "Půjčit" to the cleared page.
    void frameSteps()
    {
        Raw raw(baseDb());
        const IcuCzech icu;
        icu.registerOn(raw.db());
        QCoreApplication::setOrganizationName(QStringLiteral("Folivo"));
        QCoreApplication::setApplicationName(QStringLiteral("Folivo"));
        StartupOptions options;
        options.dataDir = bigDir;
        options.floppyDir = bigDir;
        int exitCode = 0;
        std::unique_ptr<CMainFrame> frame(startProgram(options, &exitCode));
        if (!frame)
            die(QStringLiteral("the program did not start on the big library"));
        // No protocol after the loan: the bench times the loan, not the printer.
        AppState::instance().settings.loanProtocol = SettingsRecord::PrintNever;
        frame->resize(1024, 768);
        frame->show();
        settle();
        const auto toEntryView = [&] {
            frame->switchView(ViewSwitchRequest{});
            settle();
        };
        const auto reportView = [&] {
            auto *view = qobject_cast<CSestavaView *>(frame->view(ViewSwitchRequest::ReportView));
            if (!view)
                die(QStringLiteral("no report view"));
            return view;
        };

        // Report 8 from the menu command to its first painted row.
        const std::string report8Sql = sqliteText(selectOnly(
            fixedReport(ReportKind::PresentAndLent).sql, QStringLiteral("KNIHY"),
            {QStringLiteral("ID_KNIHY_KNIHY"), QStringLiteral("ID_KATEGORIE_KNIHY"), QStringLiteral("KOD"),
             QStringLiteral("NAZEV"), QStringLiteral("AUTOR"), QStringLiteral("CENA")}));
        TightReport tight(raw.db(), report8Sql);
        std::unique_ptr<PaintWatch> rows;
        size_t baseRows = 0;
        const auto menu = paired(
            [&] {
                frame->runCommand(Cmd::ReportPresentAndLent);
                if (!rows)
                    rows = std::make_unique<PaintWatch>(reportView()->list()->viewport());
                rows->waitBeyond(rows->painted());
            },
            [&] { baseRows = tight.run(); }, runs, toEntryView);
        CSestavaView *view = reportView();
        if (size_t(view->model()->rowCount()) != baseRows || frame->activeView() != view)
            die(QStringLiteral("report 8 from the menu: %1 rows, the baseline %2")
                    .arg(view->model()->rowCount())
                    .arg(baseRows));
        addCase(timedCase(QStringLiteral("report 8 from the menu to its first painted row"), menu,
                          QStringLiteral("same statement, C API, prepared once"), 150, true));

        // A click on the "Název" header of the shown report 8, to the repainted list.
        QHeaderView *header = view->list()->horizontalHeader();
        const auto click = [&](int section) {
            const QPoint at(header->sectionViewportPosition(section) + header->sectionSize(section) / 2,
                            header->height() / 2);
            const QPoint global = header->viewport()->mapToGlobal(at);
            QMouseEvent press(QEvent::MouseButtonPress, at, global, Qt::LeftButton, Qt::LeftButton,
                              Qt::NoModifier);
            QMouseEvent release(QEvent::MouseButtonRelease, at, global, Qt::LeftButton, Qt::NoButton,
                                Qt::NoModifier);
            QApplication::sendEvent(header->viewport(), &press);
            QApplication::sendEvent(header->viewport(), &release);
        };
        std::string ordered = report8Sql;
        const std::string byCode = "ORDER BY KNIHY.KOD COLLATE CZECH DESC";
        const size_t orderAt = ordered.find(byCode);
        if (orderAt == std::string::npos)
            die(QStringLiteral("report 8 is not ordered by its code: %1")
                    .arg(QString::fromStdString(report8Sql)));
        // The list shows the statement's rows reversed: descending here is ascending there.
        ordered.replace(orderAt, byCode.size(), "ORDER BY KNIHY.NAZEV COLLATE CZECH_ICU DESC");
        TightReport sortedTight(raw.db(), ordered);
        const auto byTitle = paired(
            [&] {
                click(CReportModel::Title);
                rows->waitBeyond(rows->painted());
            },
            [&] { baseRows = sortedTight.run(); }, runs,
            [&] {
                click(CReportModel::Code); // back to the order the report came in
                settle();
            });
        for (int i = 1; i < view->model()->rowCount(); ++i)
            if (czechCompare(view->model()->row(i - 1).title, view->model()->row(i).title) > 0)
                die(QStringLiteral("the header click did not sort the titles (row %1)").arg(i));
        addCase(timedCase(QStringLiteral("report 8 sorted by title (header click to the repainted list)"),
                          byTitle, QStringLiteral("same statement with ORDER BY, C API, prepared once"),
                          1.2));
        // The same click against a program that holds the rows already and sorts them itself.
        const auto inMemory = paired(
            [&] {
                click(CReportModel::Title);
                rows->waitBeyond(rows->painted());
            },
            [&] { tight.sortByTitle(icu.get()); }, runs,
            [&] {
                click(CReportModel::Code);
                settle();
            },
            [&] { tight.run(); });
        addCase(timedCase(QStringLiteral("  (info) the same sort against rows in memory"), inMemory,
                          QStringLiteral("rows already read, stable sort comparing with ICU"), 0));
        rows.reset();
        toEntryView();

        // A loan of ten books from "Půjčit" to the cleared loans page.
        auto *entry = qobject_cast<CViewZadavani *>(frame->view(ViewSwitchRequest::EntryView));
        if (!entry)
            die(QStringLiteral("no entry view"));
        entry->setActivePage(CViewZadavani::Vypujcky);
        auto *page = qobject_cast<CPageVypujcky *>(entry->page(CViewZadavani::Vypujcky));
        auto *bookCode = page ? page->findChild<QLineEdit *>(QStringLiteral("bookCode")) : nullptr;
        auto *clientCode = page ? page->findChild<QLineEdit *>(QStringLiteral("clientCode")) : nullptr;
        auto *lend = page ? page->findChild<QPushButton *>(QStringLiteral("lend")) : nullptr;
        auto *list = page ? page->findChild<QTableView *>() : nullptr;
        if (!bookCode || !clientCode || !lend || !list)
            die(QStringLiteral("the loans page lacks its fields"));
        settle();
        const PaintWatch cleared(list->viewport());
        const CirculationData d = circulationData(raw.db());
        bool returned = true;
        const auto prepare = [&] {
            if (!returned)
                ourReturn(d);
            for (const QString &code : d.ours) {
                bookCode->setText(code);
                page->lookUpBook();
                page->addBook();
            }
            clientCode->setText(d.client);
            page->lookUpClient();
            if (page->list()->size() != d.ours.size() || page->clientId() == -1)
                die(QStringLiteral("the loans page did not take the books and the client"));
            settle();
        };
        bool baseReturned = true;
        const auto loan = paired(
            [&] {
                lend->click();
                cleared.waitBeyond(cleared.painted());
                returned = false;
            },
            [&] {
                baseLoan(raw.db(), d);
                baseReturned = false;
            },
            runs, prepare,
            [&] {
                if (!baseReturned)
                    baseReturn(raw.db(), d);
                baseReturned = true;
            });
        if (!page->list()->isEmpty())
            die(QStringLiteral("the loans page was not cleared"));
        if (!returned)
            ourReturn(d);
        if (!baseReturned)
            baseReturn(raw.db(), d);
        addCase(timedCase(QStringLiteral("loan of 10 books, \"Půjčit\" to the cleared page"), loan,
                          QStringLiteral("same statements, C API, one transaction"), 16, true));
        frame.reset();
        Database::close();
    }
};

// ---------------------------------------------------------------------------------------------
// The child processes

int child(const QString &what, const QString &dir)
{
    int argc = 1;
    char name[] = "folivo-bench";
    char *argv[] = {name, nullptr};
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Folivo"));
    QApplication::setApplicationName(QStringLiteral("Folivo"));
    installUnattendedMessages();
    StartupOptions options;
    options.dataDir = dir;
    options.floppyDir = dir;
    int exitCode = 0;
    CMainFrame *frame = startProgram(options, &exitCode);
    if (!frame)
        return 3;
    auto *entry = qobject_cast<CViewZadavani *>(frame->activeView());
    if (!entry || !entry->activePage())
        return 4;
    {
        // Start-up ends when the entry view's page is painted: the parent takes the time when this
        // line arrives.
        const PaintWatch page(entry->activePage());
        frame->show();
        page.waitBeyond(0);
        std::printf("painted\n");
        std::fflush(stdout);
    }
    if (!entry->isVisible())
        return 4;
    if (what == QLatin1String("memory") || what == QLatin1String("preview")) {
        const ReportQuery q = fixedReport(ReportKind::PresentAndLent);
        ViewSwitchRequest request;
        request.target = ViewSwitchRequest::ReportView;
        request.sql = q.sql;
        request.title = q.title;
        request.reportKind = q.kind;
        frame->switchView(request);
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
        auto *view = qobject_cast<CSestavaView *>(frame->activeView());
        if (!view || !view->isVisible())
            return 5;
        std::unique_ptr<PrintedTable> doc;
        std::unique_ptr<PrintPreviewDialog> preview;
        if (what == QLatin1String("preview")) {
            // The print preview of the shown report, open on its first page.
            doc = std::make_unique<PrintedTable>(
                reportDocument(view->title(), view->model()->rows(), view->summary(), today()));
            preview = std::make_unique<PrintPreviewDialog>(programPrinter(), *doc, frame);
            preview->show();
            while (preview->paintedPages() == 0)
                QCoreApplication::processEvents();
        }
        QFile status(QStringLiteral("/proc/self/status"));
        if (!status.open(QIODevice::ReadOnly))
            return 6;
        for (const QByteArray &line : status.readAll().split('\n'))
            if (line.startsWith("VmHWM:"))
                std::printf("%s\n", line.mid(6).trimmed().split(' ').value(0).constData());
    }
    delete frame;
    Database::close();
    return 0;
}

QString machine()
{
    QString cpu;
    QFile f(QStringLiteral("/proc/cpuinfo"));
    if (f.open(QIODevice::ReadOnly))
        for (const QByteArray &line : f.readAll().split('\n'))
            if (line.startsWith("model name")) {
                cpu = QString::fromUtf8(line.mid(line.indexOf(':') + 1).trimmed());
                break;
            }
    return QStringLiteral("%1, %2 logical CPUs, %3, Qt %4, SQLite %5")
        .arg(cpu)
        .arg(QThread::idealThreadCount())
        .arg(QSysInfo::prettyProductName(), QString::fromLatin1(qVersion()),
             QString::fromLatin1(sqlite3_libversion()));
}

// The one-minute load average of the machine, as /proc/loadavg gives it ("?" when unknown): the
// other programs running beside the bench slow both sides of every case.
QString loadAverage()
{
    QFile f(QStringLiteral("/proc/loadavg"));
    if (!f.open(QIODevice::ReadOnly))
        return QStringLiteral("?");
    return QString::fromLatin1(f.readAll().split(' ').value(0));
}

// The README's table, made from the figures of a run: one line per case.
int printFiguresTable(const QString &json)
{
    QFile in(json);
    if (!in.open(QIODevice::ReadOnly))
        die(QStringLiteral("cannot read %1").arg(json));
    const QJsonObject doc = QJsonDocument::fromJson(in.readAll()).object();
    const auto number = [](double v) {
        const int decimals = v >= 100 ? 0 : v >= 10 ? 1 : v >= 1 ? 2 : 3;
        return QLocale(QLocale::English).toString(v, 'f', decimals);
    };
    std::printf("| case | ours (median / min) | baseline (median / min) | ratio | target | holds |\n");
    std::printf("|---|---:|---:|---:|---:|:---:|\n");
    for (const QJsonValue &v : doc.value(QStringLiteral("cases")).toArray()) {
        const QJsonObject c = v.toObject();
        const bool ms = c.contains(QStringLiteral("ours_ms"));
        const QString suffix = ms ? QStringLiteral("_ms") : QStringLiteral("_mb");
        const QString unit = ms ? QStringLiteral(" ms") : QStringLiteral(" MB");
        const auto figure = [&](const QString &side) {
            QString text = number(c.value(side + suffix).toDouble()) + unit;
            if (c.contains(side + QStringLiteral("_min") + suffix))
                text += QStringLiteral(" / ") +
                        number(c.value(side + QStringLiteral("_min") + suffix).toDouble());
            return text;
        };
        const QJsonValue holds = c.value(QStringLiteral("holds"));
        std::printf("| %s | %s | %s (%s) | %.2f | %s | %s |\n",
                    qPrintable(c.value(QStringLiteral("case")).toString()),
                    qPrintable(figure(QStringLiteral("ours"))),
                    qPrintable(figure(QStringLiteral("baseline"))),
                    qPrintable(c.value(QStringLiteral("baseline")).toString()),
                    c.value(QStringLiteral("ratio")).toDouble(),
                    qPrintable(c.value(QStringLiteral("target")).toString()),
                    holds.isNull()   ? "*info*"
                    : holds.toBool() ? "yes"
                                     : "no");
    }
    std::printf("\n%d runs each, alternating with the baseline; %s; %s\n",
                doc.value(QStringLiteral("runs")).toInt(),
                qPrintable(doc.value(QStringLiteral("machine")).toString()),
                qPrintable(doc.value(QStringLiteral("date")).toString()));
    if (doc.contains(QStringLiteral("load")))
        std::printf("\nLoad of the machine (one-minute average) at the start and at the end of the run: %s\n",
                    qPrintable(doc.value(QStringLiteral("load")).toString()));
    if (doc.contains(QStringLiteral("note")))
        std::printf("\n%s\n", qPrintable(doc.value(QStringLiteral("note")).toString()));
    return 0;
}

QJsonObject readFigures(const QString &json)
{
    QFile in(json);
    if (!in.open(QIODevice::ReadOnly))
        die(QStringLiteral("cannot read %1").arg(json));
    return QJsonDocument::fromJson(in.readAll()).object();
}

// Two runs' ratios side by side, case by case, and how far the second is from the first; a case
// whose ratio moved by more than 15 % is marked. Returns the number of such cases.
int compareFigures(const QString &first, const QString &second)
{
    const QJsonObject a = readFigures(first), b = readFigures(second);
    QHash<QString, double> before;
    for (const QJsonValue &v : a.value(QStringLiteral("cases")).toArray())
        before.insert(v.toObject().value(QStringLiteral("case")).toString(),
                      v.toObject().value(QStringLiteral("ratio")).toDouble());
    std::printf("%-66s %8s %8s %8s\n", "case", "ratio 1", "ratio 2", "change");
    int swung = 0;
    for (const QJsonValue &v : b.value(QStringLiteral("cases")).toArray()) {
        const QString name = v.toObject().value(QStringLiteral("case")).toString();
        const double r2 = v.toObject().value(QStringLiteral("ratio")).toDouble();
        if (!before.contains(name)) {
            std::printf("%-66s %8s %8.2f\n", qPrintable(name), "-", r2);
            continue;
        }
        const double r1 = before.value(name);
        const double change = r1 > 0 ? (r2 - r1) / r1 * 100 : 0;
        const bool over = std::abs(change) > 15;
        swung += over ? 1 : 0;
        std::printf("%-66s %8.2f %8.2f %+7.1f %%%s\n", qPrintable(name), r1, r2, change,
                    over ? "  > 15 %" : "");
    }
    std::printf("\nloads (start / end): %s, then %s\n",
                qPrintable(a.value(QStringLiteral("load")).toString()),
                qPrintable(b.value(QStringLiteral("load")).toString()));
    return swung;
}

} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    if (argc == 4 && qstrcmp(argv[1], "--child") == 0)
        return child(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]));
    if (argc == 3 && qstrcmp(argv[1], "--table") == 0)
        return printFiguresTable(QString::fromLocal8Bit(argv[2]));
    if (argc == 4 && qstrcmp(argv[1], "--compare") == 0)
        return compareFigures(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3])) == 0 ? 0 : 1;

    QApplication app(argc, argv);
    installUnattendedMessages();
    Bench bench;
    QString json;
    // groups to run: reports, annual, circulation, browse, startup, memory, backup, check, html,
    // picker, printing, frame
    QStringList only;
    const QStringList args = QCoreApplication::arguments();
    for (int i = 1; i < args.size(); ++i) {
        const QString &a = args.at(i);
        const QString next = i + 1 < args.size() ? args.at(i + 1) : QString();
        if (a == QLatin1String("--library"))
            bench.library = next, ++i;
        else if (a == QLatin1String("--work"))
            bench.work = next, ++i;
        else if (a == QLatin1String("--runs"))
            bench.runs = std::max(1, next.toInt()), ++i;
        else if (a == QLatin1String("--only"))
            only = next.split(QLatin1Char(',')), ++i;
        else if (a == QLatin1String("--json"))
            json = QFileInfo(next).absoluteFilePath(), ++i; // the program's start-up changes directory
        else
            die(QStringLiteral("unknown argument %1").arg(a));
    }
    if (bench.library.isEmpty() || bench.work.isEmpty())
        die(QStringLiteral("usage: folivo-bench --library FILE --work DIR [--runs N] [--json FILE]"));
    bench.library = QFileInfo(bench.library).absoluteFilePath();
    bench.work = QDir(bench.work).absolutePath();
    bench.prepareDirs();

    const QString loadAtStart = loadAverage();
    std::printf("Folivo benchmarks, %d runs each (median), load %s\n", bench.runs, qPrintable(loadAtStart));
    if (only.isEmpty() || only.contains(QLatin1String("reports")))
        bench.reportsAndSearch();
    if (only.isEmpty() || only.contains(QLatin1String("annual")))
        bench.annualReports();
    if (only.isEmpty() || only.contains(QLatin1String("circulation")))
        bench.circulation();
    if (only.isEmpty() || only.contains(QLatin1String("browse")))
        bench.browse();
    if (only.isEmpty() || only.contains(QLatin1String("startup")))
        bench.startup();
    if (only.isEmpty() || only.contains(QLatin1String("memory")))
        bench.memory();
    if (only.isEmpty() || only.contains(QLatin1String("backup")))
        bench.backup();
    if (only.isEmpty() || only.contains(QLatin1String("check")))
        bench.check();
    if (only.isEmpty() || only.contains(QLatin1String("html")))
        bench.html();
    if (only.isEmpty() || only.contains(QLatin1String("picker")))
        bench.picker();
    if (only.isEmpty() || only.contains(QLatin1String("printing")))
        bench.printing();
    if (only.isEmpty() || only.contains(QLatin1String("frame")))
        bench.frameSteps();

    std::printf("\n%-48s %12s %12s %7s %9s  %s\n", "case", "ours", "baseline", "ratio", "target", "holds");
    int missed = 0;
    QJsonArray rows;
    for (const Case &c : g_cases) {
        std::printf("%-48s %9.3f %-2s %9.3f %-2s %7.2f %9s  %s\n", qPrintable(c.name), c.ours,
                    qPrintable(c.unit), c.base, qPrintable(c.unit), c.ratio(), qPrintable(c.target()),
                    c.limit <= 0 ? ""
                    : c.holds()  ? "yes"
                                 : "NO");
        missed += c.holds() ? 0 : 1;
        const QString suffix = c.unit == QLatin1String("ms") ? QStringLiteral("_ms") : QStringLiteral("_mb");
        QJsonObject row{{QStringLiteral("case"), c.name.trimmed()},
                        {QStringLiteral("ours") + suffix, c.ours},
                        {QStringLiteral("baseline") + suffix, c.base},
                        {QStringLiteral("ratio"), c.ratio()},
                        {QStringLiteral("target"), c.target()},
                        {QStringLiteral("holds"), c.limit <= 0 ? QJsonValue() : QJsonValue(c.holds())},
                        {QStringLiteral("baseline"), c.baseName},
                        {QStringLiteral("unit"), c.unit}};
        if (c.oursMin > 0 || c.baseMin > 0) {
            row.insert(QStringLiteral("ours_min") + suffix, c.oursMin);
            row.insert(QStringLiteral("baseline_min") + suffix, c.baseMin);
        }
        rows.append(row);
    }
    std::printf("\nmachine: %s\n", qPrintable(machine()));
    if (!json.isEmpty()) {
        QDir().mkpath(QFileInfo(json).absolutePath());
        QFile out(json);
        const QJsonObject doc{{QStringLiteral("machine"), machine()},
                              {QStringLiteral("date"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate)},
                              {QStringLiteral("runs"), bench.runs},
                              {QStringLiteral("load"), loadAtStart + QStringLiteral(" / ") + loadAverage()},
                              {QStringLiteral("cases"), rows}};
        if (!out.open(QIODevice::WriteOnly) || out.write(QJsonDocument(doc).toJson()) < 0)
            die(QStringLiteral("cannot write %1").arg(json));
        std::printf("figures written to %s\n", qPrintable(json));
    }
    QDir(bench.work).removeRecursively();
    return missed == 0 ? 0 : 1;
}
