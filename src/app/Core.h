#pragma once

#include "control/GroupActions.h"
#include "control/GroupReports.h"
#include "control/UsageTracker.h"
#include "integration/IntentService.h"
#include "model/ConfigManager.h"
#include "model/Notifications.h"

#include <optional>

namespace cobblet {

class Platform;
struct Bundle;

/// What works without a window: the groups, acting on their applications, and answering what other programs ask.
/// The groups are loaded at once, the rest is made on first use. Main thread only.
class Core {
public:
    enum class Follows {
        OtherProcesses, ///< their changes of the groups arrive by themselves
        Nothing         ///< for one command
    };

    /// What the program that this belongs to does when it is asked.
    struct Program {
        std::function<void()> showPanel; ///< what a click on the application's icon does
        std::function<Diagnostics &()> diagnostics;
    };

    /// `platform` outlives the object; `bundle` is the program's.
    Core(Platform &platform, const Bundle &bundle, Follows follows, Program program, ConfigManager::Hooks hooks = {});

    NotificationCenter &notifications() { return m_notifications; }
    ConfigManager &config() { return m_config; }
    UsageTracker &usage();
    GroupActions &actions();
    GroupReports &reports();
    IntentService &intents() { return m_intents; }

private:
    Platform &m_platform;
    NotificationCenter m_notifications;
    ConfigManager m_config;
    std::optional<UsageTracker> m_usage;
    std::optional<GroupActions> m_actions;
    std::optional<GroupReports> m_reports;
    IntentService m_intents;
};

} // namespace cobblet
