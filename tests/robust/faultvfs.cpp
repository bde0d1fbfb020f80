#include "faultvfs.h"

#include <sqlite3.h>

#include <cstring>

namespace {

sqlite3_vfs *s_base = nullptr;
sqlite3_vfs s_vfs;
bool s_armed = false;
int s_allowed = 0;
int s_passed = 0;
bool s_failed = false;
FaultVfs::Failure s_failure = FaultVfs::Failure::Io;

// The wrapped file: our methods first, the real file right behind.
struct FaultFile
{
    sqlite3_file base;
    sqlite3_file *real;
    bool journal;
};

bool s_otherRefusal = false; // a refusal other than the sync of a journal

sqlite3_file *real(sqlite3_file *f)
{
    return reinterpret_cast<FaultFile *>(f)->real;
}

int refusal(int ioCode, sqlite3_file *f = nullptr)
{
    if (ioCode != SQLITE_IOERR_FSYNC || !f || !reinterpret_cast<FaultFile *>(f)->journal)
        s_otherRefusal = true;
    s_failed = true;
    return s_failure == FaultVfs::Failure::Full ? SQLITE_FULL : ioCode;
}

// True when this write may go through; counts it.
bool mayWrite()
{
    if (s_armed && s_passed >= s_allowed)
        return false;
    ++s_passed;
    return true;
}

int xClose(sqlite3_file *f)
{
    sqlite3_file *r = real(f);
    const int rc = r->pMethods ? r->pMethods->xClose(r) : SQLITE_OK;
    sqlite3_free(r);
    return rc;
}
int xRead(sqlite3_file *f, void *buf, int n, sqlite3_int64 off)
{
    return real(f)->pMethods->xRead(real(f), buf, n, off);
}
int xWrite(sqlite3_file *f, const void *buf, int n, sqlite3_int64 off)
{
    if (!mayWrite())
        return refusal(SQLITE_IOERR_WRITE);
    return real(f)->pMethods->xWrite(real(f), buf, n, off);
}
int xTruncate(sqlite3_file *f, sqlite3_int64 size)
{
    if (s_armed && s_passed >= s_allowed)
        return refusal(SQLITE_IOERR_TRUNCATE);
    return real(f)->pMethods->xTruncate(real(f), size);
}
int xSync(sqlite3_file *f, int flags)
{
    if (s_armed && s_passed >= s_allowed)
        return refusal(SQLITE_IOERR_FSYNC, f);
    return real(f)->pMethods->xSync(real(f), flags);
}
int xFileSize(sqlite3_file *f, sqlite3_int64 *size)
{
    return real(f)->pMethods->xFileSize(real(f), size);
}
int xLock(sqlite3_file *f, int l)
{
    return real(f)->pMethods->xLock(real(f), l);
}
int xUnlock(sqlite3_file *f, int l)
{
    return real(f)->pMethods->xUnlock(real(f), l);
}
int xCheckReservedLock(sqlite3_file *f, int *out)
{
    return real(f)->pMethods->xCheckReservedLock(real(f), out);
}
int xFileControl(sqlite3_file *f, int op, void *arg)
{
    return real(f)->pMethods->xFileControl(real(f), op, arg);
}
int xSectorSize(sqlite3_file *f)
{
    return real(f)->pMethods->xSectorSize(real(f));
}
int xDeviceCharacteristics(sqlite3_file *f)
{
    return real(f)->pMethods->xDeviceCharacteristics(real(f));
}

// Version 1 methods only: no shared memory (the program uses a rollback journal) and no
// memory mapping, so every page goes through xRead and xWrite.
const sqlite3_io_methods s_methods = {1,
                                      xClose,
                                      xRead,
                                      xWrite,
                                      xTruncate,
                                      xSync,
                                      xFileSize,
                                      xLock,
                                      xUnlock,
                                      xCheckReservedLock,
                                      xFileControl,
                                      xSectorSize,
                                      xDeviceCharacteristics,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr,
                                      nullptr};

int xOpen(sqlite3_vfs *, sqlite3_filename name, sqlite3_file *file, int flags, int *outFlags)
{
    auto *f = reinterpret_cast<FaultFile *>(file);
    f->base.pMethods = nullptr;
    f->journal = (flags & SQLITE_OPEN_MAIN_JOURNAL) != 0;
    f->real = static_cast<sqlite3_file *>(sqlite3_malloc(s_base->szOsFile));
    if (!f->real)
        return SQLITE_NOMEM;
    std::memset(f->real, 0, size_t(s_base->szOsFile));
    const int rc = s_base->xOpen(s_base, name, f->real, flags, outFlags);
    if (rc != SQLITE_OK) {
        if (f->real->pMethods)
            f->real->pMethods->xClose(f->real);
        sqlite3_free(f->real);
        f->real = nullptr;
        return rc;
    }
    f->base.pMethods = &s_methods;
    return SQLITE_OK;
}

int xDelete(sqlite3_vfs *, const char *name, int syncDir)
{
    return s_base->xDelete(s_base, name, syncDir);
}
int xAccess(sqlite3_vfs *, const char *name, int flags, int *out)
{
    return s_base->xAccess(s_base, name, flags, out);
}
int xFullPathname(sqlite3_vfs *, const char *name, int n, char *out)
{
    return s_base->xFullPathname(s_base, name, n, out);
}
void *xDlOpen(sqlite3_vfs *, const char *name)
{
    return s_base->xDlOpen(s_base, name);
}
void xDlError(sqlite3_vfs *, int n, char *msg)
{
    s_base->xDlError(s_base, n, msg);
}
void (*xDlSym(sqlite3_vfs *, void *h, const char *sym))(void)
{
    return s_base->xDlSym(s_base, h, sym);
}
void xDlClose(sqlite3_vfs *, void *h)
{
    s_base->xDlClose(s_base, h);
}
int xRandomness(sqlite3_vfs *, int n, char *out)
{
    return s_base->xRandomness(s_base, n, out);
}
int xSleep(sqlite3_vfs *, int us)
{
    return s_base->xSleep(s_base, us);
}
int xCurrentTime(sqlite3_vfs *, double *t)
{
    return s_base->xCurrentTime(s_base, t);
}
int xGetLastError(sqlite3_vfs *, int n, char *msg)
{
    return s_base->xGetLastError ? s_base->xGetLastError(s_base, n, msg) : 0;
}

} // namespace

namespace FaultVfs {

void install()
{
    if (s_base)
        return;
    s_base = sqlite3_vfs_find(nullptr);
    std::memset(&s_vfs, 0, sizeof s_vfs);
    s_vfs.iVersion = 1;
    s_vfs.szOsFile = int(sizeof(FaultFile));
    s_vfs.mxPathname = s_base->mxPathname;
    s_vfs.zName = "folivo-fault";
    s_vfs.xOpen = xOpen;
    s_vfs.xDelete = xDelete;
    s_vfs.xAccess = xAccess;
    s_vfs.xFullPathname = xFullPathname;
    s_vfs.xDlOpen = xDlOpen;
    s_vfs.xDlError = xDlError;
    s_vfs.xDlSym = xDlSym;
    s_vfs.xDlClose = xDlClose;
    s_vfs.xRandomness = xRandomness;
    s_vfs.xSleep = xSleep;
    s_vfs.xCurrentTime = xCurrentTime;
    s_vfs.xGetLastError = xGetLastError;
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
