#include "model/GroupCoding.h"
#include "support/Test.h"

namespace cobblet {
namespace {

constexpr const char *someId = "0F8FAD5B-D9CB-469F-A165-70867728950E";

/// A group with the core fields and `extra` members.
QByteArray withExtra(const QByteArray &extra)
{
    return QByteArray("{\"id\":\"") + someId + "\",\"name\":\"N\",\"emoji\":\"E\",\"apps\":[]" +
           (extra.isEmpty() ? "" : ",") + extra + '}';
}

TEST(GroupEncoding, WritesKeysInFieldOrderAndReadsThemAgain)
{
    // Every field is set to something other than its default.
    const std::string full =
        R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","name":"Work \"&\" play\\","emoji":"💼",)"
        R"("apps":[{"name":"Über\t\u0001","bundleID":"a.b"},{"name":"","bundleID":"\u0000\b\f\n\r/ ]}"}],)"
        R"("isPinned":true,"isStandalone":true,"iconName":"star","iconStyle":"grid","iconColor":"#AABBCC",)"
        R"("iconFill":"glass","popupColumns":4,"popupMaxRows":-2,"popupShowsTitles":false,"popupAnchor":"dockIcon"})";
    const auto group = decodeGroup(QByteArray::fromStdString(full));
    ASSERT_TRUE(group) << group.error().toStdString();
    EXPECT_EQ(group.value().apps[0].name, QStringLiteral(u"Über\t\u0001"));
    EXPECT_EQ(group.value().popupMaxRows, -2);
    EXPECT_EQ(encodeGroup(group.value()).toStdString(), full);
    EXPECT_EQ(encodeGroups({group.value(), group.value()}).toStdString(), "[" + full + "," + full + "]");

    AppGroup halved = group.value();
    halved.name = QString(QChar(0xd800)) + QLatin1Char('x');
    EXPECT_TRUE(decodeGroup(encodeGroup(halved))) << "half of a surrogate pair has no UTF-8";
}

TEST(GroupDecoding, IsStrictAboutTheCoreAndLenientAboutWhatCameLater)
{
    const QByteArray defaults = R"("isPinned":false,"isStandalone":false,"iconStyle":"emoji","iconFill":"solid")";
    // What comes after the core, and what it is encoded to again; empty when the group does not decode.
    std::vector<std::pair<QByteArray, QByteArray>> cases{
        {R"("popupColumns":4.0,"popupMaxRows":2147483647)",
         defaults + R"(,"popupColumns":4,"popupMaxRows":2147483647)"},
        {R"("popupColumns":1,"popupColumns":2)", defaults + R"(,"popupColumns":2)"}};
    for (const char *lost :
         {"", R"("unknown":{"id":[1,{"apps":null}]},"ID":5)", R"("iconStyle":"grid","iconStyle":["grid"])",
          R"("iconFill":"neon")", R"("isPinned":null,"isStandalone":null,"iconName":null,"iconColor":null)",
          R"("popupColumns":2.5)", R"("popupColumns":2147483648)", R"("popupMaxRows":[1,2])",
          R"("popupShowsTitles":0)", R"("popupAnchor":"dockicon")"})
        cases.push_back({lost, defaults});
    for (const char *bad : {R"("isPinned":"true")", R"("iconName":7)", R"("iconColor":{})",
                            R"("id":"{0F8FAD5B-D9CB-469F-A165-70867728950E}")", R"("emoji":null)", R"("name":{})",
                            R"("apps":{})", R"("apps":[1])", R"("apps":[{"name":"n"}])"})
        cases.push_back({bad, {}});
    for (const auto &[members, rest] : cases) {
        SCOPED_TRACE(members.constData());
        const QByteArray json = withExtra(members);
        const auto group = decodeGroup(json);
        EXPECT_EQ(group.error().isEmpty(), group.ok());
        EXPECT_EQ(group ? encodeGroup(group.value()) : QByteArray(), rest.isEmpty() ? rest : withExtra(rest));
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
    for (const QByteArray &good : {QByteArray(" [ \n] "), QByteArray("\xef\xbb\xbf[]"), spaces + "[]"})
        EXPECT_TRUE(decodeGroups(good)) << good.left(120).constData();
    for (const QByteArray &bad :
         {QByteArray(), QByteArray("{}"), QByteArray("null"), QByteArray("["), QByteArray("[] []"),
          QByteArray("[]\0[", 4), "[" + withExtra("\"u\":\"\xff\"") + "]", spaces + " []",
          QByteArray(10'000'000, '['),
          "[" + withExtra("\"u\":[" + QByteArray("0,").repeated(maximumJsonValues) + "0]") + "]"})
        EXPECT_FALSE(decodeGroups(bad)) << bad.left(120).constData();
    for (const int levels : {maximumJsonDepth, maximumJsonDepth + 1}) {
        const QByteArray nested = QByteArray(levels - 1, '[') + QByteArray(levels - 1, ']');
        EXPECT_EQ(decodeGroup(withExtra("\"u\":" + nested)).ok(), levels == maximumJsonDepth);
    }
}

TEST(ShortcutCoding, ReadsOnlyDigitsAndIds)
{
    const QUuid id(QString::fromLatin1(someId));
    const QMap<int, QUuid> map{{1, id}, {12, id}};
    EXPECT_EQ(encodeShortcuts({{2, id}}), QByteArray("{\"2\":\"") + someId + "\"}");
    EXPECT_EQ(decodeShortcuts(encodeShortcuts(map)).value(), map);
    const QByteArray value = QByteArray(":\"") + someId + "\"}";
    for (const QByteArray &bad : {QByteArray("[]"), "{\"one\"" + value, "{\"01\"" + value, QByteArray("{\"1\":1}")})
        EXPECT_FALSE(decodeShortcuts(bad)) << bad.constData();
}

} // namespace
} // namespace cobblet
