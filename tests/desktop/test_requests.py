"""Requests from outside: commands that need no instance, those that start one or reach the one that runs, and what the
desktop asks of an installation."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from cobblet import EXECUTABLE, GROUPS, NAME, OTHERS, TOOLS, XCALC, XCLOCK, CobbletCase, Home, bus, call, group, panels
from desktop import Desktop

SHARED = [f"applications/{NAME}.desktop", f"dbus-1/services/{NAME}.service", "man/man1/cobblet.1",
          f"gnome-shell/search-providers/{NAME}.search-provider.ini", f"krunner/dbusplugins/{NAME}.desktop",
          "bash-completion/completions/cobblet", "zsh/site-functions/_cobblet", "fish/vendor_completions.d/cobblet.fish",
          f"icons/hicolor/scalable/apps/{NAME}.svg", f"icons/hicolor/64x64/apps/{NAME}.png"]
BUILD = pathlib.Path(EXECUTABLE).resolve().parents[3]


class WithoutAnInstance(CobbletCase):
    GROUPS = [group(3, "My Clocks", [XCLOCK, XCALC, "org.example.gone"])]

    def test_a_group_is_launched_hidden_brought_forward_and_quit(self):
        self.assertEqual(self.ask("launch", "my", "clocks"),
                         (3, "xclock: launched\nxcalc: launched\ngone: not installed\n", ""))
        windows = [self.desktop.wait_window(name) for name in ("XClock", "XCalc")]
        self.assertEqual(json.loads((self.home.support / "usage-stats.json").read_text()), {XCLOCK: 1, XCALC: 1})
        self.assertEqual(self.ask("hide", "My Clocks"), (0, "xclock: hidden\nxcalc: hidden\ngone: not running\n", ""))
        self.desktop.wait(lambda: not any(window.viewable() for window in windows), "the windows to be hidden")
        self.assertEqual(self.ask("say", "Fire up My Clocks group in Cobblet.")[1],
                         "Launching My Clocks.\nxclock: brought forward\nxcalc: brought forward\ngone: not installed\n")
        self.desktop.wait(lambda: all(window.viewable() for window in windows), "the windows to be back")
        ended = "asked to quit, and has ended"
        self.assertEqual(self.ask("cobblet://quit/My%20Clocks"),
                         (0, f"xclock: {ended}\nxcalc: {ended}\ngone: not running\n", ""))
        self.assertFalse(any(window.viewable() for window in windows))


class AnInstance(CobbletCase):
    def test_it_opens_with_the_group_it_was_started_for_and_shows_those_of_later_starts(self):
        cobblet = self.start("show", "Others")
        cobblet.wait_group(OTHERS)
        running = pathlib.Path(f"/proc/{cobblet.process.pid}/exe").resolve()
        self.assertEqual(running, pathlib.Path(EXECUTABLE).resolve().parents[1] / "MacOS/cobblet", "it becomes it")
        for arguments, record in ((["show", "tools"], TOOLS), (["cobblet://show/Others"], OTHERS),
                                  (["say", "Go", "to", "Tools", "group", "in", "Cobblet"], TOOLS)):
            self.assertEqual(self.ask(*arguments), (0, "", ""))
            cobblet.wait_group(record)

    def test_as_a_service_it_shows_nothing_until_it_is_asked(self):
        cobblet = self.start("--service")
        connection = bus(self.desktop.environment)
        self.desktop.wait(lambda: call(connection, "org.freedesktop.DBus", "/", "org.freedesktop.DBus.NameHasOwner",
                                       "(s)", NAME)[0], "the name on the bus")
        self.assertEqual(self.ask("--service"), (0, "", ""))
        self.assertTrue(self.desktop.holds(lambda: cobblet.panel() is None))
        self.assertEqual(self.ask("show", "Others"), (0, "", ""))
        cobblet.wait_group(OTHERS)


class Installed(unittest.TestCase):
    """A desktop that knows the program only by what an installation has put there."""

    def install(self, prefix, **environment):
        return subprocess.run(["cmake", "--install", BUILD, "--prefix", prefix], env={**os.environ, **environment},
                              capture_output=True, text=True, timeout=120, check=False)

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="installed-"))
        self.addCleanup(shutil.rmtree, self.folder)
        prefix = self.folder / "odd & far (away)"
        self.assertEqual(self.install(prefix).returncode, 0)
        self.command = prefix / "bin/cobblet"
        home = Home(GROUPS)
        self.addCleanup(home.remove)
        self.desktop = Desktop()
        # What the bus starts has the environment of the bus, and ends with the display.
        self.desktop.environment.update(home.environment(), XDG_DATA_DIRS=f"{prefix}/share:/usr/local/share:/usr/share")
        self.enterContext(self.desktop)

    def wait_panel(self):
        self.desktop.wait(lambda: panels(self.desktop), "the panel", timeout=20)

    def run_here(self, *command):
        return subprocess.run(command, env=self.desktop.environment, stdin=subprocess.DEVNULL, cwd="/", timeout=60,
                              check=True, capture_output=True, text=True).stdout

    def test_everything_is_there_and_names_its_place(self):
        self.assertEqual(self.install("/usr", DESTDIR=str(self.folder)).returncode, 0)
        share = self.folder / "usr/share"
        self.assertEqual([name for name in SHARED if not (share / name).exists()], [])
        self.assertIn('\nExec="/usr/bin/cobblet" %u\n', (share / SHARED[0]).read_text())
        self.assertRegex((share / SHARED[1]).read_text(), r'\nExec="/usr/.*/MacOS/cobblet" --service\n')
        self.assertEqual(self.run_here("desktop-file-validate", share / SHARED[0]), "")
        self.assertEqual(self.run_here("mandoc", "-Tlint", "-W", "warning", share / SHARED[2]), "")
        self.assertIn("choose a prefix", self.install(self.folder / "100%").stderr, "entries cannot name it")

    def test_a_search_starts_it_without_a_panel_and_an_activation_shows_one(self):
        connection = bus(self.desktop.environment)
        result = f"show:{TOOLS['id']}:{TOOLS['name']}"

        def search(method, *arguments):
            return str(call(connection, NAME, "/com/vantor/cobblet/SearchProvider",
                            f"org.gnome.Shell.SearchProvider2.{method}", *arguments))
        self.assertIn(result, search("GetInitialResultSet", "(as)", ["Too"]))
        self.assertTrue(self.desktop.holds(lambda: not panels(self.desktop)))
        search("ActivateResult", "(sasu)", result, ["Too"], 0)
        self.wait_panel()
        self.desktop.key("Escape")
        self.desktop.wait(lambda: not panels(self.desktop), "the panel to go")
        self.run_here(self.command, "show", "Others")
        self.wait_panel()

    def test_opening_its_address_starts_it(self):
        self.run_here("gio", "open", "cobblet://show/Others")
        self.wait_panel()
