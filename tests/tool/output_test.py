"""Output that cannot be written: what was done is told all the same."""

import os
import resource
import subprocess

from tool_case import COMPANY, NAME_SEAL, TOOL, ToolCase


def broken_pipe():
    reading, writing = os.pipe()
    os.close(reading)
    return writing


class Output(ToolCase):
    def setUp(self):
        super().setUp()
        self.append("Seal", COMPANY)
        self.uuid = next(iter(self.json(0, "list")["result"]["stamps"]))["uuid"]

    def run_with(self, output, *arguments, errors=subprocess.PIPE, limit=None):
        """`output` is an open descriptor, or None for a closed one."""
        def prepare():
            if output is None:
                os.close(1)
            if limit is not None:
                resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit))
        command = [TOOL, "--password-file", str(self.password_file), *map(str, arguments)]
        return subprocess.run(command, env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=output, stderr=errors, preexec_fn=prepare, timeout=120,
                              check=False, cwd=self.folder)

    def reading_commands(self):
        return (["devices"], ["list"], ["show", self.uuid], ["export", self.uuid], ["check"],
                ["version"], ["help"], ["--help"], ["--version"], ["completion", "bash"],
                ["verify-password"], ["export", "--all", "all", "--force"], ["--json", "list"],
                ["--json", "backup", self.folder / os.urandom(4).hex()])

    def expect_told(self, output, reason, *arguments):
        done = self.run_with(output, *arguments)
        self.assertEqual(done.returncode, 1, (arguments, done.stderr))
        self.assertEqual(done.stderr.count(b"standard output cannot be written: " + reason), 1,
                         (arguments, done.stderr))
        return done.stderr

    def test_a_closed_output_is_told_by_every_command(self):
        for command in self.reading_commands():
            self.expect_told(None, b"Bad file descriptor", *command)

    def test_a_full_disk_is_told_by_every_command(self):
        with open("/dev/full", "wb") as full:
            for command in self.reading_commands():
                self.expect_told(full.fileno(), b"No space left on device", *command)

    def test_a_reader_that_went_away_is_told_by_every_command(self):
        pipe = broken_pipe()
        self.addCleanup(os.close, pipe)
        for command in self.reading_commands():
            self.expect_told(pipe, b"Broken pipe", *command)

    def test_a_change_is_told_even_when_nothing_else_may_be_said(self):
        backup = self.folder / "backup"
        self.expect(0, "backup", backup)
        for command, told in (
                (["append", "--name", "New", NAME_SEAL], b'"New" is on '),
                (["--json", "update", "name:New", "--name", "Newer"], b'"Newer" is on '),
                (["--json", "delete", "--yes", "name:Newer", "name:Seal"], b'"Seal" is deleted'),
                (["--json", "restore", backup], b'"Seal" is restored')):
            with open("/dev/full", "wb") as full:
                done = self.run_with(full.fileno(), "--quiet", *command)
            self.assertEqual(done.returncode, 1, command)
            self.assertIn(b"cannot be written: No space left on device\nDone all the same: " + (
                b'"Newer" is deleted' if b"deleted" in told else told), done.stderr)
            self.assertIn(told, done.stderr)
        self.assertEqual(list(self.stamps()), ["Seal"])

    def test_a_written_file_is_told(self):
        for command, told in ((["export", "--all", "all"], b'"Seal" is in all/'),
                              (["--json", "export", self.uuid, "-o", "one"], b'"Seal" is in one'),
                              (["--json", "sheet", "-o", "page"], b"look at page"),
                              (["--json", "backup", "kept"], b"1 stamp of "),
                              (["verify-password"], b"is right")):
            done = self.expect_told(None, b"Bad file descriptor", "--quiet", *command)
            self.assertIn(b"Done all the same: ", done)
            self.assertIn(told, done)

    def test_no_file_of_the_tool_gets_the_number_of_a_closed_descriptor(self):
        """Else the password file or the lock would be read, or written, as input or output."""
        for number in (0, 1, 2):
            name = f"Name {number}"
            done = subprocess.run([TOOL, "append", "--password-file", self.password_file, "--name",
                                   name, COMPANY], env=self.environment, check=False,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                  preexec_fn=lambda closed=number: os.close(closed))
            self.assertEqual(done.returncode, 1 if number == 1 else 0)
        self.assertEqual(sorted(self.stamps()), ["Name 0", "Name 1", "Name 2", "Seal"])

    def test_a_closed_input_is_no_empty_picture(self):
        done = subprocess.run([TOOL, "append", "--name", "New", "-"], env=self.environment,
                              check=False, stderr=subprocess.PIPE, preexec_fn=lambda: os.close(0))
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"standard input cannot be read: Bad file descriptor", done.stderr)

    def test_a_limit_on_the_size_of_files_is_told_and_leaves_nothing(self):
        limit = COMPANY.stat().st_size - 1
        for command in (["export", self.uuid, "-o", "seal.png"], ["export", "--all", "all"],
                        ["sheet", "-o", "page"], ["backup", "kept"]):
            done = self.run_with(subprocess.PIPE, *command, limit=limit)
            self.assertEqual(done.returncode, 1, (command, done))
            self.assertIn(b"cannot be written: File too large", done.stderr)
        self.assertEqual([path for folder in (".", "all", "kept")
                          for path in (self.folder / folder).iterdir() if path.is_file()
                          and path not in (self.password_file, self.wrong_file)], [])

    def test_a_trace_that_cannot_be_written_is_a_partial_result(self):
        mode = os.stat("/dev/full").st_mode
        done = self.run_with(subprocess.PIPE, "--debug=/dev/full", "list")
        self.assertEqual(done.returncode, 10, done)
        self.assertIn(b"trace could not be written whole", done.stderr)
        self.assertEqual(os.stat("/dev/full").st_mode, mode)

    def test_a_closed_standard_error_stops_nothing(self):
        for command in (["append", "--name", "New", NAME_SEAL], ["delete", "--yes", "name:New"]):
            done = subprocess.run([TOOL, "--password-file", self.password_file, *command],
                                  env=self.environment, stdout=subprocess.PIPE, check=False,
                                  preexec_fn=lambda: os.close(2))
            self.assertEqual(done.returncode, 0)
        self.assertEqual(list(self.stamps()), ["Seal"])
