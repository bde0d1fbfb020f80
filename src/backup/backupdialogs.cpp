#include "backup/backupdialogs.h"

#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "circulation/viewzadavani.h"

#include <QApplication>
#include <QCheckBox>
#include <QCloseEvent>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

namespace {

QString defaultChooser(QWidget *parent, const QString &startDir)
{
    QFileDialog dialog(parent, QString::fromUtf8("Zadejte jméno záložního souboru"), startDir,
                       QString::fromUtf8("Záložní soubory (*.fzl)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("fzl"));
    // The export asks its own question before overwriting.
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    dialog.selectFile(QStringLiteral("*.fzl"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    return dialog.selectedFiles().constFirst();
}

BackupFileChooser &chooser()
{
    static BackupFileChooser c = defaultChooser;
    return c;
}

void turnEntrySheetToFirstPage()
{
    if (CMainFrame *frame = CMainFrame::instance())
        if (auto *entry = qobject_cast<CViewZadavani *>(frame->view(ViewSwitchRequest::EntryView)))
            entry->setActivePage(0);
}

// After the dialog: the program ends when the database could not be reopened (at once, before
// a view can reach for the closed database), and a request to quit that arrived during the copy
// is passed on now that the database is open again.
void passOnTheEnd(BackupOutcome outcome)
{
    if (outcome == BackupOutcome::Fatal)
        QCoreApplication::exit(1);
    else if (outcome == BackupOutcome::Quit)
        QCoreApplication::quit();
}

} // namespace

BackupEvents &BackupEvents::instance()
{
    static BackupEvents events;
    return events;
}

BackupFileChooser setBackupFileChooser(BackupFileChooser c)
{
    BackupFileChooser previous = chooser();
    chooser() = c ? std::move(c) : BackupFileChooser(defaultChooser);
    return previous;
}

CBackupDlgBase::CBackupDlgBase(QWidget *parent) : QDialog(parent)
{
    m_fileName = new QLineEdit(this);
    m_fileName->setReadOnly(true);
    m_fileName->setMinimumWidth(fontMetrics().averageCharWidth() * 60);
    m_change = new QPushButton(QString::fromUtf8("Změnit..."), this);
    m_progress = new QProgressBar(this);
    m_progress->setRange(0, 100);
    m_progress->setValue(0);
    m_progress->setTextVisible(false);
    m_progressText = new QLabel(exportProgressText(0), this);
    m_start = new QPushButton(QStringLiteral("Start"), this);
    m_start->setDefault(true);
    m_cancel = new QPushButton(QStringLiteral("  Storno"), this);
    connect(m_change, &QPushButton::clicked, this, &CBackupDlgBase::chooseFile);
    connect(m_start, &QPushButton::clicked, this, [this] { start(); });
    connect(m_cancel, &QPushButton::clicked, this, &CBackupDlgBase::reject);
    qApp->installEventFilter(this);
}

void CBackupDlgBase::buildLayout(QLayout *top, const QString &fileLabel)
{
    auto *layout = new QVBoxLayout(this);
    if (top)
        layout->addLayout(top);
    auto *label = new QLabel(fileLabel, this);
    label->setBuddy(m_fileName);
    layout->addWidget(label);
    auto *fileRow = new QHBoxLayout;
    fileRow->addWidget(m_fileName, 1);
    fileRow->addWidget(m_change);
    layout->addLayout(fileRow);
    layout->addSpacing(6);
    layout->addWidget(m_progress);
    layout->addWidget(m_progressText, 0, Qt::AlignHCenter);
    layout->addSpacing(6);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_start);
    buttons->addWidget(m_cancel);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    m_start->setFocus();
}

QString CBackupDlgBase::dataDir() const
{
    const QString dir = AppState::instance().dataDir;
    return dir.isEmpty() ? QDir::currentPath() : dir;
}

void CBackupDlgBase::chooseFile()
{
    const QString exportDir = QDir(dataDir()).filePath(QStringLiteral("Export"));
    QDir().mkpath(exportDir);
    const QString chosen = chooser()(this, exportDir);
    if (!chosen.isEmpty())
        m_fileName->setText(chosen);
}

BackupCallbacks CBackupDlgBase::callbacks()
{
    BackupCallbacks c;
    c.progress = [this](int percent, const QString &text) {
        m_progress->setValue(qBound(0, percent, 100));
        if (!text.isNull())
            m_progressText->setText(text);
        m_progress->repaint();
        m_progressText->repaint();
    };
    c.keepRunning = [this] {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        return !m_quitRequested;
    };
    c.setBusy = [this](bool busy) { setBusy(busy); };
    return c;
}

void CBackupDlgBase::setBusy(bool busy)
{
    if (busy == m_busy)
        return;
    m_busy = busy;
    for (QWidget *w : findChildren<QWidget *>())
        if (qobject_cast<QPushButton *>(w) || qobject_cast<QCheckBox *>(w))
            w->setEnabled(!busy);
    if (busy) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
    } else {
        QApplication::restoreOverrideCursor();
        m_change->setEnabled(m_changeAllowed);
    }
}

BackupOutcome CBackupDlgBase::start()
{
    m_quitRequested = false;
    m_outcome = runStart();
    if (m_outcome != BackupOutcome::Stayed)
        done(endsWithOk(m_outcome) ? QDialog::Accepted : QDialog::Rejected);
    return m_outcome;
}

void CBackupDlgBase::reject()
{
    // While copying the database is closed or being replaced: the dialog cannot go away.
    if (m_busy)
        return;
    QDialog::reject();
}

void CBackupDlgBase::closeEvent(QCloseEvent *event)
{
    if (m_busy) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

bool CBackupDlgBase::eventFilter(QObject *watched, QEvent *event)
{
    // A request to quit during the copy stops it; it is passed on once the database is open.
    if (m_busy && watched == qApp && event->type() == QEvent::Quit) {
        m_quitRequested = true;
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

// ---------------------------------------------------------------------------------------------

CExportBackupDlg::CExportBackupDlg(QWidget *parent) : CBackupDlgBase(parent)
{
    setWindowTitle(QString::fromUtf8("Proveďte export všech dat"));
    m_disk = new QCheckBox(QString::fromUtf8("Export na &pevný disk"), this);
    m_floppy = new QCheckBox(QString::fromUtf8("Export na &diskety"), this);
    auto *targets = new QHBoxLayout;
    targets->addWidget(m_disk);
    targets->addWidget(m_floppy);
    targets->addStretch(1);
    buildLayout(targets, QString::fromUtf8("Exportovat do &souboru"));
    // The two boxes act as a pair of radio buttons: exactly one is checked.
    // toggled, not clicked: the keyboard, a screen reader and setChecked change the pair too.
    connect(m_disk, &QCheckBox::toggled, this, [this](bool checked) { setTarget(checked); });
    connect(m_floppy, &QCheckBox::toggled, this, [this](bool checked) { setTarget(!checked); });
    setTarget(true);
    setTabOrder(m_disk, m_floppy);
    setTabOrder(m_floppy, m_change);
    setTabOrder(m_change, m_start);
    setTabOrder(m_start, m_cancel);
}

QString CExportBackupDlg::defaultFileName() const
{
    return QDir(dataDir()).filePath(QStringLiteral("Export/zaloha.fzl"));
}

void CExportBackupDlg::setTarget(bool disk)
{
    {
        const QSignalBlocker blockDisk(m_disk);
        const QSignalBlocker blockFloppy(m_floppy);
        m_disk->setChecked(disk);
        m_floppy->setChecked(!disk);
    }
    m_fileName->setText(disk ? defaultFileName() : QString());
    m_changeAllowed = disk;
    m_change->setEnabled(disk);
}

BackupOutcome CExportBackupDlg::runStart()
{
    ExportRequest request;
    request.toFloppies = m_floppy->isChecked();
    request.fileName = m_fileName->text();
    request.dataDir = dataDir();
    request.floppyDir = AppState::instance().floppyDir;
    request.stamp = BackupStamp::at(QDateTime::currentDateTime());
    return runExport(request, callbacks());
}

bool CExportBackupDlg::endsWithOk(BackupOutcome outcome) const
{
    // A finished export ends with OK whether it succeeded or not, once the database is open.
    return outcome == BackupOutcome::Succeeded || outcome == BackupOutcome::Failed;
}

// ---------------------------------------------------------------------------------------------

CImportBackupDlg::CImportBackupDlg(QWidget *parent) : CBackupDlgBase(parent)
{
    setWindowTitle(QString::fromUtf8("Proveďte import všech dat"));
    auto *top = new QVBoxLayout;
    auto *heading = new QLabel(QString::fromUtf8("Import dat - kompletni obnovení dat ze zálohy"), this);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    top->addWidget(heading);
    buildLayout(top, QString::fromUtf8("Importovat ze &souboru"));
    m_fileName->setText(QDir(dataDir()).filePath(QStringLiteral("Export/zaloha.fzl")));
    setTabOrder(m_change, m_start);
    setTabOrder(m_start, m_cancel);
}

BackupOutcome CImportBackupDlg::runStart()
{
    ImportRequest request;
    request.fileName = m_fileName->text();
    request.dataDir = dataDir();
    return runImport(request, callbacks());
}

bool CImportBackupDlg::endsWithOk(BackupOutcome outcome) const
{
    return outcome == BackupOutcome::Succeeded;
}

// ---------------------------------------------------------------------------------------------

BackupOutcome runExportDialog(QWidget *parent)
{
    CExportBackupDlg dialog(parent);
    dialog.exec();
    return dialog.outcome();
}

BackupOutcome runImportDialog(QWidget *parent)
{
    CImportBackupDlg dialog(parent);
    dialog.exec();
    return dialog.outcome();
}

void installBackupCommands(CMainFrame &frame)
{
    frame.setHandler(Cmd::ExportData, [&frame] {
        const BackupOutcome outcome = runExportDialog(&frame);
        if (outcome == BackupOutcome::Succeeded)
            turnEntrySheetToFirstPage();
        passOnTheEnd(outcome);
    });
    frame.setHandler(Cmd::ImportData, [&frame] {
        const int issuedFrom = frame.activeTarget();
        const BackupOutcome outcome = runImportDialog(&frame);
        if (outcome == BackupOutcome::Succeeded) {
            Q_EMIT BackupEvents::instance().dataRestored(issuedFrom);
            turnEntrySheetToFirstPage();
        }
        passOnTheEnd(outcome);
    });
}
