"""A run that is killed at any moment loses no entry and files none twice."""

import signal
import subprocess
import time
import unittest

from capabilities import require_tracing
from support import ALL_IN_ONE_MAIL, Entry, SystemTest, entries_of, fault_file

FILES = 150
MOMENTS = 24


class Killed(SystemTest):
    def fill(self, port=1):
        """Makes a site with files of the same names in both Latest folders, and some of these names in the archive."""
        site = self.make_site(port, NumAttachments=ALL_IN_ONE_MAIL)
        self.expected = set()
        self.drop_files(range(0, FILES, 5), 0)
        self.run_program("-fc")
        for folder in (0, 1):
            self.drop_files(range(FILES // 2), folder)
        return site

    def drop_files(self, numbers, folder):
        for number in numbers:
            entries = [Entry(), Entry()]
            self.expected.update(entry.uid for entry in entries)
            self.site.drop(f"unit{number:03}.xml", fault_file(entries, f"P{number % 3}", size=12000), folder)

    def kill_after(self, switch, seconds):
        """Kills a run after some time. Returns False when it had ended before."""
        process = self.site.start(switch)
        try:
            process.wait(seconds)
        except subprocess.TimeoutExpired:
            process.send_signal(signal.SIGKILL)
        process.communicate()
        return process.returncode == -signal.SIGKILL

    def assert_each_entry_once(self, seconds):
        with self.subTest(killed_after=seconds):
            self.assert_nothing_waits()
            self.assertEqual(self.expected, set(self.all_entries(self.site.archived())))
            self.assertEqual(self.expected, set(self.all_entries(self.site.documents())))
            self.assertEqual([], list(self.site.error.iterdir()))

    def measure(self, switch, port=1):
        self.fill(port)
        begin = time.monotonic()
        self.run_program(switch)
        return time.monotonic() - begin

    def test_while_collecting(self):
        whole = self.measure("-fc")
        killed = 0
        for step in range(MOMENTS):
            self.fill()
            seconds = whole * step / MOMENTS
            killed += self.kill_after("-fc", seconds)
            self.run_program("-fc")
            self.assert_each_entry_once(seconds)
        self.assertGreater(killed, MOMENTS // 3, "most runs ended before they could be killed")

    def test_while_collecting_and_mailing(self):
        whole = self.measure("-fcs", self.start_server().port)
        killed = 0
        for step in range(MOMENTS // 2):
            sink = self.start_server()
            self.fill(sink.port)
            seconds = whole * step / (MOMENTS // 2)
            killed += self.kill_after("-fcs", seconds)
            self.run_program("-fcs")
            self.run_program("-fs")
            self.assert_each_entry_once(seconds)
            self.assertEqual({"Sent"}, set(self.modes()))
            self.assertLessEqual(self.expected, self.mailed(sink))
        self.assertGreater(killed, MOMENTS // 6, "most runs ended before they could be killed")

    def mailed(self, sink):
        return {uid for received in sink.mails
                for _, content in self.attachments_of(self.read_mail(received.content))
                for uid in entries_of(content)}

    def test_loses_and_duplicates_no_entry_when_killed_repeatedly(self):
        whole = self.measure("-fc")
        self.fill()
        for step in range(1, MOMENTS):
            self.kill_after("-fc", whole * step / MOMENTS)
        self.run_program("-fc")
        self.assert_each_entry_once("many times")


class KilledAtACall(SystemTest):
    """The run is killed at each of the calls with which it changes the disk."""

    @classmethod
    def setUpClass(cls):
        require_tracing("strace", "-o", "/dev/null")

    def fill(self):
        site = self.make_site()
        old, self.entries = Entry(), [Entry() for _ in range(6)]
        site.drop("unit0.xml", fault_file([old], "P0"))
        self.run_program("-fc")
        for number, entry in enumerate(self.entries):
            site.drop(f"unit{number % 4}.xml", fault_file([entry], f"P{number % 2}"), folder=number // 4)
        site.drop("broken.xml", b"<FLFILE>")
        self.expected = {old.uid} | {entry.uid for entry in self.entries}

    def killed_at(self, call, number):
        """Kills a run at its n-th call of that name. Returns False when it has fewer, and ended."""
        process = self.site.start("-fc", under=["strace", "-f", "-qq", "-o", "/dev/null", "-e", f"trace={call}",
                                                "-e", f"inject={call}:signal=KILL:when={number}"])
        _, complaint = process.communicate(timeout=60)
        self.assertIn(process.returncode, (0, -signal.SIGKILL), complaint)
        return process.returncode != 0

    def check(self, call, at_least):
        number, more = 0, True
        while more:
            number += 1
            with self.subTest(call=call, number=number):
                self.fill()
                more = self.killed_at(call, number)
                self.run_program("-fc")
                self.assert_nothing_waits()
                self.assertEqual(self.expected, set(self.all_entries(self.site.archived())))
                self.assertEqual(self.expected, set(self.all_entries(self.site.documents())))
                self.assertEqual(["broken.xml"], [path.name for path in self.site.error.iterdir()])
        self.assertGreater(number, at_least, f"the disk is not changed by {call}")

    def test_at_each_rename(self):
        self.check("rename", 4)

    def test_at_each_removal(self):
        self.check("unlink", 4)

    def test_at_each_write(self):
        self.check("write", 4)

    def test_at_each_flush(self):
        self.check("syncfs", 1)


if __name__ == "__main__":
    unittest.main()
