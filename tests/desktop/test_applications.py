"""Opening, hiding, quitting and killing real applications from the panel."""

import contextlib
import json

from cobblet import XCALC, CobbletCase

WINDOWS = ["XTerm", "XCalc", "XClock", "Galculator"]
OPEN_ALL, CLOSE_ALL = 0, 1


class OneApplication(CobbletCase):
    def launch(self, cobblet, index, digit=1, columns=3, name=None):
        cobblet.show()
        cobblet.select(digit)
        cobblet.click_cell(index, columns)
        window = self.desktop.wait_window(name or WINDOWS[index])
        cobblet.wait_hidden()
        return window

    def test_a_second_click_brings_forward_and_unminimises_without_a_second_start(self):
        cobblet = self.start()
        cobblet.wait_painted()
        calculator = self.launch(cobblet, 1)
        self.desktop.wait(lambda: self.desktop.focused() == calculator, "the calculator to have the keyboard")
        clock = self.launch(cobblet, 2)
        self.desktop.wait(lambda: self.desktop.on_top(clock, calculator), "the clock on top")
        self.assertEqual(self.launch(cobblet, 1), calculator)
        self.desktop.wait(lambda: self.desktop.on_top(calculator, clock), "the calculator on top")
        self.desktop.minimise(calculator)
        self.assertEqual(self.launch(cobblet, 1), calculator)
        self.desktop.wait(lambda: calculator.viewable() and self.desktop.focused() == calculator,
                          "the calculator back with the keyboard")
        self.assertEqual([window.name for window in self.desktop.windows()].count("XCalc"), 1)

    def test_the_running_dot_comes_and_goes_with_the_application(self):
        cobblet = self.start()
        cobblet.wait_painted()
        cobblet.select(1)
        strip = cobblet.below_icon(1)
        without = self.desktop.picture(strip)
        environment = {**cobblet.environment, "GIO_LAUNCHED_DESKTOP_FILE": ""}
        self.desktop.start(["xcalc"], environment=environment)
        window = self.desktop.wait_window("XCalc")
        cobblet.show()
        cobblet.select(1)
        self.desktop.wait(lambda: self.desktop.picture(strip).changed(without), "the dot")
        window.handle.kill_client()
        self.desktop.display.sync()
        self.desktop.wait(lambda: not self.desktop.picture(strip).changed(without), "the dot to go")

    def test_an_entry_of_the_context_menu_does_what_it_says(self):
        cobblet = self.start()
        cobblet.wait_painted()
        cobblet.select(1)
        cobblet.choose_last_in_menu(1)

        def removed():
            tools = json.loads(self.home.groups_file.read_text(encoding="utf-8"))[0]
            return XCALC not in [app["bundleID"] for app in tools["apps"]]
        self.desktop.wait(removed, "the application to be removed from its group")

    def test_killing_the_program_leaves_what_it_launched_running(self):
        cobblet = self.start()
        cobblet.wait_painted()
        windows = [self.launch(cobblet, index) for index in (0, 1)]
        cobblet.kill()
        self.assertTrue(self.desktop.holds(lambda: all(window.viewable() for window in windows)))

    def test_an_application_that_ignores_the_close_request_stays_listed_until_it_is_forced(self):
        cobblet = self.start()
        cobblet.wait_painted()
        window = self.launch(cobblet, 0, digit=2, columns=6, name="Stubborn")
        cobblet.show()
        cobblet.select(2)
        strip = cobblet.below_icon(0, columns=6)
        listed = self.desktop.picture(strip)
        self.assertGreater(listed.colours(), 1, "the dot is shown")
        with self.desktop.holding("Alt_L"):
            cobblet.wait_painted()
            cobblet.click_tool(CLOSE_ALL)
        self.desktop.wait(lambda: window.property("_TEST_CLOSE_REQUESTS"), "the request to close")
        self.assertTrue(self.desktop.holds(window.viewable))
        self.assertEqual(list(window.property("_TEST_CLOSE_REQUESTS")), [1])
        cobblet.show()
        cobblet.select(2)
        self.assertIsNone(self.desktop.picture(strip).changed(listed))
        with self.desktop.holding("Control_L"):
            cobblet.wait_painted()
            cobblet.click_tool(CLOSE_ALL)
        self.desktop.wait_no_window("Stubborn")


class WholeGroup(CobbletCase):
    def open_all(self, cobblet):
        cobblet.wait_painted()
        cobblet.select(1)
        cobblet.click_tool(OPEN_ALL)
        windows = [self.desktop.wait_window(name) for name in WINDOWS]
        self.desktop.start(["xeyes"])
        self.outsider = self.desktop.wait_window("XEyes")
        return windows

    def close_all(self, cobblet, modifier=None):
        cobblet.show()
        cobblet.select(1)
        plain = self.desktop.picture(cobblet.tool_buttons()[CLOSE_ALL])
        with self.desktop.holding(modifier) if modifier else contextlib.nullcontext():
            self.desktop.wait(lambda: not modifier or self.desktop.picture(plain.rect).changed(plain), "another label")
            cobblet.click_tool(CLOSE_ALL)

    def test_hide_all_hides_the_group_and_nothing_else(self):
        cobblet = self.start()
        windows = self.open_all(cobblet)
        self.close_all(cobblet)
        for window in windows:
            self.desktop.wait(window.minimised, f"{window} to be hidden")
        self.assertTrue(self.outsider.viewable())

    def test_quit_all_asks_and_force_quit_all_kills(self):
        for modifier in ("Alt_L", "Control_L"):
            with self.subTest(modifier):
                cobblet = self.start()
                self.open_all(cobblet)
                self.close_all(cobblet, modifier)
                for name in WINDOWS:
                    self.desktop.wait_no_window(name)
                self.assertTrue(self.outsider.viewable())
                self.finish(cobblet)
                self.desktop.close_applications()
