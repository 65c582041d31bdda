#include "shell/FloatingPanelController.h"

#include "model/Notifications.h"
#include "model/PopupSettings.h"
#include "support/FakeDesktop.h"
#include "support/VirtualScheduler.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWindow>

#include <gtest/gtest.h>

inline void PrintTo(const QRectF &r, std::ostream *out)
{
    *out << r.x() << ',' << r.y() << ' ' << r.width() << 'x' << r.height();
}
inline void PrintTo(const QStringList &list, std::ostream *out)
{
    *out << list.join(QStringLiteral("; ")).toStdString();
}

namespace cobblet {
namespace {

using namespace std::chrono_literals;

const QString fadeIn = QStringLiteral("fade 1 0.18 out");
const QString fadeOut = QStringLiteral("fade 0 0.18 in");

class FloatingPanelControllerTest : public testing::Test {
protected:
    FloatingPanelControllerTest()
    {
        QObject::connect(&notifications, &NotificationCenter::selectGroupShortcut, &notifications,
                         [this](int digit) { digits.append(digit); });
    }
    test::FakePanelSurface &panel()
    {
        controller.createPanel();
        return *surface;
    }
    /// The panel, shown and at rest.
    test::FakePanelSurface &shownPanel()
    {
        panel();
        controller.show();
        surface->finishFade();
        surface->animations.clear();
        return *surface;
    }
    void postSize(const QSizeF &size) { emit notifications.panelDesiredSizeChanged(size); }

