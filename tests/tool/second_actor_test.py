"""Another run, or another program, that works on the same device at the same time."""

import fcntl
import hashlib
import os
import pathlib
import stat
import subprocess
import time
import unittest

import terminal_test
from tool_case import COMPANY, LARGE, NAME_SEAL, PASSWORD, TOOL, WRONG, ToolCase

PLACES = (pathlib.Path("/run/lock"), pathlib.Path("/tmp"))


def lock_name(serial, device_type):
    place = f"{serial}\0{device_type}".encode()
    return "vemra-stamp-" + hashlib.sha256(place).hexdigest()[:16] + ".lock"


class TwoActors(ToolCase):
    def setUp(self):
        super().setUp()
        self.addCleanup(self.remove_lock_files)

    def remove_lock_files(self):
        for serial, device_type in ((self.serial, 3), (self.serial + "-B", 7)):
            for place in PLACES:
                (place / lock_name(serial, device_type)).unlink(missing_ok=True)

    def lock_files(self, serial=None, device_type=3):
        """Those that there are after a run."""
        self.run_tool("devices")
        paths = [place / lock_name(serial or self.serial, device_type) for place in PLACES]
        found = [path for path in paths if path.exists()]
        self.assertTrue(found)
        return found

    def hold(self, kind, **device):
        """Held from outside until it is closed."""
        file = os.open(self.lock_files(**device)[0], os.O_RDONLY)
        fcntl.flock(file, kind)
        return file

    def start(self, *arguments):
        process = subprocess.Popen([TOOL, *map(str, arguments)], env=self.environment,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, start_new_session=True)
        self.addCleanup(process.stdout.close)
        self.addCleanup(process.stderr.close)
        return process

    def readers(self):
        return (["list"], ["list", "--names"], ["devices"], ["check"], ["show", "name:Seal"],
                ["export", "name:Seal", "-o", self.folder / "one", "--force"],
                ["export", "--all", self.folder / "all", "--force"],
                ["sheet", "-o", self.folder / "page.html", "--force"],
                ["backup", self.folder / f"backup-{time.monotonic_ns()}"])

    def writers(self):
        with_password = ["--password-file", self.password_file]
        return (["append", "--name", "New", NAME_SEAL, *with_password],
                ["update", "name:Seal", NAME_SEAL, *with_password],
                ["delete", "--yes", "name:Seal", *with_password],
                ["restore", "--replace", self.folder / "kept", *with_password],
                ["check", "--repair", "--yes", *with_password],
                ["verify-password", *with_password])


class HeldFromOutside(TwoActors):
    def setUp(self):
        super().setUp()
        self.append("Other", COMPANY)
        self.expect(0, "backup", self.folder / "kept")
        self.change(0, "delete", "--yes", "name:Other")
        self.append("Seal", COMPANY)
        self.raw_slot("write", 8133, b"orphan")
        self.before = self.stamps()

    def test_no_command_passes_a_writer(self):
        file = self.hold(fcntl.LOCK_EX)
        self.addCleanup(os.close, file)
        for command in (*self.readers(), *self.writers()):
            with self.subTest(command=command[0]):
                done = self.expect(11, *command, "--timeout", "0.1")
                self.assertIn(b"another run of vemra-stamp is working on " + self.serial.encode(),
                              done.stderr)
        self.assertFalse((self.folder / "one").exists())

    def test_readers_pass_a_reader_and_writers_do_not(self):
        file = self.hold(fcntl.LOCK_SH)
        for command in self.readers():
            with self.subTest(command=command[0]):
                self.assertIn(self.run_tool(*command, "--timeout", "0.1").returncode, (0, 1))
        for command in self.writers():
            with self.subTest(command=command[0]):
                self.expect(11, *command, "--timeout", "0.1")
        os.close(file)
        self.assertEqual(self.stamps(), self.before)

    def test_no_lock_reads_and_says_so(self):
        file = self.hold(fcntl.LOCK_EX)
        self.addCleanup(os.close, file)
        for command in self.readers():
            with self.subTest(command=command[0]):
                done = self.run_tool(*command, "--no-lock", "--timeout", "0")
                self.assertIn(done.returncode, (0, 1))
                self.assertIn(self.serial.encode() +
                              b" (type 3) is read without its lock: it may be in the middle of a "
                              b"change", done.stderr)
        self.assertEqual((self.folder / "one").read_bytes(), COMPANY.read_bytes())

    def test_commands_that_change_know_no_way_past_the_lock(self):
        for command in self.writers():
            with self.subTest(command=command[0]):
                self.expect(2, *command, "--no-lock")

    def test_no_attempt_is_spent_while_waiting(self):
        file = self.hold(fcntl.LOCK_EX)
        self.expect(11, "verify-password", "--timeout", "0", "--password-file", self.wrong_file)
        os.close(file)
        done = self.expect(3, "verify-password", "--password-file", self.wrong_file)
        self.assertIn(b"9 attempts left", done.stderr)

    def test_a_command_waits_as_long_as_it_may(self):
        file = self.hold(fcntl.LOCK_EX)
        process = self.start("list", "--timeout", "60")
        time.sleep(0.5)
        self.assertIsNone(process.poll())
        os.close(file)
        self.assertEqual(process.wait(60), 0)


