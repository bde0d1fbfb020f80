#pragma once

class QCoreApplication;

// Makes Qt's own windows speak Czech whatever the system's language is: the file, print, preview
// and page set-up dialogs, the standard buttons and the context menus of edit fields take Qt's
// Czech translations, and Qt's formats (paper units, dates in the file dialog) the Czech locale.
// Returns false when Qt's Czech translations are not installed; the program then runs with Qt's
// English texts.
bool installCzechQt(QCoreApplication *app);
