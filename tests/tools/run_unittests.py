#!/usr/bin/python3
"""Runs the tests of one file: run_unittests.py FILE

The exit status is 1 when a test failed or the file has none, SKIPPED when none failed and some were skipped, else 0.
Each skipped test is a line "Skipped NAME: REASON" of the output.
"""

import pathlib
import sys
import unittest

SKIPPED = 77


def main():
    path = pathlib.Path(sys.argv[1])
    sys.path.insert(0, str(path.parent))
    result = unittest.TextTestRunner(verbosity=0).run(unittest.defaultTestLoader.loadTestsFromName(path.stem))
    for test, reason in result.skipped:
        print(f"Skipped {test}: {reason}")
    if not result.wasSuccessful() or not (result.testsRun or result.skipped):
        return 1
    return SKIPPED if result.skipped else 0


if __name__ == "__main__":
    sys.exit(main())
