#pragma once

#include <QtGlobal>

// The protocol a page asks to have printed after a loan or a return, or the one chosen from the
// menu: which kind and whose number. It travels with the page's signal to the entry view's owner.
struct ProtocolRequest
{
    enum Kind
    {
        None = 0,
        Loan = 1,
        Return = 2
    };
    int kind = None;
    qint32 number = -1;
};
