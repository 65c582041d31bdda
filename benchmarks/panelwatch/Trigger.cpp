#include "Trigger.h"

#include "Clock.h"
#include "Failure.h"

#include <dbus/dbus.h>

#include <algorithm>

namespace panelwatch {

BusTrigger::BusTrigger(const std::string &busName, const std::string &action)
    : m_busName(busName), m_action(action), m_path("/" + busName)
{
    // The path that belongs to a name, as D-Bus activatable applications have it.
    std::replace(m_path.begin(), m_path.end(), '.', '/');
    std::replace(m_path.begin(), m_path.end(), '-', '_');

    DBusError error = DBUS_ERROR_INIT;
    m_connection = dbus_bus_get_private(DBUS_BUS_SESSION, &error);
    if (!m_connection) {
        const std::string why = error.message ? error.message : "unknown";
        dbus_error_free(&error);
        throw Failure("the session bus cannot be reached: " + why);
    }
    dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
    if (!dbus_bus_name_has_owner(m_connection, m_busName.c_str(), nullptr))
        throw Failure("nobody owns the name " + m_busName + " on the session bus");
}

BusTrigger::~BusTrigger()
{
    if (!m_connection)
        return;
    dbus_connection_close(m_connection);
    dbus_connection_unref(m_connection);
}

double BusTrigger::fire()
{
    dbus_connection_read_write(m_connection, 0);
    while (DBusMessage *old = dbus_connection_pop_message(m_connection))
        dbus_message_unref(old);

    DBusMessage *call = dbus_message_new_method_call(m_busName.c_str(), m_path.c_str(), "org.freedesktop.Application",
                                                     m_action.empty() ? "Activate" : "ActivateAction");
    DBusMessageIter arguments;
    DBusMessageIter platformData;
    dbus_message_iter_init_append(call, &arguments);
    if (!m_action.empty()) {
        const char *action = m_action.c_str();
        DBusMessageIter parameters;
        dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &action);
        dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "v", &parameters);
        dbus_message_iter_close_container(&arguments, &parameters);
    }
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &platformData);
    dbus_message_iter_close_container(&arguments, &platformData);
    dbus_message_set_no_reply(call, TRUE);

    const double sent = now();
    dbus_connection_send(m_connection, call, nullptr);
    dbus_connection_flush(m_connection);
    dbus_message_unref(call);
    return sent;
}

double CommandTrigger::fire()
{
    const double started = now();
    m_child = std::make_unique<Child>(m_command);
    return started;
}

} // namespace panelwatch
