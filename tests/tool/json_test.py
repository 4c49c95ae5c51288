"""Every command's object, against the committed schema."""

import json
import os
import pathlib

import jsonschema

from tool_case import COMPANY, NAME_SEAL, ToolCase

SCHEMA = json.loads(pathlib.Path(os.environ["OUTPUT_SCHEMA"]).read_text())


class Json(ToolCase):
    def setUp(self):
        super().setUp()
        self.commands = {""}

    def checked(self, code, *arguments):
        done = self.expect(code, "--json", *arguments)
        self.assertEqual(done.stdout.count(b"\n"), 1)
        output = json.loads(done.stdout)
        jsonschema.validate(output, SCHEMA)
        self.assertEqual(output["exit_code"], code)
        self.commands.add(output["command"])
        return output

    def with_password(self, code, *arguments):
        return self.checked(code, *arguments, "--password-file", self.password_file)

    def test_the_schema_itself_is_sound_and_strict(self):
        jsonschema.Draft7Validator.check_schema(SCHEMA)
        good = self.checked(0, "list")
        for change in ({"version": 2}, {"result": {}}, {"command": "other"}, {"extra": 1}):
            with self.assertRaises(jsonschema.ValidationError):
                jsonschema.validate({**good, **change}, SCHEMA)

    def test_every_command_prints_its_object(self):
        uuid = self.with_password(0, "append", "--name", "Seal", COMPANY)["result"]["stamp"]["uuid"]
        self.checked(0, "devices")
        self.checked(0, "list")
        self.checked(0, "list", "--names")
        self.checked(0, "show", uuid)
        self.checked(0, "export", uuid, "-o", self.folder / "seal.png")
        self.checked(0, "export", "--all", self.folder / "all")
        self.checked(0, "sheet", "-o", self.folder / "sheet.html")
        self.checked(0, "check")
        self.checked(0, "backup", self.folder / "backup")
        self.with_password(0, "update", uuid, "--name", "New", NAME_SEAL)
        self.with_password(0, "restore", self.folder / "backup")
        self.with_password(0, "delete", "--yes", uuid)
        self.raw_slot("write", 8134, b"bytes")
        self.checked(1, "check")
        self.with_password(0, "check", "--repair", "--yes")
        self.with_password(0, "verify-password")
        self.raw_slot("write", 8130, b"unlisted, and kept before an append takes the slot")
        self.with_password(0, "append", "--name", "More", COMPANY)
        self.checked(0, "recovery")
        self.with_password(0, "recovery", "restore", self.recovery_folders()[0])
        self.checked(0, "recovery", "discard", "--yes", *self.recovery_folders())
        self.checked(0, "version")
        self.checked(0, "help")
        self.checked(0, "completion", "bash")
        self.assertEqual(self.commands, set(SCHEMA["properties"]["command"]["enum"]))

    def test_errors_are_objects_too(self):
        self.assertEqual(self.checked(2)["command"], "")
        self.checked(2, "show", "short")
        self.checked(5, "list", "--device", "missing")
        self.checked(6, "show", "name:missing")
        error = self.checked(3, "verify-password", "--password-file", self.wrong_file)["error"]
        self.assertEqual(error["attempts_left"], 9)
        self.assertEqual(error["cause"], "wrong password (-106)")

    def test_failed_changes_name_differences_and_the_recovery_file(self):
        self.append("Seal", COMPANY)
        self.fail_device("garble 1")
        error = self.with_password(9, "update", "name:Seal", NAME_SEAL)["error"]
        self.assertEqual(error["differences"], ['the bytes of "Seal" differ'])
        self.assertEqual(error["recovery"], str(self.recovery_folders()[0]))

    def test_warnings_are_in_the_object(self):
        self.raw_slot("write", 8127, b"\x01\x02")
        self.assertEqual(len(self.checked(10, "list")["warnings"]), 1)

    def test_names_that_are_not_utf8_still_make_an_object(self):
        self.raw_slot("write", 8130, b"bytes")
        self.raw_slot("write", 8127, b"\x0b\0\0\0\1\xff&8130")
        self.assertEqual(self.checked(0, "list")["result"]["stamps"][0]["name"], "\ufffd")
