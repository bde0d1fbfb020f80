#pragma once

#include <QString>

class QAbstractItemView;
class QTableView;

// The width a column of the view needs to show its header and the sample value whole, in the
// view's fonts and with the margins its style leaves around a cell's text.
int fittingColumnWidth(const QAbstractItemView *view, const QString &header, const QString &sample);
// The width a list needs to show all its columns side by side, its frame and its vertical
// scroll bar included, so that it never scrolls sideways.
int allColumnsWidth(const QTableView *view);
