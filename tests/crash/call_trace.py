"""Records the system calls with which a run of the program changes files."""

import base64
import json
import os

from crash_support import CALL_TRACER
from smtp_session import ACCEPTED


def traced_run(site, file, *switches):
    """Runs the program, which must succeed. Returns its calls as the tracer writes them.

    The calls that read from a socket have "accepted": how many mails the server says there to have accepted.
    """
    process = site.start(*switches, under=[CALL_TRACER, "--record", str(file), "--socket-marks", "--"])
    printed = "".join(process.communicate(timeout=100))
    if process.returncode != 0:
        raise RuntimeError(f"{switches}: {process.returncode} {printed} {site.log()[-3:]}")
    calls = [json.loads(line) for line in file.read_text().splitlines()]
    for call in calls:
        if call["call"] == "recv":
            call["accepted"] = base64.b64decode(call["data"]).count(ACCEPTED.encode())
    return calls


def calls_that_drop(before, after):
    """Returns the calls that add to one tree the files that only the other has. What devices write is durable."""
    calls = []
    for path in after.keys() - before.keys():
        calls += [{"call": "create", "path": path, "mode": after[path].mode},
                  {"call": "write", "path": path, "offset": 0,
                   "data": base64.b64encode(after[path].content).decode()},
                  {"call": "fsync", "path": path},
                  {"call": "fsync", "path": os.path.dirname(path)}]
    return calls
