#!/usr/bin/python3
"""Prints what tests that passed have counted and measured: print_figures.py JUNIT-FILE LABEL

Takes the tests whose names begin with "LABEL.", and of what each said what is not its framework's.
"""

import re
import sys
import xml.etree.ElementTree

FRAMEWORK = re.compile(r"-+|OK|Ran \d+ tests? in .*|")
PROGRESS = re.compile(r"^\.+")


def figures(case):
    lines = (PROGRESS.sub("", line).strip() for line in (case.findtext("system-out") or "").splitlines())
    return [line for line in lines if not FRAMEWORK.fullmatch(line)]


def main():
    file, label = sys.argv[1:]
    for case in xml.etree.ElementTree.parse(file).getroot().iter("testcase"):
        if case.get("name").startswith(f"{label}."):
            print("\n  ".join([case.get("name"), *figures(case)]))


if __name__ == "__main__":
    main()
