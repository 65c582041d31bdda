"""A stand-in for the running application: owns its name on the session bus, answers as its one argument says, and then
writes the request to standard output as a line of JSON. The argument is JSON: {"status", "output", "errors"},
{"error": NAME}, {"without": INTERFACES}, or {"reply": SIGNATURE} for an answer of another shape."""

import json
import os
import sys

from gi.repository import Gio, GLib

INTERFACES = """<node>
<interface name="com.vantor.cobblet.CommandLine"><method name="Run"><arg type="aay" direction="in"/>
<arg type="a{sv}" direction="in"/><arg type="i" direction="out"/><arg type="s" direction="out"/>
<arg type="s" direction="out"/></method></interface>
<interface name="org.freedesktop.Application"><method name="Activate"><arg type="a{sv}" direction="in"/></method></interface>
</node>"""


def say(**what):
    print(json.dumps(what), flush=True)


def main():
    answer = json.loads(sys.argv[1])
    bus = Gio.bus_get_sync(Gio.BusType.SESSION)

    def run(_connection, _sender, _path, _interface, method, parameters, call):
        arguments = [bytes(parameters.get_child_value(0).get_child_value(at).unpack()).hex()
                     for at in range(parameters.get_child_value(0).n_children())] if method == "Run" else []
        if "error" in answer:
            call.return_dbus_error(answer["error"], "Not today.")
        elif method == "Activate":
            call.return_value(None)
        else:
            call.return_value(GLib.Variant("(iss)", (answer.get("status", 0), answer.get("output", ""),
                                                     answer.get("errors", ""))))
        say(method=method, arguments=arguments, data=parameters.unpack()[-1])

    def other(connection, message, incoming):
        """Answers in another shape, which the library would not let through."""
        if incoming and message.get_message_type() == Gio.DBusMessageType.METHOD_CALL:
            reply = message.new_method_reply()
            reply.set_body(GLib.Variant(answer["reply"], (7,)))
            connection.send_message(reply, Gio.DBusSendMessageFlags.NONE)
            return None
        return message

    if "reply" in answer:
        bus.add_filter(other)
    for interface in Gio.DBusNodeInfo.new_for_xml(INTERFACES).interfaces:
        if interface.name not in answer.get("without", []):
            bus.register_object("/com/vantor/cobblet", interface, run, None, None)
    bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                  GLib.Variant("(su)", ("com.vantor.cobblet", 4)), None, 0, 10000, None)
    say(pid=os.getpid())
    GLib.MainLoop().run()


main()
