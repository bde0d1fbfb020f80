#include "reports/protocolprint.h"

#include <QWidget>

// The protocol pages are built with the reports; until then a request prints nothing.
void printPendingProtocol(QWidget *parent)
{
    Q_UNUSED(parent);
}
