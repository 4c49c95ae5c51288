"""Signals during changes."""

import hashlib
import pathlib
import signal
import subprocess
import sys
import time

from tool_case import COMPANY, NAME_SEAL, TOOL, ToolCase, may_trace_anybody

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "softtoken"))
from durability_case import require_tracing  # noqa: E402


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


class WhileFilesAreWritten(ToolCase):
    """On a disk that takes half a second for each file and each name; the signal comes when the first
    of three pictures has its name and the second has another yet."""

    signals = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)

    def setUp(self):
        require_tracing()
        if not may_trace_anybody():
            self.skipTest("the tool lets no ordinary user trace it")
        super().setUp()
        self._add_asan_option("detect_leaks=0")
        for name, picture in (("one", NAME_SEAL), ("two", COMPANY), ("three", NAME_SEAL)):
            self.append(name, picture)

    def interrupt(self, number, directory, *command):
        """The SHA-256 of what lies in the directory afterwards, by file name."""
        process = subprocess.Popen(
            ["env", "--default-signal=HUP,INT", "strace", "-D", "-f", "-qq", "-o", "/dev/null",
             "-e", "trace=fsync", "-e", "inject=fsync:delay_enter=500000", TOOL, *map(str, command)],
            env=self.environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        end = time.monotonic() + 60
        while len(list(directory.glob("*.png*"))) < 2 and time.monotonic() < end:
            time.sleep(0.01)
        process.send_signal(number)
        self.assertEqual(process.wait(60), 130)
        return {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in directory.iterdir()}

    def test_a_backup_ends_with_whole_pictures_and_without_a_manifest(self):
        for number in self.signals:
            with self.subTest(number=number):
                kept = self.folder / f"kept {number}"
                left = self.interrupt(number, kept, "backup", kept)
                self.assertEqual(left, {"stamp-1.png": self.stamps()["one"]})
                # It is no backup, is not taken for one, and is not added to.
                self.assertIn(b"manifest.json cannot be read", self.change(2, "restore", kept).stderr)
                self.assertIn(b"is not empty", self.expect(2, "backup", kept).stderr)

    def test_an_export_of_all_ends_with_whole_pictures_and_goes_on_where_it_was(self):
        for number in self.signals:
            with self.subTest(number=number):
                out = self.folder / f"out {number}"
                left = self.interrupt(number, out, "export", "--all", out)
                self.assertEqual(list(left.values()), [self.stamps()["one"]])
                self.expect(0, "export", "--all", out)
                self.assertEqual(len(list(out.iterdir())), 3)
