#pragma once

#include "catalogue/bookcore.h"
#include "data/categories.h"
#include "data/dates.h"

#include <QList>

#include <functional>
#include <optional>

// The writes of the circulation pages and of the undo-discard dialog. Each runs its own
// transaction and throws DbError when the database fails; nothing of a failed action stays
// written, the IDS counters included.

// One book of a loan: its id and the latest return date (NoDate: the loan is not limited).
struct LoanBook
{
    qint32 bookId = -1;
    DateNumber due = NoDate;
};

// One book of a return, with what its open loan said when the book was looked up.
struct ReturnBook
{
    qint32 bookId = -1;
    qint32 clientId = -1;
    qint32 loanNumber = -1;
    DateNumber loanDate = NoDate;
    DateNumber due = NoDate; // NoDate when the loan was not limited
    bool limited = false;
};

// Called with the index of a book as soon as its rows are written; the pages drop the list row
// there. Books are written from the last to the first. The calls of a write that commits come
// before it returns; a write refused because of another desk makes none; a write that fails makes
// those of the books written before the failure (the pages' rows stay gone, the rows are rolled
// back).
using BookWritten = std::function<void(int index)>;

// What another desk of a server library changed since the page looked at it, so that a write
// refuses and writes nothing. Each write reads again, inside its transaction, what the page's
// checks looked at.
enum class Meanwhile
{
    Nothing,          // the write went through
    BookLent,         // a book of the loan or of the discard is lent by now
    BookNotInStock,   // a book of the loan or of the discard was discarded
    BookReturned,     // the loan of a book of the return was closed
    BookNotDiscarded, // the book to restore is back in the stock
    ClientHidden      // the client of the loan was removed from the register
};

// The outcome of a loan or a return: the number it was written under, or what refused it.
struct CirculationResult
{
    qint32 number = -1;
    Meanwhile refused = Meanwhile::Nothing;
    bool done() const { return refused == Meanwhile::Nothing; }
};

// Lends the books to the client under one new loan number (ID_VYPUJCKY_FIRSTFREE, raised by
// one). Refuses a client removed meanwhile and a book lent or discarded meanwhile. A book that is
// no longer in KNIHY fails the whole loan.
CirculationResult lendBooks(qint32 clientId, DateNumber loanDate, const QList<LoanBook> &books,
                            const BookWritten &written = {});

// Closes the open loans of the books on the return date under one new return number
// (ID_VRACENI_FIRSTFREE, raised by one). Refuses a book whose loan was closed meanwhile. A missing
// loan row or book row fails the whole return.
CirculationResult returnBooks(DateNumber returnDate, const QList<ReturnBook> &books,
                              const BookWritten &written = {});

// Marks one book as discarded on the date, in a transaction of its own; refuses (BookLent,
// BookNotInStock) a book that is lent or discarded by now. A book no longer in KNIHY is a
// database error.
Meanwhile discardBook(qint32 bookId, DateNumber discardDate);

// Puts a discarded book back into the stock under the category: clears VYRAZENO and
// DATUM_VYRAZENI, leaves every other column as it was. Refuses (BookNotDiscarded) a book no longer
// discarded. A missing book throws DbError.
Meanwhile restoreBook(qint32 bookId, qint32 categoryId);

// ---- What the circulation pages and the undo-discard dialog read ----
// Each lookup throws DbError when the database fails; an absent row is nullopt.

// A book in use (not discarded) found by its code, with the name of its category; category is
// nullopt when the book's category row is missing.
struct BookInUse
{
    BookRow book;
    std::optional<QString> category;
};
std::optional<BookInUse> bookInUseByCode(const QString &code);

// The book's category as it stands now, after books were moved or categories renamed; nullopt
// when the book or its category is gone.
std::optional<CategoryItem> currentBookCategory(qint32 bookId);

// A discarded book by its code.
std::optional<BookRow> discardedBookByCode(const QString &code);

// A client as the loans and returns pages show it.
struct ClientName
{
    qint32 id = -1;
    QString code;
    QString surname;
    QString firstName;
    QString fullName() const { return surname + QLatin1Char(' ') + firstName; } // "PRIJMENI JMENO"
};
// The client in use (not removed) with this code.
std::optional<ClientName> clientInUseByCode(const QString &code);
// The client with this code, removed ones too (a client chosen in the picker).
std::optional<ClientName> clientWithCode(const QString &code);
// The client by identifier, removed ones too (the holder of a book).
std::optional<ClientName> clientWithId(qint32 clientId);
// Whether the client is still in use.
bool clientStillInUse(qint32 clientId);

// What the open loan row of a book says.
struct LoanTerms
{
    DateNumber loanDate = NoDate;
    DateNumber due = NoDate;
    bool limited = false;
};
// The loan row of the book under the loan number.
std::optional<LoanTerms> loanTerms(qint32 loanNumber, qint32 bookId);
