#include "ui/settings/GroupEditor.h"
#include "model/Notifications.h"
#include "standalone/AgentGroup.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/IconProvider.h"
#include "support/GroupsFixture.h"
#include "ui/common/AppChooser.h"
#include "ui/settings/GroupDrafts.h"
#include "ui/settings/Preferences.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

class Editor : public testing::Test, protected test::GroupsFixture {
protected:
    Editor()
    {
        work.name = u"Work"_s;
        work.emoji = u"💼"_s;
        for (const char *id : {"a", "b", "c", "d", "e"})
            work.apps.append({QString::fromLatin1(id).toUpper(), QString::fromLatin1(id)});
        play.name = u"Play"_s;
        config.replaceGroups({work, play});
        editor.open(work.id);
    }

    const AppGroup &stored() const { return *config.group(work.id); }
    QString shownApps()
    {
        QString ids;
        for (const AppItem &app : editor.apps()->rows())
            ids += app.bundleID;
        return ids;
    }

    test::FakeDialogs dialogs;
    test::FakeDistributedNotifications distributed;
    IconProvider icons{workspace, 1};
    GroupIconProvider groupIcons{icons, workspace};
    Preferences preferences{sharedDefaults};
    GroupDrafts drafts{config};
    GroupEditor editor{{config, drafts, preferences, workspace, icons, groupIcons, running, distributed, dialogs}};
    AppGroup work, play;
};

/// What each field of a draft can be changed to: by the person (1), by somebody else (2).
const QList<std::function<void(DraftAppearance &, int)>> fields{
    [](DraftAppearance &d, int by) { d.name = QString::number(by); },
    [](DraftAppearance &d, int by) { d.emoji = QString::number(by); },
    [](DraftAppearance &d, int by) { d.iconStyle = by == 1 ? GroupIconStyle::Grid : GroupIconStyle::Emoji; },
    [](DraftAppearance &d, int by) { d.iconColor = QString::number(by); },
    [](DraftAppearance &d, int by) { d.iconFill = by == 1 ? GroupIconFill::Glass : GroupIconFill::Gradient; },
    [](DraftAppearance &d, int by) {
        d.apps = {{u"App"_s, QString::number(by)}};
    },
    [](DraftAppearance &d, int by) { d.popupColumns = by; },
    [](DraftAppearance &d, int by) { d.popupMaxRows = by; },
    [](DraftAppearance &d, int by) { d.popupShowsTitles = by == 1; },
    [](DraftAppearance &d, int by) { d.popupAnchor = by == 1 ? PopupAnchor::DockIcon : PopupAnchor::DockCenter; }};

TEST_F(Editor, DraftKeepsTheFieldThatItChangedTakesOverTheOthersAndStoresBothWithApply)
{
    for (qsizetype mine = 0; mine < fields.size(); ++mine) {
        config.updateGroup(work);
        ASSERT_FALSE(drafts.hasDraft(work.id));
        DraftAppearance draft = drafts.draft(work.id);
        fields[mine](draft, 1);
        drafts.set(work.id, draft);
        EXPECT_TRUE(drafts.hasDraft(work.id)) << mine;
        EXPECT_EQ(stored(), work);

        DraftAppearance theirs = DraftAppearance::of(work);
        for (const auto &change : fields)
            change(theirs, 2);
        config.updateGroup(theirs.appliedTo(work));
        DraftAppearance merged = theirs;
        fields[mine](merged, 1);
        EXPECT_EQ(drafts.draft(work.id), merged) << mine;

        EXPECT_TRUE(drafts.apply(work.id));
        EXPECT_EQ(stored(), merged.appliedTo(work)) << mine;
    }

    // What another process stored is merged even when this one doesn't know it yet.
    ConfigManager other({folder}, standardDefaults);
    editor.setEmoji(u"🎲"_s);
    other.renameGroup(work.id, u"Theirs"_s);
    editor.apply();
    EXPECT_EQ(stored().name, u"Theirs"_s);
    EXPECT_EQ(stored().emoji, u"🎲"_s);
}

