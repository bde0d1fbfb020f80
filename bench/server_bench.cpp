// folivo-bench-server: the library on a PostgreSQL server. A loan (and a return) of ten books
// through the program's core against the same statements sent by a careful C programmer through
// libpq (prepared once, values read in place), taking turns run by run; and the throughput of
// four desks working at once against one desk alone. bench/server.sh starts the server, puts the
// demo library on it and runs this.
#include "circulation/circulationcore.h"
#include "data/database.h"
#include "data/dates.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

#include <libpq-fe.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

[[noreturn]] void die(const QString &why)
{
    std::fprintf(stderr, "folivo-bench-server: %s\n", qPrintable(why));
    std::exit(2);
}

struct Timing
{
    double median = 0;
    double min = 0;
};

Timing summarize(std::vector<double> v)
{
    if (v.empty())
        return {};
    std::sort(v.begin(), v.end());
    return {v[v.size() / 2], v.front()};
}

template <typename F> double timeOnce(F &&f)
{
    QElapsedTimer t;
    t.start();
    f();
    return double(t.nsecsElapsed()) / 1e6;
}

// The baseline's connection: libpq, each statement prepared once.
class Pq final
{
public:
    explicit Pq(const QString &conninfo)
    {
        m_conn = PQconnectdb(conninfo.toUtf8().constData());
        if (PQstatus(m_conn) != CONNECTION_OK)
            die(QStringLiteral("libpq: %1").arg(QString::fromUtf8(PQerrorMessage(m_conn))));
    }
    ~Pq() { PQfinish(m_conn); }
    Pq(const Pq &) = delete;
    Pq &operator=(const Pq &) = delete;

    void prepare(const char *name, const char *sql, int params)
    {
        PGresult *r = PQprepare(m_conn, name, sql, params, nullptr);
        check(r, PGRES_COMMAND_OK, sql);
        PQclear(r);
    }
    // Runs a prepared statement; the result is the caller's to clear.
    PGresult *run(const char *name, std::initializer_list<const char *> values, ExecStatusType want)
    {
        std::vector<const char *> v(values);
        PGresult *r = PQexecPrepared(m_conn, name, int(v.size()), v.data(), nullptr, nullptr, 0);
        check(r, want, name);
        return r;
    }
    void exec(const char *sql)
    {
        PGresult *r = PQexec(m_conn, sql);
        check(r, PGRES_COMMAND_OK, sql);
        PQclear(r);
    }

private:
    void check(PGresult *r, ExecStatusType want, const char *what)
    {
        if (PQresultStatus(r) != want)
            die(QStringLiteral("libpq: %1: %2")
                    .arg(QString::fromUtf8(what), QString::fromUtf8(PQerrorMessage(m_conn))));
    }
    PGconn *m_conn = nullptr;
};

struct Books
{
    QString client;
    QStringList ours, base;
};

Books pickBooks(Pq &pq)
{
    Books b;
    pq.prepare("pick_client",
               "SELECT KOD FROM LIDE WHERE UKAZOVAT <> 0 ORDER BY ID_LIDE_LIDE LIMIT 1 OFFSET 500", 0);
    PGresult *r = pq.run("pick_client", {}, PGRES_TUPLES_OK);
    if (PQntuples(r) != 1)
        die(QStringLiteral("no client"));
    b.client = QString::fromUtf8(PQgetvalue(r, 0, 0));
    PQclear(r);
    pq.prepare(
        "pick_books",
        "SELECT KOD FROM KNIHY WHERE VYRAZENO = 0 AND VYPUJCENO = 0 ORDER BY PRIRUSTEK LIMIT 20 OFFSET 40000",
        0);
    r = pq.run("pick_books", {}, PGRES_TUPLES_OK);
    for (int i = 0; i < PQntuples(r); ++i)
        (b.ours.size() < 10 ? b.ours : b.base) << QString::fromUtf8(PQgetvalue(r, i, 0));
    PQclear(r);
    if (b.base.size() != 10)
        die(QStringLiteral("not enough present books"));
    return b;
}

