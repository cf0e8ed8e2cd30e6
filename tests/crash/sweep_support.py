"""What the sweeps share: a site that is restored in a millisecond, and checks of what became of each entry."""

import collections
import concurrent.futures
import json
import os
import pathlib
import re
import shutil
import tempfile

from crash_support import CALL_TRACER, MEMORY
from mail_sink import MailSink
from support import PARTNER, SENDER, Entry, Site, fault_file, parse, ppc_entry, ppc_file

WORKERS = 2
LOG_SCRATCH = "STemp.tmp"  # goes when the next line is logged; a run that has nothing to say leaves it
UID = re.compile(rb'UID="([0-9a-f]{32})"')


class Tree:
    """A folder's content, kept in memory to restore it."""

    def __init__(self, root):
        self.root = root
        self.folders = []
        self.files = []
        for folder, _, names in os.walk(root):
            self.folders.append((folder, os.stat(folder).st_mode & 0o7777))
            for name in names:
                path = os.path.join(folder, name)
                with open(path, "rb") as file:
                    self.files.append((path, file.read(), os.stat(path).st_mode & 0o7777))

    def restore(self):
        shutil.rmtree(self.root)
        for path, mode in self.folders:
            os.mkdir(path)
            os.chmod(path, mode)
        for path, content, mode in self.files:
            with open(path, "wb") as file:
                file.write(content)
            os.chmod(path, mode)


def uids_in_mails(mails):
    """Returns how often each entry is in the attached files of these mails."""
    return uids_in(content for mail in mails for _, content in mail.files)


def uids_in(contents):
    """Returns how often each entry is in these files."""
    return collections.Counter(uid.decode() for content in contents for uid in UID.findall(content))


