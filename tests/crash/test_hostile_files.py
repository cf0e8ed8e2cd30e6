"""Hostile files in the Latest folders: each costs little, is logged with its reason, and does not block the others."""

import os
import socket
import unittest

from hostile_content import ATTRIBUTES, HEAD, doctype, laughs, numbered, parameter_bomb, pipe, whole
from hostile_support import HostileTest
from support import Entry, fault_file

KIB = 1024
MIB = 1024 * KIB

# name: (what makes the content, what the reason must say). None: a good file, which is filed.
HOSTILE_CONTENTS = {
    "laughs": (lambda: whole(b"&e9;", doctype(laughs(b"a" * 20, 9, 20))), "entities"),
    "laughs of elements": (lambda: whole(b"&e5;", doctype(laughs(b"<a/>", 5, 20))), "entities|more than"),
    "laughs in an attribute": (lambda: whole(b'<x a="&e9;"/>', doctype(laughs(b"a" * 20, 9, 20))), "entities"),
    "entity of itself": (lambda: whole(b"&a;", doctype(b'<!ENTITY a "&b;">', b'<!ENTITY b "&a;">')), "entit"),
    "quadratic blow-up": (lambda: whole(b"&a;" * 20_000, doctype(b'<!ENTITY a "%s">' % (b"x" * 100_000))), "entities"),
    "elements a million times": (lambda: whole(b"&a;" * 1000, doctype(b'<!ENTITY a "%s">' % (b"<a/>" * 10_000))),
                                 "entities|more than"),
    "small entity very often": (lambda: whole(b"&a;" * 2_000_000, doctype(b'<!ENTITY a "x">')), "entities"),
    "parameter entities": (lambda: whole(doctype=parameter_bomb()), "entit|error detected in Markup"),
    "tag of many attributes in an entity": (
        lambda: whole(b"&a;", doctype(b"<!ENTITY a '<x%s/>'>" % ATTRIBUTES)), "more than 256 attributes"),
    "defaults of attributes": (
        lambda: whole(b"<x/>" * 500_000, doctype(b"<!ATTLIST x%s>" % numbered(b' a%(n)d CDATA "v"', 900))),
        "more than 256 attributes"),
    "some defaults often": (
        lambda: whole(b"<x/>" * 500_000, doctype(b"<!ATTLIST x%s>" % numbered(b' a%(n)d CDATA "v"', 200))),
        "more than 500000"),
    "defaults behind an error": (
        lambda: whole(b"<x/>" * 500_000, doctype(b"<!ATTLIST x%s" % numbered(b' a%(n)d CDATA "v"', 900))), "."),
    "declarations": (lambda: whole(doctype=doctype(numbered(b'<!ENTITY e%(n)d "">', 300_000))), "declarations"),
    "declarations of attributes": (
        lambda: whole(doctype=doctype(b"<!ATTLIST y%s>" % numbered(b" a%(n)d CDATA #IMPLIED", 100_000))),
        "declarations"),
    "nested": (lambda: b"<a>" * 100_000 + b"</a>" * 100_000, "nested deeper than 125 levels"),
    "nested, never closed": (lambda: b"<a>" * 2_000_000, "nested deeper than 125 levels"),
    "nested entities": (lambda: whole(b"&e9;", doctype(
        b'<!ENTITY e0 "%s">' % (b"<a>" * 100 + b"</a>" * 100),
        numbered(b"", 0), *[b'<!ENTITY e%d "%s&e%d;%s">' % (n, b"<a>" * 100, n - 1, b"</a>" * 100)
                            for n in range(1, 10)])), "nested deeper than 125 levels"),
    "tag of many attributes": (lambda: whole(root=b"FLFILE" + ATTRIBUTES), "more than 256 attributes"),
    "tags of many attributes": (lambda: whole((b"<x" + numbered(b' a%(n)d=""', 9000) + b"/>") * 70),
                                "more than 256 attributes"),
    "tag of a million attributes": (lambda: whole(root=b"FLFILE" + b" a=''" * 1_000_000), "more than 256 attributes"),
    "tag of many namespaces": (lambda: whole(root=b"FLFILE" + numbered(b' xmlns:a%(n)d="u"', 100_000)),
                                "more than 200 namespaces|more than 256 attributes"),
    "namespaces in force": (
        lambda: whole(b"".join(b"<x%s>" % numbered(b' xmlns:b%d_%%(n)d="u"' % level, 100) for level in range(200))
              + b"<b0_0:y/>" * 100_000 + b"</x>" * 200), "more than 200 namespaces"),
    "different names": (lambda: whole(numbered(b"<n%(n)d/>", 700_000)), "more than 20000 different names"),
    "names of attributes": (lambda: whole(numbered(b'<n a%(n)d=""/>', 500_000)), "more than 20000 different names"),
    "elements": (lambda: whole(b"<a/>" * 2_000_000), "more than 500000"),
    "attributes": (lambda: whole(b'<a b="" c="" d="" e="" f=""/>' * 280_000), "more than 500000"),
    "comments": (lambda: whole(b"<!---->" * 1_100_000), "more than 500000"),
    "instructions": (lambda: whole(b"<?a?>" * 1_500_000), "more than 500000"),
    "texts": (lambda: whole(b"x<a/>" * 1_500_000), "more than 500000"),
    "long name": (lambda: whole(b"<" + b"n" * 7_000_000 + b"/>"), "."),
    "attribute of 10 MB": (lambda: whole(b'<a b="' + b"x" * 10_000_000 + b'"/>'), "larger than 8388608 bytes"),
    "text of 10 MB": (lambda: whole(b"x" * 10_000_000), "larger than 8388608 bytes"),
    "attribute of 7 MB": (lambda: whole(b'<a b="' + b"x" * 7_000_000 + b'"/>'), None),
    "text of 7 MB": (lambda: whole(b"<T>" + b"x" * 7_000_000 + b"</T>"), None),
    "text of signs": (lambda: whole(b"<T>" + b"&#60;" * 1_400_000 + b"</T>"), None),
    "text of equals": (lambda: whole(b"<T>" + b"a=b " * 1_000_000 + b"</T>"), None),
    "attribute of equals": (lambda: whole(b'<T a="' + b"a=b> " * 1_000_000 + b'"/>'), None),
    "comment of a tag": (lambda: whole(b"<!-- <x" + ATTRIBUTES + b"> -->"), None),
    "cdata of a tag": (lambda: whole(b"<T><![CDATA[<x" + ATTRIBUTES + b">]]></T>"), None),
    "external entity": (lambda: whole(b"&a;", doctype(b'<!ENTITY a SYSTEM "file://%(secret)s">')), "not (declared|defined)"),
    "external entity by path": (lambda: whole(b"&a;", doctype(b'<!ENTITY a SYSTEM "%(secret)s">')), "not (declared|defined)"),
    "external entity of the web": (lambda: whole(b"&a;", doctype(b'<!ENTITY a SYSTEM "http://127.0.0.1:9/x">')),
                                   "not (declared|defined)"),
    "external entity in an attribute": (
        lambda: whole(b'<x a="&a;"/>', doctype(b'<!ENTITY a SYSTEM "file://%(secret)s">')), "."),
    "external parameter entity": (lambda: whole(doctype=doctype(b'<!ENTITY % a SYSTEM "file://%(secret)s">', b"%a;")), "not found"),
    "external DTD": (lambda: whole(doctype=b'<!DOCTYPE FLFILE SYSTEM "file://%(secret)s">'), None),
    "external DTD of the web": (lambda: whole(doctype=b'<!DOCTYPE FLFILE SYSTEM "http://127.0.0.1:9/x.dtd">'), None),
    "XInclude": (lambda: whole(b'<x:include xmlns:x="http://www.w3.org/2001/XInclude" href="%(secret)s" parse="text"/>'),
                 None),
    "style sheet": (lambda: whole(head=HEAD + b'<?xml-stylesheet href="file://%(secret)s"?>'), None),
    "NUL in a text": (lambda: whole(b"<T>a\0b</T>"), "."),
    "NULs alone": (lambda: b"\0" * 100_000, "."),
    "NULs behind": (lambda: whole() + b"\0" * 1000, None),
    "text behind a NUL": (lambda: whole() + b"\0" + whole(), "text after a zero byte"),
    "overlong UTF-8": (lambda: whole(b"<T>\xC0\xBCx/\xC0\xBE</T>"), "."),
    "broken UTF-8": (lambda: whole(b"<T>\xE2\x82</T>"), "."),
    "UTF-8 of half a pair": (lambda: whole(b"<T>\xED\xA0\x80</T>"), "."),
    "control characters": (lambda: whole(b"<T>\x1B[2J\x07</T>"), "."),
    "control characters in a name": (lambda: whole(b"<T\x1B[2J/>"), "."),
    "UTF-16 without a mark": (lambda: whole(head=b"").decode().encode("utf-16-le"), "."),
    "UTF-16 without a mark, declared": (
        lambda: whole(head=b'<?xml version="1.0" encoding="UTF-16"?>').decode().encode("utf-16-be"), None),
    "UTF-16 cut in a character": (lambda: b"\xFF\xFE" + whole().decode().encode("utf-16-le")[:-1], "."),
    "says UTF-16, is not": (lambda: whole(head=b'<?xml version="1.0" encoding="UTF-16"?>'), "."),
    "says UTF-8, is Latin": (lambda: whole("<T>Größe</T>".encode("latin-1"),
                                   head=b'<?xml version="1.0" encoding="UTF-8"?>'), "."),
    "says ASCII, is not": (lambda: whole("<T>Größe</T>".encode(), head=b'<?xml version="1.0" encoding="US-ASCII"?>'), "."),
    "unknown encoding": (lambda: whole(head=b'<?xml version="1.0" encoding="nonsense-\x1B[1m"?>'), "."),
    "long encoding": (lambda: whole(head=b'<?xml version="1.0" encoding="' + b"x" * 1_000_000 + b'"?>'), "."),
    "UTF-7": (lambda: whole(head=b'<?xml version="1.0" encoding="UTF-7"?>'), None),
    "many attributes in UTF-7": (
        lambda: whole(b"<x" + ATTRIBUTES.replace(b"=", b"+AD0-") + b"/>",
                      head=b'<?xml version="1.0" encoding="UTF-7"?>'), "more than 256 attributes"),
    "many attributes in UTF-16": (
        lambda: whole(b"<x" + ATTRIBUTES + b"/>", head=b'<?xml version="1.0" encoding="UTF-16"?>')
        .decode().encode("utf-16"), "more than 256 attributes"),
    "UCS-4 by its look": (lambda: b"\0\0\0<" * 1000, "."),
    "EBCDIC by its look": (lambda: b"\x4C\x6F\xA7\x94" * 1000, "."),
    "empty": (lambda: b"", "the file is empty"),
    "one byte": (lambda: b"<", "."),
    "blanks": (lambda: b" " * MIB, "."),
    "byte order mark": (lambda: b"\xEF\xBB\xBF", "."),
    "a program": (lambda: b"\x7FELF" + bytes(range(256)) * 1000, "."),
    "zip": (lambda: b"PK\x03\x04" + b"\0" * 1000, "."),
    "a line of 8 MB": (lambda: b"x" * (8 * MIB - 10), "."),
    "open comment": (lambda: whole()[:-9] + b"<!--" + b"- " * 3_000_000, "."),
    "open CDATA": (lambda: whole()[:-9] + b"<![CDATA[" + b"] " * 3_000_000, "."),
    "open tag": (lambda: whole()[:-9] + b"<x a='" + b"<" * 7_000_000, "."),
    "open document type": (lambda: b"<!DOCTYPE a [" + b"<" * 7_000_000, "."),
    "open quote in the document type": (lambda: b"<!DOCTYPE a [<!ENTITY a '" + b"x>" * 3_500_000, "."),
    "open instruction": (lambda: HEAD + b"<?a " + b"? " * 3_500_000, "."),
    "ends of tags": (lambda: b"<a" + b">" * 8_000_000, "."),
    "brackets": (lambda: b"<" * 8_000_000, "."),
    "references": (lambda: whole(b"&#x" + b"0" * 7_000_000 + b"41;"), None),
    "unknown references": (lambda: whole(b"&nix;" * 1_000_000), "."),
}

