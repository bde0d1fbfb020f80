#pragma once

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
    // After a loan or a return: print the protocol prepared in the application state.
    void protocolRequested();
};
