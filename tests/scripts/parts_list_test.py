"""The list of parts of a package: an SPDX 2.3 document that tells what is there, and nothing else.

With PACKAGES set to a folder of packages, those are looked at too.
"""

import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parent.parent.parent
CONTROL = """Package: example-tool
Version: 1.0~rc1
Architecture: amd64
Pre-Depends: init-system-helpers (>= 1.54~)
Depends: libexample1 (= 1.0~rc1), libssl3 (>= 3.0.0) | libssl4,
 python3:any
Description: nothing
"""
RELATIONS = {"DESCRIBES", "CONTAINS", "DEPENDS_ON", "STATIC_LINK"}


def faults_of(document, tree):
    """What is wrong with a document beside the files that it lists."""
    faults = []

    def expect(true, what):
        if not true:
            faults.append(what)

    expect(document["spdxVersion"] == "SPDX-2.3", "another version")
    expect(document["dataLicense"] == "CC0-1.0", "another licence of the data")
    expect(document["SPDXID"] == "SPDXRef-DOCUMENT", "another name of the document")
    expect(re.fullmatch(r"https://[^\s#]+", document["documentNamespace"]), "no namespace")
    expect(re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", document["creationInfo"]["created"]),
           "no date")
    expect(document["creationInfo"]["creators"][0].startswith("Tool: "), "no creator")

    elements = document["packages"] + document["files"]
    names = [element["SPDXID"] for element in elements]
    expect(len(names) == len(set(names)), "two parts of one name")
    for name in names:
        expect(re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", name), f"a bad name: {name}")
    for element in elements:
        expect(element["copyrightText"] and element["licenseConcluded"], "a part without rights")
    for package in document["packages"]:
        expect(package["name"] and package["downloadLocation"], "a package without a place")

    for relation in document["relationships"]:
        expect(relation["relationshipType"] in RELATIONS, "an unknown relation")
        for end in ("spdxElementId", "relatedSpdxElement"):
            expect(relation[end] in names + ["SPDXRef-DOCUMENT"], f"no such part: {relation[end]}")

    listed = {file["fileName"]: file for file in document["files"]}
    there = {"./" + path.relative_to(tree).as_posix() for path in tree.rglob("*")
             if path.is_file() and not path.is_symlink() and "DEBIAN" not in path.parts
             and not path.name.endswith(".spdx.json")}
    expect(set(listed) == there, f"other files: {set(listed) ^ there}")
    for name in set(listed) & there:
        content = (tree / name).read_bytes()
        sums = {one["algorithm"]: one["checksumValue"] for one in listed[name]["checksums"]}
        expect(sums == {"SHA1": hashlib.sha1(content).hexdigest(),
                        "SHA256": hashlib.sha256(content).hexdigest()}, f"other bytes: {name}")
    ordered = sorted(hashlib.sha1((tree / name).read_bytes()).hexdigest() for name in there)
    code = document["packages"][0]["packageVerificationCode"]["packageVerificationCodeValue"]
    expect(code == hashlib.sha1("".join(ordered).encode()).hexdigest(), "another verification code")
    return faults


class PartsList(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="parts list "))
        self.addCleanup(shutil.rmtree, self.folder)
        self.tree = self.folder / "tree"
        for name, text in (("DEBIAN/control", CONTROL), ("usr/bin/tool", "program"),
                           ("usr/bin/to+ol", "another"), ("usr/share/doc/seal 林", "")):
            (self.tree / name).parent.mkdir(parents=True, exist_ok=True)
            (self.tree / name).write_text(text)
        (self.tree / "usr/bin/link").symlink_to("tool")
        (self.folder / "dpkg-query").write_text('#!/bin/sh\nprintf "2.1 of $4"\n')
        (self.folder / "dpkg-query").chmod(0o755)

    def make(self, *headers):
        output = "usr/share/doc/example-tool/example-tool.spdx.json"
        environment = dict(os.environ, SOURCE_DATE_EPOCH="86400",
                           PATH=f"{self.folder}:{os.environ['PATH']}")
        subprocess.run([SOURCE / "scripts/parts-list", self.tree, output, *headers], check=True,
                       env=environment)
        return (self.tree / output).read_text(encoding="utf-8")

    def test_it_lists_the_files_as_they_are(self):
        self.assertEqual(faults_of(json.loads(self.make("headers-dev")), self.tree), [])

    def test_a_wrong_list_is_noticed(self):
        document = json.loads(self.make())
        (self.tree / "usr/bin/tool").write_text("changed")
        (self.tree / "usr/bin/more").write_text("")
        self.assertEqual(len(faults_of(document, self.tree)), 3)

    def test_it_tells_what_the_package_needs_and_what_is_compiled_in(self):
        document = json.loads(self.make("headers-dev"))
        packages = {one["SPDXID"]: one for one in document["packages"]}
        told = {(one["relationshipType"], packages[one["relatedSpdxElement"]]["name"],
                 packages[one["relatedSpdxElement"]]["versionInfo"])
                for one in document["relationships"] if one["relatedSpdxElement"] in packages}
        self.assertEqual(told, {
            ("DESCRIBES", "example-tool", "1.0~rc1"),
            ("DEPENDS_ON", "init-system-helpers", ">= 1.54~"),
            ("DEPENDS_ON", "libexample1", "= 1.0~rc1"),
            ("DEPENDS_ON", "libssl3", ">= 3.0.0"),
            ("DEPENDS_ON", "python3", "any"),
            ("STATIC_LINK", "headers-dev", "2.1 of headers-dev")})

    def test_the_same_tree_gives_the_same_list(self):
        first = self.make("headers-dev")
        self.assertEqual(self.make("headers-dev"), first)
        self.assertIn('"1970-01-02T00:00:00Z"', first)

    @unittest.skipUnless("PACKAGES" in os.environ, "no packages were given")
    def test_every_package_carries_its_own(self):
        packages = [path for path in pathlib.Path(os.environ["PACKAGES"]).glob("*.deb")
                    if "-dbgsym_" not in path.name]
        self.assertTrue(packages)
        for package in packages:
            tree = self.folder / package.stem
            subprocess.run(["dpkg-deb", "-R", package, tree], check=True)
            lists = list(tree.glob("usr/share/doc/*/*.spdx.json"))
            self.assertEqual(len(lists), 1, package)
            self.assertEqual(faults_of(json.loads(lists[0].read_text()), tree), [], package)


if __name__ == "__main__":
    unittest.main()
