#pragma once

#include "reports/reportcore.h"

#include <QFile>
#include <QString>
#include <QStringList>

// Writes one HTML page piece by piece. Each operation answers whether it succeeded; a file error
// inside it gives false. The page is UTF-8 and starts with a byte-order mark, so that browsers
// read the Czech letters right although the page declares no encoding. Texts are written as they
// stand, without escaping.
class HtmlTableWriter final
{
public:
    HtmlTableWriter() = default;
    ~HtmlTableWriter();

    bool open(const QString &path); // creates or truncates the file
    bool setCellTexts(const QString &attributes, const QString &before, const QString &after);
    bool writeText(const QString &piece);
    bool writeTableStart();
    bool writeTableEnd();
    bool writeRow(const QStringList &cells);
    bool close();

private:
    Q_DISABLE_COPY_MOVE(HtmlTableWriter)
    QFile m_file;
    QString m_attributes;
    QString m_before;
    QString m_after;
};

// Writes the report page: the title as a heading, the table of the listed rows in the order
// shown, the summary line. Returns false only when the file could not be opened (message 120);
// later write failures do not stop the page.
bool writeReportHtml(const QString &path, const QString &title, const QList<ReportRow> &rows,
                     const QString &summary);
