#!/usr/bin/python3
"""Runs every fuzz target for a while.

The inputs that reach new code stay in FOLDER/corpus for the next run. A failing input is kept in FOLDER/failed and
named here, and the exit status is 1. The sources are never written to.
"""

import argparse
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "tools"))
from capabilities import memory_folder  # noqa: E402

AT_ONCE = 2
# Bounds for one input, as the program promises: 10 s, and 256 MB in one allocation. The sanitizers take a multiple of
# the program's memory.
BOUNDS = ["-timeout=10", "-malloc_limit_mb=256", "-rss_limit_mb=1024"]
# Large enough for several elements, small enough for hundreds of inputs per second.
LONGEST = 4096
SAME_SEEDS = {"latest_scan": "faultlogger"}


class Target:
    def __init__(self, program):
        self.program = program
        self.name = program.name.removeprefix("fuzz_")
        self.seeds = SAME_SEEDS.get(self.name, self.name)
        self.corpus = program.parent / "corpus" / self.name
        self.failed = program.parent / "failed"
        self.log = program.parent / f"{self.name}.log"

    def command(self, seconds, seed):
        words = HERE / f"{self.seeds}.dict"
        return [self.program, self.corpus, HERE / "seeds" / self.seeds, f"-max_total_time={seconds}",
                f"-seed={seed}",
                f"-max_len={LONGEST}", f"-artifact_prefix={self.failed}/{self.name}-", "-print_final_stats=1",
                *BOUNDS, *([f"-dict={words}"] if words.exists() else [])]

    def run(self, seconds, seed):
        """Fuzzes, and prints one line. Returns whether no input failed."""
        self.corpus.mkdir(parents=True, exist_ok=True)
        self.failed.mkdir(exist_ok=True)
        with tempfile.TemporaryDirectory(prefix="fieldpost-fuzz-", dir=memory_folder()) as scratch, \
                open(self.log, "wb") as log:
            done = subprocess.run([str(word) for word in self.command(seconds, seed)], stdout=log, stderr=log,
                                  env={**os.environ, "TMPDIR": scratch}, check=False)
        text = self.log.read_text(errors="replace")
        print(self.summary(text, done.returncode), flush=True)
        return done.returncode == 0

    def summary(self, text, status):
        if status == 0:
            runs = re.findall(r"number_of_executed_units:\s*(\d+)", text)
            covered = re.findall(r"cov: (\d+)", text)
            return f"{self.name:16} {int(runs[-1]):>9,} inputs, {covered[-1] if covered else '?'} branches covered"
        inputs = re.findall(r"Test unit written to (\S+)", text)
        reason = re.search(r"This does not hold: .*|^.*(?:ERROR|SUMMARY|runtime error): .*", text, re.MULTILINE)
        return (f"{self.name:16} FAILED: {reason.group() if reason else f'exit status {status}'}\n"
                f"  input: {inputs[-1] if inputs else 'none was written'}\n  log: {self.log}")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("folder", type=pathlib.Path, help="folder of the built targets")
    parser.add_argument("seconds", type=int, help="for each target")
    parser.add_argument("targets", nargs="*", help="all when none is named")
    parser.add_argument("--seed", type=int, default=0, help="the same seed starts with the same inputs; 0: random")
    return parser.parse_args()


def main():
    wanted = arguments()
    targets = [Target(path) for path in sorted(wanted.folder.resolve().glob("fuzz_*")) if path.is_file()]
    targets = [target for target in targets if not wanted.targets or target.name in wanted.targets]
    print(f"{len(targets)} targets, {wanted.seconds} seconds each, {AT_ONCE} at once")
    with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
        fine = list(pool.map(lambda target: target.run(wanted.seconds, wanted.seed), targets))
    return 0 if fine and all(fine) else 1


if __name__ == "__main__":
    sys.exit(main())
