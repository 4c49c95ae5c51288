#!/usr/bin/env python3
"""Files and headings that the documents link to or name exist, blocks of a document are of known
kinds, what a block shows of the sources stands there, and tests/README.md knows every folder.

    links_test.py SOURCE_DIR

Output shown in a block of another kind than `console` would not be compared with anything.
"""

import pathlib
import re
import subprocess
import sys

source = pathlib.Path(sys.argv[1])
LINK = re.compile(r"\]\((?!https?:)([^)#]*)(?:#([^)]+))?\)")
HEADING = re.compile(r"^#+ (.*)$", re.MULTILINE)
# A path within the tree, as it stands between backquotes.
NAMED_FILE = re.compile(r"`((?:src|include|examples|tests|softtoken|tool|docs|scripts|cmake|bench"
                        r"|fuzz|device_library|debian)/[\w./-]*)`")
BLOCK = re.compile(r"^```(\w*)\n(?:.*\n)*?```$", re.MULTILINE)
KNOWN_BLOCKS = {"console", "sh", "c", "cmake", "cpp"}
SHOWN_CODE = re.compile(r"^```cpp\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def anchors_of(document):
    """Headings as links name them."""
    headings = HEADING.findall(document.read_text(encoding="utf-8"))
    return {re.sub(r"[^\w -]", "", heading.lower()).replace(" ", "-") for heading in headings}


def leads_somewhere(document, path, anchor):
    target = document.parent / path if path else document
    return target.exists() and (not anchor or anchor in anchors_of(target))


sources = "".join(file.read_text(encoding="utf-8") for file in source.glob("src/**/*.cpp"))
faults = []
documents = [document for pattern in ["*.md", "*/*.md", "docs/*/*.md", "tests/*/*.md"]
             for document in sorted(source.glob(pattern))]
for document in documents:
    text = document.read_text(encoding="utf-8")
    name = document.relative_to(source)
    faults += [f"{name} links to {path}#{anchor}, which does not exist"
               for path, anchor in LINK.findall(text)
               if not leads_somewhere(document, path, anchor)]
    faults += [f"{name} names {path}, which does not exist" for path in NAMED_FILE.findall(text)
               if not (source / path).exists()]
    faults += [f"{name} has a block of the kind \"{kind}\"" for kind in BLOCK.findall(text)
               if kind not in KNOWN_BLOCKS]
    faults += [f"{name} shows code that is not in src/: {code.splitlines()[0]}"
               for code in SHOWN_CODE.findall(text) if code not in sources]
rooms = (source / "tests/README.md").read_text(encoding="utf-8")
faults += [f"tests/README.md says nothing of {folder.name}/"
           for parent in [source / "tests", source / "tests/sweep"] for folder in parent.iterdir()
           if (folder / "CMakeLists.txt").exists() or parent.name == "sweep" and folder.is_dir()
           if f"`{folder.name}/`" not in rooms]
if len(documents) < 12:
    faults.append(f"only {len(documents)} documents were found")
print("\n".join(faults))
sys.exit(bool(faults))
