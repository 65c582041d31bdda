#include "ui/PanelFixture.h"

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using test::PanelFixture;

class PanelActions : public testing::Test {
protected:
    void SetUp() override
    {
        work = f.group(QStringLiteral("Work"), 2, QStringLiteral("work"));
        work.apps.append({QStringLiteral("Gone"), QStringLiteral("gone")});
        play = f.group(QStringLiteral("Play\n& more"), 1, QStringLiteral("play"));
        f.config.replaceGroups({work, play});
        model = std::make_unique<PanelViewModel>(f.dependencies());
        model->select(SidebarSelection::group(work.id));
    }

    /// The menu's titles; a submenu's in brackets, "-" for a separator, "!" before what is disabled.
    static QString titles(const QList<MenuItem> &menu)
    {
        QStringList list;
        for (const MenuItem &item : menu) {
            QString title = item.isSeparator() ? QStringLiteral("-") : item.title;
            if (!item.children.isEmpty())
                title += QLatin1Char('[') + titles(item.children) + QLatin1Char(']');
            list.append(item.enabled ? title : QLatin1Char('!') + title);
        }
        return list.join(QStringLiteral(", "));
    }
    const MenuItem &entry(const QString &title) const
    {
        for (const MenuItem &item : f.menus.last)
            if (item.title == title)
                return item;
        throw std::out_of_range(title.toStdString());
    }
    QString storedApps(const AppGroup &group) const
    {
        QStringList ids;
        for (const AppItem &app : f.config.group(group.id)->apps)
            ids.append(app.bundleID);
        return ids.join(QStringLiteral(", "));
    }
    int closed() const { return f.posted("Cobblet.closePanel"); }

    PanelFixture f;
    AppGroup work, play;
    std::unique_ptr<PanelViewModel> model;
};

TEST_F(PanelActions, ClickOpensTheApplicationAndThenClosesThePanelUnlessItIsNotInstalled)
{
    model->activateCell(2);
    model->activateCell(-1);
    model->activateCell(99);
    EXPECT_TRUE(f.workspace.opened.isEmpty());
    EXPECT_EQ(closed(), 0);
    model->activateCell(1);
    EXPECT_EQ(f.workspace.opened, QStringList({QStringLiteral("work.2")}));
    EXPECT_EQ(closed(), 1);
}

TEST_F(PanelActions, AddCellLetsTheUserChooseApplications)
{
    f.workspace.install(QStringLiteral("new.one"), QStringLiteral("New One"));
    f.dialogs.files = {QStringLiteral("/apps/new.one.desktop"), QStringLiteral("/apps/work.1.desktop"),
                       QStringLiteral("/etc/passwd")};
    model->activateCell(3);
    ASSERT_EQ(f.dialogs.requests.size(), 1);
    const FileRequest &request = f.dialogs.requests.front();
    EXPECT_EQ(request.title, QStringLiteral("Choose Apps"));
    EXPECT_EQ(request.acceptLabel, QStringLiteral("Add"));
    EXPECT_EQ(request.folder, QStringLiteral("/apps"));
    EXPECT_TRUE(request.multiple);
    EXPECT_EQ(storedApps(work), QStringLiteral("work.1, work.2, gone, new.one"));
    EXPECT_EQ(f.config.group(work.id)->apps.last().name, QStringLiteral("New One"));
    EXPECT_EQ(f.dialogs.alerts.size(), 1) << "a file that is no application is not dropped silently";
    EXPECT_EQ(closed(), 0);
}

TEST_F(PanelActions, CellMenuFollowsTheApplicationsState)
{
    f.run(QStringLiteral("work.1"));
    const QString editing = QStringLiteral(", -, Move to[Play & more], Remove from Work");
    const char *expected[] = {"Show All Windows, Hide, Quit, Force Quit, Show in Finder", "Open, Show in Finder",
                              "!Open, !Show in Finder"};
    for (int row = 0; row < 3; ++row) {
        model->showCellMenu(row, {});
        EXPECT_EQ(titles(f.menus.last), QLatin1String(expected[row]) + editing);
    }
    f.menus.last.clear();
    model->showCellMenu(3, {});
    EXPECT_TRUE(f.menus.last.isEmpty()) << "the add cell has none";
}

TEST_F(PanelActions, MostUsedOffersNoEditing)
{
    model->setVisible(true);
    f.usage.recordLaunch(QStringLiteral("work.1"));
    model->select(SidebarSelection::mostUsed());
    model->showCellMenu(0, {});
    EXPECT_EQ(titles(f.menus.last), QStringLiteral("Open, Show in Finder"));
    model->showGroupMenu(-1, {});
    EXPECT_EQ(f.menus.last.size(), 2) << "the Most Used tab has no menu of its own";
}

