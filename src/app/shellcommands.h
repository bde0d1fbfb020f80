#pragma once

class CMainFrame;
class QWidget;

// The commands the frame itself answers: program settings, lock, about box, help and F1, the
// edit commands on the focused field, tool bar and status bar, exit. (Print set-up belongs to
// the reports, which own the program's printer.) Also fills the
// tool bar.
void installShellCommands(CMainFrame &frame);

// The lock command: the identity check over the frame when the run-time lock is on, otherwise an
// information box. Returns false when the user ended the program from the lock dialog.
bool runLock(QWidget *frame);

// The text of the information box shown by the lock command when the lock is off.
extern const char *const LockOffText;
