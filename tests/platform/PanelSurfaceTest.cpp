#include "platform/freedesktop/DesktopScreens.h"
#include "platform/freedesktop/X11PanelSurface.h"

#include "platform/XSession.h"

#include <QGuiApplication>
#include <QRasterWindow>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <xcb/shape.h>

using namespace cobblet;

namespace {

[[maybe_unused]] const bool onX = qputenv("QT_QPA_PLATFORM", "xcb");

using Numbers = std::vector<uint32_t>;

class PanelSurfaceTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(session.x11 && session.startWindowManager());
        x11 = X11Connection::open();
        windows = std::make_unique<X11Windows>(*x11);
        screens = std::make_unique<DesktopScreens>(windows.get());
        panel = std::make_unique<X11PanelSurface>(window, 14, *screens, *windows);
        panel->setPlace(at(QRectF(300, 100, 600, 340)));
    }

    static PanelPlace at(const QRectF &frame)
    {
        return {.screen = {}, .anchor = {}, .size = frame.size(), .frame = frame};
    }
    static bool becomes(const std::function<bool()> &condition) { return QTest::qWaitFor(condition, 5'000); }
    xcb_window_t id() const { return xcb_window_t(window.winId()); }
    bool isActive(xcb_window_t asked)
    {
        return becomes([&] { return session.activeWindow() == asked; });
    }
    void show()
    {
        panel->makeKeyAndOrderFront();
        ASSERT_TRUE(isActive(id()));
        ASSERT_TRUE(becomes([this] { return QGuiApplication::focusWindow() == &window; }));
    }
    /// A window of another program, with the focus.
    xcb_window_t otherProgram()
    {
        const xcb_window_t other = session.makeWindow();
        EXPECT_TRUE(becomes([&] { return windows->activeWindow() == other; }));
        return other;
    }
    bool isCut()
    {
        const XcbReply<xcb_shape_get_rectangles_reply_t> reply(xcb_shape_get_rectangles_reply(
            session.x11->xcb(), xcb_shape_get_rectangles(session.x11->xcb(), id(), XCB_SHAPE_SK_BOUNDING), nullptr));
        return reply && reply->rectangles_len > 10;
    }

    test::XSession session;
    std::unique_ptr<X11Connection> x11;
    std::unique_ptr<X11Windows> windows;
    std::unique_ptr<DesktopScreens> screens;
    QRasterWindow window;
    std::unique_ptr<X11PanelSurface> panel;
};

TEST_F(PanelSurfaceTest, FloatsWithoutDecorationWhereItWasPut)
{
    const auto floats = [&] {
        return session.hasState(id(), "_NET_WM_STATE_ABOVE") &&
               session.hasState(id(), "_NET_WM_STATE_SKIP_TASKBAR") &&
               session.hasState(id(), "_NET_WM_STATE_SKIP_PAGER") &&
               session.property(id(), "_NET_WM_DESKTOP") == Numbers{0xFFFFFFFF} &&
               session.property(id(), "_NET_FRAME_EXTENTS") == Numbers(4, 0u);
    };
    const auto isAt = [&](const QRect &frame) { return becomes([&] { return session.geometry(id()) == frame; }); };
    for (int round = 0; round < 2; ++round) { // a window manager forgets a window's state when it is withdrawn
        show();
        EXPECT_TRUE(isAt(QRect(300, 800 - 100 - 340, 600, 340)));
        EXPECT_TRUE(becomes(floats));
        QTest::qWait(50);
        EXPECT_TRUE(floats()) << "what was said before the last withdrawal was dealt with is said again";
        panel->orderOut();
        EXPECT_FALSE(panel->isVisible());
    }
    show();
    panel->animatePlace(at(QRectF(200, 50, 500, 420)), 0.05, Easing::Out);
    EXPECT_TRUE(isAt(QRect(200, 330, 500, 420)));
    panel->animatePlace(at(QRectF(0, 0, 700, 500)), 10, Easing::Out);
    panel->setPlace(at(QRectF(-40, -20, 400, 300))); // partly off the screen is fine, and the animation is over
    EXPECT_TRUE(isAt(QRect(-40, 520, 400, 300)));
    QTest::qWait(60);
    EXPECT_EQ(session.geometry(id()), QRect(-40, 520, 400, 300));
}

TEST_F(PanelSurfaceTest, LosesKeyAtOnceAndLeavesIconifiedWindowsAlone)
{
    const xcb_window_t before = otherProgram();
    show();
    x11->sendToRoot(before, x11->atom("WM_CHANGE_STATE"), {3});
    const auto isIconified = [&] { return session.hasState(before, "_NET_WM_STATE_HIDDEN"); };
    ASSERT_TRUE(becomes(isIconified));
    panel->orderOut();
    QTest::qWait(150);
    EXPECT_TRUE(isIconified());

    show();
    QSignalSpy lost(panel.get(), &PanelSurface::resignedKey);
    ASSERT_TRUE(isActive(session.makeWindow()));
    EXPECT_TRUE(!lost.isEmpty() || lost.wait(90)) << "the toolkit takes longer";
}

TEST_F(PanelSurfaceTest, PopoversCountAsThePanelAndOtherWindowsDoNot)
{
    otherProgram(); // where a window manager would like to put the focus
    show();
    QSignalSpy lost(panel.get(), &PanelSurface::resignedKey);
    const auto open = [](QRasterWindow &other, Qt::WindowFlags flags) {
        other.setFlags(flags);
        other.setGeometry(350, 400, 100, 100);
        other.show();
        other.requestActivate();
    };
    {
        QRasterWindow popover;
        popover.setTransientParent(&window);
        open(popover, Qt::Tool | Qt::FramelessWindowHint);
        ASSERT_TRUE(isActive(xcb_window_t(popover.winId())));
        QTest::qWait(150);
        EXPECT_EQ(panel->otherKeyWindow(), KeyWindow::None);
    }
    ASSERT_TRUE(isActive(id())) << "closing the popover gives the focus back";
    QTest::qWait(150);
    EXPECT_EQ(lost.size(), 0);

    using Row = std::pair<Qt::WindowFlags, KeyWindow>;
    for (const auto &[flags, kind] :
         {Row{Qt::Window, KeyWindow::Titled}, Row{Qt::Window | Qt::FramelessWindowHint, KeyWindow::Borderless}}) {
        lost.clear();
        QRasterWindow other;
        open(other, flags);
        ASSERT_TRUE(becomes([&] { return !lost.isEmpty(); }));
        EXPECT_EQ(panel->otherKeyWindow(), kind);
        panel->orderOutOtherKeyWindow();
        EXPECT_FALSE(other.isVisible());
        show();
    }
}

TEST_F(PanelSurfaceTest, CutsItsCornersOnlyWhileNothingIsBlended)
{
    panel->setWantsBlur(true);
    show();
    const auto isBlurred = [&] { return !session.property(id(), "_KDE_NET_WM_BLUR_BEHIND_REGION").empty(); };
    EXPECT_TRUE(isCut() && !panel->blendsWithDesktop());
    bool done = false;
    panel->fade(0, 10, Easing::In, [&] { done = true; });
    EXPECT_TRUE(done) << "at once: nobody would see the animation";
    panel->setAlpha(1);

    QSignalSpy blending(panel.get(), &PanelSurface::blendingChanged);
    ASSERT_TRUE(session.startCompositor());
    EXPECT_TRUE(becomes([&] { return panel->blendsWithDesktop() && !isCut() && isBlurred(); }));

    // A newer alpha drops the older fade and its completion.
    done = false;
    panel->fade(0, 0.05, Easing::In, [&] { done = true; });
    panel->setAlpha(1);
    QTest::qWait(120);
    EXPECT_FALSE(done);

    session.stopCompositor();
    EXPECT_TRUE(becomes([&] { return !panel->blendsWithDesktop() && isCut() && !isBlurred(); }));
    EXPECT_EQ(blending.size(), 2);
}

TEST_F(PanelSurfaceTest, WorksWithoutAWindowManager)
{
    session.stopWindowManager();
    ASSERT_TRUE(becomes([this] { return !windows->hasManager(); }));
    const xcb_window_t before = session.makeWindow();
    xcb_set_input_focus(session.x11->xcb(), XCB_INPUT_FOCUS_POINTER_ROOT, before, XCB_CURRENT_TIME);
    ASSERT_EQ(session.focus(), before);
    panel->setPlace(at(QRectF(310, 110, 610, 350)));
    panel->makeKeyAndOrderFront();
    EXPECT_TRUE(becomes([this] { return session.focus() == id() && QGuiApplication::focusWindow() == &window; }));
    EXPECT_EQ(session.geometry(id()), QRect(310, 340, 610, 350));
    panel->orderOut();
    EXPECT_TRUE(becomes([&] { return session.focus() == before; }));
}

} // namespace
