"""The mail server breaks the connection or stalls, at each step of a session and after each line of a mail.

Then the program runs once more against a server that is well. Every entry must have been mailed by then, and a set of
mails that the server has accepted in whole must not be sent a second time.

A client's line that is read and not answered is the case of the server's next line with nothing of it said.
"""

import concurrent.futures
import dataclasses
import itertools
import shutil
import sys
import time
import unittest

from crash_support import CrashTest
from certificates import Certificates
from mail_site import LOGIN, PASSWORD, USER, MailSite, run_through_time, secrets_in
from smtp_server import Fault, SmtpServer
from support import Entry, entries_of, mode_of

PIECE = 64 * 1024


@dataclasses.dataclass(frozen=True)
class Kind:
    """A kind of session. sweeps: the kinds of steps that break; "bytes": also at each byte of an acceptance."""

    name: str
    sweeps: tuple
    mails: int = 1
    tls: bool = False
    auth: bool = False
    size: int = 0
    tries: int = 1


KINDS = [Kind("plain", ("said", "data", "bytes")),
         Kind("plain, logged in, two tries", ("said",), auth=True, tries=2),
         Kind("STARTTLS, logged in", ("said", "tls", "data", "bytes"), tls=True, auth=True),
         Kind("plain, three mails", ("said", "data"), mails=3),
         Kind("STARTTLS, three mails", ("said", "tls"), mails=3, tls=True),
         Kind("plain, large", ("data",), size=20 * PIECE),
         Kind("STARTTLS, large", ("data",), size=20 * PIECE, tls=True)]


def parts_of(kind, step):
    """Returns how much of a line the server says: nothing, half, all; of an acceptance, also all but its end."""
    if step.kind == "data":
        return [1]
    if not step.is_acceptance:
        return [0, 0.5, 1]
    count = len(step.content)
    told = range(count + 1) if "bytes" in kind.sweeps else (0, 3, count - 2, count - 1, count)
    return [part / count for part in told]


def faults_of(kind, steps):
    for (number, step), how in itertools.product(enumerate(steps), ("close", "reset", "stall")):
        if step.kind in kind.sweeps:
            for part in parts_of(kind, step):
                yield step, Fault(number, part, how)


class ServerSweep(CrashTest):
    def setUp(self):
        super().setUp()
        self.certificates = Certificates(self.folder)
        self.certificates.make_authority("authority")
        self.certificates.make("server")
        self.tls = self.certificates.context("server")

    def server_for(self, kind, fault=None):
        return SmtpServer(fault=fault, tls=self.tls if kind.tls else None, login=LOGIN if kind.auth else None,
                          piece=PIECE if kind.size else None).start()

    def site_for(self, kind, name, port):
        user, password = (USER, PASSWORD) if kind.auth else ("", "")
        site = MailSite(self.folder / name, port, NumAttachments="0", TryCount=str(kind.tries), Timeout="2",
                        MailUserName=user, MailPassword=password,
                        TlsCaFile=self.certificates.path("authority.pem"))
        for number in range(kind.mails):
            site.queue(f"FLog.4711.20040315140{number + 1}.xml", [Entry()], size=kind.size)
        return site

    def run_case(self, kind, step, fault, name):
        """Runs one case. Returns what is wrong."""
        server = self.server_for(kind, fault)
        site = self.site_for(kind, name, server.port)
        try:
            return list(check_case(kind, step, fault, server, site))
        finally:
            server.stop()
            shutil.rmtree(site.root)

    def steps_of(self, kind):
        server = self.server_for(kind)
        site = self.site_for(kind, f"{kind.name} clean", server.port)
        self.assertEqual(0, site.run("-fs"), site.log())
        self.assertEqual(kind.mails, len(server.mails))
        server.stop()
        return server.steps

    def test_every_step(self):
        cases = [(kind, step, fault) for kind in KINDS for step, fault in faults_of(kind, self.steps_of(kind))]
        # Those that wait for a timeout begin first.
        cases.sort(key=lambda case: case[2].how != "stall")
        begin = time.monotonic()
        with concurrent.futures.ThreadPoolExecutor(max_workers=64) as pool:
            outcomes = list(pool.map(lambda number: self.run_case(*cases[number], str(number)), range(len(cases))))
        wrong = [f"{kind.name}: {step}, {fault}: {one}" for (kind, step, fault), found in zip(cases, outcomes)
                 for one in found]
        print(f"{len(cases)} faults in {len(KINDS)} kinds of sessions, {2 * len(cases)} runs, "
              f"{time.monotonic() - begin:.1f} s", file=sys.stderr)
        self.assertEqual([], wrong[:20], len(wrong))


def awaits_last_answer(step, fault):
    """Whether the program may have said all it had to say when the server fell silent."""
    return step.kind == "data" or step.is_acceptance or (step.content.startswith(b"354") and fault.part == 1)


def run_first(step, fault, server, site):
    """Runs the program against the fault. Returns its exit status."""
    if fault.how == "stall" and awaits_last_answer(step, fault):
        return run_through_time(site, "-fs", begin=server.struck)
    return site.run("-fs")


def faults_of_log(log, kept, whole):
    """Yields what is wrong with the log of the first run."""
    sent = log.count("[Mail]:Mail Sent")
    failed = [line for line in log if line.startswith("[Mail]:Error: ")]
    if sent != sum(mail.answered for mail in kept):
        yield f"{sent} mails are logged as sent: {log}"
    if len(failed) != (0 if whole else 1) or len(log) != sent + len(failed):
        yield f"not one failure in the log: {log}"
    if kept and not kept[-1].answered and "may have been delivered" not in "".join(failed):
        yield f"no word that the server may have the mail: {log}"


def faults_of_mails(kind, site, entries, kept, again, whole):
    """Yields what is wrong with the mails of both runs."""
    if len(again) != (0 if whole else kind.mails):
        yield f"{len(again)} mails in the second run"
    ids = [mail.message_id for mail in again or kept]
    if [mail.message_id for mail in kept] != ids[:len(kept)] or len(set(ids)) != kind.mails:
        yield f"other Message-IDs: {[mail.message_id for mail in kept]}, {ids}"
    mailed = [uid for mail in again or kept for _, document in mail.attachments() for uid in entries_of(document)]
    if sorted(mailed) != sorted(entries):
        yield f"mailed were {mailed} of {entries}"
    if {mode_of(path) for path in site.documents()} != {"Sent"}:
        yield "a document is not marked"


def check_case(kind, step, fault, server, site):
    """Runs the program twice, the second time against a server that is well. Yields what is wrong."""
    entries = [uid for path in site.documents() for uid in entries_of(path)]
    status = run_first(step, fault, server, site)
    log = [line for line in site.log() if not line.startswith("[Create missing directory]:")]
    modes = {mode_of(path) for path in site.documents()}
    if not server.struck.wait(10):
        yield "the fault did not strike"
    kept = server.heal()
    whole = sum(mail.answered for mail in kept) == kind.mails
    if status != (0 if whole else 1) or modes != {"Sent" if whole else "Not Sent"}:
        yield f"exit status {status}, documents {modes}, {sum(mail.answered for mail in kept)} mails answered"
    yield from faults_of_log(log, kept, whole)
    yield from (f"the password is in {place}" for place in secrets_in(site))
    site.set_options(Timeout="10")
    if site.run("-fs") != 0:
        yield f"the second run failed: {site.log()}"
    yield from faults_of_mails(kind, site, entries, kept, server.mails, whole)


if __name__ == "__main__":
    unittest.main()
