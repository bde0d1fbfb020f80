#pragma once

#include "circulation/entrypage.h"

class CPageProhlizeni final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageProhlizeni(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Prohlížení"); }
};
