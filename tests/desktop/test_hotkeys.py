"""The nine key combinations: Alt+Shift and a digit, whatever program has the keyboard."""

from cobblet import OTHERS, TOOLS, CobbletCase

# Keys by their place, which no layout changes.
ALT, SHIFT, DIGIT_1 = 64, 50, 10


class Hotkeys(CobbletCase):
    def setUp(self):
        super().setUp()
        self.desktop.start(["xterm", "-geometry", "60x12+40+40"])
        self.terminal = self.desktop.wait_window("XTerm")
        self.desktop.wait_focus(self.terminal)

    def press(self, digit):
        self.desktop.key(DIGIT_1 + digit - 1, ALT, SHIFT)

    def test_a_press_shows_the_group_of_the_digit_and_changes_it_where_the_panel_is_open(self):
        cobblet = self.start_hidden()
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
        self.assertTrue(self.desktop.holds(lambda: panel.viewable() and self.desktop.focused() == panel))

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
