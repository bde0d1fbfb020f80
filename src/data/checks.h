#pragma once

#include <QString>
#include <QStringList>

// Texts typed by the user are pasted into statements between quotes, so any of [ ] % * ' is
// refused (message 119) before a text reaches the database. So is a NUL character (pasted from
// elsewhere): the statement text would end there and look up only the part before it.
bool hasForbiddenChars(const QString &text);

// The keyword list of a book is stored as every keyword wrapped in tildes: ~a~~b~. A tilde is
// therefore refused inside a keyword (message 44).
QString joinKeywordList(const QStringList &keywords, bool *anyKeyword = nullptr);
QStringList splitKeywordList(const QString &stored);
