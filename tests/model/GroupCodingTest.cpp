#include "model/GroupCoding.h"
#include "model/ShortcutCoding.h"

#include <gtest/gtest.h>

namespace cobblet {

void PrintTo(const AppGroup &group, std::ostream *out)
{
    *out << encodeGroup(group).constData();
}

namespace {

constexpr const char *someId = "0F8FAD5B-D9CB-469F-A165-70867728950E";

/// A group with every field set to something other than its default.
AppGroup fullGroup()
{
    AppGroup group;
    group.id = QUuid(QString::fromLatin1(someId));
    group.name = QStringLiteral("Work \"&\" play\\");
    group.emoji = QStringLiteral(u"💼");
    group.apps = {{QStringLiteral(u"Über\t\u0001"), QStringLiteral("a.b")}, {QString(), QStringLiteral("c")}};
    group.isPinned = group.isStandalone = true;
    group.iconName = QStringLiteral("star");
    group.iconStyle = GroupIconStyle::Grid;
    group.iconColor = QStringLiteral("#AABBCC");
    group.iconFill = GroupIconFill::Glass;
    group.popupColumns = 4;
    group.popupMaxRows = -2;
    group.popupShowsTitles = false;
    group.popupAnchor = PopupAnchor::DockIcon;
    return group;
}

/// A group with the core fields and `extra` members.
QByteArray withExtra(const QByteArray &extra)
{
    return QByteArray("{\"id\":\"") + someId + "\",\"name\":\"N\",\"emoji\":\"E\",\"apps\":[]" +
           (extra.isEmpty() ? "" : ",") + extra + '}';
}

QByteArray nested(int levels)
{
    return withExtra("\"unknown\":" + QByteArray(levels - 1, '[') + QByteArray(levels - 1, ']'));
}

TEST(GroupEncoding, WritesKeysInFieldOrderAndOnlyTheOptionalOnesThatAreSet)
{
    EXPECT_EQ(encodeGroup(fullGroup()).toStdString(),
              "{\"id\":\"0F8FAD5B-D9CB-469F-A165-70867728950E\",\"name\":\"Work \\\"&\\\" play\\\\\","
              "\"emoji\":\"💼\",\"apps\":[{\"name\":\"Über\\t\\u0001\",\"bundleID\":\"a.b\"},"
              "{\"name\":\"\",\"bundleID\":\"c\"}],\"isPinned\":true,\"isStandalone\":true,\"iconName\":\"star\","
              "\"iconStyle\":\"grid\",\"iconColor\":\"#AABBCC\",\"iconFill\":\"glass\",\"popupColumns\":4,"
              "\"popupMaxRows\":-2,\"popupShowsTitles\":false,\"popupAnchor\":\"dockIcon\"}");
    const auto bare = decodeGroup(withExtra({}));
    ASSERT_TRUE(bare) << bare.error().toStdString();
    EXPECT_EQ(encodeGroups({bare.value(), bare.value()}).toStdString(),
              "[" + encodeGroup(bare.value()).toStdString() + "," + encodeGroup(bare.value()).toStdString() + "]");
    EXPECT_EQ(encodeGroup(bare.value()), withExtra("\"isPinned\":false,\"isStandalone\":false,"
                                                   "\"iconStyle\":\"emoji\",\"iconFill\":\"solid\""));
}

TEST(GroupEncoding, RoundTripsAnyText)
{
    AppGroup group = fullGroup();
    const QString texts[] = {
        QString(),
        QString(QChar(0)) + QStringLiteral("after NUL"),
        QStringLiteral(u"\ufeffmark"),
        QStringLiteral(u"\u007f\u0080\u07ff\u0800\ud7ff\ue000\uffff"),
        QStringLiteral(u"\U00010000\U0010ffff"),
        QStringLiteral("/ \b\f\n\r\t\x1b \" \\"),
    };
    for (const QString &text : texts) {
        group.name = text;
        group.apps.append({text, text});
        group.iconColor = text;
        const auto read = decodeGroup(encodeGroup(group));
        ASSERT_TRUE(read) << read.error().toStdString();
        EXPECT_EQ(read.value(), group);
    }
    for (const QString &text :
         {QString(QChar(0xd800)), QString(QChar(0xdc00)), QString(QChar(0xd800)) + QLatin1Char('x')}) {
        group.name = text;
        const auto read = decodeGroup(encodeGroup(group));
        ASSERT_TRUE(read);
        EXPECT_EQ(read.value().name[0], QChar(QChar::ReplacementCharacter));
        EXPECT_EQ(read.value().name.size(), text.size());
    }
}

TEST(GroupDecoding, SharedTextsStayRightWhenTheyAreChangedOrOutliveTheList)
{
    QString name;
    {
        auto read = decodeGroup(encodeGroup(fullGroup()));
        ASSERT_TRUE(read);
        AppGroup group = std::move(read).value();
        group.apps[0].name += QStringLiteral(" and more");
        EXPECT_EQ(group.apps[0].bundleID, QStringLiteral("a.b"));
        EXPECT_EQ(group.apps[1].bundleID, QStringLiteral("c"));
        name = group.apps[1].bundleID;
    }
    name += QStringLiteral("-tail that needs more room than there was");
    EXPECT_EQ(name, QStringLiteral("c-tail that needs more room than there was"));
    EXPECT_EQ(name.utf16()[name.size()], 0);
}

TEST(GroupDecoding, IsStrictAboutTheCoreAndLenientAboutWhatCameLater)
{
    const QByteArray flags = R"("isPinned":false,"isStandalone":false)",
                     style = R"("iconStyle":"emoji","iconFill":"solid")";
    const QByteArray defaults = flags + ',' + style;
    std::vector<std::pair<QByteArray, QByteArray>> cases{
        // What comes after the core, and what it is encoded to again; empty when the group does not decode.
        {R"("isPinned":true)", R"("isPinned":true,"isStandalone":false,)" + style},
        {R"("popupColumns":4.0,"popupMaxRows":2147483647)",
         defaults + R"(,"popupColumns":4,"popupMaxRows":2147483647)"},
        {R"("popupColumns":1,"popupColumns":2)", defaults + R"(,"popupColumns":2)"}};
    for (const char *lost :
         {"", R"("unknown":{"id":[1,{"apps":null}]},"ID":5)", R"("iconStyle":3)", R"("iconStyle":"Grid")",
          R"("iconStyle":"grid","iconStyle":["grid"])", R"("iconFill":"neon")", R"("iconFill":{"iconFill":"glass"})",
          R"("popupColumns":"4")", R"("popupColumns":2.5)", R"("popupColumns":true)", R"("popupColumns":2147483648)",
          R"("popupColumns":-2147483649)", R"("popupColumns":18446744073709551616)", R"("popupMaxRows":[1,2])",
          R"("popupShowsTitles":0)", R"("popupAnchor":"dockicon")", R"("popupAnchor":null)"})
        cases.push_back({lost, defaults});
    for (const char *bad : {R"("isPinned":"true")", R"("isPinned":1)", R"("isPinned":null)", R"("isStandalone":[])",
                            R"("iconName":7)", R"("iconName":null)", R"("iconColor":{})"})
        cases.push_back({bad, {}});
    for (const auto &[members, rest] : cases) {
        SCOPED_TRACE(members.constData());
        const QByteArray json = withExtra(members);
        const auto group = decodeGroup(json);
        EXPECT_EQ(group.ok(), !rest.isEmpty()) << group.error().toStdString();
        if (group.ok()) {
            EXPECT_EQ(encodeGroup(group.value()).toStdString(), withExtra(rest).toStdString());
        }
        // One bad group fails its whole list.
        EXPECT_EQ(decodeGroups('[' + withExtra({}) + ',' + json + ']').ok(), group.ok());
    }
}

TEST(GroupDecoding, FailsWithoutACoreField)
{
    // A group with one field in another way: a value, or none.
    const auto decodes = [](const char *field, const QByteArray &value) {
        const std::pair<QByteArray, QByteArray> core[] = {
            {"apps", "[]"}, {"emoji", "\"E\""}, {"name", "\"N\""}, {"id", QByteArray("\"") + someId + '"'}};
        QByteArrayList members;
        for (const auto &[name, standard] : core)
            if (name != field || !value.isEmpty())
                members.append('"' + name + "\":" + (name == field ? value : standard));
        const auto group = decodeGroup('{' + members.join(',') + '}');
        EXPECT_EQ(group.error().isEmpty(), group.ok());
        return group.ok();
    };
    EXPECT_TRUE(decodes("id", QByteArray(someId).toLower().prepend('"').append('"')));
    EXPECT_TRUE(decodes("apps", R"([{"name":"n","bundleID":"b","x":[{}]}])"));
    for (const char *bad :
         {"", "7", R"("{0F8FAD5B-D9CB-469F-A165-70867728950E}")", R"("0F8FAD5BD9CB469FA16570867728950E")",
          R"("0F8FAD5B-D9CB-469F-A165-70867728950G")", R"("0F8FAD5B-D9CB-469F0A165-70867728950E")"})
        EXPECT_FALSE(decodes("id", bad)) << bad;
    for (const char *bad : {"", "1", "null", "{}"}) {
        EXPECT_FALSE(decodes("name", bad)) << bad;
        EXPECT_FALSE(decodes("emoji", bad)) << bad;
    }
    for (const char *bad : {"", "{}", R"("x")", "[1]", "[[]]", R"([{"name":"n"}])", R"([{"bundleID":"b"}])",
                            R"([{"name":"n","bundleID":{}}])"})
        EXPECT_FALSE(decodes("apps", bad)) << bad;
}

TEST(GroupDecoding, RefusesWhatIsNoBoundedListOfGroups)
{
    const QByteArray spaces(int(maximumJsonBytes) - 2, ' ');
    for (const QByteArray &good :
         {QByteArray("[]"), QByteArray(" [ \n] "), QByteArray("\xef\xbb\xbf[]"), spaces + "[]"})
        EXPECT_TRUE(decodeGroups(good)) << good.left(120).constData();
    for (const QByteArray &bad :
         {QByteArray(), QByteArray("{}"), QByteArray("null"), QByteArray("5"), QByteArray("["), QByteArray("[]]"),
          QByteArray("[] []"), QByteArray("[null]"), QByteArray("[[]]"), QByteArray("[5]"), QByteArray("[]\0[", 4),
          "[" + withExtra({}) + ",]", "[" + withExtra("\"u\":\"\xff\"") + "]",
          "[" + withExtra("\"u\":\"\xed\xa0\x80\"") + "]", "[" + withExtra("\"u\":\"\\ud800\"") + "]",
          spaces + " []"})
        EXPECT_FALSE(decodeGroups(bad)) << bad.left(120).constData();
    EXPECT_TRUE(decodeGroup(nested(maximumJsonDepth)));
    EXPECT_FALSE(decodeGroup(nested(maximumJsonDepth + 1)));
    EXPECT_TRUE(decodeGroups('[' + nested(maximumJsonDepth - 1) + ']'));
    EXPECT_FALSE(decodeGroups('[' + nested(maximumJsonDepth) + ']'));
    EXPECT_FALSE(decodeGroups(QByteArray(10'000'000, '[')));
}

TEST(ShortcutCoding, ReadsOnlyDigitsAndIds)
{
    const QUuid id(QString::fromLatin1(someId));
    const QMap<int, QUuid> map{{1, id}, {9, id}, {12, id}};
    EXPECT_EQ(encodeShortcuts({{2, id}}), QByteArray("{\"2\":\"") + someId + "\"}");
    EXPECT_EQ(decodeShortcuts(encodeShortcuts(map)).value(), map);
    EXPECT_TRUE(decodeShortcuts("{}").value().isEmpty());
    const QByteArray value = QByteArray(":\"") + someId + "\"}";
    for (const QByteArray &bad :
         {QByteArray(), QByteArray("[]"), QByteArray("\"x\""), "{\"\"" + value, "{\"one\"" + value, "{\" 1\"" + value,
          "{\"01\"" + value, QByteArray("{\"1\":1}"), QByteArray("{\"1\":\"no id\"}"), "{\"1\":{\"2\"" + value + "}",
          QByteArray("{\"1\":[]}"), QByteArray("{}\0x", 4)})
        EXPECT_FALSE(decodeShortcuts(bad)) << bad.constData();
}

} // namespace
} // namespace cobblet
