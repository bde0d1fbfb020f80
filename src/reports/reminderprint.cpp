#include "reports/reminderprint.h"

#include <QBuffer>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>

PrintedTable reminderLetterDocument(const ReminderLetter &letter, DateNumber day, const QString &library,
                                    const QDate &printedOn)
{
    PrintedTable doc;
    doc.title = reminderTitle();
    if (!library.isEmpty())
        doc.headerLines.append({QStringLiteral("Knihovna"), library});
    doc.headerLines.append({QStringLiteral("Datum"), letterDateText(day)});
    doc.headerLines.append({QStringLiteral("Klient"), letter.jmeno + QLatin1Char(' ') + letter.prijmeni});
    doc.headerLines.append({QStringLiteral("Kód klienta"), letter.clientCode});
    if (!letter.address.isEmpty())
        doc.headerLines.append({QStringLiteral("Adresa"), letter.address});
    doc.labelTemplate = QStringLiteral("Kód klienta XX");
    doc.introParagraphs = {reminderSalutation(), reminderRequestText(day)};
    doc.columns = {{QStringLiteral("Kód"), 11, false},       {QStringLiteral("Název"), 29, false},
                   {QStringLiteral("Autor"), 21, false},     {QStringLiteral("Půjčeno"), 14, false},
                   {QStringLiteral("Vrátit do"), 14, false}, {QStringLiteral("Prodlení (dní)"), 11, true}};
    for (const ReminderBook &book : letter.books)
        doc.rows.append({book.code, book.title, book.author, dateText(book.loanDate), dateText(book.due),
                         QString::number(book.daysLate)});
    doc.closingParagraphs = reminderClosingText().split(QStringLiteral("\n\n"));
    doc.signatureLabel = QStringLiteral("Za knihovnu:");
    doc.printedOn = printedOn;
    return doc;
}

QList<PrintedTable> reminderDocuments(const QList<ReminderLetter> &letters, DateNumber day,
                                      const QString &library, const QDate &printedOn)
{
    QList<PrintedTable> docs;
    docs.reserve(letters.size());
    for (const ReminderLetter &letter : letters)
        docs.append(reminderLetterDocument(letter, day, library, printedOn));
    if (docs.isEmpty()) {
        PrintedTable none;
        none.title = QStringLiteral("Upomínky");
        none.introParagraphs = {reminderNoneText(day)};
        none.printedOn = printedOn;
        docs.append(none);
    }
    return docs;
}

SafeFile::Result writeDocumentsPdf(const QList<PrintedTable> &docs, const QString &path,
                                   const PrintProgress &progress, int *pages,
                                   const QStringList &alsoProtected)
{
    if (pages)
        *pages = 0;
    SafeFile::Result refused;
    refused.path = path;
    if (SafeFile::isProtectedTarget(path, alsoProtected)) {
        refused.status = SafeFile::Status::Protected;
        refused.error = QStringLiteral("one of the program's own files");
        return refused;
    }
    // The PDF is made in memory and written whole, so that a cancel or a failure in the middle
    // leaves nothing behind.
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    int painted = 0;
    bool cancelled = false;
    {
        QPdfWriter writer(&buffer);
        writer.setCreator(QStringLiteral("FOLIVO 2.0"));
        writer.setTitle(docs.isEmpty() ? QString() : docs.constFirst().title);
        writer.setResolution(300);
        writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                         QMarginsF(15, 15, 15, 12), QPageLayout::Millimeter));
        painted = printTables(&writer, docs, progress, &cancelled);
    }
    if (cancelled || painted == 0) {
        refused.status = SafeFile::Status::WriteFailed;
        refused.error = cancelled ? QStringLiteral("cancelled") : QStringLiteral("nothing could be painted");
        return refused;
    }
    const SafeFile::Result result =
        SafeFile::writeAll(path, buffer.data(), SafeFile::Durability::Normal, alsoProtected);
    if (result.ok() && pages)
        *pages = painted;
    return result;
}
