"""The panel where a desktop has more than one screen."""

import unittest

from cobblet import GAP, TOOLS, Cobblet, Home
from desktop import Desktop, Rect, bottom, right

# The main screen first; it is neither at the origin nor as large as the other. A dock on an edge where two screens meet
# is left out: window managers disagree on what it reserves.
BESIDE = (Rect(1000, 150, 1280, 800), Rect(0, 0, 1000, 1100))
BELOW = (Rect(280, 900, 1000, 800), Rect(0, 0, 1280, 900))


def inside(screen, rect):
    return (rect.x >= screen.x and rect.y >= screen.y and right(rect) <= right(screen)
            and bottom(rect) <= bottom(screen))


class SeveralScreens(unittest.TestCase):
    def start(self, desktop, **fields):
        home = Home([{**TOOLS, **fields}])
        self.addCleanup(home.remove)
        cobblet = Cobblet(desktop, home.environment())
        cobblet.wait_painted()
        cobblet.show(1)
        return cobblet

    def dock(self, desktop, screen):
        return desktop.wait(lambda: next((window.rect() for window in desktop.windows() if window.name == "Tint2"
                                          and window.viewable() and inside(screen, window.rect())), None),
                            "the dock of that screen")

    def open(self, cobblet, x, y):
        """Where the panel is when it was opened with the pointer at a place."""
        cobblet.hide()
        cobblet.desktop.move(x, y)
        cobblet.reopen()
        return cobblet.wait_painted().rect()

    def test_the_panel_stands_on_the_main_screen_beside_its_dock_wherever_the_pointer_is(self):
        for side, screens in (("bottom", BESIDE), ("left", BELOW), ("right", BELOW)):
            with self.subTest(side), Desktop(dock=side, screens=screens) as desktop:
                cobblet = self.start(desktop)
                dock = self.dock(desktop, screens[0])
                for screen in reversed(screens):
                    panel = self.open(cobblet, screen.x + 300, screen.y + 20)
                    self.assertTrue(inside(screens[0], panel), f"{panel} on {screens[0]}")
                    gaps = {"bottom": dock.y - bottom(panel), "left": panel.x - right(dock), "right": dock.x - right(panel)}
                    self.assertAlmostEqual(gaps[side], GAP, delta=1)

    def test_a_group_that_opens_at_the_click_opens_on_the_screen_whose_dock_was_clicked(self):
        with Desktop(screens=BESIDE) as desktop:
            cobblet = self.start(desktop, popupAnchor="dockIcon")
            for screen, x in ((BESIDE[1], 420), (BESIDE[0], 1700)):
                dock = self.dock(desktop, screen)
                panel = self.open(cobblet, x, dock.y + dock.height / 2)
                self.assertTrue(inside(screen, panel), f"{panel} on {screen}")
                self.assertAlmostEqual(dock.y - bottom(panel), GAP, delta=1)
                self.assertAlmostEqual(panel.x + panel.width / 2, x, delta=1)
