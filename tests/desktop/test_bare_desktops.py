"""Desktops with parts missing: the program starts, shows its panel and says what is wrong."""

import unittest

from cobblet import GROUPS, running
from desktop import Desktop, Rect


class BareDesktops(unittest.TestCase):
    def test_the_panel_opens_and_one_line_says_what_is_missing(self):
        for line, parts in (("session bus", {"bus": False}), ("dock", {"dock": None}), ("compositing manager", {}),
                            ("window manager", {"window_manager": False, "dock": None}),
                            ("session bus", {"bus": False, "window_manager": False, "dock": None})):
            with self.subTest(parts), running(GROUPS, Desktop(**parts)) as cobblet:
                cobblet.show(1)
                said = [text for text in cobblet.messages().splitlines() if line in text.lower()]
                self.assertEqual(len(said), 1, cobblet.messages())
                cobblet.hide()
                self.assertIsNone(cobblet.process.poll())

    def test_without_a_compositor_nothing_shows_that_the_panel_leaves_transparent(self):
        with running(GROUPS, Desktop(), QT_SCALE_FACTOR="1.33") as cobblet:
            panel = cobblet.panel().rect()
            around = cobblet.desktop.picture(Rect(panel.x - 2, panel.y - 2, panel.width + 4, panel.height + 4))
            around.paste((255, 255, 255), (20, 20, around.width - 20, around.height - 20))
            dark = [pixel for pixel in around.getdata() if max(pixel) < 100]
            self.assertEqual(dark, [], "the outline is brighter, and so is the desktop")
