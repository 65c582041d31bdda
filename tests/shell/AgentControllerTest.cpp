#include "shell/AgentController.h"

#include "model/GroupCoding.h"
#include "platform/Bundle.h"
#include "standalone/AgentGroup.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "support/GroupsFixture.h"

namespace cobblet {
namespace {

class AgentControllerTest : public testing::Test, protected test::GroupsFixture {
protected:
    AgentControllerTest()
    {
        own.name = u"Work"_s;
        own.iconColor = u"#FF0000"_s;
        own.apps = {{u"Mail"_s, u"org.mail"_s}, {u"Gone"_s, u"org.gone"_s}};
        bundle.path = home.path(u"Work.app"_s);
        bundle.identifier = agentIdentifier(own.id);
        hold(own);
        workspace.install(u"org.mail"_s);
    }

    QString heldFile() const { return bundle.resource(u"group-config.json"_s); }
    void hold(const AppGroup &group) { test::write(heldFile(), encode({group})); }
    /// Waits until that many tiles have been drawn; the colour of the last.
    QColor tile(int number)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return dockTile.icons == number; }));
        return dockTile.icon.pixelColor(256, 60);
    }

    AppGroup own;
    Bundle bundle;
    test::FakeDistributedNotifications distributed;
    IconProvider icons{workspace, 1};
    GroupIconProvider groupIcons{icons, workspace};
    AgentController agent{{bundle, config, notifications, distributed, dockTile,
                           [this]() -> GroupIconProvider & { return groupIcons; },
                           [this]() -> GroupReports & { return reports; }}};
};

TEST_F(AgentControllerTest, RepaintsItsTileOnlyWhenItsOwnGroupIsNamed)
{
    for (const QString &object : {QString(), uuidText(QUuid::createUuid()), uuidText(own.id).toLower()})
        distributed.post(notification::repaintTile, object).ok();
    distributed.post(u"other"_s, uuidText(own.id)).ok();
    distributed.post(notification::repaintTile, uuidText(own.id)).ok();
    EXPECT_EQ(tile(1), QColor(255, 0, 0));

    own.iconColor = u"#0000FF"_s;
    hold(own);
    agent.refreshTile();
    EXPECT_EQ(tile(2), QColor(0, 0, 255)) << "the bundle is read afresh";
    own.iconColor = u"#00FF00"_s;
    config.addGroup(own);
    agent.refreshTile();
    EXPECT_EQ(tile(3), QColor(0, 255, 0)) << "the store may know the group better";
}

TEST_F(AgentControllerTest, ItsMenuActsOnTheGroupAsItIsNow)
{
    const QString mail = dockTile.menu().value(0).action;
    EXPECT_TRUE(dockTile.choose(mail));
    scheduler.advance(1s);
    EXPECT_EQ(log, test::Log(u"open org.mail"_s));
    own.apps.removeFirst();
    hold(own);
    // The desktop still shows what is no entry any more.
    for (const QString &unknown : {mail, QString(), u"open"_s, u"app-"_s, u"open-all "_s})
        EXPECT_FALSE(dockTile.choose(unknown)) << unknown.toStdString();
}

TEST_F(AgentControllerTest, ABundleWithoutAGroupOfItsOwnHasNone)
{
    const auto hasNone = [this] {
        agent.refreshTile();
        return dockTile.menu().isEmpty() && !dockTile.choose(u"open-all"_s);
    };
    AppGroup other = own;
    other.id = QUuid::createUuid();
    hold(other);
    EXPECT_TRUE(hasNone()) << "another group's";
    ASSERT_TRUE(QFile::resize(heldFile(), 100 * 1024 * 1024));
    EXPECT_TRUE(hasNone()) << "far too large";
    ASSERT_TRUE(QFile::remove(heldFile()));
    EXPECT_TRUE(hasNone()) << "no file";
    agent.selectGroup();
    EXPECT_EQ(log, test::Log(u"Cobblet.selectGroupByID "_s + uuidText(own.id))) << "the panel needs it only";
    hold(own);
    agent.refreshTile();
    tile(1);
}

} // namespace
} // namespace cobblet
