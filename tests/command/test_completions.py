"""The completions of bash, in a real shell: what is typed with the tab key must arrive as the argument that was meant."""

import json
import os
import pathlib
import pty
import select
import shutil
import tempfile
import time
import unittest

RESOURCES = pathlib.Path(__file__).resolve().parents[2] / "resources"

NAMES = ["Work", "Side projects", "It's", "Tom & Jerry; rm *", "$HOME `touch owned` $(touch owned)", "key=a:b@c",
         "🧰 Tools", "!bang!", "*", "-dash", "two\nlines", "twin", "twin", ""]

LINES = [("cobblet quit Tom\t", ["quit", "Tom & Jerry; rm *"]),
         ("cobblet show \\$H\t", ["show", "$HOME `touch owned` $(touch owned)"]),
         ("cobblet show \"\\$H\t", ["show", "$HOME `touch owned` $(touch owned)"]),
         ("cobblet show key=a:\t", ["show", "key=a:b@c"]),
         ("cobblet show -- -d\t", ["show", "--", "-dash"]),
         ("cobblet show '!b\t", ["show", "!bang!"]),
         ("cobblet list --j\t; cobblet sho\tWo\t", ["show", "Work"])]


def identifier(index):
    return f"{index:08X}-0000-4000-8000-00000000000F"


class Bash(unittest.TestCase):
    """An interactive shell on a terminal of its own."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="completions-"))
        self.addCleanup(shutil.rmtree, self.folder)
        groups = [{"apps": [{"bundleID": "x.y", "name": "An application"}], "id": identifier(index), "name": name}
                  for index, name in enumerate(NAMES)]
        (self.folder / "listing").write_text(json.dumps(groups, indent=4, ensure_ascii=False), encoding="utf-8")
        (self.folder / "Work").mkdir()  # a folder that is called as a group is
        # Keeps its arguments where the list was not asked for; renamed when it is whole.
        command = self.folder / "cobblet"
        command.write_text('#!/bin/sh\n[ "$1" != list ] || exec cat "$HOME/listing"\n'
                           'printf "%s\\0" "$@" >"$HOME/partial"\nmv "$HOME/partial" "$HOME/arguments"\n')
        command.chmod(0o755)
        process, self.terminal = pty.fork()
        if process == 0:
            os.chdir(self.folder)
            os.environ.update(PATH=f"{self.folder}:/usr/bin:/bin", HOME=str(self.folder), LANG="C.UTF-8", TERM="xterm")
            os.execv("/bin/bash", ["bash", "--norc", "--noprofile", "-i"])
        self.addCleanup(os.waitpid, process, 0)
        self.addCleanup(os.close, self.terminal)

    def type(self, line, result):
        """What the line wrote into the file; what the shell draws is read meanwhile, as a terminal does."""
        os.write(self.terminal, f"{line}\r".encode())
        path, deadline, seen = self.folder / result, time.monotonic() + 60, b""
        while not path.exists():
            self.assertLess(time.monotonic(), deadline, seen.decode(errors="replace"))
            if select.select([self.terminal], [], [], 0.02)[0]:
                seen += os.read(self.terminal, 65536)
        written = path.read_bytes().decode().split("\0")[:-1]
        path.unlink()
        return written

    def test_what_is_completed_arrives_as_it_was_meant(self):
        self.type(f"bind 'set bell-style none'; . {RESOURCES / 'completions/cobblet.bash'}; : >ready", "ready")
        # What is twice there is told apart by its identifier.
        twin = identifier(NAMES.index("twin"))
        for line, expected in [*LINES, (f"cobblet show {twin[:-1]}\t", ["show", twin])]:
            with self.subTest(line=line):
                self.assertEqual(self.type(line, "arguments"), expected)
        self.assertFalse((self.folder / "owned").exists())
