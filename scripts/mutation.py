"""Makes small wrong changes to one area, one at a time, and tells which of them the tests do not notice.

The areas are src, softtoken and tool. Works in copies of the last commit under --work, one for each
job, never in the checkout. A run goes on where an earlier one over the same sources and tests
stopped; after a change of the sources or tests it tries again what may have another verdict now.
Exits 1 while a rule has fewer than 95 % noticed, a survivor that
docs/measured/mutation_explained.txt does not explain, or mutants that were not tried.

With --verdicts before and after a change of the tests, and one seed, --compare tells what became of
every change that was noticed: which test notices it now, where another did, and what none does. It
exits 1 when a change that was noticed is not noticed, or was not tried.
"""

import argparse
import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time
from collections import Counter, defaultdict
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

sys.dont_write_bytecode = True
from mutation_areas import AREAS, must_run, run  # noqa: E402
from mutation_results import kept_verdicts  # noqa: E402

root = Path(__file__).resolve().parent.parent
# A failure that does not happen again is chance; after so many the program counts as passed.
most_chances = 3
wanted_share = 0.95


def parse_arguments():
    parser = argparse.ArgumentParser(prog="scripts/mutate", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--area", choices=AREAS, default="src", help="what is changed (default src)")
    parser.add_argument("--work", type=Path, help="folder of the copies (default build/mutate/AREA)")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="copies (default one for each processor)")
    parser.add_argument("--minutes", type=float, default=float("inf"), help="stop after this time (default never)")
    parser.add_argument("--per-rule", type=int, default=25, help="most mutants of a rule (default 25)")
    parser.add_argument("--seed", type=int, default=0, help="which of them are drawn (default 0)")
    parser.add_argument("--rule", action="append", help="only this rule")
    parser.add_argument("--file", action="append", help="only files whose path begins so")
    parser.add_argument("--survivors", action="store_true", help="try the survivors again, and no others")
    parser.add_argument("--report", type=Path, help="write the area's part of this report, and do nothing else")
    parser.add_argument("--verdicts", type=Path, help="write each verdict, a line of JSON each, and do nothing else")
    parser.add_argument("--compare", nargs=2, type=Path, metavar=("OLD", "NEW"), help="compare two such files")
    parser.add_argument("--list", action="store_true", help="list the mutants, and do nothing else")
    arguments = parser.parse_args()
    arguments.work = arguments.work or root / "build" / "mutate" / arguments.area
    arguments.area = AREAS[arguments.area]
    for rule in arguments.rule or []:
        if rule not in arguments.area.rules:
            parser.error(f"no rule \"{rule}\"; there are: " + ", ".join(sorted(arguments.area.rules)))
    return arguments


def all_mutants(area):
    """Every change that a rule can make, each with a name that stays while its line's text stays."""
    mutants, seen = defaultdict(list), Counter()
    for path in sorted((root / area.folder).rglob("*.[ch]*")):
        if path.suffix not in (".cpp", ".h", ".c"):
            continue
        name = str(path.relative_to(root))
        text = subprocess.run(["git", "show", f"HEAD:{name}"], cwd=root, check=False,
                              stdout=subprocess.PIPE).stdout.decode()
        lines = text.split("\n")
        for rule, changes in area.rules.items():
            for one in changes(lines):
                old = lines[one.line : one.line + one.count]
                same = "\0".join([rule, name, *old, "", *one.new])
                key = f"{same}\0{seen[same]}"
                seen[same] += 1
                mutants[rule].append({"id": hashlib.sha256(key.encode()).hexdigest()[:12], "rule": rule,
                                      "file": name, "line": one.line, "old": old, "new": one.new})
    return mutants


def place_in_the_draw(mutant, seed):
    return hashlib.sha256(f"{seed} {mutant['id']}".encode()).hexdigest() if seed else mutant["id"]


def chosen_mutants(arguments):
    """The first mutants of each rule in an order that the seed gives, which is as good as drawn by lot
    and hardly changes with the sources."""
    chosen = []
    for rule, mutants in all_mutants(arguments.area).items():
        if arguments.rule and rule not in arguments.rule:
            continue
        mutants = [m for m in mutants if not arguments.file or m["file"].startswith(tuple(arguments.file))]
        mutants.sort(key=lambda mutant: place_in_the_draw(mutant, arguments.seed))
        chosen += mutants[: arguments.per_rule]
    # Rule by turns, so that a run that is cut short has tried some of each.
    order = defaultdict(int)
    for mutant in chosen:
        order[mutant["rule"]] += 1
        mutant["turn"] = order[mutant["rule"]]
    return sorted(chosen, key=lambda mutant: mutant["turn"])


