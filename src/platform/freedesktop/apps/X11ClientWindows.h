#pragma once

#include "platform/freedesktop/apps/WindowResolver.h"

#include <QSet>

#include <optional>
#include <vector>

#include <xcb/xcb.h>

namespace cobblet {

class X11Connection;

/// A window of an application, as far as it has been looked at.
struct ClientWindow {
    xcb_window_t id = XCB_WINDOW_NONE;
    WindowIdentity identity;
    qint64 pid = 0;         ///< 0: unknown, or of another machine
    bool isOrdinary = true; ///< false for docks and desktops, which are not to be hidden, raised or closed
};

/// The managed windows of an X display: their list, their properties, and the requests that a pager may make.
/// With a window manager that keeps the EWMH lists these are used; without one the window tree is walked.
class X11ClientWindows {
public:
    explicit X11ClientWindows(X11Connection &x11);

    /// Looks again for the window manager and what it supports; selects what tells about new and gone windows.
    void findWindowManager();
    bool hasLists() const { return m_hasLists; }
    bool hasWindowManager() const { return m_hasWindowManager; }

    /// All windows in the order in which they were mapped, less the ones of this process. `kept` are listed
    /// although they are unmapped, where no window manager remembers them.
    std::vector<xcb_window_t> list(const QSet<xcb_window_t> &kept);
    /// The same in two steps, so that nobody waits in between; where hasLists(). The number of the request, and what
    /// its reply (maybe null) says.
    unsigned askForList();
    std::vector<xcb_window_t> listIn(const void *reply) const;
    /// The properties of windows, with one round trip for all; windows that are gone come back without any.
    std::vector<ClientWindow> describe(const std::vector<xcb_window_t> &windows);
    /// Whether a property's change can change what describe() says.
    bool isIdentity(xcb_atom_t property) const { return m_identityAtoms.contains(property); }
    /// Whether it is one of the root window's lists, or the mark of the window manager.
    bool isList(xcb_atom_t property) const;

    /// The same windows from the lowest to the topmost.
    std::vector<xcb_window_t> inStackingOrder(std::vector<xcb_window_t> windows);
    /// The ones that are iconified.
    std::vector<xcb_window_t> iconified(const std::vector<xcb_window_t> &windows);

    void iconify(xcb_window_t window);
    void restore(xcb_window_t window);
    void raise(xcb_window_t window);
    void focus(xcb_window_t window);
    /// Asks a window to close; false when it does not take such a request.
    bool close(xcb_window_t window);

private:
    bool isOwn(xcb_window_t window) const { return m_ownBase && (window & ~m_resourceMask) == *m_ownBase; }
    void collect(xcb_window_t parent, int depth, const QSet<xcb_window_t> &kept, std::vector<xcb_window_t> &found);
    bool supports(const char *name) const;

    X11Connection &m_x11;
    uint32_t m_resourceMask;
    std::optional<uint32_t> m_ownBase; ///< the identifiers of the toolkit's windows begin with it
    bool m_hasLists = false;
    bool m_hasWindowManager = false;
    bool m_hasClientIds = false;
    QSet<xcb_atom_t> m_supported;
    QSet<xcb_atom_t> m_identityAtoms;
};

} // namespace cobblet
