#include "reports/reportcore.h"

#include "data/checks.h"
#include "data/database.h"
#include "data/directquery.h"
#include "data/recordsets.h"
#include "data/sharedtexts.h"
#include "data/statements.h"

#include <QHash>

#include <algorithm>
#include <new>

ReportQuery fixedReport(int kind)
{
    switch (kind) {
    case ReportKind::Present:
        return {QString::fromUtf8(Stmt::ReportPresent), QStringLiteral("Knihy právě přítomné v knihovně"),
                kind};
    case ReportKind::Lent:
        return {QString::fromUtf8(Stmt::ReportLent), QStringLiteral("Knihy právě vypůjčené"), kind};
    case ReportKind::PresentAndLent:
        return {QString::fromUtf8(Stmt::ReportPresentAndLent),
                QStringLiteral("Knihy právě přítomné v knihovně a knihy právě vypůjčené"), kind};
    case ReportKind::Discarded:
        return {QString::fromUtf8(Stmt::ReportDiscarded), QStringLiteral("Knihy vyřazené"), kind};
    default:
        return {};
    }
}

ReportQuery categoryReport(qint32 categoryId, const QString &categoryName)
{
    return {QString::asprintf(Stmt::ReportCategory, categoryId),
            QStringLiteral("Knihy v kategorii: %1").arg(categoryName), ReportKind::Category};
}

ReportQuery overdueReport(DateNumber day, const QString &dateShown)
{
    return {QString::asprintf(Stmt::ReportOverdue, day),
            QStringLiteral("Knihy vypůjčené s prodlením počítaným ke dni: %1").arg(dateShown),
            ReportKind::Overdue};
}

ReportQuery clientLoansReport(qint32 clientId, const QString &label)
{
    return {QString::asprintf(Stmt::ReportClientLoans, clientId),
            QStringLiteral("Aktuální výpůjčky klienta: %1").arg(label), ReportKind::ClientLoans};
}

ReportQuery clientHistoryReport(qint32 clientId, const QString &label)
{
    return {QString::asprintf(Stmt::ReportClientHistory, clientId),
            QStringLiteral("Historie výpůjček klienta: %1").arg(label), ReportKind::ClientHistory};
}

ReportQuery clientOverdueReport(qint32 clientId, const QString &prijmeni, const QString &jmeno,
                                DateNumber day, const QString &dateShown)
{
    // The date comes first in the statement, then the client.
    return {QString::asprintf(Stmt::ReportClientOverdue, day, clientId),
            QStringLiteral("Knihy klienta: %1 %2, vypůjčené s prodlením ke dni: %3")
                .arg(prijmeni, jmeno, dateShown),
            ReportKind::ClientOverdue};
}

int findReportClient(const QString &typedCode, ReportClient *out)
{
    const QString code = typedCode.trimmed();
    if (hasForbiddenChars(code))
        return 119;
    try {
        CSetLide lide;
        lide.open(QString::asprintf(Stmt::LideByKod, qUtf8Printable(code)));
        if (lide.isEOF() && lide.isBOF())
            return 15;
        out->id = lide.m_ID_LIDE_LIDE;
        out->code = lide.m_KOD;
        out->jmeno = lide.m_JMENO;
        out->prijmeni = lide.m_PRIJMENI;
        return 0;
    } catch (const DbError &e) {
        logDbError(e);
        return 13;
    }
}

int listShownCategories(QList<ReportCategory> *out)
{
    out->clear();
    try {
        *out = visibleCategories();
        return 0;
    } catch (const DbError &e) {
        logDbError(e);
        out->clear();
        return 4;
    }
}

QString reportSummary(int count, double total)
{
    return QString::asprintf("Nalezeno %d knih v celkové hodnotě %.2f Kč", count, total);
}

