#include "data/categories.h"

#include "data/recordsets.h"
#include "data/statements.h"

QList<CategoryItem> visibleCategories()
{
    QList<CategoryItem> items;
    CSetKategorie set;
    set.open(QString::fromLatin1(Stmt::KategorieVisible));
    for (; !set.isEOF(); set.moveNext())
        items << CategoryItem{set.m_ID_KATEGORIE_KATEGORIE, set.m_NAZEV};
    return items;
}

std::optional<qint32> visibleCategoryId(const QString &name)
{
    const qint32 id = CSetKategorie::findByName(name);
    if (id < 0)
        return std::nullopt;
    return id;
}
