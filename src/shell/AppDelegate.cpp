#include "shell/AppDelegate.h"

#include "control/UsageTracker.h"
#include "platform/DockTile.h"

namespace cobblet {

AppDelegate::AppDelegate(Services services, QObject *parent) : QObject(parent), m_services(std::move(services)) {}

void AppDelegate::applicationShouldHandleReopen()
{
    m_services.dockTile.activateApplication();
    if (m_services.refreshTile)
        m_services.refreshTile();
    if (!m_services.bringSettingsForward || !m_services.bringSettingsForward())
        m_services.showPanel();
}

void AppDelegate::applicationWillTerminate()
{
    m_services.usageTracker.flush();
}

} // namespace cobblet
