#include "app/messages.h"
#include "app/settings.h"
#include "cli/clicommon.h"
#include "data/database.h"
#include "data/safefile.h"
#include "reports/reminderprint.h"
#include "reports/reminderscore.h"
#include "reports/reportcore.h"

#include <QDir>

// folivo-cli reminders [--date D.M.YYYY] [--client CODE] (--pdf FILE | --html FILE): the overdue
// reminder letters of a day, one per client, as a PDF for printing or an HTML page. Prints the
// number of letters.

namespace {

int failWithMessage(int number)
{
    return cliFail(QStringLiteral("%1 (message %2)").arg(messageText(number)).arg(number));
}

} // namespace

// The user's name of the settings record names the library on letters and statistics; a data
// directory without a settings record gives an empty name.
QString cliLibraryName(const QString &dir)
{
    const auto record =
        SettingsRecord::read(QDir(dir).filePath(QString::fromLatin1(SettingsRecord::FileName)));
    return record ? record->userName : QString();
}

int cmdReminders(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv,
                      {QStringLiteral("data-dir"), QStringLiteral("date"), QStringLiteral("client"),
                       QStringLiteral("pdf"), QStringLiteral("html")},
                      {}, &args, &error))
        return cliFail(error);
    if (!args.positional.isEmpty())
        return cliFail(QStringLiteral("reminders takes no %1").arg(args.positional.constFirst()));
    const QString pdf = args.value(QStringLiteral("pdf"));
    const QString html = args.value(QStringLiteral("html"));
    if (pdf.isEmpty() && html.isEmpty())
        return cliFail(QStringLiteral("reminders needs --pdf FILE or --html FILE"));
    QDate day = today();
    if (args.has(QStringLiteral("date"))) {
        day = parseDate(args.value(QStringLiteral("date")));
        if (!day.isValid())
            return failWithMessage(95);
    }

    QString dir;
    QStringList ownFiles;
    if (!openCliLibrary(args, &dir, &ownFiles, &error))
        return cliFail(error);
    qint32 clientId = -1;
    if (args.has(QStringLiteral("client"))) {
        ReportClient client;
        const int message = findReportClient(args.value(QStringLiteral("client")), &client);
        if (message != 0) {
            Database::close();
            return failWithMessage(message);
        }
        clientId = client.id;
    }
    const DateNumber dayNumber = dateNumberFromDate(day);
    QList<ReminderLetter> letters;
    const int message = collectReminders(dayNumber, clientId, &letters);
    Database::close();
    if (message != 0)
        return failWithMessage(message);

    const QString library = cliLibraryName(dir);
    if (!pdf.isEmpty()) {
        const SafeFile::Result written = writeDocumentsPdf(
            reminderDocuments(letters, dayNumber, library, today()), pdf, {}, nullptr, ownFiles);
        if (!written.ok())
            return cliFail(written.describe());
    }
    if (!html.isEmpty()) {
        const SafeFile::Result written =
            SafeFile::writeAll(html, remindersHtml(letters, dayNumber, library).toUtf8(),
                               SafeFile::Durability::Normal, ownFiles);
        if (!written.ok())
            return cliFail(written.describe());
    }
    cliPrint(QString::number(letters.size()));
    return 0;
}
