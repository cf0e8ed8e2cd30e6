"""The sites and runs in which power is cut. They are the same in every run of the tests."""

import datetime

from power_cut import Scenario
from site_count import Holdings
from support import PARTNER, SENDER, Entry, fault_file, ppc_entry, ppc_file

# An entry of this size ends a document.
WHOLE_DOCUMENT = "0" * 1_310_000


class Devices:
    """The devices of a site: they leave files and note in `holdings` what these hold."""

    def __init__(self, site, holdings=None):
        self.site = site
        self.holdings = holdings or Holdings()

    def drop(self, name, product, folder, count=1, text="Line voltage low"):
        known = len(self.holdings.archived)
        entries = [Entry(text=text, uid=f"{known + i:032x}") for i in range(count)]
        self.site.drop(name, fault_file(entries, product), folder)
        self.holdings.archived.update(entry.uid for entry in entries)
        self.holdings.in_documents.update(entry.uid for entry in entries)

    def drop_broken(self, content):
        self.site.drop("broken.xml", content)


def make(site, port, latest=("depot1", "depot2"), **options):
    site.set_up({"SMTPServer": "127.0.0.1", "SMTPPort": str(port), "SenderAddress": SENDER, "PartnerID": PARTNER,
                 "NumAttachments": "0", "UseZip": "False", "TryCount": "1", "Timeout": "10", **options},
                latest=latest)
    return Devices(site)


def run(site, *switches):
    if site.run(*switches) != 0:
        raise RuntimeError(f"{switches}: {site.printed} {site.log()[-3:]}")


def two_documents(site, port, **options):
    """Makes files of the same names in both Latest folders, some of them archived before, and an unreadable file."""
    devices = make(site, port, **options)
    devices.drop("unit0.xml", "P0", 0)
    devices.drop("unit1.xml", "P1", 0)
    devices.drop_broken(b"<FLFILE>older")
    run(site, "-fc")
    devices.drop("unit0.xml", "P0", 0, count=2)
    devices.drop("unit1.xml", "P1", 0, text=WHOLE_DOCUMENT)
    devices.drop("unit2.xml", "P0", 0)
    devices.drop_broken(b"<FLFILE>")
    devices.drop("unit0.xml", "P0", 1)
    devices.drop("unit2.xml", "P0", 1)
    devices.drop("unit3.xml", "P3", 1)
    return devices.holdings


def next_delivery(site, holdings):
    """Leaves more files under the same names."""
    devices = Devices(site, holdings)
    devices.drop("unit0.xml", "P1", 0)
    devices.drop("unit2.xml", "P0", 0, count=2)
    devices.drop("unit4.xml", "P4", 1)


def mailed(holdings):
    holdings.mailed = holdings.in_documents
    return holdings


def two_documents_to_mail(site, port, **options):
    return mailed(two_documents(site, port, **options))


def number_99_taken(site, port):
    """Makes a site where the last number of this hour and of the next is that of an unsent document."""
    holdings = two_documents(site, port)
    for hours in (0, 1):
        hour = (datetime.datetime.now() + datetime.timedelta(hours=hours)).strftime("%Y%m%d%H")
        entry = Entry(uid=f"waiting{hours}")
        site.queue(f"FLog.{PARTNER}.{hour}99.xml", [entry])
        holdings.in_documents.add(entry.uid)
    return holdings


def never_run(site, port):
    """Makes a site where the program has not run yet."""
    devices = make(site, port, latest=None)
    devices.drop("unit0.xml", "P0", 0)
    devices.drop("unit1.xml", "P1", 0)
    return devices.holdings


def three_waiting(site, port, **options):
    devices = make(site, port, **options)
    for number in range(3):
        devices.drop(f"unit{number}.xml", "P0", 0)
        run(site, "-fc")
    return mailed(devices.holdings)


def fill_ppc_database(site, holdings):
    """Fills the PPC database with entries for two documents."""
    site.store_ppc("one.xml", ppc_file([ppc_entry("a1"), ppc_entry("a2", WHOLE_DOCUMENT)]))
    site.store_ppc("two.xml", ppc_file([ppc_entry("b1")]))
    holdings.ppc_mailed = {"a1", "a2", "b1"}
    return holdings


def ppc_data(site, port):
    devices = make(site, port)
    run(site, "-fc")
    return fill_ppc_database(site, devices.holdings)


def both(site, port, **options):
    return fill_ppc_database(site, two_documents_to_mail(site, port, **options))


def zipped(prepare):
    return lambda site, port: prepare(site, port, UseZip="True")


# A zipped "-fcs" is the first half of the last one.
SCENARIOS = {
    "-fc": Scenario(("-fc",), two_documents),
    "-fc, a second run": Scenario(("-fc",), two_documents, next_delivery),
    "-fc, number 99": Scenario(("-fc",), number_99_taken),
    "-fc, first run of all": Scenario(("-fc",), never_run),
    "-fcs": Scenario(("-fcs",), two_documents_to_mail),
    "-fs": Scenario(("-fs",), three_waiting),
    "-fs, zip": Scenario(("-fs",), zipped(three_waiting)),
    "-ps": Scenario(("-ps",), ppc_data),
    "-fcs -ps, zip": Scenario(("-fcs", "-ps"), zipped(both)),
}