TEST_F(PanelActions, CellMenuEntriesActOnThatApplicationAlone)
{
    for (const char *id : {"work.1", "work.2"})
        f.run(QLatin1String(id));
    model->showCellMenu(0, {});
    entry(QStringLiteral("Hide")).action();
    entry(QStringLiteral("Quit")).action();
    entry(QStringLiteral("Force Quit")).action();
    EXPECT_EQ(f.running.calls, QStringList({QStringLiteral("hide work.1 100"), QStringLiteral("terminate work.1 100"),
                                            QStringLiteral("forceTerminate work.1 100")}));
    EXPECT_EQ(closed(), 0);
    entry(QStringLiteral("Show All Windows")).action();
    EXPECT_EQ(closed(), 1);
    entry(QStringLiteral("Show in Finder")).action();
    EXPECT_TRUE(f.log.contains(QStringLiteral("reveal work.1")));
    entry(QStringLiteral("Move to")).children.front().action();
    EXPECT_EQ(storedApps(play), QStringLiteral("play.1, work.1"));
    model->showCellMenu(0, {});
    entry(QStringLiteral("Remove from Work")).action();
    EXPECT_EQ(storedApps(work), QStringLiteral("gone"));
}

TEST_F(PanelActions, GroupMenuPinsAndDeletesAfterAsking)
{
    model->showGroupMenu(0, {});
    EXPECT_EQ(titles(f.menus.last), QStringLiteral("Pin, Delete"));
    EXPECT_EQ(f.menus.last[0].symbol, QStringLiteral("pin"));
    EXPECT_TRUE(f.menus.last[1].destructive);
    entry(QStringLiteral("Pin")).action();
    EXPECT_TRUE(f.config.group(work.id)->isPinned);
    model->showGroupMenu(0, {});
    EXPECT_EQ(f.menus.last[0].symbol, QStringLiteral("pin.slash"));
    entry(QStringLiteral("Unpin")).action();
    EXPECT_FALSE(f.config.group(work.id)->isPinned);

    entry(QStringLiteral("Delete")).action();
    ASSERT_EQ(f.dialogs.alerts.size(), 1);
    const Alert &question = f.dialogs.alerts[0];
    EXPECT_EQ(question.message,
              QStringLiteral("This removes the group and its app list. The apps themselves aren’t affected."));
    EXPECT_EQ(question.buttons[0].label, QStringLiteral("Delete"));
    EXPECT_TRUE(question.buttons[0].destructive);
    EXPECT_EQ(question.cancelButton, 1);
    EXPECT_EQ(question.defaultButton, 1);
    EXPECT_NE(f.config.group(work.id), nullptr) << "cancelled";
    f.dialogs.button = 0;
    entry(QStringLiteral("Delete")).action();
    EXPECT_EQ(f.config.group(work.id), nullptr);
}

TEST_F(PanelActions, ToolRowActsOnTheWholeGroupUnderTheModifiersHeld)
{
    for (const char *id : {"work.1", "work.2", "play.1"})
        f.run(QLatin1String(id));
    const std::pair<Qt::KeyboardModifiers, const char *> cases[] = {{Qt::NoModifier, "hide"},
                                                                    {Qt::AltModifier, "terminate"},
                                                                    {Qt::ControlModifier, "forceTerminate"},
                                                                    {Qt::ControlModifier | Qt::AltModifier, "hide"}};
    for (const auto &[modifiers, verb] : cases) {
        f.running.calls.clear();
        model->setModifiers(modifiers);
        model->closeAll();
        EXPECT_EQ(f.running.calls, QStringList({QLatin1String(verb) + QStringLiteral(" work.1 100"),
                                                QLatin1String(verb) + QStringLiteral(" work.2 101")}));
    }
    f.running.running.clear();
    model->openAll();
    f.scheduler.advance(std::chrono::seconds(1));
    EXPECT_EQ(f.workspace.opened, QStringList({QStringLiteral("work.1"), QStringLiteral("work.2")}));
}

TEST_F(PanelActions, AStoredGroupCanBeAnApplicationOfItsOwnButNotInsideOne)
{
    EXPECT_TRUE(model->offersStandalone());
    model->openStandalone();
    EXPECT_EQ(f.madeStandalone, QList<QUuid>{work.id});
    EXPECT_EQ(closed(), 1);
    model->select(SidebarSelection::mostUsed());
    EXPECT_FALSE(model->offersStandalone()) << "Most Used is no group";
    model->openStandalone();
    EXPECT_EQ(f.madeStandalone.size(), 1);

    PanelDependencies inside = f.dependencies();
    inside.openStandalone = {};
    PanelViewModel agent(inside);
    agent.select(SidebarSelection::group(work.id));
    EXPECT_FALSE(agent.offersStandalone());
}

TEST_F(PanelActions, NewGroupIsStoredAndSelected)
{
    model->createGroup(QStringLiteral(" \n\t "), QStringLiteral("📁"));
    EXPECT_EQ(f.config.groups().size(), 2);
    for (const auto &[given, stored] : {std::pair("📚", "📚"), {" ", "📁"}}) {
        model->createGroup(QStringLiteral(" Reading "), QString::fromUtf8(given));
        EXPECT_EQ(f.config.groups().last().name, QStringLiteral("Reading"));
        EXPECT_EQ(f.config.groups().last().emoji, QString::fromUtf8(stored));
        EXPECT_EQ(model->selectedGroup()->id, f.config.groups().last().id);
    }
}

} // namespace
} // namespace cobblet
