#include "shell/StatusBarController.h"

#include "model/Notifications.h"
#include "support/FakeDesktop.h"
#include "support/Messages.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

QString text(const char *latin)
{
    return QString::fromLatin1(latin);
}

class StatusBarControllerTest : public testing::Test {
protected:
    StatusBarController made(const QString &imageFile = {})
    {
        auto owned = std::make_unique<test::FakeStatusItem>();
        item = owned.get();
        test::record(notifications, log);
        return StatusBarController({std::move(owned), notifications, dockTile,
                                    [](const QString &name, const QColor &color, double points, qreal ratio) {
                                        EXPECT_EQ(name, text("square.grid.2x2"));
                                        QImage image(QSize(1, 1) * qRound(points * ratio), QImage::Format_ARGB32);
                                        image.fill(color);
                                        return image;
                                    },
                                    [this] { log.append(text("terminate")); }},
                                   imageFile);
    }

    NotificationCenter notifications;
    test::FakeDockTile dockTile;
    test::FakeStatusItem *item = nullptr;
    test::Log log;
};

TEST_F(StatusBarControllerTest, HasThreeCommandsThatSayWhatToDo)
{
    const auto controller = made();
    const struct {
        const char *title, *symbol, *shortcut;
        QStringList effect;
    } expected[] = {
        {"Groups", "macwindow", "", {text("Cobblet.showPanel")}},
        {"Settings", "gear", "Ctrl+,", {text("Cobblet.closePanel"), text("Cobblet.openSettings")}},
        {"", "", "", {}},
        {"Quit Cobblet", "", "Ctrl+Q", {text("terminate")}},
    };
    ASSERT_EQ(size_t(item->menu.size()), std::size(expected));
    for (size_t i = 0; i < std::size(expected); ++i) {
        const MenuItem &entry = item->menu[qsizetype(i)];
        EXPECT_EQ(entry.title, text(expected[i].title));
        EXPECT_EQ(entry.symbol, text(expected[i].symbol));
        EXPECT_EQ(entry.shortcut.toString(), text(expected[i].shortcut));
        EXPECT_EQ(entry.isSeparator(), expected[i].effect.isEmpty());
        log.clear();
        if (entry.action)
            entry.action();
        EXPECT_EQ(log, expected[i].effect) << expected[i].title;
    }
}

TEST_F(StatusBarControllerTest, SettingsComeForwardAfterThePanelHasClosed)
{
    const auto controller = made();
    QList<int> activations;
    const auto note = [&] { activations.append(dockTile.activations); };
    QObject::connect(&notifications, &NotificationCenter::closePanel, &notifications, note);
    QObject::connect(&notifications, &NotificationCenter::openSettings, &notifications, note);
    item->menu[1].action();
    EXPECT_EQ(activations, (QList<int>{0, 1}));
}

TEST_F(StatusBarControllerTest, ThePictureIsTheApplicationsOwnOrElseTheSymbol)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(text("TrayIcon.png"));
    QImage wide(40, 20, QImage::Format_ARGB32);
    wide.fill(Qt::green);
    ASSERT_TRUE(wide.save(file));
    const struct {
        QString file;
        int topAlpha; // beside the wide picture the square stays clear
    } cases[] = {{file, 0}, {folder.filePath(text("none.png")), 255}};
    for (const auto &[imageFile, topAlpha] : cases) {
        const auto controller = made(imageFile);
        EXPECT_EQ(item->description, text("Cobblet"));
        EXPECT_EQ(item->shown, 0) << "until it is told to";
        const QImage image = item->image(Qt::red, 24, 2);
        ASSERT_EQ(image.size(), QSize(48, 48));
        EXPECT_EQ(image.pixelColor(24, 24), QColor(Qt::red));
        EXPECT_EQ(image.pixelColor(24, 2).alpha(), topAlpha);
    }
    const QString broken = folder.filePath(text("broken.png"));
    QFile damaged(broken);
    ASSERT_TRUE(damaged.open(QIODevice::WriteOnly) && damaged.write("\x89PNG\r\n") > 0);
    damaged.close();
    const auto controller = made(broken);
    EXPECT_TRUE(item->image(Qt::red, 24, 1).isNull());
}

} // namespace
} // namespace cobblet
