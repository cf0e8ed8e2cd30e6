"""The coverage report reads clang's counters rightly and finds each way to miss a bar."""

import types
import unittest

import coverage_data
import coverage_report
from coverage_data import FileCoverage, Outcome, Segment


def segment(line, column, count, counted=True, entry=True, gap=False):
    return Segment(line, column, count, counted, entry, gap)


# What clang tells of this source when Small(1) was called alone.
SOURCE = """int Small(int n) {
  if (n == 0 &&
      true) {
    return 7;
  }

  return 1;
}
"""
EXPORTED = {
    "segments": [[1, 18, 1, True, True, False], [2, 7, 1, True, True, False], [2, 13, 1, True, False, False],
                 [3, 7, 0, True, True, False], [3, 11, 1, True, False, False], [3, 12, 0, True, True, True],
                 [3, 13, 0, True, True, False], [5, 4, 1, True, False, False], [8, 2, 0, False, False, False]],
    "branches": [[2, 7, 2, 13, 0, 1, 0, 0, 4], [3, 7, 3, 11, 0, 0, 0, 0, 4]],
}


class Lines(unittest.TestCase):
    def test_counts(self):
        for name, segments, expected in [
                ("nothing", [], {}),
                ("a function", [segment(1, 5, 3), segment(3, 2, 0, False, False)], {1: 3, 2: 3, 3: 3}),
                ("code after it", [segment(1, 5, 3), segment(2, 2, 0, False, False), segment(4, 1, 0)], {1: 3, 2: 3, 4: 0}),
                ("the highest count of a line", [segment(1, 1, 2), segment(1, 9, 0), segment(1, 12, 2, entry=False)], {1: 2}),
                ("a block that was never entered", [segment(1, 1, 2), segment(1, 9, 0, gap=True), segment(2, 1, 0),
                                                    segment(3, 2, 2, entry=False), segment(4, 1, 0, False, False)],
                 {1: 2, 2: 0, 3: 0, 4: 2}),
                ("a gap says nothing", [segment(1, 1, 2), segment(2, 1, 9, gap=True), segment(2, 5, 0, entry=False)],
                 {1: 2, 2: 2}),
                ("left out by the preprocessor", [segment(1, 1, 2), segment(2, 1, 0, counted=False)], {1: 2})]:
            with self.subTest(name):
                self.assertEqual(expected, coverage_data.line_counts(segments))

    def test_a_file(self):
        read = coverage_data.file_coverage("a.cpp", EXPORTED, SOURCE)
        self.assertEqual([4], [line for line in read.missed_lines() if read.text[line - 1].strip() == "return 7;"])
        self.assertEqual(1, read.lines[7])


class Branches(unittest.TestCase):
    def outcomes(self, branches, segments=(segment(1, 1, 1),), text="if (a || b) return;"):
        found = coverage_data.outcomes_of(branches, list(segments), [text])
        return [(o.condition, o.value, o.taken) for o in found]

    def test_table(self):
        a = [1, 5, 1, 6]
        b = [1, 10, 1, 11]
        for name, branches, expected in [
                ("both outcomes", [[*a, 2, 1]], [("a", True, True), ("a", False, True)]),
                ("one outcome", [[*a, 2, 0]], [("a", True, True), ("a", False, False)]),
                ("two conditions", [[*b, 0, 1], [*a, 1, 1]],
                 [("a", True, True), ("a", False, True), ("b", True, False), ("b", False, True)]),
                ("instances of a template", [[*a, 2, 0], [*a, 0, 1]], [("a", True, True), ("a", False, True)]),
                ("a constant in code that was passed", [[*a, 0, 0]], [])]:
            with self.subTest(name):
                self.assertEqual(expected, self.outcomes(branches))

    def test_code_that_was_never_passed_has_outcomes(self):
        self.assertEqual([("a", True, False), ("a", False, False)],
                         self.outcomes([[1, 5, 1, 6, 0, 0]], [segment(1, 1, 0)]))

    def test_condition_that_begins_with_a_macro(self):
        # The macro's own count, 4, is that of the code around it.
        segments = [segment(1, 1, 4), segment(1, 5, 4), segment(1, 6, 0), segment(1, 9, 4, entry=False)]
        self.assertEqual(2, len(self.outcomes([[1, 5, 1, 9, 0, 0]], segments)))

    def test_condition_over_lines(self):
        self.assertEqual("one( two)", coverage_data.source_between(["if (one(", "        two)) {"], 1, 5, 2, 13))
        self.assertEqual("b", coverage_data.source_between(['if ("ä" == b)'], 1, 13, 1, 14))


