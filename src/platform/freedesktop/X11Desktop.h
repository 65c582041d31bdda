#pragma once

#include "platform/freedesktop/X11Connection.h"

#include <QObject>

namespace cobblet {

/// What the window manager and the compositing manager say of themselves, followed as it changes, so that
/// nobody has to ask on the way to a painted panel.
class X11Desktop : public QObject {
    Q_OBJECT
public:
    /// The connection outlives this object.
    explicit X11Desktop(X11Connection &x11, QObject *parent = nullptr);

    X11Connection &x11() const { return m_x11; }

    bool hasWindowManager() const { return m_managerWindow != XCB_WINDOW_NONE; }
    bool isCompositing() const { return m_compositing; }
    /// None when no window is active or nobody tells.
    xcb_window_t activeWindow() const { return m_active; }
    /// Whether the window is the window manager's own, which takes the focus when no other window can.
    bool isManagerWindow(xcb_window_t window) const { return hasWindowManager() && window == m_managerWindow; }

    /// Asks the window manager for the focus on behalf of the user, who acted at `time`.
    void activate(xcb_window_t window, xcb_timestamp_t time);
    /// The same on another connection, in order with what that one maps and unmaps; not told by activationSent().
    void activateOn(xcb_connection_t *connection, xcb_window_t window, xcb_timestamp_t time);

    /// The server's time when the user last did something to this program; 0 when that is unknown.
    xcb_timestamp_t userTime() const { return m_userTime; }
    void noteUserTime(xcb_timestamp_t time);
    /// A launch that was handed to this process is done: its time is noted and its busy pointer ended.
    void finishStartup(const QString &startupID);

signals:
    void activeWindowChanged();
    void compositingChanged();
    /// This process asked for another window to be activated.
    void activationSent(xcb_window_t window);

private:
    void handle(const xcb_generic_event_t *event);
    void followActive();
    void followManager();
    void verifyManager();
    void followCompositor();
    void setManager(xcb_window_t window);
    void setCompositing(bool compositing);

    X11Connection &m_x11;
    xcb_atom_t m_compositorSelection = XCB_ATOM_NONE;
    uint8_t m_selectionEvent = 0;
    xcb_window_t m_managerNamed = XCB_WINDOW_NONE;  ///< by the root window; it outlives a manager that died
    xcb_window_t m_managerWindow = XCB_WINDOW_NONE; ///< which says the same of itself
    xcb_window_t m_active = XCB_WINDOW_NONE;
    bool m_compositing = false;
    xcb_timestamp_t m_userTime = 0;
};

} // namespace cobblet
