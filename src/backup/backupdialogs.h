#pragma once

#include "backup/backupjobs.h"

#include <QDialog>

#include <functional>

class CMainFrame;
class QCheckBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;

// Tells the views that an import replaced all data. viewTarget is the view that issued the
// command: the report view re-runs its report, the search view prepares its form again.
class BackupEvents final : public QObject
{
    Q_OBJECT

public:
    static BackupEvents &instance();

Q_SIGNALS:
    void dataRestored(int viewTarget);
};

// The file dialog of "Změnit..." (save-style for both directions): returns the chosen path or an
// empty text. Replaceable, so that tests answer it without a window; returns the previous one.
using BackupFileChooser = std::function<QString(QWidget *parent, const QString &startDir)>;
BackupFileChooser setBackupFileChooser(BackupFileChooser chooser);

// What the export and import dialogs share: the file name with "Změnit...", the progress bar
// and its text, "Start" and "  Storno", and the behaviour while copying (buttons disabled, wait
// cursor, the dialog cannot be closed, a request to quit the program stops the copy).
class CBackupDlgBase : public QDialog
{
    Q_OBJECT

public:
    QLineEdit *fileNameEdit() const { return m_fileName; }
    QPushButton *changeButton() const { return m_change; }
    QProgressBar *progressBar() const { return m_progress; }
    QLabel *progressText() const { return m_progressText; }
    QPushButton *startButton() const { return m_start; }
    QPushButton *cancelButton() const { return m_cancel; }
    bool isBusy() const { return m_busy; }

    // "Start": runs the whole procedure; the dialog stays open on Stayed and ends otherwise.
    BackupOutcome start();
    BackupOutcome outcome() const { return m_outcome; }

    void reject() override;

protected:
    explicit CBackupDlgBase(QWidget *parent);
    // Builds the common controls under the dialog's own ones (top).
    void buildLayout(QLayout *top, const QString &fileLabel);
    virtual BackupOutcome runStart() = 0;
    virtual bool endsWithOk(BackupOutcome outcome) const = 0;
    BackupCallbacks callbacks();
    void chooseFile();
    QString dataDir() const;

    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

    QLineEdit *m_fileName = nullptr;
    QPushButton *m_change = nullptr;
    QProgressBar *m_progress = nullptr;
    QLabel *m_progressText = nullptr;
    QPushButton *m_start = nullptr;
    QPushButton *m_cancel = nullptr;
    bool m_changeAllowed = true; // "Změnit..." is off while the floppies are chosen

private:
    void setBusy(bool busy);

    bool m_busy = false;
    bool m_quitRequested = false;
    BackupOutcome m_outcome = BackupOutcome::Stayed;
};

// Dialog 182 "Proveďte export všech dat".
class CExportBackupDlg final : public CBackupDlgBase
{
    Q_OBJECT

public:
    explicit CExportBackupDlg(QWidget *parent = nullptr);

    QCheckBox *diskBox() const { return m_disk; }
    QCheckBox *floppyBox() const { return m_floppy; }
    QString defaultFileName() const;

protected:
    BackupOutcome runStart() override;
    bool endsWithOk(BackupOutcome outcome) const override;

private:
    void setTarget(bool disk);

    QCheckBox *m_disk = nullptr;
    QCheckBox *m_floppy = nullptr;
};

// Dialog 186 "Proveďte import všech dat".
class CImportBackupDlg final : public CBackupDlgBase
{
    Q_OBJECT

public:
    explicit CImportBackupDlg(QWidget *parent = nullptr);

protected:
    BackupOutcome runStart() override;
    bool endsWithOk(BackupOutcome outcome) const override;
};

// Run the dialogs modally; the outcome tells the caller what happened.
BackupOutcome runExportDialog(QWidget *parent);
BackupOutcome runImportDialog(QWidget *parent);

// "Export dat..." and "Import dat..." from every view.
void installBackupCommands(CMainFrame &frame);
