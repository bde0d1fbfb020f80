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

qint32 lendBooks(qint32 clientId, DateNumber loanDate, const QList<LoanBook> &books,
                 const BookWritten &written)
{
    Transaction tx;
    const qint32 loan = allocateId(Counter::Vypujcky);
    for (int i = int(books.size()) - 1; i >= 0; --i) {
        const LoanBook &b = books.at(i);
        CSetKnihy book;
        openExisting(book, QString::asprintf(Stmt::KnihyById, b.bookId), "book");
        // Read again inside the transaction: on a server another desk may have lent or discarded
        // the book since the page looked it up.
        if (book.m_VYPUJCENO || book.m_VYRAZENO)
            throw DbError(QStringLiteral("book %1 was lent or discarded meanwhile").arg(b.bookId));
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
        if (written)
            written(i);
    }
    tx.commit();
    return loan;
}

qint32 returnBooks(DateNumber returnDate, const QList<ReturnBook> &books, const BookWritten &written)
{
    Transaction tx;
    const qint32 number = allocateId(Counter::Vraceni);
    for (int i = int(books.size()) - 1; i >= 0; --i) {
        const ReturnBook &b = books.at(i);
        {
            CSetVypujcky loan;
            openExisting(loan, QString::asprintf(Stmt::VypujckyRow, b.loanNumber, b.bookId), "loan");
            if (loan.m_VRACENO)
                throw DbError(QStringLiteral("book %1 was returned meanwhile").arg(b.bookId));
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
        if (written)
            written(i);
    }
    tx.commit();
    return number;
}

bool discardBook(qint32 bookId, DateNumber discardDate)
{
    // Read inside the transaction: on a server another desk may have lent or discarded the book
    // since the page looked it up.
    Transaction tx;
    CSetKnihy book;
    book.open(QString::asprintf(Stmt::KnihyById, bookId));
    if (book.isEOF() || book.m_VYPUJCENO || book.m_VYRAZENO)
        return false;
    book.edit();
    book.m_VYRAZENO = true;
    book.m_DATUM_VYRAZENI = discardDate;
    book.update();
    tx.commit();
    return true;
}

void restoreBook(qint32 bookId, qint32 categoryId)
{
    Transaction tx;
    CSetKnihy book;
    openExisting(book, QString::asprintf(Stmt::KnihyByIdBare, bookId), "book");
    book.edit();
    book.m_VYRAZENO = false;
    book.m_DATUM_VYRAZENI = NoDate;
    book.m_ID_KATEGORIE_KNIHY = categoryId;
    book.update();
    tx.commit();
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
