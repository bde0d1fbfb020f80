#pragma once

#include <QSqlDatabase>
#include <QString>

#include <optional>

// Where a library on a PostgreSQL server is: the address the librarian gives as
// "postgresql://[user@][host][:port]/dbname", in libpq's URI form. A host that is a directory
// (given percent-encoded, or as "?host=/dir") is the server's Unix socket directory; parameters
// left out take libpq's defaults (PGHOST, PGPORT, PGUSER, the local socket). Passwords are never
// part of it: libpq's own ~/.pgpass, PGPASSWORD or peer authentication supply them.
struct ServerAddress
{
    QString user;
    QString host; // a host name, or the socket directory; empty for libpq's default
    int port = -1;
    QString databaseName;

    // The address in a text, or nothing when the text is not a server address at all (it is then
    // a path of a data directory or library file). A server address with a fault (no database
    // name, a password, a bad port) gives an address with an empty databaseName and the reason in
    // *error.
    static std::optional<ServerAddress> parse(const QString &text, QString *error = nullptr);
    // Whether the text names a server ("postgresql://" or "postgres://"), valid or not.
    static bool looksLikeServer(const QString &text);

    // The address written back as a URL (for messages and logs; it never holds a password).
    QString toString() const;

    // Adds a connection of Qt's PostgreSQL driver under the given name with this address set on
    // it, not yet opened.
    QSqlDatabase addConnection(const QString &connectionName) const;
};

// Where the library of the program's data directory lives when no address is given on the
// command line: FOLIVO_DATABASE, or the one line of the file Folivo.server in the data directory.
// Empty means the library file Folivo.db of that directory.
QString configuredServer(const QString &dataDirectory);
