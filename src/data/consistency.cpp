#include "data/consistency.h"

#include "data/czechlike.h"
#include "data/database.h"
#include "data/librarytransfer.h"

#include <QFile>
#include <QHash>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <optional>
#include <thread>
#include <unordered_map>
#include <vector>

namespace {

// ---------------------------------------------------------------------------------------------
// Statements stepped on the engine handle: the rules read every row of the big tables, and the
// driver's own layer would cost more than the rules.

sqlite3 *handleOf(QSqlDatabase &db)
{
    const QVariant v = db.driver()->handle();
    if (!v.isValid() || qstrcmp(v.typeName(), "sqlite3*") != 0)
        return nullptr;
    return *static_cast<sqlite3 *const *>(v.data());
}

class Statement final
{
public:
    Statement(sqlite3 *db, const QString &sql) : m_db(db), m_sql(sql)
    {
        if (!db)
            throw DbError(QStringLiteral("the database is not open"));
        if (sqlite3_prepare_v2(db, sql.toUtf8().constData(), -1, &m_stmt, nullptr) != SQLITE_OK)
            fail();
    }
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;

    bool next()
    {
        const int rc = sqlite3_step(m_stmt);
        if (rc == SQLITE_ROW)
            return true;
        if (rc != SQLITE_DONE)
            fail();
        return false;
    }
    void reset() { sqlite3_reset(m_stmt); }
    void bind(int i, qint64 v) { sqlite3_bind_int64(m_stmt, i, v); }
    int type(int c) const { return sqlite3_column_type(m_stmt, c); }
    bool isNull(int c) const { return type(c) == SQLITE_NULL; }
    // The column's bytes as stored (a number as its text).
    QByteArray bytes(int c) const
    {
        const auto *t = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, c));
        return QByteArray(t, sqlite3_column_bytes(m_stmt, c));
    }
    qint64 integer(int c) const { return sqlite3_column_int64(m_stmt, c); }
    // The column as the finding names it: NULL spelled out, anything else as its text.
    QString text(int c) const
    {
        if (isNull(c))
            return QStringLiteral("NULL");
        const auto *t = reinterpret_cast<const char *>(sqlite3_column_text(m_stmt, c));
        return QString::fromUtf8(t, sqlite3_column_bytes(m_stmt, c));
    }

private:
    [[noreturn]] void fail() const
    {
        throw DbError(QStringLiteral("%1 (%2)").arg(QString::fromUtf8(sqlite3_errmsg(m_db)), m_sql));
    }
    sqlite3 *m_db;
    QString m_sql;
    sqlite3_stmt *m_stmt = nullptr;
};

// ---------------------------------------------------------------------------------------------
// The record rules. Each row rule states what a sound row satisfies; a row for which the
// statement is anything but true (false, or NULL because a column is NULL) breaks it, so a NULL
// never slips through. Rules of one table are evaluated in one pass over it.

enum Table
{
    Knihy,
    Lide,
    Kategorie,
    Vypujcky,
    Vraceni,
    Ids,
    TableCount
};

struct TableInfo
{
    const char *name;
    const char *alias;
    const char *fields;  // named in the findings as %1, %2, ...
    const char *subject; // how a row is named by default
    // What the rules between tables read of each row (see Facts), in the order of the Fact enums.
    const char *facts;
};

const TableInfo Tables[TableCount] = {
    {"KNIHY", "K", "K.ID_KNIHY_KNIHY, K.KOD, K.PRIRUSTEK", "kniha %1 (kód %2)",
     "K.ID_KNIHY_KNIHY, K.VYPUJCENO, K.ID_VYPUJCKY_KNIHY, K.DATUM_PORIZENI, K.VYRAZENO, "
     "K.ID_KATEGORIE_KNIHY, "
     "K.ID_LIDE_KNIHY"},
    {"LIDE", "L", "L.ID_LIDE_LIDE, L.KOD", "klient %1 (kód %2)", "L.ID_LIDE_LIDE, L.UKAZOVAT"},
    {"KATEGORIE", "C", "C.ID_KATEGORIE_KATEGORIE, C.NAZEV", "kategorie %1 (%2)",
     "C.ID_KATEGORIE_KATEGORIE, C.UKAZOVAT"},
    {"VYPUJCKY", "V", "V.ID_VYPUJCKY_VYPUJCKY, V.ID_KNIHY_VYPUJCKY, V.ID_LIDE_VYPUJCKY",
     "výpůjčka %1 (kniha %2)",
     "V.ID_VYPUJCKY_VYPUJCKY, V.ID_KNIHY_VYPUJCKY, V.ID_LIDE_VYPUJCKY, V.VRACENO, V.DATUM_PUJCKY, "
     "V.DATUM_VRACENI"},
    {"VRACENI", "R", "R.ID_VRACENI_VRACENI, R.ID_KNIHY_VRACENI, R.ID_LIDE_VRACENI", "vrácení %1 (kniha %2)",
     "R.ID_KNIHY_VRACENI, R.ID_LIDE_VRACENI, R.DATUM_PUJCKY, R.DATUM_VRACENI"},
    {"IDS", "I", "1", "tabulka IDS", nullptr},
};

// The columns of the facts, in the order of TableInfo::facts.
enum BookFact
{
    BookId,
    BookLent,
    BookLoan,
    BookAcquired,
    BookDiscarded,
    BookCategory,
    BookHolder
};
enum ShownFact // of a client or a category
{
    ShownId,
    Shown
};
enum LoanFact
{
    LoanNumber,
    LoanBook,
    LoanClient,
    LoanReturned,
    LoanLentOn,
    LoanReturnedOn
};
enum ReturnFact
{
    ReturnBook,
    ReturnClient,
    ReturnLentOn,
    ReturnReturnedOn
};

struct RowRule
{
    const char *name;
    Table table;
    const char *message;
    QString ok;
    const char *subject = nullptr; // the table's own when null
};

// Several rows that the program's lookups cannot tell apart (same key columns), or, with a value
// column, rows of one key that disagree on that value.
struct UniqueRule
{
    const char *name;
    Table table;
    const char *subject;
    const char *message;
    std::vector<int> key; // field indexes, 0-based
    bool fold;            // the program looks the text up trimmed and ignoring letter case
    int value = -1;
};

// The tests of single values are functions of the check's own (registered on its connection):
// one call costs the engine far less than the same test spelled out as an expression.
QString integerColumn(const QString &c)
{
    return QStringLiteral("folivo_integer(%1)").arg(c);
}

QString keyColumn(const QString &c)
{
    return QStringLiteral("folivo_key(%1)").arg(c);
}

QString flags(const QStringList &cs)
{
    QStringList parts;
    for (const QString &c : cs)
        parts << QStringLiteral("%1 IN (0, 1)").arg(c);
    return parts.join(QLatin1String(" AND "));
}

// A calendar date held as year * 10000 + month * 100 + day, years 1 to 9999.
QString realDate(const QString &d)
{
    return QStringLiteral("folivo_date(%1)").arg(d);
}

QString filled(const QStringList &cs)
{
    QStringList parts;
    for (const QString &c : cs)
        parts << QStringLiteral("length(trim(%1)) > 0").arg(c);
    return parts.join(QLatin1String(" AND "));
}

QString S(const char *text)
{
    return QString::fromLatin1(text);
}

