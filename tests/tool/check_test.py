from tool_case import COMPANY, NAME_SEAL, ToolCase, mapping_record


class Check(ToolCase):
    def kinds(self, code=1):
        device, = self.json(code, "check")["result"]["devices"]
        return sorted((one["kind"], one["slot"]) for one in device["findings"])

    def repair(self, code=0, *more):
        return self.change(code, "check", "--repair", "--yes", *more)

    def test_a_device_in_order_has_no_findings(self):
        self.append("Seal", COMPANY)
        self.assertEqual(self.kinds(0), [])
        self.assertIn(b"in order", self.expect(0, "check", "--device", self.serial).stdout)

    def test_bytes_without_an_entry_are_listed_again(self):
        self.raw_slot("write", 8131, COMPANY.read_bytes())
        self.assertEqual(self.kinds(), [("bytes-without-entry", 8131)])
        self.repair()
        self.assertEqual(list(self.stamps()), ["recovered-8131"])
        self.assertEqual(self.expect(0, "export", "name:recovered-8131").stdout,
                         COMPANY.read_bytes())
        self.assertEqual(self.kinds(0), [])

    def test_a_name_may_be_given(self):
        self.raw_slot("write", 8131, b"bytes")
        self.raw_slot("write", 8132, b"more")
        self.repair(0, "--name", "8131=公章")
        self.assertEqual(sorted(self.stamps()), ["recovered-8132", "公章"])

    def test_a_made_name_differs_from_those_that_there_are(self):
        self.append("recovered-8131", COMPANY)
        self.raw_slot("write", 8131, b"bytes")
        self.repair()
        self.assertEqual(sorted(self.stamps()), ["recovered-8131", "recovered-8131-2"])

    def test_a_backup_restored_over_made_names_goes_in_their_place_as_it_says(self):
        self.append("Seal", COMPANY)
        self.append("Other", NAME_SEAL)
        before = self.stamps()
        self.expect(0, "backup", self.folder / "kept")
        self.raw_slot("write", 8127, mapping_record(b""))
        self.assertIn(b"names were made: restore a backup of these stamps with --replace", self.repair().stderr)
        self.change(0, "restore", "--replace", self.folder / "kept")
        self.assertEqual(self.stamps(), before)

    def test_of_names_that_were_given_nothing_is_said_to_be_made(self):
        self.raw_slot("write", 8131, COMPANY.read_bytes())
        self.assertNotIn(b"names were made", self.repair(0, "--name", "8131=Seal").stderr)

    def test_bad_names_and_slots_are_refused(self):
        self.raw_slot("write", 8131, b"bytes")
        for text in ("8131=a&b", "8131=", "8130=x", "x", "=x", "8131"):
            self.repair(2, "--name", text)
        self.assertEqual(self.stamps(), {})

    def test_a_given_name_that_append_would_refuse_is_refused(self):
        self.append("Seal", COMPANY)
        self.raw_slot("write", 8131, NAME_SEAL.read_bytes())
        place = self.serial.encode()
        for name, reason in (("Seal", b"a stamp on " + place + b" (type 3) has the name \"Seal\" already"),
                             ("tab\there", b"has control characters in it")):
            self.assertIn(reason, self.repair(2, "--name", "8131=" + name).stderr)
        self.assertEqual(list(self.stamps()), ["Seal"])

    def test_bytes_that_are_no_picture_are_listed_and_the_plan_says_so(self):
        self.raw_slot("write", 8131, b"only text\n")
        self.raw_slot("write", 8132, NAME_SEAL.read_bytes())
        done = self.repair()
        self.assertIn(b'slot 8131 as "recovered-8131", although this is no picture but text/plain\n',
                      done.stderr)
        self.assertIn(b'slot 8132 as "recovered-8132"\n', done.stderr)

    def test_entries_without_bytes_are_dropped(self):
        self.append("Seal", COMPANY)
        self.raw_slot("write", 8127, mapping_record(b"Seal&8130||Gone&8131"))
        self.assertEqual(self.kinds(), [("entry-without-bytes", 8131)])
        self.repair()
        self.assertEqual(list(self.stamps()), ["Seal"])

    def test_slots_out_of_range_are_dropped(self):
        self.raw_slot("write", 8130, b"bytes")
        self.raw_slot("write", 8127, mapping_record(b"Seal&8130||Far&9000"))
        self.assertEqual(self.kinds(), [("slot-out-of-range", 9000)])
        self.repair()
        self.assertEqual(self.raw_slot("read", 8127), mapping_record(b"Seal&8130"))

    def test_malformed_records_are_written_anew(self):
        good = mapping_record(b"Seal&8130")
        for record in (mapping_record(b"Seal&8130||broken"), good[:4] + b"\x02" + good[5:],
                       mapping_record(b"Seal&8130", total=200), good + b"tail"):
            self.raw_slot("write", 8130, b"bytes")
            self.raw_slot("write", 8127, record)
            self.assertEqual({kind for kind, _ in self.kinds()}, {"malformed-record"})
            self.repair()
            self.assertEqual(self.raw_slot("read", 8127), good)

    def test_a_record_without_sense_loses_no_bytes(self):
        for record in (b"\x01\x02", b"\0\0\0\0\1", b"\xff" * 40):
            self.raw_slot("write", 8130, b"bytes")
            self.raw_slot("write", 8127, record)
            self.assertIn(("bytes-without-entry", 8130), self.kinds())
            self.repair()
            self.assertEqual(list(self.stamps()), ["recovered-8130"])

    def test_a_huge_malformed_record_is_told_in_few_words(self):
        self.raw_slot("write", 8127, mapping_record(b"x" * 1000000))
        done = self.expect(1, "check")
        self.assertLess(len(done.stdout), 2000)
        self.repair()

    def test_sealed_bytes_are_told_and_left_alone(self):
        self.raw_slot("write", 8130, b"VemraSeal")
        self.assertEqual(self.kinds(), [("sealed-bytes", 8130)])
        told = self.change(1, "check", "--repair", "--yes").stderr
        self.assertIn(b"can mend none of this; a stamp that is unreadable, damaged or badly named can be", told)
        self.assertEqual(self.raw_slot("read", 8130), b"VemraSeal")

    def test_doubtful_names_are_told(self):
        for slot, name in ((8130, "twice"), (8131, "twice"), (8132, "a\u202eb"), (8133, "tab\t"),
                           (8134, b"\xff")):
            self.raw_slot("write", slot, b"bytes")
        self.raw_slot("write", 8127, mapping_record(
            "twice&8130||twice&8131||a\u202eb&8132||tab\t&8133||".encode() + b"\xff&8134"))
        self.assertEqual(self.kinds(), [("doubtful-name", slot) for slot in range(8131, 8135)])

    def test_a_name_that_it_finds_doubtful_was_warned_of_before(self):
        for name, doubt in ((" lead", b"begins or ends with a space"),
                            ("   ", b"begins or ends with a space"),
                            ("a\u202eb", b"has invisible characters in it")):
            with self.subTest(name=name):
                self.raw_slot("write", 8131, COMPANY.read_bytes())
                self.assertIn(doubt, self.repair(10, "--name", "8131=" + name).stderr)
                self.assertIn(doubt, self.expect(1, "check").stdout)
                kept = self.folder / ("kept" + str(len(name)) + name[-1])
                self.expect(0, "backup", kept)
                self.change(0, "delete", "--yes", "name:" + name)
                for command in (("append", "--name", name, COMPANY),
                                ("update", "name:" + name, "--name", "Seal"),
                                ("update", "name:Seal", "--name", name)):
                    told = self.change(0, *command).stderr
                    self.assertEqual(doubt in told, command[-1] != "Seal", command)
                self.change(0, "delete", "--yes", "name:" + name)
                self.assertIn(doubt, self.change(0, "restore", kept).stderr)
                self.change(0, "delete", "--yes", "name:" + name)

    def test_findings_that_a_repair_cannot_mend_are_a_partial_result(self):
        self.raw_slot("write", 8130, b"bytes")
        self.raw_slot("write", 8131, b"more")
        self.raw_slot("write", 8127, mapping_record(b" Seal&8130"))
        self.repair(10)
        self.assertEqual(sorted(self.stamps()), [" Seal", "recovered-8131"])

    def test_nothing_readable_becomes_unreadable(self):
        self.append("one", NAME_SEAL)
        self.raw_slot("write", 8132, NAME_SEAL.read_bytes())
        self.raw_slot("write", 8127, mapping_record(b"one&8130||three&8132"))
        before = self.stamps()
        self.raw_slot("write", 8127, mapping_record(b"one&8130||two&8131||three&8132"))
        self.raw_slot("write", 8134, b"orphan")
        self.repair()
        after = self.stamps()
        self.assertEqual(set(after), {"one", "three", "recovered-8134"})
        self.assertEqual({name: after[name] for name in ("one", "three")},
                         {name: before[name] for name in ("one", "three")})

    def test_repair_shows_the_plan_and_needs_yes_or_a_terminal(self):
        self.raw_slot("write", 8131, b"bytes")
        done = self.change(2, "check", "--repair")
        self.assertIn(b'list the bytes in slot 8131 as "recovered-8131"', done.stderr)
        self.assertEqual(self.stamps(), {})

    def test_a_wrong_password_repairs_nothing(self):
        self.raw_slot("write", 8131, b"bytes")
        self.expect(3, "check", "--repair", "--yes", "--password-file", self.wrong_file)
        self.assertEqual(self.stamps(), {})

    def test_a_failed_repair_keeps_the_old_record(self):
        self.append("Seal", COMPANY)
        self.raw_slot("write", 8131, b"bytes")
        record = self.raw_slot("read", 8127)
        self.fail_device("fail-from 1")
        self.repair(1)
        folder, = self.recovery_folders()
        self.assertEqual((folder / "mapping-record").read_bytes(), record)

    def test_a_slot_that_cannot_be_read_is_told_and_left_alone(self):
        self.append("Bad", COMPANY)
        self.append("Good", NAME_SEAL)
        self.raw_slot("write", 8133, b"orphan")
        self.softtoken("fault", "add", "a", "ReadData slot=8130 return=-122 lasting")
        self.assertEqual(self.kinds(), [("bytes-without-entry", 8133), ("unreadable", 8130)])
        self.assertIn(b"storage failed (-122)", self.expect(1, "check").stdout)
        self.repair(10)
        self.softtoken("fault", "clear", "a")
        self.assertEqual(sorted(self.stamps()), ["Bad", "Good", "recovered-8133"])

    def test_a_list_that_cannot_be_read_is_told_and_left_alone(self):
        self.append("Seal", COMPANY)
        self.create_token("b", self.serial + "-B", 7)
        self.softtoken("fault", "add", "a", "ReadData slot=8127 return=-122 lasting")
        devices = self.json(1, "check")["result"]["devices"]
        self.assertEqual([[one["kind"] for one in device["findings"]] for device in devices],
                         [["unreadable"], []])
        done = self.change(1, "check", "--repair", "--yes", "--device", self.serial)
        self.assertIn(b"can mend none of this", done.stderr)
        self.softtoken("fault", "clear", "a")
        self.assertEqual(list(self.stamps()), ["Seal"])

    def test_a_repair_that_is_not_verified_names_what_was_kept(self):
        self.append("Seal", COMPANY)
        before = self.stamps()
        self.raw_slot("write", 8131, b"bytes")
        self.fail_device("garble 1")
        done = self.repair(9)
        folder, = self.recovery_folders()
        self.assertIn(b"the list is not the planned one", done.stderr)
        self.assertIn(b'"Seal" on', done.stderr)
        self.assertIn(str(folder).encode(), done.stderr)
        self.heal_device()
        self.repair()
        self.change(0, "restore", "--replace", folder)
        self.assertEqual({name: digest for name, digest in self.stamps().items()
                          if name == "Seal"}, before)

    def test_a_device_lost_in_the_repair_is_not_verified(self):
        self.raw_slot("write", 8131, b"bytes")
        self.fail_device("hide 1")
        done = self.repair(9)
        folder, = self.recovery_folders()
        self.assertIn(str(folder).encode(), done.stderr)

    def test_every_attached_device_is_checked(self):
        self.create_token("b", self.serial + "-B", 7)
        self.raw_slot("write", 8130, b"bytes", self.serial + "-B")
        devices = self.json(1, "check")["result"]["devices"]
        self.assertEqual([len(one["findings"]) for one in devices], [0, 1])
        self.expect(0, "check", "--device", self.serial)
        self.expect(5, "check", "--device", "missing")
