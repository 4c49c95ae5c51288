"""What every suite needs: tokens of its own, and the tool run on them."""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "softtoken"))
from durability_case import may_trace_anybody  # noqa: E402

TOOL = os.environ["VEMRA_STAMP"]
SOFTTOKEN_TOOL = os.environ["SOFTTOKEN_TOOL"]
SEALS = pathlib.Path(os.environ["SEAL_PICTURES"])
COMPANY = SEALS / "company_seal.png"
NAME_SEAL = SEALS / "name_seal.png"
LARGE = SEALS / "large_seal.png"

PASSWORD = "right-password-1"
WRONG = "wrong-password-1"

# Faults of the software token by short names; the number stands for {}.
FAULTS = {
    "fail": "WriteData call={} return=-122",
    "fail-from": "WriteData call={} return=-122 lasting",
    "lose": "WriteData call={} return=1",
    "slow": "WriteData delay={} lasting",
}


class ToolCase(unittest.TestCase):
    """A folder with one software token, SN-A of type 3, and password files."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="vemra-stamp-test-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.environment = {
            "PATH": os.environ["PATH"],
            "HOME": str(self.folder),
            "XDG_STATE_HOME": str(self.folder / "state"),
            "VEMRA_SOFTTOKEN_DIR": str(self.folder / "tokens"),
            "LD_LIBRARY_PATH": os.environ["SOFTTOKEN_LIBRARY_DIR"],
        }
        self._take_sanitizer_options()
        self.password_file = self.write("password", PASSWORD, 0o600)
        self.wrong_file = self.write("wrong", WRONG, 0o600)
        # Tests run side by side: each has serial numbers, and so device locks, of its own.
        self.serial = "SN-" + self.folder.name[-8:]
        self.tokens = {}
        self.create_token("a", self.serial, 3)

    def _take_sanitizer_options(self):
        for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"):
            if name in os.environ:
                self.environment[name] = os.environ[name]
        if not may_trace_anybody():
            # The tool lets nobody trace it, and the leak checker works by tracing.
            self._add_asan_option("detect_leaks=0")

    def _add_asan_option(self, option):
        options = self.environment.get("ASAN_OPTIONS", "")
        self.environment["ASAN_OPTIONS"] = (options + ":" if options else "") + option

    def write(self, name, content, mode=0o644):
        path = self.folder / name
        path.write_bytes(content if isinstance(content, bytes) else content.encode())
        path.chmod(mode)
        return path

    def softtoken(self, *arguments):
        subprocess.run([SOFTTOKEN_TOOL, *map(str, arguments)], check=True, env=self.environment,
                       stdout=subprocess.DEVNULL)

    def create_token(self, name, serial, device_type, password_file=None, *more):
        self.tokens[serial] = name
        self.softtoken("create", name, "--serial", serial, "--type", device_type,
                       "--password-cost", "10", "--password-file",
                       password_file or self.password_file, *more)

    def raw_slot(self, action, slot, content=b"", serial=None):
        """Writes or reads a slot past the stamp library and the passwords."""
        file = self.write("slot", content)
        self.softtoken({"write": "load", "read": "dump"}[action],
                       self.tokens[serial or self.serial], slot, file)
        return file.read_bytes()

    def preload(self, library, **variables):
        # LD_PRELOAD cannot hold a path with a blank, but a name that the loader looks for.
        folder, name = os.path.split(library)
        self.environment["LD_PRELOAD"] = name
        self.environment["LD_LIBRARY_PATH"] += ":" + folder
        self._add_asan_option("verify_asan_link_order=0")
        self.environment.update(variables)

    def fail_device(self, fault):
        """One of FAULTS, or of failing_device.cpp, with its number: "slow 500"."""
        action, number = fault.split()
        if action in FAULTS:
            self.environment["VEMRA_SOFTTOKEN_FAULTS"] = FAULTS[action].format(number)
        else:
            self.preload(os.environ["FAILING_DEVICE"], FAILING_DEVICE_FAULT=fault)

    def heal_device(self):
        for name in ("LD_PRELOAD", "VEMRA_SOFTTOKEN_FAULTS"):
            self.environment.pop(name, None)

    def run_tool(self, *arguments, content=b"", pass_fds=(), timeout=120):
        """Runs the tool without a terminal; gives the finished process, with output as bytes."""
        return subprocess.run([TOOL, *map(str, arguments)], input=content, env=self.environment,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=timeout,
                              pass_fds=pass_fds, start_new_session=True, check=False)

    def expect(self, code, *arguments, **more):
        done = self.run_tool(*arguments, **more)
        self.assertEqual(done.returncode, code, (arguments, done.stdout[:2000], done.stderr))
        return done

    def change(self, code, command, *arguments, **more):
        """A changing command with the right password."""
        return self.expect(code, command, "--password-file", self.password_file, *arguments,
                           **more)

    def append(self, name, picture, *more):
        done = self.change(0, "append", "--name", name, *more, picture)
        return done.stdout.decode().strip()

    def json(self, code, *arguments):
        done = self.expect(code, "--json", *arguments)
        return json.loads(done.stdout)

    def stamps(self):
        """Name to SHA-256 of what the token holds."""
        listed = self.json(0, "list")["result"]["stamps"]
        return {one["name"]: one["sha256"] for one in listed}

    def recovery_folders(self):
        return sorted((self.folder / "state/vemra-stamp/recovery").glob("*"))

    def wait_for_write(self, seconds=60):
        """A change has begun as soon as there is a recovery file."""
        end = time.monotonic() + seconds
        while not self.recovery_folders() and time.monotonic() < end:
            time.sleep(0.02)
        self.assertTrue(self.recovery_folders())


def mapping_record(body, total=None, version=1):
    """The bytes of slot 8127 with this body."""
    length = 5 + len(body) if total is None else total
    return length.to_bytes(4, "little") + bytes([version]) + body
