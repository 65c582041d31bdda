#include "platform/freedesktop/StartupMessage.h"

#include "platform/freedesktop/X11Connection.h"

#include <algorithm>

namespace cobblet {

/// The text goes out in pieces of 20 bytes, the terminating zero included, which belong together by the window that
/// they name.
void broadcastStartup(X11Connection &x11, const QByteArray &message)
{
    constexpr qsizetype piece = 20;
    xcb_connection_t *xcb = x11.xcb();
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 8;
    event.window = xcb_generate_id(xcb);
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, event.window, x11.root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    for (qsizetype at = 0; at <= message.size(); at += piece) {
        event.type = x11.atom(at == 0 ? "_NET_STARTUP_INFO_BEGIN" : "_NET_STARTUP_INFO");
        std::fill(std::begin(event.data.data8), std::end(event.data.data8), uint8_t(0));
        std::copy_n(message.constData() + at, std::min(piece, message.size() - at), event.data.data8);
        xcb_send_event(xcb, 0, x11.root(), XCB_EVENT_MASK_PROPERTY_CHANGE, reinterpret_cast<const char *>(&event));
    }
    xcb_destroy_window(xcb, event.window);
    x11.flush();
}

QByteArray quotedForStartup(const QString &text)
{
    QByteArray out = "\"";
    for (const char c : text.left(512).toUtf8()) {
        if (c == '"' || c == '\\')
            out.append('\\');
        if (uchar(c) >= 0x20)
            out.append(c);
    }
    return out + '"';
}

} // namespace cobblet
