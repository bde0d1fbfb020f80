#include "app/startup.h"

#include "app/appstate.h"
#include "app/mainframe.h"
#include "app/messages.h"
#include "data/database.h"
#include "gui/features.h"

#include <QApplication>
#include <QDir>
#include <QStandardPaths>

StartupOptions StartupOptions::fromArguments(const QStringList &arguments)
{
    StartupOptions o;
    for (int i = 1; i < arguments.size(); ++i) {
        const QString &a = arguments.at(i);
        if (a == QLatin1String("--data-dir") && i + 1 < arguments.size())
            o.dataDir = arguments.at(++i);
        else if (a == QLatin1String("--floppy") && i + 1 < arguments.size())
            o.floppyDir = arguments.at(++i);
        else if (a == QLatin1String("--database") && i + 1 < arguments.size())
            o.database = arguments.at(++i);
    }
    if (o.dataDir.isEmpty())
        o.dataDir = qEnvironmentVariable("FOLIVO_HOME");
    if (o.dataDir.isEmpty())
        o.dataDir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (o.floppyDir.isEmpty())
        o.floppyDir = qEnvironmentVariable("FOLIVO_FLOPPY");
    if (o.floppyDir.isEmpty())
        o.floppyDir = QStringLiteral("/media/floppy");
    return o;
}

CMainFrame *startProgram(const StartupOptions &options, int *exitCode)
{
    AppState &app = AppState::instance();
    *exitCode = 1;
    QDir().mkpath(options.dataDir);
    if (!QDir::setCurrent(options.dataDir)) {
        showMessage(Message::FatalError);
        return nullptr;
    }
    app.dataDir = QDir::currentPath();
    app.floppyDir = options.floppyDir;
    app.iniPath = QDir(app.dataDir).filePath(QString::fromLatin1(SettingsRecord::FileName));

    QApplication::setOverrideCursor(Qt::WaitCursor);
    const auto record = SettingsRecord::read(app.iniPath);
    QApplication::restoreOverrideCursor();
    if (record) {
        app.settings = *record;
        if (app.settings.passwordAtStart && !runStartupIdentityCheck())
            return nullptr;
    } else if (!runFirstRun(app.iniPath)) {
        return nullptr;
    }

    QString detail;
    if (Database::open(Database::location(app.dataDir, options.database), &detail, app.dataDir) !=
        Database::OpenResult::Ok) {
        qWarning("%s", qUtf8Printable(detail));
        showMessage(Message::FatalError);
        return nullptr;
    }
    // A restore that a crash cut off was finished or undone on opening: the user hears it once.
    if (const QString notice = Database::takeRecoveryNotice(); !notice.isEmpty())
        RvMessageBox(QString(), notice, MessageKind::Information, ButtonsOk);
    auto *frame = new CMainFrame;
    installFeatures(*frame);
    frame->switchView(ViewSwitchRequest{});
    *exitCode = 0;
    return frame;
}
