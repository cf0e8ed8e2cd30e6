"""The password while a session goes on and when it dies: in no list of processes, no output, no file, no core.

What the log and the site's files hold after each kind of failure is looked at where those failures are tried.
"""

import pathlib
import resource
import signal
import sys
import unittest

from mail_support import (LOGIN, PASSWORD, SECRETS, USER, Certificates, Fault, MailLossTest, MailSite, SteppedServer,
                          secrets_in)
from support import Entry, mode_of


def raise_core_limit():
    """Lets a program that is started now leave a core, unless it sees to that itself."""
    hard = resource.getrlimit(resource.RLIMIT_CORE)[1]
    resource.setrlimit(resource.RLIMIT_CORE, (hard, hard))


class MailSecrets(MailLossTest):
    def setUp(self):
        super().setUp()
        certificates = Certificates(self.folder)
        certificates.authority("authority")
        certificates.make("server")
        self.authority, self.tls = certificates.path("authority.pem"), certificates.context("server")
        before = resource.getrlimit(resource.RLIMIT_CORE)
        self.addCleanup(resource.setrlimit, resource.RLIMIT_CORE, before)
        raise_core_limit()

    def server_for(self, encrypted, fault=None):
        return SteppedServer(fault, tls=self.tls if encrypted else None, auth=LOGIN)

    def site_for(self, name, server, use_zip="True"):
        site = MailSite(self.folder / name, self.servers.listen(server), MailUserName=USER, MailPassword=PASSWORD,
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
        """Ends the program by the signal `end` while it waits for the server's line `step`."""
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
        self.servers.close(server)

    def assert_no_secret_in_process(self, pid):
        process = pathlib.Path("/proc") / str(pid)
        for name in ("cmdline", "environ", "comm"):
            content = (process / name).read_bytes()
            self.assertTrue(content)
            for secret in SECRETS:
                self.assertNotIn(secret, content, name)
        self.assertRegex((process / "limits").read_text(), r"Max core file size +0 +0 ")

    def test_a_program_that_dies_within_a_session(self):
        count = 0
        for encrypted in (False, True):
            for step in self.steps_of(encrypted):
                for end in (signal.SIGABRT, signal.SIGSEGV):
                    self.die(f"{encrypted} {step} {end.name}", encrypted, step, end)
                    count += 1
        print(f"{count} programs ended within a session", file=sys.stderr)


if __name__ == "__main__":
    unittest.main()
