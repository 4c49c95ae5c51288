#!/usr/bin/env python3
"""Codes and names in the tables of documents are those of the programs.

    tables_test.py SOURCE_DIR STAMP_LIBRARY DEVICE_LIBRARY STAMP_TOOL SOFTTOKEN_TOOL
"""

import ctypes
import os
import pathlib
import re
import subprocess
import sys

source, stamp_library, device_library, stamp_tool, softtoken_tool = sys.argv[1:]
faults = []


def rows_of(document, heading):
    """The cells of the tables below a heading of a document."""
    text = (pathlib.Path(source) / document).read_text(encoding="utf-8")
    text = text.split(f"{heading}\n", 1)[1].split("\n## ")[0]
    return [[cell.strip().strip("`") for cell in line.strip("|").split("|")]
            for line in text.splitlines() if re.match(r"\| *`?-?[a-z0-9]", line)]


def compare(what, told, true):
    if not true:
        faults.append(f"{what}: nothing to compare with was found")
    for entry in sorted(set(told) ^ set(true), key=str):
        faults.append(f"{what}: {entry} " + ("is told but not true" if entry in told else
                                             "is true but not told"))


def texts(function, codes):
    function.restype = ctypes.c_char_p
    return {code: function(code).decode("utf-8") for code in codes}


def status_codes(library):
    header = (pathlib.Path(source) / "include/vemra_app_stamp.h").read_text(encoding="utf-8")
    enumeration = header.split("enum {")[1].split("};")[0]
    names = {int(code): name for name, code in re.findall(r"(\w+) = (-?\d+)", enumeration)}
    text_of = texts(library.VemraAppStampGetErrorMessage, names)
    rows = rows_of("docs/status-codes.md", "# Status codes")
    compare("docs/status-codes.md",
            [(int(row[0]), row[1], row[2]) for row in rows if re.fullmatch(r"-?\d+", row[0])],
            [(code, name, text_of[code]) for code, name in names.items()])


def token_error_codes(library):
    text_of = texts(library.VemraPKIGetErrorMsg, range(-300, 300))
    compare("softtoken/README.md, error codes",
            [(int(row[0]), row[1]) for row in rows_of("softtoken/README.md", "## Error codes")],
            [(code, text) for code, text in text_of.items() if text != "unknown error"])


def output_of(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def exit_codes():
    told = output_of(stamp_tool, "help").split("Exit codes: ")[1]
    true = [int(code) for code in re.findall(r"(\d+) [a-z]", told)]
    rows = rows_of("tool/README.md", "## For other programs")
    compare("tool/README.md, exit codes", [int(row[0]) for row in rows if row[0].isdigit()], true)
    page = (pathlib.Path(source) / "docs/man/vemra-stamp.1").read_text(encoding="utf-8")
    compare("docs/man/vemra-stamp.1, exit codes",
            [int(code) for code in re.findall(r"^(\d+)\t", page, re.MULTILINE)], true)


def recipes():
    listed = [tuple(re.split(r"  +", line)[:2])
              for line in output_of(softtoken_tool, "fault", "recipes").splitlines()]
    names = [name for name, _ in listed]
    compare("softtoken/README.md, recipes",
            [(row[0], row[1].strip("`")) for row in rows_of("softtoken/README.md", "## Faults")
             if row[0] in names], listed)


# The stamp library finds the device library loaded already; its trace has no place here.
os.dup2(os.open(os.devnull, os.O_WRONLY), 1)
token_error_codes(ctypes.CDLL(device_library, mode=ctypes.RTLD_GLOBAL))
status_codes(ctypes.CDLL(stamp_library))
exit_codes()
recipes()
print("\n".join(faults), file=sys.stderr)
sys.exit(bool(faults))
