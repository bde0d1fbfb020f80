#include "catalogue/bookdialogs.h"

// The catalogue's dialogs are built in their own change; until then the pickers offer nothing.
std::optional<PickedBook> pickBook(QWidget *parent, const QString &heading, const QString &jetSql)
{
    Q_UNUSED(parent);
    Q_UNUSED(heading);
    Q_UNUSED(jetSql);
    return std::nullopt;
}

void showBookDetails(QWidget *parent, qint32 bookId)
{
    Q_UNUSED(parent);
    Q_UNUSED(bookId);
}
