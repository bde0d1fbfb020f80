// folivo_crashdriver DATA_DIR LOG_FILE RUN: opens the library and runs the core's writes in a
// random loop until it is killed. Before each action it appends "BEGIN <kind> key=value ..." to
// the log, after the action's commit "DONE"; both go straight to the file with write(2), so a
// SIGKILL loses nothing that was logged. The values logged are what the test needs to tell
// whether the action cut off is wholly in the library or wholly absent.
#include "catalogue/bookcore.h"
#include "circulation/circulationcore.h"
#include "data/database.h"
#include "data/recordsets.h"
#include "registers/registercore.h"

#include <QCoreApplication>
#include <QDir>
#include <QRandomGenerator>
#include <QSqlQuery>
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

class Driver
{
public:
    Driver(int run, quint32 seed) : m_run(run), m_rng(seed) {}

    // One random action; false when its precondition found nothing to act on.
    bool step()
    {
        ++m_n;
        switch (m_rng.bounded(15)) {
        case 0:
        case 1:
        case 2:
            return lend();
        case 3:
        case 4:
            return giveBack();
        case 5:
            return discard();
        case 6:
            return restore();
        case 7:
            return newBook();
        case 8:
            return correct();
        case 9:
            return remove();
        case 10:
            return categories();
        case 11:
            return move();
        case 12:
            return newClient();
        case 13:
            return changeClientRow();
        default:
            return hideClientRow();
        }
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
        logLine(QStringLiteral("BEGIN lend number=%1 client=%2 books=%3")
                    .arg(counter("ID_VYPUJCKY_FIRSTFREE"))
                    .arg(client)
                    .arg(joined(books)));
        lendBooks(client, 20260315, loan);
        return true;
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
        logLine(QStringLiteral("BEGIN return number=%1 loan=%2 books=%3")
                    .arg(counter("ID_VRACENI_FIRSTFREE"))
                    .arg(loan)
                    .arg(joined(bookIds)));
        returnBooks(20260316, books);
        return true;
    }

