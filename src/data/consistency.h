#pragma once

#include <QStringList>

// Checks the open library against every rule the program keeps between its tables: SQLite's own
// integrity check, then the relations (a lent book has exactly one open loan row and a holder, a
// book not lent has none, a discarded book is never lent, every reference points at a row), the
// counters (every key below its IDS counter, PRIRUSTEK_MAX at least every accession number) and
// uniqueness of codes, accession numbers and category names. Returns one plain sentence per
// violation found; an empty list means the library is sound. Throws DbError.
QStringList checkLibrary();
