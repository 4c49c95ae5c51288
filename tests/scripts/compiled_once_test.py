#!/usr/bin/env python3
"""No source file is compiled twice in one build. compiled_once_test.py BUILD_DIR"""

import collections
import json
import pathlib
import sys

commands = json.loads((pathlib.Path(sys.argv[1]) / "compile_commands.json").read_text())
times = collections.Counter(command["file"] for command in commands)
faults = [f"{file} is compiled {count} times" for file, count in times.items() if count > 1]
if len(times) < 100:
    faults.append(f"only {len(times)} files were found")
print("\n".join(faults))
sys.exit(bool(faults))
