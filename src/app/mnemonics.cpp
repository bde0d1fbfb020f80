#include "app/mnemonics.h"

#include <QAbstractButton>
#include <QAction>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QTabBar>

namespace {

bool isLive(const QWidget *w, const QWidget *area)
{
    return w->isEnabled() && (w == area || w->isVisibleTo(area)) && area->isVisible();
}

void collect(QWidget *w, QList<MnemonicOwner> *out)
{
    auto take = [&](const QString &text, int tab = -1) {
        const QKeySequence key = QKeySequence::mnemonic(text);
        if (!key.isEmpty())
            out->append({w, tab, nullptr, key, text});
    };
    if (const auto *label = qobject_cast<const QLabel *>(w); label && label->buddy()) {
        if (label->buddy()->isEnabled()) // a disabled field leaves its letter to the others
            take(label->text());
    } else if (const auto *button = qobject_cast<const QAbstractButton *>(w))
        take(button->text());
    else if (const auto *box = qobject_cast<const QGroupBox *>(w))
        take(box->title());
    else if (const auto *tabs = qobject_cast<const QTabBar *>(w))
        for (int i = 0; i < tabs->count(); ++i)
            if (tabs->isTabEnabled(i))
                take(tabs->tabText(i), i);
}

} // namespace

QList<MnemonicOwner> mnemonicOwners(QWidget *area, QWidget *from)
{
    // Walking the focus chain from the focused field makes a letter that two controls share
    // reach the next one at each press, as in a dialog.
    QList<QWidget *> chain;
    QWidget *start = from && area->isAncestorOf(from) ? from : area;
    for (QWidget *w = start->nextInFocusChain(); w && w != start; w = w->nextInFocusChain())
        if (area->isAncestorOf(w))
            chain.append(w);
    if (start != area)
        chain.append(start);
    // Labels and group boxes take no focus but may still sit outside the chain's order.
    for (QWidget *w : area->findChildren<QWidget *>())
        if (!chain.contains(w))
            chain.append(w);
    QList<MnemonicOwner> owners;
    for (QWidget *w : std::as_const(chain)) {
        if (qobject_cast<QMenuBar *>(w) || qobject_cast<QMenu *>(w) || !isLive(w, area))
            continue;
        collect(w, &owners);
    }
    return owners;
}

QList<MnemonicOwner> menuMnemonics(const QMenuBar *bar)
{
    QList<MnemonicOwner> owners;
    for (QAction *a : bar->actions())
        if (const QKeySequence key = QKeySequence::mnemonic(a->text()); !key.isEmpty() && a->isVisible())
            owners.append({const_cast<QMenuBar *>(bar), -1, a, key, a->text()});
    return owners;
}

void activateMnemonic(const MnemonicOwner &owner)
{
    QWidget *w = owner.widget;
    w->window()->setAttribute(Qt::WA_KeyboardFocusChange);
    if (auto *label = qobject_cast<QLabel *>(w)) {
        QWidget *buddy = label->buddy();
        if (buddy->focusPolicy() != Qt::NoFocus)
            buddy->setFocus(Qt::ShortcutFocusReason);
        if (auto *button = qobject_cast<QAbstractButton *>(buddy))
            button->animateClick();
    } else if (auto *button = qobject_cast<QAbstractButton *>(w)) {
        if (button->focusPolicy() != Qt::NoFocus)
            button->setFocus(Qt::ShortcutFocusReason);
        button->animateClick();
    } else if (auto *box = qobject_cast<QGroupBox *>(w)) {
        if (box->isCheckable()) {
            box->setChecked(!box->isChecked());
            return;
        }
        for (QWidget *f = box->nextInFocusChain(); f && f != box; f = f->nextInFocusChain())
            if (box->isAncestorOf(f) && f->isEnabled() && f->isVisibleTo(box) &&
                (f->focusPolicy() & Qt::TabFocus)) {
                f->setFocus(Qt::ShortcutFocusReason);
                break;
            }
    } else if (auto *tabs = qobject_cast<QTabBar *>(w)) {
        tabs->setCurrentIndex(owner.tab);
    } else if (auto *bar = qobject_cast<QMenuBar *>(w)) {
        bar->setActiveAction(owner.menu);
    }
}
