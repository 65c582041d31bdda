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
    static QStringList words(const char *line) { return text(line).split(QLatin1Char(' '), Qt::SkipEmptyParts); }
};

TEST_F(CommandLineTest, UnderstandsCommandsOptionsAndNamesOfSeveralWords)
{
    struct Row {
        const char *line;
        Verb verb;
        const char *text;
    };
    for (const Row &row :
         {Row{"", Verb::Panel, ""}, Row{"--service", Verb::Service, ""}, Row{"--version", Verb::Version, ""},
          Row{"-h", Verb::Help, ""}, Row{"launch Work --help", Verb::Help, ""}, Row{"show Work", Verb::Show, "Work"},
          Row{"launch My Work", Verb::Launch, "My Work"}, Row{"quit -- --help", Verb::Quit, "--help"},
          Row{"hide My -- -x -- y", Verb::Hide, "My -x -- y"}, Row{"show -", Verb::Show, "-"},
          Row{"show show", Verb::Show, "show"}, Row{"list", Verb::List, ""}, Row{"list --json", Verb::ListJson, ""},
          Row{"say Go to Work group in Cobblet", Verb::Say, "Go to Work group in Cobblet"},
          Row{"cobblet://show/Work", Verb::Open, "cobblet://show/Work"},
          Row{"show", Verb::Invalid, "“show” needs the name or id of a group."},
          Row{"show --", Verb::Invalid, "“show” needs the name or id of a group."},
          Row{"say", Verb::Invalid, "“say” needs a phrase, such as “Launch Work group in Cobblet”."}})
        EXPECT_EQ(CommandLine::parse(words(row.line)), (CommandLine{row.verb, text(row.text)})) << row.line;
    for (const auto &[line, word] : {std::pair("show -x Work", "-x"),
                                     {"dance", "dance"},
                                     {"SHOW Work", "SHOW"},
                                     {"-- show Work", "--"},
                                     {"list all", "all"},
                                     {"list --json all", "all"},
                                     {"--version now", "now"},
                                     {"cobblet://show/a b", "b"},
                                     {"http://show/a", "http://show/a"}})
        EXPECT_EQ(CommandLine::parse(words(line)),
                  (CommandLine{Verb::Invalid, text("“%1” is not understood.").arg(text(word))}));

    EXPECT_EQ(CommandLine::parse(QStringList{text("show"), text("  ")}).verb, Verb::Invalid);
    EXPECT_EQ(CommandLine::parse(QByteArrayList{"show", "Caf\xc3\xa9"}).text, text("Café"));
    for (const char *bytes : {"Caf\xe9", "\xf0\x9f\xa7", "\xed\xa0\x80"})
        EXPECT_EQ(CommandLine::parse(QByteArrayList{"show", bytes}),
                  (CommandLine{Verb::Invalid, text("argument 2 is no text in UTF-8.")}));
}

TEST_F(CommandLineTest, KnowsWhichRequestsNeedThePanel)
{
    struct Row {
        const char *line;
        bool panel;
        const char *group;
    };
    for (const Row &row :
         {Row{"", true, nullptr}, Row{"--service", true, nullptr}, Row{"show Work", true, "Work"},
          Row{"cobblet://show/My%20Work", true, "My Work"}, Row{"say show Work group in Cobblet", true, "Work"},
          Row{"say stop Work group in Cobblet", false, nullptr}, Row{"say gibberish", false, nullptr},
          Row{"cobblet://quit/Work", false, nullptr}, Row{"cobblet://x", false, nullptr},
          Row{"launch Work", false, nullptr}, Row{"list", false, nullptr}}) {
        const CommandLine line = CommandLine::parse(words(row.line));
        EXPECT_EQ(line.needsPanel(), row.panel) << row.line;
        EXPECT_EQ(line.groupToShow(), row.group ? std::optional(text(row.group)) : std::nullopt) << row.line;
    }
}

