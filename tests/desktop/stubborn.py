"""An application with one window that takes note of every request to close it and stays."""

import sys

from Xlib import X, Xatom, Xutil
from Xlib.display import Display

REQUESTS = "_TEST_CLOSE_REQUESTS"


def main():
    display = Display()
    screen = display.screen()
    window = screen.root.create_window(40, 40, 220, 120, 0, screen.root_depth, X.InputOutput, X.CopyFromParent,
                                       background_pixel=screen.white_pixel)
    window.set_wm_name("Stubborn")
    window.set_wm_class("stubborn", "Stubborn")
    window.set_wm_hints(flags=Xutil.InputHint, input=True)
    delete = display.intern_atom("WM_DELETE_WINDOW")
    window.set_wm_protocols([delete])
    window.map()
    requests = 0
    while True:
        event = display.next_event()
        if event.type == X.ClientMessage and event.data[1][0] == delete:
            requests += 1
            window.change_property(display.intern_atom(REQUESTS), Xatom.CARDINAL, 32, [requests])
            display.flush()


if __name__ == "__main__":
    sys.exit(main())
