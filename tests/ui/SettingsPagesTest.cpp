#include "integration/CobbletShortcuts.h"
#include "shell/GlobalHotkeyManager.h"
#include "support/GroupsFixture.h"
#include "ui/settings/KeyboardShortcuts.h"
#include "ui/settings/Preferences.h"
#include "ui/settings/SiriCommands.h"

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

class SettingsPagesTest : public testing::Test, protected test::GroupsFixture {
protected:
    static AppGroup named(const QString &name)
    {
        AppGroup group;
        group.name = name;
        return group;
    }
    KeyboardShortcuts &shortcuts()
    {
        if (!m_shortcuts)
            m_shortcuts.emplace(config, &m_hotkeys.emplace(hotKeys, notifications, scheduler));
        return *m_shortcuts;
    }
    QList<int> choices()
    {
        QList<int> list;
        for (const ShortcutRowData &row : shortcuts().rows())
            list.append(row.choice);
        return list;
    }

    test::FakeHotKeys hotKeys;

private:
    std::optional<GlobalHotkeyManager> m_hotkeys;
    std::optional<KeyboardShortcuts> m_shortcuts;
};

TEST_F(SettingsPagesTest, APreferenceOfAWrongTypeOrOutOfRangeReadsAsTheNearestAndStaysAsItIs)
{
    Preferences preferences(sharedDefaults);
    struct Row {
        const char *key;
        QVariant stored;
        const char *property;
        QVariant read;
    };
    for (const Row &row : {Row{"popupColumns", 1, "columns", 0}, Row{"popupColumns", 99, "columns", 8},
                           Row{"popupColumns", std::numeric_limits<qint64>::min(), "columns", 0},
                           Row{"popupColumns", u"many"_s, "columns", 0}, Row{"popupMaxRows", 7, "maxRows", 6},
                           Row{"popupAnchor", u"DOCKICON"_s, "anchor", u"dockCenter"_s},
                           Row{"popupAnchor", 3, "anchor", u"dockCenter"_s},
                           Row{"panelTheme", u"Dark"_s, "panelTheme", u"system"_s}}) {
        const QString key = QString::fromLatin1(row.key);
        (void)sharedDefaults.set(key, row.stored);
        const QVariant stored = sharedDefaults.stored[key];
        EXPECT_EQ(preferences.property(row.property), row.read) << row.key;
        EXPECT_EQ(sharedDefaults.stored[key], stored) << row.key;
        preferences.setProperty(row.property, row.read);
        EXPECT_EQ(sharedDefaults.string(key).value_or(QString::number(sharedDefaults.integer(key))),
                  row.read.toString())
            << "once it is chosen";
    }
    sharedDefaults.failure = u"The disk is full."_s;
    preferences.setPanelTheme(u"dark"_s);
    EXPECT_EQ(preferences.failedSetting() + u": "_s + preferences.failure(), u"theme.dark: The disk is full."_s);
    EXPECT_EQ(preferences.panelTheme(), u"system"_s);
    sharedDefaults.failure.clear();
    preferences.setColumns(4);
    EXPECT_TRUE(preferences.failure().isEmpty() && preferences.failedSetting().isEmpty());
}

TEST_F(SettingsPagesTest, ADigitIsGivenToAGroupAndTakenAwayOnTopOfWhatAnotherProcessAssigned)
{
    config.replaceGroups({named(u"Work"_s), named(u"Two\nlines"_s)});
    config.replaceShortcuts({{1, config.groups()[0].id}});
    EXPECT_EQ(shortcuts().choices(), (QStringList{u"None"_s, u"Work"_s, u"Two lines"_s}));
    EXPECT_EQ(choices(), (QList<int>{1, 0, 0, 0, 0, 0, 0, 0, 0}));

    ConfigManager other({folder}, standardDefaults);
    other.setShortcut(9, config.groups()[1].id);
    shortcuts().assign(3, 1);
    shortcuts().assign(1, 0);
    shortcuts().assign(2, 7); // of a list that was longer when the menu opened
    EXPECT_EQ(choices(), (QList<int>{0, 0, 1, 0, 0, 0, 0, 0, 2}));
    EXPECT_EQ(other.groupShortcuts(), config.groupShortcuts());

    config.deleteGroup(config.groups()[0].id);
    EXPECT_EQ(choices(), (QList<int>{0, 0, 0, 0, 0, 0, 0, 0, 1})) << "what is deleted leaves its digit";
    for (const int digit : {0, 10})
        config.setShortcut(digit, config.groups()[0].id);
    config.setShortcut(5, QUuid::createUuid());
    EXPECT_EQ(config.groupShortcuts().size(), 1);
}

