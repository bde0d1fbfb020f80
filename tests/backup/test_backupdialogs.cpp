// The export and import dialogs under the offscreen platform: their controls, the pair of target
// boxes, the progress while copying, a quit during the copy, and the commands of the frame.
#include "app/appstate.h"
#include "app/commands.h"
#include "app/mainframe.h"
#include "backup/backupdialogs.h"
#include "backuptesthelpers.h"
#include "circulation/viewzadavani.h"
#include "data/database.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace BackupTest;

namespace {

// What the dialog showed at the moment a message box came up.
struct Seen
{
    QString text;
    QString progressText;
    int progressValue = -1;
    bool startEnabled = true;
};

// Records every box with the state of the modal backup dialog behind it; answers OK / Yes.
class DialogWatcher final
{
public:
    DialogWatcher()
    {
        m_previous =
            setMessageBoxHandler([this](const QString &, const QString &text, MessageKind, int buttons) {
                Seen s;
                s.text = text;
                if (auto *dlg = qobject_cast<CBackupDlgBase *>(QApplication::activeModalWidget())) {
                    s.progressText = dlg->progressText()->text();
                    s.progressValue = dlg->progressBar()->value();
                    s.startEnabled = dlg->startButton()->isEnabled();
                    // While copying the dialog refuses to go away.
                    if (dlg->isBusy())
                        dlg->reject();
                }
                seen << s;
                return buttons == ButtonsConfirm ? int(ResultConfirmed) : int(ResultYes);
            });
    }
    ~DialogWatcher() { setMessageBoxHandler(m_previous); }
    QList<Seen> seen;

private:
    MessageBoxHandler m_previous;
};

void clickStartInModalDialog()
{
    onNextModal<CBackupDlgBase>([](CBackupDlgBase *dlg) { dlg->startButton()->click(); });
}

} // namespace

class TestBackupDialogs : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void exportDialogControls();
    void exportCommandShowsProgressAndTurnsTheSheet();
    void quitDuringTheCopyStopsItAndReopens();
    void importCommandRestoresAndTellsTheViews();

private:
    std::unique_ptr<TestLibrary> m_lib;
    QTemporaryDir m_floppy;
};

void TestBackupDialogs::init()
{
    m_lib.reset(); // its destructor closes the database: before the next one opens
    m_lib = std::make_unique<TestLibrary>();
    AppState::instance().dataDir = m_lib->dir();
    AppState::instance().floppyDir = m_floppy.path();
}

void TestBackupDialogs::exportDialogControls()
{
    CExportBackupDlg dlg;
    const QString defaultName = QDir(m_lib->dir()).filePath(QStringLiteral("Export/zaloha.fzl"));
    QCOMPARE(dlg.windowTitle(), QString::fromUtf8("Proveďte export všech dat"));
    QCOMPARE(dlg.diskBox()->text(), QString::fromUtf8("Export na &pevný disk"));
    QCOMPARE(dlg.floppyBox()->text(), QString::fromUtf8("Export na &diskety"));
    QVERIFY(dlg.fileNameEdit()->isReadOnly());
    QCOMPARE(dlg.progressText()->text(), QStringLiteral("0 % hotovo"));
    QCOMPARE(dlg.startButton()->text(), QStringLiteral("Start"));
    QCOMPARE(dlg.cancelButton()->text(), QStringLiteral("  Storno"));
    QCOMPARE(dlg.focusWidget(), static_cast<QWidget *>(dlg.startButton()));
    QVERIFY(exposed(dlg));

    // The disk first. The two boxes behave as a pair: choosing one clears the other, clearing one
    // chooses the other, by the mouse, the keyboard and the program alike. The disk has a file
    // name and "Změnit...".
    struct Step
    {
        std::function<void()> act;
        bool disk;
    };
    const Step steps[] = {
        {[] {}, true},
        {[&] { QTest::mouseClick(dlg.floppyBox(), Qt::LeftButton); }, false},
        {[&] { QTest::mouseClick(dlg.floppyBox(), Qt::LeftButton); }, true}, // clearing the floppy box
        {[&] { QTest::mouseClick(dlg.diskBox(), Qt::LeftButton); }, false},  // clearing the disk box
        {[&] { QTest::mouseClick(dlg.diskBox(), Qt::LeftButton); }, true},
        {[&] {
             dlg.floppyBox()->setFocus();
             QTest::keyClick(dlg.floppyBox(), Qt::Key_Space);
         },
         false},
        {[&] { dlg.diskBox()->setChecked(true); }, true},
    };
    for (const Step &step : steps) {
        step.act();
        QCOMPARE(dlg.diskBox()->isChecked(), step.disk);
        QCOMPARE(dlg.floppyBox()->isChecked(), !step.disk);
        QCOMPARE(dlg.fileNameEdit()->text(), step.disk ? defaultName : QString());
        QCOMPARE(dlg.changeButton()->isEnabled(), step.disk);
    }

    // "Změnit..." starts in Export (made when missing) and takes the chosen name.
    QDir(m_lib->dir()).rmdir(QStringLiteral("Export"));
    QString startedIn;
    const BackupFileChooser previous = setBackupFileChooser([&](QWidget *, const QString &dir) {
        startedIn = dir;
        return QStringLiteral("/srv/zalohy/pondeli.fzl");
    });
    dlg.changeButton()->click();
    QCOMPARE(startedIn, QDir(m_lib->dir()).filePath(QStringLiteral("Export")));
    QVERIFY(QFileInfo(startedIn).isDir());
    QCOMPARE(dlg.fileNameEdit()->text(), QStringLiteral("/srv/zalohy/pondeli.fzl"));
    setBackupFileChooser([](QWidget *, const QString &) { return QString(); }); // cancelled
    dlg.changeButton()->click();
    QCOMPARE(dlg.fileNameEdit()->text(), QStringLiteral("/srv/zalohy/pondeli.fzl"));
    setBackupFileChooser(previous);
}

