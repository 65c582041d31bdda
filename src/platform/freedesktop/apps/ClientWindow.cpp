#include "platform/freedesktop/apps/ClientWindow.h"

#include "platform/freedesktop/X11Connection.h"

#include <QSysInfo>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include <xcb/res.h>

namespace cobblet {

namespace {

constexpr uint32_t maximumProperty = 1024; // bytes

uint32_t number(const QByteArray &value)
{
    uint32_t first = 0;
    if (value.size() >= qsizetype(sizeof first))
        std::memcpy(&first, value.constData(), sizeof first);
    return first;
}

/// What has been read of a window so far.
struct Reading {
    ClientWindow window;
    qint64 statedPid = 0;
    bool isLocal = true;
};

using Taking = void (*)(X11Connection &, Reading &, const QByteArray &);

constexpr std::pair<const char *, Taking> properties[] = {
    {"WM_CLASS",
     [](X11Connection &, Reading &r, const QByteArray &value) {
         const QByteArrayList parts = value.split('\0');
         r.window.identity.wmInstance = QString::fromLatin1(parts.value(0));
         r.window.identity.wmClass = QString::fromLatin1(parts.value(1));
     }},
    {"_GTK_APPLICATION_ID",
     [](X11Connection &, Reading &r, const QByteArray &value) {
         r.window.identity.gtkApplicationId = QString::fromUtf8(value);
     }},
    {"_KDE_NET_WM_DESKTOP_FILE",
     [](X11Connection &, Reading &r, const QByteArray &value) {
         r.window.identity.kdeDesktopFile = QString::fromUtf8(value);
     }},
    {"_NET_WM_PID", [](X11Connection &, Reading &r, const QByteArray &value) { r.statedPid = number(value); }},
    {"WM_CLIENT_MACHINE",
     [](X11Connection &, Reading &r, const QByteArray &value) {
         r.isLocal = value.isEmpty() || value == "localhost" || value == QSysInfo::machineHostName().toUtf8();
     }},
    {"_NET_WM_WINDOW_TYPE",
     [](X11Connection &x11, Reading &r, const QByteArray &value) {
         const xcb_atom_t type = number(value);
         r.window.isOrdinary = type == XCB_ATOM_NONE || (type != x11.atom("_NET_WM_WINDOW_TYPE_DOCK") &&
                                                         type != x11.atom("_NET_WM_WINDOW_TYPE_DESKTOP"));
     }},
};

/// What the server knows of the connection, which is true even for a sandbox that numbers its processes afresh; 0
/// where it does not tell.
qint64 pidIn(const void *raw)
{
    const auto *reply = static_cast<const xcb_res_query_client_ids_reply_t *>(raw);
    if (!reply)
        return 0;
    for (auto id = xcb_res_query_client_ids_ids_iterator(reply); id.rem > 0; xcb_res_client_id_value_next(&id))
        if ((id.data->spec.mask & XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID) != 0 &&
            xcb_res_client_id_value_value_length(id.data) > 0)
            return *xcb_res_client_id_value_value(id.data);
    return 0;
}

} // namespace

bool ClientWindow::isReadFrom(X11Connection &x11, xcb_atom_t property)
{
    return std::any_of(std::begin(properties), std::end(properties),
                       [&](const auto &each) { return x11.atom(each.first) == property; });
}

void ClientWindow::read(X11Connection &x11, xcb_window_t window, QObject *context,
                        std::function<void(const ClientWindow &)> done)
{
    xcb_connection_t *xcb = x11.xcb();
    x11.intern({"WM_CLASS", "_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE", "_NET_WM_PID", "WM_CLIENT_MACHINE",
                "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_WINDOW_TYPE_DESKTOP"});
    const auto reading = std::make_shared<Reading>();
    for (const auto &[name, take] : properties)
        x11.whenReplied(
            xcb_get_property(xcb, 0, window, x11.atom(name), XCB_GET_PROPERTY_TYPE_ANY, 0, maximumProperty / 4)
                .sequence,
            context, [&x11, reading, take](const void *raw) {
                const auto *reply = static_cast<const xcb_get_property_reply_t *>(raw);
                if (reply && reply->type != XCB_ATOM_NONE)
                    take(x11, *reading,
                         {static_cast<const char *>(xcb_get_property_value(reply)),
                          xcb_get_property_value_length(reply)});
            });
    const auto finish = [reading, done = std::move(done)](const void *raw) {
        const qint64 serverPid = pidIn(raw);
        if (reading->isLocal)
            reading->window.pid = serverPid > 0 ? serverPid : reading->statedPid;
        done(reading->window);
    };
    const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    if (const auto *extension = xcb_get_extension_data(xcb, &xcb_res_id); extension->present)
        x11.whenReplied(xcb_res_query_client_ids(xcb, 1, &spec).sequence, context, finish);
    else
        x11.whenReplied(xcb_get_input_focus(xcb).sequence, context, [finish](const void *) { finish(nullptr); });
}

} // namespace cobblet
