/* Preloaded into a folivo-cli run by the crash-point test: counts every call that changes a file
 * (an open for writing, a write to a regular file, fsync, rename, link, unlink, truncate, mkdir)
 * and kills the process with SIGKILL right after the N-th one (FOLIVO_CRASH_AT=N). Without
 * FOLIVO_CRASH_AT it only counts, and writes the count into FOLIVO_CRASH_COUNT_FILE at exit, so
 * the test knows how many points there are to cut at. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

static long kill_at = -1;
static long count = 0;

static void *real(const char *name)
{
    return dlsym(RTLD_NEXT, name);
}

static void step(void)
{
    ++count;
    if (kill_at > 0 && count == kill_at)
        raise(SIGKILL);
}

__attribute__((constructor)) static void start(void)
{
    const char *at = getenv("FOLIVO_CRASH_AT");
    if (at && *at)
        kill_at = atol(at);
}

__attribute__((destructor)) static void finish(void)
{
    const char *file = getenv("FOLIVO_CRASH_COUNT_FILE");
    if (!file || kill_at > 0)
        return;
    int (*o)(const char *, int, ...) = real("open");
    ssize_t (*w)(int, const void *, size_t) = real("write");
    int fd = o(file, O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        return;
    char text[32];
    int n = snprintf(text, sizeof text, "%ld\n", count);
    if (w(fd, text, (size_t)n) < 0)
        count = -1;
    close(fd);
}

static int changes(int flags)
{
    return (flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) != 0;
}

static int regular(int fd)
{
    struct stat st;
    return fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
}

#define OPEN_LIKE(name, ...)                                                                            \
    {                                                                                                   \
        mode_t mode = 0;                                                                                \
        if (flags & (O_CREAT | __O_TMPFILE)) {                                                          \
            va_list ap;                                                                                 \
            va_start(ap, flags);                                                                        \
            mode = va_arg(ap, mode_t);                                                                  \
            va_end(ap);                                                                                 \
        }                                                                                               \
        int (*f)() = real(name);                                                                        \
        int r = f(__VA_ARGS__, mode);                                                                   \
        if (r >= 0 && changes(flags))                                                                   \
            step();                                                                                     \
        return r;                                                                                       \
    }

int open(const char *path, int flags, ...) OPEN_LIKE("open", path, flags)
int open64(const char *path, int flags, ...) OPEN_LIKE("open64", path, flags)
int openat(int dir, const char *path, int flags, ...) OPEN_LIKE("openat", dir, path, flags)
int openat64(int dir, const char *path, int flags, ...) OPEN_LIKE("openat64", dir, path, flags)

#define COUNTED(type, name, params, args, cond)                                                         \
    type name params                                                                                    \
    {                                                                                                   \
        type(*f) params = real(#name);                                                                  \
        type r = f args;                                                                                \
        if (cond)                                                                                       \
            step();                                                                                     \
        return r;                                                                                       \
    }

COUNTED(ssize_t, write, (int fd, const void *b, size_t n), (fd, b, n), r > 0 && regular(fd))
COUNTED(ssize_t, pwrite, (int fd, const void *b, size_t n, off_t o), (fd, b, n, o), r > 0 && regular(fd))
COUNTED(ssize_t, pwrite64, (int fd, const void *b, size_t n, off64_t o), (fd, b, n, o), r > 0 && regular(fd))
COUNTED(ssize_t, writev, (int fd, const struct iovec *v, int n), (fd, v, n), r > 0 && regular(fd))
COUNTED(int, fsync, (int fd), (fd), 1)
COUNTED(int, fdatasync, (int fd), (fd), 1)
COUNTED(int, ftruncate, (int fd, off_t n), (fd, n), 1)
COUNTED(int, ftruncate64, (int fd, off64_t n), (fd, n), 1)
COUNTED(int, rename, (const char *a, const char *b), (a, b), r == 0)
COUNTED(int, renameat, (int da, const char *a, int db, const char *b), (da, a, db, b), r == 0)
COUNTED(int, renameat2, (int da, const char *a, int db, const char *b, unsigned fl), (da, a, db, b, fl), r == 0)
COUNTED(int, link, (const char *a, const char *b), (a, b), r == 0)
COUNTED(int, linkat, (int da, const char *a, int db, const char *b, int fl), (da, a, db, b, fl), r == 0)
COUNTED(int, unlink, (const char *a), (a), r == 0)
COUNTED(int, unlinkat, (int d, const char *a, int fl), (d, a, fl), r == 0)
COUNTED(int, mkdir, (const char *a, mode_t m), (a, m), r == 0)
COUNTED(int, fchmod, (int fd, mode_t m), (fd, m), r == 0)
COUNTED(int, chmod, (const char *a, mode_t m), (a, m), r == 0)
