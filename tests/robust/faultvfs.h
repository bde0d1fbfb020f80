#pragma once

// A disk that fails on demand: a wrapper around SQLite's default file system, installed as the
// default for every connection opened after install(). While armed it lets a number of writes
// through and then fails every further write, sync and truncate with the chosen error, as a full
// or broken disk does. Disarmed it passes everything through.
namespace FaultVfs {

enum class Failure
{
    Io,  // SQLITE_IOERR_WRITE: the disk reports an error
    Full // SQLITE_FULL: no space left
};

// Registers the wrapper as the default file system (once per process). Databases already open
// keep the file system they were opened with: install before opening.
void install();

// From now on, lets `allowedWrites` writes pass and fails the ones after them.
void failAfter(int allowedWrites, Failure failure = Failure::Io);
void disarm();

// Writes that reached the disk since the last failAfter() or resetCount(), failed ones excluded.
int writesPassed();
void resetCount();
// Whether a write was refused since the last failAfter().
bool hasFailed();
// Whether every refusal since the last failAfter() was the sync of a journal. The last such
// sync follows the commit point (the journal is already invalidated): SQLite reports the error
// although the transaction is in the file.
bool onlyJournalSyncsFailed();

} // namespace FaultVfs
