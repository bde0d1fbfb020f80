#include "reports/printsetup.h"

#include <QApplication>
#include <QPageLayout>
#include <QPageSize>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>

QPrinter &programPrinter()
{
    static QPrinter *printer = [] {
        auto *p = new QPrinter(QPrinter::HighResolution);
        p->setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                     QMarginsF(15, 15, 15, 12), QPageLayout::Millimeter));
        p->setDocName(QStringLiteral("FOLIVO 2.0"));
        return p;
    }();
    return *printer;
}

void printDocument(QWidget *parent, const PrintedTable &doc, bool preview)
{
    QPrinter &printer = programPrinter();
    printer.setDocName(doc.title);
    if (preview) {
        QPrintPreviewDialog dialog(&printer, parent);
        dialog.setWindowTitle(QStringLiteral("Náhled před tiskem – %1").arg(doc.title));
        QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog,
                         [&doc](QPrinter *p) { printTable(p, doc); });
        dialog.resize(900, 1000);
        dialog.exec();
        return;
    }
    QPrintDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("Tisk"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    printTable(&printer, doc);
    QApplication::restoreOverrideCursor();
}
