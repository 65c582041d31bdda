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
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=120, check=False)

    def check(self, root, prefix):
        """The files below `root` that make up an installation for `prefix`."""
        here = pathlib.Path(f"{root}{prefix}")
        for name in FILES:
            self.assertTrue((here / name).exists(), name)
        contents = (here / "bin/cobblet").resolve().parents[1]
        self.assertTrue(contents.is_relative_to(here.resolve()))
        application = pathlib.Path(prefix) / contents.relative_to(here.resolve()) / "MacOS/cobblet"
        self.assertTrue(os.access(f"{root}{application}", os.X_OK))

        entry = configparser.ConfigParser(interpolation=None)
        entry.optionxform = str
        entry.read(here / "share/applications/com.vantor.cobblet.desktop", encoding="utf-8")
        self.assertEqual(entry["Desktop Entry"]["Exec"], f'"{prefix}/bin/cobblet" %u')
        service = configparser.ConfigParser(interpolation=None)
        service.read(here / "share/dbus-1/services/com.vantor.cobblet.service", encoding="utf-8")
        self.assertEqual(dict(service["D-BUS Service"]),
                         {"name": "com.vantor.cobblet", "exec": f'"{application}" --service'})
        return here

    def test_everything_is_there_and_names_its_place(self):
        prefix = self.folder / "odd & far (away)"
        self.assertEqual(self.install(prefix).returncode, 0)
        here = self.check("", prefix)
        result = subprocess.run(["desktop-file-validate", here / "share/applications/com.vantor.cobblet.desktop"],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        self.assertEqual((result.returncode, result.stdout), (0, ""))
        # The command finds the application from there.
        result = subprocess.run([here / "bin/cobblet", "--version"], stdout=subprocess.PIPE, text=True, timeout=60,
                                check=False)
        self.assertEqual((result.returncode, result.stdout.split()[0]), (0, "Cobblet"))

    def test_a_package_is_made_below_another_root(self):
        self.assertEqual(self.install("/usr", DESTDIR=str(self.folder)).returncode, 0)
        self.check(self.folder, pathlib.Path("/usr"))

    def test_a_prefix_that_entries_cannot_name_is_refused(self):
        result = self.install(self.folder / "100%")
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("choose a prefix", result.stderr)


if __name__ == "__main__":
    unittest.main()
