#pragma once

#include <QList>
#include <QString>

#include <optional>

// A category as the combos and lists offer it: its name, carrying its identifier.
struct CategoryItem
{
    qint32 id = -1;
    QString name;
};

// The categories in use (not removed), in the order the database gives them; every combo and
// list of categories of the program is filled from here. Throws DbError.
QList<CategoryItem> visibleCategories();

// The identifier of the category in use with this name (compared as the program compares names),
// nullopt when no category in use has it or the database failed.
std::optional<qint32> visibleCategoryId(const QString &name);
