#include "reports/statisticscore.h"

#include "catalogue/bookcore.h"
#include "data/database.h"
#include "data/directquery.h"
#include "reports/readguard.h"

#include <algorithm>
#include <numeric>

namespace {

// A statement of the year, bound to its first and last day.
class YearQuery final
{
public:
    YearQuery(const char *sql, DateNumber first, DateNumber last) : m_query(QString::fromLatin1(sql))
    {
        m_query.bind(1, first);
        m_query.bind(2, last);
    }
    DirectQuery &operator*() { return m_query; }
    DirectQuery *operator->() { return &m_query; }

private:
    DirectQuery m_query;
};

void countByMonth(const char *sql, DateNumber first, DateNumber last, std::array<int, 12> *months)
{
    YearQuery q(sql, first, last);
    while (q->next()) {
        const qint64 month = q->integer(0);
        if (month >= 1 && month <= 12)
            (*months)[size_t(month - 1)] += int(q->integer(1));
    }
}

// Equal loan counts are ordered by code (book) or name (category) in Czech order; the codes and
// names are unique, the identifier only settles a broken library.
template <typename T>
bool moreLoans(const T &a, const T &b, const QString &ka, const QString &kb, qint32 ia, qint32 ib)
{
    if (a.loans != b.loans)
        return a.loans > b.loans;
    if (const int c = czechCompare(ka, kb, Qt::CaseInsensitive))
        return c < 0;
    if (ka != kb)
        return ka < kb;
    return ia < ib;
}

void readTopBooks(DateNumber first, DateNumber last, QList<StatisticsBook> *out)
{
    // Books come most lent first; every book tied with the twentieth is read, so that the Czech
    // order of codes decides among them, and the rest is never stepped.
    YearQuery counts(StatisticsSql::BookLoans, first, last);
    while (counts->next()) {
        const int loans = int(counts->integer(1));
        if (out->size() >= StatisticsTopBooks && loans < out->at(StatisticsTopBooks - 1).loans)
            break;
        StatisticsBook book;
        book.bookId = qint32(counts->integer(0));
        book.loans = loans;
        out->append(book);
    }
    DirectQuery knihy(QString::fromLatin1(StatisticsSql::Book));
    for (StatisticsBook &book : *out) {
        knihy.bind(1, book.bookId);
        if (!knihy.next())
            throw MissingRow{};
        book.code = knihy.text(0);
        book.title = knihy.text(1);
        book.author = knihy.text(2);
        knihy.reset();
    }
    std::sort(out->begin(), out->end(), [](const StatisticsBook &a, const StatisticsBook &b) {
        return moreLoans(a, b, a.code, b.code, a.bookId, b.bookId);
    });
    if (out->size() > StatisticsTopBooks)
        out->resize(StatisticsTopBooks);
}

void readCategories(DateNumber first, DateNumber last, QList<StatisticsCategory> *out)
{
    YearQuery counts(StatisticsSql::CategoryLoans, first, last);
    while (counts->next())
        out->append({qint32(counts->integer(0)), QString(), int(counts->integer(1))});
    DirectQuery kategorie(QString::fromLatin1(StatisticsSql::Category));
    for (StatisticsCategory &category : *out) {
        kategorie.bind(1, category.categoryId);
        if (!kategorie.next())
            throw MissingRow{};
        category.name = kategorie.text(0);
        kategorie.reset();
    }
    std::sort(out->begin(), out->end(), [](const StatisticsCategory &a, const StatisticsCategory &b) {
        return moreLoans(a, b, a.name, b.name, a.categoryId, b.categoryId);
    });
}

void readStatistics(int year, AnnualStatistics *s)
{
    const DateNumber first = year * 10000 + 101;
    const DateNumber last = year * 10000 + 1231;
    s->year = year;
    {
        YearQuery q(StatisticsSql::Acquired, first, last);
        q->next();
        s->acquired = int(q->integer(0));
        s->acquiredPrice = q->real(1);
    }
    auto single = [&](const char *sql) {
        YearQuery q(sql, first, last);
        return q->next() ? int(q->integer(0)) : 0;
    };
    s->discarded = single(StatisticsSql::Discarded);
    s->holdings = single(StatisticsSql::Holdings);
    countByMonth(StatisticsSql::LoansByMonth, first, last, &s->loansByMonth);
    countByMonth(StatisticsSql::ReturnsByMonth, first, last, &s->returnsByMonth);
    s->activeClients = single(StatisticsSql::ActiveClients);
    s->newClients = single(StatisticsSql::NewClients);
    {
        YearQuery q(StatisticsSql::LentAtEnd, first, last);
        q->next();
        s->lentAtEnd = int(q->integer(0));
        s->overdueAtEnd = int(q->integer(1));
    }
    readTopBooks(first, last, &s->topBooks);
    readCategories(first, last, &s->categories);
}

QString priceText(double price)
{
    return QString::asprintf("%.2f Kč", price);
}

QString escaped(const QString &text)
{
    return text.toHtmlEscaped();
}

QString csvField(const QString &text)
{
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString csvLine(const QStringList &fields)
{
    QStringList out;
    for (const QString &f : fields)
        out << csvField(f);
    return out.join(QLatin1Char(';')) + QLatin1Char('\n');
}

} // namespace

int AnnualStatistics::loans() const
{
    return std::accumulate(loansByMonth.cbegin(), loansByMonth.cend(), 0);
}

int AnnualStatistics::returns() const
{
    return std::accumulate(returnsByMonth.cbegin(), returnsByMonth.cend(), 0);
}

int computeAnnualStatistics(int year, AnnualStatistics *out)
{
    *out = AnnualStatistics{};
    return guardedRead([&] { readStatistics(year, out); }, [&] { *out = AnnualStatistics{}; });
}

QString statisticsTitle(int year)
{
    return QStringLiteral("Roční statistika %1").arg(year);
}

QString monthName(int month)
{
    static const char *const names[] = {"leden",    "únor",  "březen", "duben", "květen",   "červen",
                                        "červenec", "srpen", "září",   "říjen", "listopad", "prosinec"};
    return month >= 1 && month <= 12 ? QString::fromUtf8(names[month - 1]) : QString();
}

QList<QPair<QString, QString>> statisticsFigures(const AnnualStatistics &s)
{
    const QString yearEnd = QStringLiteral("31. 12. %1").arg(s.year);
    return {
        {QStringLiteral("Knihy pořízené v roce %1").arg(s.year), QString::number(s.acquired)},
        {QStringLiteral("Cena pořízených knih"), priceText(s.acquiredPrice)},
        {QStringLiteral("Knihy vyřazené v roce %1").arg(s.year), QString::number(s.discarded)},
        {QStringLiteral("Knihovní fond ke dni %1").arg(yearEnd), QString::number(s.holdings)},
        {QStringLiteral("Výpůjčky (vypůjčené knihy)"), QString::number(s.loans())},
        {QStringLiteral("Vrácené knihy"), QString::number(s.returns())},
        {QStringLiteral("Klienti s výpůjčkou v roce %1").arg(s.year), QString::number(s.activeClients)},
        {QStringLiteral("Klienti s první výpůjčkou v roce %1").arg(s.year), QString::number(s.newClients)},
        {QStringLiteral("Knihy vypůjčené ke dni %1").arg(yearEnd), QString::number(s.lentAtEnd)},
        {QStringLiteral("z toho po lhůtě vrácení"), QString::number(s.overdueAtEnd)},
    };
}

QString statisticsHtml(const AnnualStatistics &s, const QString &library, const QString &chartImage)
{
    const QString title = statisticsTitle(s.year);
    QString html = QStringLiteral("<!DOCTYPE html>\n<html lang=\"cs\">\n<head>\n<meta charset=\"utf-8\">\n"
                                  "<title>%1</title>\n<style>\n"
                                  "table { border-collapse: collapse; margin-bottom: 1.5em; }\n"
                                  "td, th { padding: 2px 6px; text-align: left; }\n"
                                  "</style>\n</head>\n<body>\n<h2>%1</h2>\n")
                       .arg(escaped(title));
    if (!library.isEmpty())
        html += QStringLiteral("<p>") + escaped(library) + QStringLiteral("</p>\n");
    html += QStringLiteral("<table border=\"1\" cellspacing=\"0\" cellpadding=\"3\">\n");
    for (const auto &[label, value] : statisticsFigures(s))
        html += QStringLiteral("<tr><td>%1</td><td align=\"right\">%2</td></tr>\n")
                    .arg(escaped(label), escaped(value));
    html += QStringLiteral("</table>\n<h3>Výpůjčky a vrácení po měsících</h3>\n");
    if (!chartImage.isEmpty())
        html +=
            QStringLiteral("<p><img src=\"%1\" alt=\"Výpůjčky po měsících\"></p>\n").arg(escaped(chartImage));
    html += QStringLiteral("<table border=\"1\" cellspacing=\"0\" "
                           "cellpadding=\"3\">\n<tr><th>Měsíc</th><th>Výpůjčky</th><th>Vrácení</th></tr>\n");
    for (int m = 0; m < 12; ++m)
        html += QStringLiteral("<tr><td>%1</td><td align=\"right\">%2</td><td align=\"right\">%3</td></tr>\n")
                    .arg(monthName(m + 1))
                    .arg(s.loansByMonth[size_t(m)])
                    .arg(s.returnsByMonth[size_t(m)]);
    html += QStringLiteral(
                "<tr><th>celkem</th><th align=\"right\">%1</th><th align=\"right\">%2</th></tr>\n</table>\n")
                .arg(s.loans())
                .arg(s.returns());
    html += QStringLiteral(
        "<h3>Nejčastěji půjčované knihy</h3>\n<table border=\"1\" cellspacing=\"0\" cellpadding=\"3\">\n"
        "<tr><th>Pořadí</th><th>Kód</th><th>Název</th><th>Autor</th><th>Výpůjčky</th></tr>\n");
    for (int i = 0; i < s.topBooks.size(); ++i) {
        const StatisticsBook &b = s.topBooks.at(i);
        html += QStringLiteral(
                    "<tr><td align=\"right\">%1.</td><td>%2</td><td>%3</td><td>%4</td><td align=\"right\">"
                    "%5</td></tr>\n")
                    .arg(QString::number(i + 1), escaped(b.code), escaped(b.title), escaped(b.author),
                         QString::number(b.loans));
    }
    html += QStringLiteral("</table>\n<h3>Výpůjčky podle kategorií</h3>\n<table border=\"1\" "
                           "cellspacing=\"0\" cellpadding=\"3\">\n"
                           "<tr><th>Kategorie</th><th>Výpůjčky</th></tr>\n");
    for (const StatisticsCategory &c : s.categories)
        html += QStringLiteral("<tr><td>%1</td><td align=\"right\">%2</td></tr>\n")
                    .arg(escaped(c.name), QString::number(c.loans));
    return html + QStringLiteral("</table>\n</body>\n</html>\n");
}

QString statisticsCsv(const AnnualStatistics &s)
{
    QString csv = csvLine({statisticsTitle(s.year), QString()});
    for (const auto &[label, value] : statisticsFigures(s))
        csv += csvLine({label, value});
    csv += QLatin1Char('\n') +
           csvLine({QStringLiteral("Měsíc"), QStringLiteral("Výpůjčky"), QStringLiteral("Vrácení")});
    for (int m = 0; m < 12; ++m)
        csv += csvLine({monthName(m + 1), QString::number(s.loansByMonth[size_t(m)]),
                        QString::number(s.returnsByMonth[size_t(m)])});
    csv +=
        QLatin1Char('\n') + csvLine({QStringLiteral("Pořadí"), QStringLiteral("Kód"), QStringLiteral("Název"),
                                     QStringLiteral("Autor"), QStringLiteral("Výpůjčky")});
    for (int i = 0; i < s.topBooks.size(); ++i) {
        const StatisticsBook &b = s.topBooks.at(i);
        csv += csvLine({QString::number(i + 1), b.code, b.title, b.author, QString::number(b.loans)});
    }
    csv += QLatin1Char('\n') + csvLine({QStringLiteral("Kategorie"), QStringLiteral("Výpůjčky")});
    for (const StatisticsCategory &c : s.categories)
        csv += csvLine({c.name, QString::number(c.loans)});
    return csv;
}
