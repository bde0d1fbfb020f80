#include "support/testsupport.h"

#include "circulation/circulationcore.h"

#include "data/database.h"
#include "data/recordsets.h"
#include "support/testpostgres.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

namespace {
bool s_onServer = false;
}

void TestLibrary::bothEngines()
{
    QTest::addColumn<bool>("server");
    QTest::newRow("sqlite") << false;
    QTest::newRow("postgresql") << true;
}

bool TestLibrary::useEngineOfRow(QString *why)
{
    QFETCH_GLOBAL(bool, server);
    s_onServer = server;
    return !server || TestPostgres::available(why);
}

bool TestLibrary::onServer()
{
    return s_onServer;
}

TestLibrary::TestLibrary()
{
    Database::close();
    QString error;
    if (s_onServer) {
        m_url = TestPostgres::createDatabase(QString::fromLatin1(QTest::currentTestFunction()).toLower());
        m_valid = m_dir.isValid() && !m_url.isEmpty() && Database::createOnServer(m_url, &error) &&
                  Database::open(m_url, &error, m_dir.path()) == Database::OpenResult::Ok;
    } else {
        m_valid = m_dir.isValid() && Database::createEmpty(dbPath(), &error) &&
                  Database::open(dbPath(), &error) == Database::OpenResult::Ok;
    }
    if (!m_valid) // nothing a test could check would mean anything
        qFatal("test library: %s", qPrintable(error));
}

TestLibrary::~TestLibrary()
{
    Database::close();
}

bool TestLibrary::reopen()
{
    return Database::open(location(), nullptr, m_dir.path()) == Database::OpenResult::Ok;
}

QStringList TestLibrary::cliOptions() const
{
    QStringList options{QStringLiteral("--data-dir"), dir()};
    if (!m_url.isEmpty())
        options << QStringLiteral("--database") << m_url;
    return options;
}

QString TestLibrary::dbPath() const
{
    return QDir(m_dir.path()).filePath(QString::fromLatin1(Database::FileName));
}

qint64 TestLibrary::count(const QString &sql) const
{
    QSqlQuery q = runSql(sql);
    return q.next() ? q.value(0).toLongLong() : -1;
}

void TestLibrary::plantFailure(const QString &name, const QString &timing, const QString &table,
                               const QString &condition)
{
    QSqlQuery q(Database::connection());
    bool ok = true;
    if (onServer()) {
        ok = q.exec(QStringLiteral(
                 "CREATE OR REPLACE FUNCTION folivo_test_failure() RETURNS trigger LANGUAGE plpgsql "
                 "AS $$ BEGIN RAISE EXCEPTION 'disk full'; END $$")) &&
             q.exec(QStringLiteral(
                        "CREATE TRIGGER %1 %2 ON %3 FOR EACH ROW %4 EXECUTE FUNCTION folivo_test_failure()")
                        .arg(name, timing, table,
                             condition.isEmpty() ? QString() : QStringLiteral("WHEN (%1)").arg(condition)));
    } else {
        ok =
            q.exec(QStringLiteral("CREATE TRIGGER %1 %2 ON %3 %4 BEGIN SELECT RAISE(ABORT, 'disk full'); END")
                       .arg(name, timing, table,
                            condition.isEmpty() ? QString() : QStringLiteral("WHEN %1").arg(condition)));
    }
    if (!ok)
        qFatal("cannot plant the failure %s: %s", qPrintable(name), qPrintable(q.lastError().text()));
}

void TestLibrary::removeFailure(const QString &name, const QString &table)
{
    QSqlQuery q(Database::connection());
    if (!q.exec(onServer() ? QStringLiteral("DROP TRIGGER %1 ON %2").arg(name, table)
                           : QStringLiteral("DROP TRIGGER %1").arg(name)))
        qFatal("cannot remove the failure %s: %s", qPrintable(name), qPrintable(q.lastError().text()));
}

qint64 TestLibrary::rows(const char *table, const char *where, const QVariantList &binds) const
{
    QString sql = QStringLiteral("SELECT COUNT(*) FROM ") + QString::fromLatin1(table);
    if (where)
        sql += QStringLiteral(" WHERE ") + QString::fromUtf8(where);
    QSqlQuery q = runSql(sql, binds);
    return q.next() ? q.value(0).toLongLong() : -1;
}

qint32 TestLibrary::ids(const char *column) const
{
    return qint32(count(QStringLiteral("SELECT %1 FROM IDS").arg(QString::fromLatin1(column))));
}

