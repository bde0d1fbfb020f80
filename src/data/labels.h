#pragma once

#include <QString>

// How a client is named wherever a book's holder or a report's client is shown:
// the code, two blanks, then (surname first-name), e.g. "K017  (Novák Jan)".
inline QString clientLabel(const QString &code, const QString &surname, const QString &firstName)
{
    return code + QStringLiteral("  (") + surname + QLatin1Char(' ') + firstName + QLatin1Char(')');
}