PRODUCT_CODES = {
    "climbs": (b"../x", "holds a separator"),
    "above": (b"..", "is no folder name"),
    "here": (b".", "is no folder name"),
    "root": (b"/etc", "holds a separator"),
    "below": (b"a/b", "holds a separator"),
    "drive": (b"C:\\x", "holds a separator"),
    "line break": (b"a&#10;b", "holds a control character"),
    "escape": (b"a&#x7F;[2Jb", "holds a control character"),
    "C1": (b"a&#x9B;2Jb", "holds a control character"),
    "long": (b"n" * 300, "too long"),
    "long in bytes": ("ü".encode() * 130, "too long"),
    "a megabyte": (b"n" * 1_000_000, "too long"),
    "entity": (b"..&#47;..&#47;x", "holds a separator"),
    "hidden": (b"<a>..</a><b>/x</b>", "holds a separator"),
    "device": (b"CON", None),
    "dots behind": (b"x...", None),
    "blank within": (b"x y", None),
    "blanks behind": (b"x &#160;", None),
    "dash": (b"-rf", None),
    "home": (b"~", None),
    "star": (b"*", None),
}


class HostileFiles(HostileTest):
    def check(self, name, content, reason):
        """Collects a hostile file between two good ones."""
        secret = self.folder / "secret"
        secret.write_text("<!ELEMENT a ANY>TOP-SECRET")
        site = self.make_site(latest=("depot",))
        good = [Entry(), Entry()]
        site.drop("a.xml", fault_file([good[0]]))
        site.drop("m.xml", content().replace(b"%(secret)s", str(secret).encode()))
        site.drop("z.xml", fault_file([good[1]]))
        run = self.watched("-fc")
        log = site.log()
        self.assertEqual(0, run.status, (run.printed, log))
        self.assert_readable(log)
        self.assertEqual([], site.waiting())
        filed = self.all_entries(path for path in site.archived() if path.name in ("a.xml", "z.xml"))
        self.assertEqual({entry.uid for entry in good}, set(filed))
        lines = self.errors_about(log, "m.xml")
        if reason is None:
            self.assertEqual([], lines)
            self.assertIn("[Search Latest]:Found 3 OK files", log)
        else:
            self.assertEqual(1, len(lines), log)
            self.assertRegex(lines[0], r"^\[Error\]:Reason: .*(%s).*\[\.\.\\Error\\m\.xml\]$" % reason)
            self.assertTrue((site.error / "m.xml").exists())
            self.assertIn("[Search Latest]:Found 1 Error files", log)
        for path in [*site.archived(), *site.documents()]:
            self.assertNotIn(b"TOP-SECRET", path.read_bytes())
        return run

    def check_all(self, table):
        peak, slowest = (0, ""), (0, "")
        for name, (content, reason) in table.items():
            with self.subTest(name):
                run = self.check(name, content, reason)
                peak, slowest = max(peak, (run.megabytes, name)), max(slowest, (run.seconds, name))
        print(f"{len(table)} files; most memory {peak[0]:.0f} MB ({peak[1]}), "
              f"longest {slowest[0]:.1f} s ({slowest[1]})")

    def test_hostile_content_goes_to_error_with_its_reason(self):
        self.check_all(HOSTILE_CONTENTS)

    def test_product_codes(self):
        self.check_all({name: (lambda code=code: whole(product=code), reason)
                        for name, (code, reason) in PRODUCT_CODES.items()})


