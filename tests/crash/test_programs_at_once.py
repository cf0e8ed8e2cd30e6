"""Several programs at once on the same data: one works, the others say so and touch nothing.

Each is then run once more alone. No entry is lost, filed twice or mailed twice.
"""

import collections
import pathlib
import re
import shutil
import signal
import sys
import time
import unittest

from crash_support import CrashTest
from capabilities import may_mount, mounting
from mail_site import MailSite
from support import ALL_IN_ONE_MAIL

FILES = 1000
ROUNDS = 20
REFUSED = re.compile(r"\[Error\]:Another run of Fieldpost is working in (.+); this one ends without doing anything")
UID = re.compile(rb'<FAULTLOG NR="\d+" UID="([^"]+)">')


def small_file(number):
    return (f'<?xml version="1.0"?><FLFILE><PRODCODE>P{number % 7}</PRODCODE><FAULTLOG NR="1" UID="e{number}">'
            "<CONDATE>20040305</CONDATE><MODEIND>A</MODEIND></FAULTLOG></FLFILE>").encode()


def uids_in(paths):
    return collections.Counter(uid.decode() for path in paths for uid in UID.findall(path.read_bytes()))


def archive_of(site):
    return pathlib.Path(site.options.get("ArchiveFolder", site.archive))


def process_of(site):
    return pathlib.Path(site.options.get("ProcessFolder", site.process))


class Together:
    """Sites that share folders, and the entries that were dropped there."""

    def __init__(self, sites):
        self.sites = sites
        self.serial = 0
        self.expected = set()

    def drop(self, count):
        """Leaves `count` files, the same number in each Latest folder of the sites."""
        folders = sorted({path.resolve() for site in self.sites for path in site.latest})
        for number in range(count):
            self.serial += 1
            self.expected.add(f"e{self.serial}")
            (folders[number % len(folders)] / f"unit{self.serial}.xml").write_bytes(small_file(self.serial))

    def files(self, which, pattern):
        """Returns the files of all sites' folders, each once whatever its names."""
        found = {}
        for site in self.sites:
            for path in which(site).glob(pattern):
                found[path.resolve()] = path
        return list(found)


