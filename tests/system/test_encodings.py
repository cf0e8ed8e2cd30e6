"""Text of every encoding reaches archive and mailbox unchanged."""

import unittest

from support import ALL_IN_ONE_MAIL, SPECIMENS, Entry, SystemTest, entries_of, fault_file, parse


class Encodings(SystemTest):
    def test_text_is_unchanged_in_archive_and_mailbox(self):
        sink = self.start_server()
        site = self.make_site(sink.port, NumAttachments=ALL_IN_ONE_MAIL)
        expected = {}
        for encoding, text in SPECIMENS.items():
            entry = Entry(text=text)
            expected[entry.uid] = text
            site.drop(f"{encoding}.xml", fault_file([entry], prodcode="Prüf-1", encoding=encoding))
        self.run_program("-fcs")
        self.assertEqual({"Prüf-1"}, {path.parent.name for path in site.archived()})
        self.assertEqual(expected, self.all_entries(site.archived()))
        self.assertEqual(expected, self.all_entries(site.documents()))
        ((_, content),) = self.attachments_of(self.read_mail(sink.mails[0].content))
        self.assertEqual(expected, entries_of(content))
        self.assert_nothing_waits()

    def test_files_of_different_encodings_are_merged(self):
        site = self.make_site()
        expected = {}
        for encoding, text in [*SPECIMENS.items(), *SPECIMENS.items()]:
            entry = Entry(text=text)
            expected[entry.uid] = text
            site.drop("unit.xml", fault_file([entry], encoding=encoding))
            self.run_program("-fc")
        self.assertEqual(expected, entries_of(site.archive / "4711" / "unit.xml"))
        self.assertEqual(expected, self.all_entries(site.documents()))

    def test_entities_and_character_references_are_resolved(self):
        site = self.make_site()
        entry = Entry(text="NAME")
        content = fault_file([entry]).replace(b"NAME", b"&unit;&#x20AC;")
        content = content.replace(b"?>", b'?>\n<!DOCTYPE FLFILE [<!ENTITY unit "M&#252;ller">]>', 1)
        site.drop("unit.xml", content)
        self.run_program("-fc")
        self.assertEqual({entry.uid: "Müller€"}, self.all_entries(site.archived()))
        self.assertEqual({entry.uid: "Müller€"}, self.all_entries(site.documents()))

    def test_namespaces_declared_outside_an_entry_are_kept(self):
        site = self.make_site()
        content = fault_file([Entry()]).replace(b"<FLFILE>", b'<u:UNIT xmlns:u="urn:unit"><FLFILE>')
        content = content.replace(b"</FLFILE>", b"<u:SERIAL>77</u:SERIAL></FLFILE></u:UNIT>")
        site.drop("unit.xml", content)
        self.run_program("-fc")
        (document,) = site.documents()
        self.assertEqual("77", parse(document).findtext(".//{urn:unit}SERIAL"))


class HostileFiles(SystemTest):
    def test_hostile_files_go_to_error_with_a_reason_and_the_rest_is_filed(self):
        site = self.make_site()
        secret = self.folder / "secret"
        secret.write_text("TOP-SECRET")
        bomb = '<!ENTITY a "aaaaaaaaaaaaaaaaaaaa">' + "".join(
            f'<!ENTITY {now} "{f"&{before};" * 20}">' for before, now in zip("abcdefghi", "bcdefghij"))
        site.drop("bomb.xml", f"<!DOCTYPE FLFILE [{bomb}]><FLFILE>&j;</FLFILE>".encode())
        site.drop("external.xml", fault_file([Entry(text="TAKE")]).replace(b"TAKE", b"&take;").replace(
            b"?>", f'?><!DOCTYPE FLFILE [<!ENTITY take SYSTEM "{secret}">]>'.encode(), 1))
        site.drop("deep.xml", b"<a>" * 100000 + b"</a>" * 100000)
        site.drop("climbing.xml", fault_file([Entry()], prodcode="../../escaped"))
        site.drop("empty.xml", b"")
        good = Entry()
        site.drop("good.xml", fault_file([good]))
        log = self.quiet_log_after("-fc")
        self.assertEqual({good.uid}, set(self.all_entries(path for path in site.archived()
                                                          if path.name == "good.xml")))
        self.assertEqual([], list(self.folder.rglob("escaped")))
        for path in [*site.archived(), *site.documents()]:
            self.assertNotIn(b"TOP-SECRET", path.read_bytes())
        for name in ("bomb.xml", "deep.xml", "climbing.xml", "empty.xml"):
            self.assertTrue((site.error / name).exists(), name)
            self.assertEqual(1, sum(line.startswith("[Error]:Reason: ") and line.endswith(f"\\{name}]")
                                    for line in log), (name, log))

    def test_what_is_no_regular_file_is_not_touched(self):
        site = self.make_site()
        outside = self.folder / "outside.xml"
        outside.write_bytes(fault_file([Entry()]))
        (site.latest[0] / "link.xml").symlink_to(outside)
        (site.latest[0] / "folder.xml").mkdir()
        self.assertEqual(["[Search Latest]: 0 Files found in Latest folder(s)"], self.quiet_log_after("-fc"))
        self.assertEqual(["folder.xml", "link.xml"], [path.name for path in site.waiting()])

    def test_file_that_is_still_being_written_waits_for_the_next_run(self):
        site = self.make_site()
        content = fault_file([Entry()])
        path = site.latest[0] / "unit.xml"
        with open(path, "wb", buffering=0) as device:
            device.write(content[:100])
            self.quiet_log_after("-fc")
            self.assertEqual(content[:100], path.read_bytes())
            device.write(content[100:])
        self.assertEqual(["[Search Latest]:Found 1 OK files"], self.log_after("-fc"))
        self.assertEqual(set(entries_of(content)), set(self.all_entries(site.documents())))


if __name__ == "__main__":
    unittest.main()