def listening(path):
    with socket.socket(socket.AF_UNIX) as one:
        here = os.open(path.parent, os.O_PATH)
        try:
            one.bind(f"/proc/self/fd/{here}/{path.name}")  # a socket's name may be short only
        finally:
            os.close(here)


IRREGULAR_FILES = {
    "pipe": pipe,
    "socket": listening,
    "folder": lambda path: path.mkdir(),
    "link to a good file": lambda path: path.symlink_to("../../outside.xml"),
    "link to the users": lambda path: path.symlink_to("/etc/passwd"),
    "link to a folder": lambda path: path.symlink_to("/etc"),
    "link to nothing": lambda path: path.symlink_to("nothing"),
    "link to itself": lambda path: path.symlink_to(path.name),
    "link to a device": lambda path: path.symlink_to("/dev/zero"),
}

NAMES = {
    "line break": b"a\nb.xml",
    "forged line": b"x\n21.11.2026 07:10:34  [Mail]:Mail Sent.xml",
    "tab": b"a\tb.xml",
    "escape": b"\x1b[2J\x1b]0;x\x07.xml",
    "C1": "\u009b2J.xml".encode(),
    "broken UTF-8": b"\xff\xfe\xe4.xml",
    "255 bytes": b"n" * 251 + b".xml",
    "255 bytes, not ASCII": "ü".encode() * 125 + b"x.xml",
    "ending alone": b".xml",
    "blanks": b"   .xml",
    "dash": b"-rf.xml",
    "quotes": b"\"'`$(x).xml",
    "percent": b"%s%n{}.xml",
    "like a temporary one": b".1.fieldpost-new.xml",
    "capitals": b"A.XML",
}