const std::vector<RowRule> &rowRules()
{
    static const std::vector<RowRule> rules = {
        // KNIHY
        {"kniha-klic", Knihy, "nemá platný klíč", keyColumn(S("K.ID_KNIHY_KNIHY"))},
        {"kniha-priznaky", Knihy, "má v příznaku VYRAZENO, VYPUJCENO nebo IS_… hodnotu jinou než 0 a 1",
         flags({S("K.VYRAZENO"), S("K.VYPUJCENO"), S("K.IS_VYDAVATEL"), S("K.IS_ROKVYDANI"),
                S("K.IS_POCETSTRAN"), S("K.IS_ANOTACE"), S("K.IS_KLICOVESLOVO")})},
        {"kniha-povinne-udaje", Knihy, "nemá vyplněný kód, název nebo autora",
         filled({S("K.KOD"), S("K.NAZEV"), S("K.AUTOR")})},
        {"kniha-cisla", Knihy,
         "má prázdné nebo neplatné číslo (přírůstkové číslo, cena, rok vydání, počet stran nebo odkaz)",
         integerColumn(S("K.PRIRUSTEK")) +
             S(" AND typeof(K.CENA) IN ('real', 'integer') AND K.CENA >= 0 AND ") +
             integerColumn(S("K.ROK_VYDANI")) + S(" AND ") + integerColumn(S("K.POCET_STRAN")) +
             S(" AND (K.IS_ROKVYDANI IS NOT 1 OR K.ROK_VYDANI >= 0) AND (K.IS_POCETSTRAN IS NOT 1 OR "
               "K.POCET_STRAN >= 0) AND ") +
             integerColumn(S("K.ID_KATEGORIE_KNIHY")) + S(" AND ") + integerColumn(S("K.ID_LIDE_KNIHY")) +
             S(" AND ") + integerColumn(S("K.ID_VYPUJCKY_KNIHY"))},
        {"kniha-vyplnene-udaje", Knihy, "má nastavený příznak vyplnění u prázdného údaje",
         S("(K.IS_VYDAVATEL IS NOT 1 OR K.VYDAVATEL <> '') AND (K.IS_ANOTACE IS NOT 1 OR K.ANOTACE <> '') "
           "AND (K.IS_KLICOVESLOVO IS NOT 1 OR K.KLICOVA_SLOVA <> '')")},
        {"kniha-datum-porizeni", Knihy, "nemá platné datum pořízení", realDate(S("K.DATUM_PORIZENI"))},
        {"kniha-vyrazena-bez-data", Knihy,
         "je vyřazená, ale nemá platné datum vyřazení (nejdříve v den pořízení)",
         S("K.VYRAZENO IS NOT 1 OR (") + realDate(S("K.DATUM_VYRAZENI")) +
             S(" AND K.DATUM_VYRAZENI >= K.DATUM_PORIZENI)")},
        {"kniha-nevyrazena-s-datem", Knihy, "není vyřazená, a přesto má datum vyřazení",
         S("K.VYRAZENO IS NOT 0 OR K.DATUM_VYRAZENI IS -1")},
        {"kniha-vypujcena-bez-vypujcky", Knihy,
         "je vypůjčená, ale nemá právě jednu otevřenou výpůjčku pod svým číslem výpůjčky a klientem",
         S("K.VYPUJCENO IS NOT 1 OR (SELECT COUNT(*) FROM VYPUJCKY V WHERE V.ID_VYPUJCKY_VYPUJCKY = "
           "K.ID_VYPUJCKY_KNIHY AND V.ID_KNIHY_VYPUJCKY = K.ID_KNIHY_KNIHY AND V.VRACENO IS 0 AND "
           "V.ID_LIDE_VYPUJCKY = K.ID_LIDE_KNIHY) = 1")},
        {"kniha-nevypujcena-s-odkazem", Knihy, "není vypůjčená, ale odkazuje na klienta nebo výpůjčku",
         S("K.VYPUJCENO IS NOT 0 OR (K.ID_LIDE_KNIHY IS -1 AND K.ID_VYPUJCKY_KNIHY IS -1)")},
        {"kniha-vyrazena-vypujcena", Knihy, "je vyřazená a přitom vypůjčená",
         S("NOT (K.VYRAZENO IS 1 AND K.VYPUJCENO IS 1)")},
        {"kniha-klic-neprideleny", Knihy, "má klíč, který ještě nebyl přidělen (ID_KNIHY_FIRSTFREE)",
         S("K.ID_KNIHY_KNIHY IS NULL OR K.ID_KNIHY_KNIHY < IFNULL((SELECT ID_KNIHY_FIRSTFREE FROM IDS), "
           "K.ID_KNIHY_KNIHY + 1)"),
         "kniha %1"},
        {"kniha-prirustek-nad-maximem", Knihy, "je vyšší než PRIRUSTEK_MAX",
         S("K.PRIRUSTEK IS NULL OR K.PRIRUSTEK <= IFNULL((SELECT PRIRUSTEK_MAX FROM IDS), K.PRIRUSTEK)"),
         "přírůstkové číslo %3"},

        // LIDE
        {"klient-klic", Lide, "nemá platný klíč", keyColumn(S("L.ID_LIDE_LIDE"))},
        {"klient-priznaky", Lide, "má v příznaku UKAZOVAT, ROZSIRENE nebo IS_… hodnotu jinou než 0 a 1",
         flags({S("L.UKAZOVAT"), S("L.ROZSIRENE"), S("L.IS_DOKLAD"), S("L.IS_ADRESA"), S("L.IS_FUNKCE"),
                S("L.IS_NAROZENI")})},
        {"klient-povinne-udaje", Lide, "nemá vyplněný kód, jméno nebo příjmení",
         filled({S("L.KOD"), S("L.JMENO"), S("L.PRIJMENI")})},
        {"klient-vyplnene-udaje", Lide, "má nastavený příznak vyplnění u prázdného nebo neplatného údaje",
         S("(L.IS_DOKLAD IS NOT 1 OR L.DOKLAD <> '') AND (L.IS_ADRESA IS NOT 1 OR L.ADRESA <> '') AND "
           "(L.IS_FUNKCE IS NOT 1 OR L.FUNKCE <> '') AND (L.IS_NAROZENI IS NOT 1 OR ") +
             realDate(S("L.DATUM_NAROZENI")) + S(")")},
        {"klient-klic-neprideleny", Lide, "má klíč, který ještě nebyl přidělen (ID_LIDE_FIRSTFREE)",
         S("L.ID_LIDE_LIDE IS NULL OR L.ID_LIDE_LIDE < IFNULL((SELECT ID_LIDE_FIRSTFREE FROM IDS), "
           "L.ID_LIDE_LIDE + 1)"),
         "klient %1"},

        // KATEGORIE
        {"kategorie-klic", Kategorie, "nemá platný klíč", keyColumn(S("C.ID_KATEGORIE_KATEGORIE"))},
        {"kategorie-priznaky", Kategorie, "má v příznaku UKAZOVAT hodnotu jinou než 0 a 1",
         flags({S("C.UKAZOVAT")})},
        {"kategorie-nazev", Kategorie, "nemá vyplněný název", filled({S("C.NAZEV")})},
        {"kategorie-klic-neprideleny", Kategorie,
         "má klíč, který ještě nebyl přidělen (ID_KATEGORIE_FIRSTFREE)",
         S("C.ID_KATEGORIE_KATEGORIE IS NULL OR C.ID_KATEGORIE_KATEGORIE < IFNULL((SELECT "
           "ID_KATEGORIE_FIRSTFREE FROM IDS), C.ID_KATEGORIE_KATEGORIE + 1)"),
         "kategorie %1"},

        // VYPUJCKY
        {"vypujcka-klice", Vypujcky, "má prázdné nebo neplatné číslo výpůjčky, klienta nebo knihy",
         keyColumn(S("V.ID_VYPUJCKY_VYPUJCKY")) + S(" AND ") + integerColumn(S("V.ID_LIDE_VYPUJCKY")) +
             S(" AND ") + integerColumn(S("V.ID_KNIHY_VYPUJCKY"))},
        {"vypujcka-priznaky", Vypujcky, "má v příznaku VRACENO nebo OMEZOVAT hodnotu jinou než 0 a 1",
         flags({S("V.VRACENO"), S("V.OMEZOVAT")})},
        {"vypujcka-datum-pujcky", Vypujcky, "nemá platné datum půjčky", realDate(S("V.DATUM_PUJCKY"))},
        {"vypujcka-lhuta", Vypujcky,
         "má nejzazší datum vrácení, které neodpovídá příznaku OMEZOVAT nebo předchází datu půjčky",
         S("CASE V.OMEZOVAT WHEN 1 THEN ") + realDate(S("V.DATUM_MAX")) +
             S(" AND V.DATUM_MAX >= V.DATUM_PUJCKY WHEN 0 THEN V.DATUM_MAX IS -1 END")},
        {"vypujcka-datum-vraceni", Vypujcky,
         "je vrácená bez platného data vrácení (nejdříve v den půjčky), nebo nevrácená s datem vrácení",
         S("CASE V.VRACENO WHEN 1 THEN ") + realDate(S("V.DATUM_VRACENI")) +
             S(" AND V.DATUM_VRACENI >= V.DATUM_PUJCKY WHEN 0 THEN V.DATUM_VRACENI IS -1 END")},
        {"vypujcka-cislo-neprideleno", Vypujcky,
         "má číslo, které ještě nebylo přiděleno (ID_VYPUJCKY_FIRSTFREE)",
         S("V.ID_VYPUJCKY_VYPUJCKY IS NULL OR V.ID_VYPUJCKY_VYPUJCKY < IFNULL((SELECT ID_VYPUJCKY_FIRSTFREE "
           "FROM "
           "IDS), V.ID_VYPUJCKY_VYPUJCKY + 1)"),
         "výpůjčka %1"},

        // VRACENI
        {"vraceni-klice", Vraceni, "má prázdné nebo neplatné číslo vrácení, klienta nebo knihy",
         keyColumn(S("R.ID_VRACENI_VRACENI")) + S(" AND ") + integerColumn(S("R.ID_LIDE_VRACENI")) +
             S(" AND ") + integerColumn(S("R.ID_KNIHY_VRACENI"))},
        {"vraceni-priznaky", Vraceni, "má v příznaku OMEZOVAT hodnotu jinou než 0 a 1",
         flags({S("R.OMEZOVAT")})},
        {"vraceni-data", Vraceni, "nemá platné datum půjčky a vrácení (vrácení nejdříve v den půjčky)",
         realDate(S("R.DATUM_PUJCKY")) + S(" AND ") + realDate(S("R.DATUM_VRACENI")) +
             S(" AND R.DATUM_VRACENI >= R.DATUM_PUJCKY")},
        {"vraceni-lhuta", Vraceni, "má nejzazší datum vrácení, které neodpovídá příznaku OMEZOVAT",
         S("CASE R.OMEZOVAT WHEN 1 THEN ") + realDate(S("R.DATUM_VRACENI_MAX")) +
             S(" WHEN 0 THEN R.DATUM_VRACENI_MAX IS -1 END")},
        {"vraceni-cislo-neprideleno", Vraceni,
         "má číslo, které ještě nebylo přiděleno (ID_VRACENI_FIRSTFREE)",
         S("R.ID_VRACENI_VRACENI IS NULL OR R.ID_VRACENI_VRACENI < IFNULL((SELECT ID_VRACENI_FIRSTFREE FROM "
           "IDS), R.ID_VRACENI_VRACENI + 1)"),
         "vrácení %1"},

        // IDS
        {"ids-pocitadla", Ids, "má prázdné, záporné nebo neplatné počítadlo",
         keyColumn(S("I.ID_KNIHY_FIRSTFREE")) + S(" AND ") + keyColumn(S("I.ID_LIDE_FIRSTFREE")) +
             S(" AND ") + keyColumn(S("I.ID_KATEGORIE_FIRSTFREE")) + S(" AND ") +
             keyColumn(S("I.ID_VYPUJCKY_FIRSTFREE")) + S(" AND ") + keyColumn(S("I.ID_VRACENI_FIRSTFREE")) +
             S(" AND ") + keyColumn(S("I.PRIRUSTEK_MAX"))},
    };
    return rules;
}