class InTheMiddle(TwoActors):
    """Another run has deleted the list and not written the new one yet."""

    def setUp(self):
        super().setUp()
        for name in ("Seal", "Second"):
            self.append(name, COMPANY)
        kept = dict(self.environment)
        self.environment["VEMRA_SOFTTOKEN_FAULTS"] = "CreateData slot=8127 delay=2500"
        self.first = self.start("update", "name:Seal", "--name", "A longer name",
                                "--password-file", self.password_file)
        self.environment = kept
        self.wait_for_write()

    def finish(self):
        self.assertEqual(self.first.wait(60), 0)

    def test_readers_show_nothing_half_done(self):
        readers = [self.start(*command, "--timeout", "60") for command in
                   (["list"], ["devices"], ["show", "name:Second"], ["check"],
                    ["export", "--all", self.folder / "all"])]
        for process in readers:
            output = process.communicate(timeout=60)[0]
            self.assertEqual(process.returncode, 0, process.args)
            if "list" in process.args:
                self.assertIn(b"A longer name", output)
            if "devices" in process.args:
                self.assertRegex(output, rb"3 +2 +3")
        self.assertEqual(len(list((self.folder / "all").iterdir())), 2)
        self.finish()

    def test_writers_find_what_they_are_to_change(self):
        writers = [self.start(*command, "--timeout", "60", "--password-file", self.password_file)
                   for command in (["update", "name:Second", NAME_SEAL],
                                   ["append", "--name", "Third", NAME_SEAL])]
        for process in writers:
            _, errors = process.communicate(timeout=60)
            self.assertEqual(process.returncode, 0, errors)
        self.change(0, "delete", "--yes", "name:A longer name")
        self.finish()
        self.assertEqual(sorted(self.stamps()), ["Second", "Third"])


