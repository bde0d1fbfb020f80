#include "reports/sestavaview.h"

#include "app/commands.h"
#include "app/mainframe.h"
#include "app/messages.h"
#include "catalogue/bookdialogs.h"
#include "circulation/viewzadavani.h"
#include "reports/reportfiles.h"
#include "reports/reportmodel.h"
#include "reports/reportprint.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QTableView>
#include <QVBoxLayout>

namespace {

QLabel *bannerLine(QWidget *parent)
{
    auto *label = new QLabel(parent);
    label->setAlignment(Qt::AlignCenter);
    label->setAutoFillBackground(true);
    // Explicit, or the line would take the role of whatever it is shown in.
    label->setBackgroundRole(QPalette::Window);
    label->setForegroundRole(QPalette::WindowText);
    QPalette pal = label->palette();
    pal.setColor(QPalette::Window, Qt::blue);
    pal.setColor(QPalette::WindowText, Qt::yellow);
    label->setPalette(pal);
    QFont f = label->font();
    f.setBold(true);
    label->setFont(f);
    label->setContentsMargins(4, 2, 4, 2);
    label->setTextInteractionFlags(Qt::NoTextInteraction);
    return label;
}

} // namespace

CSestavaView::CSestavaView(QWidget *parent) : CFrameView(parent)
{
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Window);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, QColor(255, 255, 200));
    setPalette(pal);

    m_pTitle = bannerLine(this);
    m_pSummary = bannerLine(this);
    m_model = new CReportModel(this);
    m_pList = new QTableView(this);
    m_pList->setObjectName(QStringLiteral("reportList"));
    m_pList->setModel(m_model);
    m_pList->setShowGrid(true);
    m_pList->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_pList->setSelectionMode(QAbstractItemView::SingleSelection);
    m_pList->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_pList->setWordWrap(false);
    m_pList->setAlternatingRowColors(true);
    m_pList->verticalHeader()->hide();
    // Every row has the same height, so 100,000 rows cost no measuring.
    m_pList->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_pList->verticalHeader()->setDefaultSectionSize(m_pList->fontMetrics().height() + 6);
    m_pList->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    m_pList->horizontalHeader()->setSectionsClickable(true);
    m_pList->horizontalHeader()->setHighlightSections(false);
    m_pList->horizontalHeader()->setStretchLastSection(false);
    m_pList->installEventFilter(this);
    // The price column fills the list's inner width, which changes when the scroll bar comes or goes.
    m_pList->viewport()->installEventFilter(this);
    connect(m_pList->horizontalHeader(), &QHeaderView::sectionClicked, this,
            [this](int column) { m_model->sort(column); });
    connect(m_pList, &QTableView::doubleClicked, this, [this] { openSelectedBook(); });

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(m_pTitle);
    auto *middle = new QVBoxLayout;
    middle->setContentsMargins(10, 0, 10, 0);
    middle->addWidget(m_pList, 1);
    layout->addLayout(middle, 1);
    layout->addWidget(m_pSummary);
    applyColumnWidths();
}

bool CSestavaView::enterView(const ViewSwitchRequest &request)
{
    m_strSql = request.sql;
    FillReport();
    setTitle(request.title);
    m_nReportKind = request.reportKind;
    return true;
}

void CSestavaView::leaveView()
{
    clearList();
}

void CSestavaView::clearList()
{
    m_model->clear();
}

void CSestavaView::FillReport()
{
    if (m_strSql.isEmpty())
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    clearList();
    ReportResult result = runReport(m_strSql);
    QApplication::restoreOverrideCursor();
    if (result.message != 0) {
        showMessage(result.message);
        clearList();
        setSummary(QString());
        return;
    }
    m_model->setRows(std::move(result.rows));
    setSummary(result.summary);
    if (m_model->rowCount() > 0) {
        selectIndex(0);
        m_pList->setFocus();
    }
}

void CSestavaView::refreshAfterChange(const QString &notice)
{
    clearList();
    RvMessageBox(QString(), notice, MessageKind::Information, ButtonsOk);
    ViewSwitchRequest request;
    request.target = ViewSwitchRequest::ReportView;
    request.sql = m_strSql;
    request.title = title();
    request.reportKind = m_nReportKind;
    CMainFrame *frame = CMainFrame::instance();
    if (frame) {
        frame->switchView(request);
        if (auto *entry = qobject_cast<CViewZadavani *>(frame->view(ViewSwitchRequest::EntryView)))
            entry->setActivePage(CViewZadavani::Vypujcky);
    } else {
        enterView(request);
    }
}

