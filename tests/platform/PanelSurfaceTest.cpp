#include "platform/freedesktop/DesktopScreens.h"
#include "platform/freedesktop/ScreenGeometry.h"
#include "platform/freedesktop/X11PanelSurface.h"

#include "platform/XSession.h"
#include "support/Test.h"

#include <QGuiApplication>
#include <QRasterWindow>

#include <array>

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
    xcb_window_t id() const { return xcb_window_t(window.winId()); }
    bool isActive(xcb_window_t asked)
    {
        return test::waitFor([&] { return windows->activeWindow() == asked; });
    }
    void show()
    {
        panel->makeKeyAndOrderFront();
        ASSERT_TRUE(isActive(id()));
        ASSERT_TRUE(test::waitFor([this] { return QGuiApplication::focusWindow() == &window; }));
    }
    /// A window of another program, with the focus.
    xcb_window_t otherProgram()
    {
        const xcb_window_t other = session.makeWindow();
        EXPECT_TRUE(isActive(other));
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
        const Numbers state = session.property(id(), "_NET_WM_STATE");
        return std::ranges::all_of(
                   std::array{"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"},
                   [&](const char *each) { return std::ranges::count(state, session.x11->atom(each)) == 1; }) &&
               session.property(id(), "_NET_WM_DESKTOP") == Numbers{0xFFFFFFFF} &&
               session.property(id(), "_NET_FRAME_EXTENTS") == Numbers(4, 0u);
    };
    const auto isAt = [&](const QRect &frame) {
        return test::waitFor([&] { return session.geometry(id()) == frame; });
    };
    for (int round = 0; round < 2; ++round) { // a window manager forgets a window's state when it is withdrawn
        show();
        EXPECT_TRUE(test::waitFor(floats));
        QTest::qWait(50);
        EXPECT_TRUE(floats()) << "what was said before the last withdrawal was dealt with is said again";
        panel->orderOut();
    }
    show();
    panel->animatePlace(at(QRectF(0, 0, 700, 500)), 10, Easing::Out);
    panel->setPlace(at(QRectF(-40, -20, 400, 300))); // partly off the screen is fine, and the animation is over
    EXPECT_TRUE(isAt(QRect(-40, 520, 400, 300)));
    QTest::qWait(60);
    EXPECT_EQ(session.geometry(id()), QRect(-40, 520, 400, 300));
    panel->setPlace(at(QRectF(300.25, 58, 592.5, 302.5)));
    EXPECT_TRUE(isAt(QRect(QPoint(300, 440), QPoint(892, 741)))) << "each edge is rounded by itself";
}

