"""What each command may read of a device: a hardware token moves some tens of kilobytes a second.

Prints a table of what was read. With BUDGET_PROFILE=slow the tokens take their time, and the seconds
in the table are those that a user waits; docs/measured/performance.md has them.
"""

import os
import re
import subprocess
import time
import unittest

import terminal_test
from tool_case import COMPANY, NAME_SEAL, SOFTTOKEN_TOOL, ToolCase

KIB = 1024
READ = re.compile(r"VemraPKICryptoReadData slot=(\d+) .*length=(\d+) result=1 ")
PROFILE = os.environ.get("BUDGET_PROFILE", "generous")

COMPANY_SIZE = COMPANY.stat().st_size
NAME_SIZE = NAME_SEAL.stat().st_size

rows = []


def tearDownModule():
    print("\n| Token | Command | Reads, bytes | May read | Seconds |\n|---|---|---|---|---|")
    for row in rows:
        print("| " + " | ".join(row) + " |")


class Budget(ToolCase):
    """Runs commands with the device calls traced, and compares what they read."""

    shape = ""

    def create_token(self, name, serial, device_type, password_file=None, *more):
        super().create_token(name, serial, device_type, password_file, "--profile", PROFILE, *more)

    def load(self, slots, names, serial=None):
        """Bytes into slots, and a list of {slot: name}, past the stamp library."""
        for slot, content in slots.items():
            self.raw_slot("write", slot, content, serial)
        body = b"||".join(f"{name}&{slot}".encode() for slot, name in names.items())
        self.raw_slot("write", 8127, (len(body) + 5).to_bytes(4, "little") + b"\1" + body, serial)

    def lists(self):
        """The bytes of the lists of all devices."""
        return sum(self.list_size(name) for name in self.tokens.values())

    def list_size(self, name):
        file = self.folder / "list"
        file.unlink(missing_ok=True)
        subprocess.run([SOFTTOKEN_TOOL, "dump", name, "8127", file], env=self.environment,
                       stderr=subprocess.DEVNULL, check=False)
        return file.stat().st_size if file.exists() else 0

    def reads(self, code, *arguments):
        """The run's reads as (slot, bytes), and its seconds."""
        trace = self.folder / "trace"
        trace.unlink(missing_ok=True)
        self.environment["VEMRA_SOFTTOKEN_TRACE"] = str(trace)
        begin = time.monotonic()
        self.expect(code, *arguments)
        seconds = time.monotonic() - begin
        del self.environment["VEMRA_SOFTTOKEN_TRACE"]
        return [(int(slot), int(length)) for slot, length in READ.findall(trace.read_text())], seconds

    def expect_reads(self, limit, *arguments, code=0, changes=0):
        """At most this many bytes, and eight lists for each change."""
        lists = self.lists()
        password = ("--password-file", self.password_file) if changes else ()
        reads, seconds = self.reads(code, *arguments, *password)
        limit += 8 * max(1, changes) * max(lists, self.lists())
        total = sum(length for _, length in reads)
        told = " ".join(str(one) for one in arguments).replace(str(self.folder) + "/", "")
        rows.append((self.shape, told.replace(str(COMPANY.parent) + "/", "").replace(
            self.serial, "SERIAL"), str(total), str(limit), f"{seconds:.1f}"))
        with self.subTest(command=told):
            self.assertLessEqual(total, limit, reads)
        return reads

    def expect_readers_keep_to_it(self, stored, code=0):
        """All commands that read all stamps of all devices, or none of them."""
        self.expect_reads(KIB, "devices")
        self.expect_reads(KIB, "list", "--names")
        self.expect_reads(stored + KIB, "list", code=code)
        self.expect_reads(stored + KIB, "sheet", "-o", self.folder / "page.html", code=code)
        self.expect_reads(stored + KIB, "export", "--all", self.folder / "all", code=code)


