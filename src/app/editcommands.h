#pragma once

class QWidget;

// The edit commands of the "Úpravy" menu work on the field that has the focus: a line edit (also
// the one of an editable combo box) or a text edit. Each answers whether it may run now.
namespace EditCommands {
bool canRun(int command);
void run(int command);
// The focused edit field, nullptr when the focus is elsewhere.
QWidget *focusedEdit();
} // namespace EditCommands
