#include "standalone/AgentGroup.h"
#include "standalone/AgentMenu.h"
#include "support/Test.h"

#include <QRegularExpression>
#include <QSet>

namespace cobblet {
namespace {

TEST(AgentGroupTest, AGroupsFileNameKeepsTheLettersOfItsName)
{
    AppGroup group;
    const std::pair<QString, QString> rows[] = {
        {u"../x"_s, u"x"_s},
        {u"  My – Töols_2 - ② "_s, u"My  Töols_2 - ②"_s},
        {u"a\"b%c\nd\x01/e"_s, u"abcde"_s},
        {u"🛠 Tools 👩‍💻"_s, u"Tools"_s},
        {u"?!/.."_s, group.id.toString(QUuid::WithoutBraces).toUpper()},
        {QString(300, QChar(0x65e5)), QString(80, QChar(0x65e5))},
    };
    for (const auto &[name, expected] : rows) {
        group.name = name;
        EXPECT_EQ(safeBundleName(group).toStdString(), expected.toStdString()) << name.toStdString();
    }
}

TEST(AgentGroupTest, AConfigIsOneGroupAndNothingElseIs)
{
    AppGroup group;
    group.name = u"Quote \" and 🛠"_s;
    group.apps = {{u"Mail"_s, u"com.apple.mail"_s}};
    EXPECT_EQ(decodeAgentGroupConfig(encode({group})).value().group, group);
    EXPECT_EQ(groupOfAgent(agentIdentifier(group.id)), group.id);
    EXPECT_FALSE(groupOfAgent(agentIdentifier(group.id) + u".x"_s) || groupOfAgent(u"com.vantor.cobblet"_s));

    const QByteArray deep = "{\"group\":" + QByteArray(100'000, '[') + QByteArray(100'000, ']') + '}';
    const QByteArray many = "{\"group\":[" + QByteArray("{},").repeated(400'000) + "{}]}";
    for (const QByteArray &bad : {many, QByteArray(), QByteArray("[]"), QByteArray("{\"group\":{\"name\":\"x\"}}"),
                                  QByteArray("{\"group\""), deep, QByteArray("\xff\xfe{}")})
        EXPECT_FALSE(decodeAgentGroupConfig(bad)) << bad.left(40).toStdString();
}

TEST(AgentMenuTest, EveryApplicationHasAnActionOfItsOwnThatDesktopEntriesCanName)
{
    AppGroup group;
    for (const QString &bundleID : {u"org.a-b"_s, u"org.a.b"_s, u"org.a-2eb"_s, u"Ünïcode"_s, QString(), u"x y"_s})
        group.apps.append({u"name"_s, bundleID});
    const QList<DockMenuItem> menu = agentMenu(group);
    QSet<QString> actions;
    for (const DockMenuItem &item : menu)
        actions.insert(item.action);
    EXPECT_EQ(actions.size(), menu.size());
    EXPECT_FALSE(actions.values().join(u'-').contains(QRegularExpression(u"[^A-Za-z0-9-]"_s)));
}

} // namespace
} // namespace cobblet
