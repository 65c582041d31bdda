"""An application that takes note of every request to close its window and stays. "guest" adds a window of another
application in the same process. The titles say something else."""

import sys

from Xlib import X, Xatom, Xutil
from Xlib.display import Display

REQUESTS = "_TEST_CLOSE_REQUESTS"


def make_window(display, name):
    screen = display.screen()
    window = screen.root.create_window(40, 40, 220, 120, 0, screen.root_depth, X.InputOutput, X.CopyFromParent,
                                       background_pixel=screen.white_pixel)
    window.set_wm_name("XTerm")
    window.set_wm_class(name, name.title())
    window.set_wm_hints(flags=Xutil.InputHint, input=True)
    window.set_wm_protocols([display.intern_atom("WM_DELETE_WINDOW")])
    window.map()


def main():
    display = Display()
    for name in ["stubborn", *sys.argv[1:]]:
        make_window(display, name)
    requests = 0
    while True:
        event = display.next_event()
        if event.type == X.ClientMessage and event.data[1][0] == display.intern_atom("WM_DELETE_WINDOW"):
            requests += 1
            event.window.change_property(display.intern_atom(REQUESTS), Xatom.CARDINAL, 32, [requests])
            display.flush()


if __name__ == "__main__":
    sys.exit(main())
