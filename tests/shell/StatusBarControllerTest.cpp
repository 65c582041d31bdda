#include "shell/StatusBarController.h"

#include "model/Notifications.h"
#include "support/FakeDesktopItems.h"
#include "support/Messages.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

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
    test::Log log;
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
