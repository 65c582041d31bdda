#pragma once

#include "platform/WindowAccess.h"

namespace cobblet {

class FreedesktopWorkspace;
class X11RunningApplications;

/// Reaching into other applications' windows; a desktop on X asks nobody for leave.
class X11WindowAccess : public WindowAccess {
public:
    X11WindowAccess(X11RunningApplications &running, FreedesktopWorkspace &workspace)
        : m_running(running), m_workspace(workspace)
    {
    }

    Availability availability() const override;
    bool isTrusted(bool) override { return true; }
    void unminimizeWindows(const RunningApplication &application) override;
    void reopen(const RunningApplication &application) override;

private:
    X11RunningApplications &m_running;
    FreedesktopWorkspace &m_workspace;
};

} // namespace cobblet
