"""The settings window: how it is opened, and what it does to the rest of the desktop. Its controls are found as
assistive tools find them."""

import collections
import json
import subprocess
import sys
import threading

from gi.repository import GLib

import test_status_item
from cobblet import GROUPS, NAME, OTHERS, TOOLS, XCALC, CobbletCase, bus, call, group
from desktop import HERE, Rect, bottom, colours
from test_hotkeys import ALT, DIGIT_1, SHIFT

TITLE = "Cobblet Settings"
Control = collections.namedtuple("Control", "window role name description states place actions")


class SettingsCase(CobbletCase):
    def start(self, *arguments, **environment):
        return super().start(*arguments, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", **environment)

    def find(self, cobblet):
        """The settings window while it can be seen."""
        return next((window for window in self.desktop.windows() if window.pid() == cobblet.process.pid and
                     window.viewable() and bytes(window.property("_NET_WM_NAME")).decode() == TITLE), None)

    def wait_settings(self, cobblet):
        """The window, once it has the keyboard and shows something."""
        def look():
            window = self.find(cobblet)
            return window and window == self.desktop.focused() and colours(self.desktop.picture(window.rect())) > 24
        self.desktop.wait(look, "the settings window, with the focus")
        return self.find(cobblet)

    def open(self, cobblet):
        self.assertEqual(self.ask("settings"), (0, "", ""))
        return self.wait_settings(cobblet)

    def close(self, cobblet):
        """Closes the window with its key; the program stays."""
        self.desktop.key("w", "Control_L")
        self.desktop.wait(lambda: not self.find(cobblet), "the settings window to be closed")
        self.assertIsNone(cobblet.process.poll())

    def accessible(self, cobblet, *name):
        return subprocess.run([sys.executable, HERE / "accessible.py", str(cobblet.process.pid), *name], timeout=60,
                              env=self.desktop.environment, check=True, capture_output=True, text=True).stdout

    def controls(self, cobblet, window=TITLE):
        """The controls of the window with this title; without one, of all windows."""
        return [control for fields in json.loads(self.accessible(cobblet))
                if (control := Control(*fields)).window == window or window is None]

    def wait_control(self, cobblet, name, window=TITLE, state="showing"):
        """The control of this name, once it is in this state."""
        def look():
            return next((control for control in self.controls(cobblet, window)
                         if control.name == name and state in control.states and control.actions), None)
        return self.desktop.wait(look, f"“{name}” to be {state}", timeout=20)

    def press(self, cobblet, name, window=TITLE):
        """Presses a control as an assistive tool does, which leaves the focus where it is."""
        self.wait_control(cobblet, name, window)
        self.accessible(cobblet, name)

    def click(self, cobblet, name, window=TITLE):
        x, y, width, height = self.wait_control(cobblet, name, window).place
        self.desktop.click(x + width // 2, y + height // 2)


class Opening(SettingsCase):
    def setUp(self):
        super().setUp()
        loop = GLib.MainLoop()
        thread = threading.Thread(target=loop.run)
        thread.start()
        self.addCleanup(thread.join)
        self.addCleanup(loop.quit)
        self.tray = test_status_item.NotifierTray(self.desktop)
        self.addCleanup(self.tray.end)

    def test_every_way_in_gives_an_ordinary_window_with_the_keyboard_and_puts_the_panel_away(self):
        cobblet = self.start()
        ways = {
            "the button": lambda: self.click(cobblet, "Settings", "Cobblet"),
            "its key": lambda: self.desktop.key("comma", "Control_L"),
            "the tray": lambda: self.tray.choose("Settings"),
            "the command": lambda: self.ask("settings"),
            "the desktop's menus": lambda: call(bus(cobblet.environment), NAME, "/" + NAME.replace(".", "/"),
                                                "org.freedesktop.Application.ActivateAction", "(sava{sv})", "settings",
                                                [], {})}
        for way, enter in ways.items():
            self.desktop.wait_focus(cobblet.show())
            enter()
            window = self.wait_settings(cobblet)
            cobblet.wait_hidden()
            self.assertTrue(self.desktop.holds(lambda window=window: self.desktop.focused() == window), way)
            self.assertEqual(window.property("_NET_WM_WINDOW_TYPE")[0],
                             self.desktop.atom("_NET_WM_WINDOW_TYPE_NORMAL"))
            states = window.property("_NET_WM_STATE")
            self.assertNotIn(self.desktop.atom("_NET_WM_STATE_SKIP_TASKBAR"), states)
            self.assertEqual((window.instance, window.name), ("cobblet", "Cobblet"))
            for key in ("Escape", "2"):
                self.desktop.key(key, *(["Control_L"] if key == "2" else []))
            cobblet.reopen()
            self.assertTrue(self.desktop.holds(lambda: self.find(cobblet) and not cobblet.panel()),
                            "the panel's keys are not its own, and a reopen brings it forward")
            self.close(cobblet)

    def test_the_command_starts_the_program_with_the_window_alone(self):
        cobblet = self.start("settings")
        self.wait_settings(cobblet)
        self.assertTrue(self.desktop.holds(lambda: not cobblet.panel()))
        self.close(cobblet)
        cobblet.show()


class Pages(SettingsCase):
    GROUPS = [*GROUPS, group(3, "Plain", [XCALC])]

    def open_page(self, cobblet, page):
        self.open(cobblet)
        self.click(cobblet, page)
        self.desktop.wait(lambda: any(control.name == page and control.role == "heading" for control in self.controls(cobblet)),
                          f"the page “{page}”")

    def choose(self, cobblet, picker, typed):
        """Opens the choices of a control, types what one begins with, and takes it."""
        self.click(cobblet, picker)
        self.desktop.wait(cobblet.menu, "the choices")
        for key in (*typed, "Return"):
            self.desktop.key(key)
        self.desktop.wait(lambda: self.wait_control(cobblet, picker).description.lower().startswith(typed), "the choice")

    def show_group(self, cobblet, digit, record):
        self.desktop.key(DIGIT_1 + digit - 1, ALT, SHIFT)
        cobblet.wait_group(record)
        return cobblet.wait_painted()

    def test_the_theme_and_the_popups_layout_act_on_the_open_panel(self):
        cobblet = self.start_hidden()
        self.open_page(cobblet, "Theme")
        panel = self.show_group(cobblet, 1, TOOLS)

        def tone():
            place = panel.rect()
            return sum(self.desktop.picture(Rect(place.x + 20, bottom(place) - 20, 1, 1)).getpixel((0, 0))) / 3
        for theme, reached in (("Dark", lambda: tone() < 90), ("Light", lambda: tone() > 160)):
            self.press(cobblet, theme)
            self.desktop.wait(reached, f"the panel to be {theme}")
            self.wait_control(cobblet, theme, state="checked")
        self.assertEqual(panel, cobblet.panel(), "it stayed open")

        self.open_page(cobblet, "Popup")
        height = self.show_group(cobblet, 1, TOOLS).rect().height
        self.press(cobblet, "Show app names")
        self.desktop.wait(lambda: panel.rect().height < height, "the panel without names to be lower")
        self.open(cobblet)
        self.choose(cobblet, "Columns", "5")
        self.show_group(cobblet, 3, {**OTHERS, "popupColumns": 5})

    def test_a_digit_is_assigned_and_pressed(self):
        cobblet = self.start_hidden()
        self.open_page(cobblet, "Keyboard Shortcuts")
        self.choose(cobblet, "⌥⇧7", "oth")
        self.close(cobblet)
        self.show_group(cobblet, 7, OTHERS)

    def test_every_control_of_every_page_has_a_role_and_a_name(self):
        cobblet = self.start_hidden()
        for page in ("Theme", "Popup", "Keyboard Shortcuts", "Siri"):
            self.open_page(cobblet, page)
            controls = [control for control in self.controls(cobblet) if "focusable" in control.states or control.actions]
            self.assertGreater(len(controls), 8)
            for control in controls:
                self.assertTrue(control.name.strip() and control.role not in ("", "unknown"), control)
                self.assertTrue(control.role in ("label", "list", "text", "split pane", "separator") or
                                "Press" in control.actions, control)


class Sidebar(SettingsCase):
    GROUPS = [group(number, name, [XCALC]) for number, name in enumerate(("One", "Two", "Three", "Four"), 1)]

    def wait_stored(self, *names):
        self.desktop.wait(lambda: [each["name"] for each in self.home.read()] == list(names), f"the groups {names}")

    def order(self, cobblet):
        """The groups' rows, from top to bottom."""
        names = {each["name"] for each in self.GROUPS}
        rows = [control for control in self.controls(cobblet) if control.name in names and control.role == "list item"]
        return [row.name for row in sorted(rows, key=lambda row: row.place[1])]

    def wait_order(self, cobblet, *names):
        self.desktop.wait(lambda: self.order(cobblet) == list(names), f"the rows {names}", timeout=20)

    def test_groups_are_put_in_order_by_dragging_and_by_keys(self):
        cobblet = self.start_hidden()
        self.open(cobblet)
        places = {name: self.wait_control(cobblet, name).place for name in ("One", "Three")}
        middle = {name: (x + width // 2, y + height // 2) for name, (x, y, width, height) in places.items()}
        for cancelled in (True, False):
            self.desktop.move(*middle["One"])
            with self.desktop.pressing():
                x, y = middle["Three"]
                for at in (middle["One"][1] + 20, y - 10, y):
                    self.desktop.move(x, at)
                self.wait_order(cobblet, "Two", "Three", "One", "Four")
                if cancelled:
                    self.desktop.key("Escape")
                    self.wait_order(cobblet, "One", "Two", "Three", "Four")
            self.assertEqual(self.order(cobblet)[0], "One" if cancelled else "Two")
        self.wait_stored("Two", "Three", "One", "Four")

        self.click(cobblet, "Four")
        self.desktop.key("Up", "Shift_L", "Control_L")
        self.wait_stored("Two", "Three", "Four", "One")
        self.desktop.key("Up")
        self.desktop.key("Down", "Shift_L", "Control_L")
        self.wait_stored("Two", "Four", "Three", "One")

    def test_a_group_is_added_deleted_and_brought_back(self):
        cobblet = self.start_hidden()
        self.open(cobblet)
        self.press(cobblet, "Add Group")
        self.wait_control(cobblet, "Cancel", "New Group")
        for key in "new":
            self.desktop.key(key)
        self.desktop.key("Return")
        self.wait_stored("One", "Two", "Three", "Four", "new")
        added = self.home.read()[-1]

        self.click(cobblet, "Two")
        self.press(cobblet, "new")  # its row may still be moving to its place
        self.desktop.key("Delete")
        self.wait_control(cobblet, "Cancel", None, "focused")  # the question is in its place
        self.click(cobblet, "Delete", None)
        self.wait_stored("One", "Two", "Three", "Four")
        self.click(cobblet, "Theme")
        self.click(cobblet, "Undo")
        self.wait_stored("One", "Two", "Three", "Four", "new")
        self.assertEqual(self.home.read()[-1], added)

    def test_the_search_leads_to_a_setting_and_lights_it(self):
        cobblet = self.start_hidden()
        window = self.open(cobblet)
        self.desktop.key("f", "Control_L")
        for key in "frost":
            self.desktop.key(key)
        self.wait_control(cobblet, "Glassy style")
        before = self.desktop.picture(window.rect())
        self.desktop.key("Return")
        switch = self.wait_control(cobblet, "Glassy style", state="focused")
        self.assertNotEqual(switch.role, "list item")
        self.assertNotEqual(self.desktop.picture(window.rect()), before)