class WhileAQuestionStands(TwoActors):
    def setUp(self):
        super().setUp()
        self.append("Seal", COMPANY)

    def ask(self, *arguments):
        return terminal_test.Terminal(self.environment, *arguments)

    def give_password(self, tool, password=PASSWORD):
        tool.wait_for(b"Password of")
        tool.wait_for(b": ")
        tool.type(password + "\n")

    def test_no_lock_is_held_at_a_password_prompt(self):
        for command in (["append", "--name", "New", NAME_SEAL], ["update", "name:Seal", LARGE],
                        ["delete", "--yes", "name:Seal"], ["verify-password"]):
            with self.subTest(command=command[0]):
                tool = self.ask(*command)
                tool.wait_for(b"Password of")
                self.change(0, "verify-password", "--timeout", "0")
                tool.type("\x04")
                self.assertEqual(tool.finish(), 2)

    def test_no_lock_is_held_when_a_wrong_password_may_be_tried_again(self):
        tool = self.ask("update", "name:Seal", NAME_SEAL)
        self.give_password(tool, WRONG)
        tool.wait_for(b"9 attempts left")
        tool.wait_for(b"Password of")
        self.append("Other", LARGE, "--timeout", "0")
        self.change(0, "update", "name:Other", "--timeout", "0", "--name", "Renamed")
        tool.type(PASSWORD + "\n")
        self.assertEqual(tool.finish(), 0)
        self.assertEqual(sorted(self.stamps()), ["Renamed", "Seal"])

    def test_no_lock_is_held_at_a_question(self):
        self.raw_slot("write", 8133, b"orphan")
        for command in (["delete", "name:Seal"], ["check", "--repair"]):
            with self.subTest(command=command[0]):
                tool = self.ask(*command)
                tool.wait_for(b"[y/N] ")
                self.change(0, "verify-password", "--timeout", "0")
                tool.type("n\n")
                self.assertEqual(tool.finish(), 2)

    def test_an_update_takes_the_stamp_as_it_is_by_then(self):
        tool = self.ask("update", "name:Seal", "--name", "New name")
        tool.wait_for(b"Password of")
        self.change(0, "update", "name:Seal", NAME_SEAL)
        tool.type(PASSWORD + "\n")
        self.assertEqual(tool.finish(), 0)
        self.assertEqual(self.stamps(),
                         {"New name": hashlib.sha256(NAME_SEAL.read_bytes()).hexdigest()})

    def test_an_update_of_a_stamp_that_is_gone_or_renamed_changes_nothing(self):
        for more in (["update", "name:Seal", "--name", "Renamed"], ["delete", "--yes", "name:Seal"]):
            with self.subTest(other=more[0]):
                tool = self.ask("update", "name:Seal", LARGE)
                tool.wait_for(b"Password of")
                self.change(0, *more)
                before = self.stamps()
                tool.type(PASSWORD + "\n")
                self.assertEqual(tool.finish(), 6)
                self.assertIn(b'"Seal" is not there any more', tool.text)
                self.assertEqual(self.stamps(), before)
                for name in before:
                    self.change(0, "delete", "--yes", f"name:{name}")
                self.append("Seal", COMPANY)

    def test_an_update_to_a_name_that_was_used_meanwhile_changes_nothing(self):
        tool = self.ask("update", "name:Seal", "--name", "Wanted")
        tool.wait_for(b"Password of")
        self.append("Wanted", LARGE)
        before = self.stamps()
        tool.type(PASSWORD + "\n")
        self.assertEqual(tool.finish(), 2)
        self.assertEqual(self.stamps(), before)

    def test_an_append_to_a_device_that_was_filled_meanwhile_changes_nothing(self):
        for number in range(3):
            self.append(f"n{number}", NAME_SEAL)
        tool = self.ask("append", "--name", "Late", NAME_SEAL)
        tool.wait_for(b"Password of")
        self.append("n3", NAME_SEAL)
        tool.type(PASSWORD + "\n")
        self.assertEqual(tool.finish(), 7)

    def test_a_full_device_is_told_before_a_password_is_asked(self):
        for number in range(4):
            self.append(f"n{number}", NAME_SEAL)
        tool = self.ask("append", "--name", "Late", NAME_SEAL)
        self.assertEqual(tool.finish(), 7)
        self.assertNotIn(b"Password", tool.text)

    def test_what_was_shown_is_deleted_or_nothing(self):
        tool = self.ask("delete", "name:Seal", "--password-file", self.password_file)
        tool.wait_for(b"[y/N] ")
        self.change(0, "update", "name:Seal", NAME_SEAL)
        tool.type("y\n")
        self.assertEqual(tool.finish(), 6)
        self.assertEqual(list(self.stamps()), ["Seal"])

    def test_a_repair_does_what_was_shown_or_nothing(self):
        self.raw_slot("write", 8133, b"orphan")
        tool = self.ask("check", "--repair", "--password-file", self.password_file)
        tool.wait_for(b"[y/N] ")
        self.raw_slot("write", 8133, b"another")
        tool.type("y\n")
        self.assertEqual(tool.finish(), 1)
        self.assertIn(b"another run has changed", tool.text)
        self.assertEqual(list(self.stamps()), ["Seal"])

    def test_a_restore_plans_anew_under_the_lock(self):
        self.expect(0, "backup", self.folder / "kept")
        self.change(0, "delete", "--yes", "name:Seal")
        tool = self.ask("restore", self.folder / "kept")
        tool.wait_for(b"Password of")
        self.append("Seal", NAME_SEAL)
        before = self.stamps()
        tool.type(PASSWORD + "\n")
        self.assertEqual(tool.finish(), 10)
        self.assertIn(b"--replace puts this one in its place", tool.text)
        self.assertEqual(self.stamps(), before)


class UnfinishedAnswers(TwoActors):
    """Enter alone, the end of input, and half a line."""

    def setUp(self):
        super().setUp()
        self.append("Seal", COMPANY)
        self.raw_slot("write", 8133, b"orphan")

    def test_they_are_no_yes(self):
        for command in (["delete", "name:Seal"], ["check", "--repair"]):
            for answer in ("\n", "\x04", " y\n", "n\n", "ja\x15\n"):
                with self.subTest(command=command[0], answer=answer):
                    tool = terminal_test.Terminal(self.environment, *command, "--password-file",
                                    self.password_file)
                    tool.wait_for(b"[y/N] ")
                    tool.type(answer)
                    self.assertEqual(tool.finish(), 2)
        self.assertEqual(list(self.stamps()), ["Seal"])

    def test_half_a_yes_before_the_end_of_input_is_no_yes(self):
        tool = terminal_test.Terminal(self.environment, "delete", "name:Seal", "--password-file",
                        self.password_file)
        tool.wait_for(b"[y/N] ")
        tool.type("y\x04\x04")
        self.assertEqual(tool.finish(), 2)
        self.assertEqual(list(self.stamps()), ["Seal"])

    def test_they_are_no_password(self):
        for answer in ("\n", "\x04", PASSWORD + "\x04\x04"):
            with self.subTest(answer=answer):
                tool = terminal_test.Terminal(self.environment, "verify-password")
                tool.wait_for(b": ")
                tool.type(answer)
                self.assertEqual(tool.finish(), 2)
        done = self.expect(3, "verify-password", "--password-file", self.wrong_file)
        self.assertIn(b"9 attempts left", done.stderr)

    def test_the_terminal_that_goes_away_is_no_answer(self):
        tool = terminal_test.Terminal(self.environment, "delete", "name:Seal", "--password-file",
                        self.password_file)
        tool.wait_for(b"[y/N] ")
        os.close(tool.side)
        self.assertNotEqual(tool.process.wait(60), 0)
        self.assertEqual(list(self.stamps()), ["Seal"])


