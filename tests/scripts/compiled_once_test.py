#!/usr/bin/env python3
"""No source file is compiled twice in one build, by itself or among others in one file that the
build makes. compiled_once_test.py BUILD_DIR"""

import collections
import json
import pathlib
import re
import sys

commands = json.loads((pathlib.Path(sys.argv[1]) / "compile_commands.json").read_text())


def sources(file):
    if "/Unity/" not in file:
        return [file]
    return re.findall(r'^#include "([^"]+)"$', pathlib.Path(file).read_text(), re.MULTILINE)


times = collections.Counter(source for command in commands for source in sources(command["file"]))
faults = [f"{file} is compiled {count} times" for file, count in times.items() if count > 1]
if len(times) < 100:
    faults.append(f"only {len(times)} files were found")
print("\n".join(faults))
sys.exit(bool(faults))
