#pragma once

#include <QDate>
#include <QFont>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

class QPagedPaintDevice;
class QPaintDevice;
class QPainter;
class QSizeF;

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

// How the table's columns come out on the device: their widths, the font of the rows, and the
// blank left on each side of a cell's text.
struct PrintedColumns
{
    QList<double> widths;
    QFont font;
    double padding = 0;
};

// Asked before each page is painted, with the page (from 1) and the number of pages; answering
// false stops the job before that page.
using PageProgress = std::function<bool(int page, int pages)>;

// The document laid out on the pages of one device: every row goes on the current page while it
// fits above the footer, otherwise a new page starts, so the number of pages is known before the
// first one is painted. Any page can then be painted on its own, in the device's units, which is
// what lets the preview paint only the pages it shows.
class PrintedPages final
{
public:
    PrintedPages(const QPaintDevice *device, const PrintedTable &doc);
    ~PrintedPages();
    int pages() const;
    QSizeF pageSize() const;                           // in the device's units
    void paintPage(QPainter &painter, int page) const; // page from 0
    PrintedColumns columns() const;

private:
    Q_DISABLE_COPY_MOVE(PrintedPages)
    class Layout;
    std::unique_ptr<Layout> m_layout;
};

// Only the page count of the layout.
int countPrintedPages(const QPaintDevice *device, const PrintedTable &doc);

// What a print job came to.
struct PrintOutcome
{
    int pages = 0;          // pages of the layout
    bool cancelled = false; // progress answered false
    bool finished = false;  // every page painted and the painter closed without an error
};

// Lays the document out on the device's pages and paints them, one by one, asking progress before
// each; a device that cannot be painted on gives an outcome that is not finished.
PrintOutcome printTable(QPagedPaintDevice *device, const PrintedTable &doc,
                        const PageProgress &progress = {});

// Called after each document of a series with the number done; answering false stops the printing
// (the pages already painted stay on the device).
using PrintProgress = std::function<bool(int done, int total)>;
// Paints a series of documents (letters) on the device, each starting on a new page with its own
// page counter. Returns the number of pages painted; cancelled is set when progress stopped it.
int printTables(QPagedPaintDevice *device, const QList<PrintedTable> &docs,
                const PrintProgress &progress = {}, bool *cancelled = nullptr);
PrintedColumns printedColumns(const QPaintDevice *device, const PrintedTable &doc);
double printedCellPadding(const QPaintDevice *device);
