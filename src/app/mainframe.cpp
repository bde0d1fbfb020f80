#include "app/mainframe.h"

#include "app/appstate.h"
#include "app/commands.h"
#include "app/mnemonics.h"

#include <QAction>
#include <QApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenuBar>
#include <QScreen>
#include <QStackedWidget>
#include <QStatusBar>
#include <QStyle>
#include <QTimer>
#include <QToolBar>

namespace {
CMainFrame *s_frame = nullptr;
}

CMainFrame::CMainFrame(QWidget *parent) : QMainWindow(parent)
{
    s_frame = this;
    setWindowTitle(QStringLiteral("Folivo 2.0"));
    m_stack = new QStackedWidget(this);
    setCentralWidget(m_stack);
    buildMenus();
    buildToolBar();
    statusBar()->showMessage(QStringLiteral("Připraven"));
    resize(710, 590);
    if (const QScreen *screen = QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        move(area.center() - QPoint(710 / 2, 590 / 2));
    }
    // Command states follow the focus and the shown page; a light timer keeps the tool bar true.
    m_updateTimer = new QTimer(this);
    m_updateTimer->setInterval(250);
    connect(m_updateTimer, &QTimer::timeout, this, &CMainFrame::updateCommandStates);
    m_updateTimer->start();
    connect(qApp, &QApplication::focusChanged, this, &CMainFrame::updateCommandStates);
    updateCommandStates();
    // A text field would keep the browsing keys for its own cursor; see eventFilter.
    qApp->installEventFilter(this);
}

bool CMainFrame::eventFilter(QObject *watched, QEvent *event)
{
    const bool keyEvent = event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
    auto *widget = keyEvent ? qobject_cast<QWidget *>(watched) : nullptr;
    if (!widget || (widget != this && !isAncestorOf(widget)))
        return QMainWindow::eventFilter(watched, event);
    const QKeySequence key(static_cast<QKeyEvent *>(event)->keyCombination());
    if (event->type() == QEvent::ShortcutOverride && browsingKeyEnabled(key)) {
        event->ignore(); // not taken by the field: the shortcut runs the command
        return true;
    }
    if (const std::optional<MnemonicOwner> owner = viewMnemonic(widget, key)) {
        // Taking the override keeps the menu bar out; the key press then comes here.
        if (event->type() == QEvent::KeyPress)
            activateMnemonic(*owner);
        event->accept();
        return true;
    }
    return QMainWindow::eventFilter(watched, event);
}

// While a record can be browsed to, its keys browse wherever the focus is in the frame, also
// inside a read-only field of the browse page, which would otherwise move its cursor with them.
bool CMainFrame::browsingKeyEnabled(const QKeySequence &key)
{
    for (int command : {Cmd::NavFirst, Cmd::NavLast, Cmd::NavPageForward, Cmd::NavPageBack, Cmd::NavPrevious,
                        Cmd::NavNext}) {
        QAction *a = action(command);
        if (a->shortcut() == key) {
            updateCommandStates();
            return a->isEnabled();
        }
    }
    return false;
}

// A view's letters are those of a dialog inside the frame: while the focus is in the view, Alt and
// a letter that a live control of the view shares with a menu title reaches the control, as
// Windows gives a dialog's controls their letters before the menu's; when no such control is
// live (its field disabled), the menu opens.
std::optional<MnemonicOwner> CMainFrame::viewMnemonic(QWidget *focus, const QKeySequence &key) const
{
    const QKeyCombination combination = key[0];
    if (combination.keyboardModifiers() != Qt::AltModifier)
        return std::nullopt;
    QWidget *view = m_stack->currentWidget();
    if (!view || !view->isAncestorOf(focus))
        return std::nullopt;
    const QList<MnemonicOwner> menus = menuMnemonics(menuBar());
    const auto menu =
        std::find_if(menus.begin(), menus.end(), [&](const MnemonicOwner &m) { return m.key == key; });
    if (menu == menus.end())
        return std::nullopt; // a letter of the view alone is Qt's business
    for (const MnemonicOwner &owner : mnemonicOwners(view, focus))
        if (owner.key == key)
            return owner;
    return *menu;
}

CMainFrame::~CMainFrame()
{
    // The views go away with the window; no focus change may reach a half-destroyed frame.
    disconnect(qApp, nullptr, this, nullptr);
    qApp->removeEventFilter(this);
    m_updateTimer->stop();
    if (s_frame == this)
        s_frame = nullptr;
}

CMainFrame *CMainFrame::instance()
{
    return s_frame;
}

QAction *CMainFrame::action(int command) const
{
    return m_actions.value(command, nullptr);
}

