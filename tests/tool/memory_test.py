"""A canary for a password: it must not be in anything that the tool printed, wrote or kept."""

import os
import resource
import signal
import subprocess

from tool_case import COMPANY, NAME_SEAL, TOOL, ToolCase

CANARY = "canary-7f3a9c51-password"


class Canary(ToolCase):
    def setUp(self):
        super().setUp()
        self.canary_file = self.write("canary", CANARY, 0o600)
        self.create_token("c", self.serial + "-C", 9, self.canary_file)
        self.result = self.folder / "probe-result"

    def search_for(self, text):
        self.preload(os.environ["MEMORY_PROBE"], MEMORY_PROBE_CANARY=text.encode().hex(),
                     MEMORY_PROBE_RESULT=str(self.result))

    def expect_absent(self, code, *arguments):
        done = self.expect(code, *arguments)
        self.assertEqual(self.result.read_text(), "absent", arguments)
        self.result.unlink()
        self.assertNotIn(CANARY.encode(), done.stdout + done.stderr)

    def expect_absent_from_files(self):
        for path in self.folder.rglob("*"):
            if path.is_file() and path != self.canary_file:
                self.assertNotIn(CANARY.encode(), path.read_bytes(), path)

    def test_the_probe_finds_what_is_there(self):
        self.search_for("words-of-the-command-line")
        self.expect(2, "show", "words-of-the-command-line")
        self.assertEqual(self.result.read_text(), "found")

    def test_right_passwords_leave_no_trace(self):
        self.search_for(CANARY)
        device = ["--device", self.serial + "-C"]
        source = ["--password-file", self.canary_file]
        debug = "--debug=" + str(self.folder / "trace")
        self.expect_absent(0, "verify-password", *device, *source, debug)
        self.expect_absent(0, "append", *device, *source, debug, "--name", "Seal", COMPANY)
        self.expect_absent(0, "--json", "update", "name:Seal", *source, "--debug", NAME_SEAL)
        self.expect_absent(0, "delete", "--yes", "name:Seal", *source, "-v")
        self.expect_absent_from_files()

    def test_wrong_passwords_leave_no_trace(self):
        self.search_for(CANARY)
        self.expect_absent(3, "append", "--device", self.serial, "--password-file",
                           self.canary_file, "--debug=" + str(self.folder / "trace"), "--name",
                           "Seal", COMPANY)
        self.expect_absent_from_files()

    def test_a_shorter_password_after_a_longer_one_leaves_no_trace_of_it(self):
        self.expect(0, "append", "--device", self.serial + "-C", "--password-file",
                    self.canary_file, "--name", "First", COMPANY)
        self.create_token("d", self.serial + "-D", 7, self.write("short", "short-1", 0o600))
        self.expect(0, "append", "--device", self.serial + "-D", "--password-file",
                    self.folder / "short", "--name", "Second", COMPANY)
        self.search_for(CANARY[len("short-1"):])
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        with subprocess.Popen([TOOL, "delete", "--yes", "name:First", "name:Second",
                               "--password-file", str(fifo)], env=self.environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE) as process:
            self.addCleanup(process.kill)
            # Each opening waits until the tool reads a password there; after the first deletion it
            # has closed the first.
            fifo.write_text(CANARY + "\n")
            while b"is deleted" not in process.stderr.readline():
                self.assertIsNone(process.poll())
            fifo.write_text("short-1\n")
            process.communicate(timeout=60)
            self.assertEqual(process.returncode, 0)
        self.assertEqual(self.result.read_text(), "absent")

    def test_failed_writes_leave_no_trace(self):
        self.expect(0, "append", "--device", self.serial + "-C", "--password-file",
                    self.canary_file, "--name", "Seal", COMPANY)
        self.fail_device("fail-from 1")
        done = self.expect(1, "update", "name:Seal", "--password-file", self.canary_file,
                           "--debug=" + str(self.folder / "trace"), NAME_SEAL)
        self.assertNotIn(CANARY.encode(), done.stdout + done.stderr)
        self.expect_absent_from_files()

    def test_a_crash_leaves_no_core_file(self):
        if not self.crash_dumps_core(["sleep", "60"], lambda: None):
            self.skipTest("no process leaves a core file here")
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        command = [TOOL, "verify-password", "--device", self.serial, "--password-file", str(fifo)]
        # Opening the other end waits until the tool reads its password there.
        self.assertFalse(self.crash_dumps_core(command, lambda: open(fifo, "wb")))

    def crash_dumps_core(self, command, wait):
        def allow_core():
            hard = resource.getrlimit(resource.RLIMIT_CORE)[1]
            resource.setrlimit(resource.RLIMIT_CORE, (hard, hard))
        with subprocess.Popen(command, env=self.environment, cwd=self.folder,
                              preexec_fn=allow_core) as process:
            kept = wait()
            os.kill(process.pid, signal.SIGSEGV)
            status = os.waitpid(process.pid, 0)[1]
            process.returncode = -signal.SIGSEGV
            if kept:
                kept.close()
        self.assertTrue(os.WIFSIGNALED(status))
        return os.WCOREDUMP(status)
