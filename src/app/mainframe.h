#pragma once

#include "app/frameview.h"
#include "app/mnemonics.h"
#include "app/viewswitch.h"

#include <QHash>
#include <QMainWindow>

#include <functional>
#include <optional>

class QAction;
class QStackedWidget;
class QTimer;
class QToolBar;

// The main frame: menu, tool bar, status bar, and one of the three views at a time.
// Every command is an action that the frame owns; a feature installs a handler for it. A command
// without a handler stays visible and disabled.
class CMainFrame final : public QMainWindow
{
    Q_OBJECT

public:
    explicit CMainFrame(QWidget *parent = nullptr);
    ~CMainFrame() override;

    static CMainFrame *instance(); // the one frame, or nullptr before it exists

    QAction *action(int command) const;

    // run: what the command does; enabled: when it may be chosen (always when empty). The
    // active view may still answer both itself (CFrameView::runCommand / commandEnabled).
    void setHandler(int command, std::function<void()> run, std::function<bool()> enabled = {});
    bool hasHandler(int command) const { return m_handlers.contains(command); }
    void runCommand(int command);
    void updateCommandStates();

    // Views: each target has a factory; the frame creates the view the first time it is shown.
    void setViewFactory(int target, const std::function<CFrameView *(QWidget *parent)> &factory);
    // Shows the requested view (wait cursor, maximise rule of the report view, hand-over of the
    // request). Returns false when the view refused.
    bool switchView(const ViewSwitchRequest &request);
    CFrameView *activeView() const;
    CFrameView *view(int target) const; // nullptr when not created yet
    int activeTarget() const;
    // Destroys a view (the search view after a failed preparation).
    void destroyView(int target);

    QToolBar *toolBar() const { return m_toolBar; }

Q_SIGNALS:
    void viewSwitched(int target);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Handler
    {
        std::function<void()> run;
        std::function<bool()> enabled;
    };
    bool browsingKeyEnabled(const QKeySequence &key);
    std::optional<MnemonicOwner> viewMnemonic(QWidget *focus, const QKeySequence &key) const;
    void buildMenus();
    void buildToolBar();
    QAction *makeAction(int command, const QString &text, const QString &hint,
                        const QKeySequence &shortcut = {});

    QHash<int, QAction *> m_actions;
    QHash<int, Handler> m_handlers;
    QHash<int, std::function<CFrameView *(QWidget *)>> m_viewFactories;
    QHash<int, CFrameView *> m_views;
    QStackedWidget *m_stack = nullptr;
    QToolBar *m_toolBar = nullptr;
    QTimer *m_updateTimer = nullptr;
    bool m_maximisedBeforeReport = false;
};
