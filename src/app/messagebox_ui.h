#pragma once

// Installs the desktop program's message box (a QMessageBox with the kind's icon and the button
// set's buttons) as the handler of every message the program shows.
void installWidgetMessageBox();
