#include "app/messages.h"
#include "cli/clicommon.h"
#include "data/database.h"
#include "data/dates.h"
#include "reports/printdocs.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>

#include <cstring>

// folivo-cli protocol loan|return N --pdf FILE: prints the protocol of one loan or one return
// into an A4 PDF file, as the program prints it.

QCoreApplication *createCliApplication(int &argc, char **argv)
{
    // Protocols, reminder letters and the statistics' chart are painted with fonts, which needs Qt
    // Gui; the tool never shows a window, so it paints off screen. Every other command needs only
    // the core.
    const bool paints =
        argc > 1 && (std::strcmp(argv[1], "protocol") == 0 || std::strcmp(argv[1], "reminders") == 0 ||
                     std::strcmp(argv[1], "statistics") == 0);
    if (paints) {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        return new QGuiApplication(argc, argv);
    }
    return new QCoreApplication(argc, argv);
}

int cmdProtocol(const QStringList &argv)
{
    CliArgs args;
    QString error;
    if (!parseCliArgs(argv, {QStringLiteral("data-dir"), QStringLiteral("pdf")}, {}, &args, &error))
        return cliFail(error);
    if (args.positional.size() != 2)
        return cliFail(QStringLiteral("protocol needs a kind (loan or return) and a number"));
    const QString kindText = args.positional.at(0);
    const bool loan = kindText == QLatin1String("loan");
    if (!loan && kindText != QLatin1String("return"))
        return cliFail(QStringLiteral("unknown protocol kind %1; use loan or return").arg(kindText));
    qint32 number = 0;
    if (!parseWhole(args.positional.at(1), &number))
        return cliFail(
            QStringLiteral("the protocol number must be a whole number, not %1").arg(args.positional.at(1)));
    const QString pdf = args.value(QStringLiteral("pdf"));
    if (pdf.isEmpty())
        return cliFail(QStringLiteral("protocol needs --pdf FILE"));
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return cliFail(QStringLiteral("protocol printing needs the graphical part of Qt"));

    const QString dir = resolveDataDir(args);
    if (!openLibraryOf(args, dir, &error))
        return cliFail(error);
    const QString target = enterDataDir(dir, pdf);
    if (target.isEmpty()) {
        Database::close();
        return cliFail(QStringLiteral("cannot enter the data directory %1").arg(dir));
    }
    PrintedTable doc;
    int message = 0;
    if (loan) {
        LoanProtocol protocol;
        message = prepareLoanProtocol(number, &protocol);
        doc = loanProtocolDocument(protocol, today());
    } else {
        ReturnProtocol protocol;
        message = prepareReturnProtocol(number, &protocol);
        doc = returnProtocolDocument(protocol, today());
    }
    Database::close();
    if (message != 0)
        return cliFail(QStringLiteral("%1 (message %2)").arg(messageText(message)).arg(message));
    const PdfResult written = writePdf(doc, target);
    if (!written.ok())
        return cliFail(written.file.describe());
    const int pages = written.print.pages;
    cliPrint(QStringLiteral("%1: %2, %3 %4")
                 .arg(pdf, doc.title)
                 .arg(pages)
                 .arg(pages == 1 ? QStringLiteral("page") : QStringLiteral("pages")));
    return 0;
}
