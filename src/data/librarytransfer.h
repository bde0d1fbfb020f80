#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QStringList>

#include <functional>

// Moving a whole library between its two homes, a library file (SQLite) and a database on a
// server (PostgreSQL): the six tables row by row, in each table's own order, with every value as
// it was. The backup of a server library is a library file made this way from one snapshot, so a
// backup file moves a library from either engine to the other.
namespace LibraryTransfer {

// The six tables, IDS last.
const QStringList &tableNames();

// Rows of the five tables other than IDS, -1 when they cannot be counted.
qint64 recordCount(QSqlDatabase db);

// Copies every row of the six tables of `from` into `to`, whose tables are there and whose rows
// are replaced (IDS too). `from` is read in one snapshot (a REPEATABLE READ, read-only transaction
// on a server); `to` is written in one transaction, rolled back on any failure. verify, when set,
// runs once the rows are in, inside both transactions; it throws DbError to roll the copy back.
// Throws DbError with the engine's text.
void copyTables(QSqlDatabase from, QSqlDatabase to, const std::function<void()> &verify = {});

// True when both hold the same rows, table by table and in the same order. *difference names the
// first table and row that differ. Reads each as it stands: the caller keeps them still (in the
// verify step of copyTables, or with both libraries locked).
bool sameRows(QSqlDatabase a, QSqlDatabase b, QString *difference);

// Makes a new library file at imagePath (which must not exist) holding the rows of `from`, read
// in one snapshot, flushed to the disk; verify as for copyTables, on the image's connection. False,
// with the reason, when it cannot; nothing is then left at imagePath.
bool writeImage(QSqlDatabase from, const QString &imagePath, QString *error,
                const std::function<void(QSqlDatabase image)> &verify = {});

// Opens a connection of its own, under connectionName, on the library file at path (read-only
// unless writable), with the program's Czech comparisons available. The caller closes it and
// removes the connection.
QSqlDatabase openFile(const QString &path, const QString &connectionName, bool writable, QString *error);

} // namespace LibraryTransfer
