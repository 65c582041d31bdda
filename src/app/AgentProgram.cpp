#include "app/AgentProgram.h"

#include "platform/DistributedNotifications.h"
#include "platform/DockTile.h"
#include "platform/Platform.h"

namespace cobblet {

namespace {

using namespace std::chrono_literals;

/// Past the panel's fade, which somebody waits for.
constexpr auto tileDelay = 400ms;

} // namespace

void AgentProgram::start()
{
    migratePreferences();
    loadStores();
    m_core->usage();
    makePanelController();
    m_agentController.emplace(AgentController::Services{m_bundle, m_core->config(), m_core->notifications(),
                                                        m_platform.distributedNotifications(), m_platform.dockTile(),
                                                        [this]() -> GroupIconProvider & { return groupIcons(); },
                                                        [this]() -> GroupReports & { return m_core->reports(); }});
    makePanelWindow({});
    m_agentController->selectGroup(); // so that no other one is made ready
    registerHotKeys(m_noHotKeys);
    receiveEvents([this] {
        later(tileDelay, &AgentProgram::refreshTile);
        releaseMemorySoon(); // drawing the tile takes megabytes for a moment
    });
    showPanelSoon();
}

void AgentProgram::showPanel()
{
    m_agentController->selectGroup(); // first: where the panel opens and how large it is are the group's
    PanelProgram::showPanel();
}

void AgentProgram::firstPanelPainted()
{
    later(tileDelay, &AgentProgram::refreshTile);
    releaseMemorySoon();
}

} // namespace cobblet
