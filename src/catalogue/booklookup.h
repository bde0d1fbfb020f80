#pragma once

#include "catalogue/bookcore.h"

#include <QList>
#include <QString>

#include <vector>

// The books not discarded, in accession order, as the browse page walks them: only their
// identifiers are kept, each book is read when it is shown. Throws DbError.
std::vector<qint32> browseOrder();

// The go-to-book dialog's look-up: the identifier of the book in use with this code, -1 when none.
// Throws DbError.
qint32 bookInUseId(const QString &code);

// One row of the book list picker.
struct PickerRow
{
    QString code;
    QString title;
    QString author;
    qint32 id = -1;
};
// Made of relocatable members: the list of a whole catalogue grows by reallocating its block.
Q_DECLARE_TYPEINFO(PickerRow, Q_RELOCATABLE_TYPE);
// The book lists a picker offers.
enum class BookList
{
    Lendable,     // in use and not lent, for loans and discards
    Lent,         // in use and lent, for returns
    NotDiscarded, // every book in use, for corrections
    Discarded     // for putting a book back into the stock
};
// The statement of a book list, for the picker dialog.
QString bookListStatement(BookList list);

// The rows of a picker statement (SELECT * FROM KNIHY ...), in the reverse of its order.
// Throws DbError.
QList<PickerRow> pickerRows(const QString &jetSql);

// One loan in a book's history.
struct LoanHistoryRow
{
    QString clientCode;
    QString firstName;
    QString surname;
    DateNumber lentOn = NoDate;
    DateNumber returnedOn = NoDate;
    int overdue = -1; // whole days returned after the limit, -1 when none
};

// Everything the book details dialog shows; message is the catalogue message that closes the
// dialog instead (34 book missing, 94 category, 96 client, 97 current loan), 0 when all is read.
struct BookDetails
{
    int message = 0;
    BookRow book;
    QString category;
    QString client;                // "KOD  (PRIJMENI JMENO)" while lent
    DateNumber lentOn = NoDate;    // while lent
    DateNumber returnBy = NoDate;  // while lent with a limit
    QList<LoanHistoryRow> history; // oldest loan first
};
// Throws DbError.
BookDetails readBookDetails(qint32 bookId);
