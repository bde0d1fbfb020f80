// The print preview paints only the pages in sight; a print job shows its progress and stops at
// "Storno" without leaving a file behind.
#include "reports/printdocs.h"
#include "reports/printpreview.h"
#include "reports/printsetup.h"
#include "support/testsupport.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QPrinter>
#include <QProgressDialog>
#include <QPushButton>
#include <QScrollArea>
#include <QTest>
#include <QTimer>

namespace {

PrintedTable longReport(int rows)
{
    return reportDocument(QStringLiteral("Knihy právě přítomné v knihovně"), madeUpReportRows(rows),
                          reportSummary(rows, 0), today());
}

QProgressDialog *shownProgress()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (auto *p = qobject_cast<QProgressDialog *>(w); p && p->isVisible())
            return p;
    return nullptr;
}

} // namespace

class TestPrintJobs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void previewPaintsOnlyShownPages();
    void stornoStopsThePrintJob();
};

void TestPrintJobs::previewPaintsOnlyShownPages()
{
    const PrintedTable doc = longReport(4000);
    PrintPreviewDialog preview(programPrinter(), doc);
    preview.show();
    QVERIFY(QTest::qWaitForWindowExposed(&preview));
    QTRY_VERIFY(preview.paintedPages() >= 1);
    QVERIFY(preview.pageCount() > 60);
    QCOMPARE(preview.currentPage(), 1);
    auto *label = preview.findChild<QLabel *>();
    QCOMPARE(label->text(), QStringLiteral("strana 1 / %1").arg(preview.pageCount()));
    // The last page, shown directly: only it and its neighbour are painted on the way.
    preview.showPage(preview.pageCount());
    QCOMPARE(preview.currentPage(), preview.pageCount());
    QCOMPARE(label->text(), QStringLiteral("strana %1 / %1").arg(preview.pageCount()));
    QTest::qWait(50);
    QVERIFY2(preview.paintedPages() <= 6, qPrintable(QString::number(preview.paintedPages())));
    if (!qEnvironmentVariableIsEmpty("FOLIVO_GRAB"))
        preview.grab().save(qEnvironmentVariable("FOLIVO_GRAB"));
}

void TestPrintJobs::stornoStopsThePrintJob()
{
    MessageRecorder messages;
    QTemporaryDir dir;
    const QString pdf = dir.filePath(QStringLiteral("sestava.pdf"));
    {
        QFile old(pdf);
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write("yesterday's report");
    }
    QPrinter &printer = programPrinter();
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(pdf);
    // Long enough to outlast the moment the progress shows itself on any machine.
    const PrintedTable doc = longReport(40000);

    // "Storno" pressed once the progress shows the page count.
    QString label;
    int maximum = 0;
    QTimer storno;
    QObject::connect(&storno, &QTimer::timeout, [&] {
        QProgressDialog *progress = shownProgress();
        if (!progress || progress->value() < 2)
            return;
        label = progress->labelText();
        if (!qEnvironmentVariableIsEmpty("FOLIVO_GRAB_PROGRESS"))
            progress->grab().save(qEnvironmentVariable("FOLIVO_GRAB_PROGRESS"));
        maximum = progress->maximum();
        const auto buttons = progress->findChildren<QPushButton *>();
        QCOMPARE(buttons.size(), 1);
        QCOMPARE(buttons.first()->text(), QStringLiteral("Storno"));
        QTest::mouseClick(buttons.first(), Qt::LeftButton);
        storno.stop();
    });
    storno.start(20);
    QVERIFY(!runPrintJob(nullptr, printer, doc));
    QVERIFY(!storno.isActive());
    QVERIFY2(label.startsWith(QStringLiteral("Tisk strany ")) &&
                 label.endsWith(QStringLiteral(" z %1").arg(maximum)),
             qPrintable(label));
    QVERIFY(maximum > 600);
    QCOMPARE(fileBytes(pdf), QByteArray("yesterday's report"));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), words("sestava.pdf"));
    QVERIFY(messages.numbers().isEmpty());

    // Left alone, the job replaces the file; into a folder that is gone it shows why it failed.
    QVERIFY(runPrintJob(nullptr, printer, longReport(50)));
    QVERIFY(fileBytes(pdf).startsWith("%PDF"));
    printer.setOutputFileName(dir.filePath(QStringLiteral("gone/sestava.pdf")));
    QVERIFY(!runPrintJob(nullptr, printer, longReport(50)));
    QCOMPARE(messages.shown().size(), 1);
    QVERIFY(messages.lastText().contains(QStringLiteral("gone/sestava.pdf")));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), words("sestava.pdf"));
}

QTEST_MAIN(TestPrintJobs)
#include "test_printjobs.moc"
