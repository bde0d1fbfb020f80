#include "reports/reportfiles.h"

#include "app/messages.h"
#include "reports/htmlcore.h"

#include <QDir>
#include <QFileDialog>

namespace {

QString askWithDialog(QWidget *parent, const SaveFileRequest &request)
{
    QFileDialog dialog(parent, request.title, request.directory, request.filter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setDefaultSuffix(request.defaultSuffix);
    dialog.selectFile(request.defaultName);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return QString();
    return dialog.selectedFiles().constFirst();
}

SaveFileAsker &asker()
{
    static SaveFileAsker a = askWithDialog;
    return a;
}

} // namespace

SaveFileAsker setSaveFileAsker(SaveFileAsker a)
{
    SaveFileAsker previous = asker();
    asker() = a ? std::move(a) : SaveFileAsker(askWithDialog);
    return previous;
}

QString askSaveFile(QWidget *parent, const SaveFileRequest &request)
{
    return asker()(parent, request);
}

QString exportDirectory()
{
    const QString dir = QDir::current().filePath(QStringLiteral("Export"));
    QDir().mkpath(dir);
    return dir;
}

bool exportReportHtml(QWidget *parent, const QString &title, const QList<ReportRow> &rows,
                      const QString &summary)
{
    SaveFileRequest request;
    request.directory = exportDirectory();
    request.title = QStringLiteral("Zadejte jméno výstupního souboru");
    // The filter "WWW stránky v HTML|*.html||" in Qt's notation.
    request.filter = QStringLiteral("WWW stránky v HTML (*.html)");
    request.defaultName = QStringLiteral("sestava.html");
    request.defaultSuffix = QStringLiteral("html");
    const QString path = asker()(parent, request);
    if (path.isEmpty())
        return false;
    const SafeFile::Result written = writeReportHtml(path, title, rows, summary);
    if (!written.ok()) {
        qWarning("%s", qPrintable(written.describe()));
        showMessage(Message::HtmlNotWritten);
        return false;
    }
    return true;
}
