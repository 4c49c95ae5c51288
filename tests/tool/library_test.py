"""With and without a device library."""

import os
import pathlib
import re
import shutil
import subprocess

from tool_case import COMPANY, SOFTTOKEN_TOOL, TOOL, ToolCase

COMMANDS = ["devices", "list", "show", "export", "append", "update", "delete", "sheet", "check",
            "backup", "restore", "verify-password", "version", "completion", "help"]


class WithoutDeviceLibrary(ToolCase):
    def setUp(self):
        super().setUp()
        self.append("Seal", COMPANY)
        self.expect(0, "backup", self.folder / "backup")
        del self.environment["LD_LIBRARY_PATH"]

    def test_version_help_and_completion_work(self):
        self.assertIn(b"vemra-stamp 1.0.0", self.expect(0, "version").stdout)
        self.assertIn(b"Usage:", self.expect(0, "help").stdout)
        self.assertIn(b"Usage:", self.expect(0, "help", "append").stdout)
        self.assertIn(b"Usage:", self.expect(0, "list", "--help").stdout)
        self.assertIn(b"complete ", self.expect(0, "completion", "bash").stdout)

    def test_help_lists_every_command_and_the_options_of_all(self):
        text = self.expect(0, "help").stdout.decode()
        for command in COMMANDS:
            self.assertRegex(text, f"(?m)^  {command} ")
            self.assertIn(f"Usage: vemra-stamp {command}",
                          self.expect(0, "help", command).stdout.decode())
        for option in ("--json", "--password-fd", "--timeout", "--version"):
            self.assertIn(option, text)
        self.assertEqual(self.expect(0, "--help").stdout.decode(), text)

    def test_the_manual_page_names_every_command_and_option(self):
        page = pathlib.Path(os.environ["MANUAL_PAGE"]).read_text().replace("\\-", "-")
        for command in COMMANDS:
            text = self.expect(0, "help", command).stdout.decode()
            self.assertRegex(page, f"(?m)^\\.BR? {command}( |$)")
            for option in re.findall("--[a-z-]+", text + self.expect(0, "help").stdout.decode()):
                self.assertIn(option, page)

    def test_the_manual_page_names_every_exit_code(self):
        page = pathlib.Path(os.environ["MANUAL_PAGE"]).read_text()
        told = re.search("Exit codes: (.*)", self.expect(0, "help").stdout.decode(), re.DOTALL)[1]
        codes = re.findall(r"(?:^|,\s)(\d+) ", told)
        self.assertEqual(codes, re.findall(r"(?m)^(\d+)\t", page))
        self.assertEqual(len(codes), 13)

    def test_version_is_an_option_too(self):
        self.assertEqual(self.expect(0, "--version").stdout, b"vemra-stamp 1.0.0\n")

    def test_version_in_json_has_no_library(self):
        self.assertEqual(self.json(0, "version")["result"], {"tool": "1.0.0", "library": None})

    def test_every_other_command_says_what_is_missing_and_what_to_do(self):
        for command in (["devices"], ["list"], ["show", "name:x"], ["export", "name:x", "-o", "f"],
                        ["append", "--name", "x", str(self.password_file), "--any-data"],
                        ["update", "name:x", "--name", "y"], ["delete", "name:x"],
                        ["sheet", "-o", "f"], ["check"], ["backup", "d"],
                        ["restore", self.folder / "backup"], ["verify-password"]):
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

    def test_the_module_exports_one_function_and_hides_its_copies(self):
        module, = (pathlib.Path(TOOL).parents[1]).rglob("libvemra_stamp_device.so")
        names = subprocess.run(["nm", "-D", "--defined-only", module], check=True, text=True,
                               stdout=subprocess.PIPE).stdout.split()[2::3]
        self.assertEqual(names, ["vemra_stamp_make_tokens"])

    def test_a_tool_without_its_own_files_says_so(self):
        alone = self.folder / "bin" / "vemra-stamp"
        alone.parent.mkdir()
        shutil.copy(TOOL, alone)
        done = subprocess.run([alone, "devices"], env=self.environment, check=False, text=True,
                              stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 5)
        self.assertIn("stamp library cannot be loaded", done.stderr)
        self.assertIn("install it again", done.stderr)

    def test_version_names_the_library_s(self):
        self.assertIn(b"stamp library 1.0.0.0", self.expect(0, "version").stdout)

    def test_completion_is_a_script_that_offers_commands_and_options(self):
        script = self.expect(0, "completion", "bash").stdout.decode()
        script += ("\nCOMP_WORDS=(vemra-stamp app); COMP_CWORD=1; _vemra_stamp; echo ${COMPREPLY[@]}"
                   "\nCOMP_WORDS=(vemra-stamp append --all); COMP_CWORD=2; _vemra_stamp"
                   "\necho ${COMPREPLY[@]}"
                   "\nCOMP_WORDS=(vemra-stamp completion ''); COMP_CWORD=2; _vemra_stamp"
                   "\nfor word in ${COMPREPLY[@]}; do [ $word != bash ] || echo $word; done"
                   "\nCOMP_WORDS=(vemra-stamp help ver); COMP_CWORD=2; _vemra_stamp"
                   "\necho ${COMPREPLY[@]}"
                   "\nCOMP_WORDS=(vemra-stamp recovery dis); COMP_CWORD=2; _vemra_stamp"
                   "\necho ${COMPREPLY[@]}\n")
        done = subprocess.run(["bash", "-c", script], check=True, stdout=subprocess.PIPE)
        self.assertEqual(done.stdout.decode().split(), ["append", "--allow-duplicate", "bash",
                                                        "verify-password", "version", "discard"])

    def test_every_word_that_a_command_takes_is_offered(self):
        script = self.expect(0, "completion", "bash").stdout.decode()
        taken = {}
        commands = self.expect(0, "help").stdout.decode()
        for command in re.findall(r"^  ([a-z][a-z-]*) ", commands, re.MULTILINE):
            told = self.expect(0, "help", command).stdout.decode()
            words = re.search(r"^ +\w[^{\n]*:\{([a-z,]+)\}", told, re.MULTILINE)
            if words:
                taken[command] = words[1].split(",")
        self.assertEqual(set(taken), {"completion", "recovery"})
        for command, words in taken.items():
            offered = re.search(rf"^ +{command}\) words=\"(.*)\" ;;$", script, re.MULTILINE)[1]
            self.assertEqual(set(words) - set(offered.split()), set(), command)
