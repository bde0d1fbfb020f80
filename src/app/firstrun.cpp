#include "app/appstate.h"
#include "app/identitydialog.h"
#include "app/messages.h"
#include "app/settingsdialogs.h"
#include "app/startup.h"

#include <QSaveFile>

// The first run: the user's name, then the settings file is created, then the basic settings
// are chosen and the whole record is written. Any cancel, or a file that cannot be created or
// written, ends the program before a window is shown.
bool runFirstRun(const QString &iniPath)
{
    CDlgInstall install;
    if (install.exec() != QDialog::Accepted)
        return false;

    // The file is prepared before the settings are asked for, so that a folder the program
    // cannot write to is told at once; it takes its place only when the whole record is
    // written, and a cancel leaves no empty or torn Folivo.ini behind.
    QSaveFile file(iniPath);
    if (!file.open(QIODevice::WriteOnly)) {
        showMessage(Message::SettingsFileNotCreated);
        return false;
    }
    CDlgBasicSettings basic;
    if (basic.exec() != QDialog::Accepted) {
        file.cancelWriting();
        return false;
    }
    SettingsRecord record = basic.record();
    record.userName = install.userName();
    const QByteArray bytes = record.toBytes();
    if (file.write(bytes) != bytes.size() || !file.commit()) {
        showMessage(Message::SettingsFileNotCreated);
        return false;
    }
    AppState::instance().settings = record;
    return true;
}

bool runStartupIdentityCheck()
{
    CDlgIdentity dialog(CDlgIdentity::AtStart, AppState::instance().settings);
    return dialog.exec() == QDialog::Accepted;
}
