#include "integration/CommandLine.h"
#include "integration/IntentFixture.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace cobblet {
namespace {

using Verb = CommandLine::Verb;

class CommandLineTest : public test::IntentTest {
protected:
    static CommandLine parsed(const char *line)
    {
        return CommandLine::parse(text(line).split(u' ', Qt::SkipEmptyParts));
    }
};

TEST_F(CommandLineTest, UnderstandsCommandsOptionsAndNamesOfSeveralWords)
{
    const std::tuple<const char *, Verb, const char *> rows[] = {
        {"", Verb::Panel, ""},
        {"--service", Verb::Service, ""},
        {"launch Work --help", Verb::Help, ""},
        {"launch My Work", Verb::Launch, "My Work"},
        {"quit -- --help", Verb::Quit, "--help"},
        {"hide My -- -x -- y", Verb::Hide, "My -x -- y"},
        {"list --json", Verb::ListJson, ""},
        {"diagnose", Verb::Diagnose, ""},
        {"settings", Verb::Settings, ""},
        {"settings theme", Verb::Invalid, "“theme” is not understood."},
        {"say Go to Work group in Cobblet", Verb::Say, "Go to Work group in Cobblet"},
        {"cobblet://show/Work", Verb::Open, "cobblet://show/Work"},
        {"show --", Verb::Invalid, "“show” needs the name or id of a group."},
        {"say", Verb::Invalid, "“say” needs a phrase, such as “Launch Work group in Cobblet”."},
        {"show -x Work", Verb::Invalid, "“-x” is not understood."},
        {"SHOW Work", Verb::Invalid, "“SHOW” is not understood."},
        {"diagnose all", Verb::Invalid, "“all” is not understood."},
        {"list --json all", Verb::Invalid, "“all” is not understood."},
        {"cobblet://show/a b", Verb::Invalid, "“b” is not understood."},
        {"http://show/a", Verb::Invalid, "“http://show/a” is not understood."},
    };
    for (const auto &[line, verb, words] : rows)
        EXPECT_EQ(parsed(line), (CommandLine{verb, text(words)})) << line;
    EXPECT_EQ(CommandLine::parse(QStringList{u"show"_s, u"  "_s}).verb, Verb::Invalid);
    EXPECT_EQ(CommandLine::parse(QByteArrayList{"show", "Caf\xc3\xa9"}).text, u"Café"_s);
    for (const char *bytes : {"Caf\xe9", "\xed\xa0\x80"})
        EXPECT_EQ(CommandLine::parse(QByteArrayList{"show", bytes}),
                  (CommandLine{Verb::Invalid, u"argument 2 is no text in UTF-8."_s}));
}

TEST_F(CommandLineTest, KnowsWhichRequestsNeedThePanel)
{
    for (const auto &[line, group] : {std::pair("", ""),
                                      {"--service", ""},
                                      {"show Work", "Work"},
                                      {"cobblet://show/My%20Work", "My Work"},
                                      {"say show Work group in Cobblet", "Work"}}) {
        EXPECT_TRUE(parsed(line).needsPanel()) << line;
        EXPECT_EQ(parsed(line).groupToShow().value_or(QString()), text(group)) << line;
    }
    for (const char *line :
         {"say stop Work group in Cobblet", "cobblet://quit/Work", "cobblet://x", "list", "diagnose"})
        EXPECT_FALSE(parsed(line).needsPanel() || parsed(line).groupToShow()) << line;
}

TEST_F(CommandLineTest, AnswersWithAStatusForEachKindOfEnd)
{
    setGroups({u"Work"_s, u"Twin"_s, u"Twin"_s, u"Empty"_s});
    config.removeApp(u"a"_s, id(4));
    const QString missing = u"There's no group named “%1”. It may have been renamed or deleted.\n"_s;
    const QString twins = u"There are 2 groups named “Twin”. Use an id:\n%1 💼 Twin\n%2 💼 Twin\n"_s;
    const std::tuple<QString, int, QString, QString> rows[] = {
        {{}, 0, {}, {}},
        {u"quit Empty"_s, 0, {}, {}},
        {u"say fire up Work group in Cobblet"_s, 0, u"Launching Work.\nEditor: launched\n"_s, {}},
        {u"cobblet://launch/work"_s, 0, u"Editor: launched\n"_s, {}},
        {u"--version"_s, 0, u"Cobblet 1.2.3\n"_s, {}},
        {u"cobblet://show/No\x1bpe%0A"_s, 1, {}, missing.arg(u"No�pe�"_s)},
        {u"quit Twin"_s, 2, {}, twins.arg(idText(2), idText(3))},
        {u"cobblet://hide/Work"_s, 64, {}, u"“cobblet://hide/Work” is no address that can be opened here.\n"_s},
    };
    for (const auto &[line, status, output, errors] : rows) {
        const CommandReply reply = command(line);
        EXPECT_EQ(reply.status, status) << line.toStdString();
        EXPECT_EQ(reply.output, output) << line.toStdString();
        EXPECT_EQ(reply.errors, errors) << line.toStdString();
    }
    EXPECT_EQ(log.first(), u"panel"_s);
    EXPECT_EQ(command(u"settings"_s).status, 0);
    EXPECT_EQ(log.last(), u"Cobblet.openSettings"_s);
    EXPECT_TRUE(command(u"dance"_s).errors.startsWith(u"cobblet: “dance” is not understood.\nUsage: cobblet "_s));
    EXPECT_TRUE(command(u"diagnose"_s).output.contains(u"\nDock: does not work\n    There is none.\n"_s));
    EXPECT_EQ(service.refusal(parsed("cobblet://show/Twin"))->status, 2);
    EXPECT_FALSE(service.refusal(parsed("show Work")));
    EXPECT_FALSE(service.refusal(parsed("launch Nope"))) << "only what is shown needs to be there at the start";

    config.addApps({{u"Stub\nborn"_s, u"s"_s}}, id(1));
    running.running = {{u"s"_s, 4}};
    const CommandReply quit = command(u"quit Work"_s);
    EXPECT_EQ(quit.status, 3);
    EXPECT_EQ(quit.output, u"Editor: not running\nStub�born: asked to quit, and still running after 5 seconds\n"_s);
}

TEST_F(CommandLineTest, ListsAreHarmlessAndJsonKeepsEveryName)
{
    const QStringList names{
        u"Work"_s, u"\"\\/\b\f\n\r\t\x01\x7f"_s, u"\u009b31m \u202e \u2028"_s, u"👨‍👩‍👧 中"_s, {}};
    setGroups(names);
    const QString lines = command(u"list"_s).output, json = command(u"list --json"_s).output;
    EXPECT_EQ(lines.section(u'\n', 0, 0), idText(1) + u" 💼 Work"_s);
    EXPECT_EQ(lines.count(u'\n'), names.size());
    for (const QChar c : lines + json)
        ASSERT_TRUE(c == u'\n' || (c.category() != QChar::Other_Control && c != QChar(0x202e)));
    const QJsonArray list = QJsonDocument::fromJson(json.toUtf8()).array();
    ASSERT_EQ(list.size(), names.size());
    for (qsizetype i = 0; i < list.size(); ++i) {
        EXPECT_EQ(list[i]["id"_L1].toString(), idText(int(i) + 1));
        EXPECT_EQ(list[i]["name"_L1].toString(), names[i]);
        EXPECT_EQ(list[i]["apps"_L1][0]["bundleID"_L1].toString(), u"a"_s);
    }
}

} // namespace
} // namespace cobblet
