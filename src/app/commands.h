#pragma once

// Command identifiers and view switching belong to the frame; the core offers plain functions.
#ifdef FOLIVO_CORE_LAYER
#error "a file of folivo_core uses a notion of the windows"
#endif

// The program's commands, by the identifiers the menus, tool bar and handlers share.
namespace Cmd {
enum : int
{
    // Soubor / Tisk
    PrintReport = 32774,
    PrintLoanProtocol = 32775,
    PrintReturnProtocol = 32776,
    ReportToHtml = 32847,
    // Soubor / Náhled před tiskem
    PreviewReport = 32778,
    PreviewLoanProtocol = 32779,
    PreviewReturnProtocol = 32780,
    PrintSetup = 57606,
    // Soubor / Zálohování, Služby
    ExportData = 32831,
    ImportData = 32832,
    UndoDiscard = 32848,
    ProgramSettings = 32830,
    Lock = 32814,
    Exit = 57665,
    // Úpravy
    EditUndo = 32841,
    EditCut = 32786,
    EditCopy = 32785,
    EditPaste = 32784,
    EditDelete = 32783,
    EditSelectAll = 32842,
    EditHistory = 32782,
    // Zobrazení / Sestava
    ReportPresent = 32789,
    ReportLent = 32790,
    ReportPresentAndLent = 32791,
    ReportDiscarded = 32792,
    ReportCategory = 32796,
    ReportOverdue = 32797,
    ReportClientLoans = 32795,
    ReportClientOverdue = 32844,
    ReportClientHistory = 32794,
    Reminders = 32870,
    AnnualStatistics = 32871,
    // Zobrazení
    ViewEntry = 32787,
    ViewSearch = 32788,
    ViewToolBar = 59392,
    ViewStatusBar = 59393,
    // Číselníky
    NewClient = 32799,
    EditClient = 32800,
    RemoveClient = 32801,
    NewCategory = 32802,
    RenameCategory = 32803,
    RemoveCategory = 32804,
    MoveBetweenCategories = 32805,
    ClientList = 32828,
    CategoryList = 32829,
    // Navigace
    NavFirst = 32806,
    NavLast = 32807,
    NavPageForward = 32808, // 40 rows towards the start
    NavPageBack = 32809,    // 40 rows towards the end
    NavPrevious = 32810,
    NavNext = 32811,
    // Nápověda
    HelpIndex = 32813,
    HelpTopics = 32846,
    About = 32812,
};
} // namespace Cmd

// Help topics: 1 the program, 5 reports, 7 the menus, and one per view.
namespace HelpTopic {
enum : int
{
    Program = 1,
    Reports = 5,
    Menus = 7,
    Entry = 2,
    Search = 3
};
}
