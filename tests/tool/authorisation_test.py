"""Without a verified password no code that writes compiles: authorise() makes the one object that can."""

import os
import pathlib
import subprocess
import unittest

SOURCE = pathlib.Path(os.environ["SOURCE_DIR"])


class Authorisation(unittest.TestCase):
    def compile(self, case):
        done = subprocess.run([os.environ["COMPILER"], "-std=c++17", "-fsyntax-only",
                               f"-DCASE={case}", f"-I{SOURCE}", f"-I{SOURCE / 'tool'}", f"-I{SOURCE / 'src'}",
                               SOURCE / "tests/tool/authorisation_case.cpp"],
                              env={**os.environ, "LC_ALL": "C"}, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)
        errors = [line for line in done.stdout.splitlines() if "error:" in line]
        self.assertEqual(done.returncode == 0, not errors, done.stdout)
        return errors

    def expect_error(self, case, text):
        errors = self.compile(case)
        self.assertEqual(len(errors), 1, errors)
        self.assertRegex(errors[0], text)

    def test_a_change_after_authorise_compiles(self):
        self.assertEqual(self.compile(0), [])

    def test_a_locked_device_alone_cannot_write(self):
        self.expect_error(1, "no member named .remove")

    def test_nobody_else_makes_the_object_that_writes(self):
        self.expect_error(2, "private")

    def test_a_question_to_the_tokens_cannot_write(self):
        self.expect_error(3, "no member named .remove")

    def test_the_session_s_way_to_write_is_closed_to_others(self):
        self.expect_error(4, "private")
        self.expect_error(5, "private")


if __name__ == "__main__":
    unittest.main()
