import hashlib
import os
import pathlib
import subprocess

from tool_case import COMPANY, NAME_SEAL, PASSWORD, TOOL, ToolCase, mapping_record


class Append(ToolCase):
    def test_prints_the_uuid_and_stores_the_bytes(self):
        uuid = self.append("Seal", COMPANY)
        self.assertRegex(uuid, "^[0-9a-f]{64}$")
        self.assertEqual(self.expect(0, "export", uuid).stdout, COMPANY.read_bytes())

    def test_reads_standard_input(self):
        self.change(0, "append", "--name", "Seal", "-", content=COMPANY.read_bytes())
        self.assertEqual(self.expect(0, "export", "name:Seal").stdout, COMPANY.read_bytes())

    def test_device_must_be_named_when_there_are_two(self):
        self.create_token("b", self.serial + "-B", 7)
        done = self.change(2, "append", "--name", "Seal", COMPANY)
        self.assertIn(self.serial.encode() + b" (type 3)", done.stderr)
        self.assertIn(self.serial.encode() + b"-B (type 7)", done.stderr)

    def test_a_wrong_password_writes_nothing(self):
        done = self.expect(3, "append", "--password-file", self.wrong_file, "--name", "Seal",
                           COMPANY)
        self.assertIn(b"9 attempts left", done.stderr)
        self.assertEqual(self.stamps(), {})

    def test_bad_names_are_refused(self):
        for name in ("", "a&b", "a||b", "a\tb", b"a\xffb"):
            with self.subTest(name=name):
                if isinstance(name, bytes):
                    done = subprocess.run([TOOL, "append", "--name", name, str(COMPANY)],
                                          env=self.environment, check=False,
                                          stderr=subprocess.PIPE)
                    self.assertEqual(done.returncode, 2)
                else:
                    self.change(2, "append", "--name", name, COMPANY)
        self.assertEqual(self.stamps(), {})

    def test_a_used_name_needs_allow_duplicate(self):
        self.append("Seal", COMPANY)
        self.assertIn(f'a stamp on {self.serial} (type 3) has the name "Seal" already; --allow-duplicate'.encode(),
                      self.change(2, "append", "--name", "Seal", NAME_SEAL).stderr)
        self.append("Seal", NAME_SEAL, "--allow-duplicate")
        self.assertEqual(len(self.json(0, "list")["result"]["stamps"]), 2)

    def test_other_bytes_need_any_data(self):
        text = self.write("text", "only text\n")
        self.assertIn(b"text/plain", self.change(2, "append", "--name", "T", text).stderr)
        self.append("T", text, "--any-data")

    def test_a_damaged_picture_is_refused(self):
        damaged = self.write("damaged.png", COMPANY.read_bytes()[:5000])
        self.assertIn(b"damaged", self.change(2, "append", "--name", "D", damaged).stderr)

    def test_bytes_that_mark_a_sealed_slot_are_refused(self):
        for content in (b"VemraSeal", b"VemraSeal\0"):
            self.change(2, "append", "--any-data", "--name", "S", self.write("s", content))

    def test_tokens_of_every_login_scope_are_written(self):
        for scope in ("handle", "none"):
            serial = self.serial + "-" + scope
            self.create_token(scope, serial, 7, None, "--login", scope)
            self.change(0, "append", "--device", serial, "--name", scope, COMPANY)
            self.raw_slot("write", 8133, b"bytes", serial)
            self.change(0, "check", "--repair", "--yes", "--device", serial)

    def test_more_than_16_mib_and_nothing_at_all_are_refused(self):
        large = self.write("large", b"x" * (16 * 1024 * 1024 + 1))
        self.change(2, "append", "--any-data", "--name", "L", large)
        self.change(2, "append", "--any-data", "--name", "E", self.write("empty", b""))
        self.assertIn(b"standard input is empty",
                      self.change(2, "append", "--name", "E", "-").stderr)
        self.change(2, "append", "--any-data", "--name", "E", self.folder / "missing")

    def test_16_mib_are_stored(self):
        self.append("L", self.write("large", b"x" * (16 * 1024 * 1024)), "--any-data")

    def test_unlisted_bytes_that_it_overwrites_are_kept(self):
        self.raw_slot("write", 8130, b"precious")
        done = self.change(0, "append", "--name", "Seal", COMPANY)
        folder, = self.recovery_folders()
        self.assertIn(str(folder).encode(), done.stderr)
        self.assertEqual((folder / "stamp-1.bin").read_bytes(), b"precious")

    def test_a_malformed_record_is_left_to_check(self):
        self.raw_slot("write", 8127, mapping_record(b"broken"))
        self.assertIn(b"vemra-stamp check",
                      self.change(1, "append", "--name", "Seal", COMPANY).stderr)
        self.assertEqual(self.raw_slot("read", 8127), mapping_record(b"broken"))

    def test_two_runs_do_not_lose_each_other_s_stamps(self):
        runs = [subprocess.Popen([TOOL, "append", "--password-file", str(self.password_file),
                                  "--timeout", "60", "--name", f"Seal {i}", str(NAME_SEAL)],
                                 env=self.environment, stdout=subprocess.DEVNULL,
                                 stderr=subprocess.DEVNULL) for i in range(4)]
        self.assertEqual([run.wait() for run in runs], [0] * 4)
        self.assertEqual(sorted(self.stamps()), [f"Seal {i}" for i in range(4)])

    def test_other_users_can_open_the_lock_whatever_the_umask(self):
        place = hashlib.sha256(f"{self.serial}\0{3}".encode()).hexdigest()[:16]
        before = os.umask(0o077)
        self.addCleanup(os.umask, before)
        self.append("Seal", COMPANY)
        name = f"vemra-stamp-{place}.lock"
        locks = [path for folder in ("/run/lock", "/tmp")
                 if (path := pathlib.Path(folder, name)).exists()]
        self.assertEqual({path.stat().st_mode & 0o777 for path in locks}, {0o644})

    def test_the_password_may_come_from_a_descriptor(self):
        path = self.write("other", PASSWORD + "\n", 0o600)
        with open(path, "rb") as source:
            self.expect(0, "append", "--password-fd", source.fileno(), "--name", "Seal", COMPANY,
                        pass_fds=[source.fileno()])
