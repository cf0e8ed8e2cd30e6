"""Every call that changes a file fails in every possible way, once or from then on.

Nothing that was good is damaged, one line says what failed and why, and the next run completes everything.
"""

import collections
import dataclasses
import errno
import hashlib
import os
import re
import time
import unittest

from crash_support import require_call_tracer
from fault_scenarios import SCENARIOS
from sweep_support import Tree, spread, uids_in_mails

CAUSES = {kind: os.strerror(getattr(errno, kind)) for kind in
          ("ENOSPC", "EIO", "EACCES", "EROFS", "EMFILE", "EINTR", "EXDEV")}
CAUSES.update(torn=CAUSES["EIO"], close=CAUSES["EIO"], short="")

# What SQLite says in the place of the system's words.
SQLITE_CAUSES = ("database or disk is full", "disk I/O error", "unable to open database file",
                 "attempt to write a readonly database")

# With these the program goes on. What libraries write may fail of them, when the log says so.
HARMLESS = ("EINTR", "short")
OF_LIBRARIES = re.compile(r"\.sqlite|\.zip")

# The log's scratch file, which goes when the next line is logged. A run that has nothing to say leaves it.
SCRATCH = "left over: ['STemp.tmp']"


@dataclasses.dataclass(frozen=True)
class Fault:
    """Call number `n` of a scenario fails, and with `stays` all later ones."""

    scenario: int
    n: int
    kind: str
    stays: bool
    call: str
    paths: tuple  # below the site

    def __str__(self):
        names = " to ".join(os.path.basename(path) for path in self.paths)
        name, when = SCENARIOS[self.scenario].name, "from" if self.stays else "at"
        return f"{name}: {self.kind} {when} {self.n} ({self.call} {names})"

    def options(self):
        return ["--fault", self.kind, "--at", str(self.n), *(["--from-then-on"] if self.stays else [])]


def plan(folder, numbers):
    """Returns every fault of these scenarios."""
    faults = []
    for number in numbers:
        scenario = SCENARIOS[number](folder / str(number))
        for call in scenario.attempts():
            paths = tuple(os.path.relpath(call[key], scenario.site.root) for key in ("path", "to") if key in call)
            faults += [Fault(number, call["n"], kind, stays, call["call"], paths)
                       for kind in call["faults"] for stays in (False, True)]
        undone = scenario.undone()
        if undone:
            raise RuntimeError(f"{scenario.name}: {undone}")
    return faults


def final(path):
    """Returns the path that a temporary file is renamed to."""
    folder, name = os.path.split(path)
    return os.path.join(folder, re.sub(r"^\.(.+)\.fieldpost-new.*|(.+)-journal$", r"\1\2", name))


def told(fault, lines, root):
    """Whether a line names the path and the cause. With faults that stay, the path may be that of a later call."""
    causes = (CAUSES[fault.kind], *SQLITE_CAUSES)
    paths = [root]
    if not fault.stays and fault.call != "syncfs":  # which flushes all folders of the disk at once
        paths = [os.path.join(root, path) for name in fault.paths for path in (name, final(name))]
    return any(cause in line and any(path in line for path in paths) for line in lines for cause in causes)


def state_of(scenario):
    """Returns a digest of files and mails, but not of the log: the next run does the same on equal states."""
    logs = {str(path) for path in scenario.site.log_files()}
    tree = Tree(scenario.site.root)
    files = [file for file in tree.files if file[0] not in logs]
    mailed = uids_in_mails(scenario.swept.sink.mails)
    return hashlib.sha256(repr((sorted(tree.folders), sorted(files), sorted(mailed.items()))).encode()).digest()


def wrong(fault, scenario, healed):
    """Runs with the fault and then without. Returns what is wrong. healed: what was wrong after states seen before."""
    scenario.swept.restore()
    status, lines = scenario.run(*fault.options())
    found = [f"damaged: {one}" for one in scenario.damaged()]
    if status not in (0, 1):
        found.append(f"status {status}: {lines[-2:]}")
    undone = [one for one in scenario.undone() if one != SCRATCH]
    if status == 1 and not told(fault, lines, str(scenario.site.root)):
        found.append(f"not told: {lines[-4:]}")
    if status == 0 and undone:
        found.append(f"status 0, but {undone}; {lines[-3:]}")
    if fault.kind in HARMLESS and (status or undone) and not OF_LIBRARIES.search(" ".join(lines[-2:])):
        found.append(f"not simply gone on: {status} {lines[-2:]}")
    state = state_of(scenario)
    if state not in healed:
        status, lines = scenario.run()
        after = scenario.damaged() + [one for one in scenario.undone() if one != SCRATCH]
        healed[state] = [f"afterwards: {status} {after} {lines[-3:]}"] if status or after else []
    return found + healed[state]


@dataclasses.dataclass(frozen=True)
class Outcome:
    fault: Fault
    faults: list
    states: int


def sweep(folder, faults):
    scenarios, healed, outcomes = {}, collections.defaultdict(dict), []
    for fault in faults:
        if fault.scenario not in scenarios:
            scenarios[fault.scenario] = SCENARIOS[fault.scenario](folder / str(fault.scenario))
        states = healed[fault.scenario]
        before = len(states)
        found = wrong(fault, scenarios[fault.scenario], states)
        outcomes.append(Outcome(fault, found, len(states) - before))
    return outcomes


class FaultSweep(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        require_call_tracer()

    def test_every_fault_of_every_call(self):
        begin = time.monotonic()
        faults = spread(plan, range(len(SCENARIOS)))
        found = spread(sweep, faults)
        wrongs = [f"{outcome.fault}: {'; '.join(outcome.faults)}" for outcome in found if outcome.faults]
        by_scenario = collections.Counter(SCENARIOS[fault.scenario].name for fault in faults)
        print(f"{len(faults)} faults ({', '.join(f'{name} {count}' for name, count in by_scenario.items())}), "
              f"{sum(outcome.states for outcome in found)} states healed; {time.monotonic() - begin:.0f} s")
        self.assertEqual([], wrongs[:40], f"{len(wrongs)} of {len(found)}")


if __name__ == "__main__":
    unittest.main()
