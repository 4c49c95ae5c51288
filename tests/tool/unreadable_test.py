"""One slot that cannot be read, by a fault of the token or by damage, hides nothing."""

import hashlib
import sqlite3
import unittest

import terminal_test
from tool_case import COMPANY, LARGE, NAME_SEAL, ToolCase


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


class Unreadable(ToolCase):
    """S0 in 8130, S1 in 8131, which cannot be read, S2 behind it."""

    def setUp(self):
        super().setUp()
        self.uuids = {name: self.append(name, picture)
                      for name, picture in (("S0", COMPANY), ("S1", LARGE), ("S2", NAME_SEAL))}

    def fail_reads(self, *slots):
        for slot in slots or (8131,):
            self.softtoken("fault", "add", "a", f"ReadData slot={slot} return=-122 lasting")

    def damage(self, slot=8131):
        """Other bytes under the old sum, as a worn device may hold them: reads give -123."""
        database, = (self.folder / "tokens").rglob("token.db")
        with sqlite3.connect(database) as token:
            changed = token.execute("UPDATE slot SET bytes = zeroblob(length) "
                                    "WHERE id = ?", (slot,))
            self.assertEqual(changed.rowcount, 1)
        token.close()

    def expect_named(self, done, cause=b"(-122)"):
        self.assertIn(b'"S1" in slot 8131 of ' + self.serial.encode() + b" (type 3) cannot be read",
                      done.stderr)
        self.assertIn(cause, done.stderr)

    def others(self):
        return {"S0": digest(COMPANY), "S2": digest(NAME_SEAL)}

    def listed(self, code=0):
        stamps = self.json(code, "list")["result"]["stamps"]
        return {one["name"]: one["sha256"] for one in stamps}


class Reading(Unreadable):
    def test_list_shows_all_others_and_names_it(self):
        self.fail_reads()
        self.assertEqual(self.listed(10), self.others())
        done = self.expect(10, "list")
        self.expect_named(done)
        self.assertRegex(done.stdout.decode(), rf"{self.uuids['S1'][:12]} +S1 +unreadable")

    def test_list_tells_programs_which_it_is(self):
        self.fail_reads()
        one, = self.json(10, "list")["result"]["unreadable"]
        self.assertEqual((one["uuid"], one["name"], one["slot"], one["device"]),
                         (self.uuids["S1"], "S1", 8131, {"serial": self.serial, "type": 3}))
        self.assertIn("(-122)", one["cause"])

    def test_each_one_of_several_is_told_once(self):
        self.fail_reads(8130, 8132)
        done = self.expect(10, "list")
        for name in (b'"S0" in slot 8130', b'"S2" in slot 8132'):
            self.assertEqual(done.stderr.count(name), 1)
        self.assertEqual(done.stderr.count(b"cannot be read"), 2)
        self.assertEqual(done.stderr.count(b"(-122)"), 2)

    def test_the_one_behind_it_is_selected_with_its_uuid_and_slot(self):
        self.fail_reads()
        for selector in ("name:S2", self.uuids["S2"]):
            shown = self.json(0, "show", selector)["result"]["stamp"]
            self.assertEqual((shown["uuid"], shown["slot"], shown["sha256"]),
                             (self.uuids["S2"], 8132, digest(NAME_SEAL)))
        self.assertEqual(self.expect(0, "export", "name:S2").stdout, NAME_SEAL.read_bytes())

    def test_who_does_not_read_it_says_nothing_of_it(self):
        self.fail_reads()
        for command in (["show", "name:S2"], ["list", "--names"]):
            self.assertEqual(self.expect(0, *command).stderr, b"")

    def test_it_is_itself_named_where_its_bytes_are_wanted(self):
        self.fail_reads()
        for command in (["show", "name:S1"], ["export", "name:S1", "-o", self.folder / "one"]):
            self.expect_named(self.expect(1, *command))
        self.assertFalse((self.folder / "one").exists())

    def test_export_and_sheet_of_all_leave_it_out_and_name_it(self):
        self.fail_reads()
        self.expect_named(self.expect(10, "export", "--all", self.folder / "all"))
        self.assertEqual(sorted(digest(path) for path in (self.folder / "all").iterdir()),
                         sorted(self.others().values()))
        self.expect_named(self.expect(10, "sheet", "-o", self.folder / "page.html"))
        self.assertIn("S2", (self.folder / "page.html").read_text())

    def test_a_backup_leaves_it_out_and_names_it(self):
        self.fail_reads()
        self.expect_named(self.expect(10, "backup", self.folder / "kept"))
        self.softtoken("fault", "clear", "a")
        self.change(0, "delete", "--yes", "name:S0", "name:S1", "name:S2")
        self.change(0, "restore", self.folder / "kept")
        self.assertEqual(self.listed(), self.others())

    def test_other_devices_are_whole(self):
        self.create_token("b", self.serial + "-B", 7)
        self.append("Far", LARGE, "--device", self.serial + "-B")
        self.fail_reads()
        self.assertEqual(self.listed(10), {**self.others(), "Far": digest(LARGE)})
        self.expect(0, "list", "--device", self.serial + "-B")

    def test_check_names_it_and_says_which_slot_is_of_no_stamp(self):
        self.raw_slot("write", 8134, b"orphan")
        self.fail_reads(8131, 8134)
        lines = self.expect(1, "check").stdout.decode().splitlines()
        device = f"{self.serial} (type 3): "
        self.assertEqual(lines, [
            device + '"S1" in slot 8131 cannot be read: storage failed (-122)',
            device + "slot 8134, for which no stamp is listed, cannot be read: storage failed (-122)"])

    def test_bytes_that_an_append_would_overwrite_unread_are_named(self):
        self.raw_slot("write", 8133, b"orphan")
        self.fail_reads(8133)
        done = self.change(1, "append", "--name", "New", NAME_SEAL)
        self.assertIn(f"slot 8133 of {self.serial} (type 3), which is free, cannot be read: storage "
                      "failed (-122)".encode(), done.stderr)
        self.assertEqual(self.listed(), {**self.others(), "S1": digest(LARGE)})

    def test_damage_is_told_as_damage(self):
        self.damage()
        self.assertEqual(self.listed(10), self.others())
        self.expect_named(self.expect(10, "list"), b"(-123)")


