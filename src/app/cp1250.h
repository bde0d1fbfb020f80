#pragma once

#include <QByteArray>
#include <QString>

// Windows-1250, the code page of the original program's files: the user's name in the
// settings record and the bytes the password encoding works on. Characters outside it become '?'.
QByteArray toCp1250(const QString &text);
QString fromCp1250(const QByteArray &bytes);
