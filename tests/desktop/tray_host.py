"""A tray of the status-notifier kind: the watcher that items register with, and the host that shows them.

Writes what it shows into the file named as its argument, as a JSON list of {"service", "properties", "menu"}, each time
that changes. Icons are given as their sizes.
"""

import json
import os
import pathlib
import sys

from gi.repository import Gio, GLib

WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
INTERFACE = f"""<node><interface name="{WATCHER}">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
</interface></node>"""


class Host:
    def __init__(self, path):
        self.path = pathlib.Path(path)
        self.items = {}
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.bus.register_object("/StatusNotifierWatcher", Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0],
                                 self.call, self.property, None)
        Gio.bus_own_name_on_connection(self.bus, WATCHER, Gio.BusNameOwnerFlags.NONE, lambda *_: self.write(), None)

    def call(self, _connection, sender, _path, _interface, _method, arguments, invocation):
        invocation.return_value(None)
        named = arguments.unpack()[0]
        service = sender if named.startswith("/") else named
        self.items[service] = None
        Gio.bus_watch_name_on_connection(self.bus, service, Gio.BusNameWatcherFlags.NONE, None, self.gone)
        self.read(service)

    def property(self, _connection, _sender, _path, _interface, name):
        return {"RegisteredStatusNotifierItems": GLib.Variant("as", list(self.items)),
                "IsStatusNotifierHostRegistered": GLib.Variant("b", True),
                "ProtocolVersion": GLib.Variant("i", 0)}[name]

    def gone(self, _connection, service):
        self.items.pop(service, None)
        self.write()

    def ask(self, service, path, interface, method, arguments, answer):
        def done(bus, result):
            try:
                answer(bus.call_finish(result).unpack())
            except GLib.Error as problem:
                print(service, method, problem.message, file=sys.stderr, flush=True)
        self.bus.call(service, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE, 5000, None, done)

    def read(self, service):
        def have_properties(answer):
            properties = {name: [list(image[:2]) for image in value] if name.endswith("IconPixmap") else value
                          for name, value in answer[0].items()}

            def have_menu(layout):
                self.items[service] = {"service": service, "properties": properties, "menu": entries(layout[1])}
                self.write()
            self.ask(service, properties["Menu"], MENU, "GetLayout",
                     GLib.Variant("(iias)", (0, -1, [])), have_menu)
        self.ask(service, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "GetAll",
                 GLib.Variant("(s)", (ITEM,)), have_properties)

    def write(self):
        text = json.dumps([item for item in self.items.values() if item], default=str)
        new = self.path.with_suffix(".new")
        new.write_text(text, encoding="utf-8")
        os.replace(new, self.path)


def entries(layout):
    """What a person sees of a menu, and the numbers of its entries."""
    return [{"id": number, "label": properties.get("label", ""), "separator": properties.get("type") == "separator",
             "icon": "icon-data" in properties, "shortcut": properties.get("shortcut", [])}
            for number, properties, _ in layout[2]]


if __name__ == "__main__":
    host = Host(sys.argv[1])
    GLib.MainLoop().run()
