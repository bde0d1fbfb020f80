#pragma once

#include <QString>

#include <optional>

class QWidget;

struct PickedBook
{
    QString code;
    qint32 id = -1;
};

// The book list picker "Seznam knih": shows the books of the caller's statement (in the reverse
// of its order) under the heading, and returns the chosen book, or nothing when cancelled.
std::optional<PickedBook> pickBook(QWidget *parent, const QString &heading, const QString &jetSql);

// The book details dialog "Detaily o knize" for one book.
void showBookDetails(QWidget *parent, qint32 bookId);
