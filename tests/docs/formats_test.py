#!/usr/bin/env python3
"""The table of readings in docs/formats.md: each body is put on a token and read by the library.

    formats_test.py SOURCE_DIR SOFTTOKEN_TOOL SEAL_DEMO
"""

import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

source, softtoken_tool, seal_demo = sys.argv[1:]
SERIAL = "SN-F"
STAMP_SLOTS = range(8130, 8135)
INVALID_SLOT = re.compile(r"Invalid id of the storage of stamp: (\d+), skip it\.")
BAD_ENTRY = re.compile(r"Bad stamp info: (.*), skip it\.")


def uuid_start(slot):
    place = SERIAL.encode() + (1).to_bytes(4, "little") + slot.to_bytes(4, "little")
    return hashlib.sha256(place).hexdigest()[:12]


class Token:
    """A token whose slot 8127 takes any record."""

    def __init__(self, folder):
        self.folder = folder
        self.environment = {**os.environ, "VEMRA_SOFTTOKEN_DIR": str(folder / "tokens")}
        (folder / "password").write_text("password\n")
        self.run("create", "office", "--serial", SERIAL, "--type", "1", "--password-cost", "1",
                 "--password-file", folder / "password")

    def run(self, *arguments):
        return subprocess.run([softtoken_tool, *arguments], env=self.environment, check=True,
                              capture_output=True, text=True).stdout

    def reading_of(self, body):
        """Slots with their names, and the entries that were skipped, as the table tells them."""
        record = self.folder / "record"
        record.write_bytes((len(body) + 5).to_bytes(4, "little") + b"\1" + body.encode())
        trace = self.folder / "trace"
        trace.unlink(missing_ok=True)
        self.run("load", "office", "8127", record)
        listed = self.run("exec", "--", seal_demo, "--trace", trace, "list").splitlines()[1:]
        names = {row.split()[0]: row.split()[-1] for row in listed}
        told = trace.read_text()
        name = body.split("&")[0]
        return ([f"{slot} {names[uuid_start(slot)]}" for slot in STAMP_SLOTS
                 if uuid_start(slot) in names]
                + [f"{slot} {name}" for slot in INVALID_SLOT.findall(told)]
                + [f'skipped: "Bad stamp info: {entry}, skip it."'
                   for entry in BAD_ENTRY.findall(told)])


def rows():
    text = (pathlib.Path(source) / "docs/formats.md").read_text(encoding="utf-8")
    block = text.split("What the body of a record reads as:\n\n")[1].split("\n\n")[0]
    before = None
    for line in block.splitlines():
        body, reading = line.strip().split("  ", 1)
        before = before if reading.strip() == "the same" else reading.strip()
        yield body, before


def main():
    folder = pathlib.Path(tempfile.mkdtemp(prefix="formats-test-"))
    try:
        token = Token(folder)
        readings = [(body, told, ", ".join(token.reading_of(body))) for body, told in rows()]
    finally:
        shutil.rmtree(folder, ignore_errors=True)
    for body, told, read in readings:
        if told != read:
            print(f"{body}\n    is read as  {read}\n    is told as  {told}")
    return len(readings) < 5 or any(told != read for _, told, read in readings)


if __name__ == "__main__":
    sys.exit(main())
