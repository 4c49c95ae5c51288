#!/usr/bin/env python3
"""Files that the documents link to or name exist, and blocks of a document are of known kinds.

    links_test.py SOURCE_DIR

Output shown in a block of another kind than `console` would not be compared with anything.
"""

import pathlib
import re
import subprocess
import sys

source = pathlib.Path(sys.argv[1])
LINK = re.compile(r"\]\((?!https?:)([^)#]+)")
# A path within the tree, as it stands between backquotes.
NAMED_FILE = re.compile(r"`((?:src|include|examples|tests|softtoken|tool|docs|scripts|cmake|bench"
                        r"|fuzz|device_library|debian)/[\w./-]*)`")
BLOCK = re.compile(r"^```(\w*)\n(?:.*\n)*?```$", re.MULTILINE)
KNOWN_BLOCKS = {"console", "sh", "c", "cmake"}

faults = []
documents = [document for pattern in ["*.md", "*/*.md", "docs/*/*.md", "tests/*/*.md"]
             for document in sorted(source.glob(pattern))]
for document in documents:
    text = document.read_text(encoding="utf-8")
    name = document.relative_to(source)
    faults += [f"{name} links to {link}, which does not exist" for link in LINK.findall(text)
               if not (document.parent / link).exists()]
    faults += [f"{name} names {path}, which does not exist" for path in NAMED_FILE.findall(text)
               if not (source / path).exists()]
    faults += [f"{name} has a block of the kind \"{kind}\"" for kind in BLOCK.findall(text)
               if kind not in KNOWN_BLOCKS]
if len(documents) < 12:
    faults.append(f"only {len(documents)} documents were found")
print("\n".join(faults))
sys.exit(bool(faults))
