#include "control/RunningAppsMonitor.h"
#include "support/FakeDesktop.h"

#include <gtest/gtest.h>

namespace cobblet {
namespace {

TEST(RunningAppsMonitor, FollowsLaunchesAndTerminations)
{
    test::FakeRunningApplications running;
    running.running = {{QStringLiteral("early"), 1}, {QString(), 2}};
    RunningAppsMonitor monitor(running);
    int changes = 0;
    QObject::connect(&monitor, &RunningAppsMonitor::runningBundleIDsChanged, &monitor, [&changes] { ++changes; });
    const QString early = QStringLiteral("early"), a = QStringLiteral("a");

    running.launch({a, 3});
    running.launch({a, 4});
    running.launch({QString(), 5});
    EXPECT_EQ(monitor.runningBundleIDs(), (QSet<QString>{early, a}));
    running.quit({QString(), 5});
    running.quit({QStringLiteral("never here"), 6});
    EXPECT_EQ(changes, 1);
    running.quit({a, 3});
    EXPECT_EQ(monitor.runningBundleIDs(), QSet<QString>{early}) << "one of two instances ends";
    running.quit({a, 4});
    EXPECT_EQ(changes, 2);
}

} // namespace
} // namespace cobblet
