#pragma once

#include <QStringList>

// Checks the open library against every rule the program keeps between its tables: SQLite's own
// integrity check, then the relations (a lent book has exactly one open loan row and a holder, a
// book not lent has none, a discarded book is never lent, every reference points at a row), the
// counters (every key below its IDS counter, PRIRUSTEK_MAX at least every accession number) and
// uniqueness of codes, accession numbers and category names. Returns one plain sentence per
// violation found; an empty list means the library is sound. Throws DbError.
QStringList checkLibrary();

// What a check of one database file found, by kind. An image for a restore must pass all three;
// a librarian may force one that fails only the record rules.
struct LibraryCheck
{
    QStringList integrity; // SQLite's integrity check, when it does not answer a single "ok"
    QStringList schema;    // differences from the shipped schema (tables, columns, indexes, extras)
    QStringList records;   // broken rules between the rows
    bool structurallySound() const { return integrity.isEmpty() && schema.isEmpty(); }
    bool sound() const { return structurallySound() && records.isEmpty(); }
    QStringList all() const { return integrity + schema + records; }
};

// Checks the database file at path through a read-only connection of its own; the open library is
// not touched. The record rules run only on a file that passed the integrity and schema checks.
LibraryCheck checkDatabaseFile(const QString &path);
