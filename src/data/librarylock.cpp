#include "data/librarylock.h"

#include "data/database.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

int s_fd = -1;
QString s_dir;
int s_holds = 0;

QString canonicalDir(const QString &dataDir)
{
    const QString canonical = QFileInfo(dataDir).canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(QDir(dataDir).absolutePath()) : canonical;
}

} // namespace

namespace LibraryLock {

bool holds(const QString &dataDir)
{
    return s_fd >= 0 && s_dir == canonicalDir(dataDir);
}

bool acquire(const QString &dataDir, QString *why)
{
    const QString dir = canonicalDir(dataDir);
    if (s_fd >= 0 && s_dir == dir)
        return true;
    if (s_fd >= 0) {
        if (s_holds > 0) {
            if (why)
                *why = QStringLiteral("the library in %1 is still being worked on").arg(s_dir);
            return false;
        }
        ::close(s_fd);
        s_fd = -1;
        s_dir.clear();
    }
    const int fd = ::open(QFile::encodeName(dir).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        // A directory that cannot be opened holds no library either; the open that follows
        // reports what is missing.
        if (why)
            *why = QStringLiteral("%1: %2").arg(dir, QString::fromLocal8Bit(std::strerror(errno)));
        return errno == ENOENT || errno == ENOTDIR;
    }
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        ::close(fd);
        if (why)
            *why = error == EWOULDBLOCK
                       ? QStringLiteral("the library in %1 is in use by another copy of the program").arg(dir)
                       : QStringLiteral("cannot lock %1: %2")
                             .arg(dir, QString::fromLocal8Bit(std::strerror(error)));
        return false;
    }
    s_fd = fd;
    s_dir = dir;
    return true;
}

void release()
{
    if (s_holds > 0 || s_fd < 0)
        return;
    ::close(s_fd);
    s_fd = -1;
    s_dir.clear();
}

} // namespace LibraryLock

LibraryLockHold::LibraryLockHold(const QString &dataDir)
{
    m_locked = LibraryLock::acquire(dataDir, &m_error) && LibraryLock::holds(dataDir);
    if (m_locked)
        ++s_holds;
}

LibraryLockHold::~LibraryLockHold()
{
    if (!m_locked)
        return;
    --s_holds;
    if (s_holds == 0 && !Database::isOpen())
        LibraryLock::release();
}

LibraryReadLock::LibraryReadLock(const QString &dataDir)
{
    const QString dir = canonicalDir(dataDir);
    m_fd = ::open(QFile::encodeName(dir).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_fd < 0) {
        m_error = QStringLiteral("%1: %2").arg(dir, QString::fromLocal8Bit(std::strerror(errno)));
        return;
    }
    if (::flock(m_fd, LOCK_SH | LOCK_NB) != 0) {
        const int error = errno;
        ::close(m_fd);
        m_fd = -1;
        m_error =
            error == EWOULDBLOCK
                ? QStringLiteral("the library in %1 is in use by another copy of the program").arg(dir)
                : QStringLiteral("cannot lock %1: %2").arg(dir, QString::fromLocal8Bit(std::strerror(error)));
    }
}

LibraryReadLock::~LibraryReadLock()
{
    if (m_fd >= 0)
        ::close(m_fd);
}
