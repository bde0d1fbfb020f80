#include "app/appstate.h"

void InputHistory::remember(const QString &text, int slot)
{
    if (isSlot(slot))
        m_slots.insert(slot, text);
}

QString InputHistory::recall(int slot) const
{
    return isSlot(slot) ? m_slots.value(slot) : QString();
}

AppState &AppState::instance()
{
    static AppState state;
    return state;
}
