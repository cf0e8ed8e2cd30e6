"""Simulates power cuts: on each state that a cut can leave on the disk, the program runs once more."""

import collections
import dataclasses
import typing

from call_trace import calls_that_drop, traced_run
from disk_model import DiskModel, distinct_states, durable_trees
from disk_tree import TreeWriter, read_tree
from site_count import SiteCount
from support import Site


class Scenario(typing.NamedTuple):
    """A run on a site. `prepare(site, port)` makes the site and returns its Holdings.

    `more(site, holdings)`, if given, adds files after the run; then the program runs once more, and power is cut in
    that run instead.
    """

    switches: tuple
    prepare: typing.Callable
    more: typing.Optional[typing.Callable] = None


class Recording(typing.NamedTuple):
    """What a run did, and the tree that it began on."""

    start: dict  # the tree that it began on
    calls: list
    since: int  # power is cut after this call at the earliest
    mails: list  # those that the server accepted in the run
    earlier_mails: list  # those that it accepted before the run


@dataclasses.dataclass
class Result:
    """What came of the power cuts in a run."""

    name: str
    calls: int = 0
    flushes: int = 0
    states: int = 0
    mailed_again: int = 0  # states in which some entry was mailed more than once
    sent_later: int = 0  # states in which it took a run of "-fs" to mail what waited
    faulty: int = 0
    kinds: collections.Counter = dataclasses.field(default_factory=collections.Counter)
    first_faults: list = dataclasses.field(default_factory=list)

    def add_state(self, where, faults):
        self.states += 1
        if not faults:
            return
        self.faulty += 1
        self.kinds.update({kind for kind, _ in faults})
        if len(self.first_faults) < 5:
            self.first_faults.append(f"{where}: {faults}")

    def __str__(self):
        return (f"{self.name}: {self.calls} calls, {self.flushes} flushes, {self.states} states: "
                f"lost in {self.kinds['lost']}, doubled in {self.kinds['doubled']}, any fault in {self.faulty}; "
                f"mailed again in {self.mailed_again}, mailed by a later -fs in {self.sent_later}")


class PowerCuts:
    """Cuts the power in a run that was recorded on a site."""

    def __init__(self, folder, scenario, sink):
        self.scenario = scenario
        self.sink = sink
        self.trace = folder / "calls"
        self.root = folder / "disk"
        self.root.mkdir()
        self.writer = TreeWriter(self.root, folder / "large")
        self.site = Site(self.root / "site")
        self.holdings = scenario.prepare(self.site, sink.port)
        self.run = self._record(more=scenario.more)
        self.count = SiteCount(self.root, self.holdings, read_tree(self.root))

    def sweep(self, name, change_calls=list):
        """Cuts the power in the recorded run. `change_calls` returns those of its calls that reach the disk."""
        result = Result(name)
        self._sweep(self.run._replace(calls=change_calls(self.run.calls)), result)
        return result

    def sweep_recoveries(self, name):
        """Cuts the power in the runs that find what each flush of the recorded run had made durable."""
        result = Result(name)
        for done, tree in durable_trees(self.root, self.run.start, self.run.calls):
            self.writer.write(tree)
            self._sweep(self._record(earlier_mails=self._accepted(self.run, done)), result)
        return result

    def _record(self, more=None, earlier_mails=()):
        start = read_tree(self.root)
        self.sink.clear()
        calls = traced_run(self.site, self.trace, *self.scenario.switches)
        since = 0
        if more is not None:
            before = read_tree(self.root)
            more(self.site, self.holdings)
            calls += calls_that_drop(before, read_tree(self.root))
            since = len(calls)
            calls += traced_run(self.site, self.trace, *self.scenario.switches)
        self._check_against_disk(start, calls)
        return Recording(start, calls, since, list(self.sink.mails), list(earlier_mails))

    def _check_against_disk(self, start, calls):
        disk = DiskModel(self.root, start)
        for call in calls:
            disk.apply(call)
        model = {path: inode.content for path, inode in disk.names.items()}
        real = {path: node.content for path, node in read_tree(self.root).items()}
        wrong = [path for path in {**model, **real} if model.get(path, 0) != real.get(path, 0)]
        if wrong:
            raise AssertionError(f"the record of the run differs from the disk: {wrong}")

    @staticmethod
    def _accepted(run, done):
        return run.earlier_mails + run.mails[:sum(call.get("accepted", 0) for call in run.calls[:done])]

    def _sweep(self, run, result):
        result.calls += len(run.calls) - run.since
        result.flushes += sum(call["call"] in ("fsync", "syncfs") for call in run.calls[run.since:])
        for done, tree in distinct_states(self.root, run.start, run.calls, self._is_log, run.since):
            self.writer.write(tree)
            faults = list(self._faults_after_another_run(self._accepted(run, done), result))
            result.add_state(f"state {result.states} after {done} calls", faults)

    def _is_log(self, path):
        return path.startswith(f"{self.site.faultlog}/Log/")

    def _faults_after_another_run(self, mails, result):
        self.sink.clear()
        status = self.site.run(*self.scenario.switches)
        if status != 0:
            yield "exit status", f"{status} {self.site.printed} {self.site.log()[-3:]}"
        tree = read_tree(self.root)
        if self.holdings.mailed and any(is_waiting(node) for node in tree.values()):
            result.sent_later += 1
            self.site.run("-fs")
            tree = read_tree(self.root)
        mails = mails + self.sink.mails
        result.mailed_again += any(count > 1 for count in self.count.mailed(mails).values())
        yield from self.count.faults(tree, mails)


def is_waiting(node):
    return node.content is not None and b'Mode="Not Sent"' in node.content[:4096]
