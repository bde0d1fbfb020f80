#pragma once

// Helpers for tests that open windows under the offscreen platform.
#include <QDialog>

#include <functional>

// Runs act on the next modal dialog once it is shown (one of class `type` when given), then
// rejects the dialog if act left it open. Gives up after about five seconds without one.
void onNextModal(std::function<void(QDialog *)> act, const QMetaObject *type = nullptr);

template <typename D> void onNextModal(std::function<void(D *)> act)
{
    onNextModal([act](QDialog *d) { act(static_cast<D *>(d)); }, &D::staticMetaObject);
}
