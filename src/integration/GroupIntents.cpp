#include "integration/GroupIntents.h"

#include "model/ConfigManager.h"
#include "model/Notifications.h"
#include "platform/DockTile.h"

namespace cobblet {

IntentFailure GroupIntentError::groupNotFound(const QString &name)
{
    return {IntentFailure::Kind::GroupNotFound,
            QStringLiteral("There's no group named “") + name +
                QStringLiteral("”. It may have been renamed or deleted."),
            {}};
}

const GroupIntent &GroupIntent::of(IntentVerb verb)
{
    static constexpr const GroupIntent *intents[] = {&LaunchGroupIntent, &QuitGroupIntent, &ShowGroupIntent,
                                                     &HideGroupIntent};
    return *intents[int(verb)];
}

void GroupIntent::perform(const GroupEntity &group, const IntentTargets &targets, IntentRequests::Done done) const
{
    const bool isMostUsed = group.id == AppGroup::mostUsedID;
    const AppGroup *known = targets.config.group(group.id);
    if (!known && !isMostUsed)
        return done(GroupIntentError::groupNotFound(group.name));
    if (action) {
        const AppGroup now = isMostUsed ? targets.mostUsed() : *known;
        const QString dialog = doing + now.name + QLatin1Char('.');
        return (targets.reports().*action)(now.apps, [dialog, done](const QList<IntentOutcome> &outcomes) {
            done(IntentReply{dialog, outcomes});
        });
    }
    targets.dockTile.activateApplication();
    emit targets.notifications.showPanel();
    emit targets.notifications.selectGroupByID(group.id);
    done(IntentReply{});
}

} // namespace cobblet
