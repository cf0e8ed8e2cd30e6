"""Scenarios of fault injection: a site, a command, and what must hold whatever fails and when all is done."""

import json
import pathlib
import sqlite3
import subprocess

from crash_support import BUILD, CALL_TRACER
from support import PARTNER, SENDER, Entry, fault_file
from sweep_support import SweptSite, Tree, names_in, read_all, uids_in, unequal

KEY = r"HKLM\SOFTWARE\Kestrel\Fieldpost\Common"
DELETE_ARCHIVE = str(BUILD / "tests" / "delete_archive")


class Scenario:
    """A command on a site of its own. Derived classes say what must hold of the files."""

    name = ""
    switch = ""
    site_options = {}

    def __init__(self, folder):
        self.swept = SweptSite(folder, **{"large": False, "new": False, **self.site_options})
        self.site = self.swept.site
        self.prepare()
        self.swept.tree = Tree(self.site.root)

    def prepare(self):
        """Changes the site before the first run."""

    def command(self):
        return [self.site.program, *self.switch.split()]

    def run(self, *tracer_options):
        """Runs the command, under the call tracer when there are options for it.

        Returns the exit status, and the lines of the log and of the command's output.
        """
        tracer = [CALL_TRACER, *tracer_options, "--"] if tracer_options else []
        done = subprocess.run([*tracer, *self.command()], env=self.site.environment(), cwd=self.site.root,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=60, check=False)
        logged = b"".join(read_all(self.site.log_files()))
        return done.returncode, (logged + done.stdout + done.stderr).decode(errors="replace").splitlines()

    def attempts(self):
        """Returns the calls with which a run without faults changes files."""
        record = self.swept.folder / "record"
        status, lines = self.run("--record", str(record), "--attempts")
        if status != 0:
            raise RuntimeError(f"{self.name}: {status} {lines}")
        return [json.loads(line) for line in record.read_text().splitlines()]

    def damaged(self):
        """Returns what is damaged; nothing may be, whatever failed."""
        raise NotImplementedError

    def undone(self):
        """Returns what is not done yet."""
        raise NotImplementedError


class FaultlogScenario(Scenario):
    """A run over faultlogger files."""

    def damaged(self):
        swept = self.swept
        archived = uids_in(read_all(swept.site.archived()))
        still = uids_in(read_all(path for path in swept.site.waiting() if path.suffix == ".xml"))
        documents = uids_in(read_all(swept.site.documents()))
        filed = {uid: 1 for uid in swept.new if uid in archived or uid in still}
        return (unequal("archived long ago", swept.old, {uid: archived[uid] for uid in swept.old & set(archived)})
                + unequal("from Latest", swept.new, filed)
                + unequal("waiting", swept.queued, {uid: documents[uid] for uid in swept.queued & set(documents)})
                + swept.malformed())


class Collecting(FaultlogScenario):
    """Scan, merges, the combined document, what goes to Error."""

    name = "collecting"
    switch = "-fc"
    site_options = {"new": True}

    def undone(self):
        return self.swept.misfiled(self.swept.new) + self.swept.left_over(("broken.xml",))


class Mailing(FaultlogScenario):
    """Packing, mailing, marking."""

    name = "mailing"
    switch = "-fs"
    site_options = {"zipped": True, "waiting": 2}

    def undone(self):
        swept = self.swept
        return swept.misfiled(set()) + swept.unmailed(swept.queued) + swept.unmarked() + swept.left_over()


class Ppc(Scenario):
    """Export of the PPC database, its documents, their mail."""

    name = "PPC data"
    switch = "-ps"
    site_options = {"zipped": True}

    def prepare(self):
        self.database = {path: path.read_bytes() for path in self.site.ppc_database.iterdir()}

    def damaged(self):
        return [f"{path.name} of the database" for path, content in self.database.items()
                if path.read_bytes() != content]

    def undone(self):
        return self.swept.unmailed(self.swept.ppc) + self.swept.left_over()


