#include "data/consistency.h"

#include "data/database.h"

#include "data/czechlike.h"

#include <QSqlError>
#include <QSqlQuery>

namespace {

struct Rule
{
    const char *what; // what is wrong with each row found, "%1" = the row's key, "%2" = its second column
    const char *sql;  // one row per violation, its key in the first column
};

// Each statement lists the offending rows; the first column names the row in the message, a second
// column (a book's code) helps the librarian find it. Codes and names are unique in the sense the
// program's own lookups use: letter case ignored, Czech letters included (CZNOCASE).
const Rule Rules[] = {
    {"kniha %1 (kód %2) je vypůjčená, ale nemá právě jednu otevřenou výpůjčku pod svým číslem výpůjčky a "
     "klientem",
     "SELECT K.ID_KNIHY_KNIHY, K.KOD FROM KNIHY K WHERE K.VYPUJCENO AND (SELECT COUNT(*) FROM VYPUJCKY V "
     "WHERE "
     "V.ID_VYPUJCKY_VYPUJCKY = K.ID_VYPUJCKY_KNIHY AND V.ID_KNIHY_VYPUJCKY = K.ID_KNIHY_KNIHY AND NOT "
     "V.VRACENO AND "
     "V.ID_LIDE_VYPUJCKY = K.ID_LIDE_KNIHY) <> 1"},
    {"kniha %1 (kód %2) je vypůjčená klientovi, který v evidenci není",
     "SELECT K.ID_KNIHY_KNIHY, K.KOD FROM KNIHY K WHERE K.VYPUJCENO AND NOT EXISTS (SELECT 1 FROM LIDE L "
     "WHERE "
     "L.ID_LIDE_LIDE = K.ID_LIDE_KNIHY)"},
    {"kniha %1 (kód %2) není vypůjčená, ale odkazuje na klienta nebo výpůjčku",
     "SELECT ID_KNIHY_KNIHY, KOD FROM KNIHY WHERE NOT VYPUJCENO AND (ID_LIDE_KNIHY <> -1 OR "
     "ID_VYPUJCKY_KNIHY <> "
     "-1)"},
    {"výpůjčka %1 je otevřená, ale její kniha není vypůjčená pod tímto číslem",
     "SELECT V.ID_VYPUJCKY_VYPUJCKY FROM VYPUJCKY V LEFT JOIN KNIHY K ON K.ID_KNIHY_KNIHY = "
     "V.ID_KNIHY_VYPUJCKY "
     "WHERE NOT V.VRACENO AND (K.ID_KNIHY_KNIHY IS NULL OR NOT K.VYPUJCENO OR K.ID_VYPUJCKY_KNIHY <> "
     "V.ID_VYPUJCKY_VYPUJCKY)"},
    {"kniha %1 (kód %2) je vyřazená a přitom vypůjčená",
     "SELECT ID_KNIHY_KNIHY, KOD FROM KNIHY WHERE VYRAZENO AND VYPUJCENO"},
    {"kniha %1 (kód %2) není vyřazená, a přesto má datum vyřazení",
     "SELECT ID_KNIHY_KNIHY, KOD FROM KNIHY WHERE NOT VYRAZENO AND DATUM_VYRAZENI <> -1"},
    {"kniha %1 (kód %2) patří do kategorie, která v evidenci není",
     "SELECT K.ID_KNIHY_KNIHY, K.KOD FROM KNIHY K WHERE NOT EXISTS (SELECT 1 FROM KATEGORIE C WHERE "
     "C.ID_KATEGORIE_KATEGORIE = K.ID_KATEGORIE_KNIHY)"},
    {"výpůjčka %1 odkazuje na klienta nebo knihu, které v evidenci nejsou",
     "SELECT V.ID_VYPUJCKY_VYPUJCKY FROM VYPUJCKY V WHERE NOT EXISTS (SELECT 1 FROM LIDE L WHERE "
     "L.ID_LIDE_LIDE = "
     "V.ID_LIDE_VYPUJCKY) OR NOT EXISTS (SELECT 1 FROM KNIHY K WHERE K.ID_KNIHY_KNIHY = "
     "V.ID_KNIHY_VYPUJCKY)"},
    {"výpůjčka %1 patří více klientům najednou",
     "SELECT ID_VYPUJCKY_VYPUJCKY FROM VYPUJCKY GROUP BY ID_VYPUJCKY_VYPUJCKY HAVING COUNT(DISTINCT "
     "ID_LIDE_VYPUJCKY) > 1"},
    {"výpůjčka %1: kniha %2 je vrácená bez data vrácení, nebo nevrácená s datem vrácení",
     "SELECT ID_VYPUJCKY_VYPUJCKY, ID_KNIHY_VYPUJCKY FROM VYPUJCKY WHERE (VRACENO AND DATUM_VRACENI = -1) OR "
     "(NOT VRACENO AND DATUM_VRACENI <> -1)"},
    {"vrácení %1 odkazuje na klienta nebo knihu, které v evidenci nejsou",
     "SELECT R.ID_VRACENI_VRACENI FROM VRACENI R WHERE NOT EXISTS (SELECT 1 FROM LIDE L WHERE L.ID_LIDE_LIDE "
     "= "
     "R.ID_LIDE_VRACENI) OR NOT EXISTS (SELECT 1 FROM KNIHY K WHERE K.ID_KNIHY_KNIHY = R.ID_KNIHY_VRACENI)"},
    {"kniha %1 má klíč, který ještě nebyl přidělen (ID_KNIHY_FIRSTFREE)",
     "SELECT ID_KNIHY_KNIHY FROM KNIHY WHERE ID_KNIHY_KNIHY >= (SELECT ID_KNIHY_FIRSTFREE FROM IDS)"},
    {"klient %1 má klíč, který ještě nebyl přidělen (ID_LIDE_FIRSTFREE)",
     "SELECT ID_LIDE_LIDE FROM LIDE WHERE ID_LIDE_LIDE >= (SELECT ID_LIDE_FIRSTFREE FROM IDS)"},
    {"kategorie %1 má klíč, který ještě nebyl přidělen (ID_KATEGORIE_FIRSTFREE)",
     "SELECT ID_KATEGORIE_KATEGORIE FROM KATEGORIE WHERE ID_KATEGORIE_KATEGORIE >= (SELECT "
     "ID_KATEGORIE_FIRSTFREE "
     "FROM IDS)"},
    {"výpůjčka %1 má číslo, které ještě nebylo přiděleno (ID_VYPUJCKY_FIRSTFREE)",
     "SELECT DISTINCT ID_VYPUJCKY_VYPUJCKY FROM VYPUJCKY WHERE ID_VYPUJCKY_VYPUJCKY >= (SELECT "
     "ID_VYPUJCKY_FIRSTFREE FROM IDS)"},
    {"vrácení %1 má číslo, které ještě nebylo přiděleno (ID_VRACENI_FIRSTFREE)",
     "SELECT DISTINCT ID_VRACENI_VRACENI FROM VRACENI WHERE ID_VRACENI_VRACENI >= (SELECT "
     "ID_VRACENI_FIRSTFREE FROM "
     "IDS)"},
    {"přírůstkové číslo %1 je vyšší než PRIRUSTEK_MAX",
     "SELECT PRIRUSTEK FROM KNIHY WHERE PRIRUSTEK > (SELECT PRIRUSTEK_MAX FROM IDS)"},
    {"kód knihy %1 je použit vícekrát",
     "SELECT KOD FROM KNIHY GROUP BY KOD COLLATE CZNOCASE HAVING COUNT(*) > 1"},
    {"přírůstkové číslo %1 je použito vícekrát",
     "SELECT PRIRUSTEK FROM KNIHY GROUP BY PRIRUSTEK HAVING COUNT(*) > 1"},
    {"klíč knihy %1 je použit vícekrát", "SELECT ID_KNIHY_KNIHY FROM KNIHY GROUP BY 1 HAVING COUNT(*) > 1"},
    {"kód klienta %1 je použit vícekrát",
     "SELECT KOD FROM LIDE GROUP BY KOD COLLATE CZNOCASE HAVING COUNT(*) > 1"},
    {"klíč klienta %1 je použit vícekrát", "SELECT ID_LIDE_LIDE FROM LIDE GROUP BY 1 HAVING COUNT(*) > 1"},
    {"název kategorie %1 je použit vícekrát",
     "SELECT NAZEV FROM KATEGORIE GROUP BY NAZEV COLLATE CZNOCASE HAVING COUNT(*) > 1"},
    {"klíč kategorie %1 je použit vícekrát",
     "SELECT ID_KATEGORIE_KATEGORIE FROM KATEGORIE GROUP BY 1 HAVING COUNT(*) > 1"},
    {"výpůjčka %1 obsahuje tutéž knihu vícekrát",
     "SELECT ID_VYPUJCKY_VYPUJCKY FROM VYPUJCKY GROUP BY ID_VYPUJCKY_VYPUJCKY, ID_KNIHY_VYPUJCKY HAVING "
     "COUNT(*) > 1"},
};

} // namespace

