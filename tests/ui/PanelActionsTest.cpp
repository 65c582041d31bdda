#include "ui/PanelFixture.h"

namespace cobblet {
namespace {

class PanelActions : public testing::Test {
protected:
    PanelActions()
    {
        work.apps.append({u"Gone"_s, u"gone"_s});
        f.config.replaceGroups({work, play});
        model.select(SidebarSelection::group(work.id));
    }

    /// The menu's titles; a submenu's in brackets, "-" for a separator, "!" before what is disabled.
    static QString titles(const QList<MenuItem> &menu)
    {
        QStringList list;
        for (const MenuItem &item : menu) {
            const QString children = item.children.isEmpty() ? QString() : u"[%1]"_s.arg(titles(item.children));
            list.append((item.enabled ? u""_s : u"!"_s) + (item.isSeparator() ? u"-"_s : item.title) + children);
        }
        return list.join(u", "_s);
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
        return ids.join(u", "_s);
    }
    qsizetype closed() const { return f.posted("Cobblet.closePanel"); }

    test::PanelFixture f;
    AppGroup work = f.group(u"Work"_s, 2, u"work"_s);
    AppGroup play = f.group(u"Play\n& more"_s, 1, u"play"_s);
    PanelViewModel model{f.dependencies()};
};

TEST_F(PanelActions, ClickOpensTheApplicationAndThenClosesThePanelUnlessItIsNotInstalled)
{
    f.log.clear();
    for (const int row : {2, -1, 99})
        model.activateCell(row);
    EXPECT_EQ(f.log, QStringList());
    model.activateCell(1);
    EXPECT_EQ(f.log, QStringList({u"open work.2"_s, u"Cobblet.closePanel"_s}));
}

TEST_F(PanelActions, ChooserSortsSearchesAndAddsWhatIsChosenToTheGroupItWasOpenedFor)
{
    for (const auto &[id, name] : {std::pair(u"new.a"_s, u"zeta"_s), {u"new.b"_s, u"Beta"_s}, {u"c"_s, u"alpha"_s}})
        f.workspace.install(id, name);
    const std::unique_ptr<AppChooser> chooser(model.makeChooser(nullptr));
    const auto listed = [&chooser] {
        QStringList names;
        for (const AppItem &app : chooser->rows())
            names.append(app.name);
        return names.join(u", "_s);
    };
    EXPECT_FALSE(chooser->isReady());
    ASSERT_TRUE(QTest::qWaitFor([&] { return chooser->isReady(); }));
    EXPECT_EQ(listed(), u"alpha, App 1, App 1, App 2, Beta, zeta"_s);
    chooser->setSearch(u" NEW  beta"_s);
    EXPECT_EQ(listed(), u"Beta"_s) << "words of the name or of the identifier";
    for (const char *each : {"zeta", "app", "app", "beta"}) { // the second one takes its choice back
        chooser->setSearch(QLatin1String(each));
        chooser->toggle(int(chooser->rows().size()) - 1);
    }
    EXPECT_EQ(chooser->chosenCount(), 2);
    model.select(SidebarSelection::group(play.id));
    EXPECT_TRUE(chooser->add(0));
    EXPECT_EQ(storedApps(work), u"work.1, work.2, gone, new.b, new.a"_s);
    EXPECT_EQ(storedApps(play), u"play.1"_s);

    const std::unique_ptr<AppChooser> second(model.makeChooser(nullptr));
    EXPECT_FALSE(second->add(0)) << "nothing is listed yet";
    ASSERT_TRUE(QTest::qWaitFor([&] { return second->isReady(); }));
    EXPECT_TRUE(second->add(0)) << "the one that is pointed at, where nothing is chosen";
    EXPECT_EQ(storedApps(play), u"play.1, c"_s);
}

TEST_F(PanelActions, FilesCanBeChosenInPlaceOfInstalledApplications)
{
    f.workspace.install(u"new.one"_s, u"New One"_s);
    f.dialogs.files = {u"/apps/new.one.desktop"_s, u"/apps/work.1.desktop"_s, u"/etc/passwd"_s};
    std::unique_ptr<AppChooser>(model.makeChooser(nullptr))->chooseFiles();
    ASSERT_EQ(f.dialogs.requests.size(), 1);
    EXPECT_TRUE(f.dialogs.requests[0].multiple);
    EXPECT_EQ(f.dialogs.requests[0].package, u"app"_s);
    EXPECT_EQ(storedApps(work), u"work.1, work.2, gone, new.one"_s);
    EXPECT_EQ(f.config.group(work.id)->apps.last().name, u"New One"_s);
    EXPECT_EQ(f.dialogs.alerts.size(), 1) << "a file that is no application is not dropped silently";
}

TEST_F(PanelActions, CellMenuFollowsTheApplicationsState)
{
    f.run(u"work.1"_s);
    const QString editing = u", Move to[Play & more], Remove from Work"_s;
    const QString expected[] = {u"Show All Windows, Hide, Quit, Force Quit, Show in Finder"_s + editing,
                                u"Open, Show in Finder"_s + editing, u"!Open, !Show in Finder"_s + editing};
    for (int row = 0; row < 3; ++row) {
        f.menus.last.clear();
        model.showCellMenu(row, {});
        EXPECT_EQ(titles(f.menus.last), expected[row]);
    }
    f.usage.recordLaunch(u"work.1"_s);
    model.setVisible(true);
    model.select(SidebarSelection::mostUsed());
    model.showCellMenu(0, {});
    model.showGroupMenu(-1, {}); // Most Used has no menu of its own
    EXPECT_EQ(titles(f.menus.last) + editing, expected[0]) << "Most Used cannot be edited";
}

TEST_F(PanelActions, CellMenuEntriesActOnThatApplicationAlone)
{
    for (const auto &id : {u"work.1"_s, u"work.2"_s})
        f.run(id);
    model.showCellMenu(0, {});
    f.log.clear();
    for (const auto &title : {u"Hide"_s, u"Quit"_s, u"Force Quit"_s, u"Show in Finder"_s})
        entry(title).action();
    EXPECT_EQ(f.log.join(u", "_s),
              u"hide work.1 100, terminate work.1 100, forceTerminate work.1 100, reveal work.1"_s);
    entry(u"Show All Windows"_s).action();
    EXPECT_EQ(closed(), 1);
    entry(u"Move to"_s).children.front().action();
    EXPECT_EQ(storedApps(play), u"play.1, work.1"_s);
    model.showCellMenu(0, {});
    entry(u"Remove from Work"_s).action();
    EXPECT_EQ(storedApps(work), u"gone"_s);
}

TEST_F(PanelActions, GroupMenuPinsAndDeletesAfterAsking)
{
    for (const auto &[title, pinned] : {std::pair(u"Pin"_s, true), {u"Unpin"_s, false}}) {
        model.showGroupMenu(0, {});
        EXPECT_EQ(titles(f.menus.last), title + u", Delete"_s);
        entry(title).action();
        EXPECT_EQ(f.config.group(work.id)->isPinned, pinned);
    }
    entry(u"Delete"_s).action();
    const Alert &question = f.dialogs.alerts.value(0);
    EXPECT_TRUE(question.buttons.value(0).destructive && question.cancelButton == 1 && question.defaultButton == 1);
    EXPECT_TRUE(f.config.group(work.id)) << "cancelled";
    f.dialogs.button = 0;
    entry(u"Delete"_s).action();
    EXPECT_FALSE(f.config.group(work.id));
}

TEST_F(PanelActions, AStoredGroupCanBeAnApplicationOfItsOwnButNotInsideOne)
{
    EXPECT_TRUE(model.offersStandalone());
    model.openStandalone();
    EXPECT_EQ(closed(), 1);
    model.select(SidebarSelection::mostUsed());
    EXPECT_FALSE(model.offersStandalone()) << "Most Used is no group";
    model.openStandalone();
    EXPECT_EQ(f.madeStandalone, QList<QUuid>{work.id});

    PanelDependencies inside = f.dependencies();
    inside.openStandalone = {};
    PanelViewModel agent(inside);
    agent.select(SidebarSelection::group(work.id));
    EXPECT_FALSE(agent.offersStandalone());
}

} // namespace
} // namespace cobblet
