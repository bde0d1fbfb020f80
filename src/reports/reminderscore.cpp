#include "reports/reminderscore.h"

#include "catalogue/bookcore.h"
#include "data/database.h"
#include "data/directquery.h"
#include "reports/readguard.h"

#include <QHash>

#include <algorithm>

namespace {

bool clientBefore(const ReminderLetter &a, const ReminderLetter &b)
{
    if (const int c = czechCompare(a.prijmeni, b.prijmeni, Qt::CaseInsensitive))
        return c < 0;
    if (const int c = czechCompare(a.jmeno, b.jmeno, Qt::CaseInsensitive))
        return c < 0;
    if (a.clientCode != b.clientCode)
        return a.clientCode < b.clientCode;
    return a.clientId < b.clientId;
}

bool bookBefore(const ReminderBook &a, const ReminderBook &b)
{
    if (a.due != b.due)
        return a.due < b.due;
    if (const int c = czechCompare(a.code, b.code, Qt::CaseInsensitive))
        return c < 0;
    if (a.code != b.code)
        return a.code < b.code;
    return a.bookId < b.bookId;
}

void readLetters(DateNumber day, qint32 clientId, QList<ReminderLetter> *out)
{
    QString sql = QString::fromLatin1(ReminderSql::OverdueBooks);
    if (clientId >= 0)
        sql += QString::fromLatin1(ReminderSql::OneClient);
    DirectQuery books(sql);
    books.bind(1, day);
    if (clientId >= 0)
        books.bind(2, clientId);
    QHash<qint32, qsizetype> letterOf; // client id -> index in out
    while (books.next()) {
        const auto client = qint32(books.integer(0));
        auto it = letterOf.constFind(client);
        if (it == letterOf.constEnd()) {
            ReminderLetter letter;
            letter.clientId = client;
            out->append(letter);
            it = letterOf.insert(client, out->size() - 1);
        }
        ReminderBook book;
        book.bookId = qint32(books.integer(1));
        book.code = books.text(2);
        book.title = books.text(3);
        book.author = books.text(4);
        book.loanDate = DateNumber(books.integer(5));
        book.due = DateNumber(books.integer(6));
        book.daysLate = daysBetween(book.due, day);
        (*out)[*it].books.append(book);
    }

    DirectQuery lide(QString::fromLatin1(ReminderSql::Client));
    for (ReminderLetter &letter : *out) {
        lide.bind(1, letter.clientId);
        if (!lide.next())
            throw MissingRow{};
        letter.clientCode = lide.text(0);
        letter.jmeno = lide.text(1);
        letter.prijmeni = lide.text(2);
        if (lide.integer(3) != 0)
            letter.address = lide.text(4).trimmed();
        lide.reset();
        std::sort(letter.books.begin(), letter.books.end(), bookBefore);
    }
    std::sort(out->begin(), out->end(), clientBefore);
}

QString escaped(const QString &text)
{
    return text.toHtmlEscaped();
}

} // namespace

int collectReminders(DateNumber day, qint32 clientId, QList<ReminderLetter> *out)
{
    out->clear();
    return guardedRead([&] { readLetters(day, clientId, out); }, [&] { out->clear(); });
}

QString letterDateText(DateNumber day)
{
    const QDate d = dateFromNumber(day);
    return d.isValid() ? QString::asprintf("%d. %d. %d", d.day(), d.month(), d.year()) : QString();
}

QString reminderTitle()
{
    return QStringLiteral("Upomínka");
}

QString reminderSalutation()
{
    return QStringLiteral("Vážená paní, vážený pane,");
}

QString reminderRequestText(DateNumber day)
{
    return QStringLiteral("dovolujeme si Vás upozornit, že ke dni %1 jste dosud nevrátili níže uvedené "
                          "knihy, jejichž výpůjční lhůta již uplynula. Prosíme Vás o jejich laskavé "
                          "vrácení v nejbližším možném termínu.")
        .arg(letterDateText(day));
}

QString reminderClosingText()
{
    return QStringLiteral("Pokud jste knihy mezitím vrátili, považujte prosím tuto upomínku za "
                          "bezpředmětnou. Děkujeme Vám za pochopení.\n\nS pozdravem");
}

QString reminderNoneText(DateNumber day)
{
    return QStringLiteral("Ke dni %1 nemá žádný klient vypůjčenou knihu s prodlením.")
        .arg(letterDateText(day));
}

QString remindersHtml(const QList<ReminderLetter> &letters, DateNumber day, const QString &library)
{
    QString html = QStringLiteral("<!DOCTYPE html>\n<html lang=\"cs\">\n<head>\n<meta charset=\"utf-8\">\n"
                                  "<title>Upomínky ke dni %1</title>\n"
                                  "<style>\nsection { page-break-after: always; margin-bottom: 3em; }\n"
                                  "table { border-collapse: collapse; width: 100%; }\n"
                                  "td, th { border: 1px solid black; padding: 2px 4px; text-align: left; }\n"
                                  "td.num { text-align: right; }\n</style>\n</head>\n<body>\n")
                       .arg(escaped(letterDateText(day)));
    if (letters.isEmpty())
        html += QStringLiteral("<p>") + escaped(reminderNoneText(day)) + QStringLiteral("</p>\n");
    for (const ReminderLetter &letter : letters) {
        html += QStringLiteral("<section>\n<p>") + escaped(library) + QStringLiteral("<br>\n") +
                escaped(letterDateText(day)) + QStringLiteral("</p>\n<address>") +
                escaped(letter.jmeno + QLatin1Char(' ') + letter.prijmeni) + QStringLiteral(" (") +
                escaped(letter.clientCode) + QStringLiteral(")");
        if (!letter.address.isEmpty())
            html += QStringLiteral("<br>\n") +
                    escaped(letter.address).replace(QLatin1Char('\n'), QStringLiteral("<br>\n"));
        html += QStringLiteral("</address>\n<h2>") + escaped(reminderTitle()) + QStringLiteral("</h2>\n<p>") +
                escaped(reminderSalutation()) + QStringLiteral("</p>\n<p>") +
                escaped(reminderRequestText(day)) +
                QStringLiteral("</p>\n<table>\n<tr><th>Kód</th><th>Název</th><th>Autor</th><th>Půjčeno</th>"
                               "<th>Vrátit do</th><th>Prodlení (dní)</th></tr>\n");
        for (const ReminderBook &book : letter.books)
            html +=
                QStringLiteral("<tr><td>%1</td><td>%2</td><td>%3</td><td>%4</td><td>%5</td><td class=\"num\">"
                               "%6</td></tr>\n")
                    .arg(escaped(book.code), escaped(book.title), escaped(book.author),
                         escaped(dateText(book.loanDate)), escaped(dateText(book.due)),
                         QString::number(book.daysLate));
        html += QStringLiteral("</table>\n<p>") +
                escaped(reminderClosingText()).replace(QStringLiteral("\n\n"), QStringLiteral("</p>\n<p>")) +
                QStringLiteral("</p>\n<p>Za knihovnu: ____________________</p>\n</section>\n");
    }
    return html + QStringLiteral("</body>\n</html>\n");
}
