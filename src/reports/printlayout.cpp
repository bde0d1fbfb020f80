#include "reports/printlayout.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPagedPaintDevice>
#include <QPainter>

#include <array>
#include <numeric>

QString printFooterText(const QDate &date)
{
    return QString::asprintf("Zpracováno programem FOLIVO 2.0 dne %02d.%02d.%d             ", date.day(),
                             date.month(), date.year());
}

QString printPageCounterText(int page, int pages)
{
    return QString::asprintf("strana %d / %d", page, pages);
}

namespace {

// Sizes in points; the fonts are sized in the layout device's pixels, so that a page paints the
// same on the printer, into a PDF file and scaled into the preview.
constexpr double TitlePt = 15;
constexpr double BodyPt = 10;
constexpr double MinBodyPt = 7;
constexpr double FooterPt = 8;

// Advances of the characters of one font, for a quick answer whether a cell's text fits on one
// line. Measuring every cell exactly costs a text layout each; a report of 100,000 books would
// spend seconds on it before its first page.
class AdvanceTable
{
public:
    AdvanceTable(const QFont &font, const QPaintDevice *device) : m_metrics(font, device)
    {
        m_advances.fill(-1);
    }
    // The width of the text as the sum of its characters; negative when a character is outside
    // the table or breaks the line.
    double estimate(const QString &text)
    {
        double w = 0;
        for (const QChar c : text) {
            const char16_t u = c.unicode();
            if (u >= m_advances.size() || u < 0x20)
                return -1;
            double &a = m_advances[u];
            if (a < 0)
                a = m_metrics.horizontalAdvance(c);
            w += a;
        }
        return w;
    }

private:
    QFontMetricsF m_metrics;
    std::array<double, 0x300> m_advances; // Latin letters with the Czech accents and the common signs
};

} // namespace

class PrintedPages::Layout
{
public:
    Layout(const QPaintDevice *device, const PrintedTable &doc) : m_device(device), m_doc(doc)
    {
        m_dpi = device->logicalDpiY();
        m_titleFont = font(TitlePt, true);
        m_footerFont = font(FooterPt, false);
        m_page = QRectF(0, 0, device->width(), device->height());
        m_pad = printedCellPadding(device);
        // A table whose codes and dates need more than the page's width is set in a smaller
        // font, so that those values keep to one line.
        for (double pt = BodyPt;; pt -= 0.5) {
            m_bodyFont = font(pt, false);
            m_headFont = font(pt, true);
            const QList<double> least = leastWidths();
            if (pt <= MinBodyPt || std::accumulate(least.cbegin(), least.cend(), 0.0) <= m_page.width())
                break;
        }
        m_line = QFontMetricsF(m_bodyFont, device).height();
        m_footerHeight = QFontMetricsF(m_footerFont, device).height() + mm(4);
        m_bodyBottom = m_page.bottom() - m_footerHeight;
        m_columnW = columnWidths();
        double x = m_page.left();
        for (double w : std::as_const(m_columnW)) {
            m_columnX << x;
            x += w;
        }
        paginate();
    }

    int pages() const { return int(m_pageStarts.size()); }
    const QList<double> &widths() const { return m_columnW; }
    const QFont &bodyFont() const { return m_bodyFont; }
    double padding() const { return m_pad; }
    QSizeF pageSize() const { return m_page.size(); }

    void paintPage(QPainter &p, int page) const
    {
        if (page < 0 || page >= pages())
            return;
        double y = page == 0 ? paintHead(p) : m_page.top();
        y = paintColumnHeaders(p, y);
        const int end = page + 1 < pages() ? m_pageStarts.at(page + 1) : int(m_doc.rows.size());
        for (int r = m_pageStarts.at(page); r < end; ++r)
            y = paintRow(p, r, y);
        if (page + 1 == pages())
            paintClosing(p, y);
        paintFooter(p, page + 1);
    }

private:
    double mm(double v) const { return v * m_dpi / 25.4; }

    QFont font(double pt, bool bold) const
    {
        QFont f(QStringLiteral("DejaVu Sans"));
        f.setStyleHint(QFont::SansSerif);
        f.setPixelSize(std::max(1, qRound(pt * m_dpi / 72.0)));
        f.setBold(bold);
        return f;
    }

