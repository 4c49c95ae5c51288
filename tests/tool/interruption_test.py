"""Signals during changes."""

import signal
import subprocess
import time

from tool_case import COMPANY, NAME_SEAL, TOOL, ToolCase


class Interruption(ToolCase):
    def start(self, *arguments):
        process = subprocess.Popen(
            [TOOL, *map(str, arguments), "--password-file", str(self.password_file)],
            env=self.environment, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.addCleanup(process.stderr.close)
        return process

    def test_every_signal_waits_for_the_change(self):
        self.append("Seal", COMPANY)
        for number, name in ((signal.SIGINT, "a"), (signal.SIGTERM, "b"), (signal.SIGHUP, "c"),
                             (signal.SIGQUIT, "d")):
            self.fail_device("slow 400")
            process = self.start("update", str(self.uuid_of_only_stamp()), "--name", name)
            self.wait_for_write()
            process.send_signal(number)
            self.assertEqual(process.wait(60), 130)
            self.heal_device()
            self.assertEqual(list(self.stamps()), [name])
            self.assertEqual(self.recovery_folders(), [])

    def expect_end(self, process, number):
        process.send_signal(number)
        self.assertEqual(process.wait(60), 130)
        return process.stderr.read()

    def test_a_repair_that_has_begun_is_completed_and_verified(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            self.raw_slot("write", 8131, COMPANY.read_bytes())
            self.raw_slot("write", 8127, b"")
            self.fail_device("slow 1000")
            process = self.start("check", "--repair", "--yes")
            self.wait_for_write()
            self.assertIn(b"is repaired, verified", self.expect_end(process, number))
            self.heal_device()
            self.assertEqual(list(self.stamps()), ["recovered-8131"])
            self.assertEqual(self.recovery_folders(), [])

    def test_a_restore_of_many_ends_after_the_stamp_that_it_writes(self):
        for name in ("one", "two", "three"):
            self.append(name, NAME_SEAL)
        before = self.stamps()
        self.expect(0, "backup", self.folder / "backup")
        self.change(0, "delete", "--yes", "name:one", "name:two", "name:three")
        self.fail_device("slow 700")
        process = self.start("restore", self.folder / "backup", "--verbose")
        while b"is right" not in process.stderr.readline():
            pass
        # By then the first stamp is being written, slowly.
        time.sleep(0.4)
        told = self.expect_end(process, signal.SIGTERM)
        self.heal_device()
        left = self.stamps()
        self.assertLess(len(left), 3)
        self.assertEqual(len(left), told.count(b"is restored, verified"))
        self.assertIn(b"interrupted", told)
        self.assertEqual(self.recovery_folders(), [])
        self.change(0, "restore", self.folder / "backup")
        self.assertEqual(self.stamps(), before)

    def test_reading_many_slowly_ends_at_once_and_leaves_no_file(self):
        for name in ("one", "two", "three"):
            self.append(name, NAME_SEAL)
        place = self.folder / "place"
        place.mkdir()
        self.environment["VEMRA_SOFTTOKEN_FAULTS"] = "ReadData delay=5000 lasting"
        for command in (["backup", place / "backup"], ["export", "--all", place / "all"],
                        ["sheet", "-o", place / "page.html"], ["check"], ["list"]):
            process = self.start(*command)
            time.sleep(0.5)
            begin = time.monotonic()
            self.expect_end(process, signal.SIGTERM)
            self.assertLess(time.monotonic() - begin, 4)
            self.assertEqual(list(place.rglob("*")), [])

    def uuid_of_only_stamp(self):
        return self.json(0, "list")["result"]["stamps"][0]["uuid"]

    def test_no_further_change_is_begun_after_a_signal(self):
        for name in ("one", "two", "three"):
            self.append(name, NAME_SEAL)
        self.fail_device("slow 500")
        process = self.start("delete", "--yes", "name:one", "name:two", "name:three")
        self.wait_for_write()
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(60), 130)
        self.heal_device()
        self.assertEqual(sorted(self.stamps()), ["three", "two"])

    def test_a_killed_run_leaves_the_old_stamp_to_be_restored(self):
        self.append("Seal", COMPANY)
        before = self.stamps()
        self.fail_device("slow 2000")
        process = self.start("update", "name:Seal", str(NAME_SEAL))
        self.wait_for_write()
        time.sleep(0.3)
        process.kill()
        process.wait(60)
        self.heal_device()
        folder, = self.recovery_folders()
        self.run_tool("check", "--repair", "--yes", "--password-file", self.password_file)
        self.change(0, "restore", "--replace", folder)
        self.assertEqual(self.stamps(), before)

    def test_a_device_pulled_out_in_the_middle_is_told(self):
        self.append("Seal", COMPANY)
        self.fail_device("hide 1")
        done = self.change(9, "update", "name:Seal", NAME_SEAL)
        self.assertIn(b"cannot be verified", done.stderr)
        self.assertEqual(len(self.recovery_folders()), 1)
