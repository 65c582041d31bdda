"""Showing and hiding the panel, and who has the keyboard."""

from cobblet import CobbletCase
from desktop import Rect


class Focus(CobbletCase):
    def setUp(self):
        super().setUp()
        self.desktop.start(["xterm", "-geometry", "60x12+40+40"])
        self.terminal = self.desktop.wait_window("XTerm")
        self.desktop.wait(lambda: self.desktop.focused() == self.terminal, "the terminal to have the keyboard")
        self.cobblet = self.start()
        self.panel = self.cobblet.wait_painted()
        self.desktop.wait(lambda: self.desktop.focused() == self.panel, "the panel to have the keyboard")

    def test_a_click_on_another_window_hides_the_panel_and_goes_to_that_window(self):
        place = self.terminal.rect()
        self.desktop.click(place.x + 30, place.y + 30)
        self.cobblet.wait_hidden()
        self.assertTrue(self.desktop.holds(lambda: self.desktop.focused() == self.terminal))

    def test_the_focus_goes_back_to_the_window_that_had_it_not_to_the_newest(self):
        self.desktop.key("Escape")
        self.cobblet.wait_hidden()
        self.desktop.start(["xclock"])
        self.desktop.wait_window("XClock")
        self.desktop.activate(self.terminal)
        self.cobblet.show()
        self.desktop.key("Escape")
        self.cobblet.wait_hidden()
        self.desktop.wait(lambda: self.desktop.focused() == self.terminal, "the terminal to have the keyboard again")

    def test_a_second_start_opens_the_panel_of_the_first_and_ends_well(self):
        self.desktop.key("Escape")
        self.cobblet.wait_hidden()
        for _ in range(2):
            self.assertEqual(self.cobblet.start_again(), 0)
            panel = self.cobblet.wait_painted()
            self.desktop.wait(lambda: self.desktop.focused() == panel, "the panel to have the keyboard")
        self.assertTrue(self.cobblet.running())

    def test_the_keyboard_alone_opens_an_application(self):
        self.cobblet.select(1)
        for key in ("Right", "Return"):
            self.desktop.key(key)
        self.desktop.wait_window("XCalc")
        self.cobblet.wait_hidden()


class Fading(CobbletCase):
    DESKTOP = {"compositor": True}

    def setUp(self):
        super().setUp()
        self.cobblet = self.start()
        self.window = self.cobblet.wait_painted()
        panel = self.window.rect()
        self.middle = Rect(panel.x + panel.width // 2, panel.y + 20, 1, 1)
        self.shown = self.colour()

    def colour(self):
        return self.desktop.picture(self.middle).pixel(self.middle.x, self.middle.y)

    def begin_to_hide(self):
        self.desktop.key("Escape")
        self.desktop.wait(lambda: self.colour() != self.shown, "the fade-out to begin")
        self.assertTrue(self.window.viewable(), "the panel fades before it goes")

    def test_a_show_during_the_fade_out_ends_visible_and_opaque(self):
        for _ in range(5):
            self.begin_to_hide()
            self.cobblet.reopen()
            self.desktop.wait(lambda: self.colour() == self.shown, "the panel to be opaque")
            self.assertTrue(self.desktop.holds(lambda: self.window.viewable() and self.colour() == self.shown))
            self.assertEqual(self.desktop.focused(), self.window)
        self.begin_to_hide()
        self.cobblet.wait_hidden()
