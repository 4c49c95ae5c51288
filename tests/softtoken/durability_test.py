"""What a command of the admin tool says it did is on the disk before it says so."""

import contextlib
import os
import pathlib
import shutil
import sqlite3
import subprocess
import tempfile
import unittest

from durability_case import Disk, may_trace_anybody, require_tracing, trace

TOOL = os.environ["SOFTTOKEN_TOOL"]


class AdminToolDurability(unittest.TestCase):
    """A folder with one token."""

    def setUp(self):
        require_tracing()
        if not may_trace_anybody():
            self.skipTest("the tool lets no ordinary user trace it")
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="softtoken-durability-")).resolve()
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.environment = {"PATH": os.environ["PATH"], "VEMRA_SOFTTOKEN_DIR": str(self.folder / "tokens")}
        self.environment |= {name: value for name, value in os.environ.items() if name.endswith("SAN_OPTIONS")}
        # The leak checker works by tracing, and nobody can be traced twice.
        self.environment["ASAN_OPTIONS"] = os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"
        self.password = self.folder / "password"
        self.password.write_text("correct horse\n")
        self.password.chmod(0o600)
        self.run_tool("create", "one", "--password-cost", "1", "--password-file", self.password)

    def run_tool(self, *arguments):
        disk, done = trace(self.folder, [TOOL, *arguments], self.environment)
        self.assertEqual(done.returncode, 0, (arguments, done.stderr))
        return disk

    def expect_durable(self, *arguments, synchronised):
        """Nothing is left to the system's leisure, and at least these files and directories are
        synchronised."""
        disk = self.run_tool(*arguments)
        self.assertEqual(disk.unsafe(), [])
        self.assertLessEqual(set(synchronised), disk.synchronised)
        return disk

    def test_create_synchronises_the_token_and_its_name(self):
        self.expect_durable("create", "two", "--password-cost", "1", "--password-file", self.password,
                            synchronised={"tokens"})

    def test_the_new_folder_of_tokens_is_synchronised_too(self):
        self.environment["VEMRA_SOFTTOKEN_DIR"] = str(self.folder / "deep/tokens")
        self.expect_durable("create", "two", "--password-cost", "1", "--password-file", self.password,
                            synchronised={"deep/tokens", "deep", "."})

    def test_attach_synchronises_the_folder_of_the_token(self):
        self.run_tool("detach", "one")
        self.expect_durable("attach", "one", synchronised={"tokens/one"})

    def test_detach_synchronises_the_folder_of_the_token(self):
        self.expect_durable("detach", "one", synchronised={"tokens/one"})

    def test_remove_synchronises_the_folder_of_tokens(self):
        self.expect_durable("remove", "one", synchronised={"tokens"})

    def test_a_new_password_is_synchronised(self):
        self.expect_durable("change-password", "one", "--password-file", self.password, "--new-password-file",
                            self.password, synchronised={"tokens/one/token.db", "tokens/one/password.lock"})

    def test_given_back_attempts_are_synchronised(self):
        self.expect_durable("unlock", "one", synchronised={"tokens/one/password.lock"})

    def test_a_new_profile_is_synchronised(self):
        self.expect_durable("profile", "one", "--profile", "small", synchronised={"tokens/one/token.db"})

    def test_certificates_are_synchronised(self):
        self.expect_durable("generate-cert", "one", "--cn", "Somebody", synchronised={"tokens/one/token.db"})
        self.expect_durable("remove-cert", "one", "1", synchronised={"tokens/one/token.db"})

    def test_an_imported_certificate_is_synchronised(self):
        certificate = self.folder / "certificate.der"
        self.run_tool("generate-cert", "one", "--cn", "Somebody")
        with contextlib.closing(sqlite3.connect(self.folder / "tokens/one/token.db")) as database:
            certificate.write_bytes(database.execute("SELECT der FROM certificate").fetchone()[0])
        self.run_tool("create", "two", "--password-cost", "1", "--password-file", self.password)
        self.expect_durable("import-cert", "two", certificate, synchronised={"tokens/two/token.db"})

    def test_a_loaded_slot_is_synchronised(self):
        self.expect_durable("load", "one", "8130", self.password, synchronised={"tokens/one/token.db"})

    def test_a_dumped_file_and_its_name_are_synchronised(self):
        self.run_tool("load", "one", "8130", self.password)
        self.expect_durable("dump", "one", "8130", self.folder / "file", synchronised={"file", "."})

    def test_a_snapshot_and_its_name_are_synchronised(self):
        self.expect_durable("snapshot", "one", self.folder / "file", synchronised={"file", "."})

    def test_a_restored_token_is_synchronised_before_it_has_its_name(self):
        self.run_tool("snapshot", "one", self.folder / "file")
        self.expect_durable("restore", "one", self.folder / "file", synchronised={"tokens"})

    def test_a_token_that_was_missing_is_restored_for_good(self):
        self.run_tool("snapshot", "one", self.folder / "file")
        self.run_tool("remove", "one")
        disk = self.expect_durable("restore", "other", self.folder / "file", synchronised={"tokens"})
        drafts = {path.split("/")[1] for path in disk.synchronised if path.startswith("tokens/.other.")}
        self.assertEqual(len(drafts), 1)
        self.assertIn(f"tokens/{drafts.pop()}/token.db", disk.synchronised)

    def test_recipes_of_faults_are_synchronised(self):
        self.expect_durable("fault", "add", "one", "--recipe", "worn-out", synchronised={"tokens/one"})

    def test_a_check_leaves_nothing_to_be_synchronised(self):
        self.run_tool("load", "one", "8130", self.password)
        self.expect_durable("fsck", synchronised=set())
        (self.folder / "tokens/.one.0123456789abcdef").mkdir(mode=0o700)
        self.expect_durable("fsck", "--clear", synchronised={"tokens"})

    def test_faults_are_synchronised(self):
        self.expect_durable("fault", "add", "one", "ReadData return=-5", synchronised={"tokens/one"})
        self.expect_durable("fault", "clear", "one", synchronised={"tokens/one"})


