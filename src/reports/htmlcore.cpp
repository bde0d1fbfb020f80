#include "reports/htmlcore.h"

HtmlTableWriter::~HtmlTableWriter()
{
    close();
}

bool HtmlTableWriter::open(const QString &path)
{
    close();
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    return m_file.write("\xEF\xBB\xBF", 3) == 3;
}

bool HtmlTableWriter::setCellTexts(const QString &attributes, const QString &before, const QString &after)
{
    m_attributes = attributes;
    m_before = before;
    m_after = after;
    return true;
}

bool HtmlTableWriter::writeText(const QString &piece)
{
    if (!m_file.isOpen())
        return false;
    const QByteArray bytes = piece.toUtf8();
    return m_file.write(bytes) == bytes.size();
}

bool HtmlTableWriter::writeTableStart()
{
    return writeText(QStringLiteral("<CENTER><TABLE BORDER=\"1\" WIDTH=\"90%\">\n"));
}

bool HtmlTableWriter::writeTableEnd()
{
    return writeText(QStringLiteral("</TABLE></CENTER>\n"));
}

bool HtmlTableWriter::writeRow(const QStringList &cells)
{
    bool ok = writeText(QStringLiteral("<TR>\n"));
    for (const QString &cell : cells) {
        const QString line = QStringLiteral("<TD ") + m_attributes + QStringLiteral("> ") + m_before +
                             QLatin1Char(' ') + cell + QLatin1Char(' ') + m_after +
                             QStringLiteral(" </TD>\n");
        ok = writeText(line) && ok;
    }
    return writeText(QStringLiteral("</TR>\n")) && ok;
}

bool HtmlTableWriter::close()
{
    if (!m_file.isOpen())
        return true;
    const bool ok = m_file.flush();
    m_file.close();
    return ok && m_file.error() == QFileDevice::NoError;
}

bool writeReportHtml(const QString &path, const QString &title, const QList<ReportRow> &rows,
                     const QString &summary)
{
    HtmlTableWriter writer;
    if (!writer.open(path))
        return false;
    const QString lineBreak = QStringLiteral("<BR>\n");
    writer.writeText(QStringLiteral("<H2 ALIGN=\"CENTER\"><U>") + title + QStringLiteral("</U></H2>\n"));
    writer.writeText(lineBreak);
    writer.writeTableStart();
    writer.setCellTexts(QStringLiteral("BGCOLOR=\"BLUE\" ALIGN=\"LEFT\""),
                        QStringLiteral("<FONT FACE=\"Arial\" COLOR=\"YELLOW\"><B>"),
                        QStringLiteral("</B></FONT>"));
    writer.writeRow({QStringLiteral("Kód"), QStringLiteral("Název"), QStringLiteral("Autor"),
                     QStringLiteral("Kategorie"), QStringLiteral("Cena")});
    writer.setCellTexts(QStringLiteral("ALIGN=\"LEFT\""), QString(), QString());
    for (const ReportRow &row : rows)
        writer.writeRow(
            {row.code, row.title, row.author, row.category, QString::asprintf("%.02f", double(row.price))});
    writer.writeTableEnd();
    writer.writeText(lineBreak);
    writer.writeText(QStringLiteral("<CENTER>") + summary + QStringLiteral("</CENTER>\n"));
    writer.writeText(lineBreak);
    writer.close();
    return true;
}
