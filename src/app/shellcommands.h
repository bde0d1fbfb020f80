#pragma once

class CMainFrame;
class QPrinter;
class QWidget;

// The commands the frame itself answers: program settings, lock, about box, help and F1, the
// edit commands on the focused field, print set-up, tool bar and status bar, exit. Also fills the
// tool bar.
void installShellCommands(CMainFrame &frame);

// The printer every print command of the program uses, set up by "Nastavení tisku...".
QPrinter &sharedPrinter();

// The lock command: the identity check over the frame when the run-time lock is on, otherwise an
// information box. Returns false when the user ended the program from the lock dialog.
bool runLock(QWidget *frame);

// The text of the information box shown by the lock command when the lock is off.
extern const char *const LockOffText;
