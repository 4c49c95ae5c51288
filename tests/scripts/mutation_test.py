#!/usr/bin/env python3
"""scripts/mutate draws, changes and compares as it says. mutation_test.py SOURCE_DIR"""

import contextlib
import io
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
from mutation_results import kept_verdicts, text_of_test  # noqa: E402
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


class texts_of_tests(unittest.TestCase):
    texts = """TEST_F(suite, one) {
    EXPECT_TRUE(one);
}

TEST(suite, other) {
    EXPECT_TRUE(other);
}

class suite(unittest.TestCase):
    def test_one(self):
        self.assertTrue(one)

    def test_other(self):
        pass
"""

    def test_a_test_is_found_alone(self):
        self.assertEqual(text_of_test("suite.one", self.texts), "TEST_F(suite, one) {\n    EXPECT_TRUE(one);\n}")
        self.assertEqual(text_of_test("file.suite.test_one", self.texts),
                         "    def test_one(self):\n        self.assertTrue(one)")

    def test_what_is_no_test_has_no_text(self):
        self.assertEqual(text_of_test("suite.none", self.texts), "")


class small_repository(unittest.TestCase):
    """With the scripts and one file."""

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
        for name in ("mutation.py", "mutation_areas.py", "mutation_results.py", "mutation_rules.py"):
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


class kept(small_repository):
    """Verdicts, after a commit."""

    test_file = "tests/softtoken/some_test.cpp"

    def setUp(self):
        super().setUp()
        self.write(self.test_file, "TEST_F(s, t) {\n    one();\n}\n")
        self.keep("noticed by p", "s.t")

    def write(self, name, text):
        (self.folder / name).write_text(text)
        self.git("add", "--all")
        self.git("commit", "--quiet", "-m", "Change it")

    def verdicts(self):
        return kept_verdicts(self.folder, mutation_areas.AREAS["softtoken"], self.folder / "results")

    def keep(self, verdict, test):
        with contextlib.redirect_stdout(io.StringIO()):
            self.verdicts().keep({"id": "1", "rule": "r", "file": "softtoken/some.cpp", "line": 1}, verdict, test, 1)

    def counts(self):
        return bool(self.verdicts().known([{"id": "1"}]))

    def test_a_noticed_change_counts_though_other_files_and_tests_change(self):
        self.write("softtoken/other.cpp", "int other;\n")
        self.write(self.test_file, "TEST_F(s, t) {\n    one();\n}\n\nTEST_F(s, u) {\n    two();\n}\n")
        self.assertTrue(self.counts())

    def test_a_noticed_change_is_tried_again_when_its_file_changes(self):
        self.commit([*self.lines, "    another();"])
        self.assertFalse(self.counts())

    def test_a_noticed_change_is_tried_again_when_the_test_changes_or_goes(self):
        self.write(self.test_file, "TEST_F(s, t) {\n    two();\n}\n")
        self.assertFalse(self.counts())
        self.write(self.test_file, "\n")
        self.assertFalse(self.counts())

    def test_a_noticed_change_of_no_known_test_is_tried_again(self):
        self.keep("noticed by p", "before the first test")
        self.write("softtoken/other.cpp", "int other;\n")
        self.assertFalse(self.counts())

    def test_a_survivor_is_tried_again_when_anything_changes(self):
        self.keep("survived", None)
        self.assertTrue(self.counts())
        self.write(self.test_file, "TEST_F(s, t) {\n    one();\n}\n\nTEST_F(s, u) {\n    two();\n}\n")
        self.assertFalse(self.counts())


class draw(small_repository):
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
