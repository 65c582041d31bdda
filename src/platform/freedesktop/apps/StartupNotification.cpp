#include "platform/freedesktop/apps/StartupNotification.h"

#include "platform/freedesktop/X11Connection.h"

#include <QByteArrayView>
#include <QSysInfo>

#include <algorithm>
#include <cstring>

#include <unistd.h>

#include <xcb/sync.h>

namespace cobblet {

namespace {

/// Values of the message format: quoted, with backslashes before quotes and backslashes.
QByteArray quoted(const QString &text)
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

/// Reads the list by hand: the library's own iterator takes the 14 bytes before each name for 16.
std::optional<xcb_sync_counter_t> counterNamed(QByteArrayView name,
                                               const xcb_sync_list_system_counters_reply_t &reply)
{
    constexpr size_t before = 14;
    const auto *at = reinterpret_cast<const char *>(&reply + 1);
    size_t left = size_t(reply.length) * 4;
    for (uint32_t i = 0; i < reply.counters_len && left >= before; ++i) {
        xcb_sync_counter_t counter = 0;
        uint16_t length = 0;
        std::memcpy(&counter, at, sizeof counter);
        std::memcpy(&length, at + before - sizeof length, sizeof length);
        if (before + length > left)
            break;
        if (QByteArrayView(at + before, length) == name)
            return counter;
        const size_t item = std::min(left, (before + length + 3) / 4 * 4);
        at += item;
        left -= item;
    }
    return std::nullopt;
}

} // namespace

std::optional<uint32_t> serverTime(X11Connection &x11)
{
    xcb_connection_t *xcb = x11.xcb();
    const auto *extension = xcb_get_extension_data(xcb, &xcb_sync_id);
    if (!extension || !extension->present)
        return std::nullopt;
    const auto initialized = xcb_sync_initialize(xcb, 3, 1);
    const auto listed = xcb_sync_list_system_counters(xcb);
    const XcbReply<xcb_sync_initialize_reply_t> version(xcb_sync_initialize_reply(xcb, initialized, nullptr));
    const XcbReply<xcb_sync_list_system_counters_reply_t> counters(
        xcb_sync_list_system_counters_reply(xcb, listed, nullptr));
    x11.drainSoon();
    if (!version || !counters)
        return std::nullopt;
    const auto counter = counterNamed("SERVERTIME", *counters);
    if (!counter)
        return std::nullopt;
    const XcbReply<xcb_sync_query_counter_reply_t> value(
        xcb_sync_query_counter_reply(xcb, xcb_sync_query_counter(xcb, *counter), nullptr));
    x11.drainSoon();
    if (!value)
        return std::nullopt;
    return value->counter_value.lo;
}

StartupNotification::~StartupNotification()
{
    if (m_window != XCB_WINDOW_NONE)
        xcb_destroy_window(m_x11->xcb(), m_window);
}

QString StartupNotification::mint()
{
    const auto time = m_x11 ? serverTime(*m_x11) : std::nullopt;
    return QStringLiteral("cobblet-%1-%2-%3_TIME%4")
        .arg(getpid())
        .arg(QSysInfo::machineHostName())
        .arg(++m_sequence)
        .arg(time.value_or(0));
}

void StartupNotification::announce(const QString &startupId, const QString &name, const QString &entryPath)
{
    if (m_x11)
        broadcast("new: ID=" + quoted(startupId) + " NAME=" + quoted(name) + " APPLICATION_ID=" + quoted(entryPath) +
                  " SCREEN=" + QByteArray::number(m_x11->screenNumber()));
}

void StartupNotification::remove(const QString &startupId)
{
    if (m_x11)
        broadcast("remove: ID=" + quoted(startupId));
}

/// The text goes out in pieces of 20 bytes, the terminating zero included, marked by a window of ours.
void StartupNotification::broadcast(const QByteArray &message)
{
    xcb_connection_t *xcb = m_x11->xcb();
    if (m_window == XCB_WINDOW_NONE) {
        m_window = xcb_generate_id(xcb);
        xcb_create_window(xcb, XCB_COPY_FROM_PARENT, m_window, m_x11->root(), -10, -10, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    }
    const QByteArray text(message.constData(), message.size() + 1);
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 8;
    event.window = m_window;
    event.type = m_x11->atom("_NET_STARTUP_INFO_BEGIN");
    for (qsizetype at = 0; at < text.size(); at += 20) {
        std::memset(event.data.data8, 0, sizeof event.data.data8);
        std::memcpy(event.data.data8, text.constData() + at, size_t(std::min<qsizetype>(20, text.size() - at)));
        xcb_send_event(xcb, 0, m_x11->root(), XCB_EVENT_MASK_PROPERTY_CHANGE, reinterpret_cast<const char *>(&event));
        event.type = m_x11->atom("_NET_STARTUP_INFO");
    }
    m_x11->flush();
}

} // namespace cobblet
