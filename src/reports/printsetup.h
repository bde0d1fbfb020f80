#pragma once

#include "reports/printlayout.h"

class QPrinter;
class QWidget;

// The program's printer: A4 portrait with its margins, kept for the whole run so that the
// choices of the print dialog stay.
QPrinter &programPrinter();

// Prints the document through the print dialog, or shows the print preview of it.
void printDocument(QWidget *parent, const PrintedTable &doc, bool preview);

// Prints the document as the printer is set: on the printer, or into the PDF file chosen in the
// print dialog (written through the safe writer, so a failure or a stop leaves no partial file).
// A progress dialog shows the page and the number of pages; its "Storno" stops the job before the
// next page and throws away what was printed. A PDF file that cannot be written is reported.
// Returns true when every page went out.
bool runPrintJob(QWidget *parent, QPrinter &printer, const PrintedTable &doc);
