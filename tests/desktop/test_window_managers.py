"""What a person does first, under window managers other than the one that all the tests run on."""

import unittest

from cobblet import GAP, XCALC, XCLOCK, Cobblet, Home, group
from desktop import Desktop, bottom

CALCULATOR, CLOSE_ALL = 0, 1
HIDES_NOTHING = ("i3",)
WITH_A_BAR = ("i3", "fluxbox", "awesome")  # of their own
GROUP = group(1, "Times", [XCALC, XCLOCK], popupColumns=3)


def lowest_free(desktop):
    """Where what stands along the bottom of the screen begins."""
    dock = desktop.atom("_NET_WM_WINDOW_TYPE_DOCK")
    bars = [window.rect().y for window in desktop.windows()
            if window.viewable() and dock in window.property("_NET_WM_WINDOW_TYPE")]
    area = desktop.root.property("_NET_WORKAREA")
    return min([desktop.size[1], *(y for y in bars if y > 0), *([area[1] + area[3]] if area else [])])


class WindowManagers(unittest.TestCase):
    def check(self, manager):
        with Desktop(window_manager=manager, dock=None if manager in WITH_A_BAR else "bottom") as desktop:
            home = Home([GROUP])
            self.addCleanup(home.remove)
            # Below the panel and under the pointer: some place windows side by side, some focus what is pointed at.
            desktop.start(["xterm", "-geometry", "200x58+0+0"])
            terminal = desktop.wait_window("XTerm")
            desktop.move(260, 300)
            desktop.wait_focus(terminal)
            cobblet = Cobblet(desktop, home.environment())
            cobblet.wait_painted()
            desktop.key("1", "Control_L")
            cobblet.wait_group(GROUP)

            def opened():
                panel = cobblet.wait_painted()
                desktop.wait_focus(panel)
                place = panel.rect()
                self.assertEqual((bottom(place), place.x + place.width // 2),
                                 (lowest_free(desktop) - GAP, desktop.size[0] // 2))
                return panel

            def close_all():
                desktop.move(*cobblet.cell(CALCULATOR))  # off the buttons, which show that they are pointed at
                cobblet.wait_painted()
                cobblet.click_tool(CLOSE_ALL)

            # On its way from the bar to the panel the pointer crosses the terminal, some time after a key was pressed.
            panel = opened()
            self.assertTrue(desktop.holds(panel.viewable, seconds=0.7))
            desktop.move(700, desktop.size[1] - 2)
            desktop.move(250, 500)
            self.assertTrue(desktop.holds(panel.viewable))
            desktop.move(*cobblet.cell(CALCULATOR))
            desktop.wait_focus(panel)
            cobblet.hide()
            desktop.move(260, 300)
            desktop.wait_focus(terminal)
            self.assertTrue(desktop.holds(lambda: desktop.focused() == terminal))

            cobblet.reopen()
            opened()
            desktop.click(*cobblet.cell(CALCULATOR))
            calculator = desktop.wait_window("XCalc")
            cobblet.wait_hidden()
            desktop.wait_focus(calculator)

            cobblet.reopen()
            opened()
            close_all()
            if manager in HIDES_NOTHING:
                desktop.wait(lambda: "keeps its windows in sight" in cobblet.messages(), "word of what stays")
            else:
                desktop.wait(lambda: not calculator.viewable(), "the calculator to be hidden")
            self.assertTrue(terminal.viewable())

            cobblet.reopen()
            opened()
            with desktop.holding("Alt_L"):
                close_all()
            desktop.wait_no_window("XCalc")
            desktop.click(260, 300)
            cobblet.wait_hidden()
            desktop.wait_focus(terminal)

    def test_the_panel_works_with_the_window_managers_own_settings(self):
        for manager in ("xfwm4", "kwin_x11", "i3", "fluxbox", "awesome"):
            with self.subTest(manager):
                self.check(manager)
