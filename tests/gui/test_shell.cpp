#include "app/aboutdialog.h"
#include "app/appstate.h"
#include "app/commands.h"
#include "app/helpwindow.h"
#include "app/identitydialog.h"
#include "app/mainframe.h"
#include "app/rvedit.h"
#include "app/settingsdialogs.h"
#include "app/shellcommands.h"
#include "app/startup.h"
#include "circulation/entrypage.h"
#include "circulation/viewzadavani.h"
#include "data/database.h"
#include "support/guitestsupport.h"
#include "support/testsupport.h"

#include <QAction>
#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QClipboard>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTextBrowser>
#include <QTextEdit>
#include <QToolBar>
#include <QtTest>

#include <cstdio>
#include <functional>
#include <memory>

namespace {

// Acts on the modal dialogs of a start-up one after the other: each step gets the next dialog
// that opens.
class ModalSteps final : public QObject
{
public:
    using Step = std::function<void(QWidget *)>;
    explicit ModalSteps(QList<Step> steps) : m_steps(std::move(steps))
    {
        m_timer.setInterval(10);
        connect(&m_timer, &QTimer::timeout, this, &ModalSteps::poll);
        m_timer.start();
    }
    bool done() const { return m_steps.isEmpty(); }

private:
    void poll()
    {
        QWidget *w = QApplication::activeModalWidget();
        if (!w || w == m_last || m_steps.isEmpty())
            return;
        m_last = w;
        const Step step = m_steps.takeFirst();
        step(w);
    }
    QList<Step> m_steps;
    QPointer<QWidget> m_last;
    QTimer m_timer;
};

void writeRecord(const QString &dir, const SettingsRecord &r)
{
    QVERIFY(r.write(QDir(dir).filePath(QStringLiteral("Folivo.ini"))));
}

SettingsRecord plainRecord()
{
    SettingsRecord r;
    r.userName = QStringLiteral("Knihovna Horní Lhota");
    encodePassword(r, QString());
    return r;
}

// The second copy of the program, run by the test as a child process: it reports every message
// on its standard output and exits with the start-up's exit code.
int runSecondCopy(const QString &dataDir)
{
    setMessageBoxHandler([](const QString &, const QString &, MessageKind, int) {
        std::printf("message %d\n", catalogueNumberBeingShown());
        std::fflush(stdout);
        return int(ResultOk);
    });
    StartupOptions options;
    options.dataDir = dataDir;
    options.floppyDir = dataDir;
    int exitCode = 0;
    std::unique_ptr<CMainFrame> frame(startProgram(options, &exitCode));
    std::printf(frame ? "started\n" : "ended\n");
    return frame ? 0 : exitCode;
}

} // namespace

class TestShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void firstRun();
    void identityCheckAtStartup();
    void startAfterACutOffRestoreTellsOnce();
    void missingDatabaseAndSecondCopy();
    void frameMenusAndToolBar();
    void lockCommand();
    void editCommands();
    void entryViewRouting();
    void sheetAndReportView();
    void frameDialogsAndHelp();

private:
    // Starts the program on lib's data directory (its database closed first).
    CMainFrame *start(TestLibrary &lib, int *exitCode = nullptr);
    // Starts the program on a new library with plain settings and shows its frame, active.
    CMainFrame *startShown();
    CViewZadavani *entryView() const
    {
        return qobject_cast<CViewZadavani *>(m_frame->view(ViewSwitchRequest::EntryView));
    }

    std::unique_ptr<CMainFrame> m_frame;
    std::unique_ptr<TestLibrary> m_lib; // the one startShown made
};

void TestShell::init()
{
    AppState::instance().settings = SettingsRecord{};
    AppState::instance().history.clear();
}

void TestShell::cleanup()
{
    m_frame.reset();
    Database::close();
    m_lib.reset();
}

CMainFrame *TestShell::start(TestLibrary &lib, int *exitCode)
{
    Database::close();
    StartupOptions options;
    options.dataDir = lib.dir();
    options.floppyDir = lib.dir();
    int code = -1;
    m_frame.reset(startProgram(options, &code));
    if (exitCode)
        *exitCode = code;
    return m_frame.get();
}

CMainFrame *TestShell::startShown()
{
    m_lib = std::make_unique<TestLibrary>();
    writeRecord(m_lib->dir(), plainRecord());
    CMainFrame *frame = start(*m_lib);
    return frame && showActive(frame) ? frame : nullptr;
}

