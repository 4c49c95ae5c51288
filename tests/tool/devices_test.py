from tool_case import COMPANY, ToolCase


class Devices(ToolCase):
    def test_tells_serial_type_stamps_and_free_slots(self):
        self.append("Seal", COMPANY)
        lines = self.expect(0, "devices").stdout.decode().splitlines()
        self.assertEqual(lines[0].split(), ["SERIAL", "NUMBER", "TYPE", "STAMPS", "FREE"])
        self.assertEqual(lines[1].split(), [self.serial, "3", "1", "4"])

    def test_lists_devices_without_stamps(self):
        self.create_token("b", self.serial + "-B", 7)
        devices = self.json(0, "devices")["result"]["devices"]
        self.assertEqual([(one["serial"], one["type"], one["stamps"], one["free"])
                          for one in devices],
                         [(self.serial, 3, 0, 5), (self.serial + "-B", 7, 0, 5)])

    def test_a_bad_record_is_a_partial_result(self):
        self.raw_slot("write", 8127, b"\x01\x02")
        done = self.expect(10, "devices")
        self.assertIn(b"Bad stamp info header", done.stderr)
