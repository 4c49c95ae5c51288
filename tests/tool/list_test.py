import hashlib
import struct
import subprocess
import unicodedata
import zlib

from tool_case import COMPANY, NAME_SEAL, TOOL, ToolCase, mapping_record


def png(width, height, alpha, resolution=None):
    """A picture of one colour."""
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(
            ">I", zlib.crc32(kind + body))
    rows = b"".join(b"\0" + bytes([200, 0, 0, alpha]) * width for _ in range(height))
    text = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 6, 0,
                                                            0, 0))
    if resolution:
        text += chunk(b"pHYs", struct.pack(">IIB", resolution, resolution, 1))
    return text + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def columns_of(text):
    return sum(2 if unicodedata.east_asian_width(letter) in "WF" else 1 for letter in text)


class Names(ToolCase):
    """list --names."""

    def test_shows_uuids_names_and_devices(self):
        uuid = self.append("公司印章", COMPANY)
        heading, row = self.expect(0, "list", "--names").stdout.decode().splitlines()
        self.assertEqual(heading.split(), ["UUID", "NAME", "DEVICE"])
        self.assertEqual(row.split(), [uuid[:12], "公司印章", self.serial, "(type", "3)"])
        self.assertIn(uuid, self.expect(0, "list", "--names", "--verbose").stdout.decode())

    def test_tells_programs_what_list_tells_of_them(self):
        self.create_token("b", self.serial + "-B", 7)
        for serial, name in ((self.serial, "near"), (self.serial, "nearer"),
                             (self.serial + "-B", "far")):
            self.append(name, NAME_SEAL, "--device", serial)
        for choice in ([], ["--device", self.serial], ["--device-type", 7]):
            names = self.json(0, "list", "--names", *choice)["result"]["stamps"]
            whole = self.json(0, "list", *choice)["result"]["stamps"]
            self.assertEqual(names, [{key: one[key] for key in ("uuid", "name", "device")}
                                     for one in whole])

    def test_an_empty_device_has_none(self):
        done = self.expect(0, "list", "--names")
        self.assertEqual((done.stdout, done.stderr), (b"", b"vemra-stamp: no stamps\n"))

    def test_an_entry_that_is_no_stamp_s_is_told(self):
        self.raw_slot("write", 8127, mapping_record(b"Seal&8130||Far&8140"))
        done = self.expect(10, "list", "--names")
        self.assertIn(b'"Far" is listed in slot 8140, which holds no stamps', done.stderr)
        self.assertNotIn(b"Far", done.stdout)
        self.assertIn(b"Seal", done.stdout)

    def test_a_list_that_cannot_be_read_hides_no_other(self):
        self.create_token("b", self.serial + "-B", 7)
        self.append("far", NAME_SEAL, "--device", self.serial + "-B")
        self.softtoken("fault", "add", "a", "ReadData slot=8127 return=-122 lasting")
        self.raw_slot("write", 8127, mapping_record(b"Seal&8130"))
        done = self.expect(10, "list", "--names")
        self.assertIn(f"the list of {self.serial} (type 3) cannot be read: storage failed (-122)"
                      .encode(), done.stderr)
        self.assertIn(b"far", done.stdout)


