"""What a power cut could take from what a command left, as the trace of its system calls tells."""

import os
import pathlib
import re
import shutil
import subprocess
import unittest

CALLS = ("openat,open,creat,write,pwrite64,writev,sendfile,copy_file_range,ftruncate,fsync,fdatasync,syncfs,rename,"
         "renameat,renameat2,link,linkat,unlink,unlinkat,mkdir,mkdirat,rmdir,symlink,symlinkat")
# What keeps nothing beyond a run: locks, SQLite's index, and journals, whose removal a cut may undo:
# they are then taken in, or found finished. The same holds for what was kept for recovery.
PASSING = re.compile(r"(\.lock|-shm)$")
UNDOABLE = re.compile(r"(\.lock|-shm|-wal|-journal|/recovery/.*)$")


CAP_SYS_PTRACE = 19


def may_trace_anybody():
    """Whether programs can be traced that let their own user not do it."""
    status = pathlib.Path("/proc/self/status").read_text()
    capabilities = int(re.search(r"^CapEff:\s*([0-9a-f]+)$", status, re.MULTILINE)[1], 16)
    return bool(capabilities >> CAP_SYS_PTRACE & 1)


def require_tracing():
    if shutil.which("strace") is None:
        raise unittest.SkipTest("there is no strace")
    done = subprocess.run(["strace", "-f", "-o", "/dev/null", "true"], capture_output=True, check=False)
    if done.returncode != 0:
        raise unittest.SkipTest("tracing is not permitted here")


class Disk:
    """Follows one trace under a folder. `unsafe` is what is not on the disk for good."""

    def __init__(self, folder):
        self.folder = str(folder)
        self.bytes_of = set()   # files with bytes that are not synchronised
        self.names_of = {}      # directories with names that are not synchronised
        self.findings = []
        self.synchronised = set()

    def is_inside(self, path):
        return path.startswith(self.folder)

    def name_changed(self, path, is_removed=False):
        directory, name = os.path.split(path)
        hidden = os.path.relpath(path, self.folder).split("/")
        # A draft that is thrown away has no name that counts.
        if is_removed and any(part.startswith(".") for part in hidden):
            return
        if PASSING.search(name) or (is_removed and UNDOABLE.search(path)):
            return
        self.names_of.setdefault(directory, set()).add(name)

    def renamed(self, old, new):
        for waiting in sorted(self.bytes_of):
            if waiting == old or waiting.startswith(old + "/"):
                self.findings.append(f"{new} got its name before its bytes were synchronised")
        self.bytes_of = {self.moved(path, old, new) for path in self.bytes_of}
        self.names_of = {self.moved(path, old, new): names for path, names in self.names_of.items()}
        if self.names_of.get(new):
            self.findings.append(f"{new} got its name before those in it were synchronised")
        self.names_of.get(os.path.dirname(old), set()).discard(os.path.basename(old))
        self.name_changed(new)

    @staticmethod
    def moved(path, old, new):
        return new + path[len(old):] if path == old or path.startswith(old + "/") else path

    def removed(self, path):
        self.bytes_of.discard(path)
        self.names_of.get(os.path.dirname(path), set()).discard(os.path.basename(path))
        self.names_of.pop(path, None)
        self.name_changed(path, is_removed=True)

    def follow(self, line):
        match = re.match(r"(?:\d+ +)?(\w+)\((.*)\)\s+= (-?\w+)(?:<(.*)>)?", line)
        if not match or match[3].startswith("-1"):
            return
        call, arguments, opened = match[1], match[2], match[4]
        descriptor = re.match(r"\d+<([^>]*)>", arguments)
        named = [path if path.startswith("/") else f"{base}/{path}" for base, path in
                 re.findall(r'(?:(?:AT_FDCWD|\d+)<([^>]*)>, )?"((?:[^"\\]|\\.)*)"', arguments)]
        if call.startswith("open") or call == "creat":
            if opened and self.is_inside(opened) and ("O_CREAT" in arguments or call == "creat"):
                self.name_changed(opened)
            if opened and self.is_inside(opened) and "O_TRUNC" in arguments:
                self.bytes_of.add(opened)
        elif call in ("fsync", "fdatasync"):
            self.bytes_of.discard(descriptor[1])
            self.names_of.pop(descriptor[1], None)
            self.synchronised.add(os.path.relpath(descriptor[1], self.folder))
        elif call.startswith("rename") and self.is_inside(named[1]):
            self.renamed(named[0], named[1])
        elif call.startswith(("unlink", "rmdir")) and self.is_inside(named[0]):
            self.removed(named[0])
        elif call.startswith("mkdir") and self.is_inside(named[0]):
            self.name_changed(named[0])
        elif call.startswith(("link", "symlink")) and self.is_inside(named[-1]):
            self.name_changed(named[-1])
        elif descriptor and self.is_inside(descriptor[1]) and not PASSING.search(descriptor[1]):
            self.bytes_of.add(descriptor[1])

    def unsafe(self):
        """What is not synchronised at the end, and what got its name too early."""
        undone = [f"the bytes of {path}" for path in sorted(self.bytes_of) if not UNDOABLE.search(path)]
        names = [f"the name {directory}/{name}" for directory, all_names in sorted(self.names_of.items())
                 for name in sorted(all_names)]
        return [text.replace(self.folder, "") for text in self.findings + undone + names]


def trace(folder, command, environment, **more):
    """Runs a command; gives what it left on the disk and the finished process."""
    record = pathlib.Path(folder).parent / (pathlib.Path(folder).name + ".trace")
    try:
        done = subprocess.run(["strace", "-f", "-y", "-s", "1000", "-e", "trace=" + CALLS, "-o", record, *map(str, command)],
                              env=environment, capture_output=True, timeout=300, check=False, **more)
        disk = Disk(folder)
        for line in record.read_text(errors="replace").splitlines():
            disk.follow(line)
        return disk, done
    finally:
        record.unlink(missing_ok=True)
