#include "reports/htmlcore.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
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
    m_used = 0;
    m_result = m_file->open();
    if (!m_result.ok()) {
        m_file.reset();
        return false;
    }
    append("\xEF\xBB\xBF", 3);
    return true;
}

void HtmlTableWriter::reserve(qsizetype bytes)
{
    if (bytes > m_page.size())
        m_page.resize(bytes);
}

char *HtmlTableWriter::room(qsizetype bytes)
{
    // The page grows by doubling and is written into directly: a report of the whole catalogue is
    // some twenty megabytes of small pieces.
    if (m_used + bytes > m_page.size())
        m_page.resize(std::max(m_page.size() * 2, m_used + bytes + 4096));
    return m_page.data() + m_used;
}

void HtmlTableWriter::append(const char *bytes, qsizetype size)
{
    std::memcpy(room(size), bytes, size_t(size));
    m_used += size;
}

void HtmlTableWriter::append(QStringView text)
{
    // Encoded straight into the page: a report of the whole catalogue has half a million cells,
    // and an encoder object or a temporary array per cell would cost more than the encoding.
    char *out = room(text.size() * 3);
    const char16_t *p = text.utf16();
    const char16_t *end = p + text.size();
    char *const start = out;
    while (p < end) {
        const char32_t c = *p++;
        if (c < 0x80) {
            *out++ = char(c);
        } else if (c < 0x800) {
            *out++ = char(0xC0 | (c >> 6));
            *out++ = char(0x80 | (c & 0x3F));
        } else if (QChar::isHighSurrogate(c) && p < end && QChar::isLowSurrogate(*p)) {
            const char32_t u = QChar::surrogateToUcs4(char16_t(c), *p++);
            *out++ = char(0xF0 | (u >> 18));
            *out++ = char(0x80 | ((u >> 12) & 0x3F));
            *out++ = char(0x80 | ((u >> 6) & 0x3F));
            *out++ = char(0x80 | (u & 0x3F));
        } else if (QChar::isSurrogate(c)) {
            *out++ = '?'; // a lone surrogate cannot be encoded; Qt writes a question mark
        } else {
            *out++ = char(0xE0 | (c >> 12));
            *out++ = char(0x80 | ((c >> 6) & 0x3F));
            *out++ = char(0x80 | (c & 0x3F));
        }
    }
    m_used += out - start;
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
    append(m_cellStart);
    append(content);
    append(m_cellEnd);
}

bool HtmlTableWriter::writeRow(const QStringList &cells)
{
    if (!m_file)
        return false;
    append("<TR>\n", 5);
    for (const QString &cell : cells)
        appendCell(cell);
    append("</TR>\n", 6);
    return true;
}

namespace {

// The price as the list shows it ("%.02f" as Qt formats it, halves away from zero). A float
// times 100 is exact in a double, so rounding that product gives the same two decimals without
// the general formatting path; anything unusual goes through it.
int formatPrice(char *out, size_t size, float price)
{
    const double cents = double(price) * 100;
    if (!std::isfinite(cents) || std::fabs(cents) > 1e15) {
        const QByteArray text = QString::asprintf("%.02f", double(price)).toLatin1();
        return std::snprintf(out, size, "%s", text.constData());
    }
    // The digits are written from the end: a page of 100,000 books would spend a tenth of its
    // time in snprintf.
    const long long n = std::llround(std::fabs(cents));
    char digits[32];
    char *const end = digits + sizeof digits;
    char *p = end;
    const int hundredths = int(n % 100);
    *--p = char('0' + hundredths % 10);
    *--p = char('0' + hundredths / 10);
    *--p = '.';
    long long whole = n / 100;
    do {
        *--p = char('0' + whole % 10);
        whole /= 10;
    } while (whole > 0);
    if (std::signbit(price))
        *--p = '-';
    const size_t length = size_t(end - p);
    if (size == 0)
        return int(length);
    const size_t copied = std::min(length, size - 1);
    std::memcpy(out, p, copied);
    out[copied] = '\0';
    return int(length);
}

} // namespace

bool HtmlTableWriter::writeReportRow(const ReportRow &row)
{
    if (!m_file)
        return false;
    append("<TR>\n", 5);
    appendCell(row.code);
    appendCell(row.title);
    appendCell(row.author);
    appendCell(row.category);
    char price[64];
    const int n = formatPrice(price, sizeof price, row.price);
    append(m_cellStart);
    append(price, std::clamp<qsizetype>(n, 0, qsizetype(sizeof price) - 1));
    append(m_cellEnd);
    append("</TR>\n", 6);
    return true;
}

bool HtmlTableWriter::close()
{
    if (!m_file)
        return false;
    errno = 0;
    if (m_file->device()->write(m_page.constData(), m_used) != m_used) {
        // Qt does not always keep the system's reason (a full disk, a file too large).
        const QString reason =
            errno != 0 ? QString::fromLocal8Bit(std::strerror(errno)) : m_file->device()->errorString();
        m_result = {SafeFile::Status::WriteFailed, m_path, reason};
    } else {
        m_result = m_file->commit();
    }
    m_file.reset();
    m_page.clear();
    m_used = 0;
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
