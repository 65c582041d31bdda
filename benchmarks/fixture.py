#!/usr/bin/env python3
"""usage: fixture.py DATA_HOME [GROUPS APPLICATIONS [standalone]]

Fills an empty data folder with 60 applications that have icons of their own, and with a group list: groups of 4, 11
and 60 of them, or GROUPS groups of APPLICATIONS, most of which are then not installed. The groups of a standalone
list are to be applications of their own, and what is in them is installed."""

import json
import pathlib
import struct
import sys
import uuid
import zlib

INSTALLED = 60
ICON_SIDE = 128


def identifier(number):
    return f"org.example.Program{number:02}"


def hue(number, offset):
    """One of many clearly different colours, as three bytes."""
    angle = (number * 47 + offset) % 360 / 60
    rising = int(255 * (angle % 1))
    return [(255, rising, 40), (255 - rising, 255, 40), (40, 255, rising),
            (40, 255 - rising, 255), (rising, 40, 255), (255, 40, 255 - rising)][int(angle)]


def png(number):
    """A disc on a rounded square with a gradient, so that decoding and scaling it is real work."""
    middle, disc, corner = ICON_SIDE / 2, (ICON_SIDE * 0.28) ** 2, ICON_SIDE * 0.2
    outer, inner = hue(number, 0), hue(number, 140)
    rows = []
    for y in range(ICON_SIDE):
        row = bytearray(b"\0")
        for x in range(ICON_SIDE):
            beyond = [max(corner - min(at, ICON_SIDE - 1 - at), 0) for at in (x, y)]
            if beyond[0] ** 2 + beyond[1] ** 2 > corner ** 2:
                row += b"\0\0\0\0"
            elif (x - middle) ** 2 + (y - middle) ** 2 < disc:
                row += bytes(inner) + b"\xff"
            else:
                row += bytes(value * (2 * ICON_SIDE - y) // (2 * ICON_SIDE) for value in outer) + b"\xff"
        rows.append(bytes(row))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", ICON_SIDE, ICON_SIDE, 8, 6, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(b"".join(rows)))
            + chunk(b"IEND", b""))


def svg(number):
    outer, inner = ("#%02x%02x%02x" % hue(number, offset) for offset in (0, 140))
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 64 64"><rect width="64" height="64" rx="13" '
            f'fill="{outer}"/><path d="M14 44 32 14l18 30z" fill="{inner}"/></svg>\n').encode()


def install(data_home):
    """Two of three applications bring a bitmap, every third a drawing: about what desktops have."""
    icons = data_home / "icons/hicolor"
    entries = data_home / "applications"
    for folder in (icons / "128x128/apps", icons / "scalable/apps", entries):
        folder.mkdir(parents=True)
    for number in range(1, INSTALLED + 1):
        name = identifier(number)
        if number % 3:
            (icons / "128x128/apps" / f"{name}.png").write_bytes(png(number))
        else:
            (icons / "scalable/apps" / f"{name}.svg").write_bytes(svg(number))
        (entries / f"{name}.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName=Program {number}\nIcon={name}\nExec=true\n"
            "Categories=Utility;\n", encoding="utf-8")


def group(name, emoji, numbers, standalone=False):
    return {"id": str(uuid.uuid5(uuid.NAMESPACE_DNS, name)).upper(), "name": name, "emoji": emoji,
            "apps": [{"name": f"Program {number}", "bundleID": identifier(number)} for number in numbers],
            "isPinned": False, "isStandalone": standalone, "iconStyle": "emoji", "iconFill": "solid"}


def main():
    data_home = pathlib.Path(sys.argv[1])
    if not (data_home / "applications").exists():
        install(data_home)
    if len(sys.argv) >= 4:
        count, size = int(sys.argv[2]), int(sys.argv[3])
        standalone = sys.argv[4:] == ["standalone"]
        lists = [range(at * size + 1, (at + 1) * size + 1) for at in range(count)]
        if standalone:
            lists = [[(number - 1) % INSTALLED + 1 for number in each] for each in lists]
        groups = [group(f"Group {at}", "🎨", each, standalone) for at, each in enumerate(lists)]
    else:
        groups = [group("Few", "💼", range(1, 5)), group("Some", "🎨", range(5, 16)),
                  group("Many", "🔧", range(1, INSTALLED + 1))]
    store = data_home / "Cobblet"
    store.mkdir(exist_ok=True)
    (store / "groups.json").write_text(json.dumps(groups, ensure_ascii=False, separators=(",", ":")),
                                       encoding="utf-8")


main()
