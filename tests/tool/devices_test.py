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

    def test_a_device_that_does_not_answer_hides_no_other(self):
        self.create_token("b", self.serial + "-B", 7)
        self.softtoken("fault", "add", "b", "GetType return=-1 lasting")
        output = self.json(10, "devices")
        self.assertEqual([one["serial"] for one in output["result"]["devices"]], [self.serial])
        self.assertIn("Unable to read a device", output["warnings"][0])
        self.change(0, "append", "--name", "Seal", COMPANY)
        self.change(0, "update", "name:Seal", "--name", "New")

    def test_only_devices_that_do_not_answer_are_no_device(self):
        self.softtoken("fault", "add", "a", "GetType return=-1 lasting")
        self.assertIn(b"no device can be reached", self.expect(5, "devices").stderr)

    def test_a_bad_record_is_a_partial_result(self):
        self.raw_slot("write", 8127, b"\x01\x02")
        done = self.expect(10, "devices")
        self.assertIn(b"Bad stamp info header", done.stderr)
