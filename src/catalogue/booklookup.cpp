#include "catalogue/booklookup.h"

#include "data/database.h"
#include "data/directquery.h"
#include "data/recordsets.h"
#include "data/sharedtexts.h"
#include "data/statements.h"

std::vector<qint32> browseOrder()
{
    // The browse statement, reading the identifiers alone: a record set over every column of a
    // large catalogue would hold all of it in memory.
    QString sql = QString::fromLatin1(Stmt::KnihyBrowse);
    sql.replace(QStringLiteral("SELECT * FROM"), QStringLiteral("SELECT KNIHY.ID_KNIHY_KNIHY FROM"));
    DirectQuery q(jetToSqlite(sql));
    std::vector<qint32> ids;
    while (q.next())
        ids.push_back(qint32(q.integer(0)));
    return ids;
}

qint32 bookInUseId(const QString &code)
{
    const std::optional<BookRow> row = findBookInUse(code);
    return row ? row->id : -1;
}

QString bookListStatement(BookList list)
{
    switch (list) {
    case BookList::Lendable:
        return QString::fromLatin1(Stmt::PickLendable);
    case BookList::Lent:
        return QString::fromLatin1(Stmt::PickLent);
    case BookList::NotDiscarded:
        return QString::fromLatin1(Stmt::PickNotDiscarded);
    case BookList::Discarded:
        return QString::fromLatin1(Stmt::PickDiscarded);
    }
    return QString::fromLatin1(Stmt::PickNotDiscarded);
}

QList<PickerRow> pickerRows(const QString &jetSql)
{
    // Stepped on the engine with only the four columns the list shows: a picker over the whole
    // catalogue reads 100,000 rows.
    DirectQuery q(jetToSqlite(selectOnly(jetSql, QStringLiteral("KNIHY"),
                                         {QStringLiteral("KOD"), QStringLiteral("NAZEV"),
                                          QStringLiteral("AUTOR"), QStringLiteral("ID_KNIHY_KNIHY")})));
    const int code = q.column("KOD");
    const int title = q.column("NAZEV");
    const int author = q.column("AUTOR");
    const int id = q.column("ID_KNIHY_KNIHY");
    if (code < 0 || title < 0 || author < 0 || id < 0)
        throw DbError(QStringLiteral("a book list needs the columns of KNIHY: ") + jetSql);
    QList<PickerRow> rows;
    SharedTexts authors;
    while (q.next())
        rows << PickerRow{q.text(code), q.text(title), authors.text(q, author), qint32(q.integer(id))};
    std::reverse(rows.begin(), rows.end());
    return rows;
}

BookDetails readBookDetails(qint32 bookId)
{
    BookDetails d;
    const std::optional<BookRow> book = findBookById(bookId);
    if (!book) {
        d.message = 34;
        return d;
    }
    d.book = *book;
    const std::optional<QString> category = categoryName(book->category);
    if (!category) {
        d.message = 94;
        return d;
    }
    d.category = *category;
    if (book->lent) {
        const std::optional<QString> client = clientLabel(book->client);
        if (!client) {
            d.message = 96;
            return d;
        }
        d.client = *client;
        CSetVypujcky loan;
        loan.open(QString::asprintf(Stmt::VypujckyRow, book->loan, bookId));
        if (loan.isEOF()) {
            d.message = 97;
            return d;
        }
        d.lentOn = loan.m_DATUM_PUJCKY;
        if (loan.m_OMEZOVAT)
            d.returnBy = loan.m_DATUM_MAX;
    }
    CSetVypujcky loans;
    CSetLide client;
    for (loans.open(QString::asprintf(Stmt::VypujckyHistory, bookId)); !loans.isEOF(); loans.moveNext()) {
        client.open(QString::asprintf(Stmt::LideById, loans.m_ID_LIDE_VYPUJCKY));
        if (client.isEOF()) {
            d.message = 96;
            d.history.clear();
            return d;
        }
        // Newest loan first in the statement; each is put at the top, so the oldest ends first.
        d.history.prepend(LoanHistoryRow{
            client.m_KOD, client.m_JMENO, client.m_PRIJMENI, loans.m_DATUM_PUJCKY, loans.m_DATUM_VRACENI,
            daysOverdue(loans.m_VRACENO, loans.m_OMEZOVAT, loans.m_DATUM_MAX, loans.m_DATUM_VRACENI)});
    }
    return d;
}
