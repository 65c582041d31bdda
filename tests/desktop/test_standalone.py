"""A standalone group: its agent is made from the panel, found and started as any dock does it, kept up to date, taken
away."""

import contextlib
import json
import os
import pathlib
import signal
import subprocess

from cobblet import TOOLS, XCALC, XCLOCK, CobbletCase, group, panels

CLOCKS = group(3, "My Clocks", [XCLOCK, XCALC], popupColumns=4)
AGENT = "com.cobblet.agent." + CLOCKS["id"].upper()
STANDALONE_TOOL = 2

# What a dock does: looks the application up, or carries out an entry of its menu.
DOCK = """
import json, sys
from gi.repository import Gio
identifier, *action = sys.argv[1:]
info = Gio.DesktopAppInfo.new(identifier)
if action:
    info.launch_action(action[0], None)
else:
    listed = [other.get_id() for other in Gio.AppInfo.get_all() if other.should_show()]
    actions = {info.get_action_name(action): action for action in info.list_actions()}
    print(json.dumps([identifier in listed, info.get_name(), info.get_startup_wm_class(), info.get_icon().to_string(),
                      actions]))
"""


class Standalone(CobbletCase):
    GROUPS = [TOOLS, CLOCKS]

    def setUp(self):
        super().setUp()
        self.agents = self.home.path / "Applications/Cobblet Groups"
        self.bundle = self.agents / "My Clocks.app"
        self.entry = self.home.path / f".local/share/applications/{AGENT}.desktop"
        self.icons = self.home.path / ".local/share/icons/hicolor"
        self.addCleanup(self.end_agents, signal.SIGKILL)

    def launch(self, *command):
        """Runs what starts a program that stays."""
        subprocess.run(command, env={**self.desktop.environment, **self.home.environment()}, cwd="/", timeout=30,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)

    def look(self):
        """What a dock sees of the agent: whether it is listed, its name, class, icon and actions."""
        return json.loads(self.run_here("/usr/bin/python3", "-c", DOCK, self.entry.name)[1])

    def act(self, name):
        """Carries out an entry of the agent's menu in a dock."""
        self.launch("/usr/bin/python3", "-c", DOCK, self.entry.name, self.look()[-1][name])

    def processes(self):
        """The agents that run."""
        found = []
        for program in pathlib.Path("/proc").glob("[0-9]*/exe"):
            with contextlib.suppress(OSError):
                if os.readlink(program).startswith(f"{self.agents}/"):
                    found.append(int(program.parent.name))
        return found

    def end_agents(self, how=signal.SIGTERM):
        for process in self.processes():
            os.kill(process, how)
        self.desktop.wait(lambda: not self.processes(), "the agent to end")

    def wait_panel(self):
        return self.desktop.wait(lambda: panels(self.desktop, AGENT), "the agent's panel")[0]

    def hide_panel(self):
        self.desktop.wait_focus(self.wait_panel())
        self.desktop.key("Escape")
        self.desktop.wait(lambda: not panels(self.desktop, AGENT), "the panel to be hidden")

    def click_standalone(self, cobblet):
        """Makes the group standalone as a person does. Beside three tools the row tells of their keys."""
        self.desktop.wait(lambda: cobblet.panel() and len(cobblet.tool_buttons()) == 4, "the tools of the group")
        cobblet.wait_painted()
        cobblet.click_tool(STANDALONE_TOOL)

    def test_it_is_found_started_used_and_deleted(self):
        cobblet = self.start("show", "My Clocks")
        self.click_standalone(cobblet)
        panel = self.wait_panel()
        cobblet.wait_hidden()
        self.assertEqual([record.get("isStandalone", False) for record in self.home.read()], [False, True])
        self.assertEqual((panel.instance, panel.name), (AGENT, AGENT))
        self.assertEqual(len(cobblet.tool_buttons(panel)), 3, "the tool that made it is not offered again")

        # As any dock or menu finds it.
        seen = self.look()
        self.assertEqual(seen[:4], [True, "My Clocks", AGENT, AGENT])
        self.assertEqual(list(seen[4]), ["xclock", "xcalc", "Open All", "Hide All", "Quit All"])
        self.assertEqual(len(list(self.icons.glob(f"*/apps/{AGENT}.png"))), 8)

        # Started, and clicked again while it runs.
        self.end_agents()
        for _ in range(2):
            self.launch("gtk-launch", AGENT)
            self.hide_panel()
        first = self.processes()
        self.assertEqual(len(first), 1)

        # The menu of its icon, carried out by the agent that runs.
        self.act("Open All")
        for name in ("XClock", "XCalc"):
            self.desktop.wait_window(name)
        self.act("Quit All")
        for name in ("XClock", "XCalc"):
            self.desktop.wait_no_window(name)
        self.assertEqual((self.processes(), panels(self.desktop, AGENT)), (first, []))

        # And by nobody who stays, where it does not run.
        self.end_agents()
        self.act("xclock")
        self.desktop.wait_window("XClock")
        self.desktop.wait(lambda: not self.processes(), "the helper to end")

        # Deleted by another program while it runs: nothing of it is left.
        self.launch("gtk-launch", AGENT)
        self.hide_panel()
        self.home.write([TOOLS])
        self.desktop.wait(lambda: not (self.bundle.exists() or self.processes() or self.entry.exists()), "all to be gone")
        self.desktop.wait(lambda: not list(self.icons.rglob(f"*{AGENT}*")), "its icons to be gone")
        self.assertIsNone(cobblet.process.poll())