class KilledRestore(unittest.TestCase):
    """A token that holds "before", and a snapshot in which it holds "after"."""

    CHANGES = "pwrite64,ftruncate,fsync,fdatasync,mkdir,mkdirat,renameat2,unlink,unlinkat,rmdir,copy_file_range,sendfile"

    setUp = AdminToolDurability.setUp

    def run_tool(self, *arguments):
        return subprocess.run([TOOL, *map(str, arguments)], env=self.environment, capture_output=True, text=True,
                              check=False)

    def load(self, text):
        (self.folder / "bytes").write_text(text)
        self.assertEqual(self.run_tool("load", "one", "8130", self.folder / "bytes").returncode, 0)

    def held(self):
        done = self.run_tool("dump", "one", "8130", self.folder / "held")
        self.assertEqual(done.returncode, 0, done.stderr)
        return (self.folder / "held").read_text()

    def restore_killed_at(self, number):
        """At its so many-th call that changes something on the disk; False when it has not so many."""
        record = self.folder / "trace"
        done = subprocess.run(["strace", "-f", "-o", record, "-e", "trace=" + self.CHANGES, "-e",
                               f"inject={self.CHANGES}:signal=SIGKILL:when={number}", TOOL, "restore", "one",
                               self.folder / "snapshot"], env=self.environment, capture_output=True, check=False)
        return done.returncode != 0

    def test_leaves_the_token_of_before_or_after_and_no_other(self):
        self.load("after")
        self.assertEqual(self.run_tool("snapshot", "one", self.folder / "snapshot").returncode, 0)
        seen, number = [], 1
        while True:
            self.load("before")
            was_killed = self.restore_killed_at(number)
            seen.append(self.held())
            cleared = self.run_tool("fsck", "--clear")
            self.assertEqual(cleared.returncode, 0, cleared.stdout)
            self.assertEqual(os.listdir(self.folder / "tokens"), ["one"])
            self.assertEqual(self.run_tool("fsck").stdout, "one: sound\n")
            if not was_killed:
                break
            number += 1
        self.assertEqual(seen, sorted(seen, reverse=True))
        self.assertEqual({seen[0], seen[-2], seen[-1]}, {"before", "after"})
        self.assertGreater(seen.count("before"), 5)


class FollowedDisk(unittest.TestCase):
    """The follower itself finds what is missing."""

    def unsafe_after(self, *lines):
        disk = Disk("/d")
        for line in lines:
            disk.follow("7 " + line)
        return disk.unsafe()

    def test_bytes_that_were_not_synchronised_are_named(self):
        self.assertEqual(self.unsafe_after('write(3</d/a>, "x", 1) = 1'), ["the bytes of /a"])

    def test_bytes_after_the_last_synchronisation_are_named(self):
        self.assertEqual(self.unsafe_after('write(3</d/a>, "x", 1) = 1', "fsync(3</d/a>) = 0",
                                           'write(3</d/a>, "x", 1) = 1'), ["the bytes of /a"])

    def test_a_failed_synchronisation_does_not_count(self):
        self.assertEqual(self.unsafe_after('write(3</d/a>, "x", 1) = 1',
                                           "fsync(3</d/a>) = -1 EIO (Input/output error)"), ["the bytes of /a"])

    def test_a_name_whose_folder_was_not_synchronised_is_named(self):
        self.assertEqual(self.unsafe_after('openat(AT_FDCWD</>, "/d/a", O_WRONLY|O_CREAT, 0600) = 3</d/a>'),
                         ["the name /d/a".replace("/d", "")])

    def test_a_name_given_before_the_bytes_are_safe_is_named(self):
        self.assertEqual(self.unsafe_after('write(3</d/n>, "x", 1) = 1', 'rename("/d/n", "/d/a") = 0',
                                           "fsync(3</d/a>) = 0", "fsync(4</d>) = 0"),
                         ["/a got its name before its bytes were synchronised"])

    def test_a_file_written_renamed_and_synchronised_in_order_is_safe(self):
        self.assertEqual(self.unsafe_after('openat(AT_FDCWD</>, "/d/n", O_WRONLY|O_CREAT, 0600) = 3</d/n>',
                                           'write(3</d/n>, "x", 1) = 1', "fsync(3</d/n>) = 0",
                                           'rename("/d/n", "/d/a") = 0', "fsync(4</d>) = 0"), [])


if __name__ == "__main__":
    unittest.main()
