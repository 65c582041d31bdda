#include "model/GroupCoding.h"

#include <gtest/gtest.h>

namespace cobblet {

void PrintTo(const AppGroup &group, std::ostream *out)
{
    *out << encodeGroup(group).constData();
}

namespace {

constexpr const char *someId = "0F8FAD5B-D9CB-469F-A165-70867728950E";

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

TEST(GroupEncoding, WritesKeysInFieldOrderAndReadsThemAgain)
{
    // Every field is set to something other than its default.
    const std::string full =
        "{\"id\":\"0F8FAD5B-D9CB-469F-A165-70867728950E\",\"name\":\"Work \\\"&\\\" play\\\\\","
        "\"emoji\":\"💼\",\"apps\":[{\"name\":\"Über\\t\\u0001\",\"bundleID\":\"a.b\"},"
        "{\"name\":\"\",\"bundleID\":\"\ufeff\\u0000\\b\\f\\n\\r\x7f/ "
        "]}\"}],\"isPinned\":true,\"isStandalone\":true,\"iconName\":\"star\","
        "\"iconStyle\":\"grid\",\"iconColor\":\"#AABBCC\",\"iconFill\":\"glass\",\"popupColumns\":4,"
        "\"popupMaxRows\":-2,\"popupShowsTitles\":false,\"popupAnchor\":\"dockIcon\"}";
    const auto group = decodeGroup(QByteArray::fromStdString(full));
    ASSERT_TRUE(group) << group.error().toStdString();
    EXPECT_EQ(group.value().apps[0].name, QStringLiteral(u"Über\t\u0001"));
    EXPECT_EQ(group.value().iconFill, GroupIconFill::Glass);
    EXPECT_EQ(group.value().popupMaxRows, -2);
    EXPECT_EQ(group.value().popupAnchor, PopupAnchor::DockIcon);
    EXPECT_EQ(encodeGroup(group.value()).toStdString(), full);
    EXPECT_EQ(encodeGroups({group.value(), group.value()}).toStdString(), "[" + full + "," + full + "]");

    AppGroup halved = group.value();
    halved.name = QString(QChar(0xd800)) + QLatin1Char('x');
    EXPECT_TRUE(decodeGroup(encodeGroup(halved))) << "half of a surrogate pair has no UTF-8";
}

TEST(GroupDecoding, IsStrictAboutTheCoreAndLenientAboutWhatCameLater)
{
    const QByteArray style = R"("iconStyle":"emoji","iconFill":"solid")";
    const QByteArray defaults = R"("isPinned":false,"isStandalone":false,)" + style;
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
                            R"("iconName":7)", R"("iconName":null)", R"("iconColor":{})", R"("id":7)", R"("id":"")",
                            R"("id":"{0F8FAD5B-D9CB-469F-A165-70867728950E}")", R"("emoji":null)", R"("name":{})",
                            R"("id":"0F8FAD5BD9CB469FA16570867728950E")", R"("apps":{})", R"("apps":[1])",
                            R"("id":"0F8FAD5B-D9CB-469F-A165-70867728950G")", R"("apps":[{"name":"n"}])",
                            R"("apps":[{"bundleID":"b"}])", R"("apps":[{"name":"n","bundleID":{}}])"})
        cases.push_back({bad, {}});
    for (const auto &[members, rest] : cases) {
        SCOPED_TRACE(members.constData());
        const QByteArray json = withExtra(members);
        const auto group = decodeGroup(json);
        EXPECT_EQ(group.ok(), !rest.isEmpty());
        EXPECT_EQ(group.error().isEmpty(), group.ok());
        if (group.ok()) {
            EXPECT_EQ(encodeGroup(group.value()).toStdString(), withExtra(rest).toStdString());
        }
        // One bad group fails its whole list.
        EXPECT_EQ(decodeGroups('[' + withExtra({}) + ',' + json + ']').ok(), group.ok());
    }
    for (const char *key : {"id", "name", "emoji", "apps"})
        EXPECT_FALSE(decodeGroup(withExtra({}).replace(key, "other"))) << key;
    EXPECT_TRUE(decodeGroup(withExtra({}).toLower())) << "an id in lower case";
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
          "[" + withExtra("\"u\":\"\xed\xa0\x80\"") + "]", "[" + withExtra("\"u\":\"\\ud800\"") + "]", spaces + " []",
          QByteArray(10'000'000, '['),
          "[" + withExtra("\"u\":[" + QByteArray("0,").repeated(maximumJsonValues) + "0]") + "]"})
        EXPECT_FALSE(decodeGroups(bad)) << bad.left(120).constData();
    EXPECT_TRUE(decodeGroup(nested(maximumJsonDepth)));
    EXPECT_FALSE(decodeGroup(nested(maximumJsonDepth + 1)));
    EXPECT_TRUE(decodeGroup(withExtra("\"u\":\"" + QByteArray(maximumJsonDepth * 2, '[') + '"'))) << "in a text";
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
