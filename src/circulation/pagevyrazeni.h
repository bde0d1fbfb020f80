#pragma once

#include "circulation/entrypage.h"

class CPageVyrazeni final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageVyrazeni(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Vyřazení"); }
};
