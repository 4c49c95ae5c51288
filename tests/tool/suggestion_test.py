"""What a message tells a person to type does what it says."""

import os
import pathlib
import re
import shlex
import subprocess

from tool_case import COMPANY, LARGE, NAME_SEAL, TOOL, ToolCase


class Suggestion(ToolCase):
    """Two stamps on one of two devices, and a place for what is kept with a blank in its path."""

    def setUp(self):
        super().setUp()
        self.environment["XDG_STATE_HOME"] = str(self.folder / "kept 'here'")
        self.create_token("b", self.serial + " B", 7)
        self.begin_anew()

    def begin_anew(self):
        """"Seal" in slot 8130, "Other" in 8131, and nothing kept."""
        for folder in self.recovery_folders():
            self.expect(0, "recovery", "discard", "--yes", folder)
        uuids = [one["uuid"] for one in self.json(0, "list")["result"]["stamps"]]
        if uuids:
            self.change(0, "delete", "--yes", *uuids)
        for name, picture in (("Seal", NAME_SEAL), ("Other", COMPANY)):
            self.append(name, picture, "--device", self.serial)
        self.before = self.stamps()

    def recovery_folders(self):
        return sorted((pathlib.Path(self.environment["XDG_STATE_HOME"]) / "vemra-stamp/recovery").glob("*"))

    def suggested(self, told):
        return [shlex.split(line) for line in
                re.findall(r"with: vemra-stamp (.*)$", told.decode(), re.MULTILINE)]

    def mend(self):
        """Whatever the device or the library in its place did is over."""
        self.heal_device()
        for name in set(self.tokens.values()):
            self.softtoken("fault", "clear", name)

    def told_by(self, code, *command):
        """What the message of a command that fails tells to type."""
        done = self.change(code, *command)
        self.mend()
        self.assertEqual(len(self.recovery_folders()), 1)
        return self.suggested(done.stderr)

    def follow(self, suggested):
        for words in suggested:
            # A check may find what no repair can mend.
            done = self.run_tool(*words, *(["--yes"] if "--repair" in words else []),
                                 "--password-file", self.password_file)
            self.assertIn(done.returncode, (0, 1) if "--repair" in words else (0,), (words, done.stderr))

    def expect_put_back(self, suggested):
        self.assertEqual([words[0] for words in suggested][-1:], ["restore"])
        self.follow(suggested)
        now = self.stamps()
        self.assertEqual({name: now.get(name) for name in self.before}, self.before)


class Suggested(Suggestion):
    def test_it_puts_back_what_an_update_lost_wherever_the_device_failed(self):
        for fault in ("WriteData slot=8130 return=-122 lasting", "WriteData slot=8127 return=-122 lasting",
                      "CreateData slot=8130 return=-122 lasting", "CreateData slot=8127 return=-122 lasting"):
            with self.subTest(fault=fault):
                self.begin_anew()
                self.softtoken("fault", "add", "a", fault)
                suggested = self.told_by(1, "update", "name:Seal", "--name", "A longer name", LARGE)
                self.expect_put_back(suggested)
                self.begin_anew()

    def test_it_puts_back_what_a_deletion_lost(self):
        self.softtoken("fault", "add", "a", "WriteData slot=8127 return=-122 lasting")
        self.expect_put_back(self.told_by(1, "delete", "--yes", "name:Seal"))

    def test_it_puts_back_the_names_of_others_that_an_append_lost(self):
        for fault in ("WriteData slot=8127 return=-122 lasting", "CreateData slot=8127 return=-122 lasting"):
            with self.subTest(fault=fault):
                self.begin_anew()
                self.softtoken("fault", "add", "a", fault)
                suggested = self.told_by(1, "append", "--device", self.serial, "--name", "New", LARGE)
                self.assertEqual(self.json(0, "list")["result"]["stamps"], [])
                self.assertEqual([words[0] for words in suggested], ["check"])
                self.follow(suggested)
                now = self.stamps()
                self.assertEqual({name: now.get(name) for name in self.before}, self.before)

    def test_it_puts_back_what_stands_garbled_in_list_or_picture(self):
        for number in (1, 2):
            with self.subTest(number=number):
                self.begin_anew()
                self.fail_device(f"garble {number}")
                self.expect_put_back(self.told_by(9, "update", "name:Seal", "--name", "A longer name", LARGE))

    def test_it_puts_the_others_back_when_the_device_failed_over_an_unreadable_one(self):
        for command in (["delete", "--yes", "name:Bad"], ["update", "name:Bad", COMPANY]):
            with self.subTest(command=command[0]):
                self.begin_anew()
                self.append("Bad", LARGE, "--device", self.serial)
                self.softtoken("fault", "add", "a", "ReadData slot=8132 return=-122 lasting")
                self.softtoken("fault", "add", "a", "WriteData slot=8127 return=-122 lasting")
                self.expect_put_back(self.told_by(1, *command))

    def test_it_puts_back_what_a_repair_lost(self):
        for slot, code, fault in ((8133, 9, "garble 1"), (8134, 1, "fail-from 1")):
            with self.subTest(fault=fault):
                self.begin_anew()
                self.raw_slot("write", slot, b"orphan")
                self.fail_device(fault)
                suggested = self.told_by(code, "check", "--repair", "--yes", "--device", self.serial)
                self.expect_put_back(suggested)

    def test_a_repair_that_kept_the_list_alone_is_to_be_made_again(self):
        self.change(0, "delete", "--yes", "name:Seal", "name:Other")
        self.raw_slot("write", 8133, COMPANY.read_bytes())
        self.fail_device("garble 1")
        suggested = self.told_by(9, "check", "--repair", "--yes", "--device", self.serial)
        self.assertEqual([words[0] for words in suggested], ["check"])
        self.follow(suggested)
        self.assertEqual(list(self.stamps()), ["recovered-8133"])

    def test_where_the_list_is_whole_nothing_is_to_be_repaired_first(self):
        self.fail_device("garble 1")
        suggested = self.told_by(9, "update", "name:Seal", LARGE)
        self.assertEqual([words[0] for words in suggested], ["restore"])

    def test_programs_are_told_whether_the_list_is_damaged(self):
        for fault, is_damaged in (("garble 1", None), ("garble 2", True)):
            with self.subTest(fault=fault):
                self.begin_anew()
                self.fail_device(fault)
                error = self.json(9, "update", "--password-file", self.password_file, "name:Seal",
                                  "--name", "A longer name", LARGE)["error"]
                self.mend()
                self.assertEqual(error.get("list_damaged"), is_damaged)

    def test_a_path_that_a_shell_would_split_is_quoted(self):
        self.fail_device("garble 1")
        done = self.change(9, "update", "name:Seal", LARGE)
        self.mend()
        line, = re.findall(r"with: (vemra-stamp restore.*)$", done.stderr.decode(), re.MULTILINE)
        os.symlink(TOOL, self.folder / "vemra-stamp")
        self.environment["PATH"] = f"{self.folder}:{self.environment['PATH']}"
        subprocess.run(f"{line} --password-file '{self.password_file}'", shell=True, check=True,
                       env=self.environment, stderr=subprocess.DEVNULL)
        self.assertEqual(self.stamps(), self.before)


