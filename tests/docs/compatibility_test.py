#!/usr/bin/env python3
"""The table of what is kept is complete: every test that it names exists, and every mark in the
sources stands in it. compatibility_test.py SOURCE_DIR"""

import collections
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
TEST = re.compile(r"TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)")
NAMED = re.compile(r"`([a-z_]+(?:DeathTest)?)\.([a-z_0-9]{12,})`")

MARKED = re.compile(r"`(\w+\.(?:h|cpp))`(?: \((\d+)\))?")

table = (source / "docs/compatibility.md").read_text(encoding="utf-8").split("| what |")[1]
existing = {match for file in source.glob("tests/**/*.cpp")
            for match in TEST.findall(file.read_text(encoding="utf-8"))}
named = set(NAMED.findall(table))
faults = [f"names a test that does not exist: {suite}.{test}"
          for suite, test in sorted(named - existing)]
faults += [f"names no test: {row}" for row in table.splitlines()[2:] if not NAMED.search(row)]

told = collections.Counter()
for row in table.splitlines()[2:]:
    for file, number in MARKED.findall(row.rsplit("|", 2)[1]):
        told[file] += int(number or 1)
marked = collections.Counter()
for file in [*source.glob("src/**/*.h"), *source.glob("src/**/*.cpp")]:
    marked[file.name] += file.read_text(encoding="utf-8").count("Kept:")
faults += [f"tells of {told[file]} marks in {file}, there are {marked[file]}"
           for file in sorted({*told, *marked}) if told[file] != marked[file]]
if len(named) < 20:
    faults.append(f"names {len(named)} tests only")

for fault in faults:
    print(f"docs/compatibility.md {fault}")
sys.exit(bool(faults))
