"""What is kept of changes that did not end as they should."""

import hashlib
import os
import resource
import subprocess
import time

from tool_case import COMPANY, LARGE, NAME_SEAL, TOOL, ToolCase, mapping_record
from torn_update import TornUpdate


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


class Kept(TornUpdate):
    def test_every_command_that_touches_the_device_names_what_is_kept(self):
        self.repaired()
        with_password = ("--password-file", self.password_file)
        for code, *command in ((0, "list"), (0, "devices"), (1, "check"),
                               (0, "backup", self.folder / "backup"),
                               (0, "export", "name:Seal"), (0, "export", "--all", self.folder / "x"),
                               (0, "show", "name:Seal"),
                               (0, "sheet", "-o", self.folder / "page.html"),
                               (0, "verify-password", *with_password),
                               (0, "update", *with_password, "name:Seal", "--name", "New"),
                               (0, "append", *with_password, "--name", "More", COMPANY),
                               (0, "delete", *with_password, "--yes", "name:More"),
                               (0, "restore", *with_password, self.folder / "backup", "--replace")):
            done = self.expect(code, *command)
            self.assertIn(str(self.kept).encode(), done.stderr, command)
            self.assertEqual(done.stderr.count(b"held before an earlier change"), 1, command)

    def test_another_device_is_not_said_to_have_any(self):
        other = self.serial + "-B"
        self.create_token("b", other, 3)
        done = self.expect(0, "list", "--device", other)
        self.assertNotIn(b"earlier change", done.stderr)
        self.assertIn(b"earlier change", self.expect(0, "devices").stderr)

    def test_what_is_kept_is_listed_and_shown(self):
        listed, = self.json(0, "recovery")["result"]["kept"]
        self.assertEqual(listed["id"], self.kept.name)
        self.assertEqual(listed["directory"], str(self.kept))
        self.assertEqual(listed["device"], {"serial": self.serial, "type": 3})
        stamp, = listed["stamps"]
        self.assertEqual((stamp["name"], stamp["sha256"]), ("Seal", digest(NAME_SEAL)))
        text = self.expect(0, "recovery").stdout.decode()
        self.assertIn(self.kept.name, text)
        self.assertIn('"Seal"', text)
        text = self.expect(0, "recovery", "show", self.kept.name[:10]).stdout.decode()
        self.assertIn("280x280", text)
        self.assertEqual(self.json(0, "recovery", "show", self.kept)["result"]["kept"], [listed])

    def test_it_is_restored_and_stays_until_it_is_discarded(self):
        self.repaired()
        done = self.change(0, "recovery", "restore", "--replace", self.kept.name)
        self.assertIn(b"is still kept", done.stderr)
        self.assertEqual(self.stamps(), {"Seal": digest(NAME_SEAL)})
        self.assertIn(b"in order", self.expect(0, "check").stdout)
        self.assertEqual(self.recovery_folders(), [self.kept])

    def test_a_restore_discards_it_when_told_to(self):
        self.repaired()
        result = self.json(0, "restore", "--password-file", self.password_file, "--replace",
                           "--discard", self.kept)["result"]
        self.assertEqual(result["discarded"], [str(self.kept)])
        self.assertEqual(self.recovery_folders(), [])

    def test_what_was_not_restored_wholly_is_not_discarded(self):
        self.repaired()
        self.change(10, "recovery", "restore", "--discard", self.kept.name)
        self.assertEqual(self.recovery_folders(), [self.kept])

    def test_it_is_discarded_after_a_yes_alone(self):
        self.assertIn(b"--yes", self.expect(2, "recovery", "discard", self.kept.name).stderr)
        self.assertEqual(self.recovery_folders(), [self.kept])
        result = self.json(0, "recovery", "discard", "--yes", self.kept.name)["result"]
        self.assertEqual(result["discarded"], [str(self.kept)])
        self.assertEqual(self.recovery_folders(), [])
        self.assertIn(b"nothing is kept", self.expect(0, "recovery").stderr)

    def test_of_several_directories_the_latest_prevails(self):
        self.repaired()
        self.change(0, "restore", "--replace", self.kept)
        self.change(0, "update", "name:Seal", COMPANY)
        time.sleep(0.02)
        self.tear_update("Seal")
        self.assertEqual(len(self.recovery_folders()), 2)
        if not self.json(0, "list")["result"]["stamps"]:
            self.change(10, "check", "--repair", "--yes", "--name", "8130=Seal")
        for directories in (self.recovery_folders(), self.recovery_folders()[::-1]):
            self.change(0, "restore", "--replace", *directories)
            self.assertEqual(self.stamps(), {"Seal": digest(COMPANY)})

    def test_unknown_ids_and_actions_are_refused(self):
        for arguments in (("show", "stamp-none"), ("discard", "--yes"), ("restore",), ("burn",),
                          ("discard", "--yes", self.folder)):
            self.expect(2, "recovery", *arguments)
        self.assertEqual(self.recovery_folders(), [self.kept])

    def test_what_cannot_be_read_is_told_and_can_be_discarded(self):
        (self.kept / "manifest.json").write_text("{}")
        listed, = self.json(0, "recovery")["result"]["kept"]
        self.assertIsNone(listed["device"])
        self.assertIn("manifest.json", listed["fault"])
        self.expect(10, "recovery", "show", self.kept.name)
        self.expect(0, "recovery", "discard", "--yes", self.kept.name)
        self.assertEqual(self.recovery_folders(), [])

    def test_what_a_killed_run_left_without_a_manifest_is_said_to_be_of_no_use(self):
        (self.kept / "manifest.json").unlink()
        listed, = self.json(0, "recovery")["result"]["kept"]
        self.assertEqual(listed["fault"],
                         "it has no manifest: its change had not begun, or was over; discard it")


