#include "gui/features.h"

#include "app/commands.h"
#include "app/mainframe.h"
#include "app/shellcommands.h"
#include "circulation/viewzadavani.h"
#include "reports/sestavaview.h"
#include "search/vyhledavani.h"

#include <QAction>
#include <QApplication>
#include <QStatusBar>
#include <QToolBar>

void installFeatures(CMainFrame &frame)
{
    frame.setViewFactory(ViewSwitchRequest::EntryView, [](QWidget *p) { return new CViewZadavani(p); });
    frame.setViewFactory(ViewSwitchRequest::ReportView, [](QWidget *p) { return new CSestavaView(p); });
    frame.setViewFactory(ViewSwitchRequest::SearchView, [](QWidget *p) { return new CVyhledavani(p); });

    frame.setHandler(Cmd::Exit, [&frame] { frame.close(); });
    frame.setHandler(Cmd::ViewEntry, [&frame] { frame.switchView(ViewSwitchRequest{}); });
    frame.setHandler(Cmd::ViewSearch, [&frame] {
        ViewSwitchRequest r;
        r.target = ViewSwitchRequest::SearchView;
        frame.switchView(r);
    });
    frame.setHandler(Cmd::ViewToolBar, [&frame] { frame.toolBar()->setVisible(!frame.toolBar()->isVisible()); });
    frame.setHandler(Cmd::ViewStatusBar,
                     [&frame] { frame.statusBar()->setVisible(!frame.statusBar()->isVisible()); });
    installShellCommands(frame);
}