TEST_F(SettingsPagesTest, ARowWarnsOfItsOwnConflictAndShowsTheDesktopsOwnTrigger)
{
    hotKeys.taken = {4};
    const QList<ShortcutRowData> &rows = shortcuts().rows();
    EXPECT_TRUE(rows[3].warning.startsWith(u"⌥⇧4 is already used by another app, "_s));
    hotKeys.refuse(6);
    hotKeys.triggers[7] = u"F9"_s;
    emit hotKeys.changed();
    QStringList warned;
    for (const ShortcutRowData &row : rows)
        warned.append(row.warning.left(4));
    EXPECT_EQ(warned, (QStringList{{}, {}, {}, u"⌥⇧4 "_s, {}, u"refu"_s, {}, {}, {}}));
    EXPECT_EQ(rows[6].trigger, u"F9"_s);
    EXPECT_TRUE(shortcuts().notice().isEmpty());
}

TEST_F(SettingsPagesTest, WithoutHotKeysAReasonAndTheCommandsToBindAreGiven)
{
    hotKeys.available = Availability::unavailable(u"Nothing here."_s);
    hotKeys.taken = {1, 2, 3};
    config.replaceGroups({named(u"Side Ärbeit"_s), named(u"a; rm -rf"_s), named(u"Twin"_s), named(u"twin"_s),
                          named(u"Twin"_s), named(u"-dash"_s)});
    for (int digit = 1; digit <= 6; ++digit)
        config.setShortcut(digit, config.groups()[digit - 1].id);
    const QList<ShortcutRowData> &rows = shortcuts().rows();
    EXPECT_TRUE(shortcuts().notice().startsWith(u"Nothing here. "_s));
    const auto byID = [this](int group) {
        return u"cobblet show "_s + config.groups()[group].id.toString(QUuid::WithoutBraces);
    };
    QStringList commands;
    for (const ShortcutRowData &row : rows) {
        commands.append(row.command);
        EXPECT_TRUE(row.warning.isEmpty()) << "nobody else has taken one";
    }
    EXPECT_EQ(commands, (QStringList{u"cobblet show \"Side Ärbeit\""_s,
                                     byID(1),
                                     byID(2),
                                     u"cobblet show \"twin\""_s,
                                     byID(4),
                                     byID(5),
                                     {},
                                     {},
                                     {}}));

    KeyboardShortcuts ofAnAgent(config, nullptr);
    EXPECT_EQ(ofAnAgent.notice(), u"The key combinations work while Cobblet itself runs."_s);
    EXPECT_TRUE(ofAnAgent.rows()[0].command.isEmpty());
}

TEST_F(SettingsPagesTest, PhrasesAreThoseThatAreUnderstoodAndTheShortcutsAppIsOpenedWhereThereIsOne)
{
    SiriCommands siri(workspace);
    QStringList phrases;
    for (const QVariant &command : siri.commands())
        for (const QString &verb : command.toMap()[u"verbs"_s].toStringList())
            EXPECT_TRUE(CobbletShortcuts::understood(phrases.emplaceBack(siri.phrase(verb))));
    EXPECT_EQ(phrases.size(), 9);
    EXPECT_EQ(phrases[2], u"Fire up Group group in Cobblet"_s);
    EXPECT_EQ(siri.example(), u"cobblet say \"Launch Work group in Cobblet\""_s);

    EXPECT_FALSE(siri.opensShortcuts());
    workspace.urls = {u"shortcuts://"_s};
    EXPECT_TRUE(siri.opensShortcuts());
    siri.openShortcuts();
    EXPECT_EQ(workspace.opened, workspace.urls);
}

} // namespace
} // namespace cobblet
