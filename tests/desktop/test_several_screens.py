"""The panel where a desktop has more than one screen."""

import unittest

from cobblet import GAP, TOOLS, running
from desktop import Desktop, Rect, bottom, right

# The main screen first; it is neither at the origin nor as large as the other. A dock on an edge where two screens meet
# is left out: window managers disagree on what it reserves.
BESIDE = (Rect(1000, 150, 1280, 800), Rect(0, 0, 1000, 1100))
BELOW = (Rect(280, 900, 1000, 800), Rect(0, 0, 1280, 900))


def inside(screen, rect):
    return (rect.x >= screen.x and rect.y >= screen.y and right(rect) <= right(screen)
            and bottom(rect) <= bottom(screen))


class SeveralScreens(unittest.TestCase):
    def check(self, side, screens, anchor, visits):
        """Opens the panel with the pointer on a screen, so far from its left side and from its top or, negative, its
        bottom. The panel must be beside the dock of the screen that is named then."""
        desktop, groups = Desktop(dock=side, screens=screens), [{**TOOLS, "popupAnchor": anchor}]
        with self.subTest(side, anchor=anchor), running(groups, desktop) as cobblet:
            cobblet.show(1)
            for pointer, x, y, screen in visits:
                cobblet.hide()
                desktop.move(pointer.x + x, (pointer.y if y > 0 else bottom(pointer)) + y)
                cobblet.reopen()
                panel = cobblet.wait_painted().rect()
                self.assertTrue(inside(screen, panel), f"{panel} on {screen}")
                dock = next(window.rect() for window in desktop.windows() if window.name == "Tint2"
                            and window.viewable() and inside(screen, window.rect()))
                gap = {"bottom": dock.y - bottom(panel), "left": panel.x - right(dock), "right": dock.x - right(panel)}
                self.assertAlmostEqual(gap[side], GAP, delta=1)
                if anchor == "dockIcon":
                    self.assertAlmostEqual(panel.x + panel.width / 2, pointer.x + x, delta=1)

    def test_the_panel_stands_on_the_main_screen_beside_its_dock_wherever_the_pointer_is(self):
        for side, screens in (("bottom", BESIDE), ("left", BELOW), ("right", BELOW)):
            main, other = screens
            self.check(side, screens, "dockCenter", [(other, 300, 20, main), (main, 300, 20, main)])

    def test_a_group_that_opens_at_the_click_opens_on_the_screen_whose_dock_was_clicked(self):
        main, other = BESIDE
        self.check("bottom", BESIDE, "dockIcon", [(other, 420, -26, other), (main, 700, -26, main)])
