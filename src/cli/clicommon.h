#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

#include <functional>

// Shared pieces of the folivo-cli commands.
struct CliArgs
{
    QStringList positional;
    QHash<QString, QString> options; // "--name value" and "--flag" (empty value)

    bool has(const QString &name) const { return options.contains(name); }
    QString value(const QString &name, const QString &fallback = QString()) const
    {
        return options.value(name, fallback);
    }
};

// Splits arguments; options that take a value are listed in valued. A command that takes
// --data-dir also takes --database URL. Returns false with an error
// text on an unknown option or a missing value.
bool parseCliArgs(const QStringList &args, const QStringList &valued, const QStringList &flags, CliArgs *out,
                  QString *error);

// The data directory: --data-dir, else FOLIVO_HOME, else the platform's application-data path.
QString resolveDataDir(const CliArgs &args);

// Installs into a data directory what the program ships beside its database: the picture of the
// about box, when the directory has none. False with a message when it cannot be written.
// Puts right a restore that was cut off in dir (the old library back in place of a missing
// Folivo.db), under the directory's lock, before anything could install a new library there.
void recoverCutOffRestore(const QString &dir);
bool installShippedFiles(const QString &dir, QString *error);

// Makes the data directory the working directory, as the program does at start-up, so that an
// output is checked against this library's own files. Returns the output path made absolute
// first (a relative one is meant from where the command was started); empty when the directory
// cannot be entered.
QString enterDataDir(const QString &dir, const QString &output);

int cliFail(const QString &message); // prints "folivo-cli: message" and returns 1

// Opens the library of the data directory for a command that reads it. False with a message for
// stderr when there is none or it cannot be opened. alsoProtected gets the library's own files
// (database, settings record), which no output of the command may overwrite.
// Where the command's library lives: --database URL, else the server configured for the data
// directory, else its Folivo.db.
QString cliLibraryLocation(const CliArgs &args, const QString &dir);
// Opens that library for a command. False with a message for stderr when there is none or it
// cannot be opened.
bool openLibraryOf(const CliArgs &args, const QString &dir, QString *error);
bool openCliLibrary(const CliArgs &args, QString *dir, QStringList *alsoProtected, QString *error);
void cliPrint(const QString &message);

using CliCommand = std::function<int(const QStringList &args)>;
struct CliCommandEntry
{
    const char *name;
    const char *usage;
    CliCommand run;
};