QAction *CMainFrame::makeAction(int command, const QString &text, const QString &hint,
                                const QKeySequence &shortcut)
{
    auto *a = new QAction(text, this);
    a->setData(command);
    a->setStatusTip(hint);
    a->setToolTip(hint);
    if (!shortcut.isEmpty())
        a->setShortcut(shortcut);
    a->setEnabled(false);
    connect(a, &QAction::triggered, this, [this, command] { runCommand(command); });
    m_actions.insert(command, a);
    return a;
}

void CMainFrame::buildMenus()
{
    auto add = [this](QMenu *menu, int command, const char *text, const char *hint,
                      const QKeySequence &key = {}) {
        menu->addAction(makeAction(command, QString::fromUtf8(text), QString::fromUtf8(hint), key));
    };

    QMenu *file = menuBar()->addMenu(QStringLiteral("&Soubor"));
    QMenu *print = file->addMenu(QStringLiteral("&Tisk"));
    add(print, Cmd::PrintReport, "&Sestava...", "Vytiskne zobrazenou sestavu");
    add(print, Cmd::PrintLoanProtocol, "Protokol o &půjčce...", "Vytiskne protokol o zvolené výpůjčce");
    add(print, Cmd::PrintReturnProtocol, "Protokol o &vrácení...",
        "Vytiskne protokol o zvoleném vrácení knih");
    add(print, Cmd::ReportToHtml, "&Sestava do HTML...", "Uloží zobrazenou sestavu jako stránku HTML");
    QMenu *preview = file->addMenu(QStringLiteral("Náhled &před tiskem"));
    add(preview, Cmd::PreviewReport, "&Sestava...", "Zobrazí náhled tisku sestavy");
    add(preview, Cmd::PreviewLoanProtocol, "Protokol o &půjčce...", "Zobrazí náhled protokolu o výpůjčce");
    add(preview, Cmd::PreviewReturnProtocol, "Protokol o &vrácení...",
        "Zobrazí náhled protokolu o vrácení knih");
    add(file, Cmd::PrintSetup, "Na&stavení tisku...", "Změní nastavení tiskárny a tisku");
    file->addSeparator();
    QMenu *backup = file->addMenu(QStringLiteral("&Zálohování"));
    add(backup, Cmd::ExportData, "Export dat...", "Zálohuje všechna data do souboru nebo na diskety");
    add(backup, Cmd::ImportData, "Import dat...", "Obnoví všechna data ze zálohy");
    QMenu *services = file->addMenu(QStringLiteral("Služby"));
    add(services, Cmd::UndoDiscard, "&Zrušení vyřazení knihy...", "Vrátí vyřazenou knihu zpět do knihovny");
    file->addSeparator();
    add(file, Cmd::ProgramSettings, "&Nastavení programu...", "Změní nastavení programu");
    add(file, Cmd::Lock, "&Uzamčení", "Uzamkne program přístupovým heslem");
    file->addSeparator();
    add(file, Cmd::Exit, "&Konec", "Ukončí program");

    QMenu *edit = menuBar()->addMenu(QStringLiteral("Úpr&avy"));
    add(edit, Cmd::EditUndo, "&Zpět", "Vrátí zpět poslední úpravu");
    edit->addSeparator();
    add(edit, Cmd::EditCut, "&Vyjmout\tCtrl+X", "Vyjme označený text do schránky",
        QKeySequence(Qt::CTRL | Qt::Key_X));
    add(edit, Cmd::EditCopy, "&Kopírovat\tCtrl+C", "Zkopíruje označený text do schránky",
        QKeySequence(Qt::CTRL | Qt::Key_C));
    add(edit, Cmd::EditPaste, "V&ložit\tCtrl+V", "Vloží text ze schránky",
        QKeySequence(Qt::CTRL | Qt::Key_V));
    add(edit, Cmd::EditDelete, "O&dstranit\tCtrl + Del", "Odstraní označený text",
        QKeySequence(Qt::CTRL | Qt::Key_Delete));
    add(edit, Cmd::EditSelectAll, "Vyb&rat vše", "Označí celý text pole");
    edit->addSeparator();
    add(edit, Cmd::EditHistory, "Vložit &Historii\tCtrl + '  '", "Vloží historii pro dané editační pole",
        QKeySequence(Qt::CTRL | Qt::Key_Space));

    QMenu *view = menuBar()->addMenu(QStringLiteral("&Zobrazení"));
    QMenu *reports = view->addMenu(QStringLiteral("&Sestava"));
    add(reports, Cmd::ReportPresent, "Knihy v &knihovně", "Zobrazí knihy právě přítomné v knihovně");
    add(reports, Cmd::ReportLent, "Knihy &vypůjčené", "Zobrazí knihy právě vypůjčené");
    add(reports, Cmd::ReportPresentAndLent, "K&nihy v knihovně + vypůjčené",
        "Zobrazí knihy přítomné v knihovně i vypůjčené");
    add(reports, Cmd::ReportDiscarded, "Knihy vyřa&zené", "Zobrazí vyřazené knihy");
    reports->addSeparator();
    add(reports, Cmd::ReportCategory, "Kn&ihy zvolené kategorie...", "Zobrazí knihy jedné kategorie");
    add(reports, Cmd::ReportOverdue, "Knihy s &prodlením...", "Zobrazí knihy vypůjčené s prodlením");
    reports->addSeparator();
    add(reports, Cmd::ReportClientLoans, "&Aktuální výpůjčky klienta...",
        "Zobrazí knihy, které má klient vypůjčené");
    add(reports, Cmd::ReportClientOverdue, "Knihy s prodlením klienta...",
        "Zobrazí knihy klienta s prodlením");
    add(reports, Cmd::ReportClientHistory, "Hist&orie klienta...",
        "Zobrazí knihy, které si klient kdy vypůjčil");
    reports->addSeparator();
    add(reports, Cmd::Reminders, "&Upomínky...", "Vytiskne upomínky klientům, kteří mají knihy s prodlením");
    add(reports, Cmd::AnnualStatistics, "&Roční statistika...", "Zobrazí statistiku knihovny za zvolený rok");
    view->addSeparator();
    add(view, Cmd::ViewEntry, "&Zadávání", "Přepne do zadávání (výpůjčky, vrácení, nové knihy, ...)");
    add(view, Cmd::ViewSearch, "&Vyhledávání", "Přepne do pokročilého vyhledávání");
    view->addSeparator();
    add(view, Cmd::ViewToolBar, "&Panel nástrojů", "Zobrazí nebo skryje panel nástrojů");
    add(view, Cmd::ViewStatusBar, "S&tavový řádek", "Zobrazí nebo skryje stavový řádek");
    action(Cmd::ViewToolBar)->setCheckable(true);
    action(Cmd::ViewStatusBar)->setCheckable(true);

    QMenu *registers = menuBar()->addMenu(QStringLiteral("Čís&elníky"));
    add(registers, Cmd::NewClient, "&Nový klient...", "Zapíše nového klienta");
    add(registers, Cmd::EditClient, "&Přejmenování klienta...", "Opraví údaje o klientovi");
    add(registers, Cmd::RemoveClient, "&Odstranění klienta...", "Odstraní klienta z evidence");
    registers->addSeparator();
    add(registers, Cmd::NewCategory, "No&vá kategorie...", "Založí novou kategorii knih");
    add(registers, Cmd::RenameCategory, "Př&ejmenování kategorie...", "Opraví název kategorie knih");
    add(registers, Cmd::RemoveCategory, "Odst&ranění kategorie...", "Odstraní kategorii knih");
    add(registers, Cmd::MoveBetweenCategories, "Pře&sun mezi kategoriemi...",
        "Přesune knihy mezi kategoriemi");
    registers->addSeparator();
    add(registers, Cmd::ClientList, "Sezn&am klientů", "Zobrazí seznam klientů");
    add(registers, Cmd::CategoryList, "Seznam &kategorií", "Zobrazí seznam kategorií knih");

    QMenu *nav = menuBar()->addMenu(QStringLiteral("Na&vigace"));
    // The keys of browsing: "vpřed" goes toward the first record, hence Page Up. Left and right
    // stay with the sheet's tabs, Ctrl+Page Up/Down with the sheet's pages.
    add(nav, Cmd::NavFirst, "Skok na &začátek", "Přejde na první záznam\nPrvní záznam",
        QKeySequence(Qt::CTRL | Qt::Key_Home));
    add(nav, Cmd::NavLast, "Skok na &konec", "Přejde na poslední záznam\nPoslední záznam",
        QKeySequence(Qt::CTRL | Qt::Key_End));
    add(nav, Cmd::NavPageForward, "O &stránku vpřed", "Přejde o 40 záznamů vpřed\nPředchozí stránka",
        QKeySequence(Qt::Key_PageUp));
    add(nav, Cmd::NavPageBack, "O stránku vz&ad", "Přejde o 40 záznamů vzad\nDalší stránka",
        QKeySequence(Qt::Key_PageDown));
    add(nav, Cmd::NavPrevious, "&Předchozí záznam", "Přejde na předchozí záznam\nPředchozí záznam",
        QKeySequence(Qt::CTRL | Qt::Key_Up));
    add(nav, Cmd::NavNext, "&Další záznam", "Přejde na další záznam\nDalší záznam",
        QKeySequence(Qt::CTRL | Qt::Key_Down));

    QMenu *help = menuBar()->addMenu(QStringLiteral("&Nápověda"));
    add(help, Cmd::HelpIndex, "&Nápověda pro FOLIVO 2.0", "Otevře nápovědu k programu");
    add(help, Cmd::HelpTopics, "&Seznam témat pro FOLIVO 2.0", "Otevře seznam témat nápovědy");
    help->addSeparator();
    add(help, Cmd::About, "&O této aplikaci...", "Zobrazí informace o programu, verzi a uživateli");

    // A tool-tip shows the text after the line break, the status bar the text before it.
    for (QAction *a : std::as_const(m_actions)) {
        const QString tip = a->statusTip();
        const qsizetype nl = tip.indexOf(QLatin1Char('\n'));
        if (nl >= 0) {
            a->setStatusTip(tip.left(nl));
            a->setToolTip(tip.mid(nl + 1));
        }
    }
}