class SeveralDevices(TwoActors):
    def setUp(self):
        super().setUp()
        self.far = self.serial + "-B"
        self.create_token("b", self.far, 7)

    def test_runs_that_want_the_same_devices_in_opposite_orders_both_end(self):
        for serial, names in ((self.serial, ("a1", "a2")), (self.far, ("b1", "b2"))):
            for name in names:
                self.append(name, NAME_SEAL, "--device", serial)
        self.fail_device("slow 200")
        with_password = ("--timeout", "100", "--password-file", self.password_file)
        runs = [self.start("delete", "--yes", "name:a1", "name:b1", *with_password),
                self.start("delete", "--yes", "name:b2", "name:a2", *with_password)]
        runs += [self.start("list", "--timeout", "100") for _ in range(3)]
        for process in runs:
            _, errors = process.communicate(timeout=90)
            self.assertEqual(process.returncode, 0, errors)
        self.heal_device()
        self.assertEqual(self.stamps(), {})

    def test_a_writer_on_one_device_does_not_keep_readers_off_another(self):
        file = self.hold(fcntl.LOCK_EX)
        self.addCleanup(os.close, file)
        self.expect(0, "list", "--device", self.far, "--timeout", "0")
        self.expect(11, "list", "--timeout", "0.1")


class LockFiles(TwoActors):
    def test_everybody_may_open_them_whatever_the_umask(self):
        old = os.umask(0o077)
        self.addCleanup(os.umask, old)
        for path in self.lock_files():
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o644)

    def test_one_left_closed_by_a_killed_run_is_opened_to_all(self):
        for path in self.lock_files():
            path.chmod(0o600)
        for path in self.lock_files():
            self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o644)

    def test_runs_meet_in_whatever_place_one_of_them_reaches(self):
        for path in self.lock_files():
            with self.subTest(path=path):
                file = os.open(path, os.O_RDONLY)
                fcntl.flock(file, fcntl.LOCK_EX)
                self.expect(11, "list", "--timeout", "0")
                os.close(file)

    def test_what_is_no_plain_file_is_named_and_not_waited_for(self):
        path = self.lock_files()[0]
        path.unlink()
        os.mkfifo(path)
        done = self.expect(1, "list", timeout=30)
        self.assertIn(f"the lock file {path} cannot be used".encode(), done.stderr)
        path.unlink()
        path.symlink_to(self.folder / "elsewhere")
        self.expect(1, "list", timeout=30)
        self.assertFalse((self.folder / "elsewhere").exists())
        self.expect(0, "list", "--no-lock")

    @unittest.skipUnless(os.geteuid() == 0, "needs a second user")
    def test_a_file_that_may_not_be_opened_is_not_passed_over(self):
        for path in self.lock_files():
            path.chmod(0o600)
        for path in (self.folder, *self.folder.rglob("*")):
            os.chown(path, 65534, 65534)
        def run(*arguments):
            return subprocess.run(["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                   TOOL, *arguments], env=self.environment, check=False,
                                  stdin=subprocess.DEVNULL, capture_output=True, timeout=60)
        done = run("list")
        self.assertEqual(done.returncode, 1, done.stderr)
        self.assertIn(b"cannot be used: Permission denied", done.stderr)
        self.assertEqual(run("list", "--no-lock").returncode, 0)

    @unittest.skipUnless(os.geteuid() == 0, "needs a second user")
    def test_users_share_them(self):
        for path in (self.folder, *self.folder.rglob("*")):
            os.chown(path, 65534, 65534)
        done = subprocess.run(["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", TOOL,
                               "list"], env=self.environment, check=False, capture_output=True,
                              stdin=subprocess.DEVNULL, timeout=60)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.expect(0, "list")


if __name__ == "__main__":
    unittest.main()
