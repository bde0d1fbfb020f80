#pragma once

#include "reports/reportcore.h"

class QWidget;

// Prints the shown report through the print dialog (a printer or a PDF file), or shows its print
// preview. The page is A4 with the title, the column headers on every page, the summary line
// at the end and the program's footer.
void printReportRows(QWidget *parent, const QString &title, const QList<ReportRow> &rows,
                     const QString &summary, bool preview);
