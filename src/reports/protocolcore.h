#pragma once

#include "data/dates.h"

#include <QList>
#include <QString>

// The printed record of one loan action or one return action, read from the database before
// printing. Preparing only reads.

struct LoanProtocolRow
{
    QString code;
    QString title;
    QString author;
    DateNumber due = NoDate; // the loan row's latest return date
    qint32 bookId = -1;
};

struct LoanProtocol
{
    qint32 number = -1;
    QString client; // "K017  (Novák Jan)"
    DateNumber date = NoDate;
    QList<LoanProtocolRow> rows; // ascending book identifier
};

struct ReturnProtocolRow
{
    QString bookCode;
    QString bookTitle;
    QString clientCode;
    QString clientName; // "Novák Jan"
    qint32 bookId = -1;
    // DATUM_VRACENI - DATUM_VRACENI_MAX as plain date numbers when the loan had a limit and was
    // returned after it; -1 when not late. Across a month end this is not a count of days
    // (2 March against 28 February gives 74); the protocol prints the figure as it is.
    qint32 lateness = -1;
    DateNumber loanDate = NoDate;
};

struct ReturnProtocol
{
    qint32 number = -1;
    DateNumber date = NoDate;
    QList<ReturnProtocolRow> rows; // ascending book identifier
};

// Return 0, or the catalogue message that stops the protocol: 107 no such loan (116 no such
// return), 108 a book or client row is missing, 109 the database failed, 49 out of memory.
int prepareLoanProtocol(qint32 loanNumber, LoanProtocol *out);
int prepareReturnProtocol(qint32 returnNumber, ReturnProtocol *out);

// The texts of the protocol columns: a loan without a return limit prints "bez omezení", a row
// that is not late prints an empty cell.
QString protocolDueText(DateNumber due);
QString protocolLatenessText(qint32 lateness);

// The choosers of the protocol commands.
// One loan by number, as the chooser lists it (books in ascending identifier order). Returns 0,
// 111 when the number has no rows, 108, or 109.
int loadLoanForChooser(qint32 loanNumber, LoanProtocol *out);
int loadReturnForChooser(qint32 returnNumber, ReturnProtocol *out);

struct LoanListEntry
{
    qint32 number = -1;
    QString clientCode;
    QString clientName; // "Novák Jan"
    DateNumber date = NoDate;
    int books = 0;
};
struct ReturnListEntry
{
    qint32 number = -1;
    DateNumber date = NoDate;
    int books = 0;
};
// Loans made within the period (both ends included), one entry per loan number, newest first.
// Returns 0, 113 when there is none, 108, or 109.
int listLoansInPeriod(DateNumber from, DateNumber to, QList<LoanListEntry> *out);
// Returns 0, 117 when there is none, or 109.
int listReturnsInPeriod(DateNumber from, DateNumber to, QList<ReturnListEntry> *out);