    // Each column takes its share of the page by weight, but never less than its header and its
    // sample value need; what those columns take beyond their share comes out of the others'.
    QList<double> leastWidths() const
    {
        const QFontMetricsF body(m_bodyFont, m_device);
        const QFontMetricsF head(m_headFont, m_device);
        QList<double> least;
        for (const PrintedTable::Column &c : m_doc.columns)
            least << std::max(head.horizontalAdvance(c.header), body.horizontalAdvance(c.sample)) +
                         2 * m_pad + 1;
        return least;
    }

    QList<double> columnWidths() const
    {
        const QList<double> least = leastWidths();
        QList<bool> fixed(least.size(), false);
        QList<double> widths(least.size(), 0.0);
        for (bool changed = true; changed;) {
            changed = false;
            double room = m_page.width();
            int weights = 0;
            for (int c = 0; c < least.size(); ++c) {
                if (fixed.at(c))
                    room -= least.at(c);
                else
                    weights += m_doc.columns.at(c).weight;
            }
            for (int c = 0; c < least.size(); ++c) {
                widths[c] = fixed.at(c)   ? least.at(c)
                            : weights > 0 ? std::max(0.0, room) * m_doc.columns.at(c).weight / weights
                                          : 0.0;
                if (!fixed.at(c) && widths.at(c) < least.at(c)) {
                    fixed[c] = true;
                    changed = true;
                }
            }
        }
        return widths;
    }

    static int lineCount(const QString &text) { return int(text.count(QLatin1Char('\n'))) + 1; }

    double paragraphHeight(const QString &text) const
    {
        return QFontMetricsF(m_bodyFont, m_device)
            .boundingRect(QRectF(0, 0, m_page.width(), 1e6), Qt::TextWordWrap, text)
            .height();
    }

    double paragraphsHeight(const QStringList &paragraphs) const
    {
        double h = 0;
        for (const QString &text : paragraphs)
            h += paragraphHeight(text) + mm(2.5);
        return h;
    }

    double headHeight() const
    {
        double h = QFontMetricsF(m_titleFont, m_device).height() + mm(5);
        for (const auto &line : m_doc.headerLines)
            h += lineCount(line.second) * m_line + mm(0.8);
        return h + mm(4) + paragraphsHeight(m_doc.introParagraphs);
    }

    double cellHeight(const QString &text, int column, const QFont &f) const
    {
        const QRectF r = QFontMetricsF(f, m_device)
                             .boundingRect(QRectF(0, 0, std::max(1.0, m_columnW.at(column) - 2 * m_pad), 1e6),
                                           Qt::TextWordWrap, text);
        return r.height();
    }

    double rowHeight(const QStringList &cells, const QFont &f) const
    {
        double h = m_line;
        for (int c = 0; c < m_columnW.size() && c < cells.size(); ++c)
            h = std::max(h, cellHeight(cells.at(c), c, f));
        return h + 2 * m_pad;
    }

    // A body row: cells that clearly fit on one line are one line high without measuring them.
    double bodyRowHeight(const QStringList &cells, AdvanceTable &advances, double oneLine) const
    {
        double h = m_line;
        for (int c = 0; c < m_columnW.size() && c < cells.size(); ++c) {
            const double w = advances.estimate(cells.at(c));
            const double room = m_columnW.at(c) - 2 * m_pad;
            h = std::max(h, w >= 0 && w < room * 0.95 ? oneLine : cellHeight(cells.at(c), c, m_bodyFont));
        }
        return h + 2 * m_pad;
    }

    double columnHeaderHeight() const
    {
        QStringList headers;
        for (const PrintedTable::Column &c : m_doc.columns)
            headers << c.header;
        return rowHeight(headers, m_headFont);
    }

    double closingHeight() const
    {
        double h = mm(4) + double(m_doc.closingLines.size()) * (m_line + mm(1)) +
                   paragraphsHeight(m_doc.closingParagraphs);
        if (!m_doc.signatureLabel.isEmpty())
            h += mm(14) + m_line;
        return h;
    }

