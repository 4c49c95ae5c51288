#!/usr/bin/env python3
"""Every test of a build ends, or is ended, in good time. time_limit_test.py BUILD_DIR CTEST"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

MOST_SECONDS = 1200

build, ctest = sys.argv[1:]
faults = []

limits = pathlib.Path(build) / "DartConfiguration.tcl"
common = int(re.fullmatch(r"TimeOut: (\d+)\n", limits.read_text())[1])
listed = subprocess.run([ctest, "--test-dir", build, "--show-only=json-v1"], capture_output=True,
                        text=True, check=True)
tests = json.loads(listed.stdout)["tests"]
for test in tests:
    own = [entry["value"] for entry in test["properties"] if entry["name"] == "TIMEOUT"]
    limit = float(own[0]) if own else common
    if not 0 < limit <= MOST_SECONDS:
        faults.append(f"{test['name']} may take {limit} s")
if len(tests) < 100:
    faults.append(f"only {len(tests)} tests were found")

# The limit that all have in common is really one.
with tempfile.TemporaryDirectory() as folder:
    short = limits.read_text().replace(str(common), "1")
    (pathlib.Path(folder) / "DartConfiguration.tcl").write_text(short)
    (pathlib.Path(folder) / "CTestTestfile.cmake").write_text('add_test(endless "sleep" "60")\n')
    ended = subprocess.run([ctest, "--test-dir", folder], capture_output=True, text=True, check=False)
    if "***Timeout" not in ended.stdout:
        faults.append(f"a test goes on beyond the limit:\n{ended.stdout}")

print("\n".join(faults))
sys.exit(bool(faults))
