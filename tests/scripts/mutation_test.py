#!/usr/bin/env python3
"""scripts/mutate draws, changes and compares as it says. mutation_test.py SOURCE_DIR"""

import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

source = pathlib.Path(sys.argv.pop())
sys.dont_write_bytecode = True
sys.path.insert(0, str(source / "scripts"))
import mutation_areas  # noqa: E402
from mutation_rules import PROGRAM_RULES  # noqa: E402


def changed(rule, line):
    """What the rule makes of one line of a function."""
    return [" ".join(one.new).strip() for one in PROGRAM_RULES[rule](["void f() {", "    " + line, "}"])]


class rules_of_the_programs(unittest.TestCase):
    def test_an_error_becomes_another(self):
        self.assertEqual(changed("wrong error", "throw failure(error_code::busy);"),
                         ["throw failure(error_code::storage_failed);"])
        self.assertEqual(changed("wrong error", "return exit_code::failed;"), ["return exit_code::usage;"])

    def test_each_flag_is_left_out_once(self):
        self.assertEqual(changed("missing flag", "open(p, O_RDONLY | O_CLOEXEC | O_NOFOLLOW);"),
                         ["open(p, O_RDONLY | O_NOFOLLOW);", "open(p, O_RDONLY | O_CLOEXEC);"])

    def test_a_private_mode_is_widened_and_still_usable(self):
        self.assertEqual(changed("wrong mode", "mkdir(p, 0700);"), ["mkdir(p, 0755);"])
        self.assertEqual(changed("wrong mode", "open(p, f, 0600);"), ["open(p, f, 0644);"])

    def test_shared_and_exclusive_locks_are_exchanged(self):
        self.assertEqual(changed("wrong lock", "flock(file, LOCK_EX | LOCK_NB);"), ["flock(file, LOCK_SH | LOCK_NB);"])
        self.assertEqual(changed("wrong lock", "device_lock lock(d, kind::shared);"),
                         ["device_lock lock(d, kind::exclusive);"])
        self.assertEqual(changed("wrong lock", 'execute("BEGIN IMMEDIATE");'), ['execute("BEGIN");'])

    def test_a_guard_is_left_out(self):
        self.assertEqual(changed("dropped lock", "std::lock_guard<std::mutex> lock(mutex_);"), [""])
        self.assertEqual(changed("dropped lock", "transaction changing(database);"), [""])

    def test_a_call_is_left_out_and_a_throw_is_not(self):
        self.assertEqual(changed("dropped call", "sync_directory(root);"), [""])
        self.assertEqual(changed("dropped call", "throw failure(code);"), [])

    def test_truth_is_flipped(self):
        self.assertEqual(changed("flipped truth", "is_kept_ = true;"), ["is_kept_ = false;"])


class first_tests(unittest.TestCase):
    def first(self, name):
        return mutation_areas.first_in_softtoken(source / "softtoken" / name, source)["softtoken_tests"]

    def test_a_file_of_the_token_meets_the_tests_named_for_it_first(self):
        self.assertEqual(self.first("store/slot_table.cpp"),
                         ["softtoken_slots.*", "softtoken_slot_sum.*", "softtoken_profile.*"])

    def test_a_file_meets_the_tests_of_its_own_name_first(self):
        self.assertEqual(self.first("admin/snapshot_commands.cpp"), ["softtoken_snapshot.*"])

    def test_a_file_without_tests_of_its_own_meets_all(self):
        self.assertEqual(self.first("store/unheard_of.cpp"), [])

    def test_what_is_named_for_files_exists(self):
        tests = {path.stem.removesuffix("_test") for path in (source / "tests/softtoken").glob("*_test.*")}
        suites = {path.stem.removesuffix("_test") for path in (source / "tests/tool").glob("*_test.py")}
        named = {word for words in mutation_areas.token_tests.values() for word in words.split()}
        self.assertEqual(named - tests, set())
        named = {word for words in mutation_areas.tool_suites.values() for word in words.split()}
        self.assertEqual(named - suites, set())
        for name in mutation_areas.token_tests:
            self.assertTrue(list((source / "softtoken").glob(name + ".*")), name)


