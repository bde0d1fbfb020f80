#include "catalogue/bookcore.h"

#include "data/checks.h"
#include "data/database.h"
#include "data/directquery.h"
#include "data/recordsets.h"
#include "data/statements.h"

BookRow BookRow::fromSet(const CSetKnihy &s)
{
    BookRow r;
    r.id = s.m_ID_KNIHY_KNIHY;
    r.category = s.m_ID_KATEGORIE_KNIHY;
    r.client = s.m_ID_LIDE_KNIHY;
    r.loan = s.m_ID_VYPUJCKY_KNIHY;
    r.code = s.m_KOD;
    r.accession = s.m_PRIRUSTEK;
    r.title = s.m_NAZEV;
    r.author = s.m_AUTOR;
    r.acquired = s.m_DATUM_PORIZENI;
    r.price = s.m_CENA;
    r.year = s.m_ROK_VYDANI;
    r.keywords = s.m_KLICOVA_SLOVA;
    r.publisher = s.m_VYDAVATEL;
    r.pages = s.m_POCET_STRAN;
    r.annotation = s.m_ANOTACE;
    r.discarded = s.m_VYRAZENO;
    r.lent = s.m_VYPUJCENO;
    r.discardedOn = s.m_DATUM_VYRAZENI;
    r.hasPublisher = s.m_IS_VYDAVATEL;
    r.hasYear = s.m_IS_ROKVYDANI;
    r.hasPages = s.m_IS_POCETSTRAN;
    r.hasAnnotation = s.m_IS_ANOTACE;
    r.hasKeywords = s.m_IS_KLICOVESLOVO;
    return r;
}

BookEntry BookEntry::fromRow(const BookRow &row)
{
    BookEntry e;
    e.code = row.code;
    e.accession = row.accession;
    e.acquired = row.acquired;
    e.title = row.title;
    e.author = row.author;
    e.category = row.category;
    e.price = row.price;
    e.hasPublisher = row.hasPublisher;
    e.hasYear = row.hasYear;
    e.hasPages = row.hasPages;
    e.hasAnnotation = row.hasAnnotation;
    e.hasKeywords = row.hasKeywords;
    if (row.hasPublisher)
        e.publisher = row.publisher;
    if (row.hasYear)
        e.year = row.year;
    if (row.hasPages)
        e.pages = row.pages;
    if (row.hasAnnotation)
        e.annotation = row.annotation;
    // The list a page fills from the stored string is sorted, and it is the list that is joined
    // again when the book is written; the loaded form is that same join.
    if (row.hasKeywords)
        e.keywords = joinKeywordList(keywordsInListOrder(row.keywords));
    return e;
}

bool BookEntry::sameAs(const BookEntry &o) const
{
    return annotation == o.annotation && author == o.author && keywords == o.keywords && code == o.code &&
           title == o.title && publisher == o.publisher && price == o.price && acquired == o.acquired &&
           category == o.category && pages == o.pages && accession == o.accession && year == o.year;
}

namespace {

BookCheck fail(int message, BookField field)
{
    BookCheck c;
    c.message = message;
    c.field = field;
    return c;
}

QByteArray sqlText(const QString &text)
{
    return text.toUtf8();
}

// A whole number given in an optional field: -1 and no flag when empty; false when not a whole
// number or below zero (zero is a valid year and page count).
bool readOptionalCount(const QString &text, qint32 *value, bool *given)
{
    *value = -1;
    *given = false;
    if (text.isEmpty())
        return true;
    qint32 v = 0;
    if (!parseWhole(text, &v) || v < 0)
        return false;
    *value = v;
    *given = true;
    return true;
}

// Another book with the code (35 discarded, 36 in the stock) or the accession number (37, 38);
// the book being corrected does not clash with its own code and its accession number as loaded.
// Throws DbError.
BookCheck codeClash(const QString &code, qint32 accession, const CorrectedBook *correction)
{
    CSetKnihy books;
    books.open(QString::asprintf(Stmt::KnihyByKod, sqlText(code).constData()));
    for (; !books.isEOF(); books.moveNext()) {
        if (correction && books.m_ID_KNIHY_KNIHY == correction->id)
            continue;
        return fail(books.m_VYRAZENO ? 35 : 36, BookField::Code);
    }
    books.open(QString::asprintf(Stmt::KnihyByPrirustek, accession));
    for (; !books.isEOF(); books.moveNext()) {
        if (correction && books.m_PRIRUSTEK == correction->loadedAccession)
            continue;
        return fail(books.m_VYRAZENO ? 37 : 38, BookField::Accession);
    }
    return {};
}

// Inside the write's transaction, what the form's check found free may have been taken by another
// desk since: the code, the accession number, the category (removed meanwhile: 4); and a book
// being corrected may have been lent meanwhile before its new acquisition date (87).
BookCheck takenMeanwhile(const BookEntry &entry, const CorrectedBook *correction)
{
    if (const BookCheck clash = codeClash(entry.code, entry.accession, correction); !clash.ok())
        return clash;
    if (correction && correction->loan != -1) {
        CSetVypujcky loan;
        loan.open(QString::asprintf(Stmt::VypujckyByLoan, correction->loan));
        if (!loan.isEOF() && loan.m_DATUM_PUJCKY < entry.acquired)
            return fail(87, BookField::Date);
    }
    CSetKategorie category;
    category.open(QString::asprintf(Stmt::KategorieById, entry.category));
    if (category.isEOF() || !category.m_UKAZOVAT)
        return fail(4, BookField::Category);
    return {};
}

} // namespace

