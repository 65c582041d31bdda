"""A standalone group: its agent is made from the panel, found and started as any dock does it, kept up to date, taken
away."""

import contextlib
import json
import os
import pathlib
import plistlib
import shutil
import signal
import subprocess

from cobblet import EXECUTABLE, TOOLS, XCALC, XCLOCK, Cobblet, CobbletCase, group

CLOCKS = group(3, "My Clocks", [XCLOCK, XCALC], popupColumns=4)
AGENT = "com.cobblet.agent." + CLOCKS["id"].upper()
STANDALONE_TOOL = 2

# What a dock does: looks the application up, and starts it or an entry of its menu.
DOCK = """
import json, sys
from gi.repository import Gio, GLib
verb, identifier, *rest = sys.argv[1:]
if verb == "all":
    print(json.dumps([info.get_id() for info in Gio.AppInfo.get_all() if info.should_show()]))
else:
    info = Gio.DesktopAppInfo.new(identifier + ".desktop")
    if verb == "look":
        print(json.dumps(info and {"name": info.get_name(), "class": info.get_startup_wm_class(),
                                   "icon": info.get_icon().to_string(),
                                   "actions": {info.get_action_name(action): action for action in info.list_actions()}}))
    else:
        info.launch_action(rest[0], None)
"""


def identity(pid):
    """Tells a process from a later one with its number."""
    with contextlib.suppress(OSError):
        return pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()[19]
    return None


class StandaloneCase(CobbletCase):
    def setUp(self):
        super().setUp()
        self.home.write([TOOLS, CLOCKS])
        self.agents = self.home.path / "Applications/Cobblet Groups"
        self.bundle = self.agents / "My Clocks.app"
        self.entry = self.home.path / f".local/share/applications/{AGENT}.desktop"
        self.icons = self.home.path / ".local/share/icons/hicolor"
        # A program of its own, which a test can replace by a newer one.
        self.program = self.home.path / "program/Cobblet.app"
        shutil.copytree(pathlib.Path(EXECUTABLE).parents[2], self.program)
        self.known = {}
        self.addCleanup(self.end_agents)

    def start(self, *arguments, **environment):
        cobblet = Cobblet(self.desktop, {**self.home.environment(), **environment},
                          (str(self.program / "Contents/Helpers/cobblet"), *arguments))
        self.addCleanup(self.finish, cobblet)
        return cobblet

    def run_here(self, *command):
        environment = {**self.desktop.environment, **self.home.environment()}
        return subprocess.run(command, env=environment, stdin=subprocess.DEVNULL, cwd="/", capture_output=True,
                              text=True, timeout=30, check=True).stdout

    def dock(self, verb, *arguments):
        """What a dock sees of the application, or its act, whose program is not waited for."""
        command = ("/usr/bin/python3", "-c", DOCK, verb, AGENT, *arguments)
        return self.launch(*command) if verb == "act" else json.loads(self.run_here(*command))

    def launch(self, *command):
        subprocess.run(command, env={**self.desktop.environment, **self.home.environment()}, cwd="/", timeout=30,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)

    def agent(self):
        """The agent's process, or none."""
        for folder in pathlib.Path("/proc").iterdir():
            if folder.name.isdigit():
                with contextlib.suppress(OSError):
                    if os.readlink(folder / "exe").startswith(str(self.bundle / "Contents/MacOS/cobblet")):
                        self.known[int(folder.name)] = identity(folder.name)
                        return int(folder.name)
        return None

    def end_agents(self):
        self.agent()
        for pid, known in self.known.items():
            if known and identity(pid) == known:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, signal.SIGKILL)

    def wait_agent(self, but=None):
        return self.desktop.wait(lambda: self.agent() not in (None, but) and self.agent(), "the agent")

    def end_agent(self):
        os.kill(self.agent(), signal.SIGTERM)
        self.desktop.wait(lambda: self.agent() is None, "the agent to end")

    def agent_panel(self):
        return next((window for window in self.desktop.windows()
                     if window.name == AGENT and window.viewable() and window.rect().width >= 380), None)

    def wait_agent_panel(self):
        return self.desktop.wait(self.agent_panel, "the agent's panel")

    def hide_agent_panel(self):
        panel = self.wait_agent_panel()
        self.desktop.wait(lambda: self.desktop.focused() == panel, "the panel to have the keyboard")
        self.desktop.key("Escape")
        self.desktop.wait(lambda: self.agent_panel() is None, "the panel to be hidden")

    def click_standalone(self, cobblet):
        """Three tools, and at the right what tells of their keys."""
        self.desktop.wait(lambda: cobblet.panel() and len(cobblet.tool_buttons()) == 4, "the tools of the group")
        cobblet.wait_painted()
        cobblet.click_tool(STANDALONE_TOOL)

    def make_standalone(self, cobblet):
        """As a person does it, in the panel."""
        self.click_standalone(cobblet)
        self.wait_agent_panel()
        self.wait_agent()

    def stored(self):
        return {record["name"]: record.get("isStandalone", False)
                for record in json.loads(self.home.groups_file.read_text(encoding="utf-8"))}

    def information(self):
        return plistlib.loads((self.bundle / "Contents/Info.plist").read_bytes())

    def is_sound(self):
        tool = self.program / "Contents/Helpers/codesign"
        return subprocess.run([tool, "--verify", "--strict", self.bundle], check=False).returncode == 0


