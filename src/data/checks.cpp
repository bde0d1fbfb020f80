#include "data/checks.h"

bool hasForbiddenChars(const QString &text)
{
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '[':
        case ']':
        case '%':
        case '*':
        case '\'':
        case 0:
            return true;
        default:
            break;
        }
    }
    return false;
}

QString joinKeywordList(const QStringList &keywords, bool *anyKeyword)
{
    QString out;
    for (const QString &k : keywords)
        out += QLatin1Char('~') + k + QLatin1Char('~');
    if (anyKeyword)
        *anyKeyword = !keywords.isEmpty();
    return out;
}

QStringList splitKeywordList(const QString &stored)
{
    // Start after the first tilde, take the text up to the next one, then step over the seam of
    // two tildes; a piece that is blank after trimming is skipped.
    QStringList out;
    const QString s = stored.trimmed();
    if (s.isEmpty())
        return out;
    qsizetype pos = 1;
    const qsizetype len = s.size();
    while (pos < len) {
        const qsizetype next = s.indexOf(QLatin1Char('~'), pos);
        const QString piece = (next < 0 ? s.mid(pos) : s.mid(pos, next - pos)).trimmed();
        if (!piece.isEmpty())
            out << piece;
        if (next < 0)
            break;
        pos = next + 2;
    }
    return out;
}
