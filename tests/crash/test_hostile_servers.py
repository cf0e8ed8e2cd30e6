"""Hostile mail servers: malformed, endless and slow answers, and false certificates.

The bounds of a run: a line of an answer has at most 64 KB, an answer 200 lines or, before the login, 300 KB. A stretch
without progress ends after the timeout, here 2 seconds, and an answer that is not complete after three times that. The
answer to a mail may take ten minutes, which the tests' clock makes short. So each of these servers costs at most 10
seconds, 256 MB and one line of the log, which never holds the password.
"""

import concurrent.futures
import dataclasses
import pathlib
import re
import sys
import time
import unittest

from crash_support import CrashTest
from certificates import Certificates
from mail_sink import MailSink
from mail_site import LOGIN, PASSWORD, USER, MailSite, run_through_time, secrets_in
from misbehaviour import MODES
from smtp_server import SmtpServer
from support import Entry, mode_of

MOST_MEGABYTES = 256
MOST_SECONDS = 10
MEASURE = str(pathlib.Path(__file__).resolve().parent / "measure.py")
NO_ANSWER = r"28 no reply from the server for 2 seconds"
NOT_WHOLE = r"28 the server's reply was not complete after 6 seconds"
NO_SERVER = r"8 the server did not reply as a mail server does: "
BROKEN = r"56 the connection to 127\.0\.0\.1 was lost"
UNCLEAR = "; the mail may have been delivered"
NO_ENCRYPTION = r"35 could not establish an encrypted connection to 127\.0\.0\.1 \(.*\S\)"
LARGE = 20_000_000


@dataclasses.dataclass(frozen=True)
class Given:
    """A server, and a pattern for the whole text after "[Mail]:Error: " in the log."""

    mode: str
    expected: str
    login: str = None  # that the server requires
    size: int = 0
    certificate: str = ""
    waits: bool = False  # for ten minutes

    @property
    def name(self):
        return f"{self.mode} {self.certificate}".strip()


SERVERS = [
    Given("refuse-421", "8 421 too busy"),
    Given("refuse-554", "8 554 no service here"),
    Given("close-at-once", BROKEN),
    Given("silent", NO_ANSWER),
    Given("stall-at-hello", NO_ANSWER),
    Given("garbage-greeting", NO_SERVER + '"hello there"'),
    Given("nul-greeting", NO_SERVER + r'"\\x00\\x00\\x00220 test\.example ready"'),
    Given("endless-greeting", "56 the server's reply is too long"),
    Given("endless-hello", "56 the server's reply is too long"),
    Given("endless-hello-reply", "(56|8) the server's reply is too long"),
    Given("endless-line", "8 a line of the server's reply is too long"),
    Given("endless-reply", "8 the server's reply is too long"),
    Given("endless-challenge", "67 334 YW5kPw==", login=LOGIN),
    Given("endless-at-end", "8 a line of the server's reply is too long" + UNCLEAR),
    Given("endless-reply-at-end", "8 the server's reply is too long" + UNCLEAR),
    Given("drip-greeting", NO_ANSWER),
    Given("drip-lines-greeting", NOT_WHOLE),
    Given("drip-lines-hello", NOT_WHOLE),
    Given("drip-lines", NOT_WHOLE),
    Given("drip-answer", NO_ANSWER),
    Given("drip-data", NO_ANSWER, size=LARGE),
    Given("drip-at-end", "28 no reply from the server for 600 seconds" + UNCLEAR, waits=True),
    Given("drip-lines-at-end", "28 the server's reply was not complete after 600 seconds" + UNCLEAR, waits=True),
    Given("stall-at-end", "28 no reply from the server for 600 seconds" + UNCLEAR, waits=True),
    Given("stall-in-data", NO_ANSWER, size=LARGE),
    Given("hang-up-in-data", BROKEN, size=LARGE),
    Given("answer-in-data", "(55 552 5\\.3\\.4 that is too much|" + BROKEN + ")", size=LARGE),
    Given("hang-up-at-end", BROKEN + UNCLEAR),
    Given("refuse-sender", "55 550 5\\.7\\.1 not you"),
    Given("refuse-recipient", "55 550 5\\.1\\.1 nobody of that name"),
    Given("refuse-data", r"55 554 we do not \\x07want\\x1B\[2J this"),
    Given("nul-answer", r"55 550 5\.7\.1 not\\x00\\x00you"),
    Given("eight-bit", "55 550 5\\.7\\.1 \ufffd\ufffd nicht f\ufffdr Sie"),
    Given("colours", r"55 550 5\.7\.1 \\x1B\[31mnot\\x07 you\\x1B\]0;x\\x07" + "\ufffd31m"),
    Given("colours-8-bit", r"55 550 5\.7\.1 \\xC2\\x9B31mnot you\\xE2\\x80\\xAEcod\\xE2\\x80\\xA8"),
    Given("garbage-answer", NO_SERVER + '"certainly, sir"'),
    Given("negative-code", NO_SERVER + '"-250 sender ok"'),
    Given("huge-code", NO_SERVER + '"(250){13}2 sender ok"'),
    Given("code-999", NO_SERVER + '"999 sender ok"'),
    Given("code-000", NO_SERVER + '"000 sender ok"'),
    Given("two-codes", "55 550 sender not ok"),
    Given("bare-cr", NO_ANSWER),
    Given("out-of-turn", '8 the server sent an unexpected reply: "250 taken"'),
    Given("error-zero", "8 554 Error:0 of us like you"),
    Given("starttls-refused", '64 the server offered encryption and then refused it: "454 TLS not available"'),
    Given("tls-closed", NO_ENCRYPTION),
    Given("tls-garbage", NO_ENCRYPTION),
    Given("tls-injected", "8 the server continued unencrypted after it had agreed to encryption; "
                          "somebody may be intercepting the connection"),
    Given("echo-login", r"67 535 5\.7\.8 wrong: \*\*\* is collector:\*\*\*", login=LOGIN),
    Given("busy-login", "67 454 4\\.7\\.0 try again later", login=LOGIN),
    Given("ok", "67 535 5\\.7\\.8 wrong user name or password", login=f"{USER}:another"),
]

