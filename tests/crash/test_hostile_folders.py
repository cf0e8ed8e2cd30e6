"""Hostile files in the program's own folders: each costs little, is logged with its reason, and blocks nothing else."""

import os
import unittest

from hostile_content import ATTRIBUTES, doctype, laughs, numbered, pipe, whole
from hostile_support import HostileTest
from support import Entry, fault_file


class HostileArchivedFiles(HostileTest):
    """A new file of the same name should be merged into a hostile archived file."""

    CONTENTS = {
        "text": lambda path: path.write_bytes(b"hello"),
        "empty": lambda path: path.write_bytes(b""),
        "cut off": lambda path: path.write_bytes(whole()[:-20]),
        "no FLFILE": lambda path: path.write_bytes(b"<a/>"),
        "many attributes": lambda path: path.write_bytes(whole(root=b"FLFILE" + ATTRIBUTES)),
        "laughs": lambda path: path.write_bytes(whole(b"&e9;", doctype(laughs(b"a" * 20, 9, 20)))),
        "deep": lambda path: path.write_bytes(whole(b"<a>" * 100_000 + b"</a>" * 100_000)),
        "very many elements": lambda path: path.write_bytes(whole(b"<a/>" * 3_000_000)),
        "two gigabytes": lambda path: (path.write_bytes(whole()), os.truncate(path, 2 << 30)),
        "link": lambda path: path.symlink_to("/etc/passwd"),
        "link to nothing": lambda path: path.symlink_to("nothing"),
        "pipe": pipe,
        "folder": lambda path: path.mkdir(),
    }

    def state(self, path):
        found = os.lstat(path)
        return found.st_ino, found.st_mode, found.st_size, found.st_mtime_ns

    def test_new_file_stays_and_one_line_says_why(self):
        for name, make in self.CONTENTS.items():
            with self.subTest(name):
                site = self.make_site(latest=("depot",))
                folder = site.archive / "4711"
                folder.mkdir(parents=True)
                make(folder / "m.xml")
                before = self.state(folder / "m.xml")
                content = fault_file([Entry()])
                site.drop("m.xml", content)
                site.drop("z.xml", fault_file([Entry()]))
                run = self.watched("-fc")
                log = site.log()
                self.assert_readable(log)
                self.assertEqual(1, run.status)
                self.assertEqual(content, (site.latest[0] / "m.xml").read_bytes())
                self.assertTrue((folder / "z.xml").is_file())
                self.assertEqual(before, self.state(folder / "m.xml"))
                self.assertEqual(1, len(self.errors_about(log, "m.xml")), log)

    def test_cost_of_the_largest_merge(self):
        site = self.make_site(latest=("depot",))
        folder = site.archive / "4711"
        folder.mkdir(parents=True)
        (folder / "m.xml").write_bytes(whole(b"<a>12</a>" * 295_000 + b"<b>" + b"x" * 17_000_000 + b"</b>"))
        site.drop("m.xml", whole(b"<a>12</a>" * 245_000 + b"<b>" + b"x" * 5_000_000 + b"</b>"))
        run = self.watched("-fc")
        self.assertEqual((0, []), (run.status, site.waiting()), site.log())
        merged = (folder / "m.xml").read_bytes()
        self.assertEqual((295_000, 17_000), (merged.count(b"<a>12</a>"), merged.count(b"x" * 1000)))
        self.assertTrue(merged.rstrip().endswith(b"</FAULTLOG></FLFILE>"), merged[-100:])
        print(f"the largest merge took {run.megabytes:.0f} MB, {run.seconds:.1f} s")


