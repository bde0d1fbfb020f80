#include "registers/clientdialogs.h"

// The register's dialogs are built in their own change; until then the picker offers nothing.
std::optional<QString> pickClient(QWidget *parent)
{
    Q_UNUSED(parent);
    return std::nullopt;
}
