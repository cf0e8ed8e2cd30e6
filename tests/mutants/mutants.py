#!/usr/bin/python3
"""Mutation testing: runs the tests against thousands of small changes of the sources and lists surviving mutants."""

import argparse
import collections
import concurrent.futures
import contextlib
import hashlib
import json
import os
import pathlib
import queue
import subprocess
import sys
import time

import building
import killing

BAR = 85  # percent of the mutants that must be killed in each module
WAITING = 8  # slow tests of one mutant at a time
RESULTS = building.FOLDER / "results.json"
EQUIVALENT = pathlib.Path(__file__).resolve().parent / "equivalent.txt"


def main():
    options = parse()
    tree = building.MutatedTree(options.jobs)
    tree.make()
    mutants = tree.remaining()
    print(f"{len(tree.mutants)} mutants, {len(tree.mutants) - len(mutants)} of them do not compile", flush=True)
    reach = killing.Reach()
    reach.record()
    wanted = [one for one in mutants if is_wanted(one, options)]
    results = Results(reach.tests_by_mutant())
    finished = results.complete(wanted, options)
    faults = report(wanted, results, read_equivalent())
    if not finished:
        print("Not finished: the next run continues here.")
    return 0 if finished and not faults else 1


def parse():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--only", action="append", default=[], metavar="TEXT",
                        help="mutants of files whose path holds this text; may be given more than once")
    parser.add_argument("--changed", nargs="?", const="main", metavar="COMMIT",
                        help="mutants of files that differ from this commit (main when none is given)")
    parser.add_argument("--critical", action="store_true", help="only critical mutants")
    parser.add_argument("--again", action="store_true", help="ignore the results of earlier runs")
    parser.add_argument("--minutes", type=float, default=1e9, help="stop after so many; the next run continues")
    parser.add_argument("-j", dest="jobs", type=int, default=os.cpu_count(), help="runs at a time")
    options = parser.parse_args()
    options.end = time.monotonic() + 60 * options.minutes
    options.changed = changed_since(options.changed) if options.changed else None
    return options


def changed_since(commit):
    def lines(*command):
        done = subprocess.run(command, cwd=building.tree.ROOT, check=True, text=True, capture_output=True)
        return done.stdout.split()

    return {*lines("git", "diff", "--name-only", commit), *lines("git", "ls-files", "-o", "--exclude-standard")}


def is_wanted(mutant, options):
    if options.only and not any(text in mutant.file for text in options.only):
        return False
    if options.changed is not None and mutant.file not in options.changed:
        return False
    return mutant.critical or not options.critical


class Results:
    """The result of each mutant, stored so that an interrupted run can be continued."""

    def __init__(self, tests):
        self.tests = tests
        self.known = json.loads(RESULTS.read_text()) if RESULTS.exists() else {}
        self.written = time.monotonic()
        self.all_tests = {f"{program} {test}" for many in tests.values() for _, program, test in many}
        self.stamp = stamp_of_tests()

    def of(self, mutant):
        """None when it is unknown. A kill is valid while its test exists, a survival until any test changes."""
        result = self.known.get(mutant.key)
        if result is None or (result["by"] and result["by"] not in self.all_tests):
            return None
        return None if not result["by"] and result["stamp"] != self.stamp else result

    def complete(self, mutants, options):
        """Runs the mutants without a result. False when the time ended before."""
        missing = [one for one in mutants if options.again or self.of(one) is None]
        missing.sort(key=lambda one: not one.critical)
        free = queue.SimpleQueue()

        def attempt(mutant):
            if time.monotonic() > options.end:
                return None
            scratches = free.get()
            found = killing.try_mutant(scratches, mutant.number, self.tests.get(mutant.number, []))
            free.put(scratches)
            return mutant, found or {"by": "", "stamp": self.stamp}

        with contextlib.ExitStack() as stack, concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
            for _ in range(options.jobs):
                free.put([stack.enter_context(killing.Scratch()) for _ in range(WAITING)])
            stack.callback(self._save)
            tried = (done for done in pool.map(attempt, missing) if done is not None)
            for count, done in enumerate(tried, 1):
                self._keep(*done)
                if count % 100 == 0:
                    print(f"{count} of {len(missing)} tried", flush=True)
        return all(self.of(one) for one in missing)

    def _keep(self, mutant, found):
        self.known[mutant.key] = found
        if time.monotonic() - self.written > 5:
            self._save()

    def _save(self):
        temporary = RESULTS.with_suffix(".new")
        temporary.write_text(json.dumps(self.known, indent=0))
        temporary.rename(RESULTS)
        self.written = time.monotonic()


