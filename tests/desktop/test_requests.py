"""Requests from outside: commands that need no instance, and those that start one or reach the one that runs."""

import json
import subprocess

from cobblet import EXECUTABLE, OTHERS, TOOLS, XCALC, XCLOCK, Cobblet, CobbletCase, group

CLOCKS = group(3, "My Clocks", [XCLOCK, XCALC, "org.example.gone"])


class RequestsCase(CobbletCase):
    GROUPS = [TOOLS, OTHERS]

    def setUp(self):
        super().setUp()
        self.home.write(self.GROUPS)

    def ask(self, *arguments):
        """Status, output and errors of a command."""
        environment = {**self.desktop.environment, **self.home.environment()}
        done = subprocess.run([EXECUTABLE, *arguments], env=environment, stdin=subprocess.DEVNULL, cwd="/",
                              capture_output=True, text=True, timeout=60, check=False)
        return done.returncode, done.stdout, done.stderr

    def start_with(self, *arguments):
        cobblet = Cobblet(self.desktop, self.home.environment(), (EXECUTABLE, *arguments))
        self.addCleanup(self.finish, cobblet)
        return cobblet


class WithoutAnInstance(RequestsCase):
    GROUPS = [CLOCKS]

    def test_a_group_is_launched_hidden_brought_forward_and_quit(self):
        missing = "gone: {}\n"
        self.assertEqual(self.ask("launch", "my", "clocks"),
                         (3, "xclock: launched\nxcalc: launched\n" + missing.format("not installed"), ""))
        windows = [self.desktop.wait_window(name) for name in ("XClock", "XCalc")]
        self.assertEqual(json.loads((self.home.support / "usage-stats.json").read_text()), {XCLOCK: 1, XCALC: 1})
        missing = missing.format("not running")
        self.assertEqual(self.ask("hide", "My Clocks"), (0, "xclock: hidden\nxcalc: hidden\n" + missing, ""))
        self.desktop.wait(lambda: not any(window.viewable() for window in windows), "the windows to be hidden")
        self.assertEqual(self.ask("say", "Fire up My Clocks group in Cobblet.")[1],
                         "Launching My Clocks.\nxclock: brought forward\nxcalc: brought forward\ngone: not installed\n")
        self.desktop.wait(lambda: all(window.viewable() for window in windows), "the windows to be back")
        ended = "asked to quit, and has ended"
        self.assertEqual(self.ask("cobblet://quit/My%20Clocks"),
                         (0, f"xclock: {ended}\nxcalc: {ended}\n" + missing, ""))
        self.assertEqual([window.name for window in self.desktop.windows() if window.viewable()
                          and window.name in ("XClock", "XCalc")], [])

    def test_a_group_that_is_not_there_starts_nothing(self):
        error = "There's no group named “Nope”. It may have been renamed or deleted.\n"
        for arguments in (["show", "Nope"], ["cobblet://show/Nope"], ["launch", "Nope"]):
            self.assertEqual(self.ask(*arguments), (1, "", error))


class AnInstance(RequestsCase):
    def test_it_opens_with_the_group_it_was_started_for_and_shows_those_of_later_starts(self):
        cobblet = self.start_with("show", "Others")
        cobblet.wait_size(OTHERS)
        for arguments, record in ((["show", "tools"], TOOLS), (["cobblet://show/Others"], OTHERS),
                                  (["say", "Go", "to", "Tools", "group", "in", "Cobblet"], TOOLS)):
            self.assertEqual(self.ask(*arguments), (0, "", ""))
            cobblet.wait_size(record)

    def test_as_a_service_it_shows_nothing_until_it_is_asked(self):
        cobblet = self.start_with("--service")
        # The answer comes from the instance itself, so it is up by then.
        self.desktop.wait(lambda: "true" in self.bus("NameHasOwner", "com.vantor.cobblet"), "the name on the bus")
        self.assertEqual(self.ask("--service"), (0, "", ""))
        self.assertTrue(self.desktop.holds(lambda: cobblet.panel() is None))
        self.assertEqual(self.ask("show", "Others"), (0, "", ""))
        cobblet.wait_size(OTHERS)

    def bus(self, method, *arguments):
        return subprocess.run(["gdbus", "call", "--session", "--dest", "org.freedesktop.DBus", "--object-path",
                               "/org/freedesktop/DBus", "--method", f"org.freedesktop.DBus.{method}", *arguments],
                              env=self.desktop.environment, capture_output=True, text=True, timeout=10,
                              check=False).stdout
