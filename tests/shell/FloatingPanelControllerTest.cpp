#include "shell/FloatingPanelController.h"

#include "model/Notifications.h"
#include "model/PopupSettings.h"
#include "support/FakeDesktop.h"
#include "support/Test.h"
#include "support/VirtualScheduler.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWindow>

namespace cobblet {
namespace {

const QString fadeIn = u"fade 1 0.18 out"_s;
const QString fadeOut = u"fade 0 0.18 in"_s;

class FloatingPanelControllerTest : public testing::Test {
protected:
    FloatingPanelControllerTest()
    {
        QObject::connect(&notifications, &NotificationCenter::selectGroupShortcut, &notifications,
                         [this](int digit) { digits.append(digit); });
    }
    /// The panel, shown and at rest.
    test::FakePanelSurface &shownPanel()
    {
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
    test::FakePanelSurface *surface = nullptr;
    FloatingPanelController controller{[this] {
                                           auto created = std::make_unique<test::FakePanelSurface>();
                                           surface = created.get();
                                           return created;
                                       },
                                       screens, popupSettings, notifications, scheduler};
};

TEST_F(FloatingPanelControllerTest, FadesInAndOutAndAShowDuringTheFadeOutWins)
{
    controller.hide();
    EXPECT_EQ(surface, nullptr) << "the first show makes the panel";
    emit notifications.showPanel();
    EXPECT_TRUE(surface->visible);
    EXPECT_EQ(surface->alpha, 0) << "invisible until the fade";
    EXPECT_EQ(surface->frame, QRectF(420, 68, 600, 340));
    surface->finishFade();
    controller.show();
    EXPECT_EQ(surface->madeKey, 2) << "a shown panel only comes to the front";

    emit notifications.openSettings(); // which closes the panel
    EXPECT_TRUE(controller.isHiding());
    controller.show();
    surface->finishFade();
    EXPECT_TRUE(surface->visible);

    controller.hide();
    controller.hide();
    surface->finishFade();
    EXPECT_EQ(surface->animations, (QStringList{fadeIn, fadeOut, fadeIn, fadeOut}));
    EXPECT_FALSE(surface->visible || controller.isHiding());
    EXPECT_EQ(surface->alpha, 1) << "an opaque panel is left behind";
}

TEST_F(FloatingPanelControllerTest, SeveralSizesInOnePassMakeOneResizeAndThoseOfAHiddenPanelWait)
{
    auto &panel = shownPanel();
    postSize(QSizeF(700, 400));
    postSize(QSizeF(640, 500));
    EXPECT_TRUE(panel.animations.isEmpty());
    scheduler.advance(0ms);
    EXPECT_EQ(panel.animations, QStringList{u"frame 640x500 0.18 out"_s});
    EXPECT_EQ(panel.frame, QRectF(400, 68, 640, 500));
    postSize(QSizeF(640, 500));
    EXPECT_EQ(scheduler.pending(), 0) << "the same size again";

    panel.animations.clear();
    postSize(QSizeF(640, 5000));
    controller.hide(); // drops the queued resize
    postSize(QSizeF(500, 300));
    scheduler.advance(0ms);
    EXPECT_EQ(panel.animations, QStringList{fadeOut});
    panel.finishFade();
    controller.show();
    EXPECT_EQ(panel.frame.size(), QSizeF(500, 300));
}

TEST_F(FloatingPanelControllerTest, TheAnchorDecidesWhereThePanelOpensAndAResizeKeepsIt)
{
    screens.list.append({u"second"_s, QRectF(1440, 0, 1000, 900), QRectF(1440, 60, 1000, 840)});
    const double centred = 420;
    const struct {
        const char *what;
        QString global;
        std::optional<PopupAnchor> own;
        QPointF pointer;
        double x;
    } rows[] = {
        {"above an icon on another screen", u"dockIcon"_s, {}, {2000, 10}, 1700},
        {"pointer outside the dock", u"dockIcon"_s, {}, {2000, 300}, centred},
        {"no screen under the pointer", u"dockIcon"_s, {}, {9000, 10}, centred},
        {"the group's own centre wins", u"dockIcon"_s, PopupAnchor::DockCenter, {700, 10}, centred},
        {"the group's own anchor wins", u"dockCenter"_s, PopupAnchor::DockIcon, {700, 10}, 400},
    };
    for (const auto &row : rows) {
        ASSERT_TRUE(defaults.set(u"popupAnchor"_s, row.global));
        controller.setGroupProvider([&row] {
            AppGroup group;
            group.popupAnchor = row.own;
            return group;
        });
        screens.pointerPosition = row.pointer;
        controller.show();
        EXPECT_EQ(surface->frame.topLeft(), QPointF(row.x, 68)) << row.what;

        postSize(QSizeF(650, 340));
        screens.pointerPosition = QPointF(100, 500);
        scheduler.advance(0ms);
        EXPECT_EQ(surface->frame.x(), row.x - 25) << row.what;
        controller.hide();
        surface->finishFade();
        postSize(QSizeF(600, 340));
    }
    screens.pointerPosition = QPointF(700, 10);
    emit notifications.showPanel();
    EXPECT_EQ(surface->frame.x(), centred) << "a message is no click on the dock";
}

TEST_F(FloatingPanelControllerTest, AnOpenPanelFollowsTheDockAndItsScreen)
{
    const QList<Screen> before = std::exchange(screens.list, {});
    controller.show();
    EXPECT_FALSE(controller.isVisible()) << "there is no screen";
    screens.list = before;
    QList<QSizeF> rooms;
    QObject::connect(&controller, &FloatingPanelController::roomChanged, &controller,
                     [&rooms](const QSizeF &room) { rooms.append(room); });
    auto &shown = shownPanel();
    const std::pair<Screen, QPointF> changes[] = {
        {{before.first().name, QRectF(0, 0, 1440, 900), QRectF(0, 90, 1440, 810)}, {420, 98}},
        {{u"other"_s, QRectF(0, 0, 1000, 700), QRectF(0, 0, 1000, 700)}, {200, 8}}};
    for (const auto &[screen, place] : changes) {
        screens.replace({screen});
        scheduler.advance(1ms);
        EXPECT_EQ(shown.frame.topLeft(), place);
    }
    EXPECT_EQ(rooms, (QList<QSizeF>{{1424, 824}, {1424, 794}, {984, 684}})) << "told before each placement";

    shown.animations.clear();
    screens.replace(screens.list);
    scheduler.advance(1ms);
    EXPECT_EQ(shown.animations, QStringList()) << "the same screens move nothing";
}

TEST_F(FloatingPanelControllerTest, LosingTheKeyStatusHidesUnlessSomethingKeepsThePanel)
{
    const struct {
        KeyWindow other;
        bool modal, hides;
    } rows[] = {{KeyWindow::None, false, true},
                {KeyWindow::Panel, false, true},
                {KeyWindow::Titled, false, true}, // the settings window
                {KeyWindow::Titled, true, false},
                {KeyWindow::Borderless, false, false}}; // a stray window, which is put away
    for (const auto &[other, modal, hides] : rows) {
        auto &panel = shownPanel();
        panel.modal = modal;
        panel.otherKey = other;
        panel.madeKey = 0;
        panel.resignKey();
        EXPECT_EQ(controller.isHiding(), hides) << int(other);
        EXPECT_EQ(panel.madeKey, other == KeyWindow::Borderless);
        controller.hide();
        panel.resignKey(); // what the fade-out itself causes changes nothing
        EXPECT_EQ(panel.animations, QStringList{fadeOut});
        panel.finishFade();
    }
    EXPECT_EQ(surface->orderedOutOther, 1);
}

TEST_F(FloatingPanelControllerTest, TakesEscapeAndCommandDigitsButNotFromUnderMenusAndModalWindows)
{
    QWindow own;
    const auto uses = [&](int key, Qt::KeyboardModifiers modifiers = {}, const QString &text = {}) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers, text);
        return controller.eventFilter(&own, &event);
    };
    shownPanel();
    // Control turns the digit's text into this.
    EXPECT_TRUE(uses(Qt::Key_5, Qt::ControlModifier, QChar(0x1d)));
    EXPECT_TRUE(controller.handleKeyPress(0, Qt::ControlModifier | Qt::AltModifier, u"+9"_s));
    for (const char *other : {"0", "10", "-3", "+", " 5", "", "a"})
        EXPECT_FALSE(controller.handleKeyPress(0, Qt::ControlModifier, QLatin1String(other))) << other;
    EXPECT_FALSE(uses(Qt::Key_5, Qt::AltModifier, u"5"_s));
    EXPECT_FALSE(uses(Qt::Key_A, {}, u"a"_s));
    EXPECT_EQ(digits, (QList<int>{5, 9}));
    {
        QWindow menu, dialog;
        menu.setFlags(Qt::Popup);
        menu.show();
        EXPECT_FALSE(uses(Qt::Key_Escape));
        menu.hide();
        dialog.setModality(Qt::ApplicationModal);
        dialog.show();
        EXPECT_FALSE(uses(Qt::Key_Escape));
    }
    EXPECT_FALSE(controller.isHiding());
    EXPECT_TRUE(uses(Qt::Key_Escape));
    EXPECT_TRUE(controller.isHiding());
}

} // namespace
} // namespace cobblet
