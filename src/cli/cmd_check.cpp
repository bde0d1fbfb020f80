#include "cli/clicommon.h"
#include "data/consistency.h"
#include "data/database.h"

#include <QDir>

// folivo-cli check [--data-dir DIR]: SQLite's integrity check and every rule between the tables;
// prints each violation and exits 1 when there is one, 0 when the library is sound.
int cmdCheck(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv, {QStringLiteral("data-dir")}, {}, &args, &error))
        return cliFail(error);
    if (!args.positional.isEmpty())
        return cliFail(QStringLiteral("check takes no arguments besides --data-dir"));
    const QString path = QDir(resolveDataDir(args)).filePath(QString::fromLatin1(Database::FileName));
    if (Database::open(path, &error) != Database::OpenResult::Ok)
        return cliFail(QStringLiteral("cannot open %1: %2").arg(path, error));
    QStringList problems;
    try {
        problems = checkLibrary();
    } catch (const DbError &e) {
        Database::close();
        return cliFail(QStringLiteral("database error: %1").arg(e.text()));
    }
    Database::close();
    for (const QString &p : problems)
        cliPrint(p);
    if (!problems.isEmpty())
        return cliFail(QStringLiteral("%1 problem(s) found in %2").arg(problems.size()).arg(path));
    cliPrint(QStringLiteral("%1: no problem found").arg(path));
    return 0;
}
