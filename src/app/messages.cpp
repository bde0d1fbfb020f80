#include "app/messages.h"

#include "data/dberror.h"

#include <cstdio>

namespace {

struct CatalogueRow
{
    MessageKind kind;
    const char *text;
};

// The texts are the program's own, with their spelling; \n is a line break in the box.
const CatalogueRow Catalogue[MessageCount] = {
    /*   1 */ {MessageKind::Information, "Gratuluji, výsledek je bez chyby."},
    /*   2 */ {MessageKind::Error, "Nastala fatální chyba, nelze pokračovat."},
    /*   3 */ {MessageKind::Error, "Nezadali jste název, doplňte jej!"},
    /*   4 */ {MessageKind::Error, "Nastala databázová chyba při práci s tabulkou kategorií knih."},
    /*   5 */ {MessageKind::Error, "Zadali jste název již existující kategorie!"},
    /*   6 */
    {MessageKind::Error,
     "Zadali jste název již dříve existující kategorie. Kategorie tohoto názvu byla kdysi používána a byla "
     "již odstraněna.\nMusíte zadat název jiný, neboť duplicita tohoto typu není povolena."},
    /*   7 */
    {MessageKind::Error,
     "Databázová transakce při přidávání nové kategorie knih proběhla správně,\nale vyskytl se problém s "
     "aktualizací uživatelského rozhraní.\nZkuste program restartovat."},
    /*   8 */ {MessageKind::Error, "Nezvolili jste název kategorie, vyberte si nějaký!"},
    /*   9 */ {MessageKind::Error, "Nezadali jste všechny povinné údaje, doplňte je!"},
    /*  10 */
    {MessageKind::Error,
     "Datum narození, které jste zadali není platné.\nOpravte jej nebo jej nezadávejte vůbec."},
    /*  11 */ {MessageKind::Error, "Zadali jste kód, který již existuje, opravte jej!"},
    /*  12 */
    {MessageKind::Error, "Zadali jste kód, který byl kdysi přidělen jinému klientovi.\nTento typ duplicity "
                         "není povolen. Zvolte si kód jiný!"},
    /*  13 */ {MessageKind::Error, "Nastala databázová chyba při práci s tabulkou klientů."},
    /*  14 */
    {MessageKind::Error,
     "Nazadali jste kód klienta, jehož data chcete opravovat.\nZadejte nějaký nebo klienta nalistujte"},
    /*  15 */ {MessageKind::Error, "Klient se zadaným kódem nebyl nalezen!"},
    /*  16 */
    {MessageKind::Error, "Klient se zadaným kódem existoval, ale byl již vymazán.\nÚdaje o něm zůstávají i "
                         "nadále v databázi, ale nelze je měnit.\nJsou určeny pouze pro archivní účely."},
    /*  17 */ {MessageKind::Error, "Selhala inicializace seznamu klientů z důvodu nedostatku paměti!"},
    /*  18 */ {MessageKind::Error, "Selhala inicializace seznamu klientů z důvodu databázové chyby!"},
    /*  19 */
    {MessageKind::Error,
     "Nelze vytvořit hlavní inicializační soubor, zkontrolujte místo na disku.\nProgram bude ukončen!"},
    /*  20 */ {MessageKind::Error, "Nezadali jste svoje jméno, doplňte jej!"},
    /*  21 */ {MessageKind::Error, "Počet dnů omezení délky výpůjčky není platné číslo.\nOpravte jej!"},
    /*  22 */
    {MessageKind::Error, "Zaškrtli jste funkci, která vyžaduje heslo, ale žádné jste nenapsali.\nZadejte "
                         "nějaké (musí mít velikost 3 - 16 znaků)"},
    /*  23 */ {MessageKind::Error, "Musíte uvést heslo pro kontrolu ještě jednou!"},
    /*  24 */ {MessageKind::Error, "Zadané kontrolní heslo neodpovídá prvnímu. Musíte hesla opravit!"},
    /*  25 */ {MessageKind::Error, "Heslo musí mít velikost 3 až 16 znaků, opravte ho!"},
    /*  26 */
    {MessageKind::Error, "Přístupové heslo, které je nutné pro provedení požadovaných změn\nnení platné, "
                         "opravte jej, nebo nezasahujte do\nzabezpečovacích parametrů!"},
    /*  27 */
    {MessageKind::Error,
     "Nepodařilo se aktualizovat nastavení programu, zkuste to znovu\nnebo restartujte program!"},
    /*  28 */ {MessageKind::Error, "Heslo neodpovídá, zkuste to znovu!"},
    /*  29 */ {MessageKind::Error, "Nezadali jste klíčové slovo, zadejte ho!"},
    /*  30 */ {MessageKind::Error, "Pro odebrání klíčového slova musíte nejprve nějaké vybrat ze seznamu!"},
    /*  31 */
    {MessageKind::Error, "Nelze automaticky vygenerovat přírůstkové číslo, zadejte ho prosím ručně!"},
    /*  32 */ {MessageKind::Error, "Některé údaje, které musí být vyplněny jsou prázdné, doplňte je!"},
    /*  33 */ {MessageKind::Error, "Nejsou správně vyplněny některé údaje, zkontrolujte je a opravte je!"},
    /*  34 */ {MessageKind::Error, "Nastala databázová chyba při práci s tabulkou knih!"},
    /*  35 */
    {MessageKind::Error, "Kód knihy již byl kdysi použit na knihu, která je již vyřazena.\nTento typ "
                         "duplicity není povolen, zadajte jiný kód!"},
    /*  36 */ {MessageKind::Error, "Kód knihy je již přidělen jiné knize v databázi.\nZvolte jiný kód!"},
    /*  37 */
    {MessageKind::Error, "Přírůstkové číslo knihy již bylo kdysi použito na knihu, která je již "
                         "vyřazena.\nTento typ duplicity není povolen, zadajte jiné číslo!"},
    /*  38 */
    {MessageKind::Error,
     "Přírůstkové číslo knihy je již přiděleno jiné knize v databázi.\nZvolte jiné číslo!"},
    /*  39 */ {MessageKind::Error, "Přidávané klíčové slovo je již v seznamu!"},
    /*  40 */ {MessageKind::Error, "Nezadali jste kód knihy, doplňte jej!"},
    /*  41 */ {MessageKind::Error, "Kniha s požadovaným kódem nebyla nalezena!"},
    /*  42 */ {MessageKind::Error, "Nastala databázová chyba při práce s tabulkou knih při opravě dat!"},
    /*  43 */ {MessageKind::Error, "Byla zjištěna chyba integrity dat, při opravě knihy"},
    /*  44 */
    {MessageKind::Error,
     "Klíčová slova nesmí obsahovat znak '~'. Tento znak je vyhrazený\npro systémové účely."},
    /*  45 */ {MessageKind::Error, "Kniha s požadovaným kódem nebyla nalezena!"},
    /*  46 */
    {MessageKind::Error,
     "Byla zjištěna chyba integrity dat při hledání kategorie knih\nna stránce vyřazování!"},
    /*  47 */ {MessageKind::Error, "Došlo k databázové chybě na stránce vyřazování knih!"},
    /*  48 */ {MessageKind::Error, "Musíte zadat kód knihy, kterou chcete vyřadit!"},
    /*  49 */ {MessageKind::Error, "Vyskytl se problém s nedostatkem paměti!"},
    /*  50 */ {MessageKind::Error, "Nezadali jste žádnou knihu! Napište její kód a stiskněte ENTER"},
    /*  51 */ {MessageKind::Error, "Požadovaná kniha je již v seznamu knih připravených k vyřazení!"},
    /*  52 */ {MessageKind::Error, "Nevybrali jste žádnou knihu ze seznamu!"},
    /*  53 */
    {MessageKind::Error,
     "Knihu nelze vyřadit, neboť je vypůjčena, pokud to nutně potřebujete\nprovést (například z důvodu "
     "ztráty knihy), musíte ji nejprve vrátit\na ihned následně vyřadit!"},
    /*  54 */ {MessageKind::Error, "Seznam knih připravených k vyřazení je prázdný!"},
    /*  55 */ {MessageKind::Error, "Datum vyřazení není platný, opravte jej!"},
    /*  56 */ {MessageKind::Error, "Musíte zadat kód knihy, kterou chcete vypůjčit!"},
    /*  57 */ {MessageKind::Error, "Kniha s požadovaným kódem nebyla nalezena"},
    /*  58 */
    {MessageKind::Error,
     "Byla zjištěna chyba integrity dat při hledání kategorie knih\nna stránce výpůjček!"},
    /*  59 */ {MessageKind::Error, "Došlo k databázové chybě na stránce výpůjček!"},
    /*  60 */ {MessageKind::Error, "Nezadali jste žádnou knihu! Napište její kód a stiskněte ENTER"},
    /*  61 */ {MessageKind::Error, "Požadovaná kniha je již v seznamu knih připravených k vypůjčení!"},
    /*  62 */ {MessageKind::Error, "Knihu nelze vypůjčit, neboť je již vypůjčena!"},
    /*  63 */ {MessageKind::Error, "Musíte zadat kód klienta, kterému bude výpůjčka provedena!"},
    /*  64 */ {MessageKind::Error, "Klient s požadovaným kódem nebyl nalezen!"},
    /*  65 */ {MessageKind::Error, "Nevybrali jste žádnou knihu za seznamu!"},
    /*  66 */
    {MessageKind::Error,
     "Datum nejpozdějšího dne vrácení není platný, opravte jej\nnebo délku výpůjčky vůbec neomezujte!"},
    /*  67 */ {MessageKind::Error, "Seznam knih připravených k vypůjčení je prázdný!"},
    /*  68 */ {MessageKind::Error, "Datum půjčky není platný, opravte jej!"},
    /*  69 */ {MessageKind::Error, "Musíte zadat kód knihy, kterou chcete vrátit!"},
    /*  70 */ {MessageKind::Error, "Kniha s požadovaným kódem nebyla nalezena!"},
    /*  71 */ {MessageKind::Error, "Byla zjištěna chyba integrity dat na stránce vracení knih!"},
    /*  72 */ {MessageKind::Error, "Došlo k databázové chybě na stránce vracení knih!"},
    /*  73 */ {MessageKind::Error, "Datum vrácení není platný, opravte jej!"},
    /*  74 */ {MessageKind::Error, "Nezadali jste žádnou knihu! Napište její kód a stiskněte ENTER"},
    /*  75 */ {MessageKind::Error, "Zvolená kniha není vypůjčena a nelze ji tedy vrátit!"},
    /*  76 */ {MessageKind::Error, "Nevybrali jste žádnou knihu za seznamu!"},
    /*  77 */ {MessageKind::Error, "Zadaná kniha je již v seznamu knih připravených k vrácení!"},
    /*  78 */ {MessageKind::Error, "Seznam knih připravených k vrácení je prázdný!"},
    /*  79 */ {MessageKind::Error, "Došlo k databázové chybě na stránce prohlížení knih!"},
    /*  80 */ {MessageKind::Error, "Byla zjištěna chyba integrity dat na stránce prohlížení knih!"},
    /*  81 */ {MessageKind::Error, "Kniha se zadaným kódem nebyla nalezena!"},
    /*  82 */ {MessageKind::Error, "Musíte zadat kód knihy, kterou chcete zobrazit!"},
    /*  83 */
    {MessageKind::Error, "Pozor, některé knihy v seznamu mají datum nejpozdějšího vrácení\nstarší, než je "
                         "datum půjčky. Toto není možné!\nOpravte datum půjčky nebo datum vrácení!"},
    /*  84 */
    {MessageKind::Error,
     "Datum vrácení je starší než datum půjčky zadané knihy!\nTuto knihu nelze vrátit v požadovaný den, "
     "neboť\nby došlo k narušení integrity dat. Musíte zadat\ndatum vrácení smysluplný!"},
    /*  85 */
    {MessageKind::Error,
     "Pozor, datum půjčky je starší než datum pořízení některých knih v seznamu!\nNelze proto výpůjčku "
     "provést, neboť by došlo k narušení integrity dat.\nOpravte datum půjčky, nebo datum pořízení knihy.\n "
     "(Oprava data pořízení se provádí na stránce \"Opravy\")"},
    /*  86 */
    {MessageKind::Error, "Pozor, bylo zjištěno, že některé knihy v seznamu mají datum pořízení\nnovější, než "
                         "je požadované datum vyřazení. Není proto možné pokračovat,\nneboť by byla narušena "
                         "integrita dat. Opravte datum vyřazení nebo datum\npořízení knih na smysluplné "
                         "hodnoty! (Oprava data pořízení\nknihy se prování na stránce \"Opravy\")"},
    /*  87 */
    {MessageKind::Error,
     "Pozor, bylo zjištěno, že opravovaná kniha je právě vypůjčena, a že\ndatum půjčky je starší než nové "
     "datum pořízení. Toto není\npovoleno, neboť by tím byla narušena integrita dat! Změňte datum\npořízení "
     "na smysluplnou hodnotu. Pokud ale nutně potřebujete tuto\nhodnotu zachovat, nejprve knihu vtaťte!"},
    /*  88 */ {MessageKind::Error, "Nezadali jste kód klienta, zadajte jej nebo jej nalistujte!"},
    /*  89 */
    {MessageKind::Error,
     "Zadaného klienta nelze odstranit, protože má půjčenou knihu.\nKnihu musí nejprve vrátit!"},
    /*  90 */
    {MessageKind::Error, "Ve zvolené kategorii stále existují nevyřazené knihy.\nKategorii nelze odstranit!"},
    /*  91 */ {MessageKind::Error, "Nezvolili jste kategorii v levém seznamu!"},
    /*  92 */ {MessageKind::Error, "Nezvolili jste kategorii v pravém seznamu!"},
    /*  93 */ {MessageKind::Error, "Zdrojová kategorie se shoduje s cílovou!"},
    /*  94 */ {MessageKind::Error, "Byla zjištěna chyba integrity dat v tabulce kategorií knih!"},
    /*  95 */ {MessageKind::Error, "Zadané datum není platné, opravte jej!"},
    /*  96 */ {MessageKind::Error, "Byla zjištěna chyba integrity dat v tabulce klientů"},
    /*  97 */ {MessageKind::Error, "Bylo zjištěno obecné porušení integrity dat!"},
    /*  98 */ {MessageKind::Error, "Nezadali jste jméno záložního souboru!"},
    /*  99 */ {MessageKind::Error, "Záložní soubor nemohl být otevřen, překontrolujte jeho jméno!"},
    /* 100 */ {MessageKind::Error, "Vyskytl se blíže neurčený problém se záložním souborem!"},
    /* 101 */ {MessageKind::Error, "Nelze zapisovat do záložního souboru, zkontrolujte místo na disku!"},
    /* 102 */
    {MessageKind::Error, "Soubor není záložním souborem programu Folivo 2.0 nebo je poškozen\nnebo jste "
                         "vložili disketu ve špatném pořadí!"},
    /* 103 */ {MessageKind::Error, "Vložili jste špatnou disketu (v jiném pořadí)!"},
    /* 104 */
    {MessageKind::Error, "Vyskytl se problém při náhradě původní databáze novou,\nMožná se potýkáte s "
                         "nedostatkem místa na disku!"},
    /* 105 */
    {MessageKind::Error, "Vyskytl se problém při generování seznamu kategorií knih.\nPřepnutí do "
                         "vyhledávacího módu nebude povoleno!"},
    /* 106 */ {MessageKind::Error, "Některé vyplněné údaje nejsou platné, opravte je!"},
    /* 107 */ {MessageKind::Error, "Požadovaná výpůjčka nebyla nalezena!"},
    /* 108 */ {MessageKind::Error, "Pozor, byla zjištěna chyba integrity dat!"},
    /* 109 */ {MessageKind::Error, "Nastala databázová chyba při pokusu o tisk!"},
    /* 110 */ {MessageKind::Error, "Nezadali jste identifikační číslo, doplňte jej!"},
    /* 111 */
    {MessageKind::Error,
     "Protokol s požadovaným identifikačním číslem nebyl nalezen,\nzkontrolujte ho a opravte ho!"},
    /* 112 */ {MessageKind::Error, "Musíte zadat datum počátku i konce prohledávaného období!"},
    /* 113 */ {MessageKind::Error, "V zadaném období nebyla nalezena žádná výpůjčka!"},
    /* 114 */ {MessageKind::Error, "Zadané datum není platné, opravte jej!"},
    /* 115 */ {MessageKind::Error, "Musíte zvolit některou výpůjčku ze seznamu!"},
    /* 116 */ {MessageKind::Error, "Požadované vrácení knih nebylo nalezeno!"},
    /* 117 */ {MessageKind::Error, "V zadaném období nebylo nalezeno žádné vrácení knih!"},
    /* 118 */ {MessageKind::Error, "Musíte zvolit některé vrácení ze seznamu!"},
    /* 119 */ {MessageKind::Error, "Některé z polí obsahuje nepovolené znaky, odstraňte je!"},
    /* 120 */
    {MessageKind::Error,
     "Došlo k problému při vytváření HTML stránky, zkontrolujte jméno souboru a místo na disku!"},
    /* 121 */ {MessageKind::Error, "Nezadali jste kód knihy, doplňte jej!"},
    /* 122 */ {MessageKind::Error, "Vyřazená kniha se zadaným kódem nebyla nalezena!"},
    /* 123 */ {MessageKind::Error, "Došlo k databázové chybě, akce se nezdařila!"},
    /* 124 */ {MessageKind::Error, "Nezvolili jste kategorii knih, vyberte si nějakou!"},
};

int consoleHandler(const QString &caption, const QString &text, MessageKind kind, int buttons)
{
    const char *label = kind == MessageKind::Error      ? "chyba"
                        : kind == MessageKind::Warning  ? "varování"
                        : kind == MessageKind::Question ? "otázka"
                                                        : "informace";
    std::fprintf(stderr, "%s%s%s: %s\n", caption.toUtf8().constData(), caption.isEmpty() ? "" : " – ", label,
                 text.toUtf8().constData());
    // Without a person to answer, a question is answered No and a prompt is not confirmed.
    if (buttons == ButtonsYesNo || buttons == ButtonsYesNoIrreversible || buttons == ButtonsConfirm)
        return ResultNo;
    return ResultOk;
}

MessageBoxHandler &handler()
{
    static MessageBoxHandler h = consoleHandler;
    return h;
}

} // namespace

