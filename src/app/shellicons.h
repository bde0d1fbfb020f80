#pragma once

#include <QIcon>

// The icons of the tool bar, the dialog buttons and the program itself. The desktop's icon theme
// is used when it has the icon; otherwise the program draws its own.
enum class ShellIcon
{
    Program,
    Ok,
    Cancel,
    Print,
    Cut,
    Copy,
    Paste,
    Entry,
    Search,
    Report,
    Lock,
    Settings,
    First,
    Previous,
    Next,
    Last,
    Help,
    About
};

QIcon shellIcon(ShellIcon kind);
