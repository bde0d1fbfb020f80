#include "circulation/circulationcore.h"

#include "data/database.h"
#include "data/recordsets.h"
#include "data/statements.h"

namespace {

// Opens the row that must exist; its absence breaks the action like any database failure.
template <typename Set> void openExisting(Set &set, const QString &sql, const char *what)
{
    set.open(sql);
    if (set.isEOF())
        throw DbError(QStringLiteral("%1 not found").arg(QLatin1String(what)), sql);
}

} // namespace

namespace {

// Runs a loan or a return through Database::write and hands the page its rows only for the attempt
// that counts: all of them once it has committed, those written before a final failure, none when
// the write was refused or is run again.
template <typename Attempt> CirculationResult writeBooks(const BookWritten &written, Attempt attempt)
{
    QList<int> rows;
    const auto deliver = [&] {
        if (written)
            for (int i : rows)
                written(i);
    };
    CirculationResult result;
    try {
        result = Database::write([&] {
            rows.clear();
            return attempt(rows);
        });
    } catch (const DbError &) {
        deliver();
        throw;
    }
    if (result.done())
        deliver();
    return result;
}

CirculationResult refused(Meanwhile why)
{
    return CirculationResult{-1, why};
}

// What stops a book from being lent or discarded now.
Meanwhile bookNotAvailable(const CSetKnihy &book)
{
    if (book.m_VYRAZENO)
        return Meanwhile::BookNotInStock;
    return book.m_VYPUJCENO ? Meanwhile::BookLent : Meanwhile::Nothing;
}

} // namespace

CirculationResult lendBooks(qint32 clientId, DateNumber loanDate, const QList<LoanBook> &books,
                            const BookWritten &written)
{
    return writeBooks(written, [&](QList<int> &rows) {
        Transaction tx;
        if (!clientStillInUse(clientId))
            return refused(Meanwhile::ClientHidden);
        const qint32 loan = allocateId(Counter::Vypujcky);
        for (int i = int(books.size()) - 1; i >= 0; --i) {
            const LoanBook &b = books.at(i);
            CSetKnihy book;
            openExisting(book, QString::asprintf(Stmt::KnihyById, b.bookId), "book");
            if (const Meanwhile why = bookNotAvailable(book); why != Meanwhile::Nothing)
                return refused(why);
            CSetVypujcky row;
            row.addNew();
            row.m_ID_VYPUJCKY_VYPUJCKY = loan;
            row.m_ID_LIDE_VYPUJCKY = clientId;
            row.m_ID_KNIHY_VYPUJCKY = b.bookId;
            row.m_VRACENO = false;
            row.m_DATUM_PUJCKY = loanDate;
            row.m_OMEZOVAT = b.due != NoDate;
            row.m_DATUM_MAX = b.due;
            row.m_DATUM_VRACENI = NoDate;
            book.edit();
            book.m_VYPUJCENO = true;
            book.m_ID_LIDE_KNIHY = clientId;
            book.m_ID_VYPUJCKY_KNIHY = loan;
            // The book row first, then the new loan row.
            book.update();
            row.update();
            book.close();
            rows << i;
        }
        tx.commit();
        return CirculationResult{loan, Meanwhile::Nothing};
    });
}

CirculationResult returnBooks(DateNumber returnDate, const QList<ReturnBook> &books,
                              const BookWritten &written)
{
    return writeBooks(written, [&](QList<int> &rows) {
        Transaction tx;
        const qint32 number = allocateId(Counter::Vraceni);
        for (int i = int(books.size()) - 1; i >= 0; --i) {
            const ReturnBook &b = books.at(i);
            {
                CSetVypujcky loan;
                openExisting(loan, QString::asprintf(Stmt::VypujckyRow, b.loanNumber, b.bookId), "loan");
                if (loan.m_VRACENO)
                    return refused(Meanwhile::BookReturned);
                loan.edit();
                loan.m_VRACENO = true;
                loan.m_DATUM_VRACENI = returnDate;
                loan.update();
            }
            {
                CSetKnihy book;
                openExisting(book, QString::asprintf(Stmt::KnihyById, b.bookId), "book");
                book.edit();
                book.m_VYPUJCENO = false;
                book.m_ID_LIDE_KNIHY = -1;
                book.m_ID_VYPUJCKY_KNIHY = -1;
                book.update();
            }
            {
                CSetVraceni ret;
                ret.addNew();
                ret.m_ID_VRACENI_VRACENI = number;
                ret.m_ID_KNIHY_VRACENI = b.bookId;
                ret.m_ID_LIDE_VRACENI = b.clientId;
                ret.m_DATUM_VRACENI = returnDate;
                ret.m_DATUM_VRACENI_MAX = b.limited ? b.due : NoDate;
                ret.m_DATUM_PUJCKY = b.loanDate;
                ret.m_OMEZOVAT = b.limited;
                ret.update();
            }
            rows << i;
        }
        tx.commit();
        return CirculationResult{number, Meanwhile::Nothing};
    });
}

