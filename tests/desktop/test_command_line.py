"""The command on the path with the real program: what it prints, what it starts, and what an installation makes of it."""

import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

from cobblet import EXECUTABLE, OTHERS, TOOLS, Home, group
from desktop import Desktop
from test_requests import RequestsCase

ODD = [group(10, "It's \"odd\" $(touch owned) `x`; \\", []), group(11, "🧰 Wörk", []), group(12, "-dash", []),
       group(13, "two\nlines", []), group(14, "Twin", []), group(15, "Twin", []), group(16, "\x1b[31mRed", [])]
BUILD = pathlib.Path(EXECUTABLE).resolve().parents[3]
ACTIVATABLE = "com.vantor.cobblet"


def run(environment, *command):
    """Status, output and errors of a program."""
    done = subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, cwd="/", capture_output=True, timeout=60,
                          check=False)
    return done.returncode, done.stdout.decode(), done.stderr.decode()


class CommandLine(RequestsCase):
    def test_the_command_becomes_the_application(self):
        cobblet = self.start()
        panel = cobblet.wait_painted()
        self.assertEqual((panel.instance, panel.pid()), ("cobblet", cobblet.process.pid))
        running = pathlib.Path(f"/proc/{cobblet.process.pid}/exe").resolve()
        self.assertEqual(running, pathlib.Path(EXECUTABLE).resolve().parents[1] / "MacOS/cobblet")

    def test_the_list_is_the_same_with_and_without_an_instance(self):
        self.home.write([TOOLS, OTHERS, *ODD])
        alone = [self.ask("list"), self.ask("list", "--json")]
        cobblet = self.start()
        cobblet.wait_painted()
        self.assertEqual([self.ask("list"), self.ask("list", "--json")], alone)
        for _, text, errors in alone:
            self.assertEqual(errors, "")
            self.assertFalse(set(text) & {"\x1b"}, "what is printed does nothing to a terminal")
        (_, lines, _), (_, text, _) = alone
        groups = json.loads(text)
        self.assertEqual([record["name"] for record in groups], [record["name"] for record in [TOOLS, OTHERS, *ODD]])
        self.assertEqual([line.split()[0] for line in lines.splitlines()], [record["id"] for record in groups])

    def test_odd_names_arrive_and_wrong_ones_are_told_of(self):
        self.home.write([TOOLS, *ODD])
        self.start().wait_painted()
        for record in (ODD[0], ODD[1], ODD[3], ODD[6]):
            self.assertEqual(self.ask("hide", record["name"]), (0, "", ""))
        self.assertEqual(self.ask("hide", "--", "-dash"), (0, "", ""))
        self.assertFalse(pathlib.Path("/owned").exists())

        status, output, errors = self.ask("launch", "Twin")
        self.assertEqual((status, output), (2, ""))
        self.assertEqual([record["id"] in errors for record in ODD], [record["name"] == "Twin" for record in ODD])
        self.assertEqual(self.ask("quit", "Nope"),
                         (1, "", "There's no group named “Nope”. It may have been renamed or deleted.\n"))
        for arguments in (["hide", "-dash"], ["show", b"a\xff"], ["cobblet://erase/Tools"]):
            status, output, errors = self.ask(*arguments)
            self.assertEqual((status, output, bool(errors)), (64, "", True), arguments)


class Installed(unittest.TestCase):
    """A desktop that knows the program only by what an installation has put there."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="installed-"))
        self.addCleanup(shutil.rmtree, self.folder)
        prefix = self.folder / "a prefix"
        subprocess.run(["cmake", "--install", BUILD, "--prefix", prefix], check=True, timeout=120,
                       stdout=subprocess.DEVNULL)
        self.command = prefix / "bin/cobblet"
        home = Home()
        self.addCleanup(home.remove)
        self.desktop = Desktop()
        # What the bus starts has the environment of the bus.
        self.desktop.environment.update(home.environment(), XDG_DATA_DIRS=f"{prefix}/share:/usr/local/share:/usr/share")
        self.enterContext(self.desktop)
        self.addCleanup(self.end_instance)

    def call(self, path, method, *arguments):
        status, output, errors = run(self.desktop.environment, "gdbus", "call", "--session", "--dest", ACTIVATABLE,
                                     "--object-path", path, "--method", method, *arguments)
        self.assertEqual((status, errors), (0, ""))
        return output.strip()

    def instance(self):
        """The process that owns the name, or none."""
        status, output, _ = run(self.desktop.environment, "gdbus", "call", "--session", "--dest",
                                "org.freedesktop.DBus", "--object-path", "/org/freedesktop/DBus", "--method",
                                "org.freedesktop.DBus.GetConnectionUnixProcessID", ACTIVATABLE)
        return int(output.split()[1].strip(",)")) if status == 0 else None

    def end_instance(self):
        pid = self.instance()
        if pid:
            os.kill(pid, signal.SIGTERM)
            self.desktop.wait(lambda: not self.instance(), "the program to end")

    def panels(self):
        return [window for window in self.desktop.windows() if window.instance == "cobblet" and window.viewable()
                and window.rect().width >= 380]

    def test_a_search_starts_it_without_a_panel_and_an_activation_shows_one(self):
        search = "/com/vantor/cobblet/SearchProvider", "org.gnome.Shell.SearchProvider2"
        found = self.call(search[0], f"{search[1]}.GetInitialResultSet", "['Too']")
        self.assertIn(TOOLS["id"], found)
        self.assertTrue(self.instance())
        self.assertTrue(self.desktop.holds(lambda: not self.panels()))
        described = self.call(search[0], f"{search[1]}.GetResultMetas", f"['show:{TOOLS['id']}']")
        self.assertIn("Tools", described)
        self.assertIn(TOOLS["id"], self.call("/com/vantor/cobblet/Runner", "org.kde.krunner1.Match", "Tools"))
        self.assertEqual(self.panels(), [])

        self.call(search[0], f"{search[1]}.ActivateResult", f"show:{TOOLS['id']}", "['Too']", "0")
        self.desktop.wait(self.panels, "the panel")
        self.desktop.key("Escape")
        self.desktop.wait(lambda: not self.panels(), "the panel to go")
        self.assertEqual(run(self.desktop.environment, self.command, "show", "Others"), (0, "", ""))
        self.desktop.wait(self.panels, "the panel")

    def test_opening_its_address_and_its_entry_starts_it(self):
        entry = "com.vantor.cobblet.desktop"
        self.assertEqual(run(self.desktop.environment, "gio", "mime", "x-scheme-handler/cobblet")[1].count(entry), 3)
        self.assertEqual(run(self.desktop.environment, "gio", "open", "cobblet://show/Others")[0], 0)
        self.desktop.wait(self.panels, "the panel", timeout=20)


if __name__ == "__main__":
    unittest.main()
