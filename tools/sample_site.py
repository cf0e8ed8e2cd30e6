"""Makes a sample site under build/site: files of devices, a PPC database, and a mail server of its own."""

import contextlib
import subprocess
import sys

from make_site import ROOT, SPECIMENS, Entry, Site, fault_file, ppc_entry, ppc_file, today

SITE = ROOT / "build" / "site"
RECIPIENT = "faults@maker.example"


def sample_files():
    """Yields the files of devices: (number of the Latest folder, name, content)."""
    old = Entry(condate="20040304", mode="A", text="Fuse F2 blown")
    yield 0, "lift-01.xml", fault_file([old, Entry(mode="F", text="Door sensor dirty")], "LIFT-A")
    yield 1, "lift-01.xml", fault_file([Entry(text="Door sensor replaced")], "LIFT-A")
    yield 0, "lift-02.xml", fault_file([Entry(text=SPECIMENS["UTF-8"])], "LIFT-A")
    yield 0, "lift-03.xml", fault_file([Entry(mode="E"), Entry(mode="R")], "LIFT-B")
    yield 0, "gate-01.xml", fault_file([Entry(text=SPECIMENS["ISO-8859-1"])], "GATE", "ISO-8859-1")
    yield 1, "gate-02.xml", fault_file([Entry(text=SPECIMENS["windows-1252"])], "GATE", "windows-1252")
    yield 1, "gate-03.xml", fault_file([Entry(text=SPECIMENS["UTF-16"])], "GATE", "UTF-16")
    yield 1, "pump-01.xml", fault_file([Entry(), Entry(), Entry(mode="")], "PUMP", size=30000)
    yield 1, "unknown.xml", fault_file([Entry(text="Device without a product code")], "")
    yield 0, "torn.xml", fault_file([Entry()], "PUMP")[:150]
    yield 1, "no-modeind.xml", fault_file([Entry()], "PUMP").replace(b"MODEIND", b"MODE")
    yield 0, "running.xml", fault_file([Entry(), Entry(mode="f", condate=today())], "PUMP")


def sample_database():
    """Yields the files of the PPC database: (name, content)."""
    for year, encoding in ((2003, "ISO-8859-1"), (2004, "UTF-8")):
        text = SPECIMENS[encoding]
        yield f"ppc{year}.xml", ppc_file([ppc_entry(f"{year}-{number}", text) for number in range(40)], encoding,
                                         f"{year}1231")


def make_site(port):
    site = Site(SITE)
    site.set_up({"SMTPServer": "127.0.0.1", "SMTPPort": str(port), "SenderAddress": "service@partner.example",
                 "Organization": "Müller & Söhne", "PartnerID": "4711", "NumAttachments": "4",
                 "UseZip": "True", "SendFault": "True", "SendPPC": "True"},
                latest=["suite/Faultlog/Latest", "depot/Latest"], recipient=RECIPIENT)
    (site.suite / "Faultlog.ini").write_text(f"[Directories]\nFaultLog={site.suite}\n"
                                             "[PlaceInfo]\nPartnerID=4711\n")
    for folder, name, content in sample_files():
        site.drop(name, content, folder)
    for name, content in sample_database():
        site.store_ppc(name, content)
    return site


@contextlib.contextmanager
def sample_site():
    """Yields the site, and the folder where its mail server writes what it receives until the block ends."""
    mails = SITE / "mails"
    sink = subprocess.Popen([sys.executable, "-B", str(ROOT / "tests" / "tools" / "mail_sink.py"), str(mails)],
                            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    try:
        site = make_site(int(sink.stdout.readline()))
        mails.mkdir()
        yield site, mails
    finally:
        sink.stdin.close()
        sink.wait(20)
