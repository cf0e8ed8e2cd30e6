"""Records the file-changing system calls of a run of the program."""

import base64
import json
import os

from loss_support import CALL_TRACER
from quick_sink import KEPT


def traced_run(site, file, *switches):
    """Runs the program to its end, which must be a good one. Returns its calls, as the tracer writes them; with
    "accepted" in those that read of a mail that the server has accepted."""
    process = site.start(*switches, under=[CALL_TRACER, "--record", str(file), "--socket-marks", "--"])
    printed = "".join(process.communicate(timeout=100))
    if process.returncode != 0:
        raise RuntimeError(f"{switches}: {process.returncode} {printed} {site.log()[-3:]}")
    calls = [json.loads(line) for line in file.read_text().splitlines()]
    for call in calls:
        if call["call"] == "recv":
            call["accepted"] = len(KEPT.findall(base64.b64decode(call["data"])))
    return calls


def calls_that_drop(before, after):
    """Calls that make of one tree the other, which has more files. What devices write is durable."""
    calls = []
    for path in after.keys() - before.keys():
        calls += [{"call": "create", "path": path, "mode": after[path].mode},
                  {"call": "write", "path": path, "offset": 0,
                   "data": base64.b64encode(after[path].content).decode()},
                  {"call": "fsync", "path": path},
                  {"call": "fsync", "path": os.path.dirname(path)}]
    return calls
