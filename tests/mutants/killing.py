"""Finds which tests reach which mutants, and which tests kill them."""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import subprocess
import tempfile
import time

import building

QUICK = 0.2  # seconds; faster tests run together, the others one by one
FILTER_LENGTH = 100_000
MEMORY = 2 << 30
FILE = 2 << 30
RUNS = re.compile(r"^\[ RUN      \] (\S+)", re.MULTILINE)
FAILED = re.compile(r"^\[  FAILED  \] (\S+?),? ", re.MULTILINE)


class Scratch:
    """A temporary folder for the tests, in memory where possible, emptied before every run."""

    def __init__(self):
        memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="fieldpost-mutants-", dir=memory))
        self.work = self.path / "work"

    def renew(self):
        shutil.rmtree(self.work, ignore_errors=True)
        self.work.mkdir()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        shutil.rmtree(self.path, ignore_errors=True)


def run_tests(scratch, program, tests, seconds, **variables):
    """Runs tests of a program that normally take `seconds`. Returns the exit status, or "too long", and the output."""
    scratch.renew()
    output = scratch.path / "output"
    environment = {**os.environ, "TMPDIR": str(scratch.work), **variables}
    command = [building.BUILD / "bin" / program, "--gtest_fail_fast", f"--gtest_filter={':'.join(tests)}"]

    def limit():
        cpu = int(3 + 4 * seconds)
        resource.setrlimit(resource.RLIMIT_CPU, (cpu, cpu + 1))
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
        resource.setrlimit(resource.RLIMIT_FSIZE, (FILE, FILE))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    with open(output, "wb") as out:
        process = subprocess.Popen(command, cwd=scratch.work, env=environment, stdin=subprocess.DEVNULL, stdout=out,
                                   stderr=out, preexec_fn=limit, start_new_session=True)
        try:
            status = process.wait(10 + 5 * seconds)
        except subprocess.TimeoutExpired:
            status = "too long"
        finally:
            _end_group(process)
    with open(output, errors="replace") as text:
        return status, text.read(1_000_000)


def _end_group(process):
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


class Reach:
    """For each test of each program: its duration, and the mutants that it reaches."""

    def __init__(self):
        self.file = building.FOLDER / "reach.json"
        self.known = json.loads(self.file.read_text()) if self.file.exists() else {}

    def record(self):
        with Scratch() as scratch:
            for program in building.PROGRAMS:
                stamp = hashlib.sha256((building.BUILD / "bin" / program).read_bytes()).hexdigest()
                if self.known.get(program, {}).get("stamp") == stamp:
                    continue
                tests = {name: self._record_one(scratch, program, name) for name in _tests_of(program)}
                self.known[program] = {"stamp": stamp, "tests": tests}
                self.file.write_text(json.dumps(self.known))

    @staticmethod
    def _record_one(scratch, program, test):
        numbers = scratch.path / "numbers"
        numbers.unlink(missing_ok=True)
        began = time.monotonic()
        status, said = run_tests(scratch, program, [test], 60, MUTANT_RECORD=str(numbers))
        if status != 0:
            print(f"{program} {test} fails without a mutant and is ignored:\n{said[-2000:]}", flush=True)
            return None
        reached = sorted({int(line) for line in numbers.read_text().split()}) if numbers.exists() else []
        return {"seconds": time.monotonic() - began, "reached": reached}

    def tests_by_mutant(self):
        """The tests of each mutant, by its number: (seconds, program, test), the fastest first."""
        found = {}
        for program, known in self.known.items():
            for test, what in known["tests"].items():
                for number in what["reached"] if what else []:
                    found.setdefault(number, []).append((what["seconds"], program, test))
        return {number: sorted(tests) for number, tests in found.items()}


def _tests_of(program):
    listed = subprocess.run([building.BUILD / "bin" / program, "--gtest_list_tests"], check=True, text=True,
                            capture_output=True).stdout
    names, suite = [], ""
    for line in listed.splitlines():
        line = line.split("#")[0].rstrip()
        if line.startswith("  "):
            names.append(suite + line.strip())
        elif line.endswith("."):
            suite = line
    return [name for name in names if "DISABLED_" not in name]


def batches(tests):
    """Groups tests into runs of one program: fast tests together, slow ones alone, the fastest first."""
    quick, slow = {}, []
    for seconds, program, test in tests:
        if seconds >= QUICK:
            slow.append((seconds, program, [test]))
            continue
        batch = quick.setdefault(program, [[0.0, program, []]])
        if sum(map(len, batch[-1][2])) > FILTER_LENGTH:
            batch.append([0.0, program, []])
        batch[-1][0] += seconds
        batch[-1][2].append(test)
    return sorted((tuple(one) for many in quick.values() for one in many), key=lambda one: one[0]), slow


def try_mutant(scratches, number, tests):
    """Runs the tests of a mutant. Returns the test that killed it and how, or None when it survived."""
    quick, slow = batches(tests)
    for batch in quick:
        if found := _try_batch(scratches[0], number, batch):
            return found
    # Slow tests mostly wait, so that several can run at once.
    with concurrent.futures.ThreadPoolExecutor(len(scratches)) as pool:
        for place in range(0, len(slow), len(scratches)):
            some = slow[place:place + len(scratches)]
            for found in list(pool.map(_try_batch, scratches, [number] * len(some), some)):
                if found:
                    return found
    return None


def _try_batch(scratch, number, batch):
    seconds, program, names = batch
    status, said = run_tests(scratch, program, names, seconds, MUTANT=str(number))
    if status == "too long" or (status != 0 and seconds >= QUICK):
        # A test that depends on time may fail on a busy machine, but hardly twice.
        status, said = run_tests(scratch, program, names, seconds, MUTANT=str(number))
    if status == 0:
        return None
    failed = FAILED.findall(said) or RUNS.findall(said)[-1:] or [names[0]]
    how = "failed" if status == 1 else status if status == "too long" else f"ended with {status}"
    return {"by": f"{program} {failed[0]}", "how": how}
