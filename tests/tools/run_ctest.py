#!/usr/bin/python3
"""Runs the tests of a built tree and closes with what came of them.

    run_ctest.py PRESET FOLDER [--exclude PATTERN] [--jobs N] [--figures LABEL] [--no-skips]

FOLDER is the build folder of the CMake preset. The closing lines are the output of each test that failed, the tests
that were skipped with the reason, what the tests of LABEL ("LABEL." begins their names) counted and measured, and the
counts. The exit status is 0 when no test failed, nor with --no-skips was skipped.
"""

import argparse
import collections
import pathlib
import re
import subprocess
import sys
import time
import xml.etree.ElementTree

# What a test's framework prints, beside what the test says itself.
FRAMEWORK = re.compile(r"-+|OK( \(.*\))?|Ran \d+ tests? in .*|Skipped .*|")
REASON = re.compile(r"^Skipped .*?: (.*)$|: Skipped\n(.*)$", re.MULTILINE)
PASSED, SKIPPED, FAILED = "passed", "skipped", "failed"


class Outcome:
    """What became of one test, as the JUnit file tells it."""

    def __init__(self, case):
        self.name = case.get("name")
        self.output = case.findtext("system-out") or ""
        failed = case.find("failure") is not None or case.find("error") is not None
        self.kind = FAILED if failed else PASSED if case.get("status") == "run" else SKIPPED
        message = case.find("skipped")
        self.message = message.get("message") if message is not None else ""

    def reasons(self):
        """Why the test was skipped."""
        found = [first or second for first, second in REASON.findall(self.output)]
        return sorted(set(found)) or [self.message or "no reason was given"]

    def figures(self):
        """The lines in which the test said what it counted and measured."""
        return [line for line in map(str.strip, self.output.splitlines()) if not FRAMEWORK.fullmatch(line)]


def read_outcomes(file):
    return [Outcome(case) for case in xml.etree.ElementTree.parse(file).getroot().iter("testcase")]


def closing_lines(outcomes, label, seconds):
    """What is said at the end of a run."""
    for outcome in outcomes:
        if outcome.kind == FAILED:
            yield f"\nFAILED {outcome.name}\n{outcome.output.rstrip()}"
    by_reason = collections.defaultdict(list)
    for outcome in outcomes:
        if outcome.kind == SKIPPED:
            by_reason["; ".join(outcome.reasons())].append(outcome.name)
    for reason, names in by_reason.items():
        yield "\n  ".join([f"\nSkipped: {reason}", *names])
    for outcome in outcomes:
        if label and outcome.kind == PASSED and outcome.name.startswith(f"{label}."):
            yield "\n  ".join([outcome.name, *outcome.figures()])
    counts = collections.Counter(outcome.kind for outcome in outcomes)
    yield (f"{len(outcomes)} tests: {counts[PASSED]} passed, {counts[SKIPPED]} skipped, {counts[FAILED]} failed; "
           f"{seconds:.0f} s")


def run(given, junit):
    """Runs ctest, whose progress a terminal sees. Returns whether it could."""
    junit.unlink(missing_ok=True)
    show = ["--progress"] if sys.stdout.isatty() else ["--quiet"]
    exclude = ["--exclude-regex", given.exclude] if given.exclude else []
    done = subprocess.run(["ctest", "--preset", given.preset, "--parallel", str(given.jobs), *exclude, *show,
                           "--output-junit", junit, "--test-output-size-passed", "65536"], check=False)
    if not junit.exists():
        print(f"ctest ran no test; its exit status is {done.returncode}", file=sys.stderr)
    return junit.exists()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("preset")
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--exclude")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--figures", metavar="LABEL")
    parser.add_argument("--no-skips", action="store_true")
    given = parser.parse_args()
    junit = given.folder.resolve() / "tests.xml"
    begin = time.monotonic()
    if not run(given, junit):
        return 1
    outcomes = read_outcomes(junit)
    print("\n".join(closing_lines(outcomes, given.figures, time.monotonic() - begin)), flush=True)
    kinds = {outcome.kind for outcome in outcomes}
    return 1 if not outcomes or FAILED in kinds or (given.no_skips and SKIPPED in kinds) else 0


if __name__ == "__main__":
    sys.exit(main())
