#include "platform/freedesktop/X11OutsidePresses.h"

#include <QGuiApplication>
#include <QWindow>

#include <algorithm>
#include <chrono>
#include <utility>

#include <xcb/xinput.h>

namespace cobblet {

namespace {

constexpr const char *typeName = "_NET_WM_WINDOW_TYPE";
constexpr const char *dockType = "_NET_WM_WINDOW_TYPE_DOCK";
constexpr const char *desktopType = "_NET_WM_WINDOW_TYPE_DESKTOP";

// A window manager that is busy gives a window the focus this much later than it was asked to.
constexpr std::chrono::milliseconds memory{500};

/// Scrolling does not close the panel.
bool isWheel(uint32_t button)
{
    return button >= XCB_BUTTON_INDEX_4 && button <= 7;
}

} // namespace

X11OutsidePresses::X11OutsidePresses(X11Windows &windows, xcb_connection_t *toolkit)
    : m_windows(windows), m_toolkit(toolkit)
{
    m_windows.x11().intern({typeName, dockType, desktopType});
    if (const auto *input = xcb_get_extension_data(m_toolkit, &xcb_input_id); input && input->present)
        m_inputOpcode = input->major_opcode;
    qGuiApp->installNativeEventFilter(this);
}

X11OutsidePresses::~X11OutsidePresses()
{
    qGuiApp->removeNativeEventFilter(this);
}

void X11OutsidePresses::listen(bool on)
{
    if (m_inputOpcode == 0 || std::exchange(m_listens, on) == on)
        return;
    struct {
        xcb_input_event_mask_t head;
        uint32_t events;
    } const mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
                 on ? uint32_t(XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS |
                               XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE)
                    : 0};
    xcb_input_xi_select_events(m_toolkit, m_windows.x11().root(), 1, &mask.head);
    xcb_flush(m_toolkit);
}

bool X11OutsidePresses::nativeEventFilter(const QByteArray &type, void *message, qintptr *)
{
    const auto *event = static_cast<const xcb_ge_generic_event_t *>(message);
    if (!m_listens || type != "xcb_generic_event_t" || (event->response_type & 0x7f) != XCB_GE_GENERIC ||
        event->extension != m_inputOpcode ||
        (event->event_type != XCB_INPUT_RAW_BUTTON_PRESS && event->event_type != XCB_INPUT_RAW_KEY_PRESS &&
         event->event_type != XCB_INPUT_RAW_KEY_RELEASE))
        return false;
    m_sincePress.start();
    if (event->event_type != XCB_INPUT_RAW_BUTTON_PRESS ||
        isWheel(static_cast<const xcb_input_raw_button_press_event_t *>(message)->detail))
        return true;
    // A menu that is open takes the press for itself.
    if (!menuIsOpen())
        lookInto(m_windows.x11().root());
    return true;
}

bool X11OutsidePresses::menuIsOpen()
{
    const QWindowList windows = QGuiApplication::topLevelWindows();
    return std::ranges::any_of(
        windows, [](const QWindow *window) { return window->type() == Qt::Popup && window->isVisible(); });
}

bool X11OutsidePresses::pressedLately() const
{
    return m_sincePress.isValid() && !m_sincePress.hasExpired(memory.count());
}

/// Such a press does not say where it was; the pointer is still there.
void X11OutsidePresses::lookInto(xcb_window_t window)
{
    X11Connection &x11 = m_windows.x11();
    x11.whenReplied(xcb_query_pointer(x11.xcb(), window).sequence, this, [this, window](const void *raw) {
        const auto *reply = static_cast<const xcb_query_pointer_reply_t *>(raw);
        const xcb_window_t child = reply ? reply->child : xcb_window_t(XCB_WINDOW_NONE);
        if (!m_listens)
            return;
        // Below a frame nothing says little: the press may have opened a menu over it by now.
        if (child == XCB_WINDOW_NONE) {
            if (window == m_windows.x11().root() || !m_windows.hasManager())
                emit pressed();
        } else if (m_windows.hasManager() && m_windows.contains(child)) {
            judge(child);
        } else if (!m_windows.isOwn(child)) {
            lookInto(child);
        }
    });
}

/// An application's window takes the focus in its own time, which tells enough, unless it has the focus already.
void X11OutsidePresses::judge(xcb_window_t client)
{
    if (client == m_windows.activeWindow())
        return emit pressed();
    X11Connection &x11 = m_windows.x11();
    x11.ask(client, x11.atom(typeName), this, [this, &x11](const std::vector<uint32_t> &types) {
        if (std::ranges::any_of(types, [&x11](xcb_atom_t type) {
                return type == x11.atom(dockType) || type == x11.atom(desktopType);
            }))
            emit pressed();
    });
}

} // namespace cobblet
