"""A run that is killed at any moment loses no entry and doubles none."""

import signal
import subprocess
import time
import unittest

from support import ALL_IN_ONE_MAIL, Entry, RoadTest, entries_of, fault_file

FILES = 150
MOMENTS = 24


class Killed(RoadTest):
    def fill(self, port=1):
        """A site with namesakes in both Latest folders, and with some of the names archived before."""
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
        """Whether the run was killed before its end."""
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
        self.assertGreater(killed, MOMENTS // 3, "most runs ended before they were to be killed")

    def test_while_collecting_and_mailing(self):
        whole = self.measure("-fcs", self.start_sink().port)
        killed = 0
        for step in range(MOMENTS // 2):
            sink = self.start_sink()
            self.fill(sink.port)
            seconds = whole * step / (MOMENTS // 2)
            killed += self.kill_after("-fcs", seconds)
            self.run_program("-fcs")
            self.run_program("-fs")
            self.assert_each_entry_once(seconds)
            self.assertEqual({"Sent"}, set(self.modes()))
            self.assertLessEqual(self.expected, self.mailed(sink))
        self.assertGreater(killed, MOMENTS // 6, "most runs ended before they were to be killed")

    def mailed(self, sink):
        return {uid for received in sink.mails
                for _, content in self.attachments_of(self.read_mail(received.content))
                for uid in entries_of(content)}

    def test_killed_again_and_again(self):
        whole = self.measure("-fc")
        self.fill()
        for step in range(1, MOMENTS):
            self.kill_after("-fc", whole * step / MOMENTS)
        self.run_program("-fc")
        self.assert_each_entry_once("many times")


class KilledAtACall(RoadTest):
    """As above, but at each of the calls with which a run changes the disk."""

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
        """Whether there is a call of that number; then the run ends with it."""
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
        self.assertGreater(number, at_least, f"so few calls of {call}: it is not these that change the disk")

    def test_when_a_file_gets_its_name(self):
        self.check("rename", 4)

    def test_when_a_file_is_removed(self):
        self.check("unlink", 4)

    def test_when_a_file_is_written(self):
        self.check("write", 4)

    def test_when_the_disk_is_flushed(self):
        self.check("syncfs", 1)


if __name__ == "__main__":
    unittest.main()
