#include "integration/GroupIntents.h"

#include "control/GroupReports.h"
#include "model/ConfigManager.h"
#include "model/Notifications.h"
#include "platform/DockTile.h"

namespace cobblet {

namespace {

/// The group as it is now; tells `done` when it is gone.
const AppGroup *present(const GroupEntity &entity, const IntentTargets &targets, const IntentRequests::Done &done)
{
    const AppGroup *group = targets.config.group(entity.id);
    if (!group)
        done(GroupIntentError::groupNotFound(entity.name).failure());
    return group;
}

using Act = void (GroupReports::*)(const QList<AppItem> &, GroupReports::Done);

void act(const GroupEntity &entity, const IntentTargets &targets, Act action, QLatin1String doing,
         IntentRequests::Done done)
{
    const AppGroup *group = present(entity, targets, done);
    if (!group)
        return;
    const QString dialog = doing + QLatin1Char(' ') + group->name + QLatin1Char('.');
    (targets.reports().*action)(group->apps, [dialog, done = std::move(done)](const QList<IntentOutcome> &outcomes) {
        done(IntentReply{dialog, outcomes});
    });
}

} // namespace

void LaunchGroupIntent::perform(const IntentTargets &targets, IntentRequests::Done done) const
{
    act(group, targets, &GroupReports::launch, QLatin1String("Launching"), std::move(done));
}

void QuitGroupIntent::perform(const IntentTargets &targets, IntentRequests::Done done) const
{
    act(group, targets, &GroupReports::quit, QLatin1String("Quitting"), std::move(done));
}

void HideGroupIntent::perform(const IntentTargets &targets, IntentRequests::Done done) const
{
    act(group, targets, &GroupReports::hide, QLatin1String("Hiding"), std::move(done));
}

void ShowGroupIntent::perform(const IntentTargets &targets, IntentRequests::Done done) const
{
    const AppGroup *known = present(group, targets, done);
    if (!known)
        return;
    const QUuid id = known->id; // observers may change the list
    targets.dockTile.activateApplication();
    targets.notifications.post(notification::showPanel);
    targets.notifications.post(notification::selectGroupByID, {{QStringLiteral("id"), QVariant::fromValue(id)}});
    done(IntentReply{});
}

} // namespace cobblet
