"""The files of the source tree, for the checks."""

import pathlib
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
NOT_OURS = {"build", ".git", "__pycache__"}


def files(*folders, root=ROOT):
    """Returns every file below these folders (or all), in name order, as a path below `root`."""
    found = []
    for folder in folders or (".",):
        for path in (root / folder).rglob("*"):
            below = path.relative_to(root)
            if path.is_file() and not NOT_OURS & set(below.parts):
                found.append(below)
    return sorted(found)


def report(faults):
    """Prints the faults. Returns the exit status: 1 when there are any."""
    for fault in faults:
        print(fault)
    return 1 if faults else 0


def output_of(*command):
    return subprocess.run([str(part) for part in command], text=True, capture_output=True, check=True).stdout
