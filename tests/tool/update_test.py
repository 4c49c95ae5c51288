import hashlib

from tool_case import COMPANY, LARGE, NAME_SEAL, ToolCase


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


class Update(ToolCase):
    def setUp(self):
        super().setUp()
        self.uuid = self.append("Seal", COMPANY)

    def test_a_name_alone_keeps_the_bytes(self):
        self.change(0, "update", self.uuid, "--name", "新名")
        self.assertEqual(self.stamps(), {"新名": digest(COMPANY)})

    def test_bytes_alone_keep_the_name(self):
        for picture in (LARGE, NAME_SEAL):
            self.change(0, "update", "name:Seal", picture)
            self.assertEqual(self.stamps(), {"Seal": digest(picture)})

    def test_both_may_change_and_other_stamps_stay(self):
        self.append("Other", NAME_SEAL)
        self.change(0, "update", self.uuid, "--name", "New", LARGE)
        self.assertEqual(self.stamps(), {"New": digest(LARGE), "Other": digest(NAME_SEAL)})

    def test_nothing_to_change_is_a_usage_error(self):
        self.change(2, "update", self.uuid)

    def test_bad_and_used_names_are_refused(self):
        self.append("Other", NAME_SEAL)
        self.change(2, "update", self.uuid, "--name", "a||b")
        self.change(2, "update", self.uuid, "--name", "Other")
        self.change(0, "update", self.uuid, "--name", "Other", "--allow-duplicate")

    def test_the_recovery_file_is_gone_after_success(self):
        self.change(0, "update", self.uuid, NAME_SEAL)
        self.assertEqual(self.recovery_folders(), [])

    def test_quiet_and_verbose_say_less_and_more(self):
        self.assertEqual(self.change(0, "update", self.uuid, NAME_SEAL, "-q").stderr, b"")
        usual = self.change(0, "update", self.uuid, COMPANY).stderr
        self.assertEqual(usual.count(b"\n"), 1)
        self.assertIn(b"verified", usual)
        more = self.change(0, "update", self.uuid, NAME_SEAL, "-v").stderr
        for text in (b"the password of", b"is kept in", b"1 stamps read back and compared"):
            self.assertIn(text, more)

    def test_quiet_leaves_out_warnings_but_not_failures(self):
        self.password_file.chmod(0o644)
        self.assertEqual(self.change(0, "-q", "update", self.uuid, NAME_SEAL).stderr, b"")
        self.assertIn(b"no stamp", self.expect(6, "-q", "show", "name:missing").stderr)

    def test_nothing_is_written_while_a_stamp_cannot_be_read(self):
        self.append("Other", NAME_SEAL)
        before = self.stamps()
        self.softtoken("fault", "add", "a", "ReadData slot=8131 return=-122 lasting")
        done = self.change(1, "update", self.uuid, NAME_SEAL)
        self.assertIn(b"cannot all be read: storage failed (-122)", done.stderr)
        self.softtoken("fault", "clear", "a")
        self.assertEqual(self.stamps(), before)

    def test_a_refused_change_leaves_the_old_stamp(self):
        self.fail_device("fail 1")
        done = self.change(1, "update", self.uuid, NAME_SEAL)
        self.assertIn(b"storage failed (-122)", done.stderr)
        self.assertIn(b"as they were before", done.stderr)
        self.assertEqual(self.recovery_folders(), [])
        self.heal_device()
        self.assertEqual(self.stamps(), {"Seal": digest(COMPANY)})

    def test_a_lost_stamp_can_be_restored_from_the_recovery_file(self):
        self.fail_device("fail-from 1")
        done = self.change(1, "update", self.uuid, NAME_SEAL)
        folder, = self.recovery_folders()
        self.assertIn(str(folder).encode(), done.stderr)
        self.assertEqual(folder.stat().st_mode & 0o777, 0o700)
        for path in folder.iterdir():
            self.assertEqual(path.stat().st_mode & 0o777, 0o600, path)
        self.heal_device()
        self.change(0, "restore", "--replace", folder)
        self.assertEqual(self.stamps(), {"Seal": digest(COMPANY)})

    def test_a_device_that_lies_is_found_out(self):
        self.fail_device("garble 1")
        done = self.change(9, "update", self.uuid, LARGE)
        self.assertIn(b'the bytes of "Seal" differ', done.stderr)
        folder, = self.recovery_folders()
        self.heal_device()
        self.change(0, "restore", "--replace", folder)
        self.assertEqual(self.stamps(), {"Seal": digest(COMPANY)})

    def test_a_failed_list_is_told_with_what_differs(self):
        self.fail_device("fail 2")
        done = self.change(1, "update", self.uuid, "--name", "New", LARGE)
        self.assertIn(b'the bytes of "Seal" differ', done.stderr)
        self.assertEqual(len(self.recovery_folders()), 1)


class Delete(ToolCase):
    def setUp(self):
        super().setUp()
        self.uuids = [self.append(name, NAME_SEAL) for name in ("one", "two", "three")]

    def test_needs_yes_without_a_terminal(self):
        self.assertIn(b"--yes", self.change(2, "delete", self.uuids[0]).stderr)
        self.assertEqual(len(self.stamps()), 3)

    def test_removes_what_is_selected_and_nothing_else(self):
        self.change(0, "delete", "--yes", self.uuids[0], "name:three", self.uuids[0])
        self.assertEqual(sorted(self.stamps()), ["two"])
        self.assertEqual(self.recovery_folders(), [])

    def test_one_bad_selector_deletes_nothing(self):
        self.change(6, "delete", "--yes", self.uuids[0], "name:missing")
        self.assertEqual(len(self.stamps()), 3)

    def test_stamps_of_two_devices_are_deleted_together(self):
        self.create_token("b", self.serial + "-B", 7)
        self.change(0, "append", "--device", self.serial + "-B", "--name", "far", NAME_SEAL)
        self.change(0, "delete", "--yes", "name:one", "name:far")
        self.assertEqual(sorted(self.stamps()), ["three", "two"])

    def test_a_failure_after_the_first_is_a_partial_result(self):
        self.fail_device("fail-from 2")
        done = self.change(10, "delete", "--yes", *self.uuids)
        self.assertIn(b"storage failed (-122)", done.stderr)
        self.heal_device()
        self.assertNotIn("one", self.stamps())
