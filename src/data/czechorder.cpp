#include "data/czechorder.h"

#include <QLocale>
#include <QStringList>

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace {

QCollator makeCollator(Qt::CaseSensitivity cs)
{
    // Qt collates through ICU, which brings its own Czech rules: the order does not depend on
    // the locales installed on the system nor on LANG.
    QCollator c{QLocale(QLocale::Czech, QLocale::CzechRepublic)};
    c.setCaseSensitivity(cs);
    c.setNumericMode(false);
    c.setIgnorePunctuation(false);
    return c;
}

int sign(int v)
{
    return v < 0 ? -1 : v > 0 ? 1 : 0;
}

int compareBytes(const char *a, int lengthA, const char *b, int lengthB)
{
    const int common = std::min(lengthA, lengthB);
    const int c = common > 0 ? std::memcmp(a, b, size_t(common)) : 0;
    return c != 0 ? sign(c) : sign(lengthA - lengthB);
}

} // namespace

const QCollator &czechCollator(Qt::CaseSensitivity cs)
{
    // One pair per thread: a collator is not to be shared between threads.
    thread_local const QCollator sensitive = makeCollator(Qt::CaseSensitive);
    thread_local const QCollator insensitive = makeCollator(Qt::CaseInsensitive);
    return cs == Qt::CaseSensitive ? sensitive : insensitive;
}

int czechCompare(QStringView a, QStringView b, Qt::CaseSensitivity cs)
{
    return sign(czechCollator(cs).compare(a, b));
}

namespace {

// The Czech order of texts made only of printable ASCII characters, without the collator: such
// texts compare letter by letter, each character (or the pair CH, in any letter case) having one
// weight. The weights are the collator's own: it ranks every such character once, here. Codes
// are nearly always such texts, and the engine compares them many times over in every sort.
struct AsciiWeights
{
    static constexpr int First = 0x20, Last = 0x7E;
    std::array<quint16, Last + 1> weight{};
    quint16 ch = 0;
    bool usable = false;

    AsciiWeights()
    {
        const QCollator &collator = czechCollator(Qt::CaseInsensitive);
        QStringList texts;
        for (int c = First; c <= Last; ++c)
            texts << QString(QChar(c));
        texts << QStringLiteral("ch");
        std::stable_sort(texts.begin(), texts.end(),
                         [&](const QString &a, const QString &b) { return collator.compare(a, b) < 0; });
        quint16 rank = 0;
        for (int i = 0; i < texts.size(); ++i) {
            if (collator.compare(texts.at(i), QString()) == 0)
                return; // a character the collator ignores: leave every text to the collator
            if (i == 0 || collator.compare(texts.at(i - 1), texts.at(i)) != 0)
                ++rank;
            if (texts.at(i).size() == 2)
                ch = rank;
            else
                weight[size_t(texts.at(i).at(0).unicode())] = rank;
        }
        usable = true;
    }
};

bool printable(char c)
{
    return unsigned(uchar(c)) - AsciiWeights::First <= unsigned(AsciiWeights::Last - AsciiWeights::First);
}

bool printableAscii(const char *text, int length)
{
    for (int i = 0; i < length; ++i)
        if (!printable(text[i]))
            return false;
    return true;
}

// The weight of the character at i, taking CH as one; moves i past it.
quint16 nextWeight(const AsciiWeights &w, const char *text, int length, int &i)
{
    const char c = text[i];
    if ((c == 'c' || c == 'C') && i + 1 < length && (text[i + 1] == 'h' || text[i + 1] == 'H')) {
        i += 2;
        return w.ch;
    }
    ++i;
    return w.weight[size_t(uchar(c))];
}

bool isC(char c)
{
    return c == 'c' || c == 'C';
}

// Czech order letter case aside for two printable ASCII texts; false when either is another.
bool compareAscii(const char *a, int lengthA, const char *b, int lengthB, int *result)
{
    static const AsciiWeights weights;
    if (!weights.usable)
        return false;
    // Equal leading bytes weigh the same on both sides, so the walk by weights starts where the
    // texts first differ; one byte earlier when that byte is a C, which may begin a CH with the
    // next one. (Every other byte before the difference ends a letter, CH included.) Codes of
    // one library mostly share their first characters, and a sort compares them many times.
    const int common = std::min(lengthA, lengthB);
    int start = 0;
    while (start < common && a[start] == b[start]) {
        if (!printable(a[start]))
            return false;
        ++start;
    }
    if (!printableAscii(a + start, lengthA - start) || !printableAscii(b + start, lengthB - start))
        return false;
    if (start > 0 && isC(a[start - 1]))
        --start;
    int i = start, j = start;
    while (i < lengthA && j < lengthB) {
        const quint16 wa = nextWeight(weights, a, lengthA, i);
        const quint16 wb = nextWeight(weights, b, lengthB, j);
        if (wa != wb) {
            *result = wa < wb ? -1 : 1;
            return true;
        }
    }
    *result = i < lengthA ? 1 : j < lengthB ? -1 : 0;
    return true;
}

} // namespace

int czechOrder(QStringView a, QStringView b)
{
    const QByteArray ua = a.toUtf8();
    const QByteArray ub = b.toUtf8();
    return czechOrderUtf8(ua.constData(), int(ua.size()), ub.constData(), int(ub.size()));
}

int czechOrderUtf8(const char *a, int lengthA, const char *b, int lengthB)
{
    int c = 0;
    if (!compareAscii(a, lengthA, b, lengthB, &c))
        c = czechCompare(QString::fromUtf8(a, lengthA), QString::fromUtf8(b, lengthB), Qt::CaseInsensitive);
    return c != 0 ? c : compareBytes(a, lengthA, b, lengthB);
}

bool sameIgnoringCase(QStringView a, QStringView b)
{
    return a.toString().toCaseFolded() == b.toString().toCaseFolded();
}

namespace {

int collate(void *, int lengthA, const void *a, int lengthB, const void *b)
{
    return czechOrderUtf8(static_cast<const char *>(a), lengthA, static_cast<const char *>(b), lengthB);
}

} // namespace

bool registerCzechCollation(sqlite3 *db)
{
    return db && sqlite3_create_collation_v2(db, CzechCollation, SQLITE_UTF8, nullptr, collate, nullptr) ==
                     SQLITE_OK;
}
