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

from PIL import Image, ImageChops
from Xlib import X, XK, Xatom, error
from Xlib.display import Display
from Xlib.ext import xtest
from Xlib.protocol import event as x_event

HERE = pathlib.Path(__file__).resolve().parent
DOCK_THICKNESS = 52
PR_SET_PDEATHSIG = 1
LIBC = ctypes.CDLL(None)

Rect = collections.namedtuple("Rect", "x y width height")


def right(rect):
    return rect.x + rect.width


def bottom(rect):
    return rect.y + rect.height


class Window:
    """A client window: its identity, and questions that are answered afresh each time."""

    def __init__(self, desktop, handle):
        self.desktop = desktop
        self.handle = handle
        self.id = handle.id
        self.instance, self.name = handle.get_wm_class() or ("", "")

    def __eq__(self, other):
        return isinstance(other, Window) and self.id == other.id

    def __hash__(self):
        return self.id

    def __repr__(self):
        return f"{self.name}({self.id:#x})"

    def property(self, name):
        """The property's values, or none."""
        with contextlib.suppress(error.XError):
            found = self.handle.get_full_property(self.desktop.atom(name), X.AnyPropertyType)
            return found.value if found else None
        return None

    def pid(self):
        values = self.property("_NET_WM_PID")
        return values[0] if values else None

    def viewable(self):
        with contextlib.suppress(error.XError):
            return self.handle.get_attributes().map_state == X.IsViewable
        return False

    def minimised(self):
        state = self.property("WM_STATE")
        return state is not None and state[0] == 3

    def rect(self):
        """Where the window lies on the screen, without its frame."""
        size = self.handle.get_geometry()
        origin = self.desktop.root.translate_coords(self.handle, 0, 0)
        return Rect(origin.x, origin.y, size.width, size.height)


class Picture:
    """What was on a part of the screen."""

    def __init__(self, rect, data):
        self.rect = rect
        self.data = data
        self.image = Image.frombytes("RGB", rect[2:], data, "raw", "BGRX")

    def pixel(self, x, y):
        """The colour at a point of the screen."""
        return self.image.getpixel((x - self.rect.x, y - self.rect.y))

    def colours(self):
        return len(self.image.getcolors(1 << 24))

    def changed(self, other):
        """The smallest rectangle of the screen that holds every pixel in which two pictures differ, or none."""
        box = ImageChops.difference(self.image, other.image).getbbox()
        return Rect(self.rect.x + box[0], self.rect.y + box[1], box[2] - box[0], box[3] - box[1]) if box else None


def die_with_parent():
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGTERM)


