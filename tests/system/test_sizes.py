"""Limits of size: many files, long documents, and hours in which all document numbers are used."""

import unittest

from support import Entry, SystemTest, entries_of, fault_file, mode_of, parse


class ManyFiles(SystemTest):
    def test_ten_thousand_files_in_one_run(self):
        site = self.make_site()
        expected = set()
        for number in range(10000):
            entry = Entry()
            expected.add(entry.uid)
            name = f"unit{number % 9900:05}.xml"
            site.drop(name, fault_file([entry], f"P{number % 9900 % 7}"), folder=number // 9900)
        self.assertEqual(["[Search Latest]:Found 10000 OK files"], self.quiet_log_after("-fc"))
        self.assert_nothing_waits()
        self.assertEqual(9900, len(site.archived()))
        self.assertEqual(expected, set(self.all_entries(site.archived())))
        self.assertEqual(expected, set(self.all_entries(site.documents())))


class LongDocuments(SystemTest):
    def test_document_ends_after_the_file_that_exceeds_the_limit(self):
        site = self.make_site()
        for number in range(11):
            site.drop(f"unit{number:02}.xml", fault_file([Entry(text="ä" * 300000)]))
        self.run_program("-fc")
        self.assertEqual([5, 5, 1], [len(entries_of(path)) for path in site.documents()])
        self.assertEqual(["01", "02", "03"], [path.stem[-2:] for path in site.documents()])

    def test_file_over_the_limit_has_a_document_of_its_own(self):
        site = self.make_site()
        site.drop("big.xml", fault_file([Entry(text="x" * 1400000)]))
        site.drop("small.xml", fault_file([Entry()]))
        self.run_program("-fc")
        self.assertEqual([1, 1], [len(entries_of(path)) for path in site.documents()])
        self.assertEqual(["FLFILE", "FLFILE"], [parse(path).tag for path in site.documents()])


class FullHour(SystemTest):
    HOUR = "2026030514"

    def fill_hour(self, last_mode):
        self.site = self.make_site()
        self.last = Entry()
        for number in range(1, 99):
            self.site.queue(f"FLog.4711.{self.HOUR}{number:02}.xml", [Entry()], mode="Sent")
        self.site.queue(f"FLog.4711.{self.HOUR}99.xml", [self.last], mode=last_mode)
        self.new = Entry()
        self.site.drop("unit.xml", fault_file([self.new]))
        self.run_program("-fc", moment="2026-03-05 14:30:00")
        self.document = self.site.process / f"FLog.4711.{self.HOUR}99.xml"

    def test_number_99_is_replaced(self):
        self.fill_hour("Sent")
        self.assertEqual(99, len(self.site.documents()))
        self.assertEqual({self.new.uid}, set(entries_of(self.document)))
        self.assertEqual("Not Sent", mode_of(self.document))

    def check_that_the_replaced_entry_is_in_a_later_document(self):
        self.run_program("-fc", moment="2026-03-05 15:01:00")
        found = self.all_entries(path for path in self.site.documents() if mode_of(path) == "Not Sent")
        self.assertLessEqual({self.last.uid, self.new.uid}, set(found))

    def test_unsent_entry_is_in_a_later_document_with_new_files(self):
        self.fill_hour("Not Sent")
        self.site.drop("later.xml", fault_file([Entry()]))
        self.check_that_the_replaced_entry_is_in_a_later_document()

    def test_unsent_entry_is_in_a_later_document_without_new_files(self):
        self.fill_hour("Not Sent")
        self.check_that_the_replaced_entry_is_in_a_later_document()

    def test_each_day_has_its_own_log(self):
        site = self.make_site()
        self.run_program("-fc", moment="2026-03-05 23:59:40")
        self.run_program("-fc", moment="2026-03-06 00:00:01")
        self.assertEqual(["FPProg_05032026.log", "FPProg_06032026.log"],
                         [path.name for path in site.log_files()])


if __name__ == "__main__":
    unittest.main()