class ThreeSeals(Budget):
    """93, 47 and 93 KB."""

    shape = "three seals"
    stored = 2 * COMPANY_SIZE + NAME_SIZE

    def setUp(self):
        super().setUp()
        self.load({8130: COMPANY.read_bytes(), 8131: NAME_SEAL.read_bytes(),
                   8132: COMPANY.read_bytes()}, {8130: "one", 8131: "two", 8132: "three"})

    def test_readers_read_each_seal_once(self):
        self.expect_readers_keep_to_it(self.stored)
        self.expect_reads(self.stored + KIB, "backup", self.folder / "kept")
        self.expect_reads(self.stored, "check")

    def test_one_seal_is_read_alone(self):
        self.expect_reads(NAME_SIZE + KIB, "show", "name:two")
        self.expect_reads(NAME_SIZE + KIB, "export", "name:two", "-o", self.folder / "two")
        self.assertEqual((self.folder / "two").read_bytes(), NAME_SEAL.read_bytes())

    def test_changes_read_all_before_and_after(self):
        with_new = self.stored + NAME_SIZE
        self.expect_reads(2 * self.stored + NAME_SIZE, "append", "--name", "four", NAME_SEAL,
                          changes=1)
        self.expect_reads(2 * with_new + NAME_SIZE, "update", "name:four", "--name", "renamed",
                          changes=1)
        self.expect_reads(2 * with_new + COMPANY_SIZE, "update", "name:renamed", COMPANY,
                          changes=1)
        stored = self.stored + COMPANY_SIZE
        self.expect_reads(stored + self.stored + COMPANY_SIZE, "delete", "--yes", "name:renamed",
                          changes=1)
        self.assertEqual(sorted(self.stamps()), ["one", "three", "two"])

    def test_a_change_may_verify_what_it_changed_alone(self):
        changed = ("--verify", "changed")
        with_new = self.stored + NAME_SIZE
        self.expect_reads(self.stored + 2 * NAME_SIZE, "append", *changed, "--name", "four",
                          NAME_SEAL, changes=1)
        self.expect_reads(with_new + 2 * NAME_SIZE, "update", *changed, "name:four", "--name",
                          "renamed", changes=1)
        self.expect_reads(with_new + 2 * COMPANY_SIZE, "update", *changed, "name:renamed", COMPANY,
                          changes=1)
        stored = self.stored + COMPANY_SIZE
        self.expect_reads(stored + 2 * COMPANY_SIZE, "delete", *changed, "--yes", "name:renamed",
                          changes=1)

    def test_a_bar_on_a_terminal_reads_no_more(self):
        trace = self.folder / "trace"
        with_new = self.stored + NAME_SIZE
        for limit, command in (
                (2 * self.stored + NAME_SIZE, ["append", "--name", "four", NAME_SEAL]),
                (2 * with_new + NAME_SIZE, ["update", "name:four", "--name", "renamed"]),
                (with_new + KIB, ["list"]), (NAME_SIZE + KIB, ["show", "name:two"]),
                (with_new + self.stored + NAME_SIZE, ["delete", "--yes", "name:renamed"])):
            trace.unlink(missing_ok=True)
            lists = self.lists()
            tool = terminal_test.Terminal({**self.environment, "VEMRA_SOFTTOKEN_TRACE": str(trace)},
                                          *command, "--password-file", self.password_file)
            self.assertEqual(tool.finish(), 0, tool.text)
            total = sum(int(length) for _, length in READ.findall(trace.read_text()))
            self.assertLessEqual(total, limit + 8 * max(lists, self.lists()), command)

    def test_several_deletions_read_what_is_left_after_each(self):
        left = (COMPANY_SIZE + NAME_SIZE) + NAME_SIZE
        self.expect_reads(self.stored + left + 2 * COMPANY_SIZE, "delete", "--yes", "name:one",
                          "name:three", changes=2)


class TwoDevices(Budget):
    """Of the other device nothing but its list is read."""

    shape = "two devices"
    stored = COMPANY_SIZE + NAME_SIZE

    def setUp(self):
        super().setUp()
        self.far = self.serial + "-B"
        self.create_token("b", self.far, 7)
        self.load({8130: COMPANY.read_bytes(), 8131: NAME_SEAL.read_bytes()},
                  {8130: "one", 8131: "two"})
        self.load({8130: COMPANY.read_bytes(), 8134: COMPANY.read_bytes()},
                  {8130: "far", 8134: "farther"}, self.far)

    def test_readers_read_each_seal_once(self):
        self.expect_readers_keep_to_it(self.stored + 2 * COMPANY_SIZE)
        self.expect_reads(self.stored + KIB, "list", "--device", self.serial)
        self.expect_reads(KIB, "list", "--names", "--device", self.serial)
        self.expect_reads(self.stored + KIB, "backup", "--device", self.serial, self.folder / "kept")
        self.expect_reads(self.stored + 2 * COMPANY_SIZE, "check")

    def test_one_seal_is_read_alone(self):
        self.expect_reads(NAME_SIZE + KIB, "show", "name:two")
        self.expect_reads(NAME_SIZE + KIB, "export", "name:two", "-o", self.folder / "two")

    def test_changes_read_their_own_device(self):
        with_new = self.stored + NAME_SIZE
        self.expect_reads(2 * self.stored + NAME_SIZE, "append", "--device", self.serial, "--name",
                          "three", NAME_SEAL, changes=1)
        self.expect_reads(2 * with_new + NAME_SIZE, "update", "name:three", "--name", "new",
                          changes=1)
        self.expect_reads(with_new + self.stored + NAME_SIZE, "delete", "--yes", "name:new",
                          changes=1)

    def test_a_deletion_on_both_reads_both(self):
        self.expect_reads((self.stored + COMPANY_SIZE + NAME_SIZE) + 4 * COMPANY_SIZE, "delete",
                          "--yes", "name:two", "name:far", changes=2)


