#pragma once

#include "data/categories.h"
#include "data/dates.h"

#include <QList>
#include <QString>

#include <optional>

// The registers of categories and clients without any window: the checks that decide which
// catalogue message a refusal shows, the lists the dialogs show, and the writes, each of which
// runs in one transaction and throws DbError (after rolling back) when the database fails.
namespace Registers {

// ---- Categories ----

// A category as the register dialogs list it.
using CategoryRow = CategoryItem;

// The name lookup shared by the dialogs and the entry view: 0 when the name is free, 5 when a
// category in use has it, 6 when a removed one had it, 4 when the database failed.
int categoryLookupMessage(const QString &name);
// The whole check of a typed category name (already trimmed): 3 empty, 119 forbidden
// characters, then the lookup above; 0 when the name may be used.
int categoryNameMessage(const QString &name);

// The categories in use, in the order the database gives them.
// Whether the category still holds a book that has not been discarded.
bool categoryHasBooksInStock(qint32 categoryId);

// The writes below look again, inside their transaction, at what the dialog checked: when another
// desk changed it meanwhile they write nothing and put the dialog's message for it into
// *refusal (when given).

// Adds a category in use under a new identifier from IDS; returns the identifier, or -1 when the
// name was taken meanwhile (5, 6).
qint32 addCategory(const QString &name, int *refusal = nullptr);
// Renames the category found by its old name; a missing old name is a database error. False when
// the new name was taken meanwhile (5, 6).
bool renameCategory(const QString &oldName, const QString &newName, int *refusal = nullptr);
// Hides the category for good (UKAZOVAT false); its name stays reserved. False when it holds a
// book in the stock by now (90).
bool hideCategory(qint32 categoryId, int *refusal = nullptr);

// A book as the move dialog lists it: code, title, identifier and the category the database
// holds it in.
struct MovableBook
{
    qint32 id = -1;
    QString code;
    QString title;
    qint32 category = -1;
};
// The books of a category that are not discarded, codes ascending.
QList<MovableBook> movableBooks(qint32 categoryId);

struct BookMove
{
    qint32 book = -1;
    qint32 category = -1;
};
// Puts each book into its new category, all in one transaction; a missing book is a database
// error and leaves every book where it was. False, with nothing written, when one of the new
// categories is no longer in use (removed at another desk since the dialog listed it); a book
// discarded meanwhile is left where it is.
bool moveBooks(const QList<BookMove> &moves);

// ---- Clients ----

// The client form as typed (texts untrimmed, the birth date as text).
struct ClientEntry
{
    QString code;
    QString first;
    QString surname;
    bool extended = false; // "Včetně doplňujících údajů"
    QString document;
    QString birth;
    QString address;
    QString function;
};

// A client's row: the optional texts count only while their flag is set.
struct ClientData
{
    QString code;
    QString first;
    QString surname;
    bool extended = false; // ROZSIRENE
    QString document;
    QString address;
    QString function;
    DateNumber birth = NoDate;
    bool hasDocument = false;
    bool hasAddress = false;
    bool hasFunction = false;
    bool hasBirth = false;
};

struct ClientRecord
{
    qint32 id = -1;
    bool visible = false; // UKAZOVAT
    ClientData data;
};

enum class ClientField
{
    None,
    Code,
    First,
    Surname,
    Birth
};

struct ClientCheck
{
    int message = 0; // 0: the entry is valid
    ClientField field = ClientField::None;
};

// The code lookup: 0 free, 11 a client in use has it, 12 a removed client had it, 13 database
// error.
int clientCodeMessage(const QString &code);

// Checks the form in the order the dialogs follow: mandatory code, first name and surname (9,
// focus on the first empty one), the birth date when the extended part is on (10), forbidden
// characters in the code (119), then the code lookup (11, 12, 13) unless storedCode is given
// and equal to the code (an edit that keeps its code). On success fills data with the trimmed
// values and the presence flags.
ClientCheck checkClientEntry(const ClientEntry &entry, const QString *storedCode, ClientData *data);

// The form's values from trimmed texts: presence flags, and ROZSIRENE when the extended part is
// on and at least one of its fields is present. An unreadable birth date counts as absent.
ClientData clientDataFromEntry(const ClientEntry &entry);

std::optional<ClientRecord> clientById(qint32 id);
std::optional<ClientRecord> clientByCode(const QString &code); // removed clients too
bool clientHoldsBook(qint32 clientId);

// Clients in use for the register list, in the order the database gives them.
QList<ClientRecord> visibleClients();
// Clients in use for the picker, surnames ascending.
QList<ClientRecord> clientsBySurname();

// Adds a client in use under a new identifier from IDS; the optional texts and the birth date
// are written only where their flag is set. Returns the identifier, or -1 when the code was taken
// meanwhile (11, 12).
qint32 addClient(const ClientData &data, int *refusal = nullptr);
// Writes what differs from the stored row: code, names, ROZSIRENE, the flags, and each optional
// value only while its new flag is set (a cleared flag keeps the old text in its column).
// Returns false, writing nothing, when nothing differs, or when the client was removed meanwhile
// (16) or a changed code was taken meanwhile (11, 12). A missing client is a database error.
bool changeClient(qint32 id, const ClientData &data, int *refusal = nullptr);
// Hides the client (UKAZOVAT false); nothing else changes. False when the client holds a book by
// now (89).
bool hideClient(qint32 id, int *refusal = nullptr);

} // namespace Registers
