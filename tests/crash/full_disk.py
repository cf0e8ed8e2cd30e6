#!/usr/bin/python3
"""Runs Fieldpost on a disk that is full: a small file system in memory, with room for one block more each time.

    unshare -Urm full_disk.py FOLDER

mounts it at FOLDER, which only this process then sees, and prints as JSON what was wrong, how many sizes were
tried, and how many of them had room for all.
"""

import json
import os
import pathlib
import subprocess
import sys

from fault_roads import Collecting, FirstStart, Mailing, Ppc

BLOCK = 4096
DISK = 8 * 1024 * 1024
FULL = "No space left on device"
MOST_BLOCKS = 400


def fill(path, blocks):
    """Takes all room on the disk but this many blocks."""
    state = os.statvfs(path.parent)
    with open(path, "wb") as file:
        os.posix_fallocate(file.fileno(), 0, max(1, state.f_bavail - blocks) * BLOCK)


def wrong(road, disk, blocks):
    """What is wrong with so little room, and afterwards with enough; whether there was room for all."""
    road.swept.put_back()
    filler = disk / "filler"
    fill(filler, blocks)
    status, lines = road.run()
    enough = status == 0
    found = [f"damaged: {one}" for one in road.damaged()]
    if enough:
        found += [one for one in road.undone() if "STemp.tmp" not in one]
    elif not any(FULL in line and str(road.site.root) in line for line in lines):
        found.append(f"not told: {status} {lines[-3:]}")
    filler.unlink()
    status, lines = road.run()
    after = road.damaged() + road.undone()
    if status or after:
        found.append(f"afterwards: {status} {after} {lines[-3:]}")
    return [f"{road.name}, {blocks} blocks: {one}" for one in found], enough


def main():
    disk = pathlib.Path(sys.argv[1])
    subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={DISK}", "none", disk], check=True)
    found, tried, enough = [], 0, 0
    for number, kind in enumerate((Collecting, Mailing, Ppc, FirstStart)):
        road = kind(disk / str(number))
        all_fits = False
        blocks = 0
        while not all_fits and blocks < MOST_BLOCKS:
            faults, all_fits = wrong(road, disk, blocks)
            found += faults
            tried += 1
            enough += all_fits
            blocks += 1
        subprocess.run(["rm", "-rf", disk / str(number)], check=True)
    print(json.dumps({"found": found, "tried": tried, "enough": enough}))


if __name__ == "__main__":
    main()
