#!/usr/bin/env python3
"""The manual pages fit the programs and the header. man_pages_test.py SOURCE_DIR PROGRAM..."""

import pathlib
import re
import subprocess
import sys
import tempfile

source = pathlib.Path(sys.argv[1])
faults = []


def commands_of(program):
    text = subprocess.run([program, "--help"], capture_output=True, text=True, check=True).stdout
    table = text.split("Subcommands:\n")[1].split("\n\n")[0]
    return re.findall(r"^  (\w[\w-]*)", table, re.MULTILINE)


for program in sys.argv[2:]:
    page = source / "docs/man" / f"{pathlib.Path(program).name}.1"
    text = page.read_text(encoding="utf-8").replace("\\-", "-")
    commands = commands_of(program)
    if not commands:
        faults.append(f"{program} --help lists no commands")
    faults += [f"{page.name} says nothing of {name}" for name in commands
               if not re.search(rf"^\.B.*\b{name}\b", text, re.MULTILINE)]

with tempfile.TemporaryDirectory() as directory:
    subprocess.run([source / "scripts/man-pages", source / "include/vemra_app_stamp.h", directory],
                   check=True)
    pages = sorted(pathlib.Path(directory).iterdir())
    exported = re.findall(r"(VemraAppStamp\w+);", (source / "src/core/exports.map").read_text())
    expected = sorted([f"{name}.3" for name in exported] + ["vemra_app_stamp.3"])
    if [page.name for page in pages] != expected:
        faults.append("the pages made are not one a function and one for the whole")
    for page in pages:
        if ".SH DESCRIPTION" not in page.read_text(encoding="utf-8"):
            faults.append(f"{page.name} describes nothing")

print("\n".join(faults))
sys.exit(bool(faults))
