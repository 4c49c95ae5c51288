"""What a person at a terminal sees and types."""

import os
import pty
import select
import signal
import subprocess
import termios
import time

from tool_case import COMPANY, NAME_SEAL, PASSWORD, TOOL, WRONG, ToolCase


class Terminal:
    """The tool on a pseudo-terminal: its controlling one, and its three streams."""

    def __init__(self, environment, *arguments, output=None, outlives_tool=False):
        self.text = b""
        self.side, other = pty.openpty()

        def take_terminal():
            os.setsid()
            os.close(os.open(os.ttyname(other), os.O_RDWR))
        self.process = subprocess.Popen(
            [TOOL, *map(str, arguments)], env=environment, stdin=other,
            stdout=other if output is None else output, stderr=other, preexec_fn=take_terminal)
        # Held open, it keeps its settings when the tool is gone; nothing tells the end of output.
        self.other = other if outlives_tool else None
        if not outlives_tool:
            os.close(other)

    def read_some(self, seconds):
        """False when nothing came, or nothing more will."""
        if not select.select([self.side], [], [], seconds)[0]:
            return False
        try:
            block = os.read(self.side, 65536)
        except OSError:
            block = b""
        self.text += block
        return bool(block)

    def wait_for(self, text, seconds=60):
        end = time.monotonic() + seconds
        while text not in self.text and time.monotonic() < end:
            self.read_some(0.1)
        assert text in self.text, (text, self.text)
        end_of_match = self.text.index(text) + len(text)
        seen, self.text = self.text[:end_of_match], self.text[end_of_match:]
        return seen

    def type(self, text):
        os.write(self.side, text.encode())

    def echoes(self):
        return bool(termios.tcgetattr(self.side)[3] & termios.ECHO)

    def finish(self):
        while self.read_some(60):
            pass
        code = self.process.wait(60)
        os.close(self.side)
        return code


