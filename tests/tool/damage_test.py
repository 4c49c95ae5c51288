"""Runs that the token cuts off or fails at every changing call, and what check --repair makes of
it."""

import hashlib
import json

from tool_case import COMPANY, NAME_SEAL, ToolCase

CUTS = [f"{function} call={call} {action}"
        for function, actions in (("WriteData", ("die=before", "die=after", "torn=7")),
                                  ("CreateData", ("die=before", "die=after")),
                                  ("DeleteData", ("die=before", "die=after")))
        for call in (1, 2) for action in actions]

FAILURES = [f"{function} call={call} return=-122{more}"
            for function in ("WriteData", "CreateData", "DeleteData")
            for call in (1, 2) for more in ("", " lasting")]


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


class Damage(ToolCase):
    """The token holds two stamps; one of them is in the command that is cut off."""

    def cut_off(self, cut, *command):
        self.change(0, "append", "--name", "Changed", NAME_SEAL)
        self.change(0, "append", "--name", "Other", COMPANY)
        self.softtoken("fault", "add", "a", cut)
        done = self.run_tool(*command, "--password-file", self.password_file)
        self.softtoken("fault", "clear", "a")
        return done.returncode

    def clean(self):
        uuids = [one["uuid"] for one in self.json(0, "list")["result"]["stamps"]]
        if uuids:
            self.change(0, "delete", "--yes", *uuids)
        for folder in self.recovery_folders():
            for path in folder.iterdir():
                path.unlink()
            folder.rmdir()

    def repair(self):
        """Whatever stood there, one repair leaves nothing but pictures that never came."""
        if self.run_tool("check").returncode != 0:
            self.run_tool("check", "--repair", "--yes", "--password-file", self.password_file)
        device, = json.loads(self.run_tool("--json", "check").stdout)["result"]["devices"]
        for finding in device["findings"]:
            self.assertIn("all its bytes are zero", finding["text"])

    def sweep(self, cuts, *command):
        cut_runs = 0
        for cut in cuts:
            with self.subTest(cut=cut):
                if self.cut_off(cut, *command) != 0:
                    cut_runs += 1
                self.repair()
                self.assertIn(digest(COMPANY), self.stamps().values())
                self.expect_old_stamp_kept()
                self.clean()
        # A schedule that cuts nothing would prove nothing.
        self.assertGreaterEqual(cut_runs, 4)

    def expect_old_stamp_kept(self):
        """Changed as asked, or as before, or restorable from the recovery file."""
        for folder in self.recovery_folders():
            self.change(0, "restore", "--replace", folder)
            self.assertIn(digest(NAME_SEAL), self.stamps().values())
            if list(folder.glob("stamp-*")):
                self.expect(0, "check")
            else:
                # The list of an append, from which the repair took the names.
                self.assertLessEqual({"Changed", "Other"}, set(self.stamps()))

    def test_appends(self):
        self.sweep(CUTS, "append", "--any-data", "--name", "New", self.password_file)

    def test_updates(self):
        self.sweep(CUTS, "update", "--any-data", "name:Changed", "--name", "A longer name",
                   self.password_file)

    def test_failed_updates(self):
        self.sweep(FAILURES, "update", "--any-data", "name:Changed", "--name", "A longer name",
                   self.password_file)

    def test_deletions(self):
        self.sweep(CUTS, "delete", "--yes", "name:Changed")

    def test_repairs(self):
        for cut in (cut for cut in CUTS if "call=1" in cut):
            with self.subTest(cut=cut):
                self.change(0, "append", "--name", "Other", COMPANY)
                self.raw_slot("write", 8133, NAME_SEAL.read_bytes())
                self.softtoken("fault", "add", "a", cut)
                done = self.run_tool("check", "--repair", "--yes", "--password-file",
                                     self.password_file)
                self.softtoken("fault", "clear", "a")
                self.assertNotEqual(done.returncode, 0)
                self.repair()
                self.assertEqual(sorted(self.stamps().values()),
                                 sorted([digest(COMPANY), digest(NAME_SEAL)]))
                folder, = self.recovery_folders()
                self.change(0, "restore", "--replace", folder)
                self.assertEqual(self.stamps()["Other"], digest(COMPANY))
                self.clean()

    def test_a_device_that_is_unplugged_while_writing(self):
        code = self.cut_off("WriteData call=1 unplug", "update", "--any-data",
                            "name:Changed", self.password_file)
        self.assertEqual(code, 1)
        self.softtoken("attach", "a")
        self.repair()
        self.expect_old_stamp_kept()
        self.assertIn(digest(COMPANY), self.stamps().values())
