#pragma once

#include <QtGlobal>

class QWidget;

// Prints the protocol held in AppState::instance().protocol (asked for by the loans or returns
// page after its action) through the print dialog.
void printPendingProtocol(QWidget *parent);

// Prepares the protocol of one loan (kind 1) or one return (kind 2) and prints it through the
// print dialog, or shows its preview. A failed preparation shows its message (107, 116, 108,
// 109, 49) and prints nothing; returns false then.
bool printProtocol(QWidget *parent, int kind, qint32 number, bool preview);
