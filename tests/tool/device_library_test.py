"""A device library that lacks a function, as one of another version may."""

import os
import pathlib
import shutil

from tool_case import COMPANY, NAME_SEAL, ToolCase

FUNCTIONS = pathlib.Path(os.environ["SOURCE_DIR"], "device_library/functions.txt").read_text().split()
CHANGING = {"VemraPKICryptoCreateData", "VemraPKICryptoDeleteData", "VemraPKICryptoVerifyPwd",
            "VemraPKICryptoWriteData"}
# What the device layer has for others. It reads key pairs and certificates with every device.
UNREACHED = {"VemraPKICertDupCert", "VemraPKICertEqual", "VemraPKICertGetCertEncode",
             "VemraPKICertNewCert", "VemraPKICryptoDupDevice", "VemraPKICryptoDupKeypair",
             "VemraPKICryptoGetPseudoDevice"}


class DeviceLibrary(ToolCase):
    def setUp(self):
        super().setUp()
        self.append("Seal", COMPANY)
        self.append("Other", NAME_SEAL)
        self.backup = self.folder / "backup"
        self.expect(0, "backup", self.backup)
        self.change(0, "delete", "--yes", "name:Other")
        self.softtoken("generate-cert", "a", "--cn", "Li Wei")
        self.whole = self.environment["LD_LIBRARY_PATH"]
        self.older = self.folder / "older"
        self.older.mkdir()

    def take_away(self, *functions):
        """A copy of the library in which these functions have another name."""
        library = pathlib.Path(self.whole, "libvemra_crypto.so.1").read_bytes()
        for function in functions:
            name = b"\0" + function.encode() + b"\0"
            self.assertIn(name, library)
            library = library.replace(name, name.replace(b"Vemra", b"Xemra"))
        (self.older / "libvemra_crypto.so.1").write_bytes(library)
        self.environment["LD_LIBRARY_PATH"] = str(self.older)

    def give_back(self):
        self.environment["LD_LIBRARY_PATH"] = self.whole

    def reading(self):
        shutil.rmtree(self.folder / "out", ignore_errors=True)
        return (["devices"], ["list"], ["show", "name:Seal"],
                ["export", "--all", self.folder / "out"],
                ["sheet", "--force", "-o", self.folder / "page"],
                ["backup", self.folder / os.urandom(4).hex()])

    def changing(self):
        return (["append", "--name", "New", NAME_SEAL], ["update", "name:Seal", "--name", "New"],
                ["delete", "--yes", "name:Seal"], ["check", "--repair", "--yes"],
                ["restore", "--replace", self.backup], ["verify-password"])

    def expect_named(self, function, *command):
        done = self.change(5, *command)
        self.assertIn(f"libvemra_crypto.so.1 lacks {function}: ", done.stderr.decode())
        self.assertIn(b"vemra-softtoken exec -- vemra-stamp", done.stderr)

    def test_the_functions_of_the_library_are_sorted_here(self):
        self.assertEqual(UNREACHED - set(FUNCTIONS), set())
        self.assertEqual(CHANGING - set(FUNCTIONS), set())

    def test_one_that_reading_needs_is_named_by_reading_and_changing(self):
        for function in set(FUNCTIONS) - CHANGING - UNREACHED:
            self.take_away(function)
            for command in (["list"], ["append", "--name", "New", NAME_SEAL]):
                self.expect_named(function, *command)

    def test_every_command_names_one_that_it_needs(self):
        self.raw_slot("write", 8133, b"unlisted")
        self.take_away("VemraPKICryptoReadData")
        for command in (*self.reading(), *self.changing()):
            self.expect_named("VemraPKICryptoReadData", *command)

    def test_one_that_changes_need_stops_changes_before_they_begin(self):
        self.raw_slot("write", 8133, b"unlisted")
        for function in CHANGING:
            self.take_away(function)
            for command in self.changing():
                self.expect_named(function, *command)
            for command in self.reading():
                self.expect(0, *command)
            self.expect(1, "check")
            self.give_back()
            self.assertEqual(list(self.stamps()), ["Seal"])

    def test_all_that_are_missing_are_named(self):
        self.take_away("VemraPKIGetErrorMsg", "VemraPKICryptoWriteData")
        self.expect_named("VemraPKIGetErrorMsg, VemraPKICryptoWriteData", "verify-password")

    def test_those_that_nothing_needs_may_be_missing(self):
        self.take_away(*UNREACHED)
        for command in self.reading():
            self.expect(0, *command)
        self.append("New", NAME_SEAL)
        self.change(0, "update", "name:New", COMPANY)
        self.change(0, "delete", "--yes", "name:New")
        self.change(0, "restore", self.backup)
        self.change(0, "verify-password")
        self.fail_device("fail 1")
        self.change(1, "append", "--name", "New", NAME_SEAL)

    def test_a_loader_that_resolves_at_once_says_the_same(self):
        self.environment["LD_BIND_NOW"] = "1"
        self.take_away("VemraPKICertEqual")
        self.assertIn(b"lacks VemraPKICertEqual", self.expect(5, "list").stderr)
