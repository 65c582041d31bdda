#pragma once

#include "control/GroupReports.h"
#include "model/AppGroup.h"

namespace cobblet {

class ConfigManager;
class Diagnostics;
class DockTile;
class NotificationCenter;

/// What the intents act on.
struct IntentTargets {
    const ConfigManager &config;
    NotificationCenter &notifications;
    DockTile &dockTile;
    /// Made on first use: start-up does not need it.
    std::function<GroupReports &()> reports;
    /// The Most Used group as it is now.
    std::function<AppGroup()> mostUsed;
    /// Made on first use too.
    std::function<Diagnostics &()> diagnostics;
};

/// What a text asks for.
struct GroupRequest {
    IntentVerb verb;
    QString group; ///< a name or an id

    bool operator==(const GroupRequest &) const = default;
};

/// The one way in which an intent fails: its group is not in the list.
struct GroupIntentError {
    /// `name` is what the group was called when it was chosen.
    static IntentFailure groupNotFound(const QString &name);
};

/// Something that can be done with a group, as assistants and searches offer it.
struct GroupIntent {
    IntentVerb verb;
    QLatin1String title; ///< empty where only scripts may ask
    QLatin1String description;
    QLatin1String matchOpening; ///< what the titles of a search's matches begin with
    QLatin1String doing;        ///< what the dialog begins with; empty when there is none
    /// What is done with the group's applications; null where the panel shows the group.
    void (GroupReports::*action)(const QList<AppItem> &, GroupReports::Done);

    /// Acts on the group that was chosen, maybe long ago: it is found again by its id alone, so that a renamed group
    /// is still that group. `done` gets the dialog with the outcomes, or groupNotFound with the name of the entity.
    void perform(const GroupEntity &group, const IntentTargets &targets, IntentRequests::Done done) const;

    static const GroupIntent &of(IntentVerb verb);
};

inline constexpr GroupIntent LaunchGroupIntent{IntentVerb::Launch,
                                               QLatin1String("Launch a group's apps"),
                                               QLatin1String("Opens every app in the group."),
                                               QLatin1String("Launch "),
                                               QLatin1String("Launching "),
                                               &GroupReports::launch};
inline constexpr GroupIntent QuitGroupIntent{IntentVerb::Quit,
                                             QLatin1String("Quit a group's apps"),
                                             QLatin1String("Quits every running app in the group."),
                                             QLatin1String("Quit "),
                                             QLatin1String("Quitting "),
                                             &GroupReports::quit};
inline constexpr GroupIntent ShowGroupIntent{IntentVerb::Show,
                                             QLatin1String("Show Group"),
                                             QLatin1String("Brings up the panel with the group selected."),
                                             QLatin1String(),
                                             QLatin1String(),
                                             nullptr};
inline constexpr GroupIntent HideGroupIntent{IntentVerb::Hide,   {}, {}, {}, QLatin1String("Hiding "),
                                             &GroupReports::hide};

} // namespace cobblet
