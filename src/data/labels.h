#pragma once

#include <QString>

// How a client is named wherever a book's holder or a report's client is shown:
// the code, two blanks, then (surname first-name), e.g. "K017  (Novák Jan)".
inline QString clientLabel(const QString &code, const QString &surname, const QString &firstName)
{
    return code + QStringLiteral("  (") + surname + QLatin1Char(' ') + firstName + QLatin1Char(')');
}

// The longest values that lists and printed tables make room for: a date as the program writes it
// (in the widest digits; " 7. 3.2005" is narrower) and a code of 20 characters.
inline QString widestDateSample()
{
    return QStringLiteral("28.12.2005");
}
inline QString longestCodeSample()
{
    return QStringLiteral("NAU-2005-00001234567");
}
