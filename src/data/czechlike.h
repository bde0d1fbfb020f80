#pragma once

#include <QSqlDatabase>
#include <QString>

// Replaces SQLite's LIKE on the connection by one that ignores letter case for every letter
// (Č and č, Ř and ř, ...), as the librarian expects, not only for ASCII.
// Also registers the collation CZNOCASE, which compares texts ignoring the case of every letter,
// and CZECH, the Czech sort order of every ORDER BY on a text (data/czechorder.h). Every
// connection to a library gets all three.
bool registerCzechLike(QSqlDatabase &db);

// The same matching, for code that compares outside a statement: % any run, _ one character.
bool czechLike(const QString &pattern, const QString &text, QChar escape = QChar());
