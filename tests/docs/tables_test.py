#!/usr/bin/env python3
"""Codes and names in the tables of documents are those of the programs.

    tables_test.py SOURCE_DIR STAMP_LIBRARY DEVICE_LIBRARY STAMP_TOOL SOFTTOKEN_TOOL
"""

import ctypes
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

source, stamp_library, device_library, stamp_tool, softtoken_tool = sys.argv[1:]
faults = []


def rows_of(document, heading):
    """The cells of the tables below a heading of a document."""
    text = (pathlib.Path(source) / document).read_text(encoding="utf-8")
    text = text.split(f"{heading}\n", 1)[1].split("\n## ")[0]
    return [[cell.strip().strip("`") for cell in line.strip("|").split("|")]
            for line in text.splitlines() if re.match(r"\| *`?-*[a-z0-9]", line)]


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
    listed = [tuple(re.split(r"  +", line))
              for line in output_of(softtoken_tool, "fault", "recipes").splitlines()]
    names = [name for name, *_ in listed]
    compare("softtoken/README.md, recipes",
            [(row[0], row[1].strip("`"), row[2])
             for row in rows_of("softtoken/README.md", "## Faults") if row[0] in names], listed)


def size(number):
    """A number of bytes in its largest whole unit."""
    units = ["", " KiB", " MiB", " GiB"]
    power = max(power for power in range(len(units)) if number % 1024 ** power == 0)
    return f"{number // 1024 ** power}{units[power]}"


def profile(name):
    """The row of a table for a new token with a named profile."""
    subprocess.run([softtoken_tool, "create", name, "--profile", name, "--password-cost", "1",
                    "--password-fd", "0"], input="secret\n", text=True, check=True,
                   stdout=subprocess.DEVNULL)
    info = dict(re.findall(r"^([a-z ]+): +(.*)$", output_of(softtoken_tool, "info", name),
                           re.MULTILINE))
    last_of = {key: info[key].split()[-1] for key in ["attempts left", "slots", "login scope"]}
    capacity, slot = map(int, re.findall(r"\d+", info["bytes"])[1:])
    call, *speed = map(int, re.findall(r"\d+", info["speed"]))
    return (name, size(capacity), size(slot), last_of["slots"],
            f"{call // 1000} ms" if call else "no time", size(speed[0]) if speed else "at once",
            last_of["login scope"], last_of["attempts left"])


def profiles():
    names = re.search(r"--profile TEXT:\{(.*)\}", output_of(softtoken_tool, "create", "--help"))
    true = [profile(name) for name in names[1].split(",")]
    told = rows_of("softtoken/README.md", "## Profiles")
    compare("softtoken/README.md, profiles",
            [(row[0].split("`")[0], *row[1:]) for row in told], true)


def knobs():
    schema = json.loads(output_of(softtoken_tool, "knobs", "--schema"))
    told = [tuple(row) for row in rows_of("softtoken/README.md", "## Knobs")]
    true = [("--" + name, json.dumps(knob["default"]), knob["description"])
            for name, knob in schema["properties"]["knobs"]["properties"].items()]
    compare("softtoken/README.md, knobs", told, true)


def can_fail(token, function):
    command = [softtoken_tool, "fault", "add", token, f"{function} null"]
    return subprocess.run(command, capture_output=True, check=False).returncode == 0


def functions_of_faults():
    functions = (pathlib.Path(source) / "device_library/functions.txt").read_text().split()
    names = [re.sub("^VemraPKI(Crypto)?", "", function) for function in functions]
    readme = (pathlib.Path(source) / "softtoken/README.md").read_text(encoding="utf-8")
    told = re.search(r"`fault add` refuses the rest:\n\n((?:    .*\n)*)", readme)[1]
    compare("softtoken/README.md, functions that can fail", told.split(),
            [name for name in names if can_fail("generous", name)])


def words_of_faults():
    form = output_of(softtoken_tool, "fault", "add", "--help").split("FUNCTION [")[1]
    words = set(re.findall(r"[a-z]+=[a-z]*|\b(?:null|unplug|lasting)\b", form.split("Options")[0]))
    told = (pathlib.Path(source) / "softtoken/README.md").read_text(encoding="utf-8")
    compare("softtoken/README.md, words of a fault", [word for word in words if word in told], words)


def trace_columns(library, file):
    """The first device call of this process opens the trace."""
    os.environ["VEMRA_SOFTTOKEN_TRACE"] = file
    library.VemraPKICryptoGetAllDevices(-1, 0)
    true = re.findall(r"\w+=", pathlib.Path(file).read_text())
    readme = (pathlib.Path(source) / "softtoken/README.md").read_text()
    compare("softtoken/README.md, trace",
            re.findall(r"\w+=", re.search(r"^    VemraPKI.*slot=.*", readme, re.MULTILINE)[0]), true)


# The stamp library finds the device library loaded already; its trace has no place here.
os.dup2(os.open(os.devnull, os.O_WRONLY), 1)
device_functions = ctypes.CDLL(device_library, mode=ctypes.RTLD_GLOBAL)
token_error_codes(device_functions)
status_codes(ctypes.CDLL(stamp_library))
exit_codes()
recipes()
with tempfile.TemporaryDirectory() as directory:
    os.environ["VEMRA_SOFTTOKEN_DIR"] = directory
    profiles()
    functions_of_faults()
    knobs()
    trace_columns(device_functions, f"{directory}/.trace")
words_of_faults()
print("\n".join(faults), file=sys.stderr)
sys.exit(bool(faults))