class FromThePanel(StandaloneCase):
    def test_it_is_found_started_used_renamed_and_deleted(self):
        cobblet = self.start("show", "My Clocks")
        self.make_standalone(cobblet)
        cobblet.wait_hidden()
        self.assertEqual(self.stored(), {"Tools": False, "My Clocks": True})
        self.assertTrue(self.is_sound())

        # As any dock or menu finds it.
        self.assertIn(AGENT + ".desktop", self.dock("all"))
        seen = self.dock("look")
        self.assertEqual((seen["name"], seen["class"], seen["icon"]), ("My Clocks", AGENT, AGENT))
        self.assertEqual(list(seen["actions"]), ["xclock", "xcalc", "Open All", "Hide All", "Quit All"])
        self.run_here("desktop-file-validate", str(self.entry))
        for size in (16, 32, 64, 128, 256, 512):
            self.assertTrue((self.icons / f"{size}x{size}/apps/{AGENT}.png").exists())

        # The panel shows the group, in a window that docks can tell; the tool that made it is not offered again.
        panel = self.wait_agent_panel()
        self.assertEqual((panel.instance, panel.name), (AGENT, AGENT))
        self.assertEqual(len(cobblet.tool_buttons(panel)), 3)

        # Started, and clicked again while it runs.
        self.end_agent()
        for _ in range(2):
            self.launch("gtk-launch", AGENT)
            self.hide_agent_panel()
        first = self.agent()

        # The menu of its icon, carried out by the application that runs.
        self.dock("act", seen["actions"]["Open All"])
        windows = [self.desktop.wait_window(name) for name in ("XClock", "XCalc")]
        self.dock("act", seen["actions"]["Hide All"])
        self.desktop.wait(lambda: not any(window.viewable() for window in windows), "the windows to be hidden")
        self.dock("act", seen["actions"]["xcalc"])
        self.desktop.wait(windows[1].viewable, "the calculator to be back")
        self.assertFalse(windows[0].viewable())
        self.dock("act", seen["actions"]["Quit All"])
        for name in ("XClock", "XCalc"):
            self.desktop.wait_no_window(name)
        self.assertEqual(self.agent(), first)
        self.assertIsNone(self.agent_panel())

        # And by nobody who stays, where it does not run.
        self.end_agent()
        self.dock("act", seen["actions"]["xclock"])
        self.desktop.wait_window("XClock")
        self.desktop.wait(lambda: self.agent() is None, "the helper to end")

        # Renamed by another program: the application stays where it is, under its new name.
        self.launch("gtk-launch", AGENT)
        self.hide_agent_panel()
        self.home.write([TOOLS, {**CLOCKS, "name": 'Time "%U" 🕑', "isStandalone": True}])
        self.desktop.wait(lambda: self.dock("look")["name"] == 'Time "%U" 🕑', "the new name")
        self.assertEqual(self.information()["CFBundleDisplayName"], 'Time "%U" 🕑')
        self.run_here("desktop-file-validate", str(self.entry))
        self.assertEqual([path.name for path in self.agents.iterdir() if path.suffix], ["My Clocks.app"])
        self.assertTrue(self.is_sound())

        # Deleted: nothing of it is left.
        self.home.write([TOOLS])
        self.desktop.wait(lambda: not self.bundle.exists() and self.agent() is None, "the application to be gone")
        self.desktop.wait(lambda: not self.entry.exists(), "its entry to be gone")
        self.assertEqual([path for path in self.icons.rglob("*.png") if AGENT in path.name], [])
        self.assertTrue(cobblet.running())

    def test_a_failure_to_sign_is_told_and_its_details_can_be_copied(self):
        cobblet = self.start("show", "My Clocks", CB_SIMULATE_SIGN_FAILURE="1")
        self.click_standalone(cobblet)

        def alert():
            dialog = self.desktop.atom("_NET_WM_WINDOW_TYPE_DIALOG")
            return next((window for window in self.desktop.windows() if window.pid() == cobblet.process.pid
                         and window.viewable() and dialog in (window.property("_NET_WM_WINDOW_TYPE") or [])), None)
        window = self.desktop.wait(alert, "the alert")
        self.desktop.wait(lambda: self.desktop.focused() == window, "the alert to have the keyboard")
        self.desktop.key("Tab")
        self.desktop.key("space")
        self.desktop.wait(lambda: alert() is None, "the alert to close")
        copied = self.run_here("xclip", "-selection", "clipboard", "-o").split("\n")
        self.assertEqual(copied[:2], ["Group: My Clocks", "Error: codesign exited with status 1 — "
                                      "simulated failure (CB_SIMULATE_SIGN_FAILURE)"])
        self.assertEqual([line.split(": ")[0] for line in copied[2:]],
                         ["macOS", "App", "codesign", "codesign_allocate", "DEVELOPER_DIR"])
        self.assertEqual(list(self.agents.glob("*.app")), [])
        self.assertFalse(self.entry.exists())
        self.assertEqual(self.stored()["My Clocks"], False)


