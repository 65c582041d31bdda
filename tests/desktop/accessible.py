"""What assistive tools see of a program, and do with it.

usage: accessible.py PID [NAME]
prints what can be seen in the program's windows as JSON, a list of [window, role, name, description, states, [x, y,
width, height], actions]; or presses what has this name.
"""

import json
import sys

import pyatspi
from gi.repository import GLib

SHOWN = ("checked", "enabled", "focusable", "focused", "showing")


def walk(item):
    """The item and what is in it, but for what goes away meanwhile."""
    yield item
    try:
        children = [child for child in item if child is not None and child.getState().contains(pyatspi.STATE_VISIBLE)]
    except GLib.GError:
        return
    for child in children:
        yield from walk(child)


def there(describe, *item):
    """What is told of an item; None once it has gone away."""
    try:
        return describe(*item)
    except GLib.GError:
        return None


def actions(item):
    try:
        offered = item.queryAction()
        return {offered.getName(index): index for index in range(offered.nActions)}
    except NotImplementedError:
        return {}


def described(window, item):
    states = item.getState()
    try:
        place = list(item.queryComponent().getExtents(pyatspi.DESKTOP_COORDS))
    except NotImplementedError:
        place = [0, 0, 0, 0]
    return [window.name, item.getRoleName(), item.name, item.description,
            [name for name in SHOWN if states.contains(getattr(pyatspi, f"STATE_{name.upper()}"))], place, list(actions(item))]


def main():
    pid, wanted = int(sys.argv[1]), sys.argv[2:]
    programs = [program for program in pyatspi.Registry.getDesktop(0)
                if program and there(program.get_process_id) == pid]
    items = [(window, item) for program in programs for window in program for item in walk(window)]
    if not wanted:
        return print(json.dumps([fields for each in items if (fields := there(described, *each))]))
    item = next(item for _, item in items if there(lambda item=item: item.name == wanted[0] and actions(item)))
    offered = actions(item)
    return item.queryAction().doAction(offered.get("Press", offered.get("Toggle", 0)))


if __name__ == "__main__":
    main()
