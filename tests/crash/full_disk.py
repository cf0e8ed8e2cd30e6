#!/usr/bin/python3
"""Runs the program on a full disk: a small file system in memory, with room for one block more each time.

    full_disk.py FOLDER

Mounts the file system at FOLDER; started in a mount namespace of its own, no other process sees it. Prints as JSON what
was wrong, how many sizes were tried, and how many of them had room for all.
"""

import json
import os
import pathlib
import subprocess
import sys

from fault_scenarios import Collecting, FirstStart, Mailing, Ppc

BLOCK = 4096
DISK = 8 * 1024 * 1024
FULL = "No space left on device"
MOST_BLOCKS = 400


def fill(path, blocks):
    """Fills the disk up to this many blocks."""
    state = os.statvfs(path.parent)
    with open(path, "wb") as file:
        os.posix_fallocate(file.fileno(), 0, max(1, state.f_bavail - blocks) * BLOCK)


def wrong(scenario, disk, blocks):
    """Runs with so little room, and then with enough. Returns what is wrong, and whether the little was enough."""
    scenario.swept.restore()
    filler = disk / "filler"
    fill(filler, blocks)
    status, lines = scenario.run()
    enough = status == 0
    found = [f"damaged: {one}" for one in scenario.damaged()]
    if enough:
        found += [one for one in scenario.undone() if "STemp.tmp" not in one]
    elif not any(FULL in line and str(scenario.site.root) in line for line in lines):
        found.append(f"not told: {status} {lines[-3:]}")
    filler.unlink()
    status, lines = scenario.run()
    after = scenario.damaged() + scenario.undone()
    if status or after:
        found.append(f"afterwards: {status} {after} {lines[-3:]}")
    return [f"{scenario.name}, {blocks} blocks: {one}" for one in found], enough


def main():
    disk = pathlib.Path(sys.argv[1])
    subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={DISK}", "none", disk], check=True)
    found, tried, enough = [], 0, 0
    for number, kind in enumerate((Collecting, Mailing, Ppc, FirstStart)):
        scenario = kind(disk / str(number))
        all_fits = False
        blocks = 0
        while not all_fits and blocks < MOST_BLOCKS:
            faults, all_fits = wrong(scenario, disk, blocks)
            found += faults
            tried += 1
            enough += all_fits
            blocks += 1
        subprocess.run(["rm", "-rf", disk / str(number)], check=True)
    print(json.dumps({"found": found, "tried": tried, "enough": enough}))


if __name__ == "__main__":
    main()
