#include "ui/SettingsFixture.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// "A" to "D", of which "B" is selected.
class SettingsModel : public testing::Test {
protected:
    SettingsModel()
    {
        f.dialogs.button = 0;
        f.config.replaceGroups({a, b, c, d});
        f.config.replaceShortcuts({{1, a.id}, {2, b.id}, {5, b.id}});
        model.selectGroup(1);
    }
    static AppGroup named(const QString &name, const QStringList &apps = {})
    {
        AppGroup group;
        group.name = name;
        for (const QString &app : apps)
            group.apps.append({app, u"org.example."_s + app});
        return group;
    }
    std::string shown()
    {
        QString names;
        for (const GroupRowData &row : model.groups()->rows())
            names += row.name;
        return names.toStdString();
    }
    std::string stored()
    {
        QString names;
        for (const AppGroup &group : f.config.groups())
            names += group.name;
        return names.toStdString();
    }
    /// What is selected: a group's name, a page's source, or the row between them.
    std::string place()
    {
        if (model.actionRow() >= 0)
            return "+" + std::to_string(model.actionRow());
        const GroupRowData *group = model.groups()->row(model.groupRow());
        return (group ? group->name : model.pageSource()).toStdString();
    }

    test::SettingsFixture f;
    AppGroup a = named(u"A"_s), b = named(u"B"_s, {u"Mail"_s}), c = named(u"C"_s), d = named(u"D"_s);
    SettingsViewModel model{f.dependencies(), f.drafts};
    QAbstractItemModelTester tester{model.groups(), QAbstractItemModelTester::FailureReportingMode::Fatal};
};

TEST_F(SettingsModel, RowsMoveComeAndGoOneByOneWithTheSelectionOnItsGroup)
{
    QSignalSpy moved(model.groups(), &QAbstractItemModel::rowsMoved);
    QSignalSpy page(&model, &SettingsViewModel::sidebarItemChanged);
    struct {
        QList<AppGroup> groups;
        const char *shown;
        int moves, selected;
    } const cases[] = {
        {{b, c, d, a}, "BCDA", 1, 0}, {{a, b, c, d}, "ABCD", 1, 1},         {{d, c, b, a}, "DCBA", 3, 2},
        {{a, c, b}, "ACB", 2, 2},     {{named(u"X"_s), b, a}, "XBA", 1, 1}, {{a, b, c, d}, "ABCD", 2, 1},
    };
    for (const auto &step : cases) {
        moved.clear();
        f.config.replaceGroups(step.groups); // as another process might
        EXPECT_EQ(shown(), step.shown);
        EXPECT_LE(moved.count(), step.moves) << step.shown;
        EXPECT_EQ(model.groupRow(), step.selected) << step.shown;
    }
    EXPECT_EQ(page.count(), 0) << "the page on show stays";
    f.config.deleteGroup(b.id);
    EXPECT_EQ(place(), "C") << "the group that took its place";

    QList<AppGroup> many, reversed;
    for (int i = 0; i < 300; ++i)
        many.append(named(QString::number(i)));
    std::reverse_copy(many.begin(), many.end(), std::back_inserter(reversed));
    f.config.replaceGroups(many);
    moved.clear();
    f.config.replaceGroups(reversed);
    EXPECT_EQ(model.groups()->row(0)->name, u"299"_s);
    EXPECT_LT(moved.count(), 40) << "another list altogether changes in place";
}

TEST_F(SettingsModel, ArrowsWalkAllRowsAndTheEndsHold)
{
    for (const char *next : {"C", "D", "+0", "ThemePage.qml", "PopupPage.qml"}) {
        model.step(1);
        EXPECT_EQ(place(), next);
    }
    model.step(1000);
    model.step(-1);
    model.step(-int(settingsPages().size()));
    EXPECT_EQ(place(), "D") << "past the button";
    model.step(-1000);
    EXPECT_EQ(place(), "A");
    model.step(4);
    model.selectGroup(0);
    EXPECT_EQ(place(), "A") << "which was on show all the time";
}