class draw(unittest.TestCase):
    """In a small repository with the scripts and one file."""

    lines = [f"    if (a < {number}) step_{number}(a == {number} && b);" for number in range(2, 30)]

    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="mutation-test-")
        self.addCleanup(scratch.cleanup)
        self.folder = pathlib.Path(scratch.name)
        (self.folder / "scripts").mkdir()
        for folder in ("softtoken", "tests/softtoken", "device_library"):
            (self.folder / folder).mkdir(parents=True)
            (self.folder / folder / "README.md").write_text("A folder that is there.\n")
        (self.folder / "docs/measured").mkdir(parents=True)
        (self.folder / "docs/measured/mutation_explained.txt").write_text("")
        for name in ("mutation.py", "mutation_areas.py", "mutation_rules.py"):
            shutil.copy(source / "scripts" / name, self.folder / "scripts")
        self.git("init", "--quiet")
        self.commit(self.lines)

    def git(self, *arguments):
        subprocess.run(["git", "-c", "user.name=N", "-c", "user.email=n@example.org", *arguments], cwd=self.folder,
                       env={"PATH": os.environ["PATH"], "HOME": str(self.folder)}, check=True, capture_output=True)

    def commit(self, lines):
        (self.folder / "softtoken/some.cpp").write_text("\n".join(["void f() {", *lines, "}", ""]))
        self.git("add", "--all")
        self.git("commit", "--quiet", "-m", "Change it")

    def mutate(self, *arguments):
        return subprocess.run([sys.executable, "-B", self.folder / "scripts/mutation.py", *arguments],
                              capture_output=True, text=True, check=False)

    def drawn(self, seed):
        done = self.mutate("--area", "softtoken", "--list", "--per-rule", "4", "--seed", str(seed))
        self.assertEqual(done.returncode, 0, done.stderr)
        return [line.split(": ", 1)[1] for line in done.stdout.splitlines()]

    def test_one_seed_draws_the_same_though_lines_move(self):
        before = self.drawn(7)
        self.commit(["    // A reason.", "", *self.lines])
        self.assertEqual(self.drawn(7), before)
        self.assertGreater(len(before), 10)

    def test_another_seed_draws_others(self):
        self.assertNotEqual(self.drawn(7), self.drawn(8))

    def compare(self, old, new):
        for name, verdicts in (("old", old), ("new", new)):
            with (self.folder / name).open("w") as file:
                for number, (verdict, test) in enumerate(verdicts):
                    file.write(json.dumps({"id": str(number), "rule": "r", "file": "f", "old": ["a"], "new": ["b"],
                                           "verdict": verdict, "test": test}) + "\n")
        return self.mutate("--compare", self.folder / "old", self.folder / "new")

    def test_the_test_that_took_over_is_named(self):
        done = self.compare([("noticed by p", "s.old")], [("noticed by p", "s.other")])
        self.assertEqual(done.returncode, 0)
        self.assertIn("s.old: now s.other (1)", done.stdout)

    def test_a_change_that_is_no_longer_noticed_is_lost(self):
        done = self.compare([("noticed by p", "s.old")], [("survived", None)])
        self.assertEqual(done.returncode, 1)
        self.assertIn("was noticed by s.old, is survived", done.stdout)

    def test_a_change_that_was_not_tried_again_is_lost(self):
        self.assertEqual(self.compare([("noticed by p", "s.old")], [("not tried", None)]).returncode, 1)
        self.assertEqual(self.compare([("noticed by p", "s.old")], []).returncode, 1)

    def test_what_was_never_noticed_proves_nothing(self):
        self.assertEqual(self.compare([("survived", None)], [("survived", None)]).returncode, 1)

    def test_a_report_of_one_area_leaves_the_others(self):
        report = self.folder / "report.md"
        report.write_text("# Old\n\n## src/\n\nKept.\n\n## softtoken/\n\nGone.\n")
        self.assertNotIn("Traceback", self.mutate("--area", "softtoken", "--report", report).stderr)
        text = report.read_text()
        self.assertIn("## src/\n\nKept.\n", text)
        self.assertIn("## softtoken/\n\nAt most 25 of each rule, seed 0", text)
        self.assertNotIn("Gone", text)


if __name__ == "__main__":
    unittest.main()
