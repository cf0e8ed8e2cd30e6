"""Hostile settings, lists and registry stores: one clear line, no long wait, and nothing is overwritten."""

import os
import sqlite3
import unittest

from hostile_support import HostileTest
from support import Entry, fault_file

MIB = 1024 * 1024


def write(content):
    return lambda path: path.write_bytes(content)


def pipe(path):
    path.unlink(missing_ok=True)
    os.mkfifo(path)


def folder(path):
    path.unlink(missing_ok=True)
    path.mkdir()


def sparse(size):
    def make(path):
        with open(path, "wb") as file:
            file.truncate(size)
    return make


GARBAGE = {
    "bytes": write(bytes(range(256)) * 1000),
    "zeros": write(b"\0" * 100_000),
    "line breaks": write(b"\n" * MIB),
    "a megabyte in one line": write(b"x" * MIB),
    "UTF-16": write("[Mail Options]\r\nSMTPServer=x\r\n/srv/x\r\n".encode("utf-16")),
    "100 MB": sparse(100 * MIB),
    "folder": folder,
    "pipe": pipe,
}


class SettingsTest(HostileTest):
    def refused(self, path):
        """The run ends at once. One line names the file, in the log or, where there is none, on the screen."""
        content = fault_file([Entry()])
        self.site.drop("a.xml", content)
        run = self.watched("-fc")
        said = [*self.site.log(), *run.printed.splitlines()]
        self.assert_readable(said)
        self.assertEqual(1, run.status, said)
        self.assertEqual(content, (self.site.latest[0] / "a.xml").read_bytes())
        self.assertEqual(1, len({line.split("]:", 1)[-1] for line in said if path.name in line}), said)


class HostileOptions(SettingsTest):
    def test_garbage_ends_the_run_with_a_line(self):
        for name, make in GARBAGE.items():
            with self.subTest(name):
                site = self.make_site()
                make(site.home / "Options.ini")
                content = fault_file([Entry()])
                site.drop("a.xml", content)
                run = self.watched("-fc")
                log = site.log()
                self.assert_readable(log)
                self.assertEqual((1, content), (run.status, (site.latest[0] / "a.xml").read_bytes()), log)
                said = " ".join([*self.errors_about(log, ""), run.printed])
                self.assertRegex(said, r"Options\.ini|Partner ID missing")

    def test_hostile_values_lose_no_file(self):
        for key in ("SMTPServer", "SenderAddress", "MailHostName", "Organization", "PartnerID", "Timeout",
                    "TryCount", "NumAttachments", "UseZip", "SMTPPort", "TlsCaFile", "TlsMode", "MailUserName"):
            for value in ("x" * MIB, "\x1b[2J\x07", "../../x%s%n", "-" + "9" * 400):
                with self.subTest(key=key, value=value[:20]):
                    site = self.make_site(**{key: value})
                    entry = Entry()
                    site.drop("a.xml", fault_file([entry]))
                    run = self.watched("-fc")
                    self.assert_readable([*site.log(), *run.printed.splitlines()])
                    kept = {**self.all_entries(site.archived()), **self.all_entries(site.waiting())}
                    self.assertEqual({entry.uid}, set(kept))

    def test_hostile_folders_lose_no_file(self):
        for key in ("ArchiveFolder", "ProcessFolder"):
            for value in ("/" + "x" * MIB, "\x1b[2J", "relative/", "/dev/null/"):
                with self.subTest(key=key, value=value[:20]):
                    site = self.make_site(**{key: value})
                    entry = Entry()
                    site.drop("a.xml", fault_file([entry]))
                    self.watched("-fc")
                    self.assert_readable(site.log())
                    kept = {**self.all_entries(site.archived()), **self.all_entries(site.waiting())}
                    self.assertEqual({entry.uid}, set(kept))


class HostileSuiteFile(HostileTest):
    def test_run_goes_on_without_it(self):
        for name, make in {**GARBAGE, "value": write(b"[Directories]\nFaultLog=" + b"/x" * MIB),
                           "zero": write(b"[Directories]\nFaultLog=/etc\0/x"),
                           "elsewhere": write(b"[Directories]\nFaultLog=/nowhere/faultlog\x1b[2J")}.items():
            with self.subTest(name):
                site = self.make_site()
                make(site.suite / "faultlog.ini")
                site.drop("a.xml", fault_file([Entry()]))
                self.assertEqual(0, self.watched("-fc").status, site.log())
                self.assert_readable(site.log())
                self.assertEqual(["a.xml"], [path.name for path in site.archived()])


class HostileLatestList(SettingsTest):
    def test_unreadable_list_ends_the_run_with_a_line(self):
        for name, make in {**{name: GARBAGE[name] for name in ("bytes", "zeros", "UTF-16", "100 MB", "folder", "pipe")},
                           "too many": write(b"/x\n" * 20_000),
                           "a zero": lambda path: path.write_bytes(path.read_bytes() + b"/srv\0/x\n")}.items():
            with self.subTest(name):
                site = self.make_site()
                make(site.home / "LatestList.dat")
                before = os.lstat(site.home / "LatestList.dat")
                self.refused(site.home / "LatestList.dat")
                self.assertEqual(before.st_size, os.lstat(site.home / "LatestList.dat").st_size)

    def test_missing_folders_are_passed_over(self):
        site = self.make_site()
        lists = site.home / "LatestList.dat"
        lists.write_bytes(b"\x1b[2J\n\xff\xfe\n" + b"x" * MIB + b"\n\n" * 1000 + b"/dev/null\n" + lists.read_bytes())
        site.drop("a.xml", fault_file([Entry()]))
        self.assertEqual(0, self.watched("-fc").status, site.log())
        self.assertEqual(["a.xml"], [path.name for path in site.archived()])


class HostileRegistry(SettingsTest):
    def flipped(self, path):
        content = bytearray(path.read_bytes())
        for at in range(100, len(content), 97):
            content[at] ^= 0xFF
        path.write_bytes(content)

    def later(self, path):
        with sqlite3.connect(path) as database:
            database.execute("PRAGMA user_version = 99")
        database.close()

    def test_unreadable_store_ends_the_run_with_a_line(self):
        for name, make in {**{name: GARBAGE[name] for name in ("bytes", "zeros", "line breaks", "folder", "pipe")},
                           "flipped": self.flipped, "later": self.later,
                           "cut off": lambda path: os.truncate(path, path.stat().st_size // 2),
                           "text": write(b"[registry]\nInstPath=/x\n"),
                           "two gigabytes": lambda path: os.truncate(path, 2 << 30)}.items():
            with self.subTest(name):
                site = self.make_site()
                make(site.home / "registry.sqlite")
                self.refused(site.home / "registry.sqlite")

    def test_locked_store_is_not_waited_for_long(self):
        site = self.make_site()
        database = sqlite3.connect(site.home / "registry.sqlite", isolation_level=None)
        self.addCleanup(database.close)
        database.execute("BEGIN EXCLUSIVE")
        self.refused(site.home / "registry.sqlite")

    def test_values_of_a_megabyte_lose_no_file(self):
        site = self.make_site()
        database = sqlite3.connect(site.home / "registry.sqlite")
        database.execute("UPDATE key_values SET data = ?", (b"/x" * (MIB // 2) + b"\0",))
        database.commit()
        database.close()
        entry = Entry()
        site.drop("a.xml", fault_file([entry]))
        self.watched("-fc")
        site.suite = site.home
        self.assert_readable(site.log())
        kept = {**self.all_entries(site.archived()), **self.all_entries(site.waiting())}
        self.assertEqual({entry.uid}, set(kept))


if __name__ == "__main__":
    unittest.main()
