"""The command on the path, with stand-ins for the running application and for the one that it starts."""

import os
import pathlib
import shutil
import socket
import subprocess
import tempfile
import threading
import unittest

from gi.repository import Gio, GLib

INTERFACES = """<node>
<interface name="com.vantor.cobblet.CommandLine"><method name="Run"><arg type="aay" direction="in"/>
<arg type="a{sv}" direction="in"/>%s</method></interface>
<interface name="org.freedesktop.Application"><method name="Activate"><arg type="a{sv}" direction="in"/></method></interface>
</node>"""

# Says what it was started with; the environment and the signals too.
APPLICATION = """#!/bin/sh
printf '%s\\0' "$0" "$DESKTOP_STARTUP_ID" "$(sed -n 's/^SigIgn:.//p' /proc/self/status)" $$ "$@"
exit 3
"""


def answer(*values, signature="(iss)"):
    return lambda call: call.return_value(GLib.Variant(signature, values))


class Command(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        loop = GLib.MainLoop()
        thread = threading.Thread(target=loop.run)
        thread.start()
        cls.addClassCleanup(thread.join)
        cls.addClassCleanup(loop.quit)

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="command-"))
        self.addCleanup(shutil.rmtree, self.folder)
        contents = self.folder / "Cobblet.app/Contents"
        for name in ("Helpers", "MacOS"):
            (contents / name).mkdir(parents=True)
        shutil.copy2(os.environ["COBBLET_COMMAND"], contents / "Helpers/cobblet")
        self.application = contents / "MacOS/cobblet"
        self.application.write_text(APPLICATION)
        self.application.chmod(0o755)
        self.command = self.folder / "cobblet"  # as installed: a link in another folder
        self.command.symlink_to("Cobblet.app/Contents/Helpers/cobblet")
        bus = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address"],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.addCleanup(bus.communicate)
        self.addCleanup(bus.kill)
        self.address = bus.stdout.readline().strip()
        self.environment = {"PATH": os.environ["PATH"], "LANG": "C.UTF-8", "HOME": str(self.folder),
                            "DBUS_SESSION_BUS_ADDRESS": self.address}

    def stand_in(self, respond=answer(0, "", ""), shape="iss"):
        """Owns the name of the running application; `requests` are what it was asked: method, arguments, data."""
        self.requests = []
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self.bus = Gio.DBusConnection.new_for_address_sync(self.address, flags, None, None)

        def run(_connection, _sender, _path, _interface, method, parameters, call):
            *arguments, data = parameters.unpack()
            self.requests.append((method, [bytes(argument) for given in arguments for argument in given], data))
            (respond if method == "Run" else answer(signature="()"))(call)
        shapes = "".join(f'<arg type="{kind}" direction="out"/>' for kind in shape)
        for interface in Gio.DBusNodeInfo.new_for_xml(INTERFACES % shapes).interfaces:
            self.bus.register_object("/com/vantor/cobblet", interface, run, None, None)
        self.bus.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
                           GLib.Variant("(su)", ("com.vantor.cobblet", 4)), None, 0, 10000, None)

    def start_command(self, *arguments, stdout=subprocess.PIPE, restore_signals=True, **environment):
        return subprocess.Popen([self.command, *arguments], env={**self.environment, **environment}, stdout=stdout,
                                stdin=subprocess.DEVNULL, stderr=subprocess.PIPE, restore_signals=restore_signals)

    def run_command(self, *arguments, **options):
        """The command's status, output and errors."""
        with self.start_command(*arguments, **options) as process:
            output, errors = process.communicate(timeout=60)
            return process.returncode, output, errors

    def assert_becomes_application(self, *arguments, process=None, **environment):
        """What the application says of the variable, the ignored signals and its process."""
        with process or self.start_command(*arguments, **environment) as process:
            output, errors = process.communicate(timeout=60)
        self.assertEqual((process.returncode, errors), (3, b""))
        place, startup, ignored, pid, *given, _ = output.split(b"\0")
        self.assertEqual(pathlib.Path(os.fsdecode(place)).resolve(), self.application)
        self.assertEqual(given, [os.fsencode(argument) for argument in arguments])
        self.assertEqual((int(ignored, 16), int(pid)), (0, process.pid))
        return startup

    def assert_one_sentence(self, status, words, *arguments):
        """The command fails, and says a sentence with these words."""
        result, output, errors = self.run_command(*arguments)
        self.assertEqual((result, output), (status, b""), errors)
        self.assertRegex(errors.decode(), rf"\Acobblet: [^\n]*{words}[^\n]*\n\Z")