qint32 TestLibrary::addCategory(const QString &name, bool visible)
{
    Transaction tx;
    const qint32 id = allocateId(Counter::Kategorie);
    runSql(QStringLiteral("INSERT INTO KATEGORIE VALUES (?, ?, ?)"), {id, name, visible ? 1 : 0});
    tx.commit();
    return id;
}

qint32 TestLibrary::addClient(const QString &code, const QString &first, const QString &last, bool visible)
{
    Transaction tx;
    const qint32 id = allocateId(Counter::Lide);
    runSql(QStringLiteral("INSERT INTO LIDE VALUES (?, ?, ?, ?, 0, '', '', '', -1, ?, 0, 0, 0, 0)"),
           {id, code, first, last, visible ? 1 : 0});
    tx.commit();
    return id;
}

qint32 TestLibrary::addBook(const BookSpec &book)
{
    qint32 category = book.category;
    if (category < 0) {
        const qint64 first = count(QStringLiteral("SELECT MIN(ID_KATEGORIE_KATEGORIE) FROM KATEGORIE"));
        category = first > 0 ? qint32(first) : addCategory(QStringLiteral("Beletrie"));
    }
    Transaction tx;
    const qint32 id = allocateId(Counter::Knihy);
    const qint32 accession = book.accession >= 0 ? book.accession : readPrirustekMax() + 1;
    runSql(QStringLiteral(
               "INSERT INTO KNIHY VALUES (?, ?, -1, -1, ?, ?, ?, ?, ?, ?, -1, ?, '', -1, '', ?, 0, ?, "
               "0, 0, 0, 0, ?)"),
           {id, category, book.code, accession, book.title, book.author, book.acquired, double(book.price),
            book.keywords, book.discarded ? 1 : 0, book.discarded ? book.discardedOn : NoDate,
            book.keywords.isEmpty() ? 0 : 1});
    raisePrirustekMax(accession);
    tx.commit();
    return id;
}

// Loans and returns are written by the program's own write functions, as the pages write them.
qint32 TestLibrary::lend(const QList<qint32> &books, qint32 client, DateNumber on, DateNumber due)
{
    QList<LoanBook> loan;
    for (qint32 book : books)
        loan << LoanBook{book, due};
    return lendBooks(client, on, loan).number;
}

qint32 TestLibrary::giveBack(const QList<qint32> &books, DateNumber on)
{
    QList<ReturnBook> back;
    for (qint32 book : books) {
        const std::optional<BookRow> row = findBookById(book);
        const std::optional<LoanTerms> terms = row ? loanTerms(row->loan, book) : std::nullopt;
        if (!row || !terms)
            throw DbError(QStringLiteral("book %1 is not lent").arg(book));
        back << ReturnBook{book, row->client, row->loan, terms->loanDate, terms->due, terms->limited};
    }
    return returnBooks(on, back).number;
}

MessageRecorder::MessageRecorder()
{
    m_previous = setMessageBoxHandler(
        [this](const QString &caption, const QString &text, MessageKind kind, int buttons) {
            const int number = catalogueNumberBeingShown();
            m_shown << Shown{number, caption, text, kind, buttons};
            if (!m_answers.isEmpty())
                return m_answers.takeFirst();
            return buttons == ButtonsConfirm ? int(ResultConfirmed) : int(ResultOk);
        });
}

MessageRecorder::~MessageRecorder()
{
    setMessageBoxHandler(m_previous);
}

QList<int> MessageRecorder::numbers() const
{
    QList<int> out;
    for (const Shown &s : m_shown)
        out << s.number;
    return out;
}

QByteArray fileBytes(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool writeBytes(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size() && f.flush();
}

QList<ReportRow> madeUpReportRows(int count)
{
    QList<ReportRow> rows;
    rows.reserve(count);
    for (int i = 0; i < count; ++i)
        rows.append({QStringLiteral("K%1").arg(i, 6, 10, QLatin1Char('0')),
                     QStringLiteral("Název knihy %1").arg(i), QStringLiteral("Poezie"),
                     QStringLiteral("Jan Neruda"), float(i % 300), i});
    return rows;
}

QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

CliRun runCli(const QStringList &args, const std::function<void()> &childSetup)
{
    QProcess p;
    if (childSetup)
        p.setChildProcessModifier(childSetup);
    p.start(QStringLiteral(FOLIVO_CLI), args);
    CliRun r;
    if (!p.waitForFinished(120000)) {
        p.kill();
        p.waitForFinished();
        return r;
    }
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    if (p.exitStatus() == QProcess::NormalExit)
        r.code = p.exitCode();
    return r;
}
