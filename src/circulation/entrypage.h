#pragma once

#include "reports/protocolrequest.h"

#include <QWidget>

class CRvEdit;

// One page of the entry view's sheet. The entry view tells the active page what happens around
// it; each page answers what concerns it.
class CEntryPage : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;

    virtual QString tabTitle() const = 0;

    // The page becomes the active page / stops being it (pages do a full clear on both).
    virtual void onActivate() {}
    virtual void onDeactivate() {}

    // Record navigation: only the browse page answers; every other page leaves them disabled.
    virtual void navigate(int command) { Q_UNUSED(command); }
    virtual bool canNavigate(int command) const
    {
        Q_UNUSED(command);
        return false;
    }

    // Books were moved between categories, or categories renamed or removed.
    virtual void categoriesChanged() {}
    // The program settings were saved (the loans page takes the new loan length).
    virtual void settingsChanged() {}

    // "Vložit Historii": the history slot of an edit of this page, 0 when it has none.
    virtual int historySlot(const QWidget *edit) const
    {
        Q_UNUSED(edit);
        return 0;
    }
    // A page may handle the history request of an edit itself (the keyword edits refill their
    // list from the stored keyword list); returns true when it did.
    virtual bool insertHistory(CRvEdit *edit)
    {
        Q_UNUSED(edit);
        return false;
    }

Q_SIGNALS:
    // After a loan or a return, when the settings or the librarian want its protocol printed.
    void protocolRequested(const ProtocolRequest &request);

public:
    // What the register commands tell the active page after they wrote. The entry view calls
    // these on the active page only, after the commit; a page that shows none of the changed
    // data keeps the defaults.

    // A new client was saved ("Nový klient..."): the loans page takes it as its client. name is
    // the surname, one blank, the first name.
    virtual void clientCreated(qint32 id, const QString &code, const QString &name)
    {
        Q_UNUSED(id);
        Q_UNUSED(code);
        Q_UNUSED(name);
    }
    // A client's data were changed ("Přejmenování klienta..."): the loans page rebuilds its client
    // code and name when it shows this client, the returns page the holder of its current book,
    // the browse page the holder of the shown book.
    virtual void clientChanged(qint32 id, const QString &code, const QString &surname, const QString &first)
    {
        Q_UNUSED(id);
        Q_UNUSED(code);
        Q_UNUSED(surname);
        Q_UNUSED(first);
    }
    // A client was removed: the loans page showing this client empties its client code and name
    // texts but keeps the client's id (the loan is then refused as for an unknown client).
    virtual void clientRemoved(qint32 id) { Q_UNUSED(id); }
    // A new category was saved: the new-books and corrections pages add the name to their
    // category combo. Returning false (the name could not be added) shows message 7.
    virtual bool categoryAdded(const QString &name)
    {
        Q_UNUSED(name);
        return true;
    }
    // A category was renamed: the new-books and corrections pages replace the old name in their
    // combo (keeping it selected if it was); false when the old name was not there or the new one
    // could not be added (message 7). The loans, returns, discard and browse pages replace the
    // shown category name when they show category id.
    virtual bool categoryRenamed(qint32 id, const QString &oldName, const QString &newName)
    {
        Q_UNUSED(id);
        Q_UNUSED(oldName);
        Q_UNUSED(newName);
        return true;
    }
    // A category was removed: the new-books and corrections pages delete the name from their
    // combo; false when it was not there (message 4).
    virtual bool categoryRemoved(const QString &name)
    {
        Q_UNUSED(name);
        return true;
    }
};