class KeptList(ToolCase):
    """The list of three stamps, which an append lost: the token deleted it and wrote no new one."""

    NAMES = {"One": NAME_SEAL, "Two": COMPANY, "公章": LARGE}

    def setUp(self):
        super().setUp()
        for name, picture in self.NAMES.items():
            self.append(name, picture)
        self.record = self.raw_slot("read", 8127)
        self.softtoken("fault", "add", "a", "WriteData slot=8127 return=-122 lasting")
        self.lost = self.change(1, "append", "--any-data", "--name", "New", self.password_file)
        self.softtoken("fault", "clear", "a")
        self.kept, = self.recovery_folders()

    def repair(self):
        return self.change(0, "check", "--repair", "--yes").stderr.decode()

    def test_its_bytes_are_kept_and_the_message_says_what_takes_the_names_from_them(self):
        self.assertEqual((self.kept / "mapping-record").read_bytes(), self.record)
        self.assertIn(f"The old list is kept in {self.kept}, for check --repair to take the names from\n",
                      self.lost.stderr.decode())

    def test_it_is_listed_and_shown(self):
        kept, = self.json(0, "recovery")["result"]["kept"]
        self.assertEqual(kept["listed"], [{"slot": 8130 + i, "name": name}
                                          for i, name in enumerate(self.NAMES)])
        self.assertIn('the list alone: "One", "Two", "公章"',
                      self.expect(0, "recovery").stdout.decode())
        self.assertIn("8131  Two", self.expect(0, "recovery", "show", self.kept.name).stdout.decode())

    def test_a_repair_takes_the_names_from_it_and_says_so(self):
        told = self.repair()
        self.assertIn(f'slot 8131 as "Two", its name in the list that {self.kept.name} keeps\n', told)
        stamps = self.stamps()
        self.assertEqual({name: stamps.get(name) for name in self.NAMES},
                         {name: digest(picture) for name, picture in self.NAMES.items()})

    def test_bytes_that_came_later_do_not_get_a_name_from_it(self):
        self.raw_slot("write", 8131, NAME_SEAL.read_bytes())
        self.repair()
        self.assertEqual(set(self.stamps()) - {"recovered-8133"}, {"One", "recovered-8131", "公章"})

    def test_another_device_gets_no_name_from_it(self):
        other = self.serial + "-B"
        self.create_token("b", other, 3)
        self.raw_slot("write", 8131, COMPANY.read_bytes(), other)
        self.change(0, "check", "--repair", "--yes", "--device", other)
        self.assertEqual(list(self.stamps()), ["recovered-8131"])

    def test_a_name_that_another_stamp_took_meanwhile_is_not_given_twice(self):
        self.raw_slot("write", 8127, mapping_record(b"Two&8130"))
        self.repair()
        self.assertEqual(self.stamps()["recovered-8131"], digest(COMPANY))

    def test_a_given_name_comes_first(self):
        self.change(0, "check", "--repair", "--yes", "--name", "8131=Given")
        self.assertEqual(self.stamps()["Given"], digest(COMPANY))


class Unkept(ToolCase):
    """Where there is no room for what a change overwrites, nothing is overwritten."""

    MESSAGE = b"what is there cannot be kept, and so is not changed: "

    def setUp(self):
        super().setUp()
        self.append("Seal", COMPANY)
        self.before = self.stamps()

    def expect_refused(self, *command, **more):
        done = subprocess.run([TOOL, *map(str, command), "--password-file",
                               str(self.password_file)], env=self.environment,
                              capture_output=True, check=False, **more)
        self.assertEqual((done.returncode, self.MESSAGE in done.stderr), (1, True), done.stderr)
        self.assertEqual(self.stamps(), self.before)

    def test_a_place_that_cannot_be_made_refuses_every_change(self):
        self.environment["XDG_STATE_HOME"] = str(self.write("file", "no directory") / "state")
        for command in (("update", "name:Seal", NAME_SEAL), ("delete", "--yes", "name:Seal"),
                        ("append", "--name", "New", NAME_SEAL)):
            self.expect_refused(*command)

    def test_of_a_file_that_does_not_fit_nothing_is_left(self):
        largest = COMPANY.stat().st_size - 1
        self.expect_refused(
            "update", "name:Seal", NAME_SEAL,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (largest, largest)))
        self.assertEqual(self.recovery_folders(), [])


class UnderWay(ToolCase):
    def test_what_a_running_change_keeps_is_not_left_behind(self):
        self.append("Seal", NAME_SEAL)
        self.expect_not_told_meanwhile()

    def test_nor_when_somebody_looked_at_it_in_its_first_moment(self):
        self.append("Seal", NAME_SEAL)
        self.preload(os.environ["MOMENTARY_READER"])
        self.expect_not_told_meanwhile()

    def expect_not_told_meanwhile(self):
        self.softtoken("fault", "add", "a", "WriteData delay=3000")
        with subprocess.Popen([TOOL, "update", "--password-file", str(self.password_file),
                               "name:Seal", str(COMPANY)], env=dict(self.environment),
                              stderr=subprocess.DEVNULL) as update:
            self.heal_device()
            self.wait_for_write()
            while not list(self.recovery_folders()[0].glob("manifest.json")):
                time.sleep(0.01)
            kept = self.json(0, "recovery")["result"]["kept"]
            self.assertEqual(update.wait(), 0)
        self.assertEqual(kept, [])
