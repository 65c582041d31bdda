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
        cobblet.select(1)
        self.hide(desktop, cobblet)
        return cobblet

    def hide(self, desktop, cobblet):
        desktop.key("Escape")
        cobblet.wait_hidden()

    def dock(self, desktop, screen):
        def there():
            return next((window.rect() for window in desktop.windows()
                         if window.name == "Tint2" and window.viewable() and inside(screen, window.rect())), None)
        return desktop.wait(there, "the dock of that screen")

    def test_the_panel_stands_on_the_main_screen_beside_its_dock_wherever_the_pointer_is(self):
        for side, screens in (("bottom", BESIDE), ("left", BELOW), ("right", BELOW)):
            with self.subTest(side), Desktop(dock=side, screens=screens) as desktop:
                cobblet = self.start(desktop)
                main, other = screens
                dock = self.dock(desktop, main)
                for screen in (other, main):
                    desktop.move(screen.x + 300, screen.y + 20)
                    cobblet.reopen()
                    panel = cobblet.wait_painted().rect()
                    self.assertTrue(inside(main, panel), f"{panel} on {main}")
                    gap, middle, centre = {
                        "bottom": (dock.y - bottom(panel), panel.x + panel.width / 2, main.x + main.width / 2),
                        "left": (panel.x - right(dock), panel.y + panel.height / 2, main.y + main.height / 2),
                        "right": (dock.x - right(panel), panel.y + panel.height / 2, main.y + main.height / 2),
                    }[side]
                    self.assertAlmostEqual(gap, GAP, delta=1)
                    self.assertAlmostEqual(middle, centre, delta=1)
                    self.hide(desktop, cobblet)
                cobblet.end()

    def test_a_group_that_opens_at_the_click_opens_on_the_screen_whose_dock_was_clicked(self):
        main, other = BESIDE
        with Desktop(screens=BESIDE) as desktop:
            cobblet = self.start(desktop, popupAnchor="dockIcon")
            for screen, x in ((other, 420), (main, 700)):
                dock = self.dock(desktop, screen)
                desktop.move(screen.x + x, dock.y + dock.height / 2)
                cobblet.reopen()
                panel = cobblet.wait_painted().rect()
                self.assertTrue(inside(screen, panel), f"{panel} on {screen}")
                self.assertAlmostEqual(dock.y - bottom(panel), GAP, delta=1)
                self.assertAlmostEqual(panel.x + panel.width / 2, screen.x + x, delta=1)
                self.hide(desktop, cobblet)
            cobblet.end()
