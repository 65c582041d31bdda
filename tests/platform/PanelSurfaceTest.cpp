#include "platform/freedesktop/DesktopScreens.h"
#include "platform/freedesktop/X11PanelSurface.h"

#include "platform/XSession.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QRasterWindow>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include <cstdio>

using namespace cobblet;

namespace {

test::XSession *session = nullptr;

PanelPlace at(const QRectF &frame)
{
    return {.screen = {}, .anchor = {}, .size = frame.size(), .frame = frame};
}

class PanelSurfaceTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(session->startWindowManager());
        open();
    }
    void TearDown() override
    {
        m_panel.reset();
        m_window.reset();
        for (const xcb_window_t other : m_others)
            close(other);
        QTest::qWait(50);
        session->stopCompositor();
        session->stopWindowManager();
    }

    void open()
    {
        m_x11 = X11Connection::open();
        ASSERT_TRUE(m_x11);
        m_windows = std::make_unique<X11Windows>(*m_x11);
        m_screens = std::make_unique<DesktopScreens>(m_windows.get());
        m_window = std::make_unique<QRasterWindow>();
        m_panel = std::make_unique<X11PanelSurface>(*m_window, 14, *m_screens, *m_windows);
        m_panel->setPlace(at(QRectF(300, 100, 600, 340)));
    }
    xcb_window_t id() const { return xcb_window_t(m_window->winId()); }
    static bool eventually(const std::function<bool()> &condition) { return QTest::qWaitFor(condition, 5'000); }
    bool isActive(xcb_window_t window) const
    {
        return eventually([window] { return session->activeWindow() == window; });
    }
    void show()
    {
        m_panel->makeKeyAndOrderFront();
        ASSERT_TRUE(isActive(id()));
        ASSERT_TRUE(eventually([this] { return QGuiApplication::focusWindow() == m_window.get(); }));
    }
    /// A window of another program, with the focus; it goes with the test.
    xcb_window_t otherProgram()
    {
        const xcb_window_t other = m_others.emplace_back(session->makeWindow());
        EXPECT_TRUE(isActive(other));
        EXPECT_TRUE(eventually([&] { return m_windows->activeWindow() == other; }));
        return other;
    }
    static void close(xcb_window_t window)
    {
        xcb_destroy_window(session->xcb(), window);
        xcb_flush(session->xcb());
    }

    std::vector<xcb_window_t> m_others;
    std::unique_ptr<X11Connection> m_x11;
    std::unique_ptr<X11Windows> m_windows;
    std::unique_ptr<DesktopScreens> m_screens;
    std::unique_ptr<QRasterWindow> m_window;
    std::unique_ptr<X11PanelSurface> m_panel;
};

TEST_F(PanelSurfaceTest, FloatsWithoutDecorationWhereItWasPut)
{
    for (int round = 0; round < 2; ++round) { // a window manager forgets a window's state when it is withdrawn
        SCOPED_TRACE(round);
        show();
        const auto floats = [&] {
            return std::ranges::all_of(
                std::array{"_NET_WM_STATE_ABOVE", "_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER"},
                [&](const char *state) { return session->hasAtom(id(), "_NET_WM_STATE", state); });
        };
        EXPECT_TRUE(eventually([&] { return session->geometry(id()) == QRect(300, 800 - 100 - 340, 600, 340); }));
        EXPECT_TRUE(eventually(floats));
        QTest::qWait(50);
        EXPECT_TRUE(floats()) << "what was said before the last withdrawal was dealt with is said again";
        EXPECT_EQ(session->property(id(), "_NET_WM_WINDOW_TYPE"),
                  std::vector<uint32_t>{session->atom("_NET_WM_WINDOW_TYPE_UTILITY")});
        EXPECT_TRUE(eventually(
            [&] { return session->property(id(), "_NET_WM_DESKTOP") == std::vector<uint32_t>{0xFFFFFFFF}; }));
        EXPECT_EQ(session->property(id(), "_NET_FRAME_EXTENTS"), std::vector<uint32_t>(4, 0u));
        m_panel->orderOut();
        EXPECT_FALSE(m_panel->isVisible());
    }
}

TEST_F(PanelSurfaceTest, MovesAndResizesWhileShown)
{
    show();
    m_panel->animatePlace(at(QRectF(200, 50, 500, 420)), 0.05, Easing::Out);
    EXPECT_TRUE(eventually([this] { return session->geometry(id()) == QRect(200, 330, 500, 420); }));
    m_panel->animatePlace(at(QRectF(0, 0, 700, 500)), 10, Easing::Out);
    m_panel->setPlace(at(QRectF(-40, -20, 400, 300))); // partly off the screen is fine, and the animation is over
    EXPECT_TRUE(eventually([this] { return session->geometry(id()) == QRect(-40, 520, 400, 300); }));
    QTest::qWait(60);
    EXPECT_EQ(session->geometry(id()), QRect(-40, 520, 400, 300));
}

TEST_F(PanelSurfaceTest, LosesKeyWhenTheUserTurnsElsewhereAndLeavesTheFocusThere)
{
    otherProgram();
    show();
    QSignalSpy lost(m_panel.get(), &PanelSurface::resignedKey);
    QElapsedTimer clock;
    const xcb_window_t clicked = session->makeWindow();
    m_others.push_back(clicked);
    ASSERT_TRUE(isActive(clicked));
    clock.start();
    ASSERT_TRUE(!lost.isEmpty() || lost.wait(2'000));
    EXPECT_LT(clock.elapsed(), 90) << "the toolkit's own delay";
    EXPECT_EQ(m_panel->otherKeyWindow(), KeyWindow::None);
    m_panel->orderOut();
    QTest::qWait(150);
    EXPECT_EQ(session->activeWindow(), clicked);
    EXPECT_EQ(lost.size(), 1);
}

TEST_F(PanelSurfaceTest, LeavesAWindowThatWasIconifiedMeanwhileAlone)
{
    const xcb_window_t before = otherProgram();
    show();
    m_x11->sendToRoot(before, m_x11->atom("WM_CHANGE_STATE"), {3});
    ASSERT_TRUE(eventually([&] { return session->hasAtom(before, "_NET_WM_STATE", "_NET_WM_STATE_HIDDEN"); }));
    m_panel->orderOut();
    QTest::qWait(150);
    EXPECT_TRUE(session->hasAtom(before, "_NET_WM_STATE", "_NET_WM_STATE_HIDDEN"));
}

TEST_F(PanelSurfaceTest, PopoversCountAsThePanelAndOtherWindowsDoNot)
{
    otherProgram(); // where a window manager would like to put the focus
    show();
    QSignalSpy lost(m_panel.get(), &PanelSurface::resignedKey);
    {
        QRasterWindow popover;
        popover.setFlags(Qt::Tool | Qt::FramelessWindowHint);
        popover.setTransientParent(m_window.get());
        popover.setGeometry(350, 400, 100, 100);
        popover.show();
        popover.requestActivate();
        ASSERT_TRUE(isActive(xcb_window_t(popover.winId())));
        QTest::qWait(150);
        EXPECT_EQ(lost.size(), 0);
        EXPECT_EQ(m_panel->otherKeyWindow(), KeyWindow::None);
    }
    ASSERT_TRUE(isActive(id())) << "closing the popover gives the focus back";
    QTest::qWait(150);
    EXPECT_EQ(lost.size(), 0);

    struct Row {
        Qt::WindowFlags flags;
        KeyWindow kind;
    };
    for (const auto &[flags, kind] :
         {Row{Qt::Window, KeyWindow::Titled}, Row{Qt::Window | Qt::FramelessWindowHint, KeyWindow::Borderless}}) {
        lost.clear();
        QRasterWindow other;
        other.setFlags(flags);
        other.setGeometry(10, 10, 100, 100);
        other.show();
        other.requestActivate();
        ASSERT_TRUE(!lost.isEmpty() || lost.wait(2'000));
        EXPECT_EQ(m_panel->otherKeyWindow(), kind);
        m_panel->orderOutOtherKeyWindow();
        EXPECT_FALSE(other.isVisible());
        m_panel->makeKeyAndOrderFront();
        ASSERT_TRUE(isActive(id()));
    }
}

TEST_F(PanelSurfaceTest, CutsItsCornersOnlyWhileNothingIsBlended)
{
    m_panel->setWantsBlur(true);
    show();
    EXPECT_FALSE(m_panel->blendsWithDesktop());
    EXPECT_GT(session->shapeRectangles(id()), 10);

    // Applied at once: nobody would see the animation.
    bool done = false;
    m_panel->fade(0, 10, Easing::In, [&] { done = true; });
    EXPECT_TRUE(done);
    m_panel->setAlpha(1);

    QSignalSpy blending(m_panel.get(), &PanelSurface::blendingChanged);
    ASSERT_TRUE(session->startCompositor());
    ASSERT_TRUE(eventually([this] { return m_panel->blendsWithDesktop(); }));
    EXPECT_TRUE(eventually([this] { return session->shapeRectangles(id()) == 1; }));
    EXPECT_FALSE(session->property(id(), "_KDE_NET_WM_BLUR_BEHIND_REGION").empty());

    // A newer alpha drops the older fade and its completion.
    done = false;
    m_panel->fade(0, 0.05, Easing::In, [&] { done = true; });
    m_panel->setAlpha(1);
    QTest::qWait(120);
    EXPECT_FALSE(done);

    session->stopCompositor();
    ASSERT_TRUE(eventually([this] { return !m_panel->blendsWithDesktop(); }));
    EXPECT_TRUE(eventually([this] { return session->shapeRectangles(id()) > 10; }));
    EXPECT_TRUE(session->property(id(), "_KDE_NET_WM_BLUR_BEHIND_REGION").empty());
    EXPECT_EQ(blending.size(), 2);
}

TEST_F(PanelSurfaceTest, WorksWithoutAWindowManager)
{
    session->stopWindowManager();
    ASSERT_TRUE(eventually([this] { return !m_windows->hasManager(); }));
    const xcb_window_t before = m_others.emplace_back(session->makeWindow());
    xcb_set_input_focus(session->xcb(), XCB_INPUT_FOCUS_POINTER_ROOT, before, XCB_CURRENT_TIME);
    ASSERT_EQ(session->focus(), before);
    m_panel->setPlace(at(QRectF(310, 110, 610, 350)));
    m_panel->makeKeyAndOrderFront();
    EXPECT_TRUE(
        eventually([this] { return session->focus() == id() && QGuiApplication::focusWindow() == m_window.get(); }));
    EXPECT_EQ(session->geometry(id()), QRect(310, 340, 610, 350));
    m_panel->orderOut();
    EXPECT_TRUE(eventually([&] { return session->focus() == before; }));
}

TEST_F(PanelSurfaceTest, ScreensFollowDocksAsTheyComeAndGo)
{
    const QRectF whole(0, 0, 1280, 800);
    ASSERT_EQ(m_screens->screens().size(), 1);
    EXPECT_EQ(m_screens->screens().constFirst().frame, whole);
    EXPECT_EQ(m_screens->screens().constFirst().visibleFrame, whole);
    const auto visible = [this] { return m_screens->screens().constFirst().visibleFrame; };
    const auto reserve = [](xcb_window_t window, const std::vector<uint32_t> &strut) {
        xcb_change_property(session->xcb(), XCB_PROP_MODE_REPLACE, window, session->atom("_NET_WM_STRUT_PARTIAL"),
                            XCB_ATOM_CARDINAL, 32, uint32_t(strut.size()), strut.data());
        xcb_flush(session->xcb());
    };
    QSignalSpy changed(m_screens.get(), &Screens::changed);
    const xcb_window_t dock = session->makeWindow();
    reserve(dock, {0, 0, 0, 60, 0, 0, 0, 0, 0, 0, 0, 1279});
    EXPECT_TRUE(eventually([&] { return visible() == QRectF(0, 60, 1280, 740); }));
    reserve(dock, {0, 80, 0, 0, 0, 0, 0, 799, 0, 0, 0, 0});
    EXPECT_TRUE(eventually([&] { return visible() == QRectF(0, 0, 1200, 800); }));
    EXPECT_EQ(DesktopScreens(m_windows.get()).screens().constFirst().visibleFrame, visible())
        << "found at start as well";
    close(dock);
    EXPECT_TRUE(eventually([&] { return visible() == whole; }));
    EXPECT_EQ(changed.size(), 3);

    xcb_warp_pointer(session->xcb(), XCB_NONE, session->root(), 0, 0, 0, 0, 100, 700);
    xcb_flush(session->xcb());
    EXPECT_TRUE(eventually([&] { return m_screens->pointer() == QPointF(100, 100); }));
}

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    test::XSession server;
    if (!server.isReady()) {
        std::fputs("there is no X server\n", stderr);
        return 1;
    }
    session = &server;
    qputenv("QT_QPA_PLATFORM", "xcb");
    QGuiApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