    test::FakeScreens screens;
    test::FakeDefaults defaults;
    PopupSettings popupSettings{defaults};
    NotificationCenter notifications;
    test::VirtualScheduler scheduler;
    QList<int> digits;
    int made = 0;
    test::FakePanelSurface *surface = nullptr;
    FloatingPanelController controller{[this] {
                                           auto created = std::make_unique<test::FakePanelSurface>();
                                           surface = created.get();
                                           ++made;
                                           return created;
                                       },
                                       screens, popupSettings, notifications, scheduler};
};

TEST_F(FloatingPanelControllerTest, TheFirstShowMakesThePanelAndLaterOnesReuseIt)
{
    EXPECT_FALSE(controller.isVisible());
    controller.hide();
    EXPECT_EQ(made, 0);
    emit notifications.showPanel();
    ASSERT_EQ(made, 1);
    EXPECT_TRUE(surface->visible);
    EXPECT_EQ(surface->alpha, 0) << "invisible until the fade";
    EXPECT_EQ(surface->frame, QRectF(420, 68, 600, 340));
    EXPECT_EQ(surface->animations, QStringList{fadeIn});
    surface->finishFade();
    EXPECT_EQ(surface->alpha, 1);

    controller.show();
    EXPECT_EQ(surface->madeKey, 2);
    EXPECT_EQ(surface->animations, QStringList{fadeIn}) << "a shown panel only comes to the front";
    EXPECT_EQ(made, 1);
}

TEST_F(FloatingPanelControllerTest, HidingFadesOutAndLeavesAnOpaquePanelBehind)
{
    auto &panel = shownPanel();
    emit notifications.closePanel();
    EXPECT_TRUE(panel.visible);
    EXPECT_TRUE(controller.isHiding());
    controller.hide();
    EXPECT_EQ(panel.animations, QStringList{fadeOut});
    panel.finishFade();
    EXPECT_FALSE(panel.visible);
    EXPECT_EQ(panel.alpha, 1);
    EXPECT_FALSE(controller.isHiding());
}

TEST_F(FloatingPanelControllerTest, AShowDuringTheFadeOutWins)
{
    auto &panel = shownPanel();
    controller.hide();
    controller.show();
    panel.finishFade();
    EXPECT_TRUE(panel.visible);
    EXPECT_EQ(panel.alpha, 1);
    EXPECT_FALSE(controller.isHiding());
    EXPECT_EQ(panel.animations, (QStringList{fadeOut, fadeIn}));
}

TEST_F(FloatingPanelControllerTest, OpeningTheSettingsClosesThePanel)
{
    shownPanel();
    emit notifications.openSettings();
    EXPECT_TRUE(controller.isHiding());
}

TEST_F(FloatingPanelControllerTest, SeveralSizesInOnePassMakeOneResize)
{
    auto &panel = shownPanel();
    postSize(QSizeF(700, 400));
    postSize(QSizeF(640, 500));
    EXPECT_TRUE(panel.animations.isEmpty());
    scheduler.advance(0ms);
    EXPECT_EQ(panel.animations, QStringList{QStringLiteral("frame 640x500 0.18 out")});
    EXPECT_EQ(panel.frame, QRectF(400, 68, 640, 500));

    postSize(QSizeF(640, 500));
    EXPECT_EQ(scheduler.pending(), 0) << "the same size again";
    postSize(QSizeF(640, 5000));
    scheduler.advance(0ms);
    EXPECT_EQ(panel.frame.height(), 840 - 16);
}

TEST_F(FloatingPanelControllerTest, ASizeForAPanelThatIsNotShownWaitsForTheNextShow)
{
    auto &panel = shownPanel();
    postSize(QSizeF(640, 500));
    controller.hide(); // the queued resize is dropped
    postSize(QSizeF(500, 300));
    scheduler.advance(0ms);
    EXPECT_EQ(panel.animations, QStringList{fadeOut});
    panel.finishFade();
    controller.show();
    EXPECT_EQ(panel.frame.size(), QSizeF(500, 300));
}

TEST_F(FloatingPanelControllerTest, TheAnchorDecidesWhereThePanelOpens)
{
    const Screen main{QStringLiteral("main"), QRectF(0, 0, 1440, 900), QRectF(0, 60, 1440, 840)};
    const Screen second{QStringLiteral("second"), QRectF(1440, 0, 1000, 900), QRectF(1440, 60, 1000, 840)};
    screens.list = {main, second};
    struct Row {
        const char *what;
        bool global; ///< the global preference is the clicked icon
        std::optional<PopupAnchor> own;
        std::optional<QPointF> pointer;
        double x;
    };
    const double centred = 420;
    const Row rows[] = {
        {"centred", false, {}, QPointF(700, 10), centred},
        {"above the icon", true, {}, QPointF(700, 10), 400},
        {"above an icon on another screen", true, {}, QPointF(2000, 10), 1700},
        {"pointer outside the dock of another screen", true, {}, QPointF(2000, 300), centred},
        {"no screen under the pointer", true, {}, QPointF(9000, 10), centred},
        {"a desktop that does not tell", true, {}, {}, centred},
        {"the group's own anchor wins", false, PopupAnchor::DockIcon, QPointF(700, 10), 400},
        {"the group's own centre wins", true, PopupAnchor::DockCenter, QPointF(700, 10), centred},
    };
    for (const Row &row : rows) {
        const QString anchor = row.global ? QStringLiteral("dockIcon") : QStringLiteral("dockCenter");
        ASSERT_TRUE(defaults.set(QStringLiteral("popupAnchor"), anchor));
        controller.setGroupProvider([&row] {
            std::optional<AppGroup> group;
            if (row.own)
                group.emplace().popupAnchor = row.own;
            return group;
        });
        screens.pointerPosition = row.pointer;
        controller.show();
        EXPECT_EQ(surface->frame.x(), row.x) << row.what;
        EXPECT_EQ(surface->frame.y(), 68) << row.what;

        postSize(QSizeF(650, 340));
        screens.pointerPosition = QPointF(100, 500);
        scheduler.advance(0ms);
        EXPECT_EQ(surface->frame.x(), row.x - 25) << row.what << ": a resize keeps the place of the show";
        controller.hide();
        surface->finishFade();
        postSize(QSizeF(600, 340));
    }
}

TEST_F(FloatingPanelControllerTest, WhatIsNoClickOnTheDockOpensThePanelCentred)
{
    ASSERT_TRUE(defaults.set(QStringLiteral("popupAnchor"), QStringLiteral("dockIcon")));
    screens.pointerPosition = QPointF(700, 10); // where a click on the dock would be
    emit notifications.showPanel();
    EXPECT_EQ(surface->frame.x(), 420);
}

TEST_F(FloatingPanelControllerTest, AnOpenPanelFollowsTheDockAndItsScreen)
{
    test::FakePanelSurface &shown = shownPanel();
    const QList<Screen> before = screens.list;
    screens.replace({{before.first().name, QRectF(0, 0, 1440, 900), QRectF(0, 90, 1440, 810)}});
    scheduler.advance(1ms);
    EXPECT_EQ(shown.frame.y(), 98);

    screens.replace({{QStringLiteral("other"), QRectF(0, 0, 1000, 700), QRectF(0, 0, 1000, 700)}});
    scheduler.advance(1ms);
    EXPECT_EQ(shown.frame.topLeft(), QPointF(200, 8));

    shown.animations.clear();
    screens.replace(screens.list);
    scheduler.advance(1ms);
    EXPECT_EQ(shown.animations, QStringList()) << "the same screens move nothing";
}

TEST_F(FloatingPanelControllerTest, WithoutAScreenNothingShows)
{
    screens.list.clear();
    controller.show();
    EXPECT_FALSE(controller.isVisible());
}

TEST_F(FloatingPanelControllerTest, LosingTheKeyStatusHidesUnlessSomethingKeepsThePanel)
{
    struct Row {
        const char *what;
        bool modal;
        KeyWindow other;
        bool hides;
        int orderedOut;
    };
    const Row rows[] = {
        {"another application", false, KeyWindow::None, true, 0},
        {"a modal window", true, KeyWindow::Titled, false, 0},
        {"another panel", false, KeyWindow::Panel, true, 0},
        {"the settings window", false, KeyWindow::Titled, true, 0},
        {"a stray borderless window", false, KeyWindow::Borderless, false, 1},
    };
    for (const Row &row : rows) {
        auto &panel = shownPanel();
        panel.modal = row.modal;
        panel.otherKey = row.other;
        panel.orderedOutOther = panel.madeKey = 0;
        panel.resignKey();
        EXPECT_EQ(controller.isHiding(), row.hides) << row.what;
        EXPECT_EQ(panel.orderedOutOther, row.orderedOut) << row.what;
        EXPECT_EQ(panel.madeKey, row.orderedOut) << row.what;
        controller.hide();
        panel.resignKey(); // what the fade-out itself causes changes nothing
        EXPECT_EQ(panel.animations, QStringList{fadeOut}) << row.what;
        panel.finishFade();
    }
}

TEST_F(FloatingPanelControllerTest, UsesUpEscapeAndCommandDigits)
{
    struct Row {
        const char *what;
        Qt::KeyboardModifiers modifiers;
        const char *characters;
        int digit; ///< 0: passes through
    };
    const Row rows[] = {
        {"Command-5", Qt::ControlModifier, "5", 5},
        {"with another modifier held", Qt::ControlModifier | Qt::AltModifier, "1", 1},
        {"Command-0", Qt::ControlModifier, "0", 0},
        {"ten", Qt::ControlModifier, "10", 0},
        {"a leading plus", Qt::ControlModifier, "+9", 9},
        {"a leading minus", Qt::ControlModifier, "-3", 0},
        {"a sign alone", Qt::ControlModifier, "+", 0},
        {"a space", Qt::ControlModifier, " 5", 0},
        {"nothing", Qt::ControlModifier, "", 0},
        {"a letter", Qt::ControlModifier, "a", 0},
        {"no Command", Qt::NoModifier, "5", 0},
        {"Option-5", Qt::AltModifier, "5", 0},
    };
    for (const Row &row : rows) {
        digits.clear();
        const bool used = controller.handleKeyPress(0, row.modifiers, QLatin1String(row.characters));
        EXPECT_EQ(used, row.digit != 0) << row.what;
        EXPECT_EQ(digits, row.digit ? QList{row.digit} : QList<int>()) << row.what;
    }
    shownPanel();
    EXPECT_TRUE(controller.handleKeyPress(Qt::Key_Escape, {}, {}));
    EXPECT_TRUE(controller.isHiding());
}

TEST_F(FloatingPanelControllerTest, TakesKeysFromItsOwnWindowsButNotFromUnderMenusAndModalOnes)
{
    struct Counter : QWindow {
        int keys = 0;
        bool event(QEvent *event) override
        {
            keys += event->type() == QEvent::KeyPress;
            return QWindow::event(event);
        }
    };
    Counter own, ordinary;
    own.installEventFilter(&controller);
    const auto press = [](Counter &window, int key, Qt::KeyboardModifiers modifiers = {}, const QString &text = {}) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        QCoreApplication::sendEvent(&window, &event);
        return std::exchange(window.keys, 0);
    };
    shownPanel();
    // Control turns the digit's text into this.
    EXPECT_EQ(press(own, Qt::Key_5, Qt::ControlModifier, QString(QChar(0x1d))), 0);
    EXPECT_EQ(digits, QList{5});
    EXPECT_EQ(press(own, Qt::Key_A, {}, QStringLiteral("a")), 1);
    EXPECT_EQ(press(ordinary, Qt::Key_Escape), 1);
    EXPECT_EQ(press(ordinary, Qt::Key_5, Qt::ControlModifier), 1);
    {
        QWindow menu;
        menu.setFlags(Qt::Popup);
        menu.show();
        EXPECT_EQ(press(own, Qt::Key_Escape), 1);
        QWindow dialog;
        dialog.setModality(Qt::ApplicationModal);
        menu.hide();
        dialog.show();
        EXPECT_EQ(press(own, Qt::Key_Escape), 1);
    }
    EXPECT_FALSE(controller.isHiding());
    EXPECT_EQ(digits.size(), 1);
    EXPECT_EQ(press(own, Qt::Key_Escape), 0);
    EXPECT_TRUE(controller.isHiding());
}

} // namespace
} // namespace cobblet
