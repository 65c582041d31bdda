#include "control/GroupSuggestionService.h"
#include "support/GroupsFixture.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

const QStringList design{u"draw"_s, u"paint"_s, u"photo"_s, u"trace"_s};

/// Twenty-four days with an editor and others, and on each, or every third of them, the four that belong together.
/// The browser is there whatever happens.
SuggestionInput usualDays(int everyDays = 3)
{
    SuggestionInput input;
    input.today = QDate(2026, 3, 31);
    const auto session = [&](int daysAgo, int hour, const QStringList &apps) {
        UsageTracker::Counts &launches =
            input.pairs[u"@%1 %2:00"_s.arg(input.today.addDays(-daysAgo).toString(Qt::ISODate)).arg(hour)];
        for (const QString &app : apps + QStringList{u"browser"_s}) {
            ++launches[app];
            ++input.counts[app];
        }
    };
    for (int ago = 0; ago < 24; ++ago) {
        session(ago, 10, {u"editor"_s, u"other%1"_s.arg(ago % 7)});
        session(ago, 14, {u"other%1"_s.arg(ago % 5), u"other%1"_s.arg((ago + 1) % 7)});
        if (ago % everyDays == 0)
            session(ago, 17, design);
    }
    for (auto it = input.counts.begin(); it != input.counts.end(); ++it) {
        const bool isDesign = design.contains(it.key());
        input.applications.append({it.key(), u"The "_s + it.key(), {}, {isDesign ? u"Graphics"_s : u"Utility"_s}});
    }
    return input;
}

AppGroup groupOf(const QString &apps)
{
    AppGroup group;
    for (const QString &app : apps.split(u' '))
        group.apps.append({app, app});
    return group;
}

QStringList apps(const QList<SuggestedGroup> &suggestions)
{
    QStringList list;
    for (const SuggestedGroup &suggestion : suggestions) {
        QStringList ids;
        for (const AppItem &app : suggestion.apps)
            ids.append(app.bundleID);
        ids.sort();
        list.append(ids.join(u' '));
    }
    return list;
}

TEST(GroupSuggestionsTest, ApplicationsThatAreOpenedTogetherMoreThanEachExplainsMakeAGroup)
{
    const auto suggestions = suggestedGroups(usualDays());
    ASSERT_EQ(apps(suggestions), QStringList(u"draw paint photo trace"_s));
    EXPECT_EQ(suggestions[0].name, u"Graphics"_s);
    EXPECT_EQ(suggestions[0].emoji, u"🎨"_s);
    EXPECT_EQ(suggestions[0].reason, u"Opened together on 8 of 8 days"_s);
    EXPECT_EQ(suggestions[0].apps[0].name.left(4), u"The "_s);
}

TEST(GroupSuggestionsTest, WhatIsThereOrWasDismissedIsNotSuggestedAgainNorNearly)
{
    const std::pair<QString, bool> rows[] = {{u"trace photo paint draw"_s, false},
                                             {u"draw paint photo trace x y z"_s, false},
                                             {u"draw paint photo"_s, false},
                                             {u"com.draw paint photo"_s, false},
                                             {u"draw paint x"_s, true}};
    for (const auto &[known, suggested] : rows) {
        SuggestionInput existing = usualDays(), dismissed = usualDays();
        existing.counterparts[u"com.draw"_s] = dismissed.counterparts[u"com.draw"_s] = u"draw"_s;
        existing.groups = dismissed.dismissed = {groupOf(known)};
        EXPECT_EQ(suggestedGroups(existing).size(), suggested) << known.toStdString();
        EXPECT_EQ(suggestedGroups(dismissed).size(), suggested) << known.toStdString();
    }
}

