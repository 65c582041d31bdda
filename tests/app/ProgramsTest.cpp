#include "app/AgentProgram.h"
#include "app/MainProgram.h"
#include "model/GroupCoding.h"
#include "model/Identifiers.h"
#include "platform/BundleTools.h"
#include "platform/LaunchRegistry.h"
#include "platform/Platform.h"
#include "support/FakeDesktop.h"
#include "support/TemporaryHome.h"
#include "support/VirtualScheduler.h"

#include <gtest/gtest.h>

#include <ostream>

inline void PrintTo(const QStringList &list, std::ostream *out)
{
    *out << list.join(QStringLiteral(", ")).toStdString();
}

namespace cobblet {
namespace {

using namespace std::chrono_literals;

class FakeIntentsHost : public IntentsHost {
public:
    explicit FakeIntentsHost(test::Log &log) : m_log(log) {}
    Availability availability() const override { return {}; }
    void serve(IntentRequests &) override { m_log.append(QStringLiteral("serve")); }
    void stop() override { m_log.append(QStringLiteral("stop")); }
    void groupsChanged() override {}

private:
    test::Log &m_log;
};

/// Notes when a program first takes what it takes in a certain order, or only in one of the two programs.
class FakePlatform : public Platform {
public:
    explicit FakePlatform(QString folder) : m_folder(std::move(folder)) {}

    QString applicationSupportFolder() const override { return m_folder; }
    Instance &instance() override { return theInstance; }
    IntentsHost &intentsHost() override { return m_intents; }
    Scheduler &scheduler() override { return clock; }
    UserDefaults &standardDefaults() override { return m_standard; }
    UserDefaults &sharedDefaults() override { return m_shared; }
    DistributedNotifications &distributedNotifications() override { return m_distributed; }
    Appearance &appearance() override { return m_appearance; }
    Screens &screens() override { return m_screens; }
    Workspace &workspace() override { return m_workspace; }
    RunningApplications &runningApplications() override { return m_running; }
    WindowAccess &windowAccess() override { return m_windowAccess; }
    LaunchRegistry &launchRegistry() override { qFatal("no agent is built here"); }
    BundleTools bundleTools() const override { return {}; }
    Dialogs &dialogs() override { return m_dialogs; }
    Pasteboard &pasteboard() override { return m_pasteboard; }
    Menus &menus() override { return m_menus; }
    DockTile &dockTile() override { return tile; }
    HotKeys &hotKeys() override
    {
        log.append(QStringLiteral("hot keys"));
        return keys;
    }
    std::unique_ptr<StatusItem> makeStatusItem() override
    {
        log.append(QStringLiteral("status item"));
        return std::make_unique<test::FakeStatusItem>();
    }
    std::unique_ptr<PanelSurface> makePanelSurface(QWindow &, double) override
    {
        log.append(QStringLiteral("panel"));
        auto made = std::make_unique<test::FakePanelSurface>();
        surface = made.get();
        return made;
    }
    void releaseMemory() override {}

    test::Log log;
    test::VirtualScheduler clock;
    test::FakeInstance theInstance;
    test::FakeDockTile tile;
    test::FakeHotKeys keys;
    test::FakePanelSurface *surface = nullptr; ///< null before it is made

private:
    const QString m_folder;
    FakeIntentsHost m_intents{log};
    test::FakeDefaults m_standard, m_shared;
    test::FakeDistributedNotifications m_distributed;
    test::FakeAppearance m_appearance;
    test::FakeScreens m_screens;
    test::FakeWorkspace m_workspace;
    test::FakeRunningApplications m_running;
    test::FakeWindowAccess m_windowAccess;
    test::FakeDialogs m_dialogs;
    test::FakePasteboard m_pasteboard;
    test::FakeMenus m_menus;
};

class ProgramsTest : public testing::Test {
protected:
    test::TemporaryHome home;
    Bundle bundle;
    CommandLine request;
    FakePlatform platform{home.path(QStringLiteral("Cobblet"))};
};

TEST_F(ProgramsTest, CobbletStartsInOrderThenShowsThePanelAndOnlyThenAnswersOthers)
{
    {
        MainProgram program(bundle, platform, request);
        program.start();
        EXPECT_EQ(platform.log,
                  (QStringList{QStringLiteral("status item"), QStringLiteral("panel"), QStringLiteral("hot keys")}));
        EXPECT_EQ(platform.keys.held.size(), 9);
        EXPECT_FALSE(platform.surface->visible) << "not before the event loop runs";
        platform.clock.advance(0ms);
        EXPECT_TRUE(platform.surface->visible);
        EXPECT_EQ(platform.tile.activations, 1);
        EXPECT_EQ(platform.log.last(), QStringLiteral("serve"));
    }
    EXPECT_EQ(platform.log.last(), QStringLiteral("stop")) << "who still asks gets an error instead of no answer";
    EXPECT_TRUE(platform.keys.held.isEmpty());
}

TEST_F(ProgramsTest, StartedAsAServiceCobbletIsReadyAndShowsNothingUntilItIsAsked)
{
    request.verb = CommandLine::Verb::Service;
    MainProgram program(bundle, platform, request);
    program.start();
    platform.clock.advance(1s);
    ASSERT_TRUE(platform.surface);
    EXPECT_FALSE(platform.surface->visible);
    platform.theInstance.sendReopen();
    EXPECT_TRUE(platform.surface->visible);
}

TEST_F(ProgramsTest, AnAgentHasAMenuInTheDockAndNoneOfCobbletsEntries)
{
    bundle.identifier = identifier::agentPrefix + uuidText(QUuid::createUuid());
    AgentProgram program(bundle, platform);
    program.start();
    EXPECT_EQ(platform.log, QStringList(QStringLiteral("panel")));
    EXPECT_TRUE(platform.tile.menu);
    platform.clock.advance(0ms);
    EXPECT_TRUE(platform.surface->visible);
    platform.surface->visible = false;
    platform.theInstance.sendReopen();
    EXPECT_TRUE(platform.surface->visible);
    EXPECT_EQ(platform.tile.activations, 2);
}

} // namespace
} // namespace cobblet
