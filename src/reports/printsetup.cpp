#include "reports/printsetup.h"

#include "app/messages.h"
#include "reports/printdocs.h"
#include "reports/printpreview.h"

#include <QApplication>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressDialog>

QPrinter &programPrinter()
{
    static QPrinter *printer = [] {
        auto *p = new QPrinter(QPrinter::HighResolution);
        p->setPageLayout(programPageLayout());
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
        PrintPreviewDialog dialog(printer, doc, parent);
        dialog.exec();
        return;
    }
    QPrintDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("Tisk"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    runPrintJob(parent, printer, doc);
}

bool runPrintJob(QWidget *parent, QPrinter &printer, const PrintedTable &doc)
{
    if (printer.outputFormat() == QPrinter::PdfFormat && printer.outputFileName().isEmpty())
        return false; // a PDF printer without a file has nowhere to print
    QProgressDialog progress(parent);
    progress.setWindowTitle(QStringLiteral("Tisk"));
    progress.setCancelButtonText(QStringLiteral("Storno"));
    progress.setWindowModality(Qt::WindowModal);
    progress.setAutoReset(false);
    progress.setAutoClose(false);
    progress.setMinimumDuration(300);
    const bool toPdf = printer.outputFormat() == QPrinter::PdfFormat;
    // Asked before every page: shows where the job is and keeps the program answering, so that
    // "Storno" can be pressed at any page.
    const PageProgress onPage = [&](int page, int pages) {
        progress.setMaximum(pages);
        progress.setLabelText(QStringLiteral("Tisk strany %1 z %2").arg(page).arg(pages));
        progress.setValue(page - 1);
        QCoreApplication::processEvents();
        if (!progress.wasCanceled())
            return true;
        if (!toPdf)
            printer.abort(); // nothing of the job reaches the printer
        return false;
    };
    if (toPdf) {
        const PdfResult written =
            writePdf(doc, printer.outputFileName(), onPage, printer.pageLayout(), printer.resolution());
        if (!written.ok() && !written.print.cancelled) {
            qWarning("%s", qPrintable(written.file.describe()));
            RvMessageBox(QString(),
                         QStringLiteral("Tisk do souboru se nezdařil, zkontrolujte jméno souboru a místo "
                                        "na disku!\n%1")
                             .arg(written.file.path),
                         MessageKind::Error, ButtonsOk);
        }
        return written.ok();
    }
    return printTable(&printer, doc, onPage).finished;
}