const std::vector<UniqueRule> &uniqueRules()
{
    static const std::vector<UniqueRule> rules = {
        {"kniha-klic-jedinecny", Knihy, "klíč knihy %1", "je použit vícekrát", {0}, false},
        {"kniha-kod-jedinecny", Knihy, "kód knihy %2", "je použit vícekrát", {1}, true},
        {"kniha-prirustek-jedinecny", Knihy, "přírůstkové číslo %3", "je použito vícekrát", {2}, false},
        {"klient-klic-jedinecny", Lide, "klíč klienta %1", "je použit vícekrát", {0}, false},
        {"klient-kod-jedinecny", Lide, "kód klienta %2", "je použit vícekrát", {1}, true},
        {"kategorie-klic-jedinecny", Kategorie, "klíč kategorie %1", "je použit vícekrát", {0}, false},
        {"kategorie-nazev-jedinecny", Kategorie, "název kategorie %2", "je použit vícekrát", {1}, true},
        {"vypujcka-kniha-jedinecna", Vypujcky, "výpůjčka %1", "obsahuje tutéž knihu vícekrát", {0, 1}, false},
        {"vypujcka-jeden-klient", Vypujcky, "výpůjčka %1", "patří více klientům najednou", {0}, false, 2},
    };
    return rules;
}

// Fills %1, %2, ... of a subject with the fields in one pass: a code holding "%1" stays as it is.
QString subjectOf(const char *subject, const QStringList &fields)
{
    const QString s = QString::fromUtf8(subject);
    QString out;
    for (qsizetype i = 0; i < s.size(); ++i) {
        if (s.at(i) == u'%' && i + 1 < s.size() && s.at(i + 1).isDigit()) {
            const int n = s.at(i + 1).digitValue() - 1;
            out += n >= 0 && n < fields.size() ? fields.at(n) : QString();
            ++i;
        } else {
            out += s.at(i);
        }
    }
    return out;
}

