#include "ui/PanelFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using test::PanelFixture;

class PanelModel : public testing::Test {
protected:
    void SetUp() override
    {
        work = f.group(QStringLiteral("Work"), 3, QStringLiteral("work"));
        play = f.group(QStringLiteral("Play"), 2, QStringLiteral("play"));
        pinned = f.group(QStringLiteral("Pinned"), 1, QStringLiteral("pinned"));
        pinned.isPinned = true;
        f.config.replaceGroups({work, play, pinned});
        f.config.replaceShortcuts({{1, work.id}, {5, play.id}});
        model = std::make_unique<PanelViewModel>(f.dependencies());
        model->setVisible(true);
    }

    QString tabs() const
    {
        QStringList names;
        for (const SidebarRow &row : model->sidebar()->rows())
            names.append(row.name + (row.shortcutDigit ? QString::number(row.shortcutDigit) : QString()));
        return names.join(QStringLiteral(", "));
    }
    QString cells() const
    {
        QStringList ids;
        for (const GridCell &cell : model->grid()->rows())
            ids.append(cell.isAdd ? QStringLiteral("+") : cell.app.bundleID);
        return ids.join(QStringLiteral(", "));
    }
    QString shown() const { return model->selectedGroup() ? model->selectedGroup()->name : QStringLiteral("-"); }
    QVariant cell(int row, AppGridModel::Role role) const
    {
        return model->grid()->data(model->grid()->index(row), role);
    }
    QSizeF postedSize() const
    {
        const QStringList sizes = f.messages.filter(QStringLiteral("Cobblet.panelDesiredSizeChanged "));
        const QStringList size =
            sizes.isEmpty() ? QStringList() : sizes.last().section(QLatin1Char(' '), 1).split(QLatin1Char('x'));
        return size.size() == 2 ? QSizeF(size[0].toDouble(), size[1].toDouble()) : QSizeF();
    }

    PanelFixture f;
    AppGroup work, play, pinned;
    std::unique_ptr<PanelViewModel> model;
};

TEST_F(PanelModel, SidebarListsPinnedGroupsThenTheRestWithTheirDigits)
{
    EXPECT_EQ(tabs(), QStringLiteral("Pinned, Work1, Play5"));
    EXPECT_EQ(model->content(), PanelViewModel::Content::NoLaunches);
    EXPECT_EQ(model->selectedRow(), -1) << "Most Used";
    f.setPreference(QStringLiteral("popupShowsMostUsed"), false);
    EXPECT_EQ(shown(), QStringLiteral("Pinned")) << "what is no longer offered gives way to the first group";
    EXPECT_EQ(model->selectedRow(), 0);
    f.config.setPinned(play.id, true);
    EXPECT_EQ(tabs(), QStringLiteral("Play5, Pinned, Work1"));
}

TEST_F(PanelModel, DigitsSelectByMapThenByPosition)
{
    struct Case {
        int digit;
        const char *group;
    };
    // 1 and 5 are mapped; 2 is the second group of the sidebar order; no group answers the others.
    const Case cases[] = {{5, "Play"}, {1, "Work"}, {3, "Play"}, {2, "Work"}, {9, "Work"}, {0, "Work"}, {-1, "Work"}};
    for (const Case &c : cases) {
        emit f.notifications.selectGroupShortcut(c.digit);
        EXPECT_EQ(shown(), QLatin1String(c.group)) << c.digit;
    }
}

TEST_F(PanelModel, SelectionByIDShowsTheGroupAndPostsItsSize)
{
    f.setPreference(QStringLiteral("popupColumns"), 4);
    emit f.notifications.selectGroupByID(play.id);
    EXPECT_EQ(shown(), QStringLiteral("Play"));
    EXPECT_EQ(model->selectedRow(), 2);
    EXPECT_EQ(cells(), QStringLiteral("play.1, play.2, +"));
    EXPECT_EQ(postedSize(), QSizeF(592.5, 300));
}

TEST_F(PanelModel, DeletedSelectionFallsBackToTheFirstGroup)
{
    model->select(SidebarSelection::group(play.id));
    f.config.deleteGroup(play.id);
    EXPECT_EQ(shown(), QStringLiteral("Pinned"));
    EXPECT_EQ(model->selectedRow(), 0);
    f.config.replaceGroups({});
    EXPECT_EQ(model->content(), PanelViewModel::Content::NoGroups);
    EXPECT_EQ(postedSize(), QSizeF(600, 340));
    EXPECT_EQ(cells(), QString());
}

