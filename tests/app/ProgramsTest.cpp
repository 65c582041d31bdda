#include "app/AgentProgram.h"
#include "app/MainProgram.h"
#include "model/GroupCoding.h"
#include "model/Identifiers.h"
#include "platform/BundleTools.h"
#include "platform/LaunchRegistry.h"
#include "platform/Platform.h"
#include "shell/AppDelegate.h"
#include "support/GroupsFixture.h"

namespace cobblet {
namespace {

/// Notes when a program first takes what it takes in a certain order, or only in one of the two programs.
class FakePlatform : public Platform, public test::Fake<IntentsHost> {
public:
    QString applicationSupportFolder() const override { return home.path(u"Cobblet"_s); }
    Instance &instance() override { return theInstance; }
    IntentsHost &intentsHost() override { return *this; }
    void serve(IntentRequests &) override { log.append(u"serve"_s); }
    void stop() override { log.append(u"stop"_s); }
    void groupsChanged() override {}
    Scheduler &scheduler() override { return clock; }
    UserDefaults &standardDefaults() override { return standard; }
    UserDefaults &sharedDefaults() override { return shared; }
    DistributedNotifications &distributedNotifications() override { return distributed; }
    Appearance &appearance() override { return theAppearance; }
    Screens &screens() override { return theScreens; }
    Workspace &workspace() override { return theWorkspace; }
    RunningApplications &runningApplications() override { return running; }
    WindowAccess &windowAccess() override { return access; }
    LaunchRegistry &launchRegistry() override { qFatal("no agent is built here"); }
    BundleTools bundleTools() const override { return {}; }
    Dialogs &dialogs() override { return theDialogs; }
    Pasteboard &pasteboard() override { return thePasteboard; }
    Menus &menus() override { return theMenus; }
    DockTile &dockTile() override { return tile; }
    HotKeys &hotKeys() override
    {
        log.append(u"hot keys"_s);
        return keys;
    }
    std::unique_ptr<StatusItem> makeStatusItem() override
    {
        log.append(u"status item"_s);
        return std::make_unique<test::FakeStatusItem>();
    }
    std::unique_ptr<PanelSurface> makePanelSurface(QWindow &, double) override
    {
        log.append(u"panel"_s);
        auto made = std::make_unique<test::FakePanelSurface>();
        surface = made.get();
        return made;
    }
    void releaseMemory() override {}

    test::TemporaryHome home;
    test::Log log;
    test::VirtualScheduler clock;
    test::FakeInstance theInstance;
    test::FakeDefaults standard, shared;
    test::FakeDistributedNotifications distributed;
    test::FakeAppearance theAppearance;
    test::FakeScreens theScreens;
    test::FakeWorkspace theWorkspace;
    test::FakeRunningApplications running;
    test::FakeWindowAccess access;
    test::FakeDialogs theDialogs;
    test::FakePasteboard thePasteboard;
    test::FakeMenus theMenus;
    test::FakeDockTile tile;
    test::FakeHotKeys keys;
    test::FakePanelSurface *surface = nullptr; ///< null before it is made
};

struct ProgramsTest : testing::Test {
    Bundle bundle;
    FakePlatform platform;
};

TEST_F(ProgramsTest, CobbletStartsInOrderThenShowsThePanelAndOnlyThenAnswersOthers)
{
    {
        MainProgram program(bundle, platform, CommandLine());
        program.start();
        EXPECT_EQ(platform.log, (QStringList{u"status item"_s, u"panel"_s, u"hot keys"_s}));
        EXPECT_EQ(platform.keys.held.size(), 9);
        EXPECT_FALSE(platform.surface->visible) << "not before the event loop runs";
        platform.clock.advance(0ms);
        EXPECT_TRUE(platform.surface->visible);
        EXPECT_EQ(platform.tile.activations, 1);
        EXPECT_EQ(platform.log.last(), u"serve"_s);
    }
    EXPECT_EQ(platform.log.last(), u"stop"_s) << "who still asks gets an error instead of no answer";
    EXPECT_TRUE(platform.keys.held.isEmpty());
}

TEST_F(ProgramsTest, AReopenedAgentOpensWhereItsOwnGroupWantsNotTheTabLeftOnShow)
{
    AppGroup own, other;
    own.popupAnchor = PopupAnchor::DockIcon;
    other.popupAnchor = PopupAnchor::DockCenter;
    bundle.identifier = identifier::agentPrefix + uuidText(own.id);
    struct Agent : AgentProgram {
        using AgentProgram::AgentProgram;
        using AgentProgram::m_core;
    } agent(bundle, platform);
    agent.start();
    EXPECT_EQ(platform.log, QStringList(u"panel"_s)) << "it has none of Cobblet's other entries";
    EXPECT_TRUE(!QFile::exists(platform.applicationSupportFolder() + u"/groups.json"_s) &&
                platform.standard.stored.isEmpty())
        << "the first groups are Cobblet's to make";
    agent.m_core->config().replaceGroups({own, other});
    platform.clock.advance(0ms);
    emit agent.m_core->notifications().selectGroupByID(other.id);
    platform.surface->visible = false;
    platform.theScreens.pointerPosition = QPointF(800, 10);
    platform.theInstance.sendReopen();
    EXPECT_EQ(platform.surface->frame.center().x(), 800);
}

TEST(AppDelegate, AReopenShowsThePanelUnlessTheSettingsWindowIsOpenAndNoCountIsLostAtTheEnd)
{
    test::GroupsFixture f;
    test::Log &log = f.log;
    bool settingsVisible = true;
    AppDelegate delegate({f.dockTile, f.usage, [&] { log.append(u"panel"_s); },
                          [&] { log.append(u"tile %1"_s.arg(f.dockTile.activations)); },
                          [&] { return settingsVisible; }});
    delegate.applicationShouldHandleReopen();
    settingsVisible = false;
    delegate.applicationShouldHandleReopen();
    EXPECT_EQ(log.join(QLatin1Char(' ')), u"tile 1 tile 2 panel"_s) << "activated first";

    f.usage.recordLaunch(u"org.a"_s);
    delegate.applicationWillTerminate();
    EXPECT_TRUE(QFile::exists(f.folder + u"/usage-stats.json"_s));
}

} // namespace
} // namespace cobblet
