#!/usr/bin/env python3
"""scripts/rules notices what breaks a rule, in a small repository of its own. rules_test.py SOURCE_DIR"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

source = pathlib.Path(sys.argv.pop())


class house_rules(unittest.TestCase):
    """A fresh repository whose first commit has the script alone."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="rules-test-")
        self.addCleanup(scratch.cleanup)
        self.scratch = pathlib.Path(scratch.name)
        self.checkout = self.scratch / "checkout"
        (self.checkout / "scripts").mkdir(parents=True)
        self.git("init", "--quiet")
        self.git("commit", "--quiet", "--allow-empty", "-m", "x" * 80)
        for name in ("rules", "lib.sh"):
            shutil.copy(source / "scripts" / name, self.checkout / "scripts")
        self.commit("Hold the rules", "So that nobody has to remember them.")

    def git(self, *arguments):
        environment = {"PATH": os.environ["PATH"], "HOME": str(self.scratch)}
        identity = ("-c", "user.name=N", "-c", "user.email=n@example.org")
        subprocess.run(["git", *identity, *arguments], cwd=self.checkout, env=environment, check=True,
                       capture_output=True)

    def commit(self, *paragraphs):
        self.git("add", "--all")
        messages = [word for paragraph in paragraphs for word in ("-m", paragraph)]
        self.git("commit", "--quiet", "--allow-empty", *messages)

    def write(self, path, text):
        file = self.checkout / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)
        self.git("add", "--all")

    def write_function(self, name, lines):
        self.write("src/core/flow.cpp", f"int {name}() {{\n" + "    step();\n" * (lines - 2) + "}\n")

    def check(self, rule, checkout=None):
        checkout = checkout or self.checkout
        return subprocess.run([checkout / "scripts/rules", rule], cwd=checkout, capture_output=True,
                              text=True, check=False, env={**os.environ, "HOME": str(self.scratch)})

    def expect_holds(self, rule):
        done = self.check(rule)
        self.assertEqual((done.returncode, done.stdout), (0, "The house rules hold.\n"))

    def expect_violated(self, rule, told):
        done = self.check(rule)
        self.assertEqual(done.returncode, 1)
        self.assertIn(told, done.stdout)

    def test_a_function_may_have_60_lines(self):
        self.write_function("flow", 60)
        self.expect_holds("functions_stay_short")

    def test_a_function_of_61_lines_is_named(self):
        self.write_function("flow", 61)
        self.expect_violated("functions_stay_short",
                             "src/core/flow.cpp:1: flow has 61 lines, at most 60")

    def test_an_exported_writer_may_have_100_lines(self):
        self.write_function("VemraAppStampAppendStamp", 100)
        self.expect_holds("functions_stay_short")

    def test_an_exported_writer_of_101_lines_is_named(self):
        self.write_function("VemraAppStampAppendStamp", 101)
        self.expect_violated("functions_stay_short", "has 101 lines, at most 100")

    def test_sources_without_a_function_are_suspicious(self):
        self.expect_violated("functions_stay_short", "found no function")

    def test_a_header_may_be_guarded_by_a_pragma(self):
        self.write("tool/some.h", "#pragma once\n\nint some();\n")
        self.expect_holds("headers_guard_themselves_alike")

    def test_a_header_guarded_by_a_name_is_named(self):
        self.write("tool/some.h", "#ifndef SOME_H\n#define SOME_H\nint some();\n#endif\n")
        self.expect_violated("headers_guard_themselves_alike", "tool/some.h")

    def test_a_header_without_guard_is_named(self):
        self.write("tool/some.h", "int some();\n")
        self.expect_violated("headers_guard_themselves_alike", "tool/some.h")

    def test_the_installed_header_needs_a_name(self):
        self.write("include/vemra_app_stamp.h", "#pragma once\n")
        self.expect_violated("headers_guard_themselves_alike", "include/vemra_app_stamp.h")

    def test_commits_before_the_rule_are_left_alone(self):
        self.expect_holds("commits_say_why")

    def test_a_subject_may_have_72_characters(self):
        self.commit("s" * 72, "Because.")
        self.expect_holds("commits_say_why")

    def test_a_subject_of_73_characters_is_named(self):
        self.commit("s" * 73, "Because.")
        self.expect_violated("commits_say_why", "has 73 characters, at most 72")

    def test_a_commit_without_body_is_named(self):
        self.commit("Change it")
        self.expect_violated("commits_say_why", "does not say why: Change it")

    def test_trailers_are_no_body(self):
        self.commit("Change it", "Reviewed-by: Somebody")
        self.expect_violated("commits_say_why", "does not say why: Change it")

    def test_a_shallow_clone_tells_how_few_commits_it_has(self):
        self.commit("Change it")
        self.git("clone", "--quiet", "--depth", "1", f"file://{self.checkout}", self.scratch / "clone")
        done = self.check("commits_say_why", self.scratch / "clone")
        self.assertEqual(done.returncode, 0)
        self.assertIn("this clone is shallow, only 0 could be looked at", done.stdout)

    def test_a_history_without_the_rule_is_told(self):
        self.git("update-ref", "HEAD", "HEAD~1")
        done = self.check("commits_say_why")
        self.assertIn("not looked at", done.stdout)


if __name__ == "__main__":
    unittest.main()
