#pragma once

#include "data/dates.h"

#include <QList>
#include <QString>

// Overdue reminder letters ("Upomínky"): for a day D, one letter per client who holds a book whose
// return-by date is before D. Collecting only reads.

struct ReminderBook
{
    qint32 bookId = -1;
    QString code;
    QString title;
    QString author;
    DateNumber loanDate = NoDate;
    DateNumber due = NoDate; // the loan row's DATUM_MAX
    int daysLate = 0;        // whole calendar days from the return-by date to D, as the return page counts
};

struct ReminderLetter
{
    qint32 clientId = -1;
    QString clientCode;
    QString jmeno;
    QString prijmeni;
    QString address;           // empty unless the client's record shows one (IS_ADRESA)
    QList<ReminderBook> books; // by return-by date, then code
};

// The statements of the letters (SQLite's dialect, run on the engine directly): ?1 is the day, ?2
// the one client. CROSS JOIN keeps KNIHY the outer loop: its few lent books are looked up in the
// loans by key, where the engine would otherwise read every loan row.
namespace ReminderSql {
// The overdue books of the overdue report (kind 4) with what a letter prints of them. The client
// is the loan row's, as in the report of one client's overdue books (kind 9).
inline constexpr const char *OverdueBooks =
    "SELECT V.ID_LIDE_VYPUJCKY, K.ID_KNIHY_KNIHY, K.KOD, K.NAZEV, K.AUTOR, V.DATUM_PUJCKY, V.DATUM_MAX "
    "FROM KNIHY K CROSS JOIN VYPUJCKY V ON V.ID_VYPUJCKY_VYPUJCKY = K.ID_VYPUJCKY_KNIHY AND "
    "V.ID_KNIHY_VYPUJCKY = K.ID_KNIHY_KNIHY "
    "WHERE NOT K.VYRAZENO AND K.VYPUJCENO AND V.OMEZOVAT AND V.DATUM_MAX < ?1";
inline constexpr const char *OneClient = " AND V.ID_LIDE_VYPUJCKY = ?2";
inline constexpr const char *Client =
    "SELECT KOD, JMENO, PRIJMENI, IS_ADRESA, ADRESA FROM LIDE WHERE ID_LIDE_LIDE = ?1";
} // namespace ReminderSql

// The letters for day D, one per client in Czech order of surname and first name (letter case
// ignored; the client code, then the identifier break ties). A book is overdue on D exactly when
// the overdue report for D lists it: not discarded, lent, and its open loan row has a limit
// (OMEZOVAT) with DATUM_MAX before D. The letter goes to the loan row's client. clientId -1 takes
// every client, any other value only that client.
// Returns 0, 108 when a loan's client row is missing, 109 when the database failed, 49 out of memory;
// out is empty after a failure.
int collectReminders(DateNumber day, qint32 clientId, QList<ReminderLetter> *out);

// A date inside a letter's sentences, as Czech letters write it: "7. 3. 2026".
QString letterDateText(DateNumber day);

// The standard texts of a letter.
QString reminderTitle();
QString reminderSalutation();
QString reminderRequestText(DateNumber day);
QString reminderClosingText();
QString reminderNoneText(DateNumber day); // no client has an overdue book on D

// The letters as one HTML page (UTF-8): each letter a section that a browser prints on a page of
// its own. Texts are escaped. library is the user's name of the settings record.
QString remindersHtml(const QList<ReminderLetter> &letters, DateNumber day, const QString &library);