class UnreadableList(Unreadable):
    """Slot 8127 of one device cannot be read: what that device holds is not known."""

    def setUp(self):
        super().setUp()
        self.other = self.serial + "-B"
        self.create_token("b", self.other, 7)
        self.append("Far", COMPANY, "--device", self.other)
        self.fail_reads(8127)
        self.told = f"the list of {self.serial} (type 3) cannot be read: storage failed (-122)"

    def test_every_command_says_that_it_is_the_list(self):
        for code, *command in ((10, "list"), (10, "devices"), (10, "export", "--all", self.folder / "all"),
                               (10, "sheet", "-o", self.folder / "page"), (0, "show", "name:Far"),
                               (1, "backup", "--device", self.serial, self.folder / "kept"),
                               (1, "append", "--device", self.serial, "--name", "New", NAME_SEAL,
                                "--password-file", self.password_file)):
            with self.subTest(command=command):
                told = self.expect(code, *command).stderr.decode()
                self.assertEqual(told.count(self.told), 1, told)
                self.assertEqual(told.count("(-122)"), 1, told)
        self.assertIn(f"{self.serial} (type 3): the list cannot be read: storage failed (-122)\n",
                      self.expect(1, "check").stdout.decode())

    def test_a_stamp_that_may_be_on_it_is_not_said_to_be_missing(self):
        for command in (["show"], ["export", "-o", self.folder / "one"], ["delete", "--yes"],
                        ["update", "--name", "New"]):
            told = self.change(1, *command, "name:S0").stderr.decode()
            self.assertIn(f'no stamp is selected by "name:S0", but what {self.serial} (type 3) holds '
                          "is not known\n", told)
        self.change(0, "update", "name:Far", "--name", "Near")

    def test_a_backup_of_nothing_is_not_made(self):
        self.expect(1, "backup", "--device", self.serial, self.folder / "kept")
        self.assertFalse((self.folder / "kept").exists())


