"""Pictures that their own format shows to be damaged, and pictures that are too large to decode."""

import resource
import struct
import zlib

from tool_case import NAME_SEAL, ToolCase
from torn_update import TornUpdate


def png_chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def picture_bomb(width=1000000, height=16000):
    """16 gigapixels, opaque, in 16 megabytes; their palette has a transparent colour."""
    packer = zlib.compressobj(9, zlib.DEFLATED, -15)
    row = packer.compress(bytes(width + 1)) + packer.flush(zlib.Z_FULL_FLUSH)
    header = struct.pack(">IIBBBBB", width, height, 8, 3, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", header) + png_chunk(b"PLTE", bytes(6)) +
            png_chunk(b"tRNS", b"\xff\0") +
            png_chunk(b"IDAT", b"\x78\xda" + row * height + b"\x03\0" + bytes(4)) +
            png_chunk(b"IEND", b""))


class DamagedPicture(TornUpdate):
    def test_check_reports_the_damaged_picture(self):
        done = self.expect(1, "check")
        self.assertIn(b"the picture in slot 8130 is damaged: the checksum of its chunk IDAT is wrong\n",
                      done.stdout)
        device, = self.json(1, "check")["result"]["devices"]
        self.assertIn(("damaged-picture", 8130),
                      [(one["kind"], one["slot"]) for one in device["findings"]])

    def test_check_reports_a_cut_picture(self):
        self.raw_slot("write", 8130, NAME_SEAL.read_bytes()[:20000])
        self.assertIn(b"is damaged: the file ends within its chunk IDAT",
                      self.expect(1, "check").stdout)

    def test_list_and_show_mark_it(self):
        stamp, = self.repaired()
        self.assertTrue(stamp["picture"]["damaged"])
        self.assertEqual(stamp["picture"]["damage"], "the checksum of its chunk IDAT is wrong")
        self.assertIn(b"image/png, damaged", self.expect(0, "list").stdout)
        self.assertIn(b"the checksum of its chunk IDAT is wrong",
                      self.expect(0, "show", stamp["uuid"]).stdout)

    def test_backup_and_export_warn_of_it(self):
        stamp, = self.repaired()
        warning = b'"Seal" is damaged: the checksum of its chunk IDAT is wrong'
        for command in (("backup", self.folder / "backup"), ("export", stamp["uuid"]),
                        ("export", "--all", self.folder / "all")):
            self.assertIn(warning, self.expect(0, *command).stderr, command)

    def test_a_slot_that_was_made_and_not_written_is_damaged(self):
        self.raw_slot("write", 8130, bytes(len(NAME_SEAL.read_bytes())))
        self.assertIn(b"the picture in slot 8130 is damaged: all its bytes are zero\n",
                      self.expect(1, "check").stdout)
        self.assertIn(b"application/octet-stream, damaged", self.expect(0, "list").stdout)

    def test_zero_bytes_are_taken_as_any_data_alone(self):
        blank = self.write("blank", bytes(1000))
        self.assertIn(b"all its bytes are zero; --any-data stores it",
                      self.change(2, "append", "--name", "Blank", blank).stderr)
        self.change(0, "append", "--any-data", "--name", "Blank", blank)


class Bombs(ToolCase):
    def test_append_and_list_take_a_moment(self):
        bomb = self.write("bomb.png", picture_bomb())
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        self.append("Bomb", bomb)
        stamp, = self.json(0, "list")["result"]["stamps"]
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        self.assertEqual((stamp["picture"]["width"], stamp["picture"]["height"]),
                         (1000000, 16000))
        self.assertIsNone(stamp["picture"]["transparent"])
        self.assertFalse(stamp["picture"]["damaged"])
        # Decoding it takes minutes of a processor.
        self.assertLess(after.ru_utime - before.ru_utime, 5)
