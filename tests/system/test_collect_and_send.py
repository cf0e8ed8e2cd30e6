"""End-to-end: from the Latest folders to the archive and the mailbox."""

import re
import unittest

from support import (DEFAULT_RECIPIENT, SENDER, Entry, SystemTest, entries_of, fault_file, mode_of, parse, summary,
                     today)


class CollectAndSend(SystemTest):
    def setUp(self):
        super().setUp()
        self.sink = self.start_server()
        self.make_site(self.sink.port, recipient="faults@maker.example")
        self.first = [Entry(mode="A"), Entry(mode="e"), Entry(mode="F")]
        self.second = [Entry(mode="A"), Entry(mode="R")]
        self.codeless = [Entry(text="no product code")]
        self.site.drop("unit1.xml", fault_file(self.first, "P100"))
        self.site.drop("unit1.xml", fault_file(self.second, "P100"), folder=1)
        self.site.drop("unit2.XML", fault_file(self.codeless, ""), folder=1)
        self.broken = b"<FLFILE><PRODCODE>P100</PRODCODE>"
        self.site.drop("broken.xml", self.broken)
        self.incomplete = fault_file([Entry()]).replace(b"MODEIND", b"MODE")
        self.site.drop("incomplete.xml", self.incomplete)
        self.running = fault_file([Entry(mode="A"), Entry(mode="f", condate=today())], "P100")
        self.site.drop("running.xml", self.running)
        self.site.drop("notes.txt", b"not ours")

    def test_files_are_filed_merged_rejected_and_mailed(self):
        log = self.quiet_log_after("-fcs")

        self.assertEqual(["P100/unit1.xml", "Missing/unit2.XML"],
                         sorted((str(path.relative_to(self.site.archive)) for path in self.site.archived()),
                                reverse=True))
        merged = parse(self.site.archive / "P100" / "unit1.xml")
        uids = [element.get("UID") for element in merged.iter("FAULTLOG")]
        self.assertEqual([entry.uid for entry in self.first + self.second], uids)
        self.assertEqual(["1", "2", "3", "4", "5"], [e.get("NR") for e in merged.iter("FAULTLOG")])
        self.assertEqual(["P"] * 5, [element.text for element in merged.iter("MODEIND")])

        self.assertEqual({"notes.txt", "running.xml"}, {path.name for path in self.site.waiting()})
        self.assertEqual(self.running, (self.site.latest[0] / "running.xml").read_bytes())
        self.assertEqual({"broken.xml", "incomplete.xml"}, {path.name for path in self.site.error.iterdir()})
        self.assertEqual(self.broken, (self.site.error / "broken.xml").read_bytes())
        self.assertEqual(self.incomplete, (self.site.error / "incomplete.xml").read_bytes())

        self.assertEqual(4, len(log), log)
        self.assertRegex(log[0], r"^\[Error\]:Reason: .+\[\.\.\\Error\\broken\.xml\]$")
        self.assertEqual(["[Search Latest]:Found 3 OK files           ",
                          "[Search Latest]:Found 2 Error files",
                          "[Mail]:Mail Sent"], log[1:])
        self.assert_document()
        self.assert_mail()

    def assert_document(self):
        (path,) = self.site.documents()
        self.assertRegex(path.name, r"^FLog\.4711\.\d{10}01\.xml$")
        self.assertEqual("Sent", mode_of(path))
        lines = path.read_text(encoding="utf-8").splitlines()
        self.assertRegex(lines[0], r'^<\?xml version="1\.0".*\?>$')
        self.assertTrue(lines[1].startswith("<FLFILES "), lines[1])
        root = parse(path)
        self.assertEqual("FLFILES", root.tag)
        files = [[entry.get("UID") for entry in file.iter("FAULTLOG")] for file in root.findall("FLFILE")]
        self.assertEqual([[entry.uid for entry in entries]
                          for entries in (self.first, self.second, self.codeless)], files)
        self.assertEqual(["1", "2", "3", "4", "5", "1"], [e.get("NR") for e in root.iter("FAULTLOG")])
        self.assertEqual({"P"}, {element.text for element in root.iter("MODEIND")})
        self.assertNotIn("TempElement", path.read_text(encoding="utf-8"))

    def assert_mail(self):
        (received,) = self.sink.mails
        self.assertEqual(SENDER, received.sender)
        self.assertEqual(["faults@maker.example"], received.recipients)
        self.assert_clean_lines(received.content)
        message = self.read_mail(received.content)
        self.assert_subject(message, "1/1")
        self.assertEqual(SENDER, message["From"].addresses[0].addr_spec)
        self.assertEqual(SENDER, message["Reply-To"].addresses[0].addr_spec)
        self.assertEqual("faults@maker.example", message["To"].addresses[0].addr_spec)
        attachments = self.attachments_of(message)
        (path,) = self.site.documents()
        self.assertEqual([path.name], [name for name, _ in attachments])
        self.assertEqual(entries_of(path), entries_of(attachments[0][1]))
        self.assertEqual("Not Sent", parse(attachments[0][1]).get("Mode"))
        self.assertEqual(summary("1/1", attachments), self.body_of(message))

    def test_second_run_finds_nothing_and_sends_nothing(self):
        self.run_program("-fcs")
        log = self.log_after("-fcs")
        self.assertEqual(["[Search Latest]: 0 Files found in Latest folder(s)"], log)
        self.assertEqual(1, len(self.sink.mails))

    def test_later_file_is_merged_into_the_archived_one(self):
        self.run_program("-fcs")
        later = [Entry(), Entry(), Entry()]
        self.site.drop("unit1.xml", fault_file(later, "P100"))
        self.run_program("-fcs")
        merged = parse(self.site.archive / "P100" / "unit1.xml")
        self.assertEqual(["6", "7", "8"], [e.get("NR") for e in merged.iter("FAULTLOG")][5:])
        self.assertEqual([entry.uid for entry in later], [e.get("UID") for e in merged.iter("FAULTLOG")][5:])
        self.assertEqual({entry.uid for entry in later},
                         set(entries_of(self.attachments_of(self.read_mail(self.sink.mails[1].content))[0][1])))

    def test_connection_that_has_ended_is_filed_by_the_next_run(self):
        self.run_program("-fcs")
        ended = self.running.replace(b"<MODEIND>f<", b"<MODEIND>A<")
        self.site.drop("running.xml", ended)
        self.run_program("-fcs")
        self.assertEqual({"notes.txt"}, {path.name for path in self.site.waiting()})
        self.assertEqual(set(entries_of(ended)), set(entries_of(self.site.archive / "P100" / "running.xml")))


