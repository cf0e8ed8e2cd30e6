"""PPC data: from the suite's database to the mailbox, alone and beside faultlogger data."""

import io
import os
import signal
import subprocess
import time
import unittest
import zipfile

from capabilities import require_tracing
from exim import Exim
from misbehaviour import say
from smtp_server import SmtpServer
from support import (ALL_IN_ONE_MAIL, DEFAULT_PPC_RECIPIENT, DEFAULT_RECIPIENT, SPECIMENS, Entry, SystemTest,
                     closed_port, entries_of, fault_file, ppc_entries_of, ppc_entry, ppc_file, summary)

MOMENT = "2026-03-15 14:37:09"
MISSING = "[Error]:PPCdata path not found or Quillon is not installed"


class PpcTest(SystemTest):
    def fill(self, port, **options):
        """Makes a site with two entries in its PPC database and one new faultlogger file."""
        site = self.make_site(port, **options)
        self.ppc = {"ppc-1": "Weg 120 m", "ppc-2": SPECIMENS["UTF-8"]}
        site.store_ppc("ppc.xml", ppc_file([ppc_entry(uid, text) for uid, text in self.ppc.items()]))
        self.fault = Entry()
        site.drop("unit.xml", fault_file([self.fault]))
        return site

    def assert_ppc_mail(self, content, to=DEFAULT_PPC_RECIPIENT):
        message = self.read_mail(content)
        self.assertEqual(to, message["To"])
        self.assert_subject(message, "1/1")
        ((name, document),) = attachments = self.attachments_of(message)
        self.assertRegex(name, r"^PPC\.4711\.\d{10}01\.xml$")
        self.assertEqual(summary("1/1", attachments, "PPC"), self.body_of(message))
        self.assertEqual(self.ppc, ppc_entries_of(document))
        return document

    def assert_fault_mail(self, content):
        message = self.read_mail(content)
        self.assertEqual(DEFAULT_RECIPIENT, message["To"])
        ((name, document),) = attachments = self.attachments_of(message)
        self.assertRegex(name, r"^FLog\.4711\.\d{10}01\.xml$")
        self.assertEqual(summary("1/1", attachments), self.body_of(message))
        self.assertEqual({self.fault.uid}, set(entries_of(document)))


class Switches(PpcTest):
    def check(self, *switches, kinds):
        sink = self.start_server()
        site = self.fill(sink.port)
        self.run_program(*switches)
        self.assertEqual(len(kinds), len(sink.mails), switches)
        for kind, received in zip(kinds, sink.mails, strict=True):
            {"P": self.assert_ppc_mail, "F": self.assert_fault_mail}[kind](received.content)
        self.assertEqual([], site.ppc_documents())
        self.assertFalse((site.home / "PPCData.xml").exists())
        self.assertEqual("F" in kinds, not site.waiting())

    def test_each_in_any_letter_case(self):
        for switches, kinds in [(("-ps",), "P"), (("-Ps",), "P"), (("-fcs", "-ps"), "FP"), (("-ps", "-fcs"), "PF"),
                                (("-FCS -PS",), "FP"), (("-pS", "-fCs"), "PF"), (("-fcs",), "F"), (("-FCS",), "F")]:
            with self.subTest(switches=switches):
                self.check(*switches, kinds=kinds)

    def test_switches_that_send_no_ppc_data(self):
        for switch in ("-fc", "-FC", "-fs", "-FS"):
            with self.subTest(switch=switch):
                sink = self.start_server()
                site = self.fill(sink.port)
                self.run_program(switch)
                self.assertEqual([], sink.mails)
                self.assertEqual(switch.lower() == "-fs", bool(site.waiting()))

    def test_lines_that_are_no_switches(self):
        sink = self.start_server()
        site = self.fill(sink.port)
        for line in [("-ps", "-fc"), ("-fc", "-ps"), ("-fs", "-ps"), (" -ps",), ("-ps ",), ("-fcs  -ps",),
                     ("-ps  -fcs",), ("-ps", "", "-fcs"), ("-ps", "-ps"), ("ps",), ("-p",)]:
            with self.subTest(line=line):
                self.run_program(*line, expect=2)
        self.assertEqual([], sink.mails)
        self.assertEqual(1, len(site.waiting()))
        self.assertFalse(site.faultlog.exists() and (site.faultlog / "Log").exists())


