#include "cli/clicommon.h"
#include "data/database.h"

#include <QDir>

// folivo-cli init [--data-dir DIR]: installs the empty library database into the data directory.
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
    recoverCutOffRestore(dir);
    const QString path = QDir(dir).filePath(QString::fromLatin1(Database::FileName));
    if (!Database::createEmpty(path, &error))
        return cliFail(QStringLiteral("cannot install the database: %1").arg(error));
    if (!installShippedFiles(dir, &error))
        return cliFail(error);
    cliPrint(QStringLiteral("installed an empty library database: %1").arg(path));
    return 0;
}
