#pragma once

#include <QCollator>
#include <QString>
#include <QStringView>

struct sqlite3;

// Czech alphabetical order, whatever the system's language: an accented letter after its plain
// one (C, Č), CH after H, digits before letters. Every sorted list of the program and every
// ORDER BY on a text column follows it.

// The collator of that order, letter case counted or not.
const QCollator &czechCollator(Qt::CaseSensitivity cs);
// Compares two texts in Czech order; 0 for texts the collator holds equal.
int czechCompare(QStringView a, QStringView b, Qt::CaseSensitivity cs = Qt::CaseSensitive);
// The order of the program's sorted lists and statements: Czech, letter case aside; texts that it
// holds equal ("c800", "C800") follow the byte order of their UTF-8 form, so that the order is
// total and the same on every run.
int czechOrder(QStringView a, QStringView b);
// The same over UTF-8 texts, as the engine hands them over.
int czechOrderUtf8(const char *a, int lengthA, const char *b, int lengthB);

// Whether two codes or names are the same for the librarian: equal with the letter case of every
// letter ignored (beletrie is Beletrie, NAUČNÁ is Naučná), as the program's lookups compare them.
bool sameIgnoringCase(QStringView a, QStringView b);

// The name of czechOrder as an SQLite collation, and its registration on a connection.
inline constexpr const char *CzechCollation = "CZECH";
bool registerCzechCollation(sqlite3 *db);
