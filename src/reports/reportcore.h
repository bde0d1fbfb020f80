#pragma once

#include "data/categories.h"
#include "data/dates.h"
#include "data/labels.h"

#include <QList>
#include <QString>

// One listed book of a report.
struct ReportRow
{
    QString code;     // KNIHY.KOD
    QString title;    // KNIHY.NAZEV
    QString category; // KATEGORIE.NAZEV of the book's category
    QString author;   // KNIHY.AUTOR
    float price = 0;  // KNIHY.CENA
    qint32 bookId = -1;
};
// Made of relocatable members: a list of 100,000 rows grows by reallocating its block instead
// of moving every row one by one.
Q_DECLARE_TYPEINFO(ReportRow, Q_RELOCATABLE_TYPE);

// The report kinds; 0 is sent when the report view is left, -1 means nothing shown yet.
namespace ReportKind {
enum : int
{
    None = -1,
    Left = 0,
    ClientLoans = 1,
    Category = 2,
    ClientHistory = 3,
    Overdue = 4,
    Lent = 5,
    Discarded = 6,
    Present = 7,
    PresentAndLent = 8,
    ClientOverdue = 9
};
}

// What a report command hands the frame: the statement, the title line and the kind.
struct ReportQuery
{
    QString sql;
    QString title;
    int kind = ReportKind::None;
};

// The four reports without parameters (kinds 7, 5, 8, 6); any other kind gives an empty query.
ReportQuery fixedReport(int kind);
ReportQuery categoryReport(qint32 categoryId, const QString &categoryName);
// dateShown is the date as the user typed it, in the display form.
ReportQuery overdueReport(DateNumber day, const QString &dateShown);
ReportQuery clientLoansReport(qint32 clientId, const QString &clientLabel);
ReportQuery clientHistoryReport(qint32 clientId, const QString &clientLabel);
ReportQuery clientOverdueReport(qint32 clientId, const QString &prijmeni, const QString &jmeno,
                                DateNumber day, const QString &dateShown);

// The client of the report dialogs, found by the code the user typed.
struct ReportClient
{
    qint32 id = -1;
    QString code; // as stored
    QString jmeno;
    QString prijmeni;
};
// Trims the code and looks the client up. Returns 0 and fills out, or the catalogue message:
// 119 forbidden characters, 15 no such client, 13 database failure.
int findReportClient(const QString &typedCode, ReportClient *out);

// The shown categories of the category report's list (KATEGORIE.UKAZOVAT), in the table's order.
// A category as the dialog of the category report offers it.
using ReportCategory = CategoryItem;
// Returns 0, or 4 when the database failed.
int listShownCategories(QList<ReportCategory> *out);

// The rows of one report run, in the order the list shows them.
struct ReportResult
{
    int message = 0; // 0, or the catalogue message that stopped the run (94, 49, 34)
    QList<ReportRow> rows;
    double total = 0;
    QString summary; // empty after a failure
};

inline constexpr const char *ReportEmptyText = "Nebyla nalezena žádná odpovídající kniha";
QString reportSummary(int count, double total);

// Runs a report statement on KNIHY. Each book's category is looked up (once per category and
// run); a book whose category row is missing stops the whole report with message 94. Rows come
// out in the reverse of the statement's order, so a statement ordered by KOD DESC lists the
// codes ascending. Prices are single precision and are summed in double.
ReportResult runReport(const QString &jetSql);

// The texts of one list row: code, title, author, category, price "%.2f".
QString reportCellText(const ReportRow &row, int column);
QString reportPriceText(float price);
