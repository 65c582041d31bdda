"""The command on the path, with stand-ins for the running application and for the one that it starts."""

import json
import os
import pathlib
import shutil
import signal
import socket
import subprocess
import tempfile
import unittest

STANDIN = pathlib.Path(__file__).resolve().with_name("standin.py")

# Says what it was started with; the environment and the signals too.
APPLICATION = """#!/bin/sh
printf '%s\\0' "$0" "$DESKTOP_STARTUP_ID" "$(sed -n 's/^SigIgn:.//p' /proc/self/status)" $$ "$@"
exit 3
"""


class Command(unittest.TestCase):
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
        bus = self.start("dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address")
        self.address = bus.stdout.readline().strip()
        self.environment = {"PATH": os.environ["PATH"], "LANG": "C.UTF-8", "HOME": str(self.folder),
                            "DBUS_SESSION_BUS_ADDRESS": self.address}

    def start(self, *command, **options):
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, **options)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def stand_in(self, **answer):
        """The stand-in process, once it owns the name; requested() is what it was asked."""
        instance = self.start("/usr/bin/python3", STANDIN, json.dumps(answer), env=self.environment)
        self.requested = lambda: json.loads(instance.stdout.readline())
        self.requested()
        return instance

    def start_command(self, *arguments, **environment):
        process = subprocess.Popen([self.command, *arguments], env={**self.environment, **environment},
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.kill)
        return process

    def run_command(self, *arguments, stdout=subprocess.PIPE, **options):
        return subprocess.run([self.command, *arguments], env=self.environment, stdin=subprocess.DEVNULL, stdout=stdout,
                              stderr=subprocess.PIPE, timeout=60, check=False, **options)

    def assert_becomes_application(self, *arguments, process=None, **environment):
        """What the application says of the variable, the ignored signals and its process."""
        process = process or self.start_command(*arguments, **environment)
        output, errors = process.communicate(timeout=60)
        self.assertEqual((process.returncode, errors), (3, b""))
        place, startup, ignored, pid, *given, _ = output.split(b"\0")
        self.assertEqual(pathlib.Path(os.fsdecode(place)).resolve(), self.application)
        self.assertEqual(given, [os.fsencode(argument) for argument in arguments])
        self.assertEqual((int(ignored, 16), int(pid)), (0, process.pid))
        return startup

    def assert_one_sentence(self, process, status, *words):
        output, errors = process.communicate(timeout=60)
        self.assertEqual((process.returncode, output), (status, b""), errors)
        self.assertRegex(errors.decode(), r"\Acobblet: [^\n]+\n\Z")
        for word in words:
            self.assertIn(word, errors.decode())


class WithAnInstance(Command):
    def test_arguments_arrive_byte_for_byte_and_the_answer_is_passed_on(self):
        self.stand_in(status=2, output="Wörk 🧰\nno end", errors="two of them\n")
        for arguments in (("show", "--", "--help"), ("launch", ""), ("quit", "It's \"$(x)\" `y` \\ *\n\t🧰"),
                          ("show", b"\xff\xfe"), ("show", "x" * 65536)):
            with self.subTest(arguments=str(arguments)[:60]):
                result = self.run_command(*arguments)
                self.assertEqual((result.returncode, result.stdout, result.stderr),
                                 (2, "Wörk 🧰\nno end".encode(), b"two of them\n"))
                self.assertEqual(self.requested(), {"method": "Run", "data": {}, "arguments":
                                                    [os.fsencode(argument).hex() for argument in arguments]})

    def test_the_desktops_tokens_go_along_unless_they_are_none(self):
        self.stand_in()
        told = {"desktop-startup-id": "launch-7_TIME9", "activation-token": "token~1"}
        for startup, token, expected in (("launch-7_TIME9", "token~1", told), ("", b"\xff", {}), ("x" * 5000, "", {})):
            for arguments, method in (((), "Activate"), (("show", "Work"), "Run")):
                self.start_command(*arguments, DESKTOP_STARTUP_ID=startup, XDG_ACTIVATION_TOKEN=token).communicate()
                request = self.requested()
                self.assertEqual((request["method"], request["data"]), (method, expected))

    def test_more_text_than_a_name_can_be_is_refused_before_it_is_sent(self):
        self.stand_in()
        for arguments in (("show", "x" * 65537), ("say", *["x" * 65536] * 17)):
            self.assert_one_sentence(self.start_command(*arguments), 64, "more text")
        self.run_command("list")
        self.assertEqual(self.requested()["arguments"], [b"list".hex()])

    def test_what_is_no_answer_is_told(self):
        for answer, status, word in (
                ({"error": "org.freedesktop.DBus.Error.AccessDenied"}, 69, "refused: Not today."),
                ({"without": "com.vantor.cobblet.CommandLine"}, 69, "another version"),
                ({"reply": "i"}, 76, "another version"), ({"size": 65 << 20}, 76, "ended the connection")):
            with self.subTest(answer=answer):
                instance = self.stand_in(**answer)
                self.assert_one_sentence(self.start_command("list"), status, word)
                instance.kill()
                instance.wait()
        os.kill(self.stand_in().pid, signal.SIGSTOP)
        self.assert_one_sentence(self.start_command("list"), 75, "running Cobblet does not answer")

    def test_nobody_reading_is_no_failure_and_a_full_disk_is_one(self):
        self.stand_in(size=1 << 20)
        reading, writing = os.pipe()
        os.close(reading)
        with os.fdopen(writing, "wb") as pipe:
            for restore in (True, False):  # with the signal, and with the error in its place
                result = self.run_command("list", stdout=pipe, restore_signals=restore)
                self.assertEqual((result.returncode, result.stderr), (-signal.SIGPIPE if restore else 0, b""))
        with open("/dev/full", "wb") as full:
            result = self.run_command("list", stdout=full)
        self.assertEqual((result.returncode, b"No space left" in result.stderr), (74, True))

    def test_the_bus_is_found_among_several_and_in_the_runtime_folder(self):
        self.stand_in()
        (self.folder / "bus").symlink_to(self.address.split("path=")[1].split(",")[0])
        for address in (f"tcp:host=localhost,port=1;{self.address};autolaunch:", ""):
            process = self.start_command("list", DBUS_SESSION_BUS_ADDRESS=address, XDG_RUNTIME_DIR=str(self.folder))
            self.assertEqual((*process.communicate(timeout=60), process.returncode), (b"", b"", 0))

    def test_what_a_new_process_does_is_not_asked_of_the_running_one(self):
        self.stand_in()
        for argument in ("--help", "-h", "--version", "--service"):
            self.assert_becomes_application(argument)


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
            self.assert_one_sentence(self.start_command("list"), 75, "session bus does not answer")
            server.accept()[0].close()
            process = self.start_command("list")
            server.accept()[0].close()
            self.assert_becomes_application("list", process=process)
            # A socket that takes no connection any more.
            with socket.socket(socket.AF_UNIX) as first:
                first.connect(str(path))
                self.assert_one_sentence(self.start_command("list"), 75, "bus does not answer")

    def test_an_application_that_cannot_be_started_is_said_so(self):
        self.application.chmod(0o644)
        self.assert_one_sentence(self.start_command("list"), 69, str(self.application), "Permission denied")