class Prompts(ToolCase):
    def start(self, *arguments, **more):
        return Terminal(self.environment, *arguments, **more)

    def test_the_password_is_asked_without_echo(self):
        tool = self.start("append", "--name", "Seal", COMPANY)
        tool.wait_for(b"Password of " + self.serial.encode() + b" (type 3): ")
        self.assertFalse(tool.echoes())
        tool.type(PASSWORD + "\n")
        self.assertEqual(tool.finish(), 0)
        self.assertNotIn(PASSWORD.encode(), tool.text)
        self.assertIn("Seal", self.stamps())

    def test_what_is_restored_of_a_failed_change_may_be_discarded(self):
        self.append("Seal", NAME_SEAL)
        self.softtoken("fault", "add", "a", "--recipe", "pulled-out")
        self.change(1, "update", "name:Seal", COMPANY)
        self.softtoken("attach", "a")
        for answer, left in (("n\n", 1), ("y\n", 0)):
            tool = self.start("recovery", "restore", "--replace", self.recovery_folders()[0],
                              "--password-file", self.password_file)
            tool.wait_for(b"Discard ")
            tool.type(answer)
            self.assertEqual(tool.finish(), 0)
            self.assertEqual(len(self.recovery_folders()), left)

    def test_prompts_do_not_reach_standard_output(self):
        path = self.folder / "output"
        with open(path, "wb") as output:
            tool = self.start("verify-password", output=output)
            tool.wait_for(b": ")
            tool.type(PASSWORD + "\n")
            self.assertEqual(tool.finish(), 0)
        self.assertEqual(path.read_bytes(), b"right\n")

    def test_a_wrong_password_may_be_tried_again(self):
        tool = self.start("verify-password")
        tool.wait_for(b": ")
        tool.type(WRONG + "\n")
        tool.wait_for(b"9 attempts left")
        tool.wait_for(b": ")
        tool.type(PASSWORD + "\n")
        self.assertEqual(tool.finish(), 0)

    def lower_attempts(self):
        self.create_token("b", self.serial + "-B", 7, None, "--retries", "2")
        tool = self.start("verify-password", "--device", self.serial + "-B")
        tool.wait_for(b"): ")
        tool.type(WRONG + "\n")
        self.assertIn(b"1 attempt left", tool.wait_for(b"[y/N] "))
        return tool

    def test_the_last_attempt_needs_a_yes(self):
        tool = self.lower_attempts()
        tool.type("n\n")
        self.assertEqual(tool.finish(), 3)
        self.expect(0, "verify-password", "--device", self.serial + "-B", "--password-file",
                    self.password_file)

    def test_after_a_yes_the_last_attempt_is_made(self):
        tool = self.lower_attempts()
        tool.type("y\n")
        tool.wait_for(b"): ")
        tool.type(WRONG + "\n")
        self.assertEqual(tool.finish(), 4)

    def test_delete_asks_with_the_stamp_s_name_and_length(self):
        self.append("Seal", COMPANY)
        tool = self.start("delete", "name:Seal")
        self.assertRegex(tool.wait_for(b"[y/N] "), rb'"Seal" on .*, %d bytes' % COMPANY.stat().st_size)
        tool.type("n\n")
        self.assertEqual(tool.finish(), 2)
        tool = self.start("delete", "name:Seal", "--password-file", self.password_file)
        tool.wait_for(b"[y/N] ")
        tool.type("y\n")
        self.assertEqual(tool.finish(), 0)
        self.assertEqual(self.stamps(), {})

    def test_no_input_never_asks(self):
        self.append("Seal", COMPANY)
        self.assertEqual(self.start("delete", "name:Seal", "--no-input").finish(), 2)
        self.assertEqual(self.start("verify-password", "--no-input").finish(), 2)

    def test_a_descriptor_may_be_a_terminal(self):
        tool = self.start("verify-password", "--password-fd", "0")
        tool.wait_for(b": ")
        self.assertFalse(tool.echoes())
        tool.type(WRONG + "\n")
        tool.wait_for(b"9 attempts left")
        tool.wait_for(b": ")
        tool.type(PASSWORD + "\n")
        self.assertEqual(tool.finish(), 0)
        self.assertEqual(
            self.start("verify-password", "--no-input", "--password-fd", "0").finish(), 2)

    def test_repair_shows_its_plan_and_asks(self):
        self.raw_slot("write", 8131, b"bytes")
        for answer, code, names in (("n", 2, []), ("y", 0, ["recovered-8131"])):
            tool = self.start("check", "--repair", "--password-file", self.password_file)
            self.assertIn(b'list the bytes in slot 8131 as "recovered-8131"',
                          tool.wait_for(b"[y/N] "))
            tool.type(answer + "\n")
            self.assertEqual(tool.finish(), code)
            self.assertEqual(list(self.stamps()), names)

    def test_raw_bytes_are_never_written_to_a_terminal(self):
        self.append("Seal", COMPANY)
        for more in ([], ["-o", "-"]):
            tool = self.start("export", "name:Seal", *more)
            self.assertEqual(tool.finish(), 2)
            self.assertIn(b"not for a terminal", tool.text)

    def test_an_interrupt_at_the_prompt_restores_the_echo(self):
        tool = self.start("verify-password", outlives_tool=True)
        self.addCleanup(os.close, tool.other)
        tool.wait_for(b": ")
        self.assertFalse(tool.echoes())
        tool.type("\x03")
        self.assertEqual(tool.process.wait(60), 130)
        self.assertTrue(tool.echoes())
        os.close(tool.side)

    def test_a_prompt_that_was_stopped_asks_again_and_forgets_what_was_typed(self):
        tool = self.start("verify-password")
        tool.wait_for(b": ")
        tool.type("half of it\x1a")
        _, status = os.waitpid(tool.process.pid, os.WUNTRACED)
        self.assertTrue(os.WIFSTOPPED(status), status)
        self.assertTrue(tool.echoes())
        tool.process.send_signal(signal.SIGCONT)
        tool.wait_for(b": ")
        self.assertFalse(tool.echoes())
        tool.type(PASSWORD + "\n")
        self.assertEqual(tool.finish(), 0)

    def test_the_end_of_input_at_the_prompt_is_no_password(self):
        tool = self.start("verify-password")
        tool.wait_for(b": ")
        tool.type("\x04")
        self.assertEqual(tool.finish(), 2)


    def test_no_password_is_asked_for_another_device_after_an_interrupt(self):
        far = self.serial + "-B"
        self.create_token("b", far, 7)
        for serial, name in ((self.serial, "near"), (far, "far")):
            self.change(0, "append", "--device", serial, "--name", name, NAME_SEAL)
        self.fail_device("slow 500")
        tool = self.start("delete", "--yes", "name:near", "name:far")
        tool.wait_for(b"): ")
        tool.type(PASSWORD + "\n")
        self.wait_for_write()
        tool.process.send_signal(signal.SIGINT)
        self.assertEqual(tool.finish(), 130)
        self.assertNotIn(b"Password of", tool.text)
        self.heal_device()
        self.assertEqual(list(self.stamps()), ["far"])


