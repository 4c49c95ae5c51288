#!/usr/bin/env python3
"""Tells where includes go in a circle, and where one between the tool's rooms points up.

scripts/includes.py circles FOLDER... | rooms FOLDER

A header and the source of its name are one thing: whoever includes the header leans on both. One line
for each violation; ends with 1 when there is any.
"""

import re
import sys
from pathlib import Path

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.MULTILINE)

# What each room of tool/ may use beside itself; all may use the basics. "device_module/stamp" and the
# like is one file of a room.
BELOW = {
    "basics": [],
    "files": [],
    "picture": [],
    "terminal": [],
    "keep": ["files", "picture", "device_module/stamp", "device_module/tokens"],
    "commands": ["keep", "files", "picture", "terminal", "device_module/stamp"],
    "serve": ["keep", "files", "picture", "device_module/stamp"],
    "device_module": [],
    "main": ["commands", "keep"],
}
# Only the session reaches tokens: through these anybody could write without being authorised.
SESSION_ONLY = {"keep/loader": ["keep/session", "keep/loader"]}


def things(folder):
    """Each thing of a folder, as "room/name", with the things of the same folder that it includes."""
    found = {}
    for path in sorted(folder.rglob("*")):
        if path.suffix not in (".h", ".c", ".cpp"):
            continue
        thing = str(path.relative_to(folder).with_suffix(""))
        for name in INCLUDE.findall(path.read_text()):
            if (folder / name).is_file():
                found.setdefault(thing, set()).add(str(Path(name).with_suffix("")))
        found.setdefault(thing, set())
    return {thing: sorted(used - {thing}) for thing, used in found.items()}


def circles(graph):
    """One circle through each thing that is in any, each circle told once."""
    told = set()
    for start in graph:
        came_from, waiting = {}, [start]
        while waiting and start not in came_from:
            thing = waiting.pop(0)
            for used in graph.get(thing, []):
                if used not in came_from:
                    came_from[used] = thing
                    waiting.append(used)
        if start not in came_from:
            continue
        way = [start]
        while came_from[way[-1]] != start:
            way.append(came_from[way[-1]])
        if frozenset(way) not in told:
            told.add(frozenset(way))
            yield " -> ".join([start, *reversed(way)])


def may_use(thing, used):
    room, other = thing.split("/")[0], used.split("/")[0]
    if used in SESSION_ONLY:
        return thing in SESSION_ONLY[used]
    return other in (room, "basics") and room in BELOW or any(
        used == one or other == one for one in BELOW.get(room, []))


def main():
    if len(sys.argv) < 3 or sys.argv[1] not in ("circles", "rooms"):
        sys.exit(__doc__)
    violations = []
    for folder in map(Path, sys.argv[2:]):
        graph = things(folder)
        if not graph:
            violations.append(f"there are no sources in {folder}")
        if sys.argv[1] == "circles":
            violations += [f"{folder} includes in a circle: {way}" for way in circles(graph)]
            continue
        violations += [f"{folder}/{thing} may not use {used}" for thing in graph
                       for used in graph[thing] if not may_use(thing, used)]
    print("\n".join(violations))
    sys.exit(1 if violations else 0)


if __name__ == "__main__":
    main()
