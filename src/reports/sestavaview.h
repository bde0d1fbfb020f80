#pragma once

#include "app/frameview.h"

// The report view: the list of books of one report with its title and summary lines.
class CSestavaView final : public CFrameView
{
    Q_OBJECT

public:
    explicit CSestavaView(QWidget *parent = nullptr);
    int viewTarget() const override { return ViewSwitchRequest::ReportView; }
    int helpTopic() const override { return 5; }
};
