"""What keeps others from reading or steering what the tool writes, a test for each."""

import hashlib
import os
import pathlib
import re
import subprocess

from tool_case import COMPANY, NAME_SEAL, TOOL, ToolCase


class Hardening(ToolCase):
    def lock_files(self):
        place = f"{self.serial}\0003".encode()
        name = f"vemra-stamp-{hashlib.sha256(place).hexdigest()[:16]}.lock"
        return [pathlib.Path(folder, name) for folder in ("/run/lock", "/tmp")]

    def setUp(self):
        super().setUp()
        for path in self.lock_files():
            self.addCleanup(path.unlink, missing_ok=True)

    def run_masked(self, mask, *arguments):
        command = [TOOL, "--password-file", str(self.password_file), *map(str, arguments)]
        subprocess.run(command, env=self.environment, check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL, preexec_fn=lambda: os.umask(mask))

    def mode(self, path):
        return path.stat().st_mode & 0o777

    def test_a_trace_follows_no_link(self):
        target = self.write("target", "mine")
        link = self.folder / "link"
        link.symlink_to(target)
        self.expect(2, "list", f"--debug={link}")
        self.assertEqual(target.read_bytes(), b"mine")

    def test_a_trace_takes_the_readers_of_a_file_that_was_there_away(self):
        trace = self.write("trace", "old", 0o644)
        self.expect(0, "list", f"--debug={trace}")
        self.assertEqual(self.mode(trace), 0o600)

    def test_a_lock_follows_no_link(self):
        target = self.folder / "target"
        for path in self.lock_files():
            path.symlink_to(target)
        self.assertIn(b"symbolic links", self.change(1, "verify-password").stderr)
        self.assertFalse(target.exists())

    def test_a_written_file_follows_no_link(self):
        self.append("Seal", COMPANY)
        target = self.folder / "target"
        link = self.folder / "link"
        link.symlink_to(target)
        self.expect(2, "export", "name:Seal", "-o", link)
        self.expect(2, "sheet", "-o", link)
        self.assertFalse(target.exists())

    def test_what_is_private_is_so_under_any_umask(self):
        self.append("Seal", COMPANY)
        for mask in (0, 0o022, 0o077):
            backup = self.folder / f"backup-{mask}" / "inner"
            trace = self.folder / f"trace-{mask}"
            self.run_masked(mask, "backup", backup, f"--debug={trace}")
            for path in (backup.parent, backup):
                self.assertEqual(self.mode(path), 0o700, path)
            for path in (*backup.iterdir(), trace):
                self.assertEqual(self.mode(path), 0o600, path)

    def test_what_is_kept_for_recovery_is_private_under_any_umask(self):
        self.append("Seal", COMPANY)
        self.fail_device("fail-from 1")
        subprocess.run([TOOL, "update", "name:Seal", "--password-file", self.password_file,
                        NAME_SEAL], env=self.environment, check=False, stderr=subprocess.DEVNULL,
                       preexec_fn=lambda: os.umask(0))
        kept, = self.recovery_folders()
        for path in (kept, kept.parent, kept.parent.parent):
            self.assertEqual(self.mode(path), 0o700, path)
        for path in kept.iterdir():
            self.assertEqual(self.mode(path), 0o600, path)

    def test_files_for_others_have_the_mode_that_the_umask_leaves(self):
        self.append("Seal", COMPANY)
        for mask in (0, 0o027, 0o077):
            path = self.folder / f"seal-{mask}.png"
            self.run_masked(mask, "export", "name:Seal", "-o", path)
            self.assertEqual(self.mode(path), 0o666 & ~mask)

    def test_a_lock_can_be_opened_by_other_users_under_any_umask(self):
        self.run_masked(0o077, "verify-password")
        modes = [self.mode(path) for path in self.lock_files() if path.exists()]
        self.assertEqual(set(modes), {0o644})

    def test_the_password_is_locked_in_memory(self):
        fifo = self.folder / "fifo"
        os.mkfifo(fifo)
        with subprocess.Popen([TOOL, "verify-password", "--password-file", str(fifo)],
                              env=self.environment, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL) as process:
            # Opening the other end waits until the tool reads its password there.
            with open(fifo, "wb"):
                status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
            process.wait(60)
        self.assertGreater(int(re.search(r"VmLck:\s*(\d+) kB", status)[1]), 0)

    def test_a_picture_s_drawer_gets_its_signals_back(self):
        """Ignored ones would pass on to a program that relies on them."""
        self.append("Seal", COMPANY)
        drawer = self.write("chafa", "#!/bin/sh\ngrep -E '^Sig(Ign|Blk)' /proc/self/status\n", 0o755)
        self.environment["PATH"] = f"{drawer.parent}:{self.environment['PATH']}"
        shown = self.expect(0, "show", "--preview", "name:Seal").stdout.decode()
        for name in ("SigIgn", "SigBlk"):
            signals = int(re.search(rf"{name}:\s*([0-9a-f]+)", shown)[1], 16)
            self.assertEqual(signals & (1 << 12 | 1 << 24 | 1 << 1), 0, name)