    bool discard()
    {
        const qint32 book =
            one(QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE NOT VYRAZENO AND NOT VYPUJCENO "
                               "ORDER BY RANDOM() LIMIT 1"));
        if (book < 0)
            return false;
        logLine(QStringLiteral("BEGIN discard book=%1").arg(book));
        discardBook(book, 20260315);
        return true;
    }

    bool restore()
    {
        const qint32 book =
            one(QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE VYRAZENO ORDER BY RANDOM() LIMIT 1"));
        const qint32 category = one(QStringLiteral(
            "SELECT ID_KATEGORIE_KATEGORIE FROM KATEGORIE WHERE UKAZOVAT ORDER BY RANDOM() LIMIT 1"));
        if (book < 0 || category < 0)
            return false;
        logLine(QStringLiteral("BEGIN restore book=%1 category=%2").arg(book).arg(category));
        restoreBook(book, category);
        return true;
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
        logLine(QStringLiteral("BEGIN newbook id=%1 code=%2 accession=%3 max=%4")
                    .arg(counter("ID_KNIHY_FIRSTFREE"))
                    .arg(e.code)
                    .arg(e.accession)
                    .arg(readPrirustekMax()));
        addBook(e);
        return true;
    }

    bool correct()
    {
        const qint32 book = one(QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY ORDER BY RANDOM() LIMIT 1"));
        const std::optional<BookRow> row = book < 0 ? std::nullopt : findBookById(book);
        if (!row)
            return false;
        BookEntry e = BookEntry::fromRow(*row);
        e.title = QStringLiteral("Opraveno ") + tag();
        e.accession = readPrirustekMax() + 1;
        e.code = QStringLiteral("O") + tag();
        logLine(QStringLiteral("BEGIN correct book=%1 code=%2 accession=%3 oldcode=%4 oldaccession=%5 max=%6")
                    .arg(book)
                    .arg(e.code)
                    .arg(e.accession)
                    .arg(row->code)
                    .arg(row->accession)
                    .arg(readPrirustekMax()));
        correctBook(book, e);
        return true;
    }

    bool remove()
    {
        const qint32 book =
            one(QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE NOT VYPUJCENO ORDER BY RANDOM() "
                               "LIMIT 1"));
        if (book < 0)
            return false;
        logLine(
            QStringLiteral("BEGIN delete book=%1 loans=%2 returns=%3")
                .arg(book)
                .arg(one(
                    QStringLiteral("SELECT COUNT(*) FROM VYPUJCKY WHERE ID_KNIHY_VYPUJCKY = %1").arg(book)))
                .arg(one(
                    QStringLiteral("SELECT COUNT(*) FROM VRACENI WHERE ID_KNIHY_VRACENI = %1").arg(book))));
        deleteBook(book);
        return true;
    }

    bool categories()
    {
        const int what = int(m_rng.bounded(3));
        if (what == 0) {
            logLine(QStringLiteral("BEGIN newcategory id=%1 name=K%2")
                        .arg(counter("ID_KATEGORIE_FIRSTFREE"))
                        .arg(tag()));
            Registers::addCategory(QStringLiteral("K") + tag());
            return true;
        }
        QSqlQuery q =
            runSql(QStringLiteral("SELECT ID_KATEGORIE_KATEGORIE, NAZEV FROM KATEGORIE WHERE UKAZOVAT ORDER "
                                  "BY RANDOM() LIMIT 1"));
        if (!q.next())
            return false;
        const qint32 id = q.value(0).toInt();
        const QString name = q.value(1).toString();
        q.finish();
        if (what == 1 && !name.contains(u' ')) {
            logLine(QStringLiteral("BEGIN rename category=%1 old=%2 new=R%3").arg(id).arg(name, tag()));
            Registers::renameCategory(name, QStringLiteral("R") + tag());
            return true;
        }
        if (Registers::categoryHasBooksInStock(id) ||
            one(QStringLiteral("SELECT COUNT(*) FROM KATEGORIE WHERE "
                               "UKAZOVAT")) < 3)
            return false;
        logLine(QStringLiteral("BEGIN hidecategory category=%1").arg(id));
        Registers::hideCategory(id);
        return true;
    }

    bool move()
    {
        const qint32 category = one(QStringLiteral(
            "SELECT ID_KATEGORIE_KATEGORIE FROM KATEGORIE WHERE UKAZOVAT ORDER BY RANDOM() LIMIT 1"));
        QSqlQuery q =
            runSql(QStringLiteral("SELECT ID_KNIHY_KNIHY, ID_KATEGORIE_KNIHY FROM KNIHY WHERE NOT VYRAZENO "
                                  "AND ID_KATEGORIE_KNIHY <> %1 ORDER BY RANDOM() LIMIT %2")
                       .arg(category)
                       .arg(count()));
        QList<Registers::BookMove> moves;
        QList<qint32> books, old;
        while (q.next()) {
            moves << Registers::BookMove{q.value(0).toInt(), category};
            books << q.value(0).toInt();
            old << q.value(1).toInt();
        }
        q.finish();
        if (moves.isEmpty())
            return false;
        logLine(QStringLiteral("BEGIN move category=%1 books=%2 old=%3")
                    .arg(category)
                    .arg(joined(books), joined(old)));
        Registers::moveBooks(moves);
        return true;
    }

    bool newClient()
    {
        Registers::ClientData d;
        d.code = QStringLiteral("C") + tag();
        d.first = QStringLiteral("Jan");
        d.surname = QStringLiteral("Nový");
        logLine(
            QStringLiteral("BEGIN newclient id=%1 code=%2").arg(counter("ID_LIDE_FIRSTFREE")).arg(d.code));
        Registers::addClient(d);
        return true;
    }

    bool changeClientRow()
    {
        const qint32 id =
            one(QStringLiteral("SELECT ID_LIDE_LIDE FROM LIDE WHERE UKAZOVAT ORDER BY RANDOM() LIMIT 1"));
        const std::optional<Registers::ClientRecord> client =
            id < 0 ? std::nullopt : Registers::clientById(id);
        if (!client)
            return false;
        Registers::ClientData d = client->data;
        d.code = QStringLiteral("Z") + tag();
        d.surname = QStringLiteral("Změněný") + tag();
        logLine(QStringLiteral("BEGIN changeclient client=%1 code=%2 oldcode=%3 surname=%4")
                    .arg(id)
                    .arg(d.code, client->data.code, d.surname));
        Registers::changeClient(id, d);
        return true;
    }

    bool hideClientRow()
    {
        const qint32 id =
            one(QStringLiteral("SELECT ID_LIDE_LIDE FROM LIDE L WHERE UKAZOVAT AND NOT EXISTS (SELECT 1 "
                               "FROM KNIHY K WHERE K.ID_LIDE_KNIHY = L.ID_LIDE_LIDE) ORDER BY RANDOM() "
                               "LIMIT 1"));
        if (id < 0 || one(QStringLiteral("SELECT COUNT(*) FROM LIDE WHERE UKAZOVAT")) < 20)
            return false;
        logLine(QStringLiteral("BEGIN hideclient client=%1").arg(id));
        Registers::hideClient(id);
        return true;
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
