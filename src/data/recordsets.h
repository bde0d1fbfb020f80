#pragma once

// The record sets, statement texts and engine statements belong to the core: pages, dialogs and
// models ask a core function for what they show and write (see docs/ARCHITECTURE.md).
#ifdef FOLIVO_UI_LAYER
#error "a file of folivo_ui reads the database: call a core function instead"
#endif

#include "data/recordset.h"

// One record set per table; the members are the columns in the table's order.

class CSetKnihy final : public RecordSet
{
public:
    CSetKnihy() { resetFields(); }
    QString tableName() const override { return QStringLiteral("KNIHY"); }
    int fieldCount() const override { return 23; }

    qint32 m_ID_KNIHY_KNIHY;
    qint32 m_ID_KATEGORIE_KNIHY;
    qint32 m_ID_LIDE_KNIHY;
    qint32 m_ID_VYPUJCKY_KNIHY;
    QString m_KOD;
    qint32 m_PRIRUSTEK;
    QString m_NAZEV;
    QString m_AUTOR;
    qint32 m_DATUM_PORIZENI;
    float m_CENA;
    qint32 m_ROK_VYDANI;
    QString m_KLICOVA_SLOVA;
    QString m_VYDAVATEL;
    qint32 m_POCET_STRAN;
    QString m_ANOTACE;
    bool m_VYRAZENO;
    bool m_VYPUJCENO;
    qint32 m_DATUM_VYRAZENI;
    bool m_IS_VYDAVATEL;
    bool m_IS_ROKVYDANI;
    bool m_IS_POCETSTRAN;
    bool m_IS_ANOTACE;
    bool m_IS_KLICOVESLOVO;

protected:
    void exchange(FieldExchange &fx) override;
};

class CSetLide final : public RecordSet
{
public:
    CSetLide() { resetFields(); }
    QString tableName() const override { return QStringLiteral("LIDE"); }
    int fieldCount() const override { return 14; }

    // -1 no client has the code, -2 the client was removed, the client's identifier, or -3 when
    // the database failed (the failure is swallowed).
    static qint32 findByCode(const QString &code);

    qint32 m_ID_LIDE_LIDE;
    QString m_KOD;
    QString m_JMENO;
    QString m_PRIJMENI;
    bool m_ROZSIRENE;
    QString m_DOKLAD;
    QString m_ADRESA;
    QString m_FUNKCE;
    qint32 m_DATUM_NAROZENI;
    bool m_UKAZOVAT;
    bool m_IS_DOKLAD;
    bool m_IS_ADRESA;
    bool m_IS_FUNKCE;
    bool m_IS_NAROZENI;

protected:
    void exchange(FieldExchange &fx) override;
};

class CSetKategorie final : public RecordSet
{
public:
    CSetKategorie() { resetFields(); }
    QString tableName() const override { return QStringLiteral("KATEGORIE"); }
    int fieldCount() const override { return 3; }

    // -1 no category has the name, -2 the category was removed, its identifier, or -3 when the
    // database failed (the failure is swallowed).
    static qint32 findByName(const QString &name);

    qint32 m_ID_KATEGORIE_KATEGORIE;
    QString m_NAZEV;
    bool m_UKAZOVAT;

protected:
    void exchange(FieldExchange &fx) override;
};

class CSetVypujcky final : public RecordSet
{
public:
    CSetVypujcky() { resetFields(); }
    QString tableName() const override { return QStringLiteral("VYPUJCKY"); }
    int fieldCount() const override { return 8; }

    qint32 m_ID_VYPUJCKY_VYPUJCKY;
    qint32 m_ID_LIDE_VYPUJCKY;
    qint32 m_ID_KNIHY_VYPUJCKY;
    bool m_VRACENO;
    qint32 m_DATUM_PUJCKY;
    bool m_OMEZOVAT;
    qint32 m_DATUM_MAX;
    qint32 m_DATUM_VRACENI;

protected:
    void exchange(FieldExchange &fx) override;
};

class CSetVraceni final : public RecordSet
{
public:
    CSetVraceni() { resetFields(); }
    QString tableName() const override { return QStringLiteral("VRACENI"); }
    int fieldCount() const override { return 7; }

    qint32 m_ID_VRACENI_VRACENI;
    qint32 m_ID_KNIHY_VRACENI;
    qint32 m_ID_LIDE_VRACENI;
    qint32 m_DATUM_VRACENI;
    qint32 m_DATUM_VRACENI_MAX;
    qint32 m_DATUM_PUJCKY;
    bool m_OMEZOVAT;

protected:
    void exchange(FieldExchange &fx) override;
};

class CSetIDS final : public RecordSet
{
public:
    CSetIDS() { resetFields(); }
    QString tableName() const override { return QStringLiteral("IDS"); }
    int fieldCount() const override { return 6; }

    qint32 m_ID_KNIHY_FIRSTFREE;
    qint32 m_ID_LIDE_FIRSTFREE;
    qint32 m_ID_KATEGORIE_FIRSTFREE;
    qint32 m_ID_VYPUJCKY_FIRSTFREE;
    qint32 m_ID_VRACENI_FIRSTFREE;
    qint32 m_PRIRUSTEK_MAX;

protected:
    void exchange(FieldExchange &fx) override;
};

// The counters of IDS. Each writer takes its identifier inside its own transaction; a rolled
// back action leaves the counter where it was, and an identifier once committed is never given
// again.
enum class Counter
{
    Knihy,
    Lide,
    Kategorie,
    Vypujcky,
    Vraceni
};
qint32 allocateId(Counter counter);       // must run inside a Transaction; throws DbError
qint32 readPrirustekMax();                // throws DbError
void raisePrirustekMax(qint32 accession); // never lowers it; throws DbError