class WithAnInstance(Command):
    def test_arguments_arrive_byte_for_byte_and_the_answer_is_passed_on(self):
        self.stand_in(answer(2, "Wörk 🧰\nno end", "two of them\n"))
        for arguments in (("show", "--", "--help"), ("launch", ""), ("quit", "It's \"$(x)\" `y` \\ *\n\t🧰"),
                          ("show", b"\xff\xfe"), ("show", "x" * 65536)):
            with self.subTest(arguments=str(arguments)[:60]):
                self.assertEqual(self.run_command(*arguments), (2, "Wörk 🧰\nno end".encode(), b"two of them\n"))
                self.assertEqual(self.requests[-1], ("Run", [os.fsencode(argument) for argument in arguments], {}))

    def test_the_desktops_tokens_go_along_unless_they_are_none(self):
        self.stand_in()
        told = {"desktop-startup-id": "launch-7_TIME9", "activation-token": "token~1"}
        for startup, token, expected in (("launch-7_TIME9", "token~1", told), ("x" * 5000, b"\xff", {})):
            for arguments, method in (((), "Activate"), (("show", "Work"), "Run")):
                self.run_command(*arguments, DESKTOP_STARTUP_ID=startup, XDG_ACTIVATION_TOKEN=token)
                self.assertEqual(self.requests[-1][::2], (method, expected))

    def test_what_is_more_than_a_name_can_be_or_is_for_a_new_process_is_not_asked(self):
        self.stand_in()
        for arguments in (("show", "x" * 65537), ("say", *["x" * 65536] * 17)):
            self.assert_one_sentence(64, "more text", *arguments)
        for argument in ("--help", "--version", "--service"):
            self.assert_becomes_application(argument)
        self.assertEqual(self.requests, [])

    def test_what_is_no_answer_is_told(self):
        def refuse(call):
            call.return_dbus_error("org.freedesktop.DBus.Error.AccessDenied", "Not today.")
        for given, status, words in (
                ({"respond": refuse}, 69, "refused: Not today."),
                ({"respond": answer(7, signature="(i)"), "shape": "i"}, 76, "another version"),
                ({"respond": answer(0, "x" * (65 << 20), "")}, 76, "ended the connection"),
                ({"respond": lambda call: None}, 75, "running Cobblet does not answer")):
            with self.subTest(words):
                self.stand_in(**given)
                self.assert_one_sentence(status, words, "list")
                self.bus.close_sync()

    def test_nobody_reading_is_no_failure_and_a_full_disk_is_one(self):
        self.stand_in(answer(0, "x" * (1 << 20), ""))
        reading, writing = os.pipe()
        os.close(reading)
        with os.fdopen(writing, "wb") as pipe:
            # Without the signal, so that the error comes in its place.
            self.assertEqual(self.run_command("list", stdout=pipe, restore_signals=False), (0, None, b""))
        with open("/dev/full", "wb") as full:
            status, _, errors = self.run_command("list", stdout=full)
        self.assertEqual((status, b"No space left" in errors), (74, True))

    def test_the_bus_is_found_in_the_runtime_folder(self):
        self.stand_in()
        (self.folder / "bus").symlink_to(self.address.split("path=")[1].split(",")[0])
        self.assertEqual(self.run_command("list", DBUS_SESSION_BUS_ADDRESS="", XDG_RUNTIME_DIR=str(self.folder)),
                         (0, b"", b""))


class WithoutAnInstance(Command):
    def test_it_becomes_the_application_with_everything_it_was_given(self):
        for arguments in ((), ("show", "It's \"odd\" 🧰"), ("launch", b"\xff")):
            self.assertEqual(self.assert_becomes_application(*arguments, DESKTOP_STARTUP_ID="launch-7"), b"launch-7")

    def test_no_bus_that_may_be_used_is_no_instance(self):
        stopped = self.folder / "stopped"
        with socket.socket(socket.AF_UNIX) as server:
            server.bind(str(stopped))  # and nobody listens any more
        with socket.create_server(("127.0.0.1", 0)) as network:
            network.setblocking(False)
            for address in ("", f"unix:path={stopped}", f"unix:path={self.folder}/none", ";;unix:nonsense=%;unix",
                            f"unixexec:path=/bin/touch,argv1={self.folder / 'executed'}",
                            f"tcp:host=127.0.0.1,port={network.getsockname()[1]}"):
                with self.subTest(address):
                    self.assert_becomes_application("list", DBUS_SESSION_BUS_ADDRESS=address,
                                                    XDG_RUNTIME_DIR=str(self.folder))
            self.assertRaises(BlockingIOError, network.accept)
        self.assertFalse((self.folder / "executed").exists())

    def test_a_bus_that_hangs_up_or_says_nothing(self):
        path = self.folder / "mute"
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={path}"
        with socket.socket(socket.AF_UNIX) as server:
            server.bind(str(path))
            server.listen(0)
            self.assert_one_sentence(75, "session bus does not answer", "list")
            server.accept()[0].close()
            process = self.start_command("list")
            server.accept()[0].close()
            self.assert_becomes_application("list", process=process)

    def test_an_application_that_cannot_be_started_is_said_so(self):
        self.application.chmod(0o644)
        self.assert_one_sentence(69, f"{self.application}.*Permission denied", "list")
