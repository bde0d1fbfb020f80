#include "cli/clicommon.h"

#include <QCoreApplication>

#include <cstdio>
#include <memory>

int cmdInit(const QStringList &args);
int cmdDemo(const QStringList &args);
int cmdCheck(const QStringList &args);
int cmdBackup(const QStringList &args);
int cmdReport(const QStringList &args);
int cmdProtocol(const QStringList &args);
int cmdReminders(const QStringList &args);
int cmdStatistics(const QStringList &args);
int cmdCopy(const QStringList &args);
int cmdDeskSim(const QStringList &args);
QCoreApplication *createCliApplication(int &argc, char **argv);

namespace {

const CliCommandEntry Commands[] = {
    {"init", "init [--data-dir DIR] [--database URL]", cmdInit},
    {"demo", "demo [--data-dir DIR] [--database URL] [--books N] [--clients N] [--seed S]", cmdDemo},
    {"check", "check [--data-dir DIR] [--database URL]", cmdCheck},
    {"backup", "backup export|import FILE [--data-dir DIR] [--database URL] [--overwrite]", cmdBackup},
    {"report",
     "report KIND [--data-dir DIR] [--database URL] [--client CODE] [--category NAME] [--date D.M.YYYY] "
     "--html FILE",
     cmdReport},
    {"protocol", "protocol loan|return N [--data-dir DIR] [--database URL] --pdf FILE", cmdProtocol},
    {"reminders",
     "reminders [--data-dir DIR] [--database URL] [--date D.M.YYYY] [--client CODE] (--pdf FILE | --html "
     "FILE)",
     cmdReminders},
    {"statistics", "statistics --year Y [--data-dir DIR] [--database URL] [--html FILE] [--csv FILE]",
     cmdStatistics},
    {"copy", "copy --from DIR|URL --to DIR|URL", cmdCopy},
};

int usage()
{
    std::fprintf(stderr, "usage: folivo-cli COMMAND ...\n");
    for (const CliCommandEntry &c : Commands)
        std::fprintf(stderr, "  folivo-cli %s\n", c.usage);
    return 2;
}

} // namespace

int main(int argc, char **argv)
{
    const std::unique_ptr<QCoreApplication> app(createCliApplication(argc, argv));
    QCoreApplication::setOrganizationName(QStringLiteral("Folivo"));
    QCoreApplication::setApplicationName(QStringLiteral("Folivo"));
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.isEmpty())
        return usage();
    const QString name = args.takeFirst();
    if (name == QLatin1String("desk-sim")) // for the tests of several desks; not in the usage
        return cmdDeskSim(args);
    for (const CliCommandEntry &c : Commands)
        if (name == QLatin1String(c.name))
            return c.run(args);
    std::fprintf(stderr, "folivo-cli: unknown command %s\n", name.toUtf8().constData());
    return usage();
}
