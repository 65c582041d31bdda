#include "platform/freedesktop/X11AltClicks.h"

#include "platform/HotKeys.h"

#include <QCoreApplication>

#include <utility>

namespace cobblet {

namespace {

constexpr uint8_t button = XCB_BUTTON_INDEX_1;
constexpr uint16_t events =
    XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_BUTTON_1_MOTION;

} // namespace

X11AltClicks::X11AltClicks(X11Connection &x11, xcb_connection_t *toolkit, xcb_window_t window)
    : m_x11(x11), m_toolkit(toolkit), m_window(window)
{
    X11Keyboard::read(x11, false, this, [this](const X11Keyboard &keyboard) {
        const bool wasGrabbing = m_isGrabbing;
        release();
        m_keyboard = keyboard;
        if (wasGrabbing)
            grab();
    });
    qApp->installNativeEventFilter(this);
}

X11AltClicks::~X11AltClicks()
{
    qApp->removeNativeEventFilter(this);
    release();
}

std::vector<uint16_t> X11AltClicks::modifiers() const
{
    std::vector<uint16_t> masks = m_keyboard.lockStates();
    for (uint16_t &mask : masks)
        mask |= m_keyboard.mask(modifier::option);
    return masks;
}

/// The pointer waits with each click until it is known whose it is, and so do the keys: that Alt was released must
/// not be heard before the button was.
void X11AltClicks::grab()
{
    if (std::exchange(m_isGrabbing, true))
        return;
    for (const uint16_t mask : modifiers())
        xcb_discard_reply(m_toolkit,
                          xcb_grab_button_checked(m_toolkit, 0, m_x11.root(), events, XCB_GRAB_MODE_SYNC,
                                                  XCB_GRAB_MODE_SYNC, XCB_WINDOW_NONE, XCB_CURSOR_NONE, button, mask)
                              .sequence);
    xcb_flush(m_toolkit);
}

void X11AltClicks::release()
{
    if (!std::exchange(m_isGrabbing, false))
        return;
    for (const uint16_t mask : modifiers())
        xcb_ungrab_button(m_toolkit, button, m_x11.root(), mask);
    xcb_flush(m_toolkit);
}

/// What the grab brings is told of the root window. The toolkit gets it as if the window had been clicked.
bool X11AltClicks::nativeEventFilter(const QByteArray &type, void *message, qintptr *)
{
    if (type != "xcb_generic_event_t")
        return false;
    auto *event = static_cast<xcb_button_press_event_t *>(message); // releases and motions are laid out alike
    const uint8_t kind = event->response_type & 0x7f;
    if ((kind != XCB_BUTTON_PRESS && kind != XCB_BUTTON_RELEASE && kind != XCB_MOTION_NOTIFY) ||
        event->event != m_x11.root())
        return false;
    if (kind == XCB_BUTTON_PRESS) {
        m_origin = m_x11.originUnderPointer(m_window);
        xcb_allow_events(m_toolkit, m_origin ? XCB_ALLOW_ASYNC_BOTH : XCB_ALLOW_REPLAY_POINTER, event->time);
        xcb_flush(m_toolkit);
    }
    if (!m_origin)
        return true;
    event->event = m_window;
    event->event_x = int16_t(event->root_x - m_origin->x());
    event->event_y = int16_t(event->root_y - m_origin->y());
    return false;
}

} // namespace cobblet
