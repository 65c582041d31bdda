#include "shell/AppDelegate.h"

#include "control/UsageTracker.h"
#include "model/Notifications.h"
#include "model/PopupSettings.h"
#include "model/Theme.h"
#include "shell/FloatingPanelController.h"
#include "shell/GlobalHotkeyManager.h"
#include "shell/StatusBarController.h"
#include "support/FakeDesktop.h"
#include "support/VirtualScheduler.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

inline void PrintTo(const QStringList &list, std::ostream *out)
{
    *out << list.join(QStringLiteral("; ")).toStdString();
}

namespace cobblet {
namespace {

using namespace std::chrono_literals;

class AppDelegateTest : public testing::Test {
protected:
    AppDelegate::Services services()
    {
        const auto makePanel = [this] {
            log.append(QStringLiteral("panel"));
            auto created = std::make_unique<test::FakePanelSurface>();
            surface = created.get();
            return created;
        };
        return {standard,
                shared,
                dockTile,
                scheduler,
                [this]() -> ThemeManager & { return theme; },
                [this]() -> UsageTracker & {
                    log.append(QStringLiteral("usage"));
                    return usage;
                },
                [this] {
                    log.append(QStringLiteral("status item"));
                    return std::unique_ptr<StatusBarController>();
                },
                [this, makePanel] {
                    log.append(QStringLiteral("controller"));
                    return std::make_unique<FloatingPanelController>(makePanel, screens, popupSettings, notifications,
                                                                     scheduler);
                },
                {},
                [this] {
                    log.append(QStringLiteral("hotkeys"));
                    return std::make_unique<GlobalHotkeyManager>(hotKeys, notifications, scheduler);
                },
                [this] { return settingsVisible; }};
    }

    QTemporaryDir folder;
    test::Log log;
    test::VirtualScheduler scheduler;
    test::FakeDefaults standard, shared;
    test::FakeDockTile dockTile;
    test::FakeScreens screens;
    test::FakeAppearance appearance;
    test::FakeWorkspace workspace;
    test::FakeRunningApplications running;
    test::FakeHotKeys hotKeys;
    ThemeManager theme{shared, appearance};
    PopupSettings popupSettings{shared};
    NotificationCenter notifications;
    UsageTracker usage{folder.path(), running, workspace, scheduler};
    test::FakePanelSurface *surface = nullptr;
    bool settingsVisible = false;
    AppDelegate delegate{services()};
};

TEST_F(AppDelegateTest, CarriesThemeChoicesOverToTheSharedDefaultsOnce)
{
    const QString style = QStringLiteral("glassyStyle"), panelTheme = QStringLiteral("panelTheme");
    standard.stored = {{style, false}, {panelTheme, QStringLiteral("dark")}, {QStringLiteral("popupColumns"), 4}};
    shared.stored = {{panelTheme, QStringLiteral("light")}};
    delegate.applicationWillFinishLaunching();
    EXPECT_EQ(shared.stored, (QMap<QString, QVariant>{{style, false}, {panelTheme, QStringLiteral("light")}}));
    EXPECT_EQ(standard.stored.size(), 3) << "nothing is taken away";
    EXPECT_FALSE(shared.boolean(style));
}

TEST_F(AppDelegateTest, TheGlassyStyleIsTheDefaultAndIsNotStored)
{
    delegate.applicationWillFinishLaunching();
    EXPECT_TRUE(shared.boolean(QStringLiteral("glassyStyle")));
    EXPECT_TRUE(shared.stored.isEmpty());
}

TEST_F(AppDelegateTest, StartsInOrderAndThenShowsThePanel)
{
    delegate.applicationWillFinishLaunching();
    EXPECT_TRUE(log.isEmpty());
    delegate.applicationDidFinishLaunching();
    EXPECT_EQ(log, (QStringList{QStringLiteral("usage"), QStringLiteral("status item"), QStringLiteral("controller"),
                                QStringLiteral("panel"), QStringLiteral("hotkeys")}));
    EXPECT_FALSE(surface->visible);
    EXPECT_EQ(dockTile.activations, 0);
    EXPECT_EQ(hotKeys.held.size(), 9);
    scheduler.advance(0ms);
    EXPECT_TRUE(surface->visible);
    EXPECT_EQ(dockTile.activations, 1);
}

TEST_F(AppDelegateTest, StartedAsAServiceItIsReadyButShowsNothing)
{
    AppDelegate::Services quiet = services();
    quiet.opensPanel = false;
    AppDelegate service(quiet);
    service.applicationDidFinishLaunching();
    scheduler.advance(1s);
    ASSERT_TRUE(surface);
    EXPECT_FALSE(surface->visible);
    service.applicationShouldHandleReopen();
    EXPECT_TRUE(surface->visible);
}

TEST_F(AppDelegateTest, AReopenShowsThePanelUnlessTheSettingsWindowIsOpen)
{
    delegate.applicationShouldHandleReopen(); // before launch has finished: nothing to show yet
    delegate.applicationDidFinishLaunching();
    settingsVisible = true;
    delegate.applicationShouldHandleReopen();
    EXPECT_FALSE(surface->visible);
    settingsVisible = false;
    delegate.applicationShouldHandleReopen();
    EXPECT_TRUE(surface->visible);
    EXPECT_EQ(dockTile.activations, 3) << "every reopen activates the application";
}

TEST_F(AppDelegateTest, QuittingWritesPendingLaunches)
{
    delegate.applicationDidFinishLaunching();
    usage.recordLaunch(QStringLiteral("org.a"));
    delegate.applicationWillTerminate();
    EXPECT_TRUE(QFile::exists(folder.filePath(QStringLiteral("usage-stats.json"))));
}

} // namespace
} // namespace cobblet