class Markers(unittest.TestCase):
    def marked(self, comment, lines, outcomes=()):
        return coverage_data.without_marked(FileCoverage("a.cpp", [f"x(); // no test:{comment}"], lines, list(outcomes)))

    def test_takes_out_what_is_marked(self):
        read = self.marked(" never fails here", {1: 0}, [Outcome(1, 1, "x", True, False)])
        self.assertEqual(({}, [], []), (read.lines, read.outcomes, read.faults))

    def test_faults(self):
        for name, comment, lines, outcomes, expected in [
                ("without a reason", " ", {1: 0}, [], 1),
                ("at tested code", " never fails here", {1: 3}, [], 1),
                ("at a line with a missed outcome", " never fails here", {1: 3}, [Outcome(1, 1, "x", True, False)], 0)]:
            with self.subTest(name):
                self.assertEqual(expected, len(self.marked(comment, lines, outcomes).faults))


def file(name, lines, passed, branches=0, taken=0):
    outcomes = [Outcome(1, n, "x", True, n < taken) for n in range(branches)]
    return FileCoverage(name, ["code"] * lines, {n + 1: int(n < passed) for n in range(lines)}, outcomes)


class Judgement(unittest.TestCase):
    BARS = types.SimpleNamespace(CORE=(90, 80), CRITICAL=(100, 95), CRITICAL_FILES=["outbox/Send*"])

    def test_table(self):
        for name, files, expected in [
                ("all reached", [file("common/A.cpp", 90, 89, 10, 8), file("outbox/SendLoop.cpp", 10, 10, 20, 19)], []),
                ("a line of the core too few", [file("common/A.cpp", 90, 79, 10, 10), file("outbox/SendLoop.cpp", 10, 10)],
                 ["core: 89.0 % of lines, asked for are 90 %"]),
                ("branches of the core", [file("common/A.cpp", 90, 90, 10, 7), file("outbox/SendLoop.cpp", 10, 10)],
                 ["core: 70.0 % of branches, asked for are 80 %"]),
                ("one line of a critical file", [file("common/A.cpp", 90, 90), file("outbox/SendLoop.cpp", 1000, 999)],
                 ["outbox/SendLoop.cpp: 99.9 % of lines, asked for are 100 %",
                  "critical files: 99.9 % of lines, asked for are 100 %"]),
                ("branches of the critical files", [file("common/A.cpp", 90, 90), file("outbox/SendLoop.cpp", 1, 1, 100, 94)],
                 ["critical files: 94.0 % of branches, asked for are 95 %"]),
                ("a critical file that is gone", [file("common/A.cpp", 1, 1)], ["outbox/Send*: no such critical file"])]:
            with self.subTest(name):
                self.assertEqual(expected, coverage_report.judge(files, self.BARS, []))

    def test_source_that_no_program_holds(self):
        files = [file("common/A.cpp", 1, 1), file("outbox/SendLoop.cpp", 1, 1)]
        self.assertEqual(["common/B.cpp: no test program holds it"],
                         coverage_report.judge(files, self.BARS, ["common/A.cpp", "common/B.cpp"]))

    def test_marker_faults_count(self):
        marked = file("outbox/SendLoop.cpp", 1, 1)
        marked.faults.append("outbox/SendLoop.cpp:1: the marker gives no reason")
        self.assertEqual(marked.faults, coverage_report.judge([marked], self.BARS, []))


class Shown(unittest.TestCase):
    def test_percent_is_cut(self):
        for value, expected in [(100.0, "100.0 %"), (99.99, "99.9 %"), (0.0, "0.0 %")]:
            self.assertEqual(expected, coverage_report.shown(value))

    def test_missed(self):
        read = FileCoverage("common/A.cpp", ["if (a) {", "  b();", "}"], {1: 1, 2: 0, 3: 1},
                            [Outcome(1, 5, "a", True, False), Outcome(1, 5, "a", False, True)])
        self.assertEqual(["common/A.cpp:2: never passed: b();", "common/A.cpp:1:5: never true: a"],
                         coverage_report.missed([read]))

    def test_table(self):
        rows = coverage_report.table([file("common/A.cpp", 2, 1), file("outbox/SendLoop.cpp", 2, 2)], Judgement.BARS)
        self.assertEqual(["common", "outbox", "core", "outbox/SendLoop.cpp", "all of these"],
                         [row[:36].strip() for row in rows if " of " in row])


if __name__ == "__main__":
    unittest.main()