// One broken rule: how many rows (or codes) break it and the first few of them.
class Finding
{
public:
    Finding(const char *name, Table table, const char *message)
        : m_name(name), m_table(table), m_message(message)
    {}
    void add(const QString &subject)
    {
        if (m_seen.contains(subject))
            return;
        m_seen.insert(subject);
        if (m_examples.size() < 3)
            m_examples << subject;
    }
    bool empty() const { return m_seen.isEmpty(); }
    // "KNIHY kniha-kategorie: kniha 7 (kód A) patří do kategorie, ... (celkem 4; další: ...)"
    QString text() const
    {
        QString t = QStringLiteral("%1 %2: %3 %4")
                        .arg(QLatin1String(Tables[m_table].name), QLatin1String(m_name), m_examples.value(0),
                             QString::fromUtf8(m_message));
        if (m_seen.size() > 1) {
            t += QStringLiteral(" (celkem %1; další: %2%3)")
                     .arg(m_seen.size())
                     .arg(m_examples.mid(1).join(QLatin1String(", ")),
                          m_seen.size() > m_examples.size() ? QStringLiteral(", …") : QString());
        }
        return t;
    }

private:
    const char *m_name;
    Table m_table;
    const char *m_message;
    QStringList m_examples;
    QSet<QString> m_seen;
};

// Rules between the rows of two tables, tested in C++ on facts gathered in the passes over the
// tables (the books and clients first, then the loans, then the returns): a lookup in a hash is
// far cheaper than the engine's correlated lookups, and a loan and its return are matched by
// sorting both sides once.
struct CrossRule
{
    const char *name;
    Table table;
    const char *message;
};

enum CrossRuleId
{
    BookCategoryKnown,
    BookCategoryShown,
    BookHolderKnown,
    BookHolderShown,
    LoanReferences,
    LoanOpen,
    LoanBeforeAcquisition,
    LoanWithoutReturn,
    ReturnReferences,
    ReturnWithoutLoan,
    CrossRuleCount
};

const CrossRule CrossRules[CrossRuleCount] = {
    {"kniha-kategorie", Knihy, "patří do kategorie, která v evidenci není"},
    {"kniha-odstranena-kategorie", Knihy, "není vyřazená, ale patří do odstraněné kategorie"},
    {"kniha-vypujcena-neznamemu", Knihy, "je vypůjčená klientovi, který v evidenci není"},
    {"kniha-vypujcena-odstranenemu", Knihy, "je vypůjčená odstraněnému klientovi"},
    {"vypujcka-odkazy", Vypujcky, "odkazuje na klienta nebo knihu, které v evidenci nejsou"},
    {"vypujcka-otevrena", Vypujcky, "je otevřená, ale její kniha není vypůjčená pod tímto číslem"},
    {"vypujcka-pred-porizenim", Vypujcky, "je otevřená a začala dříve, než byla kniha pořízena"},
    {"vypujcka-bez-vraceni", Vypujcky, "je vrácená, ale chybí k ní záznam o vrácení (VRACENI)"},
    {"vraceni-odkazy", Vraceni, "odkazuje na klienta nebo knihu, které v evidenci nejsou"},
    {"vraceni-bez-vypujcky", Vraceni, "nemá odpovídající vrácenou výpůjčku (VYPUJCKY)"},
};

// A column's value when it is an integer; a NULL, a text or a real never equals anything here,
// as a comparison with NULL is never true in the rules.
std::optional<qint64> integerAt(const Statement &q, int c)
{
    if (q.type(c) != SQLITE_INTEGER)
        return std::nullopt;
    return q.integer(c);
}

struct BookFacts
{
    std::optional<qint64> lent;
    std::optional<qint64> loan;
    std::optional<qint64> acquired;
};

// A returned loan or a return: the book, the client and the two dates that tie them together.
struct LoanTie
{
    std::array<qint64, 4> key;
    qint64 rowid;
    bool operator<(const LoanTie &o) const { return key < o.key || (key == o.key && rowid < o.rowid); }
};

// What is known of the rows of one table by their keys; the first row of a key counts. Keys are
// handed out from 1 upwards, so they index a vector; others go to a hash.
template <typename T> class ByKey final
{
public:
    void add(qint64 key, const T &value)
    {
        // Dense while the keys stay near the number of rows, so a stray huge key costs no memory.
        if (key >= 0 && key < std::max<qint64>(65536, 4 * (m_count + 1))) {
            if (size_t(key) >= m_dense.size())
                m_dense.resize(size_t(key) + 1);
            if (!m_dense[size_t(key)] && !m_sparse.count(key))
                m_dense[size_t(key)] = value;
        } else if (!find(key)) {
            m_sparse.try_emplace(key, value);
        }
        ++m_count;
    }
    const T *find(const std::optional<qint64> &key) const
    {
        if (!key)
            return nullptr;
        if (*key >= 0 && size_t(*key) < m_dense.size() && m_dense[size_t(*key)])
            return &*m_dense[size_t(*key)];
        if (m_sparse.empty())
            return nullptr;
        const auto it = m_sparse.find(*key);
        return it == m_sparse.end() ? nullptr : &it->second;
    }

private:
    qint64 m_count = 0;
    std::vector<std::optional<T>> m_dense;
    std::unordered_map<qint64, T> m_sparse;
};

struct Facts
{
    std::vector<Finding> crossFindings;      // one per CrossRule, reported after the last table
    ByKey<std::optional<qint64>> categories; // whether each category is shown
    ByKey<std::optional<qint64>> clients;    // whether each client is shown
    ByKey<BookFacts> books;
    std::vector<LoanTie> returnedLoans;
    std::vector<LoanTie> returns;
};

// Ties of one side that have no equal on the other.
std::vector<qint64> unmatched(std::vector<LoanTie> &side, std::vector<LoanTie> &other)
{
    std::sort(side.begin(), side.end());
    std::sort(other.begin(), other.end());
    std::vector<qint64> out;
    auto o = other.cbegin();
    for (const LoanTie &t : side) {
        while (o != other.cend() && o->key < t.key)
            ++o;
        if (o == other.cend() || o->key != t.key)
            out.push_back(t.rowid);
    }
    return out;
}

// A uniqueness rule on integer keys: the rows sorted by key (and row id, so the first of a key
// is the one read first), then compared with their neighbours.
struct KeyedRow
{
    std::array<qint64, 2> key;
    qint64 rowid;
    std::pair<int, qint64> value; // its type and, for an integer, the number
    bool operator<(const KeyedRow &o) const { return key < o.key || (key == o.key && rowid < o.rowid); }
};

// The key of a row under a uniqueness rule, as bytes: integers as themselves, texts as the
// program's lookups compare them. Empty with *hasNull when a key column is NULL.
QByteArray uniqueKey(const UniqueRule &u, const Statement &q, int first, bool *hasNull)
{
    QByteArray key;
    for (int field : u.key) {
        const int f = first + field;
        switch (q.type(f)) {
        case SQLITE_NULL:
            *hasNull = true;
            return {};
        case SQLITE_INTEGER: {
            const qint64 v = q.integer(f);
            key += 'i';
            key.append(reinterpret_cast<const char *>(&v), sizeof v);
            break;
        }
        default:
            key += 't';
            key += u.fold ? q.text(f).trimmed().toCaseFolded().toUtf8() : q.bytes(f);
            break;
        }
        key += '\x1f';
    }
    return key;
}