BookCheck checkBookEntry(const BookTexts &typed, const CorrectedBook *correction)
{
    BookTexts t = typed;
    for (QString *s : {&t.code, &t.accession, &t.date, &t.title, &t.author, &t.category, &t.publisher,
                       &t.year, &t.pages, &t.price, &t.annotation})
        *s = s->trimmed();

    const std::pair<const QString *, BookField> mandatory[] = {
        {&t.code, BookField::Code},     {&t.accession, BookField::Accession},
        {&t.date, BookField::Date},     {&t.title, BookField::Title},
        {&t.author, BookField::Author}, {&t.category, BookField::Category},
        {&t.price, BookField::Price}};
    for (const auto &[text, field] : mandatory)
        if (text->isEmpty())
            return fail(32, field);
    if (hasForbiddenChars(t.code))
        return fail(119, BookField::Code);

    BookEntry e;
    e.code = t.code;
    if (!parseWhole(t.accession, &e.accession))
        return fail(33, BookField::Accession);

    try {
        if (const BookCheck clash = codeClash(e.code, e.accession, correction); !clash.ok())
            return clash;
    } catch (const DbError &error) {
        logDbError(error);
        return fail(34, BookField::Code);
    }

    const QDate date = parseDate(t.date);
    if (!date.isValid())
        return fail(33, BookField::Date);
    e.acquired = dateNumberFromDate(date);

    if (correction && correction->loan != -1) {
        try {
            CSetVypujcky loan;
            loan.open(QString::asprintf(Stmt::VypujckyByLoan, correction->loan));
            if (loan.isEOF())
                return fail(43, BookField::Code);
            if (loan.m_DATUM_PUJCKY < e.acquired)
                return fail(87, BookField::Date);
        } catch (const DbError &error) {
            logDbError(error);
            return fail(42, BookField::Code);
        }
    }

    try {
        CSetKategorie category;
        category.open(QString::asprintf(Stmt::KategorieByNameVisible, sqlText(t.category).constData()));
        if (category.isEOF())
            return fail(4, BookField::Category);
        e.category = category.m_ID_KATEGORIE_KATEGORIE;
    } catch (const DbError &error) {
        logDbError(error);
        return fail(4, BookField::Category);
    }

    if (!readOptionalCount(t.year, &e.year, &e.hasYear))
        return fail(33, BookField::Year);
    if (!readOptionalCount(t.pages, &e.pages, &e.hasPages))
        return fail(33, BookField::Pages);
    double price = 0;
    if (!parseDecimal(t.price, &price) || float(price) < 0.0f)
        return fail(33, BookField::Price);
    e.price = float(price);

    e.keywords = joinKeywordList(t.keywords, &e.hasKeywords);
    e.title = t.title;
    e.author = t.author;
    e.publisher = t.publisher;
    e.hasPublisher = !t.publisher.isEmpty();
    e.annotation = t.annotation;
    e.hasAnnotation = !t.annotation.isEmpty();

    BookCheck ok;
    ok.entry = e;
    return ok;
}

void sortKeywords(QStringList &keywords)
{
    std::stable_sort(keywords.begin(), keywords.end(),
                     [](const QString &a, const QString &b) { return czechCompare(a, b) < 0; });
}

