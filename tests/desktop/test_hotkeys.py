"""The nine key combinations: Alt+Shift and a digit, whatever program has the keyboard."""

from Xlib import X, error
from Xlib.display import Display

from cobblet import CobbletCase, group

# Keys by their place, which no layout changes.
ALT, SHIFT, DIGIT_1, CAPS_LOCK, NUM_LOCK = 64, 50, 10, 66, 77


class Hotkeys(CobbletCase):
    # Each is known by its width.
    GROUPS = [group(digit, f"Group {digit}", [], popupColumns=digit + 2) for digit in range(1, 10)]

    def setUp(self):
        super().setUp()
        self.desktop.start(["xterm", "-geometry", "60x12+40+40"])
        self.terminal = self.desktop.wait_window("XTerm")
        self.desktop.wait_focus(self.terminal)
        self.addCleanup(self.run_here, "setxkbmap", "us")

    def press(self, digit):
        self.desktop.key(DIGIT_1 + digit - 1, ALT, SHIFT)

    def assert_shows(self, cobblet, *digits):
        for digit in digits:
            self.press(digit)
            cobblet.wait_group(self.GROUPS[digit - 1])

    def test_a_digit_shows_its_group_on_every_layout_and_with_every_lock(self):
        cobblet = self.start_hidden()
        for layout, locks in (("us", ()), ("us", [NUM_LOCK]), ("fr", [CAPS_LOCK]), ("fr", [CAPS_LOCK, NUM_LOCK])):
            with self.subTest(layout, locks=locks):
                self.run_here("setxkbmap", layout)
                for lock in locks:
                    self.desktop.key(lock)
                self.assert_shows(cobblet, *range(1, 10))
                panel = cobblet.panel()
                self.desktop.wait_focus(panel)
                for lock in locks:
                    self.desktop.key(lock)
                cobblet.hide()
                self.desktop.wait_focus(self.terminal)

    def test_no_press_is_lost_while_the_layout_changes(self):
        cobblet = self.start_hidden()
        changing = self.desktop.start(["sh", "-c", "for l in fr us de us fr us; do setxkbmap $l || exit 1; done"])
        while changing.poll() is None:
            self.assert_shows(cobblet, 2, 1)
        self.assertEqual(changing.returncode, 0)

    def test_what_another_program_holds_is_said_and_left_to_it_and_the_others_work(self):
        other = Display(self.desktop.environment["DISPLAY"])
        self.addCleanup(other.close)

        def grab(digit, lock):
            refused = error.CatchError(error.BadAccess)
            other.screen().root.grab_key(DIGIT_1 + digit - 1, X.Mod1Mask | X.ShiftMask | lock, False, X.GrabModeAsync,
                                         X.GrabModeAsync, onerror=refused)
            other.sync()
            return refused.get_error() is None
        self.assertTrue(grab(5, X.Mod2Mask))  # which is Num Lock
        cobblet = self.start_hidden()
        self.assertEqual(cobblet.messages().count("already used by another program"), 1)
        self.assert_shows(cobblet, 4)
        self.press(5)
        self.assert_shows(cobblet, 6)
        self.assertEqual([grab(5, 0), grab(6, 0)], [True, False], "it keeps what it uses and nothing else")

    def test_a_held_combination_shows_the_panel_once_and_lets_it_take_keys(self):
        cobblet = self.start_hidden()
        with self.desktop.holding(ALT), self.desktop.holding(SHIFT), self.desktop.holding(DIGIT_1 + 1):
            cobblet.wait_group(self.GROUPS[1])
            self.desktop.wait_focus(cobblet.panel())
            # Past the time after which a server repeats a held key.
            self.assertTrue(self.desktop.holds(lambda: cobblet.panel() is not None, seconds=1.0))
            self.desktop.key("Escape")
            cobblet.wait_hidden()
            self.assertTrue(self.desktop.holds(lambda: cobblet.panel() is None, seconds=1.0), "no repetition opens it")
