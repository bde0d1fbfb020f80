#pragma once

#include "app/viewswitch.h"

#include <QWidget>

#include <optional>

// One of the three views the main frame shows (report, entry, search).
class CFrameView : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;

    virtual int viewTarget() const = 0;
    // Called each time the frame shows this view for a request. Returning false refuses the
    // switch (the search view does when its category list cannot be filled).
    virtual bool enterView(const ViewSwitchRequest &request)
    {
        Q_UNUSED(request);
        return true;
    }
    // Called when another view is about to be shown.
    virtual void leaveView() {}

    // A view may answer a command's enabled state itself (the report view disables the fixed
    // report it shows); nullopt leaves it to the command's handler.
    virtual std::optional<bool> commandEnabled(int command) const
    {
        Q_UNUSED(command);
        return std::nullopt;
    }
    // A view may handle a command itself (navigation, edit commands); returns true when it did.
    virtual bool runCommand(int command)
    {
        Q_UNUSED(command);
        return false;
    }
    virtual int helpTopic() const = 0;
};
