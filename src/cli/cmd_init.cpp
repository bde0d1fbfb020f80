#include "cli/clicommon.h"
#include "data/database.h"
#include "data/serveraddress.h"

#include <QDir>

// folivo-cli init [--data-dir DIR] [--database URL]: installs the empty library database into the
// data directory, or its tables into the empty database on a server.
int cmdInit(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv, {QStringLiteral("data-dir")}, {}, &args, &error))
        return cliFail(error);
    if (!args.positional.isEmpty())
        return cliFail(QStringLiteral("init takes no arguments"));
    const QString dir = resolveDataDir(args);
    if (!QDir().mkpath(dir))
        return cliFail(QStringLiteral("cannot create the data directory %1").arg(dir));
    const QString location = cliLibraryLocation(args, dir);
    if (ServerAddress::looksLikeServer(location)) {
        if (!Database::createOnServer(location, &error))
            return cliFail(QStringLiteral("cannot install the library on the server: %1").arg(error));
        if (!installShippedFiles(dir, &error))
            return cliFail(error);
        cliPrint(QStringLiteral("installed an empty library on the server: %1")
                     .arg(ServerAddress::parse(location)->toString()));
        return 0;
    }
    recoverCutOffRestore(dir);
    const QString &path = location;
    if (!Database::createEmpty(path, &error))
        return cliFail(QStringLiteral("cannot install the database: %1").arg(error));
    if (!installShippedFiles(dir, &error))
        return cliFail(error);
    cliPrint(QStringLiteral("installed an empty library database: %1").arg(path));
    return 0;
}