TEST_F(SettingsModel, ADragShowsWhereTheGroupWouldGoAndStoresItOnce)
{
    model.beginDrag(0);
    model.dragTo(2);
    EXPECT_EQ(shown() + " " + stored() + " " + place(), "BCAD ABCD B");
    f.config.renameGroup(d.id, u"E"_s);
    EXPECT_EQ(shown(), "BCAE") << "a change elsewhere does not end it";
    model.endDrag(false);
    EXPECT_EQ(shown() + " " + stored(), "ABCE ABCE");

    model.beginDrag(3);
    model.dragTo(1);
    model.endDrag(true);
    EXPECT_EQ(shown() + " " + stored(), "AEBC AEBC");

    model.beginDrag(0);
    model.dragTo(3);
    QSignalSpy cancelled(&model, &SettingsViewModel::dragCancelled);
    f.config.deleteGroup(a.id);
    EXPECT_EQ(cancelled.count(), 1);
    model.endDrag(true);
    EXPECT_EQ(shown() + " " + stored(), "EBC EBC");

    model.moveGroup(-1);
    model.moveGroup(-1);
    EXPECT_EQ(stored() + " " + place(), "BEC B") << "by keys";
}

TEST_F(SettingsModel, DeletedGroupsComeBackInTheirPlaceWithTheirDigits)
{
    b.isStandalone = true;
    f.config.updateGroup(b);
    f.dialogs.button = 1;
    model.deleteGroup(1);
    EXPECT_EQ(stored() + model.deleted()->notice().toStdString(), "ABCD") << "cancelled";
    f.dialogs.button = 0;
    model.deleteGroup(1);
    EXPECT_EQ(model.deleted()->notice(), u"Deleted “B”."_s);
    f.scheduler.advance(9s);
    model.selectPage(0);
    model.deleteGroup(0);
    EXPECT_EQ(stored() + model.deleted()->notice().toStdString(), "CDDeleted “A”.");
    f.scheduler.advance(9s);

    f.config.addGroup(named(u"N"_s)); // meanwhile, and it takes the digit 1
    model.deleted()->undo();
    EXPECT_EQ(stored() + place(), "ACDNA");
    EXPECT_EQ(model.deleted()->notice(), u"Deleted “B”."_s) << "the one before it";
    model.deleted()->undo();
    EXPECT_EQ(stored() + place(), "ABCDNB");
    EXPECT_EQ(*f.config.group(b.id), b) << "as it was";
    EXPECT_EQ(f.config.shortcutDigits(a.id), QList<int>());
    EXPECT_EQ(f.config.shortcutDigits(b.id), (QList<int>{2, 5}));
    EXPECT_TRUE(model.deleted()->notice().isEmpty());
    model.deleted()->undo();
    EXPECT_EQ(stored(), "ABCDN");

    model.deleteGroup(0);
    f.scheduler.advance(10s);
    EXPECT_TRUE(model.deleted()->notice().isEmpty());
    model.deleted()->undo();
    EXPECT_EQ(stored(), "BCDN") << "too late";
}

TEST_F(SettingsModel, TheNextWindowHasThePageAndTheWidthOfTheLast)
{
    const auto reopened = [this](const SettingsSidebarItem &item, int width) {
        {
            SettingsViewModel last(f.dependencies(), f.drafts);
            last.select(item);
            last.setSidebarWidth(width);
        }
        SettingsViewModel next(f.dependencies(), f.drafts);
        return std::pair(next.sidebarItem(), next.sidebarWidth());
    };
    EXPECT_EQ(reopened(SettingsSidebarItem::group(c.id), 300), std::pair(SettingsSidebarItem::group(c.id), 300));
    const SettingsSidebarItem popup{SettingsSidebarItem::Kind::Popup};
    EXPECT_EQ(reopened(popup, 1), std::pair(popup, 200));
    EXPECT_EQ(reopened(SettingsSidebarItem::group(QUuid::createUuid()), 1000), std::pair(SettingsSidebarItem(), 400));
    for (const QVariant &stored : {QVariant(u"group:no"_s), QVariant(qint64(1) << 40), QVariant(-7)}) {
        (void)f.standardDefaults.set(u"settingsPage"_s, stored);
        (void)f.standardDefaults.set(u"settingsSidebarWidth"_s, stored);
        const SettingsViewModel next(f.dependencies(), f.drafts);
        EXPECT_EQ(next.sidebarItem(), SettingsSidebarItem());
        EXPECT_TRUE(next.sidebarWidth() >= 200 && next.sidebarWidth() <= 400);
    }
}

TEST_F(SettingsModel, ANewGroupIsSelectedOnceItIsThere)
{
    model.addGroup(u" \n"_s, u"📁"_s);
    EXPECT_EQ(stored(), "ABCD");
    model.addGroup(u" New "_s, u"📁"_s);
    EXPECT_EQ(place(), "New");
}

