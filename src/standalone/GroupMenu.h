#pragma once

#include "control/GroupReports.h"
#include "model/AppGroup.h"
#include "platform/DockTile.h"

namespace cobblet {

/// The menu that the icon of a group's own application offers in the dock: its applications, and what can be done
/// with all of them.
QList<DockMenuItem> groupMenu(const AppGroup &group);

/// Carries out an entry of that menu, on the group as it is now. False, and `done` is not called, when the group has
/// no such entry (any more).
bool performGroupMenu(
    const QString &action, const AppGroup &group, GroupReports &reports,
    GroupReports::Done done = [](const QList<IntentOutcome> &) {});

} // namespace cobblet
