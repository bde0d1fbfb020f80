#pragma once

#include "reports/printlayout.h"
#include "reports/protocolcore.h"
#include "reports/reportcore.h"

class QPdfWriter;

// The printed forms of the reports and protocols.
PrintedTable loanProtocolDocument(const LoanProtocol &protocol, const QDate &printedOn);
PrintedTable returnProtocolDocument(const ReturnProtocol &protocol, const QDate &printedOn);
PrintedTable reportDocument(const QString &title, const QList<ReportRow> &rows, const QString &summary,
                            const QDate &printedOn);

// The page set-up of the PDF files: A4 portrait, 300 dpi, the program's margins.
void setUpPdfWriter(QPdfWriter *writer, const QString &title);
// Writes the document as an A4 PDF file. False when the file cannot be written.
bool writePdf(const PrintedTable &doc, const QString &path, int *pages = nullptr);
