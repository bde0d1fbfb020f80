#pragma once

#include <QStringList>

// Every row of the six tables as text, table by table in key order: two snapshots are equal
// exactly when no row was added, removed or changed.
QStringList tableSnapshot();

// The first lines where two snapshots differ, for a failure message.
QString snapshotDifference(const QStringList &before, const QStringList &after);
