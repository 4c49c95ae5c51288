#!/usr/bin/env python3
"""Every test that a document names as `suite.test` exists. named_tests_test.py SOURCE_DIR"""

import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
TEST = re.compile(r"TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)")
NAMED = re.compile(r"`([a-z_]+(?:DeathTest)?)\.([a-z_0-9]{12,})`")

existing = {match for file in source.glob("tests/**/*.cpp")
            for match in TEST.findall(file.read_text(encoding="utf-8"))}
named = {match for match in NAMED.findall((source / "docs/compatibility.md").read_text("utf-8"))}
missing = sorted(named - existing)
for suite, test in missing:
    print(f"docs/compatibility.md names a test that does not exist: {suite}.{test}")
if len(named) < 20:
    print(f"docs/compatibility.md names {len(named)} tests only")
sys.exit(bool(missing) or len(named) < 20)
