#include "platform/freedesktop/apps/X11WindowVisibility.h"

#include "platform/freedesktop/X11Windows.h"

namespace cobblet {

void X11WindowVisibility::hide(const Windows &windows)
{
    const QSet<xcb_window_t> already = m_windows.iconified(windows) - m_restoring;
    for (const xcb_window_t window : windows) {
        if (already.contains(window))
            continue;
        m_hidden.insert(window);
        m_restoring.remove(window);
        m_windows.iconify(window);
    }
}

void X11WindowVisibility::unhide(const Windows &windows)
{
    Windows hidden;
    for (const xcb_window_t window : windows)
        if (m_hidden.remove(window))
            hidden.push_back(window);
    restore(hidden);
}

void X11WindowVisibility::restore(const Windows &windows)
{
    for (const xcb_window_t window : m_windows.iconified(windows)) {
        m_restoring.insert(window);
        m_windows.restore(window);
    }
}

void X11WindowVisibility::bringToFront(const Windows &windows)
{
    if (windows.empty())
        return;
    const Windows all = m_windows.inStackingOrder(windows);
    const QSet<xcb_window_t> away = m_windows.iconified(all) - m_restoring;
    xcb_window_t topmost = all.back();
    // From the lowest up, so that they keep their order among themselves.
    for (const xcb_window_t window : all)
        if (!away.contains(window)) {
            m_windows.raise(window);
            topmost = window;
        }
    m_windows.activate(topmost, m_windows.x11().serverTime());
}

void X11WindowVisibility::forget(xcb_window_t window)
{
    m_hidden.remove(window);
    m_restoring.remove(window);
}

} // namespace cobblet