// The loan page's path through the core: the client by code, each book by code with its
// category, the write in one transaction.
void ourLoan(const Books &b)
{
    const auto client = clientInUseByCode(b.client);
    if (!client)
        die(QStringLiteral("client not found"));
    const DateNumber day = dateNumberFromDate(today());
    QList<LoanBook> books;
    for (const QString &code : b.ours) {
        const auto book = bookInUseByCode(code);
        if (!book || book->book.lent || !book->category)
            die(QStringLiteral("book %1 not present").arg(code));
        books << LoanBook{book->book.id, day};
    }
    lendBooks(client->id, day, books);
}

// The return page's path: each book by code with its holder and open loan, the write.
void ourReturn(const Books &b)
{
    QList<ReturnBook> books;
    for (const QString &code : b.ours) {
        const auto book = bookInUseByCode(code);
        if (!book || !book->book.lent)
            die(QStringLiteral("book %1 not lent").arg(code));
        const auto holder = clientWithId(book->book.client);
        const auto terms = loanTerms(book->book.loan, book->book.id);
        if (!holder || !terms)
            die(QStringLiteral("return lookups failed"));
        books << ReturnBook{book->book.id,   holder->id, book->book.loan,
                            terms->loanDate, terms->due, terms->limited};
    }
    returnBooks(dateNumberFromDate(today()), books);
}

void prepareBaseline(Pq &pq)
{
    pq.prepare(
        "client",
        "SELECT ID_LIDE_LIDE, KOD, JMENO, PRIJMENI FROM LIDE WHERE lower(KOD) = lower($1) AND UKAZOVAT <> 0",
        1);
    pq.prepare(
        "book",
        "SELECT ID_KNIHY_KNIHY, ID_KATEGORIE_KNIHY, VYPUJCENO, ID_LIDE_KNIHY, ID_VYPUJCKY_KNIHY FROM KNIHY "
        "WHERE lower(KOD) = lower($1) AND VYRAZENO = 0",
        1);
    pq.prepare("category", "SELECT NAZEV FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE = $1", 1);
    pq.prepare("holder", "SELECT KOD, JMENO, PRIJMENI FROM LIDE WHERE ID_LIDE_LIDE = $1", 1);
    pq.prepare("terms",
               "SELECT DATUM_PUJCKY, DATUM_MAX, OMEZOVAT FROM VYPUJCKY WHERE ID_VYPUJCKY_VYPUJCKY = $1 AND "
               "ID_KNIHY_VYPUJCKY = $2 AND VRACENO = 0",
               2);
    // What a write reads again inside its transaction, as the program does: another desk may have
    // hidden the client, or lent, discarded or returned the book since the page looked.
    pq.prepare("client_again", "SELECT UKAZOVAT FROM LIDE WHERE ID_LIDE_LIDE = $1", 1);
    pq.prepare("book_again", "SELECT VYPUJCENO, VYRAZENO FROM KNIHY WHERE ID_KNIHY_KNIHY = $1", 1);
    pq.prepare("loan_again",
               "SELECT VRACENO FROM VYPUJCKY WHERE ID_VYPUJCKY_VYPUJCKY = $1 AND ID_KNIHY_VYPUJCKY = $2", 2);
    pq.prepare("ids_loan", "SELECT ID_VYPUJCKY_FIRSTFREE FROM IDS FOR UPDATE", 0);
    pq.prepare("ids_return", "SELECT ID_VRACENI_FIRSTFREE FROM IDS FOR UPDATE", 0);
    pq.prepare("raise_loan", "UPDATE IDS SET ID_VYPUJCKY_FIRSTFREE = ID_VYPUJCKY_FIRSTFREE + 1", 0);
    pq.prepare("raise_return", "UPDATE IDS SET ID_VRACENI_FIRSTFREE = ID_VRACENI_FIRSTFREE + 1", 0);
    pq.prepare("lend",
               "UPDATE KNIHY SET VYPUJCENO = 1, ID_LIDE_KNIHY = $1, ID_VYPUJCKY_KNIHY = $2 WHERE "
               "ID_KNIHY_KNIHY = $3",
               3);
    pq.prepare("loan_row", "INSERT INTO VYPUJCKY VALUES ($1, $2, $3, 0, $4, 1, $4, -1)", 4);
    pq.prepare("close_loan",
               "UPDATE VYPUJCKY SET VRACENO = 1, DATUM_VRACENI = $1 WHERE ID_VYPUJCKY_VYPUJCKY = $2 AND "
               "ID_KNIHY_VYPUJCKY = $3",
               3);
    pq.prepare("free_book",
               "UPDATE KNIHY SET VYPUJCENO = 0, ID_LIDE_KNIHY = -1, ID_VYPUJCKY_KNIHY = -1 WHERE "
               "ID_KNIHY_KNIHY = $1",
               1);
    pq.prepare("return_row", "INSERT INTO VRACENI VALUES ($1, $2, $3, $4, $5, $6, $7)", 7);
}

