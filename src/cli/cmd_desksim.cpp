#include "circulation/circulationcore.h"
#include "cli/clicommon.h"
#include "data/database.h"
#include "data/dberror.h"

#include <QRandomGenerator>

#include <cstdio>

// folivo-cli desk-sim --database URL --data-dir DIR --seed S --ops N: one circulation desk at
// work, for the tests and benchmarks of a library that several desks share. It lends, returns,
// discards and restores books of the library at random through the same core functions as the
// pages, after the same look-ups, and prints one line per operation: what succeeded with the
// numbers it wrote ("loan NUMBER CLIENT BOOK..." / "return NUMBER BOOK..." / "discard BOOK" /
// "restore BOOK"), or "refused KIND" when the core refused (another desk got there first). Not in
// the usage: it is no librarian's command.
int cmdDeskSim(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv, {QStringLiteral("data-dir"), QStringLiteral("seed"), QStringLiteral("ops")}, {},
                      &args, &error))
        return cliFail(error);
    const QString dir = resolveDataDir(args);
    if (!openLibraryOf(args, dir, &error))
        return cliFail(error);
    QRandomGenerator random(args.value(QStringLiteral("seed"), QStringLiteral("1")).toUInt());
    const int ops = args.value(QStringLiteral("ops"), QStringLiteral("100")).toInt();

    // The books and clients the desks share: every book and every shown client of the library.
    QList<qint32> books;
    QList<qint32> clients;
    QList<qint32> categories;
    try {
        QSqlQuery b = runSql(QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY ORDER BY ID_KNIHY_KNIHY"));
        while (b.next())
            books << b.value(0).toInt();
        QSqlQuery c =
            runSql(QStringLiteral("SELECT ID_LIDE_LIDE FROM LIDE WHERE UKAZOVAT ORDER BY ID_LIDE_LIDE"));
        while (c.next())
            clients << c.value(0).toInt();
        QSqlQuery k = runSql(QStringLiteral(
            "SELECT ID_KATEGORIE_KATEGORIE FROM KATEGORIE WHERE UKAZOVAT ORDER BY ID_KATEGORIE_KATEGORIE"));
        while (k.next())
            categories << k.value(0).toInt();
    } catch (const DbError &e) {
        return cliFail(e.text());
    }
    if (books.isEmpty() || clients.isEmpty() || categories.isEmpty())
        return cliFail(QStringLiteral("the library has no books, clients or categories"));
    const DateNumber day = dateNumberFromDate(today());
    const DateNumber due = dateNumberFromDate(today().addDays(14));
    auto pick = [&](const QList<qint32> &from) { return from.at(int(random.bounded(quint32(from.size())))); };

    // ops operations done or refused; a pick that the page's own look-up would turn away (a lent
    // book for a loan, say) is no operation and is drawn again.
    int done = 0;
    for (int attempt = 0; done < ops && attempt < 50 * ops; ++attempt) {
        const quint32 kind = random.bounded(10u);
        QString line;
        try {
            if (kind < 5) { // a loan of one to three books the page found present
                const qint32 client = pick(clients);
                QList<LoanBook> loan;
                QStringList ids;
                const int wanted = 1 + int(random.bounded(3u));
                for (int k = 0; k < wanted; ++k) {
                    const qint32 id = pick(books);
                    const std::optional<BookRow> row = findBookById(id);
                    if (row && !row->lent && !row->discarded && !ids.contains(QString::number(id))) {
                        loan << LoanBook{id, due};
                        ids << QString::number(id);
                    }
                }
                if (loan.isEmpty())
                    continue;
                const CirculationResult r = lendBooks(client, day, loan);
                line = r.done() ? QStringLiteral("loan %1 %2 %3")
                                      .arg(r.number)
                                      .arg(client)
                                      .arg(ids.join(QLatin1Char(' ')))
                                : QStringLiteral("refused loan");
            } else if (kind < 8) { // a return of a book the page found lent
                const qint32 id = pick(books);
                const std::optional<BookRow> row = findBookById(id);
                if (!row || !row->lent)
                    continue;
                const std::optional<LoanTerms> terms = loanTerms(row->loan, id);
                if (!terms)
                    continue; // returned between the two look-ups
                const CirculationResult r = returnBooks(
                    day,
                    {ReturnBook{id, row->client, row->loan, terms->loanDate, terms->due, terms->limited}});
                line = r.done() ? QStringLiteral("return %1 %2").arg(r.number).arg(id)
                                : QStringLiteral("refused return");
            } else if (kind < 9) { // a discard of a book the page found present
                const qint32 id = pick(books);
                const std::optional<BookRow> row = findBookById(id);
                if (!row || row->lent || row->discarded)
                    continue;
                line = discardBook(id, day) == Meanwhile::Nothing ? QStringLiteral("discard %1").arg(id)
                                                                  : QStringLiteral("refused discard");
            } else { // the undo of a discard, into a shown category as the dialog offers
                const qint32 id = pick(books);
                const std::optional<BookRow> row = findBookById(id);
                if (!row || !row->discarded)
                    continue;
                line = restoreBook(id, pick(categories)) == Meanwhile::Nothing
                           ? QStringLiteral("restore %1").arg(id)
                           : QStringLiteral("refused restore");
            }
        } catch (const DbError &e) {
            line = QStringLiteral("refused %1")
                       .arg(kind < 5   ? QStringLiteral("loan")
                            : kind < 8 ? QStringLiteral("return")
                                       : QStringLiteral("other"));
            logDbError(e);
        }
        cliPrint(line);
        ++done;
    }
    Database::close();
    return 0;
}
