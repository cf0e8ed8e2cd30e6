"""The fixture of the system tests: each runs the built program on a site of its own."""

import contextlib
import email
import email.policy
import os
import pathlib
import re
import socket
import sys
import tempfile
import unittest

TESTS = pathlib.Path(__file__).resolve().parent.parent
sys.path[:0] = [str(TESTS.parent / "tools"), str(TESTS / "tools")]
from mail_sink import MailSink  # noqa: E402,F401
from make_site import (SPECIMENS, Entry, Site, entries_of, fault_file, mode_of, parse,  # noqa: E402,F401
                       ppc_entries_of, ppc_entry, ppc_file, today)

PARTNER = "4711"
SENDER = "site@partner.example"
DEFAULT_RECIPIENT = os.environ.get("FIELDPOST_DEFAULT_FAULTLOG_RECIPIENT", "faultlog@fieldpost.example")
DEFAULT_PPC_RECIPIENT = os.environ.get("FIELDPOST_DEFAULT_PPC_RECIPIENT", "ppc@fieldpost.example")
ALL_IN_ONE_MAIL = "9"


class SystemTest(unittest.TestCase):
    """Has a temporary folder with a site in it that can send to a port of this machine."""

    maxDiff = None
    scratch = None  # where the temporary folder is made; None: in the system's own

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="fieldpost-test-", dir=self.scratch)
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.site = Site(self.folder / "site")

    def make_site(self, port=1, latest=("depot1", "depot2"), recipient=None, **options):
        """Makes a site with complete settings. `options` change settings or, with None, remove them."""
        settings = {"SMTPServer": "127.0.0.1", "SMTPPort": str(port), "SenderAddress": SENDER,
                    "PartnerID": PARTNER, "NumAttachments": "4", "UseZip": "False", "TryCount": "1",
                    "Timeout": "10", **options}
        self.site.set_up(settings, latest=latest, recipient=recipient)
        return self.site

    def start_server(self, server=None):
        """Starts a mail server, which is stopped with the test; one that accepts every mail when none is given."""
        server = (server or MailSink()).start()
        self.addCleanup(server.stop)
        return server

    def run_program(self, *switches, expect=0, **how):
        status = self.site.run(*switches, **how)
        self.assertEqual(expect, status, f"exit status; printed: {self.site.printed!r}; "
                                         f"log: {self.site.log()[-5:]}")

    def log_after(self, *switches, expect=0, **how):
        """Runs the program. Returns the lines that the run added to the log."""
        before = len(self.site.log())
        self.run_program(*switches, expect=expect, **how)
        return self.site.log()[before:]

    def quiet_log_after(self, *switches, **how):
        """Returns what log_after does, without the lines about folders that the first run of a site makes."""
        return [line for line in self.log_after(*switches, **how)
                if not line.startswith("[Create missing directory]:")]

    def modes(self):
        return [mode_of(path) for path in self.site.documents()]

    def all_entries(self, paths):
        """Returns the entries of several documents; fails when an entry is in two of them."""
        result = {}
        for path in paths:
            for uid, text in entries_of(path).items():
                self.assertNotIn(uid, result, f"entry is in {path} and in a document before it")
                result[uid] = text
        return result

    def assert_one_failed_mail(self, log, pattern="."):
        """The log holds one line: a mail failed, with a number and a description that matches `pattern`."""
        self.assertEqual(1, len(log), log)
        self.assertRegex(log[0], r"^\[Mail\]:Error: [1-9]\d* .*\S.*")
        self.assertRegex(log[0], pattern)

    def assert_nothing_waits(self):
        self.assertEqual([], [path.name for path in self.site.waiting()])

    def read_mail(self, content):
        """Parses a mail; fails on any deviation from the standards that the parser knows."""
        message = email.message_from_bytes(content, policy=email.policy.default)
        for part in message.walk():
            self.assertEqual([], part.defects)
            for name, value in part.items():
                self.assertEqual((), tuple(value.defects), f"{name}: {value}")
        for name in ("From", "To", "Subject", "Date", "Message-ID", "MIME-Version"):
            self.assertEqual(1, len(message.get_all(name, [])), f"header {name}")
        self.assertRegex(message["Message-ID"], r"^<[^<>@\s]+@[^<>@\s]+>$")
        return message

    def assert_clean_lines(self, content):
        """Every line ends in CR LF and has at most 998 characters, all of them ASCII."""
        for line in content.split(b"\r\n"):
            self.assertNotIn(b"\n", line)
            self.assertNotIn(b"\r", line)
            self.assertLessEqual(len(line), 998)
        self.assertTrue(content.isascii())

    def body_of(self, message):
        text = message.get_body(("plain",)).get_content()
        return text.rstrip("\r\n").splitlines()

    def attachments_of(self, message):
        """Returns names and bytes of the attachments, in order."""
        return [(part.get_filename(), content_bytes(part)) for part in message.iter_attachments()]

    def assert_subject(self, message, number):
        self.assertRegex(message["Subject"], r"^%s   Partner ID:%s  Sent:\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d$"
                         % (re.escape(number), PARTNER))


def content_bytes(part):
    content = part.get_content()
    if isinstance(content, str):
        return content.encode(part.get_content_charset() or "utf-8")
    return content


def laid_out(length):
    """Returns a count of bytes as the summary shows it: with a point three places from the right."""
    return f"{str(length)[:-3]}.{str(length)[-3:]:>3}"


def summary(number, names_and_bytes, kind="Faultlog"):
    """Returns the lines of a mail's body."""
    lines = [number, "", f"[{kind} Files]", f"Total={len(names_and_bytes)}"]
    lines += [f"FileNumber{i}={name}" for i, (name, _) in enumerate(names_and_bytes, 1)]
    lines += ["", f"[{kind} File Size]",
              "TotalFilesize=" + laid_out(sum(len(content) for _, content in names_and_bytes))]
    lines += [f"FileSize{i}={laid_out(len(content))}" for i, (_, content) in enumerate(names_and_bytes, 1)]
    return lines


@contextlib.contextmanager
def closed_port():
    """A port that refuses connections, and that the system gives to nobody else meanwhile."""
    with socket.socket() as holder:
        holder.bind(("127.0.0.1", 0))
        yield holder.getsockname()[1]
