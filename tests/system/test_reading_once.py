"""How often a run opens the documents that it collects and sends, and what a first run does about open settings."""

import re
import unittest

from support import ALL_IN_ONE_MAIL, Entry, RoadTest, fault_file

DOCUMENT = re.compile(r'"(?:[^"]*/)?(FLog\.[^"/]*\.xml)"')
RENAME = re.compile(r'^\d+ +rename(?:at2?)?\(.*"(?:[^"]*/)?(FLog\.[^"/]*\.xml)"(?:, \w+)?\) ')
OPEN = re.compile(r'^\d+ +open(?:at)?\(')


class OpensOfDocuments(RoadTest):
    def opens_between_rename_and_marking(self, *switches):
        """Runs the program; returns how often it opened each document between the rename that published it and the
        rename that replaced it by the marked one."""
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
        sink = self.start_sink()
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

    def test_so_it_does_when_it_packs_them(self):
        self.check(UseZip="True")


class FirstRun(RoadTest):
    def test_settings_that_are_open_to_others_are_closed_and_logged_without_failing_the_run(self):
        sink = self.start_sink()
        site = self.make_site(sink.port)
        options = site.home / "Options.ini"
        options.chmod(0o644)
        site.drop("unit.xml", fault_file([Entry()]))
        self.assertFalse(site.faultlog.exists(), "it is a first run")
        log = self.quiet_log_after("-fcs")
        self.assertEqual("", site.printed)
        self.assertEqual([f"[Error]:{options} was open to others; it is kept to its owner now. If somebody may have "
                          "read it, change the mail password",
                          "[Search Latest]:Found 1 OK files", "[Mail]:Mail Sent"], log)
        self.assertEqual(0o600, options.stat().st_mode & 0o777)


if __name__ == "__main__":
    unittest.main()