def refresh(source):
    """Makes the folder hold the last commit, touching only the files that differ."""
    with tempfile.TemporaryDirectory() as fresh:
        archive = subprocess.run(["git", "archive", "HEAD"], cwd=root, stdout=subprocess.PIPE, check=True)
        subprocess.run(["tar", "-x", "-C", fresh], input=archive.stdout, check=True)
        for path in [path for path in Path(fresh).rglob("*") if path.is_file()]:
            target = source / path.relative_to(fresh)
            if not target.exists() or target.read_bytes() != path.read_bytes():
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(path, target)


class copy_of_the_sources:
    """A copy of the last commit, built, whose tests pass before anything is changed."""

    def __init__(self, area, folder, jobs):
        self.area, self.jobs = area, jobs
        # Where the preset builds, and as it does: a compiler's cache then has most of it.
        self.source, self.build = folder / "source", folder / "source/build/dev"
        refresh(self.source)
        # But each file is compiled by itself: few are changed.
        must_run(["cmake", "--preset", "dev", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON",
                  "-DCMAKE_UNITY_BUILD=OFF",
                  "-DCMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE=PRE_TEST", "-DVEMRA_BUILD_BENCH=OFF",
                  "-DVEMRA_BUILD_TESTS=ON", *area.options], self.source)
        must_run(self.build_command(area.build_targets), self.source)
        self.programs = area.programs(self.build, self.source)
        for program in self.programs:
            program.prepare(self.build)

    def build_command(self, targets):
        return ["cmake", "--build", self.build, "--parallel", str(self.jobs), "--target", *targets]

    def judge(self, mutant):
        """Tries one mutant and puts the source back."""
        path = self.source / mutant["file"]
        original = path.read_text()
        lines = original.split("\n")
        at, old = mutant["line"], mutant["old"]
        lines[at : at + len(old)] = mutant["new"]
        try:
            path.write_text("\n".join(lines))
            return self.verdict(self.area.first_of(path.relative_to(self.source), self.source))
        finally:
            path.write_text(original)

    def verdict(self, first):
        """The verdict, and the test that failed first."""
        shared = [] if any(program.targets for program in self.programs) else self.area.build_targets
        if shared and run(self.build_command(shared), self.source)[0] != 0:
            return "does not build", None
        order = list(first)
        for program in sorted(self.programs, key=lambda each: order.index(each.name) if each.name in order else 99):
            if program.targets and run(self.build_command(program.targets), self.source)[0] != 0:
                return "does not build", None
            test = self.failing_test(program, first.get(program.name, []))
            if test:
                return f"noticed by {program.name}", test
        return "survived", None

    def failing_test(self, program, first):
        for _ in range(most_chances):
            test = program.first_failure(self.build, first)
            if not test or program.fails(self.build, test):
                return test
        return None


def verdicts_of(arguments):
    return kept_verdicts(root, arguments.area, arguments.work / "results.jsonl")


def waiting_mutants(arguments, mutants, verdicts):
    if arguments.survivors:
        last = verdicts.last()
        return [m for m in mutants if last.get(m["id"], {}).get("verdict") == "survived"]
    known = verdicts.known(mutants)
    return [m for m in mutants if m["id"] not in known]


class queue_of_mutants:
    """Hands them out to the copies and keeps the verdicts."""

    def __init__(self, arguments, mutants, verdicts):
        self.mutants, self.verdicts = iter(mutants), verdicts
        self.end = time.monotonic() + arguments.minutes * 60
        self.lock = threading.Lock()

    def next(self):
        with self.lock:
            return None if time.monotonic() > self.end else next(self.mutants, None)

    def try_in(self, sources):
        while (mutant := self.next()) is not None:
            began = time.monotonic()
            verdict, test = sources.judge(mutant)
            self.verdicts.keep(mutant, verdict, test, time.monotonic() - began)


