"""Showing and hiding the panel, and who has the keyboard."""

from cobblet import CobbletCase


class Focus(CobbletCase):
    def setUp(self):
        super().setUp()
        self.desktop.start(["xterm", "-geometry", "60x12+40+40"])
        self.terminal = self.desktop.wait_window("XTerm")
        self.desktop.wait_focus(self.terminal)
        self.cobblet = self.start()
        self.desktop.wait_focus(self.cobblet.wait_painted())

    def click_terminal(self):
        place = self.terminal.rect()
        self.desktop.click(place.x + 30, place.y + 30)
        self.desktop.wait_focus(self.terminal)

    def test_a_click_on_another_window_hides_the_panel_and_goes_to_that_window(self):
        self.click_terminal()
        self.cobblet.wait_hidden()
        self.assertTrue(self.desktop.holds(lambda: self.desktop.focused() == self.terminal))

    def test_a_press_where_nothing_takes_the_focus_hides_the_panel_and_the_wheel_does_not(self):
        dock, bare = self.desktop.dock().rect(), (20, 600)
        for place in ((dock.x + dock.width - 10, dock.y + 20), bare):
            self.desktop.click(*bare, button=4)
            self.desktop.click(*self.cobblet.cell(2), button=2)
            self.assertTrue(self.desktop.holds(self.cobblet.panel))
            self.desktop.click(*place)
            self.cobblet.wait_hidden()
            self.cobblet.show()

    def test_the_focus_goes_back_to_the_window_that_had_it_not_to_the_newest(self):
        self.cobblet.hide()
        self.desktop.start(["xclock"])
        self.desktop.wait_window("XClock")
        self.click_terminal()
        self.cobblet.show()
        self.cobblet.hide()
        self.desktop.wait_focus(self.terminal)
