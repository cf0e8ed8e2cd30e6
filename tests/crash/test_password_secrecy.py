"""The password is in no list of processes, output, file or core dump, also when the program dies in a session.

The tests of misbehaving servers check the log and the site's files after each kind of failure.
"""

import pathlib
import resource
import signal
import sys
import unittest

from crash_support import CrashTest
from certificates import Certificates
from mail_site import LOGIN, PASSWORD, SECRETS, USER, MailSite, secrets_in
from smtp_server import Fault, SmtpServer
from support import Entry, mode_of


def raise_core_limit():
    """Allows programs that are started from now on to dump core."""
    hard = resource.getrlimit(resource.RLIMIT_CORE)[1]
    resource.setrlimit(resource.RLIMIT_CORE, (hard, hard))


class PasswordSecrecy(CrashTest):
    def setUp(self):
        super().setUp()
        certificates = Certificates(self.folder)
        certificates.make_authority("authority")
        certificates.make("server")
        self.authority, self.tls = certificates.path("authority.pem"), certificates.context("server")
        before = resource.getrlimit(resource.RLIMIT_CORE)
        self.addCleanup(resource.setrlimit, resource.RLIMIT_CORE, before)
        raise_core_limit()

    def server_for(self, encrypted, fault=None):
        return self.start_server(SmtpServer(fault=fault, tls=self.tls if encrypted else None, login=LOGIN))

    def site_for(self, name, server, use_zip="True"):
        site = MailSite(self.folder / name, server.port, MailUserName=USER, MailPassword=PASSWORD,
                        TlsCaFile=self.authority, UseZip=use_zip)
        # An instrumented program would take the signals for itself.
        site.more_environment["ASAN_OPTIONS"] = "handle_segv=0:handle_abort=0"
        site.queue("FLog.4711.200403151401.xml", [Entry()])
        return site

    def steps_of(self, encrypted):
        server = self.server_for(encrypted)
        site = self.site_for(f"clean {encrypted}", server)
        self.assertEqual(0, site.run("-fs"), site.log())
        self.assertEqual([], secrets_in(site))
        return [number for number, step in enumerate(server.steps) if step.kind == "said"]

    def die(self, name, encrypted, step, end):
        """Kills the program by the signal `end` while it waits for the server's line `step`."""
        server = self.server_for(encrypted, Fault(step, 0, "stall"))
        site = self.site_for(name, server)
        program = site.start("-fs")
        self.addCleanup(program.kill)
        self.assertTrue(server.struck.wait(30))
        self.assert_no_secret_in_process(program.pid)
        program.send_signal(end)
        site.printed = "".join(program.communicate(timeout=30))
        self.assertEqual(-end, program.returncode)
        self.assertEqual("", site.printed)
        self.assertEqual([], secrets_in(site))
        self.assertEqual([], [path.name for path in site.root.rglob("*core*")])
        server.heal()
        self.assertEqual(0, site.run("-fs"), site.log())
        self.assertEqual("Sent", mode_of(site.documents()[0]))

    def assert_no_secret_in_process(self, pid):
        process = pathlib.Path("/proc") / str(pid)
        for name in ("cmdline", "environ", "comm"):
            content = (process / name).read_bytes()
            self.assertTrue(content)
            for secret in SECRETS:
                self.assertNotIn(secret, content, name)
        self.assertRegex((process / "limits").read_text(), r"Max core file size +0 +0 ")

    def test_program_that_dies_in_a_session(self):
        count = 0
        for encrypted in (False, True):
            for step in self.steps_of(encrypted):
                for end in (signal.SIGABRT, signal.SIGSEGV):
                    self.die(f"{encrypted} {step} {end.name}", encrypted, step, end)
                    count += 1
        print(f"{count} programs died in a session", file=sys.stderr)


if __name__ == "__main__":
    unittest.main()
