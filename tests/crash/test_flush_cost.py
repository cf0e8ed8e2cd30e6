"""What durability costs: the same run with and without its flushes. Times are printed, never asserted."""

import pathlib
import tempfile
import time
import unittest

from crash_support import BUILD, MEMORY
from support import PARTNER, SENDER, Entry, Site, fault_file

FILES = 1000
PRODUCTS = 20
TEMPLATE = fault_file([Entry(uid="THE-UID")], "THE-PRODUCT", size=10_000)  # the size that devices write
NO_FLUSH = BUILD / "tests" / "libno_flush.so"


class FlushCost(unittest.TestCase):
    def make_site(self, folder):
        site = Site(pathlib.Path(folder) / "site")
        site.set_up({"SMTPServer": "127.0.0.1", "SMTPPort": "1", "SenderAddress": SENDER, "PartnerID": PARTNER},
                    latest=("depot",))
        for number in range(FILES):
            content = TEMPLATE.replace(b"THE-PRODUCT", b"P%d" % (number % PRODUCTS), 1)
            site.drop(f"unit{number:04}.xml", content.replace(b"THE-UID", b"%d" % number, 1))
        return site

    def seconds(self, site):
        begin = time.monotonic()
        status = site.run("-fc")
        seconds = time.monotonic() - begin
        self.assertEqual(0, status, site.printed)
        self.assertEqual(FILES, len(site.archived()))
        self.assertEqual([], site.waiting())
        self.assertGreater(len(site.documents()), 0)
        return seconds

    def without_flushes(self, site):
        """Returns the seconds of a run whose flushes do nothing, and how many they were."""
        count = site.root / "flushes"
        site.more_environment = {"LD_PRELOAD": str(NO_FLUSH), "NO_FLUSH_COUNT": str(count),
                                 "ASAN_OPTIONS": "verify_asan_link_order=0"}
        return self.seconds(site), int(count.read_text())

    def pair(self, folder):
        with tempfile.TemporaryDirectory(prefix="fieldpost-flush-", dir=folder) as one:
            flushed = self.seconds(self.make_site(one))
        with tempfile.TemporaryDirectory(prefix="fieldpost-flush-", dir=folder) as other:
            return flushed, *self.without_flushes(self.make_site(other))

    def test_same_work_with_and_without(self):
        for name, folder in [("the system's folder for temporary files", None), ("memory", MEMORY)]:
            with self.subTest(name):
                flushed, unflushed, flushes = self.pair(folder)
                with_them, without = FILES / flushed, FILES / unflushed
                print(f"In {folder or tempfile.gettempdir()}: {with_them:.0f} files/s with flushes, {without:.0f} "
                      f"without ({without / with_them:.2f} times), {flushes} flushes for {FILES} files",
                      flush=True)
                self.assertGreater(flushes, 0)


if __name__ == "__main__":
    unittest.main()
