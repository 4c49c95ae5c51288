"""The verdicts of scripts/mutate: kept from run to run, and which of them still count.

What was noticed counts for later commits while its file and the test that noticed it stay as they
were. Any other verdict counts for the sources and tests that it was found with, and no longer.
"""

import functools
import hashlib
import json
import re
import subprocess
import sys
import threading


def digest(text):
    return hashlib.sha256(text.encode()).hexdigest()[:12]


def text_of_test(name, texts):
    """The lines of a test, of GoogleTest's or Python's, in the texts of all tests; empty when it is not there."""
    suite, _, last = name.rpartition(".")
    found = re.search(rf"^TEST\w*\({re.escape(suite)},\s*{re.escape(last)}\) {{.*?^}}"
                      rf"|^    def {re.escape(last)}\(.*?(?=^    def |^    @|^\S|\Z)", texts, re.M | re.S)
    return found[0].rstrip() if found else ""


class kept_verdicts:
    """In a file of lines of JSON. Its names of commits and files are those of the last commit."""

    def __init__(self, root, area, file):
        self.root, self.area, self.file = root, area, file
        self.lock = threading.Lock()
        self.sources = " ".join(self.revision(f"HEAD:{folder}") for folder in area.verdict_depends_on)
        self.commit = self.revision("HEAD")

    def git(self, *arguments):
        done = subprocess.run(["git", *arguments], cwd=self.root, check=False, capture_output=True)
        if done.returncode != 0:
            sys.exit(done.stderr.decode())
        return done.stdout.decode(errors="replace")

    @functools.lru_cache(maxsize=None)
    def revision(self, name):
        """What git calls this object."""
        return self.git("rev-parse", "--short", name).strip()

    @functools.lru_cache(maxsize=None)
    def texts_of_tests(self):
        folders = [folder for folder in self.area.verdict_depends_on if folder.startswith("tests")]
        names = self.git("ls-tree", "-r", "--name-only", "HEAD", "--", *folders).splitlines()
        return "\n".join(self.git("show", f"HEAD:{name}") for name in names if name.endswith((".cpp", ".h", ".py")))

    @functools.lru_cache(maxsize=None)
    def test_digest(self, name):
        return digest(text_of_test(name, self.texts_of_tests()))

    def counts(self, result):
        if result["sources"] == self.sources:
            return True
        return (result["verdict"].startswith("noticed") and
                result.get("file_was") == self.revision(f"HEAD:{result['file']}") and
                result.get("test_was") == self.test_digest(result["test"]) != digest(""))

    def last(self):
        """The last verdict on each mutant, of whatever sources."""
        results = {}
        if self.file.exists():
            for line in self.file.read_text().splitlines():
                result = json.loads(line)
                results[result["id"]] = result
        return results

    def known(self, mutants):
        """The verdicts on those mutants that still count."""
        last = self.last()
        return {one["id"]: last[one["id"]] for one in mutants if one["id"] in last and self.counts(last[one["id"]])}

    def keep(self, mutant, verdict, test, seconds):
        told = {**mutant, "commit": self.commit, "sources": self.sources, "verdict": verdict, "test": test,
                "file_was": self.revision(f"HEAD:{mutant['file']}"), "test_was": self.test_digest(test or ""),
                "seconds": round(seconds, 1)}
        with self.lock, self.file.open("a") as results:
            print(f"{verdict:<28} {mutant['rule']:<18} {mutant['file']}:{mutant['line'] + 1} "
                  f"{test or ''} {seconds:.0f} s", flush=True)
            results.write(json.dumps(told) + "\n")
