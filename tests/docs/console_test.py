#!/usr/bin/env python3
"""Runs the commands that a document shows in `console` blocks, and compares what they print.

    console_test.py SOURCE_DIR BUILD_DIR DOCUMENT...

A block holds commands after "$ " (continued after "> ") and under each what it prints, as a person
at a terminal sees it. "..." stands for any text within a line, or for any lines where it is a line.
All blocks of a document run in one shell, in a folder that looks like a fresh checkout after
scripts/demo, with a home and tokens of its own; those of a further document run in a new shell, in
the folder and with the home that the one before left. Comments that a reader of the document does not see
help out:

    <!-- console          commands to run unseen, one a line; each must succeed
    COMMANDS
    -->
    <!-- types: A, B -->  passwords that the next block types, instead of the usual one
"""

import os
import pathlib
import re
import shutil
import sys
import tempfile

from console import Console

PASSWORD = "correct horse 9"
ELEMENT = re.compile(r"^```console\n(?P<block>.*?)^```$"
                     r"|^<!-- console\n(?P<unseen>.*?)-->$"
                     r"|^<!-- types: (?P<typed>.*?) -->$", re.MULTILINE | re.DOTALL)
COMMAND = re.compile(r"^\$ (.*(?:\n> .*)*)\n((?:(?!\$ ).*\n)*)", re.MULTILINE)


def pattern_of(expected):
    """The expression that output has to match whole."""
    lines = []
    for line in expected.splitlines():
        if line == "...":
            lines.append(r"(?:.*\n)*?")
        else:
            lines.append(".*?".join(re.escape(piece) for piece in line.split("...")) + r" *\n")
    return "".join(lines)


def make_checkout(folder, source, build, documents):
    """What a reader has in front of them: the sources, and what scripts/demo built."""
    for name in ("examples", "include"):
        (folder / name).symlink_to(source / name)
    (folder / "build").mkdir()
    (folder / "build/demo").symlink_to(build)
    (folder / "scripts").mkdir()
    demo = folder / "scripts/demo"
    # The demo that shows its serial numbers has them; any other must not wait for that one's locks.
    serials = "DEMO" if b"DEMO-0001" in documents[0].read_bytes() else f"DEMO-{os.getpid()}"
    demo.write_text(f'#!/bin/sh\nexport VEMRA_DEMO_SERIALS="{serials}"\n'
                    f'exec "{source}/scripts/demo" --built "{build}" "$@"\n')
    demo.chmod(0o755)
    (folder / "home").mkdir()


def environment_of(folder):
    return {"PATH": "/usr/local/bin:/usr/bin:/bin", "HOME": str(folder / "home"),
            "TMPDIR": str(folder / "home"), "LANG": "C.UTF-8", "TERM": "dumb"}


class Document:
    """One document, run from its first block to its last."""

    def __init__(self, path, console):
        self.path = path
        self.text = path.read_text(encoding="utf-8")
        self.console = console
        self.compared = 0
        self.faults = []

    def run(self):
        for element in ELEMENT.finditer(self.text):
            if element["typed"] is not None:
                self.console.passwords = element["typed"].split(", ")
            elif element["unseen"] is not None:
                self._prepare(element["unseen"])
            else:
                self._compare_block(element)

    def _prepare(self, commands):
        for command in commands.splitlines():
            shown = self.console.run(f"{command}\n[ $? -eq 0 ] && printf done")
            if not shown.endswith("done"):
                self.faults.append(f"{self.path.name}: fails: {command}\n{shown}")

    def _compare_block(self, element):
        for command in COMMAND.finditer(element["block"]):
            words, expected = command.groups()
            shown = self.console.run(words.replace("\n> ", "\n"))
            self.compared += 1
            if re.fullmatch(pattern_of(expected), shown) is None:
                start = element.start("block") + command.start()
                line = self.text.count("\n", 0, start) + 1
                self.faults.append(f"{self.path.name}:{line}: $ {words}\n"
                                   f"-- shown in the document\n{expected}-- printed\n{shown}--")


def faults_of(document, folder):
    console = Console(folder, environment_of(folder), PASSWORD)
    try:
        shown = Document(document, console)
        shown.run()
    finally:
        console.close()
    if shown.compared == 0:
        shown.faults.append(f"{document.name} shows no command")
    return shown.faults


def main(source, build, *documents):
    folder = pathlib.Path(tempfile.mkdtemp(prefix="console test "))
    make_checkout(folder, source, build, documents)
    try:
        faults = [fault for document in documents for fault in faults_of(document, folder)]
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    print("\n".join(faults))
    return bool(faults)


if __name__ == "__main__":
    sys.exit(main(*(pathlib.Path(argument).resolve() for argument in sys.argv[1:])))
