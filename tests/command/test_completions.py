"""The completions, in real shells: what is typed with the tab key must arrive as the argument that was meant."""

import json
import os
import pathlib
import pty
import select
import shutil
import subprocess
import tempfile
import time
import unittest

RESOURCES = pathlib.Path(__file__).resolve().parents[2] / "resources"
COMPLETIONS = RESOURCES / "completions"

NAMES = ["Work", "Side projects", "It's", 'Say "hi"', "Tom & Jerry; rm *", "$HOME `touch owned` $(touch owned)", "a\\b",
         "key=a:b@c", "naïve café", "🧰 Tools", "~root", "!bang!", "[x]{y}(z)<q>|", "#1", "@", "*", "-dash", "two\nlines",
         "tab\there", "twin", "twin", "", " spaces at both ends "]


def identifier(index):
    return f"{index:08X}-0000-4000-8000-00000000000F"


def listing():
    """As the program prints it: a line for each key, the keys in their order."""
    groups = [{"apps": [{"bundleID": "x.y", "name": "An application"}], "emoji": "🧪", "id": identifier(index),
               "name": name} for index, name in enumerate(NAMES)]
    return json.dumps(groups, indent=4, ensure_ascii=False)


class Shell:
    """An interactive shell on a terminal of its own."""

    def __init__(self, folder, command, **environment):
        self.ready = folder / "ready"
        process, self.terminal = pty.fork()
        if process == 0:
            os.chdir(folder)
            os.execve(shutil.which(command[0]), command, {
                "PATH": f"{folder}:/usr/bin:/bin", "HOME": str(folder), "LANG": "C.UTF-8", "TERM": "xterm",
                **environment})
        self.process = process
        self.seen = b""

    def type(self, text):
        os.write(self.terminal, text.encode())

    def wait_file(self, path, timeout=60):
        """Waits for the file, and reads meanwhile what the shell draws, as a terminal does."""
        deadline = time.monotonic() + timeout
        while not path.exists():
            if time.monotonic() > deadline:
                raise AssertionError(f"{path.name} did not come; on the terminal:\n" + self.seen.decode(errors="replace"))
            if select.select([self.terminal], [], [], 0.02)[0]:
                self.seen += os.read(self.terminal, 65536)
        return path

    def end(self):
        os.close(self.terminal)
        os.waitpid(self.process, 0)


class Completions(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="completions-"))
        self.addCleanup(shutil.rmtree, self.folder)
        (self.folder / "listing").write_text(listing(), encoding="utf-8")
        (self.folder / "Work").mkdir()  # a folder that is called as a group is
        # Keeps its arguments where the list was not asked for; renamed when it is whole.
        command = self.folder / "cobblet"
        command.write_text('#!/bin/sh\n[ "$1" != list ] || exec cat "$HOME/listing"\n'
                           'printf "%s\\0" "$@" >"$HOME/partial"\nmv "$HOME/partial" "$HOME/arguments"\n')
        command.chmod(0o755)

    def open(self, command, begin):
        shell = Shell(self.folder, command)
        self.addCleanup(shell.end)
        shell.type(f"{begin}; : >ready\r")
        shell.wait_file(self.folder / "ready")
        return shell

    def arguments_of(self, shell, line):
        shell.type(f"{line}\r")
        path = shell.wait_file(self.folder / "arguments")
        arguments = path.read_bytes().decode().split("\0")[:-1]
        path.unlink()
        return arguments

    def check(self, shell, lines):
        for line, expected in lines:
            with self.subTest(line=line):
                self.assertEqual(self.arguments_of(shell, line), expected)
        self.assertFalse((self.folder / "owned").exists())

    # What every shell completes: the start of each name that tells it from the others, as typed without quotes.
    COMMON = [("cobblet sho\tWo\t", ["show", "Work"]),
              ("cobblet launch Sid\t", ["launch", "Side projects"]),
              ("cobblet hide It\t", ["hide", "It's"]),
              ("cobblet quit Say\t", ["quit", 'Say "hi"']),
              ("cobblet show Tom\t", ["show", "Tom & Jerry; rm *"]),
              ("cobblet show \\$H\t", ["show", "$HOME `touch owned` $(touch owned)"]),
              ("cobblet show a\t", ["show", "a\\b"]),
              ("cobblet show key\t", ["show", "key=a:b@c"]),
              ("cobblet show na\t", ["show", "naïve café"]),
              ("cobblet show 🧰\t", ["show", "🧰 Tools"]),
              ("cobblet show \\~r\t", ["show", "~root"]),
              ("cobblet show \\[\t", ["show", "[x]{y}(z)<q>|"]),
              ("cobblet show \\#\t", ["show", "#1"]),
              ("cobblet show @\t", ["show", "@"]),
              ("cobblet show \\*\t", ["show", "*"]),
              ("cobblet show \\!\t", ["show", "!bang!"]),
              ("cobblet show -- -d\t", ["show", "--", "-dash"]),
              ("cobblet show \\ sp\t", ["show", " spaces at both ends "]),
              ("cobblet show 'Side pr\t", ["show", "Side projects"]),
              ("cobblet show \"Tom & J\t", ["show", "Tom & Jerry; rm *"]),
              ("cobblet show 'It\t", ["show", "It's"]),
              ("cobblet show \"Say\t", ["show", 'Say "hi"']),
              ("cobblet list --j\t; cobblet show Wo\t", ["show", "Work"])]
    def test_bash(self):
        shell = self.open(["bash", "--norc", "--noprofile", "-i"],
                          f"bind 'set bell-style none'; . {COMPLETIONS / 'cobblet.bash'}")
        self.check(shell, self.COMMON + [
            ("cobblet show key=a:\t", ["show", "key=a:b@c"]),
            ("cobblet show '!b\t", ["show", "!bang!"]),
            ("cobblet show \"\\$H\t", ["show", "$HOME `touch owned` $(touch owned)"]),
            ("FOO=1 cobblet show Wo\t", ["show", "Work"]),
            ("true; cobblet show \"Side\t", ["show", "Side projects"])])
        self.check_identifiers(shell)

    def test_zsh(self):
        shell = self.open(["zsh", "-f", "-i"],
                          f"fpath=({COMPLETIONS} $fpath); autoload -Uz compinit; compinit -u -D; unsetopt beep")
        self.check(shell, self.COMMON)
        self.check_identifiers(shell)

    def test_fish(self):
        shell = self.open(["fish", "--no-config", "-i"], f"source {COMPLETIONS / 'cobblet.fish'}")
        self.check(shell, self.COMMON)
        self.check_identifiers(shell)

    def check_identifiers(self, shell):
        """Names that are of no use alone (twice there, with line breaks, with a dash in front) have their identifiers
        in their place, and only those."""
        of_no_use = [name for name in NAMES if NAMES.count(name) > 1 or name[:1] in ("", "-") or "\n" in name
                     or "\t" in name]
        for index, name in enumerate(NAMES):
            expected = identifier(index) if name in of_no_use else identifier(index)[:-1]
            self.assertEqual(self.arguments_of(shell, f"cobblet show {identifier(index)[:-1]}\t"), ["show", expected])


class Manual(unittest.TestCase):
    def test_the_page_is_well_formed(self):
        for command in (["mandoc", "-Tlint", "-W", "warning"], ["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z"]):
            result = subprocess.run([*command, RESOURCES / "cobblet.1"], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                    env={**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "80"}, timeout=60, check=False)
            self.assertEqual((result.returncode, result.stderr), (0, b""), result.stdout.decode()[-2000:])


if __name__ == "__main__":
    unittest.main()
