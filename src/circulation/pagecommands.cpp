#include "circulation/pagecommands.h"

#include "app/commands.h"
#include "app/mainframe.h"
#include "catalogue/undodiscard.h"
#include "circulation/viewzadavani.h"
#include "reports/protocolprint.h"
#include "reports/sestavaview.h"

namespace {

constexpr const char *PrintsProtocols = "folivoPrintsProtocols";

// After a loan or a return the page asks the entry view for its protocol; the frame's entry
// view prints it. Views made outside the frame (in tests, for instance) print nothing.
void connectProtocolPrinting(CMainFrame &frame)
{
    auto *view = qobject_cast<CViewZadavani *>(frame.view(ViewSwitchRequest::EntryView));
    if (!view || view->property(PrintsProtocols).toBool())
        return;
    view->setProperty(PrintsProtocols, true);
    QObject::connect(view, &CViewZadavani::protocolRequested, view,
                     [view](const ProtocolRequest &request) { printRequestedProtocol(view, request); });
}

} // namespace

void installCirculationCommands(CMainFrame &frame)
{
    QObject::connect(&frame, &CMainFrame::viewSwitched, &frame, [&frame] { connectProtocolPrinting(frame); });
    connectProtocolPrinting(frame);

    frame.setHandler(Cmd::UndoDiscard, [&frame] {
        const bool restored = runUndoDiscard(&frame);
        // Only the report view shows data that a restored book changes: once, after the dialog.
        if (restored)
            if (auto *report = qobject_cast<CSestavaView *>(frame.activeView()))
                report->refreshAfterChange(QString::fromUtf8(CSestavaView::NoticeAfterUndoDiscard));
    });
}