TEST_F(PanelModel, SizeIsPostedWhenGroupsOrPreferencesChange)
{
    model->select(SidebarSelection::group(work.id));
    f.setPreference(QStringLiteral("popupColumns"), 2);
    EXPECT_EQ(postedSize(), QSizeF(408.5, 2 * 103 + 18 + 32 + 46.5));
    f.workspace.install(QStringLiteral("extra"));
    f.config.addApps({{QStringLiteral("Extra"), QStringLiteral("extra")}}, work.id);
    EXPECT_EQ(postedSize(), QSizeF(408.5, 3 * 103 + 2 * 18 + 32 + 46.5));

    AppGroup own = *f.config.group(work.id);
    own.popupColumns = 3;
    own.popupShowsTitles = false;
    f.config.updateGroup(own);
    EXPECT_EQ(postedSize(), QSizeF(500.5, 300));
    EXPECT_EQ(model->columns(), 3);
    EXPECT_FALSE(model->showsTitles());
}

TEST_F(PanelModel, MostUsedShowsTenWithCountsAndIsNotEditable)
{
    const AppGroup many = f.group(QStringLiteral("Many"), 11, QStringLiteral("many"));
    model->setVisible(false);
    for (int i = 0; i < many.apps.size(); ++i)
        for (int n = 0; n <= i; ++n)
            f.usage.recordLaunch(many.apps[i].bundleID);
    EXPECT_EQ(cells(), QString()) << "a hidden panel catches up when it is shown";
    model->setVisible(true);
    ASSERT_EQ(model->grid()->rowCount(), 10);
    EXPECT_TRUE(cells().startsWith(QStringLiteral("many.11, ")));
    EXPECT_FALSE(cells().contains(QLatin1Char('+')));
    EXPECT_EQ(cell(0, AppGridModel::CountRole), 11);
    EXPECT_TRUE(model->showsToolRow());

    model->select(SidebarSelection::group(work.id));
    EXPECT_EQ(cell(0, AppGridModel::CountRole), -1) << "no count outside Most Used";
}

TEST_F(PanelModel, CellsTellWhatRunsAndWhatIsInstalled)
{
    f.workspace.aliases[QStringLiteral("work.3")] = QStringLiteral("org.desktop.counterpart");
    f.workspace.installed.remove(QStringLiteral("work.2"));
    model->select(SidebarSelection::group(work.id));
    EXPECT_TRUE(cell(0, AppGridModel::InstalledRole).toBool());
    EXPECT_FALSE(cell(1, AppGridModel::InstalledRole).toBool());
    EXPECT_FALSE(cell(2, AppGridModel::RunningRole).toBool());

    f.run(QStringLiteral("org.desktop.counterpart"));
    EXPECT_TRUE(cell(2, AppGridModel::RunningRole).toBool()) << "a well-known identifier stands for its counterpart";
    EXPECT_FALSE(cell(0, AppGridModel::RunningRole).toBool());

    f.workspace.install(QStringLiteral("work.2"));
    emit f.workspace.installedApplicationsChanged();
    EXPECT_TRUE(cell(1, AppGridModel::InstalledRole).toBool());
}

TEST_F(PanelModel, TilesComeFromTheIconsOnceLoaded)
{
    model->select(SidebarSelection::group(work.id));
    const QImage before = cell(0, AppGridModel::TileRole).value<QImage>();
    EXPECT_EQ(before.size(), QSize(48, 48));
    QSignalSpy changed(model->grid(), &AppGridModel::dataChanged);
    for (int i = 0; i < 50 && changed.size() < 3; ++i)
        changed.wait(100);
    const QColor color = cell(0, AppGridModel::TileRole).value<QImage>().pixelColor(24, 24);
    EXPECT_EQ(color, f.workspace.icon(QStringLiteral("work.1"), 64, 1).pixelColor(32, 32));
}

TEST_F(PanelModel, RowsStayConsistentThroughEveryKindOfChange)
{
    QAbstractItemModelTester grid(model->grid(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    QAbstractItemModelTester sidebar(model->sidebar(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy resets(model->grid(), &AppGridModel::modelReset);
    model->select(SidebarSelection::group(work.id));
    model->select(SidebarSelection::group(pinned.id));
    f.config.removeApp(QStringLiteral("pinned.1"), pinned.id);
    model->selectRow(-1);
    f.config.moveGroup(work.id, play.id);
    f.config.replaceGroups({});
    f.config.replaceGroups({play, work});
    EXPECT_EQ(resets.size(), 0) << "cells are kept and get new values";
}

} // namespace
} // namespace cobblet
