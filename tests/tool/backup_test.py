import hashlib
import json

from tool_case import COMPANY, LARGE, NAME_SEAL, ToolCase


class Backup(ToolCase):
    def setUp(self):
        super().setUp()
        self.append("公司印章", COMPANY)
        self.append("Li Wei", NAME_SEAL)
        self.directory = self.folder / "backup"
        self.expect(0, "backup", self.directory)

    def restore(self, code=0, *more):
        return self.change(code, "restore", *more, self.directory)

    def delete_all(self):
        self.change(0, "delete", "--yes", "name:公司印章", "name:Li Wei")

    def test_the_manifest_names_slots_and_digests(self):
        manifest = json.loads((self.directory / "manifest.json").read_text())
        self.assertEqual(manifest["device"], {"serial": self.serial, "type": 3})
        self.assertEqual([(one["name"], one["slot"], one["sha256"])
                          for one in manifest["stamps"]],
                         [("公司印章", 8130, hashlib.sha256(COMPANY.read_bytes()).hexdigest()),
                          ("Li Wei", 8131, hashlib.sha256(NAME_SEAL.read_bytes()).hexdigest())])

    def test_only_the_user_can_read_it(self):
        self.assertEqual(self.directory.stat().st_mode & 0o777, 0o700)
        for path in self.directory.iterdir():
            self.assertEqual(path.stat().st_mode & 0o777, 0o600, path)

    def test_a_backup_is_not_written_over_another(self):
        self.expect(2, "backup", self.directory)

    def test_a_directory_that_holds_other_files_is_left_alone(self):
        folder = self.folder / "other"
        folder.mkdir()
        (folder / "stamp-1.png").write_text("mine")
        self.assertIn(b"not empty", self.expect(2, "backup", folder).stderr)
        self.assertEqual([path.read_text() for path in folder.iterdir()], ["mine"])

    def test_restore_brings_everything_back(self):
        before = self.stamps()
        self.delete_all()
        self.restore()
        self.assertEqual(self.stamps(), before)

    def test_what_is_there_is_skipped_without_a_password(self):
        done = self.expect(0, "--json", "restore", self.directory)
        result = json.loads(done.stdout)["result"]
        self.assertEqual([one["name"] for one in result["present"]], ["公司印章", "Li Wei"])
        self.assertEqual(result["appended"] + result["replaced"], [])

    def test_a_stamp_of_the_same_name_is_replaced_only_with_replace(self):
        before = self.stamps()
        self.change(0, "update", "name:Li Wei", LARGE)
        self.assertIn(b"--replace", self.restore(10).stderr)
        self.assertNotEqual(self.stamps(), before)
        self.restore(0, "--replace")
        self.assertEqual(self.stamps(), before)

    def test_other_stamps_stay(self):
        self.delete_all()
        self.append("Other", LARGE)
        self.restore(0, "--replace")
        self.assertEqual(sorted(self.stamps()), ["Li Wei", "Other", "公司印章"])

    def test_a_full_device_gives_up_the_stamp_in_the_old_place_only_with_replace(self):
        self.delete_all()
        for i in range(5):
            self.append(f"new {i}", NAME_SEAL)
        self.restore(10)
        self.assertNotIn("Li Wei", self.stamps())
        self.restore(0, "--replace")
        self.assertEqual(sorted(self.stamps()), ["Li Wei", "new 2", "new 3", "new 4", "公司印章"])

    def test_a_stamp_under_another_name_gets_its_name_back_only_with_replace(self):
        before = self.stamps()
        self.change(0, "update", "name:Li Wei", "--name", "recovered-8131")
        self.restore(0, "--replace")
        self.assertEqual(self.stamps(), before)
        self.change(0, "update", "name:Li Wei", "--name", "recovered-8131")
        self.restore()
        self.assertEqual(sorted(self.stamps()), ["Li Wei", "recovered-8131", "公司印章"])

    def test_another_device_may_be_named(self):
        self.create_token("b", self.serial + "-B", 7)
        self.softtoken("detach", "a")
        self.expect(5, "restore", self.directory)
        self.restore(0, "--device", self.serial + "-B")
        self.assertEqual(sorted(self.stamps()), ["Li Wei", "公司印章"])

    def test_the_manifest_is_verified_before_anything_is_written(self):
        self.delete_all()
        (self.directory / "stamp-2.png").write_bytes(b"x" * NAME_SEAL.stat().st_size)
        self.restore(1)
        self.assertEqual(self.stamps(), {})

    def test_damaged_manifests_are_refused(self):
        path = self.directory / "manifest.json"
        whole = path.read_text()
        for text in ("", "{}", whole[:-40], whole.replace("vemra-stamp backup", "other"),
                     whole.replace('"version": 1', '"version": 2'),
                     whole.replace("8130", '"a"')):
            path.write_text(text)
            self.restore(1)
        path.write_text(whole.replace("stamp-1.png", "../../secret"))
        self.assertIn(b"not in its directory", self.restore(2).stderr)
        path.unlink()
        self.restore(2)

    def make_backup(self, *stamps):
        """A backup as it may come from elsewhere; the manifest fits its files."""
        folder = self.folder / "made"
        folder.mkdir()
        entries = []
        for number, (name, content) in enumerate(stamps, 1):
            file = f"stamp-{number}.bin"
            (folder / file).write_bytes(content)
            entries.append({"name": name, "slot": 0, "uuid": "", "bytes": len(content),
                            "sha256": hashlib.sha256(content).hexdigest(), "file": file})
        (folder / "manifest.json").write_text(json.dumps(
            {"format": "vemra-stamp backup", "version": 1, "created": "",
             "device": {"serial": self.serial, "type": 3}, "stamps": entries}))
        return folder

    def test_what_append_refuses_outright_is_left_out(self):
        picture = NAME_SEAL.read_bytes()
        made = self.make_backup(("Sealed", b"VemraSeal"), ("tab\there", picture), ("", picture),
                                ("a&b", picture), ("a||b", picture), ("Empty", b""),
                                ("Good", picture))
        done = self.change(10, "--json", "restore", made)
        result = json.loads(done.stdout)["result"]
        self.assertEqual([one["name"] for one in result["appended"]], ["Good"])
        self.assertEqual([(one["name"], one["reason"].split(" ")[-1])
                          for one in result["left_out"]],
                         [("Sealed", "stamp"), ("tab\there", "it"), ("", "empty"),
                          ("a&b", "name"), ("a||b", "name"), ("Empty", "bytes")])
        self.assertEqual(sorted(self.stamps()), ["Good", "Li Wei", "公司印章"])

    def test_what_append_takes_with_an_option_is_restored_with_a_warning(self):
        made = self.make_backup(("Text", b"only text\n"), ("Twice", COMPANY.read_bytes()),
                                ("Twice", NAME_SEAL.read_bytes()))
        done = self.change(0, "--json", "restore", made)
        output = json.loads(done.stdout)
        self.assertEqual([one["name"] for one in output["result"]["appended"]],
                         ["Text", "Twice", "Twice"])
        text, twice = output["warnings"]
        self.assertIn('"Text" is restored as the backup holds it: this is no picture but text/plain',
                      text)
        self.assertIn(f'a stamp on {self.serial} (type 3) has the name "Twice" already', twice)

    def test_a_replaced_stamp_does_not_use_its_own_name_twice(self):
        made = self.make_backup(("Li Wei", COMPANY.read_bytes()))
        done = self.change(0, "--json", "restore", "--replace", made)
        self.assertEqual(json.loads(done.stdout)["warnings"], [])

    def test_a_failure_after_the_first_is_a_partial_result(self):
        self.delete_all()
        self.fail_device("fail-from 3")
        self.restore(10)
        self.heal_device()
        self.assertEqual(sorted(self.stamps()), ["公司印章"])
