#pragma once

#include "circulation/entrypage.h"

class CPageOpravy final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageOpravy(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Opravy"); }
};
