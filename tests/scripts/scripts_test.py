"""The scripts that people start, with stand-ins for the programs that take long or want rights."""

import os
import pathlib
import pty
import re
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent

APT_GET = '#!/bin/sh\necho "$*" >>"$RECORD"\n'
NOTHING_INSTALLED = "#!/bin/sh\nexit 1\n"
AS_IS = '#!/bin/sh\nexec "$@"\n'
BUILD_OF_20 = """#!/bin/sh
for step in $(seq 20); do
    echo "[$step/20] Building CXX object file_$step.o"
done
exit "${BUILD_RESULT:-0}"
"""


class Scripts(unittest.TestCase):
    def setUp(self):
        # As a person keeps it: where a path has a blank.
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="scripts test "))
        self.addCleanup(shutil.rmtree, self.folder)
        self.record = self.folder / "record"
        self.record.touch()
        self.environment = dict(os.environ, RECORD=str(self.record),
                                PATH=f"{self.folder}/bin:{os.environ['PATH']}")
        (self.folder / "bin").mkdir()

    def stand_in(self, name, text):
        path = self.folder / "bin" / name
        path.write_text(text)
        path.chmod(0o755)

    def on_a_fresh_machine(self):
        self.stand_in("dpkg-query", NOTHING_INSTALLED)
        self.stand_in("apt-get", APT_GET)
        self.stand_in("sudo", AS_IS.replace('"$@"', '$(echo "$*" | sed "s/^-n //")'))

    def run_script(self, *words):
        return subprocess.run(list(map(str, words)), env=self.environment, text=True, check=False,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT)

    def with_library(self, commands):
        library = SOURCE / "scripts/lib.sh"
        return ["bash", "-c", f'set -euo pipefail; . "{library}"; {commands}', SOURCE / "scripts/x"]

    def installed(self):
        lines = [line for line in self.record.read_text().splitlines() if "install" in line]
        return {word for line in lines for word in line.split() if re.match("[a-z]", word)}

    def test_packages_can_be_installed_and_nothing_else_be_done(self):
        self.on_a_fresh_machine()
        for script in ("test", "check"):
            done = self.run_script(SOURCE / "scripts" / script, "--yes", "--packages-only")
            self.assertEqual(done.returncode, 0, done.stdout)
            self.assertNotIn("Configuring", done.stdout)
            self.assertIn("g++", self.installed())

    def test_package_installs_what_its_build_takes_for_granted_or_declares(self):
        self.on_a_fresh_machine()
        self.stand_in("git", "#!/bin/sh\nexit 1\n")
        tree = self.folder / "tree"
        shutil.copytree(SOURCE / "scripts", tree / "scripts")
        self.run_script(tree / "scripts/package", "--yes")
        control = (SOURCE / "debian/control").read_text()
        declared = re.search(r"^Build-Depends:((?:.*\n)(?: .*\n)*)", control, re.MULTILINE)[1]
        names = {re.match(r"[a-z0-9+.-]+", entry.strip())[0] for entry in declared.split(",")}
        names = {"debhelper" if name == "debhelper-compat" else name for name in names}
        self.assertEqual((names | {"build-essential"}) - self.installed(), set())

    def test_a_build_tells_how_far_it_has_come_and_how_long_it_took(self):
        self.stand_in("cmake", BUILD_OF_20)
        done = self.run_script(*self.with_library("build dev"))
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertRegex(done.stdout, r"  2 of 20, \d+ s\n  4 of 20, ")
        self.assertRegex(done.stdout, r"\nBuilt in \d+ s\.\n$")
        self.assertNotIn("Building CXX", done.stdout)

    def test_a_build_that_fails_shows_all_that_it_said(self):
        self.stand_in("cmake", BUILD_OF_20)
        self.environment["BUILD_RESULT"] = "3"
        done = self.run_script(*self.with_library("build dev"))
        self.assertEqual(done.returncode, 1)
        self.assertIn("[17/20] Building CXX object file_17.o", done.stdout)
        self.assertNotIn("Built in", done.stdout)

    def test_at_a_terminal_the_progress_of_a_build_stays_on_one_line(self):
        self.stand_in("cmake", BUILD_OF_20)
        side, other = pty.openpty()
        done = subprocess.run(self.with_library("build dev"), env=self.environment, stdout=other,
                              stdin=subprocess.DEVNULL, check=False)
        os.close(other)
        shown = ""
        while shown.count("\n") < 2:
            shown += os.read(side, 65536).decode()
        os.close(side)
        self.assertEqual(done.returncode, 0)
        self.assertIn("\r\x1b[K  7 of 20, 0 s\r\x1b[K  8 of 20, 0 s", shown)
        self.assertRegex(shown, r"^Building build/dev \.\.\.\r\n[^\n]*Built in \d+ s\.\r\n$")

    def test_times_are_told_in_minutes_and_seconds(self):
        done = self.run_script(*self.with_library("as_time 59; say; as_time 60; say; as_time 754"))
        self.assertEqual(done.stdout, "59 s\n1 min 0 s\n12 min 34 s")


if __name__ == "__main__":
    unittest.main()
