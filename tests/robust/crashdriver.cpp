// folivo_crashdriver DATA_DIR LOG_FILE RUN: opens the library and runs the core's writes in a
// random loop until it is killed. Before each action it appends "BEGIN <kind>\t<before>\t<after>"
// to the log, after the action's commit "DONE" (none when the core refused it); both go straight to the file
// with write(2), so a SIGKILL loses nothing that was logged. <before> and <after> are statements that yield 1
// when the library is as it was before the action (every row the action touches, the counters included,
// exactly as read before it) or holds the whole action; a library cut off in the middle of the
// action meets neither.
#include "catalogue/bookcore.h"
#include "circulation/circulationcore.h"
#include "data/database.h"
#include "data/recordsets.h"
#include "registers/registercore.h"

#include <QCoreApplication>
#include <QDir>
#include <QRandomGenerator>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QStringList>

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace {

int s_log = -1;

void logLine(const QString &line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    if (::write(s_log, bytes.constData(), size_t(bytes.size())) != bytes.size())
        std::_Exit(3);
}

QList<qint32> ids(const QString &sql)
{
    QList<qint32> out;
    QSqlQuery q = runSql(sql);
    while (q.next())
        out << q.value(0).toInt();
    return out;
}

qint32 one(const QString &sql)
{
    const QList<qint32> r = ids(sql);
    return r.isEmpty() ? -1 : r.first();
}

qint32 counter(const char *column)
{
    return one(QStringLiteral("SELECT %1 FROM IDS").arg(QString::fromLatin1(column)));
}

QString joined(const QList<qint32> &list)
{
    QStringList parts;
    for (qint32 v : list)
        parts << QString::number(v);
    return parts.join(u',');
}

// The value as a literal of a statement on one line: a control character is spelled char(n).
QString literal(const QVariant &v)
{
    if (v.isNull())
        return QStringLiteral("NULL");
    if (v.typeId() == QMetaType::Double)
        return QString::number(v.toDouble(), 'g', 17);
    if (v.typeId() != QMetaType::QString)
        return v.toString();
    QString out = QStringLiteral("'");
    for (const QChar c : v.toString()) {
        if (c == u'\'')
            out += QStringLiteral("''");
        else if (c.unicode() < 0x20)
            out += QStringLiteral("' || char(%1) || '").arg(c.unicode());
        else
            out += c;
    }
    return out + QLatin1Char('\'');
}

// "The table has n rows that meet the condition."
QString rows(const char *table, const QString &where, qsizetype n)
{
    return QStringLiteral("(SELECT COUNT(*) FROM %1 WHERE %2) = %3").arg(QLatin1String(table), where).arg(n);
}

// "The rows of the table that meet the condition are exactly the ones there are now."
QString asNow(const char *table, const QString &where)
{
    QSqlQuery q = runSql(QStringLiteral("SELECT * FROM %1 WHERE %2").arg(QLatin1String(table), where));
    QStringList conditions;
    while (q.next()) {
        QStringList same;
        for (int i = 0; i < q.record().count(); ++i)
            same << q.record().fieldName(i) + QStringLiteral(" IS ") + literal(q.value(i));
        conditions << QStringLiteral("EXISTS (SELECT 1 FROM %1 WHERE %2)")
                          .arg(QLatin1String(table), same.join(QStringLiteral(" AND ")));
    }
    conditions.prepend(rows(table, where, conditions.size()));
    return conditions.join(QStringLiteral(" AND "));
}

QString ids()
{
    return asNow("IDS", QStringLiteral("1 = 1"));
}

QString idIs(const char *column, qint32 id)
{
    return QStringLiteral("%1 = %2").arg(QLatin1String(column)).arg(id);
}

QString idIn(const char *column, const QList<qint32> &list)
{
    return QStringLiteral("%1 IN (%2)").arg(QLatin1String(column), joined(list));
}

void logAction(const char *kind, const QStringList &before, const QStringList &after)
{
    logLine(QStringLiteral("BEGIN %1\tSELECT %2\tSELECT %3")
                .arg(QLatin1String(kind), before.join(QStringLiteral(" AND ")),
                     after.join(QStringLiteral(" AND "))));
}

class Driver
{
public:
    Driver(int run, quint32 seed) : m_run(run), m_rng(seed) {}

    // One random action, lending and returns more often than the rest; false when its
    // precondition found nothing to act on. Between them the actions write every shape there is
    // (a counter with a new row, several tables, several rows, deletions); the writes of the
    // registers are smaller transactions of the same kinds.
    bool step()
    {
        static constexpr bool (Driver::*actions[])() = {
            &Driver::lend,    &Driver::lend,    &Driver::lend,   &Driver::giveBack, &Driver::giveBack,
            &Driver::newBook, &Driver::correct, &Driver::remove, &Driver::move};
        ++m_n;
        return (this->*actions[m_rng.bounded(9)])();
    }

private:
    QString tag() const { return QStringLiteral("%1-%2").arg(m_run).arg(m_n); }
    int count() { return 1 + int(m_rng.bounded(4)); }

    bool lend()
    {
        const QList<qint32> books =
            ids(QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE NOT VYRAZENO AND NOT "
                               "VYPUJCENO ORDER BY RANDOM() LIMIT %1")
                    .arg(count()));
        const qint32 client =
            one(QStringLiteral("SELECT ID_LIDE_LIDE FROM LIDE WHERE UKAZOVAT ORDER BY RANDOM() LIMIT 1"));
        if (books.isEmpty() || client < 0)
            return false;
        QList<LoanBook> loan;
        for (qint32 b : books)
            loan << LoanBook{b, m_rng.bounded(2) ? DateNumber(20260415) : NoDate};
        const qint32 number = counter("ID_VYPUJCKY_FIRSTFREE");
        const QString held =
            QStringLiteral(" AND ID_LIDE_KNIHY = %1 AND ID_VYPUJCKY_KNIHY = %2").arg(client).arg(number);
        logAction("lend",
                  {ids(), asNow("KNIHY", idIn("ID_KNIHY_KNIHY", books)),
                   asNow("VYPUJCKY", idIs("ID_VYPUJCKY_VYPUJCKY", number))},
                  {rows("IDS", idIs("ID_VYPUJCKY_FIRSTFREE", number + 1), 1),
                   rows("VYPUJCKY",
                        idIs("ID_VYPUJCKY_VYPUJCKY", number) + QStringLiteral(" AND NOT VRACENO AND ") +
                            idIs("ID_LIDE_VYPUJCKY", client),
                        books.size()),
                   rows("KNIHY", idIn("ID_KNIHY_KNIHY", books) + QStringLiteral(" AND VYPUJCENO") + held,
                        books.size())});
        return lendBooks(client, 20260315, loan).done();
    }

    bool giveBack()
    {
        const qint32 loan =
            one(QStringLiteral("SELECT ID_VYPUJCKY_VYPUJCKY FROM VYPUJCKY WHERE NOT VRACENO ORDER BY "
                               "RANDOM() LIMIT 1"));
        if (loan < 0)
            return false;
        QList<ReturnBook> books;
        QSqlQuery q =
            runSql(QStringLiteral("SELECT ID_KNIHY_VYPUJCKY, ID_LIDE_VYPUJCKY, DATUM_PUJCKY, DATUM_MAX, "
                                  "OMEZOVAT FROM VYPUJCKY WHERE NOT VRACENO AND ID_VYPUJCKY_VYPUJCKY = %1 "
                                  "LIMIT %2")
                       .arg(loan)
                       .arg(count()));
        QList<qint32> bookIds;
        while (q.next()) {
            books << ReturnBook{q.value(0).toInt(), q.value(1).toInt(), loan,
                                q.value(2).toInt(), q.value(3).toInt(), q.value(4).toBool()};
            bookIds << q.value(0).toInt();
        }
        q.finish();
        const qint32 number = counter("ID_VRACENI_FIRSTFREE");
        const QString loanRows =
            idIs("ID_VYPUJCKY_VYPUJCKY", loan) + QStringLiteral(" AND ") + idIn("ID_KNIHY_VYPUJCKY", bookIds);
        logAction("return",
                  {ids(), asNow("KNIHY", idIn("ID_KNIHY_KNIHY", bookIds)), asNow("VYPUJCKY", loanRows),
                   asNow("VRACENI", idIs("ID_VRACENI_VRACENI", number))},
                  {rows("IDS", idIs("ID_VRACENI_FIRSTFREE", number + 1), 1),
                   rows("VRACENI", idIs("ID_VRACENI_VRACENI", number), bookIds.size()),
                   rows("KNIHY", idIn("ID_KNIHY_KNIHY", bookIds) + QStringLiteral(" AND NOT VYPUJCENO"),
                        bookIds.size()),
                   rows("VYPUJCKY", loanRows + QStringLiteral(" AND VRACENO"), bookIds.size())});
        return returnBooks(20260316, books).done();
    }

    bool newBook()
    {
        const qint32 category = one(QStringLiteral(
            "SELECT ID_KATEGORIE_KATEGORIE FROM KATEGORIE WHERE UKAZOVAT ORDER BY RANDOM() LIMIT 1"));
        if (category < 0)
            return false;
        BookEntry e;
        e.code = QStringLiteral("N") + tag();
        e.accession = readPrirustekMax() + 1 + int(m_rng.bounded(3));
        e.acquired = 20260301;
        e.title = QStringLiteral("Nová kniha ") + tag();
        e.author = QStringLiteral("Autor");
        e.category = category;
        e.price = 99.0f;
        const qint32 id = counter("ID_KNIHY_FIRSTFREE");
        logAction("newbook", {ids(), asNow("KNIHY", idIs("ID_KNIHY_KNIHY", id))},
                  {rows("IDS",
                        idIs("ID_KNIHY_FIRSTFREE", id + 1) + QStringLiteral(" AND ") +
                            idIs("PRIRUSTEK_MAX", qMax(e.accession, readPrirustekMax())),
                        1),
                   rows("KNIHY",
                        idIs("ID_KNIHY_KNIHY", id) + QStringLiteral(" AND KOD = ") + literal(e.code) +
                            QStringLiteral(" AND ") + idIs("PRIRUSTEK", e.accession),
                        1)});
        return addBook(e) >= 0;
    }

    bool correct()
    {
        // The corrections page loads only books in stock (a discarded one may sit in a removed
        // category, which a correction refuses).
        const qint32 book = one(
            QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE NOT VYRAZENO ORDER BY RANDOM() LIMIT 1"));
        const std::optional<BookRow> row = book < 0 ? std::nullopt : findBookById(book);
        if (!row)
            return false;
        BookEntry e = BookEntry::fromRow(*row);
        e.title = QStringLiteral("Opraveno ") + tag();
        e.accession = readPrirustekMax() + 1;
        e.code = QStringLiteral("O") + tag();
        logAction("correct", {ids(), asNow("KNIHY", idIs("ID_KNIHY_KNIHY", book))},
                  {rows("IDS", idIs("PRIRUSTEK_MAX", e.accession), 1),
                   rows("KNIHY",
                        idIs("ID_KNIHY_KNIHY", book) + QStringLiteral(" AND KOD = ") + literal(e.code) +
                            QStringLiteral(" AND NAZEV = ") + literal(e.title) + QStringLiteral(" AND ") +
                            idIs("PRIRUSTEK", e.accession),
                        1)});
        return correctBook(book, e);
    }

    bool remove()
    {
        const qint32 book =
            one(QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE NOT VYPUJCENO ORDER BY RANDOM() "
                               "LIMIT 1"));
        if (book < 0)
            return false;
        logAction("delete",
                  {asNow("KNIHY", idIs("ID_KNIHY_KNIHY", book)),
                   asNow("VYPUJCKY", idIs("ID_KNIHY_VYPUJCKY", book)),
                   asNow("VRACENI", idIs("ID_KNIHY_VRACENI", book))},
                  {rows("KNIHY", idIs("ID_KNIHY_KNIHY", book), 0),
                   rows("VYPUJCKY", idIs("ID_KNIHY_VYPUJCKY", book), 0),
                   rows("VRACENI", idIs("ID_KNIHY_VRACENI", book), 0)});
        return deleteBook(book);
    }

    bool move()
    {
        const qint32 category = one(QStringLiteral(
            "SELECT ID_KATEGORIE_KATEGORIE FROM KATEGORIE WHERE UKAZOVAT ORDER BY RANDOM() LIMIT 1"));
        QSqlQuery q = runSql(QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE NOT VYRAZENO "
                                            "AND ID_KATEGORIE_KNIHY <> %1 ORDER BY RANDOM() LIMIT %2")
                                 .arg(category)
                                 .arg(count()));
        QList<Registers::BookMove> moves;
        QList<qint32> books;
        while (q.next()) {
            moves << Registers::BookMove{q.value(0).toInt(), category};
            books << q.value(0).toInt();
        }
        q.finish();
        if (moves.isEmpty())
            return false;
        logAction("move", {asNow("KNIHY", idIn("ID_KNIHY_KNIHY", books))},
                  {rows("KNIHY",
                        idIn("ID_KNIHY_KNIHY", books) + QStringLiteral(" AND ") +
                            idIs("ID_KATEGORIE_KNIHY", category),
                        books.size())});
        return Registers::moveBooks(moves);
    }

    int m_run;
    int m_n = 0;
    QRandomGenerator m_rng;
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() != 4) {
        std::fprintf(stderr, "usage: folivo_crashdriver DATA_DIR LOG_FILE RUN\n");
        return 2;
    }
    s_log = ::open(QFile::encodeName(args.at(2)).constData(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (s_log < 0)
        return 2;
    QString error;
    if (Database::open(QDir(args.at(1)).filePath(QString::fromLatin1(Database::FileName)), &error) !=
        Database::OpenResult::Ok) {
        std::fprintf(stderr, "cannot open the library: %s\n", qPrintable(error));
        return 2;
    }
    const int run = args.at(3).toInt();
    Driver driver(run, quint32(run) * 7919u + 13u);
    logLine(QStringLiteral("READY"));
    for (;;) {
        try {
            if (driver.step())
                logLine(QStringLiteral("DONE"));
        } catch (const DbError &e) {
            std::fprintf(stderr, "database error: %s\n", qPrintable(e.text()));
            return 1;
        }
    }
}