// The rows of a table named by their ids, for the findings that are known only at the end.
class RowNames final
{
public:
    RowNames(sqlite3 *db, Table table)
        : m_table(table),
          m_q(db, QStringLiteral("SELECT ") + QLatin1String(Tables[table].fields) +
                      QStringLiteral(" FROM %1 %2 WHERE %2.rowid = ?")
                          .arg(QLatin1String(Tables[table].name), QLatin1String(Tables[table].alias)))
    {}
    void addTo(Finding &finding, const char *subject, const std::vector<qint64> &rowids)
    {
        const int fieldCount = int(QString::fromLatin1(Tables[m_table].fields).count(u',')) + 1;
        for (qint64 rowid : rowids) {
            m_q.reset();
            m_q.bind(1, rowid);
            if (!m_q.next())
                continue;
            QStringList fields;
            for (int f = 0; f < fieldCount; ++f)
                fields << m_q.text(f);
            finding.add(subjectOf(subject ? subject : Tables[m_table].subject, fields));
        }
    }

private:
    Table m_table;
    Statement m_q;
};

// One pass over a table: every row rule of the table as a column, the facts for the rules between
// tables, every uniqueness rule collected by key. A row is turned into texts only when it breaks
// a rule; the rows that share a key are named by their ids at the end.
void checkTable(sqlite3 *db, Table table, Facts &facts, QStringList *problems)
{
    const TableInfo &t = Tables[table];
    std::vector<const RowRule *> rows;
    for (const RowRule &r : rowRules())
        if (r.table == table)
            rows.push_back(&r);
    std::vector<const UniqueRule *> uniques;
    for (const UniqueRule &u : uniqueRules())
        if (u.table == table)
            uniques.push_back(&u);
    auto countOf = [](const char *list) { return list ? int(QString::fromLatin1(list).count(u',')) + 1 : 0; };
    const int fieldCount = countOf(t.fields);
    const int first = 1; // column 0 is the row id
    const int factsAt = first + fieldCount;
    const int rulesAt = factsAt + countOf(t.facts);

    QString sql = QStringLiteral("SELECT %1.rowid, ").arg(QLatin1String(t.alias)) + QLatin1String(t.fields);
    if (t.facts)
        sql += QStringLiteral(", ") + QLatin1String(t.facts);
    for (const RowRule *r : rows)
        sql += QStringLiteral(", (%1) IS 1").arg(r->ok);
    sql += QStringLiteral(" FROM %1 %2").arg(QLatin1String(t.name), QLatin1String(t.alias));

    std::vector<Finding> rowFindings;
    rowFindings.reserve(rows.size());
    for (const RowRule *r : rows)
        rowFindings.emplace_back(r->name, table, r->message);
    std::vector<Finding> &crossFindings = facts.crossFindings;
    std::vector<std::vector<KeyedRow>> keyed(uniques.size());
    // Keys that are not all integers: the first row of each, and its value.
    std::vector<QHash<QByteArray, std::pair<qint64, QByteArray>>> texts(uniques.size());
    std::vector<std::vector<qint64>> clashes(uniques.size());

    auto fieldsOf = [&](const Statement &q) {
        QStringList fields;
        for (int f = 0; f < fieldCount; ++f)
            fields << q.text(first + f);
        return fields;
    };
    auto fact = [&](const Statement &q, int f) { return integerAt(q, factsAt + f); };

    Statement q(db, sql);
    QStringList fields;
    while (q.next()) {
        fields.clear();
        auto breaks = [&](Finding &finding, const char *subject) {
            if (fields.isEmpty())
                fields = fieldsOf(q);
            finding.add(subjectOf(subject ? subject : t.subject, fields));
        };
        for (size_t i = 0; i < rows.size(); ++i)
            if (q.integer(rulesAt + int(i)) == 0)
                breaks(rowFindings[i], rows[i]->subject);
        const qint64 rowid = q.integer(0);

        switch (table) {
        case Kategorie:
            if (const auto id = fact(q, ShownId))
                facts.categories.add(*id, fact(q, Shown));
            break;
        case Lide:
            if (const auto id = fact(q, ShownId))
                facts.clients.add(*id, fact(q, Shown));
            break;
        case Knihy: {
            const auto lent = fact(q, BookLent);
            if (const auto id = fact(q, BookId))
                facts.books.add(*id, BookFacts{lent, fact(q, BookLoan), fact(q, BookAcquired)});
            const std::optional<qint64> *category = facts.categories.find(fact(q, BookCategory));
            if (!category)
                breaks(crossFindings[BookCategoryKnown], nullptr);
            if (category && fact(q, BookDiscarded) == 0 && *category == 0)
                breaks(crossFindings[BookCategoryShown], nullptr);
            if (lent == 1) {
                const std::optional<qint64> *holder = facts.clients.find(fact(q, BookHolder));
                if (!holder)
                    breaks(crossFindings[BookHolderKnown], nullptr);
                else if (*holder == 0)
                    breaks(crossFindings[BookHolderShown], nullptr);
            }
            break;
        }
        case Vypujcky: {
            const auto book = fact(q, LoanBook);
            const auto client = fact(q, LoanClient);
            const auto returned = fact(q, LoanReturned);
            const auto lentOn = fact(q, LoanLentOn);
            const BookFacts *b = facts.books.find(book);
            if (!b || !facts.clients.find(client))
                breaks(crossFindings[LoanReferences], nullptr);
            const bool open = returned == 0;
            if (open && !(b && b->lent == 1 && b->loan && b->loan == fact(q, LoanNumber)))
                breaks(crossFindings[LoanOpen], nullptr);
            if (open && b && b->acquired && lentOn && *b->acquired > *lentOn)
                breaks(crossFindings[LoanBeforeAcquisition], nullptr);
            const auto returnedOn = fact(q, LoanReturnedOn);
            if (returned == 1) {
                if (book && client && lentOn && returnedOn)
                    facts.returnedLoans.push_back({{*book, *client, *lentOn, *returnedOn}, rowid});
                else
                    breaks(crossFindings[LoanWithoutReturn], nullptr);
            }
            break;
        }
        case Vraceni: {
            const auto book = fact(q, ReturnBook);
            const auto client = fact(q, ReturnClient);
            if (!facts.books.find(book) || !facts.clients.find(client))
                breaks(crossFindings[ReturnReferences], nullptr);
            const auto lentOn = fact(q, ReturnLentOn);
            const auto returnedOn = fact(q, ReturnReturnedOn);
            if (book && client && lentOn && returnedOn)
                facts.returns.push_back({{*book, *client, *lentOn, *returnedOn}, rowid});
            else
                breaks(crossFindings[ReturnWithoutLoan], nullptr);
            break;
        }
        case Ids:
        case TableCount:
            break;
        }

        for (size_t i = 0; i < uniques.size(); ++i) {
            const UniqueRule &u = *uniques[i];
            bool integers = !u.fold;
            for (int f : u.key)
                integers = integers && q.type(first + f) == SQLITE_INTEGER;
            if (integers && (u.value < 0 || q.type(first + u.value) == SQLITE_INTEGER ||
                             q.type(first + u.value) == SQLITE_NULL)) {
                const int valueType = u.value >= 0 ? q.type(first + u.value) : SQLITE_NULL;
                keyed[i].push_back(
                    {{q.integer(first + u.key.at(0)), u.key.size() > 1 ? q.integer(first + u.key.at(1)) : 0},
                     rowid,
                     {valueType, valueType == SQLITE_INTEGER ? q.integer(first + u.value) : 0}});
                continue;
            }
            const QByteArray value =
                u.value >= 0 ? char('0' + q.type(first + u.value)) + q.bytes(first + u.value) : QByteArray();
            bool hasNull = false;
            const QByteArray key = uniqueKey(u, q, first, &hasNull);
            if (hasNull)
                continue; // a NULL key is a finding of the row rules
            const auto it = texts[i].constFind(key);
            if (it == texts[i].constEnd()) {
                texts[i].insert(key, {rowid, value});
            } else if (u.value < 0) {
                clashes[i].push_back(it->first);
                clashes[i].push_back(rowid);
            } else if (it->second != value) {
                clashes[i].push_back(rowid);
            }
        }
    }
    for (const Finding &f : rowFindings)
        if (!f.empty())
            *problems << f.text();

    // The loans and returns that have no partner, once both tables were read.
    if (table == Vraceni) {
        RowNames loans(db, Vypujcky);
        loans.addTo(crossFindings[LoanWithoutReturn], nullptr, unmatched(facts.returnedLoans, facts.returns));
        RowNames returns(db, Vraceni);
        returns.addTo(crossFindings[ReturnWithoutLoan], nullptr,
                      unmatched(facts.returns, facts.returnedLoans));
    }

    RowNames names(db, table);
    for (size_t i = 0; i < uniques.size(); ++i) {
        const UniqueRule &u = *uniques[i];
        std::vector<KeyedRow> &rowsOfKey = keyed[i];
        std::sort(rowsOfKey.begin(), rowsOfKey.end());
        for (size_t j = 1; j < rowsOfKey.size(); ++j) {
            // The first row of each key is the one the others are held against.
            size_t head = j - 1;
            while (head > 0 && rowsOfKey[head - 1].key == rowsOfKey[j].key)
                --head;
            if (rowsOfKey[head].key != rowsOfKey[j].key)
                continue;
            if (u.value < 0) {
                if (head == j - 1)
                    clashes[i].push_back(rowsOfKey[head].rowid);
                clashes[i].push_back(rowsOfKey[j].rowid);
            } else if (rowsOfKey[j].value != rowsOfKey[head].value) {
                clashes[i].push_back(rowsOfKey[j].rowid);
            }
        }
        if (clashes[i].empty())
            continue;
        Finding finding(u.name, table, u.message);
        names.addTo(finding, u.subject, clashes[i]);
        *problems << finding.text();
    }
}

