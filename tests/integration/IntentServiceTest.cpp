#include "integration/CobbletShortcuts.h"
#include "integration/GroupUrl.h"
#include "integration/IntentFixture.h"
#include "model/GroupCoding.h"

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
    std::vector<std::string> keysFor(const char *typed)
    {
        std::vector<std::string> keys;
        for (const IntentMatch &match : service.search(text(typed))) {
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
    setGroups({u"Work"_s, u"Homework"_s, u"Straße"_s, u"CAFÉ"_s, u"IĞDIR"_s});
    EXPECT_THAT(namesMatching("WOR"), ElementsAre("Work", "Homework"));
    EXPECT_EQ(namesMatching("").size(), 5u);
    EXPECT_THAT(namesMatching("STRAß"), ElementsAre("Straße"));
    EXPECT_THAT(namesMatching("cafe\xcc\x81"), ElementsAre("CAFÉ")) << "composed or not";
    EXPECT_THAT(namesMatching("ığdır", "tr_TR"), ElementsAre("IĞDIR"));
    EXPECT_THAT(namesMatching("ığdır", "en_US"), ElementsAre());
    EXPECT_TRUE(service.groupsMatching(QString(1001, u'w')).isEmpty());
    EXPECT_EQ(GroupQuery(config).entitiesFor({id(3), id(99), id(1)}),
              (QList<GroupEntity>{{id(1), u"Work"_s, u"💼"_s}, {id(3), u"Straße"_s, u"💼"_s}}))
        << "in list order";
}

TEST_F(IntentServiceTest, ResolvesAnIdThenAnExactNameThenALooseOne)
{
    setGroups({u"Work"_s, u"work"_s, u"Play  time"_s, u"Twin"_s, u"Twin"_s, idText(1), idText(77), u"WORK"_s});
    const std::pair<QString, QList<int>> rows[] = {
        // no group: not found; several: ambiguous
        {u"work"_s, {2}}, {u"wOrk"_s, {1, 2, 8}},       {u" play TIME "_s, {3}}, {u"Twin"_s, {4, 5}},
        {u"Play"_s, {}},  {idText(4).toLower(), {4}},   {idText(1), {1}},        {idText(77), {7}},
        {idText(99), {}}, {u'{' + idText(1) + u'}', {}}};
    for (const auto &[wanted, groups] : rows) {
        const auto found = GroupQuery(config).resolve(wanted);
        QList<int> numbers;
        for (const GroupEntity &each : found ? QList{found.value()} : found.cause().candidates)
            numbers.append(int(each.id.data1));
        EXPECT_EQ(numbers, groups) << wanted.toStdString();
        EXPECT_EQ(found.ok(), groups.size() == 1);
        EXPECT_TRUE(found || found.cause().kind == (groups.isEmpty() ? IntentFailure::Kind::GroupNotFound
                                                                     : IntentFailure::Kind::AmbiguousGroup));
    }
    EXPECT_EQ(performed(Verb::Show, u"Nope"_s),
              "not found: There's no group named “Nope”. It may have been renamed or deleted.");
    EXPECT_EQ(performed(Verb::Show, {}), "invalid: Say which group: its name or id.");
    EXPECT_EQ(performed(Verb::Quit, QString(1'000'000, u'x')),
              "invalid: A group is named by at most 1,000 characters.");

    const QString mostUsed = uuidText(AppGroup::mostUsedID);
    usage.recordLaunch(u"a"_s);
    EXPECT_EQ(performed(Verb::Launch, mostUsed), "Launching Most Used.");
    EXPECT_EQ(performed(Verb::Show, mostUsed), "");
    EXPECT_EQ(log, (QStringList{u"open a"_s, u"Cobblet.showPanel"_s, u"Cobblet.selectGroupByID "_s + mostUsed}));
}

TEST_F(IntentServiceTest, AnEntityIsFoundAgainByItsIdAlone)
{
    setGroups({u"Work"_s});
    const GroupEntity chosen = GroupQuery(config).suggestedEntities().first();
    const auto launch = [&](auto done) { LaunchGroupIntent.perform(chosen, targets, done); };
    config.renameGroup(id(1), u"Office"_s);
    EXPECT_EQ(said(answer(launch)), "Launching Office.");
    config.deleteGroup(id(1));
    EXPECT_EQ(said(answer(launch)), "not found: There's no group named “Work”. It may have been renamed or deleted.");
}

TEST_F(IntentServiceTest, SearchOrdersByHowWellANameAnswersAndIsBounded)
{
    setGroups({u"Homework"_s, u"My Work"_s, u"Workshop tools"_s, u"Work"_s, u"Show biz"_s, u"Quiet"_s});
    const std::pair<const char *, std::vector<std::string>> rows[] = {
        {"work", {"show:4", "show:3", "show:2", "show:1"}},
        {"  TOOLS  work ", {"show:3"}},
        {"", {}},
        {"show biz", {"show:5"}},
        {"launch work", {"launch:4", "launch:3", "launch:2", "launch:1"}},
        {"end my work gro", {"quit:2"}},
        {"wind down quiet group in Cobblet.", {"quit:6"}},
    };
    for (const auto &[typed, keys] : rows)
        EXPECT_EQ(keysFor(typed), keys) << typed;

    EXPECT_EQ(service.search(u"work"_s).first().relevance, 1);
    EXPECT_FALSE(service.match(Verb::Hide, id(4))) << "hiding is for scripts only";
    EXPECT_FALSE(service.match(Verb::Show, id(99)));

    setGroups(QStringList(500, QString(1000, u'w')));
    EXPECT_EQ(service.search(u"w"_s).size(), 200);
    const QString tooLong(1'000'000, u'w');
    EXPECT_TRUE(service.search(tooLong).isEmpty());
    EXPECT_EQ(said(answer([&](auto done) { service.say(tooLong, done); })).substr(0, 9), "invalid: ");
}

TEST_F(IntentServiceTest, AddressesNameAVerbAndAGroup)
{
    const QString longName(1000, QChar(0x4e2d));
    const auto show = [](const QString &group) { return GroupRequest{Verb::Show, group}; };
    for (const auto &[url, meaning] :
         {std::pair(u"COBBLET://Launch/Work"_s, GroupRequest{Verb::Launch, u"Work"_s}),
          {u"cobblet://quit/"_s + idText(1), GroupRequest{Verb::Quit, idText(1)}},
          {u"cobblet://show/My%20Work%2Fplay%3F%23"_s, show(u"My Work/play?#"_s)},
          {u"cobblet://show/a/b"_s, show(u"a/b"_s)},
          {u"cobblet://show/%F0%9F%A7%AA 中"_s, show(u"🧪 中"_s)},
          {u"cobblet://show/%25"_s, show(u"%"_s)},
          {u"cobblet://show/"_s + QString::fromLatin1(longName.toUtf8().toPercentEncoding()), show(longName)}})
        EXPECT_EQ(GroupUrl::parse(url), meaning) << url.left(80).toStdString();
    for (const QString &url :
         {u"http://show/Work"_s, u"cobblet://show/"_s, u"cobblet://hide/Work"_s, u"cobblet:show/Work"_s,
          u"cobblet:///show/Work"_s, u"cobblet://user@show/Work"_s, u"cobblet://show:80/Work"_s,
          u"cobblet://show/Work?x"_s, u"cobblet://show/Work#x"_s, u"cobblet://show/a%2"_s, u"cobblet://show/%zz"_s,
          u"cobblet://show/%ff"_s, u"cobblet://show/%e4%b8"_s, u"cobblet://show/a%00b"_s,
          u"cobblet://show/"_s + longName + u'x', u"cobblet://show/"_s + QString(1'000'000, u'a')})
        EXPECT_FALSE(GroupUrl::parse(url)) << url.left(80).toStdString();
}

TEST_F(IntentServiceTest, OpensAddressesAndRefusesOthersWithOneLogLineEach)
{
    setGroups({u"My Work"_s});
    const test::Warnings warnings;
    service.open({u"cobblet://show/my%20work"_s, u"cobblet://show/Nope"_s, u"cobblet://erase/My%20Work"_s,
                  u"file:///etc/passwd\n\x1b[31m"_s + QString(5000, u'x')});
    EXPECT_EQ(log, (QStringList{u"Cobblet.showPanel"_s, u"Cobblet.selectGroupByID "_s + idText(1)}));
    EXPECT_EQ(dockTile.activations, 1);
    ASSERT_EQ(warnings.lines.size(), 3);
    EXPECT_TRUE(warnings.lines[0].contains(u"“Nope”"_s));
    EXPECT_TRUE(warnings.lines[1].contains(u"cobblet://erase/My%20Work"_s));
    EXPECT_LT(warnings.lines[2].size(), 300);
    EXPECT_FALSE(warnings.lines[2].contains(u'\n') || warnings.lines[2].contains(QChar(0x1b)));
}

TEST_F(IntentServiceTest, EveryPhraseThatIsOfferedIsUnderstoodHoweverItIsSaid)
{
    QStringList offered;
    for (const AppShortcut &shortcut : CobbletShortcuts::appShortcuts())
        offered += shortcut.phrases(text("Work"));
    EXPECT_EQ(offered.size(), 9);
    for (const QString &phrase : offered)
        EXPECT_EQ(CobbletShortcuts::understood(phrase)->group, text("Work")) << phrase.toStdString();
    for (const auto &[phrase, group] : {std::pair("  FIRE \t up  My  Work\n group  in cobblet . ", "My  Work"),
                                        {"launch group in Cobblet group in Cobblet", "group in Cobblet"},
                                        {"show Fire up group in Cobblet", "Fire up"},
                                        {"go to U.S. group in Cobblet.", "U.S."}}) {
        const auto request = CobbletShortcuts::understood(text(phrase));
        ASSERT_TRUE(request) << phrase;
        EXPECT_EQ(request->group.toStdString(), group) << phrase;
    }
    for (const char *other :
         {"launch group in Cobblet", "launch Work group in Cobblet..", "launch Work", "launchWork group in Cobblet",
          "launch Workgroup in Cobblet", "please launch Work group in Cobblet", "hide Work group in Cobblet", ""})
        EXPECT_FALSE(CobbletShortcuts::understood(text(other))) << other;
}

} // namespace
} // namespace cobblet