def try_mutants(arguments, mutants):
    verdicts = verdicts_of(arguments)
    waiting = waiting_mutants(arguments, mutants, verdicts)
    if not waiting:
        return
    arguments.work.mkdir(parents=True, exist_ok=True)
    jobs = range(min(arguments.jobs, len(waiting)))
    copies = [copy_of_the_sources(arguments.area, arguments.work / str(number), arguments.jobs) for number in jobs]
    queue = queue_of_mutants(arguments, waiting, verdicts)
    with ThreadPoolExecutor(len(copies)) as workers:
        for done in [workers.submit(queue.try_in, copy) for copy in copies]:
            done.result()


def read_explanations():
    """By rule, file, changed line and what it became, as they are shown: why no test can notice it."""
    explanations = {}
    path = root / "docs/measured/mutation_explained.txt"
    for line in path.read_text().splitlines():
        if line.strip() and not line.startswith("#"):
            rule, file, old, new, reason = [part.strip() for part in line.split(" | ", 4)]
            explanations[(rule, file, old, new)] = reason
    return explanations


def new_text(mutant):
    return " ".join(line.strip() for line in mutant["new"]) or "nothing"


def explanation_of(mutant, explanations):
    return explanations.get((mutant["rule"], mutant["file"], mutant["old"][0].strip(), new_text(mutant)))


def summarise(arguments, mutants):
    """Per rule: how many were tried, noticed and not tried, and the survivors."""
    results = verdicts_of(arguments).known(mutants)
    rows = {}
    for mutant in mutants:
        row = rows.setdefault(mutant["rule"], {"tried": 0, "noticed": 0, "waiting": 0, "survivors": [],
                                               "commits": set()})
        if mutant["id"] not in results:
            row["waiting"] += 1
            continue
        result = results[mutant["id"]]
        row["commits"].add(result["commit"])
        if result["verdict"] == "does not build":
            continue
        row["tried"] += 1
        if result["verdict"] == "survived":
            row["survivors"].append(mutant)
        else:
            row["noticed"] += 1
    return rows


introduction = """# Mutation

`scripts/mutate --area AREA` makes small wrong changes to `src/`, `softtoken/` or `tool/`, a choice for each
rule that the seed fixes, one at a time, and asks the tests of that area. This is the last result of each,
written by `scripts/mutate --area AREA --report docs/measured/mutation.md`. The reasons are kept in
`docs/measured/mutation_explained.txt`. At least 95 % noticed is the limit for each rule of each area.
Changes that do not build are not counted, and those that are none by construction are not made: a dropped
`va_end`, which the compilers turn into nothing, two exchanged returns whose conditions exclude each other,
and two exchanged assignments or copies that neither name what the other sets nor call anything that could
fail or be seen. A change that was noticed counts for later commits while its file and the test that noticed
it stay as they were; all others are tried again.
"""


def write_report(arguments, text):
    """Replaces the part of the area, and leaves the others."""
    found = arguments.report.read_text() if arguments.report.exists() else ""
    parts = {name: body for name, body in re.findall(r"^## (\w+)/\n(.*?)(?=^## |\Z)", found, re.M | re.S)}
    parts[arguments.area.name] = "\n" + text
    arguments.report.write_text(introduction + "".join(
        f"\n## {name}/\n{parts[name].rstrip()}\n" for name in AREAS if name in parts))


def report(arguments, rows, explanations):
    commits = sorted(set().union(*(row["commits"] for row in rows.values())))
    waiting = sum(row["waiting"] for row in rows.values())
    tried = "tried at commit " + ", ".join(commits) if commits else "no run yet"
    yield (f"At most {arguments.per_rule} of each rule, seed {arguments.seed}, {tried}; " +
           (f"{waiting} were not tried.\n" if waiting else "none was left out.\n"))
    if arguments.area.never_asked:
        never = ", ".join(f"`{test}`" for test in arguments.area.never_asked)
        yield f"Not asked, since they fail by chance on a busy machine: {never}.\n"
    yield "| Rule | Tried | Noticed | Share | Survived, explained | Survived | Not tried |"
    yield "|---|---:|---:|---:|---:|---:|---:|"
    for rule, row in sorted(rows.items()):
        yield table_line(rule, row, explanations)
    everything = {name: sum(row[name] for row in rows.values()) for name in ("tried", "noticed", "waiting")}
    everything["survivors"] = [m for _, row in sorted(rows.items()) for m in row["survivors"]]
    yield table_line("all", everything, explanations) + "\n"
    bad = sorted(rule for rule, row in rows.items() if row["noticed"] < wanted_share * row["tried"])
    if bad:
        yield "Below the limit: " + ", ".join(bad) + ".\n"
    if not everything["tried"]:
        yield "Nothing is known yet of what survives."
        return
    yield "### Survivors\n" if everything["survivors"] else "No mutant survived."
    for mutant in everything["survivors"]:
        yield (f"- {mutant['rule']}, `{mutant['file']}`: `{mutant['old'][0].strip()}` became "
               f"`{new_text(mutant)}`. " + (explanation_of(mutant, explanations) or "Not explained."))


