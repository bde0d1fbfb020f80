#pragma once

#include <QString>

#include <optional>

class QWidget;

// The client picker "Seznam klientů" (clients in use, by surname): returns the chosen client's
// code, or nothing when cancelled.
std::optional<QString> pickClient(QWidget *parent);
