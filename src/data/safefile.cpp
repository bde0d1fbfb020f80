#include "data/safefile.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace SafeFile {

namespace {

struct FileId
{
    dev_t device = 0;
    ino_t inode = 0;
    bool valid = false;
};

FileId fileId(const QString &path)
{
    struct stat st;
    if (path.isEmpty() || ::stat(QFile::encodeName(path).constData(), &st) != 0)
        return {};
    return {st.st_dev, st.st_ino, true};
}

// The canonical form of a path whose file may not exist yet: its directory made canonical.
QString canonicalTarget(const QString &path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    if (!canonical.isEmpty())
        return canonical;
    const QString dir = QFileInfo(info.absolutePath()).canonicalFilePath();
    return dir.isEmpty() ? QDir::cleanPath(info.absoluteFilePath())
                         : dir + QLatin1Char('/') + info.fileName();
}

QString &dataDirectorySetting()
{
    static QString dir;
    return dir;
}

} // namespace

void setDataDirectory(const QString &dir)
{
    dataDirectorySetting() = dir;
}

QString dataDirectory()
{
    const QString &dir = dataDirectorySetting();
    return dir.isEmpty() ? QDir::currentPath() : dir;
}

QString Result::describe() const
{
    return error.isEmpty() ? QStringLiteral("cannot write %1").arg(path)
                           : QStringLiteral("cannot write %1: %2").arg(path, error);
}

bool isProtectedTarget(const QString &target, const QStringList &alsoProtected)
{
    const QDir data(dataDirectory());
    QStringList own{
        data.filePath(QStringLiteral("Folivo.db")), data.filePath(QStringLiteral("Folivo.db-journal")),
        data.filePath(QStringLiteral("Folivo.ini")), data.filePath(QStringLiteral("rvmsgbit.dat"))};
    own += alsoProtected;

    const FileId targetId = fileId(target);
    const QString targetPath = canonicalTarget(target);
    for (const QString &p : std::as_const(own)) {
        const FileId id = fileId(p);
        if (targetId.valid && id.valid && id.device == targetId.device && id.inode == targetId.inode)
            return true;
        if (canonicalTarget(p) == targetPath)
            return true;
    }
    // A symbolic link whose target does not exist yet still names the file it would create.
    const QFileInfo info(target);
    if (info.isSymLink() && isProtectedTarget(info.symLinkTarget(), alsoProtected))
        return true;

    const QString temp = canonicalTarget(data.filePath(QStringLiteral("Temp")));
    return targetPath == temp || targetPath.startsWith(temp + QLatin1Char('/'));
}

bool syncFile(int fd)
{
    return ::fsync(fd) == 0;
}

bool syncDirectoryOf(const QString &path)
{
    const QString dir = QFileInfo(path).absolutePath();
    const int fd = ::open(QFile::encodeName(dir).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

Writer::Writer(const QString &target, Durability durability, const QStringList &alsoProtected)
    : m_target(target), m_durability(durability), m_alsoProtected(alsoProtected), m_file(target)
{}

Writer::~Writer()
{
    cancel();
}

Result Writer::fail(Status status, const QString &why)
{
    cancel();
    return {status, m_target, why};
}

Result Writer::open()
{
    if (isProtectedTarget(m_target, m_alsoProtected))
        return {Status::Protected, m_target, QStringLiteral("it is one of the program's own files")};
    // A device, a pipe or a folder by that name cannot be replaced by a file (and must not be).
    struct stat st;
    if (::stat(QFile::encodeName(m_target).constData(), &st) == 0 && !S_ISREG(st.st_mode))
        return {Status::OpenFailed, m_target, QStringLiteral("it is not a regular file")};
    if (!m_file.open(QIODevice::WriteOnly))
        return fail(Status::OpenFailed, m_file.errorString());
    m_open = true;
    return {Status::Ok, m_target, {}};
}

Result Writer::commit()
{
    if (!m_open)
        return {Status::WriteFailed, m_target, QStringLiteral("the file was not open")};
    if (m_file.error() != QFileDevice::NoError)
        return fail(Status::WriteFailed, m_file.errorString());
    if (!m_file.flush())
        return fail(Status::WriteFailed, m_file.errorString());
    if (m_durability == Durability::Durable && !syncFile(m_file.handle()))
        return fail(Status::WriteFailed, QString::fromLocal8Bit(std::strerror(errno)));
    m_open = false;
    if (!m_file.commit())
        return {Status::CommitFailed, m_target, m_file.errorString()};
    if (m_durability == Durability::Durable && !syncDirectoryOf(m_target))
        return {Status::CommitFailed, m_target, QString::fromLocal8Bit(std::strerror(errno))};
    return {Status::Ok, m_target, {}};
}

void Writer::cancel()
{
    if (m_open) {
        m_file.cancelWriting();
        m_file.commit(); // with the write cancelled this only removes the temporary file
        m_open = false;
    }
}

Result writeAll(const QString &target, const QByteArray &bytes, Durability durability,
                const QStringList &alsoProtected)
{
    Writer writer(target, durability, alsoProtected);
    Result r = writer.open();
    if (!r.ok())
        return r;
    if (writer.device()->write(bytes) != bytes.size())
        return {Status::WriteFailed, target, writer.device()->errorString()};
    return writer.commit();
}

} // namespace SafeFile
