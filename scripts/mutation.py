"""Makes small wrong changes to src/, one at a time, and tells which of them the tests do not notice.

Works in copies of the last commit under --work, one for each processor, never in the checkout. A run
goes on where an earlier one over the same sources and tests stopped. Exits 1 while a rule has fewer
than 95 % noticed, a survivor that docs/measured/mutation_explained.txt does not explain, or mutants
that were not tried.
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
from collections import defaultdict
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

sys.dont_write_bytecode = True
from mutation_rules import RULES  # noqa: E402

root = Path(__file__).resolve().parent.parent
# The fast test programs with their folders, in the order in which they are asked, after the one that
# the changed layer, or file, has for itself.
programs = {"api_tests": "api", "core_tests": "core", "vemra_crypto_cpp_tests": "vemra_crypto_cpp",
            "base_tests": "base", "model_tests": "model"}
own_programs = {"base": "base_tests", "vemra_crypto_cpp": "vemra_crypto_cpp_tests", "core": "core_tests",
                "VEMRA_APP_STAMP.cpp": "api_tests"}
# Fast to compile, and a wrong use of the standard library ends the test.
compiler_flags = "-O0 -D_GLIBCXX_ASSERTIONS"
test_seconds = 120
# A change can make a loop endless, which may fill the memory or print for ever.
test_address_space = 4 << 30
wanted_share = 0.95


def parse_arguments():
    parser = argparse.ArgumentParser(prog="scripts/mutate", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--work", type=Path, default=root / "build" / "mutate", help="folder of the copies")
    parser.add_argument("--minutes", type=float, default=float("inf"), help="stop after this time (default never)")
    parser.add_argument("--per-rule", type=int, default=25, help="most mutants of a rule (default 25)")
    parser.add_argument("--rule", action="append", choices=sorted(RULES), help="only this rule")
    parser.add_argument("--survivors", action="store_true", help="try the survivors again, and no others")
    parser.add_argument("--report", type=Path, help="write the result so far there, and do nothing else")
    parser.add_argument("--list", action="store_true", help="list the mutants, and do nothing else")
    return parser.parse_args()


def run(command, cwd):
    """The exit status and output of a command."""
    done = subprocess.run(command, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    return done.returncode, done.stdout.decode(errors="replace")


def must_run(command, cwd):
    status, output = run(command, cwd)
    if status != 0:
        sys.exit(f"{' '.join(map(str, command))} failed:\n{output[-3000:]}")


def revision(*names):
    """What git calls these objects of the last commit."""
    status, output = run(["git", "rev-parse", "--short", *names], root)
    return output.strip() if status == 0 else sys.exit(output)


def tried_sources():
    """Changes whenever a verdict could."""
    return " ".join(revision(f"HEAD:{folder}") for folder in ("src", "tests", "device_library", "include"))


def all_mutants():
    """Every change that a rule can make, each with a name that stays while its line stays."""
    mutants = defaultdict(list)
    for path in sorted((root / "src").rglob("*.[ch]*")):
        if path.suffix not in (".cpp", ".h"):
            continue
        text = subprocess.run(["git", "show", f"HEAD:{path.relative_to(root)}"], cwd=root, check=False,
                              stdout=subprocess.PIPE).stdout.decode()
        lines = text.split("\n")
        for rule, changes in RULES.items():
            for one in changes(lines):
                old = lines[one.line : one.line + one.count]
                key = "\0".join([rule, str(path.relative_to(root)), str(one.line), *old, "", *one.new])
                mutants[rule].append({
                    "id": hashlib.sha256(key.encode()).hexdigest()[:12], "rule": rule,
                    "file": str(path.relative_to(root)), "line": one.line, "old": old, "new": one.new})
    return mutants


def chosen_mutants(arguments):
    """The first mutants of each rule in the order of their names, which is as good as drawn by lot and
    hardly changes with the sources."""
    chosen = []
    for rule, mutants in all_mutants().items():
        if arguments.rule and rule not in arguments.rule:
            continue
        chosen += sorted(mutants, key=lambda mutant: mutant["id"])[: arguments.per_rule]
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

    def __init__(self, folder):
        self.source, self.build = folder / "source", folder / "build"
        refresh(self.source)
        must_run(["cmake", "--preset", "dev", "-B", self.build, "-DCMAKE_BUILD_TYPE=Debug",
                  "-DVEMRA_WARNINGS_AS_ERRORS=OFF", "-DCMAKE_LINK_DEPENDS_NO_SHARED=ON",
                  "-DVEMRA_BUILD_SOFTTOKEN=OFF", "-DVEMRA_BUILD_TOOL=OFF", "-DVEMRA_BUILD_BENCH=OFF",
                  f"-DCMAKE_CXX_FLAGS_DEBUG={compiler_flags}"], self.source)
        self.alone = {}
        for name in programs:
            must_run(self.build_command(name), self.source)
            self.alone[name] = self.failing_tests(name)
            if not self.passes(name):
                sys.exit(f"{name} fails before anything is changed")

    def build_command(self, target):
        return ["cmake", "--build", self.build, "--parallel", str(os.cpu_count()), "--target", target]

    def test_command(self, name, *arguments):
        return ["prlimit", f"--as={test_address_space}", self.build / "tests" / programs[name] / name,
                "--gtest_brief=1", *arguments]

    def failing_tests(self, name):
        """Tests that fail behind others in one process, where uuids stay known; alone they pass."""
        output = run(self.test_command(name), self.build)[1]
        return sorted(set(re.findall(r"^\[  FAILED  \] (\w+\.\w+)", output, re.M)))

    def succeeds(self, name, *arguments):
        """A time-out counts as a failure."""
        try:
            done = subprocess.run(self.test_command(name, *arguments), cwd=self.build, timeout=test_seconds,
                                  stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
            return done.returncode == 0
        except subprocess.TimeoutExpired:
            return False

    def passes(self, name):
        others = "--gtest_filter=-" + ":".join(self.alone[name])
        return self.succeeds(name, "--gtest_fail_fast", others) and all(
            self.succeeds(name, "--gtest_filter=" + test) for test in self.alone[name])

    def judge(self, mutant):
        """Tries one mutant and puts the source back."""
        path = self.source / mutant["file"]
        original = path.read_text()
        lines = original.split("\n")
        at, old = mutant["line"], mutant["old"]
        lines[at : at + len(old)] = mutant["new"]
        try:
            path.write_text("\n".join(lines))
            return self.verdict(own_programs.get(path.name) or own_programs[path.parent.name])
        finally:
            path.write_text(original)

    def verdict(self, own_program):
        for name in [own_program] + [name for name in programs if name != own_program]:
            if run(self.build_command(name), self.source)[0] != 0:
                return "does not build"
            if not self.passes(name):
                return f"noticed by {name}"
        return "survived"


def results_file(arguments):
    return arguments.work / "results.jsonl"


def read_results(arguments):
    """The last verdict on each mutant of these sources."""
    results = {}
    if results_file(arguments).exists():
        sources = tried_sources()
        for line in results_file(arguments).read_text().splitlines():
            result = json.loads(line)
            if result["sources"] == sources:
                results[result["id"]] = result
    return results


def waiting_mutants(arguments, mutants, verdict="not tried"):
    known = read_results(arguments)
    return [m for m in mutants if known.get(m["id"], {}).get("verdict", "not tried") == verdict]


class queue_of_mutants:
    """Hands them out to the copies and keeps the verdicts."""

    def __init__(self, arguments, mutants):
        self.mutants = iter(mutants)
        self.end = time.monotonic() + arguments.minutes * 60
        self.results = results_file(arguments)
        self.tried_at = {"commit": revision("HEAD"), "sources": tried_sources()}
        self.lock = threading.Lock()

    def next(self):
        with self.lock:
            return None if time.monotonic() > self.end else next(self.mutants, None)

    def keep(self, mutant, verdict):
        mutant.update(self.tried_at, verdict=verdict)
        with self.lock, self.results.open("a") as results:
            print(f"{verdict:<32} {mutant['rule']:<18} {mutant['file']}:{mutant['line'] + 1}", flush=True)
            results.write(json.dumps(mutant) + "\n")

    def try_in(self, sources):
        while (mutant := self.next()) is not None:
            self.keep(mutant, sources.judge(mutant))


def try_mutants(arguments, mutants):
    waiting = waiting_mutants(arguments, mutants, "survived" if arguments.survivors else "not tried")
    if not waiting:
        return
    copies = [copy_of_the_sources(arguments.work / str(number)) for number in range(os.cpu_count())]
    queue = queue_of_mutants(arguments, waiting)
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
    results = read_results(arguments)
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


def report(arguments, rows, explanations):
    commits = sorted(set().union(*(row["commits"] for row in rows.values())))
    yield "# Mutation\n"
    yield ("`scripts/mutate` makes small wrong changes to `src/`, a fixed choice for each rule, one at a time, "
           "and runs\n" + ", ".join(f"`{name}`" for name in programs) + " over each.\nThis is its last "
           "result, written by `scripts/mutate --report docs/measured/mutation.md`. The reasons are kept in\n"
           "`docs/measured/mutation_explained.txt`. Changes that do not build are not counted, and those that "
           "are none\nby construction are not made: a dropped `va_end`, which the compilers turn into nothing, two exchanged "
           "returns whose\nconditions exclude each other, and two exchanged assignments or copies that neither name what "
           "the other sets nor\ncall anything that could fail or be seen.\n")
    waiting = sum(row["waiting"] for row in rows.values())
    yield (f"At most {arguments.per_rule} of each rule, tried at commit " + ", ".join(commits) + "; " +
           (f"{waiting} were not tried.\n" if waiting else "none was left out.\n"))
    yield "| Rule | Tried | Noticed | Share | Survived, explained | Survived |"
    yield "|---|---:|---:|---:|---:|---:|"
    for rule, row in sorted(rows.items()):
        yield table_line(rule, row, explanations)
    everything = {"tried": sum(row["tried"] for row in rows.values()),
                  "noticed": sum(row["noticed"] for row in rows.values()),
                  "survivors": [m for _, row in sorted(rows.items()) for m in row["survivors"]]}
    yield table_line("all", everything, explanations) + "\n"
    yield "## Survivors\n" if everything["survivors"] else "No mutant survived."
    for mutant in everything["survivors"]:
        yield (f"- {mutant['rule']}, `{mutant['file']}`: `{mutant['old'][0].strip()}` became "
               f"`{new_text(mutant)}`. " + (explanation_of(mutant, explanations) or "Not explained."))


def table_line(rule, row, explanations):
    explained = sum(1 for m in row["survivors"] if explanation_of(m, explanations))
    share = f"{row['noticed'] / row['tried']:.1%}" if row["tried"] else ""
    return (f"| {rule} | {row['tried']} | {row['noticed']} | {share} | "
            f"{explained} | {len(row['survivors']) - explained} |")


def is_good(row, explanations):
    return (row["waiting"] == 0 and row["tried"] > 0 and row["noticed"] >= wanted_share * row["tried"] and
            all(explanation_of(mutant, explanations) for mutant in row["survivors"]))


def main():
    arguments = parse_arguments()
    mutants = chosen_mutants(arguments)
    if arguments.list:
        for mutant in mutants:
            print(f"{mutant['rule']:<18} {mutant['file']}:{mutant['line'] + 1}: {mutant['old'][0].strip()} -> "
                  f"{new_text(mutant)}")
        return 0
    if not arguments.report:
        try_mutants(arguments, mutants)
    rows, explanations = summarise(arguments, mutants), read_explanations()
    text = "\n".join(report(arguments, rows, explanations)) + "\n"
    if arguments.report:
        arguments.report.write_text(text)
    else:
        print(text)
    return 0 if all(is_good(row, explanations) for row in rows.values()) else 1


if __name__ == "__main__":
    sys.exit(main())
