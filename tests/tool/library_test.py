"""With and without a device library."""

import subprocess

from tool_case import SOFTTOKEN_TOOL, TOOL, ToolCase


class WithoutDeviceLibrary(ToolCase):
    def setUp(self):
        super().setUp()
        del self.environment["LD_LIBRARY_PATH"]

    def test_version_help_and_completion_work(self):
        self.assertIn(b"vemra-stamp 1.0.0", self.expect(0, "version").stdout)
        self.assertIn(b"Usage:", self.expect(0, "help").stdout)
        self.assertIn(b"Usage:", self.expect(0, "help", "append").stdout)
        self.assertIn(b"Usage:", self.expect(0, "list", "--help").stdout)
        self.assertIn(b"complete ", self.expect(0, "completion", "bash").stdout)

    def test_every_other_command_says_what_is_missing_and_what_to_do(self):
        for command in (["devices"], ["list"], ["show", "name:x"], ["export", "name:x", "-o", "f"],
                        ["append", "--name", "x", str(self.password_file), "--any-data"],
                        ["update", "name:x", "--name", "y"], ["delete", "name:x"],
                        ["sheet", "-o", "f"], ["check"], ["backup", "d"], ["verify-password"]):
            lines = self.expect(5, *command).stderr.decode().splitlines()
            self.assertEqual(len(lines), 2, lines)
            self.assertIn("libvemra_crypto.so.1 is missing", lines[0])
            self.assertIn("maker's device library", lines[1])
            self.assertIn("vemra-softtoken exec -- vemra-stamp", lines[1])


class OnTheSoftwareToken(ToolCase):
    def test_exec_runs_the_tool(self):
        del self.environment["LD_LIBRARY_PATH"]
        done = subprocess.run([SOFTTOKEN_TOOL, "exec", "--", TOOL, "devices"], check=True,
                              env=self.environment, stdout=subprocess.PIPE)
        self.assertIn(self.serial.encode(), done.stdout)

    def test_version_names_the_library_s(self):
        self.assertIn(b"stamp library 1.0.0.0", self.expect(0, "version").stdout)

    def test_completion_is_a_script_that_offers_commands_and_options(self):
        script = self.expect(0, "completion", "bash").stdout.decode()
        script += ("\nCOMP_WORDS=(vemra-stamp app); COMP_CWORD=1; _vemra_stamp; echo ${COMPREPLY[@]}"
                   "\nCOMP_WORDS=(vemra-stamp append --all); COMP_CWORD=2; _vemra_stamp"
                   "\necho ${COMPREPLY[@]}\n")
        done = subprocess.run(["bash", "-c", script], check=True, stdout=subprocess.PIPE)
        self.assertEqual(done.stdout.decode().split(), ["append", "--allow-duplicate"])