class ProgramsAtOnce(CrashTest):
    def setUp(self):
        super().setUp()
        self.sink = self.start_server()
        self.refused = self.programs = 0

    def make(self, name, called=None, under=(), **folders):
        """Makes a site with folders of its own, except for `folders`.

        called: the name by which the program knows the Latest folder. under: a command that runs the program.
        """
        site = MailSite(self.folder / name, self.sink.port, NumAttachments=ALL_IN_ONE_MAIL,
                        **{key: f"{value}/" for key, value in folders.items() if key != "latest"})
        if "latest" in folders:
            site.latest = [folders["latest"]]
        for path in site.latest:
            path.mkdir(parents=True, exist_ok=True)
        (site.home / "LatestList.dat").write_text(f"{called or site.latest[0]}/\n")
        site.under = under
        return site

    def run_round(self, together, programs, switch="-fcs"):
        """Starts all programs at once, then the refused ones one by one."""
        before = {site: len(site.log()) for site in together.sites}
        running = [(site, site.start(switch, under=site.under)) for site in programs]
        again = []
        for site, program in running:
            printed = "".join(program.communicate(timeout=60))
            self.assertEqual("", printed)
            self.assertIn(program.returncode, (0, 1))
            if program.returncode == 1:
                again.append(site)
        told = [line for site in together.sites for line in site.log()[before[site]:]
                if line.startswith("[Error]:")]
        self.assertEqual(len(again), len(told), told)
        for line in told:
            self.assertTrue(pathlib.Path(REFUSED.fullmatch(line)[1]).is_dir(), line)
        self.assertLess(len(again), len(programs), "no program did the work")
        for site in again:
            self.assertEqual(0, site.run(switch, under=site.under), site.log()[-3:])
        self.refused += len(again)
        self.programs += len(programs)

    def assert_each_once(self, together):
        """Every entry is in the Archive, in one document and in one mail, once."""
        once = collections.Counter(together.expected)
        self.assertEqual([], together.files(lambda site: site.latest[0], "*.xml"))
        archives = together.files(archive_of, "*/*.xml")
        self.assertEqual(once, uids_in(archives))
        documents = together.files(process_of, "*.xml")
        self.assertEqual(once, uids_in(documents))
        mailed = collections.Counter(
            uid.decode() for mail in self.sink.mails for _, content in
            self.attachments_of(self.read_mail(mail.content)) for uid in UID.findall(content))
        self.assertEqual(once, mailed)

    def clear(self, together):
        """Removes what the last round left."""
        for site in together.sites:
            for path in archive_of(site).iterdir():
                shutil.rmtree(path)
            for path in process_of(site).glob("*.xml"):
                path.unlink()
        together.expected.clear()
        self.sink.mails.clear()

    def rounds(self, sites, times=1):
        """Starts the program `times` times on each site at once, with new files each round."""
        together, begin = Together(sites), time.monotonic()
        for _ in range(ROUNDS):
            together.drop(FILES)
            self.run_round(together, sites * times)
            self.assert_each_once(together)
            self.clear(together)
        self.assertGreater(self.refused, ROUNDS // 2, "the programs hardly met")
        print(f"{self.id().split('.')[-1]}: {ROUNDS} rounds of {FILES} files, {self.programs} programs, "
              f"{self.refused} refused, {time.monotonic() - begin:.1f} s", file=sys.stderr)

    def test_two_on_one_site(self):
        self.rounds([self.make("one")], times=2)

    def test_four_on_one_site(self):
        self.rounds([self.make("one")], times=4)

    def test_two_that_share_latest(self):
        shared = self.folder / "shared"
        self.rounds([self.make("one", latest=shared), self.make("two", latest=shared)])

    def test_two_that_share_the_archive(self):
        shared = self.folder / "shared"
        shared.mkdir()
        self.rounds([self.make("one", ArchiveFolder=shared), self.make("two", ArchiveFolder=shared)])

    def test_two_that_share_process(self):
        shared = self.folder / "shared"
        shared.mkdir()
        self.rounds([self.make("one", ProcessFolder=shared), self.make("two", ProcessFolder=shared)])

    def test_three_that_know_latest_by_different_names(self):
        shared, bound = self.folder / "shared", self.folder / "bound"
        shared.mkdir()
        bound.mkdir()
        (self.folder / "link").symlink_to(shared)
        third = {"called": f"/proc/self/root{shared}"}
        if may_mount():
            bind = (*mounting(), "sh", "-c", 'mount --bind "$1" "$2" && shift 2 && exec "$@"', "sh", shared, bound)
            third = {"called": bound, "under": tuple(map(str, bind))}
        self.rounds([self.make("one", latest=shared), self.make("two", latest=shared, called=self.folder / "link"),
                     self.make("three", latest=shared, **third)])

    def test_lock_of_a_killed_program_is_free_at_once(self):
        site = self.make("one")
        together = Together([site])
        for number in range(ROUNDS):
            together.drop(FILES // ROUNDS)
            program = site.start("-fc")
            self.addCleanup(program.wait)
            # Wherever it is by then: the lock is taken before the first file is filed.
            time.sleep(number / 1000)
            program.kill()
            program.communicate(timeout=30)
            self.assertIn(program.returncode, (0, -signal.SIGKILL))
            log = self.log_of(site, "-fc")
            self.assertEqual([], [line for line in log if line.startswith("[Error]:")])
        self.assertEqual(collections.Counter(together.expected), uids_in(site.archived()))

    def log_of(self, site, switch):
        before = len(site.log())
        self.assertEqual(0, site.run(switch), site.log()[-3:])
        return site.log()[before:]


if __name__ == "__main__":
    unittest.main()
