#include "cli/clicommon.h"
#include "cli/demo.h"
#include "data/database.h"
#include "data/serveraddress.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

// folivo-cli demo [--data-dir DIR] [--books N] [--clients N] [--seed S]: fills an empty data
// directory (installing the database when there is none) with a made-up Czech library.
int cmdDemo(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv,
                      {QStringLiteral("data-dir"), QStringLiteral("books"), QStringLiteral("clients"),
                       QStringLiteral("seed")},
                      {}, &args, &error))
        return cliFail(error);
    if (!args.positional.isEmpty())
        return cliFail(QStringLiteral("demo takes no arguments besides its options"));
    DemoOptions options;
    auto number = [&](const char *name, int *target, int min, int max) {
        const QString key = QString::fromLatin1(name);
        if (!args.has(key))
            return true;
        bool ok = false;
        const int v = args.value(key).toInt(&ok);
        if (!ok || v < min || v > max) {
            error = QStringLiteral("--%1 needs a whole number from %2 to %3").arg(key).arg(min).arg(max);
            return false;
        }
        *target = v;
        return true;
    };
    int seed = int(options.seed);
    if (!number("books", &options.books, 0, 5000000) || !number("clients", &options.clients, 1, 1000000) ||
        !number("seed", &seed, 0, 2147483647))
        return cliFail(error);
    options.seed = quint32(seed);

    const QString dir = resolveDataDir(args);
    if (!QDir().mkpath(dir))
        return cliFail(QStringLiteral("cannot create the data directory %1").arg(dir));
    const QString path = cliLibraryLocation(args, dir);
    // A server's library is installed by init; a data directory gets its file here.
    if (!ServerAddress::looksLikeServer(path)) {
        recoverCutOffRestore(dir);
        if (!QFileInfo::exists(path) && !Database::createEmpty(path, &error))
            return cliFail(QStringLiteral("cannot install the database: %1").arg(error));
    }
    if (!installShippedFiles(dir, &error))
        return cliFail(error);
    if (Database::open(path, &error, QDir(dir).absolutePath()) != Database::OpenResult::Ok)
        return cliFail(QStringLiteral("cannot open %1: %2").arg(path, error));
    QElapsedTimer timer;
    timer.start();
    try {
        QSqlQuery q =
            runSql(QStringLiteral("SELECT (SELECT COUNT(*) FROM KNIHY) + (SELECT COUNT(*) FROM LIDE) + "
                                  "(SELECT COUNT(*) FROM KATEGORIE)"));
        if (q.next() && q.value(0).toLongLong() > 0) {
            q.finish();
            Database::close();
            return cliFail(
                QStringLiteral("%1 already holds a library; demo fills only an empty one").arg(path));
        }
        q.finish();
        const DemoSummary s = fillDemoLibrary(options);
        cliPrint(QStringLiteral("demo library in %1: %2 categories, %3 books (%4 lent now, %5 discarded), "
                                "%6 clients, %7 loan rows, %8 return rows, %9 ms")
                     .arg(path)
                     .arg(s.categories)
                     .arg(s.books)
                     .arg(s.lentNow)
                     .arg(s.discarded)
                     .arg(s.clients)
                     .arg(s.loanRows)
                     .arg(s.returnRows)
                     .arg(timer.elapsed()));
    } catch (const DbError &e) {
        Database::close();
        return cliFail(QStringLiteral("database error: %1").arg(e.text()));
    }
    Database::close();
    return 0;
}
