"""The house rules notice an arrow back up and a circle of includes, each added to a copy of the sources.

include_rules_test.py SOURCE_DIR
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(sys.argv.pop(1))
RULES = ["rooms_of_the_tool_point_down", "no_includes_go_in_a_circle"]


class IncludeRules(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vemra-include-rules-")
        self.addCleanup(folder.cleanup)
        self.copy = pathlib.Path(folder.name)
        for name in ("scripts", "src", "softtoken", "tool"):
            shutil.copytree(SOURCE / name, self.copy / name)

    def rules(self):
        done = subprocess.run([self.copy / "scripts/rules", *RULES], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)
        return done.returncode, done.stdout

    def include(self, file, *names):
        path = self.copy / file
        path.write_text(path.read_text() + "".join(f'#include "{name}"\n' for name in names))

    def expect(self, text):
        code, output = self.rules()
        self.assertEqual(code, 1, output)
        self.assertIn(text, output)

    def test_the_sources_as_they_are_hold(self):
        self.assertEqual(self.rules()[0], 0, self.rules()[1])

    def test_an_arrow_back_up_is_noticed(self):
        for file, name in (("keep/session.cpp", "commands/output.h"),
                           ("keep/restore.h", "terminal/progress.h"),
                           ("files/file.cpp", "picture/picture.h"),
                           ("picture/picture.h", "files/file.h"),
                           ("terminal/table.cpp", "keep/describe.h"),
                           ("basics/text.cpp", "files/file.h"),
                           ("device_module/stamp_library.cpp", "keep/session.h")):
            with self.subTest(file=file, name=name):
                before = (self.copy / "tool" / file).read_text()
                self.include("tool/" + file, name)
                thing = file.rsplit(".", 1)[0]
                self.expect(f"tool/{thing} may not use {name[:-2]}")
                (self.copy / "tool" / file).write_text(before)

    def test_only_the_session_may_reach_what_writes(self):
        self.include("tool/commands/version.cpp", "device_module/tokens.h")
        self.include("tool/keep/selector.cpp", "keep/loader.h")
        self.expect("tool/commands/version may not use device_module/tokens")
        self.expect("tool/keep/selector may not use keep/loader")

    def test_a_room_that_the_rules_do_not_know_may_use_nothing(self):
        (self.copy / "tool/attic").mkdir()
        (self.copy / "tool/attic/old.h").write_text('#include "basics/text.h"\n')
        self.expect("tool/attic/old may not use basics/text")

    def test_a_circle_of_two_is_noticed_everywhere(self):
        self.include("tool/keep/listing.h", "keep/selector.h")
        self.include("tool/keep/selector.cpp", "keep/listing.h")
        self.include("src/base/path.h", "base/hex.h")
        self.include("src/base/hex.cpp", "base/path.h")
        self.include("softtoken/store/failure.h", "store/slot_table.h")
        for way in ("keep/listing -> keep/selector -> keep/listing",
                    "base/hex -> base/path -> base/hex", "store/failure -> "):
            self.expect(way)

    def test_a_circle_of_three_is_noticed_once(self):
        self.include("tool/basics/hex.h", "basics/digest.h")
        self.include("tool/basics/digest.h", "basics/text.h")
        self.include("tool/basics/text.cpp", "basics/hex.h")
        self.expect("includes in a circle: ")
        ring = {"basics/hex", "basics/digest", "basics/text"}
        told = [set(line.split(": ")[1].split(" -> ")) for line in self.rules()[1].splitlines()
                if "in a circle" in line]
        self.assertLessEqual(len(told), 2)
        self.assertIn(ring, told)


unittest.main()
