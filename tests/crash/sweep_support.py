"""What the sweeps share: a site that can be put back as it was in a millisecond, a mail server that takes
megabytes in one, and the count of what became of each entry."""

import binascii
import collections
import concurrent.futures
import io
import json
import os
import pathlib
import re
import shutil
import socket
import tempfile
import threading
import zipfile

from loss_support import CALL_TRACER, MEMORY
from support import PARTNER, SENDER, Entry, Site, fault_file, parse, ppc_entry, ppc_file

WORKERS = 2
LOG_SCRATCH = "STemp.tmp"  # goes when the next line is logged; a run that has nothing to say leaves it
UID = re.compile(rb'UID="([0-9a-f]{32})"')
ATTACHMENT = re.compile(rb'filename="([^"]*)".*?\r\n\r\n(.*?)\r\n--', re.DOTALL)


class Tree:
    """A folder's content in memory, to be put back."""

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

    def put_back(self):
        shutil.rmtree(self.root)
        for path, mode in self.folders:
            os.mkdir(path)
            os.chmod(path, mode)
        for path, content, mode in self.files:
            with open(path, "wb") as file:
                file.write(content)
            os.chmod(path, mode)


class SwiftSink:
    """Takes every mail, one connection after the other, in as few steps as can be."""

    def __init__(self):
        self.mails = []
        self._socket = socket.create_server(("127.0.0.1", 0))
        self.port = self._socket.getsockname()[1]
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            connection, _ = self._socket.accept()
            with connection:
                try:
                    self._talk(connection)
                except OSError:
                    pass  # the program was killed

    def _talk(self, connection):
        connection.sendall(b"220 sink.example\r\n")
        for command in self._commands(connection):
            verb = command[:4].upper()
            if verb == b"DATA":
                connection.sendall(b"354 go ahead\r\n")
                if not self._take_mail(connection):
                    return
            connection.sendall(b"221 bye\r\n" if verb == b"QUIT" else b"250 ok\r\n")

    @staticmethod
    def _commands(connection):
        """The client waits for each answer, so that nothing stands behind a line's end."""
        line = b""
        while more := connection.recv(4096):
            line += more
            if line.endswith(b"\r\n"):
                yield line
                line = b""

    def _take_mail(self, connection):
        parts, end = [], b""
        while not end.endswith(b"\r\n.\r\n"):
            part = connection.recv(1 << 20)
            if not part:
                return False
            parts.append(part)
            end = (end + part)[-5:]
        self.mails.append(b"".join(parts))
        return True


def contents_of(mail):
    """What is attached to a mail, out of the zip where there is one."""
    for name, text in ATTACHMENT.findall(mail):
        content = binascii.a2b_base64(text)
        if not name.endswith(b".zip"):
            yield content
            continue
        with zipfile.ZipFile(io.BytesIO(content)) as packed:
            yield from (packed.read(member) for member in packed.namelist())


def uids_in(contents):
    """How often each entry is in the contents."""
    return collections.Counter(uid.decode() for content in contents for uid in UID.findall(content))


class SweptSite:
    """A site with everything that a run can meet, small enough to be run thousands of times.

    Its entries: `old` are in the archive and were mailed long ago, `queued` wait in documents of earlier runs,
    `new` lie in the Latest folders, `ppc` are in the PPC database.
    """

    def __init__(self, folder, *, zipped=False, waiting=0, new=True, large=True):
        self.folder = pathlib.Path(folder)
        self.sink = SwiftSink()
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
        """What was collected and mailed long ago."""
        for name in ("unit0.xml", "unit1.xml"):
            self.site.drop(name, fault_file([new_entry(self.old)], "P0"))
        if self.site.run("-fc") != 0:
            raise RuntimeError(self.site.printed)
        for path in [*self.site.documents(), *self.site.log_files()]:
            path.unlink()

    def _leave_files(self, large):
        """Namesakes in both folders and in the archive, a file for Error, and two documents' worth of text."""
        for name, folder, code, size in [("unit0.xml", 0, "P0", 0), ("unit0.xml", 1, "P0", 0),
                                         ("first.xml", 0, "P1", 700_000 if large else 0),
                                         ("second.xml", 0, "P1", 650_000 if large else 0),
                                         ("third.xml", 1, "P2", 0)]:
            entries = [new_entry(self.new), new_entry(self.new)]
            content = fault_file(entries, code).replace(b"</FLFILE>", b"<DUMP>" + b"0" * size + b"</DUMP></FLFILE>")
            self.site.drop(name, content, folder)
        self.site.drop("broken.xml", b"<FLFILE>")

    def put_back(self):
        self.tree.put_back()
        self.sink.mails.clear()

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

    # What can be said against the site after a run, each as a list of lines.

    def misfiled(self, filed):
        """`filed`: the entries that came from the Latest folders."""
        return (unequal("archived", self.old | filed, uids_in(read_all(self.site.archived())))
                + unequal("in documents", self.queued | filed, uids_in(read_all(self.site.documents()))))

    def unmailed(self, expected, exactly_once=False):
        mailed = uids_in(content for mail in self.sink.mails for content in contents_of(mail))
        faults = unequal("mailed", expected, {uid: mailed[uid] for uid in expected & set(mailed)})
        return faults if exactly_once else [fault for fault in faults if " 0 lost" not in fault]

    def unmarked(self):
        modes = [re.search(rb'Mode="([^"]*)"', content)[1] for content in read_all(self.site.documents())]
        return [f"modes {modes}"] if set(modes) - {b"Sent"} else []

    def left_over(self, error=()):
        """Whatever should not be there when nothing is left to be done. `error`: what is in the Error folder."""
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
        """Files that their readers would not take."""
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
    """`counted`: how often each entry was found; each of the expected should be there once, and no other."""
    lost = expected - set(counted)
    doubled = [uid for uid, number in counted.items() if number > 1]
    strange = set(counted) - expected
    if not (lost or doubled or strange):
        return []
    return [f"{what}: {len(lost)} lost, {len(doubled)} doubled, {len(strange)} from elsewhere"]


def names_in(*folders):
    return sorted(path.name for folder in folders for path in folder.iterdir())


def spread(work, tasks):
    """Has `work` done by several processes. Each is given a folder of its own and every so-manyth of the tasks,
    and returns a list; all of them together are returned."""
    parts = [tasks[i::WORKERS] for i in range(WORKERS)]
    with concurrent.futures.ProcessPoolExecutor(WORKERS) as pool:
        results = [pool.submit(in_a_folder, work, part) for part in parts if part]
        return [one for result in results for one in result.result()]


def in_a_folder(work, tasks):
    with tempfile.TemporaryDirectory(prefix="fieldpost-sweep-", dir=MEMORY) as folder:
        return work(pathlib.Path(folder), tasks)