SUBJECT = r"60 the certificate of 127\.0\.0\.1 "
AUTHORITY = (r"; if this is the right server, enter that authority's certificate under "
             r"Trusted certificates \(TlsCaFile\)")
IMPOSTORS = [
    Given("ok", SUBJECT + "is for another server name; enter the server name that the certificate contains, "
                          "or have the server checked", certificate="another name"),
    Given("ok", SUBJECT + "is for another server name; .*", certificate="another address"),
    Given("ok", SUBJECT + "has expired; check this computer's clock, or have the server's certificate renewed",
          certificate="expired"),
    Given("ok", SUBJECT + "is not valid yet; check this computer's clock, or have .*", certificate="not yet valid"),
    Given("ok", SUBJECT + r"is self-signed; if this is the right server, enter its certificate under "
                          r"Trusted certificates \(TlsCaFile\)", certificate="by itself"),
    Given("ok", SUBJECT + "is signed by an authority that this computer does not trust" + AUTHORITY,
          certificate="by another authority"),
    Given("ok", SUBJECT + "is signed by an authority that this computer does not trust" + AUTHORITY,
          certificate="by one that calls itself the same"),
]


def make_certificates(folder):
    """Makes a right certificate, "server", and those of the impostors."""
    made = Certificates(folder)
    made.make_authority("authority")
    made.make_authority("stranger", "/CN=Another authority")
    made.make_authority("namesake")
    made.make("server")
    made.make("another name", "DNS:mail.other.example")
    made.make("another address", "IP:127.0.0.2,DNS:127.0.0.1.example,DNS:*")
    made.make("expired", moment="2020-01-01 00:00:00")
    made.make("not yet valid", moment="2036-01-01 00:00:00")
    made.make("by itself", signer=None)
    made.make("by another authority", signer="stranger")
    made.make("by one that calls itself the same", signer="namesake")
    return made


class HostileServers(CrashTest):
    def setUp(self):
        super().setUp()
        self.certificates = make_certificates(self.folder)

    def server_for(self, given):
        tls = self.certificates.context(given.certificate) if given.certificate else None
        return SmtpServer(MODES[given.mode], tls=tls, login=given.login, delay=1).start()

    def site_for(self, given, port):
        site = MailSite(self.folder / given.name, port, Timeout="2", MailUserName=USER, MailPassword=PASSWORD,
                        TlsCaFile=self.certificates.path("authority.pem"))
        site.queue("FLog.4711.200403151401.xml", [Entry()], size=given.size)
        return site

    def run_with_fault(self, given, server, site):
        """Runs the program against a server. Returns its exit status, its seconds and its megabytes."""
        begin = time.monotonic()
        if given.waits:
            return run_through_time(site, "-fs", begin=server.has_mail), time.monotonic() - begin, 0
        status = site.run("-fs", under=("/usr/bin/python3", "-SB", MEASURE, str(site.root / "megabytes")))
        return status, time.monotonic() - begin, float((site.root / "megabytes").read_text())

    def check(self, given):
        """Yields what is wrong."""
        server = self.server_for(given)
        site = self.site_for(given, server.port)
        document = site.documents()[0]
        before = document.read_bytes()
        status, seconds, megabytes = self.run_with_fault(given, server, site)
        server.stop()
        yield from faults_of_run(given, site, status)
        if document.read_bytes() != before:
            yield "the document was touched"
        if seconds > MOST_SECONDS or megabytes > MOST_MEGABYTES:
            yield f"{seconds:.1f} s, {megabytes:.0f} MB"
        yield from self.faults_of_next_run(site)

    def faults_of_next_run(self, site):
        with MailSink() as good:
            site.set_options(SMTPPort=str(good.port), MailUserName="", Timeout="10")
            if site.run("-fs") != 0 or len(good.mails) != 1 or mode_of(site.documents()[0]) != "Sent":
                yield f"the next run did not send: {site.log()[-3:]}"

    def try_all(self, table):
        begin = time.monotonic()
        with concurrent.futures.ThreadPoolExecutor(max_workers=32) as pool:
            outcomes = list(pool.map(lambda given: list(self.check(given)), table))
        print(f"{len(table)} servers, {time.monotonic() - begin:.1f} s", file=sys.stderr)
        self.assertEqual([], [f"{given.name}: {one}" for given, found in zip(table, outcomes) for one in found])

    def test_each_server(self):
        self.try_all(SERVERS)

    def test_impostors(self):
        self.try_all(IMPOSTORS)


def faults_of_run(given, site, status):
    log = [line for line in site.log() if not line.startswith("[Create missing directory]:")]
    if status != 1 or site.printed:
        yield f"exit status {status}, printed {site.printed!r}"
    if len(log) != 1 or not re.fullmatch(r"\[Mail\]:Error: " + given.expected, log[0]):
        yield f"the log says {log}"
    yield from (f"the password is in {place}" for place in secrets_in(site))
    if not all(line.isprintable() for line in log):
        yield f"the log holds control characters: {log}"


if __name__ == "__main__":
    unittest.main()
