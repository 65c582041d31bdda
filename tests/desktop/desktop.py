"""A virtual desktop of real parts, started and ended by the process that uses it, and acted on as a person would.

usage: desktop.py server|session COMMAND [ARGUMENTS]
runs a command on an X server of its own, or in a whole session (a bus, a window manager, a dock) with an empty home, and
ends that with the command.
"""

import collections
import contextlib
import ctypes
import os
import pathlib
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time

from PIL import Image
from Xlib import X, XK, error
from Xlib.display import Display
from Xlib.ext import xtest

HERE = pathlib.Path(__file__).resolve().parent
DOCK_THICKNESS = 52
FRAMES = ("i3-frame",)  # of a window manager that gives its frames a WM_CLASS
PR_SET_PDEATHSIG = 1
LIBC = ctypes.CDLL(None)

# Each runs in the configuration that its distribution gives to somebody who has set up nothing.
WINDOW_MANAGERS = {"openbox": ["openbox", "--sm-disable"], "xfwm4": ["xfwm4"], "kwin_x11": ["kwin_x11"], "i3": ["i3"],
                   "fluxbox": ["fluxbox"], "awesome": ["awesome"]}
COMPOSITING = ("xfwm4", "kwin_x11")  # of these; the dock starts anew when the compositing starts

Rect = collections.namedtuple("Rect", "x y width height")


def right(rect):
    return rect.x + rect.width


def bottom(rect):
    return rect.y + rect.height


def colours(picture):
    return len(picture.getcolors(picture.width * picture.height))


def die_with_parent():
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGTERM)


class Window:
    """A client window: its identity, and questions that are answered afresh each time."""

    def __init__(self, desktop, handle):
        self.desktop = desktop
        self.handle = handle
        self.instance, self.name = handle.get_wm_class() or ("", "")

    def __eq__(self, other):
        return isinstance(other, Window) and self.handle.id == other.handle.id

    def __repr__(self):
        return f"{self.name}({self.handle.id:#x})"

    def property(self, name):
        """The property's values; empty when there is none."""
        with contextlib.suppress(error.XError):
            found = self.handle.get_full_property(self.desktop.atom(name), X.AnyPropertyType)
            return list(found.value) if found else []
        return []

    def pid(self):
        return next(iter(self.property("_NET_WM_PID")), None)

    def viewable(self):
        with contextlib.suppress(error.XError):
            return self.handle.get_attributes().map_state == X.IsViewable
        return False

    def minimised(self):
        return self.property("WM_STATE")[:1] == [3]

    def rect(self):
        """Where the window lies on the screen, without its frame."""
        size = self.handle.get_geometry()
        origin = self.desktop.root.handle.translate_coords(self.handle, 0, 0)
        return Rect(origin.x, origin.y, size.width, size.height)


