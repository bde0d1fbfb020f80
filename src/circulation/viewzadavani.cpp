#include "circulation/viewzadavani.h"

#include "app/appstate.h"
#include "app/commands.h"
#include "app/rvedit.h"
#include "catalogue/pagenoveknihy.h"
#include "catalogue/pageopravy.h"
#include "catalogue/pageprohlizeni.h"
#include "circulation/entrypage.h"
#include "circulation/pagevraceni.h"
#include "circulation/pagevypujcky.h"
#include "circulation/pagevyrazeni.h"

#include <QApplication>
#include <QResizeEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

CViewZadavani::CViewZadavani(QWidget *parent) : CFrameView(parent)
{
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Button);
    m_scroll = new QScrollArea(this);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setWidgetResizable(false);
    m_scroll->setBackgroundRole(QPalette::Button);
    m_canvas = new QWidget;
    m_canvas->setBackgroundRole(QPalette::Button);
    m_sheet = new CSheet(m_canvas);
    const QList<CEntryPage *> pages = {new CPageVypujcky, new CPageVraceni, new CPageNoveknihy,
                                       new CPageVyrazeni, new CPageOpravy,  new CPageProhlizeni};
    for (CEntryPage *p : pages) {
        m_sheet->addTab(p, p->tabTitle());
        connect(p, &CEntryPage::protocolRequested, this, &CViewZadavani::protocolRequested);
    }
    m_sheet->adjustSize();
    m_scroll->setWidget(m_canvas);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_scroll);
    connect(m_sheet, &QTabWidget::currentChanged, this, &CViewZadavani::pageChanged);
    setFocusProxy(m_sheet);
    // The viewport gets its final size after the view's own resize (scroll bars come and go), and
    // the sheet grows when a page lays itself out anew: both move the sheet again.
    m_scroll->viewport()->installEventFilter(this);
    m_sheet->installEventFilter(this);
}

bool CViewZadavani::eventFilter(QObject *watched, QEvent *event)
{
    if ((watched == m_scroll->viewport() && event->type() == QEvent::Resize) ||
        (watched == m_sheet && event->type() == QEvent::LayoutRequest))
        placeSheet();
    return CFrameView::eventFilter(watched, event);
}

int CViewZadavani::activeIndex() const
{
    return m_sheet->currentIndex();
}

CEntryPage *CViewZadavani::page(int index) const
{
    return qobject_cast<CEntryPage *>(m_sheet->widget(index));
}

CEntryPage *CViewZadavani::activePage() const
{
    return page(activeIndex());
}

void CViewZadavani::setActivePage(int index)
{
    m_sheet->setCurrentIndex(index);
}

bool CViewZadavani::enterView(const ViewSwitchRequest &request)
{
    Q_UNUSED(request);
    if (m_current < 0) {
        m_current = activeIndex();
        if (CEntryPage *p = activePage())
            p->onActivate();
    }
    return true;
}

void CViewZadavani::leaveView() {}

void CViewZadavani::pageChanged(int index)
{
    if (CEntryPage *old = page(m_current); old && m_current != index)
        old->onDeactivate();
    m_current = index;
    if (CEntryPage *p = page(index))
        p->onActivate();
}

void CViewZadavani::settingsChanged()
{
    if (activeIndex() == Vypujcky)
        if (CEntryPage *p = activePage())
            p->settingsChanged();
}

void CViewZadavani::categoriesChanged()
{
    if (CEntryPage *p = activePage())
        p->categoriesChanged();
}

std::optional<bool> CViewZadavani::commandEnabled(int command) const
{
    switch (command) {
    case Cmd::NavFirst:
    case Cmd::NavLast:
    case Cmd::NavPageForward:
    case Cmd::NavPageBack:
    case Cmd::NavPrevious:
    case Cmd::NavNext:
        // Only the browse page walks through records.
        return activeIndex() == Prohlizeni && activePage() && activePage()->canNavigate(command);
    case Cmd::EditHistory: {
        if (activeIndex() != Noveknihy && activeIndex() != Opravy)
            return false;
        // Any line edit of the page may have a slot, typed or not.
        const auto *edit = qobject_cast<const QLineEdit *>(QApplication::focusWidget());
        if (!edit || !edit->isEnabled() || !activePage() || !isAncestorOf(edit))
            return false;
        const int slot = activePage()->historySlot(edit);
        return slot > 0 && !AppState::instance().history.recall(slot).isEmpty();
    }
    default:
        return std::nullopt;
    }
}

bool CViewZadavani::runCommand(int command)
{
    switch (command) {
    case Cmd::NavFirst:
    case Cmd::NavLast:
    case Cmd::NavPageForward:
    case Cmd::NavPageBack:
    case Cmd::NavPrevious:
    case Cmd::NavNext:
        if (activeIndex() == Prohlizeni && activePage())
            activePage()->navigate(command);
        return true;
    case Cmd::EditHistory: {
        auto *edit = qobject_cast<QLineEdit *>(QApplication::focusWidget());
        CEntryPage *p = activePage();
        // Only the new-books and corrections pages keep histories of their fields.
        if (activeIndex() != Noveknihy && activeIndex() != Opravy)
            return true;
        if (!edit || !p || !isAncestorOf(edit) || !edit->isEnabled())
            return true;
        if (auto *typed = qobject_cast<CRvEdit *>(edit); typed && p->insertHistory(typed))
            return true;
        const int slot = p->historySlot(edit);
        if (slot > 0)
            edit->setText(AppState::instance().history.recall(slot));
        return true;
    }
    default:
        return false;
    }
}

int CViewZadavani::helpTopic() const
{
    // The entry view leaves F1 to the frame, which opens the help of the program; the pages'
    // own topic is reached from the help's list of topics.
    return HelpTopic::Program;
}

void CViewZadavani::resizeEvent(QResizeEvent *event)
{
    CFrameView::resizeEvent(event);
    placeSheet();
}

void CViewZadavani::focusInEvent(QFocusEvent *event)
{
    CFrameView::focusInEvent(event);
    m_sheet->setFocus();
}

// The sheet keeps its size and is centred; a view smaller than the sheet scrolls, with the sheet
// 4 pixels from the left and 2 from the top.
void CViewZadavani::placeSheet()
{
    // The sheet keeps its natural size where the view has room for it. In a smaller view it first
    // gives up the spare room of its lists, down to its least size; only then does the view scroll.
    const QSize room = m_scroll->size();
    const QSize least = m_sheet->minimumSizeHint();
    const QSize natural = m_sheet->sizeHint().expandedTo(least);
    const QSize sheet(qBound(least.width(), room.width() - 8, natural.width()),
                      qBound(least.height(), room.height() - 4, natural.height()));
    m_sheet->resize(sheet);
    const QSize view = m_scroll->viewport()->size();
    const int x = view.width() > sheet.width() + 8 ? (view.width() - sheet.width()) / 2 : 4;
    const int y = view.height() > sheet.height() + 4 ? (view.height() - sheet.height()) / 2 : 2;
    m_canvas->resize(qMax(view.width(), sheet.width() + 8), qMax(view.height(), sheet.height() + 4));
    m_sheet->move(x, y);
}
