#pragma once

#include <QLoggingCategory>
#include <QString>

#include <stdexcept>

// A failure of the database: thrown by the data layer, caught by the command that began the
// work, which rolls its transaction back and shows its own catalogue message. It carries the
// engine's own text and, when a statement failed, that statement.
class DbError : public std::runtime_error
{
public:
    // code: the engine's own code of the failure (on a server the SQLSTATE), when it gave one.
    explicit DbError(const QString &detail, const QString &statement = QString(),
                     const QString &code = QString())
        : std::runtime_error(composed(detail, statement).toStdString()), m_detail(detail),
          m_statement(statement), m_code(code)
    {}
    // "detail [statement]", or the detail alone.
    QString text() const { return QString::fromStdString(what()); }
    QString detail() const { return m_detail; }
    QString statement() const { return m_statement; }
    QString code() const { return m_code; }
    // The server aborted the transaction because of another desk's transaction (a serialization
    // failure or a deadlock): the same transaction run again from its start may well succeed.
    bool isConflict() const { return m_code == QLatin1String("40001") || m_code == QLatin1String("40P01"); }

private:
    static QString composed(const QString &detail, const QString &statement)
    {
        return statement.isEmpty() ? detail : detail + QStringLiteral(" [") + statement + QLatin1Char(']');
    }
    QString m_detail;
    QString m_statement;
    QString m_code;
};

// The category of every logged database failure, "folivo.db". Its warnings go to the standard
// error output (folivo-cli) or wherever the desktop session collects them.
Q_DECLARE_LOGGING_CATEGORY(lcDb)

// Logs a database failure that is answered by a message or a result code rather than passed on:
// the engine's text and the statement.
void logDbError(const DbError &error);
