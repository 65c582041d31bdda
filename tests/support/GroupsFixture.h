#pragma once

#include "control/GroupActions.h"
#include "control/GroupReports.h"
#include "control/UsageTracker.h"
#include "model/ConfigManager.h"
#include "support/FakeDesktopItems.h"
#include "support/Messages.h"
#include "support/TemporaryHome.h"
#include "support/Test.h"
#include "support/VirtualScheduler.h"

namespace cobblet::test {

/// Groups and what is done with them, on the fake desktop, in a home of their own.
struct GroupsFixture {
    GroupsFixture() { record(notifications, log); }

    TemporaryHome home;
    Log log; ///< what the desktop is asked for, and the messages
    VirtualScheduler scheduler;
    FakeWorkspace workspace{&log};
    FakeRunningApplications running{&log};
    FakeWindowAccess windowAccess{&log};
    FakeDefaults standardDefaults, sharedDefaults;
    FakeDockTile dockTile;
    NotificationCenter notifications;
    const QString folder = home.path(u"Cobblet"_s);
    ConfigManager config{{folder}, standardDefaults};
    UsageTracker usage{folder, running, workspace, scheduler};
    GroupActions actions{workspace, running, windowAccess, usage, standardDefaults, scheduler};
    GroupReports reports{actions, workspace, running, scheduler};
};

} // namespace cobblet::test
