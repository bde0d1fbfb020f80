#include "data/postgresdialect.h"

#include <QHash>
#include <QMutex>
#include <QSet>

#include <vector>

namespace {

struct Token
{
    enum Kind
    {
        Space,
        Word,
        Number,
        Text,   // '...'
        Quoted, // "..."
        Param,
        Punct
    };
    Kind kind;
    QString text;
    QString before; // written in front of the token
    QString after;  // written behind it
};

bool wordChar(QChar c)
{
    return c.isLetterOrNumber() || c == QLatin1Char('_');
}

std::vector<Token> tokenize(const QString &sql)
{
    std::vector<Token> out;
    const qsizetype n = sql.size();
    qsizetype i = 0;
    int nextParam = 1;
    while (i < n) {
        const QChar c = sql.at(i);
        qsizetype j = i + 1;
        Token::Kind kind = Token::Punct;
        QString text;
        if (c.isSpace()) {
            while (j < n && sql.at(j).isSpace())
                ++j;
            kind = Token::Space;
        } else if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            while (j < n && !(sql.at(j) == c && (j + 1 >= n || sql.at(j + 1) != c)))
                j += sql.at(j) == c ? 2 : 1;
            j = std::min(j + 1, n);
            kind = c == QLatin1Char('\'') ? Token::Text : Token::Quoted;
        } else if (c.isDigit()) {
            while (j < n && (sql.at(j).isDigit() || sql.at(j) == QLatin1Char('.')))
                ++j;
            kind = Token::Number;
        } else if (wordChar(c)) {
            while (j < n && wordChar(sql.at(j)))
                ++j;
            kind = Token::Word;
        } else if (c == QLatin1Char('?')) {
            while (j < n && sql.at(j).isDigit())
                ++j;
            // ?N names its parameter; a bare ? takes the next one.
            const int number = j > i + 1 ? sql.mid(i + 1, j - i - 1).toInt() : nextParam;
            nextParam = std::max(nextParam, number + 1);
            out.push_back({Token::Param, QStringLiteral("$%1").arg(number), {}, {}});
            i = j;
            continue;
        } else {
            static const QLatin1String pairs[] = {QLatin1String("<>"), QLatin1String("<="),
                                                  QLatin1String(">="), QLatin1String("!="),
                                                  QLatin1String("||"), QLatin1String("==")};
            for (QLatin1String p : pairs)
                if (QStringView(sql).mid(i, 2) == p)
                    j = i + 2;
        }
        text = sql.mid(i, j - i);
        out.push_back({kind, text, {}, {}});
        i = j;
    }
    return out;
}

bool isWord(const Token &t, const char *word)
{
    return t.kind == Token::Word && t.text.compare(QLatin1String(word), Qt::CaseInsensitive) == 0;
}

bool isPunct(const Token &t, const char *p)
{
    return t.kind == Token::Punct && t.text == QLatin1String(p);
}

// The columns that hold a flag as 0 or 1.
bool isFlagColumn(const QString &name)
{
    static const QSet<QString> flags = {
        QStringLiteral("VYRAZENO"),     QStringLiteral("VYPUJCENO"),       QStringLiteral("ROZSIRENE"),
        QStringLiteral("UKAZOVAT"),     QStringLiteral("VRACENO"),         QStringLiteral("OMEZOVAT"),
        QStringLiteral("IS_VYDAVATEL"), QStringLiteral("IS_ROKVYDANI"),    QStringLiteral("IS_POCETSTRAN"),
        QStringLiteral("IS_ANOTACE"),   QStringLiteral("IS_KLICOVESLOVO"), QStringLiteral("IS_DOKLAD"),
        QStringLiteral("IS_ADRESA"),    QStringLiteral("IS_FUNKCE"),       QStringLiteral("IS_NAROZENI")};
    return flags.contains(name.toUpper());
}

class Statement
{
public:
    explicit Statement(const QString &sql) : t(tokenize(sql)) {}

    QString text() const
    {
        QString out;
        for (const Token &k : t)
            out += k.before + k.text + k.after;
        return out;
    }

    // The significant token before i (-1 when none) and after i (size when none).
    int prev(int i) const
    {
        for (--i; i >= 0 && t[i].kind == Token::Space; --i) {
        }
        return i;
    }
    int next(int i) const
    {
        const int n = int(t.size());
        for (++i; i < n && t[i].kind == Token::Space; ++i) {
        }
        return i;
    }
    bool valid(int i) const { return i >= 0 && i < int(t.size()); }

    // The bracket that matches the one at i, searching forward for '(' and backward for ')'.
    int matching(int i) const
    {
        const bool forward = isPunct(t[i], "(");
        int depth = 0;
        for (int k = i; valid(k); k += forward ? 1 : -1) {
            if (isPunct(t[k], "(") || isPunct(t[k], ")"))
                depth += isPunct(t[k], forward ? "(" : ")") ? 1 : -1;
            if (depth == 0)
                return k;
        }
        return forward ? int(t.size()) - 1 : 0;
    }

