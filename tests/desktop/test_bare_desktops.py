"""Desktops with parts missing, and homes in a bad state: the program starts, shows its panel and says what is wrong."""

import unittest

from cobblet import Cobblet, CobbletCase, Home
from desktop import Desktop


class BareDesktops(unittest.TestCase):
    def test_the_panel_opens_and_one_line_says_what_is_missing(self):
        for missing, parts, line in (
                ("bus", {"bus": False}, "session bus"),
                ("window manager", {"window_manager": False, "dock": None}, "window manager"),
                ("dock", {"dock": None}, "dock"),
                ("compositor", {"compositor": False}, "compositing manager"),
                ("everything", {"bus": False, "window_manager": False, "dock": None}, "session bus")):
            with self.subTest(missing), Desktop(**parts) as desktop:
                home = Home()
                self.addCleanup(home.remove)
                cobblet = Cobblet(desktop, home.environment())
                cobblet.wait_painted()
                cobblet.select(1)
                said = [text for text in cobblet.messages().splitlines() if line in text.lower()]
                self.assertEqual(len(said), 1, cobblet.messages())
                desktop.key("Escape")
                cobblet.wait_hidden()
                self.assertTrue(cobblet.running())
                cobblet.end()


class Homes(CobbletCase):
    def test_a_home_that_cannot_be_written_is_no_obstacle(self):
        # A file where the home should be: nothing can be made below it, by nobody.
        wall = self.home.path / "wall"
        wall.touch()
        gone = {name: str(wall / "home") for name in self.home.environment() if name != "XDG_DATA_DIRS"}
        cobblet = self.start(**gone)
        cobblet.wait_painted()
        self.desktop.key("1", "Control_L")
        cobblet.wait_painted()
        self.desktop.key("Escape")
        cobblet.wait_hidden()
        self.assertTrue(cobblet.running())
        lines = [line for line in cobblet.messages().splitlines() if str(wall) in line]
        self.assertEqual(len(lines), len(set(lines)), cobblet.messages())
        self.assertTrue([line for line in lines if "groups" in line], cobblet.messages())
