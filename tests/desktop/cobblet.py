"""The program on a virtual desktop: a home of its own, its groups, and where things are in its panel."""

import json
import os
import pathlib
import plistlib
import re
import shutil
import signal
import subprocess
import tempfile
import unittest

from Xlib import X

from desktop import Desktop, Rect, bottom, right

HERE = pathlib.Path(__file__).resolve().parent
EXECUTABLE = os.environ.get("COBBLET", str(HERE.parents[1] / "build/dev/Cobblet.app/Contents/Helpers/cobblet"))

# The panel's measures, in points; a point is a pixel here.
GAP = 8
SIDEBAR = 200.5
PADDING = 16
CELL = 84
COLUMN_SPACING = 8
ROW_SPACING = 18
ROW_HEIGHT = 103
ICON = 48
ICON_CENTRE = 8 + ICON / 2
TOOL_ROW = 46
MENU_ENTRY = 24

# Applications that Debian ships without a desktop entry of their own, as (identifier, name, command, WM_CLASS).
ENTRIES = [
    ("org.example.test.xcalc", "Calculator", "xcalc", "XCalc"),
    ("org.example.test.xclock", "Clock", "xclock", "XClock"),
    ("org.example.test.xeyes", "Eyes", "xeyes", "XEyes"),
    ("org.example.test.stubborn", "Stubborn", f'/usr/bin/python3 "{HERE / "stubborn.py"}"', "Stubborn"),
]
XTERM, XCALC, XCLOCK, GALCULATOR, STUBBORN = (
    "debian-xterm", "org.example.test.xcalc", "org.example.test.xclock", "galculator", "org.example.test.stubborn")


def group(number, name, apps, **fields):
    """A group as groups.json holds it."""
    return {"id": f"00000000-0000-4000-8000-{number:012d}", "name": name, "emoji": "🧪",
            "apps": [{"name": app.rsplit(".", 1)[-1], "bundleID": app} for app in apps], **fields}


# Clicked in this order by the tests; three columns make the panel exactly as wide as its cells.
TOOLS = group(1, "Tools", [XTERM, XCALC, XCLOCK, GALCULATOR], popupColumns=3)
OTHERS = group(2, "Others", [STUBBORN, XCALC], popupColumns=6, popupMaxRows=2)
GROUPS = [TOOLS, OTHERS]


