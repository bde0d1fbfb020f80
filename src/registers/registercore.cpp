#include "registers/registercore.h"

#include "data/checks.h"
#include "data/database.h"
#include "data/recordsets.h"
#include "data/statements.h"

#include <algorithm>

namespace Registers {

namespace {

// The rename finds its row by the old name.
constexpr const char *KategorieByName = "SELECT * FROM KATEGORIE WHERE KATEGORIE.NAZEV = '%s'";

ClientRecord recordFrom(const CSetLide &set)
{
    ClientRecord r;
    r.id = set.m_ID_LIDE_LIDE;
    r.visible = set.m_UKAZOVAT;
    r.data.code = set.m_KOD;
    r.data.first = set.m_JMENO;
    r.data.surname = set.m_PRIJMENI;
    r.data.extended = set.m_ROZSIRENE;
    r.data.document = set.m_DOKLAD;
    r.data.address = set.m_ADRESA;
    r.data.function = set.m_FUNKCE;
    r.data.birth = set.m_DATUM_NAROZENI;
    r.data.hasDocument = set.m_IS_DOKLAD;
    r.data.hasAddress = set.m_IS_ADRESA;
    r.data.hasFunction = set.m_IS_FUNKCE;
    r.data.hasBirth = set.m_IS_NAROZENI;
    return r;
}

QList<ClientRecord> readClients(const char *sql)
{
    QList<ClientRecord> rows;
    CSetLide set;
    set.open(QString::fromLatin1(sql));
    for (; !set.isEOF(); set.moveNext())
        rows << recordFrom(set);
    return rows;
}

std::optional<ClientRecord> readOneClient(const QString &sql)
{
    CSetLide set;
    set.open(sql);
    if (set.isEOF() && set.isBOF())
        return std::nullopt;
    return recordFrom(set);
}

// Assigns value to field when it differs; remembers that something changed.
template <typename T> void assignChanged(T &field, const T &value, bool &changed)
{
    if (field != value) {
        field = value;
        changed = true;
    }
}

// A write refused because another desk changed what the dialog checked: the message for it.
template <typename T> T refuse(int *refusal, int message, T result)
{
    if (refusal)
        *refusal = message;
    return result;
}

// The lookup inside a write: a failure of the database fails the write.
int lookedUpAgain(int message, int failure)
{
    if (message == failure)
        throw DbError(QStringLiteral("the code or name could not be looked up"));
    return message;
}

} // namespace

// ---- Categories ----

int categoryLookupMessage(const QString &name)
{
    const qint32 found = CSetKategorie::findByName(name);
    if (found >= 0)
        return 5;
    if (found == -2)
        return 6;
    if (found == -3)
        return 4;
    return 0;
}

int categoryNameMessage(const QString &name)
{
    if (name.isEmpty())
        return 3;
    if (hasForbiddenChars(name))
        return 119;
    return categoryLookupMessage(name);
}

bool categoryHasBooksInStock(qint32 categoryId)
{
    CSetKnihy set;
    set.open(QString::asprintf(Stmt::KnihyInCategory, categoryId));
    return !(set.isEOF() && set.isBOF());
}

qint32 addCategory(const QString &name, int *refusal)
{
    return Database::write([&] {
        Transaction tx;
        if (const int taken = lookedUpAgain(categoryLookupMessage(name), 4))
            return refuse(refusal, taken, -1);
        const qint32 id = allocateId(Counter::Kategorie);
        CSetKategorie set;
        set.open();
        set.addNew();
        set.m_ID_KATEGORIE_KATEGORIE = id;
        set.m_NAZEV = name;
        set.m_UKAZOVAT = true;
        set.update();
        tx.commit();
        return id;
    });
}

bool renameCategory(const QString &oldName, const QString &newName, int *refusal)
{
    if (hasForbiddenChars(oldName))
        throw DbError(QStringLiteral("the category name cannot be looked up"));
    return Database::write([&] {
        Transaction tx;
        if (const int taken = lookedUpAgain(categoryLookupMessage(newName), 4))
            return refuse(refusal, taken, false);
        CSetKategorie set;
        set.open(QString::asprintf(KategorieByName, qUtf8Printable(oldName)));
        if (set.isEOF() && set.isBOF())
            throw DbError(QStringLiteral("the category to rename is missing"));
        set.edit();
        set.m_NAZEV = newName;
        set.update();
        tx.commit();
        return true;
    });
}

bool hideCategory(qint32 categoryId, int *refusal)
{
    return Database::write([&] {
        Transaction tx;
        CSetKategorie set;
        set.open(QString::asprintf(Stmt::KategorieById, categoryId));
        if (set.isEOF() && set.isBOF())
            throw DbError(QStringLiteral("the category to remove is missing"));
        if (categoryHasBooksInStock(categoryId))
            return refuse(refusal, 90, false);
        set.edit();
        set.m_UKAZOVAT = false;
        set.update();
        tx.commit();
        return true;
    });
}

QList<MovableBook> movableBooks(qint32 categoryId)
{
    // The statement gives the codes descending; each row goes to the top of the list.
    QList<MovableBook> books;
    CSetKnihy set;
    set.open(QString::asprintf(Stmt::KnihyInCategoryByKodDesc, categoryId));
    for (; !set.isEOF(); set.moveNext())
        books.prepend(MovableBook{set.m_ID_KNIHY_KNIHY, set.m_KOD, set.m_NAZEV, set.m_ID_KATEGORIE_KNIHY});
    return books;
}

bool moveBooks(const QList<BookMove> &moves)
{
    return Database::write([&] {
        Transaction tx;
        // Another desk may have removed a category since the dialog listed it: no book goes
        // into a category that is no longer in use.
        QList<qint32> checked;
        for (const BookMove &m : moves) {
            if (checked.contains(m.category))
                continue;
            CSetKategorie category;
            category.open(QString::asprintf(Stmt::KategorieById, m.category));
            if ((category.isEOF() && category.isBOF()) || !category.m_UKAZOVAT)
                return false;
            checked << m.category;
        }
        for (const BookMove &m : moves) {
            CSetKnihy set;
            set.open(QString::asprintf(Stmt::KnihyById, m.book));
            if (set.isEOF() && set.isBOF())
                throw DbError(QStringLiteral("a book to move is missing"));
            // A book discarded at another desk meanwhile stays where it was discarded.
            if (set.m_VYRAZENO)
                continue;
            set.edit();
            set.m_ID_KATEGORIE_KNIHY = m.category;
            set.update();
        }
        tx.commit();
        return true;
    });
}

// ---- Clients ----

int clientCodeMessage(const QString &code)
{
    const qint32 found = CSetLide::findByCode(code);
    if (found >= 0)
        return 11;
    if (found == -2)
        return 12;
    if (found == -3)
        return 13;
    return 0;
}

ClientData clientDataFromEntry(const ClientEntry &entry)
{
    ClientData d;
    d.code = entry.code.trimmed();
    d.first = entry.first.trimmed();
    d.surname = entry.surname.trimmed();
    if (entry.extended) {
        d.document = entry.document.trimmed();
        d.address = entry.address.trimmed();
        d.function = entry.function.trimmed();
        const QDate birth = parseDate(entry.birth.trimmed());
        d.hasBirth = birth.isValid();
        d.birth = d.hasBirth ? dateNumberFromDate(birth) : NoDate;
    }
    d.hasDocument = !d.document.isEmpty();
    d.hasAddress = !d.address.isEmpty();
    d.hasFunction = !d.function.isEmpty();
    d.extended = entry.extended && (d.hasDocument || d.hasAddress || d.hasFunction || d.hasBirth);
    return d;
}

ClientCheck checkClientEntry(const ClientEntry &entry, const QString *storedCode, ClientData *data)
{
    const QString code = entry.code.trimmed();
    if (code.isEmpty())
        return {9, ClientField::Code};
    if (entry.first.trimmed().isEmpty())
        return {9, ClientField::First};
    if (entry.surname.trimmed().isEmpty())
        return {9, ClientField::Surname};
    const QString birth = entry.birth.trimmed();
    if (entry.extended && !birth.isEmpty() && !parseDate(birth).isValid())
        return {10, ClientField::Birth};
    if (hasForbiddenChars(code))
        return {119, ClientField::Code};
    if (!storedCode || *storedCode != code) {
        if (const int message = clientCodeMessage(code))
            return {message, ClientField::Code};
    }
    if (data)
        *data = clientDataFromEntry(entry);
    return {};
}

std::optional<ClientRecord> clientById(qint32 id)
{
    return readOneClient(QString::asprintf(Stmt::LideById, id));
}

std::optional<ClientRecord> clientByCode(const QString &code)
{
    if (hasForbiddenChars(code))
        return std::nullopt;
    return readOneClient(QString::asprintf(Stmt::LideByKod, qUtf8Printable(code)));
}

bool clientHoldsBook(qint32 clientId)
{
    CSetKnihy set;
    set.open(QString::asprintf(Stmt::KnihyHeldBy, clientId));
    return !(set.isEOF() && set.isBOF());
}

QList<ClientRecord> visibleClients()
{
    return readClients(Stmt::LideVisible);
}

QList<ClientRecord> clientsBySurname()
{
    // The statement gives the surnames descending in Czech order (Č after C, Ch after H); each
    // row goes to the top of the list, which so shows them ascending.
    QList<ClientRecord> rows = readClients(Stmt::LidePicker);
    std::reverse(rows.begin(), rows.end());
    return rows;
}

qint32 addClient(const ClientData &d, int *refusal)
{
    return Database::write([&] {
        Transaction tx;
        if (const int taken = lookedUpAgain(clientCodeMessage(d.code), 13))
            return refuse(refusal, taken, -1);
        const qint32 id = allocateId(Counter::Lide);
        CSetLide set;
        set.open();
        set.addNew();
        set.m_ID_LIDE_LIDE = id;
        set.m_KOD = d.code;
        set.m_JMENO = d.first;
        set.m_PRIJMENI = d.surname;
        set.m_ROZSIRENE = d.extended;
        set.m_IS_DOKLAD = d.hasDocument;
        set.m_IS_ADRESA = d.hasAddress;
        set.m_IS_FUNKCE = d.hasFunction;
        set.m_IS_NAROZENI = d.hasBirth;
        set.m_UKAZOVAT = true;
        set.m_DATUM_NAROZENI = NoDate;
        if (d.hasAddress)
            set.m_ADRESA = d.address;
        if (d.hasDocument)
            set.m_DOKLAD = d.document;
        if (d.hasFunction)
            set.m_FUNKCE = d.function;
        if (d.hasBirth)
            set.m_DATUM_NAROZENI = d.birth;
        set.update();
        tx.commit();
        return id;
    });
}

bool changeClient(qint32 id, const ClientData &d, int *refusal)
{
    return Database::write([&] {
        Transaction tx;
        CSetLide set;
        set.open(QString::asprintf(Stmt::LideById, id));
        if (set.isEOF() && set.isBOF())
            throw DbError(QStringLiteral("the client to change is missing"));
        if (!set.m_UKAZOVAT)
            return refuse(refusal, 16, false); // removed at another desk meanwhile
        if (set.m_KOD != d.code) {
            if (const int taken = lookedUpAgain(clientCodeMessage(d.code), 13))
                return refuse(refusal, taken, false);
        }
        set.edit();
        bool changed = false;
        assignChanged(set.m_KOD, d.code, changed);
        assignChanged(set.m_JMENO, d.first, changed);
        assignChanged(set.m_PRIJMENI, d.surname, changed);
        assignChanged(set.m_ROZSIRENE, d.extended, changed);
        assignChanged(set.m_IS_DOKLAD, d.hasDocument, changed);
        assignChanged(set.m_IS_ADRESA, d.hasAddress, changed);
        assignChanged(set.m_IS_FUNKCE, d.hasFunction, changed);
        assignChanged(set.m_IS_NAROZENI, d.hasBirth, changed);
        if (d.hasDocument)
            assignChanged(set.m_DOKLAD, d.document, changed);
        if (d.hasAddress)
            assignChanged(set.m_ADRESA, d.address, changed);
        if (d.hasFunction)
            assignChanged(set.m_FUNKCE, d.function, changed);
        if (d.hasBirth)
            assignChanged(set.m_DATUM_NAROZENI, d.birth, changed);
        if (!changed) {
            set.cancelUpdate();
            return false; // the transaction rolls back unused
        }
        set.update();
        tx.commit();
        return true;
    });
}

bool hideClient(qint32 id, int *refusal)
{
    return Database::write([&] {
        Transaction tx;
        CSetLide set;
        set.open(QString::asprintf(Stmt::LideById, id));
        if (set.isEOF() && set.isBOF())
            throw DbError(QStringLiteral("the client to remove is missing"));
        if (clientHoldsBook(id))
            return refuse(refusal, 89, false);
        set.edit();
        set.m_UKAZOVAT = false;
        set.update();
        tx.commit();
        return true;
    });
}

} // namespace Registers
