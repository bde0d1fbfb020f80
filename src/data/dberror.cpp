#include "data/dberror.h"

Q_LOGGING_CATEGORY(lcDb, "folivo.db")

void logDbError(const DbError &error)
{
    if (error.statement().isEmpty())
        qCWarning(lcDb).noquote() << error.detail();
    else
        qCWarning(lcDb).noquote() << error.detail() << "in" << error.statement();
}
