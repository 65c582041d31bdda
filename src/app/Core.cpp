#include "app/Core.h"

#include "model/Identifiers.h"
#include "platform/Bundle.h"
#include "platform/Platform.h"
#include "platform/RunningApplications.h"
#include "platform/UserDefaults.h"
#include "platform/WindowAccess.h"
#include "platform/Workspace.h"

namespace cobblet {

Core::Core(Platform &platform, const Bundle &bundle, Follows follows, Program program, ConfigManager::Hooks hooks)
    : m_platform(platform), m_config({.folder = platform.applicationSupportFolder(),
                                      .follows = follows == Follows::OtherProcesses,
                                      .makesGroups = !isAgentIdentifier(bundle.identifier)},
                                     platform.standardDefaults(), std::move(hooks)),
      m_intents({m_config, m_notifications, platform.dockTile(), [this]() -> GroupReports & { return reports(); },
                 [this] { return usage().mostUsed(); }, std::move(program.diagnostics)},
                std::move(program.showPanel), bundle.version)
{
}

UsageTracker &Core::usage()
{
    if (!m_usage)
        m_usage.emplace(m_platform.applicationSupportFolder(), m_platform.runningApplications(),
                        m_platform.workspace(), m_platform.scheduler());
    return *m_usage;
}

GroupActions &Core::actions()
{
    if (!m_actions)
        m_actions.emplace(m_platform.workspace(), m_platform.runningApplications(), m_platform.windowAccess(),
                          usage(), m_platform.standardDefaults(), m_platform.scheduler());
    return *m_actions;
}

GroupReports &Core::reports()
{
    if (!m_reports)
        m_reports.emplace(actions(), m_platform.workspace(), m_platform.runningApplications(),
                          m_platform.scheduler());
    return *m_reports;
}

} // namespace cobblet
