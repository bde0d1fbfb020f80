#pragma once

#include "data/safefile.h"
#include "reports/printlayout.h"
#include "reports/reminderscore.h"

// The printed reminder letters: one document per letter, each on a page of its own, painted by the
// same layout as the protocols.
PrintedTable reminderLetterDocument(const ReminderLetter &letter, DateNumber day, const QString &library,
                                    const QDate &printedOn);
// The documents of all letters; a single page saying that nobody is late when there is none, so
// that an output file always tells the state of its day.
QList<PrintedTable> reminderDocuments(const QList<ReminderLetter> &letters, DateNumber day,
                                      const QString &library, const QDate &printedOn);

// Writes documents as one A4 PDF file through a save file: a failure, or a cancel through
// progress, leaves the previous file as it was. pages gets the number of pages written;
// alsoProtected names further files that must not be overwritten (SafeFile).
SafeFile::Result writeDocumentsPdf(const QList<PrintedTable> &docs, const QString &path,
                                   const PrintProgress &progress = {}, int *pages = nullptr,
                                   const QStringList &alsoProtected = {});
