"""Runs the core's tests with clang's coverage counters and reports the coverage with llvm-cov. Ends with 1 when a test
fails or a bar is missed.

    run_coverage.py BUILD [MODULE...]
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

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
SRC = ROOT / "src"
sys.path.insert(0, str(ROOT / "tests" / "tools"))
import modules  # noqa: E402

TESTS = [*modules.ALLOWED, "xserver"]


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("build", type=pathlib.Path, help="folder of the coverage build")
    parser.add_argument("modules", nargs="*", help="run the tests of these modules alone, and check no bar")
    return parser.parse_args()


def core_sources():
    """The core's sources, as paths below src/."""
    names = (path.relative_to(SRC).as_posix() for path in SRC.rglob("*.cpp"))
    return [name for name in names if not bars.matches(name, bars.NOT_CORE)]


def run_tests(program, profiles):
    # %m: one profile for all runs of a program; %c: counted in place, so that a killed process loses no count.
    # Temporary folders of tests are in memory, where a flush takes no time.
    environment = {**os.environ, "LLVM_PROFILE_FILE": str(profiles / "%m%c.profraw"), "TMPDIR": "/dev/shm"}
    done = subprocess.run([program, "--gtest_brief=1"], env=environment, stdin=subprocess.DEVNULL, capture_output=True,
                          encoding="utf-8", errors="replace", check=False)
    if done.returncode != 0:
        print(f"{program.name} failed:\n{done.stdout}{done.stderr}")
    return done.returncode == 0


def llvm_cov(command, programs, profile, *options):
    objects = [part for program in programs[1:] for part in ("--object", program)]
    done = subprocess.run(["llvm-cov", command, "--instr-profile", profile, programs[0], *objects,
                           "--ignore-filename-regex", r"^/usr/|/tests/|/forms/|/main\.cpp$|/generated/", *options],
                          check=True, stdout=subprocess.PIPE, encoding="utf-8")
    return done.stdout


def summaries(exported):
    """The summary of each file of an export of llvm-cov, by its path below src/."""
    paths = ((pathlib.Path(entry["filename"]).resolve(), entry["summary"]) for entry in exported["data"][0]["files"])
    return {path.relative_to(SRC).as_posix(): summary for path, summary in paths}


def main():
    wanted = arguments()
    profiles = wanted.build.resolve() / "profiles"
    shutil.rmtree(profiles, ignore_errors=True)
    profiles.mkdir(parents=True)
    bin_folder = wanted.build.resolve() / "bin"
    programs = [bin_folder / f"{module}_tests" for module in wanted.modules or TESTS]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        passed = all(list(pool.map(lambda program: run_tests(program, profiles), programs)))
    profile = profiles / "all.profdata"
    subprocess.run(["llvm-profdata", "merge", "--sparse", "-o", profile, *profiles.glob("*.profraw")], check=True)
    programs.append(bin_folder / "fieldpost-reg")
    print(llvm_cov("report", programs, profile, "--show-region-summary=false"))
    pages = wanted.build / "html"
    llvm_cov("show", programs, profile, "--format=html", "--show-branches=count", f"--output-dir={pages}")
    print(f"Line by line: {pages}/index.html")
    if wanted.modules:
        return 0 if passed else 1
    found = bars.shortfalls(summaries(json.loads(llvm_cov("export", programs, profile, "--summary-only"))),
                            core_sources())
    print("\n".join(found) or "Every bar is reached.")
    return 0 if passed and not found else 1


if __name__ == "__main__":
    sys.exit(main())
