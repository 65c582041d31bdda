#pragma once

#include "integration/GroupQuery.h"

#include <array>
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

/// Something to be done with the group that was chosen, maybe long ago: it is found again by its id alone, so that a
/// renamed group is still that group.
struct GroupIntent {
    IntentRequests::Verb verb;
    GroupEntity group;

    /// `done` gets the dialog (empty for none) with the outcomes, or groupNotFound with the name of the entity.
    void perform(const IntentTargets &targets, IntentRequests::Done done) const;
};

/// An intent as assistants and searches offer it.
struct OfferedIntent {
    IntentRequests::Verb verb;
    QLatin1String title;
    QLatin1String description;
    QLatin1String key;     ///< what the keys of its matches begin with
    QLatin1String opening; ///< what the titles of its matches begin with
};

/// Hiding is for scripts only.
inline constexpr std::array offeredIntents{
    OfferedIntent{IntentRequests::Verb::Show, QLatin1String("Show Group"),
                  QLatin1String("Brings up the panel with the group selected."), QLatin1String("show:"),
                  QLatin1String()},
    OfferedIntent{IntentRequests::Verb::Launch, QLatin1String("Launch a group's apps"),
                  QLatin1String("Opens every app in the group."), QLatin1String("launch:"), QLatin1String("Launch ")},
    OfferedIntent{IntentRequests::Verb::Quit, QLatin1String("Quit a group's apps"),
                  QLatin1String("Quits every running app in the group."), QLatin1String("quit:"),
                  QLatin1String("Quit ")}};

} // namespace cobblet
