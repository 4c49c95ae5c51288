#!/usr/bin/env python3
"""What document-page makes of a document. document_page_test.py SOURCE_DIR"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

MAKER = pathlib.Path(sys.argv.pop()) / "scripts/document-page"

DOCUMENT = """# Thing

It keeps `a-b` and [a link](elsewhere.md).
.hidden

    thing --on  # comment

## Words

| Word | Meaning |
|---|---|
| `on WHAT`, `off` | switches |
| `-x` (old) | nothing |

## Sizes

| Name | Bytes | Note |
|---|---|---|
| `one` | 1 | short |

- first
  and on
- second
"""
FRAME = ".SH WHAT\n@Thing@\n.SH WORDS\n@Words@\n.SH SIZES\n@Sizes@\n.SH EXAMPLES\n@Thing, examples@\n"


class DocumentPage(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def make(self, frame, document=DOCUMENT):
        for name, text in (("document", document), ("frame", frame)):
            (self.folder / name).write_text(text, encoding="utf-8")
        paths = [self.folder / name for name in ("document", "frame", "page")]
        return subprocess.run([MAKER, *paths], capture_output=True, text=True, check=False)

    def page(self):
        self.assertEqual(self.make(FRAME).stderr, "")
        return (self.folder / "page").read_text(encoding="utf-8")

    def test_text_keeps_its_code_bold_and_no_line_becomes_a_request(self):
        self.assertIn(".SH WHAT\nIt keeps \\fBa\\-b\\fP and a link.\n\\&.hidden\n.SH", self.page())

    def test_examples_stand_apart_as_they_are(self):
        self.assertIn(".SH EXAMPLES\n.in +4n\n.nf\nthing \\-\\-on  # comment\n.fi\n.in\n", self.page())

    def test_two_columns_become_a_list(self):
        self.assertIn('.TP\n.BR "on WHAT" ", " "off"\nswitches\n.TP\n.BR "\\-x" " (old)"\nnothing\n',
                      self.page())

    def test_more_columns_become_a_table(self):
        self.assertIn(".TS\nl2 l2 l.\nName\tBytes\tNote\n\\fBone\\fP\t1\tshort\n.TE\n", self.page())

    def test_items_of_a_list_are_one_line_each(self):
        self.assertIn(".IP \\(bu 2\nfirst and on\n.IP \\(bu 2\nsecond\n", self.page())

    def test_a_section_that_no_page_tells_is_named(self):
        done = self.make(FRAME.replace("@Words@", ""))
        self.assertIn("not used ['Words']", done.stderr)
        self.assertNotEqual(done.returncode, 0)
        self.assertEqual(self.make(FRAME.replace("@Words@", "@not Words@")).returncode, 0)

    def test_a_section_that_the_document_lacks_is_named(self):
        self.assertIn("no section ['Colours']", self.make(FRAME + "@Colours@\n").stderr)


if __name__ == "__main__":
    unittest.main()
