#include "data/liveimage.h"

#include "data/database.h"

#include <QSqlDriver>
#include <QVariant>

#include <sqlite3.h>

#include <algorithm>
#include <climits>

LiveImage::~LiveImage() = default;

bool LiveImage::open(OpenMode mode)
{
    if (mode != ReadOnly) {
        setErrorString(QStringLiteral("the library is read only"));
        return false;
    }
    QSqlDatabase db = Database::connection();
    const QVariant v = db.isOpen() ? db.driver()->handle() : QVariant();
    sqlite3 *handle = v.isValid() && qstrcmp(v.typeName(), "sqlite3*") == 0
                          ? *static_cast<sqlite3 *const *>(v.data())
                          : nullptr;
    sqlite3_file *file = nullptr;
    if (!handle || sqlite3_file_control(handle, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK ||
        !file || !file->pMethods) {
        setErrorString(QStringLiteral("the library is not open"));
        return false;
    }
    sqlite3_int64 size = 0;
    if (file->pMethods->xFileSize(file, &size) != SQLITE_OK) {
        setErrorString(QStringLiteral("the size of the library cannot be read"));
        return false;
    }
    m_file = file;
    m_size = size;
    return QIODevice::open(mode | Unbuffered);
}

qint64 LiveImage::readData(char *data, qint64 maxSize)
{
    const qint64 offset = pos();
    const qint64 n = std::min(maxSize, m_size - offset);
    if (n <= 0)
        return 0;
    if (!m_file || n > INT_MAX) {
        setErrorString(QStringLiteral("the library cannot be read"));
        return -1;
    }
    const int rc = m_file->pMethods->xRead(m_file, data, int(n), offset);
    if (rc != SQLITE_OK) {
        setErrorString(QStringLiteral("the library cannot be read (SQLite error %1)").arg(rc));
        return -1;
    }
    return n;
}
