#include "shell/AppDelegate.h"

#include "support/GroupsFixture.h"

#include <QFile>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

struct AppDelegateTest : testing::Test, test::GroupsFixture {};

TEST_F(AppDelegateTest, AReopenShowsThePanelUnlessTheSettingsWindowIsOpenAndNoCountIsLostAtTheEnd)
{
    bool settingsVisible = true;
    AppDelegate delegate({dockTile, usage, [&] { log.append(QStringLiteral("panel")); },
                          [&] { log.append(QStringLiteral("tile %1").arg(dockTile.activations)); },
                          [&] { return settingsVisible; }});
    delegate.applicationShouldHandleReopen();
    settingsVisible = false;
    delegate.applicationShouldHandleReopen();
    EXPECT_EQ(log.join(QLatin1Char(' ')), QStringLiteral("tile 1 tile 2 panel")) << "activated first";

    usage.recordLaunch(QStringLiteral("org.a"));
    delegate.applicationWillTerminate();
    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("/usage-stats.json")));
}

} // namespace
} // namespace cobblet
