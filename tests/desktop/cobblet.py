"""The program on a virtual desktop: a home of its own, its groups, and where things are in its panel."""

import contextlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from gi.repository import Gio, GLib

from desktop import Desktop, Rect, bottom, colours, right

HERE = pathlib.Path(__file__).resolve().parent
EXECUTABLE = os.environ.get("COBBLET", str(HERE.parents[1] / "build/dev/Cobblet.app/Contents/Helpers/cobblet"))
NAME = "com.vantor.cobblet"

# The panel's measures, in points; a point is a pixel here.
GAP, PADDING = 8, 16
SIDEBAR = 200.5
COLUMN, LAST_COLUMN = 92, 84  # with and without the space after it
ICON_CENTRE = 32
TOOL_ROW = 46

# Applications that Debian ships without a desktop entry of their own, as (identifier, name, command, WM_CLASS).
ENTRIES = [
    ("org.example.test.xcalc", "Calculator", "xcalc", "XCalc"),
    ("org.example.test.xclock", "Clock", "xclock", "XClock"),
    ("org.example.test.stubborn", "Stubborn", f'/usr/bin/python3 "{HERE / "stubborn.py"}"', "Stubborn"),
]
XTERM, XCALC, XCLOCK, GALCULATOR, STUBBORN = (
    "debian-xterm", "org.example.test.xcalc", "org.example.test.xclock", "galculator", "org.example.test.stubborn")


def group(number, name, apps, **fields):
    """A group as groups.json holds it."""
    return {"id": f"00000000-0000-4000-8000-{number:012d}", "name": name, "emoji": "🧪",
            "apps": [{"name": app.rsplit(".", 1)[-1], "bundleID": app} for app in apps], **fields}


# Clicked in this order by the tests. Each has a width of its own, by which it is known on the screen.
TOOLS = group(1, "Tools", [XTERM, XCALC, XCLOCK, GALCULATOR], popupColumns=3)
OTHERS = group(2, "Others", [STUBBORN, XCALC], popupColumns=6, popupMaxRows=2)
GROUPS = [TOOLS, OTHERS]


def bus(environment):
    """A connection of its own to a desktop's bus."""
    kind = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
    return Gio.DBusConnection.new_for_address_sync(environment["DBUS_SESSION_BUS_ADDRESS"], kind, None, None)


def call(connection, service, path, method, signature="()", *arguments):
    """What a program on the bus answers."""
    interface, member = method.rsplit(".", 1)
    return connection.call_sync(service, path, interface, member, GLib.Variant(signature, arguments), None,
                                Gio.DBusCallFlags.NONE, 20_000, None).unpack()


def panels(desktop, instance="cobblet"):
    """The panels on the screen, of a program that calls its windows so."""
    kind = [desktop.atom("_NET_WM_WINDOW_TYPE_UTILITY")]
    return [window for window in desktop.windows()
            if window.instance == instance and window.viewable() and window.rect().width >= 380
            and window.property("_NET_WM_WINDOW_TYPE")[:1] == kind]


class Home:
    """A person's home folder."""

    def __init__(self, groups):
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="home-"))
        self.support = self.path / ".local/share/Cobblet"
        self.groups_file = self.support / "groups.json"
        self.support.mkdir(parents=True)
        self.write(groups)
        entries = self.path / ".local/share/applications"
        entries.mkdir()
        for identifier, name, command, window_class in ENTRIES:
            (entries / f"{identifier}.desktop").write_text(
                f"[Desktop Entry]\nType=Application\nName={name}\nExec={command}\nStartupWMClass={window_class}\n",
                encoding="utf-8")

    def write(self, groups):
        written = self.groups_file.with_suffix(".written")
        written.write_text(json.dumps(groups, ensure_ascii=False), encoding="utf-8")
        written.replace(self.groups_file)

    def read(self):
        return json.loads(self.groups_file.read_text(encoding="utf-8"))

    def environment(self):
        folders = {"DATA": ".local/share", "CONFIG": ".config", "CACHE": ".cache", "STATE": ".local/state"}
        return {"HOME": str(self.path), "XDG_DATA_DIRS": "/usr/local/share:/usr/share",
                **{f"XDG_{kind}_HOME": str(self.path / folder) for kind, folder in folders.items()}}

    def remove(self):
        shutil.rmtree(self.path, ignore_errors=True)


