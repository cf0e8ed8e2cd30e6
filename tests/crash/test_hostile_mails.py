"""Two hundred mails from hostile settings and names, read back by Python's parser and by a strict one of our own.

A setting that cannot be part of a mail is refused with a line of the log, and nothing is sent.
"""

import dataclasses
import io
import itertools
import random
import re
import sys
import time
import unittest
import zipfile

from crash_support import CrashTest
from mail_site import MailSite
from hostile_values import HOSTS, NAMES, PARTNERS, RECIPIENTS, SENDERS, TEXTS, USERS
from strict_mail import StrictMail
from support import DEFAULT_RECIPIENT, Entry, content_bytes, summary

COUNT = 200
SEED = 4711
HEADERS = ["Content-Type", "Date", "From", "MIME-Version", "Message-ID", "Reply-To", "Subject", "To"]


@dataclasses.dataclass
class Given:
    """The settings of a site, and the names of the documents that wait there."""

    organization: str
    sender: str
    recipient: str
    host: str
    partner: str
    user: tuple
    names: list
    zipped: bool


def table():
    """Yields the two hundred: each text, name and address at least once, combined by a fixed random sequence."""
    chance = random.Random(SEED)
    names = itertools.cycle(NAMES)
    for number in range(COUNT):
        yield Given(organization=TEXTS[number % len(TEXTS)], sender=SENDERS[number % len(SENDERS)],
                    recipient=RECIPIENTS[number % len(RECIPIENTS)], host=HOSTS[number % len(HOSTS)],
                    partner=PARTNERS[number % len(PARTNERS)], user=USERS[number % len(USERS)],
                    names=[next(names) for _ in range(chance.choice([1, 1, 1, 2, 3]))],
                    zipped=chance.random() < 0.2)


def written(value):
    """Returns a value as Options.ini has to hold it, in quotes where it needs them."""
    return f'"{value}"' if value != value.strip(" \t") or (value[:1] == '"' == value[-1:] and len(value) > 1) else value


def well_formed(text):
    """Returns a text with U+FFFD for each byte that is not UTF-8."""
    raw, result = text.encode("utf-8", "surrogateescape"), ""
    while raw:
        for length in range(1, 5):
            try:
                result += raw[:length].decode("utf-8")
                break
            except UnicodeDecodeError:
                continue
        else:
            length, result = 1, result + "\ufffd"
        raw = raw[length:]
    return result


def header_text(text):
    """Returns what a mail's reader sees of a setting: cut at NUL, without control characters and outer blanks."""
    return well_formed(re.sub(r"[\x01-\x1f\x7f]", " ", text.split("\0")[0]).strip(" "))


def travel_name(name):
    return re.sub(r"[\x00-\x1f\x7f]", "_", well_formed(name))


def visible(name):
    hidden = re.compile("[\x00-\x1f\x7f-\x9f\u061c\u200b-\u200f\u2028-\u202e\u2060-\u206f\ufeff\udc80-\udcff]"
                        .encode("unicode_escape").decode())
    return hidden.sub(lambda found: "".join(f"\\x{byte:02X}" for byte in found[0].encode("utf-8", "surrogateescape")),
                      name)


class HostileMails(CrashTest):
    def site_for(self, number, given, sink):
        user, password = given.user
        site = MailSite(self.folder / str(number), sink.port, Organization=written(given.organization),
                        SenderAddress=given.sender, MailHostName=given.host, PartnerID=written(given.partner),
                        MailUserName=written(user), MailPassword=written(password), UseZip=str(given.zipped),
                        NumAttachments="9")
        if given.recipient is not None:
            self.set_recipient(site, given.recipient)
        for name in given.names:
            site.queue(name + ".xml", [Entry()])
        return site

    @staticmethod
    def set_recipient(site, recipient):
        site.registry("add", r"HKLM\SOFTWARE\Kestrel\Fieldpost\Common\Mail\Faultlog", "--ve", "--data", recipient)

    def check(self, given, documents, mail):
        self.assertEqual((given.sender, [given.recipient or DEFAULT_RECIPIENT]), (mail.sender, mail.recipients))
        self.assertEqual(given.user if all(given.user) else None, mail.login)
        if given.host:
            self.assertEqual(given.host, mail.client)
        self.assert_clean_lines(mail.content)
        message, own = self.read_mail(mail.content), StrictMail(mail.content)
        organization = header_text(given.organization)
        self.assertEqual(sorted(HEADERS + (["Organization"] if organization else [])), sorted(own.headers))
        self.assertEqual(organization, str(message["Organization"] or ""))
        for name, address in (("From", given.sender), ("Reply-To", given.sender), ("To", mail.recipients[0])):
            self.assertEqual(address, own.headers[name])
            self.assertEqual([address], [one.addr_spec for one in message[name].addresses])
        partner = re.sub(r"[^A-Za-z0-9]", "", given.partner)
        self.assertRegex(str(message["Subject"]),
                         rf"^1/1   Partner ID:{partner}  Sent:\d\d\.\d\d\.\d{{4}} \d\d:\d\d:\d\d$")
        expected = self.expected_files(given, documents, own)
        # Not by get_filename(), which takes blanks off.
        self.assertEqual(expected, [(part["Content-Disposition"].params["filename"], content_bytes(part))
                                    for part in message.iter_attachments()])
        self.assertEqual(expected, [(own.name_of(head), own.decode(head, body)) for head, body in own.parts[1:]])
        self.check_body(given, message, own, expected)

    def expected_files(self, given, documents, own):
        """Returns names and bytes of what must be attached."""
        if not given.zipped:
            return [(travel_name(path.name), content) for path, content in documents]
        (headers, body), = own.parts[1:]
        content = own.decode(headers, body)
        packed = zipfile.ZipFile(io.BytesIO(content))
        self.assertIsNone(packed.testzip())
        self.assertEqual([(travel_name(path.name), content) for path, content in documents],
                         [(one.filename, packed.read(one)) for one in packed.infolist()])
        return [(own.name_of(headers), content)]

    def check_body(self, given, message, own, expected):
        shown = [(name if given.zipped else visible(original + ".xml"), content)
                 for original, (name, content) in zip(sorted_names(given), expected)]
        headers, body = own.parts[0]
        self.assertEqual(["Content-Transfer-Encoding", "Content-Type"], sorted(headers))
        text = well_formed("\r\n".join(summary("1/1", shown)))
        self.assertEqual(text, own.decode(headers, body).decode("utf-8"))
        self.assertEqual(text, message.get_body(("plain",)).get_payload(decode=True).decode("utf-8"))

    def test_mails_every_hostile_name_and_setting_well_formed(self):
        sink = self.start_server()
        begin, wrong = time.monotonic(), []
        for number, given in enumerate(table()):
            site = self.site_for(number, given, sink)
            documents = sorted(((path, path.read_bytes()) for path in site.process.iterdir()),
                               key=lambda one: bytes(one[0]))
            status = site.run("-fs")
            try:
                self.assertEqual((0, number + 1), (status, len(sink.mails)), site.log()[-1])
                self.check(given, documents, sink.mails[-1])
            except Exception as error:
                wrong.append(f"{error!r}: {given}"[:700])
        print(f"{len(sink.mails)} mails, {time.monotonic() - begin:.1f} s", file=sys.stderr)
        self.assertEqual([], wrong[:5], len(wrong))
        self.assertEqual(COUNT, len(sink.mails))