// The first value of a row read again inside the write: what the write's check expects.
void expectAgain(PGresult *r, const char *want)
{
    const bool same = PQntuples(r) == 1 && std::string(PQgetvalue(r, 0, 0)) == want;
    PQclear(r);
    if (!same)
        die(QStringLiteral("a row changed under the baseline's write"));
}

void baseLoan(Pq &pq, const Books &b)
{
    const std::string day = std::to_string(dateNumberFromDate(today()));
    const QByteArray clientCode = b.client.toUtf8();
    PGresult *c = pq.run("client", {clientCode.constData()}, PGRES_TUPLES_OK);
    if (PQntuples(c) != 1)
        die(QStringLiteral("client not found"));
    const std::string clientId = PQgetvalue(c, 0, 0);
    PQclear(c);
    std::vector<std::string> ids;
    for (const QString &code : b.base) {
        const QByteArray k = code.toUtf8();
        PGresult *r = pq.run("book", {k.constData()}, PGRES_TUPLES_OK);
        if (PQntuples(r) != 1 || std::string(PQgetvalue(r, 0, 2)) != "0")
            die(QStringLiteral("book %1 not present").arg(code));
        ids.emplace_back(PQgetvalue(r, 0, 0));
        PGresult *cat = pq.run("category", {PQgetvalue(r, 0, 1)}, PGRES_TUPLES_OK);
        PQclear(cat);
        PQclear(r);
    }
    pq.exec("BEGIN");
    PGresult *n = pq.run("ids_loan", {}, PGRES_TUPLES_OK);
    const std::string loan = PQgetvalue(n, 0, 0);
    PQclear(n);
    expectAgain(pq.run("client_again", {clientId.c_str()}, PGRES_TUPLES_OK), "1");
    PQclear(pq.run("raise_loan", {}, PGRES_COMMAND_OK));
    for (auto it = ids.rbegin(); it != ids.rend(); ++it) {
        expectAgain(pq.run("book_again", {it->c_str()}, PGRES_TUPLES_OK), "0");
        PQclear(pq.run("lend", {clientId.c_str(), loan.c_str(), it->c_str()}, PGRES_COMMAND_OK));
        PQclear(
            pq.run("loan_row", {loan.c_str(), clientId.c_str(), it->c_str(), day.c_str()}, PGRES_COMMAND_OK));
    }
    pq.exec("COMMIT");
}

