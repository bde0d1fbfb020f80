#include "app/columnfit.h"

#include <QAbstractItemView>
#include <QHeaderView>
#include <QStyle>
#include <QTableView>

namespace {

// The style puts its focus-frame margin and one pixel on each side of a cell's text.
int textMargins(const QAbstractItemView *view)
{
    return 2 * (view->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, view) + 1) + 1;
}

} // namespace

int cellTextRoom(const QAbstractItemView *view, int columnWidth)
{
    return columnWidth - textMargins(view);
}

int fittingColumnWidth(const QAbstractItemView *view, const QString &header, const QString &sample)
{
    int width = view->fontMetrics().horizontalAdvance(sample) + textMargins(view);
    if (const auto *table = qobject_cast<const QTableView *>(view)) {
        const QHeaderView *h = table->horizontalHeader();
        // A header also shows the sort indicator's room and its own margins.
        const int headerMargins = 2 * h->style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, h) + 2;
        width = std::max(width, h->fontMetrics().horizontalAdvance(header) + headerMargins);
    }
    return width;
}
