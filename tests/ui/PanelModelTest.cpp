#include "ui/PanelFixture.h"

#include <QAbstractItemModelTester>

namespace cobblet {
namespace {

class PanelModel : public testing::Test {
protected:
    PanelModel()
    {
        pinned.isPinned = true;
        f.config.replaceGroups({work, play, pinned});
        f.config.replaceShortcuts({{1, work.id}, {5, play.id}});
        model.setVisible(true);
    }

    QString tabs()
    {
        QStringList names;
        for (const SidebarRow &row : model.sidebar()->rows())
            names.append(row.name + (row.shortcutDigit ? QString::number(row.shortcutDigit) : QString()));
        return names.join(u", "_s);
    }
    QString cells()
    {
        QStringList ids;
        for (const GridCell &cell : model.grid()->rows())
            ids.append(cell.app.bundleID);
        if (model.isEditable())
            ids.append(u"+"_s);
        return ids.join(u", "_s);
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
    QString shown() const { return model.selectedGroup() ? model.selectedGroup()->name : u"-"_s; }

    test::PanelFixture f;
    AppGroup work = f.group(u"Work"_s, 3, u"work"_s);
    AppGroup play = f.group(u"Play"_s, 2, u"play"_s);
    AppGroup pinned = f.group(u"Pinned"_s, 1, u"pinned"_s);
    PanelViewModel model{f.dependencies()};
};

TEST_F(PanelModel, SidebarListsPinnedGroupsThenTheRestWithTheirDigits)
{
    EXPECT_EQ(tabs(), u"Pinned, Work1, Play5"_s);
    EXPECT_EQ(model.content(), PanelViewModel::Content::NoLaunches);
    f.setPreference(u"popupShowsMostUsed"_s, false);
    EXPECT_EQ(shown(), u"Pinned"_s) << "what is no longer offered gives way to the first group";
    f.config.setPinned(play.id, true);
    EXPECT_EQ(tabs(), u"Play5, Pinned, Work1"_s);
    f.config.deleteGroup(pinned.id);
    EXPECT_EQ(shown(), u"Play"_s) << "and so does what is deleted";
}

TEST_F(PanelModel, DigitsSelectByMapThenByPositionAndIdentifiersTheirGroup)
{
    // 1 and 5 are mapped; 2 is the second group of the sidebar order; no group answers the others.
    for (const auto &[digit, group] : {std::pair(5, "Play"), {1, "Work"}, {3, "Play"}, {2, "Work"}, {9, "Work"}}) {
        emit f.notifications.selectGroupShortcut(digit);
        EXPECT_EQ(shown(), QLatin1String(group)) << digit;
    }
    emit f.notifications.selectGroupByID(play.id);
    EXPECT_EQ(model.selectedRow(), 2);
    EXPECT_EQ(cells(), u"play.1, play.2, +"_s);
    emit f.notifications.selectGroupByID(AppGroup::mostUsedID);
    EXPECT_EQ(model.selectedRow(), -1) << "the reserved identifier is Most Used";
}

TEST_F(PanelModel, SizeIsPostedWhenGroupsOrPreferencesChangeOrTheSelectionIsDeleted)
{
    model.select(SidebarSelection::group(work.id));
    const std::pair<const char *, std::function<void()>> changes[] = {
        {"408.5x302.5", [this] { f.setPreference(u"popupColumns"_s, 2); }},
        {"408.5x423.5",
         [this] {
             f.config.addApps({{u"Extra"_s, u"extra"_s}}, work.id);
         }},
        {"600x340", [this] { f.config.replaceGroups({}); }},
    };
    for (const auto &[size, change] : changes) {
        f.log.clear();
        change();
        EXPECT_EQ(f.log.filter(u"Cobblet.panelDesiredSizeChanged "_s).value(0).section(u' ', 1), QLatin1String(size));
    }
    EXPECT_EQ(model.content(), PanelViewModel::Content::NoGroups);
}

TEST_F(PanelModel, MostUsedShowsTenWithCountsAndIsNotEditable)
{
    model.setVisible(false);
    for (const AppItem &app : f.group(u"Many"_s, 11, u"many"_s).apps)
        f.usage.recordLaunch(app.bundleID);
    f.usage.recordLaunch(u"many.11"_s);
    EXPECT_EQ(cells(), QString()) << "a hidden panel catches up when it is shown";
    model.setVisible(true);
    ASSERT_EQ(model.grid()->rowCount(), 10);
    EXPECT_TRUE(cells().startsWith(u"many.11, "_s) && !cells().contains(u'+'));
    const auto count = [this] { return model.grid()->data(model.grid()->index(0), AppGridModel::CountRole); };
    EXPECT_EQ(count(), 2);
    model.select(SidebarSelection::group(work.id));
    EXPECT_EQ(count(), -1) << "no count outside Most Used";
}

TEST_F(PanelModel, CellsTellWhatRunsAndWhatIsInstalled)
{
    const auto is = [this](int row, AppGridModel::Role role) {
        return model.grid()->data(model.grid()->index(row), role).toBool();
    };
    f.workspace.aliases[u"work.3"_s] = u"org.desktop.counterpart"_s;
    f.workspace.installed.remove(u"work.2"_s);
    model.select(SidebarSelection::group(work.id));
    EXPECT_TRUE(is(0, AppGridModel::InstalledRole) && !is(1, AppGridModel::InstalledRole));
    f.run(u"org.desktop.counterpart"_s);
    EXPECT_TRUE(is(2, AppGridModel::RunningRole)) << "a well-known identifier stands for its counterpart";
    EXPECT_FALSE(is(0, AppGridModel::RunningRole));
    f.workspace.install(u"work.2"_s);
    emit f.workspace.installedApplicationsChanged();
    EXPECT_TRUE(is(1, AppGridModel::InstalledRole));
}

TEST_F(PanelModel, RowsStayConsistentThroughEveryKindOfChange)
{
    QAbstractItemModelTester grid(model.grid(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    QAbstractItemModelTester sidebar(model.sidebar(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy resets(model.grid(), &AppGridModel::modelReset);
    model.select(SidebarSelection::group(work.id));
    model.select(SidebarSelection::group(pinned.id));
    f.config.removeApp(u"pinned.1"_s, pinned.id);
    model.selectRow(-1);
    f.config.moveGroup(work.id, play.id);
    f.config.replaceGroups({});
    f.config.replaceGroups({play, work});
    EXPECT_EQ(resets.size(), 0) << "cells are kept and get new values";
}

/// A group of two applications and one that is not installed, and another group.
class PanelActions : public PanelModel {
protected:
    PanelActions()
    {
        work.apps = {{u"App 1"_s, u"work.1"_s}, {u"App 2"_s, u"work.2"_s}, {u"Gone"_s, u"gone"_s}};
        play.name = u"Play\n& more"_s;
        play.apps.removeLast();
        f.config.replaceGroups({work, play});
        model.select(SidebarSelection::group(work.id));
        f.log.clear();
    }
};

TEST_F(PanelActions, ClickOpensTheApplicationAndThenClosesThePanelUnlessItIsNotInstalled)
{
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
    EXPECT_EQ(listed(), u"alpha, App 1, App 1, App 1, App 2, App 2, App 3, Beta, zeta"_s);
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
    EXPECT_EQ(f.posted("Cobblet.closePanel"), 1);
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

} // namespace
} // namespace cobblet