void CMainFrame::buildToolBar()
{
    m_toolBar = addToolBar(QStringLiteral("Panel nástrojů"));
    m_toolBar->setObjectName(QStringLiteral("mainToolBar"));
    m_toolBar->setMovable(true);
    m_toolBar->setFloatable(true);
    m_toolBar->setAllowedAreas(Qt::AllToolBarAreas);
}

void CMainFrame::setHandler(int command, std::function<void()> run, std::function<bool()> enabled)
{
    m_handlers.insert(command, Handler{std::move(run), std::move(enabled)});
    updateCommandStates();
}

void CMainFrame::runCommand(int command)
{
    updateCommandStates();
    QAction *a = action(command);
    if (a && !a->isEnabled())
        return;
    if (CFrameView *v = activeView(); v && v->runCommand(command)) {
        updateCommandStates(); // the next key sees where the command went (the first record, ...)
        return;
    }
    const auto it = m_handlers.constFind(command);
    if (it != m_handlers.constEnd() && it->run)
        it->run();
}

void CMainFrame::updateCommandStates()
{
    CFrameView *v = activeView();
    for (auto it = m_actions.constBegin(); it != m_actions.constEnd(); ++it) {
        bool enabled = false;
        const std::optional<bool> byView = v ? v->commandEnabled(it.key()) : std::nullopt;
        if (byView) {
            enabled = *byView;
        } else if (const auto h = m_handlers.constFind(it.key()); h != m_handlers.constEnd()) {
            enabled = !h->enabled || h->enabled();
        }
        if (it.value()->isEnabled() != enabled)
            it.value()->setEnabled(enabled);
    }
}

