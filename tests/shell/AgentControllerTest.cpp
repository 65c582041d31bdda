#include "shell/AgentController.h"

#include "control/GroupActions.h"
#include "control/GroupReports.h"
#include "control/UsageTracker.h"
#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "model/Notifications.h"
#include "platform/Bundle.h"
#include "standalone/AgentGroup.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "support/FakeDesktop.h"
#include "support/VirtualScheduler.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace std::chrono_literals;

class AgentControllerTest : public testing::Test {
protected:
    AgentControllerTest()
    {
        own.name = QStringLiteral("Work");
        own.iconColor = QStringLiteral("#FF0000");
        own.apps = {{QStringLiteral("Mail"), QStringLiteral("org.mail")},
                    {QStringLiteral("Gone"), QStringLiteral("org.gone")}};
        bundle.path = folder.filePath(QStringLiteral("Work.app"));
        bundle.identifier = agentIdentifier(own.id);
        hold(own);
        workspace.install(QStringLiteral("org.mail"));
        QObject::connect(&notifications, &NotificationCenter::selectGroupByID, &notifications,
                         [this](const QUuid &id) { selected = id; });
    }

    void hold(const AppGroup &group)
    {
        QDir().mkpath(bundle.resource({}));
        QFile file(bundle.resource(QStringLiteral("group-config.json")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(encode({group}));
    }
    QColor tile() const { return dockTile.icon.isNull() ? QColor() : dockTile.icon.pixelColor(256, 60); }

    QTemporaryDir folder;
    AppGroup own;
    Bundle bundle;
    test::FakeDefaults defaults;
    test::VirtualScheduler scheduler;
    test::FakeDockTile dockTile;
    test::FakeWorkspace workspace;
    test::FakeRunningApplications running;
    test::FakeWindowAccess windowAccess;
    test::FakeDistributedNotifications distributed;
    NotificationCenter notifications;
    ConfigManager config{{folder.path(), false}, defaults};
    UsageTracker usage{folder.path(), running, workspace, scheduler};
    GroupActions actions{workspace, running, windowAccess, usage, defaults, scheduler};
    GroupReports reports{actions, workspace, running, scheduler};
    IconProvider icons{workspace, 1};
    GroupIconProvider groupIcons{icons, workspace};
    std::optional<QUuid> selected;
    AgentController agent{{bundle, config, notifications, distributed, dockTile,
                           [this]() -> GroupIconProvider & { return groupIcons; },
                           [this]() -> GroupReports & { return reports; }}};
};

TEST_F(AgentControllerTest, RepaintsItsTileOnlyWhenItsOwnGroupIsNamed)
{
    for (const QString &object : {QString(), uuidText(QUuid::createUuid()), uuidText(own.id).toLower()})
        distributed.post(notification::repaintTile, object).ok();
    distributed.post(QStringLiteral("other"), uuidText(own.id)).ok();
    EXPECT_FALSE(tile().isValid());
    distributed.post(notification::repaintTile, uuidText(own.id)).ok();
    EXPECT_EQ(dockTile.icon.size(), QSize(512, 512));
    EXPECT_EQ(tile(), QColor(255, 0, 0));

    own.iconColor = QStringLiteral("#0000FF");
    hold(own);
    agent.refreshTile();
    EXPECT_EQ(tile(), QColor(0, 0, 255)) << "the bundle is read afresh";
    own.iconColor = QStringLiteral("#00FF00");
    config.addGroup(own);
    agent.refreshTile();
    EXPECT_EQ(tile(), QColor(0, 255, 0)) << "the store may know the group better";
}

TEST_F(AgentControllerTest, ItsMenuActsOnTheGroupAsItIsNow)
{
    const QList<DockMenuItem> menu = dockTile.menu();
    ASSERT_EQ(menu.size(), 6);
    EXPECT_TRUE(dockTile.choose(menu[0].action));
    scheduler.advance(0ms);
    EXPECT_EQ(workspace.opened, QStringList(QStringLiteral("org.mail")));
    running.launch({QStringLiteral("org.mail"), 7});
    EXPECT_TRUE(dockTile.choose(QStringLiteral("hide-all")));
    EXPECT_TRUE(dockTile.choose(QStringLiteral("quit-all")));
    EXPECT_EQ(running.calls,
              QStringList({QStringLiteral("hide org.mail 7"), QStringLiteral("terminate org.mail 7")}));
    running.quit({QStringLiteral("org.mail"), 7});
    EXPECT_TRUE(dockTile.choose(QStringLiteral("open-all")));
    scheduler.advance(1s);
    EXPECT_EQ(workspace.opened.size(), 2);

    own.apps.removeFirst();
    hold(own);
    EXPECT_FALSE(dockTile.choose(menu[0].action)) << "the desktop still shows what is no entry any more";
    for (const char *unknown : {"", "open", "app-", "open-all "})
        EXPECT_FALSE(dockTile.choose(QString::fromLatin1(unknown)));
}

TEST_F(AgentControllerTest, ABundleWithoutAGroupOfItsOwnHasNone)
{
    const auto hasNone = [this] {
        agent.refreshTile();
        return dockTile.icon.isNull() && dockTile.menu().isEmpty() && !dockTile.choose(QStringLiteral("open-all"));
    };
    AppGroup other = own;
    other.id = QUuid::createUuid();
    hold(other);
    EXPECT_TRUE(hasNone()) << "another group's";
    const QString path = bundle.resource(QStringLiteral("group-config.json"));
    ASSERT_TRUE(QFile::resize(path, 100 * 1024 * 1024));
    EXPECT_TRUE(hasNone()) << "far too large";
    ASSERT_TRUE(QFile::remove(path));
    EXPECT_TRUE(hasNone()) << "no file";
    agent.selectGroup();
    EXPECT_EQ(selected, own.id) << "the panel needs the identifier only";
}

} // namespace
} // namespace cobblet
