#include "shell/GlobalHotkeyManager.h"

#include "model/Notifications.h"
#include "support/FakeDesktop.h"
#include "support/Messages.h"
#include "support/VirtualScheduler.h"

#include <gtest/gtest.h>

#include <optional>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;
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

TEST_F(GlobalHotkeyManagerTest, AsksForTheNineDigitsAndWhatCannotBeRegisteredIsAConflict)
{
    hotKeys.taken = {5, 7};
    create();
    QList<int> codes;
    for (const HotKey &key : hotKeys.asked)
        codes.append(key.keyCode);
    EXPECT_EQ(codes, (QList<int>{18, 19, 20, 21, 23, 22, 26, 28, 25})) << "by their place on the keyboard";
    EXPECT_EQ(hotKeys.asked.last().modifiers, 2560u);
    EXPECT_EQ(hotKeys.asked.last().id, (HotKeyID{0x43424C54, 9}));
    EXPECT_EQ(hotKeys.asked.last().name, u"group-9"_s);
    EXPECT_EQ(manager->conflictedDigits(), (QSet<int>{5, 7}));
    EXPECT_EQ(hotKeys.held, (QList<quint32>{1, 2, 3, 4, 6, 8, 9}));
    EXPECT_EQ(manager->hotKeyRefs().size(), 7u);

    int changes = 0;
    QObject::connect(&*manager, &GlobalHotkeyManager::conflictedDigitsChanged, &*manager, [&] { ++changes; });
    hotKeys.refuse(2); // a desktop that asks the user first answers later
    EXPECT_EQ(manager->conflictedDigits(), (QSet<int>{2, 5, 7}));
    EXPECT_EQ(changes, 1);

    hotKeys.available = Availability::unavailable(u"No."_s);
    const QString sentence = manager->availability().sentence;
    EXPECT_TRUE(sentence.startsWith(u"No. "_s) && sentence.contains(u"cobblet show NAME"_s))
        << "what to bind instead";
    create();
    hotKeys.refuse(2);
    EXPECT_TRUE(manager->conflictedDigits().isEmpty()) << "without hot keys nobody else has taken one";
}

TEST_F(GlobalHotkeyManagerTest, APressShowsThePanelAndThenSelectsOnALaterTurn)
{
    create();
    hotKeys.press(3);
    EXPECT_TRUE(posted.isEmpty()) << "the press is consumed before anything happens";
    scheduler.advance(0ms);
    EXPECT_EQ(posted, (QStringList{u"Cobblet.showPanel"_s, u"Cobblet.selectGroupShortcut 3"_s}));

    hotKeys.press(4);
    manager.reset();
    EXPECT_TRUE(hotKeys.held.isEmpty());
    scheduler.advance(0ms);
    hotKeys.press(3);
    scheduler.advance(0ms);
    EXPECT_EQ(posted.size(), 2) << "its end unregisters and forgets presses under way";
}

} // namespace
} // namespace cobblet
