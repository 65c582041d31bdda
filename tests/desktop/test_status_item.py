"""The item in the tray: in trays of both kinds, in whichever order they come and go, and what its menu does."""

import contextlib
import threading

from gi.repository import Gio, GLib
from Xlib import error

from cobblet import CobbletCase, bus, call
from desktop import Window, bottom, colours

WATCHER = "org.kde.StatusNotifierWatcher"
INTERFACE = f"""<node><interface name="{WATCHER}">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
</interface></node>"""
PROPERTIES = {"RegisteredStatusNotifierItems": GLib.Variant("as", []),
              "IsStatusNotifierHostRegistered": GLib.Variant("b", True), "ProtocolVersion": GLib.Variant("i", 0)}


class NotifierTray:
    """A tray of the status-notifier kind: the watcher that items register with, and the host that shows them. Needs
    the main loop of another thread."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.items = []
        self.bus = bus(desktop.environment)
        self.bus.register_object("/StatusNotifierWatcher", Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0],
                                 self.register, lambda *arguments: PROPERTIES[arguments[4]], None)
        call(self.bus, "org.freedesktop.DBus", "/", "org.freedesktop.DBus.RequestName", "(su)", WATCHER, 0)

    def register(self, _connection, sender, _path, _interface, _method, _arguments, invocation):
        self.items.append(sender)
        invocation.return_value(None)

    def call(self, path, method, *arguments):
        """What the one item answers."""
        self.desktop.wait(lambda: len(self.items) == 1, "one item in the tray", timeout=20)
        return call(self.bus, self.items[0], path, method, *arguments)

    def menu(self):
        return self.call("/MenuBar", "com.canonical.dbusmenu.GetLayout", "(iias)", 0, -1, [])[1][2]

    def choose(self, label):
        """Clicks an entry of the menu that the tray shows."""
        number = next(number for number, properties, _ in self.menu() if properties.get("label") == label)
        self.call("/MenuBar", "com.canonical.dbusmenu.Event", "(isvu)", number, "clicked", GLib.Variant("i", 0), 0)

    def end(self):
        self.bus.close_sync()


class StatusItem(CobbletCase):
    # Each case starts the trays that it says.
    DESKTOP = {"dock": None}

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        loop = GLib.MainLoop()
        thread = threading.Thread(target=loop.run)
        thread.start()
        cls.addClassCleanup(thread.join)
        cls.addClassCleanup(loop.quit)

    def start_dock(self):
        self.dock = self.desktop.start_dock("bottom", tray=True)
        self.addCleanup(self.desktop.end, self.dock)

    def icons(self, cobblet, handle=None):
        """The program's windows in an embedding tray, below a window."""
        window = Window(self.desktop, handle or self.desktop.root.handle)
        mine = window.property("_XEMBED_INFO") and window.pid() == cobblet.process.pid and window.viewable()
        found = [window] if mine and window.rect().width <= 64 else []
        for child in window.handle.query_tree().children:
            with contextlib.suppress(error.XError):
                found += self.icons(cobblet, child)
        return found

    def wait_icon(self, cobblet):
        """The place of the one icon in the dock, once it is drawn there."""
        def look():
            places = [icon.rect() for icon in self.icons(cobblet)]
            dock = self.desktop.dock()
            drawn = len(places) == 1 and dock and dock.rect().y <= places[0].y
            return drawn and colours(self.desktop.picture(places[0])) > 4 and places[0]
        return self.desktop.wait_still(look, "one icon in the dock")

    def choose(self, cobblet, key, button=1):
        """Opens the menu with a click on the icon and goes to an entry by a key."""
        icon = self.wait_icon(cobblet)
        menu = cobblet.choose(icon.x + icon.width // 2, icon.y + icon.height // 2, key, button=button)
        self.assertLessEqual(bottom(menu), icon.y, "above the icon at the bottom of the screen")
        return menu

    def test_an_embedding_tray_that_comes_late_and_is_started_again_shows_the_item_and_its_menu(self):
        self.desktop.start(["xterm", "-geometry", "30x6+20+20"])
        place = self.desktop.wait_window("XTerm").rect()
        cobblet = self.start_hidden()
        self.desktop.wait(lambda: "tray" in cobblet.messages(), "the line about the tray")
        self.start_dock()
        tones = self.desktop.picture(self.wait_icon(cobblet)).convert("L").getextrema()
        self.assertGreater(tones[1] - tones[0], 150, "it is read on the dock")
        menu = self.choose(cobblet, "Down")
        cobblet.wait_painted()
        icon = self.wait_icon(cobblet)
        self.desktop.click(icon.x + icon.width // 2, icon.y + icon.height // 2)
        self.desktop.wait(cobblet.menu, "the menu")
        self.assertTrue(self.desktop.holds(lambda: cobblet.panel() and cobblet.menu()), "the open panel stays")
        self.desktop.key("Escape")
        self.desktop.wait(lambda: not cobblet.menu(), "the menu to close")
        self.desktop.click(place.x + 30, place.y + 30)
        cobblet.wait_hidden()
        self.dock.kill()
        self.dock.wait()
        self.desktop.wait(lambda: not self.icons(cobblet), "no icon to be left on the screen")
        self.start_dock()
        self.assertEqual(self.choose(cobblet, "Up", button=3), menu, "both buttons open the menu in the same place")
        self.assertEqual(cobblet.process.wait(10), 0)
        self.assertEqual(cobblet.messages().count("The desktop has no tray"), 1, cobblet.messages())

    def test_a_status_notifier_is_preferred_gets_the_whole_menu_and_gets_it_again_when_it_comes_back(self):
        self.start_dock()
        tray = NotifierTray(self.desktop)
        cobblet = self.start_hidden()
        item = "org.kde.StatusNotifierItem"
        properties = tray.call("/StatusNotifierItem", "org.freedesktop.DBus.Properties.GetAll", "(s)", item)[0]
        self.assertEqual([properties[name] for name in ("Id", "Title", "Status")], ["Cobblet", "Cobblet", "Active"])
        self.assertIn([24, 24], [list(image[:2]) for image in properties["IconPixmap"]])
        self.assertEqual([(entry.get("label"), entry.get("shortcut")) for _, entry, _ in tray.menu()],
                         [("Groups", None), ("Settings", [["Control", ","]]), (None, None),
                          ("Quit Cobblet", [["Control", "Q"]])])
        self.assertEqual(self.icons(cobblet), [], "in one tray only")
        tray.choose("Groups")
        cobblet.wait_painted()
        tray.choose("Settings")
        cobblet.wait_hidden()
        self.desktop.wait_focus(self.desktop.wait_window("Cobblet"))
        self.desktop.key("w", "Control_L")
        self.desktop.wait_no_window("Cobblet")
        tray.call("/StatusNotifierItem", f"{item}.Activate", "(ii)", 600, 400)
        self.desktop.wait(cobblet.menu, "the menu, where the tray leaves it to the program")
        self.desktop.key("Escape")
        self.desktop.wait(lambda: not cobblet.menu(), "the menu to close")
        tray.end()
        tray = NotifierTray(self.desktop)
        tray.choose("Quit Cobblet")
        self.assertEqual(cobblet.process.wait(10), 0)
        tray.end()