void baseReturn(Pq &pq, const Books &b)
{
    const std::string day = std::to_string(dateNumberFromDate(today()));
    struct R
    {
        std::string book, client, loan, lentOn, due, limited;
    };
    std::vector<R> rows;
    for (const QString &code : b.base) {
        const QByteArray k = code.toUtf8();
        PGresult *r = pq.run("book", {k.constData()}, PGRES_TUPLES_OK);
        if (PQntuples(r) != 1 || std::string(PQgetvalue(r, 0, 2)) != "1")
            die(QStringLiteral("book %1 not lent").arg(code));
        PGresult *h = pq.run("holder", {PQgetvalue(r, 0, 3)}, PGRES_TUPLES_OK);
        PGresult *t = pq.run("terms", {PQgetvalue(r, 0, 4), PQgetvalue(r, 0, 0)}, PGRES_TUPLES_OK);
        if (PQntuples(h) != 1 || PQntuples(t) != 1)
            die(QStringLiteral("return lookups failed"));
        rows.push_back({PQgetvalue(r, 0, 0), PQgetvalue(r, 0, 3), PQgetvalue(r, 0, 4), PQgetvalue(t, 0, 0),
                        PQgetvalue(t, 0, 1), PQgetvalue(t, 0, 2)});
        PQclear(h);
        PQclear(t);
        PQclear(r);
    }
    pq.exec("BEGIN");
    PGresult *n = pq.run("ids_return", {}, PGRES_TUPLES_OK);
    const std::string number = PQgetvalue(n, 0, 0);
    PQclear(n);
    PQclear(pq.run("raise_return", {}, PGRES_COMMAND_OK));
    for (auto it = rows.rbegin(); it != rows.rend(); ++it) {
        expectAgain(pq.run("loan_again", {it->loan.c_str(), it->book.c_str()}, PGRES_TUPLES_OK), "0");
        expectAgain(pq.run("book_again", {it->book.c_str()}, PGRES_TUPLES_OK), "1");
        PQclear(pq.run("close_loan", {day.c_str(), it->loan.c_str(), it->book.c_str()}, PGRES_COMMAND_OK));
        PQclear(pq.run("free_book", {it->book.c_str()}, PGRES_COMMAND_OK));
        const std::string due = it->limited == "0" ? std::string("-1") : it->due;
        PQclear(pq.run("return_row",
                       {number.c_str(), it->book.c_str(), it->client.c_str(), day.c_str(), due.c_str(),
                        it->lentOn.c_str(), it->limited.c_str()},
                       PGRES_COMMAND_OK));
    }
    pq.exec("COMMIT");
}

struct Row
{
    QString name;
    Timing ours, base;
    QString baseName;
    QString target;
    double ratio = 0;
    bool holds = true;
};

