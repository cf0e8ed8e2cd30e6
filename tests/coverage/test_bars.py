"""The bars of coverage: each way to miss one is found."""

import unittest
from unittest import mock

import bars


def lines(covered, count, branches_covered=0, branches=0):
    return {"lines": {"covered": covered, "count": count},
            "branches": {"covered": branches_covered, "count": branches}}


class Shortfalls(unittest.TestCase):
    def found(self, files, sources=()):
        with mock.patch.multiple(bars, CORE=(90, 80), CRITICAL=(100, 95), CRITICAL_FILES=["outbox/Send*"]):
            return bars.shortfalls(files, sources)

    def test_names_every_shortfall(self):
        all_lines = lines(10, 10)
        for name, files, expected in [
                ("all reached", {"common/A.cpp": lines(89, 90, 8, 10), "outbox/SendLoop.cpp": lines(10, 10, 19, 20)}, []),
                ("a line of the core too few", {"common/A.cpp": lines(79, 90, 10, 10), "outbox/SendLoop.cpp": all_lines},
                 ["core: 89 of 100 lines are covered, at least 90 % are required"]),
                ("branches of the core", {"common/A.cpp": lines(90, 90, 7, 10), "outbox/SendLoop.cpp": all_lines},
                 ["core: 7 of 10 branches are covered, at least 80 % are required"]),
                ("one line of a critical file", {"common/A.cpp": lines(90, 90), "outbox/SendLoop.cpp": lines(999, 1000)},
                 ["outbox/SendLoop.cpp: 999 of 1000 lines are covered, at least 100 % are required"]),
                ("branches of the critical files",
                 {"common/A.cpp": lines(90, 90), "outbox/SendLoop.cpp": lines(1, 1, 94, 100)},
                 ["critical files: 94 of 100 branches are covered, at least 95 % are required"]),
                ("a critical file that is gone", {"common/A.cpp": lines(1, 1)}, ["outbox/Send*: no such critical file"])]:
            with self.subTest(name):
                self.assertEqual(expected, self.found(files))

    def test_source_in_no_test_program(self):
        files = {"common/A.cpp": lines(1, 1), "outbox/SendLoop.cpp": lines(1, 1)}
        self.assertEqual(["common/B.cpp: not in any test program"], self.found(files, ["common/A.cpp", "common/B.cpp"]))


if __name__ == "__main__":
    unittest.main()
