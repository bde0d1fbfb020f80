#pragma once

#include <QSqlDatabase>
#include <QStringList>

// Checks the open library against every rule the program keeps when it writes: SQLite's own
// integrity check, the shipped schema (no missing, changed or extra tables, columns, indexes,
// triggers or views), then the named record rules (keys, references, flags, dates, the states of
// loans, returns and discards, the counters of IDS ahead of every key, codes and names unique as
// the program's own lookups compare them). Returns one finding per broken rule; an empty list
// means the library is sound. Throws DbError.
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

// The whole check of a library on a server (db): its tables, columns and counters on the server
// itself, then every record rule on a library file written at imagePath from one snapshot of the
// server's rows, which is removed afterwards. SQLite's integrity check belongs to a library file
// and has nothing to check on a server. The record rules run only when the tables are sound.
LibraryCheck checkServerLibrary(QSqlDatabase db, const QString &imagePath);

// The whole check on a connection that is already open (with the program's collations
// registered). Throws DbError when a record rule cannot run.
LibraryCheck checkConnection(QSqlDatabase db);

// The cheap part, fit for every opening of the library: the schema comparison and the IDS row
// (exactly one, every counter set and ahead of the keys and accession numbers in use). Reads
// only the catalogue and the ends of the key indexes, so it takes milliseconds at any size.
QStringList startupProblems(QSqlDatabase db);

// One named record rule, for listing (the tests plant a fault for each).
struct RecordRuleInfo
{
    QString name;
    QString table;
};
QList<RecordRuleInfo> recordRules();