class Sending(PpcTest):
    def test_document_byte_for_byte(self):
        sink = self.start_server()
        self.fill(sink.port)
        self.assertEqual(["[Mail]:Mail Sent"], self.quiet_log_after("-ps"))
        entries = "".join(ppc_entry(uid, text) + "\r\n" for uid, text in self.ppc.items())
        self.assertEqual('<?xml version="1.0" encoding="UTF-8"?>\r\n'
                         "<!-- exported by Fieldpost in place of ppcdb.dll -->\r\n"
                         "<PPCentries>\r\n<ArchiveDate>20040315</ArchiveDate>" + entries + "\r\n</PPCentries>",
                         self.assert_ppc_mail(sink.mails[0].content).decode())

    def test_through_a_real_server(self):
        with Exim(must_log_in=True) as exim:
            self.fill(exim.port, SMTPServer="localhost", TlsCaFile=str(exim.authority), MailUserName=exim.name,
                      MailPassword=exim.password, Timeout="20")
            self.site.registry("add", r"HKLM\SOFTWARE\Kestrel\Fieldpost\Common\Mail\PPC", "--ve", "--data",
                               "ppcdata@maker.example")
            self.run_program("-fcs", "-ps")
            received = exim.mails(2)
            by_box = {self.read_mail(content)["Envelope-to"]: content for content in received}
            self.assertEqual({DEFAULT_RECIPIENT, "ppcdata@maker.example"}, set(by_box))
            self.assert_ppc_mail(by_box["ppcdata@maker.example"], to="ppcdata@maker.example")
            self.assert_fault_mail(by_box[DEFAULT_RECIPIENT])

    def test_zips_keep_the_kinds_apart(self):
        sink = self.start_server()
        site = self.fill(sink.port, UseZip="True")
        self.run_program("-ps", "-fcs", moment=MOMENT)
        names = []
        for received in sink.mails:
            ((name, content),) = self.attachments_of(self.read_mail(received.content))
            names.append(name)
            with zipfile.ZipFile(io.BytesIO(content)) as archive:
                names += archive.namelist()
        self.assertEqual(["PPC.4711.202603151400.zip", "PPC.4711.202603151401.xml",
                          "FLog.4711.202603151400.zip", "FLog.4711.202603151401.xml"], names)
        self.assertEqual([], site.ppc_documents())

    def test_large_data_is_split_into_documents_and_mails(self):
        sink = self.start_server()
        site = self.make_site(sink.port, NumAttachments="1")
        expected = {f"ppc-{number}": "ü" * 500_000 for number in range(10)}
        site.store_ppc("ppc.xml", ppc_file([ppc_entry(uid, text) for uid, text in expected.items()]))
        self.assertEqual(["[Mail]:Mail Sent"] * 2, self.quiet_log_after("-ps"))
        found = {}
        for received in sink.mails:
            for _, document in self.attachments_of(self.read_mail(received.content)):
                found.update(ppc_entries_of(document))
        self.assertEqual(expected, found)

    def test_databases_of_every_encoding(self):
        sink = self.start_server()
        site = self.make_site(sink.port)
        self.ppc = {}
        for encoding, text in SPECIMENS.items():
            self.ppc[encoding] = text
            site.store_ppc(f"{encoding}.XML", ppc_file([ppc_entry(encoding, text)], encoding))
        self.run_program("-ps")
        self.assert_ppc_mail(sink.mails[0].content)

    def test_database_named_by_the_registry(self):
        sink = self.start_server()
        site = self.fill(sink.port)
        site.ppc_database.rename(self.folder / "elsewhere")
        site.registry("add", r"HKLM\SOFTWARE\Kestrel\OrvikShared\PPCDb", "--value", "PpcFileName", "--data",
                      str(self.folder / "elsewhere" / "ppc.xml"))
        self.run_program("-ps")
        self.assert_ppc_mail(sink.mails[0].content)

    def test_suite_library_is_called_where_it_exists(self):
        sink = self.start_server()
        site = self.fill(sink.port)
        site.more_environment["FIELDPOST_PPC_LIBRARY"] = os.environ["FIELDPOST_FAKE_PPCDB"]
        self.run_program("-ps")
        ((_, document),) = self.attachments_of(self.read_mail(sink.mails[0].content))
        self.assertIn(f"<PATTERN>{site.ppc_database}/*.xml</PATTERN>", document.decode())
        self.assertTrue(document.startswith(b'<?xml version="1.0"?>\r\n<!-- ppcdb.dll -->\r\n<PPCentries>\r\n'))

    def test_unusable_library_is_named(self):
        site = self.fill(1)
        site.more_environment["FIELDPOST_PPC_LIBRARY"] = str(self.folder / "no-such.so")
        (line,) = self.quiet_log_after("-ps", expect=1)
        self.assertRegex(line, r"^\[Error\]:PPC Error \(.*no-such\.so")


class WithoutData(PpcTest):
    def test_no_database(self):
        self.make_site()
        self.assertEqual([MISSING], self.quiet_log_after("-ps", expect=1))

    def test_no_entries(self):
        site = self.make_site()
        site.store_ppc("ppc.xml", ppc_file([]))
        self.assertEqual(["[PPC]:No PPC Data"], self.quiet_log_after("-ps"))
        self.assertEqual([], site.ppc_documents())

    def test_broken_database_is_named_and_nothing_is_mailed(self):
        sink = self.start_server()
        site = self.fill(sink.port)
        site.store_ppc("torn.xml", ppc_file([ppc_entry("x")])[:-20])
        (line,) = self.quiet_log_after("-ps", expect=1)
        self.assertRegex(line, r"^\[Error\]:PPC Error \(.*/PPCdb/torn\.xml: line \d+: .+\)$")
        self.assertEqual(([], []), (sink.mails, site.ppc_documents()))
        self.assertEqual([], list(site.home.glob("*PPCData*")))

    def test_failed_ppc_run_does_not_block_the_faultlogger_run(self):
        for switches in (("-ps", "-fcs"), ("-fcs", "-ps")):
            with self.subTest(switches=switches):
                sink = self.start_server()
                site = self.fill(sink.port)
                site.store_ppc("torn.xml", b"<PPC>")
                self.run_program(*switches, expect=1)
                (received,) = sink.mails
                self.assert_fault_mail(received.content)

    def test_old_export_is_never_mailed(self):
        sink = self.start_server()
        site = self.make_site(sink.port)
        (site.home / "PPCData.xml").write_bytes(ppc_file([ppc_entry("old")]))
        self.assertEqual([MISSING], self.quiet_log_after("-ps", expect=1))
        self.assertEqual([], sink.mails)


