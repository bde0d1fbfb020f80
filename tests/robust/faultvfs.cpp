#include "faultvfs.h"

#include <sqlite3.h>
#include <utility>

namespace {

sqlite3_vfs *s_base = nullptr;
sqlite3_vfs s_vfs;
bool s_armed = false;
int s_allowed = 0;
int s_passed = 0;
bool s_failed = false;
bool s_otherRefusal = false; // a refusal other than the sync of a journal
FaultVfs::Failure s_failure = FaultVfs::Failure::Io;

// A file is the default file system's own, followed by what we keep of it.
struct Tail
{
    const sqlite3_io_methods *real;
    bool journal;
};

Tail &tail(sqlite3_file *f)
{
    const int offset = (s_base->szOsFile + 7) / 8 * 8;
    return *reinterpret_cast<Tail *>(reinterpret_cast<char *>(f) + offset);
}

int refusal(int ioCode, sqlite3_file *f = nullptr)
{
    if (ioCode != SQLITE_IOERR_FSYNC || !f || !tail(f).journal)
        s_otherRefusal = true;
    s_failed = true;
    return s_failure == FaultVfs::Failure::Full ? SQLITE_FULL : ioCode;
}

bool refusing()
{
    return s_armed && s_passed >= s_allowed;
}

int xWrite(sqlite3_file *f, const void *buf, int n, sqlite3_int64 off)
{
    if (refusing())
        return refusal(SQLITE_IOERR_WRITE);
    ++s_passed;
    return tail(f).real->xWrite(f, buf, n, off);
}
int xTruncate(sqlite3_file *f, sqlite3_int64 size)
{
    return refusing() ? refusal(SQLITE_IOERR_TRUNCATE) : tail(f).real->xTruncate(f, size);
}
int xSync(sqlite3_file *f, int flags)
{
    return refusing() ? refusal(SQLITE_IOERR_FSYNC, f) : tail(f).real->xSync(f, flags);
}

// The methods of a kind of file of the default file system (a database and a journal differ in
// their locking) with the writes replaced by ours. Version 1 only: no shared memory (the program
// uses a rollback journal) and no memory mapping, so every page goes through xRead and xWrite.
const sqlite3_io_methods *ours(const sqlite3_io_methods *real)
{
    static std::pair<const sqlite3_io_methods *, sqlite3_io_methods> kinds[4] = {};
    for (auto &[from, to] : kinds) {
        if (!from) {
            from = real;
            to = *real;
            to.iVersion = 1;
            to.xWrite = xWrite;
            to.xTruncate = xTruncate;
            to.xSync = xSync;
        }
        if (from == real)
            return &to;
    }
    return nullptr;
}

int xOpen(sqlite3_vfs *, sqlite3_filename name, sqlite3_file *file, int flags, int *outFlags)
{
    const int rc = s_base->xOpen(s_base, name, file, flags, outFlags);
    if (rc != SQLITE_OK)
        return rc;
    const sqlite3_io_methods *methods = ours(file->pMethods);
    if (!methods) {
        file->pMethods->xClose(file);
        file->pMethods = nullptr;
        return SQLITE_CANTOPEN;
    }
    tail(file) = {file->pMethods, (flags & SQLITE_OPEN_MAIN_JOURNAL) != 0};
    file->pMethods = methods;
    return SQLITE_OK;
}

} // namespace

namespace FaultVfs {

void install()
{
    if (s_base)
        return;
    s_base = sqlite3_vfs_find(nullptr);
    // Everything but the files is the default file system's own: its functions do not look at
    // the file system object they are called with.
    s_vfs = *s_base;
    s_vfs.pNext = nullptr;
    s_vfs.szOsFile = (s_base->szOsFile + 7) / 8 * 8 + int(sizeof(Tail));
    s_vfs.zName = "folivo-fault";
    s_vfs.xOpen = xOpen;
    sqlite3_vfs_register(&s_vfs, 1);
}

void failAfter(int allowedWrites, Failure failure)
{
    s_armed = true;
    s_allowed = allowedWrites;
    s_passed = 0;
    s_failed = false;
    s_otherRefusal = false;
    s_failure = failure;
}

void disarm()
{
    s_armed = false;
}

int writesPassed()
{
    return s_passed;
}

void resetCount()
{
    s_passed = 0;
}

bool hasFailed()
{
    return s_failed;
}

bool onlyJournalSyncsFailed()
{
    return s_failed && !s_otherRefusal;
}

} // namespace FaultVfs
