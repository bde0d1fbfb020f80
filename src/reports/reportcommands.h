#pragma once

class CMainFrame;
struct ReportQuery;

// The report, report printing and protocol commands, handled from every view.
void installReportCommands(CMainFrame &frame);

// Empties the shown list and asks the frame to show the report.
void requestReport(CMainFrame &frame, const ReportQuery &query);
