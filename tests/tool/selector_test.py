from tool_case import COMPANY, NAME_SEAL, ToolCase

# The uuids of the first stamps of these two devices of type 3 begin with the same eight digits.
SAME_BEGINNING = ("SAME-75177", "SAME-97716")


class Selector(ToolCase):
    def setUp(self):
        super().setUp()
        self.uuid = self.append("公司 Seal", COMPANY)
        self.append("Other", NAME_SEAL)

    def selected(self, selector):
        return self.json(0, "show", selector)["result"]["stamp"]["name"]

    def test_a_full_uuid_selects(self):
        self.assertEqual(self.selected(self.uuid), "公司 Seal")
        self.assertEqual(self.selected(self.uuid.upper()), "公司 Seal")

    def test_a_unique_prefix_selects(self):
        self.assertEqual(self.selected(self.uuid[:8]), "公司 Seal")
        self.assertEqual(self.selected(self.uuid[:9]), "公司 Seal")

    def test_a_name_selects(self):
        self.assertEqual(self.selected("name:公司 Seal"), "公司 Seal")

    def test_short_prefixes_and_other_text_are_usage_errors(self):
        for selector in (self.uuid[:7], "公司 Seal", "x" * 8, ""):
            self.expect(2, "show", selector)

    def test_no_stamp_is_named_so(self):
        self.expect(6, "show", "name:missing")
        self.expect(6, "show", "0" * 64)
        self.expect(6, "show", self.uuid + "00")

    def test_an_ambiguous_name_lists_the_candidates(self):
        second = self.append("公司 Seal", NAME_SEAL, "--allow-duplicate")
        done = self.expect(8, "show", "name:公司 Seal")
        for uuid in (self.uuid, second):
            self.assertIn(uuid[:16].encode(), done.stderr)
        error = self.json(8, "show", "name:公司 Seal")["error"]
        self.assertEqual(sorted(one["uuid"] for one in error["candidates"]),
                         sorted([self.uuid, second]))

    def test_a_beginning_that_two_uuids_share_is_ambiguous(self):
        uuids = []
        for serial in SAME_BEGINNING:
            self.create_token(serial, serial, 3)
            done = self.change(0, "append", "--device", serial, "--name", serial, COMPANY)
            uuids.append(done.stdout.decode().strip())
        self.assertEqual(uuids[0][:8], uuids[1][:8])
        candidates = self.json(8, "show", uuids[0][:8])["error"]["candidates"]
        self.assertEqual(sorted(one["uuid"] for one in candidates), sorted(uuids))
        self.assertEqual(self.selected(uuids[1][:9]), SAME_BEGINNING[1])
        shown = {line.split()[0] for line in self.expect(0, "list").stdout.decode().splitlines()}
        self.assertEqual(len(shown), 5)

    def test_what_list_shows_can_be_selected(self):
        for line in self.expect(0, "list").stdout.decode().splitlines()[1:]:
            self.expect(0, "show", line.split()[0])