class FailedMail(PpcTest):
    def test_documents_stay_until_they_were_mailed(self):
        with closed_port() as port:
            site = self.fill(port)
            self.assert_one_failed_mail(self.quiet_log_after("-ps", expect=1, moment=MOMENT))
        self.assertEqual(["PPC.4711.202603151401.xml"], [path.name for path in site.ppc_documents()])
        sink = self.start_server()
        site.set_options(SMTPPort=str(sink.port))
        self.run_program("-ps", moment=MOMENT)
        self.assert_ppc_mail(sink.mails[0].content)
        self.assertEqual([], site.ppc_documents())

    def test_failed_mail_of_one_kind_leaves_the_other_alone(self):
        for switches, failing in ((("-fcs", "-ps"), "F"), (("-ps", "-fcs"), "P")):
            with self.subTest(switches=switches):
                sink = self.start_server(SmtpServer({("end", 1): [say("451 4.3.0 disk is full here")]}))
                site = self.fill(sink.port)
                self.run_program(*switches, expect=1)
                (received,) = sink.mails
                if failing == "F":
                    self.assert_ppc_mail(received.content)
                    self.assertEqual(["Not Sent"], self.modes())
                else:
                    self.assert_fault_mail(received.content)
                    self.assertEqual(1, len(site.ppc_documents()))


class Killed(PpcTest):
    def fill_large(self, port):
        site = self.make_site(port, NumAttachments=ALL_IN_ONE_MAIL)
        self.ppc = {f"ppc-{number}": "x" * 100_000 for number in range(200)}
        site.store_ppc("ppc.xml", ppc_file([ppc_entry(uid, text) for uid, text in self.ppc.items()]))
        return site

    def assert_whole_documents(self):
        for path in self.site.ppc_documents():
            if not path.name.endswith(".fieldpost-new"):
                self.assertTrue(ppc_entries_of(path), path)

    def assert_next_run_is_whole(self):
        before = len(self.sink.mails)
        self.run_program("-ps")
        found = {}
        for received in self.sink.mails[before:]:
            for _, document in self.attachments_of(self.read_mail(received.content)):
                found.update(ppc_entries_of(document))
        self.assertEqual(self.ppc, found)
        self.assertEqual([], self.site.ppc_documents())
        self.assertEqual([], list(self.site.home.glob("*PPCData*")))

    def test_at_any_moment(self):
        self.sink = self.start_server()
        self.fill_large(self.sink.port)
        begin = time.monotonic()
        self.run_program("-ps")
        whole = time.monotonic() - begin
        killed = 0
        for step in range(12):
            with self.subTest(step=step):
                self.fill_large(self.sink.port)
                process = self.site.start("-ps")
                try:
                    process.wait(whole * step / 12)
                except subprocess.TimeoutExpired:
                    process.send_signal(signal.SIGKILL)
                process.communicate()
                killed += process.returncode == -signal.SIGKILL
                self.assert_whole_documents()
                self.assert_next_run_is_whole()
        self.assertGreater(killed, 4, "most runs ended before they could be killed")

    def test_at_each_call_that_changes_the_disk(self):
        require_tracing("strace", "-o", "/dev/null")
        self.sink = self.start_server()
        for call, at_least in (("rename", 3), ("unlink", 3), ("syncfs", 2)):
            number, returncode = 0, -signal.SIGKILL
            while returncode == -signal.SIGKILL:
                number += 1
                with self.subTest(call=call, number=number):
                    site = self.make_site(self.sink.port)
                    self.ppc = {f"ppc-{n}": "x" * 700_000 for n in range(3)}
                    site.store_ppc("ppc.xml", ppc_file([ppc_entry(*pair) for pair in self.ppc.items()]))
                    process = site.start("-ps", under=["strace", "-f", "-qq", "-o", "/dev/null", "-e", f"trace={call}",
                                                       "-e", f"inject={call}:signal=KILL:when={number}"])
                    _, complaint = process.communicate(timeout=60)
                    returncode = process.returncode
                    self.assertIn(returncode, (0, -signal.SIGKILL), complaint)
                    self.assert_whole_documents()
                    self.assert_next_run_is_whole()
            self.assertGreater(number, at_least, f"the disk is not changed by {call}")


if __name__ == "__main__":
    unittest.main()
