#pragma once

// Helpers for tests that open windows under the offscreen platform.
#include <QDialog>
#include <QLineEdit>

#include <functional>

class QTableView;

// Runs act on the next modal dialog once it is shown (one of class `type` when given), then
// rejects the dialog if act left it open. Gives up after about five seconds without one.
void onNextModal(const std::function<void(QDialog *)> &act, const QMetaObject *type = nullptr);

template <typename D> void onNextModal(std::function<void(D *)> act)
{
    onNextModal([act](QDialog *d) { act(static_cast<D *>(d)); }, &D::staticMetaObject);
}

// The named child of w; a missing one ends the test program (the page lost a field).
template <typename T> T *child(QWidget *w, const char *name)
{
    T *c = w->findChild<T *>(QString::fromLatin1(name));
    if (!c)
        qFatal("no child %s", name);
    return c;
}
inline QString text(QWidget *w, const char *name)
{
    return child<QLineEdit>(w, name)->text();
}
inline void type(QWidget *w, const char *name, const QString &value)
{
    child<QLineEdit>(w, name)->setText(value);
}

// Types a book's code into a circulation page (or any page with a "bookCode" field) and looks
// it up, as Enter in the field does; lookUpAndAdd then presses "Přidat".
template <typename Page> void lookUp(Page &page, const QString &code)
{
    type(&page, "bookCode", code);
    page.lookUpBook();
}
template <typename Page> void lookUpAndAdd(Page &page, const QString &code)
{
    lookUp(page, code);
    page.addBook();
}

// The codes of a circulation page's prepared list from the top row down.
template <typename Model> QStringList codes(const Model *list)
{
    QStringList out;
    for (const auto &item : list->items())
        out << item.code;
    return out;
}

// Shows w and waits until it is on the screen (exposed) or the active window (showActive).
bool exposed(QWidget *w);
inline bool exposed(QWidget &w)
{
    return exposed(&w);
}
bool showActive(QWidget *w);

// The object name of the focus widget of w's window.
QString focused(QWidget *w);

// Selects the given rows of a list, nothing else.
void selectRows(QTableView *view, const QList<int> &rows);

// Shows w and gives it the focus; false if it does not get it within the usual wait.
bool showFocused(QWidget *w);