void TestShell::firstRun()
{
    TestLibrary lib;
    const QString ini = QDir(lib.dir()).filePath(QStringLiteral("Folivo.ini"));
    {
        // Cancel in the name dialog: nothing is written, the program ends.
        MessageRecorder rec;
        ModalSteps steps({[](QWidget *w) { qobject_cast<QDialog *>(w)->reject(); }});
        int code = 0;
        QVERIFY(!start(lib, &code));
        QVERIFY(code != 0);
        QVERIFY(!QFile::exists(ini));
        QVERIFY(!Database::isOpen());
        QVERIFY(rec.shown().isEmpty());
    }
    {
        // Cancel in the settings dialog: no record is left behind, not even an empty file.
        ModalSteps steps({[](QWidget *w) {
                              qobject_cast<CDlgInstall *>(w)->nameEdit()->setText(QStringLiteral("Jana"));
                              qobject_cast<QDialog *>(w)->accept();
                          },
                          [](QWidget *w) { qobject_cast<QDialog *>(w)->reject(); }});
        QVERIFY(!start(lib));
        QVERIFY(steps.done());
        QVERIFY(!QFile::exists(ini));
        QVERIFY(!Database::isOpen());
    }
    {
        // The settings file cannot be created: message 19, and the program ends.
        QVERIFY(QDir(lib.dir()).mkdir(QStringLiteral("Folivo.ini")));
        MessageRecorder rec;
        ModalSteps steps({[](QWidget *w) {
            qobject_cast<CDlgInstall *>(w)->nameEdit()->setText(QStringLiteral("Jana"));
            qobject_cast<QDialog *>(w)->accept();
        }});
        QVERIFY(!start(lib));
        QCOMPARE(rec.numbers(), QList<int>{19});
        QVERIFY(!Database::isOpen());
    }
    {
        // A settings file that is no record (the record's own test knows which) starts the
        // first run like a missing one.
        QVERIFY(QDir(lib.dir()).rmdir(QStringLiteral("Folivo.ini")));
        QVERIFY(writeBytes(ini, plainRecord().toBytes().left(163)));
        MessageRecorder rec;
        ModalSteps steps({[](QWidget *w) {
                              auto *install = qobject_cast<CDlgInstall *>(w);
                              install->nameEdit()->setText(QStringLiteral("  Knihovna Dolní Lhota "));
                              install->accept();
                          },
                          [](QWidget *w) {
                              auto *basic = qobject_cast<CDlgBasicSettings *>(w);
                              basic->choices()->loanProtocol()->button(2)->click();
                              basic->accept();
                          }});
        CMainFrame *frame = start(lib);
        QVERIFY(steps.done());
        QVERIFY(frame);
        QVERIFY(rec.shown().isEmpty());
        QCOMPARE(QFileInfo(ini).size(), qint64(SettingsRecord::Size));
        const auto written = SettingsRecord::read(ini);
        QVERIFY(written);
        QCOMPARE(written->userName, QStringLiteral("Knihovna Dolní Lhota"));
        QCOMPARE(written->loanProtocol, quint16(2));
        QCOMPARE(AppState::instance().settings.toBytes(), written->toBytes());
        QVERIFY(Database::isOpen());
        QCOMPARE(frame->windowTitle(), QStringLiteral("Folivo 2.0"));
        QCOMPARE(frame->activeTarget(), int(ViewSwitchRequest::EntryView));
    }
}

void TestShell::startAfterACutOffRestoreTellsOnce()
{
    TestLibrary lib;
    writeRecord(lib.dir(), plainRecord());
    lib.addBook(QStringLiteral("B001"));
    Database::close();
    // A restore of an older program was cut off between its two renames: the library is only in
    // Temp/Tmp_old.dat.
    QVERIFY(QDir(lib.dir()).mkpath(QStringLiteral("Temp")));
    QVERIFY(QFile::rename(lib.dbPath(), QDir(lib.dir()).filePath(QStringLiteral("Temp/Tmp_old.dat"))));
    {
        MessageRecorder rec;
        QVERIFY(start(lib));
        QCOMPARE(rec.shown().size(), 1);
        QVERIFY(rec.shown().first().text.startsWith(
            QString::fromUtf8("Předchozí obnova dat ze zálohy nebyla dokončena.")));
        QCOMPARE(rec.shown().first().kind, MessageKind::Information);
        QCOMPARE(lib.rows("KNIHY", "KOD = 'B001'"), 1);
    }
    m_frame.reset();
    MessageRecorder again;
    QVERIFY(start(lib));
    QVERIFY(again.shown().isEmpty());
    QVERIFY(!QFile::exists(QDir(lib.dir()).filePath(QStringLiteral("Temp/Tmp_old.dat"))));
}

