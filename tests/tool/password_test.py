import os

from tool_case import COMPANY, PASSWORD, WRONG, ToolCase


class Password(ToolCase):
    def test_verify_password_says_right(self):
        self.assertEqual(self.change(0, "verify-password").stdout, b"right\n")

    def test_verify_password_says_wrong_with_the_attempts_left(self):
        for left in (b"9 attempts", b"8 attempts"):
            done = self.expect(3, "verify-password", "--password-file", self.wrong_file)
            self.assertIn(left + b" left", done.stderr)

    def test_a_right_password_gives_the_attempts_back(self):
        self.expect(3, "verify-password", "--password-file", self.wrong_file)
        self.change(0, "verify-password")
        self.assertIn(b"9 attempts left", self.expect(3, "verify-password", "--password-file",
                                                      self.wrong_file).stderr)

    def test_a_wrong_password_is_told_with_the_device_s_text(self):
        done = self.expect(3, "verify-password", "--password-file", self.wrong_file)
        self.assertIn(b"nothing was changed on this device, which says: wrong password (-106)",
                      done.stderr)

    def test_a_locked_device_is_told(self):
        self.create_token("b", self.serial + "-B", 7, None, "--retries", "1")
        arguments = ["verify-password", "--device", self.serial + "-B", "--password-file"]
        self.expect(4, *arguments, self.wrong_file)
        told = self.expect(4, *arguments, self.password_file).stderr
        self.assertIn(b"device locked (-107)", told)
        self.assertIn(b"\nA software token is unlocked by vemra-softtoken unlock; for a real one ask whoever", told)

    def test_a_descriptor_is_read_to_the_end_of_its_line(self):
        reading, writing = os.pipe()
        os.write(writing, PASSWORD.encode() + b"\nmore")
        os.close(writing)
        self.addCleanup(os.close, reading)
        self.expect(0, "verify-password", "--password-fd", reading, pass_fds=[reading])

    def test_a_source_that_is_no_terminal_is_tried_once(self):
        reading, writing = os.pipe()
        os.write(writing, WRONG.encode() + b"\n" + PASSWORD.encode() + b"\n")
        os.close(writing)
        self.addCleanup(os.close, reading)
        self.expect(3, "verify-password", "--password-fd", reading, pass_fds=[reading])

    def test_a_file_that_others_can_read_is_warned_of(self):
        self.password_file.chmod(0o644)
        self.assertIn(b"others can read", self.change(0, "verify-password").stderr)
        self.password_file.chmod(0o600)
        self.assertNotIn(b"others can read", self.change(0, "verify-password").stderr)

    def test_no_source_at_all_is_a_usage_error(self):
        self.assertIn(b"--password-file", self.expect(2, "verify-password").stderr)
        self.expect(2, "verify-password", "--no-input")

    def test_empty_and_unusable_sources_are_usage_errors(self):
        for content in ("", "\n", b"a\0b", "x" * 1025):
            self.expect(2, "verify-password", "--password-file", self.write("bad", content, 0o600))
        self.expect(2, "verify-password", "--password-file", self.folder / "missing")

    def test_a_descriptor_that_was_not_given_is_refused_whatever_has_its_number(self):
        for number in range(3, 12):
            done = self.expect(2, "verify-password", "--password-fd", number)
            self.assertIn(f"descriptor {number} is not open".encode(), done.stderr)

    def test_a_line_of_windows_costs_no_attempt(self):
        for content in (PASSWORD + "\r\n", PASSWORD + "\r"):
            windows = self.write("windows", content, 0o600)
            done = self.expect(2, "verify-password", "--password-file", windows)
            self.assertIn(b"carriage return", done.stderr)
        self.assertIn(b"9 attempts left", self.expect(3, "verify-password", "--password-file",
                                                      self.wrong_file).stderr)

    def test_a_device_that_tells_no_attempts_is_not_called_locked(self):
        self.softtoken("fault", "add", "a", "--recipe", "locked")
        self.assertIn(b"could not be verified: device locked (-107)",
                      self.change(1, "verify-password").stderr)

    def test_the_password_is_masked_wherever_it_stands_after_it_was_given(self):
        """In a name and in the serial number, several times in what one call prints."""
        serial = self.serial + PASSWORD + PASSWORD
        self.create_token("b", serial, 7)
        trace = self.folder / "trace"
        self.change(0, "append", "--device", serial, f"--debug={trace}", "--name",
                    PASSWORD + "," + PASSWORD, COMPANY)
        _, appended = trace.read_bytes().split(b"[VemraAppStampAppendStamp]", 1)
        self.assertNotIn(PASSWORD.encode(), appended)
        self.assertGreaterEqual(appended.count(b"*" * 16), 2)

    def test_there_is_no_option_for_the_password_itself(self):
        self.expect(2, "verify-password", "--password", PASSWORD)

    def test_the_debug_trace_is_masked_wherever_the_password_stands(self):
        self.change(0, "append", "--name", "named " + PASSWORD, "--debug=" +
                    str(self.folder / "trace"), COMPANY)
        trace = (self.folder / "trace").read_bytes()
        self.assertIn(b"Input `password`        : ********", trace)
        self.assertNotIn(PASSWORD.encode(), trace)
        self.assertEqual((self.folder / "trace").stat().st_mode & 0o777, 0o600)

    def test_the_debug_trace_has_no_bytes_of_stamps(self):
        """Not even when they are the password, which would stand there in hexadecimal digits."""
        for command in (["append", "--any-data", "--name", "Seal", self.password_file],
                        ["update", "name:Seal", "--name", "New"], ["list"], ["show", "name:New"],
                        ["export", "name:New", "-o", self.folder / "bytes"]):
            self.change(0, "--debug=" + str(self.folder / "trace"), *command)
            trace = (self.folder / "trace").read_bytes().lower()
            # A stamp that is read alone is read past the library's interface, without its trace.
            self.assertEqual(b"[vemraappstamp" in trace, command[0] not in ("show", "export"))
            for text in (PASSWORD.encode(), PASSWORD.encode().hex().encode()):
                self.assertNotIn(text, trace, command)

    def test_debug_without_a_file_shows_the_trace_on_standard_error(self):
        done = self.change(0, "verify-password", "--debug")
        self.assertEqual(done.stdout, b"right\n")
        done = self.expect(0, "list", "--debug")
        self.assertIn(b"[VemraAppStampGetAllStamps]", done.stderr)
