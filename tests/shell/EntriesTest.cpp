// The ways into the program that it holds itself: key combinations and the item in the tray.
#include "shell/GlobalHotkeyManager.h"
#include "shell/StatusBarController.h"

#include "model/Notifications.h"
#include "support/FakeDesktopItems.h"
#include "support/Messages.h"
#include "support/Test.h"
#include "support/VirtualScheduler.h"

namespace cobblet {
namespace {

struct EntriesTest : testing::Test {
    NotificationCenter notifications;
    test::Log log;
};

class GlobalHotkeyManagerTest : public EntriesTest {
protected:
    void create() { manager.emplace(hotKeys, notifications, scheduler); }

    test::FakeHotKeys hotKeys;
    test::VirtualScheduler scheduler;
    std::optional<GlobalHotkeyManager> manager;
};

TEST_F(GlobalHotkeyManagerTest, WhatCannotBeRegisteredIsAConflictUnlessThereAreNoHotKeys)
{
    hotKeys.taken = {5, 7};
    create();
    EXPECT_EQ(manager->conflictedDigits(), (QSet<int>{5, 7}));
    EXPECT_EQ(hotKeys.held, (QList<quint32>{1, 2, 3, 4, 6, 8, 9}));
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
    EXPECT_TRUE(manager->conflictedDigits().isEmpty()) << "nobody else has taken one";
}

TEST_F(GlobalHotkeyManagerTest, APressShowsThePanelAndThenSelectsOnALaterTurn)
{
    test::record(notifications, log);
    create();
    hotKeys.press(3);
    EXPECT_TRUE(log.isEmpty()) << "the press is consumed before anything happens";
    scheduler.advance(0ms);
    EXPECT_EQ(log, (QStringList{u"Cobblet.showPanel"_s, u"Cobblet.selectGroupShortcut 3"_s}));

    hotKeys.press(4);
    manager.reset();
    EXPECT_TRUE(hotKeys.held.isEmpty());
    scheduler.advance(0ms);
    EXPECT_EQ(log.size(), 2) << "its end unregisters and forgets presses under way";
}

class StatusBarControllerTest : public EntriesTest {
protected:
    StatusBarController made(const QString &imageFile = {})
    {
        auto owned = std::make_unique<test::FakeStatusItem>();
        item = owned.get();
        const auto symbol = [](const QString &, const QColor &color, double points, qreal ratio) {
            QImage image(QSize(1, 1) * qRound(points * ratio), QImage::Format_ARGB32);
            image.fill(color);
            return image;
        };
        return StatusBarController({std::move(owned), notifications, dockTile, symbol, {}}, imageFile);
    }

    test::FakeDockTile dockTile;
    test::FakeStatusItem *item = nullptr;
};

TEST_F(StatusBarControllerTest, SettingsComeForwardAfterThePanelHasClosed)
{
    const auto controller = made();
    test::record(notifications, log);
    for (const auto message : {&NotificationCenter::closePanel, &NotificationCenter::openSettings})
        QObject::connect(&notifications, message, &notifications,
                         [this] { log.append(QString::number(dockTile.activations)); });
    item->menu[1].action();
    EXPECT_EQ(log, QStringList({u"Cobblet.closePanel"_s, u"0"_s, u"Cobblet.openSettings"_s, u"1"_s}));
}

TEST_F(StatusBarControllerTest, ThePictureIsTheApplicationsOwnOrElseTheSymbol)
{
    const QTemporaryDir folder;
    const QString own = folder.filePath(u"TrayIcon.png"_s);
    QImage wide(40, 20, QImage::Format_ARGB32);
    wide.fill(Qt::green);
    ASSERT_TRUE(wide.save(own));
    const QString damaged = folder.filePath(u"Damaged.png"_s);
    ASSERT_TRUE(QFile::copy(own, damaged) && QFile::resize(damaged, 8));
    // Beside the wide picture the square stays clear.
    for (const auto &[file, topAlpha] : {std::pair(own, 0), {folder.filePath(u"none.png"_s), 255}, {damaged, 255}}) {
        const auto controller = made(file);
        const QImage image = item->image(Qt::red, 24, 2);
        ASSERT_EQ(image.size(), QSize(48, 48));
        EXPECT_EQ(image.pixelColor(24, 24), QColor(Qt::red));
        EXPECT_EQ(image.pixelColor(24, 2).alpha(), topAlpha);
    }
}

} // namespace
} // namespace cobblet
