#pragma once

#include <QSet>

#include <vector>

#include <xcb/xcb.h>

namespace cobblet {

class X11ClientWindows;

/// Hides windows and shows them again, and keeps what the server does not tell: which windows were iconified
/// here, and which are on their way back because the window manager has not mapped them yet.
class X11WindowVisibility {
public:
    explicit X11WindowVisibility(X11ClientWindows &clients) : m_clients(clients) {}

    /// Iconifies the ones that can be seen.
    void hide(const std::vector<xcb_window_t> &windows);
    /// Maps the ones that hide() iconified.
    void unhide(const std::vector<xcb_window_t> &windows);
    /// Maps the ones that are iconified, by whomever.
    void restore(const std::vector<xcb_window_t> &windows);
    /// Raises the ones that are not iconified above all others, in their order, and focuses the topmost.
    void bringToFront(const std::vector<xcb_window_t> &windows);

    /// The window manager has changed WM_STATE.
    void stateChanged(xcb_window_t window) { m_restoring.remove(window); }
    /// The window is gone.
    void forget(xcb_window_t window);
    const QSet<xcb_window_t> &hidden() const { return m_hidden; }

private:
    /// Iconified and not about to be mapped.
    QSet<xcb_window_t> iconified(const std::vector<xcb_window_t> &windows) const;

    X11ClientWindows &m_clients;
    QSet<xcb_window_t> m_hidden;
    QSet<xcb_window_t> m_restoring;
};

} // namespace cobblet
