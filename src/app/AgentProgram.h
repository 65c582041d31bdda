#pragma once

#include "app/PanelProgram.h"
#include "platform/portable/UnavailableHotKeys.h"
#include "shell/AgentController.h"

namespace cobblet {

/// The application of one group: the panel opens with that group, whose menu and tile are in the dock.
class AgentProgram : public PanelProgram {
    Q_OBJECT
public:
    using PanelProgram::PanelProgram;

    void start() override;

protected:
    void showPanel() override;
    void firstPanelPainted() override;

private:
    void refreshTile() { m_agentController->refreshTile(); }

    /// The nine are Cobblet's own: an agent that was there first would take them from it.
    UnavailableHotKeys m_noHotKeys{QStringLiteral("The key combinations belong to Cobblet itself.")};
    std::optional<AgentController> m_agentController;
};

} // namespace cobblet
