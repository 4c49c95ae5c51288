import hashlib
import json
import os

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
        path.unlink()
        self.restore(2)

    def expect_refusal(self, code, text, folder=None):
        before = self.stamps()
        done = self.change(code, "restore", folder or self.directory, timeout=60)
        self.assertIn(text.encode(), done.stderr)
        self.assertEqual(done.stderr.count(b"\n"), 1, done.stderr)
        self.assertEqual(self.stamps(), before)

    def test_a_manifest_says_only_what_a_backup_says(self):
        self.delete_all()
        path = self.directory / "manifest.json"
        whole = json.loads(path.read_text())

        def expect_refusal(text, change):
            made = json.loads(json.dumps(whole))
            made = change(made) or made
            if not isinstance(made, bytes):
                made = (made if isinstance(made, str) else json.dumps(made)).encode()
            path.write_bytes(made)
            with self.subTest(text=text):
                self.expect_refusal(1, text)

        def first(**values):
            return lambda made: made["stamps"][0].update(values)

        expect_refusal("is damaged", lambda made: "[" * 500000)
        expect_refusal("is damaged", lambda made: "[1, 2]")
        expect_refusal("is damaged", lambda made: "7")
        expect_refusal("is damaged", lambda made: json.dumps(made) + "{}")
        expect_refusal("is damaged", lambda made: json.dumps(made).encode().replace(
            b"Li Wei", b"\xf4\x90\x80\x80"))
        expect_refusal("no list", lambda made: made.update(stamps={}))
        expect_refusal("no list", lambda made: made.update(stamps=None))
        expect_refusal('"listed" is no list', lambda made: made.update(listed={}))
        expect_refusal("is missing", lambda made: made.update(listed=[7]))
        expect_refusal("slot 8127 holds no stamps",
                       lambda made: made.update(listed=[{"slot": 8127, "name": "Seal"}]))
        expect_refusal('"sha256" is no',
                       lambda made: made.update(listed=[{"slot": 8130, "name": "Seal", "sha256": "00"}]))
        expect_refusal("more than 16",
                       lambda made: made.update(listed=[{"slot": 8130, "name": "Seal"}] * 17))
        expect_refusal("is missing", lambda made: made.pop("stamps") and None)
        expect_refusal("is missing", lambda made: made.update(stamps=[[]]))
        expect_refusal("more than 16", lambda made: made.update(stamps=made["stamps"] * 9))
        expect_refusal('"type" is no', lambda made: made["device"].update(type="3"))
        expect_refusal('"type" is no', lambda made: made["device"].update(type=2 ** 40))
        expect_refusal('"type" is no', lambda made: made["device"].update(type=3.5))
        expect_refusal('"serial" is no', lambda made: made["device"].update(serial=3))
        for slot in (-1, 1.5, True, "8130", 8135, 2 ** 32 + 8130, 2 ** 64, None):
            expect_refusal('"slot" is no', first(slot=slot))
        expect_refusal("slot 8127 holds no stamps", first(slot=8127))
        expect_refusal("two stamps are of slot 8131", first(slot=8131))
        expect_refusal("two stamps have the uuid", first(uuid=whole["stamps"][1]["uuid"]))
        expect_refusal("two stamps are in the file", first(file="stamp-2.png"))
        expect_refusal('"uuid" is not in hexadecimal', first(uuid="0g"))
        expect_refusal('"bytes" is no', first(bytes=16 * 1024 * 1024 + 1))
        expect_refusal('"bytes" is no', first(bytes=COMPANY.stat().st_size + 0.0))
        expect_refusal('"sha256" is no', first(sha256="00"))
        expect_refusal('"name" is no', first(name=["Seal"]))
        expect_refusal('"name" is told twice', first(name_hex="41"))
        expect_refusal('the key "slot" stands there twice',
                       lambda made: json.dumps(made).replace('"slot"', '"slot": 0, "slot"', 1))
        for name in ("", ".", "..", "../stamp-1.png", "/etc/passwd", "stamp-1.png\0.txt",
                     "stamp-1.png\n"):
            expect_refusal("is not in its directory", first(file=name))

    def test_a_manifest_with_unknown_keys_in_another_order_is_read(self):
        path = self.directory / "manifest.json"
        whole = json.loads(path.read_text())
        path.write_text(json.dumps({"note": {"by": ["hand"]}, **dict(reversed(whole.items()))}))
        self.expect(0, "restore", self.directory)

    def test_a_huge_manifest_is_not_read(self):
        (self.directory / "manifest.json").write_text(" " * (1024 * 1024 + 1))
        self.expect_refusal(2, "is longer than")

    def test_neither_manifest_nor_picture_may_be_anything_but_a_file(self):
        for name in ("manifest.json", "stamp-1.png"):
            path = self.directory / name
            aside = self.folder / name
            path.rename(aside)
            for make in (lambda: os.mkfifo(path), path.mkdir, lambda: path.symlink_to(aside)):
                make()
                with self.subTest(name=name):
                    self.expect_refusal(2, "is no plain file")
                path.rmdir() if path.is_dir() and not path.is_symlink() else path.unlink()
            aside.rename(path)

    def test_the_backup_of_an_empty_device_restores_nothing(self):
        self.delete_all()
        self.expect(0, "backup", self.folder / "empty")
        self.assertIn(b"holds no stamps", self.expect(0, "restore", self.folder / "empty").stderr)

    def test_a_file_in_the_place_of_the_directory_is_bad_input(self):
        taken = self.write("taken", "mine")
        for path in (taken, taken / "below"):
            self.assertIn(b"cannot be made", self.expect(2, "backup", path).stderr)
        self.assertEqual(taken.read_text(), "mine")

    def test_the_manifest_in_the_place_of_the_directory_is_answered_with_what_is_wanted(self):
        path = self.directory / "manifest.json"
        done = self.change(2, "restore", path)
        self.assertIn(f"{path} is no directory; name the one that holds manifest.json".encode(), done.stderr)

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
