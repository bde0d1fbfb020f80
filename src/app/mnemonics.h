#pragma once

#include <QKeySequence>
#include <QList>
#include <QString>

class QAction;
class QMenuBar;
class QWidget;

// The mnemonics (Alt+letter) that the controls of a window or view offer.
struct MnemonicOwner
{
    QWidget *widget = nullptr; // a label with a buddy, a button, a group box, a tab bar or a menu bar
    int tab = -1;              // the tab of a tab bar
    QAction *menu = nullptr;   // the menu title of a menu bar
    QKeySequence key;
    QString text;
};

// The visible, enabled owners inside area, in the order of the focus chain starting after from
// (or at area when from is outside it). The menu bar and its menus are not part of an area.
QList<MnemonicOwner> mnemonicOwners(QWidget *area, QWidget *from = nullptr);
// The menu titles of the bar that have a mnemonic.
QList<MnemonicOwner> menuMnemonics(const QMenuBar *bar);

// What Alt+letter does to its owner: a label gives the focus to its buddy (and presses a button
// buddy), a button takes the focus and is pressed, a group box gives the focus to its first
// field, a tab is shown, a menu title opens its menu.
void activateMnemonic(const MnemonicOwner &owner);
