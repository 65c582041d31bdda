#pragma once

#include "platform/freedesktop/apps/WindowResolver.h"

#include <functional>

#include <xcb/xcb.h>

class QObject;

namespace cobblet {

class X11Connection;

/// What a window of an application says of itself.
struct ClientWindow {
    WindowIdentity identity;
    qint64 pid = 0;         ///< 0: unknown, or of another machine
    bool isOrdinary = true; ///< false for docks and desktops, which are not to be hidden, raised or closed

    /// Reads it without waiting; `done` is dropped when `context` is gone by then. A window that is gone has no
    /// identity.
    static void read(X11Connection &x11, xcb_window_t window, QObject *context,
                     std::function<void(const ClientWindow &)> done);
    /// Whether a property's change can change what read() finds.
    static bool isReadFrom(X11Connection &x11, xcb_atom_t property);
};

} // namespace cobblet
