#include "integration/GroupIntents.h"

#include "control/GroupReports.h"
#include "model/ConfigManager.h"
#include "model/Notifications.h"
#include "platform/DockTile.h"

namespace cobblet {

void GroupIntent::perform(const IntentTargets &targets, IntentRequests::Done done) const
{
    const AppGroup *known = targets.config.group(group.id);
    if (!known)
        return done(GroupIntentError::groupNotFound(group.name).failure());
    const auto act = [&](auto action, QLatin1String doing) {
        const QString dialog = doing + QLatin1Char(' ') + known->name + QLatin1Char('.');
        (targets.reports().*action)(known->apps, [dialog, done](const QList<IntentOutcome> &outcomes) {
            done(IntentReply{dialog, outcomes});
        });
    };
    switch (verb) {
    case IntentRequests::Verb::Launch:
        return act(&GroupReports::launch, QLatin1String("Launching"));
    case IntentRequests::Verb::Quit:
        return act(&GroupReports::quit, QLatin1String("Quitting"));
    case IntentRequests::Verb::Hide:
        return act(&GroupReports::hide, QLatin1String("Hiding"));
    case IntentRequests::Verb::Show:
        break;
    }
    const QUuid id = known->id; // observers may change the list
    targets.dockTile.activateApplication();
    emit targets.notifications.showPanel();
    emit targets.notifications.selectGroupByID(id);
    done(IntentReply{});
}

} // namespace cobblet