namespace {

QStringList ruleProblems(QSqlDatabase db)
{
    QStringList problems;
    {
        QSqlQuery q(db);
        if (!q.exec(QStringLiteral("SELECT COUNT(*) FROM IDS")))
            throw DbError(q.lastError().text());
        if (!q.next() || q.value(0).toLongLong() != 1)
            return problems << QStringLiteral("tabulka IDS nemá právě jeden řádek");
    }
    for (const Rule &r : Rules) {
        QSqlQuery q(db);
        if (!q.exec(QString::fromLatin1(r.sql)))
            throw DbError(q.lastError().text());
        const bool second = QByteArray(r.what).contains("%2");
        while (q.next()) {
            // One pass over both markers: a code holding "%1" stays as it is.
            const QString what = QString::fromUtf8(r.what);
            problems << (second ? what.arg(q.value(0).toString(), q.value(1).toString())
                                : what.arg(q.value(0).toString()));
        }
    }
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

const char *const LibraryTables[] = {"KNIHY", "LIDE", "KATEGORIE", "VYPUJCKY", "VRACENI", "IDS"};

QStringList schemaProblems(QSqlDatabase db)
{
    QStringList problems;
    QSqlQuery q(db);
    QStringList present;
    if (q.exec(QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'")))
        while (q.next())
            present << q.value(0).toString();
    for (const char *t : LibraryTables)
        if (!present.contains(QLatin1String(t)))
            problems << QStringLiteral("chybí tabulka %1").arg(QLatin1String(t));
    return problems;
}

} // namespace

QStringList checkLibrary()
{
    QSqlDatabase db = Database::connection();
    QStringList problems = integrityProblems(db);
    return problems + ruleProblems(db);
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
            check.integrity = integrityProblems(db);
            if (check.integrity.isEmpty())
                check.schema = schemaProblems(db);
            if (check.structurallySound()) {
                try {
                    check.records = ruleProblems(db);
                } catch (const DbError &e) {
                    check.schema << QStringLiteral("kontrolu záznamů nelze provést: %1").arg(e.text());
                }
            }
        }
        db.close();
    }
    QSqlDatabase::removeDatabase(name);
    return check;
}
