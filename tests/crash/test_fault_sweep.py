"""Every call that changes a file fails in every way in which it can, once and from then on: nothing that was
good is damaged, one line tells what failed and why, and one run more completes everything."""

import collections
import dataclasses
import errno
import hashlib
import json
import os
import pathlib
import re
import subprocess
import time
import unittest

from fault_roads import ROADS
from loss_support import LossTest
from sweep_support import Tree, contents_of, spread, uids_in

CAUSES = {kind: os.strerror(getattr(errno, kind)) for kind in
          ("ENOSPC", "EIO", "EACCES", "EROFS", "EMFILE", "EINTR", "EXDEV")}
CAUSES.update(torn=CAUSES["EIO"], close=CAUSES["EIO"], short="")

# What SQLite says in the place of the system's words.
SQLITE_CAUSES = ("database or disk is full", "disk I/O error", "unable to open database file",
                 "attempt to write a readonly database")

# With these the program just goes on. What libraries write may fail of them, when it is told.
HARMLESS = ("EINTR", "short")
OF_LIBRARIES = re.compile(r"\.sqlite|\.zip")

# The log's scratch file, which goes when the next line is logged. A run that has nothing to say leaves it.
SCRATCH = "left over: ['STemp.tmp']"


@dataclasses.dataclass(frozen=True)
class Fault:
    """Call number `n` of a road fails, and with `stays` all that come after it."""

    road: int
    n: int
    kind: str
    stays: bool
    call: str
    paths: tuple  # below the site

    def __str__(self):
        names = " to ".join(os.path.basename(path) for path in self.paths)
        return f"{ROADS[self.road].name}: {self.kind}{' from' if self.stays else ' at'} {self.n} ({self.call} {names})"

    def options(self):
        return ["--fault", self.kind, "--at", str(self.n), *(["--from-then-on"] if self.stays else [])]


def plan(folder, numbers):
    """Every fault of these roads."""
    faults = []
    for number in numbers:
        road = ROADS[number](folder / str(number))
        for call in road.attempts():
            paths = tuple(os.path.relpath(call[key], road.site.root) for key in ("path", "to") if key in call)
            faults += [Fault(number, call["n"], kind, stays, call["call"], paths)
                       for kind in call["faults"] for stays in (False, True)]
        undone = road.undone()
        if undone:
            raise RuntimeError(f"{road.name}: {undone}")
    return faults


def final(path):
    """The path under which a temporary file is meant to be known."""
    folder, name = os.path.split(path)
    return os.path.join(folder, re.sub(r"^\.(.+)\.fieldpost-new.*|(.+)-journal$", r"\1\2", name))


def told(fault, lines, root):
    """A line names the path and the cause. With faults that stay, it may be that of a later call."""
    causes = (CAUSES[fault.kind], *SQLITE_CAUSES)
    paths = [root]
    if not fault.stays and fault.call != "syncfs":  # which flushes all folders of the disk at once
        paths = [os.path.join(root, path) for name in fault.paths for path in (name, final(name))]
    return any(cause in line and any(path in line for path in paths) for line in lines for cause in causes)


def state_of(road):
    """Two states that are told by the same text are healed by the same run. The log is no part of them."""
    logs = {str(path) for path in road.site.log_files()}
    tree = Tree(road.site.root)
    files = [file for file in tree.files if file[0] not in logs]
    mailed = uids_in(content for mail in road.swept.sink.mails for content in contents_of(mail))
    return hashlib.sha256(repr((sorted(tree.folders), sorted(files), sorted(mailed.items()))).encode()).digest()


def wrong(fault, road, healed):
    """What is wrong after the fault, and after the run that follows it."""
    road.swept.put_back()
    status, lines = road.run(*fault.options())
    found = [f"damaged: {one}" for one in road.damaged()]
    if status not in (0, 1):
        found.append(f"status {status}: {lines[-2:]}")
    undone = [one for one in road.undone() if one != SCRATCH]
    if status == 1 and not told(fault, lines, str(road.site.root)):
        found.append(f"not told: {lines[-4:]}")
    if status == 0 and undone:
        found.append(f"status 0, but {undone}; {lines[-3:]}")
    if fault.kind in HARMLESS and (status or undone) and not OF_LIBRARIES.search(" ".join(lines[-2:])):
        found.append(f"not simply gone on: {status} {lines[-2:]}")
    state = state_of(road)
    if state not in healed:
        status, lines = road.run()
        after = road.damaged() + [one for one in road.undone() if one != SCRATCH]
        healed[state] = [f"afterwards: {status} {after} {lines[-3:]}"] if status or after else []
    return found + healed[state]


@dataclasses.dataclass(frozen=True)
class Outcome:
    fault: Fault
    faults: list
    states: int


def sweep(folder, faults):
    roads, healed, outcomes = {}, collections.defaultdict(dict), []
    for fault in faults:
        if fault.road not in roads:
            roads[fault.road] = ROADS[fault.road](folder / str(fault.road))
        states = healed[fault.road]
        before = len(states)
        found = wrong(fault, roads[fault.road], states)
        outcomes.append(Outcome(fault, found, len(states) - before))
    return outcomes


class FaultSweep(unittest.TestCase):
    maxDiff = None

    def test_every_fault_of_every_call(self):
        begin = time.monotonic()
        faults = spread(plan, range(len(ROADS)))
        found = spread(sweep, faults)
        wrongs = [f"{outcome.fault}: {'; '.join(outcome.faults)}" for outcome in found if outcome.faults]
        by_road = collections.Counter(ROADS[fault.road].name for fault in faults)
        print(f"{len(faults)} faults ({', '.join(f'{name} {count}' for name, count in by_road.items())}), "
              f"{sum(outcome.states for outcome in found)} states healed; {time.monotonic() - begin:.0f} s")
        self.assertEqual([], wrongs[:40], f"{len(wrongs)} of {len(found)}")


class FullDisk(LossTest):
    def test_with_each_block_more(self):
        """For an ordinary user a name space of its own is what lets a disk be mounted."""
        helper = pathlib.Path(__file__).resolve().parent / "full_disk.py"
        done = subprocess.run(["unshare", "-Urm", "/usr/bin/python3", "-B", helper, self.folder],
                              capture_output=True, text=True, timeout=120, check=False)
        self.assertEqual(0, done.returncode, done.stderr)
        result = json.loads(done.stdout)
        print(f"full disk: {result['tried']} sizes, {result['enough']} with room for all")
        self.assertEqual([], result["found"][:20], f"{len(result['found'])} faults")
        self.assertEqual(4, result["enough"], "some run never had room enough")
        self.assertGreater(result["tried"], 20)


if __name__ == "__main__":
    unittest.main()
