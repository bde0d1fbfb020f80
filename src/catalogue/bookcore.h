#pragma once

#include "data/categories.h"
#include "data/czechorder.h"
#include "data/labels.h"

#include "data/dates.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

class CSetKnihy;

// One KNIHY row, copied out of its record set.
struct BookRow
{
    qint32 id = -1;
    qint32 category = -1;
    qint32 client = -1;
    qint32 loan = -1;
    QString code;
    qint32 accession = -1;
    QString title;
    QString author;
    DateNumber acquired = NoDate;
    float price = -1.0f;
    qint32 year = -1;
    QString keywords;
    QString publisher;
    qint32 pages = -1;
    QString annotation;
    bool discarded = false;
    bool lent = false;
    DateNumber discardedOn = NoDate;
    bool hasPublisher = false;
    bool hasYear = false;
    bool hasPages = false;
    bool hasAnnotation = false;
    bool hasKeywords = false;

    static BookRow fromSet(const CSetKnihy &set);
};

// The catalogue data of a book as the new-books and corrections pages write it. Fields that are
// not given hold -1 or an empty text with their flag clear.
struct BookEntry
{
    QString code;
    qint32 accession = -1;
    DateNumber acquired = NoDate;
    QString title;
    QString author;
    qint32 category = -1;
    QString publisher;
    qint32 year = -1;
    qint32 pages = -1;
    float price = -1.0f;
    QString annotation;
    QString keywords; // stored form ~a~~b~
    bool hasPublisher = false;
    bool hasYear = false;
    bool hasPages = false;
    bool hasAnnotation = false;
    bool hasKeywords = false;

    // The entry as the corrections page loads it from a row (absent fields empty / -1).
    static BookEntry fromRow(const BookRow &row);
    // True when nothing the corrections page writes differs: texts byte for byte, numbers by value.
    bool sameAs(const BookEntry &other) const;
};

// The fields of a book form, in the order the checks visit them.
enum class BookField
{
    None,
    Code,
    Accession,
    Date,
    Title,
    Author,
    Category,
    Publisher,
    Year,
    Pages,
    Price,
    Keyword
};

// What the user typed into a book form. category is the selected combo text, empty when the combo
// has no selection; keywords are the items of the keyword list in list order.
struct BookTexts
{
    QString code, accession, date, title, author, category, publisher, year, pages, price, annotation;
    QStringList keywords;
};

// A book being corrected: the check then allows its own code and its accession number as loaded,
// and keeps the acquisition date no later than the date of its current loan.
struct CorrectedBook
{
    qint32 id = -1;
    qint32 loadedAccession = -1;
    qint32 loan = -1; // ID_VYPUJCKY_KNIHY, -1 when not lent
};

// The outcome of checking a book form: message 0 and the parsed entry, or the catalogue message
// and the field that gets the focus.
struct BookCheck
{
    int message = 0;
    BookField field = BookField::None;
    BookEntry entry;
    bool ok() const { return message == 0; }
};

// Runs the checks of "OK" on the new-books page (correction == nullptr) or of "Opravit" on the
// corrections page, in their order, stopping at the first failure. Reads the database for the
// clashes, the current loan and the category; its failures become the pages' messages.
BookCheck checkBookEntry(const BookTexts &texts, const CorrectedBook *correction = nullptr);

// Checks of one keyword before it is added to a list (messages 29, 119, 44, 39; 0 when it may be
// added). The duplicate test ignores letter case.
int checkNewKeyword(const QString &trimmedKeyword, const QStringList &present);

// The keyword lists of the pages keep their items in ascending order.
void sortKeywords(QStringList &keywords);
QStringList keywordsInListOrder(const QString &stored);

// The categories in use (UKAZOVAT), in table order. Throws DbError.
// PRIRUSTEK_MAX + 1. Throws DbError.
qint32 suggestedAccession();

// Writes a new book and takes its identifier, raising PRIRUSTEK_MAX when the accession number is
// above it, in one transaction. Returns the new identifier, or -1 when, since the form was
// checked, another desk took the code or the accession number or removed the category: nothing is
// then written and *refusal holds the form check's message and field for it. Throws DbError
// (nothing is written).
qint32 addBook(const BookEntry &entry, BookCheck *refusal = nullptr);
// Writes the corrected catalogue data of a book; PRIRUSTEK_MAX is raised when the new accession
// number is above it and never lowered. Returns false, writing nothing, when the book row is gone
// (*refusal: message 42) or another desk took the code or the accession number or removed the
// category since the form was checked (as addBook). Throws DbError (rolled back).
bool correctBook(qint32 bookId, const BookEntry &entry, BookCheck *refusal = nullptr);
// Deletes a book with all its loans and returns in one transaction. Returns false when the book
// row is gone (rolled back). Throws DbError.
bool deleteBook(qint32 bookId);

// The book with this code that is not discarded. Throws DbError.
std::optional<BookRow> findBookInUse(const QString &code);
// The book by identifier. Throws DbError.
std::optional<BookRow> findBookById(qint32 bookId);
// Name of a category by identifier (hidden ones too). Throws DbError.
std::optional<QString> categoryName(qint32 categoryId);
// A client shown as "KOD  (PRIJMENI JMENO)". Throws DbError.
std::optional<QString> clientLabel(qint32 clientId);

// Whole days a returned loan with a limit came back after its limit; -1 in every other case.
int daysOverdue(bool returned, bool limited, DateNumber due, DateNumber returnedOn);
