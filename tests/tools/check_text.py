#!/usr/bin/python3
"""Checks text files against .editorconfig: UTF-8, LF, a line end at the end, no blanks at line ends."""

import sys

import tree

BINARY = {".png", ".ico", ".zip", ".qch", ".qhc"}


def faults_in(path, content):
    try:
        content.decode("utf-8")
    except UnicodeDecodeError:
        return [f"{path}: not UTF-8"]
    faults = []
    if b"\r" in content:
        faults.append(f"{path}: a carriage return")
    if content and not content.endswith(b"\n"):
        faults.append(f"{path}: no line end at its end")
    if b"\t" in content and path.name != "Makefile":
        faults.append(f"{path}: a tab")
    for number, line in enumerate(content.split(b"\n"), 1):
        if line != line.rstrip(b" \t"):
            faults.append(f"{path}:{number}: blanks at the end")
    return faults


def main():
    faults = []
    for path in tree.files():
        given = path.parts[:2] == ("tests", "data") or path.parts[:3] == ("tests", "fuzz", "seeds")
        if not given and path.suffix not in BINARY:
            faults += faults_in(path, (tree.ROOT / path).read_bytes())
    return tree.report(faults)


if __name__ == "__main__":
    sys.exit(main())
