#pragma once

#include "backup/backupcore.h"

#include <QString>

// The whole "Start" of the export and of the import, in their order: the checks of the entries,
// the questions, the copy, and for the import the swap of the library file and its reopening.
// The data directory stays locked for the whole job. The
// dialogs and folivo-cli both run these; the messages go through RvMessageBox.
enum class BackupOutcome
{
    Stayed,    // refused before anything was touched (98, 99, a "No"): the dialog stays open
    Succeeded, // the copy (or the restore) is complete and the database is open again
    Failed,    // the copy or the read failed, or the restore was refused; the data are unchanged
    Quit,      // the program was told to quit during the copy; the database is open again
    Fatal,     // the database cannot be reopened: message 2 was shown and the program must end
    InUse      // a restore on a server while other desks are connected: message 2, nothing changed
};

struct ExportRequest
{
    bool toFloppies = false;
    QString fileName;  // the disk target; relative names are taken from the current directory
    QString dataDir;   // where Folivo.db and Export/ are
    QString floppyDir; // the directory that stands for the floppy drive
    BackupStamp stamp;
};

struct ImportRequest
{
    QString fileName; // the backup file, or the first volume of a series
    QString dataDir;  // where Folivo.db and Temp/ are
    // Also restores an image that breaks only rules between the records (never one that fails
    // SQLite's integrity check or differs from the shipped schema): the librarian's last resort
    // when the only backup there is has such a fault.
    bool acceptRecordFindings = false;
};

BackupOutcome runExport(const ExportRequest &request, const BackupCallbacks &callbacks);
BackupOutcome runImport(const ImportRequest &request, const BackupCallbacks &callbacks);
