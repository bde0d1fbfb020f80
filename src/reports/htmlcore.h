#pragma once

#include "data/safefile.h"
#include "reports/reportcore.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

// Writes one HTML page. open() refuses the program's own files and makes the temporary file
// beside the target, so a folder that cannot be written is known before anything is built; the
// pieces are gathered in one UTF-8 buffer, which close() writes at once and renames over the
// target. A failure anywhere leaves the previous file as it was. The page starts with a
// byte-order mark, so that browsers read the Czech letters right although the page declares no
// encoding. Texts are written as they stand, without escaping.
class HtmlTableWriter final
{
public:
    HtmlTableWriter() = default;
    ~HtmlTableWriter();

    bool open(const QString &path);
    bool setCellTexts(const QString &attributes, const QString &before, const QString &after);
    bool writeText(QStringView piece);
    bool writeTableStart();
    bool writeTableEnd();
    bool writeRow(const QStringList &cells);
    // One data row of a report, its price written with two decimals.
    bool writeReportRow(const ReportRow &row);
    bool close();
    void reserve(qsizetype bytes);

    // Why the last open() or close() failed (the system's reason), for the command line and the log.
    const SafeFile::Result &result() const { return m_result; }

private:
    Q_DISABLE_COPY_MOVE(HtmlTableWriter)
    char *room(qsizetype bytes); // where the next bytes go, with room for them
    void append(const char *bytes, qsizetype size);
    void append(const QByteArray &bytes) { append(bytes.constData(), bytes.size()); }
    void append(QStringView text);
    void appendCell(QStringView content);
    std::unique_ptr<SafeFile::Writer> m_file;
    QString m_path;
    SafeFile::Result m_result;
    QByteArray m_page; // its first m_used bytes are the page so far
    qsizetype m_used = 0;
    QByteArray m_cellStart; // "<TD attributes> before " in UTF-8
    QByteArray m_cellEnd;   // " after </TD>\n"
};

// Writes the report page: the title as a heading, the table of the listed rows in the order
// shown, the summary line. Fails (message 120 in the program) when the target is one of the
// program's own files or cannot be written completely; the previous file then stays.
SafeFile::Result writeReportHtml(const QString &path, const QString &title, const QList<ReportRow> &rows,
                                 const QString &summary);