class Desktop:
    """An X server with, as asked for, a session bus, a window manager, a dock on a side and a compositor.

    Used in a `with` statement. `environment` is what programs on this desktop run with. `screens` are rectangles, the
    main screen first; without them the server has one screen.
    """

    def __init__(self, dock="bottom", bus=True, window_manager=True, compositor=False, size=(1280, 800), screens=()):
        self.dock_side = dock
        self.screens = screens
        self.size = (max(map(right, screens)), max(map(bottom, screens))) if screens else size
        self._parts = {"bus": bus, "window_manager": window_manager, "compositor": compositor}
        self._processes = []
        # Nothing of a session that this process may be part of, but where the person keeps things.
        self.environment = {name: value for name, value in os.environ.items()
                            if re.match(r"XDG_\w+_(?:HOME|DIRS)$", name) or
                            not re.match(r"XDG_|DBUS_|QT_|(?:DISPLAY|WAYLAND_DISPLAY|XAUTHORITY|DESKTOP_STARTUP_ID)$",
                                         name)}

    def __enter__(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="desktop-"))
        try:
            self._start()
        except BaseException:
            self.close()
            raise
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        if hasattr(self, "display"):
            with contextlib.suppress(error.ConnectionClosedError):
                self.display.close()
            del self.display
        for process in reversed(self._processes):
            self.end(process)
        shutil.rmtree(self.folder, ignore_errors=True)

    # Processes

    def start(self, arguments, log=None, **options):
        """Starts a program on this desktop; it is ended with the desktop. Its messages go to the file `log`."""
        with open(log or os.devnull, "ab") as output:
            process = subprocess.Popen(arguments, env=options.pop("environment", self.environment),
                                       stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                                       preexec_fn=die_with_parent, start_new_session=True, **options)
        self._processes.append(process)
        return process

    def end(self, process):
        """Ends a process that start() started. False when that has happened before."""
        if process not in self._processes:
            return False
        self._processes.remove(process)
        process.terminate()
        try:
            process.wait(3)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
        return True

    def _start(self):
        runtime = self.folder / "runtime"
        runtime.mkdir(mode=0o700)
        # Programs log to the journal when nobody seems to read their standard error.
        self.environment.update(XDG_RUNTIME_DIR=str(runtime), XDG_CURRENT_DESKTOP="openbox", LANG="C.UTF-8",
                                XDG_SESSION_TYPE="x11", QT_FORCE_STDERR_LOGGING="1", NO_AT_BRIDGE="1")
        self._start_server()
        if self._parts["bus"]:
            self._start_bus()
        if self._parts["window_manager"]:
            self.start(["openbox", "--sm-disable", "--config-file", str(HERE / "session/openbox.xml")],
                       log=self.folder / "openbox.log")
            self.wait(lambda: self._root_property("_NET_SUPPORTING_WM_CHECK"), "the window manager")
        if self._parts["compositor"]:
            self.start(["picom", "--config", os.devnull, "--backend", "xrender",
                        "--no-use-damage"], log=self.folder / "picom.log")
            selection = self.atom("_NET_WM_CM_S0")
            self.wait(lambda: self.display.get_selection_owner(selection) != X.NONE, "the compositor")
        if self.dock_side:
            self.start_dock(self.dock_side)

    def _start_server(self):
        reading, writing = os.pipe()
        with os.fdopen(reading) as answer:
            width, height = self.size
            # Xvfb can't be divided into screens. Xvnc can, and listens nowhere but on a socket in our own folder.
            command = (["Xvnc", "-geometry", f"{width}x{height}", "-depth", "24", "-rfbport", "-1", "-rfbunixpath",
                        str(self.folder / "vnc"), "-SecurityTypes", "None"] if self.screens
                       else ["Xvfb", "-screen", "0", f"{width}x{height}x24"])
            server = self.start(command + ["-displayfd", str(writing), "-dpi", "96", "-nolisten", "tcp", "-noreset"],
                                log=self.folder / "server.log", pass_fds=[writing])
            os.close(writing)
            number = answer.readline().strip()
        if not number:
            server.wait()
            raise RuntimeError("The X server did not start: " + (self.folder / "server.log").read_text())
        self.environment["DISPLAY"] = f":{number}"
        for index, (x, y, width, height) in enumerate(self.screens):
            # The one output belongs to the main screen; the millimetres are those of 96 dots an inch.
            subprocess.run(["xrandr", "--setmonitor", f"{'' if index else '*'}screen-{index}",
                            f"{width}/{width * 25.4 / 96:.0f}x{height}/{height * 25.4 / 96:.0f}+{x}+{y}",
                            "none" if index else "VNC-0"],
                           env=self.environment, check=True, timeout=20, stdout=subprocess.DEVNULL)
        self.display = Display(f":{number}")
        self.display.set_error_handler(lambda *_: None)
        self.root = self.display.screen().root
        self.root.change_attributes(event_mask=X.SubstructureNotifyMask | X.PropertyChangeMask)
        self._paint_background()

    def _start_bus(self):
        reading, writing = os.pipe()
        with os.fdopen(reading) as answer:
            self.start(["dbus-daemon", "--session", "--nofork", "--nopidfile", f"--print-address={writing}"],
                       log=self.folder / "bus.log", pass_fds=[writing])
            os.close(writing)
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = answer.readline().strip()

    def start_dock(self, side, tray=False):
        """Starts the dock on a side of the screen, with a tray or without."""
        vertical = side != "bottom"
        settings = (HERE / "session/tint2rc").read_text()
        settings = settings.replace("POSITION", f"center {side} vertical" if vertical
                                    else "bottom center horizontal")
        settings = settings.replace("SIZE", f"100% {DOCK_THICKNESS}")
        if tray:
            settings = settings.replace("panel_items = LT", "panel_items = LTS")
        path = self.folder / "tint2rc"
        path.write_text(settings)
        dock = self.start(["tint2", "-c", str(path)], log=self.folder / "tint2.log")
        self.wait(lambda: self.dock() and self._area_is_less_the_dock(), "the dock")
        return dock

    def _area_is_less_the_dock(self):
        area = self._root_property("_NET_WORKAREA")
        return not self._parts["window_manager"] or (area and tuple(area[2:4]) != self.size)

    def _paint_background(self):
        """A plain picture, told to those that draw it behind themselves."""
        picture = self.root.create_pixmap(*self.size, self.display.screen().root_depth)
        picture.fill_rectangle(picture.create_gc(foreground=0x6f8fb4), 0, 0, *self.size)
        self.root.change_attributes(background_pixmap=picture)
        self.root.clear_area(0, 0, *self.size)
        for name in ("_XROOTPMAP_ID", "ESETROOT_PMAP_ID"):
            self.root.change_property(self.atom(name), Xatom.PIXMAP, 32, [picture.id])
        self.display.sync()

    # Waiting

    def wait(self, condition, what, timeout=15.0):
        """Waits until the condition holds and returns its value. Looks again after each event of the server, and
        now and then for what the server does not tell of."""
        deadline = time.monotonic() + timeout
        while True:
            value = condition()
            if value:
                return value
            remaining = deadline - time.monotonic()
            if remaining <= 0:
                raise AssertionError(f"waited {timeout:g} s in vain for {what}")
            self._next_events(min(remaining, 0.02))

    def holds(self, condition, seconds=0.4):
        """Whether the condition holds now and keeps holding for a while: for what must not happen."""
        deadline = time.monotonic() + seconds
        while condition():
            if time.monotonic() >= deadline:
                return True
            self._next_events(0.02)
        return False

    def _next_events(self, seconds):
        if not self.display.pending_events():
            select.select([self.display.fileno()], [], [], seconds)
        while self.display.pending_events():
            self.display.next_event()

    # Windows

    def atom(self, name):
        return self.display.intern_atom(name)

    def _root_property(self, name):
        found = self.root.get_full_property(self.atom(name), X.AnyPropertyType)
        return list(found.value) if found else None

    def windows(self):
        """All client windows, from the bottom of the stack to its top."""
        found = []
        with contextlib.suppress(error.XError):
            for child in self.root.query_tree().children:
                client = self._client(child)
                if client:
                    found.append(client)
        return found

    def _client(self, handle, depth=2):
        with contextlib.suppress(error.XError):
            if handle.get_wm_class():
                return Window(self, handle)
            for child in handle.query_tree().children if depth else []:
                client = self._client(child, depth - 1)
                if client:
                    return client
        return None

    def window(self, name):
        """The topmost window of this WM_CLASS that is shown or minimised, or none."""
        return next((window for window in reversed(self.windows()) if window.name.lower() == name.lower()
                     and (window.viewable() or window.minimised())), None)

    def wait_window(self, name):
        """The application's window once it can be seen."""
        def seen():
            window = self.window(name)
            return window if window and window.viewable() else None
        return self.wait(seen, f"a window of {name}", timeout=20)

    def wait_no_window(self, name):
        self.wait(lambda: self.window(name) is None, f"{name} to be gone")

    def dock(self):
        return next((window for window in self.windows()
                     if window.name == "Tint2" and window.viewable() and window.property("_NET_WM_STRUT_PARTIAL")), None)

    def focused(self):
        """The client window that has the keyboard, or none."""
        with contextlib.suppress(error.XError):
            handle = self.display.get_input_focus().focus
            while not isinstance(handle, int) and handle.id != self.root.id:
                if handle.get_wm_class():
                    return Window(self, handle)
                handle = handle.query_tree().parent
        return None

    def on_top(self, upper, lower):
        """Whether one window is stacked above another."""
        order = self.windows()
        return upper in order and lower in order and order.index(upper) > order.index(lower)

    def minimise(self, window):
        self._tell_root(window, "WM_CHANGE_STATE", [3])
        self.wait(window.minimised, f"{window} to be minimised")

    def activate(self, window):
        """As a pager does on a person's click."""
        self._tell_root(window, "_NET_ACTIVE_WINDOW", [2, X.CurrentTime, 0])
        self.wait(lambda: self.focused() == window, f"{window} to have the keyboard")

    def _tell_root(self, window, message, values):
        values = (values + [0] * 5)[:5]
        told = x_event.ClientMessage(window=window.handle, client_type=self.atom(message), data=(32, values))
        self.root.send_event(told, event_mask=X.SubstructureRedirectMask | X.SubstructureNotifyMask)
        self.display.sync()

    def close_applications(self):
        """Ends every application on this desktop but the dock."""
        def applications():
            return [window for window in self.windows() if window.property("WM_STATE") and window.name != "Tint2"]
        for window in applications():
            window.handle.kill_client()
        self.display.sync()
        self.wait(lambda: not applications(), "the applications to end")

    # Pointer and keys

    def move(self, x, y):
        xtest.fake_input(self.display, X.MotionNotify, x=round(x), y=round(y))
        self.display.sync()

    def click(self, x, y, button=1):
        self.move(x, y)
        xtest.fake_input(self.display, X.ButtonPress, button)
        xtest.fake_input(self.display, X.ButtonRelease, button)
        self.display.sync()

    def key(self, name, *modifiers):
        """Presses and releases a key, named by its keysym, with modifiers held."""
        with contextlib.ExitStack() as held:
            for modifier in modifiers:
                held.enter_context(self.holding(modifier))
            self._key(name, X.KeyPress)
            self._key(name, X.KeyRelease)

    @contextlib.contextmanager
    def holding(self, name):
        self._key(name, X.KeyPress)
        try:
            yield
        finally:
            self._key(name, X.KeyRelease)

    def _key(self, name, kind):
        xtest.fake_input(self.display, kind, self.display.keysym_to_keycode(XK.string_to_keysym(name)))
        self.display.sync()

    # Pictures

    def picture(self, rect=None):
        rect = rect or Rect(0, 0, *self.size)
        return Picture(rect, self.root.get_image(*rect, X.ZPixmap, 0xFFFFFFFF).data)


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
