#!/usr/bin/env python3
"""docs/log.md knows every error line of the library, and every label. log_test.py SOURCE_DIR"""

import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
document = (source / "docs/log.md").read_text(encoding="utf-8")

LOGGED = re.compile(r'LOG_(?:ERROR|FATAL)(?:_AS)?\(\s*(?:function,\s*)?"([^"]+)"')
LABEL = re.compile(r"constexpr unsigned long \w+ = (\d+);")
# A line that begins in this way is no text of the library's own.
DEVICE_MESSAGE = "*"


def without_values(text, value):
    """The text with a star for each value; what follows the last one tells nothing."""
    text = re.sub(value, "*", " ".join(text.split()))
    return re.sub(r"\*\.$", "*", text)


logged = {without_values(text, r"%[a-z]+")
          for file in (source / "src/core").glob("*.cpp")
          for text in LOGGED.findall(file.read_text(encoding="utf-8"))} - {DEVICE_MESSAGE}
tables = "\n".join(line for line in document.splitlines() if line.startswith("|"))
told = {without_values(text, r"…|\bN\b") for text in re.findall(r'"([^"]+)"', tables)}

labels = LABEL.findall((source / "src/vemra_crypto_cpp/throw_site.h").read_text(encoding="utf-8"))
explained = re.findall(r"^\| (\d+) \|", document, re.MULTILINE)

faults = [f"the library logs, and docs/log.md does not tell: {text}" for text in logged - told]
faults += [f"docs/log.md tells, and the library does not log: {text}" for text in told - logged]
if labels != explained:
    faults.append(f"the labels are {labels}, docs/log.md explains {explained}")
if len(logged) < 30:
    faults.append(f"only {len(logged)} error lines were found in the sources")
print("\n".join(sorted(faults)))
sys.exit(bool(faults))
