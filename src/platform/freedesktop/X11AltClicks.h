#pragma once

#include "platform/freedesktop/X11Keyboard.h"

#include <QAbstractNativeEventFilter>

namespace cobblet {

/// Brings clicks with Alt to a window of the toolkit where the window manager would move that window with them. They
/// are grabbed on the root window, above whatever the window manager grabs, and those that hit another window are
/// handed on.
class X11AltClicks : public QObject, private QAbstractNativeEventFilter {
public:
    /// `toolkit` is the connection that the window was made on.
    X11AltClicks(X11Connection &x11, xcb_connection_t *toolkit, xcb_window_t window);
    ~X11AltClicks() override;

    /// To be called when the window is shown; a combination that another program has on the root window stays its
    /// own.
    void grab();
    void release();

private:
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;
    std::vector<uint16_t> modifiers() const;

    X11Connection &m_x11;
    xcb_connection_t *m_toolkit;
    xcb_window_t m_window;
    X11Keyboard m_keyboard;
    bool m_isGrabbing = false;
    std::optional<QPoint> m_origin; ///< of the window, in pixels, while it is clicked
};

} // namespace cobblet
