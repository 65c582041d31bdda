"""A program that calls as fast as it can does not keep the panel from opening."""

import os
import subprocess
import time

from cobblet import CobbletCase

FLOOD = os.environ.get("FLOOD", "")


class Flood(CobbletCase):
    def test_the_panel_opens_and_groups_are_listed_meanwhile(self):
        cobblet = self.start()
        cobblet.wait_painted()
        flood = [subprocess.Popen([FLOOD], env=self.desktop.environment) for _ in range(2)]
        try:
            times = []
            for _ in range(5):
                self.desktop.key("Escape")
                cobblet.wait_hidden()
                started = time.monotonic()
                cobblet.reopen()
                cobblet.wait_panel(timeout=60)
                times.append(time.monotonic() - started)
            self.assertTrue(all(each.poll() is None for each in flood), "the flood goes on")
            listed = subprocess.run(["gdbus", "call", "--session", "--dest", "com.vantor.cobblet", "--object-path",
                                     "/com/vantor/cobblet", "--method", "com.vantor.cobblet.Groups.List"],
                                    env=self.desktop.environment, capture_output=True, text=True, timeout=60,
                                    check=False)
            self.assertIn("'Tools'", listed.stdout, listed.stderr)
            print(f"request to panel during a flood: {sorted(times)[2] * 1000:.0f} ms")
        finally:
            for each in flood:
                each.kill()
                each.wait()
