#!/usr/bin/env python3
"""The manual pages, and the schema of --json, fit the programs and the header.

    man_pages_test.py SOURCE_DIR PROGRAM...
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile

# A constant, or a field of a structure.
MEMBER = re.compile(r"^    (?=VEMRA_APP_STAMP_\w+ =|[a-z ]+\*? ?\w+;)(?:[a-z ]+\*? )?(\w+)",
                    re.MULTILINE)

source = pathlib.Path(sys.argv[1])
faults = []


def help_of(*words):
    return subprocess.run([*words, "--help"], capture_output=True, text=True, check=True).stdout


def commands_of(*words):
    text = help_of(*words)
    if "Subcommands:" not in text:
        return []
    table = text.split("Subcommands:\n")[1].split("\n\n")[0]
    return re.findall(r"^  (\w[\w-]*)", table, re.MULTILINE)


def options_of(*words):
    """The long options of a program and of all its commands."""
    options = set(re.findall(r"^ +(?:-\w,)?(--[a-z-]+)", help_of(*words), re.MULTILINE))
    return options.union(*(options_of(*words, command) for command in commands_of(*words)))


def page_of(name):
    """The page of a program: as it stands in the sources, or made from a document."""
    page = source / f"docs/man/{name}.1"
    if page.exists():
        return page.read_text(encoding="utf-8")
    with tempfile.TemporaryDirectory() as directory:
        made = pathlib.Path(directory) / page.name
        subprocess.run([source / "scripts/document-page", source / "softtoken/README.md",
                        page.with_suffix(".1.in"), made], check=True)
        return made.read_text(encoding="utf-8")


def complaints_about(text):
    """What the formatter says of a page."""
    done = subprocess.run(["groff", "-man", "-t", "-Tutf8", "-k", "-ww", "-z"],
                          input=text.encode("utf-8"), capture_output=True, check=False)
    return done.stderr.decode("utf-8").splitlines()


for program in sys.argv[2:]:
    page = source / "docs/man" / f"{pathlib.Path(program).name}.1"
    text = page_of(page.stem)
    faults += [f"{page.name}: {complaint}" for complaint in complaints_about(text)]
    faults += [f"{page.name} has no section {section}" for section in ["FILES", "EXAMPLES"]
               if f"\n.SH {section}\n" not in text]
    text = text.replace("\\-", "-")
    commands = commands_of(program)
    if not commands:
        faults.append(f"{program} --help lists no commands")
    if page.name == "vemra-stamp.1":
        schema = json.loads((source / "tool/output.schema.json").read_text(encoding="utf-8"))
        told = set(schema["properties"]["command"]["enum"])
        faults += [f"output.schema.json does not know the command {name}"
                   for name in commands if name not in told]
    faults += [f"{page.name} says nothing of {name}" for name in commands
               if not re.search(rf"^\.B.*\b{name}\b", text, re.MULTILINE)]
    faults += [f"{page.name} says nothing of {option}" for option in options_of(program)
               if not re.search(rf"{option}\b", text) and option != "--help"]

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

    header = (source / "include/vemra_app_stamp.h").read_text(encoding="utf-8")
    overview = (pathlib.Path(directory) / "vemra_app_stamp.3").read_text(encoding="utf-8")
    for member in MEMBER.findall(header):
        if not re.search(rf"^\.B .*\b{member}\b", overview, re.MULTILINE):
            faults.append(f"vemra_app_stamp.3 says nothing of {member}")
    for declaration in re.findall(r"^VEMRA_APP_STAMP_API ([^;]+);", header, re.MULTILINE):
        function = re.search(r"(VemraAppStamp\w+)\(", declaration)[1]
        page = (pathlib.Path(directory) / f"{function}.3").read_text(encoding="utf-8")
        told = re.findall(r"^\\fI(\w+)\\fP \(", page, re.MULTILINE)
        if told != re.findall(r"(\w+)[,)]", declaration.replace("(void)", "()")):
            faults.append(f"{function}.3 tells of the arguments {told}")

print("\n".join(faults))
sys.exit(bool(faults))
