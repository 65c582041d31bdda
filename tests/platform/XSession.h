#pragma once

#include "platform/freedesktop/x11/X11Connection.h"

#include <QProcess>
#include <QRect>

namespace cobblet::test {

/// What a test does on the X display that it was started on (tests/desktop/desktop.py starts one for it): window
/// manager and compositor come and go as it says, and windows can be looked at as another program would.
class XSession {
public:
    ~XSession();

    bool startWindowManager();
    bool startCompositor();
    void stopCompositor() { stop(m_compositor); }
    /// Starts a program on this display; it is ended with this object at the latest.
    QProcess &start(const QString &program, const QStringList &arguments = {});

    std::vector<uint32_t> property(xcb_window_t window, const char *name);
    /// Where the window's upper left corner is on the screen, and its size.
    QRect geometry(xcb_window_t window);
    /// A mapped plain window of another program; it takes the focus where there is a window manager.
    xcb_window_t makeWindow();

    const std::unique_ptr<X11Connection> x11 = X11Connection::open(); ///< null when there is no server

private:
    static void stop(std::unique_ptr<QProcess> &process);

    std::vector<std::unique_ptr<QProcess>> m_programs;
    std::unique_ptr<QProcess> m_windowManager, m_compositor;
};

} // namespace cobblet::test
