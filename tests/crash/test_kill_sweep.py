"""The program is killed at every call that changes a file, and again in the run that recovers.

After one more run every entry is where it belongs, once.
"""

import dataclasses
import time
import unittest

from crash_support import KILLED, require_call_tracer
from sweep_support import SweptSite, spread

PAIRS = 200
NOTE_OF_SENT = "FLog.sent"  # from when this is written, no faultlogger data are mailed again


@dataclasses.dataclass(frozen=True)
class Scenario:
    """A run of the program on a site. waiting: how many unsent documents there are."""

    switch: str
    zipped: bool = False
    waiting: int = 0

    @property
    def collects(self):
        return "-fc" in self.switch

    @property
    def sends_faults(self):
        return "-fcs" in self.switch or "-fs" in self.switch

    def make(self, folder):
        return SweptSite(folder, zipped=self.zipped, waiting=self.waiting, new=self.collects)


# The new faultlogger files fill two documents. Unzipped, each document has a mail of its own.
SCENARIOS = [
    Scenario("-fc"),
    Scenario("-fcs", waiting=1), Scenario("-fcs", waiting=1, zipped=True),
    Scenario("-fs", waiting=3), Scenario("-fs", waiting=3, zipped=True),
    Scenario("-ps"), Scenario("-ps", zipped=True),
    Scenario("-fcs -ps", waiting=1),
]


@dataclasses.dataclass(frozen=True)
class Kill:
    """Each run of a scenario is killed at the next of these calls. sent: by then all was noted as mailed."""

    scenario: Scenario
    numbers: tuple
    sent: bool

    def __str__(self):
        return f"{self.scenario.switch}{', zipped' if self.scenario.zipped else ''} killed at {self.numbers}"


@dataclasses.dataclass(frozen=True)
class Outcome:
    kill: Kill
    calls: int  # of the run that recovered
    faults: list


def whole_run(folder, scenarios):
    """Runs each scenario to its end.

    Returns for each the scenario, how many changing calls it makes, which of them notes what was sent (or None), how
    many mails there were, and what is wrong.
    """
    results = []
    for number, scenario in enumerate(scenarios):
        swept = scenario.make(folder / str(number))
        status, calls = swept.record(scenario.switch, "--attempts")
        faults = faults_after(scenario, swept, swept.new, True) + ([f"status {status}"] if status else [])
        note = [call["n"] for call in calls if call["call"] == "write" and call["path"].endswith(NOTE_OF_SENT)]
        results.append((scenario, calls[-1]["n"], note[0] if note else None, len(swept.sink.mails), faults))
    return results


def faults_after(scenario, swept, filed, sent_once):
    """Returns what is wrong when all should be done. filed: the entries that the Latest folders held."""
    found = swept.misfiled(filed)
    if scenario.sends_faults:
        found += swept.unmailed(swept.queued | filed) + swept.unmailed(swept.queued | swept.new, sent_once)
        found += swept.unmarked()
    if "-ps" in scenario.switch:
        found += swept.unmailed(swept.ppc)
    return found + swept.malformed() + swept.left_over(("broken.xml",) if scenario.collects else ())


def outcome_of(kill, swept):
    swept.restore()
    filed = set(swept.new)
    for number in kill.numbers:
        status, printed = swept.trace(kill.scenario.switch, "--kill", str(number))
        if status != KILLED:
            return Outcome(kill, 0, [f"was not killed: {status} {printed}"])
        # A run that collects sends when it has collected something, so a device leaves one more file.
        if kill.scenario.collects and kill.scenario.sends_faults:
            filed |= swept.drop_later(len(filed))
    status, calls = swept.count_calls(kill.scenario.switch)
    faults = faults_after(kill.scenario, swept, filed, kill.sent)
    return Outcome(kill, calls, faults + ([f"status {status}: {swept.site.log()[-3:]}"] if status else []))


def outcomes(folder, kills):
    sites = {}
    for kill in kills:
        if kill.scenario not in sites:
            sites[kill.scenario] = kill.scenario.make(folder / str(len(sites)))
        yield outcome_of(kill, sites[kill.scenario])


def sweep(folder, kills):
    return list(outcomes(folder, kills))


def evenly(things, number):
    return [things[i * len(things) // number] for i in range(number)]


class KillSweep(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        require_call_tracer()

    def assert_nothing_lost(self, found):
        faulty = [f"{outcome.kill}: {'; '.join(outcome.faults)}" for outcome in found if outcome.faults]
        self.assertEqual([], faulty[:20], f"{len(faulty)} of {len(found)}")

    def test_every_call_and_pairs_of_them(self):
        begin = time.monotonic()
        kills = []
        for scenario, calls, note, mails, faults in spread(whole_run, SCENARIOS):
            self.assertEqual([], faults, scenario)
            kills += [Kill(scenario, (n,), note is not None and n > note) for n in range(1, calls + 1)]
        single = spread(sweep, kills)
        self.assert_nothing_lost(single)

        seconds = [dataclasses.replace(outcome.kill, numbers=(*outcome.kill.numbers, second))
                   for outcome in single for second in range(1, outcome.calls + 1)]
        pairs = spread(sweep, evenly(seconds, PAIRS))
        self.assert_nothing_lost(pairs)
        print(f"killed at {len(single)} of {len(single)} calls, at {len(pairs)} of {len(seconds)} pairs of calls; "
              f"lost 0, doubled 0; {time.monotonic() - begin:.0f} s")


if __name__ == "__main__":
    unittest.main()
