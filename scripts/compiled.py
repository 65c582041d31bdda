"""Passes on those of the files named on standard input that the build in the folder given compiles: the other
platform's sources are in the tree but not in its compilation database."""

import json
import pathlib
import sys

build = pathlib.Path(sys.argv[1])
known = {pathlib.Path(entry["directory"], entry["file"]).resolve()
         for entry in json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))}
for line in sys.stdin:
    if pathlib.Path(line.strip()).resolve() in known:
        print(line.strip())
