"""Mail servers that are missing, refuse mail, stall, hang up, or leave it unclear whether a mail was accepted."""

import time
import unittest

from misbehaviour import as_usual, hang_up, record, reset, say, stall, take
from smtp_server import SmtpServer
from support import Entry, SystemTest, closed_port


class ServerFailures(SystemTest):
    def send_to(self, port, expect, **options):
        site = self.make_site(port, MailUserName="", **options)
        self.document = site.queue("FLog.4711.200403151401.xml", [Entry()])
        self.before = self.document.read_bytes()
        return self.quiet_log_after("-fs", expect=expect)

    def assert_failed(self, log, pattern="."):
        self.assert_one_failed_mail(log, pattern)
        self.assertEqual(self.before, self.document.read_bytes())

    def test_refused_connection(self):
        with closed_port() as port:
            self.assert_failed(self.send_to(port, 1))

    def test_unknown_name(self):
        self.assert_failed(self.send_to(25, 1, SMTPServer="no-such-host.invalid"))

    def test_refused_recipient(self):
        server = self.start_server(SmtpServer({"RCPT": [say("550 5.1.1 no such mailbox")]}))
        self.assert_failed(self.send_to(server.port, 1), r"550 5\.1\.1 no such mailbox")
        self.assertEqual([], server.mails)

    def test_silent_server_is_given_up_after_the_timeout(self):
        server = self.start_server(SmtpServer({"greeting": [stall]}))
        begin = time.monotonic()
        log = self.send_to(server.port, 1, Timeout="1", TryCount="2")
        self.assert_failed(log)
        self.assertEqual(2, server.connections)
        self.assertGreaterEqual(time.monotonic() - begin, 1.9)

    def test_hang_up_in_the_data_is_not_tried_again(self):
        server = self.start_server(SmtpServer({"DATA": [say("354 go on"), take(100), reset]}))
        self.assert_failed(self.send_to(server.port, 1, TryCount="3"))
        self.assertEqual(1, server.connections)

    def test_busy_server_is_tried_again(self):
        server = self.start_server(SmtpServer({("greeting", 1): [say("421 4.3.2 come back later"), hang_up]}))
        self.assertEqual(["[Mail]:Mail Sent"], self.send_to(server.port, 0, TryCount="2"))
        self.assertEqual(2, server.connections)

    def test_accepted_mail_is_sent_whatever_becomes_of_the_connection(self):
        server = self.start_server(SmtpServer({"end": [as_usual, hang_up]}))
        self.assertEqual(["[Mail]:Mail Sent"], self.send_to(server.port, 0))
        self.assertEqual(["Sent"], self.modes())
        self.assertEqual(1, len(server.mails))


class UnclearEnd(SystemTest):
    def check(self, use_zip):
        server = self.start_server(SmtpServer({"end": [record, reset]}))
        site = self.make_site(server.port, UseZip=use_zip, TryCount="3")
        site.queue("FLog.4711.200403151401.xml", [Entry()], size=20000)
        log = self.quiet_log_after("-fs", expect=1)
        self.assert_one_failed_mail(log, "may have been delivered")
        self.assertEqual(["Not Sent"], self.modes())
        self.assertEqual(1, len(server.mails))

        good = self.start_server()
        site.set_options(SMTPPort=str(good.port))
        self.assertEqual(["[Mail]:Mail Sent"], self.log_after("-fs"))
        self.assertEqual(self.read_mail(server.mails[0].content)["Message-ID"],
                         self.read_mail(good.mails[0].content)["Message-ID"])

    def test_mail_sent_again_keeps_its_message_id(self):
        self.check("False")

    def test_zipped_mail_sent_again_keeps_its_message_id(self):
        self.check("True")


if __name__ == "__main__":
    unittest.main()
