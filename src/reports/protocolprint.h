#pragma once

class QWidget;

// Prints the protocol that AppState::instance().protocol names (a loan or a return, by its
// number): what the entry view's print request does after a loan or a return.
void printPendingProtocol(QWidget *parent);
