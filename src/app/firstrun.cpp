#include "app/appstate.h"
#include "app/startup.h"

// The first-run and identity-check dialogs come with the application shell's own change.
bool runFirstRun(const QString &iniPath)
{
    SettingsRecord &r = AppState::instance().settings;
    encodePassword(r, QString());
    return r.write(iniPath);
}

bool runStartupIdentityCheck()
{
    return true;
}