TEST_F(PanelSurfaceTest, GivesTheFocusBackUnlessSomethingWasLaunchedOrTheWindowWasIconified)
{
    const xcb_window_t before = otherProgram();
    session.x11->select(x11->root(), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    int requests = 0;
    QObject::connect(session.x11.get(), &X11Connection::eventArrived, [&](const xcb_generic_event_t *event) {
        const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
        requests += (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && message->window == before &&
                    message->type == x11->atom("_NET_ACTIVE_WINDOW");
    });
    for (const int expected : {1, 0}) {
        show();
        requests = 0;
        if (expected == 0)
            windows->giveFocusToLaunch();
        panel->orderOut();
        EXPECT_TRUE(isActive(before)); // which the window manager sees to as well
        session.x11->serverTime();     // everything sent by then has been heard
        QCoreApplication::processEvents();
        EXPECT_EQ(requests, expected);
    }
    show();
    x11->sendToRoot(before, x11->atom("WM_CHANGE_STATE"), {3});
    const auto isIconified = [&] { return windows->iconified({before}).contains(before); };
    ASSERT_TRUE(test::waitFor(isIconified));
    panel->orderOut();
    QTest::qWait(150);
    EXPECT_TRUE(isIconified());
}

TEST_F(PanelSurfaceTest, PopoversCountAsThePanelAndOtherWindowsDoNot)
{
    otherProgram(); // where a window manager would like to put the focus
    show();
    QSignalSpy lost(panel.get(), &PanelSurface::resignedKey);
    const auto open = [](QRasterWindow &other, Qt::WindowFlags flags) {
        other.setFlags(flags);
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

    QRasterWindow other;
    open(other, Qt::Window);
    ASSERT_TRUE(test::waitFor([&] { return !lost.isEmpty(); }));
    EXPECT_EQ(panel->otherKeyWindow(), KeyWindow::Titled);
    panel->orderOutOtherKeyWindow();
    EXPECT_FALSE(other.isVisible());
}

TEST_F(PanelSurfaceTest, CutsItsCornersOnlyWhileNothingIsBlended)
{
    panel->setWantsBlur(true);
    show();
    const auto isBlurred = [&] { return !session.property(id(), "_KDE_NET_WM_BLUR_BEHIND_REGION").empty(); };
    EXPECT_TRUE(isCut() && !panel->blendsWithDesktop());

    QSignalSpy changed(panel.get(), &PanelSurface::backdropChanged);
    ASSERT_TRUE(session.startCompositor());
    EXPECT_TRUE(test::waitFor([&] { return panel->backdrop() == Backdrop::Sharp && !isCut() && isBlurred(); }));
    const xcb_atom_t blur = x11->atom("_KDE_NET_WM_BLUR_BEHIND_REGION");
    xcb_change_property(session.x11->xcb(), XCB_PROP_MODE_REPLACE, x11->root(), blur, blur, 8, 1, "");
    session.x11->flush();
    EXPECT_TRUE(test::waitFor([&] { return panel->backdrop() == Backdrop::Blurred; }))
        << "as compositors announce it";

    session.stopCompositor();
    EXPECT_TRUE(test::waitFor([&] { return !panel->blendsWithDesktop() && isCut() && !isBlurred(); }));
    EXPECT_EQ(changed.size(), 3);
}

TEST(VisibleFrame, LeavesOutWhatDocksReserve)
{
    using namespace geometry;
    // Two screens side by side, the right one taller; and one to the right of a 4K one at scale 2. In y-down points.
    const ToolkitScreen left{QRectF(0, 0, 1920, 1080), 1}, right{QRectF(1920, 0, 2560, 1440), 1};
    const ToolkitScreen beside{QRectF(3840, 0, 1920, 1080), 1};
    const QSize both{4480, 1440}, dense{5760, 2160};
    const Numbers ofLeft{0, 0, 0, 408, 0, 0, 0, 0, 0, 0, 0, 1919}, ofRight{1984, 0, 0, 0, 0, 1439, 0, 0, 0, 0, 0, 0};
    const struct {
        const char *name;
        ToolkitScreen screen;
        QSize desktop;
        Numbers dock;
        QRectF visible;
    } cases[] = {
        {"old property", left, {1920, 1080}, {0, 0, 24, 48}, {0, 24, 1920, 1008}},
        {"one that would leave nothing", left, {1920, 1080}, {0, 0, 600, 600}, {0, 0, 1920, 1080}},
        {"counted from the desktop's bottom", left, both, ofLeft, {0, 0, 1920, 1032}},
        {"on the right screen's left side", right, both, ofRight, {1984, 0, 2496, 1440}},
        {"that dock does not swallow the left screen", left, both, ofRight, {0, 0, 1920, 1080}},
        {"beside a dense one", beside, dense, {0, 0, 0, 1140, 0, 0, 0, 0, 0, 0, 3840, 5759}, {3840, 0, 1920, 1020}},
    };
    for (const auto &[name, screen, desktop, dock, visible] : cases)
        EXPECT_EQ(visibleFrame(screen, {strutFrom(dock).value_or(Strut{})}, desktop), visible) << name;
    for (const Numbers &numbers : {Numbers{}, Numbers{1, 2, 3}, Numbers(12), Numbers(13, 5u)})
        EXPECT_FALSE(strutFrom(numbers)) << numbers.size();
}

} // namespace
