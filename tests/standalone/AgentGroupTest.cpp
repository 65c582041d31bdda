#include "standalone/AgentGroup.h"
#include "standalone/AgentMenu.h"

#include <QSet>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

const QUuid id(u"8f3a0c52-1b2d-4e6f-9a7b-0c1d2e3f4a5b"_s);
const QString idText = u"8F3A0C52-1B2D-4E6F-9A7B-0C1D2E3F4A5B"_s;

TEST(AgentGroupTest, AGroupsFileNameKeepsTheLettersOfItsName)
{
    struct Row {
        QString name;
        QString expected;
    };
    const Row rows[] = {
        {u"../x"_s, u"x"_s},
        {u"  My – Töols_2 - ② "_s, u"My  Töols_2 - ②"_s},
        {u"a\"b%c\nd\x01/e"_s, u"abcde"_s},
        {u"🛠 Tools 👩‍💻"_s, u"Tools"_s},
        {u"?!/.."_s, idText},
        {u".hidden"_s, u"hidden"_s},
        {QString(300, QLatin1Char('n')), QString(240, QLatin1Char('n'))},
        {QString(300, QChar(0x65e5)), QString(80, QChar(0x65e5))},
    };
    for (const Row &row : rows) {
        AppGroup group;
        group.id = id;
        group.name = row.name;
        EXPECT_EQ(safeBundleName(group).toStdString(), row.expected.toStdString()) << row.name.toStdString();
    }
}

TEST(AgentGroupTest, AnIdentifierNamesItsGroupOrNone)
{
    EXPECT_EQ(agentIdentifier(id), u"com.cobblet.agent."_s + idText);
    EXPECT_EQ(groupOfAgent(agentIdentifier(id)), id);
    for (const char *other : {"com.vantor.cobblet", "com.cobblet.agent.", "com.cobblet.agent.x",
                              "com.cobblet.agent.8F3A0C52-1B2D-4E6F-9A7B-0C1D2E3F4A5B.x"})
        EXPECT_FALSE(groupOfAgent(QString::fromLatin1(other))) << other;
}

TEST(AgentGroupTest, AConfigIsOneGroupAndNothingElseIs)
{
    AppGroup group;
    group.name = u"Quote \" and 🛠"_s;
    group.apps = {{u"Mail"_s, u"com.apple.mail"_s}};
    const auto back = decodeAgentGroupConfig(encode({group}));
    ASSERT_TRUE(back) << back.error().toStdString();
    EXPECT_EQ(back.value().group, group);

    const QByteArray deep = "{\"group\":" + QByteArray(100'000, '[') + QByteArray(100'000, ']') + '}';
    for (const QByteArray &bad : {QByteArray(), QByteArray("null"), QByteArray("[]"), QByteArray("{\"group\":7}"),
                                  QByteArray("{\"group\":{\"name\":\"x\"}}"), QByteArray("{\"group\""), deep,
                                  QByteArray("{\"Group\":{}}"), QByteArray("\xff\xfe{}")})
        EXPECT_FALSE(decodeAgentGroupConfig(bad)) << bad.left(40).toStdString();
}

TEST(AgentMenuTest, EveryApplicationHasAnActionOfItsOwnThatDesktopEntriesCanName)
{
    AppGroup group;
    for (const char *bundleID : {"org.a-b", "org.a.b", "org.a-2eb", "Ünïcode", "", "x y"})
        group.apps.append({u"name"_s, QString::fromUtf8(bundleID)});
    const QList<DockMenuItem> menu = agentMenu(group);
    QSet<QString> actions;
    for (const DockMenuItem &item : menu) {
        actions.insert(item.action);
        for (const QChar c : item.action)
            EXPECT_TRUE((c.isLetterOrNumber() && c.unicode() < 128) || c == u'-') << item.action.toStdString();
    }
    EXPECT_EQ(actions.size(), menu.size());
    EXPECT_TRUE(menu[6].isSeparator());
    EXPECT_EQ(menu.last().title, u"Quit All"_s);
}

} // namespace
} // namespace cobblet
