#pragma once

// Command identifiers and view switching belong to the frame; the core offers plain functions.
#ifdef FOLIVO_CORE_LAYER
#error "a file of folivo_core uses a notion of the windows"
#endif

#include <QString>

// What a command hands the main frame to change the shown view: the target view and, for the
// report view, the statement, the title and the report kind.
struct ViewSwitchRequest
{
    enum Target : int
    {
        ReportView = 1,
        EntryView = 2,
        SearchView = 3
    };
    int target = EntryView;
    QString sql;
    QString title;
    int reportKind = 0;
};
