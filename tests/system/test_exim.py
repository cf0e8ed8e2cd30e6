"""Mail through a real server: encryption, passwords, and what arrives in the mailbox."""

import unittest

from exim import Exim
from support import Entry, SystemTest, SENDER, fault_file, parse, summary


class ThroughExim(SystemTest):
    def start(self, **how):
        return self.enterContext(Exim(**how))

    def make_site_for(self, exim, **options):
        settings = {"SMTPServer": "localhost", "TlsCaFile": str(exim.authority), "MailUserName": exim.name,
                    "MailPassword": exim.password, "Timeout": "20", **options}
        return self.make_site(exim.port, **settings)

    def assert_password_is_nowhere(self, exim):
        for path in self.site.root.rglob("*"):
            if path.is_file() and path.name != "Options.ini":
                self.assertNotIn(exim.password.encode(), path.read_bytes(), path)
        self.assertNotIn(exim.password, self.site.printed)

    def test_collect_and_send_encrypted_and_logged_in(self):
        exim = self.start(must_log_in=True)
        site = self.make_site_for(exim, Organization="Elektro Müller & Söhne", UseZip="False",
                                  MailHostName="station7.partner.example")
        for number in range(20):
            site.drop(f"unit{number}.xml", fault_file([Entry(text="ä" * 50000), Entry()]))
        self.assertEqual(["[Search Latest]:Found 20 OK files", "[Mail]:Mail Sent"],
                         self.quiet_log_after("-fcs"))
        (content,) = exim.mails(1)
        message = self.read_mail(content)
        self.assert_subject(message, "1/1")
        self.assertEqual("Elektro Müller & Söhne", message["Organization"])
        self.assertIn("esmtpsa", message["Received"])
        self.assertIn("station7.partner.example", message["Received"])
        self.assertEqual(SENDER, message["Return-path"].strip("<>"))
        self.assertEqual("faultlog@fieldpost.example", message["Envelope-to"])
        attachments = self.attachments_of(message)
        self.assertEqual(summary("1/1", attachments), self.body_of(message))
        self.assertEqual([path.name for path in site.documents()], [name for name, _ in attachments])
        for (_, sent), path in zip(attachments, site.documents(), strict=True):
            root = parse(sent)
            root.set("Mode", "Sent")
            self.assertEqual([element.text for element in parse(path).iter("TEXT")],
                             [element.text for element in root.iter("TEXT")])
        self.assert_password_is_nowhere(exim)

    def test_documents_arrive_byte_for_byte(self):
        exim = self.start(tls=False)
        site = self.make_site_for(exim, MailUserName="", MailPassword="", NumAttachments="1")
        queued = {}
        for number, size in enumerate((1000, 56, 1400000, 77777), 1):
            path = site.queue(f"FLog.4711.20040315140{number}.xml", [Entry(text="\u00fc.\n.\n..x\n")], size=size)
            queued[path.name] = path.read_bytes()
        self.run_program("-fs")
        mails = [self.read_mail(content) for content in exim.mails(2)]
        self.assertEqual(["1/2", "2/2"], sorted(message["Subject"][:3] for message in mails))
        self.assertEqual(queued, dict(pair for message in mails for pair in self.attachments_of(message)))

    def test_password_is_sent_unencrypted_within_this_machine(self):
        exim = self.start(tls=False, must_log_in=True)
        site = self.make_site_for(exim, TlsCaFile=None)
        site.queue("FLog.4711.200403151401.xml", [Entry()])
        self.run_program("-fs")
        (content,) = exim.mails(1)
        self.assertIn("esmtpa", self.read_mail(content)["Received"])

    def assert_not_sent(self, exim, pattern="."):
        self.site.queue("FLog.4711.200403151401.xml", [Entry()])
        log = self.quiet_log_after("-fs", expect=1)
        self.assert_one_failed_mail(log, pattern)
        self.assertEqual(["Not Sent"], self.modes())
        self.assertEqual([], list((exim.folder / "mail").rglob("*.*")))
        self.assert_password_is_nowhere(exim)

    def test_wrong_password_is_logged_with_the_servers_answer(self):
        exim = self.start(must_log_in=True)
        self.make_site_for(exim, MailPassword="wr0ng")
        self.assert_not_sent(exim, r"\b535\b")

    def test_certificate_of_an_unknown_authority_is_refused(self):
        exim = self.start()
        self.make_site_for(exim, TlsCaFile=None)
        self.assert_not_sent(exim)

    def test_certificate_for_another_name_is_refused(self):
        exim = self.start(certified="DNS:elsewhere.example")
        self.make_site_for(exim)
        self.assert_not_sent(exim)

    def test_required_encryption_is_enforced(self):
        exim = self.start(tls=False)
        self.make_site_for(exim, TlsMode="required")
        self.assert_not_sent(exim)


if __name__ == "__main__":
    unittest.main()
