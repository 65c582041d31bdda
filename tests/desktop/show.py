"""What `./dev run` does where there is no display: the program on a virtual desktop, and a picture of it."""

import argparse
import pathlib
import re
import shutil
import signal
import sys

from cobblet import Cobblet
from desktop import Desktop


def serve(desktop, cobblet):
    """Keeps the desktop until the program or its user ends it, in reach of a VNC viewer."""
    if not shutil.which("x11vnc"):
        raise RuntimeError("Install x11vnc, which shows the desktop to a VNC viewer.")
    log = desktop.folder / "x11vnc.log"
    desktop.start(["x11vnc", "-q", "-localhost", "-nopw", "-forever", "-shared", "-autoport", "5900", "-display",
                   desktop.environment["DISPLAY"]], log=log)
    port = desktop.wait(lambda: re.search(r"^PORT=(\d+)", log.read_text(errors="replace"), re.MULTILINE), "x11vnc")
    print(f"A VNC viewer on this machine reaches the desktop at localhost:{port[1]}. Ctrl-C ends it.", flush=True)
    cobblet.process.wait()


def main():
    arguments = argparse.ArgumentParser(description=__doc__)
    arguments.add_argument("--screenshot", type=pathlib.Path, required=True)
    arguments.add_argument("--vnc", action="store_true")
    arguments.add_argument("command", nargs="+")
    options = arguments.parse_args()
    # So that a request to end also ends the desktop.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    try:
        with Desktop() as desktop:
            desktop.move(2, 2)
            cobblet = Cobblet(desktop, {}, options.command)
            cobblet.wait_painted()
            options.screenshot.parent.mkdir(parents=True, exist_ok=True)
            desktop.picture().save(options.screenshot)
            sys.stderr.write(cobblet.messages())
            print(f"Screenshot: {options.screenshot}")
            if options.vnc:
                serve(desktop, cobblet)
    except (AssertionError, RuntimeError) as problem:
        sys.exit(str(problem))
    except KeyboardInterrupt:
        pass


if __name__ == "__main__":
    main()
