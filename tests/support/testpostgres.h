#pragma once

#include <QString>

// A PostgreSQL server for the tests that run against both engines. scripts/test.sh starts one
// throwaway cluster for the whole run and names its socket directory in FOLIVO_TEST_PGHOST; a test
// program run on its own starts a cluster of its own the first time it asks (when Debian's
// postgresql package is installed) and stops it when the program ends.
namespace TestPostgres {

// Whether a server can be had; when not, why (for QSKIP).
bool available(QString *why = nullptr);

// A new empty database on the server, dropped when the program ends, as the URL the program
// takes ("postgresql://folivo@/NAME?host=DIR"). tag becomes part of the database's name. Returns an
// empty string when no server can be had.
QString createDatabase(const QString &tag);

// The same database as a name, for the tests that connect without the program.
QString databaseName(const QString &url);

} // namespace TestPostgres