class SeveralKept(Suggestion):
    """A directory of each kind at once: one with stamps, one with the list alone, one with bytes that
    were not listed."""

    def setUp(self):
        super().setUp()
        self.softtoken("fault", "add", "a", "WriteData slot=8130 return=-122 lasting")
        self.told_by(1, "update", "name:Seal", LARGE)
        self.raw_slot("write", 8130, b"not listed", serial=self.serial + " B")
        self.append("Over it", NAME_SEAL, "--device", self.serial + " B")
        self.change(0, "delete", "--yes", "name:Over it")
        self.raw_slot("write", 8133, b"orphan", serial=self.serial + " B")
        self.fail_device("garble 1")
        self.change(9, "check", "--repair", "--yes", "--device", self.serial + " B")
        self.mend()
        self.assertEqual(len(self.recovery_folders()), 3)

    def test_all_are_restored_together(self):
        self.follow([["check", "--repair", "--device", self.serial + " B"]])
        done = self.change(0, "recovery", "restore", "--replace", *(path.name for path in self.recovery_folders()))
        self.assertIn(b"holds the old list alone", done.stderr)
        stamps = self.stamps()
        self.assertEqual({name: stamps.get(name) for name in self.before}, self.before)
        self.assertIn("unlisted-8130", stamps)

    def test_the_list_alone_stops_nothing_and_is_not_discarded_as_restored(self):
        """The list on its device is damaged yet."""
        alone, = [path for path in self.recovery_folders() if not list(path.glob("stamp-*"))]
        for command in (["restore", "--replace", "--discard", alone],
                        ["recovery", "restore", "--discard", alone.name]):
            self.assertIn(b"holds the old list alone", self.change(0, *command).stderr)
            self.assertTrue(alone.exists())


class Refused(ToolCase):
    def test_each_option_that_a_refusal_names_is_one_of_the_command(self):
        self.append("Seal", COMPANY)
        self.create_token("b", self.serial + "-B", 3)
        text = self.write("text", "only text\n")
        taken = self.write("taken", "mine")
        for command in (["append", "--name", "New", text, "--device", self.serial],
                        ["append", "--name", "Seal", COMPANY, "--device", self.serial],
                        ["append", "--name", "New", COMPANY], ["export", "name:Seal", "-o", taken],
                        ["sheet", "-o", taken], ["delete", "name:Seal"],
                        ["recovery", "discard", "none"]):
            done = self.change(2, *command)
            known = self.expect(0, "help", command[0]).stdout + self.expect(0, "help").stdout
            for option in re.findall(rb"--[a-z-]+", done.stderr):
                self.assertIn(option, known, (command, done.stderr))
