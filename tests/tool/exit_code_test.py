"""Each exit code once, with the plainest way to it."""

import os
import signal
import subprocess

from tool_case import COMPANY, NAME_SEAL, TOOL, ToolCase


class ExitCode(ToolCase):
    def test_0_done(self):
        self.expect(0, "devices")

    def test_1_device_or_data_failure(self):
        self.fail_device("fail 1")
        self.change(1, "append", "--name", "Seal", COMPANY)

    def test_2_usage_or_bad_input(self):
        self.assertIn(b"give a command", self.expect(2).stderr)
        self.assertIn(b"no command or option frobnicate", self.expect(2, "frobnicate").stderr)
        self.assertIn(b"See: vemra-stamp help show", self.expect(2, "show").stderr)
        self.assertIn(b": not expected: --frobnicate a b\nSee: vemra-stamp help list\n",
                      self.expect(2, "list", "--frobnicate", "a", "b").stderr)
        for option in ("--timeout", "--device-type", "--password-fd"):
            for text in ("abc", "-1", "nan", "inf", "1x"):
                self.assertIn(f"{option}: takes a number from 0 up, not {text}".encode(),
                              self.expect(2, "list", f"{option}={text}").stderr)
        self.change(2, "append", "--name", "Seal", self.folder / "missing.png")

    def test_3_wrong_password(self):
        self.expect(3, "verify-password", "--password-file", self.wrong_file)

    def test_4_token_locked(self):
        for _ in range(9):
            self.expect(3, "verify-password", "--password-file", self.wrong_file)
        self.expect(4, "verify-password", "--password-file", self.wrong_file)
        self.change(4, "append", "--name", "Seal", COMPANY)
        self.assertEqual(self.stamps(), {})

    def test_5_no_such_device_or_no_device_library(self):
        self.expect(5, "list", "--device", "missing")
        self.softtoken("detach", "a")
        for command in ("devices", "list", "check"):
            self.assertIn(b"no device is attached", self.expect(5, command).stderr)
        del self.environment["LD_LIBRARY_PATH"]
        self.expect(5, "list")

    def test_6_no_such_stamp(self):
        self.expect(6, "show", "name:missing")

    def test_7_device_full(self):
        for i in range(5):
            self.append(f"Seal {i}", NAME_SEAL)
        self.change(7, "append", "--name", "Sixth", NAME_SEAL)

    def test_8_ambiguous_selector(self):
        self.append("Seal", COMPANY)
        self.append("Seal", NAME_SEAL, "--allow-duplicate")
        self.expect(8, "show", "name:Seal")

    def test_9_check_after_writing_failed(self):
        self.fail_device("garble 1")
        self.change(9, "append", "--name", "Seal", COMPANY)

    def test_9_when_a_write_was_lost(self):
        self.append("Seal", COMPANY)
        self.fail_device("lose 2")
        self.change(9, "update", "name:Seal", "--name", "Longer name")

    def test_10_partial_result(self):
        self.raw_slot("write", 8127, b"\x01\x02")
        self.expect(10, "list")

    def test_11_lock_not_obtained(self):
        self.append("Seal", COMPANY)
        self.fail_device("slow 1500")
        with subprocess.Popen([TOOL, "update", "--password-file", str(self.password_file),
                               "name:Seal", str(NAME_SEAL)], env=self.environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as other:
            self.wait_for_write()
            self.heal_device()
            self.change(11, "verify-password", "--timeout", "0")
            other.wait()

    def test_130_interrupted(self):
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        with subprocess.Popen([TOOL, "verify-password", "--password-file", str(fifo)],
                              env=self.environment, stderr=subprocess.DEVNULL) as process:
            # Opening the other end waits until the tool reads its password there.
            with open(fifo, "wb"):
                process.send_signal(signal.SIGINT)
                self.assertEqual(process.wait(60), 130)