void TestShell::identityCheckAtStartup()
{
    TestLibrary lib;
    SettingsRecord r = plainRecord();
    r.passwordAtStart = 1;
    encodePassword(r, QStringLiteral("Šárka"));
    writeRecord(lib.dir(), r);
    {
        // The dialog's own test knows its refusal; here the right password opens the library.
        ModalSteps steps({[&](QWidget *w) {
            auto *check = qobject_cast<CDlgIdentity *>(w);
            QCOMPARE(check->form(), CDlgIdentity::AtStart);
            check->passwordEdit()->setText(QStringLiteral("Šárka"));
            check->accept();
        }});
        QVERIFY(start(lib));
        QVERIFY(steps.done());
        QVERIFY(Database::isOpen());
    }
    cleanup();
    {
        // "  Storno" ends the program before the database is opened.
        ModalSteps steps({[](QWidget *w) { qobject_cast<CDlgIdentity *>(w)->endButton()->click(); }});
        int code = 0;
        QVERIFY(!start(lib, &code));
        QVERIFY(code != 0);
        QVERIFY(!Database::isOpen());
    }
    {
        // Without the start-up option no dialog is shown.
        r.passwordAtStart = 0;
        r.lockAllowed = 1;
        writeRecord(lib.dir(), r);
        QVERIFY(start(lib));
        QVERIFY(QApplication::activeModalWidget() == nullptr);
    }
}

void TestShell::missingDatabaseAndSecondCopy()
{
    TestLibrary lib;
    writeRecord(lib.dir(), plainRecord());
    {
        QTemporaryDir empty;
        writeRecord(empty.path(), plainRecord());
        MessageRecorder rec;
        StartupOptions options;
        options.dataDir = empty.path();
        int code = 0;
        QVERIFY(!startProgram(options, &code));
        QCOMPARE(rec.numbers(), QList<int>{2});
        QCOMPARE(rec.lastText(), QStringLiteral("Nastala fatální chyba, nelze pokračovat."));
        QVERIFY(code != 0);
    }

    QVERIFY(start(lib));
    QProcess second;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("FOLIVO_SECOND_COPY_DIR"), lib.dir());
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    second.setProcessEnvironment(env);
    second.start(QCoreApplication::applicationFilePath(), {});
    QVERIFY(second.waitForFinished(30000));
    const QString out = QString::fromUtf8(second.readAllStandardOutput());
    QCOMPARE(out, QStringLiteral("message 2\nended\n"));
    QVERIFY(second.exitCode() != 0);

    // Once the first copy has ended, a new one starts.
    cleanup();
    second.start(QCoreApplication::applicationFilePath(), {});
    QVERIFY(second.waitForFinished(30000));
    QCOMPARE(QString::fromUtf8(second.readAllStandardOutput()), QStringLiteral("started\n"));
    QCOMPARE(second.exitCode(), 0);
}

void TestShell::frameMenusAndToolBar()
{
    CMainFrame *frame = startShown();
    QVERIFY(frame);
    QStringList menus;
    for (QAction *a : frame->menuBar()->actions())
        menus << a->text();
    QCOMPARE(menus, words("&Soubor Úpr&avy &Zobrazení Čís&elníky Na&vigace &Nápověda"));

    // A command is only enabled when something answers it; the shell's own are always there.
    frame->updateCommandStates();
    for (int c : {Cmd::Lock, Cmd::ProgramSettings, Cmd::About, Cmd::HelpIndex, Cmd::HelpTopics, Cmd::Exit,
                  Cmd::PrintSetup, Cmd::ViewToolBar, Cmd::ViewStatusBar})
        QVERIFY2(frame->action(c)->isEnabled(), qPrintable(frame->action(c)->text()));
    const QList<QAction *> all = frame->findChildren<QAction *>();
    for (QAction *a : all) {
        const int c = a->data().toInt();
        if (c == 0)
            continue;
        const bool answered = frame->hasHandler(c) ||
                              (frame->activeView() && frame->activeView()->commandEnabled(c).value_or(false));
        QVERIFY2(!a->isEnabled() || answered, qPrintable(a->text()));
    }

    QToolBar *bar = frame->toolBar();
    QVERIFY(bar->actions().contains(frame->action(Cmd::NavNext)));
    QAction *toolBarAction = frame->action(Cmd::ViewToolBar);
    QVERIFY(toolBarAction->isChecked());
    for (const bool shown : {false, true}) {
        toolBarAction->trigger();
        QCOMPARE(bar->isHidden(), !shown);
        QCOMPARE(toolBarAction->isChecked(), shown);
    }
}

