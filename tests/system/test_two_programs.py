"""Two runs at once on one site."""

import unittest

from misbehaviour import as_usual, hold
from smtp_server import SmtpServer
from support import Entry, SystemTest, fault_file


class TwoPrograms(SystemTest):
    def test_second_run_says_so_and_touches_nothing(self):
        sink = self.start_server(SmtpServer({"end": [hold, as_usual]}))
        site = self.make_site(sink.port)
        site.drop("first.xml", fault_file([Entry()]))
        first = site.start("-fcs")
        self.addCleanup(first.communicate)
        self.addCleanup(first.kill)
        self.assertTrue(sink.has_mail.wait(30))

        late = site.drop("late.xml", fault_file([Entry()]))
        for switch in ("-fc", "-fs", "-fcs"):
            with self.subTest(switch=switch):
                log = self.log_after(switch, expect=1)
                self.assertEqual(1, len(log), log)
                self.assertTrue(log[0].startswith("[Error]:"), log)
        self.assertTrue(late.exists())
        self.assertEqual(["Not Sent"], self.modes())

        sink.released.set()
        first.communicate(timeout=30)
        self.assertEqual(0, first.returncode)
        self.assertEqual(["Sent"], self.modes())
        self.assertEqual(1, len(sink.mails))
        self.run_program("-fc")
        self.assert_nothing_waits()

    def test_killed_run_does_not_block_the_next_one(self):
        sink = self.start_server(SmtpServer({"end": [hold, as_usual]}))
        site = self.make_site(sink.port)
        site.drop("first.xml", fault_file([Entry()]))
        first = site.start("-fcs")
        self.addCleanup(first.communicate)
        self.addCleanup(first.kill)
        self.assertTrue(sink.has_mail.wait(30))
        first.kill()
        first.wait(30)
        good = self.start_server()
        site.set_options(SMTPPort=str(good.port))
        self.assertEqual(["[Mail]:Mail Sent"], self.log_after("-fs"))
        self.assertEqual(1, len(good.mails))

    def test_runs_started_together_file_everything_once(self):
        site = self.make_site()
        expected = set()
        for number in range(300):
            entry = Entry()
            expected.add(entry.uid)
            site.drop(f"unit{number % 200}.xml", fault_file([entry]), folder=number // 200)
        programs = [site.start("-fc") for _ in range(4)]
        statuses = set()
        for program in programs:
            program.communicate(timeout=60)
            statuses.add(program.returncode)
        self.assertIn(0, statuses)
        self.assertLessEqual(statuses, {0, 1})
        self.assertEqual(expected, set(self.all_entries(site.archived())))
        self.assertEqual(expected, set(self.all_entries(site.documents())))
        self.assert_nothing_waits()


if __name__ == "__main__":
    unittest.main()