void TestBackupDialogs::exportCommandShowsProgressAndTurnsTheSheet()
{
    growLibrary(150000);
    CMainFrame frame;
    frame.setViewFactory(ViewSwitchRequest::EntryView, [](QWidget *p) { return new CViewZadavani(p); });
    installBackupCommands(frame);
    QVERIFY(frame.switchView(ViewSwitchRequest{}));
    auto *entry = qobject_cast<CViewZadavani *>(frame.view(ViewSwitchRequest::EntryView));
    entry->setActivePage(3);

    DialogWatcher watcher;
    clickStartInModalDialog();
    frame.runCommand(Cmd::ExportData);

    QCOMPARE(watcher.seen.size(), 1);
    const Seen &done = watcher.seen.first();
    QCOMPARE(done.text, QString::fromUtf8("Export dat byl úspěšně dokončen!"));
    // The result is shown while the buttons are still off, the progress at its end.
    QCOMPARE(done.progressValue, 100);
    QVERIFY(!done.startEnabled);
    QCOMPARE(entry->activeIndex(), 0);
    QVERIFY(!QApplication::overrideCursor());
}

void TestBackupDialogs::quitDuringTheCopyStopsItAndReopens()
{
    growLibrary(300000);
    MessageRecorder messages;
    CExportBackupDlg dlg;
    QVERIFY(exposed(dlg));
    // The request to quit is waiting when the copy starts; the copy takes it between blocks.
    QCoreApplication::postEvent(qApp, new QEvent(QEvent::Quit));
    QCOMPARE(dlg.start(), BackupOutcome::Quit);
    QVERIFY(messages.shown().isEmpty());
    QVERIFY(Database::isOpen());
    QCOMPARE(m_lib->rows("KATEGORIE"), 200);
    QVERIFY(!QFileInfo::exists(dlg.defaultFileName())); // a stopped export leaves no partial backup
    QCOMPARE(dlg.result(), int(QDialog::Rejected));
    QVERIFY(!dlg.isBusy());
    QVERIFY(!QApplication::overrideCursor());
}

void TestBackupDialogs::importCommandRestoresAndTellsTheViews()
{
    m_lib->addBook(QStringLiteral("B1"));
    ExportRequest request;
    request.dataDir = m_lib->dir();
    request.fileName = QDir(m_lib->dir()).filePath(QStringLiteral("Export/zaloha.fzl"));
    {
        MessageRecorder quiet;
        QCOMPARE(runExport(request, {}), BackupOutcome::Succeeded);
    }
    m_lib->addBook(QStringLiteral("B2"));

    {
        CImportBackupDlg dlg;
        QCOMPARE(dlg.windowTitle(), QString::fromUtf8("Proveďte import všech dat"));
        bool heading = false;
        for (const QLabel *l : dlg.findChildren<QLabel *>())
            heading =
                heading || l->text() == QString::fromUtf8("Import dat - kompletni obnovení dat ze zálohy");
        QVERIFY(heading);
    }

    CMainFrame frame;
    frame.setViewFactory(ViewSwitchRequest::EntryView, [](QWidget *p) { return new CViewZadavani(p); });
    installBackupCommands(frame);
    QVERIFY(frame.switchView(ViewSwitchRequest{}));
    auto *entry = qobject_cast<CViewZadavani *>(frame.view(ViewSwitchRequest::EntryView));
    entry->setActivePage(5);
    QSignalSpy restored(&BackupEvents::instance(), &BackupEvents::dataRestored);

    // A file that is no backup: the dialog ends, nothing changes, nobody is told.
    const QString bogus = QDir(m_lib->dir()).filePath(QStringLiteral("Export/jine.fzl"));
    QVERIFY(writeFile(bogus, pattern(1000)));
    {
        DialogWatcher watcher;
        onNextModal<CBackupDlgBase>([&](CBackupDlgBase *dlg) {
            dlg->fileNameEdit()->setText(bogus);
            dlg->startButton()->click();
        });
        frame.runCommand(Cmd::ImportData);
        QCOMPARE(watcher.seen.size(), 2);
        QCOMPARE(watcher.seen.at(1).text, messageText(102));
    }
    QCOMPARE(restored.count(), 0);
    QCOMPARE(entry->activeIndex(), 5);
    QCOMPARE(m_lib->rows("KNIHY"), 2);

    DialogWatcher watcher;
    clickStartInModalDialog();
    frame.runCommand(Cmd::ImportData);
    QCOMPARE(watcher.seen.size(), 2);
    QCOMPARE(watcher.seen.at(1).text, QString::fromUtf8("Data byly úspěšně obnoveny ze zálohy!"));
    QCOMPARE(watcher.seen.at(1).progressText, QStringLiteral("100% hotovo"));
    QCOMPARE(restored.count(), 1);
    QCOMPARE(restored.first().first().toInt(), int(ViewSwitchRequest::EntryView));
    QCOMPARE(entry->activeIndex(), 0);
    QVERIFY(Database::isOpen());
    QCOMPARE(m_lib->rows("KNIHY"), 1);
}

QTEST_MAIN(TestBackupDialogs)
#include "test_backupdialogs.moc"
