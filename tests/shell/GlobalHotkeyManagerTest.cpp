#include "shell/GlobalHotkeyManager.h"

#include "model/Notifications.h"
#include "support/FakeDesktop.h"
#include "support/Messages.h"
#include "support/VirtualScheduler.h"

#include <gtest/gtest.h>

#include <optional>

namespace cobblet {
namespace {

using namespace std::chrono_literals;

class GlobalHotkeyManagerTest : public testing::Test {
protected:
    GlobalHotkeyManagerTest() { test::record(notifications, posted); }
    void create() { manager.emplace(hotKeys, notifications, scheduler); }

    test::FakeHotKeys hotKeys;
    test::VirtualScheduler scheduler;
    NotificationCenter notifications;
    QStringList posted;
    std::optional<GlobalHotkeyManager> manager;
};

TEST_F(GlobalHotkeyManagerTest, AsksForTheNineDigitsByTheirPlaceOnTheKeyboard)
{
    create();
    QList<int> codes;
    for (qsizetype i = 0; i < hotKeys.asked.size(); ++i) {
        const HotKey &key = hotKeys.asked[i];
        codes.append(key.keyCode);
        EXPECT_EQ(key.modifiers, 2560u);
        EXPECT_EQ(key.id, (HotKeyID{0x43424C54, quint32(i + 1)}));
        EXPECT_EQ(key.name, QStringLiteral("group-%1").arg(i + 1));
    }
    EXPECT_EQ(codes, (QList<int>{18, 19, 20, 21, 23, 22, 26, 28, 25}));
    EXPECT_TRUE(manager->conflictedDigits().isEmpty());
    EXPECT_EQ(manager->hotKeyRefs().size(), 9u);
}

TEST_F(GlobalHotkeyManagerTest, WhatCannotBeRegisteredIsAConflictAndTheOthersWork)
{
    hotKeys.taken = {5};
    hotKeys.empty = {7}; // success without a handle is none
    create();
    EXPECT_EQ(manager->conflictedDigits(), (QSet<int>{5, 7}));
    EXPECT_EQ(hotKeys.held, (QList<quint32>{1, 2, 3, 4, 6, 8, 9}));
    EXPECT_EQ(manager->hotKeyRefs().size(), 7u);

    int changes = 0;
    QObject::connect(&*manager, &GlobalHotkeyManager::conflictedDigitsChanged, &*manager, [&] { ++changes; });
    hotKeys.refuse(2); // a desktop that asks the user first answers later
    EXPECT_EQ(manager->conflictedDigits(), (QSet<int>{2, 5, 7}));
    EXPECT_EQ(changes, 1);
}

TEST_F(GlobalHotkeyManagerTest, APressShowsThePanelAndThenSelectsOnALaterTurn)
{
    create();
    hotKeys.press(3);
    hotKeys.press(1);
    EXPECT_TRUE(posted.isEmpty()) << "the press is consumed before anything happens";
    scheduler.advance(0ms);
    const QString show = QStringLiteral("Cobblet.showPanel"), select = QStringLiteral("Cobblet.selectGroupShortcut ");
    EXPECT_EQ(posted, (QStringList{show, select + QLatin1Char('3'), show, select + QLatin1Char('1')}));
}

TEST_F(GlobalHotkeyManagerTest, WhereThereAreNoneItSaysWhatToBindInstead)
{
    create();
    EXPECT_EQ(manager->availability(), Availability::works());
    hotKeys.available = Availability::unavailable(QStringLiteral("No."));
    const QString sentence = manager->availability().sentence;
    EXPECT_TRUE(sentence.startsWith(QStringLiteral("No. ")) &&
                sentence.contains(QStringLiteral("cobblet show NAME")));
}

TEST_F(GlobalHotkeyManagerTest, EndingUnregistersAndForgetsPressesUnderWay)
{
    create();
    hotKeys.press(3);
    manager.reset();
    EXPECT_TRUE(hotKeys.held.isEmpty());
    scheduler.advance(0ms);
    hotKeys.press(3);
    scheduler.advance(0ms);
    EXPECT_TRUE(posted.isEmpty());
}

} // namespace
} // namespace cobblet