void TestShell::lockCommand()
{
    CMainFrame *frame = startShown();
    QVERIFY(frame);
    SettingsRecord r = plainRecord();
    {
        // Lock off: one information box, nothing else (a dialog would wait here for ever).
        MessageRecorder rec;
        frame->runCommand(Cmd::Lock);
        QCOMPARE(rec.shown().size(), 1);
        QCOMPARE(rec.lastText(), QStringLiteral("Funkce zabezpečení za běhu není aktivována. Pokud ji chcete "
                                                "využívat,\n zapněte ji v nastavení programu."));
        QCOMPARE(rec.shown().first().kind, MessageKind::Information);
    }

    r.lockAllowed = 1;
    encodePassword(r, QStringLiteral("zámek"));
    AppState::instance().settings = r;
    auto *field = new QLineEdit(entryView()->page(0));
    QVERIFY(showFocused(field));
    {
        MessageRecorder rec;
        ModalSteps steps({[&](QWidget *w) {
            auto *lock = qobject_cast<CDlgIdentity *>(w);
            QCOMPARE(lock->endButton()->text(), QStringLiteral("  Konec"));
            QVERIFY(!(lock->windowFlags() & Qt::WindowCloseButtonHint));
            // Escape and the window manager's close do not open the program.
            lock->reject();
            lock->close();
            QVERIFY(lock->isVisible());
            rec.answerNext(ResultNo);
            lock->endButton()->click();
            QVERIFY(lock->isVisible());
            QCOMPARE(rec.lastText(), QStringLiteral("          Chcete skutečně ukončit program?          "));
            QCOMPARE(rec.shown().last().kind, MessageKind::Question);
            QCOMPARE(rec.shown().last().buttons, int(ButtonsYesNo));
            lock->passwordEdit()->setText(QStringLiteral("zámek"));
            lock->accept();
        }});
        frame->runCommand(Cmd::Lock);
        QVERIFY(steps.done());
        QVERIFY(frame->isVisible());
        QCOMPARE(QApplication::focusWidget() ? QApplication::focusWidget() : frame->focusWidget(), field);
    }
    {
        // "  Konec" with Yes ends the program.
        MessageRecorder rec;
        rec.answerNext(ResultYes);
        ModalSteps steps({[](QWidget *w) { qobject_cast<CDlgIdentity *>(w)->endButton()->click(); }});
        QVERIFY(!runLock(frame));
        QVERIFY(steps.done());
    }
}