class IrregularFiles(HostileTest):
    def test_irregular_file_is_not_touched(self):
        for name, make in IRREGULAR_FILES.items():
            with self.subTest(name):
                site = self.make_site(latest=("depot",))
                (self.folder / "outside.xml").write_bytes(fault_file([Entry()]))
                make(site.latest[0] / "m.xml")
                site.drop("z.xml", fault_file([Entry()]))
                run = self.watched("-fc")
                self.assertEqual((0, ["z.xml"]), (run.status, [path.name for path in site.archived()]))
                self.assertEqual(["m.xml"], [path.name for path in site.waiting()])
                self.assertTrue((self.folder / "outside.xml").exists())
                self.assertNotIn("m.xml", run.trace)

    def test_link_in_the_error_folder_is_not_followed(self):
        site = self.make_site(latest=("depot",))
        outside = self.folder / "outside"
        outside.write_bytes(b"mine")
        site.error.mkdir(parents=True)
        (site.error / "m.xml").symlink_to(outside)
        site.drop("m.xml", b"broken")
        self.assertEqual(0, self.watched("-fc").status)
        self.assertEqual((b"mine", b"broken"), (outside.read_bytes(), (site.error / "m.xml").read_bytes()))

    def test_file_of_two_gigabytes_is_moved_unread(self):
        site = self.make_site(latest=("depot",))
        with open(site.latest[0] / "m.xml", "wb") as huge:
            huge.truncate(2 << 30)
        site.drop("z.xml", fault_file([Entry()]))
        run = self.watched("-fc")
        self.assertEqual((0, ["z.xml"]), (run.status, [path.name for path in site.archived()]))
        (line,) = self.errors_about(site.log(), "m.xml")
        self.assertEqual("[Error]:Reason: larger than 8388608 bytes[..\\Error\\m.xml]", line)
        self.assertEqual(2 << 30, (site.error / "m.xml").stat().st_size)


class HostileNames(HostileTest):
    def test_any_name_is_filed_and_a_rejected_file_is_logged_in_one_line(self):
        for title, name in NAMES.items():
            with self.subTest(title):
                site = self.make_site(latest=("good", "bad"))
                entry = Entry()
                (site.latest[0] / os.fsdecode(name)).write_bytes(fault_file([entry]))
                (site.latest[1] / os.fsdecode(name)).write_bytes(b"broken")
                run = self.watched("-fc")
                log = site.log()
                self.assert_readable(log)
                self.assertEqual((0, []), (run.status, site.waiting()), log)
                self.assertEqual({entry.uid}, set(self.all_entries(site.archived())))
                self.assertEqual([name], [os.fsencode(path.name) for path in site.archived()])
                self.assertEqual([name], [os.fsencode(path.name) for path in site.error.iterdir()])
                self.assertEqual(1, sum(line.startswith("[Error]:Reason: ") for line in log), log)


if __name__ == "__main__":
    unittest.main()
