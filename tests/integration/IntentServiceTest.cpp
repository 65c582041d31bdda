#include "integration/GroupUrl.h"
#include "integration/IntentFixture.h"

#include <QElapsedTimer>

#include <gmock/gmock.h>

namespace cobblet {
namespace {

using testing::ElementsAre;
using Verb = IntentVerb;

class IntentServiceTest : public test::IntentTest {
protected:
    std::vector<std::string> namesMatching(const char *wanted, const char *locale = "en_US")
    {
        std::vector<std::string> names;
        for (const GroupEntity &entity :
             GroupQuery(config, QLocale(QLatin1String(locale))).entitiesMatching(text(wanted)))
            names.push_back(entity.name.toStdString());
        return names;
    }
    std::vector<std::string> keysFor(const QString &typed)
    {
        std::vector<std::string> keys;
        for (const IntentMatch &match : service.search(typed)) {
            EXPECT_GT(match.relevance, 0);
            EXPECT_LE(match.relevance, 1);
            EXPECT_EQ(service.match(match.verb, match.group.id)->title, match.title);
            static constexpr const char *names[] = {"launch:", "quit:", "show:", "hide:"};
            keys.push_back(names[int(match.verb)] + std::to_string(match.group.id.data1));
        }
        return keys;
    }
    std::string performed(Verb verb, const QString &nameOrId)
    {
        return said(answer([&](auto done) { service.perform(verb, nameOrId, done); }));
    }
};

TEST_F(IntentServiceTest, FindsGroupsByAPartOfTheirNameInListOrder)
{
    setGroups(
        {text("Work"), text("Play"), text("Homework"), text("Straße"), text("CAFÉ"), text("ΟΔΟΣ"), text("IĞDIR")});
    EXPECT_THAT(namesMatching("wor"), ElementsAre("Work", "Homework"));
    EXPECT_THAT(namesMatching("WORK"), ElementsAre("Work", "Homework"));
    EXPECT_THAT(namesMatching("nowhere"), ElementsAre());
    EXPECT_EQ(namesMatching("").size(), 7u);
    EXPECT_THAT(namesMatching("STRAß"), ElementsAre("Straße"));
    EXPECT_THAT(namesMatching("cafe\xcc\x81"), ElementsAre("CAFÉ")) << "composed or not";
    EXPECT_THAT(namesMatching("οδος"), ElementsAre("ΟΔΟΣ"));
    EXPECT_THAT(namesMatching("ığdır", "tr_TR"), ElementsAre("IĞDIR"));
    EXPECT_THAT(namesMatching("ığdır", "en_US"), ElementsAre());
    EXPECT_TRUE(service.groupsMatching(QString(1001, QLatin1Char('w'))).isEmpty());

    const GroupQuery query(config);
    const auto found = query.entitiesFor({id(3), id(99), id(1)});
    ASSERT_EQ(found.size(), 2);
    EXPECT_EQ(found[0].id, id(1)) << "in list order";
    EXPECT_EQ(found[1].id, id(3));
    EXPECT_EQ(service.groups().size(), 7);
    EXPECT_EQ(service.groups().first(), (GroupEntity{id(1), text("Work"), text("💼")}));
}

TEST_F(IntentServiceTest, ResolvesAnIdThenAnExactNameThenALooseOne)
{
    setGroups({text("Work"), text("work"), text("Play  time"), text("Twin"), text("Twin"), idText(1), idText(77),
               text("WORK")});
    const GroupQuery query(config);
    struct Row {
        QString wanted;
        QList<int> groups; ///< none: not found; several: ambiguous
    };
    for (const Row &row :
         {Row{text("Work"), {1}}, Row{text("work"), {2}}, Row{text("wOrk"), {1, 2, 8}}, Row{text(" play TIME "), {3}},
          Row{text("Twin"), {4, 5}}, Row{text("Play"), {}}, Row{idText(4), {4}}, Row{idText(4).toLower(), {4}},
          Row{idText(1), {1}}, Row{idText(77), {7}}, Row{idText(99), {}},
          Row{QLatin1Char('{') + idText(1) + QLatin1Char('}'), {}}}) {
        const auto found = query.resolve(row.wanted);
        if (row.groups.size() == 1) {
            ASSERT_TRUE(found) << row.wanted.toStdString();
            EXPECT_EQ(found.value().id, id(row.groups[0])) << row.wanted.toStdString();
            continue;
        }
        ASSERT_FALSE(found) << row.wanted.toStdString();
        const auto &failure = found.cause();
        QStringList ids, wanted;
        for (const GroupEntity &candidate : failure.candidates)
            ids.append(candidate.id.toString(QUuid::WithoutBraces).toUpper());
        for (const int number : row.groups)
            wanted.append(idText(number));
        EXPECT_EQ(ids, wanted) << row.wanted.toStdString();
        EXPECT_EQ(failure.kind,
                  row.groups.isEmpty() ? IntentFailure::Kind::GroupNotFound : IntentFailure::Kind::AmbiguousGroup);
        for (const QString &candidate : wanted)
            EXPECT_TRUE(failure.message.contains(candidate));
    }
    EXPECT_EQ(performed(Verb::Show, text("Nope")),
              "not found: There's no group named “Nope”. It may have been renamed or deleted.");
    EXPECT_EQ(performed(Verb::Show, {}), "invalid: Say which group: its name or id.");
    EXPECT_EQ(performed(Verb::Quit, QString(1'000'000, QLatin1Char('x'))),
              "invalid: A group is named by at most 1,000 characters.");
}

TEST_F(IntentServiceTest, AnEntityIsFoundAgainByItsIdAlone)
{
    setGroups({text("Work")});
    const GroupEntity chosen = GroupQuery(config).suggestedEntities().first();
    const IntentTargets targets{config, notifications, dockTile, [this]() -> GroupReports & { return reports; }};
    const auto launch = [&](auto done) { LaunchGroupIntent.perform(chosen, targets, done); };

    config.renameGroup(id(1), text("Office"));
    const auto launched = answer(launch);
    EXPECT_EQ(said(launched), "Launching Office.");
    EXPECT_EQ(launched->value().outcomes,
              (QList<IntentOutcome>{{text("a"), text("Editor"), IntentOutcome::Kind::Launched, {}}}));
    config.deleteGroup(id(1));
    EXPECT_EQ(said(answer(launch)), "not found: There's no group named “Work”. It may have been renamed or deleted.");
}

TEST_F(IntentServiceTest, CarriesOutEachVerb)
{
    setGroups({text("Work"), text("Play")});
    EXPECT_EQ(performed(Verb::Show, text("play")), "");
    EXPECT_EQ(dockTile.activations, 1);
    EXPECT_EQ(log.join(QLatin1Char(';')), QStringLiteral("Cobblet.showPanel;Cobblet.selectGroupByID ") + idText(2));
    log.clear();
    EXPECT_EQ(performed(Verb::Launch, text("Work")), "Launching Work.");
    running.running.append({text("a"), 5});
    EXPECT_EQ(performed(Verb::Hide, text("Work")), "Hiding Work.");
    EXPECT_EQ(performed(Verb::Quit, text("Work")), "Quitting Work.");
    EXPECT_EQ(log, (QStringList{text("open a"), text("hide a 5"), text("terminate a 5")}));
}

TEST_F(IntentServiceTest, SearchOrdersByHowWellANameAnswers)
{
    setGroups(
        {text("Homework"), text("My Work"), text("Workshop tools"), text("Work"), text("Show biz"), text("Quiet")});
    struct Row {
        const char *typed;
        std::vector<std::string> keys;
    };
    for (const Row &row :
         {Row{"work", {"show:4", "show:3", "show:2", "show:1"}}, Row{"  TOOLS  work ", {"show:3"}}, Row{"", {}},
          Row{"xyz", {}}, Row{"show", {"show:5"}}, Row{"show biz", {"show:5"}},
          Row{"launch work", {"launch:4", "launch:3", "launch:2", "launch:1"}}, Row{"Fire up My Wo", {"launch:2"}},
          Row{"end my work gro", {"quit:2"}}, Row{"wind down quiet group in Cobblet.", {"quit:6"}},
          Row{"go to work group in cobblet", {"show:4"}}})
        EXPECT_EQ(keysFor(text(row.typed)), row.keys) << row.typed;

    EXPECT_EQ(service.search(text("work")).first().relevance, 1);
    const IntentMatch launch = service.search(text("start work group")).first();
    EXPECT_EQ(launch.title, text("Launch Work"));
    EXPECT_EQ(launch.subtitle, text("Opens every app in the group."));
    EXPECT_EQ(launch.group.emoji, text("💼"));
    EXPECT_FALSE(service.match(Verb::Hide, id(4))) << "hiding is for scripts only";
    EXPECT_FALSE(service.match(Verb::Show, id(99)));
}

TEST_F(IntentServiceTest, ManyGroupsAndLongTextsAreAnsweredShortly)
{
    setGroups(std::vector<QString>(500, QString(1000, QLatin1Char('w'))));
    EXPECT_EQ(service.search(text("w")).size(), 200);
    const QString tooLong(1'000'000, QLatin1Char('w'));
    EXPECT_TRUE(service.search(tooLong).isEmpty());
    EXPECT_EQ(said(answer([&](auto done) { service.say(tooLong, done); })).substr(0, 9), "invalid: ");
}

TEST_F(IntentServiceTest, AddressesNameAVerbAndAGroup)
{
    struct Row {
        QString url;
        GroupRequest meaning;
    };
    const auto show = [](const QString &group) { return GroupRequest{Verb::Show, group}; };
    const QString longName(1000, QChar(0x4e2d));
    for (const Row &row :
         {Row{text("cobblet://show/Work"), show(text("Work"))},
          Row{text("COBBLET://Launch/Work"), GroupRequest{Verb::Launch, text("Work")}},
          Row{text("cobblet://quit/") + idText(1), GroupRequest{Verb::Quit, idText(1)}},
          Row{text("cobblet://show/My%20Work%2Fplay%3F%23"), show(text("My Work/play?#"))},
          Row{text("cobblet://show/a/b"), show(text("a/b"))},
          Row{text("cobblet://show/%F0%9F%A7%AA 中"), show(text("🧪 中"))},
          Row{text("cobblet://show/%25"), show(text("%"))},
          Row{text("cobblet://show/") + QString::fromLatin1(longName.toUtf8().toPercentEncoding()), show(longName)}})
        EXPECT_EQ(GroupUrl::parse(row.url), row.meaning) << row.url.left(80).toStdString();
    for (const QString &rest :
         {text("//show/"), text("//show"), text("//hide/Work"), text("show/Work"), text("///show/Work"),
          text("//user@show/Work"), text("//show:80/Work"), text("//show.example/Work"), text("//show/Work?x"),
          text("//show/Work#x"), text("//show/%"), text("//show/a%2"), text("//show/%zz"), text("//show/%ff"),
          text("//show/%e4%b8"), text("//show/a%00b"), text("//show/") + longName + QLatin1Char('x'),
          text("//show/") + QString(1'000'000, QLatin1Char('a'))})
        EXPECT_FALSE(GroupUrl::parse(text("cobblet:") + rest)) << rest.left(80).toStdString();
    EXPECT_FALSE(GroupUrl::parse(text("http://show/Work")));
}

TEST_F(IntentServiceTest, OpensAddressesAndRefusesOthersWithOneLogLineEach)
{
    setGroups({text("My Work")});
    static QStringList logged;
    logged.clear();
    const auto before = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext &, const QString &message) { logged.append(message); });
    service.open({text("cobblet://show/my%20work"), text("cobblet://show/Nope"), text("cobblet://erase/My%20Work"),
                  text("file:///etc/passwd\n\x1b[31m") + QString(5000, QLatin1Char('x'))});
    qInstallMessageHandler(before);
    EXPECT_EQ(log.last(), QStringLiteral("Cobblet.selectGroupByID ") + idText(1));
    ASSERT_EQ(logged.size(), 3);
    EXPECT_TRUE(logged[0].contains(text("“Nope”")));
    EXPECT_TRUE(logged[1].contains(text("cobblet://erase/My%20Work")));
    EXPECT_LT(logged[2].size(), 300);
    EXPECT_FALSE(logged[2].contains(QLatin1Char('\n')) || logged[2].contains(QChar(0x1b)));
}

} // namespace
} // namespace cobblet
