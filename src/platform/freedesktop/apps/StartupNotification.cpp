#include "platform/freedesktop/apps/StartupNotification.h"

#include "platform/freedesktop/x11/X11Connection.h"

#include <QSysInfo>

#include <algorithm>

#include <unistd.h>

namespace cobblet {

namespace {

constexpr QLatin1String timeMark("_TIME");

/// At most 512 characters of a value, without control characters.
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

} // namespace

QString StartupNotification::mint()
{
    return QStringLiteral("cobblet-%1-%2-%3%4%5")
        .arg(getpid())
        .arg(QSysInfo::machineHostName())
        .arg(++m_sequence)
        .arg(timeMark)
        .arg(m_x11 ? m_x11->serverTime() : 0);
}

uint32_t StartupNotification::timeOf(const QString &startupId)
{
    const qsizetype mark = startupId.lastIndexOf(timeMark);
    return mark < 0 ? 0 : startupId.mid(mark + timeMark.size()).toUInt();
}

void StartupNotification::announce(const QString &startupId, const QString &name, const QString &entryPath)
{
    if (m_x11)
        broadcast("new: ID=" + quoted(startupId) + " NAME=" + quoted(name) + " APPLICATION_ID=" + quoted(entryPath) +
                  " SCREEN=" + QByteArray::number(m_x11->screenNumber()));
}

void StartupNotification::remove(const QString &startupId)
{
    if (m_x11 && !startupId.isEmpty())
        broadcast("remove: ID=" + quoted(startupId));
}

/// The text goes out in pieces of 20 bytes, the terminating zero included, which belong together by the window that
/// they name.
void StartupNotification::broadcast(const QByteArray &message)
{
    constexpr qsizetype piece = 20;
    xcb_connection_t *xcb = m_x11->xcb();
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 8;
    event.window = xcb_generate_id(xcb);
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, event.window, m_x11->root(), -1, -1, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    for (qsizetype at = 0; at <= message.size(); at += piece) {
        event.type = m_x11->atom(at == 0 ? "_NET_STARTUP_INFO_BEGIN" : "_NET_STARTUP_INFO");
        std::fill(std::begin(event.data.data8), std::end(event.data.data8), uint8_t(0));
        std::copy_n(message.constData() + at, std::min(piece, message.size() - at), event.data.data8);
        xcb_send_event(xcb, 0, m_x11->root(), XCB_EVENT_MASK_PROPERTY_CHANGE, reinterpret_cast<const char *>(&event));
    }
    xcb_destroy_window(xcb, event.window);
    m_x11->flush();
}

} // namespace cobblet