class Refused(CrashTest):
    """Settings that would be more than a name or an address in the SMTP dialogue or in a header."""

    ADDRESSES = ["a b@x.example", "a@x.example\t", "a@x\x0b.example", "<a@x.example>", "a@x.example>",
                 "a@x.example> SIZE=1",
                 "ä@x.example", "a@ü.example", "a@x.example,b@y.example", "a@x.example;b@y.example",
                 "a@x\u2028.example", "\udcff@x.example",
                 "a" * 400 + "@x.example", "a(b)@x.example", '"a b"@x.example', "a:b@x.example", "a@b@x.example",
                 "@x.example", "a@"]
    # These cannot stand in Options.ini, where they would end the line.
    BROKEN_ADDRESSES = ["a@x.example\nRCPT TO:<b@y.example>", "a@x.example\r\nDATA", "a@x.example\r", "\na@x.example"]
    NAMES = ["pc 17", "<pc-17>", "pc\x7f17", "pc\x1b[2J", "rüdiger", "x" * 256, "a\u0085b"]
    SERVERS = ["127.0.0.1 x", "<127.0.0.1>", "127.0.0.1/x", "user@127.0.0.1", "127.0.0.1#", "127.0.0.1?", "x" * 256,
               "127.0.0.1\x0bQUIT", "127.0.0.1:25/?", "%31"]

    def cases(self):
        yield from (("SenderAddress", value, "(the sender's address|.* is not a valid sender address)")
                    for value in self.ADDRESSES)
        yield from (("recipient", value, "(the recipient's address|.* is not a valid recipient address)")
                    for value in self.ADDRESSES + self.BROKEN_ADDRESSES)
        yield from (("MailHostName", value, "the announced host name") for value in self.NAMES)
        yield from (("SMTPServer", value,
                     "(the mail server's name|.* is not a valid mail server name)") for value in self.SERVERS)

    def log_of(self, number, setting, value, sink):
        site = MailSite(self.folder / str(number), sink.port)
        if setting == "recipient":
            HostileMails.set_recipient(site, value)
        else:
            site.set_options(**{setting: written(value)})
        document = site.queue("FLog.4711.200403151401.xml", [Entry()])
        before = document.read_bytes()
        self.assertEqual(1, site.run("-fs"))
        log = [line for line in site.log() if not line.startswith("[Create missing directory]:")]
        self.assertEqual(before, document.read_bytes())
        self.assertEqual("", site.printed)
        return log

    def test_nothing_is_sent(self):
        sink, count = self.start_server(), 0
        for number, (setting, value, pattern) in enumerate(self.cases()):
            with self.subTest(setting=setting, value=value):
                log = self.log_of(number, setting, value, sink)
                self.assert_one_failed_mail(log, r"Error: \d+ " + pattern)
                self.assertTrue(log[0].isprintable(), log)
                self.assertLess(len(log[0]), 1000)
            count += 1
        self.assertEqual((0, []), (sink.connections, sink.mails))
        print(f"{count} settings refused", file=sys.stderr)


def sorted_names(given):
    return sorted(given.names, key=lambda name: (name + ".xml").encode("utf-8", "surrogateescape"))


if __name__ == "__main__":
    unittest.main()