// Runs the desks' mix of work: `desks` processes at once, each `ops` operations; the wall time.
double desksAtOnce(const QString &cli, const QString &url, const QString &root, int desks, int ops, int seed)
{
    std::vector<std::unique_ptr<QProcess>> running;
    QElapsedTimer t;
    t.start();
    for (int i = 0; i < desks; ++i) {
        const QString dir = QDir(root).filePath(QStringLiteral("desk-%1-%2").arg(desks).arg(i));
        QDir().mkpath(dir);
        auto p = std::make_unique<QProcess>();
        p->start(cli, {QStringLiteral("desk-sim"), QStringLiteral("--database"), url,
                       QStringLiteral("--data-dir"), dir, QStringLiteral("--seed"), QString::number(seed + i),
                       QStringLiteral("--ops"), QString::number(ops)});
        running.push_back(std::move(p));
    }
    for (auto &p : running) {
        if (!p->waitForFinished(600000) || p->exitStatus() != QProcess::NormalExit || p->exitCode() != 0)
            die(QStringLiteral("a desk failed: %1").arg(QString::fromUtf8(p->readAllStandardError())));
    }
    return double(t.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QString url, dataDir, json, cli;
    int runs = 5;
    int deskOps = 200;
    const QStringList args = app.arguments().mid(1);
    for (int i = 0; i < args.size(); ++i) {
        const QString &a = args.at(i);
        const QString next = args.value(i + 1);
        if (a == QLatin1String("--database"))
            url = next, ++i;
        else if (a == QLatin1String("--data-dir"))
            dataDir = next, ++i;
        else if (a == QLatin1String("--runs"))
            runs = next.toInt(), ++i;
        else if (a == QLatin1String("--desk-ops"))
            deskOps = next.toInt(), ++i;
        else if (a == QLatin1String("--json"))
            json = next, ++i;
        else if (a == QLatin1String("--cli"))
            cli = next, ++i;
        else
            die(QStringLiteral("unknown argument %1").arg(a));
    }
    if (url.isEmpty() || dataDir.isEmpty() || cli.isEmpty() || runs < 1)
        die(QStringLiteral(
            "usage: folivo-bench-server --database URL --data-dir DIR --cli FOLIVO-CLI [--runs N] "
            "[--desk-ops N] [--json FILE]"));

    std::vector<Row> rows;
    {
        Pq pq(url); // libpq takes the postgresql:// address as it is
        const Books books = pickBooks(pq);
        prepareBaseline(pq);
        QString detail;
        if (Database::open(url, &detail, dataDir) != Database::OpenResult::Ok)
            die(QStringLiteral("cannot open %1: %2").arg(url, detail));
        std::vector<double> t[4];
        for (int i = 0; i <= runs; ++i) {
            const double ol = timeOnce([&] { ourLoan(books); });
            const double bl = timeOnce([&] { baseLoan(pq, books); });
            const double orr = timeOnce([&] { ourReturn(books); });
            const double br = timeOnce([&] { baseReturn(pq, books); });
            if (i == 0)
                continue; // the warm-up
            t[0].push_back(ol);
            t[1].push_back(bl);
            t[2].push_back(orr);
            t[3].push_back(br);
        }
        Database::close();
        const QString base = QStringLiteral("same statements through libpq, prepared once, one transaction");
        for (int k = 0; k < 2; ++k) {
            Row r;
            r.name = k == 0 ? QStringLiteral("server: loan of 10 books")
                            : QStringLiteral("server: return of 10 books");
            r.ours = summarize(t[2 * k]);
            r.base = summarize(t[2 * k + 1]);
            r.baseName = base;
            r.ratio = r.base.median > 0 ? r.ours.median / r.base.median : 0;
            r.target = QStringLiteral("≤ 2");
            r.holds = r.ratio <= 2.0;
            rows.push_back(r);
        }
    }
    if (deskOps > 0) {
        // The same number of operations per desk: one desk alone, then four at once.
        const double one = desksAtOnce(cli, url, dataDir, 1, deskOps, 100);
        const double four = desksAtOnce(cli, url, dataDir, 4, deskOps, 200);
        Row r;
        r.name = QStringLiteral("server: 4 desks at once, %1 operations each").arg(deskOps);
        r.ours = {four, four};
        r.base = {one, one};
        r.baseName = QStringLiteral("one desk alone, the same operations");
        // Throughput of four desks against one: four times the work in the time measured.
        r.ratio = four > 0 ? 4.0 * one / four : 0;
        r.target = QStringLiteral("≥ 1");
        r.holds = r.ratio >= 1.0;
        rows.push_back(r);
    }

    QJsonArray out;
    for (const Row &r : rows) {
        std::printf("%-52s %9.2f ms %9.2f ms %6.2f %6s %s\n", qPrintable(r.name), r.ours.median,
                    r.base.median, r.ratio, qPrintable(r.target), r.holds ? "yes" : "NO");
        out.append(QJsonObject{{QStringLiteral("case"), r.name},
                               {QStringLiteral("ours_ms"), r.ours.median},
                               {QStringLiteral("baseline_ms"), r.base.median},
                               {QStringLiteral("ours_min_ms"), r.ours.min},
                               {QStringLiteral("baseline_min_ms"), r.base.min},
                               {QStringLiteral("ratio"), r.ratio},
                               {QStringLiteral("target"), r.target},
                               {QStringLiteral("holds"), r.holds},
                               {QStringLiteral("baseline"), r.baseName},
                               {QStringLiteral("unit"), QStringLiteral("ms")}});
    }
    if (!json.isEmpty()) {
        QFile f(json);
        const QJsonObject doc{{QStringLiteral("date"), QDateTime::currentDateTimeUtc().toString(Qt::ISODate)},
                              {QStringLiteral("runs"), runs},
                              {QStringLiteral("cases"), out}};
        if (!f.open(QIODevice::WriteOnly) || f.write(QJsonDocument(doc).toJson()) < 0)
            die(QStringLiteral("cannot write %1").arg(json));
    }
    return 0;
}
