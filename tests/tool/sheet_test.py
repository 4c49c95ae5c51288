import base64
import html.parser

from tool_case import COMPANY, NAME_SEAL, ToolCase, mapping_record


class Page(html.parser.HTMLParser):
    def __init__(self, text):
        super().__init__()
        self.pictures, self.texts, self.links, self.metas = [], [], [], []
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.links += [values[key] for key in ("src", "href") if key in values]
        if tag == "meta":
            self.metas.append(values)
        if tag == "img":
            self.pictures.append(values)

    def handle_data(self, data):
        self.texts.append(data)


class Sheet(ToolCase):
    def page(self, code=0):
        path = self.folder / "sheet.html"
        self.expect(code, "sheet", "--force", "-o", path)
        return Page(path.read_text())

    def test_holds_every_picture_with_name_device_and_sizes(self):
        self.append("公司印章", COMPANY)
        self.append("Li Wei", NAME_SEAL)
        page = self.page()
        self.assertEqual([one["alt"] for one in page.pictures], ["公司印章", "Li Wei"])
        head, data = page.pictures[0]["src"].split(",")
        self.assertEqual(head, "data:image/png;base64")
        self.assertEqual(base64.b64decode(data), COMPANY.read_bytes())
        self.assertIn(self.serial + " (type 3)", page.texts)
        self.assertIn(f"480x480 pixels, {COMPANY.stat().st_size} bytes, image/png", page.texts)

    def test_needs_no_other_file(self):
        self.append("Seal", COMPANY)
        page = self.page()
        self.assertTrue(all(link.startswith("data:") for link in page.links))

    def test_the_page_lets_a_browser_load_and_run_nothing(self):
        self.append("Seal", COMPANY)
        policy, = [one["content"] for one in self.page().metas
                   if one.get("http-equiv") == "Content-Security-Policy"]
        self.assertEqual(policy, "default-src 'none'; img-src data:; style-src 'unsafe-inline'")

    def test_names_cannot_break_out_of_the_page(self):
        name = '"><script>alert(1)</script>'
        self.append(name, COMPANY)
        page = self.page()
        self.assertEqual(page.pictures[0]["alt"], name)
        self.assertIn(name, page.texts)

    def test_what_is_no_picture_is_named(self):
        self.raw_slot("write", 8130, b"only text\n")
        self.raw_slot("write", 8127, mapping_record(b"Text&8130||Empty&8131"))
        self.assertIn("no picture: text/plain", self.page().texts)
        self.assertIn("no bytes", self.page().texts)

    def test_standard_output_is_not_taken_for_a_file(self):
        self.assertIn(b"give -o FILE.html", self.expect(2, "sheet", "-o", "-").stderr)

    def test_what_cannot_be_read_has_its_place_and_its_cause(self):
        for name, picture in (("S0", COMPANY), ("S1", NAME_SEAL)):
            self.append(name, picture)
        self.softtoken("fault", "add", "a", "ReadData slot=8131 return=-122 lasting")
        page = self.page(10)
        self.assertEqual([one["alt"] for one in page.pictures], ["S0"])
        for text in ("2 stamps, 1 cannot be read", "S1", "cannot be read", "storage failed (-122)"):
            self.assertIn(text, page.texts)

    def test_a_list_that_cannot_be_read_is_told_on_the_page(self):
        self.append("Seal", COMPANY)
        self.softtoken("fault", "add", "a", "ReadData slot=8127 return=-122 lasting")
        told, = [text for text in self.page(10).texts if self.serial in text]
        self.assertIn("cannot be read: storage failed (-122)", told)

    def test_a_page_that_exists_is_kept_without_force(self):
        path = self.write("sheet.html", "mine")
        self.expect(2, "sheet", "-o", path)
        self.assertEqual(path.read_bytes(), b"mine")