class Progress(ToolCase):
    def test_what_takes_over_a_second_shows_it_and_erases_it(self):
        self.fail_device("slow 900")
        tool = Terminal(self.environment, "append", "--password-file", self.password_file,
                        "--name", "Seal", NAME_SEAL)
        self.assertEqual(tool.finish(), 0)
        self.assertIn(b'writing "Seal" 1 s', tool.text)
        self.assertIn(b"\r\x1b[K", tool.text)

    def test_the_bar_counts_the_bytes_of_all_changes(self):
        for name in ("one", "two"):
            self.append(name, NAME_SEAL)
        self.fail_device("slow 1300")
        tool = Terminal(self.environment, "delete", "--yes", "--password-file",
                        self.password_file, "name:one", "name:two")
        self.assertEqual(tool.finish(), 0)
        self.assertIn(b'[#########...............] 94/237 KB removing "one" 1 s', tool.text)
        self.assertIn(b'[###################.....] 189/237 KB removing "two" 1 s', tool.text)

    def test_it_is_not_shown_when_quiet_or_without_a_terminal(self):
        self.fail_device("slow 900")
        tool = Terminal(self.environment, "append", "-q", "--password-file", self.password_file,
                        "--name", "Seal", NAME_SEAL)
        self.assertEqual(tool.finish(), 0)
        self.assertNotIn(b"writing", tool.text)
        done = self.change(0, "append", "--name", "Other", NAME_SEAL)
        self.assertNotIn(b"writing", done.stderr)

    def test_an_interrupt_waits_until_the_change_is_complete(self):
        self.fail_device("slow 2500")
        tool = Terminal(self.environment, "append", "--password-file", self.password_file,
                        "--name", "Seal", NAME_SEAL)
        tool.wait_for(b"writing")
        tool.process.send_signal(signal.SIGINT)
        self.assertEqual(tool.finish(), 130)
        self.heal_device()
        self.assertIn("Seal", self.stamps())


class BytesLeft(ToolCase):
    """A token of 40000 bytes a second with two seals of 47 KB: 1.2 seconds each."""

    def setUp(self):
        super().setUp()
        for name in ("one", "two"):
            self.append(name, NAME_SEAL)
        self.softtoken("profile", "a", "--bytes-per-second", "40000")

    def shown(self, *arguments):
        tool = Terminal(self.environment, *arguments)
        self.assertEqual(tool.finish(), 0)
        return tool.text

    def test_a_listing_tells_what_was_read_and_the_time_left(self):
        text = self.shown("list")
        self.assertIn(b"[........................] 0/94 KB reading stamps 1 s\r", text)
        self.assertRegex(text, rb"\[############\.{12}\] 47/94 KB reading stamps \d s, [12] s left")

    def test_so_does_a_check(self):
        self.assertRegex(self.shown("check"), rb"47/94 KB checking \S+ \(type 3\) \d s, [12] s left")

    def test_one_seal_is_shown_with_its_bytes(self):
        self.assertIn(b'0/47 KB reading "two" 1 s', self.shown("show", "name:two"))

    def test_a_change_knows_from_the_start_what_is_to_come(self):
        text = self.shown("update", "name:one", "--name", "new", "--password-file",
                          self.password_file)
        self.assertIn(b"0/284 KB reading " + self.serial.encode(), text)
        # By then the speed is known, and the bar comes at once.
        self.assertRegex(text, rb'94/284 KB replacing "one" 0 s, [45] s left')
        self.assertRegex(text, rb"189/284 KB reading back 0 s, [23] s left")

    def test_an_append_knows_it_too(self):
        text = self.shown("append", "--name", "three", NAME_SEAL, "--password-file",
                          self.password_file)
        self.assertIn(b"0/332 KB reading", text)

    def test_nothing_is_shown_without_a_terminal(self):
        self.assertEqual(self.expect(0, "list").stderr, b"")