TEST(GroupSuggestionsTest, WhatIsGivenUpOrNotToBeTrustedSaysNothing)
{
    const struct {
        const char *what;
        std::function<void(SuggestionInput &)> change;
        QStringList expected;
    } rows[] = {
        {"used every day, with the browser", [](auto &in) { in = usualDays(1); }, {u"draw paint photo trace"_s}},
        {"counted by another name",
         [](auto &in) {
             for (auto &session : in.pairs)
                 if (session.remove(u"draw"_s))
                     session[u"com.draw"_s] = 1;
             in.counts[u"com.draw"_s] = in.counts.take(u"draw"_s);
             in.counterparts[u"com.draw"_s] = u"draw"_s;
         },
         {u"com.draw paint photo trace"_s}},
        {"one is not installed",
         [](auto &in) { in.applications.removeIf([](const auto &app) { return app.bundleID == u"photo"; }); },
         {u"draw paint trace"_s}},
        {"given up long ago", [](auto &in) { in.today = in.today.addDays(35); }, {}},
        {"in the future", [](auto &in) { in.today = in.today.addDays(-40); }, {}},
        {"all in one afternoon",
         [](auto &in) {
             auto old = std::exchange(in.pairs, {});
             for (int minute = 10; const auto &session : old)
                 in.pairs[u"@2026-03-31 14:%1"_s.arg(minute++)] = session;
         },
         {}},
        {"absurd counts", [](auto &in) { in.counts[u"photo"_s] = in.counts[u"draw"_s] = 1LL << 62; }, {}},
        {"an endless name",
         [](auto &in) {
             const QString endless(10000, u'x');
             in.counts[endless] = 9;
             in.applications.append({endless, endless, {}});
             for (auto &session : in.pairs)
                 if (session.contains(u"draw"_s))
                     session[endless] = 1;
         },
         {u"draw paint photo trace"_s}},
        {"sessions of thousands",
         [](auto &in) {
             for (auto &session : in.pairs)
                 for (int i = 0; i < 1000; ++i)
                     session[u"any%1"_s.arg(i)] = 1;
         },
         {}},
    };
    for (const auto &row : rows) {
        SuggestionInput input = usualDays();
        row.change(input);
        EXPECT_EQ(apps(suggestedGroups(input)), row.expected) << row.what;
    }
}

TEST(GroupSuggestionsTest, ATableWithoutDaysIsEnoughAndTwentyThousandPairsAreRead)
{
    SuggestionInput input;
    input.today = QDate(2026, 3, 31);
    constexpr int count = 200;
    const auto id = [](int i) { return u"app%1"_s.arg(i); };
    for (int i = 0; i < count; ++i) {
        input.counts[id(i)] = 40;
        input.applications.append({id(i), id(i), {}});
        for (int j = 0; j < count; ++j)
            if (i != j)
                input.pairs[id(i)][id(j)] = i % 40 == 7 && j % 40 == 7 ? 35 : 1 + (i * j) % 3;
    }
    const auto suggestions = suggestedGroups(input);
    ASSERT_EQ(apps(suggestions), QStringList(u"app127 app167 app47 app7 app87"_s));
    EXPECT_EQ(suggestions[0].reason, u"Often opened together"_s);
    EXPECT_EQ(suggestions[0].name.count(u'&'), 1) << "nothing is known of what they are";
    input.pairs[u"@2026-03-30 10:00"_s] = {{id(3), 1}, {id(7), 1}};
    EXPECT_EQ(suggestedGroups(input), suggestions) << "what is old counts until enough is new";
    for (const QString &other : {id(7), id(47), id(87)})
        input.pairs[other][id(127)] = input.pairs[id(127)][other] = 1LL << 60;
    EXPECT_EQ(apps(suggestedGroups(input)), QStringList(u"app167 app47 app7 app87"_s)) << "absurd counts say nothing";
}

