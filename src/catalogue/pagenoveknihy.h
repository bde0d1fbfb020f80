#pragma once

#include "circulation/entrypage.h"

class CPageNoveknihy final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageNoveknihy(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Nové knihy"); }
};
