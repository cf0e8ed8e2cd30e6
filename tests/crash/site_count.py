"""Counts a site's entries after its last run: which are lost, duplicated, or where they should not be."""

import collections
import dataclasses
import re

from support import entries_of, ppc_entries_of

DOCUMENT = re.compile(r"site/suite/Faultlog/Process/FLog\.[0-9A-Za-z]+\.\d{12}\.xml(\.\d+\.displaced)?")
# The log's scratch file goes with the next line of the log, if not with this one.
LOG = re.compile(r"site/(suite/Faultlog/Log/FPProg_\d{8}\.log|home/STemp\.tmp)")


@dataclasses.dataclass
class Holdings:
    """What a site must hold or have mailed after its last run: the UIDs of entries."""

    archived: set = dataclasses.field(default_factory=set)
    in_documents: set = dataclasses.field(default_factory=set)
    mailed: set = dataclasses.field(default_factory=set)
    ppc_mailed: set = dataclasses.field(default_factory=set)


class Entries:
    """The UIDs in a file. Nearly all states have nearly all files in common, so each content is read once."""

    def __init__(self, read):
        self.read = read
        self.known = {}

    def of(self, content):
        """Returns the UIDs in a file's content; None when it cannot be read as what it should be."""
        if content not in self.known:
            try:
                self.known[content] = list(self.read(content))
            except Exception:  # whatever is wrong with it, nobody can read it
                self.known[content] = None
        return self.known[content]


class SiteCount:
    """Finds what is wrong with a site. root: the folder that holds it. end: the tree that an undisturbed run left."""

    def __init__(self, root, holdings, end):
        self.root = str(root)
        self.holdings = holdings
        self.end = self._by_place(end)
        self.faultlogs = Entries(entries_of)
        self.ppc = Entries(ppc_entries_of)

    def faults(self, tree, mails):
        """Yields (kind, text) of each fault; kinds are "lost", "doubled", "unreadable", "left over", "changed"."""
        files = self._by_place(tree)
        archive = [place for place in files if place.startswith("site/suite/Faultlog/Archive/")]
        documents = [place for place in files if DOCUMENT.fullmatch(place)]
        yield from self._not_once(files, archive, self.holdings.archived, "the Archive")
        yield from self._not_once(files, documents, self.holdings.in_documents, "the documents")
        yield from self._never_mailed(mails)
        yield from (("left over", place) for place in self._fixed(files) - self._fixed(self.end))
        yield from (("lost", place) for place in self._fixed(self.end) - self._fixed(files))
        for place in files.keys() & self.end.keys():
            if place.startswith(("site/home/", "site/suite/Faultlog/Error/")) and files[place] != self.end[place]:
                yield "changed", place

    def mailed(self, mails):
        """Returns how often each entry was mailed, PPC entries too."""
        found = collections.Counter()
        for name, content in (one for mail in mails for one in mail.files):
            found.update((self.ppc if name.startswith("PPC.") else self.faultlogs).of(content) or ["unreadable"])
        return found

    def _by_place(self, tree):
        return {path[len(self.root) + 1:]: node.content for path, node in tree.items()}

    @staticmethod
    def _fixed(files):
        """Returns the names that do not depend on the hour of the run."""
        return {place for place in files if not DOCUMENT.fullmatch(place) and not LOG.fullmatch(place)}

    def _not_once(self, files, places, expected, where):
        found = collections.Counter()
        for place in places:
            if files[place] is None:
                continue
            entries = self.faultlogs.of(files[place])
            if entries is None:
                yield "unreadable", f"{place}, {len(files[place])} bytes"
            found.update(entries or [])
        yield from (("lost", f"{uid} from {where}") for uid in expected - found.keys())
        yield from (("doubled", f"{uid} in {where}") for uid, count in found.items() if count > 1)
        yield from (("left over", f"{uid} in {where}") for uid in found.keys() - expected)

    def _never_mailed(self, mails):
        found = self.mailed(mails)
        yield from (("lost", f"{uid} was never mailed")
                    for uid in (self.holdings.mailed | self.holdings.ppc_mailed) - found.keys())
        if found["unreadable"]:
            yield "unreadable", "an attachment"
