"""Makes sites, faultlogger files and PPC databases: for the sample run, the tests and the benchmarks."""

import dataclasses
import datetime
import functools
import os
import pathlib
import re
import shutil
import subprocess
import uuid
import xml.etree.ElementTree as ElementTree
from xml.sax.saxutils import escape

ROOT = pathlib.Path(__file__).resolve().parent.parent

# What each encoding can hold beyond ASCII.
SPECIMENS = {
    "UTF-8": "Grüße, Čeština, Ελλάδα, 測試, 🔧 & <Klammern>",
    "UTF-16": "Grüße, Čeština, Ελλάδα, 測試, 🔧 & <Klammern>",
    "ISO-8859-1": "Prüfgerät, été, señal, ½ & <Klammern>",
    "windows-1252": "Prüfgerät – „Störung“ 5 € … & <Klammern>",
}


@dataclasses.dataclass
class Entry:
    """A fault log entry. uid: unique among all entries."""

    condate: str = "20040305"
    mode: str = "A"
    text: str = "Line voltage low"
    uid: str = dataclasses.field(default_factory=lambda: uuid.uuid4().hex)


def today():
    return datetime.date.today().strftime("%Y%m%d")


def entry_xml(number, entry):
    return (f'  <FAULTLOG NR="{number}" UID="{entry.uid}">\n'
            f"    <CONDATE>{entry.condate}</CONDATE>\n"
            f"    <MODEIND>{entry.mode}</MODEIND>\n"
            f"    <TEXT>{escape(entry.text)}</TEXT>\n"
            f"  </FAULTLOG>\n")


def fault_file(entries, prodcode="4711", encoding="UTF-8", size=0):
    """Returns the bytes of a faultlogger file, filled up to `size` bytes (of UTF-8) when it would be smaller."""
    head = (f'<?xml version="1.0" encoding="{encoding}"?>\n<FLFILE>\n'
            f"  <PRODCODE>{escape(prodcode)}</PRODCODE>\n")
    body = "".join(entry_xml(number, entry) for number, entry in enumerate(entries, 1))
    missing = size - len(head) - len(body.encode()) - len("  <DUMP></DUMP>\n</FLFILE>\n")
    dump = f"  <DUMP>{filling(missing)}</DUMP>\n" if missing > 0 else ""
    return (head + body + dump + "</FLFILE>\n").encode(encoding)


def ppc_entry(uid, text="Travel 120 m"):
    """Returns an entry of the PPC database, as text."""
    return f'<PPCentry UID="{uid}">\n    <TEXT>{escape(text)}</TEXT>\n  </PPCentry>'


def ppc_file(entries, encoding="UTF-8", archive_date="20040315"):
    """Returns the bytes of a file of the PPC database. entries: texts of entries."""
    date = f"  <ArchiveDate>{archive_date}</ArchiveDate>\n" if archive_date else ""
    body = "".join(f"  {entry}\n" for entry in entries)
    return f'<?xml version="1.0" encoding="{encoding}"?>\n<PPC>\n{date}{body}</PPC>\n'.encode(encoding)


def filling(length):
    """Returns text that is as easy to compress as the memory dumps of devices are: lines of hexadecimal digits."""
    return _digits(max(length, 1).bit_length())[:length]


@functools.cache
def _digits(bits):
    """Returns such text with 2 ** bits characters; a longer one begins with each shorter one."""
    words = []
    state = 12345
    while len(words) * 9 < 2 ** bits:
        state = (state * 1103515245 + 12345) & 0xFFFFFFFF
        words.append(f"{state & 0xFF00FFFF:08X}")
    return " ".join(words)[:2 ** bits]


