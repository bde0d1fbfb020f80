#include "registers/registerwidgets.h"

#include "data/czechorder.h"
#include "registers/registercore.h"

#include <QApplication>
#include <QComboBox>
#include <QHeaderView>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyle>
#include <QTableView>

#include <algorithm>

CRegisterListModel::CRegisterListModel(const QStringList &headers, QObject *parent)
    : QAbstractTableModel(parent), m_headers(headers)
{}

int CRegisterListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int CRegisterListModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_headers.size());
}

QVariant CRegisterListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &r = m_rows.at(index.row());
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole)
        return r.cells.value(index.column());
    if (role == IdRole)
        return r.id;
    return {};
}

QVariant CRegisterListModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 &&
        section < m_headers.size())
        return m_headers.at(section);
    return {};
}

void CRegisterListModel::clear()
{
    beginResetModel();
    m_rows.clear();
    endResetModel();
}

void CRegisterListModel::insertAtTop(const Row &row)
{
    beginInsertRows({}, 0, 0);
    m_rows.prepend(row);
    endInsertRows();
}

void CRegisterListModel::setRows(const QList<Row> &rows)
{
    beginResetModel();
    m_rows = rows;
    endResetModel();
}

QList<CRegisterListModel::Row> CRegisterListModel::takeRows(const QList<int> &rowNumbers)
{
    QList<int> sorted = rowNumbers;
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    QList<Row> taken;
    // From the last to the first, so the row numbers stay valid; the result keeps list order.
    for (auto it = sorted.crbegin(); it != sorted.crend(); ++it) {
        beginRemoveRows({}, *it, *it);
        taken.prepend(m_rows.takeAt(*it));
        endRemoveRows();
    }
    return taken;
}

void setUpRegisterList(QTableView *view, const QList<int> &minimumWidths, bool multiSelection)
{
    view->setShowGrid(true);
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(multiSelection ? QAbstractItemView::ExtendedSelection
                                          : QAbstractItemView::SingleSelection);
    view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    view->setTabKeyNavigation(false);
    view->setWordWrap(false);
    view->verticalHeader()->hide();
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 6);
    view->horizontalHeader()->setHighlightSections(false);
    view->horizontalHeader()->setStretchLastSection(true);
    int total = 0;
    for (int c = 0; c < minimumWidths.size(); ++c) {
        view->setColumnWidth(c, minimumWidths.at(c));
        total += minimumWidths.at(c);
    }
    view->setMinimumWidth(total + view->style()->pixelMetric(QStyle::PM_ScrollBarExtent) + 4);
}

void fillCategoryCombo(QComboBox *combo)
{
    QList<Registers::CategoryRow> rows = visibleCategories();
    std::stable_sort(rows.begin(), rows.end(),
                     [](const auto &a, const auto &b) { return czechOrder(a.name, b.name) < 0; });
    const QSignalBlocker block(combo);
    combo->clear();
    for (const Registers::CategoryRow &r : rows)
        combo->addItem(r.name, r.id);
    combo->setCurrentIndex(-1);
}

QPushButton *makeAcceptButton(const QString &text, QWidget *parent)
{
    auto *b = new QPushButton(text, parent);
    b->setIcon(b->style()->standardIcon(QStyle::SP_DialogOkButton));
    return b;
}

QPushButton *makeCancelButton(const QString &text, QWidget *parent)
{
    auto *b = new QPushButton(text, parent);
    b->setIcon(b->style()->standardIcon(QStyle::SP_DialogCancelButton));
    return b;
}

WaitCursor::WaitCursor()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
}

WaitCursor::~WaitCursor()
{
    QApplication::restoreOverrideCursor();
}