void TestShell::editCommands()
{
    CMainFrame *frame = startShown();
    QVERIFY(frame);
    // The edit commands the frame offers now, by their keys: Z undo, X cut, C copy, V paste,
    // D delete, A select all.
    const auto offered = [frame] {
        frame->updateCommandStates();
        QString out;
        for (const auto &[command, key] : {std::pair{Cmd::EditUndo, 'Z'},
                                           {Cmd::EditCut, 'X'},
                                           {Cmd::EditCopy, 'C'},
                                           {Cmd::EditPaste, 'V'},
                                           {Cmd::EditDelete, 'D'},
                                           {Cmd::EditSelectAll, 'A'}})
            if (frame->action(command)->isEnabled())
                out += QLatin1Char(key);
        return out;
    };
    auto *edit = new CRvEdit(entryView()->page(0));
    QVERIFY(showFocused(edit));
    QGuiApplication::clipboard()->clear();

    QCOMPARE(offered(), QString());
    QTest::keyClick(edit, Qt::Key_K);
    QCOMPARE(offered(), QStringLiteral("ZA"));
    QTest::keyClicks(edit, QStringLiteral("niha"));
    frame->runCommand(Cmd::EditSelectAll);
    QCOMPARE(offered(), QStringLiteral("ZXCDA"));
    frame->runCommand(Cmd::EditCopy);
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("kniha"));
    frame->runCommand(Cmd::EditDelete);
    QVERIFY(edit->text().isEmpty());
    QCOMPARE(offered(), QStringLiteral("ZV"));
    frame->runCommand(Cmd::EditPaste);
    frame->runCommand(Cmd::EditPaste);
    QCOMPARE(edit->text(), QStringLiteral("knihakniha"));
    frame->runCommand(Cmd::EditUndo);
    QCOMPARE(edit->text(), QStringLiteral("kniha"));
    edit->setSelection(0, 2);
    frame->runCommand(Cmd::EditCut);
    QCOMPARE(edit->text(), QStringLiteral("iha"));
    QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("kn"));

    // A disabled field offers nothing.
    edit->setSelection(0, 1);
    edit->setEnabled(false);
    QCOMPARE(offered(), QString());

    // A multi-line field takes the same commands.
    auto *text = new QTextEdit(entryView()->page(0));
    QVERIFY(showFocused(text));
    QCOMPARE(offered(), QStringLiteral("V"));
    QTest::keyClicks(text, QStringLiteral("poznamka"));
    frame->runCommand(Cmd::EditSelectAll);
    frame->runCommand(Cmd::EditDelete);
    QVERIFY(text->toPlainText().isEmpty());

    // Focus outside an edit field: nothing is offered.
    auto *button = new QPushButton(QStringLiteral("x"), entryView()->page(0));
    QVERIFY(showFocused(button));
    QCOMPARE(offered(), QString());
}

void TestShell::entryViewRouting()
{
    CMainFrame *frame = startShown();
    QVERIFY(frame);
    CViewZadavani *view = entryView();
    QStringList tabs;
    for (int i = 0; i < view->sheet()->count(); ++i)
        tabs << view->sheet()->tabText(i);
    QCOMPARE(tabs, (QStringList{QStringLiteral("Výpůjčky"), QStringLiteral("Vrácení"),
                                QStringLiteral("Nové knihy"), QStringLiteral("Vyřazení"),
                                QStringLiteral("Opravy"), QStringLiteral("Prohlížení")}));
    QCOMPARE(view->activeIndex(), 0);

    const QList<int> navigation = {Cmd::NavFirst,    Cmd::NavLast,     Cmd::NavPageForward,
                                   Cmd::NavPageBack, Cmd::NavPrevious, Cmd::NavNext};
    for (int page = 0; page < 5; ++page) {
        view->setActivePage(page);
        frame->updateCommandStates();
        for (int c : navigation)
            QVERIFY(!frame->action(c)->isEnabled());
    }
    // On the browse page the page itself answers.
    view->setActivePage(CViewZadavani::Prohlizeni);
    frame->updateCommandStates();
    for (int c : navigation)
        QCOMPARE(frame->action(c)->isEnabled(), view->page(CViewZadavani::Prohlizeni)->canNavigate(c));

    // "Vložit Historii" does nothing on the loans page, even with a remembered text.
    view->setActivePage(CViewZadavani::Vypujcky);
    AppState::instance().history.remember(QStringLiteral("Babička"), 9);
    auto *edit = new CRvEdit(view->page(CViewZadavani::Vypujcky));
    QVERIFY(showFocused(edit));
    frame->updateCommandStates();
    QVERIFY(!frame->action(Cmd::EditHistory)->isEnabled());
    view->runCommand(Cmd::EditHistory);
    QVERIFY(edit->text().isEmpty());
}