class List(ToolCase):
    def test_shows_uuid_name_type_bytes_pixels_and_device(self):
        uuid = self.append("Seal", COMPANY)
        row = self.expect(0, "list").stdout.decode().splitlines()[1].split()
        self.assertTrue(uuid.startswith(row[0]))
        self.assertEqual(row[1:], ["Seal", "image/png", str(COMPANY.stat().st_size), "480x480",
                                   self.serial, "(type", "3)"])

    def test_columns_are_aligned_for_wide_names(self):
        self.append("公司印章", COMPANY)
        self.append("Li Wei", NAME_SEAL)
        lines = self.expect(0, "list").stdout.decode().splitlines()
        places = [columns_of(line[:line.index("image/png")]) for line in lines[1:]]
        places.append(columns_of(lines[0][:lines[0].index("MEDIA TYPE")]))
        self.assertEqual(len(set(places)), 1, lines)

    def test_device_options_choose_the_device(self):
        self.create_token("b", self.serial + "-B", 7)
        self.change(0, "append", "--device", self.serial, "--name", "on A", COMPANY)
        self.change(0, "append", "--device-type", "7", "--name", "on B", COMPANY)
        for option in (["--device", self.serial], ["--device-type", "3"]):
            listed = self.json(0, "list", *option)["result"]["stamps"]
            self.assertEqual([one["name"] for one in listed], ["on A"])

    def test_control_characters_in_names_do_not_reach_the_terminal(self):
        self.raw_slot("write", 8130, b"bytes")
        self.raw_slot("write", 8127, mapping_record(b"a\x1b[31mb&8130"))
        self.assertIn(b"a\\x1b[31mb", self.expect(0, "list").stdout)

    def test_names_cannot_change_the_order_of_a_line(self):
        self.append("a\u202eb\u2066c", COMPANY)
        self.assertIn(b"a\\xe2\\x80\\xaeb\\xe2\\x81\\xa6c", self.expect(0, "list").stdout)

    def test_verbose_shows_whole_uuids(self):
        uuid = self.append("Seal", COMPANY)
        self.assertIn(uuid, self.expect(0, "-v", "list").stdout.decode())
        self.assertNotIn(uuid, self.expect(0, "list").stdout.decode())

    def test_an_unreadable_entry_is_a_partial_result(self):
        self.append("Seal", COMPANY)
        self.raw_slot("write", 8127, mapping_record(b"Seal&8130||broken"))
        done = self.expect(10, "list")
        self.assertIn(b"Seal", done.stdout)
        self.assertIn(b"Bad stamp info: broken", done.stderr)

    def test_an_output_that_cannot_be_written_is_a_failure(self):
        self.append("Seal", COMPANY)
        for more in ([], ["--json"]):
            with open("/dev/full", "wb") as full:
                done = subprocess.run([TOOL, "list", *more], env=self.environment, check=False,
                                      stdout=full, stderr=subprocess.PIPE)
            self.assertEqual(done.returncode, 1)
            self.assertIn(b"standard output cannot be written", done.stderr)

    def test_nothing_of_the_trace_is_printed(self):
        self.append("Seal", COMPANY)
        done = self.expect(0, "list")
        self.assertNotIn(b"VERBOSE", done.stdout + done.stderr)


class Show(ToolCase):
    def test_tells_everything(self):
        path = self.write("seal.png", png(30, 20, 128, 11811))
        self.append("Seal", path)
        stamp = self.json(0, "show", "name:Seal")["result"]["stamp"]
        self.assertEqual(stamp["sha256"], hashlib.sha256(path.read_bytes()).hexdigest())
        self.assertEqual(stamp["slot"], 8130)
        self.assertEqual(stamp["picture"], {
            "media_type": "image/png", "width": 30, "height": 20, "x_resolution": 300.0,
            "y_resolution": 300.0, "transparent": True, "damaged": False,
            "damage": None})
        text = self.expect(0, "show", "name:Seal").stdout.decode()
        self.assertIn("30x20", text)
        self.assertIn("300 x 300 pixels an inch", text)

    def test_opaque_pictures_are_told_from_transparent_ones(self):
        done = self.change(0, "append", "--name", "Opaque",
                           self.write("opaque.png", png(3, 3, 255)))
        self.assertIn(b"no transparency", done.stderr)
        self.assertIn(b"opaque", self.expect(0, "show", "name:Opaque").stdout)
        self.append("Seal", COMPANY)
        self.assertIn(b"transparent", self.expect(0, "show", "name:Seal").stdout)

    def test_preview_draws_through_chafa(self):
        self.append("Seal", COMPANY)
        fake = self.folder / "bin"
        fake.mkdir()
        chafa = fake / "chafa"
        chafa.write_text("#!/bin/sh\n/usr/bin/sha256sum /dev/stdin\n")
        chafa.chmod(0o755)
        self.environment["PATH"] = str(fake)
        text = self.expect(0, "show", "--preview", "name:Seal").stdout
        self.assertIn(hashlib.sha256(COMPANY.read_bytes()).hexdigest().encode() + b"  /dev/stdin",
                      text)

    def test_preview_without_chafa_is_a_warning(self):
        self.append("Seal", COMPANY)
        self.environment["PATH"] = str(self.folder)
        self.assertIn(b"chafa is not installed",
                      self.expect(0, "show", "--preview", "name:Seal").stderr)
