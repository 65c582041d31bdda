#pragma once

#include "integration/GroupQuery.h"

#include <functional>

namespace cobblet {

class ConfigManager;
class DockTile;
class GroupReports;
class NotificationCenter;

/// What the intents act on.
struct IntentTargets {
    const ConfigManager &config;
    NotificationCenter &notifications;
    DockTile &dockTile;
    /// Made on first use: start-up does not need it.
    std::function<GroupReports &()> reports;
};

// An intent carries the group that was chosen, maybe long ago, and finds it again by its id alone: a renamed group is
// still that group. `done` gets the dialog (empty for none) with the outcomes, or groupNotFound with the name that
// the entity carries.

struct LaunchGroupIntent {
    static constexpr QLatin1String title{"Launch a group's apps"};
    static constexpr QLatin1String description{"Opens every app in the group."};

    GroupEntity group;
    void perform(const IntentTargets &targets, IntentRequests::Done done) const;
};

struct QuitGroupIntent {
    static constexpr QLatin1String title{"Quit a group's apps"};
    static constexpr QLatin1String description{"Quits every running app in the group."};

    GroupEntity group;
    void perform(const IntentTargets &targets, IntentRequests::Done done) const;
};

struct ShowGroupIntent {
    static constexpr QLatin1String title{"Show Group"};
    static constexpr QLatin1String description{"Brings up the panel with the group selected."};

    GroupEntity group;
    void perform(const IntentTargets &targets, IntentRequests::Done done) const;
};

/// Not offered to assistants; for scripts.
struct HideGroupIntent {
    static constexpr QLatin1String title{"Hide a group's apps"};
    static constexpr QLatin1String description{"Hides every running app in the group."};

    GroupEntity group;
    void perform(const IntentTargets &targets, IntentRequests::Done done) const;
};

} // namespace cobblet
