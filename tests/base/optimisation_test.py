#!/usr/bin/env python3
"""Every source of the library is compiled at the level of optimising that whoever builds chose: none
has one of its own. optimisation_test.py SOURCE_DIR BUILD_DIR"""

import json
import pathlib
import re
import sys

sources = pathlib.Path(sys.argv[1], "src")
commands = json.loads(pathlib.Path(sys.argv[2], "compile_commands.json").read_text(encoding="utf-8"))
levels = {}
for entry in commands:
    file = pathlib.Path(entry["directory"], entry["file"])
    if sources in file.parents:
        level = tuple(re.findall(r"(?<= )-O\S*", entry["command"]))
        levels.setdefault(level, set()).add(file.name)
print(levels)
sys.exit(len(levels) != 1 or sum(map(len, levels.values())) < 15)