QStringList keywordsInListOrder(const QString &stored)
{
    QStringList words = splitKeywordList(stored);
    sortKeywords(words);
    return words;
}

int checkNewKeyword(const QString &keyword, const QStringList &present)
{
    if (keyword.isEmpty())
        return 29;
    if (hasForbiddenChars(keyword))
        return 119;
    if (keyword.contains(QLatin1Char('~')))
        return 44;
    for (const QString &p : present)
        if (p.compare(keyword, Qt::CaseInsensitive) == 0)
            return 39;
    return 0;
}

qint32 suggestedAccession()
{
    CSetIDS ids;
    ids.open();
    if (ids.isEOF())
        throw DbError(QStringLiteral("the IDS row is missing"));
    return ids.m_PRIRUSTEK_MAX + 1;
}

namespace {

void writeEntry(CSetKnihy &b, const BookEntry &e)
{
    b.m_ANOTACE = e.hasAnnotation ? e.annotation : QString();
    b.m_AUTOR = e.author;
    b.m_DATUM_PORIZENI = e.acquired;
    b.m_CENA = e.price;
    b.m_ID_KATEGORIE_KNIHY = e.category;
    b.m_IS_VYDAVATEL = e.hasPublisher;
    b.m_IS_ROKVYDANI = e.hasYear;
    b.m_IS_POCETSTRAN = e.hasPages;
    b.m_IS_ANOTACE = e.hasAnnotation;
    b.m_IS_KLICOVESLOVO = e.hasKeywords;
    b.m_KLICOVA_SLOVA = e.hasKeywords ? e.keywords : QString();
    b.m_KOD = e.code;
    b.m_NAZEV = e.title;
    b.m_ROK_VYDANI = e.hasYear ? e.year : -1;
    b.m_POCET_STRAN = e.hasPages ? e.pages : -1;
    b.m_PRIRUSTEK = e.accession;
    b.m_VYDAVATEL = e.hasPublisher ? e.publisher : QString();
}

} // namespace

qint32 addBook(const BookEntry &entry, BookCheck *refusal)
{
    return Database::write([&] {
        Transaction tx;
        if (const BookCheck taken = takenMeanwhile(entry, nullptr); !taken.ok()) {
            if (refusal)
                *refusal = taken;
            return -1;
        }
        CSetKnihy book;
        CSetIDS ids;
        book.open();
        ids.open();
        if (ids.isEOF())
            throw DbError(QStringLiteral("the IDS row is missing"));
        book.addNew();
        ids.edit();
        const qint32 id = ids.m_ID_KNIHY_FIRSTFREE;
        ids.m_ID_KNIHY_FIRSTFREE = id + 1;
        writeEntry(book, entry);
        book.m_ID_KNIHY_KNIHY = id;
        book.m_ID_LIDE_KNIHY = -1;
        book.m_ID_VYPUJCKY_KNIHY = -1;
        book.m_VYRAZENO = false;
        book.m_VYPUJCENO = false;
        book.m_DATUM_VYRAZENI = NoDate;
        if (ids.m_PRIRUSTEK_MAX < entry.accession)
            ids.m_PRIRUSTEK_MAX = entry.accession;
        book.update();
        ids.update();
        tx.commit();
        return id;
    });
}

bool correctBook(qint32 bookId, const BookEntry &entry, BookCheck *refusal)
{
    return Database::write([&] {
        Transaction tx;
        CSetKnihy book;
        book.open(QString::asprintf(Stmt::KnihyById, bookId));
        BookCheck refused;
        if (book.isEOF()) {
            refused = fail(42, BookField::None);
        } else {
            const CorrectedBook self{bookId, book.m_PRIRUSTEK, book.m_ID_VYPUJCKY_KNIHY};
            refused = takenMeanwhile(entry, &self);
        }
        if (!refused.ok()) {
            if (refusal)
                *refusal = refused;
            return false;
        }
        CSetIDS ids;
        ids.open();
        if (ids.isEOF())
            throw DbError(QStringLiteral("the IDS row is missing"));
        book.edit();
        writeEntry(book, entry);
        if (entry.accession > ids.m_PRIRUSTEK_MAX) {
            ids.edit();
            ids.m_PRIRUSTEK_MAX = entry.accession;
            ids.update();
        }
        book.update();
        tx.commit();
        return true;
    });
}