class Home:
    """A person's home folder."""

    def __init__(self, groups=GROUPS):
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="home-"))
        self.support = self.path / ".local/share/Cobblet"
        self.groups_file = self.support / "groups.json"
        self.support.mkdir(parents=True)
        if groups is not None:
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

    def environment(self):
        return {"HOME": str(self.path), "XDG_DATA_HOME": str(self.path / ".local/share"),
                "XDG_CONFIG_HOME": str(self.path / ".config"), "XDG_CACHE_HOME": str(self.path / ".cache"),
                "XDG_STATE_HOME": str(self.path / ".local/state"), "XDG_DATA_DIRS": "/usr/local/share:/usr/share"}

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

    def running(self):
        return self.process.poll() is None

    def end(self):
        self.desktop.end(self.process)

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()

    def start_again(self):
        """A second start: its exit code."""
        return subprocess.run([EXECUTABLE], env=self.environment, stdin=subprocess.DEVNULL, cwd="/",
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=10, check=False).returncode

    def reopen(self):
        """The request that a second start makes, without the time that a start takes."""
        information = pathlib.Path(EXECUTABLE).parents[1] / "Info.plist"
        name = plistlib.loads(information.read_bytes())["CFBundleIdentifier"]
        path = "/" + name.replace(".", "/").replace("-", "_")
        subprocess.run(["gdbus", "call", "--session", "--dest", name, "--object-path", path, "--method",
                        "org.freedesktop.Application.Activate", "{}"], env=self.environment, check=True, timeout=10,
                       stdout=subprocess.DEVNULL)

    # The panel

    def panel(self):
        """The panel's window while it can be seen."""
        mine = [window for window in self.desktop.windows()
                if window.pid() == self.process.pid and window.viewable() and window.rect().width >= 380]
        return mine[0] if mine else None

    def wait_panel(self, timeout=15.0):
        def there():
            if not self.running():
                raise AssertionError(f"the program ended with {self.process.returncode}:\n{self.messages()}")
            return self.panel()
        return self.desktop.wait(there, "the panel", timeout)

    def wait_hidden(self):
        self.desktop.wait(lambda: self.panel() is None, "the panel to be hidden")

    def wait_painted(self):
        """The panel with its contents, once nothing in it moves any more."""
        panel = self.wait_panel()
        last = [None, 0]

        def still():
            rect = panel.rect()
            picture = self.desktop.picture(rect)
            same = last[0] is not None and last[0].rect == rect and last[0].data == picture.data
            last[:] = picture, last[1] + 1 if same else 0
            return last[1] >= 4 and picture.colours() > 24
        self.desktop.wait(still, "the panel to be painted and still")
        return panel

    def show(self):
        """Opens the panel as a person does who starts the program again, with the pointer out of its way."""
        self.desktop.move(2, 2)
        if not self.panel():
            self.start_again()
        return self.wait_painted()

    def select(self, digit):
        """Selects the group of a digit and waits for the panel to have the size that the group asks for."""
        self.desktop.key(str(digit), "Control_L")
        self.wait_size(GROUPS[digit - 1])
        return self.wait_painted()

    def wait_size(self, record):
        """Waits for the panel to have the size that a group asks for."""
        width, height = desired_size(record)

        def sized():
            rect = self.wait_panel().rect()
            return abs(rect.width - width) <= 1 and abs(rect.height - height) <= 1
        self.desktop.wait(sized, f"the panel to show {record['name']}")

    def cell(self, index, columns=3):
        """The middle of the icon of the application at an index."""
        panel = self.panel().rect()
        row, column = divmod(index, columns)
        return (round(panel.x + SIDEBAR + PADDING + column * (CELL + COLUMN_SPACING) + CELL / 2),
                round(panel.y + PADDING + row * (ROW_HEIGHT + ROW_SPACING) + ICON_CENTRE))

    def click_cell(self, index, columns=3):
        self.desktop.click(*self.cell(index, columns))

    def choose_last_in_menu(self, index, columns=3):
        """Opens the context menu of the application at an index and clicks its last entry."""
        before = {window.id for window in self.mapped()}
        self.desktop.click(*self.cell(index, columns), button=3)
        menu = self.desktop.wait(
            lambda: next((window for window in self.mapped() if window.id not in before), None), "the menu")
        area = menu.get_geometry()
        self.desktop.click(area.x + area.width // 2, area.y + area.height - MENU_ENTRY // 2)

    def mapped(self):
        """Every window of the top level that is on screen, menus too."""
        return [child for child in self.desktop.root.query_tree().children
                if child.get_attributes().map_state == X.IsViewable]

    def below_icon(self, index, columns=3):
        """The strip under an icon in which the running dot is drawn: above the name, as wide as the cell."""
        x, y = self.cell(index, columns)
        return Rect(x - 20, y + ICON // 2, 40, 10)

    def tool_buttons(self, window=None):
        """The rectangles of what is drawn in the tool row, from left to right: symbol and label together."""
        panel = (window or self.panel()).rect()
        left = round(panel.x + SIDEBAR) + 4
        row = Rect(left, bottom(panel) - TOOL_ROW + 6, right(panel) - 6 - left, TOOL_ROW - 12)
        picture = self.desktop.picture(row)
        background = picture.pixel(row.x, row.y)
        drawn = [x for x in range(row.x, right(row))
                 if any(picture.pixel(x, y) != background for y in range(row.y, bottom(row)))]
        runs = []
        for x in drawn:
            # Between two buttons lies the padding of both, 20 points; between symbol and label much less.
            if runs and x - runs[-1][1] < 14:
                runs[-1][1] = x
            else:
                runs.append([x, x])
        return [Rect(start, row.y, end - start + 1, row.height) for start, end in runs]

    def click_tool(self, index):
        button = self.tool_buttons()[index]
        self.desktop.click(button.x + button.width // 2, button.y + button.height // 2)


def desired_size(record):
    """The size in points that the panel takes for a group with a fixed number of columns."""
    columns, count = record["popupColumns"], len(record["apps"])
    rows = -(-(count + 1) // columns)
    if record.get("popupMaxRows"):
        rows = min(rows, record["popupMaxRows"])
    width = columns * CELL + (columns - 1) * COLUMN_SPACING + 2 * PADDING + SIDEBAR
    height = rows * ROW_HEIGHT + (rows - 1) * ROW_SPACING + 2 * PADDING + (TOOL_ROW + 0.5 if count else 0)
    return max(width, 380), max(height, 300)


class CobbletCase(unittest.TestCase):
    """A test on one desktop per class, with a fresh home and a fresh program each."""

    DESKTOP = {}

    @classmethod
    def setUpClass(cls):
        cls.desktop = cls.enterClassContext(Desktop(**cls.DESKTOP))

    def setUp(self):
        self.addCleanup(self.desktop.close_applications)
        self.desktop.move(2, 2)
        self.home = Home()
        self.addCleanup(self.home.remove)

    def start(self, **environment):
        cobblet = Cobblet(self.desktop, {**self.home.environment(), **environment})
        self.addCleanup(self.finish, cobblet)
        return cobblet

    def finish(self, cobblet):
        """Ends the program, which must not have had trouble with its own views."""
        if self.desktop.end(cobblet.process):
            trouble = re.findall(r".*(?:qrc:|ASSERT|QObject::|QWidget|QPainter).*", cobblet.messages())
            self.assertEqual(trouble, [])
