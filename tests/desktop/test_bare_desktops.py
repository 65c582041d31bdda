"""Desktops with parts missing, and homes in a bad state: the program starts, shows its panel and says what is wrong."""

import unittest

from cobblet import GROUPS, Cobblet, CobbletCase, Home
from desktop import Desktop


class BareDesktops(unittest.TestCase):
    def test_the_panel_opens_and_one_line_says_what_is_missing(self):
        for line, parts in (("session bus", {"bus": False}), ("dock", {"dock": None}), ("compositing manager", {}),
                            ("window manager", {"window_manager": False, "dock": None}),
                            ("session bus", {"bus": False, "window_manager": False, "dock": None})):
            with self.subTest(parts), Desktop(**parts) as desktop:
                home = Home(GROUPS)
                self.addCleanup(home.remove)
                cobblet = Cobblet(desktop, home.environment())
                cobblet.wait_painted()
                cobblet.show(1)
                said = [text for text in cobblet.messages().splitlines() if line in text.lower()]
                self.assertEqual(len(said), 1, cobblet.messages())
                cobblet.hide()
                self.assertTrue(cobblet.running())


class Homes(CobbletCase):
    def test_a_home_that_cannot_be_written_is_no_obstacle(self):
        # A file where the home should be: nothing can be made below it, by nobody.
        wall = self.home.path / "wall"
        wall.touch()
        homes = [name for name in self.home.environment() if name.endswith("HOME")]
        cobblet = self.start(**{name: str(wall / "home") for name in homes})
        cobblet.wait_painted()
        cobblet.hide()
        self.assertTrue(cobblet.running())
        lines = [line for line in cobblet.messages().splitlines() if str(wall) in line]
        self.assertEqual(len(lines), len(set(lines)), cobblet.messages())
        self.assertTrue([line for line in lines if "groups" in line], cobblet.messages())
