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