class Desktop:
    """An X server with, as asked for, a session bus, a window manager and a dock on a side.

    Used in a `with` statement. `environment` is what programs on this desktop run with. `window_manager` is one of
    WINDOW_MANAGERS or none. `screens` are rectangles, the main screen first; without them the server has one screen.
    """

    def __init__(self, dock="bottom", bus=True, window_manager="openbox", size=(1280, 800), screens=()):
        self.dock_side = dock
        self.screens = screens
        self.size = (max(map(right, screens)), max(map(bottom, screens))) if screens else size
        self.has_bus, self.window_manager = bus, window_manager
        self._processes = []
        self.display = None
        # Nothing of a session that this process may be part of, but where the person keeps things.
        foreign = r"(?!XDG_\w+_(HOME|DIRS)$)(XDG_|DBUS_|QT_|(WAYLAND_)?DISPLAY$|XAUTHORITY$|DESKTOP_STARTUP_ID$)"
        self.environment = {name: value for name, value in os.environ.items() if not re.match(foreign, name)}

    def __enter__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="desktop-"))
        try:
            self._start()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if self.display:
            with contextlib.suppress(error.ConnectionClosedError):
                self.display.close()
        for process in reversed(self._processes[:]):
            self.end(process)
        shutil.rmtree(self.folder, ignore_errors=True)

    # Processes

    def start(self, arguments, log="programs.log", **options):
        """Starts a program, which is ended with the desktop. Its messages go to a file in the desktop's folder."""
        with open(self.folder / log, "ab") as output:
            process = subprocess.Popen(arguments, env=options.pop("environment", self.environment),
                                       stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                       preexec_fn=die_with_parent, start_new_session=True, **options)
        self._processes.append(process)
        return process

    def end(self, process):
        """Ends a process that start() started, if it is still there."""
        if process in self._processes:
            self._processes.remove(process)
            process.terminate()
            try:
                process.wait(3)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()

    def _start_answering(self, arguments, option, log):
        """Starts a program that writes one line to the descriptor that an option names: that line."""
        reading, writing = os.pipe()
        with os.fdopen(reading) as answer:
            self.start([*arguments, *(part.format(writing) for part in option)], log=log, pass_fds=[writing])
            os.close(writing)
            line = answer.readline().strip()
        if not line:
            raise RuntimeError(f"{arguments[0]} did not start: " + (self.folder / log).read_text())
        return line

    def _start(self):
        runtime = self.folder / "runtime"
        runtime.mkdir(mode=0o700)
        # Programs log to the journal when nobody seems to read their standard error.
        self.environment.update(XDG_RUNTIME_DIR=str(runtime), XDG_CURRENT_DESKTOP=self.window_manager or "X", LANG="C.UTF-8",
                                XDG_SESSION_TYPE="x11", QT_FORCE_STDERR_LOGGING="1", NO_AT_BRIDGE="1")
        self._start_server()
        if self.has_bus:
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._start_answering(
                ["dbus-daemon", "--session", "--nofork", "--nopidfile"], ["--print-address={}"], "bus.log")
        if self.window_manager:
            self._start_window_manager()
        if self.dock_side:
            self.start_dock(self.dock_side)

    def _start_server(self):
        width, height = self.size
        # Xvfb can't be divided into screens. Xvnc can, and listens nowhere but on a socket in our own folder.
        command = (["Xvnc", "-geometry", f"{width}x{height}", "-depth", "24", "-rfbport", "-1", "-rfbunixpath",
                    str(self.folder / "vnc"), "-SecurityTypes", "None"] if self.screens
                   else ["Xvfb", "-screen", "0", f"{width}x{height}x24"])
        display = ":" + self._start_answering([*command, "-dpi", "96", "-nolisten", "tcp", "-noreset"],
                                              ["-displayfd", "{}"], "server.log")
        self.environment["DISPLAY"] = display
        for index, (x, y, width, height) in enumerate(self.screens):
            # The one output belongs to the main screen; the millimetres are those of 96 dots an inch.
            subprocess.run(["xrandr", "--setmonitor", f"{'' if index else '*'}screen-{index}",
                            f"{width}/{width * 25.4 / 96:.0f}x{height}/{height * 25.4 / 96:.0f}+{x}+{y}",
                            "none" if index else "VNC-0"],
                           env=self.environment, check=True, timeout=20, stdout=subprocess.DEVNULL)
        self.display = Display(display)
        self.display.set_error_handler(lambda *_: None)
        self.root = Window(self, self.display.screen().root)
        self.root.handle.change_attributes(event_mask=X.SubstructureNotifyMask | X.PropertyChangeMask,
                                           background_pixel=0x6f8fb4)
        self.root.handle.clear_area(0, 0, *self.size)

    def _start_window_manager(self):
        home = self.folder / "window-manager"
        home.mkdir()
        environment = {**self.environment, "HOME": str(home)}
        for folder in ("CONFIG", "DATA", "CACHE"):
            environment.pop(f"XDG_{folder}_HOME", None)
        self.start(WINDOW_MANAGERS[self.window_manager], log="window-manager.log", environment=environment)
        self.wait(lambda: self.root.property("_NET_SUPPORTING_WM_CHECK"), "the window manager")
        if self.window_manager in COMPOSITING:
            self.wait(lambda: self.display.get_selection_owner(self.atom("_NET_WM_CM_S0")), "the compositing manager")
        if self.window_manager == "i3":
            self._keep_defaults()

    def _keep_defaults(self):
        """Answers what i3 asks at its first start: its configuration is not to be written to a file."""
        def answered():
            self.key("Escape")  # which is heard a moment after the question is shown
            return not self.root.property("_NET_CLIENT_LIST")
        self.wait(lambda: self.root.property("_NET_CLIENT_LIST"), "the question of i3")
        self.wait(answered, "the question of i3 to be gone")

    def start_dock(self, side, tray=False):
        """Starts the dock on a side of the screen, with a tray or without."""
        settings = (HERE / "session/tint2rc").read_text()
        for name, value in (("POSITION", "bottom center horizontal" if side == "bottom" else f"center {side} vertical"),
                            ("SIZE", f"100% {DOCK_THICKNESS}"), ("panel_items = LT", "panel_items = LT" + "S" * tray)):
            settings = settings.replace(name, value)
        path = self.folder / "tint2rc"
        path.write_text(settings)
        dock = self.start(["tint2", "-c", str(path)])
        self.wait(lambda: self.dock() and (not self.window_manager or
                                           tuple(self.root.property("_NET_WORKAREA")[2:4]) not in ((), self.size)),
                  "the dock and its place")
        return dock

    # Waiting

    def wait(self, condition, what, timeout=15.0):
        """Waits until the condition holds and returns its value. Looks again after each event of the server, and
        now and then for what the server does not tell of."""
        deadline = time.monotonic() + timeout
        while not (value := condition()):
            if time.monotonic() >= deadline:
                raise AssertionError(f"waited {timeout:g} s in vain for {what}")
            self._next_events()
        return value

    def wait_still(self, look, what):
        """Waits until what is looked at is true, and has stayed the same for 0.3 seconds."""
        seen, since = None, 0

        def still():
            nonlocal seen, since
            if (now := look()) != seen:
                seen, since = now, time.monotonic()
            return time.monotonic() >= since + 0.3 and seen
        return self.wait(still, f"{what} to be there and still", timeout=20)

    def holds(self, condition, seconds=0.4):
        """Whether the condition holds now and keeps holding for a while: for what must not happen."""
        deadline = time.monotonic() + seconds
        while condition():
            if time.monotonic() >= deadline:
                return True
            self._next_events()
        return False

    def _next_events(self):
        if not self.display.pending_events():
            select.select([self.display.fileno()], [], [], 0.02)
        while self.display.pending_events():
            self.display.next_event()

    # Windows

    def atom(self, name):
        return self.display.intern_atom(name)

    def windows(self):
        """All client windows, from the bottom of the stack to its top."""
        with contextlib.suppress(error.XError):
            return [client for child in self.root.handle.query_tree().children if (client := self._client(child))]
        return []

    def _client(self, handle, depth=2):
        with contextlib.suppress(error.XError):
            if (found := handle.get_wm_class()) and found[0] not in FRAMES:
                return Window(self, handle)
            for child in handle.query_tree().children if depth else []:
                if client := self._client(child, depth - 1):
                    return client
        return None

    def window(self, name):
        """The topmost window of this WM_CLASS that is shown or minimised, or none."""
        return next((window for window in reversed(self.windows()) if window.name.lower() == name.lower()
                     and (window.viewable() or window.minimised())), None)

    def wait_window(self, name):
        """The application's window once it can be seen."""
        return self.wait(lambda: (window := self.window(name)) and window.viewable() and window,
                         f"a window of {name}", timeout=20)

    def wait_no_window(self, name):
        self.wait(lambda: self.window(name) is None, f"{name} to be gone")

    def dock(self):
        return next((window for window in self.windows() if window.name == "Tint2" and window.viewable()
                     and window.property("_NET_WM_STRUT_PARTIAL")), None)

    def focused(self):
        """The client window that has the keyboard, or none."""
        with contextlib.suppress(error.XError):
            handle = self.display.get_input_focus().focus
            while not isinstance(handle, int) and handle != self.root.handle:
                if handle.get_wm_class():
                    return Window(self, handle)
                handle = handle.query_tree().parent
        return None

    def wait_focus(self, window):
        self.wait(lambda: self.focused() == window, f"{window} to have the keyboard")

    def close_applications(self):
        """Ends every application on this desktop but the dock."""
        def applications():
            return [window for window in self.windows() if window.property("WM_STATE") and window.name != "Tint2"]
        for window in applications():
            window.handle.kill_client()
        self.wait(lambda: not applications(), "the applications to end")

    # Pointer and keys

    def _input(self, kind, *detail, **place):
        xtest.fake_input(self.display, kind, *detail, **place)
        self.display.sync()

    def move(self, x, y):
        self._input(X.MotionNotify, x=round(x), y=round(y))

    def click(self, x, y, button=1):
        self.move(x, y)
        self._input(X.ButtonPress, button)
        self._input(X.ButtonRelease, button)

    @contextlib.contextmanager
    def pressing(self, button=1):
        """Holds a button of the pointer."""
        self._input(X.ButtonPress, button)
        try:
            yield
        finally:
            self._input(X.ButtonRelease, button)

    def key(self, key, *modifiers):
        """Presses and releases a key with modifiers held. A key is the name of its keysym, or its number, which no
        layout changes."""
        with contextlib.ExitStack() as held:
            for each in (*modifiers, key):
                held.enter_context(self.holding(each))

    @contextlib.contextmanager
    def holding(self, key):
        code = key if isinstance(key, int) else self.display.keysym_to_keycode(XK.string_to_keysym(key))
        self._input(X.KeyPress, code)
        try:
            yield
        finally:
            self._input(X.KeyRelease, code)

    def picture(self, rect=None):
        """What is on the screen, or on a part of it; what lies beyond its edges is left out."""
        rect = rect or Rect(0, 0, *self.size)
        x, y = max(rect.x, 0), max(rect.y, 0)
        rect = Rect(x, y, min(right(rect), self.size[0]) - x, min(bottom(rect), self.size[1]) - y)
        data = self.root.handle.get_image(*rect, X.ZPixmap, 0xFFFFFFFF).data
        return Image.frombytes("RGB", rect[2:], data, "raw", "BGRX")


def main():
    kind, *command = sys.argv[1:]
    # So that a request to end also ends the desktop.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    is_session = kind == "session"
    with Desktop(size=(1440, 900)) if is_session else Desktop(dock=None, bus=False, window_manager=False) as desktop:
        environment = {**os.environ, "DISPLAY": desktop.environment["DISPLAY"]}
        if is_session:
            home = desktop.folder / "home"
            for folder in (".config", ".local/share", ".cache"):
                (home / folder).mkdir(parents=True)
            # Only what the desktop of a fresh user would have.
            environment = {name: value for name, value in desktop.environment.items()
                           if name == "XDG_RUNTIME_DIR" or not re.match("XDG_|QSG_|QML_|GTK_|GDK_", name)}
            environment["HOME"] = str(home)
        return subprocess.run(command, env=environment, preexec_fn=die_with_parent, check=False).returncode


if __name__ == "__main__":
    sys.exit(main())
