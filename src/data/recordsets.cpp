#include "data/recordsets.h"

void CSetKnihy::exchange(FieldExchange &fx)
{
    fx.Long("ID_KNIHY_KNIHY", m_ID_KNIHY_KNIHY);
    fx.Long("ID_KATEGORIE_KNIHY", m_ID_KATEGORIE_KNIHY);
    fx.Long("ID_LIDE_KNIHY", m_ID_LIDE_KNIHY);
    fx.Long("ID_VYPUJCKY_KNIHY", m_ID_VYPUJCKY_KNIHY);
    fx.Text("KOD", m_KOD);
    fx.Long("PRIRUSTEK", m_PRIRUSTEK);
    fx.Text("NAZEV", m_NAZEV);
    fx.Text("AUTOR", m_AUTOR);
    fx.Long("DATUM_PORIZENI", m_DATUM_PORIZENI);
    fx.Single("CENA", m_CENA);
    fx.Long("ROK_VYDANI", m_ROK_VYDANI);
    fx.Text("KLICOVA_SLOVA", m_KLICOVA_SLOVA);
    fx.Text("VYDAVATEL", m_VYDAVATEL);
    fx.Long("POCET_STRAN", m_POCET_STRAN);
    fx.Text("ANOTACE", m_ANOTACE);
    fx.Bool("VYRAZENO", m_VYRAZENO);
    fx.Bool("VYPUJCENO", m_VYPUJCENO);
    fx.Long("DATUM_VYRAZENI", m_DATUM_VYRAZENI);
    fx.Bool("IS_VYDAVATEL", m_IS_VYDAVATEL);
    fx.Bool("IS_ROKVYDANI", m_IS_ROKVYDANI);
    fx.Bool("IS_POCETSTRAN", m_IS_POCETSTRAN);
    fx.Bool("IS_ANOTACE", m_IS_ANOTACE);
    fx.Bool("IS_KLICOVESLOVO", m_IS_KLICOVESLOVO);
}

void CSetLide::exchange(FieldExchange &fx)
{
    fx.Long("ID_LIDE_LIDE", m_ID_LIDE_LIDE);
    fx.Text("KOD", m_KOD);
    fx.Text("JMENO", m_JMENO);
    fx.Text("PRIJMENI", m_PRIJMENI);
    fx.Bool("ROZSIRENE", m_ROZSIRENE);
    fx.Text("DOKLAD", m_DOKLAD);
    fx.Text("ADRESA", m_ADRESA);
    fx.Text("FUNKCE", m_FUNKCE);
    fx.Long("DATUM_NAROZENI", m_DATUM_NAROZENI);
    fx.Bool("UKAZOVAT", m_UKAZOVAT);
    fx.Bool("IS_DOKLAD", m_IS_DOKLAD);
    fx.Bool("IS_ADRESA", m_IS_ADRESA);
    fx.Bool("IS_FUNKCE", m_IS_FUNKCE);
    fx.Bool("IS_NAROZENI", m_IS_NAROZENI);
}

void CSetKategorie::exchange(FieldExchange &fx)
{
    fx.Long("ID_KATEGORIE_KATEGORIE", m_ID_KATEGORIE_KATEGORIE);
    fx.Text("NAZEV", m_NAZEV);
    fx.Bool("UKAZOVAT", m_UKAZOVAT);
}

void CSetVypujcky::exchange(FieldExchange &fx)
{
    fx.Long("ID_VYPUJCKY_VYPUJCKY", m_ID_VYPUJCKY_VYPUJCKY);
    fx.Long("ID_LIDE_VYPUJCKY", m_ID_LIDE_VYPUJCKY);
    fx.Long("ID_KNIHY_VYPUJCKY", m_ID_KNIHY_VYPUJCKY);
    fx.Bool("VRACENO", m_VRACENO);
    fx.Long("DATUM_PUJCKY", m_DATUM_PUJCKY);
    fx.Bool("OMEZOVAT", m_OMEZOVAT);
    fx.Long("DATUM_MAX", m_DATUM_MAX);
    fx.Long("DATUM_VRACENI", m_DATUM_VRACENI);
}

