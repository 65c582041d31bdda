"""The nine key combinations: Alt+Shift and a digit, whatever program has the keyboard."""

import subprocess

from Xlib import X
from Xlib.ext import xtest

from cobblet import GROUPS
from test_requests import RequestsCase

# Keys by their place, which no layout changes.
ALT, SHIFT, DIGIT_1 = 64, 50, 10


class Hotkeys(RequestsCase):
    def setUp(self):
        super().setUp()
        self.addCleanup(self.layout, "us")
        self.layout("us")
        self.desktop.start(["xterm", "-geometry", "60x12+40+40"])
        self.terminal = self.desktop.wait_window("XTerm")
        self.desktop.wait(lambda: self.desktop.focused() == self.terminal, "the terminal to have the keyboard")

    def start_hidden(self):
        cobblet = self.start()
        cobblet.wait_painted()
        self.hide(cobblet)
        return cobblet

    def hide(self, cobblet):
        self.desktop.wait(lambda: self.desktop.focused() == cobblet.panel(), "the panel to have the keyboard")
        self.desktop.key("Escape")
        cobblet.wait_hidden()
        self.desktop.wait(lambda: self.desktop.focused() == self.terminal, "the terminal to have the keyboard again")

    def layout(self, name):
        subprocess.run(["setxkbmap", name], env=self.desktop.environment, check=True, timeout=10)

    def code(self, code, kind):
        xtest.fake_input(self.desktop.display, kind, code)
        self.desktop.display.sync()

    def tap(self, code):
        self.code(code, X.KeyPress)
        self.code(code, X.KeyRelease)

    def press(self, digit):
        for code in (ALT, SHIFT):
            self.code(code, X.KeyPress)
        self.tap(DIGIT_1 + digit - 1)
        for code in (SHIFT, ALT):
            self.code(code, X.KeyRelease)

    def wait_group(self, cobblet, digit):
        cobblet.wait_size(GROUPS[digit - 1])

    def test_a_press_shows_the_group_of_the_digit_and_changes_it_where_the_panel_is_open(self):
        cobblet = self.start_hidden()
        self.layout("fr")
        self.press(2)
        self.wait_group(cobblet, 2)
        self.hide(cobblet)
        self.press(7)  # a digit without a group shows the panel as it was
        self.wait_group(cobblet, 2)
        self.hide(cobblet)
        self.press(1)
        self.wait_group(cobblet, 1)
        panel = cobblet.wait_painted()
        self.desktop.wait(lambda: self.desktop.focused() == panel, "the panel to have the keyboard")
        self.press(2)
        self.wait_group(cobblet, 2)
        self.press(7)
        self.assertTrue(self.desktop.holds(lambda: panel.viewable() and self.desktop.focused() == panel))
        self.wait_group(cobblet, 2)
        self.hide(cobblet)

    def test_a_wayland_session_without_global_shortcuts_is_told_what_to_bind(self):
        cobblet = self.start(XDG_SESSION_TYPE="wayland", WAYLAND_DISPLAY="wayland-0", QT_QPA_PLATFORM="xcb")
        cobblet.wait_painted()
        self.desktop.wait(lambda: "cobblet show NAME" in cobblet.messages(), "the reason and the command")

    def test_a_held_combination_shows_the_panel_once_and_lets_it_take_keys(self):
        cobblet = self.start_hidden()
        for code in (ALT, SHIFT, DIGIT_1 + 1):
            self.code(code, X.KeyPress)
        self.wait_group(cobblet, 2)
        self.desktop.wait(lambda: self.desktop.focused() == cobblet.panel(), "the panel to have the keyboard")
        # Past the time after which a server repeats a held key.
        self.assertTrue(self.desktop.holds(lambda: cobblet.panel() is not None, seconds=1.0))
        self.tap(self.desktop.display.keysym_to_keycode(0xff1b))
        cobblet.wait_hidden()
        self.assertTrue(self.desktop.holds(lambda: cobblet.panel() is None, seconds=1.0), "no repetition opens it again")
        for code in (DIGIT_1 + 1, SHIFT, ALT):
            self.code(code, X.KeyRelease)
