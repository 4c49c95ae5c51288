#!/usr/bin/env python3
"""The tables of what is kept and of what is lost are complete: every row names a test, every test
that they name exists, and every mark in the sources stands there.
compatibility_test.py SOURCE_DIR"""

import collections
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
TEST = re.compile(r"TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)")
NAMED = re.compile(r"`([a-z_]+(?:DeathTest)?)\.([a-z_0-9]{12,})`")

MARKED = re.compile(r"`(\w+\.(?:h|cpp))`(?: \((\d+)\))?")

document = (source / "docs/compatibility.md").read_text(encoding="utf-8")
existing = {match for file in source.glob("tests/**/*.cpp")
            for match in TEST.findall(file.read_text(encoding="utf-8"))}
faults = []


def rows_of(header):
    """The rows of a table, whose tests are compared with those that exist."""
    rows = document.split(f"\n| {header} |")[1].split("\n\n")[0].splitlines()[2:]
    named = set(NAMED.findall("\n".join(rows)))
    faults.extend(f"names a test that does not exist: {suite}.{test}"
                  for suite, test in sorted(named - existing))
    faults.extend(f"names no test: {row}" for row in rows if not NAMED.search(row))
    if len(rows) < 15:
        faults.append(f"has {len(rows)} rows only below: {header}")
    return rows


told = collections.Counter()
for row in rows_of("what"):
    for file, number in MARKED.findall(row.rsplit("|", 2)[1]):
        told[file] += int(number or 1)
marked = collections.Counter()
for file in [*source.glob("src/**/*.h"), *source.glob("src/**/*.cpp")]:
    marked[file.name] += file.read_text(encoding="utf-8").count("Kept:")
faults += [f"tells of {told[file]} marks in {file}, there are {marked[file]}"
           for file in sorted({*told, *marked}) if told[file] != marked[file]]
rows_of("what fails")

for fault in faults:
    print(f"docs/compatibility.md {fault}")
sys.exit(bool(faults))
