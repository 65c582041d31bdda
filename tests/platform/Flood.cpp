// A client that calls the running instance as fast as it answers, without end, and without a toolkit in the way.
#include <dbus/dbus.h>

int main()
{
    DBusConnection *bus = dbus_bus_get(DBUS_BUS_SESSION, nullptr);
    if (!bus)
        return 1;
    const char *text = "work";
    for (;;) {
        // No more at a time than the bus itself can take, whose own queue would be measured otherwise.
        int waiting = 200;
        for (int i = 0; i < waiting; ++i) {
            DBusMessage *find = dbus_message_new_method_call("com.vantor.cobblet", "/com/vantor/cobblet",
                                                             "com.vantor.cobblet.Groups", "Find");
            dbus_message_append_args(find, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
            dbus_connection_send(bus, find, nullptr);
            dbus_message_unref(find);
        }
        while (waiting > 0 && dbus_connection_read_write(bus, 10))
            while (DBusMessage *answer = dbus_connection_pop_message(bus)) {
                const int type = dbus_message_get_type(answer);
                waiting -= type == DBUS_MESSAGE_TYPE_ERROR || type == DBUS_MESSAGE_TYPE_METHOD_RETURN ? 1 : 0;
                dbus_message_unref(answer);
            }
    }
}
