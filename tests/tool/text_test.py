"""What is text and what is not, wherever it comes in or goes out: one rule for all."""

import json
import subprocess

from tool_case import COMPANY, NAME_SEAL, TOOL, ToolCase, mapping_record

# Beyond U+10FFFF, surrogates, overlong forms, cut characters, bytes that begin none.
NO_TEXT = [b"a\xf4\x90\x80\x80", b"\xf7\xbf\xbf\xbfb", b"\xf5\x80\x80\x80", b"\xf8\x88\x80\x80\x80",
           b"\xfc\x84\x80\x80\x80\x80", b"\xed\xa0\x80", b"\xed\xbf\xbf", b"\xc0\xaf",
           b"\xe0\x80\xaf", b"\xf0\x8f\xbf\xbf", b"a\xe5\x85", b"\xf0\x9f\x92", b"\x80", b"\xff"]
# The ends of every length, and what stands beside the gaps.
TEXT = ["~", "\u00a1", "\u07ff", "\u0800", "\ud7ff", "\ue000", "\uffff", "\U00010000",
        "\U0010ffff", "公司印章"]


class Text(ToolCase):
    def append_raw(self, name):
        return subprocess.run([TOOL, "append", "--password-file", self.password_file, "--name",
                               name, COMPANY], env=self.environment, check=False,
                              stderr=subprocess.PIPE, stdout=subprocess.DEVNULL)

    def list_name(self, name):
        self.raw_slot("write", 8130, COMPANY.read_bytes())
        self.raw_slot("write", 8127, mapping_record(name + b"&8130"))

    def test_what_is_no_text_is_no_name(self):
        for name in NO_TEXT:
            done = self.append_raw(name)
            self.assertEqual(done.returncode, 2, name)
            self.assertIn(b"is not UTF-8", done.stderr)
        self.assertEqual(self.stamps(), {})

    def test_every_text_is_a_name_and_comes_back(self):
        for name in TEXT:
            self.append(name, NAME_SEAL)
            self.assertEqual(list(self.stamps()), [name])
            self.change(0, "delete", "--yes", "name:" + name)

    def test_what_is_no_text_on_a_device_is_shown_found_and_backed_up(self):
        for number, name in enumerate(NO_TEXT):
            self.list_name(name)
            told = "".join(f"\\x{byte:02x}" for byte in name if byte >= 0x80)
            self.assertIn(told, self.expect(0, "list").stdout.decode())
            self.assertIn(b"is not UTF-8", self.expect(1, "check").stdout)
            self.assertIn("\ufffd", self.json(0, "list")["result"]["stamps"][0]["name"])
            backup = self.folder / f"backup-{number}"
            self.expect(0, "backup", backup)
            entry, = json.loads((backup / "manifest.json").read_text())["stamps"]
            self.assertEqual(entry["name_hex"], name.hex())
            self.assertNotIn("name", entry)

    def test_what_is_no_text_in_a_backup_is_left_out(self):
        self.list_name(NO_TEXT[0])
        self.expect(0, "backup", self.folder / "backup")
        self.raw_slot("write", 8127, mapping_record(b""))
        self.assertIn(b"is not UTF-8", self.change(10, "restore", self.folder / "backup").stderr)
        self.assertEqual(self.stamps(), {})

    def test_the_user_s_locale_changes_nothing(self):
        for locale in ("C", "POSIX", "zh_CN.GB18030"):
            self.environment["LC_ALL"] = locale
            self.assertEqual(self.append_raw(NO_TEXT[0]).returncode, 2)
            self.append("印" + locale, COMPANY)
        self.assertEqual(len(self.stamps()), 3)
