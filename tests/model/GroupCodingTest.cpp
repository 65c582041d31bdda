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

struct ExtraCase {
    const char *members;
    /// What the decoded group encodes to after its core; null when decoding fails.
    const char *rest;
};

TEST(GroupDecoding, IsStrictAboutTheCoreAndLenientAboutWhatCameLater)
{
    constexpr const char *defaults =
        "\"isPinned\":false,\"isStandalone\":false,\"iconStyle\":\"emoji\",\"iconFill\":\"solid\"";
    const ExtraCase cases[] = {
        {"", defaults},
        {"\"unknown\":{\"id\":[1,{\"apps\":null}]},\"ID\":5", defaults},
        {"\"isPinned\":true",
         "\"isPinned\":true,\"isStandalone\":false,\"iconStyle\":\"emoji\",\"iconFill\":\"solid\""},
        {"\"isPinned\":\"true\"", nullptr},
        {"\"isPinned\":1", nullptr},
        {"\"isPinned\":null", nullptr},
        {"\"isStandalone\":[]", nullptr},
        {"\"iconName\":7", nullptr},
        {"\"iconName\":null", nullptr},
        {"\"iconColor\":{}", nullptr},
        {"\"iconStyle\":3", defaults},
        {"\"iconStyle\":\"Grid\"", defaults},
        {"\"iconStyle\":\"grid\",\"iconStyle\":[\"grid\"]", defaults},
        {"\"iconFill\":\"neon\"", defaults},
        {"\"iconFill\":{\"iconFill\":\"glass\"}", defaults},
        {"\"popupColumns\":\"4\"", defaults},
        {"\"popupColumns\":2.5", defaults},
        {"\"popupColumns\":true", defaults},
        {"\"popupColumns\":2147483648", defaults},
        {"\"popupColumns\":-2147483649", defaults},
        {"\"popupColumns\":18446744073709551616", defaults},
        {"\"popupMaxRows\":[1,2]", defaults},
        {"\"popupShowsTitles\":0", defaults},
        {"\"popupAnchor\":\"dockicon\"", defaults},
        {"\"popupAnchor\":null", defaults},
        {"\"popupColumns\":4.0,\"popupMaxRows\":2147483647",
         "\"isPinned\":false,\"isStandalone\":false,\"iconStyle\":\"emoji\",\"iconFill\":\"solid\","
         "\"popupColumns\":4,\"popupMaxRows\":2147483647"},
        {"\"popupColumns\":1,\"popupColumns\":2", "\"isPinned\":false,\"isStandalone\":false,\"iconStyle\":\"emoji\","
                                                  "\"iconFill\":\"solid\",\"popupColumns\":2"},
    };
    for (const ExtraCase &c : cases) {
        SCOPED_TRACE(c.members);
        const QByteArray json = withExtra(c.members);
        const auto group = decodeGroup(json);
        EXPECT_EQ(group.ok(), c.rest != nullptr) << group.error().toStdString();
        if (group.ok() && c.rest) {
            EXPECT_EQ(encodeGroup(group.value()).toStdString(), withExtra(c.rest).toStdString());
        }
        // One bad group fails its whole list.
        EXPECT_EQ(decodeGroups('[' + withExtra({}) + ',' + json + ']').ok(), group.ok());
    }
}

TEST(GroupDecoding, FailsWithoutACoreField)
{
    const QByteArray id = QByteArray("\"id\":\"") + someId + '"';
    const std::pair<QByteArray, bool> cases[] = {
        {"{" + id + R"(,"name":"N","emoji":"E","apps":[{"name":"n","bundleID":"b","x":[{}]}]})", true},
        {"{" + id.toLower() + R"(,"name":"N","emoji":"E","apps":[]})", true},
        {R"({"apps":[],"emoji":"E","name":"N",)" + id + "}", true},
        {R"({"name":"N","emoji":"E","apps":[]})", false},
        {"{" + id + R"(,"emoji":"E","apps":[]})", false},
        {"{" + id + R"(,"name":"N","apps":[]})", false},
        {"{" + id + R"(,"name":"N","emoji":"E"})", false},
        {"{" + id + R"(,"name":1,"emoji":"E","apps":[]})", false},
        {"{" + id + R"(,"name":"N","emoji":null,"apps":[]})", false},
        {"{" + id + R"(,"name":"N","emoji":"E","apps":{}})", false},
        {"{" + id + R"(,"name":"N","emoji":"E","apps":"x"})", false},
        {"{" + id + R"(,"name":"N","emoji":"E","apps":[1]})", false},
        {"{" + id + R"(,"name":"N","emoji":"E","apps":[[]]})", false},
        {"{" + id + R"(,"name":"N","emoji":"E","apps":[{"name":"n"}]})", false},
        {"{" + id + R"(,"name":"N","emoji":"E","apps":[{"bundleID":"b"}]})", false},
        {"{" + id + R"(,"name":"N","emoji":"E","apps":[{"name":"n","bundleID":{}}]})", false},
        {R"({"id":7,"name":"N","emoji":"E","apps":[]})", false},
        {R"({"id":"{0F8FAD5B-D9CB-469F-A165-70867728950E}","name":"N","emoji":"E","apps":[]})", false},
        {R"({"id":"0F8FAD5BD9CB469FA16570867728950E","name":"N","emoji":"E","apps":[]})", false},
        {R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950G","name":"N","emoji":"E","apps":[]})", false},
        {R"({"id":"0F8FAD5B-D9CB-469FA-165-70867728950E","name":"N","emoji":"E","apps":[]})", false},
    };
    for (const auto &[json, decodes] : cases) {
        const auto group = decodeGroup(json);
        EXPECT_EQ(group.ok(), decodes) << json.constData() << ' ' << group.error().toStdString();
        EXPECT_EQ(group.error().isEmpty(), decodes);
    }
}

TEST(GroupDecoding, RefusesWhatIsNoBoundedListOfGroups)
{
    const std::pair<QByteArray, bool> cases[] = {
        {"[]", true},
        {" [ \n] ", true},
        {"\xef\xbb\xbf[]", true},
        {"", false},
        {"{}", false},
        {"null", false},
        {"5", false},
        {"[", false},
        {"[]]", false},
        {"[] []", false},
        {"[null]", false},
        {"[[]]", false},
        {"[5]", false},
        {QByteArray("[]\0[", 4), false},
        {"[" + withExtra({}) + ",]", false},
        {"[" + withExtra("\"u\":\"\xff\"") + "]", false},
        {"[" + withExtra("\"u\":\"\xed\xa0\x80\"") + "]", false},
        {"[" + withExtra("\"u\":\"\\ud800\"") + "]", false},
        {QByteArray(int(maximumJsonBytes) - 2, ' ') + "[]", true},
        {QByteArray(int(maximumJsonBytes) - 1, ' ') + "[]", false},
    };
    for (const auto &[json, decodes] : cases)
        EXPECT_EQ(decodeGroups(json).ok(), decodes) << json.left(120).constData();
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
