"""The nine key combinations: Alt+Shift and a digit, whatever program has the keyboard."""

import subprocess

from cobblet import OTHERS, TOOLS, CobbletCase

# Keys by their place, which no layout changes.
ALT, SHIFT, DIGIT_1 = 64, 50, 10


class Hotkeys(CobbletCase):
    def setUp(self):
        super().setUp()
        self.addCleanup(self.layout, "us")
        self.layout("us")
        self.desktop.start(["xterm", "-geometry", "60x12+40+40"])
        self.terminal = self.desktop.wait_window("XTerm")
        self.desktop.wait_focus(self.terminal)

    def layout(self, name):
        subprocess.run(["setxkbmap", name], env=self.desktop.environment, check=True, timeout=10)

    def press(self, digit):
        self.desktop.key(DIGIT_1 + digit - 1, ALT, SHIFT)

    def test_a_press_shows_the_group_of_the_digit_and_changes_it_where_the_panel_is_open(self):
        cobblet = self.start_hidden()
        self.layout("fr")
        for digit, group in ((2, OTHERS), (7, OTHERS), (1, TOOLS)):  # a digit without a group changes nothing
            self.desktop.wait_focus(self.terminal)
            self.press(digit)
            cobblet.wait_group(group)
            cobblet.hide()
        self.press(1)
        panel = cobblet.wait_painted()
        self.desktop.wait_focus(panel)
        self.press(2)
        cobblet.wait_group(OTHERS)
        self.press(7)
        self.assertTrue(self.desktop.holds(lambda: panel.viewable() and self.desktop.focused() == panel))
        cobblet.wait_group(OTHERS)

    def test_a_wayland_session_without_global_shortcuts_is_told_what_to_bind(self):
        cobblet = self.start(XDG_SESSION_TYPE="wayland", WAYLAND_DISPLAY="wayland-0", QT_QPA_PLATFORM="xcb")
        self.desktop.wait(lambda: "cobblet show NAME" in cobblet.messages(), "the reason and the command")

    def test_a_held_combination_shows_the_panel_once_and_lets_it_take_keys(self):
        cobblet = self.start_hidden()
        with self.desktop.holding(ALT), self.desktop.holding(SHIFT), self.desktop.holding(DIGIT_1 + 1):
            cobblet.wait_group(OTHERS)
            self.desktop.wait_focus(cobblet.panel())
            # Past the time after which a server repeats a held key.
            self.assertTrue(self.desktop.holds(lambda: cobblet.panel() is not None, seconds=1.0))
            self.desktop.key("Escape")
            cobblet.wait_hidden()
            self.assertTrue(self.desktop.holds(lambda: cobblet.panel() is None, seconds=1.0), "no repetition opens it")
