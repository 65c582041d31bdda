"""What an installation puts where, and whether the desktop can make sense of it."""

import configparser
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

BUILD = pathlib.Path(os.environ["COBBLET_BUILD"])
FILES = ["bin/cobblet", "share/applications/com.vantor.cobblet.desktop",
         "share/dbus-1/services/com.vantor.cobblet.service",
         "share/gnome-shell/search-providers/com.vantor.cobblet.search-provider.ini",
         "share/krunner/dbusplugins/com.vantor.cobblet.desktop", "share/man/man1/cobblet.1",
         "share/bash-completion/completions/cobblet", "share/zsh/site-functions/_cobblet",
         "share/fish/vendor_completions.d/cobblet.fish", "share/icons/hicolor/scalable/apps/com.vantor.cobblet.svg",
         "share/icons/hicolor/64x64/apps/com.vantor.cobblet.png"]


class Installation(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="installation-"))
        self.addCleanup(shutil.rmtree, self.folder)

    def install(self, prefix, **environment):
        return subprocess.run(["cmake", "--install", BUILD, "--prefix", prefix], env={**os.environ, **environment},
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, timeout=120, check=False)

    def test_everything_is_there_and_names_its_place(self):
        for root, prefix in (("", self.folder / "odd & far (away)"), (str(self.folder), pathlib.Path("/usr"))):
            with self.subTest(prefix):
                self.assertEqual(self.install(prefix, DESTDIR=root).returncode, 0)
                here = pathlib.Path(f"{root}{prefix}")
                self.assertEqual([name for name in FILES if not (here / name).exists()], [])
                contents = (here / "bin/cobblet").resolve().parents[1].relative_to(here.resolve())
                desktop = here / "share/applications/com.vantor.cobblet.desktop"
                for file, section, key, expected in (
                        (desktop, "Desktop Entry", "Exec", f'"{prefix}/bin/cobblet" %u'),
                        (here / FILES[2], "D-BUS Service", "Exec", f'"{prefix / contents}/MacOS/cobblet" --service')):
                    entry = configparser.ConfigParser(interpolation=None)
                    entry.read(file, encoding="utf-8")
                    self.assertEqual(entry[section][key], expected)
                valid = subprocess.run(["desktop-file-validate", desktop], capture_output=True, text=True, check=False)
                self.assertEqual((valid.returncode, valid.stdout), (0, ""))
                # The command finds the application from there.
                self.assertIn("Cobblet", subprocess.run([here / "bin/cobblet", "--version"], capture_output=True, text=True,
                                                        timeout=60, check=True).stdout)

    def test_a_prefix_that_entries_cannot_name_is_refused(self):
        result = self.install(self.folder / "100%")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("choose a prefix", result.stderr)
