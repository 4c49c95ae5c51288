"""What CI runs, with stand-ins for the scripts that it starts."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
NOBODY = 65534

# One test was skipped; only root can pass it. {record} holds a line for each run.
STAND_IN = """#!/bin/sh
set -e
case "$*" in *--packages-only*) exit 0 ;; esac
cd "$(dirname "$0")/.."
printf '{{"script": "%s", "user": %s, "place": "%s", "commit": "%s", "home": "%s"}}\\n' \\
    "$(basename "$0")" "$(id -u)" "$PWD" "$(git rev-parse HEAD)" "$HOME" >>"{record}"
while [ $# -gt 0 ] && [ "$1" != --output-junit ]; do shift; done
[ $# -eq 0 ] || printf '%s\\n' '<testcase name="a.passed">' '<testcase name="b.skipped">' \\
    '[  SKIPPED ]' >"$2"
mkdir -p build/dev
echo 'add_test(b.skipped sh -c "id -u >{record}.root")' >build/dev/CTestTestfile.cmake
exit {result}
"""


class CiRun(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ci-run-test-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.folder.chmod(0o755)
        self.record = self.folder / "record"
        self.record.touch()
        self.record.chmod(0o666)
        self.clone = self.folder / "clone"
        for folder in ("clone/.ci", "clone/scripts", "home", "tmp"):
            (self.folder / folder).mkdir(parents=True)
        shutil.copy(SOURCE / ".ci/run", self.clone / ".ci/run")
        self.stand_in("test")
        self.stand_in("check")
        self.environment = dict(os.environ, HOME=str(self.folder / "home"),
                                TMPDIR=str(self.folder / "tmp"), GIT_CONFIG_GLOBAL="/dev/null",
                                GIT_AUTHOR_NAME="A", GIT_AUTHOR_EMAIL="a@example.org",
                                GIT_COMMITTER_NAME="A", GIT_COMMITTER_EMAIL="a@example.org")

    def stand_in(self, script, result=0):
        path = self.clone / "scripts" / script
        path.write_text(STAND_IN.format(record=self.record, result=result))
        path.chmod(0o755)

    def git(self, *words):
        done = subprocess.run(["git", "-C", self.clone, *words], env=self.environment, check=True,
                              stdout=subprocess.PIPE, text=True)
        return done.stdout.strip()

    def run_ci(self, owner=None):
        """Of a commit that is checked out and no branch's, in a clone that holds a later one."""
        self.git("init", "--quiet")
        self.git("add", "-A")
        self.git("commit", "--quiet", "-m", "This one")
        self.commit = self.git("rev-parse", "HEAD")
        self.git("commit", "--quiet", "--allow-empty", "-m", "A later one")
        self.git("checkout", "--quiet", "--detach", "HEAD^")
        if owner is not None:
            os.chown(self.clone, owner, owner)
        del self.environment["GIT_CONFIG_GLOBAL"]
        done = subprocess.run([self.clone / ".ci/run"], env=self.environment, text=True,
                              check=False, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.runs = [json.loads(line) for line in self.record.read_text().splitlines()]
        return done

    def test_the_commit_that_is_checked_out_is_tested_and_checked(self):
        done = self.run_ci()
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertEqual([run["script"] for run in self.runs], ["test", "check"])
        self.assertEqual({run["commit"] for run in self.runs}, {self.commit})

    def test_it_works_as_an_ordinary_user(self):
        self.run_ci()
        user = NOBODY if os.geteuid() == 0 else os.geteuid()
        self.assertEqual({run["user"] for run in self.runs}, {user})

    def test_what_it_made_does_not_stay(self):
        self.run_ci()
        self.assertEqual(list((self.folder / "tmp").iterdir()), [])
        self.assertEqual(list((self.folder / "home").iterdir()), [])

    def test_failing_tests_and_failing_checks_fail(self):
        self.stand_in("check", 3)
        self.assertNotEqual(self.run_ci().returncode, 0)

    def test_failing_tests_fail_at_once(self):
        self.stand_in("test", 3)
        self.assertNotEqual(self.run_ci().returncode, 0)
        self.assertEqual([run["script"] for run in self.runs], ["test"])

    @unittest.skipUnless(os.geteuid() == 0, "only root becomes somebody else")
    def test_root_works_where_a_path_has_a_blank_with_a_home_that_nobody_has_made(self):
        self.run_ci()
        for run in self.runs:
            self.assertIn(" ", run["place"])
            self.assertTrue(run["home"].startswith(str(self.folder / "tmp")), run["home"])

    @unittest.skipUnless(os.geteuid() == 0, "only root becomes somebody else")
    def test_root_runs_what_nobody_skipped(self):
        done = self.run_ci()
        self.assertIn("== as root: b.skipped\n", done.stdout)
        self.assertEqual(pathlib.Path(f"{self.record}.root").read_text(), "0\n")

    @unittest.skipUnless(os.geteuid() == 0, "only root becomes somebody else")
    def test_root_works_in_a_clone_of_somebody_else(self):
        done = self.run_ci(owner=NOBODY)
        self.assertEqual(done.returncode, 0, done.stdout)

    @unittest.skipUnless(os.geteuid() == 0, "only root becomes somebody else")
    def test_root_needs_no_home(self):
        del self.environment["HOME"]
        done = self.run_ci()
        self.assertEqual(done.returncode, 0, done.stdout)


if __name__ == "__main__":
    unittest.main()
