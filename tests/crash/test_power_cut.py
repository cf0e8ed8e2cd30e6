"""No entry is lost or duplicated, wherever in a run the power is cut and whatever the disk has kept by then."""

import concurrent.futures
import pathlib
import tempfile
import unittest

from crash_support import MEMORY, require_call_tracer
from disk_model import without_flushes
from mail_sink import MailSink
from power_cut import PowerCuts
from power_cut_sites import SCENARIOS


def in_its_own_folder(work, name):
    with tempfile.TemporaryDirectory(prefix="fieldpost-cut-", dir=MEMORY) as folder, MailSink() as sink:
        return work(PowerCuts(pathlib.Path(folder), SCENARIOS[name], sink), name)


def sweep(cuts, name):
    return cuts.sweep(name)


def sweep_recoveries(cuts, name):
    return cuts.sweep_recoveries(f"the run after {name}")


def sweep_without_flushes(cuts, name):
    return cuts.sweep(f"{name} without its flushes", without_flushes)


# Those that take long come first.
WORK = [(sweep, "-fcs -ps, zip"), (sweep_recoveries, "-fc"), (sweep_without_flushes, "-fc"),
        (sweep, "-fcs"), (sweep, "-fc"), (sweep, "-fc, a second run"),
        (sweep, "-fc, number 99"), (sweep, "-ps"), (sweep, "-fc, first run of all"), (sweep, "-fs, zip"),
        (sweep_recoveries, "-fs"), (sweep, "-fs"), (sweep_without_flushes, "-fs")]


class PowerCut(unittest.TestCase):
    """All sweeps are started at once, on two processes; each test takes the results of some."""

    @classmethod
    def setUpClass(cls):
        require_call_tracer()
        cls.workers = concurrent.futures.ProcessPoolExecutor(2)
        cls.addClassCleanup(cls.workers.shutdown, cancel_futures=True)
        cls.results = {(work, name): cls.workers.submit(in_its_own_folder, work, name) for work, name in WORK}

    def result(self, work, name):
        result = self.results[work, name].result()
        print(result, flush=True)
        return result

    def assert_nothing_wrong(self, work, name, at_least):
        result = self.result(work, name)
        self.assertEqual(0, result.faulty, "\n".join([str(dict(result.kinds)), *result.first_faults]))
        self.assertGreaterEqual(result.states, at_least)

    def test_every_state(self):
        for name, at_least in [("-fc", 300), ("-fc, a second run", 100), ("-fc, number 99", 300),
                               ("-fc, first run of all", 100), ("-fcs", 300), ("-fs", 20),
                               ("-fs, zip", 50), ("-ps", 50), ("-fcs -ps, zip", 400)]:
            with self.subTest(name):
                self.assert_nothing_wrong(sweep, name, at_least)

    def test_every_state_of_the_run_after_a_cut(self):
        for name, at_least in [("-fc", 500), ("-fs", 30)]:
            with self.subTest(name):
                self.assert_nothing_wrong(sweep_recoveries, name, at_least)

    def test_entries_are_lost_without_flushes(self):
        for name, at_least in [("-fc", 100), ("-fs", 10)]:
            with self.subTest(name):
                result = self.result(sweep_without_flushes, name)
                self.assertGreaterEqual(result.kinds["lost"], at_least)


if __name__ == "__main__":
    unittest.main()
