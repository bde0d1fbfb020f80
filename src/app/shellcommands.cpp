#include "app/shellcommands.h"

#include "app/aboutdialog.h"
#include "app/appstate.h"
#include "app/commands.h"
#include "app/editcommands.h"
#include "app/helpwindow.h"
#include "app/identitydialog.h"
#include "app/mainframe.h"
#include "app/messages.h"
#include "app/settingsdialogs.h"
#include "app/shellicons.h"
#include "circulation/viewzadavani.h"

#include <QAction>
#include <QApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QStatusBar>
#include <QToolBar>

const char *const LockOffText =
    "Funkce zabezpečení za běhu není aktivována. Pokud ji chcete využívat,\n zapněte "
    "ji v nastavení programu.";

namespace {

// F1 opens the help of the menus when pressed on a menu, otherwise the help of the shown view.
class HelpKeyFilter final : public QObject
{
public:
    explicit HelpKeyFilter(CMainFrame *frame) : QObject(frame), m_frame(frame) {}

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::KeyPress || static_cast<QKeyEvent *>(event)->key() != Qt::Key_F1)
            return false;
        auto *widget = qobject_cast<QWidget *>(watched);
        if (!widget)
            return false;
        if (qobject_cast<QMenu *>(widget) || qobject_cast<QMenuBar *>(widget)) {
            if (QWidget *popup = QApplication::activePopupWidget())
                popup->close();
            CHelpWindow::instance(m_frame)->showTopic(HelpTopic::Menus);
            return true;
        }
        if (widget->window() != m_frame)
            return false;
        const CFrameView *view = m_frame->activeView();
        CHelpWindow::instance(m_frame)->showTopic(view ? view->helpTopic() : int(HelpTopic::Program));
        return true;
    }

private:
    CMainFrame *m_frame;
};

void fillToolBar(CMainFrame &frame)
{
    QToolBar *bar = frame.toolBar();
    const auto add = [&](int command, ShellIcon icon) {
        if (QAction *a = frame.action(command)) {
            a->setIcon(shellIcon(icon));
            bar->addAction(a);
        }
    };
    add(Cmd::ViewEntry, ShellIcon::Entry);
    add(Cmd::ViewSearch, ShellIcon::Search);
    add(Cmd::ReportPresent, ShellIcon::Report);
    bar->addSeparator();
    add(Cmd::PrintReport, ShellIcon::Print);
    bar->addSeparator();
    add(Cmd::EditCut, ShellIcon::Cut);
    add(Cmd::EditCopy, ShellIcon::Copy);
    add(Cmd::EditPaste, ShellIcon::Paste);
    bar->addSeparator();
    add(Cmd::NavFirst, ShellIcon::First);
    add(Cmd::NavPrevious, ShellIcon::Previous);
    add(Cmd::NavNext, ShellIcon::Next);
    add(Cmd::NavLast, ShellIcon::Last);
    bar->addSeparator();
    add(Cmd::Lock, ShellIcon::Lock);
    add(Cmd::HelpIndex, ShellIcon::Help);
    add(Cmd::About, ShellIcon::About);
    if (QAction *a = frame.action(Cmd::ProgramSettings))
        a->setIcon(shellIcon(ShellIcon::Settings));
    bar->setIconSize(QSize(24, 24));
    bar->setToolButtonStyle(Qt::ToolButtonIconOnly);
}

void openProgramSettings(CMainFrame &frame)
{
    CDlgProgramSettings dialog(&frame);
    QObject::connect(&dialog, &CDlgProgramSettings::settingsSaved, &frame, [&frame] {
        if (auto *entry = qobject_cast<CViewZadavani *>(frame.view(ViewSwitchRequest::EntryView)))
            entry->settingsChanged();
    });
    dialog.exec();
}

} // namespace

bool runLock(QWidget *frame)
{
    const SettingsRecord &settings = AppState::instance().settings;
    if (!settings.lockAllowed) {
        RvMessageBox(QString(), QString::fromUtf8(LockOffText), MessageKind::Information, ButtonsOk);
        return true;
    }
    QPointer<QWidget> focus = QApplication::focusWidget();
    CDlgIdentity dialog(CDlgIdentity::Lock, settings, frame);
    if (dialog.exec() == CDlgIdentity::ExitProgram)
        return false;
    if (focus)
        focus->setFocus();
    return true;
}

void installShellCommands(CMainFrame &frame)
{
    QApplication::setWindowIcon(shellIcon(ShellIcon::Program));
    fillToolBar(frame);

    frame.setHandler(Cmd::ProgramSettings, [&frame] { openProgramSettings(frame); });
    frame.setHandler(Cmd::Lock, [&frame] {
        if (!runLock(&frame)) {
            // Ended from the lock dialog: leave as the frame's close box would.
            frame.close();
            QCoreApplication::quit();
        }
    });
    frame.setHandler(Cmd::About, [&frame] {
        CDlgAbout about(&frame);
        about.exec();
    });
    frame.setHandler(Cmd::HelpIndex,
                     [&frame] { CHelpWindow::instance(&frame)->showTopic(HelpTopic::Program); });
    frame.setHandler(Cmd::HelpTopics, [&frame] { CHelpWindow::instance(&frame)->showTopicList(); });
    qApp->installEventFilter(new HelpKeyFilter(&frame));

    for (int command :
         {Cmd::EditUndo, Cmd::EditCut, Cmd::EditCopy, Cmd::EditPaste, Cmd::EditDelete, Cmd::EditSelectAll}) {
        frame.setHandler(
            command, [command] { EditCommands::run(command); },
            [command] { return EditCommands::canRun(command); });
    }

    frame.setHandler(Cmd::Exit, [&frame] { frame.close(); });

    QAction *toolBarAction = frame.action(Cmd::ViewToolBar);
    QAction *statusBarAction = frame.action(Cmd::ViewStatusBar);
    toolBarAction->setChecked(true);
    statusBarAction->setChecked(true);
    frame.setHandler(Cmd::ViewToolBar, [&frame, toolBarAction] {
        frame.toolBar()->setVisible(frame.toolBar()->isHidden());
        toolBarAction->setChecked(!frame.toolBar()->isHidden());
    });
    frame.setHandler(Cmd::ViewStatusBar, [&frame, statusBarAction] {
        frame.statusBar()->setVisible(frame.statusBar()->isHidden());
        statusBarAction->setChecked(!frame.statusBar()->isHidden());
    });
    // Behind the search view the frame shows the button face itself.
    QObject::connect(&frame, &CMainFrame::viewSwitched, &frame, [&frame](int target) {
        QWidget *client = frame.centralWidget();
        client->setBackgroundRole(QPalette::Button);
        client->setAutoFillBackground(target == ViewSwitchRequest::SearchView);
    });
    // The check mark follows the tool bar also when it is closed from its own context menu.
    QObject::connect(frame.toolBar(), &QToolBar::visibilityChanged, toolBarAction,
                     [&frame, toolBarAction] { toolBarAction->setChecked(!frame.toolBar()->isHidden()); });
}
