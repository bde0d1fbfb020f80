#pragma once

#include "circulation/entrypage.h"

class CPageVypujcky final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageVypujcky(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Výpůjčky"); }
};
