#include "reports/statisticsprint.h"

#include "reports/printlayout.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QFontMetricsF>
#include <QPagedPaintDevice>
#include <QPainter>
#include <QTextDocument>

#include <algorithm>

namespace {

const char *const RomanMonths[] = {"I", "II", "III", "IV", "V", "VI", "VII", "VIII", "IX", "X", "XI", "XII"};

QFont chartFont(double pixelHeight)
{
    QFont f(QStringLiteral("DejaVu Sans"));
    f.setStyleHint(QFont::SansSerif);
    f.setPixelSize(std::max(6, int(pixelHeight)));
    return f;
}

} // namespace

void paintLoansChart(QPainter &painter, const QRectF &area, const AnnualStatistics &s)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    const QFont font = chartFont(std::min(area.height() / 14, area.width() / 40));
    painter.setFont(font);
    const QFontMetricsF fm(font, painter.device());
    const double label = fm.height() * 1.3;
    const QRectF plot(area.left() + area.width() * 0.02, area.top() + label, area.width() * 0.96,
                      area.height() - 2 * label);
    const int most = std::max(1, *std::max_element(s.loansByMonth.cbegin(), s.loansByMonth.cend()));
    const double slot = plot.width() / 12;
    const QPen axis(QColor(60, 60, 60), std::max(1.0, area.height() / 300));
    for (int m = 0; m < 12; ++m) {
        const int loans = s.loansByMonth[size_t(m)];
        const double h = plot.height() * loans / most;
        const QRectF bar(plot.left() + m * slot + slot * 0.18, plot.bottom() - h, slot * 0.64, h);
        painter.fillRect(bar, QColor(40, 70, 160));
        painter.setPen(Qt::black);
        painter.drawText(QRectF(plot.left() + m * slot, bar.top() - label, slot, label),
                         Qt::AlignHCenter | Qt::AlignBottom, QString::number(loans));
        painter.drawText(QRectF(plot.left() + m * slot, plot.bottom(), slot, label),
                         Qt::AlignHCenter | Qt::AlignVCenter, QString::fromLatin1(RomanMonths[m]));
    }
    painter.setPen(axis);
    painter.drawLine(QPointF(plot.left(), plot.bottom()), QPointF(plot.right(), plot.bottom()));
    painter.restore();
}

QImage loansChartImage(const AnnualStatistics &s, const QSize &size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    paintLoansChart(painter, QRectF(QPointF(0, 0), QSizeF(size)), s);
    painter.end();
    return image;
}

QString loansChartDataUrl(const AnnualStatistics &s)
{
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    loansChartImage(s, QSize(640, 240)).save(&buffer, "PNG");
    return QStringLiteral("data:image/png;base64,") + QString::fromLatin1(png.toBase64());
}

int printStatistics(QPagedPaintDevice *device, const AnnualStatistics &s, const QString &library,
                    const QDate &printedOn)
{
    QPainter painter;
    if (!painter.begin(device))
        return 0;
    const double dpi = device->logicalDpiY();
    const auto mm = [dpi](double v) { return v * dpi / 25.4; };
    QFont footerFont = chartFont(0);
    footerFont.setPointSizeF(8);
    const QFontMetricsF footer(footerFont, device);
    const QRectF page(0, 0, device->width(), device->height());
    const double footerHeight = footer.height() + mm(4);
    const double bodyHeight = page.height() - footerHeight;

    QTextDocument doc;
    doc.documentLayout()->setPaintDevice(device);
    QFont body(QStringLiteral("DejaVu Sans"));
    body.setPointSizeF(10);
    doc.setDefaultFont(body);
    doc.setPageSize(QSizeF(page.width(), bodyHeight));
    doc.setDocumentMargin(0);
    // The text layout sizes a picture in pixels of a 96 dpi screen and scales them to the device;
    // the chart is painted at three times that for paper.
    const QSizeF chartSize(600, 220);
    QImage chart((chartSize * 3).toSize(), QImage::Format_RGB32);
    chart.setDevicePixelRatio(3);
    chart.fill(Qt::white);
    {
        QPainter chartPainter(&chart);
        paintLoansChart(chartPainter, QRectF(QPointF(0, 0), chartSize), s);
    }
    doc.addResource(QTextDocument::ImageResource, QUrl(QStringLiteral("folivo-chart.png")), chart);
    doc.setHtml(statisticsHtml(s, library, QStringLiteral("folivo-chart.png")));

    const int pages = std::max(1, doc.pageCount());
    for (int i = 0; i < pages; ++i) {
        if (i > 0)
            device->newPage();
        painter.save();
        painter.translate(0, -i * bodyHeight);
        doc.drawContents(&painter, QRectF(0, i * bodyHeight, page.width(), bodyHeight));
        painter.restore();
        painter.setFont(footerFont);
        const double y = page.bottom() - footer.height();
        painter.setPen(QPen(Qt::black, mm(0.15)));
        painter.drawLine(QPointF(page.left(), y - mm(1.5)), QPointF(page.right(), y - mm(1.5)));
        painter.drawText(QRectF(page.left(), y, page.width(), footer.height()),
                         Qt::AlignLeft | Qt::AlignVCenter, printFooterText(printedOn));
        painter.drawText(QRectF(page.left(), y, page.width(), footer.height()),
                         Qt::AlignRight | Qt::AlignVCenter, printPageCounterText(i + 1, pages));
    }
    painter.end();
    return pages;
}