QString CSestavaView::title() const
{
    return m_pTitle->text();
}

void CSestavaView::setTitle(const QString &title)
{
    m_pTitle->setText(title);
}

QString CSestavaView::summary() const
{
    return m_pSummary->text();
}

void CSestavaView::setSummary(const QString &summary)
{
    m_pSummary->setText(summary);
}

int CSestavaView::selectedIndex() const
{
    const QModelIndexList rows = m_pList->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void CSestavaView::selectIndex(int index)
{
    if (index < 0 || index >= m_model->rowCount())
        return;
    const QModelIndex target = m_model->index(index, 0);
    m_pList->selectionModel()->setCurrentIndex(target, QItemSelectionModel::ClearAndSelect |
                                                           QItemSelectionModel::Rows);
    m_pList->scrollTo(target);
}

std::optional<bool> CSestavaView::commandEnabled(int command) const
{
    const int selected = selectedIndex();
    const int last = m_model->rowCount() - 1;
    switch (command) {
    case Cmd::ReportPresent:
        return m_nReportKind != ReportKind::Present;
    case Cmd::ReportLent:
        return m_nReportKind != ReportKind::Lent;
    case Cmd::ReportPresentAndLent:
        return m_nReportKind != ReportKind::PresentAndLent;
    case Cmd::ReportDiscarded:
        return m_nReportKind != ReportKind::Discarded;
    case Cmd::NavFirst:
    case Cmd::NavPrevious:
    case Cmd::NavPageForward:
        return selected >= 1;
    case Cmd::NavLast:
    case Cmd::NavNext:
    case Cmd::NavPageBack:
        return selected >= 0 && selected < last;
    default:
        return std::nullopt;
    }
}

bool CSestavaView::runCommand(int command)
{
    const int selected = selectedIndex();
    const int count = m_model->rowCount();
    switch (command) {
    case Cmd::NavFirst:
        if (count > 0)
            selectIndex(0);
        break;
    case Cmd::NavLast:
        if (count > 0)
            selectIndex(count - 1);
        break;
    case Cmd::NavPrevious:
        if (selected >= 0 && selected - 1 >= 0)
            selectIndex(selected - 1);
        break;
    case Cmd::NavNext:
        if (selected >= 0 && selected + 1 < count)
            selectIndex(selected + 1);
        break;
    case Cmd::NavPageForward: // towards the top of the list
        if (selected >= 0)
            selectIndex(std::max(selected - PageStep, 0));
        break;
    case Cmd::NavPageBack:
        if (selected >= 0)
            selectIndex(std::min(selected + PageStep, count - 1));
        break;
    default:
        return false;
    }
    m_pList->setFocus();
    return true;
}

void CSestavaView::openSelectedBook()
{
    const int selected = selectedIndex();
    if (selected < 0)
        return;
    showBookDetails(this, m_model->row(selected).bookId);
    m_pList->setFocus();
}

bool CSestavaView::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_pList->viewport() && event->type() == QEvent::Resize)
        applyColumnWidths();
    if (watched == m_pList && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            openSelectedBook();
            return true;
        }
    }
    return CFrameView::eventFilter(watched, event);
}

void CSestavaView::resizeEvent(QResizeEvent *event)
{
    CFrameView::resizeEvent(event);
    applyColumnWidths();
}

void CSestavaView::applyColumnWidths()
{
    static constexpr int Base[] = {67, 244, 140, 140, 60};
    QHeaderView *header = m_pList->horizontalHeader();
    if (width() < 689) {
        for (int c = 0; c < 5; ++c)
            header->resizeSection(c, Base[c]);
        return;
    }
    const int w = width() - 20;
    int used = 0;
    for (int c = 0; c < 4; ++c) {
        const int section = w * Base[c] / 668;
        header->resizeSection(c, section);
        used += section;
    }
    // The price column takes what remains of the list's inner width.
    header->resizeSection(4, std::max(Base[4], m_pList->viewport()->width() - used));
}

void CSestavaView::exportHtml()
{
    exportReportHtml(this, title(), m_model->rows(), summary());
}

void CSestavaView::printReport()
{
    printReportRows(this, title(), m_model->rows(), summary(), false);
}

void CSestavaView::previewReport()
{
    printReportRows(this, title(), m_model->rows(), summary(), true);
}
