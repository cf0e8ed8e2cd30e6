#!/usr/bin/python3
"""Checks C++ files against .clang-format: check_format.py CLANG-FORMAT [--fix]"""

import re
import subprocess
import sys

import tree


def main():
    program, fix = sys.argv[1], "--fix" in sys.argv
    files = [str(path) for path in tree.files("src", "tests") if path.suffix in (".h", ".cpp")]
    if fix:
        return subprocess.run([program, "-i", *files], cwd=tree.ROOT, check=False).returncode
    done = subprocess.run([program, "--dry-run", "--Werror", *files], cwd=tree.ROOT, check=False, text=True,
                          capture_output=True)
    faulty = sorted(set(re.findall(r"^(\S+?):\d+:\d+: error", done.stderr, re.MULTILINE)))
    if done.returncode != 0 and not faulty:
        print(done.stderr)
        return done.returncode
    return tree.report([f"{path}: run `make format`" for path in faulty])


if __name__ == "__main__":
    sys.exit(main())
