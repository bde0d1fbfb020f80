#pragma once

#include "registers/registercore.h"

#include <QString>

class CMainFrame;
class CEntryPage;
class CViewZadavani;

// Installs the handlers of the menu "Číselníky": new, rename, remove and move categories, new,
// edit and remove clients, and the two lists. They run while the entry view is the active view.
void installRegisterCommands(CMainFrame &frame);

// The entry view's part of each register command, after its dialog closed with OK: the repeated
// lookup where there is one, the write, and telling page (the page to update, may be null). Each
// shows its catalogue message on a refusal or a database failure and answers whether it wrote.
namespace RegisterCommands {

// page: the active page (the new-books and corrections pages update their category combo).
bool saveNewCategory(CEntryPage *page, const QString &name);
bool saveRenamedCategory(CEntryPage *page, qint32 id, const QString &oldName, const QString &newName);
bool saveRemovedCategory(CEntryPage *page, qint32 id, const QString &name);

// page: the loans page when it is the active page.
bool saveNewClient(CEntryPage *page, const Registers::ClientData &data);
// page: the active page. Answers true also when nothing differed and nothing was written.
bool saveChangedClient(CEntryPage *page, qint32 id, const Registers::ClientData &data);
// page: the loans page when it is the active page.
bool saveRemovedClient(CEntryPage *page, qint32 id);

// The texts of the new-client form kept in the input history (slots 1 to 7).
void rememberClientEntry(const Registers::ClientEntry &entry);

// The whole commands: dialog, then the part above.
void newCategory(CViewZadavani *view);
void renameCategory(CViewZadavani *view);
void removeCategory(CViewZadavani *view);
void moveBetweenCategories(CViewZadavani *view);
void listCategories(CViewZadavani *view);
void newClient(CViewZadavani *view);
void editClient(CViewZadavani *view);
void removeClient(CViewZadavani *view);
void listClients(CViewZadavani *view);

} // namespace RegisterCommands
