"""Where the panel stands and how large it is."""

import unittest

from cobblet import GAP, GROUPS, Cobblet, CobbletCase, Home, desired_size
from desktop import Desktop, bottom, right


class BesideTheDock(unittest.TestCase):
    def test_the_panel_stands_8_points_from_the_dock_on_each_side(self):
        for side in ("bottom", "left", "right"):
            with self.subTest(side), Desktop(dock=side) as desktop:
                home = Home()
                self.addCleanup(home.remove)
                cobblet = Cobblet(desktop, home.environment())
                panel, dock = cobblet.wait_painted().rect(), desktop.dock().rect()
                gap, middle, centre = {
                    "bottom": (dock.y - bottom(panel), panel.x + panel.width / 2, desktop.size[0] / 2),
                    "left": (panel.x - right(dock), panel.y + panel.height / 2, desktop.size[1] / 2),
                    "right": (dock.x - right(panel), panel.y + panel.height / 2, desktop.size[1] / 2),
                }[side]
                self.assertEqual(gap, GAP)
                self.assertAlmostEqual(middle, centre, delta=1)
                self.assertEqual(panel[2:], (600, 340))
                cobblet.end()


class Sizes(CobbletCase):
    def test_the_panel_takes_the_size_of_the_group_selected_and_stays_beside_the_dock(self):
        cobblet = self.start()
        cobblet.wait_painted()
        dock = self.desktop.dock().rect()
        for digit in (1, 2, 1):
            panel = cobblet.select(digit).rect()
            width, height = desired_size(GROUPS[digit - 1])
            self.assertAlmostEqual(panel.width, width, delta=1)
            self.assertAlmostEqual(panel.height, height, delta=1)
            self.assertAlmostEqual(dock.y - bottom(panel), GAP, delta=1)
            self.assertAlmostEqual(panel.x + panel.width / 2, self.desktop.size[0] / 2, delta=1)
