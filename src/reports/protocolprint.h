#pragma once

#include "reports/protocolrequest.h"

class QWidget;

// Prints the protocol a loans or returns page asked for after its action through the print
// dialog; a request for none prints nothing.
void printRequestedProtocol(QWidget *parent, const ProtocolRequest &request);

// Prepares the protocol of one loan (kind 1) or one return (kind 2) and prints it through the
// print dialog, or shows its preview. A failed preparation shows its message (107, 116, 108,
// 109, 49) and prints nothing; returns false then.
bool printProtocol(QWidget *parent, int kind, qint32 number, bool preview);