class UnlistedSlot(Budget):
    """Bytes that no seal is listed for lie where the next append goes."""

    shape = "unlisted bytes"
    unlisted = 40000

    def setUp(self):
        super().setUp()
        self.load({8130: COMPANY.read_bytes(), 8131: b"x" * self.unlisted}, {8130: "one"})

    def test_readers_do_not_read_them(self):
        self.expect_readers_keep_to_it(COMPANY_SIZE)
        self.expect_reads(COMPANY_SIZE + KIB, "backup", self.folder / "kept")

    def test_check_reads_them_once(self):
        self.expect_reads(COMPANY_SIZE + self.unlisted, "check", code=1)

    def test_an_append_reads_them_twice(self):
        self.expect_reads(2 * COMPANY_SIZE + NAME_SIZE + 2 * self.unlisted, "append", "--name",
                          "two", NAME_SEAL, changes=1)


class EqualNames(Budget):
    """Two seals of one name, told apart by their uuids."""

    shape = "equal names"
    stored = COMPANY_SIZE + NAME_SIZE

    def setUp(self):
        super().setUp()
        self.load({8130: COMPANY.read_bytes(), 8131: NAME_SEAL.read_bytes()},
                  {8130: "same", 8131: "same"})
        listed = self.json(0, "list")["result"]["stamps"]
        self.uuid, = [one["uuid"] for one in listed if one["bytes"] == NAME_SIZE]

    def test_readers_keep_to_it(self):
        self.expect_readers_keep_to_it(self.stored)

    def test_a_uuid_selects_without_bytes(self):
        self.expect_reads(KIB, "show", "name:same", code=8)
        self.expect_reads(NAME_SIZE + KIB, "show", self.uuid)
        self.expect_reads(NAME_SIZE + KIB, "export", self.uuid[:9], "-o", self.folder / "two")
        self.expect_reads(2 * self.stored + NAME_SIZE, "update", self.uuid, "--name", "other",
                          changes=1)
        self.expect_reads(self.stored + COMPANY_SIZE + NAME_SIZE, "delete", "--yes", self.uuid,
                          changes=1)


class EmptyToken(Budget):
    shape = "empty"

    def test_nothing_is_read_where_nothing_is(self):
        self.expect_readers_keep_to_it(0)
        self.expect_reads(KIB, "backup", self.folder / "kept")
        self.expect_reads(0, "check")

    def test_the_first_seal_is_read_once(self):
        self.expect_reads(NAME_SIZE, "append", "--name", "one", NAME_SEAL, changes=1)


class UnreadableSlot(Budget):
    """The second of three seals cannot be read; it gives no bytes, and hides none."""

    shape = "unreadable slot"
    readable = COMPANY_SIZE + NAME_SIZE

    def setUp(self):
        super().setUp()
        self.load({8130: COMPANY.read_bytes(), 8131: COMPANY.read_bytes(),
                   8132: NAME_SEAL.read_bytes()}, {8130: "one", 8131: "lost", 8132: "three"})
        self.softtoken("fault", "add", "a", "ReadData slot=8131 return=-122 lasting")

    def test_readers_read_the_others_once(self):
        self.expect_readers_keep_to_it(self.readable, code=10)
        self.expect_reads(self.readable + KIB, "backup", self.folder / "kept", code=10)
        self.expect_reads(self.readable, "check", code=1)

    def test_another_seal_is_read_alone(self):
        reads = self.expect_reads(NAME_SIZE + KIB, "show", "name:three")
        self.assertEqual([slot for slot, _ in reads], [8127, 8132])
        self.expect_reads(NAME_SIZE + KIB, "export", "name:three", "-o", self.folder / "three")

    def test_its_deletion_reads_the_others_before_and_after(self):
        self.expect_reads(2 * self.readable, "delete", "--yes", "name:lost", changes=1)


if __name__ == "__main__":
    unittest.main()
