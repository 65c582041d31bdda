#include "platform/freedesktop/apps/StartupNotification.h"

#include "platform/freedesktop/StartupMessage.h"
#include "platform/freedesktop/X11Connection.h"

#include <QByteArrayView>
#include <QSysInfo>

#include <algorithm>
#include <cstring>

#include <unistd.h>

#include <xcb/sync.h>

namespace cobblet {

namespace {

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
        broadcastStartup(*m_x11, "new: ID=" + quotedForStartup(startupId) + " NAME=" + quotedForStartup(name) +
                                     " APPLICATION_ID=" + quotedForStartup(entryPath) +
                                     " SCREEN=" + QByteArray::number(m_x11->screenNumber()));
}

void StartupNotification::remove(const QString &startupId)
{
    if (m_x11)
        broadcastStartup(*m_x11, "remove: ID=" + quotedForStartup(startupId));
}

} // namespace cobblet
