"""--verify: what is read after a change."""

import re

from tool_case import COMPANY, LARGE, NAME_SEAL, ToolCase

CALL = re.compile(r"VemraPKICrypto(ReadData|WriteData|DeleteData) slot=(\d+) .*result=1 ")


class Verify(ToolCase):
    """Seal in 8130, Other in 8131; Other can be read once in a run, by the look under the lock."""

    def setUp(self):
        super().setUp()
        self.append("Seal", COMPANY)
        self.append("Other", NAME_SEAL)
        self.before = self.stamps()

    def changes(self):
        return (["append", "--name", "New", LARGE], ["update", "name:New", "--name", "Renamed"],
                ["update", "name:Renamed", NAME_SEAL], ["delete", "--yes", "name:Renamed"])

    def read_after(self, *arguments, code=0):
        """The slots that a change reads behind its last write or deletion."""
        trace = self.folder / "trace"
        trace.unlink(missing_ok=True)
        self.environment["VEMRA_SOFTTOKEN_TRACE"] = str(trace)
        self.change(code, *arguments)
        calls = CALL.findall(trace.read_text())
        last = max(number for number, call in enumerate(calls) if call[0] != "ReadData")
        return {int(slot) for _, slot in calls[last + 1:]}

    def test_everything_is_read_when_nothing_is_said(self):
        for command, more in zip(self.changes(), ([], [], ["--verify", "everything"], [])):
            read = self.read_after(*command, *more)
            self.assertEqual(read - {8132}, {8127, 8130, 8131})
            self.assertEqual(8132 in read, command[0] != "delete")

    def test_changed_reads_the_list_and_what_was_changed(self):
        for command in self.changes():
            read = self.read_after(*command, "--verify", "changed")
            self.assertEqual(read, {8127} if command[0] == "delete" else {8127, 8132})
        self.assertEqual(self.stamps(), self.before)

    def test_it_is_said_how_far_a_change_is_verified(self):
        done = self.change(0, "update", "name:Seal", LARGE, "--verify", "changed", "--verbose")
        self.assertIn(b'"Seal" is on ' + self.serial.encode() + b" (type 3), verified alone\n",
                      done.stderr)
        self.assertIn(b"the list and what was changed read back and compared", done.stderr)
        done = self.change(0, "update", "name:Seal", COMPANY, "--verbose")
        self.assertIn(b" (type 3), verified\n", done.stderr)
        self.assertIn(b"2 stamps read back and compared", done.stderr)

    def test_changed_finds_bytes_that_differ(self):
        self.fail_device("garble 1")
        done = self.change(9, "update", "name:Seal", LARGE, "--verify", "changed")
        self.assertIn(b'the bytes of "Seal" differ', done.stderr)
        self.assertEqual(len(self.recovery_folders()), 1)

    def test_changed_finds_an_appended_seal_that_differs(self):
        self.fail_device("garble 1")
        done = self.change(9, "append", "--name", "New", LARGE, "--verify", "changed")
        self.assertIn(b'the bytes of "New" differ', done.stderr)

    def test_changed_finds_a_list_that_stayed_the_old_one(self):
        self.fail_device("lose 2")
        done = self.change(9, "update", "name:Seal", "--name", "Leas", "--verify", "changed")
        self.assertIn(b'"Leas" is named "Seal"', done.stderr)

    def test_changed_finds_a_list_that_is_none(self):
        self.fail_device("lose 1")
        done = self.change(9, "delete", "--yes", "name:Other", "--verify", "changed")
        self.assertIn(b"holds now cannot be verified", done.stderr)
        self.assertEqual(len(self.recovery_folders()), 1)

    def test_damage_to_another_seal_is_found_by_everything_alone(self):
        fault = "ReadData slot=8131 call=2 return=-122 lasting"
        self.environment["VEMRA_SOFTTOKEN_FAULTS"] = fault
        self.change(0, "update", "name:Seal", LARGE, "--verify", "changed")
        done = self.change(9, "update", "name:Seal", COMPANY)
        self.assertIn(b'the bytes of "Other" cannot be read', done.stderr)

    def test_a_change_that_failed_is_followed_by_reading_everything(self):
        self.fail_device("fail 1")
        read = self.read_after("update", "name:Seal", LARGE, "--verify", "changed", code=1)
        self.assertEqual(read, {8127, 8130, 8131})
        self.heal_device()
        self.assertEqual(self.stamps(), self.before)

    def test_one_that_cannot_be_read_is_deleted_before_others(self):
        self.append("Third", NAME_SEAL)
        self.softtoken("fault", "add", "a", "ReadData slot=8130 return=-122 lasting")
        self.change(0, "delete", "--yes", "name:Third", "name:Seal", "--verify", "changed")
        self.assertEqual(list(self.stamps()), ["Other"])

    def test_a_restore_knows_it_too(self):
        self.expect(0, "backup", self.folder / "kept")
        self.change(0, "delete", "--yes", "name:Seal", "--verify", "changed")
        self.change(0, "update", "name:Other", LARGE, "--verify", "changed")
        done = self.change(0, "restore", "--replace", "--verify", "changed", self.folder / "kept")
        self.assertEqual(done.stderr.count(b", verified alone"), 2)
        self.assertEqual(self.stamps(), self.before)

    def test_another_word_is_wrong_usage(self):
        done = self.change(2, "update", "name:Seal", LARGE, "--verify", "nothing")
        self.assertIn(b"changed", done.stderr)
        self.assertEqual(self.stamps(), self.before)