void TestShell::sheetAndReportView()
{
    CMainFrame *frame = startShown();
    QVERIFY(frame);
    CViewZadavani *view = entryView();
    auto *scroll = view->findChild<QScrollArea *>();
    QVERIFY(QTest::qWaitForWindowExposed(frame));
    QCoreApplication::processEvents();
    // At the frame's first size every page is seen whole: no page needs a scroll bar.
    QCOMPARE(frame->size(), QSize(710, 590));
    for (int i = 0; i < view->sheet()->count(); ++i) {
        view->setActivePage(i);
        QCoreApplication::processEvents();
        QVERIFY2(!scroll->verticalScrollBar()->isVisible() && !scroll->horizontalScrollBar()->isVisible(),
                 qPrintable(view->sheet()->tabText(i)));
    }

    // The report view and the frame's window state.
    ViewSwitchRequest report;
    report.target = ViewSwitchRequest::ReportView;
    report.title = QStringLiteral("Knihy v knihovně");

    AppState::instance().settings.reportSize = SettingsRecord::ReportMaximised;
    QVERIFY(frame->switchView(report));
    QVERIFY(frame->isMaximized());
    QVERIFY(frame->switchView(ViewSwitchRequest{}));
    QCOMPARE(frame->activeTarget(), int(ViewSwitchRequest::EntryView));
    QVERIFY(!frame->isMaximized());

    // Normal size: the report keeps the frame as it is, maximised or not.
    AppState::instance().settings.reportSize = SettingsRecord::ReportNormal;
    QVERIFY(frame->switchView(report));
    QVERIFY(!frame->isMaximized());
    frame->switchView(ViewSwitchRequest{});
    frame->showMaximized();
    QVERIFY(frame->switchView(report));
    QVERIFY(frame->isMaximized());
    frame->switchView(ViewSwitchRequest{});
    QVERIFY(frame->isMaximized());
}

void TestShell::frameDialogsAndHelp()
{
    CMainFrame *frame = startShown();
    QVERIFY(frame);
    {
        CDlgAbout about(frame);
        QCOMPARE(about.nameField()->text(), QStringLiteral("Knihovna Horní Lhota"));
        QVERIFY(about.nameField()->isReadOnly());
        QVERIFY(!about.hasPicture());
    }
    {
        // The picture is read by its content, whatever the file's name says.
        QImage image(40, 30, QImage::Format_RGB32);
        image.fill(Qt::darkGreen);
        QVERIFY(image.save(QStringLiteral("rvmsgbit.dat"), "PNG"));
        CDlgAbout about(frame);
        QVERIFY(about.hasPicture());
    }

    frame->runCommand(Cmd::HelpIndex);
    CHelpWindow *help = CHelpWindow::instance(frame);
    QTRY_VERIFY(help->isVisible());
    QCOMPARE(help->browser()->source().toString(), QStringLiteral("qrc:/help/topic1.html"));
    frame->runCommand(Cmd::HelpTopics);
    QCOMPARE(help->browser()->source().toString(), QStringLiteral("qrc:/help/index.html"));

    // F1: the program's topic over the entry view, the menus' topic on a menu.
    QTest::keyClick(entryView()->sheet(), Qt::Key_F1);
    QCOMPARE(help->browser()->source().toString(), QStringLiteral("qrc:/help/topic1.html"));
    QMenu *menu = frame->menuBar()->actions().first()->menu();
    menu->popup(frame->mapToGlobal(QPoint(10, 10)));
    QTRY_VERIFY(menu->isVisible());
    QTest::keyClick(menu, Qt::Key_F1);
    QCOMPARE(help->browser()->source().toString(), QStringLiteral("qrc:/help/topic7.html"));
    QTRY_VERIFY(!menu->isVisible());

    // The frame's own dialogs, each over the frame.
    QStringList titles;
    ModalSteps steps({[&](QWidget *w) {
                          titles << w->windowTitle();
                          qobject_cast<QDialog *>(w)->accept();
                      },
                      [&](QWidget *w) {
                          titles << w->windowTitle();
                          QCOMPARE(w->parentWidget(), frame);
                          qobject_cast<QDialog *>(w)->reject();
                      },
                      [&](QWidget *w) {
                          titles << w->windowTitle();
                          qobject_cast<QDialog *>(w)->reject();
                      }});
    frame->runCommand(Cmd::About);
    frame->runCommand(Cmd::ProgramSettings);
    frame->runCommand(Cmd::PrintSetup);
    QVERIFY(steps.done());
    QCOMPARE(titles, (QStringList{QStringLiteral("O aplikaci Folivo 2.0"),
                                  QStringLiteral("Nastavení programu"), QStringLiteral("Nastavení tisku")}));

    // "Konec" closes the frame.
    frame->runCommand(Cmd::Exit);
    QVERIFY(!frame->isVisible());
}

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    if (qEnvironmentVariableIsSet("FOLIVO_SECOND_COPY_DIR"))
        return runSecondCopy(qEnvironmentVariable("FOLIVO_SECOND_COPY_DIR"));
    TestShell test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_shell.moc"
