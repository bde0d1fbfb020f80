#pragma once

#include "app/frameview.h"

// The advanced search view: a form of criteria over the catalogue.
class CVyhledavani final : public CFrameView
{
    Q_OBJECT

public:
    explicit CVyhledavani(QWidget *parent = nullptr);
    int viewTarget() const override { return ViewSwitchRequest::SearchView; }
    int helpTopic() const override { return 3; }
};
