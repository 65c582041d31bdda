#pragma once

#include <QProcess>
#include <QRect>
#include <QString>

#include <memory>
#include <vector>

#include <xcb/xcb.h>

namespace cobblet::test {

/// A private X server for the life of the object; the environment's DISPLAY names it. Window manager and
/// compositor come and go as the test says.
class XSession {
public:
    XSession();
    ~XSession();
    XSession(const XSession &) = delete;
    XSession &operator=(const XSession &) = delete;

    /// Whether the server runs.
    bool isReady() const { return m_ready; }

    bool startWindowManager();
    void stopWindowManager() { stop(m_windowManager); }
    bool startCompositor();
    void stopCompositor() { stop(m_compositor); }

    /// Starts a program on this server; it is ended with the server at the latest.
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

    QProcess m_server;
    std::unique_ptr<QProcess> m_windowManager;
    std::unique_ptr<QProcess> m_compositor;
    std::vector<std::unique_ptr<QProcess>> m_programs;
    xcb_connection_t *m_connection = nullptr;
    bool m_ready = false;
};

} // namespace cobblet::test