void CMainFrame::setViewFactory(int target, const std::function<CFrameView *(QWidget *)> &factory)
{
    m_viewFactories.insert(target, factory);
}

CFrameView *CMainFrame::view(int target) const
{
    return m_views.value(target, nullptr);
}

CFrameView *CMainFrame::activeView() const
{
    return qobject_cast<CFrameView *>(m_stack->currentWidget());
}

int CMainFrame::activeTarget() const
{
    const CFrameView *v = activeView();
    return v ? v->viewTarget() : 0;
}

void CMainFrame::destroyView(int target)
{
    if (CFrameView *v = m_views.take(target)) {
        m_stack->removeWidget(v);
        v->deleteLater();
    }
}

bool CMainFrame::switchView(const ViewSwitchRequest &request)
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    CFrameView *previous = activeView();
    CFrameView *target = view(request.target);
    if (!target) {
        const auto factory = m_viewFactories.value(request.target);
        if (!factory) {
            QApplication::restoreOverrideCursor();
            return false;
        }
        target = factory(m_stack);
        m_views.insert(request.target, target);
        m_stack->addWidget(target);
    }
    if (!target->enterView(request)) {
        QApplication::restoreOverrideCursor();
        // A search view that cannot be prepared is dropped and the entry view shown instead.
        if (request.target == ViewSwitchRequest::SearchView) {
            destroyView(request.target);
            switchView(ViewSwitchRequest{});
        }
        return false;
    }
    const bool leavingReport = previous && previous->viewTarget() == ViewSwitchRequest::ReportView &&
                               request.target != ViewSwitchRequest::ReportView;
    const bool enteringReport = request.target == ViewSwitchRequest::ReportView &&
                                (!previous || previous->viewTarget() != ViewSwitchRequest::ReportView);
    if (previous && previous != target)
        previous->leaveView();
    if (enteringReport) {
        // The report view may take the whole screen; leaving it restores the state it found.
        m_maximisedBeforeReport = isMaximized();
        if (AppState::instance().settings.reportSize == SettingsRecord::ReportMaximised)
            showMaximized();
    } else if (leavingReport) {
        if (m_maximisedBeforeReport)
            showMaximized();
        else
            showNormal();
    }
    m_stack->setCurrentWidget(target);
    QApplication::restoreOverrideCursor();
    updateCommandStates();
    Q_EMIT viewSwitched(request.target);
    return true;
}
