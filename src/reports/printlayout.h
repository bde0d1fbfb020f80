#pragma once

#include <QDate>
#include <QFont>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class QPagedPaintDevice;

// A printed document made of a title, a few "label: value" lines, a table whose column headers
// repeat on every page, some closing lines, and on every page the program's footer with the page
// counter. Reports and both protocols are printed through it, on a printer, in the preview or
// into a PDF file.
struct PrintedTable
{
    struct Column
    {
        QString header;
        int weight = 1; // share of the table's width
        bool alignRight = false;
        // The longest value the column normally holds: the column is never narrower than it (nor
        // than its header), so that such a value stays on one line.
        QString sample = {};
    };

    QString title;
    QList<QPair<QString, QString>> headerLines; // label, value (a value may hold several lines)
    QString labelTemplate;                      // the label column is as wide as this text
    QStringList introParagraphs; // left-aligned, wrapped text between the header lines and the table
    QList<Column> columns;
    QList<QStringList> rows;
    QStringList closingLines;      // after the table, centred (the summary line of a report)
    QStringList closingParagraphs; // after the table, left-aligned and wrapped (a letter's closing)
    QString signatureLabel;        // a signature line after the table when not empty
    QDate printedOn;               // the date in the footer
};

// The footer's left part: "Zpracováno programem FOLIVO 2.0 dne 15.03.2026" and its blanks.
QString printFooterText(const QDate &date);
QString printPageCounterText(int page, int pages);

// Lays the document out on the device's pages and paints it. Every row goes on the current page
// while it fits above the footer, otherwise a new page starts, so the number of pages is known
// before the first one is painted. Returns the number of pages (0 when the device cannot be
// painted on).
int printTable(QPagedPaintDevice *device, const PrintedTable &doc);
// Only the page count of the layout.
int countPrintedPages(QPagedPaintDevice *device, const PrintedTable &doc);
// How the table's columns come out on the device: their widths, the font of the rows, and the
// blank left on each side of a cell's text.
struct PrintedColumns
{
    QList<double> widths;
    QFont font;
    double padding = 0;
};
PrintedColumns printedColumns(QPagedPaintDevice *device, const PrintedTable &doc);
double printedCellPadding(QPagedPaintDevice *device);

// Called after each document of a series with the number done; answering false stops the printing
// (the pages already painted stay on the device).
using PrintProgress = std::function<bool(int done, int total)>;
// Paints a series of documents (letters) on the device, each starting on a new page with its own
// page counter. Returns the number of pages painted; cancelled is set when progress stopped it.
int printTables(QPagedPaintDevice *device, const QList<PrintedTable> &docs,
                const PrintProgress &progress = {}, bool *cancelled = nullptr);
