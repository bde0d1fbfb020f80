#include "reports/reportprint.h"

#include "reports/printdocs.h"
#include "reports/printsetup.h"

void printReportRows(QWidget *parent, const QString &title, const QList<ReportRow> &rows,
                     const QString &summary, bool preview)
{
    const PrintedTable doc = reportDocument(title, rows, summary, today());
    printDocument(parent, doc, preview);
}