void CSetVraceni::exchange(FieldExchange &fx)
{
    fx.Long("ID_VRACENI_VRACENI", m_ID_VRACENI_VRACENI);
    fx.Long("ID_KNIHY_VRACENI", m_ID_KNIHY_VRACENI);
    fx.Long("ID_LIDE_VRACENI", m_ID_LIDE_VRACENI);
    fx.Long("DATUM_VRACENI", m_DATUM_VRACENI);
    fx.Long("DATUM_VRACENI_MAX", m_DATUM_VRACENI_MAX);
    fx.Long("DATUM_PUJCKY", m_DATUM_PUJCKY);
    fx.Bool("OMEZOVAT", m_OMEZOVAT);
}

void CSetIDS::exchange(FieldExchange &fx)
{
    fx.Long("ID_KNIHY_FIRSTFREE", m_ID_KNIHY_FIRSTFREE);
    fx.Long("ID_LIDE_FIRSTFREE", m_ID_LIDE_FIRSTFREE);
    fx.Long("ID_KATEGORIE_FIRSTFREE", m_ID_KATEGORIE_FIRSTFREE);
    fx.Long("ID_VYPUJCKY_FIRSTFREE", m_ID_VYPUJCKY_FIRSTFREE);
    fx.Long("ID_VRACENI_FIRSTFREE", m_ID_VRACENI_FIRSTFREE);
    fx.Long("PRIRUSTEK_MAX", m_PRIRUSTEK_MAX);
}

namespace {

qint32 findFlagged(const char *sql, const QString &value)
{
    try {
        QSqlQuery q =
            runSql(QString::fromLatin1(sql).arg(QLatin1String(textEqualityCollation(value))), {value});
        if (!q.next())
            return -1;
        return q.value(1).toLongLong() != 0 ? qint32(q.value(0).toLongLong()) : -2;
    } catch (const DbError &e) {
        logDbError(e);
        return -3;
    }
}

} // namespace

qint32 CSetLide::findByCode(const QString &code)
{
    return findFlagged("SELECT ID_LIDE_LIDE, UKAZOVAT FROM LIDE WHERE KOD = ? COLLATE %1", code);
}

qint32 CSetKategorie::findByName(const QString &name)
{
    return findFlagged("SELECT ID_KATEGORIE_KATEGORIE, UKAZOVAT FROM KATEGORIE WHERE NAZEV = ? COLLATE %1",
                       name);
}

qint32 allocateId(Counter counter)
{
    if (!Database::connection().isOpen())
        throw DbError(QStringLiteral("the database is not open"));
    CSetIDS ids;
    ids.open();
    if (ids.isEOF())
        throw DbError(QStringLiteral("the IDS row is missing"));
    ids.edit();
    qint32 *field = nullptr;
    switch (counter) {
    case Counter::Knihy:
        field = &ids.m_ID_KNIHY_FIRSTFREE;
        break;
    case Counter::Lide:
        field = &ids.m_ID_LIDE_FIRSTFREE;
        break;
    case Counter::Kategorie:
        field = &ids.m_ID_KATEGORIE_FIRSTFREE;
        break;
    case Counter::Vypujcky:
        field = &ids.m_ID_VYPUJCKY_FIRSTFREE;
        break;
    case Counter::Vraceni:
        field = &ids.m_ID_VRACENI_FIRSTFREE;
        break;
    }
    const qint32 id = *field;
    *field = id + 1;
    ids.update();
    return id;
}

qint32 readPrirustekMax()
{
    QSqlQuery q = runSql(QStringLiteral("SELECT PRIRUSTEK_MAX FROM IDS"));
    if (!q.next())
        throw DbError(QStringLiteral("the IDS row is missing"));
    return qint32(q.value(0).toLongLong());
}

void raisePrirustekMax(qint32 accession)
{
    runSql(QStringLiteral("UPDATE IDS SET PRIRUSTEK_MAX = ? WHERE PRIRUSTEK_MAX < ?"),
           {qlonglong(accession), qlonglong(accession)});
}
