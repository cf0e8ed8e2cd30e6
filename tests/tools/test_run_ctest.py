"""Tests of what is said at the end of a run."""

import unittest
import xml.etree.ElementTree

import run_ctest


def outcome(name, output="", status="run", inside=""):
    text = f'<testcase name="{name}" status="{status}">{inside}<system-out/></testcase>'
    case = xml.etree.ElementTree.fromstring(text)
    case.find("system-out").text = output
    return run_ctest.Outcome(case)


SKIP = '<skipped message="SKIP_RETURN_CODE=77"/>'


class OutcomeTest(unittest.TestCase):
    def test_kind(self):
        for status, inside, expected in [("run", "", "passed"), ("fail", '<failure message=""/>', "failed"),
                                         ("fail", '<error message="timeout"/>', "failed"),
                                         ("notrun", SKIP, "skipped"), ("disabled", "", "skipped")]:
            with self.subTest(status=status, inside=inside):
                self.assertEqual(expected, outcome("a.b", status=status, inside=inside).kind)

    def test_figures_are_what_the_test_itself_said(self):
        for said, expected in [
                ("----------\nRan 4 tests in 1.5s\n\nOK\n", []),
                ("666 of 666 calls\nlost 0\n-----\nRan 1 test in 3s\n\nOK\n", ["666 of 666 calls", "lost 0"]),
                ("12 mails\nOK (skipped=1)\nSkipped test_x (X): refused\n", ["12 mails"]),
                ("", [])]:
            with self.subTest(said=said):
                self.assertEqual(expected, outcome("crash.a", said).figures())

    def test_reasons(self):
        for said, expected in [
                ("Skipped test_a (t.T.test_a): refused: EPERM\nSkipped test_b (t.T.test_b): refused: EPERM\n",
                 ["refused: EPERM"]),
                ("[ RUN      ] A.B\na.cpp:5: Skipped\nno namespace\n\n[  SKIPPED ] A.B (0 ms)\n", ["no namespace"]),
                ("", ["SKIP_RETURN_CODE=77"])]:
            with self.subTest(said=said):
                self.assertEqual(expected, outcome("a", said, "notrun", SKIP).reasons())


class ClosingLines(unittest.TestCase):
    def test_ends_with_failures_skips_and_counts(self):
        passed, failed = outcome("crash.kill", "7 calls\n"), outcome("a.b", "wrong\n", "fail", "<failure/>")
        skipped = [outcome(name, "Skipped test_x (X): refused\n", "notrun", SKIP) for name in ("c.d", "e.f")]
        for outcomes, label, expected in [
                ([passed], None, "1 tests: 1 passed, 0 skipped, 0 failed; 3 s"),
                ([passed], "crash", "crash.kill\n  7 calls\n1 tests: 1 passed, 0 skipped, 0 failed; 3 s"),
                ([passed], "system", "1 tests: 1 passed, 0 skipped, 0 failed; 3 s"),
                ([failed, passed], None, "\nFAILED a.b\nwrong\n2 tests: 1 passed, 0 skipped, 1 failed; 3 s"),
                (skipped, None, "\nSkipped: refused\n  c.d\n  e.f\n2 tests: 0 passed, 2 skipped, 0 failed; 3 s")]:
            with self.subTest(expected=expected):
                self.assertEqual(expected, "\n".join(run_ctest.closing_lines(outcomes, label, 3.1)))


if __name__ == "__main__":
    unittest.main()
