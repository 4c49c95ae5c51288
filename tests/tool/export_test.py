from tool_case import COMPANY, NAME_SEAL, ToolCase


class Export(ToolCase):
    def setUp(self):
        super().setUp()
        self.uuid = self.append("Seal", COMPANY)

    def test_writes_raw_bytes_to_a_pipe(self):
        self.assertEqual(self.expect(0, "export", self.uuid).stdout, COMPANY.read_bytes())
        self.assertEqual(self.expect(0, "export", self.uuid, "-o", "-").stdout,
                         COMPANY.read_bytes())

    def test_writes_a_file_and_leaves_no_other(self):
        folder = self.folder / "out"
        folder.mkdir()
        self.expect(0, "export", self.uuid, "-o", folder / "seal.png")
        self.assertEqual((folder / "seal.png").read_bytes(), COMPANY.read_bytes())
        self.assertEqual([path.name for path in folder.iterdir()], ["seal.png"])

    def test_an_existing_file_is_kept_without_force(self):
        path = self.write("seal.png", "mine")
        self.assertIn(b"--force", self.expect(2, "export", self.uuid, "-o", path).stderr)
        self.assertEqual(path.read_bytes(), b"mine")
        self.expect(0, "export", self.uuid, "-o", path, "--force")
        self.assertEqual(path.read_bytes(), COMPANY.read_bytes())

    def test_a_place_that_cannot_be_written_is_a_failure(self):
        self.assertIn(b"cannot be written",
                      self.expect(1, "export", self.uuid, "-o", "/nowhere/seal.png").stderr)

    def test_all_writes_every_stamp(self):
        self.append("a/b: 公", NAME_SEAL)
        self.expect(0, "export", "--all", self.folder / "out")
        written = sorted(path.read_bytes() for path in (self.folder / "out").iterdir())
        self.assertEqual(written, sorted([COMPANY.read_bytes(), NAME_SEAL.read_bytes()]))
        self.expect(0, "export", "--all", self.folder / "out")

    def test_all_keeps_other_files_and_is_then_partial(self):
        self.expect(0, "export", "--all", self.folder / "out")
        path, = (self.folder / "out").iterdir()
        path.write_text("mine")
        self.expect(10, "export", "--all", self.folder / "out")
        self.assertEqual(path.read_text(), "mine")

    def test_neither_or_both_of_selector_and_all_are_usage_errors(self):
        self.expect(2, "export")
        self.expect(2, "export", self.uuid, "--all", self.folder / "out")

    def test_all_and_a_file_are_a_usage_error(self):
        self.expect(2, "export", "--all", self.folder / "out", "-o", self.folder / "file")

    def test_force_replaces_no_link_and_no_directory(self):
        link = self.folder / "link.png"
        link.symlink_to(self.folder / "elsewhere")
        for path in (link, self.folder):
            for force in ([], ["--force"]):
                self.assertIn(b"is no plain file and is not replaced",
                              self.expect(2, "export", self.uuid, "-o", path, *force).stderr)
        self.assertTrue(link.is_symlink())

    def test_all_goes_on_past_a_link_and_a_directory_whatever_is_forced(self):
        folder = self.folder / "out"
        self.expect(0, "export", "--all", folder)
        path, = folder.iterdir()
        for make in (lambda: path.symlink_to(self.folder / "elsewhere"), path.mkdir):
            path.unlink()
            make()
            self.append("Later", COMPANY)
            for force in ([], ["--force"]):
                with self.subTest(is_link=path.is_symlink(), force=force):
                    done = self.expect(10, "export", "--all", folder, *force)
                    self.assertIn(f"{path} is no plain file and is not replaced\n".encode(), done.stderr)
                    self.assertNotIn(b"--force", done.stderr)
                    self.assertEqual(done.stdout.count(b"Later-"), 1)
            self.assertFalse(path.is_file())
            self.change(0, "delete", "--yes", "name:Later")
        self.assertTrue(path.is_dir())

    def test_a_directory_that_cannot_be_made_is_a_failure(self):
        self.assertIn(b"cannot be made",
                      self.expect(1, "export", "--all", "/proc/nowhere").stderr)

    def test_a_file_in_the_place_of_a_directory_is_bad_input(self):
        path = self.write("taken", "mine")
        self.assertIn(b"cannot be made", self.expect(2, "export", "--all", path).stderr)
        self.assertIn(b"cannot be made", self.expect(2, "export", "--all", path / "sub").stderr)

    def test_json_and_raw_bytes_do_not_mix(self):
        self.expect(2, "--json", "export", self.uuid)
