"""What is printed of the tests that passed."""

import unittest
import xml.etree.ElementTree

import print_figures


class Figures(unittest.TestCase):
    def test_are_what_the_test_itself_said(self):
        for said, expected in [
                ("....\n----------\nRan 4 tests in 1.5s\n\nOK\n", []),
                ("..666 of 666 calls\nlost 0\n.\n-----\nRan 1 test in 3s\n\nOK\n", ["666 of 666 calls", "lost 0"]),
                ("", [])]:
            case = xml.etree.ElementTree.fromstring("<testcase><system-out/></testcase>")
            case.find("system-out").text = said
            with self.subTest(said=said):
                self.assertEqual(expected, print_figures.figures(case))

    def test_none_without_an_output(self):
        self.assertEqual([], print_figures.figures(xml.etree.ElementTree.fromstring("<testcase/>")))


if __name__ == "__main__":
    unittest.main()
