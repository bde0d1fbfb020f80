#include "app/columnfit.h"

#include <QAbstractItemView>
#include <QHeaderView>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOption>
#include <QTableView>

namespace {

// The style puts its focus-frame margin and one pixel on each side of a cell's text.
int textMargins(const QAbstractItemView *view)
{
    return 2 * (view->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, view) + 1) + 1;
}

} // namespace

int fittingColumnWidth(const QAbstractItemView *view, const QString &header, const QString &sample)
{
    int width = view->fontMetrics().horizontalAdvance(sample) + textMargins(view);
    if (const auto *table = qobject_cast<const QTableView *>(view)) {
        const QHeaderView *h = table->horizontalHeader();
        // The header section as the style draws it once the list is sorted by the column: its
        // margins, the text and the sort indicator's room, so that a click on it elides nothing.
        QStyleOptionHeader option;
        option.initFrom(h);
        option.orientation = Qt::Horizontal;
        option.text = header;
        option.sortIndicator = QStyleOptionHeader::SortUp;
        const QSize section = h->style()->sizeFromContents(QStyle::CT_HeaderSection, &option, QSize(), h);
        width = std::max(width, section.width());
    }
    return width;
}

int allColumnsWidth(const QTableView *view)
{
    int width = 2 * view->frameWidth() + view->verticalScrollBar()->sizeHint().width();
    for (int c = 0; c < view->horizontalHeader()->count(); ++c)
        width += view->columnWidth(c);
    return width;
}
