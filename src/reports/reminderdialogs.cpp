#include "reports/reminderdialogs.h"

#include "app/appstate.h"
#include "app/messages.h"
#include "app/rvedit.h"
#include "registers/clientdialogs.h"
#include "reports/printsetup.h"
#include "reports/reminderprint.h"
#include "reports/reportdialogs.h"
#include "reports/reportcore.h"
#include "reports/reportfiles.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QProgressDialog>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

const char *const Caption = "Upomínky";

// Progress of painting many letters; Storno stops it.
PrintProgress progressOf(QProgressDialog &dialog)
{
    return [&dialog](int done, int total) {
        dialog.setMaximum(total);
        dialog.setValue(done);
        QCoreApplication::processEvents();
        return !dialog.wasCanceled();
    };
}

std::unique_ptr<QProgressDialog> progressDialog(QWidget *parent, int letters)
{
    auto dialog = std::make_unique<QProgressDialog>(QStringLiteral("Tisknou se upomínky..."),
                                                    QStringLiteral("  Storno"), 0, letters, parent);
    dialog->setWindowTitle(QString::fromUtf8(Caption));
    dialog->setWindowModality(Qt::WindowModal);
    dialog->setMinimumDuration(500);
    return dialog;
}

void previewLetters(QWidget *parent, const QList<PrintedTable> &docs)
{
    QPrinter &printer = programPrinter();
    printer.setDocName(QString::fromUtf8(Caption));
    QPrintPreviewDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("Náhled před tiskem – Upomínky"));
    QObject::connect(&dialog, &QPrintPreviewDialog::paintRequested, &dialog, [&docs, parent](QPrinter *p) {
        const auto progress = progressDialog(parent, int(docs.size()));
        printTables(p, docs, progressOf(*progress));
    });
    dialog.resize(900, 1000);
    dialog.exec();
}

void printLetters(QWidget *parent, const QList<PrintedTable> &docs)
{
    QPrinter &printer = programPrinter();
    printer.setDocName(QString::fromUtf8(Caption));
    QPrintDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("Tisk"));
    if (dialog.exec() != QDialog::Accepted)
        return;
    const auto progress = progressDialog(parent, int(docs.size()));
    printTables(&printer, docs, progressOf(*progress));
}

void saveLettersPdf(QWidget *parent, const QList<PrintedTable> &docs, DateNumber day)
{
    SaveFileRequest request;
    request.directory = exportDirectory();
    request.title = QStringLiteral("Zadejte jméno výstupního souboru");
    request.filter = QStringLiteral("Dokumenty PDF (*.pdf)");
    const QDate d = dateFromNumber(day);
    request.defaultName = QString::asprintf("upominky-%04d-%02d-%02d.pdf", d.year(), d.month(), d.day());
    request.defaultSuffix = QStringLiteral("pdf");
    const QString path = askSaveFile(parent, request);
    if (path.isEmpty())
        return;
    const auto progress = progressDialog(parent, int(docs.size()));
    const SafeFile::Result written = writeDocumentsPdf(docs, path, progressOf(*progress));
    progress->reset();
    if (!written.ok() && !progress->wasCanceled())
        RvMessageBox(QString::fromUtf8(Caption),
                     QStringLiteral("Upomínky se nepodařilo uložit do souboru %1.").arg(path),
                     MessageKind::Error, ButtonsOk);
}

} // namespace

CRemindersDialog::CRemindersDialog(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Upomínky"));
    m_date = todayField(this);
    auto *dateLabel = new QLabel(QStringLiteral("&Upomínky na knihy s prodlením ke dni"), this);
    dateLabel->setBuddy(m_date);
    m_code = new CRvEdit(this);
    auto *codeLabel = new QLabel(QStringLiteral("&Kód klienta (prázdný: všichni klienti s prodlením)"), this);
    codeLabel->setBuddy(m_code);
    auto *browse = new QPushButton(QStringLiteral("&Nalistovat"), this);
    browse->setAutoDefault(false);
    auto *codeRow = new QHBoxLayout;
    codeRow->addWidget(m_code, 1);
    codeRow->addWidget(browse);

    auto *buttons = new QDialogButtonBox(this);
    QPushButton *preview = buttons->addButton(QStringLiteral("Ná&hled"), QDialogButtonBox::AcceptRole);
    QPushButton *print = buttons->addButton(QStringLiteral("&Tisk..."), QDialogButtonBox::ActionRole);
    QPushButton *pdf = buttons->addButton(QStringLiteral("Do &PDF..."), QDialogButtonBox::ActionRole);
    buttons->addButton(QStringLiteral("  Storno"), QDialogButtonBox::RejectRole);
    preview->setDefault(true);
    connect(preview, &QPushButton::clicked, this, [this] { finish(ReminderRequest::Preview); });
    connect(print, &QPushButton::clicked, this, [this] { finish(ReminderRequest::Print); });
    connect(pdf, &QPushButton::clicked, this, [this] { finish(ReminderRequest::Pdf); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_date, &CRvEdit::enterPressed, this, [this] { finish(ReminderRequest::Preview); });
    connect(m_code, &CRvEdit::enterPressed, this, [this] { finish(ReminderRequest::Preview); });
    connect(browse, &QPushButton::clicked, this, [this] {
        if (const std::optional<QString> code = pickClient(this))
            setPickedCode(*code);
    });

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(dateLabel);
    layout->addWidget(m_date);
    layout->addWidget(codeLabel);
    layout->addLayout(codeRow);
    layout->addWidget(buttons);
    m_date->setFocus();
    m_date->selectAll();
}

bool CRemindersDialog::checkOk()
{
    QDate date;
    if (!m_date->GetAsOleDate(date)) {
        showMessage(Message::DateInvalid);
        m_date->setFocus();
        return false;
    }
    m_result.day = dateNumberFromDate(date);
    m_result.clientId = -1;
    if (!m_code->text().trimmed().isEmpty()) {
        ReportClient client;
        const int message = findReportClient(m_code->text(), &client);
        if (message != 0) {
            showMessage(message);
            m_code->setFocus();
            return false;
        }
        m_result.clientId = client.id;
    }
    return true;
}

void CRemindersDialog::setPickedCode(const QString &code)
{
    m_code->setText(code);
    m_code->setFocus();
}

void CRemindersDialog::finish(ReminderRequest::Output output)
{
    if (!checkOk())
        return;
    m_result.output = output;
    accept();
}

std::optional<ReminderRequest> askReminders(QWidget *parent)
{
    CRemindersDialog dialog(parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.result();
}

int runReminders(QWidget *parent, const ReminderRequest &request)
{
    QList<ReminderLetter> letters;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const int message = collectReminders(request.day, request.clientId, &letters);
    QApplication::restoreOverrideCursor();
    if (message != 0) {
        showMessage(message);
        return -1;
    }
    if (letters.isEmpty()) {
        RvMessageBox(QString::fromUtf8(Caption), reminderNoneText(request.day), MessageKind::Information,
                     ButtonsOk);
        return 0;
    }
    const QList<PrintedTable> docs =
        reminderDocuments(letters, request.day, AppState::instance().settings.userName, today());
    switch (request.output) {
    case ReminderRequest::Preview:
        previewLetters(parent, docs);
        break;
    case ReminderRequest::Print:
        printLetters(parent, docs);
        break;
    case ReminderRequest::Pdf:
        saveLettersPdf(parent, docs, request.day);
        break;
    }
    return int(letters.size());
}