    void paginate()
    {
        m_pageStarts = {0};
        m_rowHeights.clear();
        m_rowHeights.reserve(m_doc.rows.size());
        m_columnHeaderHeight = columnHeaderHeight();
        AdvanceTable advances(m_bodyFont, m_device);
        const double oneLine =
            QFontMetricsF(m_bodyFont, m_device)
                .boundingRect(QRectF(0, 0, 1e6, 1e6), Qt::TextWordWrap, QStringLiteral("X"))
                .height();
        double y = m_page.top() + headHeight() + m_columnHeaderHeight;
        for (int r = 0; r < m_doc.rows.size(); ++r) {
            const double h = bodyRowHeight(m_doc.rows.at(r), advances, oneLine);
            m_rowHeights << h;
            // A page takes at least one row, even one taller than the page.
            if (y + h > m_bodyBottom && r > m_pageStarts.last()) {
                m_pageStarts << r;
                y = m_page.top() + m_columnHeaderHeight;
            }
            y += h;
        }
        if (y + closingHeight() > m_bodyBottom && !m_doc.rows.isEmpty())
            m_pageStarts << int(m_doc.rows.size()); // the closing lines go on a page of their own
    }

    double paintHead(QPainter &p) const
    {
        double y = m_page.top();
        p.setFont(m_titleFont);
        const double th = QFontMetricsF(m_titleFont, m_device).height();
        p.drawText(QRectF(m_page.left(), y, m_page.width(), th), Qt::AlignHCenter | Qt::AlignVCenter,
                   m_doc.title);
        y += th + mm(5);
        p.setFont(m_bodyFont);
        const QFontMetricsF fm(m_bodyFont, m_device);
        const double labelW = fm.horizontalAdvance(m_doc.labelTemplate) + mm(2);
        for (const auto &[label, value] : m_doc.headerLines) {
            p.setFont(m_headFont);
            p.drawText(QRectF(m_page.left(), y, labelW, m_line), Qt::AlignLeft | Qt::AlignVCenter,
                       label + QLatin1Char(':'));
            p.setFont(m_bodyFont);
            const double h = lineCount(value) * m_line;
            p.drawText(QRectF(m_page.left() + labelW + mm(2), y, m_page.width() - labelW, h),
                       Qt::AlignLeft | Qt::AlignTop, value);
            y += h + mm(0.8);
        }
        y += mm(4);
        return paintParagraphs(p, m_doc.introParagraphs, y);
    }

    double paintParagraphs(QPainter &p, const QStringList &paragraphs, double y) const
    {
        p.setFont(m_bodyFont);
        for (const QString &text : paragraphs) {
            const double h = paragraphHeight(text);
            p.drawText(QRectF(m_page.left(), y, m_page.width(), h),
                       Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap, text);
            y += h + mm(2.5);
        }
        return y;
    }