class Cobblet:
    """A running program. What `environment` holds comes before the desktop's."""

    def __init__(self, desktop, environment, command=(EXECUTABLE,)):
        self.desktop = desktop
        self.log = pathlib.Path(tempfile.mkstemp(prefix="cobblet-", suffix=".log", dir=desktop.folder)[1])
        self.environment = {**desktop.environment, **environment}
        self.process = desktop.start(list(command), log=self.log, environment=self.environment, cwd="/")

    def messages(self):
        return self.log.read_text(encoding="utf-8", errors="replace")

    def end(self):
        self.desktop.end(self.process)

    def reopen(self):
        """The request that a second start makes, without the time that a start takes."""
        call(bus(self.environment), NAME, "/" + NAME.replace(".", "/"), "org.freedesktop.Application.Activate",
             "(a{sv})", {})

    # The panel

    def panel(self):
        """The panel's window while it can be seen."""
        return next(iter(panels(self.desktop)), None)

    def wait_panel(self):
        def there():
            if self.process.poll() is not None:
                raise AssertionError(f"the program ended with {self.process.returncode}:\n{self.messages()}")
            return self.panel()
        return self.desktop.wait(there, "the panel")

    def wait_hidden(self):
        self.desktop.wait(lambda: self.panel() is None, "the panel to be hidden")

    def wait_painted(self):
        """The panel with its contents, once nothing in it moves any more."""
        panel = self.wait_panel()

        def look():
            picture = self.desktop.picture(panel.rect())
            return colours(picture) > 24 and (panel.rect(), picture)
        self.desktop.wait_still(look, "the panel's picture")
        return panel

    def show(self, digit=None):
        """Opens the panel as a person does who starts the program again, with the pointer out of its way, and
        selects the group of a digit."""
        self.desktop.move(2, 2)
        if not self.panel():
            subprocess.run([EXECUTABLE], env=self.environment, cwd="/", timeout=10, check=True)
        panel = self.wait_painted()
        if digit:
            self.desktop.key(str(digit), "Control_L")
            self.wait_group(GROUPS[digit - 1])
            self.wait_painted()
        return panel

    def hide(self):
        self.desktop.wait_focus(self.wait_panel())
        self.desktop.key("Escape")
        self.wait_hidden()

    def wait_group(self, record):
        """Waits for the panel to have the width that a group asks for."""
        width = SIDEBAR + 2 * PADDING + (record["popupColumns"] - 1) * COLUMN + LAST_COLUMN
        self.desktop.wait(lambda: abs(self.wait_panel().rect().width - width) <= 1, f"the group {record['name']}")

    def cell(self, index):
        """The middle of the icon of an application in the first row."""
        panel = self.panel().rect()
        return round(panel.x + SIDEBAR + PADDING + index * COLUMN + LAST_COLUMN / 2), panel.y + PADDING + ICON_CENTRE

    def menu(self):
        """The window of an open menu."""
        return next((window for window in self.desktop.windows() if window.pid() == self.process.pid
                     and window.viewable() and window.rect().width < 380 and window.rect().height > 64), None)

    def choose(self, x, y, *keys, button=1):
        """Opens the menu of what is at a place and goes to an entry by these keys. Where the menu was."""
        self.desktop.click(x, y, button)
        area = self.desktop.wait(self.menu, "the menu").rect()
        for key in (*keys, "Return"):
            self.desktop.key(key)
        return area

    def tool_buttons(self, window=None):
        """The rectangles of what is drawn in the tool row, from left to right: symbol and label together."""
        panel = (window or self.panel()).rect()
        left = round(panel.x + SIDEBAR) + 4
        row = Rect(left, bottom(panel) - TOOL_ROW + 6, right(panel) - 6 - left, TOOL_ROW - 12)
        picture = self.desktop.picture(row)
        runs = []
        for x in range(row.width):
            if colours(picture.crop((x, 0, x + 1, row.height))) > 1:
                # Between two buttons lies the padding of both, 20 points; between symbol and label much less.
                if not runs or x - runs[-1][1] >= 14:
                    runs.append([x, x])
                runs[-1][1] = x
        return [Rect(row.x + start, row.y, end - start + 1, row.height) for start, end in runs]

    def click_tool(self, index):
        button = self.tool_buttons()[index]
        self.desktop.click(button.x + button.width // 2, button.y + button.height // 2)


@contextlib.contextmanager
def running(groups, desktop, **environment):
    """The program on a desktop of its own, its first panel painted."""
    home = Home(groups)
    try:
        with desktop:
            cobblet = Cobblet(desktop, {**home.environment(), **environment})
            cobblet.wait_painted()
            yield cobblet
    finally:
        home.remove()


class CobbletCase(unittest.TestCase):
    """A test on one desktop per class, with a fresh home and a fresh program each."""

    DESKTOP = {}
    GROUPS = GROUPS

    @classmethod
    def setUpClass(cls):
        cls.desktop = cls.enterClassContext(Desktop(**cls.DESKTOP))

    def setUp(self):
        self.addCleanup(self.desktop.close_applications)
        self.desktop.move(2, 2)
        self.home = Home(self.GROUPS)
        self.addCleanup(self.home.remove)

    def start(self, *arguments, **environment):
        cobblet = Cobblet(self.desktop, {**self.home.environment(), **environment}, (EXECUTABLE, *arguments))
        self.addCleanup(self.finish, cobblet)
        return cobblet

    def start_hidden(self):
        """The program, its first panel put away."""
        cobblet = self.start()
        cobblet.wait_painted()
        cobblet.hide()
        return cobblet

    def finish(self, cobblet):
        """Ends the program, which must not have had trouble with its own views."""
        cobblet.end()
        self.assertEqual(re.findall(r".*(?:qrc:|ASSERT|QObject::|QWidget|QPainter).*", cobblet.messages()), [])

    def run_here(self, *command):
        """Status, output and errors of a program."""
        done = subprocess.run(command, env={**self.desktop.environment, **self.home.environment()}, cwd="/", timeout=60,
                              stdin=subprocess.DEVNULL, capture_output=True, check=False)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def ask(self, *arguments):
        return self.run_here(EXECUTABLE, *arguments)
