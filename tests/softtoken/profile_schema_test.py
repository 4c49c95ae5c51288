"""Profiles' files, the committed schema of them, and the program that reads them."""

import json
import os
import pathlib
import subprocess
import tempfile
import unittest

import jsonschema

TOOL = os.environ["SOFTTOKEN_TOOL"]
SOURCE = pathlib.Path(os.environ["SOURCE_DIR"])
SCHEMA = json.loads((SOURCE / "softtoken/profile.schema.json").read_text(encoding="utf-8"))
FRAME = {"format": "vemra-softtoken profile", "version": 1}


def values_for(name, schema):
    """Values that a knob's schema allows, and some that it does not."""
    if name == "digest":
        # What OpenSSL has is not for a schema to say.
        return ["SHA3-256", "none", "", "SHA 256", 1, None]
    if "enum" in schema:
        return schema["enum"] + ["never heard of", 1, None]
    if schema.get("type") == "boolean":
        return [True, False, "true", 1, None]
    if "minimum" in schema:
        return [schema["minimum"], schema["maximum"], schema["minimum"] - 1, schema["maximum"] + 1,
                "1", None, True, [], {}]
    return ["text", "hex:00ff", "hex:0", "", "04010307", "04010307,00000000", "0401", 1, None, {}, {"-7": 5}, {"-7": "text"}, {"-7": None},
            {"-7": "hex:ff"}, {"-7": {}}, {"x": 5}, {"2147483648": 5}, {"-7": 1 << 31}]


class profile_schema(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.environment = {**os.environ, "VEMRA_SOFTTOKEN_DIR": self.directory.name}
        self.run_tool("create", "one", "--password-cost", "1", "--password-fd", "0")

    def run_tool(self, *arguments):
        return subprocess.run([TOOL, *arguments], env=self.environment, input="secret\n", text=True,
                              capture_output=True, check=False)

    def is_taken(self, profile):
        path = pathlib.Path(self.directory.name) / ".profile.json"
        path.write_text(json.dumps(profile), encoding="utf-8")
        done = self.run_tool("profile", "one", "--profile-file", str(path))
        self.assertIn(done.returncode, (0, 2), done.stderr)
        return done.returncode == 0

    @staticmethod
    def is_valid(profile):
        try:
            jsonschema.validate(profile, SCHEMA, jsonschema.Draft7Validator)
            return True
        except jsonschema.ValidationError:
            return False

    def test_the_committed_schema_is_that_of_the_program(self):
        jsonschema.Draft7Validator.check_schema(SCHEMA)
        told = subprocess.run([TOOL, "knobs", "--schema"], capture_output=True, check=True).stdout
        self.assertEqual((SOURCE / "softtoken/profile.schema.json").read_bytes(), told)

    def test_profiles_that_come_with_it_fit_the_schema(self):
        files = sorted((SOURCE / "softtoken/profiles").glob("*.json"))
        self.assertGreaterEqual(len(files), 3)
        for file in files:
            profile = json.loads(file.read_text(encoding="utf-8"))
            jsonschema.validate(profile, SCHEMA, jsonschema.Draft7Validator)
            self.assertTrue(self.is_taken(profile), file.name)

    def test_the_program_takes_what_the_schema_allows_and_nothing_else(self):
        knobs = SCHEMA["properties"]["knobs"]["properties"]
        profiles = [{**FRAME, "knobs": {name: value}}
                    for name, schema in knobs.items() for value in values_for(name, schema)]
        profiles += [{**FRAME, "knobs": {"unknown": 1}}, {**FRAME}, {**FRAME, "knobs": {}, "x": 1},
                     {**FRAME, "version": 2, "knobs": {}}, {**FRAME, "about": 1, "knobs": {}},
                     {**FRAME, "about": "words", "knobs": {}}, []]
        for profile in profiles:
            self.assertEqual(self.is_taken(profile), self.is_valid(profile), profile)

    def test_every_default_is_told_by_the_schema(self):
        defaults = {name: schema["default"]
                    for name, schema in SCHEMA["properties"]["knobs"]["properties"].items()}
        self.assertTrue(self.is_taken({**FRAME, "knobs": defaults}))
        self.assertIn("as by default", self.run_tool("info", "one").stdout)


if __name__ == "__main__":
    unittest.main()