    double paintCells(QPainter &p, const QStringList &cells, double y, double h, bool header) const
    {
        const QRectF band(m_page.left(), y, m_page.width(), h);
        if (header)
            p.fillRect(band, QColor(225, 225, 225));
        p.setPen(QPen(Qt::black, mm(0.15)));
        p.drawRect(band);
        for (int c = 0; c < m_columnW.size(); ++c) {
            if (c > 0)
                p.drawLine(QPointF(m_columnX.at(c), y), QPointF(m_columnX.at(c), y + h));
            const QRectF cell(m_columnX.at(c) + m_pad, y + m_pad, m_columnW.at(c) - 2 * m_pad, h - 2 * m_pad);
            const Qt::Alignment align =
                (m_doc.columns.at(c).alignRight ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignTop;
            p.drawText(cell, int(align) | Qt::TextWordWrap, cells.value(c));
        }
        return y + h;
    }

    double paintColumnHeaders(QPainter &p, double y) const
    {
        QStringList headers;
        for (const PrintedTable::Column &c : m_doc.columns)
            headers << c.header;
        p.setFont(m_headFont);
        return paintCells(p, headers, y, m_columnHeaderHeight, true);
    }

    double paintRow(QPainter &p, int r, double y) const
    {
        p.setFont(m_bodyFont);
        return paintCells(p, m_doc.rows.at(r), y, m_rowHeights.at(r), false);
    }

    void paintClosing(QPainter &p, double y) const
    {
        y += mm(4);
        p.setFont(m_bodyFont);
        for (const QString &line : m_doc.closingLines) {
            p.drawText(QRectF(m_page.left(), y, m_page.width(), m_line), Qt::AlignHCenter | Qt::AlignVCenter,
                       line);
            y += m_line + mm(1);
        }
        y = paintParagraphs(p, m_doc.closingParagraphs, y);
        if (!m_doc.signatureLabel.isEmpty()) {
            y += mm(14);
            const QFontMetricsF fm(m_bodyFont, m_device);
            const double x = m_page.left() + m_page.width() / 2;
            p.drawText(QRectF(x, y, m_page.width() / 2, m_line), Qt::AlignLeft | Qt::AlignBottom,
                       m_doc.signatureLabel);
            const double lineX = x + fm.horizontalAdvance(m_doc.signatureLabel) + mm(2);
            p.setPen(QPen(Qt::black, mm(0.2)));
            p.drawLine(QPointF(lineX, y + m_line - fm.descent()),
                       QPointF(m_page.right(), y + m_line - fm.descent()));
            p.setPen(QPen(Qt::black));
        }
    }

    void paintFooter(QPainter &p, int page) const
    {
        p.setFont(m_footerFont);
        const QFontMetricsF fm(m_footerFont, m_device);
        const double y = m_page.bottom() - fm.height();
        p.setPen(QPen(Qt::black, mm(0.15)));
        p.drawLine(QPointF(m_page.left(), y - mm(1.5)), QPointF(m_page.right(), y - mm(1.5)));
        p.drawText(QRectF(m_page.left(), y, m_page.width(), fm.height()), Qt::AlignLeft | Qt::AlignVCenter,
                   printFooterText(m_doc.printedOn));
        const double counterW = fm.horizontalAdvance(QStringLiteral("strana XXX / XXX"));
        p.drawText(QRectF(m_page.right() - counterW, y, counterW, fm.height()),
                   Qt::AlignRight | Qt::AlignVCenter, printPageCounterText(page, pages()));
    }

    const QPaintDevice *m_device;
    const PrintedTable &m_doc;
    int m_dpi = 72;
    QFont m_titleFont, m_bodyFont, m_headFont, m_footerFont;
    QRectF m_page;
    double m_pad = 0, m_line = 0, m_footerHeight = 0, m_bodyBottom = 0, m_columnHeaderHeight = 0;
    QList<double> m_columnX, m_columnW, m_rowHeights;
    QList<int> m_pageStarts;
};

PrintedPages::PrintedPages(const QPaintDevice *device, const PrintedTable &doc)
    : m_layout(std::make_unique<Layout>(device, doc))
{}

PrintedPages::~PrintedPages() = default;

int PrintedPages::pages() const
{
    return m_layout->pages();
}

QSizeF PrintedPages::pageSize() const
{
    return m_layout->pageSize();
}

void PrintedPages::paintPage(QPainter &painter, int page) const
{
    m_layout->paintPage(painter, page);
}

int countPrintedPages(const QPaintDevice *device, const PrintedTable &doc)
{
    return PrintedPages(device, doc).pages();
}

PrintOutcome printTable(QPagedPaintDevice *device, const PrintedTable &doc, const PageProgress &progress)
{
    PrintOutcome outcome;
    const PrintedPages layout(device, doc);
    outcome.pages = layout.pages();
    QPainter painter;
    if (!painter.begin(device))
        return outcome;
    for (int page = 0; page < outcome.pages; ++page) {
        if (progress && !progress(page + 1, outcome.pages)) {
            outcome.cancelled = true;
            break;
        }
        if (page > 0 && !device->newPage())
            break;
        layout.paintPage(painter, page);
        if (page + 1 == outcome.pages)
            outcome.finished = true;
    }
    // The painter's end writes the rest of the document; its failure is the job's failure.
    if (!painter.end())
        outcome.finished = false;
    return outcome;
}

int printTables(QPagedPaintDevice *device, const QList<PrintedTable> &docs, const PrintProgress &progress,
                bool *cancelled)
{
    if (cancelled)
        *cancelled = false;
    QPainter painter;
    if (docs.isEmpty() || !painter.begin(device))
        return 0;
    int pages = 0;
    for (int i = 0; i < docs.size(); ++i) {
        const PrintedPages layout(device, docs.at(i));
        for (int page = 0; page < layout.pages(); ++page) {
            if (i > 0 || page > 0)
                device->newPage();
            layout.paintPage(painter, page);
        }
        pages += layout.pages();
        if (progress && !progress(i + 1, int(docs.size()))) {
            if (cancelled)
                *cancelled = i + 1 < docs.size();
            break;
        }
    }
    painter.end();
    return pages;
}

PrintedColumns PrintedPages::columns() const
{
    return {m_layout->widths(), m_layout->bodyFont(), m_layout->padding()};
}

PrintedColumns printedColumns(const QPaintDevice *device, const PrintedTable &doc)
{
    return PrintedPages(device, doc).columns();
}

double printedCellPadding(const QPaintDevice *device)
{
    return 1.2 * device->logicalDpiY() / 25.4;
}
