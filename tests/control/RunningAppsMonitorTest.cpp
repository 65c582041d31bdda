#include "control/RunningAppsMonitor.h"
#include "support/FakeDesktop.h"

#include <gtest/gtest.h>

namespace cobblet {
namespace {

QSet<QString> set(const char *ids)
{
    const QStringList list = QString::fromLatin1(ids).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return {list.begin(), list.end()};
}

TEST(RunningAppsMonitor, FollowsLaunchesAndTerminations)
{
    test::FakeRunningApplications running;
    running.running = {{QStringLiteral("early"), 1}, {QString(), 2}};
    RunningAppsMonitor monitor(running);
    int changes = 0;
    QObject::connect(&monitor, &RunningAppsMonitor::runningBundleIDsChanged, &monitor, [&changes] { ++changes; });
    EXPECT_EQ(monitor.runningBundleIDs(), set("early"));

    const struct {
        const char *what;
        bool launches;
        const char *id;
        qint64 pid;
        const char *expected;
        int changes;
    } rows[] = {
        {"a launch", true, "a", 3, "early a", 1},
        {"a second instance", true, "a", 4, "early a", 1},
        {"a process without an identifier", true, "", 5, "early a", 1},
        {"it ends", false, "", 5, "early a", 1},
        {"one that was never here ends", false, "b", 6, "early a", 1},
        {"one of two instances ends", false, "a", 3, "early", 2},
        {"the other one ends", false, "a", 4, "early", 2},
    };
    for (const auto &row : rows) {
        const RunningApplication application{QLatin1String(row.id), row.pid};
        row.launches ? running.launch(application) : running.quit(application);
        EXPECT_EQ(monitor.runningBundleIDs(), set(row.expected)) << row.what;
        EXPECT_EQ(changes, row.changes) << row.what;
    }
}

} // namespace
} // namespace cobblet
