#pragma once

#include <QIODevice>

struct sqlite3_file;

// The open library's file, read byte for byte through the database's own file handle. Reading
// it through a second handle would be fatal to the program's lock: closing any handle of a file
// drops all of the process's locks on it. Between transactions the file is complete (the
// journal mode writes every commit into it), so this is the image a backup carries.
class LiveImage final : public QIODevice
{
public:
    LiveImage() = default;
    ~LiveImage() override;

    // Opens for reading; false, with errorString(), when the library is not open.
    bool open(OpenMode mode) override;
    bool isSequential() const override { return false; }
    qint64 size() const override { return m_size; }

protected:
    qint64 readData(char *data, qint64 maxSize) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    Q_DISABLE_COPY_MOVE(LiveImage)
    sqlite3_file *m_file = nullptr;
    qint64 m_size = 0;
};
