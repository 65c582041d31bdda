"""Desktops with parts missing: the program starts, shows its panel and says what is wrong."""

import unittest

from cobblet import GROUPS, Cobblet, Home
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
                self.assertIsNone(cobblet.process.poll())