class SweptSite:
    """A site with everything that a run can meet, small enough for thousands of runs.

    Its entries: `old` are in the archive and were mailed long ago, `queued` are in unsent documents of earlier runs,
    `new` are in the Latest folders, `ppc` in the PPC database.
    """

    def __init__(self, folder, *, zipped=False, waiting=0, new=True, large=True):
        self.folder = pathlib.Path(folder)
        self.sink = MailSink().start()
        self.site = Site(self.folder / "site")
        self.old, self.queued, self.new, self.ppc = set(), set(), set(), set()
        self.site.set_up({"SMTPServer": "127.0.0.1", "SMTPPort": str(self.sink.port), "SenderAddress": SENDER,
                          "PartnerID": PARTNER, "NumAttachments": "0", "UseZip": str(zipped), "TryCount": "1",
                          "Timeout": "10"}, latest=("depot1", "depot2"))
        self._archive_some()
        for number in range(waiting):
            self.site.queue(f"FLog.{PARTNER}.20040315{number:02}01.xml", [new_entry(self.queued)])
        if new:
            self._leave_files(large)
        for number in range(2):
            self.site.store_ppc(f"ppc{number}.xml", ppc_file([ppc_entry(new_entry(self.ppc).uid)]))
        self.tree = Tree(self.site.root)

    def _archive_some(self):
        """Makes the site hold what was collected and mailed long ago."""
        for name in ("unit0.xml", "unit1.xml"):
            self.site.drop(name, fault_file([new_entry(self.old)], "P0"))
        if self.site.run("-fc") != 0:
            raise RuntimeError(self.site.printed)
        for path in [*self.site.documents(), *self.site.log_files()]:
            path.unlink()

    def _leave_files(self, large):
        """Leaves files of the same names in both folders and the archive, a broken file, and text for two documents."""
        for name, folder, code, size in [("unit0.xml", 0, "P0", 0), ("unit0.xml", 1, "P0", 0),
                                         ("first.xml", 0, "P1", 700_000 if large else 0),
                                         ("second.xml", 0, "P1", 650_000 if large else 0),
                                         ("third.xml", 1, "P2", 0)]:
            entries = [new_entry(self.new), new_entry(self.new)]
            content = fault_file(entries, code).replace(b"</FLFILE>", b"<DUMP>" + b"0" * size + b"</DUMP></FLFILE>")
            self.site.drop(name, content, folder)
        self.site.drop("broken.xml", b"<FLFILE>")

    def restore(self):
        """Brings back files and server as they were before the first run."""
        self.tree.restore()
        self.sink.clear()

    def trace(self, switch, *options):
        """Runs the program under the tracer. Returns the tracer's status and what the program printed."""
        process = self.site.start(switch, under=[CALL_TRACER, *options, "--"])
        printed = "".join(process.communicate(timeout=60))
        return process.returncode, printed

    def count_calls(self, switch):
        """Runs the program to its end. Returns its status and how many changing calls it made."""
        count = self.folder / "count"
        status, _ = self.trace(switch, "--count", str(count))
        return status, int(count.read_text())

    def record(self, switch, *options):
        """Runs the program to its end. Returns its status and the record of its changing calls."""
        record = self.folder / "record"
        status, _ = self.trace(switch, "--record", str(record), *options)
        return status, [json.loads(line) for line in record.read_text(errors="surrogateescape").splitlines()]

    def drop_later(self, number):
        """A device leaves one more file, which has this number. Returns its entries."""
        later = set()
        self.site.drop(f"later{number}.xml", fault_file([new_entry(later)], "P0"))
        return later

    # Each check of the site after a run returns a list of faults.

    def misfiled(self, filed):
        """Finds entries that are not once in archive and documents. filed: those that came from the Latest folders."""
        return (unequal("archived", self.old | filed, uids_in(read_all(self.site.archived())))
                + unequal("in documents", self.queued | filed, uids_in(read_all(self.site.documents()))))

    def unmailed(self, expected, exactly_once=False):
        mailed = uids_in_mails(self.sink.mails)
        faults = unequal("mailed", expected, {uid: mailed[uid] for uid in expected & set(mailed)})
        return faults if exactly_once else [fault for fault in faults if " 0 lost" not in fault]

    def unmarked(self):
        modes = [re.search(rb'Mode="([^"]*)"', content)[1] for content in read_all(self.site.documents())]
        return [f"modes {modes}"] if set(modes) - {b"Sent"} else []

    def left_over(self, error=()):
        """Finds what should not be there when all is done. error: the names expected in the Error folder."""
        site = self.site
        odd = names_in(*site.latest, site.ppc_temp)
        odd += [name for name in names_in(site.process) if not re.fullmatch(r"FLog\.\w+\.\d+\.xml", name)]
        odd += [path.name for path in site.archive.iterdir() if not path.is_dir()]
        odd += [path.name for path in site.archived() if path.suffix != ".xml"]
        odd += [name for name in names_in(site.home)
                if name not in ("Options.ini", "LatestList.dat", "registry.sqlite", LOG_SCRATCH)]
        faults = [f"left over: {odd}"] if odd else []
        in_error = names_in(site.error)
        return faults + ([f"in Error: {in_error}"] if in_error != list(error) else [])

    def malformed(self):
        """Finds archived files, documents and logs that cannot be read."""
        faults = []
        for path in [*self.site.archived(), *self.site.documents()]:
            try:
                parse(path)
            except SyntaxError as error:
                faults.append(f"{path.name}: {error}")
        try:
            self.site.log()
        except ValueError as error:
            faults.append(str(error))
        return faults


def new_entry(where):
    entry = Entry()
    where.add(entry.uid)
    return entry


def read_all(paths):
    return (path.read_bytes() for path in paths)


def unequal(what, expected, counted):
    """Compares how often each entry was found with what is expected: each of these once, and no other."""
    lost = expected - set(counted)
    doubled = [uid for uid, number in counted.items() if number > 1]
    strange = set(counted) - expected
    if not (lost or doubled or strange):
        return []
    return [f"{what}: {len(lost)} lost, {len(doubled)} doubled, {len(strange)} from elsewhere"]


def names_in(*folders):
    return sorted(path.name for folder in folders for path in folder.iterdir())


def spread(work, tasks):
    """Distributes tasks over processes. Returns the concatenated results of `work(folder, tasks)` of each process."""
    parts = [tasks[i::WORKERS] for i in range(WORKERS)]
    with concurrent.futures.ProcessPoolExecutor(WORKERS) as pool:
        results = [pool.submit(in_a_folder, work, part) for part in parts if part]
        return [one for result in results for one in result.result()]


def in_a_folder(work, tasks):
    with tempfile.TemporaryDirectory(prefix="fieldpost-sweep-", dir=MEMORY) as folder:
        return work(pathlib.Path(folder), tasks)
