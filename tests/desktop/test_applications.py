"""Opening, hiding, quitting and killing real applications from the panel."""

import contextlib

from cobblet import XCALC, CobbletCase

WINDOWS = ["XTerm", "XCalc", "XClock", "Galculator"]
OPEN_ALL, CLOSE_ALL = 0, 1


class Applications(CobbletCase):
    def setUp(self):
        super().setUp()
        self.cobblet = self.start()
        # A second start before the first one is on the bus could itself become the program.
        self.cobblet.wait_panel()

    def launch(self, index, digit=1, name=None):
        self.cobblet.show(digit)
        self.desktop.click(*self.cobblet.cell(index))
        window = self.desktop.wait_window(name or WINDOWS[index])
        self.cobblet.wait_hidden()
        return window

    def test_a_second_click_brings_forward_without_a_second_start(self):
        calculator = self.launch(1)
        self.desktop.wait_focus(self.launch(0))
        self.assertEqual(self.launch(1), calculator)
        self.desktop.wait_focus(calculator)
        self.assertEqual([window.name for window in self.desktop.windows()].count("XCalc"), 1)

    def test_an_entry_of_the_context_menu_does_what_it_says(self):
        self.cobblet.show(1)
        self.cobblet.choose(*self.cobblet.cell(1), "Up", button=3)
        self.desktop.wait(lambda: XCALC not in [app["bundleID"] for app in self.home.read()[0]["apps"]],
                          "the application to be removed from its group")

    def test_killing_the_program_leaves_what_it_launched_running(self):
        windows = [self.launch(index) for index in (0, 1)]
        self.cobblet.process.kill()
        self.cobblet.process.wait()
        self.assertTrue(self.desktop.holds(lambda: all(window.viewable() for window in windows)))

    def test_an_application_that_ignores_the_close_request_stays_until_it_is_forced(self):
        window = self.launch(0, digit=2, name="Stubborn")

        def close_all(modifier):
            self.cobblet.show(2)
            with self.desktop.holding(modifier):
                self.cobblet.wait_painted()
                self.cobblet.click_tool(CLOSE_ALL)
        self.desktop.key("Num_Lock")  # which is one more modifier to the server
        self.addCleanup(self.desktop.key, "Num_Lock")
        close_all("Alt_L")
        self.desktop.wait(lambda: window.property("_TEST_CLOSE_REQUESTS"), "the request to close")
        self.assertTrue(self.desktop.holds(window.viewable))
        self.assertEqual(window.property("_TEST_CLOSE_REQUESTS"), [1])
        close_all("Control_L")
        self.desktop.wait_no_window("Stubborn")

    def test_open_all_opens_and_close_all_hides_quits_or_kills_the_group_and_nothing_else(self):
        self.desktop.start(["xeyes"])
        outsider = self.desktop.wait_window("XEyes")
        for modifier in (None, "Alt_L", "Control_L"):
            with self.subTest(modifier):
                self.cobblet.show(1)
                self.cobblet.click_tool(OPEN_ALL)
                windows = [self.desktop.wait_window(name) for name in WINDOWS]
                self.cobblet.show(1)
                place = self.cobblet.tool_buttons()[CLOSE_ALL]
                plain = self.desktop.picture(place)
                with self.desktop.holding(modifier) if modifier else contextlib.nullcontext():
                    self.desktop.wait(lambda: not modifier or self.desktop.picture(place) != plain, "another label")
                    self.cobblet.click_tool(CLOSE_ALL)
                for name, window in zip(WINDOWS, windows):
                    if modifier:
                        self.desktop.wait_no_window(name)
                    else:
                        self.desktop.wait(window.minimised, f"{window} to be hidden")
                self.assertTrue(outsider.viewable())