TEST_F(Editor, DraftWaitsWhileOtherGroupsAreShownAndItsOwnIsDeletedAndEndsWhereItIsLikeWhatIsStored)
{
    QList<bool> members;
    QObject::connect(&drafts, &GroupDrafts::membersChanged, [&] { members.append(drafts.hasDraft(work.id)); });
    editor.setName(u"Job"_s);
    editor.open(play.id);
    EXPECT_EQ(editor.name(), u"Play"_s);
    EXPECT_FALSE(editor.hasChanges());
    config.deleteGroup(work.id);
    config.addGroup(work);
    editor.open(work.id);
    EXPECT_EQ(editor.name(), u"Job"_s);
    config.renameGroup(work.id, u"Job"_s);
    EXPECT_FALSE(editor.hasChanges());
    EXPECT_EQ(members, QList<bool>({true, false}));
}

TEST_F(Editor, ApplyRepaintsTheTileOfARunningAgentAndSaysWhenItWillBeSeenOtherwise)
{
    const RunningApplication agent{agentIdentifier(work.id), 7};
    struct Case {
        bool standalone, runs;
        QString notice;
    };
    const QList<Case> cases{
        {false, true, u""_s},
        {true, true, u"Applied — the Dock tile has been updated."_s},
        {true, false,
         u"Applied. You'll see the new tile when you open this group.\nA pinned tile may keep its "
         "old look until then\n(or until the next login)."_s}};
    for (const Case &c : cases) {
        config.setStandalone(work.id, c.standalone);
        running.running = c.runs ? QList{agent} : QList<RunningApplication>();
        distributed.posted.clear();
        editor.setGrid(!editor.isGrid());
        EXPECT_EQ(editor.appliedNotice(), u""_s);
        editor.apply();
        EXPECT_EQ(editor.appliedNotice(), c.notice);
        EXPECT_EQ(distributed.posted.size(), c.standalone && c.runs ? 1 : 0);
        EXPECT_FALSE(editor.hasChanges());
        EXPECT_EQ(stored().iconStyle == GroupIconStyle::Grid, editor.isGrid());
    }
    editor.apply(); // nothing to apply
    EXPECT_EQ(editor.appliedNotice(), cases.last().notice);
}

TEST_F(Editor, WhatTheDiskDoesNotTakeStaysADraftAndIsSaidUntilItIsAppliedAgain)
{
    QDir(folder).removeRecursively();
    QFile inTheWay(folder);
    ASSERT_TRUE(inTheWay.open(QFile::WriteOnly));
    editor.setName(u"Job"_s);
    editor.apply();
    EXPECT_TRUE(editor.appliedNotice().startsWith(u"Not applied: "_s)) << editor.appliedNotice().toStdString();
    EXPECT_TRUE(editor.hasChanges());

    ASSERT_TRUE(inTheWay.remove() && QDir().mkpath(folder));
    editor.apply();
    EXPECT_EQ(editor.appliedNotice(), u""_s);
    EXPECT_FALSE(editor.hasChanges());
    QFile file(folder + u"/groups.json"_s);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    EXPECT_TRUE(file.readAll().contains("\"Job\""));
}

