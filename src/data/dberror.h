#pragma once

#include <QString>

#include <stdexcept>

// A failure of the database: thrown by the data layer, caught by the command that began the
// work, which rolls its transaction back and shows its own catalogue message.
class DbError : public std::runtime_error
{
public:
    explicit DbError(const QString &what) : std::runtime_error(what.toStdString()) {}
    QString text() const { return QString::fromStdString(what()); }
};
