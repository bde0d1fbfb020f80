#include "app/appstate.h"
#include "app/identitydialog.h"
#include "app/messages.h"
#include "app/settingsdialogs.h"
#include "app/startup.h"

#include <QFile>

// The first run: the user's name, then the settings file is created, then the basic settings
// are chosen and the whole record is written. Any cancel, or a file that cannot be created or
// written, ends the program before a window is shown.
bool runFirstRun(const QString &iniPath)
{
    CDlgInstall install;
    if (install.exec() != QDialog::Accepted)
        return false;

    QFile file(iniPath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        showMessage(19);
        return false;
    }
    CDlgBasicSettings basic;
    if (basic.exec() != QDialog::Accepted) {
        file.close();
        return false;
    }
    SettingsRecord record = basic.record();
    record.userName = install.userName();
    const QByteArray bytes = record.toBytes();
    const bool written = file.write(bytes) == bytes.size() && file.flush();
    file.close();
    if (!written || file.error() != QFileDevice::NoError) {
        showMessage(19);
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
