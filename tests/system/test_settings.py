"""Runs with missing and malformed settings."""

import configparser
import unittest

from support import ALL_IN_ONE_MAIL, Entry, SystemTest, fault_file

NO_SERVER = "[Error]:You have to setup mail options (SMTP Server or Sender address box is empty)"
NO_PARTNER = "[Error]:You have to setup mail options (PartnerID is empty)"


class MissingSettings(SystemTest):
    def check(self, switch, missing, expected):
        with self.subTest(switch=switch, missing=missing):
            site = self.make_site(**dict.fromkeys(missing))
            file = site.drop("unit.xml", fault_file([Entry()]))
            self.assertEqual(expected, self.quiet_log_after(switch, expect=1))
            self.assertTrue(file.exists())
            self.assertEqual([], site.documents())

    def test_run_that_would_mail_names_what_is_missing_and_collects_nothing(self):
        for switch in ("-fcs", "-fs"):
            self.check(switch, ["SMTPServer"], [NO_SERVER])
            self.check(switch, ["SenderAddress"], [NO_SERVER])
            self.check(switch, ["PartnerID"], [NO_PARTNER])
            self.check(switch, ["SMTPServer", "PartnerID"], [NO_SERVER, NO_PARTNER])

    def test_collecting_names_the_first_missing_setting(self):
        partner = "[Error]:Partner ID missing in FP mail options"
        sender = "[Error]:Senders address missing in FP mail options"
        server = "[Error]:SMTP Server name missing in FP mail options"
        self.check("-fc", ["PartnerID", "SenderAddress", "SMTPServer"], [partner])
        self.check("-fc", ["SenderAddress", "SMTPServer"], [sender])
        self.check("-fc", ["SMTPServer"], [server])

    def test_partner_id_without_letter_or_digit_counts_as_missing(self):
        self.make_site(PartnerID="../..")
        self.assertEqual([NO_PARTNER], self.quiet_log_after("-fs", expect=1))


class Defaults(SystemTest):
    def test_defaults_of_port_tries_and_timeout_are_written_back(self):
        site = self.make_site(SMTPPort=None, TryCount="", Timeout=None)
        self.run_program("-fs")
        parser = configparser.ConfigParser(interpolation=None)
        parser.read(site.home / "Options.ini", encoding="utf-8")
        options = parser["Mail Options"]
        self.assertEqual(("25", "2", "10"), (options["SMTPPort"], options["TryCount"], options["Timeout"]))
        self.assertEqual("127.0.0.1", options["SMTPServer"])
        self.assertEqual(0o600, (site.home / "Options.ini").stat().st_mode & 0o777)

    def test_settings_that_are_no_numbers_have_their_defaults(self):
        sink = self.start_server()
        site = self.make_site(sink.port, NumAttachments="many", TryCount="-3", Timeout="soon")
        for number in (1, 2):
            site.queue(f"FLog.4711.20040315140{number}.xml", [Entry()])
        self.assertEqual(["[Mail]:Mail Sent"] * 2, self.quiet_log_after("-fs"))

    def test_line_break_in_an_address_is_refused(self):
        sink = self.start_server()
        site = self.make_site(sink.port, recipient="box@maker.example\r\nBcc: thief@elsewhere.example")
        site.queue("FLog.4711.200403151401.xml", [Entry()])
        log = self.quiet_log_after("-fs", expect=1)
        self.assertEqual(1, len(log), log)
        self.assertTrue(log[0].startswith("[Mail]:Error: "), log)
        self.assertEqual([], sink.mails)
        self.assertEqual(["Not Sent"], self.modes())


class Organization(SystemTest):
    def test_any_text_reaches_the_mailbox_unchanged(self):
        sink = self.start_server()
        name = "Elektro Müller & Söhne, Київ " + "測試" * 30
        site = self.make_site(sink.port, Organization=name, NumAttachments=ALL_IN_ONE_MAIL)
        site.queue("FLog.4711.200403151401.xml", [Entry()])
        self.run_program("-fs")
        self.assert_clean_lines(sink.mails[0].content)
        self.assertEqual(name, self.read_mail(sink.mails[0].content)["Organization"])


class FirstRunWithOpenSettings(SystemTest):
    def test_closes_and_logs_them_without_failing(self):
        sink = self.start_server()
        site = self.make_site(sink.port)
        options = site.home / "Options.ini"
        options.chmod(0o644)
        site.drop("unit.xml", fault_file([Entry()]))
        self.assertFalse(site.faultlog.exists(), "it is a first run")
        log = self.quiet_log_after("-fcs")
        self.assertEqual("", site.printed)
        self.assertEqual([f"[Error]:{options} was accessible to other users; now only its owner can access it. "
                          "If somebody may have read it, change the mail password",
                          "[Search Latest]:Found 1 OK files", "[Mail]:Mail Sent"], log)
        self.assertEqual(0o600, options.stat().st_mode & 0o777)


if __name__ == "__main__":
    unittest.main()
