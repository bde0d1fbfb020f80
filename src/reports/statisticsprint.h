#pragma once

#include "reports/statisticscore.h"

#include <QDate>
#include <QImage>
#include <QRectF>

class QPagedPaintDevice;
class QPainter;

// The bar chart of loans by month: one bar per month, its count above it, the month in Roman
// numerals below, scaled to the busiest month. Painted on the screen, on paper and into the
// picture of the HTML page alike.
void paintLoansChart(QPainter &painter, const QRectF &area, const AnnualStatistics &s);
// The chart as a picture of the given size (white background).
QImage loansChartImage(const AnnualStatistics &s, const QSize &size);
// The chart as a PNG data address for an HTML page that stands alone.
QString loansChartDataUrl(const AnnualStatistics &s);

// Prints the statistics page (the same content as the HTML page, with the chart) on the device,
// with the program's footer and page counter on every page. Returns the number of pages.
int printStatistics(QPagedPaintDevice *device, const AnnualStatistics &s, const QString &library,
                    const QDate &printedOn);
