#include "platform/freedesktop/apps/X11WindowAccess.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"

namespace cobblet {

Availability X11WindowAccess::availability() const
{
    if (m_running.seesWindows())
        return Availability::works();
    return Availability::unavailable(QStringLiteral("Without an X display the windows of other applications can't be "
                                                    "shown or hidden: start Cobblet in an X session."));
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
