"""How often a run opens the documents that it collects and sends."""

import re
import unittest

from capabilities import require_tracing
from support import ALL_IN_ONE_MAIL, Entry, SystemTest, fault_file

DOCUMENT = re.compile(r'"(?:[^"]*/)?(FLog\.[^"/]*\.xml)"')
RENAME = re.compile(r'^\d+ +rename(?:at2?)?\(.*"(?:[^"]*/)?(FLog\.[^"/]*\.xml)"(?:, \w+)?\) ')
OPEN = re.compile(r'^\d+ +open(?:at)?\(')


class OpensOfDocuments(SystemTest):
    def opens_between_rename_and_marking(self, *switches):
        """Runs the program; returns how often it opened each document between the rename that published it and the
        rename that replaced it by the marked one."""
        require_tracing("strace", "-o", "/dev/null")
        trace = self.folder / "trace"
        self.run_program(*switches, under=("strace", "-f", "-qq", "-s", "4096", "-o", str(trace), "-e",
                                           "trace=open,openat,rename,renameat,renameat2"))
        opens, renames = {}, {}
        for line in trace.read_text().splitlines():
            renamed = RENAME.match(line)
            if renamed:
                renames[renamed[1]] = renames.get(renamed[1], 0) + 1
                opens.setdefault(renamed[1], 0)
            elif OPEN.match(line) and (opened := DOCUMENT.search(line)) and renames.get(opened[1]) == 1:
                opens[opened[1]] += 1
        self.assertEqual({2}, set(renames.values()), "each document is published once and marked once")
        return opens

    def check(self, **options):
        sink = self.start_server()
        site = self.make_site(sink.port, NumAttachments=ALL_IN_ONE_MAIL, **options)
        entries = [Entry() for _ in range(3)]
        for number, entry in enumerate(entries):
            # three files of more than half of a document each make at least two documents
            site.drop(f"unit{number}.xml", fault_file([entry], prodcode=f"P{number}", size=900_000))
        opens = self.opens_between_rename_and_marking("-fcs")
        self.assertEqual([path.name for path in site.documents()], sorted(opens))
        self.assertLess(1, len(opens))
        for name, count in opens.items():
            self.assertLessEqual(count, 2, name)
            self.assertLess(0, count, name)
        self.assertEqual({"Sent"}, set(self.modes()))
        self.assertEqual({entry.uid for entry in entries}, set(self.all_entries(site.documents())))
        self.assertEqual(1, len(sink.mails))

    def test_a_run_that_collects_and_sends_opens_each_document_at_most_twice(self):
        self.check(UseZip="False")

    def test_with_zip_it_opens_each_document_at_most_twice(self):
        self.check(UseZip="True")


if __name__ == "__main__":
    unittest.main()
