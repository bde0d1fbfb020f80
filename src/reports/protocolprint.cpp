#include "reports/protocolprint.h"

#include "app/messages.h"
#include "reports/printdocs.h"
#include "reports/printsetup.h"
#include "reports/protocolrequest.h"

#include <QApplication>

void printRequestedProtocol(QWidget *parent, const ProtocolRequest &request)
{
    if (request.kind == ProtocolRequest::Loan || request.kind == ProtocolRequest::Return)
        printProtocol(parent, request.kind, request.number, false);
}

bool printProtocol(QWidget *parent, int kind, qint32 number, bool preview)
{
    PrintedTable doc;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    int message = 0;
    if (kind == ProtocolRequest::Loan) {
        LoanProtocol protocol;
        message = prepareLoanProtocol(number, &protocol);
        if (message == 0)
            doc = loanProtocolDocument(protocol, today());
    } else {
        ReturnProtocol protocol;
        message = prepareReturnProtocol(number, &protocol);
        if (message == 0)
            doc = returnProtocolDocument(protocol, today());
    }
    QApplication::restoreOverrideCursor();
    if (message != 0) {
        showMessage(message);
        return false;
    }
    printDocument(parent, doc, preview);
    return true;
}
