#!/usr/bin/env python3
"""The tables of what is kept and of what is lost are complete: every row names a test, every test
that they name exists, and the keys of what is kept are those of the marks in the sources.
compatibility_test.py SOURCE_DIR"""

import collections
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
TEST = re.compile(r"TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)")
NAMED = re.compile(r"`([a-z_]+(?:DeathTest)?)\.([a-z_0-9]{12,})`")
KEPT = re.compile(r"\| `([a-z0-9-]+)` \| (?:.*) \| (.*) \|")
FILE = re.compile(r"`(\w+\.(?:h|cpp))`(?: \((\d+)\))?")
MARK = re.compile(r"\bKept\b(?:\(([a-z0-9-]+)\):)?")

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


def marks_in(folder):
    """How often each file is marked with each key; the key is empty in a mark of another form."""
    return collections.Counter((key, file.name) for file in sorted(source.glob(f"{folder}/**/*"))
                               if file.suffix in {".h", ".cpp"}
                               for key in MARK.findall(file.read_text(encoding="utf-8")))


told = collections.Counter()
keys = []
for row in rows_of("key | what"):
    key, files = KEPT.fullmatch(row).groups()
    keys.append(key)
    faults += [] if FILE.search(files) else [f"names no file for {key}"]
    told.update({(key, file): int(number or 1) for file, number in FILE.findall(files)})
marked = marks_in("src")
faults += [f"tells of {told[mark]} marks Kept({mark[0]}) in {mark[1]}, there are {marked[mark]}"
           for mark in sorted({*told, *marked}) if told[mark] != marked[mark]]
faults += [f"has no row Kept({key}) for the mark in {file}"
           for key, file in marks_in("tests") if key not in keys]
faults += [f"has {number} rows {key}"
           for key, number in collections.Counter(keys).items() if number > 1]
rows_of("what fails")

for fault in faults:
    print(f"docs/compatibility.md {fault}")
sys.exit(bool(faults))
