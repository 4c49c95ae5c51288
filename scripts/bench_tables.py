"""Renews the measured tables of a document: bench_tables.py RESULTS DOCUMENT

RESULTS is the folder that scripts/bench fills. A table stands between the lines
"<!-- measured: NAME -->" and "<!-- end -->", which stay.
"""

import pathlib
import re
import sys

KIB = 1024
SIZES = {4 * KIB: "4 KiB", 64 * KIB: "64 KiB", 256 * KIB: "256 KiB",
         KIB * KIB: "1 MiB", 16 * KIB * KIB: "16 MiB"}  # fmt: skip


def rows_of(path):
    return [line.split("\t") for line in path.read_text().splitlines()]


def microseconds(text):
    """Three digits tell all that the measurement does."""
    value = float(text)
    if value >= 100:
        return f"{value:,.0f}".replace(",", " ")
    return f"{value:.1f}" if value >= 10 else f"{value:.2f}"


def table(head, rows):
    lines = ["| " + " | ".join(cells) + " |" for cells in [head, *rows]]
    return [lines[0], "|" + "---|" * len(head), *lines[1:]]


def ratio_table(rows):
    """One line an operation: its ratios at all sizes, and its times at the two smallest."""
    operations = list(dict.fromkeys(row[0] for row in rows))
    sizes = sorted({int(row[1]) for row in rows})
    found = {(row[0], int(row[1])): row for row in rows}
    head = ["operation", *(SIZES[size] for size in sizes)]
    lines = []
    for operation in operations:
        small = [found[operation, size] for size in sizes[:2]]
        lines.append([operation, *(f"{float(found[operation, size][2]):.2f}" for size in sizes),
                      *(f"{microseconds(row[3])} / {microseconds(row[4])}" for row in small)])
    return table([*head, *(f"µs at {SIZES[size]}, library / floor" for size in sizes[:2])], lines)


def growth_table(rows):
    measured = [row for row in rows if len(row) == 5]
    notes = [f"{row[1]} {row[0]}: {row[2]} KiB." for row in rows if len(row) == 3]
    lines = [[what, amount, microseconds(library), microseconds(floor), f"{float(of_first):.2f}"]
             for what, amount, library, floor, of_first in measured]
    head = ["what grows", "to", "µs, library", "µs, floor", "for one, against the first"]
    return [*table(head, lines), "", *notes]


def token_table(rows):
    times = [row for row in rows if int(row[1]) in SIZES]
    notes = [f"{row[1]} {row[0]}: {row[2]} KiB." for row in rows if row not in times]
    sizes = sorted({int(row[1]) for row in times})
    lines = []
    for operation in dict.fromkeys(row[0] for row in times):
        own = {int(row[1]): row for row in times if row[0] == operation}
        lines.append([operation, *(microseconds(own[size][2]) for size in sizes)])
        if len(own[sizes[0]]) > 3:
            lines.append(["the floor of that", *(microseconds(own[size][3]) for size in sizes)])
    return [*table(["microseconds", *(SIZES[size] for size in sizes)], lines), "", *notes]


def main(results, document):
    blocks = {
        "conditions": (results / "conditions").read_text().splitlines(),
        "memory": ratio_table(rows_of(results / "memory.ratios")),
        "softtoken": ratio_table(rows_of(results / "softtoken.ratios")),
        "growth": growth_table(rows_of(results / "growth.rows")),
        "tokens": token_table(rows_of(results / "token.rows")),
    }
    text = document.read_text()
    for name, lines in blocks.items():
        place = re.compile(rf"(<!-- measured: {name} -->\n).*?(<!-- end -->)", re.DOTALL)
        text, times = place.subn(lambda found: found[1] + "\n".join(lines) + "\n" + found[2], text)
        if times != 1:
            sys.exit(f"bench_tables: {document} has no place for \"{name}\"")
    document.write_text(text)


main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]))
