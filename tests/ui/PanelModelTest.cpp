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

} // namespace
} // namespace cobblet
