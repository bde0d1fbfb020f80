#include "data/consistency.h"

#include "data/czechlike.h"
#include "data/database.h"

#include <QHash>
#include <QMap>
#include <QSet>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>

#include <sqlite3.h>

#include <atomic>
#include <thread>
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
};

const TableInfo Tables[TableCount] = {
    {"KNIHY", "K", "K.ID_KNIHY_KNIHY, K.KOD, K.PRIRUSTEK", "kniha %1 (kód %2)"},
    {"LIDE", "L", "L.ID_LIDE_LIDE, L.KOD", "klient %1 (kód %2)"},
    {"KATEGORIE", "C", "C.ID_KATEGORIE_KATEGORIE, C.NAZEV", "kategorie %1 (%2)"},
    {"VYPUJCKY", "V", "V.ID_VYPUJCKY_VYPUJCKY, V.ID_KNIHY_VYPUJCKY, V.ID_LIDE_VYPUJCKY",
     "výpůjčka %1 (kniha %2)"},
    {"VRACENI", "R", "R.ID_VRACENI_VRACENI, R.ID_KNIHY_VRACENI, R.ID_LIDE_VRACENI", "vrácení %1 (kniha %2)"},
    {"IDS", "I", "1", "tabulka IDS"},
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

QString integerColumn(const QString &c)
{
    return QStringLiteral("typeof(%1) = 'integer'").arg(c);
}

QString keyColumn(const QString &c)
{
    return QStringLiteral("(typeof(%1) = 'integer' AND %1 >= 0)").arg(c);
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
    return QStringLiteral(
               "(typeof(%1) = 'integer' AND %1 / 10000 BETWEEN 1 AND 9999 AND %1 / 100 % 100 BETWEEN 1 AND "
               "12 "
               "AND %1 % 100 BETWEEN 1 AND CASE %1 / 100 % 100 WHEN 2 THEN 28 + ((%1 / 10000 % 4 = 0 AND "
               "%1 / 10000 % 100 <> 0) OR %1 / 10000 % 400 = 0) WHEN 4 THEN 30 WHEN 6 THEN 30 WHEN 9 THEN 30 "
               "WHEN 11 THEN 30 ELSE 31 END)")
        .arg(d);
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
        {"kniha-kategorie", Knihy, "patří do kategorie, která v evidenci není",
         S("EXISTS (SELECT 1 FROM KATEGORIE C WHERE C.ID_KATEGORIE_KATEGORIE = K.ID_KATEGORIE_KNIHY)")},
        {"kniha-odstranena-kategorie", Knihy, "není vyřazená, ale patří do odstraněné kategorie",
         S("K.VYRAZENO IS NOT 0 OR NOT EXISTS (SELECT 1 FROM KATEGORIE C WHERE C.ID_KATEGORIE_KATEGORIE = "
           "K.ID_KATEGORIE_KNIHY AND C.UKAZOVAT IS 0)")},
        {"kniha-vypujcena-bez-vypujcky", Knihy,
         "je vypůjčená, ale nemá právě jednu otevřenou výpůjčku pod svým číslem výpůjčky a klientem",
         S("K.VYPUJCENO IS NOT 1 OR (SELECT COUNT(*) FROM VYPUJCKY V WHERE V.ID_VYPUJCKY_VYPUJCKY = "
           "K.ID_VYPUJCKY_KNIHY AND V.ID_KNIHY_VYPUJCKY = K.ID_KNIHY_KNIHY AND V.VRACENO IS 0 AND "
           "V.ID_LIDE_VYPUJCKY = K.ID_LIDE_KNIHY) = 1")},
        {"kniha-vypujcena-neznamemu", Knihy, "je vypůjčená klientovi, který v evidenci není",
         S("K.VYPUJCENO IS NOT 1 OR EXISTS (SELECT 1 FROM LIDE L WHERE L.ID_LIDE_LIDE = K.ID_LIDE_KNIHY)")},
        {"kniha-vypujcena-odstranenemu", Knihy, "je vypůjčená odstraněnému klientovi",
         S("K.VYPUJCENO IS NOT 1 OR NOT EXISTS (SELECT 1 FROM LIDE L WHERE L.ID_LIDE_LIDE = K.ID_LIDE_KNIHY "
           "AND L.UKAZOVAT IS 0)")},
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
        {"vypujcka-odkazy", Vypujcky, "odkazuje na klienta nebo knihu, které v evidenci nejsou",
         S("EXISTS (SELECT 1 FROM LIDE L WHERE L.ID_LIDE_LIDE = V.ID_LIDE_VYPUJCKY) AND EXISTS (SELECT 1 "
           "FROM KNIHY K WHERE K.ID_KNIHY_KNIHY = V.ID_KNIHY_VYPUJCKY)")},
        {"vypujcka-otevrena", Vypujcky, "je otevřená, ale její kniha není vypůjčená pod tímto číslem",
         S("V.VRACENO IS NOT 0 OR EXISTS (SELECT 1 FROM KNIHY K WHERE K.ID_KNIHY_KNIHY = V.ID_KNIHY_VYPUJCKY "
           "AND K.VYPUJCENO IS 1 AND K.ID_VYPUJCKY_KNIHY = V.ID_VYPUJCKY_VYPUJCKY)")},
        {"vypujcka-datum-pujcky", Vypujcky, "nemá platné datum půjčky", realDate(S("V.DATUM_PUJCKY"))},
        {"vypujcka-lhuta", Vypujcky,
         "má nejzazší datum vrácení, které neodpovídá příznaku OMEZOVAT nebo předchází datu půjčky",
         S("CASE V.OMEZOVAT WHEN 1 THEN ") + realDate(S("V.DATUM_MAX")) +
             S(" AND V.DATUM_MAX >= V.DATUM_PUJCKY WHEN 0 THEN V.DATUM_MAX IS -1 END")},
        {"vypujcka-datum-vraceni", Vypujcky,
         "je vrácená bez platného data vrácení (nejdříve v den půjčky), nebo nevrácená s datem vrácení",
         S("CASE V.VRACENO WHEN 1 THEN ") + realDate(S("V.DATUM_VRACENI")) +
             S(" AND V.DATUM_VRACENI >= V.DATUM_PUJCKY WHEN 0 THEN V.DATUM_VRACENI IS -1 END")},
        {"vypujcka-pred-porizenim", Vypujcky, "je otevřená a začala dříve, než byla kniha pořízena",
         S("V.VRACENO IS NOT 0 OR NOT EXISTS (SELECT 1 FROM KNIHY K WHERE K.ID_KNIHY_KNIHY = "
           "V.ID_KNIHY_VYPUJCKY AND K.DATUM_PORIZENI > V.DATUM_PUJCKY)")},
        {"vypujcka-bez-vraceni", Vypujcky, "je vrácená, ale chybí k ní záznam o vrácení (VRACENI)",
         S("V.VRACENO IS NOT 1 OR EXISTS (SELECT 1 FROM VRACENI R WHERE R.ID_KNIHY_VRACENI = "
           "V.ID_KNIHY_VYPUJCKY AND R.ID_LIDE_VRACENI = V.ID_LIDE_VYPUJCKY AND R.DATUM_PUJCKY = "
           "V.DATUM_PUJCKY "
           "AND R.DATUM_VRACENI = V.DATUM_VRACENI)")},
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
        {"vraceni-odkazy", Vraceni, "odkazuje na klienta nebo knihu, které v evidenci nejsou",
         S("EXISTS (SELECT 1 FROM LIDE L WHERE L.ID_LIDE_LIDE = R.ID_LIDE_VRACENI) AND EXISTS (SELECT 1 FROM "
           "KNIHY K WHERE K.ID_KNIHY_KNIHY = R.ID_KNIHY_VRACENI)")},
        {"vraceni-data", Vraceni, "nemá platné datum půjčky a vrácení (vrácení nejdříve v den půjčky)",
         realDate(S("R.DATUM_PUJCKY")) + S(" AND ") + realDate(S("R.DATUM_VRACENI")) +
             S(" AND R.DATUM_VRACENI >= R.DATUM_PUJCKY")},
        {"vraceni-lhuta", Vraceni, "má nejzazší datum vrácení, které neodpovídá příznaku OMEZOVAT",
         S("CASE R.OMEZOVAT WHEN 1 THEN ") + realDate(S("R.DATUM_VRACENI_MAX")) +
             S(" WHEN 0 THEN R.DATUM_VRACENI_MAX IS -1 END")},
        {"vraceni-bez-vypujcky", Vraceni, "nemá odpovídající vrácenou výpůjčku (VYPUJCKY)",
         S("EXISTS (SELECT 1 FROM VYPUJCKY V WHERE V.ID_KNIHY_VYPUJCKY = R.ID_KNIHY_VRACENI AND "
           "V.ID_LIDE_VYPUJCKY = R.ID_LIDE_VRACENI AND V.DATUM_PUJCKY = R.DATUM_PUJCKY AND V.DATUM_VRACENI = "
           "R.DATUM_VRACENI AND V.VRACENO IS 1)")},
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

// One pass over a table: every row rule of the table as a column, every uniqueness rule hashed.
// A row is turned into texts only when it breaks a rule; the hashes keep row ids, and the rows
// that share a key are read again by id at the end.
void checkTable(sqlite3 *db, Table table, QStringList *problems)
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
    const int fieldCount = int(QString::fromLatin1(t.fields).count(u',')) + 1;
    const int first = 1; // column 0 is the row id
    const int rulesAt = first + fieldCount;

    const QString from = QStringLiteral(" FROM %1 %2").arg(QLatin1String(t.name), QLatin1String(t.alias));
    QString sql = QStringLiteral("SELECT %1.rowid, ").arg(QLatin1String(t.alias)) + QLatin1String(t.fields);
    for (const RowRule *r : rows)
        sql += QStringLiteral(", (%1) IS 1").arg(r->ok);
    sql += from;

    std::vector<Finding> rowFindings;
    for (const RowRule *r : rows)
        rowFindings.emplace_back(r->name, table, r->message);
    struct Seen
    {
        qint64 rowid;
        QByteArray value;
    };
    std::vector<QHash<QByteArray, Seen>> seen(uniques.size());
    // Per uniqueness rule, the row ids that share a key with an earlier row (and that earlier row).
    std::vector<std::vector<qint64>> clashes(uniques.size());

    auto fieldsOf = [&](const Statement &q) {
        QStringList fields;
        for (int f = 0; f < fieldCount; ++f)
            fields << q.text(first + f);
        return fields;
    };

    Statement q(db, sql);
    while (q.next()) {
        QStringList fields;
        for (size_t i = 0; i < rows.size(); ++i) {
            if (q.integer(rulesAt + int(i)) != 0)
                continue;
            if (fields.isEmpty())
                fields = fieldsOf(q);
            rowFindings[i].add(subjectOf(rows[i]->subject ? rows[i]->subject : t.subject, fields));
        }
        for (size_t i = 0; i < uniques.size(); ++i) {
            const UniqueRule &u = *uniques[i];
            bool hasNull = false;
            const QByteArray key = uniqueKey(u, q, first, &hasNull);
            if (hasNull)
                continue; // a NULL key is a finding of the row rules
            const qint64 rowid = q.integer(0);
            const QByteArray value =
                u.value >= 0 ? char('0' + q.type(first + u.value)) + q.bytes(first + u.value) : QByteArray();
            const auto it = seen[i].constFind(key);
            if (it == seen[i].constEnd()) {
                seen[i].insert(key, {rowid, value});
            } else if (u.value < 0) {
                clashes[i].push_back(it->rowid);
                clashes[i].push_back(rowid);
            } else if (it->value != value) {
                clashes[i].push_back(rowid);
            }
        }
    }
    for (const Finding &f : rowFindings)
        if (!f.empty())
            *problems << f.text();

    Statement byId(db, QStringLiteral("SELECT %1.rowid, ").arg(QLatin1String(t.alias)) + QLatin1String(t.fields) +
                           from + QStringLiteral(" WHERE %1.rowid = ?").arg(QLatin1String(t.alias)));
    for (size_t i = 0; i < uniques.size(); ++i) {
        if (clashes[i].empty())
            continue;
        Finding finding(uniques[i]->name, table, uniques[i]->message);
        for (qint64 rowid : clashes[i]) {
            byId.reset();
            byId.bind(1, rowid);
            if (byId.next())
                finding.add(subjectOf(uniques[i]->subject, fieldsOf(byId)));
        }
        *problems << finding.text();
    }
}

QStringList ruleProblems(QSqlDatabase db)
{
    QStringList problems;
    sqlite3 *handle = handleOf(db);
    {
        Statement q(handle, QStringLiteral("SELECT COUNT(*) FROM IDS"));
        if (!q.next() || q.integer(0) != 1)
            problems << QStringLiteral("IDS ids-jeden-radek: tabulka IDS nemá právě jeden řádek");
    }
    for (int t = 0; t < TableCount; ++t)
        checkTable(handle, Table(t), &problems);
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

QStringList schemaProblems(QSqlDatabase db)
{
    const SchemaItems &want = shippedSchema();
    if (want.isEmpty())
        return {QStringLiteral("schéma programu nelze sestavit")};
    SchemaItems have;
    try {
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
    sqlite3 *handle = handleOf(db);
    {
        Statement q(handle, QStringLiteral("SELECT COUNT(*) FROM IDS"));
        if (!q.next() || q.integer(0) != 1)
            return {QStringLiteral("IDS ids-jeden-radek: tabulka IDS nemá právě jeden řádek")};
    }
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
        Statement v(handle, QStringLiteral("SELECT %1, typeof(%1) FROM IDS").arg(QLatin1String(c.column)));
        v.next();
        if (v.text(1) != QLatin1String("integer") || v.integer(0) < 0) {
            problems << QStringLiteral("IDS ids-pocitadla: počítadlo %1 je prázdné nebo neplatné (%2)")
                            .arg(QLatin1String(c.column), v.text(0));
            continue;
        }
        Statement m(handle, QString::fromLatin1(c.max));
        if (m.next() && !m.isNull(0) &&
            (c.above ? v.integer(0) <= m.integer(0) : v.integer(0) < m.integer(0)))
            problems << QStringLiteral("IDS ids-pocitadla: počítadlo %1 = %2 není před nejvyšší hodnotou %3")
                            .arg(QLatin1String(c.column))
                            .arg(v.integer(0))
                            .arg(m.integer(0));
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
            try {
                check = checkConnection(db);
            } catch (const DbError &e) {
                check.schema << QStringLiteral("kontrolu záznamů nelze provést: %1").arg(e.text());
            }
        }
        db.close();
    }
    QSqlDatabase::removeDatabase(name);
    return check;
}
