"""How documents are distributed over mails, and when they are marked as sent."""

import io
import unittest
import zipfile

from misbehaviour import say
from smtp_server import SmtpServer
from support import ALL_IN_ONE_MAIL, Entry, SystemTest, entries_of, fault_file, summary


class Batches(SystemTest):
    def queue_and_send(self, count, num_attachments):
        self.sink = self.start_server()
        self.make_site(self.sink.port, NumAttachments=num_attachments)
        self.queued = {}
        for number in range(1, count + 1):
            path = self.site.queue(f"FLog.4711.2004031514{number:02}.xml", [Entry()], size=900 + 11 * number)
            self.queued[path.name] = path.read_bytes()
        self.log = self.quiet_log_after("-fs")

    def check(self, sizes):
        self.assertEqual(["[Mail]:Mail Sent"] * len(sizes), self.log)
        self.assertEqual({"Sent"}, set(self.modes()))
        names = []
        for number, (received, size) in enumerate(zip(self.sink.mails, sizes, strict=True), 1):
            message = self.read_mail(received.content)
            self.assert_subject(message, f"{number}/{len(sizes)}")
            attachments = self.attachments_of(message)
            self.assertEqual(size, len(attachments))
            self.assertEqual(summary(f"{number}/{len(sizes)}", attachments), self.body_of(message))
            for name, content in attachments:
                self.assertEqual(self.queued[name], content)
            names += [name for name, _ in attachments]
        self.assertEqual(sorted(self.queued), names)

    def test_25_documents_with_five_a_mail(self):
        self.queue_and_send(25, "4")
        self.check([5] * 5)

    def test_26_documents_with_five_a_mail(self):
        self.queue_and_send(26, "4")
        self.check([5] * 5 + [1])

    def test_57_documents_all_in_one(self):
        self.queue_and_send(57, ALL_IN_ONE_MAIL)
        self.check([57])

    def test_one_document_a_mail(self):
        self.queue_and_send(3, "0")
        self.check([1, 1, 1])

    def test_each_mail_of_a_set_has_its_own_message_id(self):
        self.queue_and_send(3, "0")
        ids = [self.read_mail(received.content)["Message-ID"] for received in self.sink.mails]
        self.assertEqual(3, len(set(ids)), ids)


class Zip(SystemTest):
    def test_all_documents_go_in_one_zip(self):
        sink = self.start_server()
        site = self.make_site(sink.port, UseZip="True")
        stale = site.queue("FLog.4711.200001010000.zip", [Entry()])
        queued = {path.name: path.read_bytes()
                  for path in (site.queue(f"FLog.4711.2004031514{number:02}.xml", [Entry()], size=30000)
                               for number in range(1, 8))}
        self.assertEqual(["[Mail]:Mail Sent"], self.quiet_log_after("-fs", moment="2026-03-15 14:37:09"))
        (received,) = sink.mails
        message = self.read_mail(received.content)
        self.assert_subject(message, "1/1")
        attachments = self.attachments_of(message)
        self.assertEqual(["FLog.4711.202603151400.zip"], [name for name, _ in attachments])
        self.assertEqual(summary("1/1", attachments), self.body_of(message))
        with zipfile.ZipFile(io.BytesIO(attachments[0][1])) as archive:
            self.assertIsNone(archive.testzip())
            self.assertEqual(queued, {name: archive.read(name) for name in archive.namelist()})
            self.assertEqual({zipfile.ZIP_DEFLATED}, {info.compress_type for info in archive.infolist()})
        self.assertEqual(["Sent"] * 7, self.modes())
        self.assertEqual([], list(site.process.glob("*.zip")))
        self.assertFalse(stale.exists())

    def test_collect_and_send_with_zip(self):
        sink = self.start_server()
        site = self.make_site(sink.port, UseZip="True")
        entry = Entry()
        site.drop("unit.xml", fault_file([entry]))
        self.assertEqual(["[Search Latest]:Found 1 OK files", "[Mail]:Mail Sent"],
                         self.quiet_log_after("-fcs"))
        ((_, content),) = self.attachments_of(self.read_mail(sink.mails[0].content))
        with zipfile.ZipFile(io.BytesIO(content)) as archive:
            self.assertEqual([path.name for path in site.documents()], archive.namelist())
            self.assertEqual({entry.uid}, set(entries_of(archive.read(archive.namelist()[0]))))
        self.assertEqual(["Sent"], self.modes())


class WholeSetOrNothing(SystemTest):
    def test_failure_of_one_mail_marks_nothing_and_all_are_sent_again(self):
        sink = self.start_server(SmtpServer({("end", 2): [say("554 5.7.1 not today")]}))
        site = self.make_site(sink.port, NumAttachments="0")
        before = {}
        for number in (1, 2, 3):
            path = site.queue(f"FLog.4711.20040315140{number}.xml", [Entry()])
            before[path] = path.read_bytes()
        log = self.quiet_log_after("-fs", expect=1)
        self.assertEqual(2, len(log), log)
        self.assertEqual("[Mail]:Mail Sent", log[0])
        self.assertRegex(log[1], r"^\[Mail\]:Error: \d+ .*554 5\.7\.1 not today")
        self.assertEqual(2, sink.times("end"))
        self.assertEqual(before, {path: path.read_bytes() for path in site.documents()})

        self.assertEqual(["[Mail]:Mail Sent"] * 3, self.log_after("-fs"))
        self.assertEqual(["Sent"] * 3, self.modes())
        first, *again = [self.read_mail(received.content) for received in sink.mails]
        self.assertEqual(3, len(again))
        self.assertEqual(first["Message-ID"], again[0]["Message-ID"])
        self.assertEqual(sorted(path.name for path in before),
                         [name for message in again for name, _ in self.attachments_of(message)])

    def test_failed_zipped_mail_leaves_the_documents_and_its_zip_is_replaced(self):
        sink = self.start_server(SmtpServer({("end", 1): [say("451 4.3.0 disk is full here")]}))
        site = self.make_site(sink.port, UseZip="True")
        site.queue("FLog.4711.200403151401.xml", [Entry()])
        self.quiet_log_after("-fs", expect=1)
        self.assertEqual(["Not Sent"], self.modes())
        self.run_program("-fs")
        self.assertEqual(["Sent"], self.modes())
        self.assertEqual([], list(site.process.glob("*.zip")))


if __name__ == "__main__":
    unittest.main()
