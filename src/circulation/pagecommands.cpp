#include "circulation/pagecommands.h"

#include "app/commands.h"
#include "app/mainframe.h"
#include "catalogue/undodiscard.h"

void installCirculationCommands(CMainFrame &frame)
{
    frame.setHandler(Cmd::UndoDiscard, [&frame] {
        const bool restored = runUndoDiscard(&frame);
        // Only the report view shows data that a restored book changes.
        CFrameView *view = frame.activeView();
        if (restored && view && view->viewTarget() == ViewSwitchRequest::ReportView)
            view->discardUndone();
    });
}
