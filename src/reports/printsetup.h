#pragma once

#include "reports/printlayout.h"

class QPrinter;
class QWidget;

// The program's printer: A4 portrait with its margins, kept for the whole run so that the
// choices of the print dialog stay.
QPrinter &programPrinter();

// Prints the document through the print dialog, or shows the print preview of it.
void printDocument(QWidget *parent, const PrintedTable &doc, bool preview);
