"""A shell at a terminal of its own, for commands that a document shows."""

import codecs
import os
import pty
import re
import select
import signal
import termios
import time

END_OF_COMMAND = "\x1e"
SECONDS_A_COMMAND = 240
PASSWORD_PROMPT = re.compile(r"[Pp]assword[^\n]*: $")
YES_NO_PROMPT = re.compile(r"\[y/N\] $")
# What is drawn over before the line ends is not there to be read.
DRAWN_OVER = re.compile(r"[^\n]*\r(?=[^\n])|\x1b\[K")

SHELL_LOOP = r"""
while IFS= read -r -d '' -u 9 command; do
    (exit "${status:-0}")
    eval "$command" 9<&-
    status=$?
    printf '\036'
done
"""


class Console:
    """Runs commands one after the other in one shell, and answers what they ask."""

    def __init__(self, directory, environment, password):
        self.password = password
        self.passwords = []
        self.decoder = codecs.getincrementaldecoder("utf-8")("replace")
        commands, self.commands = os.pipe()
        self.shell, self.terminal = pty.fork()
        if self.shell == 0:
            os.dup2(commands, 9)
            os.chdir(directory)
            shell = ["bash", "--norc", "--noprofile", "-O", "expand_aliases", "-c", SHELL_LOOP]
            os.execve("/bin/bash", shell, environment)
        os.close(commands)

    def close(self):
        os.close(self.commands)
        os.close(self.terminal)
        os.kill(self.shell, signal.SIGKILL)
        os.waitpid(self.shell, 0)

    def run(self, command):
        """What a person sees of the command."""
        os.write(self.commands, command.encode() + b"\0")
        shown = ""
        answered = 0
        deadline = time.monotonic() + SECONDS_A_COMMAND
        while not shown.endswith(END_OF_COMMAND):
            if time.monotonic() > deadline:
                raise TimeoutError(f"does not end: {command}\n{shown}")
            if select.select([self.terminal], [], [], 0.05)[0]:
                shown += self.decoder.decode(os.read(self.terminal, 65536))
            elif len(shown) > answered and self._answers(shown):
                answered = len(shown)
        return DRAWN_OVER.sub("", shown[:-1].replace("\r\n", "\n"))

    def _answers(self, shown):
        """Types what the last line asks for; a password only where the terminal hides it."""
        hides = not termios.tcgetattr(self.terminal)[3] & termios.ECHO
        if PASSWORD_PROMPT.search(shown) and hides:
            os.write(self.terminal, (self._next_password() + "\n").encode())
            return True
        if YES_NO_PROMPT.search(shown):
            os.write(self.terminal, b"y\n")
            return True
        return False

    def _next_password(self):
        return self.passwords.pop(0) if self.passwords else self.password
