#pragma once

#include "integration/Diagnostics.h"

#include <memory>

namespace cobblet {

class ConfigManager;
class FloatingPanelController;
class GlobalHotkeyManager;
class Platform;
class StatusBarController;
struct Bundle;

/// The parts of a program with a panel that answer for themselves.
struct PanelParts {
    const GlobalHotkeyManager *hotKeys;
    FloatingPanelController *panel;
    const StatusBarController *statusBar; ///< null in an agent, which answers no other program either
};

/// What is asked of this program's services, in the order of the list. `parts` is null in a program without a panel,
/// which cannot know all. The references outlive what is returned.
std::unique_ptr<Diagnostics> makeDiagnostics(Platform &platform, const ConfigManager &config, const Bundle &bundle,
                                             const PanelParts *parts);

} // namespace cobblet
