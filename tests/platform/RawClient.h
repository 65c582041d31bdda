#pragma once

#include <dbus/dbus.h>

#include <cstdlib>
#include <map>
#include <string>

namespace cobblet::test {

/// A connection of its own without a toolkit, whose calls are sent and not waited for.
class RawClient {
public:
    RawClient()
    {
        m_connection = dbus_connection_open_private(std::getenv("DBUS_SESSION_BUS_ADDRESS"), nullptr);
        if (m_connection) {
            dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
            dbus_bus_register(m_connection, nullptr);
        }
    }
    ~RawClient()
    {
        if (m_connection) {
            dbus_connection_close(m_connection);
            dbus_connection_unref(m_connection);
        }
    }
    RawClient(const RawClient &) = delete;
    RawClient &operator=(const RawClient &) = delete;

    static DBusMessage *message(const char *interface, const char *method)
    {
        return dbus_message_new_method_call("com.vantor.cobblet", "/com/vantor/cobblet", interface, method);
    }
    static DBusMessage *find(const char *text)
    {
        DBusMessage *message = RawClient::message("com.vantor.cobblet.Groups", "Find");
        dbus_message_append_args(message, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
        return message;
    }
    static DBusMessage *activate()
    {
        DBusMessage *message = RawClient::message("org.freedesktop.Application", "Activate");
        DBusMessageIter all, map;
        dbus_message_iter_init_append(message, &all);
        dbus_message_iter_open_container(&all, DBUS_TYPE_ARRAY, "{sv}", &map);
        dbus_message_iter_close_container(&all, &map);
        return message;
    }

    /// Takes the message.
    void send(DBusMessage *message)
    {
        dbus_connection_send(m_connection, message, nullptr);
        dbus_message_unref(message);
    }
    /// Afterwards the bus has everything that was sent.
    void reachBus()
    {
        dbus_connection_flush(m_connection);
        DBusMessage *ask =
            dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "GetId");
        if (DBusMessage *reply = dbus_connection_send_with_reply_and_block(m_connection, ask, -1, nullptr))
            dbus_message_unref(reply);
        dbus_message_unref(ask);
    }
    /// Counts what has come in and was not counted yet: each error by its name, a reply as "".
    void countAnswers(std::map<std::string, int> &counts, int waitMilliseconds = 0)
    {
        dbus_connection_read_write(m_connection, waitMilliseconds);
        while (DBusMessage *answer = dbus_connection_pop_message(m_connection)) {
            const int type = dbus_message_get_type(answer);
            if (type == DBUS_MESSAGE_TYPE_ERROR)
                ++counts[dbus_message_get_error_name(answer)];
            else if (type == DBUS_MESSAGE_TYPE_METHOD_RETURN)
                ++counts[""];
            dbus_message_unref(answer);
        }
    }

private:
    DBusConnection *m_connection = nullptr;
};

inline int sum(const std::map<std::string, int> &counts)
{
    int sum = 0;
    for (const auto &[name, count] : counts)
        sum += count;
    return sum;
}

} // namespace cobblet::test