def stamp_of_tests():
    """A hash of all tests and their support files."""
    found = hashlib.sha256()
    modules = [program.removesuffix("_tests") for program in building.PROGRAMS]
    for path in building.tree.files(*(f"tests/{module}" for module in (*modules, "support", "contract")), root=building.COPY):
        found.update(str(path).encode() + b"\0" + (building.COPY / path).read_bytes())
    return found.hexdigest()[:16]


def read_equivalent():
    """The reason for each equivalent mutant, by its name."""
    found = {}
    for line in EQUIVALENT.read_text().splitlines():
        if line and not line.startswith("#"):
            name, _, reason = line.rpartition(" | ")
            found[name] = reason
    return found


def report(mutants, results, equivalent):
    """Prints the results, and returns the modules below the bar."""
    modules = collections.defaultdict(lambda: collections.defaultdict(list))
    for mutant in mutants:
        state = state_of(mutant, results, equivalent)
        modules[mutant.file.split("/")[1]][state].append(mutant)
        if mutant.critical:
            modules["(critical)"][state].append(mutant)
    for state in ("survived", "reached by no test"):
        for module in (name for name in modules if not name.startswith("(")):
            for one in sorted(modules[module][state], key=lambda one: (one.file, one.line)):
                mark = " CRITICAL" if one.critical else ""
                print(f"{one.file}:{one.line}:{one.column}: {state}{mark}: {one.operator} | {one.text}  [{one.number}]")
    print_equivalent(modules, equivalent)
    faults = [module for module in sorted(modules) if not print_line(module, modules[module])]
    for module in faults:
        print(f"{module}: below the bar")
    return faults


def state_of(mutant, results, equivalent):
    result = results.of(mutant)
    if result is None:
        return "not tried"
    if result["by"]:
        return "killed"
    if mutant.name in equivalent:
        return "equivalent"
    return "survived" if results.tests.get(mutant.number) else "reached by no test"


def print_equivalent(modules, equivalent):
    for module in (name for name in modules if not name.startswith("(")):
        for one in modules[module]["equivalent"]:
            reason = equivalent[one.name]
            print(f"{one.file}:{one.line}:{one.column}: equivalent: {one.operator} | {one.text}: {reason}")
        for one in modules[module]["killed"]:
            if one.name in equivalent:
                print(f"{EQUIVALENT.name}: a test kills {one.name}")


def print_line(module, states):
    """Prints the figures of a module. Returns whether they reach the bar; all critical mutants must be killed."""
    count = {state: len(found) for state, found in states.items()}
    killed = count.get("killed", 0)
    survived = count.get("survived", 0) + count.get("reached by no test", 0)
    percent = 100 * killed / max(1, killed + survived)
    equivalent, missing = count.get("equivalent", 0), count.get("not tried", 0)
    print(f"{module:12} {sum(count.values()):5} mutants, {killed:5} killed, {survived:4} survived, "
          f"{equivalent:3} equivalent, {missing:4} not tried: {percent:5.1f} % killed")
    return survived == 0 if module == "(critical)" else module == "platform" or percent >= BAR


if __name__ == "__main__":
    sys.exit(main())