bool isRealDate(sqlite3_int64 d)
{
    const sqlite3_int64 year = d / 10000;
    const sqlite3_int64 month = d / 100 % 100;
    const sqlite3_int64 day = d % 100;
    if (d < 0 || year < 1 || year > 9999 || month < 1 || month > 12 || day < 1)
        return false;
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return day <= days[month - 1] + (month == 2 && leap ? 1 : 0);
}

void registerValueTests(sqlite3 *db)
{
    auto integer = [](sqlite3_context *c, int, sqlite3_value **v) {
        sqlite3_result_int(c, sqlite3_value_type(v[0]) == SQLITE_INTEGER);
    };
    auto key = [](sqlite3_context *c, int, sqlite3_value **v) {
        sqlite3_result_int(c, sqlite3_value_type(v[0]) == SQLITE_INTEGER && sqlite3_value_int64(v[0]) >= 0);
    };
    auto date = [](sqlite3_context *c, int, sqlite3_value **v) {
        sqlite3_result_int(c, sqlite3_value_type(v[0]) == SQLITE_INTEGER &&
                                  isRealDate(sqlite3_value_int64(v[0])));
    };
    const int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS;
    sqlite3_create_function_v2(db, "folivo_integer", 1, flags, nullptr, integer, nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db, "folivo_key", 1, flags, nullptr, key, nullptr, nullptr, nullptr);
    sqlite3_create_function_v2(db, "folivo_date", 1, flags, nullptr, date, nullptr, nullptr, nullptr);
}

QStringList ruleProblems(QSqlDatabase db)
{
    QStringList problems;
    sqlite3 *handle = handleOf(db);
    if (!handle)
        throw DbError(QStringLiteral("the database is not open"));
    registerValueTests(handle);
    {
        Statement q(handle, QStringLiteral("SELECT COUNT(*) FROM IDS"));
        if (!q.next() || q.integer(0) != 1)
            problems << QStringLiteral("IDS ids-jeden-radek: tabulka IDS nemá právě jeden řádek");
    }
    Facts facts;
    for (const CrossRule &c : CrossRules)
        facts.crossFindings.emplace_back(c.name, c.table, c.message);
    // The tables whose facts the later ones need come first.
    for (Table t : {Kategorie, Lide, Knihy, Vypujcky, Vraceni, Ids})
        checkTable(handle, t, facts, &problems);
    for (const Finding &f : facts.crossFindings)
        if (!f.empty())
            problems << f.text();
    return problems;
}

QStringList integrityProblems(QSqlDatabase db)
{
    QStringList problems;
    QSqlQuery q(db);
    if (!q.exec(QStringLiteral("PRAGMA integrity_check")))
        return {QStringLiteral("databázový soubor nelze přečíst: %1").arg(q.lastError().text())};
    while (q.next()) {
        const QString line = q.value(0).toString();
        if (line != QLatin1String("ok"))
            problems << QStringLiteral("databázový soubor je poškozen: %1").arg(line);
    }
    return problems;
}

// SQLite's integrity check of a database file through a read-only connection of its own, fit to
// run on a second thread while the first checks the schema and the records.
QStringList integrityProblemsOfFile(const QString &path)
{
    sqlite3 *db = nullptr;
    QStringList problems;
    if (sqlite3_open_v2(QFile::encodeName(path).constData(), &db, SQLITE_OPEN_READONLY, nullptr) !=
        SQLITE_OK) {
        problems << QStringLiteral("databázový soubor nelze otevřít: %1")
                        .arg(QString::fromUtf8(sqlite3_errmsg(db)));
        sqlite3_close(db);
        return problems;
    }
    try {
        Statement q(db, QStringLiteral("PRAGMA integrity_check"));
        while (q.next()) {
            const QString line = q.text(0);
            if (line != QLatin1String("ok"))
                problems << QStringLiteral("databázový soubor je poškozen: %1").arg(line);
        }
    } catch (const DbError &e) {
        problems << QStringLiteral("databázový soubor nelze přečíst: %1").arg(e.text());
    }
    sqlite3_close(db);
    return problems;
}

// ---------------------------------------------------------------------------------------------
// The schema as the catalogue and the pragmas describe it: every table with its columns in
// order (type, NOT NULL, default, key), every index with its columns and collations, foreign
// keys, and every other object (trigger, view). The shipped schema is described the same way
// from an in-memory database made from schema.sql, so the two compare item by item.

using SchemaItems = QMap<QString, QString>; // "sloupec KNIHY.KOD" -> "5. TEXT ..."

