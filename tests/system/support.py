"""What the tests of the built program share: a site of its own for each, and the ways to look at it."""

import email
import email.policy
import os
import pathlib
import re
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


class RoadTest(unittest.TestCase):
    """Each test has a temporary folder with a site in it that can send to a port of this machine."""

    maxDiff = None
    scratch = None  # where the temporary folder is made; None is where the system has such

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="fieldpost-road-", dir=self.scratch)
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.site = Site(self.folder / "site")

    def make_site(self, port=1, latest=("depot1", "depot2"), recipient=None, **options):
        """A site whose settings are whole. `options` change or, with None, take out settings."""
        settings = {"SMTPServer": "127.0.0.1", "SMTPPort": str(port), "SenderAddress": SENDER,
                    "PartnerID": PARTNER, "NumAttachments": "4", "UseZip": "False", "TryCount": "1",
                    "Timeout": "10", **options}
        self.site.set_up(settings, latest=latest, recipient=recipient)
        return self.site

    def start_sink(self, sink=None):
        sink = sink or MailSink()
        sink.__enter__()
        self.addCleanup(sink.__exit__)
        return sink

    def run_program(self, *switches, expect=0, **how):
        status = self.site.run(*switches, **how)
        self.assertEqual(expect, status, f"exit status; printed: {self.site.printed!r}; "
                                         f"log: {self.site.log()[-5:]}")

    def log_after(self, *switches, expect=0, **how):
        """Runs the program; returns the lines that this run added to the log."""
        before = len(self.site.log())
        self.run_program(*switches, expect=expect, **how)
        return self.site.log()[before:]

    def quiet_log_after(self, *switches, **how):
        """As log_after, without the lines about folders that the first run of a site makes."""
        return [line for line in self.log_after(*switches, **how)
                if not line.startswith("[Create missing directory]:")]

    def modes(self):
        return [mode_of(path) for path in self.site.documents()]

    def all_entries(self, paths):
        """The entries of several documents together; an entry that is in two of them is an error."""
        result = {}
        for path in paths:
            for uid, text in entries_of(path).items():
                self.assertNotIn(uid, result, f"entry is in {path} and in a document before it")
                result[uid] = text
        return result

    def assert_one_failed_mail(self, log, pattern="."):
        """The log says of one mail that it failed, with a number and a description that matches `pattern`."""
        self.assertEqual(1, len(log), log)
        self.assertRegex(log[0], r"^\[Mail\]:Error: [1-9]\d* .*\S.*")
        self.assertRegex(log[0], pattern)

    def assert_nothing_waits(self):
        self.assertEqual([], [path.name for path in self.site.waiting()])

    def read_mail(self, content):
        """The mail as its reader's program sees it; anything that is not as the standards say is an error."""
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
        """Every line ends in CR LF, none is too long, nothing but ASCII is in it."""
        for line in content.split(b"\r\n"):
            self.assertNotIn(b"\n", line)
            self.assertNotIn(b"\r", line)
            self.assertLessEqual(len(line), 998)
        self.assertTrue(content.isascii())

    def body_of(self, message):
        text = message.get_body(("plain",)).get_content()
        return text.rstrip("\r\n").splitlines()

    def attachments_of(self, message):
        """Names and bytes of the attachments, in order."""
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
    """A count of bytes as the summary shows it: a point three places from the right."""
    return f"{str(length)[:-3]}.{str(length)[-3:]:>3}"


def summary(number, names_and_bytes, kind="Faultlog"):
    """The lines of a mail's body."""
    lines = [number, "", f"[{kind} Files]", f"Total={len(names_and_bytes)}"]
    lines += [f"FileNumber{i}={name}" for i, (name, _) in enumerate(names_and_bytes, 1)]
    lines += ["", f"[{kind} File Size]",
              "TotalFilesize=" + laid_out(sum(len(content) for _, content in names_and_bytes))]
    lines += [f"FileSize{i}={laid_out(len(content))}" for i, (_, content) in enumerate(names_and_bytes, 1)]
    return lines