class CollectThenSend(SystemTest):
    def setUp(self):
        super().setUp()
        self.sink = self.start_server()
        self.make_site(self.sink.port)

    def test_collecting_leaves_documents_that_sending_mails(self):
        entry = Entry()
        self.site.drop("unit.xml", fault_file([entry]))
        self.assertEqual(["[Search Latest]:Found 1 OK files"], self.quiet_log_after("-fc"))
        self.assertEqual(["Not Sent"], self.modes())
        self.assertEqual([], self.sink.mails)
        (document,) = self.site.documents()
        self.assertEqual("FLFILE", parse(document).tag)
        waiting = document.read_bytes()

        self.assertEqual(["[Mail]:Mail Sent"], self.log_after("-fs"))
        self.assertEqual(["Sent"], self.modes())
        self.assertEqual(self.site.documents(), [document])
        self.assertEqual({entry.uid}, set(entries_of(document)))
        (received,) = self.sink.mails
        self.assertEqual([(document.name, waiting)],
                         self.attachments_of(self.read_mail(received.content)))
        self.assertEqual([DEFAULT_RECIPIENT], received.recipients)

        self.assertEqual([], self.log_after("-fs"))
        self.assertEqual(1, len(self.sink.mails))

    def test_each_run_within_an_hour_has_its_own_document(self):
        moment = "2026-03-05 14:10:00"
        for name in ("a.xml", "b.xml"):
            self.site.drop(name, fault_file([Entry()]))
            self.run_program("-fc", moment=moment)
        self.assertEqual(["FLog.4711.202603051401.xml", "FLog.4711.202603051402.xml"],
                         [path.name for path in self.site.documents()])
        self.assertEqual(["FPProg_05032026.log"], [path.name for path in self.site.log_files()])

    def test_waiting_and_new_documents_are_sent_together_each_once(self):
        old = self.site.queue("FLog.4711.200403151401.xml", [Entry()])
        self.site.drop("unit.xml", fault_file([Entry()]))
        self.run_program("-fcs")
        message = self.read_mail(self.sink.mails[0].content)
        self.assertEqual(1, len(self.sink.mails))
        self.assertEqual(sorted(path.name for path in self.site.documents()),
                         sorted(name for name, _ in self.attachments_of(message)))
        self.assertEqual("Sent", mode_of(old))
        self.assertEqual(["Sent", "Sent"], self.modes())

    def test_letter_case_of_switches_is_ignored(self):
        self.site.drop("unit.xml", fault_file([Entry()]))
        self.assertEqual(["[Search Latest]:Found 1 OK files"], self.quiet_log_after("-Fc"))
        self.assertEqual(["[Mail]:Mail Sent"], self.log_after("-FS"))
        self.site.drop("unit2.xml", fault_file([Entry()]))
        self.assertEqual(["[Search Latest]:Found 1 OK files", "[Mail]:Mail Sent"], self.log_after("-FCS"))

    def test_sent_document_is_never_sent_again(self):
        self.site.queue("FLog.4711.200403151401.xml", [Entry(text="the lamp was Not Sent")], mode="Sent")
        self.assertEqual([], self.quiet_log_after("-fs"))
        self.assertEqual([], self.sink.mails)


class NoSwitch(SystemTest):
    def test_other_arguments_need_a_display(self):
        site = self.make_site()
        file = site.drop("unit.xml", fault_file([Entry()]))
        for line in ([], ["-x"], [" -fcs"], ["-fcs "], ["-fcs", "-fc"], ["-fc", "now"], ["--help"]):
            with self.subTest(line=line):
                process = site.start(*line)
                printed, complaint = process.communicate(timeout=30)
                self.assertEqual(2, process.returncode)
                self.assertEqual("", printed)
                self.assertRegex(complaint, r"^fieldpost: [^\n]+\n$")
                self.assertTrue(file.exists())


class EmptySite(SystemTest):
    def test_first_run_makes_the_folders_and_says_so(self):
        site = self.make_site(latest=None)
        for folder in (*site.latest, site.faultlog):
            folder.rmdir()
        root = f"[Create missing directory]:{site.suite}/Faultlog/"
        self.assertEqual([f"{root}[{name}]"
                          for name in ("Latest", "Archive", "Process", "Log", "Error", "PPCTemp")] +
                         ["[Search Latest]: 0 Files found in Latest folder(s)"], self.log_after("-fc"))
        self.assertEqual(["[Search Latest]: 0 Files found in Latest folder(s)"], self.log_after("-fc"))
        self.assertEqual(f"{site.suite}/Faultlog/Latest/\n",
                         re.sub("\r\n", "\n", (site.home / "LatestList.dat").read_text()))

    def test_nothing_to_do_is_success(self):
        self.make_site()
        self.assertEqual([], self.quiet_log_after("-fs"))


if __name__ == "__main__":
    unittest.main()
