"""A stand-in for the running application: owns its name on the session bus, answers as its one argument says, and writes
each request to standard output as a line of JSON. The argument is JSON: {"status", "output", "errors"}, {"error": NAME},
{"without": INTERFACE}, {"reply": SIGNATURE} for an answer of another shape, or {"size": BYTES} for an output that long."""

import json
import sys

from gi.repository import Gio, GLib

INTERFACES = """<node>
<interface name="com.vantor.cobblet.CommandLine"><method name="Run"><arg type="aay" direction="in"/>
<arg type="a{sv}" direction="in"/><arg type="%s" direction="out"/></method></interface>
<interface name="org.freedesktop.Application"><method name="Activate"><arg type="a{sv}" direction="in"/></method></interface>
</node>"""

answer = json.loads(sys.argv[1])
bus = Gio.bus_get_sync(Gio.BusType.SESSION)


def run(_connection, _sender, _path, _interface, method, parameters, call):
    *given, data = parameters.unpack()
    if "error" in answer:
        call.return_dbus_error(answer["error"], "Not today.")
    elif method == "Activate":
        call.return_value(None)
    elif "reply" in answer:
        call.return_value(GLib.Variant(f"({answer['reply']})", (7,)))
    else:
        output = answer.get("output", "") + "x" * answer.get("size", 0)
        call.return_value(GLib.Variant("(iss)", (answer.get("status", 0), output, answer.get("errors", ""))))
    arguments = [bytes(argument).hex() for argument in given[0]] if given else []
    print(json.dumps({"method": method, "arguments": arguments, "data": data}), flush=True)


shape = answer.get("reply", 'i" direction="out"/><arg type="s" direction="out"/><arg type="s')
for interface in Gio.DBusNodeInfo.new_for_xml(INTERFACES % shape).interfaces:
    if interface.name != answer.get("without"):
        bus.register_object("/com/vantor/cobblet", interface, run, None, None)
bus.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
              GLib.Variant("(su)", ("com.vantor.cobblet", 4)), None, 0, 10000, None)
print("{}", flush=True)
GLib.MainLoop().run()
