#pragma once

#include <QSet>

#include <vector>

#include <xcb/xcb.h>

namespace cobblet {

class X11Windows;

/// Hides windows and shows them again, and keeps what the server does not tell: which windows were iconified
/// here, and which are on their way back because the window manager has not mapped them yet.
class X11WindowVisibility {
public:
    using Windows = std::vector<xcb_window_t>;

    explicit X11WindowVisibility(X11Windows &windows) : m_windows(windows) {}

    /// Iconifies the ones that can be seen.
    void hide(const Windows &windows);
    /// Maps the ones that hide() iconified.
    void unhide(const Windows &windows);
    /// Maps the ones that are iconified, by whomever.
    void restore(const Windows &windows);
    /// Raises the ones that are not iconified above all others, in their order, and focuses the topmost.
    void bringToFront(const Windows &windows);

    /// The window manager has changed WM_STATE.
    void stateChanged(xcb_window_t window) { m_restoring.remove(window); }
    /// The window is gone.
    void forget(xcb_window_t window);

private:
    X11Windows &m_windows;
    QSet<xcb_window_t> m_hidden;
    QSet<xcb_window_t> m_restoring;
};

} // namespace cobblet
