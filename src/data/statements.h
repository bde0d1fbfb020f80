#pragma once

// The record sets, statement texts and engine statements belong to the core: pages, dialogs and
// models ask a core function for what they show and write (see docs/ARCHITECTURE.md).
#ifdef FOLIVO_UI_LAYER
#error "a file of folivo_ui reads the database: call a core function instead"
#endif

// The program's statement texts, in the Jet dialect the pages were written in; they run through
// jetToSqlite() (record sets and runJet do it). Numbers go in with %d, texts between quotes with
// '%s' after the forbidden-character test. Format them with QString::asprintf.
namespace Stmt {

// Books
inline constexpr const char *KnihyById = "SELECT * FROM KNIHY WHERE KNIHY.ID_KNIHY_KNIHY = %d";
inline constexpr const char *KnihyByIdBare = "SELECT * FROM KNIHY WHERE ID_KNIHY_KNIHY = %d";
inline constexpr const char *KnihyByKod = "SELECT * FROM KNIHY WHERE KNIHY.KOD = '%s'";
inline constexpr const char *KnihyByKodNotDiscarded =
    "SELECT * FROM KNIHY WHERE KNIHY.KOD = '%s' AND NOT KNIHY.VYRAZENO";
inline constexpr const char *KnihyDiscardedByKod = "SELECT * FROM KNIHY WHERE KOD='%s' AND VYRAZENO";
inline constexpr const char *KnihyByPrirustek = "SELECT * FROM KNIHY WHERE KNIHY.PRIRUSTEK = %d";
inline constexpr const char *KnihyHeldBy = "SELECT * FROM KNIHY WHERE KNIHY.ID_LIDE_KNIHY = %d";
inline constexpr const char *KnihyInCategory =
    "SELECT * FROM KNIHY WHERE KNIHY.ID_KATEGORIE_KNIHY = %d AND NOT KNIHY.VYRAZENO";
inline constexpr const char *KnihyInCategoryByKodDesc =
    "SELECT * FROM KNIHY WHERE KNIHY.ID_KATEGORIE_KNIHY = %d AND NOT KNIHY.VYRAZENO ORDER BY KNIHY.KOD DESC";
inline constexpr const char *KnihyBrowse =
    "SELECT * FROM KNIHY WHERE NOT KNIHY.VYRAZENO ORDER BY KNIHY.PRIRUSTEK";

// Book pickers
inline constexpr const char *PickLendable =
    "SELECT * FROM KNIHY WHERE NOT KNIHY.VYRAZENO AND NOT KNIHY.VYPUJCENO ORDER BY KNIHY.KOD DESC";
inline constexpr const char *PickLent =
    "SELECT * FROM KNIHY WHERE NOT KNIHY.VYRAZENO AND KNIHY.VYPUJCENO ORDER BY KNIHY.KOD DESC";
inline constexpr const char *PickNotDiscarded =
    "SELECT * FROM KNIHY WHERE NOT KNIHY.VYRAZENO ORDER BY KNIHY.KOD DESC";
inline constexpr const char *PickDiscarded =
    "SELECT * FROM KNIHY WHERE KNIHY.VYRAZENO ORDER BY KNIHY.KOD DESC";

// Reports (kinds 7, 5, 8, 6, 2, 4, 1, 3, 9)
inline constexpr const char *ReportPresent = PickLendable;
inline constexpr const char *ReportLent = PickLent;
inline constexpr const char *ReportPresentAndLent = PickNotDiscarded;
inline constexpr const char *ReportDiscarded = PickDiscarded;
inline constexpr const char *ReportCategory =
    "SELECT * FROM KNIHY WHERE NOT KNIHY.VYRAZENO AND KNIHY.ID_KATEGORIE_KNIHY = %d ORDER BY KNIHY.KOD DESC";
inline constexpr const char *ReportOverdue =
    "SELECT * FROM KNIHY WHERE NOT KNIHY.VYRAZENO AND KNIHY.VYPUJCENO AND EXISTS (SELECT "
    "VYPUJCKY.DATUM_PUJCKY FROM "
    "VYPUJCKY WHERE (VYPUJCKY.OMEZOVAT AND VYPUJCKY.DATUM_MAX < %d)  AND (VYPUJCKY.ID_VYPUJCKY_VYPUJCKY = "
    "KNIHY.ID_VYPUJCKY_KNIHY) AND (VYPUJCKY.ID_KNIHY_VYPUJCKY = KNIHY.ID_KNIHY_KNIHY)) ORDER BY KNIHY.KOD "
    "DESC";
inline constexpr const char *ReportClientLoans =
    "SELECT * FROM KNIHY WHERE NOT KNIHY.VYRAZENO AND KNIHY.ID_LIDE_KNIHY = %d ORDER BY KNIHY.KOD DESC";
inline constexpr const char *ReportClientHistory =
    "SELECT * FROM KNIHY WHERE NOT KNIHY.VYRAZENO AND (KNIHY.ID_KNIHY_KNIHY = ANY (SELECT DISTINCT "
    "VYPUJCKY.ID_KNIHY_VYPUJCKY FROM VYPUJCKY WHERE VYPUJCKY.ID_LIDE_VYPUJCKY = %d)) ORDER BY KNIHY.KOD DESC";
inline constexpr const char *ReportClientOverdue =
    "SELECT * FROM KNIHY WHERE NOT KNIHY.VYRAZENO AND KNIHY.VYPUJCENO AND EXISTS (SELECT "
    "VYPUJCKY.DATUM_PUJCKY FROM "
    "VYPUJCKY WHERE (VYPUJCKY.OMEZOVAT AND VYPUJCKY.DATUM_MAX < %d)  AND (VYPUJCKY.ID_VYPUJCKY_VYPUJCKY = "
    "KNIHY.ID_VYPUJCKY_KNIHY) AND (VYPUJCKY.ID_KNIHY_VYPUJCKY = KNIHY.ID_KNIHY_KNIHY) AND "
    "(VYPUJCKY.ID_LIDE_VYPUJCKY = %d)) ORDER BY KNIHY.KOD DESC";

// Clients
inline constexpr const char *LideById = "SELECT * FROM LIDE WHERE LIDE.ID_LIDE_LIDE = %d";
inline constexpr const char *LideByIdVisible =
    "SELECT * FROM LIDE WHERE LIDE.ID_LIDE_LIDE = %d AND LIDE.UKAZOVAT";
inline constexpr const char *LideByKod = "SELECT * FROM LIDE WHERE LIDE.KOD = '%s'";
inline constexpr const char *LideByKodVisible = "SELECT * FROM LIDE WHERE LIDE.KOD = '%s' AND LIDE.UKAZOVAT";
inline constexpr const char *LideVisible = "SELECT * FROM LIDE WHERE LIDE.UKAZOVAT";
inline constexpr const char *LidePicker =
    "SELECT * FROM LIDE WHERE LIDE.UKAZOVAT ORDER BY LIDE.PRIJMENI DESC";

// Categories
inline constexpr const char *KategorieById =
    "SELECT * FROM KATEGORIE WHERE KATEGORIE.ID_KATEGORIE_KATEGORIE = %d";
inline constexpr const char *KategorieVisible = "SELECT * FROM KATEGORIE WHERE KATEGORIE.UKAZOVAT";
inline constexpr const char *KategorieByNameVisible =
    "SELECT * FROM KATEGORIE WHERE KATEGORIE.NAZEV = '%s' AND KATEGORIE.UKAZOVAT";

// Loans and returns
inline constexpr const char *VypujckyRow =
    "SELECT * FROM VYPUJCKY WHERE VYPUJCKY.ID_VYPUJCKY_VYPUJCKY = %d AND VYPUJCKY.ID_KNIHY_VYPUJCKY = %d";
inline constexpr const char *VypujckyByLoan =
    "SELECT * FROM VYPUJCKY WHERE VYPUJCKY.ID_VYPUJCKY_VYPUJCKY = %d";
inline constexpr const char *VypujckyOfBook = "SELECT * FROM VYPUJCKY WHERE ID_KNIHY_VYPUJCKY = %d";
inline constexpr const char *VypujckyHistory =
    "SELECT * FROM VYPUJCKY WHERE VYPUJCKY.ID_KNIHY_VYPUJCKY = %d ORDER BY VYPUJCKY.DATUM_PUJCKY DESC";
inline constexpr const char *VraceniOfBook = "SELECT * FROM VRACENI WHERE ID_KNIHY_VRACENI = %d";
inline constexpr const char *ProtocolLoan =
    "SELECT * FROM VYPUJCKY WHERE VYPUJCKY.ID_VYPUJCKY_VYPUJCKY = %d ORDER BY VYPUJCKY.ID_KNIHY_VYPUJCKY";
inline constexpr const char *ProtocolLoanChooser =
    "SELECT * FROM VYPUJCKY WHERE VYPUJCKY.ID_VYPUJCKY_VYPUJCKY = %d ORDER BY VYPUJCKY.ID_KNIHY_VYPUJCKY "
    "DESC";
inline constexpr const char *ProtocolLoanPeriod =
    "SELECT * FROM VYPUJCKY WHERE VYPUJCKY.DATUM_PUJCKY >= %d AND VYPUJCKY.DATUM_PUJCKY <= %d ORDER BY "
    "VYPUJCKY.ID_VYPUJCKY_VYPUJCKY DESC";
inline constexpr const char *ProtocolReturn =
    "SELECT * FROM VRACENI WHERE VRACENI.ID_VRACENI_VRACENI = %d ORDER BY VRACENI.ID_KNIHY_VRACENI";
inline constexpr const char *ProtocolReturnChooser =
    "SELECT * FROM VRACENI WHERE VRACENI.ID_VRACENI_VRACENI = %d ORDER BY VRACENI.ID_KNIHY_VRACENI DESC";
inline constexpr const char *ProtocolReturnPeriod =
    "SELECT * FROM VRACENI WHERE VRACENI.DATUM_VRACENI >= %d AND VRACENI.DATUM_VRACENI <= %d ORDER BY "
    "VRACENI.ID_VRACENI_VRACENI DESC";

inline constexpr const char *Ids = "SELECT * FROM IDS";

} // namespace Stmt
