#include "cli/clicommon.h"

#include "app/settings.h"
#include "data/database.h"
#include "data/libraryfiles.h"
#include "data/librarylock.h"
#include "data/serveraddress.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <QHash>
#include <QSaveFile>
#include <QStandardPaths>

#include <cstdio>

bool parseCliArgs(const QStringList &args, const QStringList &valued, const QStringList &flags, CliArgs *out,
                  QString *error)
{
    for (int i = 0; i < args.size(); ++i) {
        const QString &a = args.at(i);
        if (a.startsWith(QLatin1String("--"))) {
            const QString name = a.mid(2);
            // Every command that works on the library of a data directory may name its server.
            const bool libraryOption =
                name == QLatin1String("database") && valued.contains(QLatin1String("data-dir"));
            if (valued.contains(name) || libraryOption) {
                if (i + 1 >= args.size()) {
                    *error = QStringLiteral("option %1 needs a value").arg(a);
                    return false;
                }
                out->options.insert(name, args.at(++i));
            } else if (flags.contains(name)) {
                out->options.insert(name, QString());
            } else {
                *error = QStringLiteral("unknown option %1").arg(a);
                return false;
            }
        } else {
            out->positional << a;
        }
    }
    return true;
}

QString resolveDataDir(const CliArgs &args)
{
    if (args.has(QStringLiteral("data-dir")))
        return args.value(QStringLiteral("data-dir"));
    const QString home = qEnvironmentVariable("FOLIVO_HOME");
    if (!home.isEmpty())
        return home;
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

void recoverCutOffRestore(const QString &dir)
{
    LibraryLockHold hold(dir);
    QString notice;
    QString detail;
    if (hold.locked() &&
        LibraryFiles::recoverInterruptedRestore(dir, &notice, &detail) == LibraryFiles::Recovery::Failed)
        cliFail(detail);
    if (!notice.isEmpty())
        cliFail(notice);
}

bool installShippedFiles(const QString &dir, QString *error)
{
    const QString picture = QDir(dir).filePath(QString::fromLatin1(Database::AboutPictureFile));
    if (QFileInfo::exists(picture))
        return true;
    QSaveFile f(picture); // a kill halfway leaves no torn picture that would count as present
    const QByteArray bytes = Database::aboutPicture();
    if (bytes.isEmpty() || !f.open(QIODevice::WriteOnly) || f.write(bytes) != bytes.size() || !f.commit()) {
        *error = QStringLiteral("cannot write %1").arg(picture);
        return false;
    }
    return true;
}

QString enterDataDir(const QString &dir, const QString &output)
{
    const QString absolute = QFileInfo(output).absoluteFilePath();
    return QDir::setCurrent(dir) ? absolute : QString();
}

int cliFail(const QString &message)
{
    std::fprintf(stderr, "folivo-cli: %s\n", message.toUtf8().constData());
    return 1;
}

void cliPrint(const QString &message)
{
    std::fprintf(stdout, "%s\n", message.toUtf8().constData());
    std::fflush(stdout);
}

QString cliLibraryLocation(const CliArgs &args, const QString &dir)
{
    return Database::location(QDir(dir).absolutePath(), args.value(QStringLiteral("database")));
}

bool openLibraryOf(const CliArgs &args, const QString &dir, QString *error)
{
    const QString location = cliLibraryLocation(args, dir);
    if (!ServerAddress::looksLikeServer(location) && !QFileInfo::exists(location)) {
        *error = QStringLiteral("no library database in %1").arg(dir);
        return false;
    }
    QString detail;
    if (Database::open(location, &detail, QDir(dir).absolutePath()) != Database::OpenResult::Ok) {
        *error = QStringLiteral("cannot open %1: %2").arg(location, detail);
        return false;
    }
    return true;
}

bool openCliLibrary(const CliArgs &args, QString *dir, QStringList *alsoProtected, QString *error)
{
    *dir = resolveDataDir(args);
    if (!openLibraryOf(args, *dir, error))
        return false;
    const QString path = QDir(*dir).filePath(QString::fromLatin1(Database::FileName));
    *alsoProtected = {path, path + QStringLiteral("-journal"),
                      QDir(*dir).filePath(QString::fromLatin1(SettingsRecord::FileName)),
                      QDir(*dir).filePath(QString::fromLatin1(Database::AboutPictureFile))};
    return true;
}