class FirstStart(Scenario):
    """The first start on a site without folders, with incomplete settings."""

    name = "first start"
    switch = "-fs"
    made = ("Archive", "Error", "Latest", "Log", "PPCTemp", "Process")

    def prepare(self):
        for path in self.site.suite.iterdir():
            subprocess.run(["rm", "-rf", path], check=True)
        (self.site.home / "LatestList.dat").unlink()
        self.site.options.clear()
        self.site.set_options(SMTPServer="127.0.0.1", SenderAddress=SENDER, PartnerID=PARTNER, Other="kept")
        self.options = self.site.home / "Options.ini"
        self.kept = self.options.read_bytes()

    def damaged(self):
        options = self.options.read_bytes()
        return [] if options.startswith(self.kept) and options.endswith(b"\n") else [f"Options.ini: {options}"]

    def undone(self):
        values = dict(line.split("=", 1) for line in self.options.read_text().splitlines() if "=" in line)
        faults = [f"no {key}" for key in ("SMTPPort", "TryCount", "Timeout", "ArchiveFolder", "ProcessFolder")
                  if not values.get(key)]
        folders = names_in(self.site.faultlog) if self.site.faultlog.exists() else []
        faults += [] if tuple(folders) == self.made else [f"folders {folders}"]
        latest = self.site.home / "LatestList.dat"
        if not latest.exists() or latest.read_text() != f"{self.site.faultlog}/Latest/\n":
            faults.append("no list of Latest folders")
        odd = sorted(set(names_in(self.site.home)) - {"LatestList.dat", "Options.ini", "registry.sqlite"})
        return faults + ([f"left over: {odd}"] if odd else [])


class Registry(Scenario):
    """A value is written to a registry that has others."""

    name = "registry"
    written = {"Kept": "old", "Changed": "old"}

    def prepare(self):
        self.store = self.site.home / "registry.sqlite"
        for name, data in self.written.items():
            self.site.registry("add", KEY, "--value", name, "--data", data)

    def command(self):
        return [self.site.registry_tool, "add", KEY, "--value", "Changed", "--data", "new"]

    def values(self):
        """Returns the values of the key. Rolls an interrupted write back."""
        with sqlite3.connect(self.store) as store:
            found = store.execute("SELECT key_values.name, data FROM key_values JOIN keys ON key = id"
                                  " WHERE keys.name = 'Common' AND key_values.name != ''").fetchall()
        store.close()
        return {name: data.rstrip(b"\0").decode() for name, data in found}

    def damaged(self):
        found = self.values()
        whole = found in (dict(self.written), {**self.written, "Changed": "new"})
        return [] if whole else [f"values {found}"]

    def undone(self):
        found = {**self.values(), **{name: None for name in names_in(self.site.home) if name.endswith("-journal")}}
        return [] if found == {**self.written, "Changed": "new"} else [f"values {found}"]


class NewRegistry(Registry):
    """The first value of all."""

    name = "new registry"
    written = {}

    def prepare(self):
        super().prepare()
        self.store.unlink()

    def values(self):
        if not self.store.exists() or self.store.stat().st_size == 0:
            return {}
        with sqlite3.connect(self.store) as store:
            tables = store.execute("SELECT count(*) FROM sqlite_master").fetchone()[0]
        store.close()
        return super().values() if tables else {}


class Deleting(Scenario):
    """Files of the archive are deleted by a rule."""

    rule = ()
    gone = ()

    def prepare(self):
        for name, mode, code in [("one.xml", "P", "A1"), ("two.xml", "A", "A1"), ("three.xml", "P", "B2")]:
            (self.site.archive / code).mkdir(exist_ok=True)
            (self.site.archive / code / name).write_bytes(fault_file([Entry(mode=mode)], code))
        self.content = {path: path.read_bytes() for path in self.site.archived()}
        self.site.latest.append(pathlib.Path(self.site.root / "none"))

    def command(self):
        return [DELETE_ARCHIVE, str(self.site.archive), *self.rule]

    def damaged(self):
        faults = [f"{path.name} is another" for path in self.site.archived()
                  if self.content.get(path) != path.read_bytes()]
        kept = {path.name for path in self.content if path.name not in self.gone}
        return faults + [f"{name} is gone" for name in kept - {path.name for path in self.site.archived()}]

    def undone(self):
        return [f"{path.name} is there" for path in self.site.archived() if path.name in self.gone]


class DeletingAll(Deleting):
    name = "deleting all"
    rule = ("all",)
    gone = ("one.xml", "two.xml", "three.xml", "unit0.xml", "unit1.xml")


class DeletingProcess(Deleting):
    name = "deleting what was processed"
    rule = ("process", "A1")
    gone = ("one.xml",)


class DeletingSelected(Deleting):
    name = "deleting one"
    gone = ("three.xml",)

    @property
    def rule(self):
        return ("selected", str(self.site.archive / "B2" / "three.xml"))


SCENARIOS = [Collecting, Mailing, Ppc, FirstStart, Registry, NewRegistry, DeletingAll, DeletingProcess,
             DeletingSelected]
