#include "reports/printdocs.h"

#include "data/labels.h"

#include <QHash>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>

#include <cstring>

PrintedTable loanProtocolDocument(const LoanProtocol &protocol, const QDate &printedOn)
{
    PrintedTable doc;
    doc.title = QStringLiteral("Protokol o výpůjčce");
    doc.headerLines = {{QStringLiteral("Číslo výpůjčky"), QString::asprintf("%d", protocol.number)},
                       {QStringLiteral("Klient"), protocol.client},
                       {QStringLiteral("Provedeno dne"), dateText(protocol.date)},
                       {QStringLiteral("Počet knih"), QString::asprintf("%d", int(protocol.rows.size()))}};
    doc.labelTemplate = QStringLiteral("Provedeno dne XX");
    doc.columns = {{QStringLiteral("Kód"), 14, false, longestCodeSample()},
                   {QStringLiteral("Název"), 44, false},
                   {QStringLiteral("Autor"), 28, false},
                   {QStringLiteral("Vrátit do"), 14, false, widestDateSample()}};
    for (const LoanProtocolRow &row : protocol.rows)
        doc.rows.append({row.code, row.title, row.author, protocolDueText(row.due)});
    doc.signatureLabel = QStringLiteral("Podpis klienta:");
    doc.printedOn = printedOn;
    return doc;
}

PrintedTable returnProtocolDocument(const ReturnProtocol &protocol, const QDate &printedOn)
{
    PrintedTable doc;
    doc.title = QStringLiteral("Protokol o vrácení knih");
    doc.headerLines = {{QStringLiteral("Číslo vrácení"), QString::asprintf("%d", protocol.number)},
                       {QStringLiteral("Datum vrácení"), dateText(protocol.date)},
                       {QStringLiteral("Počet knih"), QString::asprintf("%d", int(protocol.rows.size()))}};
    doc.labelTemplate = QStringLiteral("Datum vrácení XX");
    doc.columns = {{QStringLiteral("Kód knihy"), 14, false, longestCodeSample()},
                   {QStringLiteral("Název knihy"), 29, false},
                   {QStringLiteral("Kód klienta"), 14, false, longestCodeSample()},
                   {QStringLiteral("Jméno klienta"), 20, false},
                   {QStringLiteral("Půjčka"), 12, false, widestDateSample()},
                   {QStringLiteral("Prodlení"), 11, true}};
    for (const ReturnProtocolRow &row : protocol.rows)
        doc.rows.append({row.bookCode, row.bookTitle, row.clientCode, row.clientName, dateText(row.loanDate),
                         protocolLatenessText(row.lateness)});
    doc.printedOn = printedOn;
    return doc;
}

PrintedTable reportDocument(const QString &title, const QList<ReportRow> &rows, const QString &summary,
                            const QDate &printedOn)
{
    PrintedTable doc;
    doc.title = title;
    // Titles are short and categories long in most libraries: the page gives the category more
    // room than the screen does, so that its name rarely wraps.
    doc.columns = {{QStringLiteral("Kód"), 62, false},
                   {QStringLiteral("Název"), 222, false},
                   {QStringLiteral("Autor"), 150, false},
                   {QStringLiteral("Kategorie"), 165, false},
                   {QStringLiteral("Cena"), 64, true}};
    doc.rows.reserve(rows.size());
    // Prices repeat down a catalogue: their rows share one text per price (told apart by the
    // float's bits), up to a few thousand different prices.
    QHash<quint32, QString> prices;
    for (const ReportRow &row : rows) {
        quint32 bits = 0;
        std::memcpy(&bits, &row.price, sizeof bits);
        QString price = prices.value(bits);
        if (price.isNull()) {
            price = reportPriceText(row.price);
            if (prices.size() < 4096)
                prices.insert(bits, price);
        }
        doc.rows.append({row.code, row.title, row.author, row.category, price});
    }
    doc.closingLines = {summary};
    doc.printedOn = printedOn;
    return doc;
}

void setUpPdfWriter(QPdfWriter *writer, const QString &title)
{
    writer->setCreator(QStringLiteral("FOLIVO 2.0"));
    writer->setTitle(title);
    writer->setResolution(300);
    writer->setPageLayout(programPageLayout());
}

QPageLayout programPageLayout()
{
    return QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait, QMarginsF(15, 15, 15, 12),
                       QPageLayout::Millimeter);
}

PdfResult writePdf(const PrintedTable &doc, const QString &path, const PageProgress &progress,
                   const QPageLayout &layout, int resolution)
{
    PdfResult result;
    SafeFile::Writer file(path);
    result.file = file.open();
    if (!result.file.ok())
        return result;
    {
        QPdfWriter writer(file.device());
        writer.setCreator(QStringLiteral("FOLIVO 2.0"));
        writer.setTitle(doc.title);
        writer.setResolution(resolution);
        writer.setPageLayout(layout);
        result.print = printTable(&writer, doc, progress);
    }
    if (!result.print.finished) {
        file.cancel();
        result.file = {SafeFile::Status::WriteFailed, path,
                       result.print.cancelled ? QStringLiteral("stopped by the user")
                                              : QStringLiteral("the pages could not be painted")};
        return result;
    }
    result.file = file.commit();
    return result;
}
