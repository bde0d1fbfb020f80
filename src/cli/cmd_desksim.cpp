#include "circulation/circulationcore.h"
#include "cli/clicommon.h"
#include "data/database.h"
#include "data/dberror.h"
#include "registers/registercore.h"

#include <QRandomGenerator>

#include <cstdio>

// folivo-cli desk-sim --database URL --data-dir DIR --seed S --ops N: one circulation desk at
// work, for the tests and benchmarks of a library that several desks share. It lends, returns,
// discards and restores books, catalogues new books, registers new clients, changes clients'
// codes and removes clients at random through the same core functions as the pages and the
// register commands, after the same look-ups and checks, and prints one line per operation: what
// succeeded with what it wrote ("loan NUMBER CLIENT BOOK..." / "return NUMBER BOOK..." /
// "discard BOOK" / "restore BOOK" / "book ID CODE" / "client ID CODE" / "recode ID CODE" /
// "hide ID"), or "refused KIND ..." when the core refused because another desk got there first.
// The codes of new books and clients come from small ranges that the desks share, so that they
// race for them. Not in the usage: it is no librarian's command.
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
    QStringList categoryNames;
    try {
        QSqlQuery b = runSql(QStringLiteral("SELECT ID_KNIHY_KNIHY FROM KNIHY ORDER BY ID_KNIHY_KNIHY"));
        while (b.next())
            books << b.value(0).toInt();
        QSqlQuery c =
            runSql(QStringLiteral("SELECT ID_LIDE_LIDE FROM LIDE WHERE UKAZOVAT ORDER BY ID_LIDE_LIDE"));
        while (c.next())
            clients << c.value(0).toInt();
        for (const CategoryItem &k : visibleCategories()) {
            categories << k.id;
            categoryNames << k.name;
        }
    } catch (const DbError &e) {
        return cliFail(e.text());
    }
    if (books.isEmpty() || clients.isEmpty() || categories.isEmpty())
        return cliFail(QStringLiteral("the library has no books, clients or categories"));
    const DateNumber day = dateNumberFromDate(today());
    const DateNumber due = dateNumberFromDate(today().addDays(14));
    auto pick = [&](const QList<qint32> &from) { return from.at(int(random.bounded(quint32(from.size())))); };
    auto code = [&](const char *prefix, quint32 range) -> QString {
        return QString::fromLatin1(prefix) + QString::number(random.bounded(range));
    };

    // ops operations done or refused; a pick that the page's own look-up or check would turn
    // away (a lent book for a loan, a code already taken, say) is no operation and is drawn again.
    int done = 0;
    for (int attempt = 0; done < ops && attempt < 50 * ops; ++attempt) {
        const quint32 kind = random.bounded(40u);
        QString line;
        try {
            if (kind < 16) { // a loan of one to three books the page found present
                const qint32 client = pick(clients);
                if (!clientStillInUse(client))
                    continue;
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
            } else if (kind < 26) { // a return of a book the page found lent
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
            } else if (kind < 28) { // a discard of a book the page found present
                const qint32 id = pick(books);
                const std::optional<BookRow> row = findBookById(id);
                if (!row || row->lent || row->discarded)
                    continue;
                line = discardBook(id, day) == Meanwhile::Nothing ? QStringLiteral("discard %1").arg(id)
                                                                  : QStringLiteral("refused discard");
            } else if (kind < 30) { // the undo of a discard, into a shown category as the dialog offers
                const qint32 id = pick(books);
                const std::optional<BookRow> row = findBookById(id);
                if (!row || !row->discarded)
                    continue;
                line = restoreBook(id, pick(categories)) == Meanwhile::Nothing
                           ? QStringLiteral("restore %1").arg(id)
                           : QStringLiteral("refused restore");
            } else if (kind < 34) { // a new book whose form passed the page's checks
                BookTexts t;
                t.code = code("N", 150);
                t.accession = QString::number(suggestedAccession() + qint32(random.bounded(3u)));
                t.date = dateText(today());
                t.title = QStringLiteral("Nová kniha");
                t.author = QStringLiteral("Autor");
                t.category = categoryNames.value(int(random.bounded(quint32(categoryNames.size()))));
                t.price = QStringLiteral("100");
                const BookCheck check = checkBookEntry(t);
                if (!check.ok())
                    continue;
                BookCheck refused;
                const qint32 id = addBook(check.entry, &refused);
                line = id != -1 ? QStringLiteral("book %1 %2").arg(id).arg(t.code)
                                : QStringLiteral("refused book %1 %2").arg(t.code).arg(refused.message);
            } else if (kind < 37) { // a new client whose code the register found free
                Registers::ClientData d;
                d.code = code("D", 60);
                d.first = QStringLiteral("Jana");
                d.surname = QStringLiteral("Nová");
                if (Registers::clientCodeMessage(d.code) != 0)
                    continue;
                int refused = 0;
                const qint32 id = Registers::addClient(d, &refused);
                if (id != -1)
                    clients << id;
                line = id != -1 ? QStringLiteral("client %1 %2").arg(id).arg(d.code)
                                : QStringLiteral("refused client %1 %2").arg(d.code).arg(refused);
            } else if (kind < 39) { // a client's code changed in the register
                const qint32 id = pick(clients);
                std::optional<Registers::ClientRecord> client = Registers::clientById(id);
                Registers::ClientData d = client ? client->data : Registers::ClientData();
                d.code = code("D", 60);
                if (!client || !client->visible || Registers::clientCodeMessage(d.code) != 0)
                    continue;
                int refused = 0;
                line = Registers::changeClient(id, d, &refused)
                           ? QStringLiteral("recode %1 %2").arg(id).arg(d.code)
                           : QStringLiteral("refused recode %1 %2 %3").arg(id).arg(d.code).arg(refused);
            } else { // a client removed from the register, holding no book when looked up
                const qint32 id = pick(clients);
                const std::optional<Registers::ClientRecord> client = Registers::clientById(id);
                if (!client || !client->visible || Registers::clientHoldsBook(id))
                    continue;
                int refused = 0;
                line = Registers::hideClient(id, &refused)
                           ? QStringLiteral("hide %1").arg(id)
                           : QStringLiteral("refused hide %1 %2").arg(id).arg(refused);
            }
        } catch (const DbError &e) {
            line = QStringLiteral("failed %1").arg(kind);
            logDbError(e);
        }
        cliPrint(line);
        ++done;
    }
    Database::close();
    return 0;
}