TEST(GroupSuggestionsTest, WhatWasSuggestedStaysAsItIsWhileItHoldsAtAll)
{
    SuggestionInput input = usualDays();
    for (auto &session : input.pairs)
        if (session.remove(u"trace"_s)) // which would come last now
            break;
    input.previous = {{QUuid::createUuid(), u"My pictures"_s, u"🖼"_s, groupOf(u"trace paint draw"_s).apps, {}}};
    auto suggestions = suggestedGroups(input);
    ASSERT_EQ(apps(suggestions), QStringList(u"draw paint photo trace"_s)) << "and takes in who belongs to it";
    EXPECT_EQ(suggestions[0].id, input.previous[0].id);
    EXPECT_EQ(suggestions[0].name + suggestions[0].emoji, u"My pictures🖼"_s);
    EXPECT_EQ(suggestions[0].apps[0].bundleID, u"trace"_s);

    input.today = input.today.addDays(12); // too long ago to be suggested by itself
    EXPECT_EQ(suggestedGroups(input).size(), 1);
    input.previous.clear();
    EXPECT_EQ(suggestedGroups(input).size(), 0);
}

/// A month of use, as the tracker counts it.
class GroupSuggestionServiceTest : public testing::Test, protected test::GroupsFixture {
protected:
    GroupSuggestionServiceTest()
    {
        for (int day = 0; day < 24; ++day)
            for (const QStringList &session :
                 {QStringList{u"editor"_s, u"other%1"_s.arg(day % 7)},
                  QStringList{u"other%1"_s.arg(day % 5), u"other%1"_s.arg((day + 1) % 7)},
                  day % 3 == 0 ? design : QStringList()}) {
                for (const QString &app : session) {
                    usage.recordLaunch(app);
                    workspace.install(app);
                }
                scheduler.advance(8h);
            }
    }
    auto service()
    {
        return std::make_unique<GroupSuggestionService>(usage, config, workspace, standardDefaults, scheduler);
    }
    static void finish(const GroupSuggestionService &service)
    {
        while (service.isLoading())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    static QList<SuggestedGroup> refreshed(GroupSuggestionService &service)
    {
        service.refresh();
        finish(service);
        return service.suggestions();
    }
};

TEST_F(GroupSuggestionServiceTest, AnAddedSuggestionIsAGroupOfItsOwnAndOneThatExistsGoes)
{
    const auto suggesting = service();
    suggesting->refresh();
    EXPECT_TRUE(suggesting->isLoading());
    EXPECT_TRUE(suggesting->suggestions().isEmpty());
    finish(*suggesting);
    ASSERT_EQ(apps(suggesting->suggestions()), QStringList(u"draw paint photo trace"_s));
    const QUuid id = suggesting->suggestions()[0].id;
    scheduler.advance(10 * 24h); // by now it would not be suggested if it had not been before
    finish(*suggesting);
    const auto next = service();
    ASSERT_EQ(refreshed(*next).size(), 1) << "the next process knows";
    EXPECT_EQ(next->suggestions()[0].id, id);

    const auto group = suggesting->add(id);
    ASSERT_TRUE(group);
    EXPECT_TRUE(suggesting->suggestions().isEmpty());
    EXPECT_FALSE(suggesting->add(id)) << "once";
    EXPECT_NE(group->id, id) << "a group that is changed must not keep the suggestion from being added again";
    EXPECT_EQ(refreshed(*suggesting).size(), 1) << "nobody has added it";
    config.addGroup(*group);
    EXPECT_TRUE(suggesting->suggestions().isEmpty());
    EXPECT_TRUE(refreshed(*suggesting).isEmpty());
}

TEST_F(GroupSuggestionServiceTest, ADismissedSuggestionStaysAwayAndADayBringsTheNext)
{
    const auto suggesting = service();
    scheduler.advance(24h);
    finish(*suggesting);
    ASSERT_EQ(suggesting->suggestions().size(), 1) << "without anybody asking";
    suggesting->refresh(); // which is under way
    suggesting->dismiss(suggesting->suggestions()[0].id);
    finish(*suggesting);
    EXPECT_TRUE(suggesting->suggestions().isEmpty());
    workspace.installed.remove(u"photo"_s);
    EXPECT_TRUE(refreshed(*service()).isEmpty()) << "nor what is nearly the same";
    standardDefaults.stored.clear();
    EXPECT_EQ(refreshed(*suggesting).size(), 1);
}

} // namespace
} // namespace cobblet
