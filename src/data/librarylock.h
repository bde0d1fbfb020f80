#pragma once

#include <QString>

// The data directory is locked by the one program (or command) that works on its library, with an
// flock() on the directory itself. SQLite's own exclusive lock sits on the database file and is
// lost whenever that file is closed or replaced; this one outlives both, so a backup can close
// the library, swap a restored image in and reopen it without another copy of the program
// slipping in between. The lock is the process's: the database takes it when it opens and gives
// it back when it closes, unless a LibraryLockHold keeps it.
namespace LibraryLock {

// Locks dataDir for this process. True when this process holds it now (also when it already did);
// false when another process holds it, with the reason in *why.
bool acquire(const QString &dataDir, QString *why = nullptr);
// Lets the lock go, unless a hold keeps it.
void release();
// True when this process holds the lock of dataDir.
bool holds(const QString &dataDir);

} // namespace LibraryLock

// Keeps the data directory locked for its lifetime, across closing and reopening the database.
class LibraryLockHold final
{
public:
    explicit LibraryLockHold(const QString &dataDir);
    ~LibraryLockHold();
    // False when another process holds the directory.
    bool locked() const { return m_locked; }
    QString error() const { return m_error; }

private:
    Q_DISABLE_COPY_MOVE(LibraryLockHold)
    bool m_locked = false;
    QString m_error;
};

// A shared lock on a data directory whose library is only read (the source of a copy), taken
// beside whatever the process holds with LibraryLock: the program cannot open that library while
// it is read, and it is not read while the program has it open.
class LibraryReadLock final
{
public:
    explicit LibraryReadLock(const QString &dataDir);
    ~LibraryReadLock();
    bool locked() const { return m_fd >= 0; }
    QString error() const { return m_error; }

private:
    Q_DISABLE_COPY_MOVE(LibraryReadLock)
    int m_fd = -1;
    QString m_error;
};
