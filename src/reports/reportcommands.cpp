#include "reports/reportcommands.h"

#include "app/commands.h"
#include "app/mainframe.h"
#include "reports/printsetup.h"
#include "reports/protocoldialogs.h"
#include "reports/protocolrequest.h"
#include "reports/reminderdialogs.h"
#include "reports/reportcore.h"
#include "reports/reportdialogs.h"
#include "reports/sestavaview.h"
#include "reports/statisticsview.h"

#include <QPageSetupDialog>

namespace {

CSestavaView *shownReportView(const CMainFrame &frame)
{
    return frame.activeTarget() == ViewSwitchRequest::ReportView
               ? qobject_cast<CSestavaView *>(frame.view(ViewSwitchRequest::ReportView))
               : nullptr;
}

} // namespace

void requestReport(CMainFrame &frame, const ReportQuery &query)
{
    if (auto *view = qobject_cast<CSestavaView *>(frame.view(ViewSwitchRequest::ReportView)))
        view->clearList();
    ViewSwitchRequest request;
    request.target = ViewSwitchRequest::ReportView;
    request.sql = query.sql;
    request.title = query.title;
    request.reportKind = query.kind;
    frame.switchView(request);
}

void installReportCommands(CMainFrame &frame)
{
    // The help topic of the reports (:/help/5.html) lives in this static library.
    Q_INIT_RESOURCE(reports);
    CMainFrame *f = &frame;
    const std::pair<int, int> fixed[] = {{Cmd::ReportPresent, ReportKind::Present},
                                         {Cmd::ReportLent, ReportKind::Lent},
                                         {Cmd::ReportPresentAndLent, ReportKind::PresentAndLent},
                                         {Cmd::ReportDiscarded, ReportKind::Discarded}};
    for (const auto &[command, kind] : fixed)
        frame.setHandler(command, [f, kind = kind] { requestReport(*f, fixedReport(kind)); });

    frame.setHandler(Cmd::ReportCategory, [f] {
        if (const auto c = askReportCategory(f))
            requestReport(*f, categoryReport(c->id, c->name));
    });
    frame.setHandler(Cmd::ReportOverdue, [f] {
        if (const auto d = askReportDate(f))
            requestReport(*f, overdueReport(d->day, d->shown));
    });
    frame.setHandler(Cmd::ReportClientLoans, [f] {
        if (const auto c = askReportClient(f))
            requestReport(*f, clientLoansReport(c->id, clientLabel(c->code, c->prijmeni, c->jmeno)));
    });
    frame.setHandler(Cmd::ReportClientHistory, [f] {
        if (const auto c = askReportClient(f))
            requestReport(*f, clientHistoryReport(c->id, clientLabel(c->code, c->prijmeni, c->jmeno)));
    });
    frame.setHandler(Cmd::ReportClientOverdue, [f] {
        if (const auto r = askReportClientAndDate(f))
            requestReport(*f, clientOverdueReport(r->client.id, r->client.prijmeni, r->client.jmeno,
                                                  r->date.day, r->date.shown));
    });

    frame.setHandler(Cmd::Reminders, [f] {
        if (const auto request = askReminders(f))
            runReminders(f, *request);
    });
    frame.setHandler(Cmd::AnnualStatistics, [f] { runStatistics(f); });

    // The shown report: printing, preview and the HTML page, while the report view is shown.
    auto reportShown = [f] { return shownReportView(*f) != nullptr; };
    frame.setHandler(
        Cmd::PrintReport,
        [f] {
            if (CSestavaView *v = shownReportView(*f))
                v->printReport();
        },
        reportShown);
    frame.setHandler(
        Cmd::PreviewReport,
        [f] {
            if (CSestavaView *v = shownReportView(*f))
                v->previewReport();
        },
        reportShown);
    frame.setHandler(
        Cmd::ReportToHtml,
        [f] {
            if (CSestavaView *v = shownReportView(*f))
                v->exportHtml();
        },
        reportShown);
    frame.setHandler(Cmd::PrintSetup, [f] {
        QPageSetupDialog dialog(&programPrinter(), f);
        dialog.setWindowTitle(QStringLiteral("Nastavení tisku"));
        dialog.exec();
    });

    frame.setHandler(Cmd::PrintLoanProtocol, [f] { runProtocolCommand(f, ProtocolRequest::Loan, false); });
    frame.setHandler(Cmd::PreviewLoanProtocol, [f] { runProtocolCommand(f, ProtocolRequest::Loan, true); });
    frame.setHandler(Cmd::PrintReturnProtocol,
                     [f] { runProtocolCommand(f, ProtocolRequest::Return, false); });
    frame.setHandler(Cmd::PreviewReturnProtocol,
                     [f] { runProtocolCommand(f, ProtocolRequest::Return, true); });
}