void describe(sqlite3 *db, SchemaItems *items)
{
    QStringList tables;
    {
        Statement q(db, QStringLiteral("SELECT type, name, tbl_name FROM sqlite_master WHERE name NOT LIKE "
                                       "'sqlite\\_%' ESCAPE '\\' ORDER BY name"));
        while (q.next()) {
            const QString type = q.text(0), name = q.text(1);
            if (type == QLatin1String("table"))
                tables << name;
            else if (type != QLatin1String("index")) // indexes come with their tables below
                items->insert(QStringLiteral("%1 %2").arg(type, name),
                              QStringLiteral("na %1").arg(q.text(2)));
        }
    }
    for (const QString &table : tables) {
        QStringList columns;
        {
            Statement q(db, QStringLiteral("PRAGMA table_info(\"%1\")").arg(table));
            while (q.next()) {
                columns << q.text(1);
                items->insert(QStringLiteral("sloupec %1.%2").arg(table, q.text(1)),
                              QStringLiteral("%1. %2%3%4%5")
                                  .arg(q.integer(0) + 1)
                                  .arg(q.text(2), q.integer(3) ? QStringLiteral(" NOT NULL") : QString(),
                                       q.isNull(4) ? QString() : QStringLiteral(" DEFAULT ") + q.text(4),
                                       q.integer(5) ? QStringLiteral(" PRIMARY KEY") : QString()));
            }
        }
        items->insert(QStringLiteral("tabulka %1").arg(table),
                      QStringLiteral("%1 sloupců").arg(columns.size()));
        {
            Statement q(db, QStringLiteral("PRAGMA foreign_key_list(\"%1\")").arg(table));
            while (q.next())
                items->insert(QStringLiteral("cizí klíč %1.%2").arg(table, q.text(3)),
                              QStringLiteral("%1.%2").arg(q.text(2), q.text(4)));
        }
        QStringList indexes;
        {
            Statement q(db, QStringLiteral("PRAGMA index_list(\"%1\")").arg(table));
            while (q.next())
                indexes << q.text(1) + QChar(u'\x1f') + q.text(2) + QChar(u'\x1f') + q.text(4);
        }
        for (const QString &entry : indexes) {
            const QStringList e = entry.split(QChar(u'\x1f'));
            QStringList parts;
            Statement q(db, QStringLiteral("PRAGMA index_xinfo(\"%1\")").arg(e.at(0)));
            while (q.next())
                if (q.integer(5)) // key columns only
                    parts << QStringLiteral("%1 %2%3").arg(
                        q.isNull(2) ? QStringLiteral("<výraz>") : q.text(2), q.text(4),
                        q.integer(3) ? QStringLiteral(" DESC") : QString());
            items->insert(QStringLiteral("index %1").arg(e.at(0)),
                          QStringLiteral("na %1 (%2)%3%4")
                              .arg(table, parts.join(QLatin1String(", ")),
                                   e.at(1) == QLatin1String("1") ? QStringLiteral(" UNIQUE") : QString(),
                                   e.at(2) == QLatin1String("1") ? QStringLiteral(" WHERE …") : QString()));
        }
    }
}

const SchemaItems &shippedSchema()
{
    static const SchemaItems items = [] {
        SchemaItems s;
        sqlite3 *db = nullptr;
        if (sqlite3_open_v2(":memory:", &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
            sqlite3_exec(db, Database::schemaSql().toUtf8().constData(), nullptr, nullptr, nullptr) ==
                SQLITE_OK)
            describe(db, &s);
        sqlite3_close(db);
        return s;
    }();
    return items;
}

bool onServer(const QSqlDatabase &db)
{
    return db.driverName() == QLatin1String("QPSQL");
}

// A server's tables and columns described as describe() names them, with the server's types
// named as the library file's; its indexes and triggers by name.
void describeServer(QSqlDatabase db, SchemaItems *items)
{
    auto run = [](QSqlQuery &q, const QString &sql) {
        if (!q.exec(sql))
            throw DbError(q.lastError().text(), sql);
    };
    QSqlQuery q(db);
    run(q, QStringLiteral("SELECT upper(table_name), upper(column_name), ordinal_position, data_type, "
                          "is_nullable, column_default FROM information_schema.columns "
                          "WHERE table_schema = current_schema() ORDER BY table_name, ordinal_position"));
    QMap<QString, int> columnCounts;
    while (q.next()) {
        const QString type = q.value(3).toString();
        const QString fileType = type == QLatin1String("integer")            ? QStringLiteral("INTEGER")
                                 : type == QLatin1String("text")             ? QStringLiteral("TEXT")
                                 : type == QLatin1String("double precision") ? QStringLiteral("REAL")
                                                                             : type;
        const QString table = q.value(0).toString();
        items->insert(
            QStringLiteral("sloupec %1.%2").arg(table, q.value(1).toString()),
            QStringLiteral("%1. %2%3%4")
                .arg(q.value(2).toInt())
                .arg(fileType,
                     q.value(4).toString() == QLatin1String("NO") ? QStringLiteral(" NOT NULL") : QString(),
                     q.isNull(5) ? QString() : QStringLiteral(" DEFAULT ") + q.value(5).toString()));
        ++columnCounts[table];
    }
    for (auto it = columnCounts.cbegin(); it != columnCounts.cend(); ++it)
        items->insert(QStringLiteral("tabulka %1").arg(it.key()),
                      QStringLiteral("%1 sloupců").arg(it.value()));
    run(q, QStringLiteral("SELECT upper(indexname), upper(tablename) FROM pg_indexes "
                          "WHERE schemaname = current_schema()"));
    while (q.next())
        items->insert(QStringLiteral("index %1").arg(q.value(0).toString()),
                      QStringLiteral("na %1").arg(q.value(1).toString()));
    run(q, QStringLiteral("SELECT t.tgname, upper(c.relname) FROM pg_trigger t JOIN pg_class c ON c.oid = "
                          "t.tgrelid JOIN pg_namespace n ON n.oid = c.relnamespace "
                          "WHERE NOT t.tgisinternal AND n.nspname = current_schema()"));
    while (q.next())
        items->insert(QStringLiteral("trigger %1").arg(q.value(0).toString()),
                      QStringLiteral("na %1").arg(q.value(1).toString()));
}

// What a server's library must have: the file's tables and columns (without the file's own
// indexes) and the indexes of the server's schema.
const SchemaItems &shippedServerSchema()
{
    static const SchemaItems items = [] {
        SchemaItems s;
        const SchemaItems &file = shippedSchema();
        for (auto it = file.cbegin(); it != file.cend(); ++it)
            if (it.key().startsWith(QLatin1String("sloupec ")) ||
                it.key().startsWith(QLatin1String("tabulka ")))
                s.insert(it.key(), QString(it.value()).remove(QLatin1String(" PRIMARY KEY")));
        static const QRegularExpression index(QStringLiteral("CREATE INDEX (\\w+) ON (\\w+)"));
        for (auto m = index.globalMatch(Database::serverSchemaSql()); m.hasNext();) {
            const QRegularExpressionMatch found = m.next();
            s.insert(QStringLiteral("index %1").arg(found.captured(1).toUpper()),
                     QStringLiteral("na %1").arg(found.captured(2).toUpper()));
        }
        return s;
    }();
    return items;
}

QStringList schemaProblems(QSqlDatabase db)
{
    const SchemaItems &want = onServer(db) ? shippedServerSchema() : shippedSchema();
    if (want.isEmpty())
        return {QStringLiteral("schéma programu nelze sestavit")};
    SchemaItems have;
    try {
        if (onServer(db))
            describeServer(db, &have);
        else
            describe(handleOf(db), &have);
    } catch (const DbError &e) {
        return {QStringLiteral("schéma nelze přečíst: %1").arg(e.text())};
    }
    QStringList problems;
    for (auto it = want.cbegin(); it != want.cend(); ++it) {
        const auto found = have.constFind(it.key());
        if (found == have.cend())
            problems << QStringLiteral("schéma: chybí %1").arg(it.key());
        else if (found.value() != it.value())
            problems
                << QStringLiteral("schéma: %1 je %2, má být %3").arg(it.key(), found.value(), it.value());
    }
    for (auto it = have.cbegin(); it != have.cend(); ++it)
        if (!want.contains(it.key()))
            problems << QStringLiteral("schéma: navíc %1 (%2)").arg(it.key(), it.value());
    return problems;
}

// The IDS row: one, every counter an integer not below zero, each counter above the highest key
// of its table and PRIRUSTEK_MAX at least the highest accession number. The maxima come from the
// ends of the key indexes.
QStringList counterProblems(QSqlDatabase db)
{
    auto read = [&db](const QString &sql) {
        QSqlQuery q(db);
        q.setForwardOnly(true);
        if (!q.exec(sql))
            throw DbError(q.lastError().text(), sql);
        return q.next() ? q.value(0) : QVariant();
    };
    if (read(QStringLiteral("SELECT COUNT(*) FROM IDS")).toLongLong() != 1)
        return {QStringLiteral("IDS ids-jeden-radek: tabulka IDS nemá právě jeden řádek")};
    struct Counter
    {
        const char *column;
        const char *max;
        bool above; // the counter must be above the maximum (a key), or at least it (accession)
    };
    const Counter counters[] = {
        {"ID_KNIHY_FIRSTFREE", "SELECT MAX(ID_KNIHY_KNIHY) FROM KNIHY", true},
        {"ID_LIDE_FIRSTFREE", "SELECT MAX(ID_LIDE_LIDE) FROM LIDE", true},
        {"ID_KATEGORIE_FIRSTFREE", "SELECT MAX(ID_KATEGORIE_KATEGORIE) FROM KATEGORIE", true},
        {"ID_VYPUJCKY_FIRSTFREE", "SELECT MAX(ID_VYPUJCKY_VYPUJCKY) FROM VYPUJCKY", true},
        {"ID_VRACENI_FIRSTFREE", "SELECT MAX(ID_VRACENI_VRACENI) FROM VRACENI", true},
        {"PRIRUSTEK_MAX", "SELECT MAX(PRIRUSTEK) FROM KNIHY", false},
    };
    QStringList problems;
    for (const Counter &c : counters) {
        // Both engines hand an integer column's value over as an integer; anything else stored
        // in the file (a text, a real) comes as something else.
        const QVariant v = read(QStringLiteral("SELECT %1 FROM IDS").arg(QLatin1String(c.column)));
        const bool integer =
            !v.isNull() && (v.typeId() == QMetaType::LongLong || v.typeId() == QMetaType::Int);
        if (!integer || v.toLongLong() < 0) {
            problems << QStringLiteral("IDS ids-pocitadla: počítadlo %1 je prázdné nebo neplatné (%2)")
                            .arg(QLatin1String(c.column), v.isNull() ? QStringLiteral("NULL") : v.toString());
            continue;
        }
        const QVariant max = read(QString::fromLatin1(c.max));
        if (!max.isNull() &&
            (c.above ? v.toLongLong() <= max.toLongLong() : v.toLongLong() < max.toLongLong()))
            problems << QStringLiteral("IDS ids-pocitadla: počítadlo %1 = %2 není před nejvyšší hodnotou %3")
                            .arg(QLatin1String(c.column))
                            .arg(v.toLongLong())
                            .arg(max.toLongLong());
    }
    return problems;
}

} // namespace