Meanwhile discardBook(qint32 bookId, DateNumber discardDate)
{
    return Database::write([&] {
        Transaction tx;
        CSetKnihy book;
        openExisting(book, QString::asprintf(Stmt::KnihyByIdBare, bookId), "book");
        if (const Meanwhile why = bookNotAvailable(book); why != Meanwhile::Nothing)
            return why;
        book.edit();
        book.m_VYRAZENO = true;
        book.m_DATUM_VYRAZENI = discardDate;
        book.update();
        tx.commit();
        return Meanwhile::Nothing;
    });
}

Meanwhile restoreBook(qint32 bookId, qint32 categoryId)
{
    return Database::write([&] {
        Transaction tx;
        CSetKnihy book;
        openExisting(book, QString::asprintf(Stmt::KnihyByIdBare, bookId), "book");
        if (!book.m_VYRAZENO)
            return Meanwhile::BookNotDiscarded;
        book.edit();
        book.m_VYRAZENO = false;
        book.m_DATUM_VYRAZENI = NoDate;
        book.m_ID_KATEGORIE_KNIHY = categoryId;
        book.update();
        tx.commit();
        return Meanwhile::Nothing;
    });
}

std::optional<BookInUse> bookInUseByCode(const QString &code)
{
    std::optional<BookRow> book = findBookInUse(code);
    if (!book)
        return std::nullopt;
    BookInUse found{*book, std::nullopt};
    CSetKategorie category;
    category.open(QString::asprintf(Stmt::KategorieById, book->category));
    if (!category.isEOF())
        found.category = category.m_NAZEV;
    return found;
}

std::optional<CategoryItem> currentBookCategory(qint32 bookId)
{
    if (bookId == -1)
        return std::nullopt;
    CSetKnihy book;
    book.open(QString::asprintf(Stmt::KnihyById, bookId));
    if (book.isEOF())
        return std::nullopt;
    CSetKategorie category;
    category.open(QString::asprintf(Stmt::KategorieById, book.m_ID_KATEGORIE_KNIHY));
    if (category.isEOF())
        return std::nullopt;
    return CategoryItem{book.m_ID_KATEGORIE_KNIHY, category.m_NAZEV};
}

std::optional<BookRow> discardedBookByCode(const QString &code)
{
    CSetKnihy book;
    book.open(QString::asprintf(Stmt::KnihyDiscardedByKod, qUtf8Printable(code)));
    if (book.isEOF())
        return std::nullopt;
    return BookRow::fromSet(book);
}

namespace {

std::optional<ClientName> readClient(const QString &jetSql)
{
    CSetLide lide;
    lide.open(jetSql);
    if (lide.isEOF())
        return std::nullopt;
    return ClientName{lide.m_ID_LIDE_LIDE, lide.m_KOD, lide.m_PRIJMENI, lide.m_JMENO};
}

} // namespace

std::optional<ClientName> clientInUseByCode(const QString &code)
{
    return readClient(QString::asprintf(Stmt::LideByKodVisible, qUtf8Printable(code)));
}

std::optional<ClientName> clientWithCode(const QString &code)
{
    return readClient(QString::asprintf(Stmt::LideByKod, qUtf8Printable(code)));
}

std::optional<ClientName> clientWithId(qint32 clientId)
{
    return readClient(QString::asprintf(Stmt::LideById, clientId));
}

bool clientStillInUse(qint32 clientId)
{
    return readClient(QString::asprintf(Stmt::LideByIdVisible, clientId)).has_value();
}

std::optional<LoanTerms> loanTerms(qint32 loanNumber, qint32 bookId)
{
    CSetVypujcky loan;
    loan.open(QString::asprintf(Stmt::VypujckyRow, loanNumber, bookId));
    if (loan.isEOF())
        return std::nullopt;
    return LoanTerms{loan.m_DATUM_PUJCKY, loan.m_DATUM_MAX, loan.m_OMEZOVAT};
}
