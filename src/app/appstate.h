#pragma once

#include "app/settings.h"

#include <QHash>
#include <QString>

// The texts last entered in the fields that offer "Vložit Historii": slots 1 to 18 and 27 to 38.
// They live while the program runs and are never saved.
class InputHistory final
{
public:
    static bool isSlot(int slot) { return (slot >= 1 && slot <= 18) || (slot >= 27 && slot <= 38); }
    void remember(const QString &text, int slot);
    QString recall(int slot) const;
    void clear() { m_slots.clear(); }

private:
    QHash<int, QString> m_slots;
};

// What the application object holds while the program runs: the settings record, the user's
// name and the input histories.
class AppState final
{
public:
    static AppState &instance();

    SettingsRecord settings;
    QString iniPath;   // Folivo.ini in the data directory
    QString dataDir;   // the program's working directory
    QString floppyDir; // the directory that stands for the floppy drive
    InputHistory history;

private:
    AppState() = default;
};
