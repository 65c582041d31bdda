#pragma once

#include <QProcess>
#include <QRect>
#include <QString>

#include <memory>
#include <vector>

#include <xcb/xcb.h>

namespace cobblet::test {

/// What a test does on the X display that it was started on (tests/desktop/desktop.py starts one for it): window
/// manager and compositor come and go as it says, and windows can be looked at from outside.
class XSession {
public:
    XSession();
    ~XSession();
    XSession(const XSession &) = delete;
    XSession &operator=(const XSession &) = delete;

    /// Whether there is a server.
    bool isReady() const { return !xcb_connection_has_error(m_connection); }

    bool startWindowManager();
    void stopWindowManager() { stop(m_windowManager); }
    bool startCompositor();
    void stopCompositor() { stop(m_compositor); }

    /// Starts a program on this server; it is ended with this object at the latest.
    QProcess &start(const QString &program, const QStringList &arguments = {});

    /// A connection for tests that look at windows from outside, as another program would.
    xcb_connection_t *xcb();
    xcb_window_t root();
    xcb_atom_t atom(const char *name);
    std::vector<uint32_t> property(xcb_window_t window, const char *name);
    bool hasAtom(xcb_window_t window, const char *property, const char *value);
    xcb_window_t activeWindow();
    xcb_window_t focus();
    /// Where the window's upper left corner is on the screen, and its size.
    QRect geometry(xcb_window_t window);
    int shapeRectangles(xcb_window_t window);
    /// A mapped plain window of another program; it takes the focus where there is a window manager.
    xcb_window_t makeWindow();

private:
    bool start(std::unique_ptr<QProcess> &process, const QString &program, const QStringList &arguments);
    static void stop(std::unique_ptr<QProcess> &process);
    bool selectionOwned(const char *selection);

    std::unique_ptr<QProcess> m_windowManager;
    std::unique_ptr<QProcess> m_compositor;
    std::vector<std::unique_ptr<QProcess>> m_programs;
    xcb_connection_t *m_connection;
};

} // namespace cobblet::test