int RvMessageBox(const QString &caption, const QString &text, MessageKind kind, int buttons)
{
    return handler()(caption, text, kind, buttons);
}

MessageBoxHandler setMessageBoxHandler(MessageBoxHandler h)
{
    MessageBoxHandler previous = handler();
    handler() = h ? std::move(h) : MessageBoxHandler(consoleHandler);
    return previous;
}

bool isCatalogueMessage(int number)
{
    return number >= 1 && number <= MessageCount;
}

QString messageText(int number)
{
    if (!isCatalogueMessage(number))
        return {};
    return QString::fromUtf8(Catalogue[number - 1].text);
}

MessageKind messageKind(int number)
{
    if (!isCatalogueMessage(number))
        return MessageKind::Error;
    return Catalogue[number - 1].kind;
}

namespace {
int s_showing = 0;
}

int MessageCode::show() const
{
    if (!isCatalogueMessage(int(m_number)))
        return int(m_number) - 1;
    const int outer = s_showing;
    s_showing = int(m_number);
    const int result =
        RvMessageBox(QString(), messageText(int(m_number)), messageKind(int(m_number)), ButtonsOk);
    s_showing = outer;
    return result;
}

int catalogueNumberBeingShown()
{
    return s_showing;
}

int showMessage(int number)
{
    return MessageCode(quint32(number)).show();
}

int showDbError(int number, const DbError &error)
{
    logDbError(error);
    return showMessage(number);
}