class Site:
    """A site in a folder: the program's own folder, the suite's folder, the Latest folders."""

    def __init__(self, root, bin_folder=None):
        self.root = pathlib.Path(root)
        self.home = self.root / "home"
        self.suite = self.root / "suite"
        bin_folder = pathlib.Path(bin_folder or ROOT / "build" / "bin")
        self.program = os.environ.get("FIELDPOST_BIN") or str(bin_folder / "fieldpost")
        self.registry_tool = os.environ.get("FIELDPOST_REG_BIN") or str(bin_folder / "fieldpost-reg")
        self.latest = [self.faultlog / "Latest"]
        self.options = {}
        self.more_environment = {}

    @property
    def faultlog(self):
        return self.suite / "Faultlog"

    @property
    def archive(self):
        return self.faultlog / "Archive"

    @property
    def process(self):
        return self.faultlog / "Process"

    @property
    def error(self):
        return self.faultlog / "Error"

    @property
    def ppc_temp(self):
        return self.faultlog / "PPCTemp"

    @property
    def ppc_database(self):
        """Where the PPC database lies when the registry has no other place for it."""
        return self.suite / "PPCdb"

    def set_up(self, options, latest=None, recipient=None):
        """Makes the site; removes what was there.

        options: keys and values of Options.ini. latest: names of the Latest folders below the site's own
        folder; None leaves the list to the program. recipient: mailbox for faultlogger data.
        """
        shutil.rmtree(self.root, ignore_errors=True)
        self.home.mkdir(parents=True, mode=0o700)
        self.suite.mkdir()
        self.registry("add", r"HKLM\SOFTWARE\Kestrel\OrvikShared\Common\InstPath", "--ve", "--data",
                      str(self.suite))
        if recipient is not None:
            self.registry("add", r"HKLM\SOFTWARE\Kestrel\Fieldpost\Common\Mail\Faultlog", "--ve", "--data",
                          recipient)
        self.set_options(**options)
        if latest is not None:
            self.latest = [self.root / name for name in latest]
            (self.home / "LatestList.dat").write_text("".join(f"{path}/\n" for path in self.latest))
        for folder in self.latest:
            folder.mkdir(parents=True)

    def set_options(self, **changed):
        """Changes settings in Options.ini; None removes a key."""
        self.options.update(changed)
        lines = [f"{key}={value}\n" for key, value in self.options.items() if value is not None]
        path = self.home / "Options.ini"
        path.write_bytes(("[Mail Options]\n" + "".join(lines)).encode("utf-8", "surrogateescape"))
        path.chmod(0o600)

    def environment(self):
        """Returns the program's environment: this site, no display, nothing of the user's own."""
        result = {key: value for key, value in os.environ.items()
                  if not key.startswith(("FIELDPOST_", "XDG_", "LD_PRELOAD", "FAKETIME", "DISPLAY", "WAYLAND_"))}
        result.update(FIELDPOST_HOME=str(self.home), HOME=str(self.root), **self.more_environment)
        return result

    def registry(self, *arguments):
        done = subprocess.run([self.registry_tool, *arguments], env=self.environment(), text=True,
                              capture_output=True, timeout=60, check=False)
        if done.returncode != 0:
            raise RuntimeError(f"fieldpost-reg {arguments}: {done.returncode} {done.stderr}")
        return done.stdout

    def start(self, *switches, moment=None, under=()):
        """Starts the program.

        moment: "YYYY-MM-DD hh:mm:ss" at which its clock begins to run. under: a command that runs it.
        """
        command = [*under, self.program, *switches]
        environment = self.environment()
        if under:
            # The search for leaks cannot work under a tracer, nor the order of libraries hold before a preloaded one.
            environment["ASAN_OPTIONS"] = "detect_leaks=0:verify_asan_link_order=0"
        if moment is not None:
            command = ["faketime", "-f", f"@{moment}", *command]
            environment["ASAN_OPTIONS"] = "verify_asan_link_order=0"
        return subprocess.Popen(command, env=environment, cwd=self.root, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def run(self, *switches, timeout=100, **how):
        """Runs the program to its end, as `start` does. Returns its exit status; what it printed is in `printed`."""
        process = self.start(*switches, **how)
        try:
            self.printed = "".join(process.communicate(timeout=timeout))
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            raise
        return process.returncode

    def drop(self, name, content, folder=0):
        """Leaves a file in a Latest folder as a device does: whole, and closed."""
        path = self.latest[folder] / name
        path.write_bytes(content)
        return path

    def store_ppc(self, name, content):
        """Puts a file into the PPC database."""
        self.ppc_database.mkdir(exist_ok=True)
        path = self.ppc_database / name
        path.write_bytes(content)
        return path

    def ppc_documents(self):
        """Returns the files of the PPCTemp folder, in name order."""
        return sorted(self.ppc_temp.iterdir()) if self.ppc_temp.exists() else []

    def queue(self, name, entries, mode="Not Sent", size=0):
        """Puts a combined document into the Process folder, as an earlier run would."""
        self.process.mkdir(parents=True, exist_ok=True)
        text = fault_file(entries, size=size).decode()
        text = text.replace('<?xml version="1.0" encoding="UTF-8"?>', '<?xml version="1.0"?>')
        text = text.replace("<FLFILE>", f'<FLFILE Mode="{mode}">', 1).replace("<MODEIND>A<", "<MODEIND>P<")
        path = self.process / name
        path.write_bytes(text.encode())
        return path

    def documents(self):
        """Returns the combined documents, in name order."""
        return sorted(path for path in self.process.glob("*.xml") if path.is_file())

    def archived(self):
        return sorted(path for path in self.archive.glob("*/*") if path.is_file())

    def waiting(self):
        """Returns the files of the Latest folders, in name order."""
        return sorted(path for folder in self.latest for path in folder.iterdir())

    def log_files(self):
        def day(path):
            return path.stem[-4:] + path.stem[-6:-4] + path.stem[-8:-6]
        return sorted((self.faultlog / "Log").glob("FPProg_*.log"), key=day)

    def log(self):
        """Returns the log's lines without date and time: tag and text. A line of another form is a ValueError."""
        lines = []
        for path in self.log_files():
            for line in path.read_bytes().decode("utf-8").split("\r\n")[:-1]:
                found = re.fullmatch(r"\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d  (\[[^\]]*\]:?.*)", line, re.DOTALL)
                if not found or "\n" in line:
                    raise ValueError(f"not a line of the log: {line!r}")
                lines.append(found[1])
        return lines


def parse(source):
    """Returns the root element of an XML file or text."""
    if isinstance(source, (str, bytes)):
        return ElementTree.fromstring(source)
    return ElementTree.fromstring(source.read_bytes())


def entries_of(source):
    """Returns the entries of a document as {uid: text}; a duplicate is a ValueError."""
    result = {}
    for element in parse(source).iter("FAULTLOG"):
        uid = element.get("UID")
        if uid in result:
            raise ValueError(f"entry {uid} is there twice")
        result[uid] = element.findtext("TEXT")
    return result


def ppc_entries_of(source):
    """Returns the entries of a PPC document as {uid: text}; a duplicate is a ValueError."""
    result = {}
    for element in parse(source).iter("PPCentry"):
        uid = element.get("UID")
        if uid in result:
            raise ValueError(f"entry {uid} is there twice")
        result[uid] = element.findtext("TEXT")
    return result


def mode_of(path):
    return parse(path).get("Mode")
