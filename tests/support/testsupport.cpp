#include "support/testsupport.h"

#include "circulation/circulationcore.h"

#include "data/database.h"
#include "data/recordsets.h"

#include <QDir>
#include <QFile>
#include <QSqlQuery>

TestLibrary::TestLibrary()
{
    Database::close();
    QString error;
    m_valid = m_dir.isValid() && Database::createEmpty(dbPath(), &error) &&
              Database::open(dbPath(), &error) == Database::OpenResult::Ok;
    if (!m_valid) // nothing a test could check would mean anything
        qFatal("test library: %s", qPrintable(error));
}

TestLibrary::~TestLibrary()
{
    Database::close();
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
    return lendBooks(client, on, loan);
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
    return returnBooks(on, back);
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
