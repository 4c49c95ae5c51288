"""What a command says it did is on the disk before it says so."""

import os
import unittest

from tool_case import COMPANY, NAME_SEAL, TOOL, ToolCase
from durability_case import may_trace_anybody, require_tracing, trace


class Durability(ToolCase):
    def setUp(self):
        require_tracing()
        if not may_trace_anybody():
            self.skipTest("the tool lets no ordinary user trace it")
        super().setUp()
        self._add_asan_option("detect_leaks=0")
        self.append("Old", COMPANY)

    def expect_durable(self, *arguments, synchronised):
        """Nothing is left to the system's leisure, and at least what ends so is synchronised."""
        disk, done = trace(self.folder, [TOOL, *arguments], self.environment, stdin=None)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(disk.unsafe(), [])
        for name in synchronised:
            self.assertTrue(any(path == name or path.endswith("/" + name) for path in disk.synchronised),
                            (name, disk.synchronised))

    def test_append_synchronises_the_token(self):
        self.expect_durable("append", "--password-file", self.password_file, "--name", "New", NAME_SEAL,
                            synchronised=["token.db"])

    def test_update_synchronises_what_it_keeps_for_recovery(self):
        self.expect_durable("update", "--password-file", self.password_file, "name:Old", NAME_SEAL,
                            synchronised=["token.db", "recovery"])

    def test_an_exported_picture_and_its_name_are_synchronised(self):
        (self.folder / "out").mkdir()
        self.expect_durable("export", "name:Old", "-o", self.folder / "out/old.png", synchronised=["out"])

    def test_exported_pictures_and_their_new_folders_are_synchronised(self):
        self.expect_durable("export", "--all", self.folder / "new/out", synchronised=["new/out", "new", "."])

    def test_a_backup_and_its_new_folder_are_synchronised(self):
        self.expect_durable("backup", self.folder / "kept", synchronised=["kept", "."])


if __name__ == "__main__":
    unittest.main()
