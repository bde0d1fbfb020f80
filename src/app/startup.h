#pragma once

#include <QString>
#include <QStringList>

class CMainFrame;

// Where the program keeps its files: --data-dir DIR, else FOLIVO_HOME, else the platform's
// application-data directory; the floppy drive: --floppy DIR, else FOLIVO_FLOPPY, else
// /media/floppy; the library: --database URL, else the server configured for the data directory,
// else its Folivo.db.
struct StartupOptions
{
    QString dataDir;
    QString floppyDir;
    QString database; // --database URL: the library on a server (see Database::location)
    static StartupOptions fromArguments(const QStringList &arguments);
};

// Runs the program's start-up in its order: settings record (first-run dialogs when it is
// missing), the identity check when asked, the exclusive open of the database, the main frame.
// Returns nullptr when the program is to end (the exit code in *exitCode).
CMainFrame *startProgram(const StartupOptions &options, int *exitCode);

// The first-run dialogs "Dokončení instalace" and "Základní nastavení programu"; false when the
// user cancels one of them or the settings file cannot be written.
bool runFirstRun(const QString &iniPath);
// The identity check at start-up (its "Storno" ends the program).
bool runStartupIdentityCheck();