namespace {

template <typename Set> void deleteAll(Set &set, const QString &sql)
{
    set.open(sql);
    // Read the whole result before the first delete, so that deleting does not disturb the
    // statement that is still being read.
    set.moveLast();
    set.moveFirst();
    while (!set.isEOF())
        set.deleteRow();
}

} // namespace

bool deleteBook(qint32 bookId)
{
    return Database::write([&] {
        Transaction tx;
        CSetKnihy book;
        book.open(QString::asprintf(Stmt::KnihyByIdBare, bookId));
        if (book.isEOF())
            return false;
        book.deleteRow();
        CSetVypujcky loans;
        deleteAll(loans, QString::asprintf(Stmt::VypujckyOfBook, bookId));
        CSetVraceni returns;
        deleteAll(returns, QString::asprintf(Stmt::VraceniOfBook, bookId));
        tx.commit();
        return true;
    });
}

std::optional<BookRow> findBookInUse(const QString &code)
{
    CSetKnihy set;
    set.open(QString::asprintf(Stmt::KnihyByKodNotDiscarded, sqlText(code).constData()));
    if (set.isEOF())
        return std::nullopt;
    return BookRow::fromSet(set);
}

namespace {

// One KNIHY row read straight from the engine, with the record set's conversions: NULL numbers
// and flags are 0, NULL texts are null strings.
BookRow bookRowFrom(const DirectQuery &q)
{
    auto col = [&q](const char *name) {
        const int i = q.column(name);
        if (i < 0)
            throw DbError(QStringLiteral("KNIHY has no %1").arg(QLatin1String(name)));
        return i;
    };
    auto number = [&](const char *name) { return qint32(q.integer(col(name))); };
    auto flag = [&](const char *name) { return q.integer(col(name)) != 0; };
    BookRow r;
    r.id = number("ID_KNIHY_KNIHY");
    r.category = number("ID_KATEGORIE_KNIHY");
    r.client = number("ID_LIDE_KNIHY");
    r.loan = number("ID_VYPUJCKY_KNIHY");
    r.code = q.text(col("KOD"));
    r.accession = number("PRIRUSTEK");
    r.title = q.text(col("NAZEV"));
    r.author = q.text(col("AUTOR"));
    r.acquired = number("DATUM_PORIZENI");
    r.price = float(q.real(col("CENA")));
    r.year = number("ROK_VYDANI");
    r.keywords = q.text(col("KLICOVA_SLOVA"));
    r.publisher = q.text(col("VYDAVATEL"));
    r.pages = number("POCET_STRAN");
    r.annotation = q.text(col("ANOTACE"));
    r.discarded = flag("VYRAZENO");
    r.lent = flag("VYPUJCENO");
    r.discardedOn = number("DATUM_VYRAZENI");
    r.hasPublisher = flag("IS_VYDAVATEL");
    r.hasYear = flag("IS_ROKVYDANI");
    r.hasPages = flag("IS_POCETSTRAN");
    r.hasAnnotation = flag("IS_ANOTACE");
    r.hasKeywords = flag("IS_KLICOVESLOVO");
    return r;
}

} // namespace

// The next three read on the engine directly: the browse page calls them for every step.
std::optional<BookRow> findBookById(qint32 bookId)
{
    PooledQuery pooled(jetToSqlite(QString::asprintf(Stmt::KnihyById, bookId)));
    DirectQuery &q = pooled.query();
    if (!q.next())
        return std::nullopt;
    return bookRowFrom(q);
}

std::optional<QString> categoryName(qint32 categoryId)
{
    PooledQuery pooled(jetToSqlite(QString::asprintf(Stmt::KategorieById, categoryId)));
    DirectQuery &q = pooled.query();
    if (!q.next())
        return std::nullopt;
    return q.text(q.column("NAZEV"));
}

std::optional<QString> clientLabel(qint32 clientId)
{
    PooledQuery pooled(jetToSqlite(QString::asprintf(Stmt::LideById, clientId)));
    DirectQuery &q = pooled.query();
    if (!q.next())
        return std::nullopt;
    return clientLabel(q.text(q.column("KOD")), q.text(q.column("PRIJMENI")), q.text(q.column("JMENO")));
}

int daysOverdue(bool returned, bool limited, DateNumber due, DateNumber returnedOn)
{
    if (!returned || !limited || !(due < returnedOn))
        return -1;
    return daysBetween(due, returnedOn);
}
