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

TEST(GlobalHotkeyManager, WhatCannotBeRegisteredIsAConflictUnlessThereAreNoHotKeys)
{
    NotificationCenter notifications;
    test::VirtualScheduler scheduler;
    test::FakeHotKeys hotKeys;
    hotKeys.taken = {5, 7};
    {
        const GlobalHotkeyManager manager(hotKeys, notifications, scheduler);
        EXPECT_EQ(manager.conflictedDigits(), (QSet<int>{5, 7}));
        EXPECT_EQ(hotKeys.held, (QList<quint32>{1, 2, 3, 4, 6, 8, 9}));
        QSignalSpy changes(&manager, &GlobalHotkeyManager::conflictedDigitsChanged);
        hotKeys.refuse(2); // a desktop that asks the user first answers later
        EXPECT_EQ(manager.conflictedDigits(), (QSet<int>{2, 5, 7}));
        EXPECT_EQ(changes.count(), 1);
    }
    EXPECT_TRUE(hotKeys.held.isEmpty());
    hotKeys.available = Availability::unavailable(u"No."_s);
    const GlobalHotkeyManager none(hotKeys, notifications, scheduler);
    const QString sentence = none.availability().sentence;
    EXPECT_TRUE(sentence.startsWith(u"No. "_s) && sentence.contains(u"cobblet show NAME"_s))
        << "what to bind instead";
    EXPECT_TRUE(none.conflictedDigits().isEmpty()) << "nobody else has taken one";
}

class StatusBarControllerTest : public testing::Test {
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

    NotificationCenter notifications;
    test::FakeDockTile dockTile;
    test::FakeStatusItem *item = nullptr;
};

TEST_F(StatusBarControllerTest, SettingsComeForwardAfterThePanelHasClosed)
{
    const auto controller = made();
    QStringList log;
    test::record(notifications, log);
    for (const auto message : {&NotificationCenter::closePanel, &NotificationCenter::openSettings})
        QObject::connect(&notifications, message, &notifications,
                         [&] { log.append(QString::number(dockTile.activations)); });
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
