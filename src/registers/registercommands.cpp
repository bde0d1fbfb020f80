#include "registers/registercommands.h"

#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "app/messages.h"
#include "circulation/entrypage.h"
#include "circulation/viewzadavani.h"
#include "data/dberror.h"
#include "registers/categorydialogs.h"
#include "registers/clientdialogs.h"
#include "registers/registerwidgets.h"

#include <QApplication>
#include <QPointer>

namespace RegisterCommands {

namespace {

CEntryPage *activePage(CViewZadavani *view)
{
    return view ? view->activePage() : nullptr;
}

CEntryPage *loansPageIfActive(CViewZadavani *view)
{
    return view && view->activeIndex() == CViewZadavani::Vypujcky ? view->activePage() : nullptr;
}

QWidget *dialogParent(CViewZadavani *view)
{
    return view ? static_cast<QWidget *>(view) : QApplication::activeWindow();
}

// The focus goes back where it was before the command's dialog, unless the page moved it on
// purpose after the write (the loans page serves a new client from the loan date, the book pages
// go on with the publisher after a new category).
class FocusKeeper final
{
public:
    FocusKeeper() : m_focus(QApplication::focusWidget()) {}
    ~FocusKeeper()
    {
        if (m_focus && m_focus->window()->focusWidget() == m_focus)
            m_focus->setFocus();
    }
    Q_DISABLE_COPY_MOVE(FocusKeeper)

private:
    QPointer<QWidget> m_focus;
};

} // namespace

// ---- Categories ----

bool saveNewCategory(CEntryPage *page, const QString &name)
{
    {
        WaitCursor wait;
        if (const int message = Registers::categoryLookupMessage(name)) {
            showMessage(message);
            return false;
        }
        int refused = 0;
        try {
            Registers::addCategory(name, &refused);
        } catch (const DbError &e) {
            showDbError(Message::CategoryDbError, e);
            return false;
        }
        if (refused) { // another desk took the name meanwhile
            showMessage(refused);
            return false;
        }
    }
    AppState::instance().history.remember(name, 8);
    if (page && !page->categoryAdded(name))
        showMessage(Message::CategoryAddedListFailed);
    return true;
}

bool saveRenamedCategory(CEntryPage *page, qint32 id, const QString &oldName, const QString &newName)
{
    {
        WaitCursor wait;
        if (const int message = Registers::categoryLookupMessage(newName)) {
            showMessage(message);
            return false;
        }
        int refused = 0;
        try {
            Registers::renameCategory(oldName, newName, &refused);
        } catch (const DbError &e) {
            showDbError(Message::CategoryDbError, e);
            return false;
        }
        if (refused) { // another desk took the name meanwhile
            showMessage(refused);
            return false;
        }
    }
    if (page && !page->categoryRenamed(id, oldName, newName))
        showMessage(Message::CategoryAddedListFailed);
    return true;
}

bool saveRemovedCategory(CEntryPage *page, qint32 id, const QString &name)
{
    int refused = 0;
    try {
        WaitCursor wait;
        Registers::hideCategory(id, &refused);
    } catch (const DbError &e) {
        showDbError(Message::CategoryDbError, e);
        return false;
    }
    if (refused) { // another desk put a book into it meanwhile
        showMessage(refused);
        return false;
    }
    if (page && !page->categoryRemoved(name))
        showMessage(Message::CategoryDbError);
    return true;
}

void newCategory(CViewZadavani *view)
{
    FocusKeeper focus;
    CDlgNovaKategorie dialog(dialogParent(view));
    if (dialog.exec() == QDialog::Accepted)
        saveNewCategory(activePage(view), dialog.name());
}

void renameCategory(CViewZadavani *view)
{
    FocusKeeper focus;
    CDlgPrejmenovaniKategorie dialog(dialogParent(view));
    if (dialog.exec() == QDialog::Accepted)
        saveRenamedCategory(activePage(view), dialog.categoryId(), dialog.oldName(), dialog.newName());
}

void removeCategory(CViewZadavani *view)
{
    FocusKeeper focus;
    CDlgOdstraneniKategorie dialog(dialogParent(view));
    if (dialog.exec() == QDialog::Accepted)
        saveRemovedCategory(activePage(view), dialog.categoryId(), dialog.categoryName());
}

void moveBetweenCategories(CViewZadavani *view)
{
    FocusKeeper focus;
    CDlgPresunKategorie dialog(dialogParent(view));
    QPointer<CViewZadavani> target(view);
    QObject::connect(&dialog, &CDlgPresunKategorie::categoriesMoved, &dialog, [target] {
        if (target)
            target->categoriesChanged();
    });
    dialog.exec();
}

void listCategories(CViewZadavani *view)
{
    FocusKeeper focus;
    CDlgSeznamKategorii dialog(dialogParent(view));
    dialog.exec();
}

// ---- Clients ----

void rememberClientEntry(const Registers::ClientEntry &entry)
{
    InputHistory &h = AppState::instance().history;
    h.remember(entry.code, 1);
    h.remember(entry.first, 2);
    h.remember(entry.surname, 3);
    h.remember(entry.document, 4);
    h.remember(entry.address, 5);
    h.remember(entry.function, 6);
    h.remember(entry.birth, 7);
}

bool saveNewClient(CEntryPage *page, const Registers::ClientData &data)
{
    qint32 id = -1;
    {
        WaitCursor wait;
        if (const int message = Registers::clientCodeMessage(data.code)) {
            showMessage(message);
            return false;
        }
        int refused = 0;
        try {
            id = Registers::addClient(data, &refused);
        } catch (const DbError &e) {
            showDbError(Message::ClientDbError, e);
            return false;
        }
        if (refused) { // another desk took the code meanwhile
            showMessage(refused);
            return false;
        }
    }
    if (page)
        page->clientCreated(id, data.code, data.surname + QLatin1Char(' ') + data.first);
    return true;
}

bool saveChangedClient(CEntryPage *page, qint32 id, const Registers::ClientData &data)
{
    bool changed = false;
    int refused = 0;
    try {
        WaitCursor wait;
        changed = Registers::changeClient(id, data, &refused);
    } catch (const DbError &e) {
        showDbError(Message::ClientDbError, e);
        return false;
    }
    if (refused) { // another desk removed the client or took the code meanwhile
        showMessage(refused);
        return false;
    }
    if (changed && page)
        page->clientChanged(id, data.code, data.surname, data.first);
    return true;
}

bool saveRemovedClient(CEntryPage *page, qint32 id)
{
    int refused = 0;
    try {
        WaitCursor wait;
        Registers::hideClient(id, &refused);
    } catch (const DbError &e) {
        showDbError(Message::ClientDbError, e);
        return false;
    }
    if (refused) { // another desk lent the client a book meanwhile
        showMessage(refused);
        return false;
    }
    if (page)
        page->clientRemoved(id);
    return true;
}

void newClient(CViewZadavani *view)
{
    FocusKeeper focus;
    CDlgNovyKlient dialog(dialogParent(view));
    const bool accepted = dialog.exec() == QDialog::Accepted;
    if (accepted && !saveNewClient(loansPageIfActive(view), dialog.data()))
        return;
    rememberClientEntry(dialog.form()->entry());
}

void editClient(CViewZadavani *view)
{
    FocusKeeper focus;
    CDlgOpravaKlienta dialog(dialogParent(view));
    if (dialog.exec() == QDialog::Accepted)
        saveChangedClient(activePage(view), dialog.clientId(), dialog.data());
}

void removeClient(CViewZadavani *view)
{
    FocusKeeper focus;
    CDlgOdstraneniKlienta dialog(dialogParent(view));
    if (dialog.exec() == QDialog::Accepted)
        saveRemovedClient(loansPageIfActive(view), dialog.clientId());
}

void listClients(CViewZadavani *view)
{
    FocusKeeper focus;
    CDlgSeznamKlientu dialog(dialogParent(view));
    dialog.exec();
}

} // namespace RegisterCommands

void installRegisterCommands(CMainFrame &frame)
{
    using Command = void (*)(CViewZadavani *);
    const QList<QPair<int, Command>> commands = {
        {Cmd::NewCategory, &RegisterCommands::newCategory},
        {Cmd::RenameCategory, &RegisterCommands::renameCategory},
        {Cmd::RemoveCategory, &RegisterCommands::removeCategory},
        {Cmd::MoveBetweenCategories, &RegisterCommands::moveBetweenCategories},
        {Cmd::CategoryList, &RegisterCommands::listCategories},
        {Cmd::NewClient, &RegisterCommands::newClient},
        {Cmd::EditClient, &RegisterCommands::editClient},
        {Cmd::RemoveClient, &RegisterCommands::removeClient},
        {Cmd::ClientList, &RegisterCommands::listClients},
    };
    CMainFrame *f = &frame;
    for (const auto &[command, run] : commands) {
        frame.setHandler(
            command,
            [f, run = run] {
                if (f->activeTarget() == ViewSwitchRequest::EntryView)
                    run(qobject_cast<CViewZadavani *>(f->activeView()));
            },
            [f] { return f->activeTarget() == ViewSwitchRequest::EntryView; });
    }
}
