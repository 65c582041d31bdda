#include "platform/freedesktop/apps/X11WindowAccess.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"

namespace cobblet {

bool X11WindowAccess::isTrusted(bool)
{
    return true;
}

void X11WindowAccess::unminimizeWindows(const RunningApplication &application)
{
    m_running.unminimize(application);
}

void X11WindowAccess::reopen(const RunningApplication &application)
{
    const auto entry = m_workspace.installed().entry(application.bundleIdentifier);
    if (!entry)
        return;
    if (entry.value().dBusActivatable && m_workspace.launcher().hasBus())
        m_workspace.launcher().activate(application.bundleIdentifier);
    else if (m_running.lacksWindows(application))
        m_workspace.launcher().launch(entry.value(), {}, {});
}

} // namespace cobblet
