#include "shell/AppDelegate.h"

#include "control/UsageTracker.h"
#include "support/FakeDesktop.h"
#include "support/VirtualScheduler.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

TEST(AppDelegate, AReopenShowsThePanelUnlessTheSettingsWindowIsOpen)
{
    const QTemporaryDir folder;
    test::Log log;
    test::VirtualScheduler scheduler;
    test::FakeDockTile dockTile;
    test::FakeWorkspace workspace;
    test::FakeRunningApplications running;
    UsageTracker usage(folder.path(), running, workspace, scheduler);
    bool settingsVisible = true;
    AppDelegate delegate({dockTile, usage, [&] { log.append(QStringLiteral("panel")); },
                          [&] { log.append(QStringLiteral("tile %1").arg(dockTile.activations)); },
                          [&] { return settingsVisible; }});
    delegate.applicationShouldHandleReopen();
    EXPECT_EQ(log, QStringList(QStringLiteral("tile 1"))) << "the application is activated first";
    settingsVisible = false;
    delegate.applicationShouldHandleReopen();
    EXPECT_EQ(log.mid(1), (QStringList{QStringLiteral("tile 2"), QStringLiteral("panel")}));

    usage.recordLaunch(QStringLiteral("org.a"));
    delegate.applicationWillTerminate();
    EXPECT_TRUE(QFile::exists(folder.filePath(QStringLiteral("usage-stats.json")))) << "nothing is lost";
}

} // namespace
} // namespace cobblet
