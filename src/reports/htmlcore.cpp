#include "reports/htmlcore.h"

#include <QStringEncoder>

#include <cerrno>
#include <cstdio>
#include <cstring>

HtmlTableWriter::~HtmlTableWriter()
{
    // A page never closed is never written: the temporary file goes, the target stays.
    m_file.reset();
}

bool HtmlTableWriter::open(const QString &path)
{
    m_path = path;
    m_file = std::make_unique<SafeFile::Writer>(path);
    m_page.clear();
    m_result = m_file->open();
    if (!m_result.ok()) {
        m_file.reset();
        return false;
    }
    m_page.append("\xEF\xBB\xBF", 3);
    return true;
}

void HtmlTableWriter::append(QStringView text)
{
    // Encodes straight into the page, without a temporary array per piece.
    const qsizetype start = m_page.size();
    m_page.resize(start + text.size() * 3);
    QStringEncoder encoder(QStringEncoder::Utf8);
    char *end = encoder.appendToBuffer(m_page.data() + start, text);
    m_page.resize(end - m_page.constData());
}

bool HtmlTableWriter::setCellTexts(const QString &attributes, const QString &before, const QString &after)
{
    m_cellStart =
        (QStringLiteral("<TD ") + attributes + QStringLiteral("> ") + before + QLatin1Char(' ')).toUtf8();
    m_cellEnd = (QLatin1Char(' ') + after + QStringLiteral(" </TD>\n")).toUtf8();
    return true;
}

bool HtmlTableWriter::writeText(QStringView piece)
{
    if (!m_file)
        return false;
    append(piece);
    return true;
}

bool HtmlTableWriter::writeTableStart()
{
    return writeText(u"<CENTER><TABLE BORDER=\"1\" WIDTH=\"90%\">\n");
}

bool HtmlTableWriter::writeTableEnd()
{
    return writeText(u"</TABLE></CENTER>\n");
}

void HtmlTableWriter::appendCell(QStringView content)
{
    m_page.append(m_cellStart);
    append(content);
    m_page.append(m_cellEnd);
}

bool HtmlTableWriter::writeRow(const QStringList &cells)
{
    if (!m_file)
        return false;
    m_page.append("<TR>\n");
    for (const QString &cell : cells)
        appendCell(cell);
    m_page.append("</TR>\n");
    return true;
}

bool HtmlTableWriter::writeReportRow(const ReportRow &row)
{
    if (!m_file)
        return false;
    m_page.append("<TR>\n");
    appendCell(row.code);
    appendCell(row.title);
    appendCell(row.author);
    appendCell(row.category);
    char price[64];
    const int n = std::snprintf(price, sizeof price, "%.02f", double(row.price));
    m_page.append(m_cellStart);
    m_page.append(price, n);
    m_page.append(m_cellEnd);
    m_page.append("</TR>\n");
    return true;
}

bool HtmlTableWriter::close()
{
    if (!m_file)
        return false;
    errno = 0;
    if (m_file->device()->write(m_page) != m_page.size()) {
        // Qt does not always keep the system's reason (a full disk, a file too large).
        const QString reason =
            errno != 0 ? QString::fromLocal8Bit(std::strerror(errno)) : m_file->device()->errorString();
        m_result = {SafeFile::Status::WriteFailed, m_path, reason};
    } else
        m_result = m_file->commit();
    m_file.reset();
    m_page.clear();
    return m_result.ok();
}

SafeFile::Result writeReportHtml(const QString &path, const QString &title, const QList<ReportRow> &rows,
                                 const QString &summary)
{
    HtmlTableWriter writer;
    if (!writer.open(path))
        return writer.result();
    // About 250 bytes a row: five cells of markup and their texts.
    writer.reserve(1024 + rows.size() * 256);
    const QString lineBreak = QStringLiteral("<BR>\n");
    writer.writeText(
        QString(QStringLiteral("<H2 ALIGN=\"CENTER\"><U>") + title + QStringLiteral("</U></H2>\n")));
    writer.writeText(lineBreak);
    writer.writeTableStart();
    writer.setCellTexts(QStringLiteral("BGCOLOR=\"BLUE\" ALIGN=\"LEFT\""),
                        QStringLiteral("<FONT FACE=\"Arial\" COLOR=\"YELLOW\"><B>"),
                        QStringLiteral("</B></FONT>"));
    writer.writeRow({QStringLiteral("Kód"), QStringLiteral("Název"), QStringLiteral("Autor"),
                     QStringLiteral("Kategorie"), QStringLiteral("Cena")});
    writer.setCellTexts(QStringLiteral("ALIGN=\"LEFT\""), QString(), QString());
    for (const ReportRow &row : rows)
        writer.writeReportRow(row);
    writer.writeTableEnd();
    writer.writeText(lineBreak);
    writer.writeText(QString(QStringLiteral("<CENTER>") + summary + QStringLiteral("</CENTER>\n")));
    writer.writeText(lineBreak);
    writer.close();
    return writer.result();
}
