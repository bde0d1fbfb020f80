#include "gui/features.h"

#include "app/commands.h"
#include "app/mainframe.h"
#include "app/messages.h"
#include "app/shellcommands.h"
#include "backup/backupdialogs.h"
#include "circulation/pagecommands.h"
#include "circulation/viewzadavani.h"
#include "registers/registercommands.h"
#include "reports/reportcommands.h"
#include "reports/sestavaview.h"
#include "search/vyhledavani.h"

void installFeatures(CMainFrame &frame)
{
    frame.setViewFactory(ViewSwitchRequest::EntryView, [](QWidget *p) { return new CViewZadavani(p); });
    frame.setViewFactory(ViewSwitchRequest::ReportView, [](QWidget *p) { return new CSestavaView(p); });
    frame.setViewFactory(ViewSwitchRequest::SearchView, [](QWidget *p) { return new CVyhledavani(p); });

    frame.setHandler(Cmd::ViewEntry, [&frame] {
        if (frame.switchView(ViewSwitchRequest{}))
            if (CFrameView *entry = frame.activeView())
                entry->setFocus();
    });
    frame.setHandler(Cmd::ViewSearch, [&frame] {
        ViewSwitchRequest r;
        r.target = ViewSwitchRequest::SearchView;
        frame.switchView(r);
    });
    installShellCommands(frame);
    installRegisterCommands(frame);
    installBackupCommands(frame);
    installReportCommands(frame);
    installCirculationCommands(frame);

    // After a restored backup the view that asked for it shows the restored data: the report view
    // runs its report again, the search view prepares its form (and category list) anew.
    QObject::connect(&BackupEvents::instance(), &BackupEvents::dataRestored, &frame, [&frame](int target) {
        if (target == ViewSwitchRequest::ReportView) {
            if (auto *report = qobject_cast<CSestavaView *>(frame.view(ViewSwitchRequest::ReportView)))
                report->refreshAfterChange(QString::fromUtf8(CSestavaView::NoticeAfterImport));
        } else if (target == ViewSwitchRequest::SearchView) {
            RvMessageBox(QString(), QString::fromUtf8(CSestavaView::NoticeAfterImport),
                         MessageKind::Information, ButtonsOk);
            ViewSwitchRequest again;
            again.target = ViewSwitchRequest::SearchView;
            frame.switchView(again);
        }
    });
}