TEST_F(CommandLineTest, AnswersWithAStatusForEachKindOfEnd)
{
    setGroups({text("Work"), text("Twin"), text("Twin"), text("Empty"), text("Ev\nil\x1b[2J")});
    config.removeApp(text("a"), id(4));
    struct Row {
        const char *line;
        int status;
        QString output;
        QString errors; ///< what they begin with
    };
    const QString missing = text("There's no group named “%1”. It may have been renamed or deleted.\n");
    for (const Row &row :
         {Row{"launch Work", 0, text("Editor: launched\n"), {}},
          Row{"hide Work", 0, text("Editor: not running\n"), {}}, Row{"show Work", 0, {}, {}},
          Row{"quit Empty", 0, {}, {}},
          Row{"say fire up Work group in Cobblet", 0, text("Launching Work.\nEditor: launched\n"), {}},
          Row{"say show Work group in Cobblet", 0, {}, {}},
          Row{"cobblet://launch/work", 0, text("Editor: launched\n"), {}},
          Row{"--version", 0, text("Cobblet 1.2.3\n"), {}}, Row{"--service", 0, {}, {}},
          Row{"show Nope", 1, {}, missing.arg(text("Nope"))},
          Row{"cobblet://show/No\x1bpe%0A", 1, {}, missing.arg(text("No�pe�"))},
          Row{"say launch Nope group in Cobblet", 1, {}, missing.arg(text("Nope"))},
          Row{"quit Twin",
              2,
              {},
              text("There are 2 groups named “Twin”. Use an id:\n%1 💼 Twin\n%2 💼 Twin\n").arg(idText(2), idText(3))},
          Row{"dance", 64, {}, text("cobblet: “dance” is not understood.\nUsage: cobblet ")},
          Row{"say sing", 64, {}, text("“sing” is not understood. Say, ")},
          Row{"cobblet://hide/Work",
              64,
              {},
              text("“cobblet://hide/Work” is no address that can be opened here.\n")}}) {
        const CommandReply reply = command(words(row.line));
        EXPECT_EQ(reply.status, row.status) << row.line;
        EXPECT_EQ(reply.output.toStdString(), row.output.toStdString()) << row.line;
        EXPECT_EQ(reply.errors.left(row.errors.size()).toStdString(), row.errors.toStdString()) << row.line;
        EXPECT_EQ(reply.errors.isEmpty(), row.errors.isEmpty()) << row.line;
    }
    log.clear();
    EXPECT_EQ(command({}).status, 0);
    EXPECT_EQ(log, QStringList{text("panel")});
    EXPECT_EQ(service.refusal(CommandLine::parse(words("show Nope")))->status, 1);
    EXPECT_EQ(service.refusal(CommandLine::parse(words("cobblet://show/Twin")))->status, 2);
    EXPECT_FALSE(service.refusal(CommandLine::parse(words("show Work"))));
    EXPECT_FALSE(service.refusal(CommandLine::parse(words("launch Nope"))));
}

TEST_F(CommandLineTest, TellsOfEachApplicationAndWhetherAllWasDone)
{
    setGroups({text("Work")});
    config.addApps({{text("Gone"), text("gone")}, {text("Stub\nborn"), text("s")}}, id(1));
    EXPECT_EQ(command(words("launch Work")).status, 3);
    workspace.install(text("gone"));
    running.running = {{text("s"), 4}};
    const CommandReply launched = command(words("launch Work"));
    EXPECT_EQ(launched.status, 0);
    EXPECT_EQ(launched.output, text("Editor: launched\nGone: launched\nStub�born: brought forward\n"));
    const CommandReply quit = command(words("quit Work"));
    EXPECT_EQ(quit.status, 3);
    EXPECT_EQ(
        quit.output,
        text(
            "Editor: not running\nGone: not running\nStub�born: asked to quit, and still running after 5 seconds\n"));
}

TEST_F(CommandLineTest, ListsAreHarmlessAndJsonKeepsEveryName)
{
    const std::vector<QString> names{text("Work"), text("\"\\/\b\f\n\r\t\x01\x7f"), text("\u009b31m \u202e \u2028"),
                                     text("👨‍👩‍👧 中"), QString()};
    setGroups(names);
    const QString lines = command(words("list")).output, json = command(words("list --json")).output;
    EXPECT_EQ(lines.section(QLatin1Char('\n'), 0, 0), idText(1) + text(" 💼 Work"));
    EXPECT_EQ(lines.count(QLatin1Char('\n')), qsizetype(names.size()));
    for (const QChar c : lines + json)
        ASSERT_TRUE(c == QLatin1Char('\n') || (c.category() != QChar::Other_Control && c != QChar(0x202e)));
    const QJsonArray list = QJsonDocument::fromJson(json.toUtf8()).array();
    ASSERT_EQ(list.size(), qsizetype(names.size()));
    for (qsizetype i = 0; i < list.size(); ++i) {
        EXPECT_EQ(list[i][QLatin1String("id")].toString(), idText(int(i) + 1));
        EXPECT_EQ(list[i][QLatin1String("name")].toString(), names[size_t(i)]);
        EXPECT_EQ(list[i][QLatin1String("apps")][0][QLatin1String("bundleID")].toString(), text("a"));
    }
}

} // namespace
} // namespace cobblet
