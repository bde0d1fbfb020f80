#pragma once

#include "reports/reportcore.h"

#include <functional>

class QWidget;

// The save-file dialog of the HTML export, replaceable so that a test can answer it: returns the
// chosen path, or an empty text when the user cancels.
struct SaveFileRequest
{
    QString title;
    QString directory;
    QString filter;
    QString defaultName;
    QString defaultSuffix;
};
using SaveFileAsker = std::function<QString(QWidget *parent, const SaveFileRequest &request)>;
SaveFileAsker setSaveFileAsker(SaveFileAsker asker); // returns the previous one
// Asks through the current asker (the save-file dialog, or a test's answer).
QString askSaveFile(QWidget *parent, const SaveFileRequest &request);

// The Export folder in the working directory; created when missing.
QString exportDirectory();

// "&Sestava do HTML...": creates Export, asks for the file, writes the page; message 120 when the
// file cannot be opened. Returns true when a page was written.
bool exportReportHtml(QWidget *parent, const QString &title, const QList<ReportRow> &rows,
                      const QString &summary);