TEST_F(Editor, RefusesABlankNameAndTakesAnyOther)
{
    for (const QString &blank : {u""_s, u"  \n"_s}) {
        editor.setName(blank);
        EXPECT_NE(editor.refusal(), u""_s);
        editor.apply();
        EXPECT_EQ(stored().name, u"Work"_s);
    }
    for (const QString &name : {QString(10'000, u'x'), u"two\nlines"_s, u"\u202Eright to left"_s}) {
        editor.setName(name);
        editor.apply();
        EXPECT_EQ(stored().name, name);
    }
}

TEST_F(Editor, TileColorIsSixDigitsOrWhatTheDialogTriesAndGoesBackWhenThatIsCancelled)
{
    EXPECT_EQ(editor.iconColor(), u"#C7C7C7"_s);
    for (const QString &text : {u"red"_s, u"#12345"_s, u"0x12ab"_s, u""_s}) {
        editor.resetIconColor();
        editor.setIconColor(text, true);
        EXPECT_EQ(editor.colorFailure(), u""_s);
        editor.setIconColor(text);
        EXPECT_NE(editor.colorFailure(), u""_s) << text.toStdString();
        EXPECT_FALSE(editor.hasChanges());
    }
    editor.setIconColor(u" 1e90ff "_s);
    EXPECT_EQ(editor.colorFailure(), u""_s);
    EXPECT_EQ(drafts.draft(work.id).iconColor, u"#1E90FF"_s);

    editor.chooseIconColor();
    editor.open(play.id); // the dialog belongs to the group that it was opened for
    dialogs.tried(QColor(Qt::red));
    EXPECT_EQ(drafts.draft(work.id).iconColor, u"#FF0000"_s);
    dialogs.tried(std::nullopt);
    EXPECT_EQ(drafts.draft(work.id).iconColor, u"#1E90FF"_s);
    EXPECT_FALSE(drafts.hasDraft(play.id));

    editor.open(work.id);
    editor.resetIconColor();
    EXPECT_FALSE(editor.hasChanges());
}

TEST_F(Editor, AppsAreMovedRemovedAndAddedOnce)
{
    struct Move {
        int from, to, then;
        QString order;
    };
    for (const Move &move : {Move{0, 1, 1, u"bacde"_s},
                             {1, 0, 0, u"abcde"_s},
                             {0, -1, 0, u"abcde"_s},
                             {4, 5, 4, u"abcde"_s},
                             {0, 99, 4, u"bcdea"_s},
                             {4, -9, 0, u"abcde"_s}}) {
        EXPECT_EQ(editor.moveApp(move.from, move.to), move.then);
        EXPECT_EQ(shownApps(), move.order);
    }
    EXPECT_FALSE(editor.hasChanges());
    editor.removeApp(1);
    editor.removeApp(99);
    EXPECT_EQ(shownApps(), u"acde"_s);

    workspace.install(u"c"_s);
    workspace.install(u"new"_s);
    const auto isInstalled = [&](int row) {
        return editor.apps()->data(editor.apps()->index(row), DraftApps::IsInstalledRole).toBool();
    };
    EXPECT_FALSE(isInstalled(0));
    EXPECT_TRUE(isInstalled(1));
    const std::unique_ptr<AppChooser> chooser(editor.makeChooser(nullptr));
    ASSERT_TRUE(QTest::qWaitFor([&] { return chooser->isReady(); }));
    for (int row = 0; row < chooser->rowCount(); ++row)
        chooser->toggle(row);
    EXPECT_TRUE(chooser->add(-1));
    EXPECT_EQ(shownApps(), u"acdenew"_s);
    dialogs.files = {u"/apps/new.desktop"_s, u"/apps/nothing"_s};
    chooser->chooseFiles();
    EXPECT_EQ(shownApps(), u"acdenew"_s);
    EXPECT_EQ(dialogs.alerts.size(), 1);
    EXPECT_EQ(stored().apps, work.apps);
}

TEST_F(Editor, OverridesShowTheNearestChoiceAndStoreNothingUntilOneIsTaken)
{
    work.popupColumns = 12;
    config.updateGroup(work);
    EXPECT_EQ(editor.columnChoices().at(editor.columns()), u"8"_s);
    EXPECT_EQ(editor.rowChoices().at(editor.maxRows()), u"Global"_s);
    EXPECT_FALSE(editor.hasChanges());
    ASSERT_TRUE(sharedDefaults.set(u"popupShowsTitles"_s, false));
    EXPECT_FALSE(editor.showsTitles());
    editor.setShowsTitles(true);
    editor.setColumns(0);
    editor.setMaxRows(1);
    editor.setPosition(2);
    editor.apply();
    EXPECT_EQ(stored().popupColumns, std::nullopt);
    EXPECT_EQ(stored().popupMaxRows, 0);
    EXPECT_EQ(stored().popupShowsTitles, true);
    EXPECT_EQ(stored().popupAnchor, PopupAnchor::DockIcon);
}

TEST_F(Editor, PreviewFollowsTheDraftAndTheAppsOnAGridAreDrawnInTheBackground)
{
    workspace.install(u"a"_s);
    const auto at = [&](double x, double y) {
        const QImage image = editor.preview()->image().value<QImage>();
        return image.pixelColor(int(x * image.width()), int(y * image.height()));
    };
    editor.setIconColor(u"#102030"_s);
    EXPECT_EQ(at(0.5, 0.12), QColor(0x10, 0x20, 0x30));
    const QColor icon = workspace.icon(u"a"_s, 1, 1).pixelColor(0, 0);
    editor.setGrid(true);
    EXPECT_TRUE(QTest::qWaitFor([&] { return at(0.35, 0.35) == icon; }));
}

} // namespace
} // namespace cobblet
