"""The areas of scripts/mutate: what is changed, how it is built, and which tests are asked in which order."""

import fnmatch
import json
import os
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time
from collections import namedtuple
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from mutation_rules import PROGRAM_RULES, RULES

test_seconds = 300
# Longer than the longest test; a program that ends no test for so long hangs.
silent_seconds = 60
# The processes that share the tests of a program.
shards = 2 * (os.cpu_count() or 1)
# A change can make a loop endless, which may fill the memory or print for ever.
test_address_space = 4 << 30


def run(command, cwd):
    """The exit status and output of a command."""
    done = subprocess.run(command, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return done.returncode, done.stdout.decode(errors="replace")


def must_run(command, cwd):
    status, output = run(command, cwd)
    if status != 0:
        sys.exit(f"{' '.join(map(str, command))} failed:\n{output[-3000:]}")
    return output


def run_test(command, cwd, environment):
    """The exit status and the lines that tell of single tests. A program that takes too long, or that
    leaves processes behind, is ended with all that it started."""
    with tempfile.TemporaryDirectory(prefix="mutate-", dir="/tmp") as scratch:
        # Some tests let another user work in it.
        Path(scratch).chmod(0o755)
        environment = {**os.environ, **environment, "TMPDIR": scratch, "TEST_TMPDIR": scratch + "/"}
        # What a shell starts in the background ignores these, and so would the tests of signals.
        started = subprocess.Popen(["env", "--default-signal=HUP,INT,QUIT", "prlimit",
                                    f"--as={test_address_space}", *command], cwd=cwd,
                                   env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, start_new_session=True)
        lines = told_lines(started.stdout)
        status = lines.wait_for(started)
        try:
            os.killpg(started.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        started.wait()
        # A process that left the group may still hold the pipe.
        lines.join(5)
        return status, list(lines.kept)


class told_lines(threading.Thread):
    """Reads what a test program prints and keeps the lines that tell of single tests."""

    def __init__(self, pipe):
        super().__init__(daemon=True)
        self.pipe, self.kept, self.last_at = pipe, [], time.monotonic()
        self.start()

    def run(self):
        # Piece by piece, since a changed program may print without ever ending a line.
        while piece := self.pipe.readline(1 << 16):
            text = piece.decode(errors="replace").rstrip()
            if not re.match(r"\[ +(RUN|OK|FAILED|SKIPPED) +\] |(FAIL|ERROR): |\w+ \([\w.]+\)", text):
                continue
            self.last_at = time.monotonic()
            if len(self.kept) < 10000:
                self.kept.append(text)

    def wait_for(self, started):
        end = time.monotonic() + test_seconds
        while time.monotonic() < min(end, self.last_at + silent_seconds):
            try:
                return started.wait(1)
            except subprocess.TimeoutExpired:
                pass
        return "took too long"


class googletest_program:
    """A program of GoogleTest's. `last` names the tests that are asked last, `never` those that are not
    asked; `first` those that are asked before the others."""

    def __init__(self, name, folder, last=(), never=()):
        self.name, self.folder, self.last, self.never, self.alone = name, folder, list(last), list(never), []
        self.targets = [name]

    def prepare(self, build):
        """Finds the tests that fail behind others in one process; alone they must pass."""
        self.path = build / "tests" / self.folder / self.name
        self.alone = []
        status, lines = self.tell(build, "--gtest_filter=-" + ":".join(self.never))
        if status == "took too long":
            sys.exit(f"{self.name} takes longer than {test_seconds} seconds before anything is changed")
        self.alone = sorted({match[1] for match in (re.match(r"\[  FAILED  \] (\w+\.\w+)", line) for line in lines)
                             if match})
        if status != 0 and not self.alone:
            sys.exit(f"{self.name} fails before anything is changed")
        for test in self.alone:
            if self.fails(build, test):
                sys.exit(f"{self.name}: {test} fails before anything is changed")

    def tell(self, build, *arguments, environment=()):
        return run_test([self.path, *arguments], build, dict(environment))

    def fails(self, build, test):
        return self.tell(build, "--gtest_filter=" + test)[0] != 0

    def first_failure(self, build, first):
        later = self.alone + self.last + self.never
        alone = {test: any(fnmatch.fnmatch(test, pattern) for pattern in first) for test in self.alone}
        return ((first and self.failure_of(build, first, later)) or
                self.failure_alone(build, [test for test in self.alone if alone[test]]) or
                self.failure_in_shards(build, [], later + first) or
                self.failure_alone(build, [test for test in self.alone if not alone[test]]) or
                (self.last and self.failure_in_shards(build, self.last, self.alone + self.never)) or None)

    def failure_alone(self, build, tests):
        return next((test for test in tests if self.fails(build, test)), None)

    def failure_in_shards(self, build, wanted, unwanted):
        """In several processes at once, since many tests wait for something."""
        with ThreadPoolExecutor(shards) as workers:
            told = [workers.submit(self.failure_of, build, wanted, unwanted,
                                   {"GTEST_TOTAL_SHARDS": str(shards), "GTEST_SHARD_INDEX": str(index)})
                    for index in range(shards)]
            return next((each.result() for each in told if each.result()), None)

    def failure_of(self, build, wanted, unwanted, environment=()):
        status, lines = self.tell(build, "--gtest_fail_fast",
                                  "--gtest_filter=" + ":".join(wanted) + "-" + ":".join(unwanted),
                                  environment=environment)
        if status == 0:
            return None
        ran, failed = "before the first test", None
        for line in lines:
            if match := re.match(r"\[ RUN +\] (\S+)", line):
                ran = match[1]
            if not failed and (match := re.match(r"\[  FAILED  \] (\w+\.\w+)", line)):
                failed = match[1]
        # A crash tells only what had begun.
        return failed or ran


class python_suite:
    """A file of Python's unittest, run as ctest would."""

    def __init__(self, test):
        self.name = test["name"]
        self.command = test["command"]
        properties = {each["name"]: each["value"] for each in test["properties"]}
        self.cwd = properties["WORKING_DIRECTORY"]
        self.environment = dict(each.split("=", 1) for each in properties.get("ENVIRONMENT", []))
        self.targets, self.slow, self.seconds = [], (), 0.0

    def prepare(self, build):
        began = time.monotonic()
        status, lines = run_test(self.command, self.cwd, self.environment)
        if status != 0:
            # Once more: what waits for others may fail on a machine that is busy.
            status, lines = run_test(self.command, self.cwd, self.environment)
        self.seconds = time.monotonic() - began
        if status != 0:
            sys.exit(f"{self.name} fails before anything is changed: {status} " + "\n".join(lines[-5:]))

    def has(self, test):
        return test == self.name or test.startswith(self.command[-1] + ".")

    def fails(self, build, test):
        asked = self.command[-1] if test == self.name else test
        return run_test([*self.command[:-1], asked], self.cwd, self.environment)[0] != 0

    def first_failure(self, build, first):
        status, lines = run_test([*self.command[:-1], "-f", self.command[-1]], self.cwd, self.environment)
        if status == 0:
            return None
        began = None
        for line in lines:
            if match := re.match(r"(?:FAIL|ERROR): \w+ \(([\w.]+)\)", line):
                return match[1]
            if match := re.match(r"\w+ \(([\w.]+)\)", line):
                began = match[1]
        return began or self.name


class python_suites_together:
    """Suites that ask one program. Those asked first go one by one, the others several at a time, the
    quickest first: most of their time they wait."""

    at_once = 3

    def __init__(self, name, suites, targets):
        self.name, self.suites, self.targets, self.slow = name, suites, targets, ()

    def prepare(self, build):
        with ThreadPoolExecutor(self.at_once) as workers:
            list(workers.map(lambda suite: suite.prepare(build), self.suites))
        self.suites.sort(key=lambda suite: suite.seconds)

    def fails(self, build, test):
        return next(suite for suite in self.suites if suite.has(test)).fails(build, test)

    def first_failure(self, build, first):
        early = [suite for name in first for suite in self.suites if suite.name == name]
        for suite in early:
            if test := suite.first_failure(build, []):
                return test
        failed = []

        def ask(suite):
            if not failed and (test := suite.first_failure(build, [])):
                failed.append(test)

        with ThreadPoolExecutor(self.at_once) as workers:
            list(workers.map(ask, [suite for suite in self.suites if suite not in early]))
        return failed[0] if failed else None


def python_suites(build, pattern):
    told = json.loads(must_run(["ctest", "--show-only=json-v1", "-R", pattern], build))["tests"]
    return [python_suite(test) for test in told if "unittest" in test.get("command", [])]


area = namedtuple("area", "name folder rules verdict_depends_on options build_targets programs first_of never_asked")


# The fast test programs of src/, in the order in which they are asked, after the one that the changed
# layer, or file, has for itself.
src_programs = {"api_tests": "api", "core_tests": "core", "vemra_crypto_cpp_tests": "vemra_crypto_cpp",
                "base_tests": "base", "model_tests": "model"}
own_programs = {"base": "base_tests", "vemra_crypto_cpp": "vemra_crypto_cpp_tests", "core": "core_tests",
                "VEMRA_APP_STAMP.cpp": "api_tests"}


def programs_of_src(build, source):
    return [googletest_program(name, folder) for name, folder in src_programs.items()]


def first_in_src(path, source):
    return {own_programs.get(path.name) or own_programs[path.parent.name]: []}


# The tests of the token that a file's changes meet first, where they are not of the file's name.
token_tests = {
    "admin/arguments": "admin_tool", "admin/elf_file": "exec", "admin/fault_commands": "fault_text fault",
    "admin/file_input": "raw_slot certificate_commands", "admin/file_output": "raw_slot snapshot",
    "admin/behaviour_options": "profile_file profile", "admin/loaded_library": "exec trace", "admin/main": "admin_tool",
    "admin/password_commands": "admin_tool prompt", "admin/password_input": "prompt admin_tool",
    "admin/profile_commands": "profile profile_file", "admin/program_file": "exec", "admin/slot_commands": "raw_slot", "admin/token_check": "fsck",
    "admin/token_commands": "admin_tool owner", "admin/token_folder": "admin_tool",
    "library/behaving_slots": "knob_slot slot", "library/error_state": "knob_identity error",
    "library/exclusive_use": "knob_handle", "library/token_behaviour": "knob_handle", "library/told_identity": "knob_identity",
    "library/told_list": "knob_identity enumeration", "store/slot_history": "knob_slot",
    "store/digest_name": "knob_identity", "library/call": "error fault", "library/call_trace": "trace", "library/device_functions": "enumeration lifetime",
    "library/digest": "hash", "library/fair_mutex": "fork process", "library/handles": "lifetime",
    "library/key_functions": "certificate", "library/login": "knob_login password", "library/memory": "slot lifetime",
    "library/open_token": "slot fault profile", "library/running_call": "fault trace",
    "library/slot_functions": "slot", "library/token": "slot password fault fork",
    "library/token_registry": "enumeration", "library/uncancelled": "cancel", "library/exports": "slot",
    "personality/knob_kinds": "profile_file profile", "personality/knob_table": "profile profile_file",
    "personality/profile_text": "profile_file", "personality/text_kinds": "knob_identity profile_file", "store/behaviour_table": "profile profile_file storage",
    "store/attempt_note": "attempt", "store/certificate": "certificate certificate_commands",
    "store/descriptor_limit": "descriptor", "store/device_function": "fault_text",
    "store/durable_files": "storage", "store/failure": "error", "store/fault": "fault_text fault",
    "store/fault_file": "fault", "store/file_lock": "attempt fairness", "store/key_table": "certificate",
    "store/lock_queue": "fairness", "store/new_token": "storage admin_tool",
    "store/openssl_use": "hash lifetime", "store/password_check": "password attempt",
    "store/password_hash": "password", "store/password_table": "password", "store/plug": "enumeration storage",
    "store/slot_table": "slot slot_sum profile", "store/sqlite_connection": "storage slot",
    "store/sqlite_statement": "storage slot", "store/token_database": "storage format_1 slot",
    "store/token_files": "owner storage", "store/token_format": "format_1 storage", "store/token_info": "profile", "store/token_owner": "owner",
}
# They wait for a busy token.
waiting_token_tests = ["softtoken_attempt.busy_token_*", "softtoken_disk.token_in_use_is_told_by_fsck_as_such"]
# They compare times.
timed_token_tests = ["softtoken_fairness.four_writing_*"]


def programs_of_softtoken(build, source):
    return [googletest_program("softtoken_tests", "softtoken", waiting_token_tests, timed_token_tests),
            *python_suites(build, r"^softtoken\.(durability|profile_schema)$")]


def first_in_softtoken(path, source):
    name = f"{path.parent.name}/{path.stem}"
    stems = token_tests.get(name, "").split() or [re.sub(r"_(command|table|function)s?$", "", path.stem), path.stem]
    suites = []
    for stem in stems:
        file = source / "tests/softtoken" / f"{stem}_test.cpp"
        if file.exists():
            suites += re.findall(r"^TEST(?:_F)?\((\w+),", file.read_text(), re.M)
    return {"softtoken_tests": [suite + ".*" for suite in dict.fromkeys(suites)]}


# The suites that a file of the tool meets first: those of its folder, where it has none of its own.
tool_suites = {
    "basics": "list", "basics/digest": "backup", "basics/failure": "exit_code json", "basics/hex": "selector",
    "basics/text": "text", "commands": "exit_code", "commands/command_line": "exit_code output",
    "commands/completion": "output", "commands/help": "output", "commands/html": "sheet",
    "commands/number_check": "exit_code", "commands/output": "output", "commands/restore": "backup recovery",
    "commands/shapes": "json suggestion", "commands/shared": "unreadable list", "commands/show": "terminal picture list",
    "commands/terminal_person": "terminal password", "commands/verify_password": "password",
    "commands/version": "output", "device_module": "list unreadable", "files/archive": "backup",
    "files/file": "export backup", "files/manifest": "backup", "keep": "list unreadable",
    "keep/after_changes": "backup", "keep/authorised_change": "update append unreadable",
    "keep/cause": "unreadable check", "keep/describe": "list", "keep/device_lock": "second_actor exit_code",
    "keep/loader": "library device_library", "keep/locked_device": "password second_actor",
    "keep/mapping_record": "check", "keep/read_locks": "second_actor", "keep/repair": "check",
    "keep/repair_plan": "check suggestion",
    "keep/restore_plan": "backup", "keep/session": "devices password", "keep/storing_rule": "append update",
    "keep/trace": "output hardening memory", "picture": "picture", "terminal": "terminal", "tool/main": "exit_code output",
}


# Hundreds of runs of the tool.
slow_tool_tests = ["tool.damage"]


def programs_of_tool(build, source):
    suites = [suite for suite in python_suites(build, r"^tool\.") if suite.name not in slow_tool_tests]
    return [python_suites_together("tool", suites, ["vemra_stamp", "vemra_stamp_device"]),
            googletest_program("picture_tests", "picture")]


def first_in_tool(path, source):
    name = f"{path.parent.name}/{path.stem}"
    words = [path.stem] if (source / f"tests/tool/{path.stem}_test.py").exists() else []
    words += tool_suites.get(name, "" if words else tool_suites.get(path.parent.name, "")).split()
    suites = ["tool." + word for word in dict.fromkeys(words)]
    # What the program makes of a picture is asked after the folder's own tests.
    return ({"picture_tests": []} if path.parent.name == "picture" else {}) | {"tool": suites}


AREAS = {each.name: each for each in (
    area("src", "src", RULES, ("src", "tests", "device_library", "include"),
         ("-DVEMRA_BUILD_SOFTTOKEN=OFF", "-DVEMRA_BUILD_TOOL=OFF"), list(src_programs),
         programs_of_src, first_in_src, ()),
    area("softtoken", "softtoken", PROGRAM_RULES, ("softtoken", "tests/softtoken", "device_library"),
         ("-DVEMRA_BUILD_SOFTTOKEN=ON", "-DVEMRA_BUILD_TOOL=OFF"), ["softtoken_tests"],
         programs_of_softtoken, first_in_softtoken, timed_token_tests),
    area("tool", "tool", PROGRAM_RULES,
         ("tool", "command_line", "tests/tool", "tests/picture", "softtoken", "src", "device_library"),
         ("-DVEMRA_BUILD_SOFTTOKEN=ON", "-DVEMRA_BUILD_TOOL=ON"),
         ["vemra_stamp", "vemra_softtoken", "softtoken", "vemra_stamp_device", "failing_device", "memory_probe",
          "picture_tests"],
         programs_of_tool, first_in_tool, slow_tool_tests))}