class Writing(Unreadable):
    def test_it_can_be_deleted(self):
        for make in (self.fail_reads, self.damage):
            with self.subTest(make=make.__name__):
                make()
                self.change(0, "delete", "--yes", "name:S1")
                self.assertEqual(self.listed(), self.others())
                self.assertEqual(self.recovery_folders(), [])
                self.softtoken("fault", "clear", "a")
                self.expect(0, "check")
                self.append("S1", LARGE)

    def test_it_can_be_replaced_when_it_was_damaged(self):
        self.damage()
        self.change(0, "update", "name:S1", "--name", "New", COMPANY)
        self.assertEqual(self.listed(), {**self.others(), "New": digest(COMPANY)})
        self.assertEqual(self.json(0, "show", "name:New")["result"]["stamp"]["uuid"],
                         self.uuids["S1"])
        self.assertEqual(self.recovery_folders(), [])
        self.expect(0, "check")

    def test_a_replacement_that_cannot_be_read_either_is_not_verified(self):
        self.fail_reads()
        done = self.change(9, "update", "name:S1", COMPANY)
        self.assertIn(b'the bytes of "S1" cannot be read: storage failed (-122)', done.stderr)
        folder, = self.recovery_folders()
        self.assertTrue((folder / "mapping-record").exists())
        self.softtoken("fault", "clear", "a")
        self.assertEqual(self.listed(), {**self.others(), "S1": digest(COMPANY)})

    def test_a_backup_puts_it_back(self):
        self.expect(0, "backup", self.folder / "kept")
        before = self.listed()
        self.damage()
        self.change(0, "restore", "--replace", self.folder / "kept")
        self.assertEqual(self.listed(), before)

    def test_a_backup_puts_it_back_before_it_writes_anything_else(self):
        self.expect(0, "backup", self.folder / "kept")
        before = self.listed()
        self.change(0, "delete", "--yes", "name:S0")
        self.damage()
        self.change(0, "restore", "--replace", self.folder / "kept")
        self.assertEqual(self.listed(), before)

    def test_a_new_name_alone_is_not_enough(self):
        self.damage()
        done = self.change(2, "update", "name:S1", "--name", "New")
        self.assertIn(b"give a FILE", done.stderr)
        self.assertEqual(self.listed(10), self.others())

    def test_nothing_else_is_written_before(self):
        self.fail_reads()
        for command in (["append", "--name", "New", COMPANY], ["update", "name:S0", LARGE],
                        ["update", "name:S2", LARGE], ["delete", "--yes", "name:S2"]):
            with self.subTest(command=command):
                done = self.change(1, *command)
                self.assertIn(b"cannot all be read: storage failed (-122)", done.stderr)
                self.assertIn(b'Try again; if it stays so, first give "S1" a new picture, or delete it', done.stderr)
        self.softtoken("fault", "clear", "a")
        self.assertEqual(self.listed(), {**self.others(), "S1": digest(LARGE)})

    def test_it_is_deleted_together_with_others(self):
        self.fail_reads()
        self.change(0, "delete", "--yes", "name:S2", "name:S1", "name:S0")
        self.assertEqual(self.listed(), {})

    def test_one_of_two_can_be_deleted(self):
        self.fail_reads(8131, 8132)
        self.change(0, "delete", "--yes", "name:S1")
        self.change(0, "delete", "--yes", "name:S2")
        self.assertEqual(self.listed(), {"S0": digest(COMPANY)})

    def test_the_last_one_can_be_deleted(self):
        self.change(0, "delete", "--yes", "name:S0", "name:S2")
        self.fail_reads()
        self.change(0, "delete", "--yes", "name:S1")
        self.assertEqual(self.listed(), {})

    def test_a_wrong_password_deletes_nothing(self):
        self.damage()
        self.expect(3, "delete", "--yes", "name:S1", "--password-file", self.wrong_file)
        self.expect_named(self.expect(10, "list"), b"(-123)")
        self.assertEqual(self.recovery_folders(), [])

    def test_a_list_that_is_lost_meanwhile_can_be_restored(self):
        self.damage()
        self.softtoken("fault", "add", "a", "WriteData slot=8127 return=-122 lasting")
        done = self.change(1, "delete", "--yes", "name:S1")
        self.softtoken("fault", "clear", "a")
        folder, = self.recovery_folders()
        self.assertIn(str(folder).encode(), done.stderr)
        self.run_tool("check", "--repair", "--yes", "--password-file", self.password_file)
        self.change(0, "restore", "--replace", folder)
        stamps = self.listed()
        self.assertEqual({name: stamps.get(name) for name in self.others()}, self.others())

    def test_bytes_that_are_lost_meanwhile_are_told(self):
        self.damage()
        self.softtoken("fault", "add", "a", "WriteData slot=8131 return=-122 lasting")
        done = self.change(1, "update", "name:S1", COMPANY)
        self.assertIn(b'the bytes of "S1" are gone', done.stderr)
        self.assertEqual(len(self.recovery_folders()), 1)

    def test_it_is_not_deleted_when_another_run_replaced_it(self):
        self.damage()
        tool = terminal_test.Terminal(self.environment, "delete", "name:S1", "--password-file",
                                      self.password_file)
        tool.wait_for(b"[y/N] ")
        self.change(0, "update", "name:S1", COMPANY)
        tool.type("y\n")
        self.assertEqual(tool.finish(), 6)
        self.assertEqual(self.listed(), {**self.others(), "S1": digest(COMPANY)})


if __name__ == "__main__":
    unittest.main()
