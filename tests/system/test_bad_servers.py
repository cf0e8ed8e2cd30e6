"""Mail servers that are not there, turn mail away, stall, hang up or leave it open what became of a mail."""

import time
import unittest

from servers import (CuttingAfterAcceptance, GreetingOnSecondTry, HangingUpInData, KeepingWithoutAnswer,
                     RefusingRecipient, Silent, closed_port)
from support import Entry, RoadTest


class BadServers(RoadTest):
    def send_to(self, port, expect, **options):
        site = self.make_site(port, MailUserName="", **options)
        self.document = site.queue("FLog.4711.200403151401.xml", [Entry()])
        self.before = self.document.read_bytes()
        return self.quiet_log_after("-fs", expect=expect)

    def assert_failed(self, log, pattern="."):
        self.assert_one_failed_mail(log, pattern)
        self.assertEqual(self.before, self.document.read_bytes())

    def test_nobody_listens(self):
        with closed_port() as port:
            self.assert_failed(self.send_to(port, 1))

    def test_an_unknown_name(self):
        self.assert_failed(self.send_to(25, 1, SMTPServer="no-such-host.invalid"))

    def test_the_recipient_is_turned_away(self):
        sink = self.start_sink(RefusingRecipient())
        self.assert_failed(self.send_to(sink.port, 1), r"550 5\.1\.1 no such mailbox")
        self.assertEqual([], sink.mails)

    def test_a_silent_server_is_given_up_after_the_time_out(self):
        sink = self.start_sink(Silent())
        begin = time.monotonic()
        log = self.send_to(sink.port, 1, Timeout="1", TryCount="2")
        self.assert_failed(log)
        self.assertEqual(2, sink.connections)
        self.assertGreaterEqual(time.monotonic() - begin, 1.9)

    def test_a_server_that_hangs_up_in_the_data_is_not_tried_again(self):
        sink = self.start_sink(HangingUpInData())
        self.assert_failed(self.send_to(sink.port, 1, TryCount="3"))
        self.assertEqual(1, sink.connections)

    def test_a_server_that_is_busy_at_first_is_tried_again(self):
        sink = self.start_sink(GreetingOnSecondTry())
        self.assertEqual(["[Mail]:Mail Sent"], self.send_to(sink.port, 0, TryCount="2"))
        self.assertEqual(2, sink.connections)

    def test_an_accepted_mail_is_sent_whatever_becomes_of_the_connection(self):
        sink = self.start_sink(CuttingAfterAcceptance())
        self.assertEqual(["[Mail]:Mail Sent"], self.send_to(sink.port, 0))
        self.assertEqual(["Sent"], self.modes())
        self.assertEqual(1, len(sink.mails))


class UnclearEnd(RoadTest):
    def check(self, use_zip):
        sink = self.start_sink(KeepingWithoutAnswer())
        site = self.make_site(sink.port, UseZip=use_zip, TryCount="3")
        site.queue("FLog.4711.200403151401.xml", [Entry()], size=20000)
        log = self.quiet_log_after("-fs", expect=1)
        self.assert_one_failed_mail(log, "may have been delivered")
        self.assertEqual(["Not Sent"], self.modes())
        self.assertEqual(1, len(sink.mails))

        good = self.start_sink()
        site.set_options(SMTPPort=str(good.port))
        self.assertEqual(["[Mail]:Mail Sent"], self.log_after("-fs"))
        self.assertEqual(self.read_mail(sink.mails[0].content)["Message-ID"],
                         self.read_mail(good.mails[0].content)["Message-ID"])

    def test_the_same_mail_sent_again_bears_the_same_id(self):
        self.check("False")

    def test_a_zipped_mail_too(self):
        self.check("True")


if __name__ == "__main__":
    unittest.main()
