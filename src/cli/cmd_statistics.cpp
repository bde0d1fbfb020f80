#include "app/messages.h"
#include "cli/clicommon.h"
#include "data/database.h"
#include "data/safefile.h"
#include "reports/statisticscore.h"
#include "reports/statisticsprint.h"

// folivo-cli statistics --year Y [--html FILE] [--csv FILE]: the annual statistics of one year,
// printed as text and written as an HTML page (with the chart) or a CSV file.

QString cliLibraryName(const QString &dir);

int cmdStatistics(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv,
                      {QStringLiteral("data-dir"), QStringLiteral("year"), QStringLiteral("html"),
                       QStringLiteral("csv")},
                      {}, &args, &error))
        return cliFail(error);
    if (!args.positional.isEmpty())
        return cliFail(QStringLiteral("statistics takes no %1").arg(args.positional.constFirst()));
    qint32 year = 0;
    if (!parseWhole(args.value(QStringLiteral("year")), &year) || year < StatisticsFirstYear ||
        year > StatisticsLastYear)
        return cliFail(QStringLiteral("statistics needs --year Y, a year from %1 to %2")
                           .arg(StatisticsFirstYear)
                           .arg(StatisticsLastYear));

    QString dir;
    QStringList ownFiles;
    if (!openCliLibrary(args, &dir, &ownFiles, &error))
        return cliFail(error);
    AnnualStatistics stats;
    const int message = computeAnnualStatistics(year, &stats);
    Database::close();
    if (message != 0)
        return cliFail(QStringLiteral("%1 (message %2)").arg(messageText(message)).arg(message));

    const auto write = [&](const QString &path, const QString &content) {
        const SafeFile::Result written =
            SafeFile::writeAll(path, content.toUtf8(), SafeFile::Durability::Normal, ownFiles);
        if (!written.ok())
            error = written.describe();
        return written.ok();
    };
    if (args.has(QStringLiteral("html")) &&
        !write(args.value(QStringLiteral("html")),
               statisticsHtml(stats, cliLibraryName(dir), loansChartDataUrl(stats))))
        return cliFail(error);
    if (args.has(QStringLiteral("csv")) && !write(args.value(QStringLiteral("csv")), statisticsCsv(stats)))
        return cliFail(error);

    QStringList lines{statisticsTitle(year)};
    for (const auto &[label, value] : statisticsFigures(stats))
        lines << label + QStringLiteral(": ") + value;
    cliPrint(lines.join(QLatin1Char('\n')));
    return 0;
}
