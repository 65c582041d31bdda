"""An application that takes note of every request to close its window and stays. "guest" adds a window of another
application in the same process. The titles say something else."""

import sys

from Xlib import X, Xatom, Xutil
from Xlib.display import Display

display = Display()
screen = display.screen()
closing = display.intern_atom("WM_DELETE_WINDOW")
for name in ["stubborn", *sys.argv[1:]]:
    window = screen.root.create_window(40, 40, 220, 120, 0, screen.root_depth, X.InputOutput, X.CopyFromParent,
                                       background_pixel=screen.white_pixel)
    window.set_wm_name("XTerm")
    window.set_wm_class(name, name.title())
    window.set_wm_hints(flags=Xutil.InputHint, input=True)
    window.set_wm_protocols([closing])
    window.map()
requests = 0
while True:
    event = display.next_event()
    if event.type == X.ClientMessage and event.data[1][0] == closing:
        requests += 1
        event.window.change_property(display.intern_atom("_TEST_CLOSE_REQUESTS"), Xatom.CARDINAL, 32, [requests])
        display.flush()
