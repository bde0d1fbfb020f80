#pragma once

#include "data/dates.h"

#include <QList>
#include <QString>

#include <array>

// The library's annual statistics ("Roční statistika"): every figure of one calendar year computed
// from KNIHY, VYPUJCKY, VRACENI, LIDE and KATEGORIE as they stand. The rule of each figure is the
// comment at its member and, in the same words, the help topic of the statistics.

struct StatisticsBook
{
    qint32 bookId = -1;
    QString code;
    QString title;
    QString author;
    int loans = 0;
};

struct StatisticsCategory
{
    qint32 categoryId = -1;
    QString name;
    int loans = 0;
};

struct AnnualStatistics
{
    int year = 0;
    // KNIHY rows whose DATUM_PORIZENI lies in the year, discarded ones included, and the sum of
    // their CENA.
    int acquired = 0;
    double acquiredPrice = 0;
    // KNIHY rows with VYRAZENO whose DATUM_VYRAZENI lies in the year (an undone discard is no
    // discard).
    int discarded = 0;
    // KNIHY rows acquired on or before 31 December (DATUM_PORIZENI <= 31.12.) and not discarded
    // on or before it.
    int holdings = 0;
    // VYPUJCKY rows (one per book lent) whose DATUM_PUJCKY lies in the year, by its month.
    std::array<int, 12> loansByMonth{};
    // VRACENI rows (one per book returned) whose DATUM_VRACENI lies in the year, by its month.
    std::array<int, 12> returnsByMonth{};
    // Distinct clients of the loan rows of the year, removed clients included.
    int activeClients = 0;
    // Clients whose earliest loan row of all (MIN(DATUM_PUJCKY)) lies in the year.
    int newClients = 0;
    // VYPUJCKY rows lent on or before 31 December and not returned on or before it (VRACENO false,
    // or DATUM_VRACENI after 31 December): the books out on loan when the year ended ...
    int lentAtEnd = 0;
    // ... and those of them whose loan has a limit (OMEZOVAT) with DATUM_MAX on or before
    // 31 December: overdue once the year was over.
    int overdueAtEnd = 0;
    // The books with the most loan rows of the year, at most twenty: more loans first, equal
    // counts by code in Czech order.
    QList<StatisticsBook> topBooks;
    // The loan rows of the year by the category the book is in now, categories without a loan in
    // the year left out: more loans first, equal counts by name in Czech order.
    QList<StatisticsCategory> categories;

    int loans() const;
    int returns() const;
};

// The statements of the figures (SQLite's dialect, run on the engine directly).
namespace StatisticsSql {
// ?1 is 1 January of the year, ?2 31 December, both as date numbers.
inline constexpr const char *Acquired =
    "SELECT COUNT(*), TOTAL(CENA) FROM KNIHY WHERE DATUM_PORIZENI BETWEEN ?1 AND ?2";
inline constexpr const char *Discarded =
    "SELECT COUNT(*) FROM KNIHY WHERE VYRAZENO AND DATUM_VYRAZENI BETWEEN ?1 AND ?2";
inline constexpr const char *Holdings =
    "SELECT COUNT(*) FROM KNIHY WHERE DATUM_PORIZENI <= ?2 AND NOT (VYRAZENO AND DATUM_VYRAZENI <= ?2)";
inline constexpr const char *LoansByMonth = "SELECT DATUM_PUJCKY / 100 % 100, COUNT(*) FROM VYPUJCKY "
                                            "WHERE DATUM_PUJCKY BETWEEN ?1 AND ?2 GROUP BY 1";
inline constexpr const char *ReturnsByMonth = "SELECT DATUM_VRACENI / 100 % 100, COUNT(*) FROM VRACENI "
                                              "WHERE DATUM_VRACENI BETWEEN ?1 AND ?2 GROUP BY 1";
inline constexpr const char *ActiveClients =
    "SELECT COUNT(DISTINCT ID_LIDE_VYPUJCKY) FROM VYPUJCKY WHERE DATUM_PUJCKY BETWEEN ?1 AND ?2";
// First loan in the year: a loan in the year and none before it, which reads only the year's
// clients instead of grouping every loan row.
inline constexpr const char *NewClients =
    "SELECT COUNT(*) FROM (SELECT DISTINCT ID_LIDE_VYPUJCKY AS C FROM VYPUJCKY WHERE DATUM_PUJCKY BETWEEN ?1 "
    "AND ?2) WHERE NOT EXISTS (SELECT 1 FROM VYPUJCKY W WHERE W.ID_LIDE_VYPUJCKY = C AND W.DATUM_PUJCKY < "
    "?1)";
inline constexpr const char *LentAtEnd = "SELECT COUNT(*), TOTAL(OMEZOVAT AND DATUM_MAX <= ?2) FROM VYPUJCKY "
                                         "WHERE DATUM_PUJCKY <= ?2 AND (NOT VRACENO OR DATUM_VRACENI > ?2)";
inline constexpr const char *BookLoans =
    "SELECT ID_KNIHY_VYPUJCKY, COUNT(*) AS N FROM VYPUJCKY "
    "WHERE DATUM_PUJCKY BETWEEN ?1 AND ?2 GROUP BY ID_KNIHY_VYPUJCKY ORDER BY N DESC";
inline constexpr const char *Book = "SELECT KOD, NAZEV, AUTOR FROM KNIHY WHERE ID_KNIHY_KNIHY = ?1";
inline constexpr const char *CategoryLoans =
    "SELECT K.ID_KATEGORIE_KNIHY, COUNT(*) FROM VYPUJCKY V JOIN KNIHY K ON K.ID_KNIHY_KNIHY = "
    "V.ID_KNIHY_VYPUJCKY WHERE V.DATUM_PUJCKY BETWEEN ?1 AND ?2 GROUP BY K.ID_KATEGORIE_KNIHY";
inline constexpr const char *Category = "SELECT NAZEV FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE = ?1";
} // namespace StatisticsSql

inline constexpr int StatisticsTopBooks = 20;
inline constexpr int StatisticsFirstYear = 1;
inline constexpr int StatisticsLastYear = 9999;

// Returns 0, 108 when a counted loan row's book or a book's category is missing, 109 when the
// database failed, 49 out of memory; out is reset after a failure.
int computeAnnualStatistics(int year, AnnualStatistics *out);

// "Roční statistika 2025"
QString statisticsTitle(int year);
// The Czech name of a month, 1 to 12 ("leden" ...).
QString monthName(int month);

// The figures as label and value, in the order every output shows them.
QList<QPair<QString, QString>> statisticsFigures(const AnnualStatistics &s);

// A UTF-8 HTML page of the whole statistics (figures, months, the twenty books, the categories),
// texts escaped. chartImage, when not empty, is put in as the chart of loans by month.
QString statisticsHtml(const AnnualStatistics &s, const QString &library, const QString &chartImage = {});
// The same as CSV (UTF-8, semicolons, every text quoted): one section per table, separated by an
// empty line, each with a header line.
QString statisticsCsv(const AnnualStatistics &s);