QList<RecordRuleInfo> recordRules()
{
    QList<RecordRuleInfo> out;
    out << RecordRuleInfo{QStringLiteral("ids-jeden-radek"), QStringLiteral("IDS")};
    for (const RowRule &r : rowRules())
        out << RecordRuleInfo{QString::fromLatin1(r.name), QString::fromLatin1(Tables[r.table].name)};
    for (const UniqueRule &u : uniqueRules())
        out << RecordRuleInfo{QString::fromLatin1(u.name), QString::fromLatin1(Tables[u.table].name)};
    for (const CrossRule &c : CrossRules)
        out << RecordRuleInfo{QString::fromLatin1(c.name), QString::fromLatin1(Tables[c.table].name)};
    return out;
}

QStringList startupProblems(QSqlDatabase db)
{
    const QStringList schema = schemaProblems(db);
    if (!schema.isEmpty())
        return schema;
    try {
        return counterProblems(db);
    } catch (const DbError &e) {
        return {QStringLiteral("tabulku IDS nelze přečíst: %1").arg(e.text())};
    }
}

LibraryCheck checkConnection(QSqlDatabase db)
{
    LibraryCheck check;
    check.integrity = integrityProblems(db);
    if (check.integrity.isEmpty())
        check.schema = schemaProblems(db);
    if (check.structurallySound())
        check.records = ruleProblems(db);
    return check;
}

LibraryCheck checkServerLibrary(QSqlDatabase db, const QString &imagePath)
{
    LibraryCheck check;
    check.schema = startupProblems(db);
    if (!check.schema.isEmpty())
        return check;
    // The rules read every row through the file engine's own statements; the snapshot keeps the
    // rows still while other desks go on working.
    QFile::remove(imagePath);
    QString error;
    if (!LibraryTransfer::writeImage(db, imagePath, &error)) {
        check.records << QStringLiteral("kontrolu záznamů nelze provést: %1").arg(error);
        return check;
    }
    const LibraryCheck image = checkDatabaseFile(imagePath);
    QFile::remove(imagePath);
    check.records = image.all();
    return check;
}

QStringList checkLibrary()
{
    return checkConnection(Database::connection()).all();
}

LibraryCheck checkDatabaseFile(const QString &path)
{
    LibraryCheck check;
    const QString name = QStringLiteral("folivo-file-check");
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(path);
        db.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
        if (!db.open() || !registerCzechLike(db)) {
            check.integrity
                << QStringLiteral("databázový soubor nelze otevřít: %1").arg(db.lastError().text());
        } else {
            // SQLite's integrity check reads every page once, and so do the record rules: with two
            // processors they run side by side, each on its own connection. What the rules find
            // counts only when the file passed the integrity and the schema checks.
            QStringList integrity;
            std::thread worker([&integrity, path] { integrity = integrityProblemsOfFile(path); });
            QStringList schema;
            QStringList records;
            try {
                schema = schemaProblems(db);
                if (schema.isEmpty())
                    records = ruleProblems(db);
            } catch (const DbError &e) {
                schema << QStringLiteral("kontrolu záznamů nelze provést: %1").arg(e.text());
            }
            worker.join();
            check.integrity = integrity;
            if (check.integrity.isEmpty()) {
                check.schema = schema;
                check.records = records;
            }
        }
        db.close();
    }
    QSqlDatabase::removeDatabase(name);
    return check;
}
