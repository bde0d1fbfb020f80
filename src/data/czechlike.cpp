#include "data/czechlike.h"

#include "data/czechorder.h"

#include <QSqlDriver>
#include <QVariant>

#include <sqlite3.h>

#include <vector>

namespace {

using Chars = std::vector<char32_t>;

// Folds a text made of ASCII and of the Latin letters up to U+017F (every Czech letter) one
// code point at a time; each of those folds to exactly one code point, as the whole-text folding
// would fold it. False (out undefined) for anything else, which takes the full folding.
bool foldLatinInto(const unsigned char *text, int bytes, Chars &out)
{
    out.resize(size_t(bytes));
    char32_t *o = out.data();
    size_t n = 0;
    for (int i = 0; i < bytes;) {
        const unsigned char c = text[i];
        if (c < 0x80) {
            o[n++] = char32_t(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
            ++i;
            continue;
        }
        if (c < 0xC2 || c > 0xC5 || i + 1 >= bytes || (text[i + 1] & 0xC0) != 0x80)
            return false; // beyond U+017F, or not well-formed
        const char32_t cp = (char32_t(c & 0x1F) << 6) | char32_t(text[i + 1] & 0x3F);
        // ß, İ and ŉ have a two-letter full folding: the whole-text path decides for them.
        if (cp == 0xDF || cp == 0x130 || cp == 0x149)
            return false;
        o[n++] = QChar::toCaseFolded(cp);
        i += 2;
    }
    out.resize(n);
    return true;
}

// Case-folds a UTF-8 text into out, as QString::toCaseFolded would.
void foldUtf8Into(const unsigned char *text, int bytes, Chars &out)
{
    if (!text || bytes <= 0) {
        out.clear();
        return;
    }
    if (foldLatinInto(text, bytes, out))
        return;
    out.clear();
    const QString f = QString::fromUtf8(reinterpret_cast<const char *>(text), bytes).toCaseFolded();
    const qsizetype n = f.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char16_t c = f.at(i).unicode();
        if (QChar::isHighSurrogate(c) && i + 1 < n && QChar::isLowSurrogate(f.at(i + 1).unicode())) {
            out.push_back(QChar::surrogateToUcs4(c, f.at(i + 1).unicode()));
            ++i;
        } else {
            out.push_back(QChar::isSurrogate(c) ? char32_t(0xFFFD) : char32_t(c));
        }
    }
}

Chars folded(const QString &s)
{
    const QList<uint> ucs = s.toCaseFolded().toUcs4();
    return Chars(ucs.begin(), ucs.end());
}

Chars foldedUtf8(const unsigned char *text, int bytes)
{
    Chars out;
    foldUtf8Into(text, bytes, out);
    return out;
}

// Wildcard match with backtracking to the last %; linear for the usual *word* patterns.
bool match(const Chars &p, const Chars &t, char32_t esc)
{
    size_t pi = 0, ti = 0;
    size_t starP = size_t(-1), starT = 0;
    while (ti < t.size()) {
        if (pi < p.size()) {
            char32_t pc = p[pi];
            if (esc && pc == esc && pi + 1 < p.size()) {
                if (p[pi + 1] == t[ti]) {
                    pi += 2;
                    ++ti;
                    continue;
                }
            } else if (pc == U'%') {
                starP = pi++;
                starT = ti;
                continue;
            } else if (pc == U'_' || pc == t[ti]) {
                ++pi;
                ++ti;
                continue;
            }
        }
        if (starP != size_t(-1)) {
            pi = starP + 1;
            ti = ++starT;
            continue;
        }
        return false;
    }
    while (pi < p.size() && p[pi] == U'%')
        ++pi;
    return pi == p.size();
}

void deleteChars(void *p)
{
    delete static_cast<Chars *>(p);
}

void likeFunction(sqlite3_context *ctx, int argc, sqlite3_value **argv)
{
    // like(pattern, text [, escape]) – SQLite passes the pattern first.
    if (sqlite3_value_type(argv[0]) == SQLITE_NULL || sqlite3_value_type(argv[1]) == SQLITE_NULL)
        return; // NULL result
    char32_t esc = 0;
    if (argc == 3) {
        const Chars e = foldedUtf8(sqlite3_value_text(argv[2]), sqlite3_value_bytes(argv[2]));
        if (e.size() != 1) {
            sqlite3_result_error(ctx, "ESCAPE expression must be a single character", -1);
            return;
        }
        esc = e[0];
    }
    auto *pattern = static_cast<Chars *>(sqlite3_get_auxdata(ctx, 0));
    if (!pattern) {
        pattern = new Chars(foldedUtf8(sqlite3_value_text(argv[0]), sqlite3_value_bytes(argv[0])));
        sqlite3_set_auxdata(ctx, 0, pattern, deleteChars);
        pattern = static_cast<Chars *>(sqlite3_get_auxdata(ctx, 0));
        if (!pattern) { // SQLite chose not to keep it; compute for this call only
            const Chars once = foldedUtf8(sqlite3_value_text(argv[0]), sqlite3_value_bytes(argv[0]));
            const Chars t = foldedUtf8(sqlite3_value_text(argv[1]), sqlite3_value_bytes(argv[1]));
            sqlite3_result_int(ctx, match(once, t, esc) ? 1 : 0);
            return;
        }
    }
    // One buffer for the compared texts of the whole statement: no allocation per row.
    thread_local Chars t;
    foldUtf8Into(sqlite3_value_text(argv[1]), sqlite3_value_bytes(argv[1]), t);
    sqlite3_result_int(ctx, match(*pattern, t, esc) ? 1 : 0);
}

int compareFolded(void *, int lengthA, const void *a, int lengthB, const void *b)
{
    const QString fa = QString::fromUtf8(static_cast<const char *>(a), lengthA).toCaseFolded();
    const QString fb = QString::fromUtf8(static_cast<const char *>(b), lengthB).toCaseFolded();
    return fa.compare(fb);
}

} // namespace

bool registerCzechLike(QSqlDatabase &db)
{
    const QVariant v = db.driver()->handle();
    if (!v.isValid() || qstrcmp(v.typeName(), "sqlite3*") != 0)
        return false;
    sqlite3 *handle = *static_cast<sqlite3 *const *>(v.data());
    if (!handle)
        return false;
    const int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
    return sqlite3_create_collation_v2(handle, "CZNOCASE", SQLITE_UTF8, nullptr, compareFolded, nullptr) ==
               SQLITE_OK &&
           registerCzechCollation(handle) &&
           sqlite3_create_function_v2(handle, "like", 2, flags, nullptr, likeFunction, nullptr, nullptr,
                                      nullptr) == SQLITE_OK &&
           sqlite3_create_function_v2(handle, "like", 3, flags, nullptr, likeFunction, nullptr, nullptr,
                                      nullptr) == SQLITE_OK;
}

bool czechLike(const QString &pattern, const QString &text, QChar escape)
{
    const Chars e = escape.isNull() ? Chars() : folded(QString(escape));
    return match(folded(pattern), folded(text), e.empty() ? 0 : e[0]);
}
