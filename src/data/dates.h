#pragma once

#include <QDate>
#include <QString>

// A date as the database keeps it: year * 10000 + month * 100 + day (7 March 2005 is
// 20050307); -1 means no date. Comparing two date numbers as integers compares the dates.
using DateNumber = qint32;
constexpr DateNumber NoDate = -1;

DateNumber dateNumberFromDate(const QDate &date);
// Year d / 10000, month (d / 100) % 100, day d % 100; an invalid QDate for -1 or nonsense.
QDate dateFromNumber(DateNumber d);

// The form shown in every list and field: day and month padded with a blank (" 7. 3.2005").
QString dateText(DateNumber d);
QString dateText(const QDate &date);

// Whole calendar days from `from` to `to` (negative when `to` is earlier).
int daysBetween(DateNumber from, DateNumber to);

// Reads a typed date "d.m.yyyy", with or without blanks around the numbers (" 7. 3.2005"
// too); every date field and every typed date of the program is read here. A year of one or two
// digits means 2000-2029 for 0-29 and 1930-1999 for 30-99; a longer one is the year as typed.
// Returns an invalid QDate when the text is not a date, or names a day its month does not have.
QDate parseDate(const QString &text);
// Reads a whole number (optional sign, digits, blanks around) into a 32-bit integer.
bool parseWhole(const QString &text, qint32 *value);
// Reads a decimal number written with a comma or a point.
bool parseDecimal(const QString &text, double *value);

// Today: the system clock, or FOLIVO_TODAY=YYYY-MM-DD when it is set.
QDate today();
