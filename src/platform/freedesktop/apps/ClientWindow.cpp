#include "platform/freedesktop/apps/ClientWindow.h"

#include "platform/freedesktop/x11/X11Connection.h"

#include <QSysInfo>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include <xcb/res.h>

namespace cobblet {

namespace {

constexpr uint32_t maximumProperty = 1024; // bytes

constexpr const char *properties[] = {"WM_CLASS",    "_GTK_APPLICATION_ID", "_KDE_NET_WM_DESKTOP_FILE",
                                      "_NET_WM_PID", "WM_CLIENT_MACHINE",   "_NET_WM_WINDOW_TYPE"};
using Values = std::array<QByteArray, std::size(properties)>; // in the order of their names

uint32_t number(const QByteArray &value)
{
    uint32_t first = 0;
    if (value.size() >= qsizetype(sizeof first))
        std::memcpy(&first, value.constData(), sizeof first);
    return first;
}

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
                       [&](const char *name) { return x11.atom(name) == property; });
}

void ClientWindow::read(X11Connection &x11, xcb_window_t window, QObject *context,
                        std::function<void(const ClientWindow &)> done)
{
    xcb_connection_t *xcb = x11.xcb();
    std::vector<const char *> names(std::begin(properties), std::end(properties));
    names.insert(names.end(), {"_NET_WM_WINDOW_TYPE_DOCK", "_NET_WM_WINDOW_TYPE_DESKTOP"});
    x11.intern(names);
    const auto values = std::make_shared<Values>();
    for (size_t i = 0; i < values->size(); ++i) {
        const auto asked = xcb_get_property(xcb, 0, window, x11.atom(properties[i]), XCB_GET_PROPERTY_TYPE_ANY, 0,
                                            maximumProperty / 4);
        x11.whenReplied(asked.sequence, context, [values, i](const void *raw) {
            if (const auto *reply = static_cast<const xcb_get_property_reply_t *>(raw))
                (*values)[i] = {static_cast<const char *>(xcb_get_property_value(reply)),
                                xcb_get_property_value_length(reply)};
        });
    }
    const auto finish = [&x11, values, done = std::move(done)](const void *raw) {
        const auto &[windowClass, gtkId, kdeFile, statedPid, machine, type] = *values;
        const QByteArrayList parts = windowClass.split('\0');
        ClientWindow seen;
        seen.identity = {QString::fromUtf8(gtkId), QString::fromUtf8(kdeFile), QString::fromLatin1(parts.value(0)),
                         QString::fromLatin1(parts.value(1))};
        if (machine.isEmpty() || machine == "localhost" || machine == QSysInfo::machineHostName().toUtf8())
            seen.pid = pidIn(raw) > 0 ? pidIn(raw) : qint64(number(statedPid));
        const xcb_atom_t kind = number(type);
        seen.isOrdinary = kind == XCB_ATOM_NONE || (kind != x11.atom("_NET_WM_WINDOW_TYPE_DOCK") &&
                                                    kind != x11.atom("_NET_WM_WINDOW_TYPE_DESKTOP"));
        done(seen);
    };
    const xcb_res_client_id_spec_t spec{window, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    if (const auto *extension = xcb_get_extension_data(xcb, &xcb_res_id); extension->present)
        x11.whenReplied(xcb_res_query_client_ids(xcb, 1, &spec).sequence, context, finish);
    else
        x11.whenReplied(xcb_get_input_focus(xcb).sequence, context, [finish](const void *) { finish(nullptr); });
}

} // namespace cobblet
