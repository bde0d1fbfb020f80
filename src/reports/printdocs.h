#pragma once

#include "data/safefile.h"
#include "reports/printlayout.h"
#include "reports/protocolcore.h"
#include "reports/reportcore.h"

#include <QPageLayout>

class QPdfWriter;

// The printed forms of the reports and protocols.
PrintedTable loanProtocolDocument(const LoanProtocol &protocol, const QDate &printedOn);
PrintedTable returnProtocolDocument(const ReturnProtocol &protocol, const QDate &printedOn);
PrintedTable reportDocument(const QString &title, const QList<ReportRow> &rows, const QString &summary,
                            const QDate &printedOn);

// The program's page: A4 portrait with its margins.
QPageLayout programPageLayout();
// A PDF writer set up for the program's page at 300 dpi.
void setUpPdfWriter(QPdfWriter *writer, const QString &title);

// What writing a PDF file came to: the print job and the file.
struct PdfResult
{
    PrintOutcome print;
    SafeFile::Result file;
    bool ok() const { return print.finished && file.ok(); }
};

// Writes the document as a PDF file (the program's page at 300 dpi unless told otherwise) through
// the safe writer: a target that is one of the program's own files is refused, and a failed
// write, a painter that cannot finish or a job stopped by progress leave the previous file as it
// was and no partial one.
PdfResult writePdf(const PrintedTable &doc, const QString &path, const PageProgress &progress = {},
                   const QPageLayout &layout = programPageLayout(), int resolution = 300);