class HostileDocuments(HostileTest):
    START = b'<?xml version="1.0"?>\r\n<FLFILE Mode="Not Sent"'
    CANNOT_MARK = "not well-formed; move it away, or every send mails it again"
    # content, or what makes the file; and what its line in the log says, where there is one to write
    DOCUMENTS = {
        "many attributes": (START + ATTRIBUTES + b"/>", CANNOT_MARK),
        "deep": (START + b">" + b"<a>" * 100_000, CANNOT_MARK),
        "laughs": (b"<!DOCTYPE FLFILE [" + laughs(b"a" * 20, 9, 20) + b']>\n<FLFILE Mode="Not Sent">&e9;</FLFILE>',
                   CANNOT_MARK),
        "external": (b'<!DOCTYPE FLFILE SYSTEM "file:///secret"><FLFILE Mode="Not Sent"/>', None),
        "binary": (bytes(range(256)) * 4000, None),
    }

    def test_hostile_document_waits_and_the_next_is_sent(self):
        for name, (content, says) in self.DOCUMENTS.items():
            with self.subTest(name):
                sink = self.start_server()
                site = self.make_site(sink.port)
                site.queue("FLog.4711.202611210702.xml", [Entry()])
                (site.process / "FLog.4711.202611210701.xml").write_bytes(content)
                run = self.watched("-fs", port=sink.port)
                self.assert_readable(site.log())
                self.assertIn(b'Mode="Sent"', (site.process / "FLog.4711.202611210702.xml").read_bytes()[:100])
                self.assertEqual(0, run.status)
                lines = self.errors_about(site.log(), "FLog.4711.202611210701.xml")
                self.assertEqual([says] if says else [], [line.split(": ")[-1] for line in lines])

    def test_document_of_two_gigabytes_waits_and_the_next_is_sent(self):
        sink = self.start_server()
        site = self.make_site(sink.port)
        site.queue("FLog.4711.202611210702.xml", [Entry()])
        huge = site.process / "FLog.4711.202611210701.xml"
        huge.write_bytes(self.START + b"/>")
        os.truncate(huge, 2 << 30)
        run = self.watched("-fs", port=sink.port)
        self.assertEqual((1, 1), (run.status, len(sink.mails)))
        self.assertIn(b'Mode="Sent"', (site.process / "FLog.4711.202611210702.xml").read_bytes()[:100])
        (line,) = self.errors_about(site.log(), huge.name)
        self.assertTrue(line.endswith("larger than 67108864 bytes"), line)

    JOURNALS = {
        "text": lambda path: path.write_bytes(b"hello"),
        "zeros": lambda path: path.write_bytes(b"\0" * 100_000),
        "a filing journal's title": lambda path: path.write_bytes(b"Fieldpost filing journal 3\n" + b"9" * 1000 + b":"),
        "a send journal's title": lambda path: path.write_bytes(b"Fieldpost send journal 1\n" + b"9" * 1000 + b":"),
        "two gigabytes": lambda path: (path.write_bytes(b"Fieldpost send journal 1\n"), os.truncate(path, 2 << 30)),
        "link": lambda path: path.symlink_to("/etc/passwd"),
        "link to nothing": lambda path: path.symlink_to("nothing"),
    }

    def test_hostile_journals_are_ignored(self):
        for journal in ("FLog.journal", "FLog.sent"):
            for name, make in self.JOURNALS.items():
                with self.subTest(journal=journal, name=name):
                    sink = self.start_server()
                    site = self.make_site(sink.port, latest=("depot",))
                    site.process.mkdir(parents=True)
                    make(site.process / journal)
                    site.drop("z.xml", fault_file([Entry()]))
                    self.assertEqual(0, self.watched("-fcs", port=sink.port).status, site.log())
                    self.assertEqual(["z.xml"], [path.name for path in site.archived()])
                    self.assertEqual((1, False), (len(sink.mails), os.path.lexists(site.process / journal)))


class HostilePpcData(HostileTest):
    CONTENTS = {
        "text": b"hello",
        "empty": b"",
        "laughs": b"<!DOCTYPE a [" + laughs(b"a" * 20, 9, 20) + b"]><a><PPCentry>&e9;</PPCentry></a>",
        "external": b'<!DOCTYPE a [<!ENTITY e SYSTEM "file:///secret">]><a><PPCentry>&e;</PPCentry></a>',
        "many attributes": b"<a><PPCentry" + ATTRIBUTES + b"/></a>",
        "many tags of many attributes": b"<a>" + (b"<PPCentry" + numbered(b' a%(n)d=""', 9000) + b"/>") * 100 + b"</a>",
        "many namespaces": b"<a><PPCentry" + numbered(b' xmlns:a%(n)d="u"', 20_000) + b"/></a>",
        "deep": b"<a>" * 100_000,
        "names": b"<a>" + numbered(b"<n%(n)d/>", 900_000) + b"</a>",
        "never ending tag": b"<a " + b"x" * 20_000_000,
        "NULs": b"<a>\0</a>",
        "unknown encoding": b'<?xml version="1.0" encoding="\x1b[2J"?><a/>',
        "small entity very often": b"<!DOCTYPE a [<!ENTITY e 'x'>]><a><PPCentry>" + b"&e;" * 330_000 + b"</PPCentry></a>",
        "defaults": b"<!DOCTYPE a [<!ATTLIST x" + numbered(b' a%(n)d CDATA "v"', 900) + b">]><a>"
                    + b"<x/>" * 200_000 + b"</a>",
        "defaults behind an error": b"<!DOCTYPE a [<!ATTLIST x" + numbered(b' a%(n)d CDATA "v"', 900) + b"]><a>"
                                    + b"<x/>" * 200_000 + b"</a>",
    }

    def check(self, name, put):
        with self.subTest(name):
            site = self.make_site()
            put(site)
            run = self.watched("-ps")
            log = site.log()
            self.assert_readable(log)
            self.assertEqual(1, run.status, log)
            self.assertEqual([], site.ppc_documents())
            (line,) = [line for line in log if line.startswith("[Error]:")]
            self.assertRegex(line, r"PPC Error \(.*\S.*\)")
            return run

    def test_hostile_database(self):
        for name, content in self.CONTENTS.items():
            self.check(name, lambda site, content=content: site.store_ppc("m.xml", content))

    def test_hostile_export(self):
        for name, content in self.CONTENTS.items():
            def put(site, content=content):
                site.registry("delete", r"HKLM\SOFTWARE\Kestrel\OrvikShared\Common\InstPath", "--ve")
                (site.home / "PPCData.xml").write_bytes(content)
                site.suite = site.home
            self.check(name, put)


if __name__ == "__main__":
    unittest.main()