TEST_F(SettingsModel, SuggestionsAreRowsBetweenGroupsAndPagesThatBecomeGroupsOrGo)
{
    for (int day = 0; day < 24; ++day)
        for (const QStringList &session :
             {QStringList{u"editor"_s, u"other%1"_s.arg(day % 7)},
              QStringList{u"other%1"_s.arg(day % 5), u"other%1"_s.arg((day + 1) % 7)},
              day % 3 == 0 ? QStringList{u"draw"_s, u"paint"_s, u"photo"_s} : QStringList()}) {
            for (const QString &app : session) {
                f.workspace.install(app, app.toUpper());
                f.usage.recordLaunch(app);
            }
            f.scheduler.advance(8h);
        }
    const auto look = [this] {
        f.suggestions.refresh();
        while (f.suggestions.isLoading())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        return model.suggestions();
    };
    ASSERT_EQ(look().size(), 1);
    const QVariantMap row = model.suggestions().first().toMap();
    EXPECT_EQ(row[u"number"_s], u"3 apps"_s);
    EXPECT_EQ(row[u"names"_s].toString().split(u" · "_s).size(), 3) << row[u"names"_s].toString().toStdString();
    EXPECT_FALSE(row[u"reason"_s].toString().isEmpty());

    model.selectGroup(3);
    for (const char *next : {"+0", "+1", "ThemePage.qml"}) {
        model.step(1);
        EXPECT_EQ(place(), next);
    }
    model.step(-1);
    model.addSuggestion(7);
    model.addSuggestion(0);
    ASSERT_EQ(f.config.groups().size(), 5);
    EXPECT_EQ(f.config.groups().last().apps.size(), 3);
    EXPECT_EQ(model.groupRow(), 4) << "it is selected";
    EXPECT_TRUE(model.suggestions().isEmpty());

    f.config.deleteGroup(f.config.groups().last().id);
    ASSERT_EQ(look().size(), 1);
    model.selectPage(0);
    model.step(-1);
    model.dismissSuggestion(0);
    EXPECT_EQ(place(), "+0") << "the button is the only row there now";
    EXPECT_TRUE(look().isEmpty());
}

TEST_F(SettingsModel, SearchFindsGroupsByNameAndApplicationAndSettingsByLabelAndHelp)
{
    f.config.replaceGroups({named(u"Café"_s, {u"Maps"_s}), named(u"Desk"_s, {u"Mail"_s, u"Calendar"_s}),
                            named(u"Netdesk"_s), named(QString(10'000, u'x'))});
    const std::pair<QString, QString> cases[] = {
        {u"cafe"_s, u"Café"_s},
        {u"DESK"_s, u"Desk, Netdesk"_s},       // the beginning of a word comes first
        {u"mail"_s, u"Desk (Mail)"_s},         // found by an application
        {u"desk cal"_s, u"Desk (Calendar)"_s}, // every word counts
        {u"desk café"_s, u""_s},
        {u"frosted"_s, u"Glassy style (Theme)"_s}, // a word of the help text
        {u"show app"_s, u"Show app names (Popup)"_s},
        {u"theme"_s, u"Theme"_s},
        {u" "_s, u""_s},
    };
    for (const auto &[query, expected] : cases) {
        model.setQuery(query);
        QStringList found;
        for (const QVariant &hit : model.hits()) {
            const QString title = hit.toMap().value(u"title"_s).toString();
            const QString where = hit.toMap().value(u"place"_s).toString();
            found.append(where.isEmpty() ? title : title + u" ("_s + where + u')');
        }
        if (query == u"theme"_s || query == u"show app"_s)
            found = found.first(1); // what else has the word comes after it
        EXPECT_EQ(found.join(u", "_s), expected) << query.toStdString();
    }
    QSignalSpy found(&model, &SettingsViewModel::settingFound);
    model.setQuery(u"frosted"_s);
    model.openHit(0);
    EXPECT_EQ(place(), "ThemePage.qml");
    EXPECT_EQ(found.value(0).value(0), u"glassyStyle"_s);
    EXPECT_TRUE(model.query().isEmpty() && model.hits().isEmpty());
    model.setQuery(u"caf"_s);
    f.config.deleteGroup(f.config.groups().first().id);
    EXPECT_TRUE(model.hits().isEmpty()) << "gone while it was looked for";
}

} // namespace
} // namespace cobblet