namespace {

// Looks up category names for one report run. The statement is prepared once and each
// category is read once, however many books it holds.
class CategoryNames final
{
public:
    CategoryNames() : m_pooled(statement()), m_query(m_pooled.query()), m_name(m_query.column("NAZEV"))
    {
        if (m_name < 0)
            throw DbError(QStringLiteral("KATEGORIE has no NAZEV"));
    }
    // False when the category row is missing.
    bool find(qint32 id, QString *name)
    {
        const auto it = m_names.constFind(id);
        if (it != m_names.constEnd()) {
            *name = *it;
            return true;
        }
        m_query.bind(1, id);
        const bool found = m_query.next();
        if (found)
            *name = m_query.text(m_name);
        m_query.reset();
        if (!found)
            return false;
        m_names.insert(id, *name);
        return true;
    }

private:
    // Translated once: a short report spends more on translating statements than on its rows.
    static const QString &statement()
    {
        thread_local const QString sql = jetToSqlite(QString::asprintf(Stmt::KategorieById, 0));
        return sql;
    }

    PooledQuery m_pooled;
    DirectQuery &m_query;
    int m_name = -1;
    QHash<qint32, QString> m_names;
};

// The report statement narrowed to the six columns a report reads, in the engine's dialect. The
// last few translations are kept: the same report is often run again and again.
QString reportStatement(const QString &jetSql)
{
    thread_local QHash<QString, QString> translated;
    const auto it = translated.constFind(jetSql);
    if (it != translated.constEnd())
        return *it;
    const QString sql = jetToSqlite(selectOnly(
        jetSql, QStringLiteral("KNIHY"),
        {QStringLiteral("ID_KNIHY_KNIHY"), QStringLiteral("ID_KATEGORIE_KNIHY"), QStringLiteral("KOD"),
         QStringLiteral("NAZEV"), QStringLiteral("AUTOR"), QStringLiteral("CENA")}));
    if (translated.size() >= 32)
        translated.clear();
    translated.insert(jetSql, sql);
    return sql;
}

} // namespace

ReportResult runReport(const QString &jetSql)
{
    ReportResult result;
    if (jetSql.isEmpty())
        return result;
    try {
        // Stepped on the engine directly: a report of the whole catalogue reads 100,000 rows, and
        // only six of their columns.
        PooledQuery pooled(reportStatement(jetSql));
        DirectQuery &books = pooled.query();
        const int iId = books.column("ID_KNIHY_KNIHY");
        const int iCategory = books.column("ID_KATEGORIE_KNIHY");
        const int iCode = books.column("KOD");
        const int iTitle = books.column("NAZEV");
        const int iAuthor = books.column("AUTOR");
        const int iPrice = books.column("CENA");
        if (iId < 0 || iCategory < 0 || iCode < 0 || iTitle < 0 || iAuthor < 0 || iPrice < 0)
            throw DbError(QStringLiteral("the report statement does not return KNIHY rows"));
        CategoryNames categories;
        SharedTexts authors;
        double total = 0;
        while (books.next()) {
            ReportRow row;
            if (!categories.find(qint32(books.integer(iCategory)), &row.category)) {
                result = ReportResult{};
                result.message = 94;
                return result;
            }
            row.code = books.text(iCode);
            row.title = books.text(iTitle);
            row.author = authors.text(books, iAuthor);
            row.price = float(books.real(iPrice));
            row.bookId = qint32(books.integer(iId));
            total += double(row.price);
            result.rows.append(std::move(row));
        }
        // Every row went to the top of the list: the list shows the statement's order reversed.
        std::reverse(result.rows.begin(), result.rows.end());
        result.total = total;
        result.summary = result.rows.isEmpty() ? QString::fromUtf8(ReportEmptyText)
                                               : reportSummary(int(result.rows.size()), total);
    } catch (const DbError &e) {
        logDbError(e);
        result = ReportResult{};
        result.message = 34;
    } catch (const std::bad_alloc &) {
        result = ReportResult{};
        result.message = 49;
    }
    return result;
}

QString reportPriceText(float price)
{
    return QString::asprintf("%.2f", double(price));
}

QString reportCellText(const ReportRow &row, int column)
{
    switch (column) {
    case 0:
        return row.code;
    case 1:
        return row.title;
    case 2:
        return row.author;
    case 3:
        return row.category;
    case 4:
        return reportPriceText(row.price);
    default:
        return QString();
    }
}