def table_line(rule, row, explanations):
    explained = sum(1 for m in row["survivors"] if explanation_of(m, explanations))
    share = f"{row['noticed'] / row['tried']:.1%}" if row["tried"] else ""
    return (f"| {rule} | {row['tried']} | {row['noticed']} | {share} | "
            f"{explained} | {len(row['survivors']) - explained} | {row['waiting']} |")


def is_good(row, explanations):
    return (row["waiting"] == 0 and row["tried"] > 0 and row["noticed"] >= wanted_share * row["tried"] and
            all(explanation_of(mutant, explanations) for mutant in row["survivors"]))


def write_verdicts(arguments, mutants):
    """A line of JSON for each: what was changed, the verdict, and the test that failed first."""
    known = verdicts_of(arguments).known(mutants)
    names = ("id", "rule", "file", "line", "old", "new")
    with arguments.verdicts.open("w") as file:
        for mutant in mutants:
            result = known.get(mutant["id"], {})
            told = {name: mutant[name] for name in names}
            told |= {"area": arguments.area.name, "seed": arguments.seed,
                     "verdict": result.get("verdict", "not tried"), "test": result.get("test")}
            file.write(json.dumps(told) + "\n")


def is_noticed(told):
    return told is not None and told["verdict"].startswith("noticed")


def compare(old_path, new_path):
    """True when all that was noticed still is; tells, for each test that was the first, which is now."""
    old, new = ({told["id"]: told for told in map(json.loads, path.read_text().splitlines())}
                for path in (old_path, new_path))
    lost, instead = [], defaultdict(Counter)
    for name, was in old.items():
        if not is_noticed(was):
            continue
        now = new.get(name)
        if not is_noticed(now):
            lost.append((was, now["verdict"] if now else "not drawn"))
        elif now["test"] != was["test"]:
            instead[was["test"]][now["test"]] += 1
    noticed = sum(map(is_noticed, old.values()))
    print(f"{noticed} were noticed, {noticed - len(lost)} still are; for {len(instead)} tests another one is the "
          "first to fail.")
    for test, others in sorted(instead.items()):
        print(f"{test}: now " + ", ".join(f"{other} ({count})" for other, count in sorted(others.items())))
    for was, verdict in lost:
        print(f"LOST {was['id']} {was['rule']}, {was['file']}: {was['old'][0].strip()} -> {new_text(was)}: "
              f"was noticed by {was['test']}, is {verdict}")
    return not lost and noticed > 0


def main():
    arguments = parse_arguments()
    if arguments.compare:
        return 0 if compare(*arguments.compare) else 1
    mutants = chosen_mutants(arguments)
    if arguments.list:
        for mutant in mutants:
            print(f"{mutant['rule']:<18} {mutant['file']}:{mutant['line'] + 1}: {mutant['old'][0].strip()} -> "
                  f"{new_text(mutant)}")
        return 0
    if arguments.verdicts:
        write_verdicts(arguments, mutants)
        return 0
    if not arguments.report:
        try_mutants(arguments, mutants)
    rows, explanations = summarise(arguments, mutants), read_explanations()
    text = "\n".join(report(arguments, rows, explanations)) + "\n"
    if arguments.report:
        write_report(arguments, text)
    else:
        print(text)
    return 0 if all(is_good(row, explanations) for row in rows.values()) else 1


if __name__ == "__main__":
    sys.exit(main())
