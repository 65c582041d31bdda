#pragma once

#include "control/GroupReports.h"
#include "model/AppGroup.h"
#include "platform/DockTile.h"

namespace cobblet {

/// The menu that an agent's icon offers in the dock: the group's applications, and what can be done with all of them.
QList<DockMenuItem> agentMenu(const AppGroup &group);

/// Carries out an entry of that menu, on the group as it is now. False, and `done` is not called, when the group has
/// no such entry (any more).
bool performAgentAction(
    const QString &action, const AppGroup &group, GroupReports &reports,
    GroupReports::Done done = [](const QList<IntentOutcome> &) {});

} // namespace cobblet
