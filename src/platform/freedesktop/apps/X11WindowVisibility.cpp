#include "platform/freedesktop/apps/X11WindowVisibility.h"

#include "platform/freedesktop/apps/X11ClientWindows.h"

namespace cobblet {

QSet<xcb_window_t> X11WindowVisibility::iconified(const std::vector<xcb_window_t> &windows) const
{
    const std::vector<xcb_window_t> found = m_clients.iconified(windows);
    return QSet<xcb_window_t>(found.begin(), found.end()) - m_restoring;
}

void X11WindowVisibility::hide(const std::vector<xcb_window_t> &windows)
{
    const QSet<xcb_window_t> already = iconified(windows);
    for (const xcb_window_t window : windows) {
        if (already.contains(window))
            continue;
        m_hidden.insert(window);
        m_restoring.remove(window);
        m_clients.iconify(window);
    }
}

void X11WindowVisibility::unhide(const std::vector<xcb_window_t> &windows)
{
    std::vector<xcb_window_t> hidden;
    for (const xcb_window_t window : windows)
        if (m_hidden.remove(window))
            hidden.push_back(window);
    restore(hidden);
}

void X11WindowVisibility::restore(const std::vector<xcb_window_t> &windows)
{
    for (const xcb_window_t window : m_clients.iconified(windows)) {
        m_restoring.insert(window);
        m_clients.restore(window);
    }
}

void X11WindowVisibility::bringToFront(const std::vector<xcb_window_t> &windows)
{
    if (windows.empty())
        return;
    const std::vector<xcb_window_t> all = m_clients.inStackingOrder(windows);
    const QSet<xcb_window_t> away = iconified(all);
    xcb_window_t topmost = all.back();
    // From the lowest up, so that they keep their order among themselves.
    for (const xcb_window_t window : all)
        if (!away.contains(window)) {
            m_clients.raise(window);
            topmost = window;
        }
    m_clients.focus(topmost);
}

void X11WindowVisibility::forget(xcb_window_t window)
{
    m_hidden.remove(window);
    m_restoring.remove(window);
}

} // namespace cobblet
