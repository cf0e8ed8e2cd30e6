"""The files of this tree, for the checks that look at them."""

import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
NOT_OURS = {"build", ".git", "__pycache__"}


def files(*folders, root=ROOT):
    """Every file below these folders (all when none is given), in name order, as a path below `root`."""
    found = []
    for folder in folders or (".",):
        for path in (root / folder).rglob("*"):
            below = path.relative_to(root)
            if path.is_file() and not NOT_OURS & set(below.parts):
                found.append(below)
    return sorted(found)


def report(faults):
    """Prints the faults; returns the exit status that says whether there were any."""
    for fault in faults:
        print(fault)
    return 1 if faults else 0


def output_of(*command):
    return subprocess.run([str(part) for part in command], text=True, capture_output=True, check=True).stdout
