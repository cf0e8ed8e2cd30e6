"""Runs the test programs of a build with clang's counters, and tells which lines and branches of the core no test
passes. Ends with 1 when a test fails or a bar is missed.

    run_coverage.py BUILD [--module MODULE]... [--keep]
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import shutil
import subprocess
import sys

import bars
import coverage_data
import coverage_report

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tests" / "tools"))
import modules  # noqa: E402

TESTS = [*modules.ALLOWED, "xserver"]


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("build", type=pathlib.Path, help="folder of the coverage build")
    parser.add_argument("--module", action="append", choices=TESTS, help="run the tests of this module alone, and do not judge")
    parser.add_argument("--keep", action="store_true", help="add to what earlier runs counted")
    return parser.parse_args()


def core_sources():
    """The core's sources, as paths below src/."""
    names = (path.relative_to(ROOT / "src").as_posix() for path in (ROOT / "src").rglob("*.cpp"))
    return [name for name in names if not coverage_report.matches(name, bars.NOT_CORE)]


def run_tests(program, profiles):
    # %m: one profile a program, into which all its runs count; %c: counted in place, so that a kill loses nothing.
    # Folders of tests lie in memory, where flushes take no time.
    environment = {**os.environ, "LLVM_PROFILE_FILE": str(profiles / "%m%c.profraw"), "TMPDIR": "/dev/shm"}
    log = profiles / f"{program.name}.log"
    with log.open("w", encoding="utf-8") as output:
        done = subprocess.run([program, "--gtest_brief=1"], env=environment, stdout=output, stderr=subprocess.STDOUT,
                              stdin=subprocess.DEVNULL, check=False)
    return program.name, done.returncode, log


def run_all(programs, profiles):
    failed = False
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for name, status, log in pool.map(lambda program: run_tests(program, profiles), programs):
            if status != 0:
                failed = True
                print(f"{name} failed:\n{log.read_text(encoding='utf-8', errors='replace')}")
    return failed


def export(programs, profiles):
    merged = profiles / "all.profdata"
    subprocess.run(["llvm-profdata", "merge", "--sparse", "-o", merged, *profiles.glob("*.profraw")], check=True)
    objects = [part for program in programs[1:] for part in ("--object", program)]
    output = subprocess.run(["llvm-cov", "export", "--instr-profile", merged, programs[0], *objects,
                             "--skip-expansions", "--skip-functions"], check=True, capture_output=True)
    return json.loads(output.stdout)["data"][0]["files"]


def core_files(exported):
    files = []
    for entry in exported:
        path = pathlib.Path(entry["filename"]).resolve()
        if not path.is_relative_to(ROOT / "src"):
            continue
        name = path.relative_to(ROOT / "src").as_posix()
        if not coverage_report.matches(name, bars.NOT_CORE):
            files.append(coverage_data.file_coverage(name, entry, path.read_text(encoding="utf-8")))
    return sorted(files, key=lambda file: file.name)


def main():
    wanted = arguments()
    profiles = wanted.build.resolve() / "profiles"
    if not wanted.keep:
        shutil.rmtree(profiles, ignore_errors=True)
    profiles.mkdir(parents=True, exist_ok=True)
    bin_folder = wanted.build.resolve() / "bin"
    failed = run_all([bin_folder / f"{module}_tests" for module in wanted.module or TESTS], profiles)
    holders = [bin_folder / f"{module}_tests" for module in wanted.module or TESTS] + [bin_folder / "fieldpost-reg"]
    files = core_files(export([program for program in holders if program.exists()], profiles))
    rows = coverage_report.table(files, bars)
    report = wanted.build / "report.txt"
    report.write_text("\n".join(rows + ["", "What no test passes", *coverage_report.missed(files), ""]), encoding="utf-8")
    print(report.read_text(encoding="utf-8"))
    if wanted.module:
        return 1 if failed else 0
    faults = coverage_report.judge(files, bars, core_sources())
    print("\n".join(faults) or "All bars are reached.", f"\nThe report is {report}")
    return 1 if failed or faults else 0


if __name__ == "__main__":
    sys.exit(main())