class AtTheNextStart(StandaloneCase):
    def restart(self, cobblet):
        cobblet.end()
        return self.start("--service")

    def test_applications_follow_the_program_and_the_groups(self):
        cobblet = self.start("show", "My Clocks")
        self.make_standalone(cobblet)
        self.hide_agent_panel()
        first, stamp = self.agent(), self.information()["CBBinaryStamp"]

        # Another build of the program: the application is rebuilt where it is, and goes on without a panel.
        program = self.program / "Contents/MacOS/cobblet"
        os.utime(program, (1_700_000_000, 1_700_000_000))
        cobblet = self.restart(cobblet)
        self.desktop.wait(lambda: self.information()["CBBinaryStamp"] != stamp, "the new build")
        self.assertEqual(self.information()["CBBinaryStamp"], "1700000000")
        second = self.wait_agent(but=first)
        self.assertIsNone(self.agent_panel())
        self.assertTrue(self.is_sound())

        # While the program did not run, the group was deleted, somebody put a link and a file of his own into the
        # folder, and a build was left half done.
        cobblet.end()
        self.home.write([TOOLS])
        (self.agents / "Link.app").symlink_to(self.program)
        (self.agents / "Note.app").mkdir()
        (self.agents / ".staging/DEAD/Cobblet.app").mkdir(parents=True)
        self.start("--service")
        self.desktop.wait(lambda: not self.bundle.exists() and not self.entry.exists(), "the application to be gone")
        self.desktop.wait(lambda: identity(second) is None, "its process to end")
        self.assertTrue((self.program / "Contents/Info.plist").exists())
        self.assertEqual(sorted(path.name for path in self.agents.glob("*.app")), ["Link.app", "Note.app"])
        self.assertFalse((self.agents / ".staging/DEAD").exists())


class WithoutASessionBus(StandaloneCase):
    DESKTOP = {"bus": False}

    def test_a_group_becomes_an_application_all_the_same(self):
        cobblet = self.start("show", "My Clocks")
        self.click_standalone(cobblet)
        self.wait_agent_panel()
        self.assertTrue(self.is_sound())
