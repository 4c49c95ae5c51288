#!/usr/bin/env python3
"""Every caution of the public header has a key and a row in docs/cautions.md that names tests which
exist, and every key that is named elsewhere is that of a caution.

    cautions_test.py SOURCE_DIR
"""

import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
TEST = re.compile(r"TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)")
KEY = re.compile(r"\[([a-z][a-z0-9-]*)\]")
# In a document a key stands between backquotes; in C it stands as it is, but not behind a name.
NAMED_IN_DOCUMENT = re.compile(r"`\[([a-z][a-z0-9-]*)\]`")
NAMED_IN_COMMENT = re.compile(r"(?<![\w\])])\[([a-z][a-z0-9-]*)\]")

faults = []


def text_of(path):
    return (source / path).read_text(encoding="utf-8")


def cautions():
    """The keys of the header's first comment, in order. Below its first heading every paragraph is
    a heading or has one."""
    comment = re.match(r"/\*\*\n(.*?) \*/\n", header, re.DOTALL).group(1)
    lines = [line[3:] for line in comment.splitlines()]
    first = next(i for i, line in enumerate(lines) if line.startswith("----"))
    paragraphs = "\n".join(lines[first - 1:]).split("\n\n")
    keys = []
    for paragraph in paragraphs:
        if "\n----" in paragraph:
            continue
        key = KEY.match(paragraph)
        if key:
            keys.append(key[1])
        else:
            faults.append(f"the header has a paragraph without a key: {paragraph.splitlines()[0]}")
    return keys


def rows():
    """The keys of the table, each with the tests of its row."""
    lines = [line for line in text_of("docs/cautions.md").splitlines() if line.startswith("| `[")]
    return [(NAMED_IN_DOCUMENT.search(line)[1], re.findall(r"`(\w+)\.(\w+)`", line))
            for line in lines]


def named_keys():
    """The keys that documents, examples and the comments of the functions name."""
    for path in ["README.md", *(f.relative_to(source) for f in source.glob("docs/*.md"))]:
        for key in NAMED_IN_DOCUMENT.findall(text_of(path)):
            yield path, key
    yield from (("the header", key) for key in NAMED_IN_COMMENT.findall(header))
    for path in [*source.glob("examples/*.c"), *source.glob("examples/*.h")]:
        for comment in re.findall(r"/\*.*?\*/", path.read_text(encoding="utf-8"), re.DOTALL):
            yield from ((path.name, key) for key in NAMED_IN_COMMENT.findall(comment))


header = text_of("include/vemra_app_stamp.h")
keys = cautions()
table = rows()
existing = {match for file in source.glob("tests/**/*.cpp")
            for match in TEST.findall(file.read_text(encoding="utf-8"))}

if len(keys) < 30:
    faults.append(f"only {len(keys)} cautions were found in the header")
if len(set(keys)) != len(keys):
    faults.append("two cautions of the header have one key")
if [key for key, _ in table] != keys:
    faults.append("the rows of docs/cautions.md are not the cautions of the header in their order: "
                  f"{sorted({key for key, _ in table} ^ set(keys))}")
for caution, tests in table:
    if not tests:
        faults.append(f"docs/cautions.md names no test of [{caution}]")
    faults += [f"docs/cautions.md names a test that does not exist: {suite}.{test}"
               for suite, test in tests if (suite, test) not in existing]
faults += [f"{path} names [{key}], which is no caution" for path, key in named_keys()
           if key not in keys]
before_shipping = text_of("README.md").split("## Before you ship\n")[1].split("\n## ")[0]
for item in re.findall(r"^- (?:.+\n)(?:  .+\n)*", before_shipping, re.MULTILINE):
    if not NAMED_IN_DOCUMENT.search(item):
        faults.append(f"README.md tells before shipping without a key: {item.splitlines()[0]}")
if " * Exceptions:" in header:
    faults.append("a function of the header has an exception rule of its own")

print("\n".join(faults))
sys.exit(bool(faults))