    // The operand that ends at token i: a column (TABLE.COLUMN), a value, a bracket or a call.
    int operandStart(int i) const
    {
        if (isPunct(t[i], ")")) {
            const int open = matching(i);
            const int before = prev(open);
            return valid(before) && t[before].kind == Token::Word && !isKeyword(t[before]) ? before : open;
        }
        int start = i;
        while (valid(prev(start)) && isPunct(t[prev(start)], ".") && valid(prev(prev(start))))
            start = prev(prev(start));
        return start;
    }
    // The operand that starts at token i.
    int operandEnd(int i) const
    {
        if (isPunct(t[i], "("))
            return matching(i);
        if (t[i].kind == Token::Word && valid(next(i)) && isPunct(t[next(i)], "("))
            return matching(next(i));
        int end = i;
        while (valid(next(end)) && isPunct(t[next(end)], ".") && valid(next(next(end))))
            end = next(next(end));
        return end;
    }

    static bool isKeyword(const Token &k)
    {
        static const char *const words[] = {"AND",    "OR",   "NOT",  "WHERE",  "ON",
                                            "HAVING", "WHEN", "IN",   "EXISTS", "SELECT",
                                            "FROM",   "BY",   "THEN", "ELSE",   "AS"};
        for (const char *w : words)
            if (isWord(k, w))
                return true;
        return false;
    }

    void wrap(int from, int to, const QString &function)
    {
        t[from].before += function + QLatin1Char('(');
        t[to].after = QLatin1Char(')') + t[to].after;
    }

    void translate()
    {
        markBetweenAnds();
        for (int i = 0; i < int(t.size()); ++i) {
            Token &k = t[i];
            if (k.kind != Token::Word && k.kind != Token::Number && k.kind != Token::Param)
                continue;
            if (isWord(k, "IFNULL")) {
                k.text = QStringLiteral("COALESCE");
            } else if (isWord(k, "TOTAL") && valid(next(i)) && isPunct(t[next(i)], "(")) {
                k.text = QStringLiteral("COALESCE(SUM(folivo_number");
                t[matching(next(i))].after += QStringLiteral(", 0.0)");
                t[matching(next(i))].text += QLatin1Char(')');
            } else if (isWord(k, "GROUP_CONCAT") && valid(next(i)) && isPunct(t[next(i)], "(")) {
                groupConcat(i);
            } else if (isWord(k, "CROSS") && valid(next(i)) && isWord(t[next(i)], "JOIN") &&
                       joinHasOn(next(i))) {
                k.text.clear(); // SQLite's CROSS JOIN ... ON only fixes the loop order
            } else if (isWord(k, "COLLATE") && valid(next(i))) {
                collate(i);
            } else if (isWord(k, "LIKE")) {
                like(i);
            } else if (isWord(k, "FROM") && valid(next(i)) && isPunct(t[next(i)], "(")) {
                nameSubquery(matching(next(i)));
            } else if (k.kind == Token::Number || k.kind == Token::Param || operandStart(i) == i) {
                // A number, or a column perhaps with its table: TABLE.COLUMN.
                const int end = operandEnd(i);
                const bool flag = k.kind != Token::Word
                                      ? end == i
                                      : t[end].kind == Token::Word && isFlagColumn(t[end].text);
                if (!flag)
                    continue;
                if (standsAsCondition(i, end)) {
                    k.before += QLatin1Char('(');
                    t[end].after = QStringLiteral(" <> 0)") + t[end].after;
                }
                i = end;
            }
        }
    }

private:
    // The AND of "BETWEEN a AND b" joins no conditions.
    void markBetweenAnds()
    {
        for (int i = 0; i < int(t.size()); ++i) {
            if (!isWord(t[i], "BETWEEN"))
                continue;
            int depth = 0;
            for (int k = i + 1; valid(k); ++k) {
                if (isPunct(t[k], "("))
                    ++depth;
                else if (isPunct(t[k], ")"))
                    --depth;
                else if (depth == 0 && isWord(t[k], "AND")) {
                    m_betweenAnds.insert(k);
                    break;
                }
            }
        }
    }

    bool joinsConditions(int i) const
    {
        return valid(i) && (isWord(t[i], "OR") || isWord(t[i], "THEN") ||
                            (isWord(t[i], "AND") && !m_betweenAnds.contains(i)));
    }

