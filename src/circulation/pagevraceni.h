#pragma once

#include "circulation/entrypage.h"

class CPageVraceni final : public CEntryPage
{
    Q_OBJECT

public:
    explicit CPageVraceni(QWidget *parent = nullptr);
    QString tabTitle() const override { return QStringLiteral("Vrácení"); }
};
