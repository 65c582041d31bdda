"""Checks that the floors hold: a room of src/ includes only from itself and from the rooms below it, nobody
outside platform/ names a backend, only platform/ asks which system it is compiled for, and no folders include each other
in a circle."""

import graphlib
import pathlib
import re
import sys

BELOW_CONTROL = {"platform", "model"}
BELOW_SHELL = BELOW_CONTROL | {"control", "standalone", "integration"}
BELOW_UI = BELOW_SHELL | {"shell"}
MAY_INCLUDE = {
    "command": set(),
    "seal": set(),
    "svg": {"platform"},
    "platform": set(),
    "model": {"platform"},
    "control": BELOW_CONTROL,
    "standalone": BELOW_CONTROL | {"control"},
    "integration": BELOW_CONTROL | {"control"},
    "shell": BELOW_SHELL,
    "ui/common": BELOW_UI,
    "ui/panel": BELOW_UI | {"ui/common"},
    "ui/settings": BELOW_UI | {"ui/common"},
    "app": BELOW_UI | {"ui/common", "ui/panel", "ui/settings"},
}
INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^>"]+)[>"]')
SYSTEM_IF = re.compile(
    r"^\s*#\s*(?:if|ifdef|ifndef|elif)\b.*"
    r"(?:\bQ_OS_|\bQT_CONFIG\(\s*xcb|\bQ_WS_|__linux__|__APPLE__|__MACH__|__unix__|__FreeBSD__|_WIN32)")


def room_of(path):
    """The room that a path below src/ lies in: its first folder, or its first two under ui/."""
    parts = path.split("/")
    return "/".join(parts[:2]) if parts[0] == "ui" else parts[0]


def faults(root):
    sources = root / "src"
    rooms = {room.split("/")[0] for room in MAY_INCLUDE}
    folders = {}  # those that each folder includes from
    files = [path for folder in ("src", "tests", "benchmarks") for path in sorted((root / folder).rglob("*"))
             if path.suffix in (".h", ".cpp", ".mm")]
    for path in files:
        inside = path.is_relative_to(sources)
        room = room_of(path.relative_to(sources).as_posix()) if inside else None
        if inside and room not in MAY_INCLUDE:
            yield path, 1, f"{room} is no room that the floors know"
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if room != "platform" and SYSTEM_IF.match(line):
                yield path, number, "only platform/ may ask which system this is"
            include = INCLUDE.match(line)
            if not (inside and include and include[1].split("/")[0] in rooms and "/" in include[1]):
                continue
            from_folder, to_folder = path.relative_to(sources).parent, pathlib.PurePath(include[1]).parent
            if from_folder != to_folder:
                folders.setdefault(str(from_folder), set()).add(str(to_folder))
            target = room_of(include[1])
            if target != room and target not in MAY_INCLUDE[room]:
                yield path, number, f"{room} may not include from {target}"
            elif room != "platform" and re.match(r"platform/(?:freedesktop|macos)/", include[1]):
                yield path, number, "a backend is reached through the interfaces in platform/ only"
    try:
        graphlib.TopologicalSorter(folders).prepare()
    except graphlib.CycleError as error:
        yield sources, 1, "these folders include each other in a circle: " + ", ".join(error.args[1])


def main():
    root = pathlib.Path(__file__).resolve().parent.parent
    found = list(faults(root))
    for path, number, text in found:
        print(f"{path.relative_to(root)}:{number}: {text}", file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
