"""The item in the tray: in trays of both kinds, in whichever order they come and go, and what its menu does."""

import contextlib
import json
import pathlib
import shutil
import signal
import subprocess

from Xlib import error

from cobblet import CobbletCase
from desktop import Rect

HERE = pathlib.Path(__file__).resolve().parent


class NotifierTray:
    """A tray of the status-notifier kind, run as a program of its own."""

    def __init__(self, desktop):
        self.desktop = desktop
        self.state = desktop.folder / "tray.json"
        self.state.unlink(missing_ok=True)
        self.process = desktop.start(["/usr/bin/python3", str(HERE / "tray_host.py"), str(self.state)],
                                     log=desktop.folder / "tray.log")
        desktop.wait(self.state.exists, "the tray", timeout=20)

    def items(self):
        return json.loads(self.state.read_text(encoding="utf-8"))

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()

    def item(self):
        """The one item, once there is one and no other."""
        self.desktop.wait(lambda: len(self.items()) == 1, "one item in the tray", timeout=20)
        return self.items()[0]

    def call(self, path, method, *arguments):
        subprocess.run(["gdbus", "call", "--session", "--dest", self.item()["service"], "--object-path", path,
                        "--method", method, *arguments], env=self.desktop.environment, check=True, timeout=10,
                       stdout=subprocess.DEVNULL)

    def choose(self, label):
        """Clicks an entry of the menu that the tray shows."""
        number = next(entry["id"] for entry in self.item()["menu"] if entry["label"] == label)
        self.call("/MenuBar", "com.canonical.dbusmenu.Event", str(number), "clicked", "<0>", "0")

    def click(self):
        self.call("/StatusNotifierItem", "org.kde.StatusNotifierItem.Activate", "600", "400")


class StatusItem(CobbletCase):
    # Each case starts the trays that it says.
    DESKTOP = {"dock": None}

    def start_dock(self):
        self.dock = self.desktop.start_dock("bottom", tray=True)
        self.addCleanup(self.desktop.end, self.dock)

    def stop_dock(self, how=signal.SIGKILL):
        self.dock.send_signal(how)
        self.dock.wait()
        self.desktop.wait(lambda: self.desktop.dock() is None, "the dock to be gone")

    def start_notifier(self):
        tray = NotifierTray(self.desktop)
        self.addCleanup(self.desktop.end, tray.process)
        return tray

    def start_hidden(self):
        """The program, its first panel put away."""
        cobblet = self.start()
        cobblet.wait_painted()
        self.desktop.key("Escape")
        cobblet.wait_hidden()
        return cobblet

    def icons(self, cobblet):
        """Where the program's windows in an embedding tray are."""
        found = []

        def search(window):
            with contextlib.suppress(error.XError):
                size = window.get_geometry()
                embedded = window.get_full_property(self.desktop.atom("_XEMBED_INFO"), 0)
                pid = window.get_full_property(self.desktop.atom("_NET_WM_PID"), 0)
                if embedded and pid and pid.value[0] == cobblet.process.pid and max(size.width, size.height) <= 64:
                    origin = self.desktop.root.translate_coords(window, 0, 0)
                    if window.get_attributes().map_state == 2:
                        found.append(Rect(origin.x, origin.y, size.width, size.height))
                for child in window.query_tree().children:
                    search(child)
        search(self.desktop.root)
        return found

    def wait_icon(self, cobblet):
        """The place of the one icon in the dock, once it is drawn there."""
        def drawn():
            icons = self.icons(cobblet)
            dock = self.desktop.dock()
            if len(icons) != 1 or not dock or not dock.rect().y <= icons[0].y:
                return None
            return icons[0] if self.desktop.picture(icons[0]).colours() > 4 else None
        return self.desktop.wait(drawn, "one icon in the dock", timeout=20)

    def menu(self, cobblet):
        """The menu's window while it can be seen."""
        return next((window for window in self.desktop.windows()
                     if window.pid() == cobblet.process.pid and window.viewable() and window.rect().width < 380
                     and window.rect().height > 64), None)

    def choose(self, cobblet, *keys):
        """Opens the menu with a click on the icon and goes to an entry by these keys."""
        icon = self.wait_icon(cobblet)
        self.desktop.click(icon.x + icon.width // 2, icon.y + icon.height // 2)
        menu = self.desktop.wait(lambda: self.menu(cobblet), "the menu").rect()
        self.assertLessEqual(menu.y + menu.height, icon.y, "above the icon at the bottom of the screen")
        for key in (*keys, "Return"):
            self.desktop.key(key)

    def test_an_embedding_tray_that_comes_late_and_is_started_again_shows_the_item_and_its_menu(self):
        cobblet = self.start_hidden()
        self.desktop.wait(lambda: "tray" in cobblet.messages(), "the line about the tray")
        for how in (signal.SIGKILL, signal.SIGTERM):
            self.start_dock()
            tones = self.desktop.picture(self.wait_icon(cobblet)).image.convert("L").getextrema()
            self.assertGreater(tones[1] - tones[0], 150, "it is read on the dock")
            self.choose(cobblet, "Down")
            cobblet.wait_painted()
            self.desktop.key("Escape")
            cobblet.wait_hidden()
            self.stop_dock(how)
            self.desktop.wait(lambda: not self.icons(cobblet), "no icon to be left on the screen")
        self.start_dock()
        self.choose(cobblet, "Up")
        self.assertEqual(cobblet.process.wait(10), 0)
        self.assertEqual(sum("tray" in line for line in cobblet.messages().splitlines()), 1, cobblet.messages())

    def test_a_status_notifier_gets_the_item_with_the_whole_menu_and_a_name_for_the_icon(self):
        icons = self.home.path / ".local/share/icons/hicolor/symbolic/apps"
        icons.mkdir(parents=True)
        shutil.copy(HERE.parents[1] / "resources/StatusIcon.svg", icons / "com.vantor.cobblet-symbolic.svg")
        tray = self.start_notifier()
        cobblet = self.start_hidden()
        item = tray.item()
        properties = item["properties"]
        self.assertEqual([properties[name] for name in ("Id", "Title", "Status", "IconName")],
                         ["Cobblet", "Cobblet", "Active", "com.vantor.cobblet-symbolic"])
        self.assertIn([24, 24], properties["IconPixmap"], "for bars that do not find the name")
        self.assertEqual([(entry["label"], entry["separator"], entry["icon"], entry["shortcut"])
                          for entry in item["menu"]],
                         [("Groups", False, True, []), ("Settings", False, True, [["Control", ","]]),
                          ("", True, False, []), ("Quit Cobblet", False, False, [["Control", "Q"]])])
        tray.choose("Groups")
        cobblet.wait_painted()
        tray.choose("Settings")
        cobblet.wait_hidden()
        tray.click()
        self.desktop.wait(lambda: self.menu(cobblet), "the menu, where the tray leaves it to the program")
        self.desktop.key("Escape")
        self.desktop.wait(lambda: not self.menu(cobblet), "the menu to close")

    def test_the_item_is_in_the_status_notifier_where_there_are_both_and_comes_back_with_it(self):
        self.start_dock()
        tray = self.start_notifier()
        cobblet = self.start_hidden()
        for _ in range(2):
            tray.choose("Groups")
            cobblet.wait_painted()
            self.assertEqual(self.icons(cobblet), [])
            tray.kill()
            tray = self.start_notifier()
        tray.choose("Quit Cobblet")
        self.assertEqual(cobblet.process.wait(10), 0)