    // Whether the operand from..to is a whole condition: SQLite takes a number as true when it
    // is not 0, PostgreSQL wants a truth value there.
    bool standsAsCondition(int from, int to) const
    {
        const int before = prev(from);
        const int after = next(to);
        bool opens = !valid(before) ? false
                                    : isWord(t[before], "WHERE") || isWord(t[before], "NOT") ||
                                          isWord(t[before], "ON") || isWord(t[before], "HAVING") ||
                                          isWord(t[before], "WHEN") || joinsConditions(before);
        if (valid(before) && isPunct(t[before], "(")) {
            const int caller = prev(before);
            opens = !valid(caller) || isPunct(t[caller], "(") ||
                    (t[caller].kind == Token::Word && isKeyword(t[caller]) && !isWord(t[caller], "IN") &&
                     !isWord(t[caller], "EXISTS"));
        }
        const bool closes = !valid(after) || isPunct(t[after], ")") || isWord(t[after], "ORDER") ||
                            isWord(t[after], "GROUP") || isWord(t[after], "LIMIT") || joinsConditions(after);
        if (opens && closes)
            return true;
        // "f(FLAG AND ...)": the operand of an AND, wherever it stands.
        const bool operatorBefore =
            valid(before) && t[before].kind == Token::Punct && !isPunct(t[before], "(");
        return joinsConditions(after) && !isWord(t[after], "THEN") && !operatorBefore &&
               !(valid(before) && (isWord(t[before], "BETWEEN") || isWord(t[before], "SELECT")));
    }

    bool joinHasOn(int join) const
    {
        for (int k = next(join); valid(k); k = next(k)) {
            if (isWord(t[k], "ON"))
                return true;
            if (isWord(t[k], "JOIN") || isWord(t[k], "WHERE") || isPunct(t[k], ")"))
                return false;
        }
        return false;
    }

    void collate(int i)
    {
        const int nameAt = next(i);
        const QString name = t[nameAt].text.toUpper();
        if (name == QLatin1String("CZECH")) {
            t[nameAt].text = QStringLiteral("\"cs-CZ-x-icu\"");
            return;
        }
        if (name != QLatin1String("NOCASE") && name != QLatin1String("CZNOCASE"))
            return;
        // "X = Y COLLATE NOCASE": both sides compared folded.
        const QString function =
            name == QLatin1String("NOCASE") ? QStringLiteral("lower") : QStringLiteral("folivo_fold");
        t[i].text.clear();
        t[nameAt].text.clear();
        const int rhsEnd = prev(i);
        const int rhsStart = operandStart(rhsEnd);
        wrap(rhsStart, rhsEnd, function);
        const int op = prev(rhsStart);
        if (valid(op) && t[op].kind == Token::Punct &&
            (isPunct(t[op], "=") || isPunct(t[op], "<>") || isPunct(t[op], "!=") || isPunct(t[op], "=="))) {
            const int lhsEnd = prev(op);
            wrap(operandStart(lhsEnd), lhsEnd, function);
        }
    }

    void like(int i)
    {
        int lhsEnd = prev(i);
        if (valid(lhsEnd) && isWord(t[lhsEnd], "NOT"))
            lhsEnd = prev(lhsEnd);
        const int rhsStart = next(i);
        if (!valid(lhsEnd) || !valid(rhsStart))
            return;
        const int rhsEnd = operandEnd(rhsStart);
        wrap(rhsStart, rhsEnd, QStringLiteral("folivo_fold"));
        // SQLite's LIKE has no escape character unless one is named; PostgreSQL's has \.
        if (!valid(next(rhsEnd)) || !isWord(t[next(rhsEnd)], "ESCAPE"))
            t[rhsEnd].after += QStringLiteral(" ESCAPE ''");
        wrap(operandStart(lhsEnd), lhsEnd, QStringLiteral("folivo_fold"));
    }

    void groupConcat(int i)
    {
        const int open = next(i);
        const int close = matching(open);
        t[i].text = QStringLiteral("string_agg");
        int comma = -1;
        int depth = 0;
        for (int k = open + 1; k < close; ++k) {
            if (isPunct(t[k], "("))
                ++depth;
            else if (isPunct(t[k], ")"))
                --depth;
            else if (depth == 0 && isPunct(t[k], ",")) {
                comma = k;
                break;
            }
        }
        t[open].after += QStringLiteral("CAST(");
        if (comma < 0) {
            t[close].before += QStringLiteral(" AS TEXT), ','");
        } else {
            t[comma].before += QStringLiteral(" AS TEXT)");
        }
    }

    // PostgreSQL wants a name for every sub-select in FROM.
    void nameSubquery(int close)
    {
        const int after = next(close);
        const bool named = valid(after) && (isWord(t[after], "AS") ||
                                            (t[after].kind == Token::Word && !isWord(t[after], "WHERE") &&
                                             !isWord(t[after], "GROUP") && !isWord(t[after], "ORDER") &&
                                             !isWord(t[after], "JOIN") && !isWord(t[after], "CROSS") &&
                                             !isWord(t[after], "LIMIT")));
        if (!named)
            t[close].after += QStringLiteral(" AS folivo_sub%1").arg(close);
    }

    std::vector<Token> t;
    QSet<int> m_betweenAnds;
};

} // namespace

QString sqliteToPostgres(const QString &sql)
{
    static QMutex mutex;
    static QHash<QString, QString> cache;
    {
        QMutexLocker lock(&mutex);
        const auto it = cache.constFind(sql);
        if (it != cache.cend())
            return it.value();
    }
    Statement statement(sql);
    statement.translate();
    const QString translated = statement.text();
    QMutexLocker lock(&mutex);
    if (cache.size() > 4096)
        cache.clear();
    cache.insert(sql, translated);
    return translated;
}
