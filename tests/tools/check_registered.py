#!/usr/bin/python3
"""Checks that ctest knows every test of the sources: check_registered.py BUILD-FOLDER CTEST"""

import json
import pathlib
import re
import sys

import tree

CPP_TEST = re.compile(r"^(?:TEST|TEST_F|TEST_P|TYPED_TEST)\(\s*(\w+)\s*,\s*(\w+)\s*\)", re.MULTILINE)
PYTHON_TEST = re.compile(r"^    def test_\w+\(self", re.MULTILINE)


def cpp_faults(path, text, registered):
    """Returns the tests of a source that ctest does not know. registered: the names of the tests in ctest."""
    tests = CPP_TEST.findall(text)
    faults = [] if tests else [f"{path}: there is no test in it"]
    for suite, name in tests:
        # A test with parameters is "Prefix/Suite.Name/0" there.
        pattern = re.compile(rf"(?:^|[./]){suite}(?:/\w+)?\.{name}(?:$|[/ ])")
        if not any(pattern.search(one) for one in registered):
            faults.append(f"{path}: {suite}.{name} is not known to ctest")
    return faults


def python_faults(path, text, commands):
    faults = [] if PYTHON_TEST.search(text) else [f"{path}: there is no test in it"]
    if not any(str(path) in argument for command in commands for argument in command):
        faults.append(f"{path}: not known to ctest")
    return faults


def main():
    build, ctest = sys.argv[1:3]
    known = json.loads(tree.output_of(ctest, "--test-dir", build, "--show-only=json-v1"))["tests"]
    names = [test["name"] for test in known]
    commands = [test.get("command", []) for test in known]
    faults = []
    for path in tree.files("tests"):
        text = (tree.ROOT / path).read_text(encoding="utf-8", errors="replace")
        if path.name.endswith("_test.cpp"):
            faults += cpp_faults(path, text, names)
        elif pathlib.PurePath(path).match("test_*.py"):
            faults += python_faults(path, text, commands)
    return tree.report(faults)


if __name__ == "__main__":
    sys.exit(main())
