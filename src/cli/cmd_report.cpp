#include "app/messages.h"
#include "cli/clicommon.h"
#include "data/czechorder.h"
#include "data/database.h"
#include "reports/htmlcore.h"
#include "reports/reportcore.h"

#include <QDir>
#include <QFileInfo>

// folivo-cli report KIND [--client CODE] [--category NAME] [--date D.M.YYYY] --html FILE: runs one
// of the nine reports and writes the same HTML page as the report view's export.

namespace {

struct KindName
{
    const char *name;
    int kind;
};
const KindName KindNames[] = {
    {"client-loans", ReportKind::ClientLoans},
    {"category", ReportKind::Category},
    {"client-history", ReportKind::ClientHistory},
    {"overdue", ReportKind::Overdue},
    {"lent", ReportKind::Lent},
    {"discarded", ReportKind::Discarded},
    {"present", ReportKind::Present},
    {"present-lent", ReportKind::PresentAndLent},
    {"client-overdue", ReportKind::ClientOverdue},
};

int parseKind(const QString &text)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    if (isNumber)
        return number >= 1 && number <= 9 ? number : -1;
    for (const KindName &k : KindNames)
        if (text == QLatin1String(k.name))
            return k.kind;
    return -1;
}

QString kindList()
{
    QStringList names;
    for (const KindName &k : KindNames)
        names << QStringLiteral("%1 (%2)").arg(QLatin1String(k.name)).arg(k.kind);
    return names.join(QStringLiteral(", "));
}

int failWithMessage(int number)
{
    return cliFail(QStringLiteral("%1 (message %2)").arg(messageText(number)).arg(number));
}

} // namespace

int cmdReport(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv,
                      {QStringLiteral("data-dir"), QStringLiteral("client"), QStringLiteral("category"),
                       QStringLiteral("date"), QStringLiteral("html")},
                      {}, &args, &error))
        return cliFail(error);
    if (args.positional.size() != 1)
        return cliFail(QStringLiteral("report needs exactly one KIND: %1").arg(kindList()));
    const int kind = parseKind(args.positional.constFirst());
    if (kind < 0)
        return cliFail(QStringLiteral("unknown report kind %1; use one of %2")
                           .arg(args.positional.constFirst(), kindList()));
    const QString html = args.value(QStringLiteral("html"));
    if (html.isEmpty())
        return cliFail(QStringLiteral("report needs --html FILE"));

    const bool needsClient = kind == ReportKind::ClientLoans || kind == ReportKind::ClientHistory ||
                             kind == ReportKind::ClientOverdue;
    const bool needsCategory = kind == ReportKind::Category;
    const bool takesDate = kind == ReportKind::Overdue || kind == ReportKind::ClientOverdue;
    if (needsClient != args.has(QStringLiteral("client")))
        return cliFail(needsClient ? QStringLiteral("report %1 needs --client CODE").arg(kind)
                                   : QStringLiteral("report %1 takes no --client").arg(kind));
    if (needsCategory != args.has(QStringLiteral("category")))
        return cliFail(needsCategory ? QStringLiteral("report %1 needs --category NAME").arg(kind)
                                     : QStringLiteral("report %1 takes no --category").arg(kind));
    if (!takesDate && args.has(QStringLiteral("date")))
        return cliFail(QStringLiteral("report %1 takes no --date").arg(kind));

    QDate day = today();
    if (args.has(QStringLiteral("date"))) {
        day = parseDate(args.value(QStringLiteral("date")));
        if (!day.isValid())
            return failWithMessage(95);
    }

    const QString dir = resolveDataDir(args);
    if (!openLibraryOf(args, dir, &error))
        return cliFail(error);
    const QString target = enterDataDir(dir, html);
    if (target.isEmpty()) {
        Database::close();
        return cliFail(QStringLiteral("cannot enter the data directory %1").arg(dir));
    }

    ReportQuery query;
    int message = 0;
    if (needsClient) {
        ReportClient client;
        message = findReportClient(args.value(QStringLiteral("client")), &client);
        if (message == 0) {
            const QString label = clientLabel(client.code, client.prijmeni, client.jmeno);
            if (kind == ReportKind::ClientLoans)
                query = clientLoansReport(client.id, label);
            else if (kind == ReportKind::ClientHistory)
                query = clientHistoryReport(client.id, label);
            else
                query = clientOverdueReport(client.id, client.prijmeni, client.jmeno, dateNumberFromDate(day),
                                            dateText(day));
        }
    } else if (needsCategory) {
        QList<ReportCategory> categories;
        message = listShownCategories(&categories);
        const QString name = args.value(QStringLiteral("category")).trimmed();
        if (message == 0) {
            const auto it =
                std::find_if(categories.cbegin(), categories.cend(),
                             [&](const ReportCategory &c) { return sameIgnoringCase(c.name, name); });
            if (it == categories.cend()) {
                Database::close();
                return cliFail(QStringLiteral("no shown category is named %1").arg(name));
            }
            query = categoryReport(it->id, it->name);
        }
    } else if (kind == ReportKind::Overdue) {
        query = overdueReport(dateNumberFromDate(day), dateText(day));
    } else {
        query = fixedReport(kind);
    }
    if (message != 0) {
        Database::close();
        return failWithMessage(message);
    }
    const ReportResult result = runReport(query.sql);
    Database::close();
    if (result.message != 0)
        return failWithMessage(result.message);
    const SafeFile::Result written = writeReportHtml(target, query.title, result.rows, result.summary);
    if (!written.ok())
        return cliFail(QStringLiteral("%1 (message 120: %2)").arg(written.describe(), messageText(120)));
    cliPrint(QStringLiteral("%1: %2").arg(html, result.summary));
    return 0;
}
