"""Tests of the mail servers that the other tests use."""

import contextlib
import pathlib
import socket
import tempfile
import unittest

from mail_sink import DiscardingSink, MailSink
from misbehaviour import as_usual, hang_up, record, reset, say, take
from smtp_server import Fault, SmtpServer
from smtp_session import is_malformed

TALK = [b"EHLO pc-17\r\n", b"MAIL FROM:<a@b.example>\r\n", b"RCPT TO:<c@d.example>\r\n", b"DATA\r\n",
        b"Subject: x\r\n\r\n..y\r\n.\r\n", b"QUIT\r\n"]


class Client:
    """Says lines to a server, and reads a reply after each."""

    def __init__(self, port):
        self.socket = socket.create_connection(("127.0.0.1", port), timeout=20)
        self.lines = self.socket.makefile("rb")

    def reply(self):
        """Returns the code of the next reply; "" when the server has closed, "reset" when it has reset."""
        try:
            line = self.lines.readline()
            while line[3:4] == b"-":
                line = self.lines.readline()
        except ConnectionResetError:
            return "reset"
        return line[:3].decode("latin-1")

    def talk(self, said):
        """Returns the codes of the greeting and of the replies, up to the end of the connection."""
        codes = [self.reply()]
        with contextlib.suppress(OSError):
            for content in said:
                if codes[-1] in ("", "reset"):
                    break
                self.socket.sendall(content)
                codes.append(self.reply())
        self.lines.close()
        self.socket.close()
        return " ".join(codes).strip()


class ServerTest(unittest.TestCase):
    def start(self, server):
        self.addCleanup(server.stop)
        return server.start()


class Sink(ServerTest):
    def test_records_a_mail_with_its_envelope(self):
        sink = self.start(MailSink())
        self.assertEqual("220 250 250 250 354 250 221", Client(sink.port).talk(TALK))
        (mail,) = sink.mails
        self.assertEqual(("pc-17", None, "a@b.example", ["c@d.example"], b"Subject: x\r\n\r\n.y\r\n", True),
                         (mail.client, mail.login, mail.sender, mail.recipients, mail.content, mail.answered))

    def test_writes_mails_into_its_folder(self):
        with tempfile.TemporaryDirectory() as folder:
            sink = self.start(MailSink(folder))
            Client(sink.port).talk(TALK[:5] + TALK[1:])
            self.assertEqual(["mail-0001.eml", "mail-0002.eml"], sorted(p.name for p in pathlib.Path(folder).iterdir()))

    def test_refuses_what_is_malformed_or_out_of_order(self):
        hello, sender, recipient, data = TALK[:4]
        sink = self.start(MailSink())
        for said, expected in [
                ([b"NONSENSE\r\n"], "500"), ([b"GREETING\r\n"], "500"), ([b"\r\n"], "500"),
                ([b"NOOP\n"], "500"), ([b"NOOP" + b" " * 510 + b"\r\n"], "500"), ([sender], "503"),
                ([hello, recipient], "250 503"), ([hello, data], "250 503"), ([hello, sender, sender], "250 250 503"),
                ([hello, sender, data], "250 250 503"), ([hello, b"MAIL FROM:a@b.example\r\n"], "250 501"),
                ([hello, b"MAIL FROM:<a b@c.example>\r\n"], "250 501"),
                ([hello, sender, b"RCPT TO:<>\r\n"], "250 250 501"),
                ([hello, sender, recipient, data, b"x\ny\r\n.\r\n"], "250 250 250 354 554")]:
            with self.subTest(said=said):
                self.assertEqual("220 " + expected, Client(sink.port).talk(said))
        self.assertEqual([], sink.mails)

    def test_accepts_any_login(self):
        sink = self.start(MailSink())
        self.assertEqual("220 250 334 235 250 250 354 250",
                         Client(sink.port).talk([TALK[0], b"AUTH PLAIN\r\n", b"AHUAcA==\r\n", *TALK[1:5]]))
        self.assertEqual(("u", "p"), sink.mails[0].login)

    def test_discards(self):
        sink = self.start(DiscardingSink())
        self.assertEqual("220 250 250 250 354 250 221", Client(sink.port).talk(TALK))
        self.assertEqual([], sink.mails)

    def test_malformed_mails(self):
        for content, expected in [(b"a\r\n", False), (b"", False), (b"a\rb\r\n", True), (b"a\nb\r\n", True),
                                  (b"a\r\r\n", True), (b"x" * 998 + b"\r\n", False), (b"x" * 999 + b"\r\n", True)]:
            with self.subTest(content=content[:9]):
                self.assertEqual(expected, is_malformed(content))


class Misbehaviour(ServerTest):
    def test_scripts(self):
        for script, expected, mails in [
                ({}, "220 250 250 250 354 250 221", 1),
                ({"greeting": [hang_up]}, "", 0),
                ({"greeting": [say("421 busy"), hang_up]}, "421", 0),
                # The text of the mail is read as two commands, and their replies by two lines of the client.
                ({"MAIL": [say("550 no")]}, "220 250 550 503 503 500 500", 0),
                ({("MAIL", 2): [say("550 no")]}, "220 250 250 250 354 250 221", 1),
                ({"DATA": [say("354 go on"), take(3), hang_up]}, "220 250 250 250 354", 0),
                ({"end": [say("451 not now")]}, "220 250 250 250 354 451 221", 0),
                ({"end": [record, reset]}, "220 250 250 250 354 reset", 1),
                ({"end": [as_usual, hang_up]}, "220 250 250 250 354 250", 1)]:
            with self.subTest(expected=expected):
                server = self.start(SmtpServer(script))
                self.assertEqual(expected, Client(server.port).talk(TALK))
                self.assertEqual(mails, len(server.mails))

    def test_fault_strikes_at_its_step_once(self):
        steps = 8  # the greeting, the three lines after EHLO, the replies to MAIL, RCPT and DATA, the acceptance
        for part, answered in [(0, False), (0.5, False), (1, True)]:
            with self.subTest(part=part):
                server = self.start(SmtpServer(fault=Fault(steps - 1, part, "close")))
                Client(server.port).talk(TALK)
                self.assertTrue(server.struck.wait(20))
                self.assertEqual([answered], [mail.answered for mail in server.heal()])
                Client(server.port).talk(TALK)
                self.assertEqual([True], [mail.answered for mail in server.mails])


if __name__ == "__main__":
    unittest.main()
