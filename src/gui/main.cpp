#include "app/czechqt.h"
#include "app/mainframe.h"
#include "app/messagebox_ui.h"
#include "app/startup.h"
#include "data/database.h"

#include <QApplication>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    QApplication::setOrganizationName(QStringLiteral("Folivo"));
    QApplication::setApplicationName(QStringLiteral("Folivo"));
    QApplication::setApplicationDisplayName(QStringLiteral("Folivo 2.0"));
    installCzechQt(&app);
    installWidgetMessageBox();
    int exitCode = 0;
    CMainFrame *frame = startProgram(StartupOptions::fromArguments(QApplication::arguments()), &exitCode);
    if (!frame)
        return exitCode;
    frame->show();
    const int result = QApplication::exec();
    delete frame;
    // Closing the program closes the library database.
    Database::close();
    return result;
}
